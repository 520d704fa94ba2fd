#include "model/shader/textureimages.h"

#include "foundation/debug.h"
#include "foundation/output.h"
#include "image/image.h"
#include "render/device.h"

#include <span>

namespace
{
// The image as the render layer can take it: itself, or a copy through IMAGETYPE_RGBA32.
const Image* Prepared(const Image& image, std::unique_ptr<Image>& holder)
{
    fr::PixelFormat format;
    if (TextureImages::PixelFormatOf(image.GetImageType(), format))
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

namespace TextureImages
{
bool PixelFormatOf(int imageType, fr::PixelFormat& format)
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

int ImageTypeOf(fr::PixelFormat format)
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

fr::ObjectPtr<fr::Texture> CreateRenderTexture(const std::vector<const Image*>& images, bool autoMip,
                                               const char* name)
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

void KeepIfItFits(std::vector<std::unique_ptr<Image>>& cImage, std::unique_ptr<Image> pImage)
{
    const fr::Device* pDevice = fr::Interface::GetDevice();
    const uint32 maxSide = pDevice ? pDevice->GetMaxTextureSize() : 0;
    if (pImage && pImage->GetWidth() <= maxSide && pImage->GetHeight() <= maxSide)
        cImage.push_back(std::move(pImage));
}

std::unique_ptr<Image> ConvertLevels(const fr::Texture& texture, uint32 firstLevel, uint32 levelCount,
                                     const char* name)
{
    const int type = ImageTypeOf(texture.GetFormat());
    if (type < 0 || levelCount == 0 || firstLevel >= texture.GetMipCount() ||
        levelCount > texture.GetMipCount() - firstLevel)
        return nullptr;
    std::unique_ptr<Image> pImage = Image::Create(type);
    pImage->SetMipCount(levelCount);
    if (!pImage->Allocate(texture.GetLevelWidth(firstLevel), texture.GetLevelHeight(firstLevel)))
        return nullptr;
    for (uint32 level = 0; level < levelCount; ++level)
    {
        const uint32 textureLevel = firstLevel + level;
        const std::span<uint8> out(pImage->GetData(level), pImage->GetDataSize(level));
        if (!pImage->GetData(level) ||
            !texture.Read(textureLevel, 0, 0, texture.GetLevelWidth(textureLevel),
                          texture.GetLevelHeight(textureLevel), out, texture.GetLevelPitch(textureLevel)))
            return nullptr;
    }
    // Image files and the image chunk carry no 16-bit types: those widen to 32 bits.
    if (type == IMAGETYPE_RGB565 || type == IMAGETYPE_RGBA5551)
        pImage = Image::Convert(IMAGETYPE_RGBA32, *pImage);
    if (pImage)
        pImage->SetName(name);
    return pImage;
}

std::vector<std::unique_ptr<Image>> ConvertToImages(const fr::Texture& texture, const char* name)
{
    std::vector<std::unique_ptr<Image>> cImage;
    if (fr::IsCompressed(texture.GetFormat()))
    {
        if (std::unique_ptr<Image> pImage = ConvertLevels(texture, 0, texture.GetMipCount(), name))
            cImage.push_back(std::move(pImage));
        return cImage;
    }
    for (uint32 level = 0; level < texture.GetMipCount(); ++level)
    {
        std::unique_ptr<Image> pImage = ConvertLevels(texture, level, 1, name);
        if (!pImage)
            return {};
        cImage.push_back(std::move(pImage));
    }
    return cImage;
}
} // namespace TextureImages
