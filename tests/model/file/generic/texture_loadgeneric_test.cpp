#include "model/file/generic/textureloadgeneric.h"

#include "foundation/debug.h"
#include "image/image.h"
#include "image/imageload.h"
#include "image/imagetypes.h"
#include "model/shader/shader_test_env.h"
#include "model/shader/textureimages.h"
#include "support/logcapture.h"

#include <gtest/gtest.h>

#include <vector>

using model_test::Chunk;
using model_test::Env;
using model_test::FileHeader;
using model_test::Reader;
using model_test::U32;
using model_test::Writer;

namespace
{
// A render texture whose every byte tells its level and place.
fr::ObjectPtr<fr::Texture> Patterned(uint32 w, uint32 h, uint32 mips, fr::PixelFormat format)
{
    fr::ObjectPtr<fr::Texture> pTexture =
        fr::Interface::GetDevice()->CreateTexture(w, h, mips, format, false);
    for (uint32 level = 0; level < pTexture->GetMipCount(); ++level)
    {
        std::vector<uint8> bytes(std::size_t(pTexture->GetLevelPitch(level)) * pTexture->GetLevelRows(level));
        for (std::size_t i = 0; i < bytes.size(); ++i)
            bytes[i] = uint8(level * 40 + i * 7 + 1);
        EXPECT_TRUE(pTexture->Write(level, 0, 0, pTexture->GetLevelWidth(level),
                                    pTexture->GetLevelHeight(level), bytes, pTexture->GetLevelPitch(level)));
    }
    return pTexture;
}

void ExpectSameTexture(const fr::Texture& a, const fr::Texture& b)
{
    ASSERT_EQ(a.GetFormat(), b.GetFormat());
    ASSERT_EQ(a.GetWidth(), b.GetWidth());
    ASSERT_EQ(a.GetHeight(), b.GetHeight());
    ASSERT_EQ(a.GetMipCount(), b.GetMipCount());
    for (uint32 level = 0; level < a.GetMipCount(); ++level)
    {
        const auto la = static_cast<const fr::NullTexture&>(a).GetLevel(level);
        const auto lb = static_cast<const fr::NullTexture&>(b).GetLevel(level);
        EXPECT_TRUE(std::equal(la.begin(), la.end(), lb.begin(), lb.end())) << "level " << level;
    }
}

std::string Save(const Texture& texture)
{
    Writer w;
    EXPECT_TRUE(TextureLoadGeneric::Save(*w.m_pChunky, w.m_adapter, texture));
    return w.Bytes();
}

// The chunk form of one image, as the image layer writes it.
std::string ImagChunk(const Image& image)
{
    Writer w;
    ImageLoad::Save(*w.m_pChunky, w.m_adapter, image);
    return w.Bytes().substr(24);
}

std::unique_ptr<Image> Rgba(uint32 w, uint32 h, uint8 seed)
{
    auto pImage = std::make_unique<Image_RGBA32>();
    pImage->Allocate(w, h);
    for (uint32 i = 0; i < w * h; ++i)
        (*pImage)[i] = Colour(uint8(seed + i), uint8(seed * 2 + i), uint8(i * 3), 0xFF);
    return pImage;
}
} // namespace

TEST(TextureLoadGeneric, UncompressedLevelsRoundTripOneImagePerLevel)
{
    Env env;
    Texture texture("walls", Patterned(8, 4, 4, fr::PF_A8R8G8B8));
    const std::string bytes = Save(texture);

    // TXTR "walls" { INFO v3: 4; IMAG x4 }
    Reader check(bytes);
    const ChunkInfo txtr = check.m_pChunky->ReadFolderChunk(TextureLoadGeneric::ID_TXTR, 1);
    EXPECT_STREQ(txtr.name.c_str(), "walls");
    const ChunkInfo info = check.m_pChunky->ReadDataChunk(TextureLoadGeneric::ID_INFO, 3);
    EXPECT_EQ(info.version, 3u);
    int32 count = 0;
    check.m_adapter.ReadValue(count);
    EXPECT_EQ(count, 4);
    check.m_pChunky->CloseChunk();
    int imags = 0;
    ChunkInfo child;
    while (check.m_pChunky->NextChunk(child))
        imags += child.id == ImageLoad::ID_IMAG ? 1 : 0;
    EXPECT_EQ(imags, 4);

    Reader r(bytes);
    std::unique_ptr<Texture> pBack = TextureLoadGeneric::Load(*r.m_pChunky, r.m_adapter);
    ASSERT_NE(pBack, nullptr);
    EXPECT_STREQ(pBack->GetName(), "walls");
    ExpectSameTexture(*texture.GetTexture(), *pBack->GetTexture());
    EXPECT_FALSE(pBack->GetTexture()->IsAutoMip());
}

TEST(TextureLoadGeneric, CompressedTextureIsOneImageHoldingEveryLevel)
{
    Env env;
    for (fr::PixelFormat format : {fr::PF_DXT1, fr::PF_DXT3, fr::PF_DXT5})
    {
        Texture texture("bark", Patterned(8, 8, 4, format));
        const std::string bytes = Save(texture);
        Reader check(bytes);
        check.m_pChunky->ReadFolderChunk(TextureLoadGeneric::ID_TXTR, 1);
        check.m_pChunky->ReadDataChunk(TextureLoadGeneric::ID_INFO, 3);
        int32 count = 0;
        check.m_adapter.ReadValue(count);
        EXPECT_EQ(count, 1) << format;

        Reader r(bytes);
        std::unique_ptr<Texture> pBack = TextureLoadGeneric::Load(*r.m_pChunky, r.m_adapter, true);
        ASSERT_NE(pBack, nullptr);
        ExpectSameTexture(*texture.GetTexture(), *pBack->GetTexture());
        EXPECT_FALSE(pBack->GetTexture()->IsAutoMip()) << "compressed levels come from the file";
    }
}

TEST(TextureLoadGeneric, LoneImageWithAutoMipGetsTheWholeChain)
{
    Env env;
    Texture texture("flat", Patterned(4, 4, 1, fr::PF_A8R8G8B8));
    const std::string bytes = Save(texture);
    Reader r(bytes);
    std::unique_ptr<Texture> pBack = TextureLoadGeneric::Load(*r.m_pChunky, r.m_adapter, true);
    ASSERT_NE(pBack, nullptr);
    const fr::Texture& t = *pBack->GetTexture();
    EXPECT_TRUE(t.IsAutoMip());
    EXPECT_EQ(t.GetMipCount(), 3u);
    const auto top = static_cast<const fr::NullTexture&>(t).GetLevel(0);
    const auto mip = static_cast<const fr::NullTexture&>(t).GetLevel(1);
    // First pixel of level 1, first byte: the mean of pixels 0, 1, 4 and 5 of the top.
    EXPECT_EQ(mip[0], uint8((top[0] + top[4] + top[16] + top[20]) / 4));
}

TEST(TextureLoadGeneric, OlderInfoCarriesAStringAndTwoWordsFirst)
{
    Env env;
    auto pImage = Rgba(2, 2, 10);
    pImage->SetName("old");
    std::string info = U32(5) + "dummy" + U32(7) + U32(8) + U32(1);
    const std::string bytes =
        FileHeader() + Chunk("FOLD", "TXTR", 1, Chunk("DATA", "INFO", 2, info) + ImagChunk(*pImage), "old") +
        Chunk("DATA", "NEXT", 1, "z");
    Reader r(bytes);
    std::unique_ptr<Texture> pBack = TextureLoadGeneric::Load(*r.m_pChunky, r.m_adapter);
    ASSERT_NE(pBack, nullptr);
    EXPECT_EQ(pBack->GetTexture()->GetWidth(), 2u);
    EXPECT_EQ(pBack->GetTexture()->GetFormat(), fr::PF_A8R8G8B8);
    const auto level = static_cast<const fr::NullTexture&>(*pBack->GetTexture()).GetLevel(0);
    EXPECT_EQ(level[0], 0) << "blue of pixel 0";
    EXPECT_EQ(level[2], 10) << "red of pixel 0";
    ChunkInfo next;
    ASSERT_TRUE(r.m_pChunky->NextChunk(next)) << "the reader stands behind the texture";
    EXPECT_EQ(next.id, 0x4E455854u);
}

TEST(TextureLoadGeneric, PalettedAndMixedImagesAreConverted)
{
    Env env;
    auto pPalette = std::make_unique<Image_Palette>();
    pPalette->Allocate(2, 1);
    pPalette->PaletteEntry(3) = Colour(200, 100, 50, 255);
    (*pPalette)[0] = 3;
    (*pPalette)[1] = 0;
    fr::ObjectPtr<fr::Texture> pTexture =
        TextureImages::CreateRenderTexture({pPalette.get()}, false, "pal");
    ASSERT_TRUE(pTexture);
    EXPECT_EQ(pTexture->GetFormat(), fr::PF_A8R8G8B8);
    const auto level = static_cast<const fr::NullTexture&>(*pTexture).GetLevel(0);
    EXPECT_EQ(level[0], 50);
    EXPECT_EQ(level[1], 100);
    EXPECT_EQ(level[2], 200);
    EXPECT_EQ(level[3], 255);

    // A level of the wrong size stops the texture.
    auto top = Rgba(4, 4, 1);
    auto wrong = Rgba(4, 4, 2);
    LogCapture log;
    EXPECT_FALSE(TextureImages::CreateRenderTexture({top.get(), wrong.get()}, false, "mixed"));
    EXPECT_TRUE(log.Has("TEXTURES -- 'mixed': image 1 does not fit mip level 1!"));
    auto right = Rgba(2, 2, 3);
    EXPECT_TRUE(TextureImages::CreateRenderTexture({top.get(), right.get()}, false, "mixed"));
}

TEST(TextureLoadGeneric, BrokenFilesThrowOrGiveNull)
{
    Env env;
    auto pImage = Rgba(2, 2, 1);
    const std::string imag = ImagChunk(*pImage);
    {
        // No INFO.
        Reader r(FileHeader() + Chunk("FOLD", "TXTR", 1, imag, "t"));
        EXPECT_THROW(TextureLoadGeneric::Load(*r.m_pChunky, r.m_adapter), Chunky::Exception);
    }
    {
        // INFO cut short.
        Reader r(FileHeader() + Chunk("FOLD", "TXTR", 1, Chunk("DATA", "INFO", 3, "ab") + imag, "t"));
        EXPECT_THROW(TextureLoadGeneric::Load(*r.m_pChunky, r.m_adapter), Chunky::Exception);
    }
    {
        // INFO of a newer version.
        Reader r(FileHeader() + Chunk("FOLD", "TXTR", 1, Chunk("DATA", "INFO", 4, U32(1)) + imag, "t"));
        EXPECT_THROW(TextureLoadGeneric::Load(*r.m_pChunky, r.m_adapter), Chunky::Exception);
    }
    {
        // INFO promises two images, the folder holds one.
        Reader r(FileHeader() + Chunk("FOLD", "TXTR", 1, Chunk("DATA", "INFO", 3, U32(2)) + imag, "t"));
        EXPECT_THROW(TextureLoadGeneric::Load(*r.m_pChunky, r.m_adapter), Chunky::Exception);
    }
    {
        // An image of no type: the texture is null, and the reader goes on behind it.
        const std::string badImag = Chunk("FOLD", "IMAG", 1,
                                          Chunk("DATA", "ATTR", 2, U32(3) + U32(2) + U32(2) + U32(1)) +
                                              Chunk("DATA", "DATA", 2, "12345678"),
                                          "bad");
        Reader r(FileHeader() + Chunk("FOLD", "TXTR", 1, Chunk("DATA", "INFO", 3, U32(1)) + badImag, "t") +
                 Chunk("DATA", "NEXT", 1, "z"));
        dbg::ScopedThrowOnAssert quiet(false);
        EXPECT_EQ(TextureLoadGeneric::Load(*r.m_pChunky, r.m_adapter), nullptr);
        ChunkInfo next;
        ASSERT_TRUE(r.m_pChunky->NextChunk(next));
        EXPECT_EQ(next.id, 0x4E455854u);
    }
}

TEST(TextureLoadGeneric, TextureWithoutRenderObjectIsNotWritten)
{
    Env env;
    Texture empty("ghost");
    Writer w;
    const uint32 before = w.m_stream.GetLength();
    LogCapture log;
    EXPECT_FALSE(TextureLoadGeneric::Save(*w.m_pChunky, w.m_adapter, empty));
    EXPECT_TRUE(log.Has("TEXTURES -- 'ghost': Unable to convert to an image!"));
    EXPECT_EQ(w.m_stream.GetLength(), before);
}

TEST(TextureLoadGeneric, WithoutADeviceNothingLoads)
{
    auto pImage = Rgba(2, 2, 1);
    pImage->SetName("nodevice");
    const std::string bytes =
        FileHeader() + Chunk("FOLD", "TXTR", 1, Chunk("DATA", "INFO", 3, U32(1)) + ImagChunk(*pImage), "t") +
        Chunk("DATA", "NEXT", 1, "z");
    dbg::ScopedThrowOnAssert quiet(false);
    EXPECT_FALSE(TextureImages::CreateRenderTexture({pImage.get()}, false, "nodevice"));
    Reader r(bytes);
    EXPECT_EQ(TextureLoadGeneric::Load(*r.m_pChunky, r.m_adapter), nullptr);
    ChunkInfo next;
    ASSERT_TRUE(r.m_pChunky->NextChunk(next));
    EXPECT_EQ(next.id, 0x4E455854u);
}
