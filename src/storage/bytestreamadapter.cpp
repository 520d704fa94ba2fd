#include "storage/bytestreamadapter.h"

#include "foundation/debug.h"

#include <cstring>

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

// Bytes of `count` elements of `size`, or 0 when they cannot be addressed in one call.
uint32 ByteCount(uint32 count, uint32 size)
{
    const uint64 bytes = uint64(count) * size;
    return dbAssert(bytes <= 0xFFFFFFFFu) ? uint32(bytes) : 0;
}
} // namespace

uint32 ByteStreamAdapter::Read(void* dst, uint32 bytes)
{
    if (m_pConverter != nullptr)
        return m_pConverter->ReadRaw(dst, bytes);
    return m_pStream->Read(dst, bytes);
}

uint32 ByteStreamAdapter::Write(const void* src, uint32 bytes)
{
    if (m_pConverter != nullptr)
        return m_pConverter->WriteRaw(src, bytes);
    return m_pStream->Write(src, bytes);
}

uint32 ByteStreamAdapter::ReadArray(int32* values, uint32 count)
{
    if (m_pConverter != nullptr)
        return m_pConverter->ReadInt32(values, count);
    return m_pStream->Read(values, ByteCount(count, 4));
}

uint32 ByteStreamAdapter::ReadArray(uint32* values, uint32 count)
{
    if (m_pConverter != nullptr)
        return m_pConverter->ReadUInt32(values, count);
    return m_pStream->Read(values, ByteCount(count, 4));
}

uint32 ByteStreamAdapter::ReadArray(float* values, uint32 count)
{
    if (m_pConverter != nullptr)
        return m_pConverter->ReadFloat(values, count);
    return m_pStream->Read(values, ByteCount(count, 4));
}

uint32 ByteStreamAdapter::ReadArray(int16* values, uint32 count)
{
    // Signed and unsigned 16-bit values share one kind: the conversion is of bytes, not of sign.
    return ReadArray(reinterpret_cast<uint16*>(values), count);
}

uint32 ByteStreamAdapter::ReadArray(uint16* values, uint32 count)
{
    if (m_pConverter != nullptr)
        return m_pConverter->ReadUInt16(values, count);
    return m_pStream->Read(values, ByteCount(count, 2));
}

uint32 ByteStreamAdapter::ReadArray(int8* values, uint32 count)
{
    if (m_pConverter != nullptr)
        return m_pConverter->ReadInt8(values, count);
    return m_pStream->Read(values, count);
}

uint32 ByteStreamAdapter::ReadArray(uint8* values, uint32 count)
{
    if (m_pConverter != nullptr)
        return m_pConverter->ReadUInt8(values, count);
    return m_pStream->Read(values, count);
}

uint32 ByteStreamAdapter::ReadArray(bool* values, uint32 count)
{
    if (m_pConverter != nullptr)
        return m_pConverter->ReadBool(values, count);
    static_assert(sizeof(bool) == 1);
    // A file byte is made a proper bool: any value but 0 or 1 in a bool's storage is undefined.
    uint8* pBytes = reinterpret_cast<uint8*>(values);
    const uint32 got = m_pStream->Read(pBytes, count);
    for (uint32 i = 0; i < got; ++i)
    {
        const uint8 byte = pBytes[i];
        values[i] = byte != 0;
    }
    return got;
}

uint32 ByteStreamAdapter::WriteArray(const int32* values, uint32 count)
{
    if (m_pConverter != nullptr)
        return m_pConverter->WriteInt32(values, count);
    return m_pStream->Write(values, ByteCount(count, 4));
}

uint32 ByteStreamAdapter::WriteArray(const uint32* values, uint32 count)
{
    if (m_pConverter != nullptr)
        return m_pConverter->WriteUInt32(values, count);
    return m_pStream->Write(values, ByteCount(count, 4));
}

uint32 ByteStreamAdapter::WriteArray(const float* values, uint32 count)
{
    if (m_pConverter != nullptr)
        return m_pConverter->WriteFloat(values, count);
    return m_pStream->Write(values, ByteCount(count, 4));
}

uint32 ByteStreamAdapter::WriteArray(const int16* values, uint32 count)
{
    return WriteArray(reinterpret_cast<const uint16*>(values), count);
}

uint32 ByteStreamAdapter::WriteArray(const uint16* values, uint32 count)
{
    if (m_pConverter != nullptr)
        return m_pConverter->WriteUInt16(values, count);
    return m_pStream->Write(values, ByteCount(count, 2));
}

uint32 ByteStreamAdapter::WriteArray(const int8* values, uint32 count)
{
    if (m_pConverter != nullptr)
        return m_pConverter->WriteInt8(values, count);
    return m_pStream->Write(values, count);
}

uint32 ByteStreamAdapter::WriteArray(const uint8* values, uint32 count)
{
    if (m_pConverter != nullptr)
        return m_pConverter->WriteUInt8(values, count);
    return m_pStream->Write(values, count);
}

uint32 ByteStreamAdapter::WriteArray(const bool* values, uint32 count)
{
    if (m_pConverter != nullptr)
        return m_pConverter->WriteBool(values, count);
    return m_pStream->Write(values, count);
}

bool ByteStreamAdapter::WriteString(const char* s)
{
    if (m_pConverter != nullptr)
        return m_pConverter->WriteString(s);
    if (!dbAssert(s != nullptr))
        return false;
    const uint32 length = uint32(std::strlen(s));
    if (m_pStream->Write(&length, 4) != 4)
        return false;
    return length == 0 || m_pStream->Write(s, length) == length;
}

bool ByteStreamAdapter::ReadString(char* buf, uint32 bufsize)
{
    if (m_pConverter != nullptr)
        return m_pConverter->ReadString(buf, bufsize);
    if (!dbAssert(buf != nullptr))
        return false;
    buf[0] = '\0';
    uint32 length = 0;
    if (m_pStream->Read(&length, 4) != 4)
        return false;
    if (length > bufsize)
        throw ByteStream::Exception(ByteStream::EXC_StringOverrun, s_overrunText);
    const uint32 got = m_pStream->Read(buf, length);
    buf[got < length ? got : length] = '\0';
    return got == length;
}

bool ByteStreamAdapter::ReadString(std::string& out)
{
    if (m_pConverter != nullptr)
        return m_pConverter->ReadString(out);
    char buffer[MaxStringRead + 1];
    const bool ok = ReadString(buffer, MaxStringRead);
    out = buffer;
    return ok;
}

bool ByteStreamAdapter::WriteWString(const wchar16* s)
{
    if (m_pConverter != nullptr)
        return m_pConverter->WriteWString(s);
    if (!dbAssert(s != nullptr))
        return false;
    const uint32 length = WideLength(s);
    const uint32 bytes = ByteCount(length, 2);
    if (m_pStream->Write(&length, 4) != 4)
        return false;
    return length == 0 || m_pStream->Write(s, bytes) == bytes;
}

bool ByteStreamAdapter::ReadWString(wchar16* buf, uint32 bufsize)
{
    if (m_pConverter != nullptr)
        return m_pConverter->ReadWString(buf, bufsize);
    return ::ReadWString(*m_pStream, buf, bufsize);
}

uint32 ByteStreamAdapter::GetPos() const
{
    return m_pConverter != nullptr ? m_pConverter->GetPos() : m_pStream->GetPos();
}

bool ByteStreamAdapter::Seek(uint32 absolutePosition)
{
    return m_pConverter != nullptr ? m_pConverter->Seek(absolutePosition) : m_pStream->Seek(absolutePosition);
}

uint32 ByteStreamAdapter::GetLength() const
{
    return m_pConverter != nullptr ? m_pConverter->GetLength() : m_pStream->GetLength();
}

int ByteStreamAdapter::GetStreamMode() const
{
    return m_pConverter != nullptr ? m_pConverter->GetStreamMode() : m_pStream->GetStreamMode();
}

const char* ByteStreamAdapter::GetName() const
{
    return m_pConverter != nullptr ? m_pConverter->GetName() : m_pStream->GetName();
}

void ByteStreamAdapter::Flush()
{
    if (m_pConverter != nullptr)
        m_pConverter->Flush();
    else
        m_pStream->Flush();
}

uint32 ByteStreamAdapter::GetPlatform() const
{
    return m_pConverter != nullptr ? m_pConverter->GetPlatform() : NativePlatform;
}
