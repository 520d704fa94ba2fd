// BuildPattern from a texture's companion images, the badge and banner markers, the reports of
// missing layers, and ExportTeamPattern's steps and failures.
#include "teamcolour/patternexport.h"

#include "foundation/output.h"
#include "support/logcapture.h"
#include "teamcolour/exporttree.h"

#include <gtest/gtest.h>

using TeamColour::Pattern;
using teamcolour_test::ErrorOf;
using teamcolour_test::ExportTree;
using teamcolour_test::Pixel;

namespace
{
class BuildPatternTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(m_tree.IsReady());
        m_tree.WriteImage("src/crate.tga", 256, 256,
                          [](uint32 x, uint32 y) {
                              return Pixel{1, 2, 3, uint8(x ^ y)};
                          });
    }
    std::unique_ptr<Pattern> Build() { return TeamColour::BuildPattern(m_texture.c_str(), "default"); }
    std::string Companion(const char* part) const
    {
        return std::string("src/crate_default_") + part + ".tga";
    }
    // A marker image w by h with marker pixels at the given places.
    void WriteMarkers(const char* part, uint32 w, uint32 h, std::vector<std::pair<uint32, uint32>> cAt,
                      Pixel marker = {255, 0, 255, 255})
    {
        m_tree.WriteImage(Companion(part), w, h,
                          [&](uint32 x, uint32 y)
                          {
                              for (const auto& at : cAt)
                                  if (at.first == x && at.second == y)
                                      return marker;
                              return Pixel{254, 255, 255, 255};
                          });
    }

    ExportTree m_tree;
    const std::string m_texture = m_tree.Tool("src/crate.tga");
};

TEST_F(BuildPatternTest, NoLayerImageMakesNoPattern)
{
    struct Case
    {
        const char* what;
        std::vector<const char*> badges;
    } cases[] = {
        {"no companion image", {}},
        {"only a badge", {"badge"}},
        {"a badge and a banner", {"badge", "banner"}},
    };
    for (const Case& c : cases)
    {
        SCOPED_TRACE(c.what);
        for (const char* part : c.badges)
            WriteMarkers(part, 256, 256, {{3, 4}});
        LogCapture log;
        EXPECT_EQ(Build(), nullptr);
        EXPECT_EQ(log.Count("Team Pattern Export"), 0) << "nothing reported for a texture without a pattern";
    }
    EXPECT_EQ(TeamColour::BuildPattern(m_tree.Tool("src/none.tga").c_str(), "default"), nullptr)
        << "no texture";
}

TEST_F(BuildPatternTest, MarkersPlaceTheBadgeAndBannerOrEndTheMerge)
{
    constexpr Pixel kMagenta{255, 0, 255, 255};
    const std::string coordinates = "Merge: Invalid Badge or Banner Coordinates for '" +
                                    ExportTree::Backslashed(m_tree.Tool(Companion("badge"))) +
                                    "'!  The area must fit completely inside the image!\n";
    struct Case
    {
        const char* what;
        const char* part;
        uint32 w, h;
        std::vector<std::pair<uint32, uint32>> markers;
        Pixel marker;
        bool fits;
        Pattern::Rect rect; // all zero: none set
    } cases[] = {
        // clang-format off
        {"column 192 of 256 for a 64-wide badge", "badge", 256, 128, {{192, 10}}, kMagenta, true, {192, 10, 64, 64}},
        {"column 193", "badge", 256, 128, {{193, 10}}, kMagenta, false, {}},
        {"row 64 of 128", "badge", 256, 128, {{0, 64}}, kMagenta, true, {0, 64, 64, 64}},
        {"row 65 of 128", "badge", 256, 128, {{0, 65}}, kMagenta, false, {}},
        {"green 128 counts", "badge", 256, 128, {{5, 6}}, {255, 128, 255, 255}, true, {5, 6, 64, 64}},
        {"alpha 0 counts", "badge", 256, 128, {{5, 6}}, {255, 0, 255, 0}, true, {5, 6, 64, 64}},
        {"red 254 is no marker", "badge", 256, 128, {{5, 6}}, {255, 0, 254, 255}, true, {}},
        {"blue 254 is no marker", "badge", 256, 128, {{5, 6}}, {254, 0, 255, 255}, true, {}},
        {"the first marker by rows wins", "badge", 256, 128, {{200, 9}, {7, 8}, {1, 20}}, kMagenta, true, {7, 8, 64, 64}},
        {"a banner is 64 by 96: row 32 of 128", "banner", 128, 128, {{64, 32}}, kMagenta, true, {64, 32, 64, 96}},
        {"row 33 of 128 for a banner", "banner", 128, 128, {{64, 33}}, kMagenta, false, {}},
        {"an image smaller than a banner", "banner", 32, 32, {{0, 0}}, kMagenta, false, {}},
        // clang-format on
    };
    m_tree.WriteMask(Companion("primary"), 256, 255);
    for (const Case& c : cases)
    {
        SCOPED_TRACE(c.what);
        std::filesystem::remove(m_tree.Path(Companion("badge")));
        std::filesystem::remove(m_tree.Path(Companion("banner")));
        WriteMarkers(c.part, c.w, c.h, c.markers, c.marker);
        std::unique_ptr<Pattern> pPattern;
        const std::string error = ErrorOf([&] { pPattern = Build(); });
        if (!c.fits)
        {
            std::string expected = coordinates;
            if (std::string(c.part) == "banner")
                expected.replace(expected.find("badge.tga"), 5, "banner");
            EXPECT_EQ(error, expected);
            continue;
        }
        ASSERT_EQ(error, "");
        ASSERT_NE(pPattern, nullptr);
        const bool badge = std::string(c.part) == "badge";
        const bool set = c.rect.width > 0;
        EXPECT_EQ(badge ? pPattern->HasBadge() : pPattern->HasBanner(), set);
        EXPECT_FALSE(badge ? pPattern->HasBanner() : pPattern->HasBadge());
        if (set)
        {
            EXPECT_EQ(badge ? pPattern->GetBadge() : pPattern->GetBanner(), c.rect);
        }
    }
}

TEST_F(BuildPatternTest, LayerOfAnotherSizeEndsTheMerge)
{
    for (const char* part : {"primary", "eyes", "dirt"})
    {
        SCOPED_TRACE(part);
        m_tree.WriteMask(Companion(part), 128, 255);
        EXPECT_EQ(ErrorOf([&] { Build(); }), "Merge: Layer '" +
                                                 ExportTree::Backslashed(m_tree.Tool(Companion(part))) +
                                                 "' does not match texture '" + m_texture + "' dimensions!");
        std::filesystem::remove(m_tree.Path(Companion(part)));
    }
}

TEST_F(BuildPatternTest, LayersAreTheImagesAlphaAndTheDirtImageTakesTheTexturesAlpha)
{
    m_tree.WriteImage(Companion("trim"), 256, 256,
                      [](uint32 x, uint32 y) {
                          return Pixel{0, 0, 0, uint8(x + y)};
                      });
    m_tree.WriteImage(Companion("dirt"), 256, 256,
                      [](uint32 x, uint32 y) {
                          return Pixel{9, 8, 7, uint8(x * 3)};
                      });
    std::unique_ptr<Pattern> pPattern = Build();
    ASSERT_NE(pPattern, nullptr);
    EXPECT_STREQ(pPattern->GetScheme(), "default");
    EXPECT_EQ(pPattern->GetWidth(), 256u);
    for (int layer : {0, 1, 3, 4})
        EXPECT_EQ(pPattern->GetLayer(layer), nullptr) << layer;
    const uint8* pTrim = pPattern->GetLayer(2);
    const uint8* pDirtMask = pPattern->GetLayer(5);
    const Image* pDirt = pPattern->GetDirtImage();
    ASSERT_TRUE(pTrim && pDirtMask && pDirt);
    for (uint32 y = 0; y < 256; y += 37)
        for (uint32 x = 0; x < 256; x += 41)
        {
            const uint32 i = y * 256 + x;
            ASSERT_EQ(pTrim[i], uint8(x + y)) << x << "," << y;
            ASSERT_EQ(pDirtMask[i], uint8(x * 3)) << "the dirt mask is the dirt image's own alpha";
            const uint8* pPixel = pDirt->GetData() + i * 4;
            ASSERT_EQ(pPixel[3], uint8(x ^ y)) << "the dirt image carries the texture's alpha";
            ASSERT_EQ(pPixel[0], 9);
            ASSERT_EQ(pPixel[2], 7);
        }
}

TEST_F(BuildPatternTest, MissingPrimaryAndDirtAreReportedOnTheArtChannel)
{
    struct Case
    {
        std::vector<const char*> parts;
        std::vector<const char*> reported;
    } cases[] = {
        {{"secondary"}, {"primary team colour layer", "dirt team colour layer", "dirt team colour image"}},
        {{"primary"}, {"dirt team colour layer", "dirt team colour image"}},
        {{"dirt"}, {"primary team colour layer"}},
        {{"primary", "dirt"}, {}},
    };
    for (const Case& c : cases)
    {
        for (const char* part : {"primary", "secondary", "dirt"})
            std::filesystem::remove(m_tree.Path(Companion(part)));
        for (const char* part : c.parts)
            m_tree.WriteMask(Companion(part), 256, 200);
        LogCapture log;
        ASSERT_NE(Build(), nullptr);
        const std::vector<std::string> lines = log.With("Team Pattern Export -- ");
        ASSERT_EQ(lines.size(), c.reported.size()) << c.parts[0];
        for (size_t i = 0; i < lines.size(); ++i)
        {
            EXPECT_EQ(lines[i], std::string("Team Pattern Export -- Unable to find 'default' ") +
                                    c.reported[i] + " for '" + m_texture + "'!");
            EXPECT_EQ(log.FindLine(lines[i])->channel, 0x415254u);
        }
    }
}

class ExportTeamPatternTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(m_tree.IsReady());
        m_tree.WriteImage("src/texture_share/crate.tga", 32, 32,
                          [](uint32 x, uint32) {
                              return Pixel{1, 2, 3, uint8(x)};
                          });
    }
    ExportTree m_tree;
    const char* const m_target = "gen/texture_share/crate_default.tqp";
};

TEST_F(ExportTeamPatternTest, TextureWithoutCompanionsTouchesNothing)
{
    EXPECT_TRUE(TeamColour::ExportTeamPattern("art", "texture_share\\crate"));
    EXPECT_TRUE(m_tree.m_cCalls.empty());
    EXPECT_FALSE(m_tree.Exists(m_target));
}

TEST_F(ExportTeamPatternTest, PatternIsOpenedWrittenAndBurned)
{
    m_tree.WriteMask("src/texture_share/crate_default_weapons.tga", 32, 9);
    EXPECT_TRUE(TeamColour::ExportTeamPattern("art", "texture_share\\crate"));
    EXPECT_EQ(m_tree.m_cCalls, (std::vector<std::string>{std::string("open ") + m_target,
                                                         std::string("burn ") + m_target + " 42"}));
    std::unique_ptr<Pattern> pRead = Pattern::Load(m_tree.Tool(m_target).c_str());
    ASSERT_NE(pRead, nullptr);
    ASSERT_NE(pRead->GetLayer(3), nullptr);
    EXPECT_EQ(pRead->GetLayer(3)[100], 9);
}

TEST_F(ExportTeamPatternTest, OpenAndBurnFailuresThrowTheirTexts)
{
    m_tree.WriteMask("src/texture_share/crate_default_primary.tga", 32, 9);
    const std::string target = ExportTree::Backslashed(m_tree.Path(m_target));

    m_tree.m_openResult = false;
    EXPECT_EQ(
        ErrorOf([] { TeamColour::ExportTeamPattern("art", "texture_share\\crate"); }),
        "Merge: Unable to open team colour pattern '" + target +
            "' in P4!  Please make sure no one else has it checked-out in P4 (Data Generic / Data Final)!\n");
    EXPECT_FALSE(m_tree.Exists(m_target)) << "nothing written when the open fails";
    EXPECT_EQ(m_tree.m_cCalls.size(), 1u);

    m_tree.m_openResult = true;
    m_tree.m_burnResult = false;
    const std::string bare =
        teamcolour_test::BareTextOf([] { TeamColour::ExportTeamPattern("art", "texture_share\\crate"); });
    EXPECT_EQ(bare,
              "Merge: Unable to burn team colour pattern '" + target +
                  "' pattern in P4!  Please make sure no one else has it checked-out in P4 (Data Generic / "
                  "Data Final)!\n");
}
} // namespace
