// The generic texture: its chunk form, built by hand and written and read, and its files on disk
// (".txr" chunk files and image files) through the inventory.
#include "model/file/generic/textureloadgeneric.h"

#include "foundation/debug.h"
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
#include <vector>

using model_test::Chunk;
using model_test::Env;
using model_test::FileHeader;
using model_test::LevelBytes;
using model_test::PatternedTexture;
using model_test::Reader;
using model_test::SameLevels;
using model_test::U32;
using model_test::Writer;

namespace
{
std::string Save(const Texture& texture)
{
    Writer w;
    EXPECT_TRUE(TextureLoadGeneric::Save(*w.m_pChunky, w.m_adapter, texture));
    return w.Bytes();
}

std::unique_ptr<Texture> Load(const std::string& file, bool autoMip = false)
{
    Reader r(file);
    return TextureLoadGeneric::Load(*r.m_pChunky, r.m_adapter, autoMip);
}

// The chunk form of one image, as the image layer writes it.
std::string ImagChunk(const Image& image)
{
    Writer w;
    ImageLoad::Save(*w.m_pChunky, w.m_adapter, image);
    return w.Bytes().substr(Chunky::FileHeaderSize);
}

std::unique_ptr<Image_RGBA32> Rgba(uint32 w, uint32 h, uint8 seed)
{
    auto pImage = std::make_unique<Image_RGBA32>();
    pImage->Allocate(w, h);
    for (uint32 i = 0; i < w * h; ++i)
        (*pImage)[i] = Colour(uint8(seed + i), uint8(seed * 2 + i), uint8(i * 3), uint8(128 + i));
    return pImage;
}

// The count of the INFO chunk and the number of images of a written texture.
std::pair<int32, int> CountAndImages(const std::string& file)
{
    Reader r(file);
    r.m_pChunky->ReadFolderChunk(TextureLoadGeneric::ID_TXTR, 1);
    r.m_pChunky->ReadDataChunk(TextureLoadGeneric::ID_INFO, 3);
    int32 count = 0;
    r.m_adapter.ReadValue(count);
    r.m_pChunky->CloseChunk();
    int images = 0;
    ChunkInfo child;
    while (r.m_pChunky->NextChunk(child))
        images += child.id == ImageLoad::ID_IMAG ? 1 : 0;
    return {count, images};
}

// The reader stands behind the texture: the next chunk is "NEXT".
bool NextChunkFollows(Reader& r)
{
    ChunkInfo next;
    return r.m_pChunky->NextChunk(next) && next.id == FourCC("NEXT");
}

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
} // namespace

TEST(TextureLoadGeneric, LevelsRoundTripOneImagePerLevelOrOneCompressedImage)
{
    Env env;
    for (fr::PixelFormat format : {fr::PF_A8R8G8B8, fr::PF_DXT1, fr::PF_DXT3, fr::PF_DXT5})
    {
        SCOPED_TRACE(format);
        Texture texture("walls", PatternedTexture(8, format == fr::PF_A8R8G8B8 ? 4 : 8, 4, format));
        const std::string bytes = Save(texture);
        const int images = format == fr::PF_A8R8G8B8 ? 4 : 1;
        EXPECT_EQ(CountAndImages(bytes), std::make_pair(int32(images), images));
        // Levels come from the file, even when the reader may make them.
        std::unique_ptr<Texture> pBack = Load(bytes, true);
        ASSERT_NE(pBack, nullptr);
        EXPECT_STREQ(pBack->GetName(), "walls");
        EXPECT_TRUE(SameLevels(*texture.GetTexture(), *pBack->GetTexture()));
        EXPECT_FALSE(pBack->GetTexture()->IsAutoMip());
    }
}

TEST(TextureLoadGeneric, LoneImageWithAutoMipGetsTheWholeChain)
{
    Env env;
    std::unique_ptr<Texture> pBack =
        Load(Save(Texture("flat", PatternedTexture(4, 4, 1, fr::PF_A8R8G8B8))), true);
    ASSERT_NE(pBack, nullptr);
    const fr::Texture& t = *pBack->GetTexture();
    EXPECT_TRUE(t.IsAutoMip());
    EXPECT_EQ(t.GetMipCount(), 3u);
    const std::vector<uint8> top = LevelBytes(t, 0), mip = LevelBytes(t, 1);
    // First pixel of level 1, first byte: the mean of pixels 0, 1, 4 and 5 of the top.
    EXPECT_EQ(mip[0], uint8((top[0] + top[4] + top[16] + top[20]) / 4));
}

TEST(TextureLoadGeneric, OlderInfoCarriesAStringAndTwoWordsFirst)
{
    Env env;
    auto pImage = Rgba(2, 2, 10);
    const std::string info = U32(5) + "dummy" + U32(7) + U32(8) + U32(1);
    Reader r(FileHeader() +
             Chunk("FOLD", "TXTR", 1, Chunk("DATA", "INFO", 2, info) + ImagChunk(*pImage), "old") +
             Chunk("DATA", "NEXT", 1, "z"));
    std::unique_ptr<Texture> pBack = TextureLoadGeneric::Load(*r.m_pChunky, r.m_adapter);
    ASSERT_NE(pBack, nullptr);
    EXPECT_EQ(pBack->GetTexture()->GetWidth(), 2u);
    EXPECT_EQ(pBack->GetTexture()->GetFormat(), fr::PF_A8R8G8B8);
    const std::vector<uint8> level = LevelBytes(*pBack->GetTexture(), 0);
    EXPECT_EQ(level[0], 0) << "blue of pixel 0";
    EXPECT_EQ(level[2], 10) << "red of pixel 0";
    EXPECT_TRUE(NextChunkFollows(r));
}

TEST(TextureLoadGeneric, BrokenFilesThrowOrGiveNull)
{
    Env env;
    const std::string imag = ImagChunk(*Rgba(2, 2, 1));
    const struct
    {
        const char* what;
        std::string txtr;
    } throwing[] = {
        {"no INFO", imag},
        {"INFO cut short", Chunk("DATA", "INFO", 3, "ab") + imag},
        {"INFO of a newer version", Chunk("DATA", "INFO", 4, U32(1)) + imag},
        {"two images promised, one held", Chunk("DATA", "INFO", 3, U32(2)) + imag},
    };
    for (const auto& c : throwing)
        EXPECT_THROW(Load(FileHeader() + Chunk("FOLD", "TXTR", 1, c.txtr, "t")), Chunky::Exception) << c.what;

    // An image of no type: the texture is null, and the reader goes on behind it.
    const std::string badImag = Chunk("FOLD", "IMAG", 1,
                                      Chunk("DATA", "ATTR", 2, U32(3) + U32(2) + U32(2) + U32(1)) +
                                          Chunk("DATA", "DATA", 2, "12345678"),
                                      "bad");
    Reader r(FileHeader() + Chunk("FOLD", "TXTR", 1, Chunk("DATA", "INFO", 3, U32(1)) + badImag, "t") +
             Chunk("DATA", "NEXT", 1, "z"));
    dbg::ScopedThrowOnAssert quiet(false);
    EXPECT_EQ(TextureLoadGeneric::Load(*r.m_pChunky, r.m_adapter), nullptr);
    EXPECT_TRUE(NextChunkFollows(r));
}

TEST(TextureFiles, ImageAndChunkFilesLoadThroughTheInventory)
{
    Env env;
    generic_test::RegisteredLoaders loaders;
    ToolFolder folder;
    auto pPicture = Rgba(8, 4, 5);
    const std::string image = folder.Name("Stone.tga");
    ASSERT_TRUE(ImageLoad::Save(image.c_str(), *pPicture));
    Inv::Reference<Texture> texture = Inv::Load<Texture>(image.c_str());
    ASSERT_TRUE(texture.IsValid());
    const fr::Texture* pRender = texture->GetTexture();
    ASSERT_NE(pRender, nullptr);
    EXPECT_EQ(pRender->GetFormat(), fr::PF_A8R8G8B8);
    EXPECT_EQ(pRender->GetWidth(), 8u);
    EXPECT_EQ(pRender->GetHeight(), 4u);
    EXPECT_EQ(pRender->GetMipCount(), 4u);
    EXPECT_TRUE(pRender->IsAutoMip());
    EXPECT_EQ(LevelBytes(*pRender, 0), std::vector<uint8>(pPicture->GetData(0), pPicture->GetData(0) + 128));
    // A second load finds the same resource.
    EXPECT_TRUE(Inv::Load<Texture>(image.c_str()) == texture);

    Texture tiles("tiles", PatternedTexture(4, 4, 3, fr::PF_L8));
    const std::string chunks = folder.Name("tiles.txr");
    ASSERT_TRUE(TextureLoadGeneric::SaveFile(chunks.c_str(), tiles));
    Inv::Reference<Texture> back = Inv::Load<Texture>(chunks.c_str());
    ASSERT_TRUE(back.IsValid());
    EXPECT_TRUE(SameLevels(*back->GetTexture(), *tiles.GetTexture()));

    // A missing file has no stand-in.
    EXPECT_FALSE(Inv::Load<Texture>(folder.Name("absent.tga").c_str()).IsValid());
    EXPECT_EQ(TextureLoadGeneric::LoadFile(folder.Name("absent.txr").c_str()), nullptr);
}
