// ByteStream: the one polymorphic stream that every file, memory image and pipe-fed buffer of the
// system is read and written through, and the free string and text functions on a bare stream.
#pragma once

#include "foundation/types.h"
#include "names/fixedstring.h"

#include <stdexcept>

class ByteStream
{
public:
    // Modes are bit sets: Mode_Both is BS_ReadBit | BS_WriteBit.
    enum StreamMode
    {
        Mode_None = 0,
        Mode_Read = 1,
        Mode_Write = 2,
        Mode_Both = 3,
    };
    enum StreamBits
    {
        BS_ReadBit = 1,
        BS_WriteBit = 2,
    };

    // The one failure a stream throws: a string longer than the buffer it is read into.
    class Exception : public std::runtime_error
    {
    public:
        Exception(uint32 code, const char* text) : std::runtime_error(text), m_code(code) {}
        uint32 GetCode() const { return m_code; }

    private:
        uint32 m_code;
    };
    static constexpr uint32 EXC_StringOverrun = 0;

    // The longest stream name; the name is for messages only.
    static constexpr uint32 MaxName = 260;

    ByteStream() = default;
    virtual ~ByteStream() = default;
    ByteStream(const ByteStream&) = delete;
    ByteStream& operator=(const ByteStream&) = delete;

    // A name longer than MaxName is an assertion failure and leaves the name as it was.
    virtual void SetName(const char* name);
    // The bytes delivered or taken; short counts, never exceptions, report failure.
    virtual uint32 Read(void* dst, uint32 count) = 0;
    virtual uint32 Write(const void* src, uint32 count) = 0;
    virtual void Flush() = 0;
    // Absolute positions only; a stream cannot address past 4 GB.
    virtual bool Seek(uint32 absolutePosition) = 0;
    virtual uint32 GetPos() const = 0;
    virtual uint32 GetLength() const = 0;
    virtual void SetStreamMode(int mode);

    int GetStreamMode() const { return m_mode; }
    const char* GetName() const { return m_name.c_str(); }

private:
    int m_mode = Mode_None;
    FixedString<MaxName> m_name;
};

// Strings on disk: a 32-bit length, then the characters with no terminator (wide strings in
// UTF-16 code units). The writers return false when a stream write comes back short.
bool WriteString(ByteStream& stream, const char* s);
bool WriteWString(ByteStream& stream, const wchar16* s);

// Reads a string into `buf`, which must hold bufsize + 1 characters: a string of exactly bufsize
// characters is terminated at buf[bufsize]. A longer string is an assertion failure; passed, the
// stream skips it and the call returns false. A failed read of the length returns false.
bool ReadString(ByteStream& stream, char* buf, uint32 bufsize);
// As ReadString, but a string longer than bufsize throws ByteStream::Exception ("String buffer
// overrun!"): the wide form throws where the 8-bit form skips.
bool ReadWString(ByteStream& stream, wchar16* buf, uint32 bufsize);

// Writes text with every line end (CR, LF or CR LF) written as CR LF, and one more CR LF when
// `newline` is set. False when any write falls short.
bool WriteText(ByteStream& stream, const char* text, bool newline);
// Formats into a 0x400-byte buffer (longer output is cut) and writes it with WriteText, no newline.
bool Printf(ByteStream& stream, const char* format, ...) __attribute__((format(printf, 2, 3)));
