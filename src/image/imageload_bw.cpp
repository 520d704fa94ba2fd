// .bw files: the SGI image format, big-endian, one channel of grey. The pixels are taken as plain
// bytes right behind the 512-byte header.
#include "foundation/output.h"
#include "image/imageio.h"
#include "image/imageload.h"

namespace
{
constexpr uint32 HeaderSize = 512;
constexpr uint16 Magic = 0x01DA;
} // namespace

std::unique_ptr<Image> ImageLoad::LoadBW(ByteStreamAdapter& adapter, const char* name, int* pSourceFormat)
{
    *pSourceFormat = SOURCEFORMAT_OTHER;
    uint8 header[HeaderSize];
    if (!ImageIO::ReadExact(adapter, header, HeaderSize))
    {
        dbWarningf("BW is too small. [%s]", name);
        return nullptr;
    }
    if (ImageIO::Get16BE(header) != Magic)
    {
        dbWarningf("BW file header is mangled. [%s]", name);
        return nullptr;
    }
    const uint32 xsize = ImageIO::Get16BE(header + 6);
    const uint32 ysize = ImageIO::Get16BE(header + 8);
    if (xsize == 0 || ysize == 0 || xsize > Image::MaxSide || ysize > Image::MaxSide)
    {
        dbWarningf("BW size %ux%u is not 1 to %u a side. [%s]", xsize, ysize, Image::MaxSide, name);
        return nullptr;
    }
    const uint32 count = xsize * ysize;
    auto pImage = std::make_unique<Image_Luminance>();
    if (!pImage->Allocate(xsize, ysize))
        return nullptr;
    if (!ImageIO::ReadExact(adapter, pImage->GetData(0), count))
    {
        dbWarningf("BW file doesn't have enough pixels. [%s]", name);
        return nullptr;
    }
    *pSourceFormat = SOURCEFORMAT_LUMINANCE;
    return pImage;
}
