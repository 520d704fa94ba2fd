#include "model/file/final/textureloadfinal.h"

#include "foundation/debug.h"
#include "foundation/output.h"
#include "image/image.h"
#include "image/imageload.h"
#include "model/file/modelchunk.h"
#include "model/shader/textureimages.h"
#include "render/device.h"
#include "storage/bytestreamadapter.h"
#include "storage/chunky.h"

#include <vector>

namespace
{
int s_useDXTC = 0;
int s_mipsToSkip = 0;
bool s_writeAllMips = false;
int s_detail = 3;

// The image type of a DXTC setting: 8, 10 or 11 for 1, 3 or 5; -1 for none.
int DXTImageType(int useDXTC)
{
    switch (useDXTC)
    {
    case 1:
        return IMAGETYPE_DXT1;
    case 3:
        return IMAGETYPE_DXT3;
    case 5:
        return IMAGETYPE_DXT5;
    default:
        return -1;
    }
}

// The levels [first, first + count) of the texture as one image of `type` (-1: as the texture
// holds them).
std::unique_ptr<Image> LevelImage(const fr::Texture& texture, uint32 first, uint32 count, int type,
                                  const char* name)
{
    std::unique_ptr<Image> pImage = TextureImages::ConvertLevels(texture, first, count, name);
    if (!pImage || type < 0 || pImage->GetImageType() == type)
        return pImage;
    if (!Image::CanConvert(type, pImage->GetImageType()))
        return nullptr;
    pImage = Image::Convert(type, *pImage);
    if (pImage)
        pImage->SetName(name);
    return pImage;
}

// Detail 0: one pixel of flat grey, whatever the file holds.
std::unique_ptr<Texture> FlatTexture(const char* name)
{
    fr::Device* pDevice = fr::Interface::GetDevice();
    if (!dbAssert(pDevice))
        return nullptr;
    fr::ObjectPtr<fr::Texture> pTexture = pDevice->CreateTexture(1, 1, 1, fr::PF_A8R8G8B8, false);
    const uint32 colour = TextureLoadFinal::FlatColour;
    const uint8 pixel[4] = {uint8(colour), uint8(colour >> 8), uint8(colour >> 16), uint8(colour >> 24)};
    if (!dbAssert(pTexture.get()) || !pTexture->Write(0, 0, 0, 1, 1, pixel, sizeof(pixel)))
        return nullptr;
    return std::make_unique<Texture>(name, std::move(pTexture));
}
} // namespace

void TextureLoadFinal::SetUseDXTC(int useDXTC)
{
    if (dbAssert((useDXTC == 0) || (useDXTC == 1) || (useDXTC == 3) || (useDXTC == 5)))
        s_useDXTC = useDXTC;
}

int TextureLoadFinal::GetUseDXTC()
{
    return s_useDXTC;
}

void TextureLoadFinal::SetMipsToSkip(int mipsToSkip)
{
    if (dbAssert(mipsToSkip >= 0))
        s_mipsToSkip = mipsToSkip;
}

int TextureLoadFinal::GetMipsToSkip()
{
    return s_mipsToSkip;
}

void TextureLoadFinal::SetWriteAllMips(bool all)
{
    s_writeAllMips = all;
}

bool TextureLoadFinal::GetWriteAllMips()
{
    return s_writeAllMips;
}

void TextureLoadFinal::SetDetail(int detail)
{
    if (dbAssert((detail >= 0) && (detail <= 3)))
        s_detail = detail;
}

int TextureLoadFinal::GetDetail()
{
    return s_detail;
}

std::unique_ptr<Texture> TextureLoadFinal::Load(Chunky& chunky, ByteStreamAdapter& adapter, bool autoMip)
{
    const ChunkInfo txtr = chunky.ReadFolderChunk(ID_TXTR, TXTRVersion);
    const char* name = txtr.name.c_str();
    if (s_detail == 0)
    {
        chunky.CloseChunk();
        return FlatTexture(name);
    }

    ModelChunk::Payload head(adapter, chunky.ReadDataChunk(ID_HEAD, HEADVersion));
    const uint32 format = head.ReadUInt32();
    const uint32 imageCount = head.ReadUInt32();
    chunky.CloseChunk();

    const bool compressed = format == fr::PF_DXT1 || format == fr::PF_DXT3 || format == fr::PF_DXT5;
    uint32 skip = uint32(3 - s_detail);
    if (imageCount == 0)
        skip = 0;
    else if (!compressed && imageCount <= skip)
        skip = imageCount - 1;

    std::vector<std::unique_ptr<Image>> cImage;
    auto keep = [&cImage](std::unique_ptr<Image> pImage) { TextureImages::KeepIfItFits(cImage, std::move(pImage)); };
    if (compressed)
    {
        // One image holds the levels; the image layer drops the top ones as it reads.
        if (imageCount != 0)
            keep(ImageLoad::Load(chunky, adapter, int(skip)));
    }
    else
    {
        for (uint32 i = 0; i < imageCount; ++i)
        {
            if (i < skip)
            {
                // Levels below the detail are passed over undecoded.
                chunky.ReadFolderChunk(ImageLoad::ID_IMAG, ImageLoad::IMAGVersion);
                chunky.CloseChunk();
                continue;
            }
            keep(ImageLoad::Load(chunky, adapter));
        }
    }
    chunky.CloseChunk();

    if (cImage.empty())
    {
        dbWarningf("TEXTURES -- '%s': Unable to load images!", name);
        return nullptr;
    }
    std::vector<const Image*> cView;
    for (const auto& p : cImage)
        cView.push_back(p.get());
    fr::ObjectPtr<fr::Texture> pTexture = TextureImages::CreateRenderTexture(cView, autoMip, name);
    if (!dbAssert(pTexture.get()))
        return nullptr;
    return std::make_unique<Texture>(name, std::move(pTexture));
}

bool TextureLoadFinal::Save(Chunky& chunky, ByteStreamAdapter& adapter, const Texture& texture, int mipsToSkip,
                            bool writeAllMips, int useDXTC)
{
    const char* name = texture.GetName() ? texture.GetName() : "";
    if (!dbAssert(texture.GetTexture()) || !dbAssert(texture.GetTexture()->GetMipCount() >= 1))
        return false;
    if (!dbAssert((useDXTC == 0) || (useDXTC == 1) || (useDXTC == 3) || (useDXTC == 5)))
        return false;
    const fr::Texture& render = *texture.GetTexture();
    const uint32 mipCount = render.GetMipCount();

    int numMipsToSkip = mipsToSkip;
    if (numMipsToSkip >= int(mipCount))
        numMipsToSkip = int(mipCount) - 1;
    if (!dbAssert(numMipsToSkip >= 0))
        return false;
    uint32 first = uint32(numMipsToSkip);

    // A compressed image holds every level from its first down, and its sides are at least 4.
    int type = useDXTC != 0 ? DXTImageType(useDXTC) : -1;
    bool compressed = useDXTC != 0 || fr::IsCompressed(render.GetFormat());
    if (compressed)
    {
        first = ImageLoad::LevelsToSkip(IMAGETYPE_DXT1, render.GetWidth(), render.GetHeight(), mipCount, first);
        if (render.GetLevelWidth(first) < 4 || render.GetLevelHeight(first) < 4)
        {
            compressed = false;
            type = fr::IsCompressed(render.GetFormat()) ? int(IMAGETYPE_RGBA32) : -1;
        }
    }
    const uint32 maxIndex = (!writeAllMips || compressed) ? first + 1 : mipCount;
    if (!dbAssert(maxIndex <= texture.GetTexture()->GetMipCount()))
        return false;

    std::vector<std::unique_ptr<Image>> cImage;
    for (uint32 level = first; level < maxIndex; ++level)
    {
        std::unique_ptr<Image> pImage =
            LevelImage(render, level, compressed ? mipCount - first : 1, type, name);
        if (!pImage)
        {
            dbWarningf("TEXTURES -- '%s': Unable to convert mip-map %d to an image!", name, int(level));
            return false;
        }
        cImage.push_back(std::move(pImage));
    }
    fr::PixelFormat format;
    if (!dbAssert(TextureImages::PixelFormatOf(cImage[0]->GetImageType(), format)))
        return false;

    chunky.OpenFolderChunk(ID_TXTR, TXTRVersion, name);
    chunky.OpenDataChunk(ID_HEAD, HEADVersion, nullptr);
    ModelChunk::WriteUInt32(adapter, uint32(format));
    ModelChunk::WriteUInt32(adapter, uint32(cImage.size()));
    chunky.CloseChunk();
    for (const auto& pImage : cImage)
        ImageLoad::Save(chunky, adapter, *pImage);
    chunky.CloseChunk();
    return true;
}

bool TextureLoadFinal::Save(Chunky& chunky, ByteStreamAdapter& adapter, const Texture& texture)
{
    return Save(chunky, adapter, texture, s_mipsToSkip, s_writeAllMips, s_useDXTC);
}
