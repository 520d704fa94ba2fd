#include "model/file/generic/textureloadgeneric.h"

#include "image/image.h"
#include "image/imageload.h"
#include "image/imagetypes.h"
#include "model/file/generic/generic_test_util.h"
#include "model/shader/shader_test_env.h"
#include "model/shader/textureimages.h"
#include "storage/filepath.h"
#include "storage/filepath_hd.h"
#include "support/logcapture.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

using model_test::Env;

namespace
{
// A scratch folder reached through "TOOL:", the raw disk alias of the tools.
struct ToolFolder
{
    ToolFolder()
    {
        char pattern[] = "/tmp/tq7z_texture_XXXXXX";
        root = mkdtemp(pattern);
        FilePath::AddAlias("TOOL", "test", 99, std::make_shared<FilePathHDRaw>());
    }
    ~ToolFolder()
    {
        FilePath::Reset();
        std::filesystem::remove_all(root);
    }
    std::string Name(const char* file) const { return "TOOL:" + root + "/" + file; }
    std::string root;
};

std::unique_ptr<Image_RGBA32> Picture(uint32 w, uint32 h)
{
    auto pImage = std::make_unique<Image_RGBA32>();
    pImage->Allocate(w, h);
    for (uint32 i = 0; i < w * h; ++i)
        (*pImage)[i] = Colour(uint8(i * 5), uint8(255 - i), uint8(i * 11), uint8(128 + i));
    return pImage;
}
} // namespace

TEST(TextureFiles, ImageFileLoadsThroughTheInventoryWithAutomaticMips)
{
    Env env;
    generic_test::RegisteredLoaders loaders;
    ToolFolder folder;
    auto pPicture = Picture(8, 4);
    const std::string file = folder.Name("Stone.tga");
    ASSERT_TRUE(ImageLoad::Save(file.c_str(), *pPicture));

    Inv::Reference<Texture> texture = Inv::Load<Texture>(file.c_str());
    ASSERT_TRUE(texture.IsValid());
    const fr::Texture* pRender = texture->GetTexture();
    ASSERT_NE(pRender, nullptr);
    EXPECT_EQ(pRender->GetFormat(), fr::PF_A8R8G8B8);
    EXPECT_EQ(pRender->GetWidth(), 8u);
    EXPECT_EQ(pRender->GetHeight(), 4u);
    EXPECT_EQ(pRender->GetMipCount(), 4u);
    EXPECT_TRUE(pRender->IsAutoMip());
    const auto top = static_cast<const fr::NullTexture&>(*pRender).GetLevel(0);
    ASSERT_EQ(top.size(), pPicture->GetDataSize(0));
    EXPECT_TRUE(std::equal(top.begin(), top.end(), pPicture->GetData(0)));

    // A second load finds the same resource.
    Inv::Reference<Texture> again = Inv::Load<Texture>(file.c_str());
    EXPECT_TRUE(again == texture);
}

TEST(TextureFiles, MissingFileHasNoStandIn)
{
    Env env;
    generic_test::RegisteredLoaders loaders;
    ToolFolder folder;
    Inv::Reference<Texture> texture = Inv::Load<Texture>(folder.Name("absent.tga").c_str());
    EXPECT_FALSE(texture.IsValid());
    EXPECT_EQ(TextureLoadGeneric::LoadFile(folder.Name("absent.txr").c_str()), nullptr);
}

TEST(TextureFiles, TextureChunkFileRoundTrip)
{
    Env env;
    generic_test::RegisteredLoaders loaders;
    ToolFolder folder;
    fr::ObjectPtr<fr::Texture> pRender = fr::Interface::GetDevice()->CreateTexture(4, 4, 3, fr::PF_L8, false);
    for (uint32 level = 0; level < 3; ++level)
    {
        std::vector<uint8> bytes(pRender->GetLevelPitch(level) * pRender->GetLevelRows(level));
        for (std::size_t i = 0; i < bytes.size(); ++i)
            bytes[i] = uint8(17 * level + i);
        ASSERT_TRUE(pRender->Write(level, 0, 0, pRender->GetLevelWidth(level), pRender->GetLevelHeight(level),
                                   bytes, pRender->GetLevelPitch(level)));
    }
    Texture texture("tiles", pRender);
    const std::string file = folder.Name("tiles.txr");
    ASSERT_TRUE(TextureLoadGeneric::SaveFile(file.c_str(), texture));

    Inv::Reference<Texture> back = Inv::Load<Texture>(file.c_str());
    ASSERT_TRUE(back.IsValid());
    const fr::Texture* pBack = back->GetTexture();
    ASSERT_EQ(pBack->GetFormat(), fr::PF_L8);
    ASSERT_EQ(pBack->GetMipCount(), 3u);
    for (uint32 level = 0; level < 3; ++level)
    {
        const auto a = static_cast<const fr::NullTexture&>(*pRender).GetLevel(level);
        const auto b = static_cast<const fr::NullTexture&>(*pBack).GetLevel(level);
        EXPECT_TRUE(std::equal(a.begin(), a.end(), b.begin(), b.end())) << level;
    }
}

TEST(TextureFiles, SixteenBitTexturesAreWrittenWidened)
{
    Env env;
    ToolFolder folder;
    fr::ObjectPtr<fr::Texture> pRender =
        fr::Interface::GetDevice()->CreateTexture(2, 1, 1, fr::PF_R5G6B5, false);
    // Pure red, then green 1 of 63 with blue 31 of 31.
    const uint8 pixels[4] = {0x00, 0xF8, 0x3F, 0x00};
    ASSERT_TRUE(pRender->Write(0, 0, 0, 2, 1, pixels, 4));
    Texture texture("bits", pRender);
    const std::string file = folder.Name("bits.txr");
    ASSERT_TRUE(TextureLoadGeneric::SaveFile(file.c_str(), texture));
    std::unique_ptr<Texture> pBack = TextureLoadGeneric::LoadFile(file.c_str());
    ASSERT_NE(pBack, nullptr);
    ASSERT_EQ(pBack->GetTexture()->GetFormat(), fr::PF_A8R8G8B8);
    const auto level = static_cast<const fr::NullTexture&>(*pBack->GetTexture()).GetLevel(0);
    const uint8 expected[8] = {0, 0, 255, 255, 255, 4, 0, 255};
    ASSERT_EQ(level.size(), 8u);
    for (int i = 0; i < 8; ++i)
        EXPECT_EQ(level[i], expected[i]) << i;
}

TEST(TextureFiles, SavingAsAnImageFileWritesTheTopLevel)
{
    Env env;
    ToolFolder folder;
    auto pPicture = Picture(4, 4);
    fr::ObjectPtr<fr::Texture> pRender =
        TextureImages::CreateRenderTexture({pPicture.get()}, true, "picture");
    ASSERT_TRUE(pRender);
    Texture texture("picture", pRender);
    const std::string file = folder.Name("picture.tga");
    ASSERT_TRUE(TextureLoadGeneric::SaveFile(file.c_str(), texture));
    int sourceFormat = 0;
    std::unique_ptr<Image> pBack = ImageLoad::Load(&sourceFormat, file.c_str());
    ASSERT_NE(pBack, nullptr);
    EXPECT_EQ(pBack->GetWidth(), 4u);
    EXPECT_EQ(sourceFormat, SOURCEFORMAT_ALPHA);
    ASSERT_EQ(pBack->GetDataSize(0), pPicture->GetDataSize(0));
    EXPECT_TRUE(
        std::equal(pBack->GetData(0), pBack->GetData(0) + pBack->GetDataSize(0), pPicture->GetData(0)));

    Texture empty("nothing");
    LogCapture log;
    EXPECT_FALSE(TextureLoadGeneric::SaveFile(folder.Name("nothing.tga").c_str(), empty));
    EXPECT_TRUE(log.Has("Unable to convert texture to an image!"));
}
