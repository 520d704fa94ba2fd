// ByteStreamAdapter: the value that format code holds to read and write a ByteStream, with typed
// arrays and strings. An optional ByteStreamConverter, a byte-order or platform conversion layer,
// takes every operation when it is set.
#pragma once

#include "storage/bytestream.h"

#include <string>

// A conversion layer over a stream. One typed read and one typed write per element kind, in this
// order of kinds: int32, int64, uint32, float, uint16, uint8, double, FourCC, colour, uint64, int8,
// bool, wide string, 8-bit string, byte block, raw bytes. Each returns what the stream call it
// stands for returns: bytes moved, or success for strings.
class ByteStreamConverter
{
public:
    explicit ByteStreamConverter(ByteStream* pStream) : m_pStream(pStream) {}
    virtual ~ByteStreamConverter() = default;

    ByteStream* GetStream() const { return m_pStream; }
    int GetStreamMode() const { return m_pStream->GetStreamMode(); }
    const char* GetName() const { return m_pStream->GetName(); }
    uint32 GetPos() const { return m_pStream->GetPos(); }
    bool Seek(uint32 absolutePosition) { return m_pStream->Seek(absolutePosition); }
    uint32 GetLength() const { return m_pStream->GetLength(); }

    virtual uint32 ReadInt32(int32* values, uint32 count) = 0;
    virtual uint32 ReadInt64(int64* values, uint32 count) = 0;
    virtual uint32 ReadUInt32(uint32* values, uint32 count) = 0;
    virtual uint32 ReadFloat(float* values, uint32 count) = 0;
    virtual uint32 ReadUInt16(uint16* values, uint32 count) = 0;
    virtual uint32 ReadUInt8(uint8* values, uint32 count) = 0;
    virtual uint32 ReadDouble(double* values, uint32 count) = 0;
    virtual uint32 ReadFourCC(uint32* values, uint32 count) = 0;
    virtual uint32 ReadColour(uint32* values, uint32 count) = 0;
    virtual uint32 ReadUInt64(uint64* values, uint32 count) = 0;
    virtual uint32 ReadInt8(int8* values, uint32 count) = 0;
    virtual uint32 ReadBool(bool* values, uint32 count) = 0;
    virtual bool ReadWString(wchar16* buf, uint32 bufsize) = 0;
    virtual bool ReadString(char* buf, uint32 bufsize) = 0;
    virtual uint32 ReadBlock(uint8* dst, uint32 count) = 0;
    virtual uint32 ReadRaw(void* dst, uint32 bytes) = 0;
    virtual bool ReadString(std::string& out) = 0;

    virtual uint32 WriteInt32(const int32* values, uint32 count) = 0;
    virtual uint32 WriteInt64(const int64* values, uint32 count) = 0;
    virtual uint32 WriteUInt32(const uint32* values, uint32 count) = 0;
    virtual uint32 WriteFloat(const float* values, uint32 count) = 0;
    virtual uint32 WriteUInt16(const uint16* values, uint32 count) = 0;
    virtual uint32 WriteUInt8(const uint8* values, uint32 count) = 0;
    virtual uint32 WriteDouble(const double* values, uint32 count) = 0;
    virtual uint32 WriteFourCC(const uint32* values, uint32 count) = 0;
    virtual uint32 WriteColour(const uint32* values, uint32 count) = 0;
    virtual uint32 WriteUInt64(const uint64* values, uint32 count) = 0;
    virtual uint32 WriteInt8(const int8* values, uint32 count) = 0;
    virtual uint32 WriteBool(const bool* values, uint32 count) = 0;
    virtual bool WriteWString(const wchar16* s) = 0;
    virtual bool WriteString(const char* s) = 0;
    virtual uint32 WriteBlock(const uint8* src, uint32 count) = 0;
    virtual uint32 WriteRaw(const void* src, uint32 bytes) = 0;
    virtual bool WriteString(const std::string& s) = 0;
    virtual void Flush() = 0;

    // The platform code that goes into a chunk file's header.
    virtual uint32 GetPlatform() const = 0;

protected:
    ByteStream* m_pStream;
};

class ByteStreamAdapter
{
public:
    // The platform code of a chunk file written without a converter.
    static constexpr uint32 NativePlatform = 1;
    // The buffer that ReadString(std::string&) reads through: a longer string throws.
    static constexpr uint32 MaxStringRead = 0x400;

    ByteStreamAdapter() = default;
    explicit ByteStreamAdapter(ByteStream* pStream) : m_pStream(pStream) {}
    explicit ByteStreamAdapter(ByteStream& stream) : m_pStream(&stream) {}

    ByteStream* GetStream() const { return m_pStream; }
    void SetConverter(ByteStreamConverter* pConverter) { m_pConverter = pConverter; }
    ByteStreamConverter* GetConverter() const { return m_pConverter; }

    // Raw bytes; the bytes moved.
    uint32 Read(void* dst, uint32 bytes);
    uint32 Write(const void* src, uint32 bytes);

    // Typed arrays, one per element kind; each returns the bytes moved.
    uint32 ReadArray(int32* values, uint32 count);
    uint32 ReadArray(uint32* values, uint32 count);
    uint32 ReadArray(float* values, uint32 count);
    uint32 ReadArray(int16* values, uint32 count);
    uint32 ReadArray(uint16* values, uint32 count);
    uint32 ReadArray(int8* values, uint32 count);
    uint32 ReadArray(uint8* values, uint32 count);
    // Any non-zero byte reads as true.
    uint32 ReadArray(bool* values, uint32 count);
    uint32 WriteArray(const int32* values, uint32 count);
    uint32 WriteArray(const uint32* values, uint32 count);
    uint32 WriteArray(const float* values, uint32 count);
    uint32 WriteArray(const int16* values, uint32 count);
    uint32 WriteArray(const uint16* values, uint32 count);
    uint32 WriteArray(const int8* values, uint32 count);
    uint32 WriteArray(const uint8* values, uint32 count);
    uint32 WriteArray(const bool* values, uint32 count);

    // One value of a kind above; true when all its bytes moved.
    template <class T> bool ReadValue(T& value) { return ReadArray(&value, 1) == sizeof(T); }
    template <class T> bool WriteValue(const T& value) { return WriteArray(&value, 1) == sizeof(T); }

    // Strings as the free functions of bytestream.h write them. Reading, a string longer than
    // `bufsize` throws ByteStream::Exception; `buf` must hold bufsize + 1 characters.
    bool WriteString(const char* s);
    bool WriteString(const std::string& s) { return WriteString(s.c_str()); }
    bool ReadString(char* buf, uint32 bufsize);
    bool ReadString(std::string& out);
    bool WriteWString(const wchar16* s);
    bool ReadWString(wchar16* buf, uint32 bufsize);

    uint32 GetPos() const;
    bool Seek(uint32 absolutePosition);
    uint32 GetLength() const;
    int GetStreamMode() const;
    const char* GetName() const;
    void Flush();
    // NativePlatform, or what the converter says.
    uint32 GetPlatform() const;

private:
    ByteStream* m_pStream = nullptr;
    ByteStreamConverter* m_pConverter = nullptr;
};
