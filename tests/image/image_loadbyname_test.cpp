// Loading by name through the file path layer (the extension search, wanted types, "noimages")
// and saving by extension.
#include "foundation/runoptions.h"
#include "image/imageload.h"
#include "image_test_util.h"
#include "storage/bytestream.h"
#include "storage/filepath.h"
#include "storage/filepath_hd.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace
{
class ImageByName : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(FilePath::AddAlias(
            "PICS", "disk", 10,
            FilePathHD::Create(m_folder.Path().c_str(), ByteStream::Mode_Both, false, false)));
    }
    void TearDown() override
    {
        FilePath::Reset();
        RunOptions::Clear();
    }
    void WriteFile(const std::string& rel, const std::vector<uint8>& bytes) const
    {
        m_folder.Write(rel, std::string(bytes.begin(), bytes.end()));
    }
    bool Has(const std::string& rel) const { return std::filesystem::exists(m_folder / rel); }

    // A small 32-bit TGA, as its writer makes it.
    static std::vector<uint8> TGAFile(const Image& image)
    {
        return imagetest::WriteTo([&](ByteStreamAdapter& a) { ImageLoad::SaveTGA(a, "x.tga", image); });
    }

    TempFolder m_folder;
};
} // namespace

TEST_F(ImageByName, WithoutExtensionDDSComesBeforeTGA)
{
    WriteFile("art/foo.tga", TGAFile(*imagetest::MakeGradient(2, 2)));
    Image_DXT1 dxt;
    dxt.Allocate(4, 4);
    ASSERT_TRUE(ImageLoad::Save("PICS:art/foo.dds", dxt));
    int sourceFormat = -1;
    auto p = ImageLoad::Load(&sourceFormat, "PICS:art/foo");
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(p->GetImageType(), IMAGETYPE_DXT1);
    EXPECT_EQ(sourceFormat, SOURCEFORMAT_DXT1);
    EXPECT_STREQ(p->GetName(), "PICS:art/foo");

    // With only the TGA there, the search goes on to it.
    std::filesystem::remove(m_folder / "art/foo.dds");
    p = ImageLoad::Load(&sourceFormat, "PICS:art/foo");
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(p->GetImageType(), IMAGETYPE_RGBA32);
    EXPECT_EQ(sourceFormat, SOURCEFORMAT_ALPHA);
}

TEST_F(ImageByName, AnExtensionMustBeOneOfTheKnownOnesInAnyCase)
{
    auto pGradient = imagetest::MakeGradient(3, 2);
    WriteFile("Pic.TGA", TGAFile(*pGradient));
    int sourceFormat = -1;
    auto p = ImageLoad::Load(&sourceFormat, "PICS:pic.tga");
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(std::memcmp(p->GetData(0), pGradient->GetData(0), 3 * 2 * 4), 0);

    LogCapture log;
    WriteFile("pic.png", {1, 2, 3});
    p = ImageLoad::Load(&sourceFormat, "PICS:pic.png");
    EXPECT_EQ(p, nullptr);
    EXPECT_EQ(sourceFormat, SOURCEFORMAT_OTHER);
    EXPECT_TRUE(log.Has("'PICS:pic.png' is not a .dds, .jpg, .tga, .bmp or .bw file"));
}

TEST_F(ImageByName, MissingAndBrokenFilesGiveNullAndSourceFormatOther)
{
    LogCapture log;
    int sourceFormat = -1;
    EXPECT_EQ(ImageLoad::Load(&sourceFormat, "PICS:nothing"), nullptr);
    EXPECT_EQ(sourceFormat, SOURCEFORMAT_OTHER);
    EXPECT_TRUE(log.Has("'PICS:nothing' is not there as .dds, .jpg, .tga, .bmp or .bw"));

    EXPECT_EQ(ImageLoad::Load(&sourceFormat, "PICS:nothing.dds"), nullptr);
    EXPECT_TRUE(log.Has("TEXTURES -- 'PICS:nothing.dds': Unable to load!"));
    EXPECT_EQ(ImageLoad::Load(&sourceFormat, "PICS:nothing.bw"), nullptr);
    EXPECT_TRUE(log.Has("BW is non-existant. [PICS:nothing.bw]"));

    WriteFile("broken.bmp", {'B', 'M', 0, 0});
    sourceFormat = -1;
    EXPECT_EQ(ImageLoad::Load(&sourceFormat, "PICS:broken"), nullptr);
    EXPECT_EQ(sourceFormat, SOURCEFORMAT_OTHER);
    EXPECT_TRUE(log.Has("Not a BMP that I know how to read. [PICS:broken.bmp]"));
}

TEST_F(ImageByName, WantedTypeConvertsAndSaysSo)
{
    WriteFile("rgba.tga", TGAFile(*imagetest::MakeRGBA32(1, 1, {Colour(10, 20, 30, 40)})));
    int sourceFormat = -1;
    auto p = ImageLoad::Load(&sourceFormat, "PICS:rgba.tga", IMAGETYPE_RGB888);
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(p->GetImageType(), IMAGETYPE_RGB888);
    EXPECT_EQ(sourceFormat, SOURCEFORMAT_OTHER);
    const uint8 expect[3] = {30, 20, 10};
    EXPECT_EQ(std::memcmp(p->GetData(0), expect, 3), 0);
    EXPECT_STREQ(p->GetName(), "PICS:rgba.tga");

    // The type the file already has is no conversion.
    p = ImageLoad::Load(&sourceFormat, "PICS:rgba.tga", IMAGETYPE_RGBA32);
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(sourceFormat, SOURCEFORMAT_ALPHA);
}

TEST_F(ImageByName, NoImagesTouchesNoFile)
{
    RunOptions::SetFileText("noimages");
    int sourceFormat = -1;
    auto p = ImageLoad::Load(&sourceFormat, "PICS:not_even_there.tga");
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(p->GetWidth(), 1u);
    EXPECT_EQ(p->GetHeight(), 1u);
    EXPECT_EQ(reinterpret_cast<const Colour*>(p->GetData(0))->Word(), 0xFF9F9F9Fu);
    EXPECT_STREQ(p->GetName(), "PICS:not_even_there.tga");

    p = ImageLoad::Load(&sourceFormat, "PICS:not_even_there", IMAGETYPE_RGB888);
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(p->GetImageType(), IMAGETYPE_RGB888);
    const uint8 expect[3] = {0x9F, 0x9F, 0x9F};
    EXPECT_EQ(std::memcmp(p->GetData(0), expect, 3), 0);
}

TEST_F(ImageByName, SaveByExtensionWritesAFileThatLoadsBack)
{
    auto pGradient = imagetest::MakeGradient(5, 3);
    ASSERT_TRUE(ImageLoad::Save("PICS:out/grad.TGA", *pGradient));
    int sourceFormat = -1;
    auto p = ImageLoad::Load(&sourceFormat, "PICS:out/grad");
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(std::memcmp(p->GetData(0), pGradient->GetData(0), 5 * 3 * 4), 0);

    Image_DXT3 dxt;
    dxt.Allocate(8, 8);
    ASSERT_TRUE(ImageLoad::Save("PICS:out/c.dds", dxt));
    p = ImageLoad::Load(&sourceFormat, "PICS:out/c.dds");
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(sourceFormat, SOURCEFORMAT_DXT3);

    ASSERT_TRUE(ImageLoad::Save("PICS:out/j.jpg", *pGradient));
    p = ImageLoad::Load(&sourceFormat, "PICS:out/j");
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(p->GetWidth(), 5u);
}

TEST_F(ImageByName, SaveRefusalsLeaveNoFile)
{
    LogCapture log;
    auto pGradient = imagetest::MakeGradient(2, 2);
    EXPECT_FALSE(ImageLoad::Save("PICS:noext", *pGradient));
    EXPECT_FALSE(Has("noext"));
    EXPECT_FALSE(ImageLoad::Save("PICS:x.png", *pGradient));
    EXPECT_TRUE(log.Has("TEXTURES -- 'PICS:x.png': Unrecognized file type"));
    EXPECT_FALSE(Has("x.png"));

    Image_DXT1 dxt;
    dxt.Allocate(4, 4);
    EXPECT_FALSE(ImageLoad::Save("PICS:d.tga", dxt));
    EXPECT_TRUE(log.Has("TEXTURES -- 'PICS:d.tga': Unrecognized image type!"));
    EXPECT_FALSE(Has("d.tga"));

    EXPECT_FALSE(ImageLoad::Save("NOALIAS:x.tga", *pGradient));
    EXPECT_TRUE(log.Has("TEXTURES -- 'NOALIAS:x.tga': Unable to open file!"));
}
