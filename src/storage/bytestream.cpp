#include "storage/bytestream.h"

#include "foundation/debug.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>

void ByteStream::SetName(const char* name)
{
    if (!dbAssert(name != nullptr))
        return;
    m_name.Assign(name);
}

void ByteStream::SetStreamMode(int mode)
{
    if (!dbAssert(mode == Mode_None || mode == Mode_Read || mode == Mode_Write || mode == Mode_Both))
        return;
    m_mode = mode;
}

namespace
{
const char* const s_overrunText = "String buffer overrun!";

uint32 WideLength(const wchar16* s)
{
    uint32 n = 0;
    while (s[n] != 0)
        ++n;
    return n;
}

// Moves the stream over `length` bytes of a string that is not read.
void SkipBytes(ByteStream& stream, uint32 length)
{
    const uint64 target = uint64(stream.GetPos()) + length;
    if (target <= stream.GetLength())
        stream.Seek(uint32(target));
    else
        stream.Seek(stream.GetLength());
}
} // namespace

bool WriteString(ByteStream& stream, const char* s)
{
    if (!dbAssert(s != nullptr))
        return false;
    const uint32 length = uint32(std::strlen(s));
    if (stream.Write(&length, sizeof(length)) == 0)
        return false;
    return length == 0 || stream.Write(s, length) != 0;
}

bool WriteWString(ByteStream& stream, const wchar16* s)
{
    if (!dbAssert(s != nullptr))
        return false;
    const uint32 length = WideLength(s);
    if (stream.Write(&length, sizeof(length)) == 0)
        return false;
    return length == 0 || stream.Write(s, length * uint32(sizeof(wchar16))) != 0;
}

bool ReadString(ByteStream& stream, char* buf, uint32 bufsize)
{
    if (!dbAssert(buf != nullptr))
        return false;
    buf[0] = '\0';
    uint32 length = 0;
    if (stream.Read(&length, sizeof(length)) != sizeof(length))
        return false;
    if (!dbAssert(length <= bufsize))
    {
        SkipBytes(stream, length);
        return false;
    }
    const uint32 got = stream.Read(buf, length);
    buf[got < length ? got : length] = '\0';
    return got == length;
}

bool ReadWString(ByteStream& stream, wchar16* buf, uint32 bufsize)
{
    if (!dbAssert(buf != nullptr))
        return false;
    buf[0] = 0;
    uint32 length = 0;
    if (stream.Read(&length, sizeof(length)) != sizeof(length))
        return false;
    if (length > bufsize)
        throw ByteStream::Exception(ByteStream::EXC_StringOverrun, s_overrunText);
    const uint64 bytes = uint64(length) * sizeof(wchar16);
    if (bytes > 0xFFFFFFFFu)
        throw ByteStream::Exception(ByteStream::EXC_StringOverrun, s_overrunText);
    const uint32 got = stream.Read(buf, uint32(bytes));
    const uint32 units = got / uint32(sizeof(wchar16));
    buf[units < length ? units : length] = 0;
    return got == bytes;
}

bool WriteText(ByteStream& stream, const char* text, bool newline)
{
    if (!dbAssert(text != nullptr))
        return false;
    static const char s_lineEnd[2] = {'\r', '\n'};
    const char* p = text;
    for (;;)
    {
        const size_t piece = std::strcspn(p, "\r\n");
        if (piece > 0 && stream.Write(p, uint32(piece)) != piece)
            return false;
        p += piece;
        if (*p == '\0')
            break;
        // CR LF is one break; LF CR is two.
        if (p[0] == '\r' && p[1] == '\n')
            p += 2;
        else
            p += 1;
        if (stream.Write(s_lineEnd, 2) != 2)
            return false;
    }
    if (newline && stream.Write(s_lineEnd, 2) != 2)
        return false;
    return true;
}

bool Printf(ByteStream& stream, const char* format, ...)
{
    if (!dbAssert(format != nullptr))
        return false;
    char buffer[0x400];
    va_list args;
    va_start(args, format);
    std::vsnprintf(buffer, sizeof(buffer), format, args);
    va_end(args);
    return WriteText(stream, buffer, false);
}
