// TeamColour::Pattern and its .tqp file: round trips, files built by hand byte by byte (the current
// form with its children in any order, and the older PTLR layers), damaged files, and the file names.
#include "teamcolour/pattern.h"

#include "foundation/debug.h"
#include "image/imageload.h"
#include "image/imagetypes.h"
#include "model/shader/shader_test_env.h"
#include "storage/filepath.h"
#include "storage/filepath_hd.h"
#include "support/logcapture.h"
#include "support/tempfolder.h"

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

using model_test::Chunk;
using model_test::FileHeader;
using model_test::U32;
using TeamColour::Pattern;

namespace
{
std::string F32(float v)
{
    return std::string(reinterpret_cast<const char*>(&v), 4);
}

std::string Rect(float x, float y, float w, float h)
{
    return F32(x) + F32(y) + F32(w) + F32(h);
}

std::string Mask(int32 layer, const std::string& bytes)
{
    return Chunk("DATA", "PTLD", 1, U32(uint32(layer)) + U32(uint32(bytes.size())) + bytes);
}

// An "IMAG" folder of a 32-bit image, pixels given as blue, green, red, alpha.
std::string ImageChunk(uint32 w, uint32 h, const std::string& pixels, const char* name = "layer")
{
    return Chunk("FOLD", "IMAG", 1,
                 Chunk("DATA", "ATTR", 2, U32(IMAGETYPE_RGBA32) + U32(w) + U32(h) + U32(1)) +
                     Chunk("DATA", "DATA", 2, pixels),
                 name);
}

class PatternFileTest : public ::testing::Test
{
protected:
    PatternFileTest() { FilePath::AddAlias("TOOL", "HD", 99, std::make_shared<FilePathHDRaw>()); }
    ~PatternFileTest() override { FilePath::RemoveAlias("TOOL", "HD"); }

    std::string Tool(const std::string& name) const { return "TOOL:" + (m_temp / name); }
    std::unique_ptr<Pattern> LoadBytes(const std::string& bytes, const std::string& name = "p.tqp")
    {
        m_temp.Write(name, bytes);
        return Pattern::Load(Tool(name).c_str());
    }

    TempFolder m_temp;
};

std::unique_ptr<Image_RGBA32> MakeImage(uint32 w, uint32 h, uint8 seed)
{
    auto pImage = std::make_unique<Image_RGBA32>();
    pImage->Allocate(w, h);
    for (uint32 i = 0; i < w * h * 4; ++i)
        pImage->GetData()[i] = uint8(i * 7 + seed);
    pImage->SetName("dirt image");
    return pImage;
}

std::unique_ptr<uint8[]> MakeMask(size_t count, uint8 seed)
{
    std::unique_ptr<uint8[]> mask(new uint8[count]);
    for (size_t i = 0; i < count; ++i)
        mask[i] = uint8(i * 3 + seed);
    return mask;
}

TEST_F(PatternFileTest, ReadBackHoldsTheSameLayersRectanglesAndDirtImage)
{
    Pattern pattern(5, 3);
    pattern.SetScheme("red");
    pattern.SetLayer(0, MakeMask(15, 1));
    pattern.SetLayer(3, MakeMask(15, 40));
    pattern.SetLayer(5, MakeMask(15, 90));
    pattern.SetDirtImage(MakeImage(5, 3, 7));
    pattern.SetBadge({8, 16, 64, 64});
    pattern.SetBanner({24.5f, 8, 64, 96});
    // The extension is made ".tqp" whatever the name says.
    ASSERT_TRUE(Pattern::Save(Tool("out.tga").c_str(), pattern));

    std::unique_ptr<Pattern> pRead = Pattern::Load(Tool("out.tqp").c_str());
    ASSERT_NE(pRead, nullptr);
    EXPECT_STREQ(pRead->GetScheme(), "red");
    EXPECT_EQ(pRead->GetWidth(), 5u);
    EXPECT_EQ(pRead->GetHeight(), 3u);
    for (int layer = 0; layer < Pattern::LAYER_PATTERN_COUNT; ++layer)
    {
        SCOPED_TRACE(layer);
        ASSERT_EQ(pRead->GetLayer(layer) != nullptr, pattern.GetLayer(layer) != nullptr);
        if (pattern.GetLayer(layer) != nullptr)
        {
            EXPECT_EQ(0, std::memcmp(pRead->GetLayer(layer), pattern.GetLayer(layer), 15));
        }
    }
    ASSERT_NE(pRead->GetDirtImage(), nullptr);
    EXPECT_EQ(pRead->GetDirtImage()->GetWidth(), 5u);
    EXPECT_EQ(0, std::memcmp(pRead->GetDirtImage()->GetData(), pattern.GetDirtImage()->GetData(), 60));
    EXPECT_TRUE(pRead->HasBadge());
    EXPECT_EQ(pRead->GetBadge(), pattern.GetBadge());
    EXPECT_TRUE(pRead->HasBanner());
    EXPECT_EQ(pRead->GetBanner(), pattern.GetBanner());

    // Written again, the file is the same to the byte.
    ASSERT_TRUE(Pattern::Save(Tool("again.tqp").c_str(), *pRead));
    EXPECT_EQ(TempFolder::Read(m_temp / "again.tqp"), TempFolder::Read(m_temp / "out.tqp"));
}

TEST_F(PatternFileTest, WrittenBytesAreTheFormat)
{
    Pattern pattern(2, 1);
    pattern.SetLayer(1, MakeMask(2, 5));
    pattern.SetBanner({1, 2, 3, 4});
    ASSERT_TRUE(Pattern::Save(Tool("w.tqp").c_str(), pattern));
    const std::string expected =
        FileHeader() + Chunk("FOLD", "TPAT", 3,
                             Chunk("DATA", "INFO", 1, U32(2) + U32(1)) + Mask(1, "\x05\x08") +
                                 Chunk("DATA", "PTBN", 1, Rect(1, 2, 3, 4)),
                             "default");
    EXPECT_EQ(TempFolder::Read(m_temp / "w.tqp"), expected);
}

TEST_F(PatternFileTest, ChildrenAreReadInAnyOrderAndUnknownOnesPassedOver)
{
    const std::string body = Chunk("DATA", "PTBD", 1, Rect(3, 4, 64, 64)) + Mask(2, "abcdef") +
                             Chunk("DATA", "ZZZZ", 7, "what") + Chunk("DATA", "INFO", 1, U32(3) + U32(2)) +
                             Chunk("FOLD", "JUNK", 1, Chunk("DATA", "PTLD", 1, "not a layer"));
    std::unique_ptr<Pattern> pRead = LoadBytes(FileHeader() + Chunk("FOLD", "TPAT", 3, body, "blue"));
    ASSERT_NE(pRead, nullptr);
    EXPECT_STREQ(pRead->GetScheme(), "blue");
    EXPECT_EQ(pRead->GetWidth(), 3u);
    ASSERT_NE(pRead->GetLayer(2), nullptr);
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(pRead->GetLayer(2)), 6), "abcdef");
    EXPECT_EQ(pRead->GetBadge(), (Pattern::Rect{3, 4, 64, 64}));
    EXPECT_FALSE(pRead->HasBanner());
    EXPECT_EQ(pRead->GetDirtImage(), nullptr);
}

TEST_F(PatternFileTest, OlderFormTakesMasksFromImageAlphaAndKeepsTheDirtImageOpaque)
{
    // Two pixels each: blue, green, red, alpha.
    const std::string primary = std::string("\x01\x02\x03\x10\x04\x05\x06\x20", 8);
    const std::string dirt = std::string("\x0a\x0b\x0c\x33\x0d\x0e\x0f\x44", 8);
    const std::string body =
        // Version 1 of PTIN has a second value, ignored; no INFO: the size comes from the image.
        Chunk("FOLD", "PTLR", 1, Chunk("DATA", "PTIN", 1, U32(0) + U32(12345)) + ImageChunk(2, 1, primary)) +
        Chunk("FOLD", "PTLR", 1, Chunk("DATA", "PTIN", 2, U32(5)) + ImageChunk(2, 1, dirt, "dirt")) +
        // A layer without its image leaves the layer absent.
        Chunk("FOLD", "PTLR", 1, Chunk("DATA", "PTIN", 2, U32(3)));
    std::unique_ptr<Pattern> pRead = LoadBytes(FileHeader() + Chunk("FOLD", "TPAT", 3, body, "default"));
    ASSERT_NE(pRead, nullptr);
    EXPECT_EQ(pRead->GetWidth(), 2u);
    EXPECT_EQ(pRead->GetHeight(), 1u);
    ASSERT_NE(pRead->GetLayer(0), nullptr);
    EXPECT_EQ(pRead->GetLayer(0)[0], 0x10);
    EXPECT_EQ(pRead->GetLayer(0)[1], 0x20);
    ASSERT_NE(pRead->GetLayer(5), nullptr);
    EXPECT_EQ(pRead->GetLayer(5)[0], 0x33);
    EXPECT_EQ(pRead->GetLayer(5)[1], 0x44);
    EXPECT_EQ(pRead->GetLayer(3), nullptr);
    const Image* pDirt = pRead->GetDirtImage();
    ASSERT_NE(pDirt, nullptr);
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(pDirt->GetData()), 8),
              std::string("\x0a\x0b\x0c\xff\x0d\x0e\x0f\xff", 8));
}

TEST_F(PatternFileTest, DamagedFilesLoadAsNull)
{
    const std::string info = Chunk("DATA", "INFO", 1, U32(2) + U32(2));
    struct Case
    {
        const char* what;
        std::string body;
        const char* scheme;
    } cases[] = {
        {"a mask shorter than the size", info + Mask(0, "abc"), "default"},
        {"a mask longer than the size", info + Mask(0, "abcde"), "default"},
        {"a layer index past the last", info + Mask(6, "abcd"), "default"},
        {"a negative layer index", info + Mask(-1, "abcd"), "default"},
        {"a byte count past the chunk", info + Chunk("DATA", "PTLD", 1, U32(0) + U32(400) + "abcd"),
         "default"},
        {"a mask before any size", Mask(1, "ab"), "default"},
        {"a size above the largest image", Chunk("DATA", "INFO", 1, U32(5000) + U32(1)), "default"},
        {"a short INFO", Chunk("DATA", "INFO", 1, U32(2)), "default"},
        {"a short badge", info + Chunk("DATA", "PTBD", 1, F32(1)), "default"},
        {"a newer INFO", Chunk("DATA", "INFO", 2, U32(2) + U32(2)), "default"},
        {"a scheme of 32 characters", info, "abcdefghijklmnopqrstuvwxyz012345"},
        {"an old layer image of another size",
         info + Chunk("FOLD", "PTLR", 1, Chunk("DATA", "PTIN", 2, U32(1)) + ImageChunk(1, 1, "abcd")),
         "default"},
        {"an old layer image before its index", Chunk("FOLD", "PTLR", 1, ImageChunk(1, 1, "abcd")),
         "default"},
        {"an old layer index past the last", Chunk("FOLD", "PTLR", 1, Chunk("DATA", "PTIN", 2, U32(9))),
         "default"},
        {"a dirt image cut short", info + ImageChunk(2, 2, "abcd"), "default"},
    };
    dbg::ScopedThrowOnAssert quiet(false);
    for (const Case& c : cases)
    {
        SCOPED_TRACE(c.what);
        LogCapture log;
        EXPECT_EQ(LoadBytes(FileHeader() + Chunk("FOLD", "TPAT", 3, c.body, c.scheme)), nullptr);
        EXPECT_TRUE(log.Has("p.tqp")) << "the failure names the file";
    }
    LogCapture log;
    EXPECT_EQ(LoadBytes(FileHeader() + Chunk("FOLD", "TPAX", 3, info)), nullptr) << "no TPAT folder";
    EXPECT_EQ(Pattern::Load(Tool("missing.tqp").c_str()), nullptr);
}

TEST_F(PatternFileTest, EveryCutOfAFileLoadsAsNull)
{
    Pattern pattern(2, 2);
    pattern.SetLayer(0, MakeMask(4, 1));
    pattern.SetLayer(5, MakeMask(4, 2));
    pattern.SetDirtImage(MakeImage(2, 2, 3));
    pattern.SetBadge({1, 1, 64, 64});
    ASSERT_TRUE(Pattern::Save(Tool("whole.tqp").c_str(), pattern));
    const std::string whole = TempFolder::Read(m_temp / "whole.tqp");
    LogCapture log;
    for (size_t size = 0; size < whole.size(); ++size)
        ASSERT_EQ(LoadBytes(whole.substr(0, size)), nullptr) << "cut at " << size;
    EXPECT_NE(LoadBytes(whole), nullptr);
}

TEST(PatternFileName, IsTheTexturesFolderBaseNameSchemeAndTqp)
{
    struct Case
    {
        const char* texture;
        const char* scheme;
        const char* expected;
    } cases[] = {
        {"art\\units\\scout.tga", "default", "DATA:art\\units\\scout_default.tqp"},
        {"art/units/scout", "red", "DATA:art\\units\\scout_red.tqp"},
        {"GENERIC:art\\texture_share\\crate.dds", "default", "GENERIC:art\\texture_share\\crate_default.tqp"},
        {"art\\v1.2\\crate.tga", "default", "DATA:art\\v1.2\\crate_default.tqp"},
        {"crate.big.tga", "default", "DATA:crate.big_default.tqp"},
    };
    for (const Case& c : cases)
    {
        char out[FilePath::MAXPATH];
        ASSERT_TRUE(TeamColour::PatternFileName(out, c.texture, c.scheme)) << c.texture;
        EXPECT_STREQ(out, c.expected) << c.texture;
    }
    char out[FilePath::MAXPATH];
    EXPECT_FALSE(TeamColour::PatternFileName(out, std::string(300, 'a').c_str(), "default"));
    EXPECT_FALSE(TeamColour::PatternFileName(out, ("DATA:" + std::string(300, 'a')).c_str(), "default"));
    EXPECT_STREQ(TeamColour::DefaultScheme(), "default");
    EXPECT_EQ(Pattern::LayerName(-1), nullptr);
    EXPECT_EQ(Pattern::LayerName(Pattern::LAYER_PATTERN_COUNT), nullptr);
}

TEST_F(PatternFileTest, PatternExistsLooksForTheSchemesFile)
{
    m_temp.Write("art/crate_default.tqp", "x");
    const std::string texture = Tool("art/crate.tga");
    EXPECT_TRUE(TeamColour::PatternExists(texture.c_str(), "default"));
    EXPECT_FALSE(TeamColour::PatternExists(texture.c_str(), "red"));
}

} // namespace
