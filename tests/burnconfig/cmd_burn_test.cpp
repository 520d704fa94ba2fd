// tq7z burn config|set|reset run end to end on a copy of the sample project.
#include "support/runtool.h"
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

TEST(CmdBurn, ConfigSetResetAndTheirFailures)
{
    namespace fs = std::filesystem;
    TempFolder tree;
    fs::copy(TQ7Z_SAMPLES "/project", tree.Path(), fs::copy_options::recursive);
    const std::string units = tree / "art/generic/units", tank = units + "/tank", readme = tank + "/readme.txt";
    ToolRun run = RunTool({"burn", "config", readme, "--json"});
    ASSERT_EQ(std::pair(0, std::string()), std::pair(run.status, run.err));
    const nlohmann::json out = nlohmann::json::parse(run.out);
    EXPECT_EQ((std::vector<std::string>{tree / "art/generic/_default.burn", units + "/_default.burn", readme + ".burn"}),
              out["chain"].get<std::vector<std::string>>());
    const nlohmann::json& models = out["groups"][0];
    EXPECT_TRUE(out["version"] == 1 && models["wildcard"] == ".*\\.sgm$" && models["targets"][0]["plugin"] == "model") << run.out;
    EXPECT_EQ((nlohmann::json{{"name", "mips_to_skip"}, {"value", "1"}, {"default", true}}), models["targets"][0]["params"][1]);
    EXPECT_EQ((nlohmann::json{{"name", "read_only"}, {"value", "no"}, {"default", false}}), out["groups"][3]["targets"][0]["params"][0]);
    // As text, the folder's own value is no default.
    EXPECT_NE(std::string::npos, RunTool({"burn", "config", units}).out.find("  target final: destination DataFinal, plugin model\n"
                                                                              "    dxtc = 5 (default)\n    mips_to_skip = 1\n"));
    // Set and reset keep the file minimal; the file below takes the new value as its default.
    run = RunTool({"burn", "set", tank, "MODELS", "Final", "dxtc", "1"});
    EXPECT_EQ(std::pair(0, tank + "/_default.burn: written\n"), std::pair(run.status, run.out)) << run.err;
    const std::string text = TempFolder::Read(tank + "/_default.burn");
    EXPECT_TRUE(text.find("\"dxtc\",\r\n") != std::string::npos && text.find("mips_to_skip") == std::string::npos) << text;
    run = RunTool({"burn", "config", readme});
    EXPECT_TRUE(run.out.find("    dxtc = 1 (default)\n") != std::string::npos && run.out.find("    read_only = no\n") != std::string::npos);
    run = RunTool({"burn", "reset", tank, "models", "final", "DXTC"});
    EXPECT_EQ(std::pair(0, tank + "/_default.burn: removed, as nothing differs from the level above\n"), std::pair(run.status, run.out));
    EXPECT_FALSE(fs::exists(tank + "/_default.burn"));
    // Failures say what and exit 1; a broken file above gives Lua's message with file and line,
    // the load's messages, and no change.
    const std::string before = TempFolder::Read(readme + ".burn");
    const std::pair<std::vector<std::string>, std::string> cases[] = {
        {{"burn", "set", tree / "art/generic", "models", "final", "dxtc", "1"}, "is the base of its tree"},
        {{"burn", "set", units, "models", "final", "sharpen", "1"}, "no parameter 'sharpen'"},
        {{"burn", "config", tree / "expansion/generic/units/walker"}, "does not have a burn configuration script."},
    };
    for (const auto& [args, message] : cases)
    {
        run = RunTool(args);
        EXPECT_EQ(std::pair(1, std::string()), std::pair(run.status, run.out)) << message;
        EXPECT_NE(std::string::npos, run.err.find(message)) << run.err;
    }
    tree.Write("art/generic/units/_default.burn", "burn_params = {");
    run = RunTool({"burn", "set", readme, "copy", "copy", "read_only", "yes"});
    EXPECT_TRUE(run.status == 1 && run.err.find("_default.burn:1:") != std::string::npos &&
                run.err.find("not parsed.  Syntax Error?.\nWarning: ConfigIO -- Unable to load configuration") != std::string::npos)
        << run.err;
    EXPECT_EQ(before, TempFolder::Read(readme + ".burn"));
}
