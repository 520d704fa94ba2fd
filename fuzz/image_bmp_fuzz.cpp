// Feeds arbitrary bytes to the BMP reader, then reads every byte of what it made and converts
// it, so that a level smaller than its stated size shows up under the address sanitizer.
#include "foundation/output.h"
#include "foundation/runoptions.h"
#include "image/imageload.h"
#include "storage/bytestreamadapter.h"
#include "storage/ramstream.h"

#include <cstddef>
#include <cstdint>

namespace
{
// Assertions report and take their safe return; the reports are dropped, and no stack is taken.
bool Quiet()
{
    static dbg::DebugSpewDispatcher s_quiet;
    dbg::SetDispatcher(&s_quiet);
    RunOptions::SetFileText("notrace");
    return true;
}

uint32 Touch(const Image& image)
{
    uint32 sum = 0;
    for (uint32 level = 0; level < image.GetMipCount(); ++level)
    {
        const uint8* p = image.GetData(level);
        for (uint32 i = 0; i < image.GetDataSize(level); ++i)
            sum += p[i];
    }
    return sum;
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const bool s_quiet = Quiet();
    (void)s_quiet;
    if (size == 0 || size > 0x7FFFFFFF)
        return 0;
    RamStream stream;
    // The reader never writes: the block is only lent as a read stream.
    stream.Attach(const_cast<uint8_t*>(data), uint32(size), false, ByteStream::Mode_Read);
    ByteStreamAdapter adapter(stream);
    int sourceFormat = 0;
    std::unique_ptr<Image> pImage = ImageLoad::LoadBMP(adapter, "fuzz.bmp", &sourceFormat);
    if (pImage)
    {
        volatile uint32 sum = Touch(*pImage);
        (void)sum;
        if (Image::CanConvert(IMAGETYPE_RGBA32, pImage->GetImageType()))
            Image::Convert(IMAGETYPE_RGBA32, *pImage);
    }
    return 0;
}
