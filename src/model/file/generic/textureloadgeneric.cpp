#include "model/file/generic/textureloadgeneric.h"

#include "foundation/debug.h"
#include "foundation/output.h"
#include "image/image.h"
#include "image/imageload.h"
#include "render/device.h"
#include "storage/bytestreamadapter.h"
#include "storage/chunky.h"
#include "storage/filepath.h"
#include "storage/filepathutil.h"

#include <cstdio>
#include <exception>

namespace
{
// The image as the render layer can take it: itself, or a copy through IMAGETYPE_RGBA32.
const Image* Prepared(const Image& image, std::unique_ptr<Image>& holder)
{
    fr::PixelFormat format;
    if (TextureLoadGeneric::PixelFormatOf(image.GetImageType(), format))
        return &image;
    holder = Image::Convert(IMAGETYPE_RGBA32, image);
    return holder.get();
}

// Copies one level of an image into a level of the texture.
bool WriteLevel(fr::Texture& texture, uint32 textureLevel, const Image& image, uint32 imageLevel)
{
    const uint32 w = texture.GetLevelWidth(textureLevel);
    const uint32 h = texture.GetLevelHeight(textureLevel);
    if (image.GetWidth(imageLevel) != w || image.GetHeight(imageLevel) != h || !image.GetData(imageLevel))
        return false;
    const std::span<const uint8> data(image.GetData(imageLevel), image.GetDataSize(imageLevel));
    return texture.Write(textureLevel, 0, 0, w, h, data, texture.GetLevelPitch(textureLevel));
}
} // namespace

bool TextureLoadGeneric::PixelFormatOf(int imageType, fr::PixelFormat& format)
{
    switch (imageType)
    {
    case IMAGETYPE_RGBA32:
        format = fr::PF_A8R8G8B8;
        return true;
    case IMAGETYPE_LUMINANCE:
        format = fr::PF_L8;
        return true;
    case IMAGETYPE_RGB565:
        format = fr::PF_R5G6B5;
        return true;
    case IMAGETYPE_RGBA5551:
        format = fr::PF_A1R5G5B5;
        return true;
    case IMAGETYPE_RGB888:
        format = fr::PF_R8G8B8;
        return true;
    case IMAGETYPE_DXT1:
        format = fr::PF_DXT1;
        return true;
    case IMAGETYPE_DXT3:
        format = fr::PF_DXT3;
        return true;
    case IMAGETYPE_DXT5:
        format = fr::PF_DXT5;
        return true;
    default:
        return false;
    }
}

int TextureLoadGeneric::ImageTypeOf(fr::PixelFormat format)
{
    switch (format)
    {
    case fr::PF_R8G8B8:
        return IMAGETYPE_RGB888;
    case fr::PF_A8R8G8B8:
        return IMAGETYPE_RGBA32;
    case fr::PF_A1R5G5B5:
        return IMAGETYPE_RGBA5551;
    case fr::PF_R5G6B5:
        return IMAGETYPE_RGB565;
    case fr::PF_L8:
        return IMAGETYPE_LUMINANCE;
    case fr::PF_DXT1:
        return IMAGETYPE_DXT1;
    case fr::PF_DXT3:
        return IMAGETYPE_DXT3;
    case fr::PF_DXT5:
        return IMAGETYPE_DXT5;
    default:
        return -1;
    }
}

fr::ObjectPtr<fr::Texture> TextureLoadGeneric::CreateRenderTexture(const std::vector<const Image*>& images,
                                                                   bool autoMip, const char* name)
{
    fr::Device* pDevice = fr::Interface::GetDevice();
    if (!dbAssert(pDevice) || images.empty() || !dbAssert(images[0]))
        return {};
    std::unique_ptr<Image> firstHolder;
    const Image* pFirst = Prepared(*images[0], firstHolder);
    fr::PixelFormat format;
    if (!pFirst || !PixelFormatOf(pFirst->GetImageType(), format))
    {
        dbWarningf("TEXTURES -- '%s': Unable to convert image for the render device!", name ? name : "");
        return {};
    }
    const uint32 w = pFirst->GetWidth(), h = pFirst->GetHeight();

    if (images.size() == 1 && autoMip && !pFirst->IsCompressed())
    {
        fr::ObjectPtr<fr::Texture> pTexture = pDevice->CreateTexture(w, h, 0, format, true);
        if (!pTexture || !WriteLevel(*pTexture, 0, *pFirst, 0))
            return {};
        return pTexture;
    }
    if (pFirst->IsCompressed())
    {
        // A compressed image holds its own levels.
        fr::ObjectPtr<fr::Texture> pTexture =
            pDevice->CreateTexture(w, h, pFirst->GetMipCount(), format, false);
        if (!pTexture)
            return {};
        for (uint32 level = 0; level < pTexture->GetMipCount(); ++level)
            if (!WriteLevel(*pTexture, level, *pFirst, level))
                return {};
        return pTexture;
    }

    fr::ObjectPtr<fr::Texture> pTexture = pDevice->CreateTexture(w, h, uint32(images.size()), format, false);
    if (!pTexture)
        return {};
    for (uint32 level = 0; level < pTexture->GetMipCount(); ++level)
    {
        std::unique_ptr<Image> holder;
        const Image* pImage =
            level == 0 ? pFirst : (images[level] ? Prepared(*images[level], holder) : nullptr);
        if (!pImage || pImage->GetImageType() != pFirst->GetImageType() ||
            !WriteLevel(*pTexture, level, *pImage, 0))
        {
            dbWarningf("TEXTURES -- '%s': image %u does not fit mip level %u!", name ? name : "", level,
                       level);
            return {};
        }
    }
    return pTexture;
}

std::vector<std::unique_ptr<Image>> TextureLoadGeneric::ConvertToImages(const fr::Texture& texture,
                                                                        const char* name)
{
    std::vector<std::unique_ptr<Image>> cImage;
    const int type = ImageTypeOf(texture.GetFormat());
    if (type < 0)
        return cImage;
    auto readLevel = [&texture](Image& image, uint32 imageLevel, uint32 textureLevel)
    {
        const std::span<uint8> out(image.GetData(imageLevel), image.GetDataSize(imageLevel));
        return image.GetData(imageLevel) &&
               texture.Read(textureLevel, 0, 0, texture.GetLevelWidth(textureLevel),
                            texture.GetLevelHeight(textureLevel), out, texture.GetLevelPitch(textureLevel));
    };
    if (Image::IsCompressedType(type))
    {
        std::unique_ptr<Image> pImage = Image::Create(type);
        pImage->SetMipCount(texture.GetMipCount());
        if (!pImage->Allocate(texture.GetWidth(), texture.GetHeight()))
            return {};
        for (uint32 level = 0; level < texture.GetMipCount(); ++level)
            if (!readLevel(*pImage, level, level))
                return {};
        pImage->SetName(name);
        cImage.push_back(std::move(pImage));
        return cImage;
    }
    for (uint32 level = 0; level < texture.GetMipCount(); ++level)
    {
        std::unique_ptr<Image> pImage = Image::Create(type);
        if (!pImage->Allocate(texture.GetLevelWidth(level), texture.GetLevelHeight(level)) ||
            !readLevel(*pImage, 0, level))
            return {};
        // Image files and the image chunk carry no 16-bit types: those widen to 32 bits.
        if (type == IMAGETYPE_RGB565 || type == IMAGETYPE_RGBA5551)
            pImage = Image::Convert(IMAGETYPE_RGBA32, *pImage);
        if (!pImage)
            return {};
        pImage->SetName(name);
        cImage.push_back(std::move(pImage));
    }
    return cImage;
}

std::unique_ptr<Texture> TextureLoadGeneric::Load(Chunky& chunky, ByteStreamAdapter& adapter, bool autoMip)
{
    const ChunkInfo txtr = chunky.ReadFolderChunk(ID_TXTR, TXTRVersion);
    const char* name = txtr.name.c_str();

    const ChunkInfo info = chunky.ReadDataChunk(ID_INFO, INFOVersion);
    if (info.version < 3)
    {
        char ignoredText[261];
        int32 ignored[2];
        if (!adapter.ReadString(ignoredText, 260) || adapter.ReadArray(ignored, 2) != sizeof(ignored))
            throw Chunky::Exception(6, "Read past the Chunk end!", adapter.GetPos());
    }
    int32 imageCount = 0;
    if (!adapter.ReadValue(imageCount))
        throw Chunky::Exception(6, "Read past the Chunk end!", adapter.GetPos());
    chunky.CloseChunk();

    fr::Device* pDevice = fr::Interface::GetDevice();
    const uint32 maxSide = pDevice ? pDevice->GetMaxTextureSize() : 0;
    std::vector<std::unique_ptr<Image>> cImage;
    auto keep = [&](std::unique_ptr<Image> pImage)
    {
        if (pImage && pImage->GetWidth() <= maxSide && pImage->GetHeight() <= maxSide)
            cImage.push_back(std::move(pImage));
    };

    std::unique_ptr<Image> pFirst = ImageLoad::Load(chunky, adapter);
    if (!pFirst)
    {
        chunky.CloseChunk();
        return nullptr;
    }
    const bool compressed = pFirst->IsCompressed();
    keep(std::move(pFirst));
    if (!compressed)
        for (int32 i = 1; i < imageCount; ++i)
            keep(ImageLoad::Load(chunky, adapter));
    chunky.CloseChunk();

    if (!dbAssert(pDevice))
        return nullptr;
    if (cImage.empty())
    {
        char text[512];
        std::snprintf(text, sizeof(text), "Unable to load image(s) for texture '%s'!", name);
        throw Chunky::Exception(EXC_NoImages, text, adapter.GetPos());
    }
    std::vector<const Image*> cView;
    for (const auto& p : cImage)
        cView.push_back(p.get());
    fr::ObjectPtr<fr::Texture> pRender = CreateRenderTexture(cView, autoMip, name);
    if (!pRender)
        return nullptr;
    return std::make_unique<Texture>(name, std::move(pRender));
}

bool TextureLoadGeneric::Save(Chunky& chunky, ByteStreamAdapter& adapter, const Texture& texture)
{
    const char* name = texture.GetName() ? texture.GetName() : "";
    std::vector<std::unique_ptr<Image>> cImage;
    if (const fr::Texture* pRender = texture.GetTexture())
        cImage = ConvertToImages(*pRender, name);
    if (cImage.empty())
    {
        dbWarningf("TEXTURES -- '%s': Unable to convert to an image!", name);
        return false;
    }
    chunky.OpenFolderChunk(ID_TXTR, TXTRVersion, name);
    chunky.OpenDataChunk(ID_INFO, INFOVersion, nullptr);
    adapter.WriteValue(int32(cImage.size()));
    chunky.CloseChunk();
    for (const auto& pImage : cImage)
        ImageLoad::Save(chunky, adapter, *pImage);
    chunky.CloseChunk();
    return true;
}

std::unique_ptr<Texture> TextureLoadGeneric::LoadFile(const char* filename)
{
    if (!dbAssert(filename))
        return nullptr;
    if (!FilePathUtil::HasExtension(filename, Texture::FileExtension))
    {
        int sourceFormat = SOURCEFORMAT_OTHER;
        std::unique_ptr<Image> pImage = ImageLoad::Load(&sourceFormat, filename);
        if (!pImage)
            return nullptr;
        fr::ObjectPtr<fr::Texture> pRender = CreateRenderTexture({pImage.get()}, true, filename);
        if (!pRender)
            return nullptr;
        return std::make_unique<Texture>(filename, std::move(pRender));
    }
    std::shared_ptr<ByteStream> pStream = FilePath::Open(filename, ByteStream::Mode_Read);
    if (!pStream)
    {
        dbWarningf("TEXTURES -- '%s': Unable to load!", filename);
        return nullptr;
    }
    try
    {
        ByteStreamAdapter adapter(*pStream);
        Chunky chunky(adapter);
        std::unique_ptr<Texture> pTexture = Load(chunky, adapter, false);
        if (pTexture)
            pTexture->SetName(filename);
        return pTexture;
    }
    catch (const std::exception& e)
    {
        dbWarningf("TEXTURES -- '%s': %s", filename, e.what());
        return nullptr;
    }
}

bool TextureLoadGeneric::SaveFile(const char* filename, const Texture& texture)
{
    if (!dbAssert(filename))
        return false;
    if (!FilePathUtil::HasExtension(filename, Texture::FileExtension))
    {
        std::vector<std::unique_ptr<Image>> cImage;
        if (const fr::Texture* pRender = texture.GetTexture())
            cImage = ConvertToImages(*pRender, filename);
        if (cImage.empty())
        {
            dbWarningf("TEXTURES -- '%s': Unable to convert texture to an image!", filename);
            return false;
        }
        return ImageLoad::Save(filename, *cImage[0]);
    }
    std::shared_ptr<ByteStream> pStream = FilePath::Open(filename, ByteStream::Mode_Write);
    if (!pStream)
    {
        dbWarningf("TEXTURES -- '%s': Unable to open file!", filename);
        return false;
    }
    try
    {
        ByteStreamAdapter adapter(*pStream);
        Chunky chunky(adapter);
        return Save(chunky, adapter, texture);
    }
    catch (const std::exception& e)
    {
        dbWarningf("TEXTURES -- '%s': %s", filename, e.what());
        return false;
    }
}
