// tq7z burn config|set|reset run end to end on a copy of the sample project.
#include "support/runtool.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <filesystem>

namespace
{
namespace fs = std::filesystem;

class CmdBurn : public ::testing::Test
{
protected:
    void SetUp() override { fs::copy(TQ7Z_SAMPLES "/project", m_tree.Path(), fs::copy_options::recursive); }
    std::string Path(const std::string& relative) const { return m_tree / relative; }

    TempFolder m_tree;
};

bool Holds(const std::string& text, const std::string& part)
{
    return text.find(part) != std::string::npos;
}
} // namespace

TEST_F(CmdBurn, ConfigShowsTheChainAndEachParameter)
{
    const std::string readme = Path("art/generic/units/tank/readme.txt");
    ToolRun run = RunTool({"burn", "config", readme, "--json"});
    ASSERT_EQ(0, run.status) << run.err;
    EXPECT_EQ("", run.err);
    const nlohmann::json out = nlohmann::json::parse(run.out);
    EXPECT_EQ((std::vector<std::string>{Path("art/generic/_default.burn"),
                                        Path("art/generic/units/_default.burn"), readme + ".burn"}),
              out["chain"].get<std::vector<std::string>>());
    EXPECT_EQ(1, out["version"]);
    const nlohmann::json& models = out["groups"][0];
    EXPECT_EQ(".*\\.sgm$", models["wildcard"]);
    EXPECT_EQ("model", models["targets"][0]["plugin"]);
    EXPECT_EQ((nlohmann::json{{"name", "mips_to_skip"}, {"value", "1"}, {"default", true}}),
              models["targets"][0]["params"][1]);
    EXPECT_EQ((nlohmann::json{{"name", "read_only"}, {"value", "no"}, {"default", false}}),
              out["groups"][3]["targets"][0]["params"][0]);

    // As text, the folder's own value is no default.
    run = RunTool({"burn", "config", Path("art/generic/units")});
    ASSERT_EQ(0, run.status) << run.err;
    EXPECT_TRUE(Holds(run.out, "  target final: destination DataFinal, plugin model\n    dxtc = 5 (default)\n"
                               "    mips_to_skip = 1\n"))
        << run.out;
}

TEST_F(CmdBurn, SetAndResetKeepTheFileMinimal)
{
    const std::string tank = Path("art/generic/units/tank");
    ToolRun run = RunTool({"burn", "set", tank, "MODELS", "Final", "dxtc", "1"});
    ASSERT_EQ(0, run.status) << run.err;
    EXPECT_EQ(tank + "/_default.burn: written\n", run.out);
    const std::string text = TempFolder::Read(tank + "/_default.burn");
    EXPECT_TRUE(Holds(text, "\"dxtc\",\r\n") && !Holds(text, "mips_to_skip")) << text;

    // The file below keeps its own override and takes the new one as its default.
    run = RunTool({"burn", "config", tank + "/readme.txt"});
    EXPECT_TRUE(Holds(run.out, "    dxtc = 1 (default)\n")) << run.out;
    EXPECT_TRUE(Holds(run.out, "    read_only = no\n")) << run.out;

    run = RunTool({"burn", "reset", tank, "models", "final", "DXTC"});
    ASSERT_EQ(0, run.status) << run.err;
    EXPECT_EQ(tank + "/_default.burn: removed, as nothing differs from the level above\n", run.out);
    EXPECT_FALSE(fs::exists(tank + "/_default.burn"));
}

TEST_F(CmdBurn, FailuresSayWhatAndExitOne)
{
    const std::string readme = Path("art/generic/units/tank/readme.txt.burn");
    const std::string before = TempFolder::Read(readme);
    const std::pair<std::vector<std::string>, std::string> cases[] = {
        {{"set", Path("art/generic"), "models", "final", "dxtc", "1"}, "is the base of its tree"},
        {{"set", Path("art/generic/units"), "models", "final", "sharpen", "1"}, "no parameter 'sharpen'"},
        {{"config", Path("expansion/generic/units/walker")}, "does not have a burn configuration script."},
    };
    for (const auto& [args, message] : cases)
    {
        std::vector<std::string> command{"burn"};
        command.insert(command.end(), args.begin(), args.end());
        const ToolRun run = RunTool(command);
        EXPECT_EQ(1, run.status) << message;
        EXPECT_EQ("", run.out) << message;
        EXPECT_TRUE(Holds(run.err, message)) << run.err;
    }

    // A broken file above: Lua's message with file and line, the load's messages, and no change.
    m_tree.Write("art/generic/units/_default.burn", "burn_params = {");
    const ToolRun run = RunTool(
        {"burn", "set", Path("art/generic/units/tank/readme.txt"), "copy", "copy", "read_only", "yes"});
    EXPECT_EQ(1, run.status);
    EXPECT_TRUE(Holds(run.err, "_default.burn:1:")) << run.err;
    EXPECT_TRUE(
        Holds(run.err, "not parsed.  Syntax Error?.\nWarning: ConfigIO -- Unable to load configuration"))
        << run.err;
    EXPECT_EQ(before, TempFolder::Read(readme));
}
