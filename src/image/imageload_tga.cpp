// TGA files: uncompressed true colour of 24 or 32 bits, no colour map, origin 0. Rows are taken in
// file order; the descriptor byte is not read, so nothing is flipped.
#include "foundation/output.h"
#include "image/imageio.h"
#include "image/imageload.h"

#include <cstring>

namespace
{
constexpr uint32 HeaderSize = 18;
} // namespace

std::unique_ptr<Image> ImageLoad::LoadTGA(ByteStreamAdapter& adapter, const char* name, int* pSourceFormat)
{
    *pSourceFormat = SOURCEFORMAT_OTHER;
    uint8 header[HeaderSize];
    if (!ImageIO::ReadExact(adapter, header, HeaderSize))
        return nullptr;
    // No colour map, uncompressed true colour, no origin: anything else is not ours to read.
    static const uint8 s_expect1to6[6] = {0, 2, 0, 0, 0, 0};
    static const uint8 s_expect8to11[4] = {0, 0, 0, 0};
    if (std::memcmp(header + 1, s_expect1to6, 6) != 0 || std::memcmp(header + 8, s_expect8to11, 4) != 0)
        return nullptr;
    if (!ImageIO::Skip(adapter, header[0]))
    {
        dbWarningf("TGA file ends in its identification field. [%s]", name);
        return nullptr;
    }

    const uint32 width = ImageIO::Get16LE(header + 12);
    const uint32 height = ImageIO::Get16LE(header + 14);
    const uint32 depth = header[16];
    if (width == 0 || height == 0 || (depth != 24 && depth != 32))
        return nullptr;
    if (width > Image::MaxSide || height > Image::MaxSide)
    {
        dbWarningf("TGA is too big (%ux%u), the largest side is %u. [%s]", width, height, Image::MaxSide,
                   name);
        return nullptr;
    }

    const uint32 count = width * height;
    const uint32 fileBytes = count * (depth / 8);
    if (ImageIO::Remaining(adapter) < fileBytes)
    {
        dbWarningf("TGA file doesn't have enough pixels: %u bytes needed, %u left. [%s]", fileBytes,
                   ImageIO::Remaining(adapter), name);
        return nullptr;
    }

    auto pImage = std::make_unique<Image_RGBA32>();
    if (!pImage->Allocate(width, height))
        return nullptr;
    uint8* pBlock = pImage->GetData(0);
    // The pixels go into the tail of the block, so that 24-bit ones can widen in place.
    const uint32 tail = count * 4 - fileBytes;
    if (!ImageIO::ReadExact(adapter, pBlock + tail, fileBytes))
    {
        dbWarningf("TGA file doesn't have enough pixels. [%s]", name);
        return nullptr;
    }
    if (depth == 24)
    {
        // Forward: pixel i is written at 4i, at or before where its 3 bytes were read (tail + 3i).
        for (uint32 i = 0; i < count; ++i)
        {
            const uint8* pIn = pBlock + tail + size_t(i) * 3;
            const uint8 b = pIn[0], g = pIn[1], r = pIn[2];
            uint8* pOut = pBlock + size_t(i) * 4;
            pOut[0] = b;
            pOut[1] = g;
            pOut[2] = r;
            pOut[3] = 0xFF;
        }
        *pSourceFormat = SOURCEFORMAT_OPAQUE;
    }
    else
    {
        *pSourceFormat = SOURCEFORMAT_ALPHA;
    }
    return pImage;
}

bool ImageLoad::SaveTGA(ByteStreamAdapter& adapter, const char* name, const Image& image)
{
    const int type = image.GetImageType();
    if ((type != IMAGETYPE_RGBA32 && type != IMAGETYPE_RGB888) || image.GetData(0) == nullptr)
    {
        dbWarningf("TEXTURES -- '%s': Unrecognized image type!", name);
        return false;
    }
    if (image.GetWidth() >= 0x10000 || image.GetHeight() >= 0x10000)
    {
        dbWarningf("TEXTURES -- '%s': Image is too big (%dx%d)!", name, int(image.GetWidth()),
                   int(image.GetHeight()));
        return false;
    }
    uint8 header[HeaderSize] = {0, 0, 2};
    ImageIO::Put16LE(header + 12, image.GetWidth());
    ImageIO::Put16LE(header + 14, image.GetHeight());
    header[16] = type == IMAGETYPE_RGBA32 ? 32 : 24;
    header[17] = 0;
    const uint32 bytes = image.GetWidth() * image.GetHeight() * (header[16] / 8u);
    if (!ImageIO::WriteExact(adapter, header, HeaderSize) ||
        !ImageIO::WriteExact(adapter, image.GetData(0), bytes))
    {
        dbWarningf("TEXTURES -- '%s': Unable to write to file!", name);
        return false;
    }
    return true;
}
