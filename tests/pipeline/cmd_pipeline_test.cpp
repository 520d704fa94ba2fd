// tq7z pipeline run end to end, on the sample tree that ships with the project and on broken trees.
#include "pipelinetree.h"
#include "support/runtool.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace
{
const std::string s_sample = std::filesystem::weakly_canonical(TQ7Z_SAMPLES "/project").string();

bool Holds(const std::string& text, const std::string& part)
{
    return text.find(part) != std::string::npos;
}
} // namespace

TEST(CmdPipeline, InfoListsProjectsFoldersAndSections)
{
    ToolRun run = RunTool({"pipeline", "info", s_sample + "/art/source/units/tank"});
    ASSERT_EQ(0, run.status) << run.err;
    EXPECT_TRUE(Holds(run.out, "pipeline.ini: " + s_sample + "/pipeline.ini\n")) << run.out;
    EXPECT_TRUE(Holds(run.out, "project art\n  Description: Art of the base game\n  Parent: (none)\n"))
        << run.out;
    EXPECT_TRUE(Holds(run.out, "project expansion\n")) << run.out;
    EXPECT_TRUE(Holds(run.out, "  Parent: Art\n")) << run.out;
    EXPECT_TRUE(Holds(run.out, "  DataGeneric: " + s_sample + "/expansion/generic\n")) << run.out;
    EXPECT_TRUE(Holds(run.out, "  DataExtra: " + s_sample + "/art/final_patch\n")) << run.out;
    EXPECT_TRUE(Holds(run.out, "  AttrLoc: attrib\n")) << run.out;
    EXPECT_TRUE(Holds(run.out, "section p4\n  revcontrolport=\n")) << run.out;
    EXPECT_FALSE(Holds(run.out, "section project:")) << run.out;
}

TEST(CmdPipeline, ProjectOfAPath)
{
    ToolRun run = RunTool({"pipeline", "project", s_sample + "/expansion/source/units/walker/walker.max"});
    EXPECT_EQ(0, run.status) << run.err;
    EXPECT_EQ("expansion\n", run.out);

    // Either separator, and the kind in any case, by name or short form.
    run = RunTool({"pipeline", "project", Win(s_sample + "/art/generic/units"), "--kind", "dataGENERIC"});
    EXPECT_EQ(0, run.status) << run.err;
    EXPECT_EQ("art\n", run.out);
    run = RunTool({"pipeline", "project", s_sample + "/art/final", "--kind", "Final"});
    EXPECT_EQ("art\n", run.out);

    run = RunTool({"pipeline", "project", s_sample + "/tools/version.txt", "--kind", "final"});
    EXPECT_EQ(1, run.status);
    EXPECT_EQ("", run.out);
    EXPECT_TRUE(Holds(run.err, "lies in no project's DataFinal folder")) << run.err;

    run = RunTool({"pipeline", "project", s_sample, "--kind", "finished"});
    EXPECT_EQ(1, run.status);
    EXPECT_TRUE(Holds(run.err, "unknown data kind 'finished'")) << run.err;
}

TEST(CmdPipeline, SourceToMapsIntoTheProjectsFolders)
{
    const std::string tank = s_sample + "/art/source/units/tank/tank.max";
    ToolRun run = RunTool({"pipeline", "source-to", "generic", tank});
    EXPECT_EQ(0, run.status) << run.err;
    EXPECT_EQ(s_sample + "/art/generic/units/tank/tank.max\n", run.out);
    run = RunTool({"pipeline", "source-to", "DataIntermediate", Win(tank)});
    EXPECT_EQ(s_sample + "/art/intermediate/units/tank/tank.max\n", run.out);
    run = RunTool({"pipeline", "source-to", "final", "--alias", tank});
    EXPECT_EQ("DATA:\\units\\tank\\tank.max\n", run.out);

    run = RunTool({"pipeline", "source-to", "generic", s_sample + "/art/final/units/tank/readme.txt"});
    EXPECT_EQ(1, run.status);
    EXPECT_EQ("", run.out);
    EXPECT_TRUE(Holds(run.err, "cannot map")) << run.err;
}

TEST(CmdPipeline, BrokenLinesAreReportedAndAMissingKeyFails)
{
    TempFolder tree;
    tree.Write("pipeline.ini",
               "orphan=1\r\n[tools\r\n" + ProjectSection("project:tank", "tank", "") + "just words\r\n");
    ToolRun run = RunTool({"pipeline", "info", tree.Path()});
    EXPECT_EQ(0, run.status) << run.err;
    EXPECT_TRUE(Holds(run.err, "Key outside section at line 0 from")) << run.err;
    EXPECT_TRUE(Holds(run.err, "Failed to read line 1 from")) << run.err;
    EXPECT_TRUE(Holds(run.err, "Failed to read line 14 from")) << run.err;
    EXPECT_TRUE(Holds(run.out, "project tank\n")) << run.out;

    std::string lacking = ProjectSection("project:tank", "tank", "");
    lacking.erase(lacking.find("Parent="));
    tree.Write("pipeline.ini", lacking);
    run = RunTool({"pipeline", "info", tree.Path()});
    EXPECT_EQ(1, run.status);
    EXPECT_TRUE(Holds(run.err, "[project:tank] lacks the key \"Parent\"")) << run.err;
    EXPECT_TRUE(Holds(run.err, "no complete [project:NAME] section")) << run.err;

    TempFolder empty;
    run = RunTool({"pipeline", "info", empty.Path()});
    EXPECT_EQ(1, run.status);
}

TEST(CmdPipeline, HelpOnEveryCommand)
{
    for (const char* command : {"info", "project", "source-to"})
    {
        ToolRun run = RunTool({"pipeline", command, "--help"});
        EXPECT_EQ(0, run.status) << command;
        EXPECT_TRUE(Holds(run.out, "Usage:")) << command;
    }
}
