#include "support/runtool.h"

#include <gtest/gtest.h>

namespace
{
const std::string kSamples = TQ7Z_SAMPLES;
}

TEST(Program, HelpListsTheSubcommandsAndSucceeds)
{
    const ToolRun run = RunTool({"--help"});
    EXPECT_EQ(run.status, 0);
    EXPECT_NE(run.out.find("chunks"), std::string::npos);
    EXPECT_NE(run.out.find("--opt NAME"), std::string::npos);
}

TEST(Program, UsageErrorsExitWithTwo)
{
    EXPECT_EQ(RunTool({}).status, 2);
    EXPECT_EQ(RunTool({"no-such-command"}).status, 2);
    EXPECT_EQ(RunTool({"chunks"}).status, 2);
}

TEST(LuaDump, WritesTheGlobalsOfTheSampleSorted)
{
    const ToolRun run = RunTool({"lua", "dump", kSamples + "/lua/unit.lua", "--sorted"});
    ASSERT_EQ(run.status, 0) << run.err;
    // Globals come out in name order, each as an assignment that loads back.
    const size_t health = run.out.find("health = 250");
    const size_t name = run.out.find("name = \"walker\"");
    const size_t speed = run.out.find("speed = 4.5");
    ASSERT_NE(health, std::string::npos) << run.out;
    ASSERT_NE(name, std::string::npos) << run.out;
    ASSERT_NE(speed, std::string::npos) << run.out;
    EXPECT_LT(health, name);
    EXPECT_LT(name, speed);
    EXPECT_NE(run.out.find("\"blocked cells\""), std::string::npos) << run.out;
}

TEST(LuaDump, SyntaxErrorNamesFileAndLineAndFails)
{
    TempFolder folder;
    const std::string bad = folder.Write("bad.lua", "a = 1\nb = = 2\n");
    const ToolRun run = RunTool({"lua", "dump", bad});
    EXPECT_EQ(run.status, 1);
    EXPECT_NE(run.err.find("bad.lua:2:"), std::string::npos) << run.err;
}
