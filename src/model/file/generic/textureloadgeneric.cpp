#include "model/file/generic/textureloadgeneric.h"

#include "foundation/debug.h"
#include "foundation/output.h"
#include "image/image.h"
#include "image/imageload.h"
#include "model/shader/textureimages.h"
#include "render/device.h"
#include "storage/bytestreamadapter.h"
#include "storage/chunky.h"
#include "storage/filepath.h"
#include "storage/filepathutil.h"

#include <cstdio>
#include <exception>

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

    std::vector<std::unique_ptr<Image>> cImage;
    auto keep = [&cImage](std::unique_ptr<Image> pImage) { TextureImages::KeepIfItFits(cImage, std::move(pImage)); };

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

    if (!dbAssert(fr::Interface::GetDevice()))
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
    fr::ObjectPtr<fr::Texture> pRender = TextureImages::CreateRenderTexture(cView, autoMip, name);
    if (!pRender)
        return nullptr;
    return std::make_unique<Texture>(name, std::move(pRender));
}

bool TextureLoadGeneric::Save(Chunky& chunky, ByteStreamAdapter& adapter, const Texture& texture)
{
    const char* name = texture.GetName() ? texture.GetName() : "";
    std::vector<std::unique_ptr<Image>> cImage;
    if (const fr::Texture* pRender = texture.GetTexture())
        cImage = TextureImages::ConvertToImages(*pRender, name);
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
        fr::ObjectPtr<fr::Texture> pRender = TextureImages::CreateRenderTexture({pImage.get()}, true, filename);
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
            cImage = TextureImages::ConvertToImages(*pRender, filename);
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
