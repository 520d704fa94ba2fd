// BuildPattern from a texture's companion images: the layers and the badge and banner markers.
#include "teamcolour/patternexport.h"

#include "foundation/output.h"
#include "image/imageload.h"
#include "image/imagetypes.h"
#include "pipeline/pipeline.h"
#include "storage/filepath.h"
#include "storage/filepath_hd.h"
#include "support/logcapture.h"
#include "support/tempfolder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>

// The tree the tests run in: a project in a temporary folder with its pipeline.ini (project "art":
// sources in src/, generic data in gen/), the plain disk under "TOOL", images written as TGA files.
using TeamColour::Pattern;

namespace
{
// A pixel as blue, green, red, alpha.
struct Pixel
{
    uint8 b = 0, g = 0, r = 0, a = 255;
};

// The runtime error's text, or "" when the call returns.
template <class F> std::string ErrorOf(F&& call)
{
    try
    {
        call();
    }
    catch (const std::runtime_error& e)
    {
        return e.what();
    }
    return "";
}

class ExportTree
{
public:
    ExportTree()
    {
        m_temp.Write("pipeline.ini",
                     "[p4]\r\nRevControlPort=\r\n[project:art]\r\nDataSource=src\r\n"
                     "DataSourceShared=\r\nDataBurn=\r\nDataIntermediate=\r\nDataGeneric=gen\r\n"
                     "DataFinal=final\r\nDataPreview=\r\nLocaleFolder=\r\nAttrLoc=\r\nParent=\r\n");
        std::filesystem::create_directories(m_temp / "src");
        std::filesystem::create_directories(m_temp / "gen");
        FilePath::AddAlias("TOOL", "HD", 99, std::make_shared<FilePathHDRaw>());
        m_initialized = Pipeline::Initialize((m_temp / "pipeline.ini").c_str()) == Pipeline::InitOk;
    }
    ~ExportTree()
    {
        if (m_initialized)
            Pipeline::Shutdown();
        FilePath::RemoveAlias("TOOL", "HD");
    }

    bool IsReady() const { return m_initialized; }
    std::string Path(const std::string& name) const { return m_temp / name; }
    std::string Tool(const std::string& name) const { return "TOOL:" + (m_temp / name); }
    // A name as the path layer gives it back in messages: every separator a '\\'.
    static std::string Backslashed(std::string name)
    {
        for (char& c : name)
            c = c == '/' ? '\\' : c;
        return name;
    }

    // A TGA file of w by h pixels, each from `pixel(x, y)`.
    void WriteImage(const std::string& name, uint32 w, uint32 h,
                    const std::function<Pixel(uint32, uint32)>& pixel)
    {
        Image_RGBA32 image;
        image.Allocate(w, h);
        for (uint32 y = 0; y < h; ++y)
            for (uint32 x = 0; x < w; ++x)
            {
                const Pixel p = pixel(x, y);
                uint8* pData = image.GetData() + (y * w + x) * 4;
                pData[0] = p.b, pData[1] = p.g, pData[2] = p.r, pData[3] = p.a;
            }
        std::filesystem::create_directories(std::filesystem::path(m_temp / name).parent_path());
        ASSERT_TRUE(ImageLoad::Save(Tool(name).c_str(), image)) << name;
    }
    // A plain image whose alpha is `alpha`.
    void WriteMask(const std::string& name, uint32 side, uint8 alpha)
    {
        WriteImage(name, side, side, [alpha](uint32, uint32) { return Pixel{10, 20, 30, alpha}; });
    }

private:
    TempFolder m_temp;
    bool m_initialized = false;
};
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
    static std::string Companion(const char* part)
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

TEST_F(BuildPatternTest, MarkersPlaceTheBadgeAndBannerOrEndTheMerge)
{
    constexpr Pixel kMagenta{255, 0, 255, 255};
    const std::string coordinates = "Merge: Invalid Badge or Banner Coordinates for '" +
                                    ExportTree::Backslashed(m_tree.Tool(Companion("badge"))) +
                                    "'!  The area must fit completely inside the image!\n";
    struct Case
    {
        const char *what, *part;
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

TEST_F(BuildPatternTest, LayersAreTheImagesAlphaAndTheDirtImageTakesTheTexturesAlpha)
{
    m_tree.WriteImage(Companion("trim"), 256, 256,
                      [](uint32 x, uint32 y) {
                          return Pixel{0, 0, 0, uint8(x + y)};
                      });
    m_tree.WriteImage(Companion("dirt"), 256, 256,
                      [](uint32 x, uint32) {
                          return Pixel{9, 8, 7, uint8(x * 3)};
                      });
    std::unique_ptr<Pattern> pPattern = Build();
    ASSERT_NE(pPattern, nullptr);
    EXPECT_STREQ(pPattern->GetScheme(), "default");
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
            ASSERT_EQ(pPixel[0] + pPixel[2] * 256, 9 + 7 * 256);
        }
    // A layer as wide as the texture but taller is refused all the same.
    m_tree.WriteImage(Companion("trim"), 256, 257, [](uint32, uint32) { return Pixel{}; });
    EXPECT_NE(ErrorOf([&] { Build(); }).find("' does not match texture '"), std::string::npos);
}

} // namespace
