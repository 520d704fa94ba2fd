// Helpers shared by the image tests: small image builders, files built by hand byte by byte, and
// the readers and writers run on memory streams.
#pragma once

#include "foundation/output.h"
#include "image/imagetypes.h"
#include "storage/bytestreamadapter.h"
#include "storage/ramstream.h"
#include "support/logcapture.h"
#include "support/tempfolder.h"

#include <cstring>
#include <functional>
#include <string>
#include <vector>

namespace imagetest
{
// A 32-bit image of w by h pixels from a list given row by row.
inline std::unique_ptr<Image_RGBA32> MakeRGBA32(uint32 w, uint32 h, const std::vector<Colour>& pixels)
{
    auto p = std::make_unique<Image_RGBA32>();
    p->Allocate(w, h);
    for (uint32 i = 0; i < w * h && i < pixels.size(); ++i)
        (*p)[i] = pixels[i];
    return p;
}

// A 32-bit image whose every pixel differs: handy to see where each pixel went.
inline std::unique_ptr<Image_RGBA32> MakeGradient(uint32 w, uint32 h)
{
    auto p = MakeRGBA32(w, h, {});
    for (uint32 y = 0; y < h; ++y)
        for (uint32 x = 0; x < w; ++x)
            (*p)[y * w + x] = Colour(uint8(x * 7 + y), uint8(y * 13 + x), uint8(x ^ y), uint8(255 - x));
    return p;
}

// The bytes of a level.
inline std::vector<uint8> Level(const Image& image, uint32 level = 0)
{
    return std::vector<uint8>(image.GetData(level), image.GetData(level) + image.GetDataSize(level));
}

// A file built by hand, byte by byte.
struct Bytes
{
    std::vector<uint8> v;
    Bytes& u8(uint32 x)
    {
        v.push_back(uint8(x));
        return *this;
    }
    Bytes& u16(uint32 x) { return u8(x).u8(x >> 8); }
    Bytes& u32(uint32 x) { return u16(x).u16(x >> 16); }
    Bytes& u8s(std::initializer_list<uint32> xs)
    {
        for (uint32 x : xs)
            u8(x);
        return *this;
    }
    Bytes& be16(uint32 x) { return u8(x >> 8).u8(x); }
    Bytes& be32(uint32 x) { return be16(x >> 16).be16(x); }
    Bytes& text(const char* s)
    {
        v.insert(v.end(), s, s + std::strlen(s));
        return *this;
    }
    Bytes& fill(uint32 count, uint8 value)
    {
        v.insert(v.end(), count, value);
        return *this;
    }
    Bytes& set(size_t at, uint8 value)
    {
        v.at(at) = value;
        return *this;
    }
    uint32 size() const { return uint32(v.size()); }
};

// Runs `read` on a read stream over a copy of `bytes` (the copy has no spare byte behind it, so
// a read past the end is seen by the address sanitizer).
template <class Result>
Result ReadFrom(const std::vector<uint8>& bytes, const std::function<Result(ByteStreamAdapter&)>& read)
{
    std::unique_ptr<uint8[]> pCopy(new uint8[bytes.empty() ? 1 : bytes.size()]);
    if (!bytes.empty())
        std::memcpy(pCopy.get(), bytes.data(), bytes.size());
    RamStream stream;
    stream.Attach(pCopy.get(), uint32(bytes.size()), false, ByteStream::Mode_Read);
    ByteStreamAdapter adapter(stream);
    return read(adapter);
}

// Runs `write` on a growable write stream and gives back what was written.
inline std::vector<uint8> WriteTo(const std::function<void(ByteStreamAdapter&)>& write)
{
    RamStream stream;
    stream.Create(16, ByteStream::Mode_Write);
    ByteStreamAdapter adapter(stream);
    write(adapter);
    const uint8* p = stream.GetBuffer();
    return std::vector<uint8>(p, p + stream.GetLength());
}

// Whether `text` was logged; an empty text asks nothing.
inline bool Logged(const LogCapture& log, const char* text)
{
    return *text == '\0' || log.Has(text);
}

// A file reader (ImageLoad::LoadTGA and the like) with its source format.
using Loader = std::function<std::unique_ptr<Image>(ByteStreamAdapter&, const char*, int*)>;
struct Loaded
{
    std::unique_ptr<Image> pImage;
    int sourceFormat = -1;
};
inline Loaded LoadWith(const Loader& loader, const std::vector<uint8>& bytes)
{
    Loaded out;
    out.pImage = ReadFrom<std::unique_ptr<Image>>(
        bytes, [&](ByteStreamAdapter& adapter) { return loader(adapter, "test.file", &out.sourceFormat); });
    return out;
}

} // namespace imagetest
