// DDS files of S3TC blocks (DXT1, DXT3, DXT5) with their mip chains. Top levels can be skipped on
// loading to save memory, but never so many that a side falls below one block.
#include "foundation/debug.h"
#include "foundation/output.h"
#include "image/imageio.h"
#include "image/imageload.h"

#include <algorithm>
#include <cstring>

namespace
{
constexpr uint32 MagicSize = 4;
constexpr uint32 HeaderSize = 124;
constexpr uint32 PixelFormatSize = 32;

// Header flags.
constexpr uint32 DDSD_CAPS = 0x1;
constexpr uint32 DDSD_HEIGHT = 0x2;
constexpr uint32 DDSD_WIDTH = 0x4;
constexpr uint32 DDSD_PIXELFORMAT = 0x1000;
constexpr uint32 DDSD_MIPMAPCOUNT = 0x20000;
constexpr uint32 DDSD_LINEARSIZE = 0x80000;
constexpr uint32 DDSD_REQUIRED = DDSD_CAPS | DDSD_HEIGHT | DDSD_WIDTH | DDSD_PIXELFORMAT;
// Pixel format flags.
constexpr uint32 DDPF_FOURCC = 0x4;
// Caps.
constexpr uint32 DDSCAPS_COMPLEX = 0x8;
constexpr uint32 DDSCAPS_TEXTURE = 0x1000;
constexpr uint32 DDSCAPS_MIPMAP = 0x400000;
constexpr uint32 DDSCAPS2_CUBEMAP = 0x200;
constexpr uint32 DDSCAPS2_VOLUME = 0x200000;

// Offsets in the 124-byte header.
constexpr uint32 OffSize = 0;
constexpr uint32 OffFlags = 4;
constexpr uint32 OffHeight = 8;
constexpr uint32 OffWidth = 12;
constexpr uint32 OffLinearSize = 16;
constexpr uint32 OffMipCount = 24;
constexpr uint32 OffPixelFormat = 72; // size, flags, FourCC, then bit count and masks
constexpr uint32 OffCaps = 104;
constexpr uint32 OffCaps2 = 108;

constexpr uint32 FourCCOnDisk(const char (&s)[5])
{
    return uint32(uint8(s[0])) | (uint32(uint8(s[1])) << 8) | (uint32(uint8(s[2])) << 16) |
           (uint32(uint8(s[3])) << 24);
}

void WarnBadTool(const char* name)
{
    dbWarningf(
        "TEXTURE FORMAT -- The tool used to create the DDS file '%s' did not save it correctly, please check "
        "for an updated version of the tool.",
        name);
}
} // namespace

uint32 ImageLoad::LevelsToSkip(int type, uint32 w, uint32 h, uint32 mipCount, uint32 mipsToSkip)
{
    if (mipsToSkip == 0 || mipsToSkip >= mipCount)
        return 0;
    uint32 skip = mipsToSkip;
    if (Image::IsCompressedType(type) && (Image::LevelSide(w, skip) < 4 || Image::LevelSide(h, skip) < 4))
    {
        // Halve both while both are above 4, so that the smaller side stays at 4.
        uint32 fewer = 0;
        while (w > 4 && h > 4 && fewer + 1 < skip)
        {
            w >>= 1;
            h >>= 1;
            ++fewer;
        }
        skip = fewer;
    }
    return skip;
}

std::unique_ptr<Image> ImageLoad::LoadDDS(ByteStreamAdapter& adapter, const char* name, int* pSourceFormat,
                                          int mipsToSkip)
{
    *pSourceFormat = SOURCEFORMAT_OTHER;
    uint8 magic[MagicSize];
    uint8 header[HeaderSize];
    if (!ImageIO::ReadExact(adapter, magic, MagicSize) || std::memcmp(magic, "DDS ", 4) != 0 ||
        !ImageIO::ReadExact(adapter, header, HeaderSize) ||
        ImageIO::Get32LE(header + OffSize) != HeaderSize ||
        (ImageIO::Get32LE(header + OffFlags) & DDSD_REQUIRED) != DDSD_REQUIRED ||
        ImageIO::Get32LE(header + OffPixelFormat) != PixelFormatSize)
    {
        dbWarningf("DDS is not happy. [%s]", name);
        return nullptr;
    }
    const uint32 flags = ImageIO::Get32LE(header + OffFlags);
    const uint32 caps = ImageIO::Get32LE(header + OffCaps);
    const uint32 caps2 = ImageIO::Get32LE(header + OffCaps2);
    const bool complex = (caps & DDSCAPS_COMPLEX) != 0;
    if ((caps2 & DDSCAPS2_CUBEMAP) != 0 || (caps2 & DDSCAPS2_VOLUME) != 0)
    {
        if ((caps2 & DDSCAPS2_CUBEMAP) != 0)
            dbWarningf("Does not support loading of cube maps [%s].", name);
        else
            dbWarningf("Does not support loading of volume textures [%s].", name);
        if (!complex)
            WarnBadTool(name);
        return nullptr;
    }

    const uint32 fileWidth = ImageIO::Get32LE(header + OffWidth);
    const uint32 fileHeight = ImageIO::Get32LE(header + OffHeight);
    if (fileWidth == 0 || fileHeight == 0 || fileWidth > Image::MaxSide || fileHeight > Image::MaxSide)
    {
        dbWarningf("DDS size %ux%u is not 1 to %u a side. [%s]", fileWidth, fileHeight, Image::MaxSide, name);
        return nullptr;
    }

    uint32 mipCount = 1;
    uint32 skip = 0;
    if ((flags & DDSD_MIPMAPCOUNT) != 0)
    {
        mipCount = ImageIO::Get32LE(header + OffMipCount);
        if (!complex || mipCount == 0)
        {
            WarnBadTool(name);
            mipCount = 1;
        }
        else if (mipCount > Image::FullMipCount(fileWidth, fileHeight))
        {
            dbWarningf("DDS claims %u mip levels, a %ux%u image has at most %u. [%s]", mipCount, fileWidth,
                       fileHeight, Image::FullMipCount(fileWidth, fileHeight), name);
            return nullptr;
        }
        else if (mipsToSkip > 0)
        {
            const uint32 wanted = std::min(uint32(mipsToSkip), mipCount - 1);
            // Every type of this reader is compressed: sides stay at 4 pixels or more.
            skip = LevelsToSkip(IMAGETYPE_DXT1, fileWidth, fileHeight, mipCount, wanted);
            if (skip != wanted)
                dbAssert(wanted > skip);
        }
    }

    int type;
    const uint32 fourCC = ImageIO::Get32LE(header + OffPixelFormat + 8);
    const uint32 pixelFlags = ImageIO::Get32LE(header + OffPixelFormat + 4);
    if ((pixelFlags & DDPF_FOURCC) != 0 && fourCC == FourCCOnDisk("DXT1"))
    {
        type = IMAGETYPE_DXT1;
        *pSourceFormat = SOURCEFORMAT_DXT1;
    }
    else if ((pixelFlags & DDPF_FOURCC) != 0 && fourCC == FourCCOnDisk("DXT3"))
    {
        type = IMAGETYPE_DXT3;
        *pSourceFormat = SOURCEFORMAT_DXT3;
    }
    else if ((pixelFlags & DDPF_FOURCC) != 0 && fourCC == FourCCOnDisk("DXT5"))
    {
        type = IMAGETYPE_DXT5;
        *pSourceFormat = SOURCEFORMAT_DXT5;
    }
    else
    {
        // "DXT2" and "DXT4" name their number; any other code is given whole.
        const bool isDXT = (fourCC & 0x00FFFFFF) == (FourCCOnDisk("DXT1") & 0x00FFFFFF);
        dbWarningf("Unsupported DXTC format! %d", isDXT ? int(fourCC >> 24) - '0' : int(fourCC));
        if (!isDXT)
            dbWarningf("Unsupported FourCC code in [%s].", name);
        *pSourceFormat = SOURCEFORMAT_OTHER;
        return nullptr;
    }

    // The dropped levels are passed over; what stays must all be there before anything is made.
    uint32 skipBytes = 0;
    for (uint32 i = 0; i < skip; ++i)
        skipBytes += Image::LevelBytes(type, Image::LevelSide(fileWidth, i), Image::LevelSide(fileHeight, i));
    uint32 keepBytes = 0;
    for (uint32 i = skip; i < mipCount; ++i)
        keepBytes += Image::LevelBytes(type, Image::LevelSide(fileWidth, i), Image::LevelSide(fileHeight, i));
    if (ImageIO::Remaining(adapter) < skipBytes || ImageIO::Remaining(adapter) - skipBytes < keepBytes ||
        !ImageIO::Skip(adapter, skipBytes))
    {
        dbWarningf("Malformed DDS file.  Not enough file for image.");
        *pSourceFormat = SOURCEFORMAT_OTHER;
        return nullptr;
    }

    std::unique_ptr<Image> pImage = Image::Create(type);
    pImage->SetMipCount(mipCount - skip);
    if (!pImage->Allocate(Image::LevelSide(fileWidth, skip), Image::LevelSide(fileHeight, skip)))
        return nullptr;
    for (uint32 level = 0; level < pImage->GetMipCount(); ++level)
    {
        if (!ImageIO::ReadExact(adapter, pImage->GetData(level), pImage->GetDataSize(level)))
        {
            dbWarningf("Malformed DDS file.  Not enough file for image.");
            *pSourceFormat = SOURCEFORMAT_OTHER;
            return nullptr;
        }
    }
    return pImage;
}

bool ImageLoad::SaveDDS(ByteStreamAdapter& adapter, const char* name, const Image& image)
{
    const int type = image.GetImageType();
    if (!image.IsCompressed() || image.GetData(0) == nullptr)
    {
        dbWarningf("TEXTURES -- '%s': Unrecognized image type!", name);
        return false;
    }
    const uint32 w = image.GetWidth();
    const uint32 h = image.GetHeight();
    if ((w & (w - 1)) != 0 || (h & (h - 1)) != 0)
    {
        dbWarningf("TEXTURES -- '%s': DDS sides must be powers of two (%ux%u)!", name, w, h);
        return false;
    }
    const bool mips = image.GetMipCount() > 1;
    uint8 header[HeaderSize] = {};
    ImageIO::Put32LE(header + OffSize, HeaderSize);
    ImageIO::Put32LE(header + OffFlags, DDSD_REQUIRED | DDSD_LINEARSIZE | (mips ? DDSD_MIPMAPCOUNT : 0));
    ImageIO::Put32LE(header + OffHeight, h);
    ImageIO::Put32LE(header + OffWidth, w);
    ImageIO::Put32LE(header + OffLinearSize, (w / 4) * h * 4 * (type == IMAGETYPE_DXT1 ? 8 : 16));
    ImageIO::Put32LE(header + OffMipCount, image.GetMipCount());
    ImageIO::Put32LE(header + OffPixelFormat, PixelFormatSize);
    ImageIO::Put32LE(header + OffPixelFormat + 4, DDPF_FOURCC);
    ImageIO::Put32LE(header + OffPixelFormat + 8, type == IMAGETYPE_DXT1   ? FourCCOnDisk("DXT1")
                                                  : type == IMAGETYPE_DXT3 ? FourCCOnDisk("DXT3")
                                                                           : FourCCOnDisk("DXT5"));
    ImageIO::Put32LE(header + OffCaps, DDSCAPS_TEXTURE | (mips ? DDSCAPS_MIPMAP | DDSCAPS_COMPLEX : 0));

    bool ok =
        ImageIO::WriteExact(adapter, "DDS ", MagicSize) && ImageIO::WriteExact(adapter, header, HeaderSize);
    for (uint32 level = 0; ok && level < image.GetMipCount(); ++level)
        ok = ImageIO::WriteExact(adapter, image.GetData(level), image.GetDataSize(level));
    if (!ok)
        dbWarningf("TEXTURES -- '%s': Unable to write to file!", name);
    return ok;
}
