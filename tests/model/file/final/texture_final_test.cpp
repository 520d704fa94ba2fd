#include "model/file/final/textureloadfinal.h"

#include "foundation/debug.h"
#include "image/image.h"
#include "image/imageload.h"
#include "image/imagetypes.h"
#include "model/shader/shader_test_env.h"
#include "model/shader/textureimages.h"
#include "support/logcapture.h"

#include <gtest/gtest.h>

#include <tuple>
#include <vector>

using model_test::Chunk;
using model_test::Env;
using model_test::FileHeader;
using model_test::Reader;
using model_test::U32;
using model_test::Writer;

namespace
{
// The reader's and writer's globals for one test, put back after it.
struct Settings
{
    Settings(int detail, int mipsToSkip = 0, bool writeAllMips = false, int useDXTC = 0)
    {
        TextureLoadFinal::SetDetail(detail);
        TextureLoadFinal::SetMipsToSkip(mipsToSkip);
        TextureLoadFinal::SetWriteAllMips(writeAllMips);
        TextureLoadFinal::SetUseDXTC(useDXTC);
    }
    ~Settings()
    {
        TextureLoadFinal::SetDetail(3);
        TextureLoadFinal::SetMipsToSkip(0);
        TextureLoadFinal::SetWriteAllMips(false);
        TextureLoadFinal::SetUseDXTC(0);
    }
};

// An image of one level, or of several for the compressed types, whose bytes tell their level.
std::unique_ptr<Image> Patterned(int type, uint32 side, uint32 mips, uint8 seed)
{
    std::unique_ptr<Image> pImage = Image::Create(type);
    pImage->SetMipCount(mips);
    pImage->Allocate(side, side);
    for (uint32 level = 0; level < mips; ++level)
        for (uint32 i = 0; i < pImage->GetDataSize(level); ++i)
            pImage->GetData(level)[i] = uint8(seed + level * 50 + i * 7);
    pImage->SetName("tex");
    return pImage;
}

// The chunk form of an image, as the image layer writes it.
std::string ImagChunk(const Image& image)
{
    Writer w;
    ImageLoad::Save(*w.m_pChunky, w.m_adapter, image);
    return w.Bytes().substr(Chunky::FileHeaderSize);
}

// An "IMAG" folder that cannot be decoded: its "ATTR" is of a version no reader takes.
std::string UndecodableImag()
{
    return Chunk("FOLD", "IMAG", 1, Chunk("DATA", "ATTR", 99, U32(0) + U32(4) + U32(4) + U32(1)));
}

std::string Txtr(uint32 format, uint32 count, const std::string& images)
{
    return Chunk("FOLD", "TXTR", 1, Chunk("DATA", "HEAD", 1, U32(format) + U32(count)) + images, "tex");
}

std::unique_ptr<Texture> LoadChunks(const std::string& chunks)
{
    Reader r(FileHeader() + chunks);
    return TextureLoadFinal::Load(*r.m_pChunky, r.m_adapter);
}

std::vector<uint8> Level(const Texture& texture, uint32 level)
{
    return model_test::LevelBytes(*texture.GetTexture(), level);
}

std::vector<uint8> Level(const Image& image, uint32 level)
{
    return std::vector<uint8>(image.GetData(level), image.GetData(level) + image.GetDataSize(level));
}

fr::ObjectPtr<fr::Texture> PatternedTexture(uint32 side, uint32 mips, fr::PixelFormat format)
{
    return model_test::PatternedTexture(side, side, mips, format);
}

std::string Save(const Texture& texture, int mipsToSkip, bool writeAllMips, int useDXTC)
{
    Writer w;
    EXPECT_TRUE(
        TextureLoadFinal::Save(*w.m_pChunky, w.m_adapter, texture, mipsToSkip, writeAllMips, useDXTC));
    return w.Bytes();
}

// What a written "TXTR" holds: the head and, per "IMAG", its attributes.
struct Written
{
    uint32 format = 0, count = 0;
    struct Attr
    {
        int32 type;
        uint32 w, h, mips;
    };
    std::vector<Attr> cImage;
};

Written Describe(const std::string& file)
{
    Written out;
    Reader r(file);
    Chunky& c = *r.m_pChunky;
    c.ReadFolderChunk(TextureLoadFinal::ID_TXTR, 1);
    c.ReadDataChunk(TextureLoadFinal::ID_HEAD, 1);
    r.m_adapter.ReadValue(out.format);
    r.m_adapter.ReadValue(out.count);
    c.CloseChunk();
    ChunkInfo info;
    while (c.NextChunk(info))
    {
        if (info.id != ImageLoad::ID_IMAG)
        {
            ADD_FAILURE() << "a chunk other than an image in the texture";
            continue;
        }
        c.ReadFolderChunk(ImageLoad::ID_IMAG, 1);
        c.ReadDataChunk(ImageLoad::ID_ATTR, 2);
        Written::Attr a{};
        r.m_adapter.ReadValue(a.type);
        r.m_adapter.ReadValue(a.w);
        r.m_adapter.ReadValue(a.h);
        r.m_adapter.ReadValue(a.mips);
        out.cImage.push_back(a);
        c.CloseChunk();
        c.CloseChunk();
    }
    c.CloseChunk();
    return out;
}

} // namespace

// Uncompressed files of several levels: the detail leaves out the top ones, which are stepped
// over undecoded (here they could not be decoded at all).
TEST(TextureLoadFinal, DetailLevelsKeepTheLevelsBelowTheSkip)
{
    struct Case
    {
        const char* label;
        int detail;
        std::vector<uint32> cSide; // the file's levels
        uint32 skipped;            // levels stepped over
        bool autoMip;              // asked of the reader
        uint32 wantMips;
        bool wantAuto;
    };
    const Case cases[] = {
        {"3 levels at detail 1 keep the last", 1, {4, 2, 1}, 2, true, 1, true},
        {"2 levels at detail 1 keep the last", 1, {4, 2}, 1, true, 2, true},
        {"2 levels at detail 1 keep the last, as it stands", 1, {4, 2}, 1, false, 1, false},
        {"3 levels at detail 2 leave out the top", 2, {4, 2, 1}, 1, true, 2, false},
        {"3 levels at detail 3 keep all", 3, {4, 2, 1}, 0, true, 3, false},
        {"a lone level at detail 1 is kept, with mips made", 1, {8}, 0, true, 4, true},
        {"a lone level at detail 1 is kept as it stands", 1, {8}, 0, false, 1, false},
    };
    Env env;
    for (const Case& c : cases)
    {
        SCOPED_TRACE(c.label);
        Settings settings(c.detail);
        std::vector<std::unique_ptr<Image>> cImage;
        std::string images;
        for (uint32 i = 0; i < c.cSide.size(); ++i)
        {
            cImage.push_back(Patterned(IMAGETYPE_RGBA32, c.cSide[i], 1, uint8(i * 30 + 5)));
            images += i < c.skipped ? UndecodableImag() : ImagChunk(*cImage.back());
        }
        const std::string file =
            Txtr(fr::PF_A8R8G8B8, uint32(c.cSide.size()), images) + Chunk("DATA", "NEXT", 1, "");
        Reader r(FileHeader() + file);
        std::unique_ptr<Texture> pTexture = TextureLoadFinal::Load(*r.m_pChunky, r.m_adapter, c.autoMip);
        ASSERT_NE(pTexture, nullptr);
        EXPECT_STREQ(pTexture->GetName(), "tex");
        const fr::Texture& t = *pTexture->GetTexture();
        EXPECT_EQ(t.GetWidth(), c.cSide[c.skipped]);
        EXPECT_EQ(t.GetMipCount(), c.wantMips);
        EXPECT_EQ(t.IsAutoMip(), c.wantAuto);
        EXPECT_EQ(Level(*pTexture, 0), Level(*cImage[c.skipped], 0));
        for (uint32 level = 1; level < t.GetMipCount() && !c.wantAuto; ++level)
            EXPECT_EQ(Level(*pTexture, level), Level(*cImage[c.skipped + level], 0)) << level;
        ChunkInfo next;
        ASSERT_TRUE(r.m_pChunky->NextChunk(next)) << "the reader stands behind the texture";
        EXPECT_EQ(next.id, FourCC("NEXT"));
    }
}

// A texture that yields no image is null with the line; a container that says more than it holds
// throws to the caller.
TEST(TextureLoadFinal, TexturesWithoutImagesFail)
{
    Env env;
    Settings settings(3);
    std::unique_ptr<Image> pImage = Patterned(IMAGETYPE_RGBA32, 4, 1, 1);
    struct Case
    {
        const char* label;
        std::string file;
        bool throws;
    };
    const Case cases[] = {
        {"no images", Txtr(fr::PF_A8R8G8B8, 0, ""), false},
        {"a compressed head with no images", Txtr(fr::PF_DXT1, 0, ""), false},
        {"more images counted than held", Txtr(fr::PF_A8R8G8B8, 2, ImagChunk(*pImage)), true},
        {"no head", Chunk("FOLD", "TXTR", 1, ImagChunk(*pImage), "tex"), true},
        {"a short head", Chunk("FOLD", "TXTR", 1, Chunk("DATA", "HEAD", 1, U32(1)), "tex"), true},
        {"a newer head", Chunk("FOLD", "TXTR", 1, Chunk("DATA", "HEAD", 2, U32(1) + U32(1)), "tex"), true},
    };
    for (const Case& c : cases)
    {
        SCOPED_TRACE(c.label);
        LogCapture log;
        if (c.throws)
        {
            EXPECT_THROW(LoadChunks(c.file), Chunky::Exception);
            continue;
        }
        EXPECT_EQ(LoadChunks(c.file), nullptr);
        EXPECT_TRUE(log.Has("TEXTURES -- 'tex': Unable to load images!"));
    }
}

TEST(TextureLoadFinal, WriterSettingsDecideTheHeadAndImages)
{
    struct Case
    {
        const char* label;
        uint32 side, mips;
        fr::PixelFormat source;
        int mipsToSkip;
        bool writeAllMips;
        int useDXTC;
        uint32 wantFormat;
        std::vector<Written::Attr> want;
    };
    const fr::PixelFormat argb = fr::PF_A8R8G8B8;
    // clang-format off
    const Case cases[] = {
        {"all levels, one image each", 8, 4, argb, 0, true, 0, argb, {{0, 8, 8, 1}, {0, 4, 4, 1}, {0, 2, 2, 1}, {0, 1, 1, 1}}},
        {"mipsToSkip 9 on 4 levels writes only the last", 8, 4, argb, 9, true, 0, argb, {{0, 1, 1, 1}}},
        {"without all mips the first level alone", 8, 4, argb, 1, false, 0, argb, {{0, 4, 4, 1}}},
        {"useDXTC 5 with all mips gives one image of every level", 8, 4, argb, 0, true, 5, fr::PF_DXT5, {{11, 8, 8, 4}}},
        {"useDXTC 1 without all mips still holds the levels below", 16, 5, argb, 1, false, 1, fr::PF_DXT1, {{8, 8, 8, 4}}},
        {"useDXTC 3 skips no further than 4 pixels a side", 16, 5, argb, 3, true, 3, fr::PF_DXT3, {{10, 4, 4, 3}}},
        {"a compressed texture stays compressed", 8, 4, fr::PF_DXT3, 0, true, 0, fr::PF_DXT3, {{10, 8, 8, 4}}},
        {"a compressed texture recoded", 8, 4, fr::PF_DXT1, 0, false, 5, fr::PF_DXT5, {{11, 8, 8, 4}}},
        {"below 4 pixels a side compression is left out", 2, 2, argb, 0, true, 1, argb, {{0, 2, 2, 1}, {0, 1, 1, 1}}},
        {"16-bit levels widen to 32 bits", 4, 1, fr::PF_R5G6B5, 0, true, 0, argb, {{0, 4, 4, 1}}},
        {"luminance stays luminance", 4, 3, fr::PF_L8, 1, true, 0, fr::PF_L8, {{1, 2, 2, 1}, {1, 1, 1, 1}}},
    };
    // clang-format on
    Env env;
    for (const Case& c : cases)
    {
        SCOPED_TRACE(c.label);
        Texture texture("tex", PatternedTexture(c.side, c.mips, c.source));
        const Written w = Describe(Save(texture, c.mipsToSkip, c.writeAllMips, c.useDXTC));
        EXPECT_EQ(w.format, c.wantFormat);
        EXPECT_EQ(w.count, uint32(c.want.size()));
        ASSERT_EQ(w.cImage.size(), c.want.size());
        for (size_t i = 0; i < c.want.size(); ++i)
            EXPECT_EQ(std::tie(w.cImage[i].type, w.cImage[i].w, w.cImage[i].h, w.cImage[i].mips),
                      std::tie(c.want[i].type, c.want[i].w, c.want[i].h, c.want[i].mips))
                << i;
    }
}
