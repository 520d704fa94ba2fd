// Chunk files built by hand, byte by byte: payloads value by value (little-endian, as the files
// are), chunks with their headers, and the code of the container's exception that a read throws.
#pragma once

#include "storage/chunky.h"

#include <cstring>
#include <functional>
#include <string>

// A payload built value by value.
class Bytes
{
public:
    Bytes& I32(int32 v) { return Raw(&v, 4); }
    Bytes& U32(uint32 v) { return Raw(&v, 4); }
    Bytes& F32(float v) { return Raw(&v, 4); }
    Bytes& U8(uint8 v) { return Raw(&v, 1); }
    Bytes& U16(uint16 v) { return Raw(&v, 2); }
    // A length word, then the characters.
    Bytes& Str(const std::string& s) { return U32(uint32(s.size())).Add(s); }
    Bytes& Vec3(float x, float y, float z) { return F32(x).F32(y).F32(z); }
    Bytes& Floats(std::initializer_list<float> values)
    {
        for (float v : values)
            F32(v);
        return *this;
    }
    Bytes& Raw(const void* p, size_t n)
    {
        m_data.append(static_cast<const char*>(p), n);
        return *this;
    }
    Bytes& Add(const std::string& s)
    {
        m_data += s;
        return *this;
    }
    const std::string& str() const { return m_data; }
    operator const std::string&() const { return m_data; }
    std::string m_data;
};

// The file header of a chunk file: magic, version 1, platform 1.
inline std::string ChunkFileHeader()
{
    return std::string("Vardo Chunky\r\n\x1a\0", 16) + Bytes().U32(1).U32(1).str();
}

// A chunk of type "FOLD" or "DATA": type, id, version, payload size, name length (with its
// terminator, 0 for no name), name, payload.
inline std::string ChunkBytes(const char* type, const char* id, uint32 version, const std::string& payload,
                              const char* name = nullptr)
{
    const size_t length = name != nullptr && name[0] != '\0' ? std::strlen(name) + 1 : 0;
    return std::string(type, 4) + std::string(id, 4) +
           Bytes().U32(version).U32(uint32(payload.size())).U32(uint32(length)).str() +
           std::string(name != nullptr ? name : "", length) + payload;
}

// The code of the Chunky::Exception that `f` throws; -1 when it throws none.
inline int ChunkyCode(const std::function<void()>& f)
{
    try
    {
        f();
    }
    catch (const Chunky::Exception& e)
    {
        return int(e.GetCode());
    }
    return -1;
}
