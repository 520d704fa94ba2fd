// BMP files: uncompressed, 4, 8, 24 or 32 bits a pixel, read right after the 54-byte header
// (and the palette). Rows stay in file order and pass through one row buffer.
#include "foundation/output.h"
#include "image/imageio.h"
#include "image/imageload.h"

#include <vector>

namespace
{
constexpr uint32 HeaderSize = 54;

// Rows in the file are padded to a multiple of 4 bytes.
uint32 PaddedRow(uint32 bytes)
{
    return (bytes + 3) & ~3u;
}

// The palette of a 4-bit file counts 3 bytes an entry (blue, green, red), that of an 8-bit file 4
// (blue, green, red, unused). Alpha becomes 0xFF either way.
bool ReadPalette(ByteStreamAdapter& adapter, Image_Palette& image, uint32 count, uint32 entryBytes)
{
    std::vector<uint8> cBytes(size_t(count) * entryBytes);
    if (!ImageIO::ReadExact(adapter, cBytes.data(), uint32(cBytes.size())))
    {
        dbWarningf("Not enough file for the palette.");
        return false;
    }
    for (uint32 i = 0; i < count; ++i)
    {
        const uint8* p = cBytes.data() + size_t(i) * entryBytes;
        image.PaletteEntry(i) = Colour(p[2], p[1], p[0], 0xFF);
    }
    return true;
}

// Reads `height` rows of `rowBytes` (padded in the file) and hands each to `unpack(row, y)`.
template <class Unpack>
bool ReadRows(ByteStreamAdapter& adapter, uint32 rowBytes, uint32 height, Unpack unpack)
{
    const uint32 padded = PaddedRow(rowBytes);
    if (ImageIO::Remaining(adapter) / padded < height)
    {
        dbWarningf("Not enough file for the bitmap.");
        return false;
    }
    std::vector<uint8> cRow(padded);
    for (uint32 y = 0; y < height; ++y)
    {
        if (!ImageIO::ReadExact(adapter, cRow.data(), padded))
        {
            dbWarningf("Not enough file for the bitmap.");
            return false;
        }
        unpack(cRow.data(), y);
    }
    return true;
}
} // namespace

std::unique_ptr<Image> ImageLoad::LoadBMP(ByteStreamAdapter& adapter, const char* name, int* pSourceFormat)
{
    *pSourceFormat = SOURCEFORMAT_OTHER;
    uint8 header[HeaderSize];
    if (!ImageIO::ReadExact(adapter, header, HeaderSize) || ImageIO::Get16LE(header) != 0x4D42)
    {
        dbWarningf("Not a BMP that I know how to read. [%s]", name);
        return nullptr;
    }
    if (ImageIO::Get32LE(header + 30) != 0)
    {
        dbWarningf("Don't know how to handle compressed BMPs. [%s]", name);
        return nullptr;
    }
    const uint32 depth = ImageIO::Get16LE(header + 28);
    if (depth != 4 && depth != 8 && depth != 24 && depth != 32)
    {
        dbWarningf("Unsupported BMP format. [%s]", name);
        return nullptr;
    }
    // Signed in the file: a negative height (rows top-down) is refused like any side out of range.
    const int32 signedWidth = int32(ImageIO::Get32LE(header + 18));
    const int32 signedHeight = int32(ImageIO::Get32LE(header + 22));
    if (signedWidth <= 0 || signedHeight <= 0 || uint32(signedWidth) > Image::MaxSide ||
        uint32(signedHeight) > Image::MaxSide)
    {
        dbWarningf("Unsupported BMP size (%dx%d), sides must be 1 to %u. [%s]", signedWidth, signedHeight,
                   Image::MaxSide, name);
        return nullptr;
    }
    const uint32 width = uint32(signedWidth);
    const uint32 height = uint32(signedHeight);
    const uint32 usedColours = ImageIO::Get32LE(header + 46);

    if (depth == 4 || depth == 8)
    {
        const uint32 count = usedColours != 0 ? usedColours : (depth == 4 ? 16 : 256);
        if (count > Image_Palette::PaletteSize)
        {
            dbWarningf("BMP palette of %u colours is more than %u. [%s]", count, Image_Palette::PaletteSize,
                       name);
            return nullptr;
        }
        auto pImage = std::make_unique<Image_Palette>();
        if (!pImage->Allocate(width, height) || !ReadPalette(adapter, *pImage, count, depth == 4 ? 3 : 4))
            return nullptr;
        uint8* pOut = pImage->GetPixels();
        bool ok;
        if (depth == 4)
        {
            ok = ReadRows(adapter, (width + 1) / 2, height,
                          [pOut, width](const uint8* pRow, uint32 y)
                          {
                              uint8* pDst = pOut + size_t(y) * width;
                              for (uint32 x = 0; x < width; ++x)
                                  pDst[x] =
                                      (x & 1) == 0 ? uint8(pRow[x / 2] >> 4) : uint8(pRow[x / 2] & 0x0F);
                          });
        }
        else
        {
            ok = ReadRows(adapter, width, height,
                          [pOut, width](const uint8* pRow, uint32 y)
                          { std::copy(pRow, pRow + width, pOut + size_t(y) * width); });
        }
        if (!ok)
            return nullptr;
        *pSourceFormat = SOURCEFORMAT_OPAQUE;
        return pImage;
    }

    auto pImage = std::make_unique<Image_RGBA32>();
    if (!pImage->Allocate(width, height))
        return nullptr;
    Colour* pOut = pImage->GetPixels();
    const uint32 bytesPerPixel = depth / 8;
    const bool ok = ReadRows(adapter, width * bytesPerPixel, height,
                             [=](const uint8* pRow, uint32 y)
                             {
                                 Colour* pDst = pOut + size_t(y) * width;
                                 for (uint32 x = 0; x < width; ++x)
                                 {
                                     const uint8* p = pRow + size_t(x) * bytesPerPixel;
                                     pDst[x] =
                                         Colour(p[2], p[1], p[0], bytesPerPixel == 4 ? p[3] : uint8(0xFF));
                                 }
                             });
    if (!ok)
        return nullptr;
    *pSourceFormat = depth == 32 ? SOURCEFORMAT_ALPHA : SOURCEFORMAT_OPAQUE;
    return pImage;
}
