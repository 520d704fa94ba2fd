// The sample project's artist script through the built program and burner, on a copy of the
// project: the exported scenes in, the final files out; and a script's error with its file and line.
#include "merge/mergetree.h"
#include "support/runtool.h"
#include "support/tempfolder.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <string>

using merge_test::MergeTree;

namespace
{
TEST(SampleScript, MergesAndBurnsTheScoutIntoItsFinalFiles)
{
    MergeTree tree(TQ7Z_BIN_DIR, "export");
    ASSERT_TRUE(tree.IsReady());
    const ToolRun run = RunTool({"run", tree.Path("tools/scripts/export_scout.lua"), tree.Path("export")});
    ASSERT_EQ(run.status, 0) << run.out << run.err;
    const std::string final = tree.Path("art/final/units/scout/scout.tqm");
    EXPECT_NE(run.out.find("final: " + final), std::string::npos) << run.out;
    for (const char* name : {"art/final/texture_share_scout.vds", "art/final/texture_share_scout_default.tqp",
                             "art/generic/units/scout/scout.ebp"})
        EXPECT_TRUE(tree.Exists(name)) << name;

    const ToolRun info = RunTool({"model", "info", "--json", final});
    ASSERT_EQ(info.status, 0) << info.err;
    const nlohmann::json model = nlohmann::json::parse(info.out);
    EXPECT_EQ(model["name"], "scout");
    ASSERT_EQ(model["animations"].size(), 2u);
    EXPECT_EQ(model["animations"][0]["name"], "walk");
    EXPECT_EQ(model["animations"][1]["name"], "idle");
}

TEST(SampleScript, AnErrorInAScriptNamesItsFileAndLineAndFails)
{
    TempFolder temp;
    const std::string script =
        temp.Write("bad.lua", "print(arg[1], #arg)\ntq7z_pipeline_sourcetogeneric(1)\n");
    const ToolRun run = RunTool({"run", script, "--one"});
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.out, "--one\t1\n");
    EXPECT_NE(
        run.err.find("bad.lua:2: Type error: tq7z_pipeline_sourcetogeneric source_filename requires String, "
                     "got: 1"),
        std::string::npos)
        << run.err;
}
} // namespace
