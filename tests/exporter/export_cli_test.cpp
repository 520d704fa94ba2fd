// tq7z export on the sample scenes and on scenes that fail, read back through tq7z model info and
// tq7z chunks.
#include "support/runtool.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <filesystem>
#include <string>
#include <vector>

namespace
{
const std::string s_scout = std::string(TQ7Z_SAMPLES) + "/project/art/source/units/scout/";

nlohmann::json ModelInfo(const std::string& file)
{
    const ToolRun run = RunTool({"model", "info", "--json", file});
    EXPECT_EQ(run.status, 0) << run.err;
    try
    {
        return nlohmann::json::parse(run.out);
    }
    catch (const nlohmann::json::exception& e)
    {
        ADD_FAILURE() << e.what() << "\n" << run.out;
        return {};
    }
}

std::vector<std::string> Names(const nlohmann::json& list)
{
    std::vector<std::string> names;
    for (const auto& entry : list)
        names.push_back(entry.at("name").get<std::string>());
    return names;
}
} // namespace

TEST(ExportCommand, ReferenceSceneWritesMeshesSkeletonAndShadersWithItsLog)
{
    TempFolder folder;
    const std::string out = folder / "scout/reference/ref.sgm";
    const ToolRun run = RunTool({"export", s_scout + "reference/ref.json", out, "--suppress-prompts"});
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_TRUE(std::filesystem::is_regular_file(out));
    EXPECT_NE(TempFolder::Read(folder / "scout/reference/ref.log").find("Application closed without errors"),
              std::string::npos);

    const nlohmann::json info = ModelInfo(out);
    EXPECT_EQ(info.value("name", ""), "scout");
    EXPECT_EQ(Names(info["bones"]),
              (std::vector<std::string>{"pelvis", "spine", "head", "leftthigh", "rightthigh"}));
    // Depth first: Body comes before Helmet in the scene file, but Helmet hangs under Head.
    EXPECT_EQ(Names(info["meshes"]), (std::vector<std::string>{"helmet", "body"}));
    EXPECT_EQ(info["meshes"][0].value("bone", 0), 2);
    EXPECT_EQ(info["meshes"][1].value("bone", 0), -1);
    EXPECT_EQ(info["meshes"][1]["skin"].size(), 4u);
    EXPECT_EQ(Names(info["shaders"]), (std::vector<std::string>{"texture_share_scout", "scoutbody"}));
    EXPECT_EQ(Names(info["markers"]), std::vector<std::string>{"muzzle"});
    EXPECT_EQ(info["markers"][0].value("parent", ""), "spine");
    EXPECT_EQ(Names(info["cameras"]), (std::vector<std::string>{"portraitcam", "viewcam"}));
    // A reference file carries no animation in a batch export.
    EXPECT_TRUE(info["animations"].empty());
}

TEST(ExportCommand, AnimationFileCarriesSampledBoneMatricesOnly)
{
    TempFolder folder;
    const std::string out = folder / "scout/walk.sgm";
    const ToolRun run = RunTool({"export", s_scout + "walk.json", out, "--suppress-prompts"});
    ASSERT_EQ(run.status, 0) << run.err;
    const ToolRun chunks = RunTool({"chunks", out});
    ASSERT_EQ(chunks.status, 0) << chunks.err;
    // 31 frames of one time and one matrix (52 bytes) per bone, and nothing of the model part.
    EXPECT_NE(chunks.out.find("DATA BANM v1 size=1617 name=\"pelvis\""), std::string::npos) << chunks.out;
    EXPECT_EQ(chunks.out.find("SKEL"), std::string::npos) << chunks.out;
    EXPECT_EQ(chunks.out.find("MESH"), std::string::npos) << chunks.out;
}

TEST(ExportCommand, FlagsAreTheOptionsDialog)
{
    TempFolder folder;
    const std::string both = folder / "both.sgm";
    ASSERT_EQ(RunTool({"export", s_scout + "idle.json", both}).status, 0);
    const nlohmann::json info = ModelInfo(both);
    // No flags: meshes and animation, as the dialog's defaults.
    EXPECT_EQ(info["bones"].size(), 5u);
    EXPECT_EQ(info["meshes"].size(), 2u);
    ASSERT_EQ(info["animations"].size(), 1u);
    EXPECT_EQ(info["animations"][0].value("name", ""), "both");

    // Neither meshes nor animation: the model is built but writes nothing of either.
    const std::string none = folder / "none.sgm";
    ASSERT_EQ(RunTool({"export", s_scout + "idle.json", none, "--no-animation", "--no-meshes"}).status, 0);
    const ToolRun chunks = RunTool({"chunks", none});
    EXPECT_EQ(chunks.out.find("ANIM"), std::string::npos) << chunks.out;
    EXPECT_EQ(chunks.out.find("MESH"), std::string::npos) << chunks.out;
}

TEST(ExportCommand, ErrorsFailTheExportButLeaveTheLog)
{
    TempFolder folder;
    const std::string scene = folder.Write("bad.json", R"J({"nodes": [
        {"name": "Body", "bone": true},
        {"name": "Gone", "parent": "Body", "bone": true, "userProperties": "Remove"},
        {"name": "Hull", "parent": "Gone",
         "object": {"class": "editableMesh", "mesh": {"vertices": [[0,0,0],[1,0,0],[0,1,0]], "faces": [[0,1,2]]}}}]})J");
    const std::string out = folder / "out/hull.sgm";
    const ToolRun run = RunTool({"export", scene, out});
    EXPECT_EQ(run.status, 1);
    // The collected messages and nothing else: the traces went to the log.
    EXPECT_EQ(run.err, "Warning : Object [Hull] has no material assigned to it.\n"
                       "Error   : Mesh 'Hull' assigned to invalid bone! (Removed from Skeleton?)\n");
    // The file was saved before the messages were counted.
    EXPECT_TRUE(std::filesystem::is_regular_file(out));
    EXPECT_NE(TempFolder::Read(folder / "out/hull.log").find("Exporting File"), std::string::npos);
}

TEST(ExportCommand, UnreadableSceneOrBadNameFailsBeforeAnyExport)
{
    TempFolder folder;
    const std::string bad = folder.Write("bad.json", R"({"nodes": [{"name": "a", "parent": "b"}]})");
    ToolRun run = RunTool({"export", bad, folder / "a.sgm"});
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.err, bad + ": /nodes/0/parent: no entry of nodes has the id or name 'b'\n");
    EXPECT_FALSE(std::filesystem::exists(folder / "a.sgm"));
    EXPECT_FALSE(std::filesystem::exists(folder / "a.log"));

    run = RunTool({"export", s_scout + "idle.json", folder / "noextension"});
    EXPECT_EQ(run.status, 2);
    EXPECT_NE(run.err.find("writes .sgm, not a name without extension"), std::string::npos) << run.err;

    run = RunTool({"export", s_scout + "idle.json"});
    EXPECT_NE(run.status, 0);
}

TEST(ExportCommand, HelpExplainsFlagsAndLog)
{
    const ToolRun run = RunTool({"export", "--help"});
    EXPECT_EQ(run.status, 0);
    for (const char* text : {"--no-meshes", "--no-animation", "--xref-local", "--suppress-prompts",
                             "first '.'", "IgnoreShaders", "Exit status"})
        EXPECT_NE(run.out.find(text), std::string::npos) << text;
}
