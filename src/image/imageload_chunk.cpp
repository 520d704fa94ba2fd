// The chunk form of an image inside model and pattern files: a folder "IMAG" named after the
// image, holding "ATTR" (type, width, height, mip count), "DATA" (every level, top first) and,
// for a paletted image, "PAL8". And "IPAL", a paletted image in one data chunk.
#include "foundation/debug.h"
#include "foundation/output.h"
#include "foundation/runoptions.h"
#include "image/imageio.h"
#include "image/imageload.h"
#include "storage/chunky.h"

#include <cstring>

namespace
{
constexpr uint32 PaletteBytes = Image_Palette::PaletteSize * sizeof(Colour); // 0x400

// Bits a pixel of the types the data chunk can hold.
uint32 BitsPerPixel(int type)
{
    switch (type)
    {
    case IMAGETYPE_RGBA32:
        return 32;
    case IMAGETYPE_LUMINANCE:
    case IMAGETYPE_PALETTE:
        return 8;
    case IMAGETYPE_RGB888:
        return 24;
    case IMAGETYPE_DXT1:
        return 4;
    case IMAGETYPE_DXT3:
    case IMAGETYPE_DXT5:
        return 8;
    default:
        return 0;
    }
}

// Reads `count` 32-bit fields of a data chunk of `chunkSize` bytes.
bool ReadFields(ByteStreamAdapter& adapter, uint32 chunkSize, uint32* pFields, uint32 count)
{
    if (chunkSize < count * 4 || ImageIO::Remaining(adapter) < count * 4)
        return false;
    return adapter.ReadArray(pFields, count) == count * 4;
}

bool WriteFields(ByteStreamAdapter& adapter, const uint32* pFields, uint32 count)
{
    return adapter.WriteArray(pFields, count) == count * 4;
}
} // namespace

bool ImageLoad::IsChunkType(int type)
{
    return BitsPerPixel(type) != 0;
}

std::unique_ptr<Image> ImageLoad::ReadImageAttributes(Chunky& chunky, ByteStreamAdapter& adapter,
                                                      int mipsToSkip, uint32* pSkip, uint32* pFileWidth,
                                                      uint32* pFileHeight)
{
    const ChunkInfo info = chunky.ReadDataChunk(ID_ATTR, ATTRVersion);
    uint32 fields[4] = {0, 0, 0, 1};
    const uint32 count = info.version > 1 ? 4 : 3;
    const bool read = ReadFields(adapter, info.size, fields, count);
    chunky.CloseChunk();
    if (!read)
    {
        dbWarningf("Image attributes are cut short: %u bytes, %u needed.", info.size, count * 4);
        return nullptr;
    }
    const int type = int(fields[0]);
    const uint32 imageWidth = fields[1];
    const uint32 imageHeight = fields[2];
    const uint32 mipCount = fields[3];
    if (!Image::IsValidType(type))
    {
        dbWarningf("Image attributes name type %d, which is no image type.", type);
        return nullptr;
    }
    if (imageWidth == 0 || imageHeight == 0 || imageWidth > Image::MaxSide || imageHeight > Image::MaxSide)
    {
        dbWarningf("Image size %ux%u is not 1 to %u a side.", imageWidth, imageHeight, Image::MaxSide);
        return nullptr;
    }
    if (mipCount == 0 || mipCount > Image::FullMipCount(imageWidth, imageHeight))
    {
        dbWarningf("Image of %ux%u can't have %u mip levels.", imageWidth, imageHeight, mipCount);
        return nullptr;
    }
    if (Image::IsCompressedType(type) && (!dbAssert(imageWidth >= 4) || !dbAssert(imageHeight >= 4)))
        return nullptr;

    const uint32 skip =
        LevelsToSkip(type, imageWidth, imageHeight, mipCount, mipsToSkip > 0 ? uint32(mipsToSkip) : 0);
    std::unique_ptr<Image> pImage = Image::Create(type);
    pImage->SetMipCount(mipCount - skip);
    if (!pImage->Allocate(Image::LevelSide(imageWidth, skip), Image::LevelSide(imageHeight, skip)))
        return nullptr;
    *pSkip = skip;
    *pFileWidth = imageWidth;
    *pFileHeight = imageHeight;
    return pImage;
}

bool ImageLoad::ReadImageData(Chunky& chunky, ByteStreamAdapter& adapter, Image& image, uint32 skip,
                              uint32 fileWidth, uint32 fileHeight)
{
    const ChunkInfo info = chunky.ReadDataChunk(ID_DATA, DATAVersion);
    const int type = image.GetImageType();
    if (!dbAssert(BitsPerPixel(type) != 0))
    {
        chunky.CloseChunk();
        return false;
    }
    uint64 skipBytes = 0;
    for (uint32 i = 0; i < skip; ++i)
        skipBytes += Image::LevelBytes(type, Image::LevelSide(fileWidth, i), Image::LevelSide(fileHeight, i));
    uint64 needed = skipBytes;
    for (uint32 level = 0; level < image.GetMipCount(); ++level)
        needed += image.GetDataSize(level);
    if (info.size < needed || ImageIO::Remaining(adapter) < needed)
    {
        dbWarningf("Image data is cut short: %u bytes, %u needed.", info.size, uint32(needed));
        chunky.CloseChunk();
        return false;
    }
    bool ok = ImageIO::Skip(adapter, uint32(skipBytes));
    for (uint32 level = 0; ok && level < image.GetMipCount(); ++level)
        ok = ImageIO::ReadExact(adapter, image.GetData(level), image.GetDataSize(level));
    chunky.CloseChunk();
    if (!ok)
        dbWarningf("Image data can't be read.");
    return ok;
}

std::unique_ptr<Image> ImageLoad::Load(Chunky& chunky, ByteStreamAdapter& adapter, int mipsToSkip)
{
    const ChunkInfo folder = chunky.ReadFolderChunk(ID_IMAG, IMAGVersion);
    if (RunOptions::Has("noimages"))
    {
        chunky.CloseChunk();
        auto pImage = std::make_unique<Image_RGBA32>();
        pImage->Allocate(1, 1);
        (*pImage)[0] = Colour::FromWord(NoImagesPixel);
        pImage->SetName(folder.name.c_str());
        return pImage;
    }

    uint32 skip = 0, fileWidth = 0, fileHeight = 0;
    std::unique_ptr<Image> pImage =
        ReadImageAttributes(chunky, adapter, mipsToSkip, &skip, &fileWidth, &fileHeight);
    if (!pImage || !ReadImageData(chunky, adapter, *pImage, skip, fileWidth, fileHeight))
    {
        dbWarningf("Image '%s' can't be loaded from its chunks.", folder.name.c_str());
        chunky.CloseChunk();
        return nullptr;
    }
    if (chunky.FindChunk(Chunky::CT_Data, ID_PAL8))
    {
        const ChunkInfo info = chunky.ReadDataChunk(ID_PAL8, PAL8Version);
        // The first entry is taken; the rest of the chunk is passed over by the close.
        uint8 entry[4];
        if (pImage->GetImageType() == IMAGETYPE_PALETTE && info.size >= 4 &&
            ImageIO::ReadExact(adapter, entry, 4))
            std::memcpy(static_cast<Image_Palette&>(*pImage).GetPalette(), entry, 4);
        chunky.CloseChunk();
    }
    chunky.CloseChunk();
    pImage->SetName(folder.name.c_str());
    return pImage;
}

void ImageLoad::Save(Chunky& chunky, ByteStreamAdapter& adapter, const Image& image)
{
    chunky.OpenFolderChunk(ID_IMAG, IMAGVersion, image.GetNameText());

    chunky.OpenDataChunk(ID_ATTR, ATTRVersion, nullptr);
    const uint32 fields[4] = {uint32(image.GetImageType()), image.GetWidth(), image.GetHeight(),
                              image.GetMipCount()};
    bool ok = WriteFields(adapter, fields, 4);
    chunky.CloseChunk();

    chunky.OpenDataChunk(ID_DATA, DATAVersion, nullptr);
    for (uint32 level = 0; ok && level < image.GetMipCount(); ++level)
        ok = ImageIO::WriteExact(adapter, image.GetData(level), image.GetDataSize(level));
    chunky.CloseChunk();

    if (image.GetImageType() == IMAGETYPE_PALETTE)
    {
        chunky.OpenDataChunk(ID_PAL8, PAL8Version, nullptr);
        ok = ok && ImageIO::WriteExact(adapter, static_cast<const Image_Palette&>(image).GetPalette(),
                                       PaletteBytes);
        chunky.CloseChunk();
    }
    chunky.CloseChunk();
    if (!ok)
        dbWarningf("TEXTURES -- '%s': Unable to write to file!", image.GetNameText());
}

std::unique_ptr<Image_Palette> ImageLoad::LoadImagePalette(Chunky& chunky, ByteStreamAdapter& adapter)
{
    const ChunkInfo info = chunky.ReadDataChunk(ID_IPAL, IPALVersion);
    uint32 size[2] = {0, 0};
    if (!ReadFields(adapter, info.size, size, 2))
    {
        dbWarningf("Paletted image '%s' is cut short in its size.", info.name.c_str());
        chunky.CloseChunk();
        return nullptr;
    }
    const uint32 width = size[0];
    const uint32 height = size[1];
    if (width == 0 || height == 0 || width > Image::MaxSide || height > Image::MaxSide)
    {
        dbWarningf("Paletted image '%s' size %ux%u is not 1 to %u a side.", info.name.c_str(), width, height,
                   Image::MaxSide);
        chunky.CloseChunk();
        return nullptr;
    }
    const uint32 needed = width * height + PaletteBytes;
    if (info.size - 8 < needed || ImageIO::Remaining(adapter) < needed)
    {
        dbWarningf("Paletted image '%s' is cut short: %u bytes, %u needed.", info.name.c_str(), info.size,
                   needed + 8);
        chunky.CloseChunk();
        return nullptr;
    }
    auto pImage = std::make_unique<Image_Palette>();
    bool ok = pImage->Allocate(width, height) &&
              ImageIO::ReadExact(adapter, pImage->GetData(0), width * height) &&
              ImageIO::ReadExact(adapter, pImage->GetPalette(), PaletteBytes);
    chunky.CloseChunk();
    if (!ok)
        return nullptr;
    pImage->SetName(info.name.c_str());
    return pImage;
}

void ImageLoad::SaveImagePalette(Chunky& chunky, ByteStreamAdapter& adapter, const Image_Palette& image)
{
    chunky.OpenDataChunk(ID_IPAL, IPALVersion, image.GetNameText());
    const uint32 size[2] = {image.GetWidth(), image.GetHeight()};
    const bool ok = WriteFields(adapter, size, 2) &&
                    ImageIO::WriteExact(adapter, image.GetData(0), image.GetWidth() * image.GetHeight()) &&
                    ImageIO::WriteExact(adapter, image.GetPalette(), PaletteBytes);
    chunky.CloseChunk();
    if (!ok)
        dbWarningf("TEXTURES -- '%s': Unable to write to file!", image.GetNameText());
}
