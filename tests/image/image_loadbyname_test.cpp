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

TEST_F(ImageByName, LoadsFindTheFileAndTellItsForm)
{
    auto pGradient = imagetest::MakeGradient(3, 2);
    WriteFile("art/foo.tga", TGAFile(*pGradient));
    Image_DXT1 dxt;
    dxt.Allocate(4, 4);
    ASSERT_TRUE(ImageLoad::Save("PICS:art/foo.dds", dxt));
    WriteFile("art/bar.tga", TGAFile(*pGradient));
    WriteFile("Pic.TGA", TGAFile(*imagetest::MakeRGBA32(1, 1, {Colour(10, 20, 30, 40)})));
    WriteFile("pic.png", {1, 2, 3});
    WriteFile("broken.bmp", {'B', 'M', 0, 0});
    const int Any = IMAGETYPE_ASFILE, Other = SOURCEFORMAT_OTHER;
    // Name, wanted type; the type loaded (-1: none), the source format, its first bytes, the log.
    const struct
    {
        const char* name;
        int wanted, type, format;
        std::vector<uint8> bytes;
        const char* message;
    } cases[] = {
        // clang-format off
        // Without an extension a DDS comes before a TGA; with only the TGA there the search goes on.
        {"PICS:art/foo", IMAGETYPE_ASFILE, IMAGETYPE_DXT1, SOURCEFORMAT_DXT1, {}, ""},
        {"PICS:art/bar", IMAGETYPE_ASFILE, IMAGETYPE_RGBA32, SOURCEFORMAT_ALPHA, imagetest::Level(*pGradient), ""},
        // The extension in any case; a wanted type converts and says so, the file's own does not.
        {"PICS:pic.tga", IMAGETYPE_RGB888, IMAGETYPE_RGB888, SOURCEFORMAT_OTHER, {30, 20, 10}, ""},
        {"PICS:pic.tga", IMAGETYPE_RGBA32, IMAGETYPE_RGBA32, SOURCEFORMAT_ALPHA, {30, 20, 10, 40}, ""},
        {"PICS:pic.png", Any, -1, Other, {}, "'PICS:pic.png' is not a .dds, .jpg, .tga, .bmp or .bw file"},
        {"PICS:nothing", Any, -1, Other, {}, "'PICS:nothing' is not there as .dds, .jpg, .tga, .bmp or .bw"},
        {"PICS:nothing.dds", Any, -1, Other, {}, "TEXTURES -- 'PICS:nothing.dds': Unable to load!"},
        {"PICS:nothing.bw", Any, -1, Other, {}, "BW is non-existant. [PICS:nothing.bw]"},
        {"PICS:broken", Any, -1, Other, {}, "Not a BMP that I know how to read. [PICS:broken.bmp]"},
        // clang-format on
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.name);
        LogCapture log;
        int sourceFormat = -2;
        auto p = ImageLoad::Load(&sourceFormat, c.name, c.wanted);
        EXPECT_EQ(sourceFormat, c.format);
        EXPECT_TRUE(imagetest::Logged(log, c.message)) << c.message;
        if (c.type < 0)
        {
            EXPECT_EQ(p, nullptr);
            continue;
        }
        ASSERT_NE(p, nullptr);
        EXPECT_EQ(p->GetImageType(), c.type);
        EXPECT_STREQ(p->GetName(), c.name);
        EXPECT_EQ(std::vector<uint8>(p->GetData(0), p->GetData(0) + c.bytes.size()), c.bytes);
    }
}

TEST_F(ImageByName, NoImagesTouchesNoFile)
{
    RunOptions::SetFileText("noimages");
    int sourceFormat = -1;
    auto p = ImageLoad::Load(&sourceFormat, "PICS:not_even_there.tga");
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(p->GetWidth() * p->GetHeight(), 1u);
    EXPECT_EQ(reinterpret_cast<const Colour*>(p->GetData(0))->Word(), 0xFF9F9F9Fu);
    EXPECT_STREQ(p->GetName(), "PICS:not_even_there.tga");
    p = ImageLoad::Load(&sourceFormat, "PICS:not_even_there", IMAGETYPE_RGB888);
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(imagetest::Level(*p), (std::vector<uint8>{0x9F, 0x9F, 0x9F}));
}

TEST_F(ImageByName, SaveByExtensionWritesAFileThatLoadsBackOrNothing)
{
    auto pGradient = imagetest::MakeGradient(5, 3);
    Image_DXT3 dxt;
    dxt.Allocate(8, 8);
    // Name, image; the source format it loads back with (-1: refused, no file), the log.
    const std::tuple<const char*, const Image*, int, const char*> cases[] = {
        {"PICS:out/grad.TGA", pGradient.get(), SOURCEFORMAT_ALPHA, ""},
        {"PICS:out/c.dds", &dxt, SOURCEFORMAT_DXT3, ""},
        {"PICS:out/j.jpg", pGradient.get(), SOURCEFORMAT_OPAQUE, ""},
        {"PICS:noext", pGradient.get(), -1, ""},
        {"PICS:x.png", pGradient.get(), -1, "TEXTURES -- 'PICS:x.png': Unrecognized file type"},
        {"PICS:d.tga", &dxt, -1, "TEXTURES -- 'PICS:d.tga': Unrecognized image type!"},
        {"NOALIAS:x.tga", pGradient.get(), -1, "TEXTURES -- 'NOALIAS:x.tga': Unable to open file!"},
    };
    for (const auto& [name, pImage, format, message] : cases)
    {
        LogCapture log;
        EXPECT_EQ(ImageLoad::Save(name, *pImage), format >= 0) << name;
        EXPECT_TRUE(imagetest::Logged(log, message)) << name << ": " << message;
        int sourceFormat = -2;
        auto p = ImageLoad::Load(&sourceFormat, name);
        EXPECT_EQ(p != nullptr, format >= 0) << name;
        EXPECT_EQ(sourceFormat, format >= 0 ? format : SOURCEFORMAT_OTHER) << name;
        if (p != nullptr)
        {
            EXPECT_EQ(p->GetWidth(), pImage->GetWidth()) << name;
        }
    }
    int sourceFormat = -1;
    auto p = ImageLoad::Load(&sourceFormat, "PICS:out/grad");
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(imagetest::Level(*p), imagetest::Level(*pGradient));
    EXPECT_FALSE(Has("noext") || Has("x.png") || Has("d.tga"));
}
