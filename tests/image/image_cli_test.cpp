// tq7z image info and tq7z image convert, run as the built program on the sample images.
#include "image/imageload.h"
#include "image_test_util.h"
#include "support/runtool.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

#ifdef TQ7Z_BINARY
namespace
{
std::string ReadFile(const std::string& path)
{
    return TempFolder::Read(path);
}

const std::string s_samples = std::string(TQ7Z_SAMPLES) + "/images/";

class ImageCommand : public ::testing::Test
{
protected:
    // The command line after "tq7z image", split at spaces (the test paths hold none).
    ToolRun Run(const std::string& args) const { return RunTool(Words("image " + args)); }
    std::string Out(const std::string& name) const { return m_root + "/" + name; }

    TempFolder m_folder;
    const std::string m_root = m_folder.Path();
};
} // namespace

TEST_F(ImageCommand, InfoAsTextAndAsJson)
{
    ToolRun run = Run("info " + s_samples + "walker_diffuse.tga");
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.out, "type: 0 (RGBA32)\nwidth: 64\nheight: 32\nmips: 1\nsource_format: 1 (alpha)\n");

    run = Run("info --json " + s_samples + "walker_normal.dds");
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.out, "{\"type\": 8, \"width\": 64, \"height\": 64, \"mips\": 7, \"source_format\": 5}\n");

    run = Run("info --json " + s_samples + "walker_team.bmp");
    EXPECT_EQ(run.out, "{\"type\": 2, \"width\": 16, \"height\": 16, \"mips\": 1, \"source_format\": 0}\n");
    run = Run("info --json " + s_samples + "walker_spec.bw");
    EXPECT_EQ(run.out, "{\"type\": 1, \"width\": 32, \"height\": 32, \"mips\": 1, \"source_format\": 3}\n");
    run = Run("info --json " + s_samples + "walker_diffuse.img");
    EXPECT_EQ(run.out, "{\"type\": 0, \"width\": 64, \"height\": 32, \"mips\": 7, \"source_format\": 8}\n");
}

TEST_F(ImageCommand, FilesThatDoNotLoadExitOne)
{
    ToolRun run = Run("info " + Out("missing.tga"));
    EXPECT_EQ(run.status, 1);
    EXPECT_NE(run.err.find("no such file"), std::string::npos) << run.err;
    EXPECT_TRUE(run.out.empty());

    std::ofstream(Out("cut.tga"), std::ios::binary)
        << ReadFile(s_samples + "walker_diffuse.tga").substr(0, 500);
    run = Run("info " + Out("cut.tga"));
    EXPECT_EQ(run.status, 1);
    EXPECT_NE(run.err.find("does not load as an image"), std::string::npos) << run.err;

    std::ofstream(Out("cut.img"), std::ios::binary)
        << ReadFile(s_samples + "walker_diffuse.img").substr(0, 60);
    run = Run("info " + Out("cut.img"));
    EXPECT_EQ(run.status, 1);
    EXPECT_FALSE(run.err.empty());
}

TEST_F(ImageCommand, ConvertThroughTheChunkFormKeepsTheBytes)
{
    // TGA to IMAG to TGA gives back the very same file.
    ToolRun run = Run("convert " + s_samples + "walker_diffuse.tga " + Out("d.img"));
    ASSERT_EQ(run.status, 0) << run.err;
    run = Run("convert " + Out("d.img") + " " + Out("d.tga"));
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(ReadFile(Out("d.tga")), ReadFile(s_samples + "walker_diffuse.tga"));

    // A DDS with mips keeps every level through IMAG and back.
    run = Run("convert " + s_samples + "walker_normal.dds " + Out("n.img"));
    ASSERT_EQ(run.status, 0) << run.err;
    run = Run("convert " + Out("n.img") + " " + Out("n.dds"));
    ASSERT_EQ(run.status, 0) << run.err;
    const std::string original = ReadFile(s_samples + "walker_normal.dds");
    const std::string back = ReadFile(Out("n.dds"));
    ASSERT_EQ(back.size(), original.size());
    EXPECT_EQ(back.substr(128), original.substr(128)); // the levels; the headers' flags may differ
}

TEST_F(ImageCommand, ConvertToATypeAndWithMips)
{
    ToolRun run = Run("convert " + s_samples + "walker_team.bmp " + Out("t.tga") + " --type 0 --mips");
    ASSERT_EQ(run.status, 0) << run.err;
    run = Run("info --json " + Out("t.tga"));
    EXPECT_EQ(run.out, "{\"type\": 0, \"width\": 16, \"height\": 16, \"mips\": 1, \"source_format\": 1}\n");

    run = Run("convert " + s_samples + "walker_diffuse.tga " + Out("m.img") + " --mips --type 7");
    ASSERT_EQ(run.status, 0) << run.err;
    run = Run("info --json " + Out("m.img"));
    EXPECT_EQ(run.out, "{\"type\": 7, \"width\": 64, \"height\": 32, \"mips\": 7, \"source_format\": 8}\n");

    // The chunk form doesn't carry the 16-bit types: refused before anything is written.
    run = Run("convert " + s_samples + "walker_diffuse.tga " + Out("s.img") + " --type 6");
    EXPECT_EQ(run.status, 1);
    EXPECT_NE(run.err.find("does not carry type 6"), std::string::npos) << run.err;
    EXPECT_FALSE(std::filesystem::exists(Out("s.img")));

    run = Run("convert " + s_samples + "walker_diffuse.tga " + Out("p.img") + " --type 2");
    ASSERT_EQ(run.status, 0) << run.err;
    run = Run("info --json " + Out("p.img"));
    EXPECT_EQ(run.out, "{\"type\": 2, \"width\": 64, \"height\": 32, \"mips\": 1, \"source_format\": 8}\n");
}

TEST_F(ImageCommand, ConversionsOutsideTheTableAndUnknownOutputsExitOne)
{
    ToolRun run = Run("convert " + s_samples + "walker_normal.dds " + Out("x.tga") + " --type 7");
    EXPECT_EQ(run.status, 1);
    EXPECT_NE(run.err.find("cannot be converted to type 7"), std::string::npos) << run.err;
    EXPECT_FALSE(std::filesystem::exists(Out("x.tga")));

    run = Run("convert " + s_samples + "walker_diffuse.tga " + Out("x.tga") + " --type 9");
    EXPECT_EQ(run.status, 1);
    EXPECT_NE(run.err.find("no image type"), std::string::npos) << run.err;

    run = Run("convert " + s_samples + "walker_diffuse.tga " + Out("x.png"));
    EXPECT_EQ(run.status, 1);
    EXPECT_NE(run.err.find("Unrecognized file type"), std::string::npos) << run.err;
    EXPECT_FALSE(std::filesystem::exists(Out("x.png")));
}

// The pixels of level 0 of a TGA file, in memory order.
std::vector<uint8> TGAPixels(const std::string& path)
{
    std::unique_ptr<Image> p = imagetest::LoadFile(path, &ImageLoad::LoadTGA);
    if (!p)
        return {};
    return std::vector<uint8>(p->GetData(0), p->GetData(0) + p->GetDataSize(0));
}

TEST_F(ImageCommand, DXTFilesConvertToTGAAndBack)
{
    // DDS files of another tool give that tool's own pixels, as type 0 with or without --type.
    for (const char* name : {"dxt1_16x16", "dxt5_8x8"})
    {
        const std::string dds = std::string(TQ7Z_IMAGE_DATA) + "/" + name + ".dds";
        for (const char* type : {"", " --type 0"})
        {
            ToolRun run = Run("convert " + dds + " " + Out("d.tga") + type);
            ASSERT_EQ(run.status, 0) << run.err;
            EXPECT_EQ(TGAPixels(Out("d.tga")), TGAPixels(std::string(TQ7Z_IMAGE_DATA) + "/" + name + ".tga"))
                << name << type;
        }
    }

    // --type 11 encodes the whole chain, which the TGA writer decodes again.
    ToolRun run = Run("convert " + s_samples + "walker_diffuse.tga " + Out("w.dds") + " --mips --type 11");
    ASSERT_EQ(run.status, 0) << run.err;
    run = Run("info --json " + Out("w.dds"));
    EXPECT_EQ(run.out, "{\"type\": 11, \"width\": 64, \"height\": 32, \"mips\": 7, \"source_format\": 7}\n");
    run = Run("convert " + Out("w.dds") + " " + Out("w.tga"));
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(TGAPixels(Out("w.tga")).size(), 64u * 32u * 4u);

    // The chunk form keeps the blocks.
    run = Run("convert " + s_samples + "walker_diffuse.tga " + Out("w.img") + " --type 8");
    ASSERT_EQ(run.status, 0) << run.err;
    run = Run("info --json " + Out("w.img"));
    EXPECT_EQ(run.out, "{\"type\": 8, \"width\": 64, \"height\": 32, \"mips\": 1, \"source_format\": 8}\n");
}
#endif
