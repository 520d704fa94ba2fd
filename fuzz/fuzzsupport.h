// What every fuzz target shares: quiet assertions (reported and taking their safe return, with no
// stack walk), the input lent as a read stream, and a read of every byte an image reader made, so
// that a level smaller than its stated size shows up under the address sanitizer.
#pragma once

#include "foundation/output.h"
#include "foundation/runoptions.h"
#include "image/image.h"
#include "storage/bytestreamadapter.h"
#include "storage/ramstream.h"

#include <cstddef>
#include <cstdint>

namespace fuzz
{
// Call once, from the first input.
inline bool Quiet()
{
    static dbg::DebugSpewDispatcher s_quiet;
    dbg::SetDispatcher(&s_quiet);
    RunOptions::SetFileText("notrace");
    return true;
}

// The readers never write: the fuzzer's block is only lent to the stream.
inline void LendReadOnly(RamStream& stream, const uint8_t* data, size_t size)
{
    stream.Attach(const_cast<uint8_t*>(data), uint32(size), false, ByteStream::Mode_Read);
}

inline void TouchImage(const Image* pImage)
{
    if (pImage == nullptr)
        return;
    uint32 sum = 0;
    for (uint32 level = 0; level < pImage->GetMipCount(); ++level)
    {
        const uint8* p = pImage->GetData(level);
        for (uint32 i = 0; i < pImage->GetDataSize(level); ++i)
            sum += p[i];
    }
    volatile uint32 keep = sum;
    (void)keep;
}

// One image file format: `load(adapter, size)` gives the image or null. What it made is read
// through, and converted to 32 bits when `convert` is set and the type allows.
template <class LoadFn> int FuzzImageFile(const uint8_t* data, size_t size, LoadFn load, bool convert)
{
    static const bool s_quiet = Quiet();
    (void)s_quiet;
    if (size == 0 || size > 0x7FFFFFFF)
        return 0;
    RamStream stream;
    LendReadOnly(stream, data, size);
    ByteStreamAdapter adapter(stream);
    std::unique_ptr<Image> pImage = load(adapter, size);
    TouchImage(pImage.get());
    if (convert && pImage && Image::CanConvert(IMAGETYPE_RGBA32, pImage->GetImageType()))
        Image::Convert(IMAGETYPE_RGBA32, *pImage);
    return 0;
}
} // namespace fuzz
