// tq7z image info and tq7z image convert, run as the built program on the sample images.
#include "image/imageload.h"
#include "image_test_util.h"
#include "support/runtool.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#ifdef TQ7Z_BINARY
namespace
{
const std::string s_samples = std::string(TQ7Z_SAMPLES) + "/images/";

std::string Json(int type, int w, int h, int mips, int format)
{
    return "{\"type\": " + std::to_string(type) + ", \"width\": " + std::to_string(w) +
           ", \"height\": " + std::to_string(h) + ", \"mips\": " + std::to_string(mips) +
           ", \"source_format\": " + std::to_string(format) + "}\n";
}

// The pixels of level 0 of a TGA file, in memory order.
std::vector<uint8> TGAPixels(const std::string& path)
{
    std::unique_ptr<Image> p = imagetest::LoadFile(path, &ImageLoad::LoadTGA);
    return p ? imagetest::Level(*p) : std::vector<uint8>();
}

class ImageCommand : public ::testing::Test
{
protected:
    // The command line after "tq7z image"; "@" stands for the samples, "%" for the scratch folder.
    ToolRun Run(std::string args) const
    {
        for (size_t at; (at = args.find_first_of("@%")) != std::string::npos;)
            args.replace(at, 1, args[at] == '@' ? s_samples : m_folder.Path() + "/");
        return RunTool(Words("image " + args));
    }
    TempFolder m_folder;
};

TEST_F(ImageCommand, InfoAndConvertAsTextAndAsJson)
{
    // Each step's command line and what it prints; convert steps print nothing and pass.
    const std::pair<const char*, std::string> steps[] = {
        {"info @walker_diffuse.tga",
         "type: 0 (RGBA32)\nwidth: 64\nheight: 32\nmips: 1\nsource_format: 1 (alpha)\n"},
        {"info --json @walker_normal.dds", Json(8, 64, 64, 7, 5)},
        {"info --json @walker_team.bmp", Json(2, 16, 16, 1, 0)},
        {"info --json @walker_spec.bw", Json(1, 32, 32, 1, 3)},
        {"info --json @walker_diffuse.img", Json(0, 64, 32, 7, 8)},
        {"convert @walker_team.bmp %t.tga --type 0 --mips", ""},
        {"info --json %t.tga", Json(0, 16, 16, 1, 1)},
        {"convert @walker_diffuse.tga %m.img --mips --type 7", ""},
        {"info --json %m.img", Json(7, 64, 32, 7, 8)},
        {"convert @walker_diffuse.tga %p.img --type 2", ""},
        {"info --json %p.img", Json(2, 64, 32, 1, 8)},
        // --type 11 encodes the whole chain, which the TGA writer decodes again.
        {"convert @walker_diffuse.tga %w.dds --mips --type 11", ""},
        {"info --json %w.dds", Json(11, 64, 32, 7, 7)},
        {"convert %w.dds %w.tga", ""},
        // The chunk form keeps the blocks.
        {"convert @walker_diffuse.tga %w.img --type 8", ""},
        {"info --json %w.img", Json(8, 64, 32, 1, 8)},
        // Through the chunk form and back: the very same TGA; a DDS keeps every level.
        {"convert @walker_diffuse.tga %d.img", ""},
        {"convert %d.img %d.tga", ""},
        {"convert @walker_normal.dds %n.img", ""},
        {"convert %n.img %n.dds", ""},
    };
    for (const auto& [args, out] : steps)
    {
        const ToolRun run = Run(args);
        EXPECT_EQ(run.status, 0) << args << ": " << run.err;
        EXPECT_EQ(run.out, out) << args;
    }
    EXPECT_EQ(TGAPixels(m_folder / "w.tga").size(), 64u * 32u * 4u);
    EXPECT_EQ(TempFolder::Read(m_folder / "d.tga"), TempFolder::Read(s_samples + "walker_diffuse.tga"));
    const std::string original = TempFolder::Read(s_samples + "walker_normal.dds");
    const std::string back = TempFolder::Read(m_folder / "n.dds");
    ASSERT_EQ(back.size(), original.size());
    EXPECT_EQ(back.substr(128), original.substr(128)); // the levels; the headers' flags may differ
}

TEST_F(ImageCommand, FailuresExitOneAndWriteNothing)
{
    m_folder.Write("cut.tga", TempFolder::Read(s_samples + "walker_diffuse.tga").substr(0, 500));
    m_folder.Write("cut.img", TempFolder::Read(s_samples + "walker_diffuse.img").substr(0, 60));
    // Arguments, the error; an output form the command doesn't write is a usage error (exit 2).
    const std::pair<const char*, const char*> cases[] = {
        {"info %missing.tga", "no such file"},
        {"info %cut.tga", "does not load as an image"},
        {"info %cut.img", ""},
        // The chunk form doesn't carry the 16-bit types: refused before anything is written.
        {"convert @walker_diffuse.tga %x.img --type 6", "does not carry type 6"},
        {"convert @walker_normal.dds %x.tga --type 7", "cannot be converted to type 7"},
        {"convert @walker_diffuse.tga %x.tga --type 9", "no image type"},
        {"convert @walker_diffuse.tga %x.png", "writes .tga, .jpg, .dds or .img, not '.png'"},
    };
    for (const auto& [args, error] : cases)
    {
        const ToolRun run = Run(args);
        EXPECT_EQ(run.status, std::string(args).find(".png") != std::string::npos ? 2 : 1) << args;
        EXPECT_NE(run.err.find(error), std::string::npos) << args << ": " << run.err;
        EXPECT_FALSE(run.err.empty()) << args;
        EXPECT_TRUE(run.out.empty()) << args;
    }
    for (const char* name : {"x.img", "x.tga", "x.png"})
        EXPECT_FALSE(std::filesystem::exists(m_folder / name)) << name;
}

TEST_F(ImageCommand, DDSFilesOfAnotherToolGiveThatToolsPixels)
{
    // As type 0 with or without --type.
    for (const char* name : {"dxt1_16x16", "dxt5_8x8"})
    {
        const std::string data = std::string(TQ7Z_IMAGE_DATA) + "/" + name;
        for (const char* type : {"", " --type 0"})
        {
            const ToolRun run = Run("convert " + data + ".dds %d.tga" + type);
            ASSERT_EQ(run.status, 0) << run.err;
            EXPECT_EQ(TGAPixels(m_folder / "d.tga"), TGAPixels(data + ".tga")) << name << type;
        }
    }
}
} // namespace
#endif
