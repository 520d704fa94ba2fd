// TeamColour::Pattern and its .tqp file: a round trip, and every cut of a file.
#include "teamcolour/pattern.h"

#include "image/imagetypes.h"
#include "storage/filepath.h"
#include "storage/filepath_hd.h"
#include "support/logcapture.h"
#include "support/tempfolder.h"

#include <gtest/gtest.h>

#include <cstring>

using TeamColour::Pattern;

namespace
{
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
        EXPECT_TRUE(pattern.GetLayer(layer)
                        ? pRead->GetLayer(layer) &&
                              !std::memcmp(pRead->GetLayer(layer), pattern.GetLayer(layer), 15)
                        : !pRead->GetLayer(layer))
            << layer;
    ASSERT_NE(pRead->GetDirtImage(), nullptr);
    EXPECT_EQ(pRead->GetDirtImage()->GetWidth(), 5u);
    EXPECT_EQ(0, std::memcmp(pRead->GetDirtImage()->GetData(), pattern.GetDirtImage()->GetData(), 60));
    EXPECT_TRUE(pRead->HasBadge() && pRead->HasBanner());
    EXPECT_EQ(pRead->GetBadge(), pattern.GetBadge());
    EXPECT_EQ(pRead->GetBanner(), pattern.GetBanner());

    // Written again, the file is the same to the byte.
    ASSERT_TRUE(Pattern::Save(Tool("again.tqp").c_str(), *pRead));
    EXPECT_EQ(TempFolder::Read(m_temp / "again.tqp"), TempFolder::Read(m_temp / "out.tqp"));
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

} // namespace
