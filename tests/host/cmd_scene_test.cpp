// tq7z scene check on the sample scenes and on broken files.
#include "support/runtool.h"

#include <gtest/gtest.h>

namespace
{
const std::string s_scout = std::string(TQ7Z_SAMPLES) + "/project/art/source/units/scout/";
}

TEST(SceneCheckCommand, SampleScenesPassWithTheirSummary)
{
    for (const char* name : {"reference/ref.json", "walk.json", "idle.json"})
    {
        const ToolRun run = RunTool({"scene", "check", s_scout + name});
        EXPECT_EQ(run.status, 0) << name << ": " << run.err;
        EXPECT_NE(run.out.find(": 11 nodes, frames 0 to "), std::string::npos) << run.out;
        EXPECT_NE(
            run.out.find("Pelvis [bone], Spine [bone], Head [bone], LeftThigh [bone], RightThigh [bone]"),
            std::string::npos)
            << run.out;
        EXPECT_NE(run.out.find("Editable Mesh          2  Body [skin], Helmet"), std::string::npos)
            << run.out;
        EXPECT_NE(run.out.find("Free Camera            1  PortraitCam"), std::string::npos) << run.out;
        EXPECT_NE(run.out.find("Target Camera          1  ViewCam"), std::string::npos) << run.out;
        EXPECT_NE(run.out.find("Point                  1  Muzzle"), std::string::npos) << run.out;
    }
    EXPECT_NE(
        RunTool({"scene", "check", s_scout + "walk.json"}).out.find("frames 0 to 30 at 30 frames a second"),
        std::string::npos);
}

TEST(SceneCheckCommand, BadFilesFailWithThePlace)
{
    TempFolder folder;
    const std::string bad = folder.Write("bad.json", R"({"nodes": [{"name": "a", "parent": "b"}]})");
    ToolRun run = RunTool({"scene", "check", bad});
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(run.err, bad + ": /nodes/0/parent: no entry of nodes has the id or name 'b'\n");

    run = RunTool({"scene", "check", folder / "none.json"});
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.err, folder / "none.json" + ": cannot open the file\n");

    run = RunTool({"scene", "check"});
    EXPECT_NE(run.status, 0);
    run = RunTool({"scene", "check", "--help"});
    EXPECT_EQ(run.status, 0);
    EXPECT_NE(run.out.find("FILE"), std::string::npos);
}

TEST(SceneCheckCommand, TheDocumentedExampleReads)
{
    const std::string doc = TempFolder::Read(std::string(TQ7Z_SAMPLES) + "/../docs/scene-format.md");
    const size_t begin = doc.find("```json\n");
    ASSERT_NE(begin, std::string::npos);
    const size_t end = doc.find("```", begin + 8);
    ASSERT_NE(end, std::string::npos);
    TempFolder folder;
    const std::string path = folder.Write("example.json", doc.substr(begin + 8, end - begin - 8));
    const ToolRun run = RunTool({"scene", "check", path});
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_NE(run.out.find("9 nodes, frames 0 to 2"), std::string::npos) << run.out;
    EXPECT_NE(run.out.find("Mesh                   1  Walls [xref]"), std::string::npos) << run.out;
}
