// tq7z pattern info and build, run as the program: the sample's shared texture built and read back,
// the failures' exits and messages, and no file when there is no layer image.
#include "foundation/types.h"
#include "support/runtool.h"
#include "support/tempfolder.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <filesystem>

namespace
{
const std::string s_shared = std::string(TQ7Z_SAMPLES) + "/project/art/source/texture_share_scout.tga";

TEST(PatternCommand, SampleTextureBuildsAndReadsBack)
{
    TempFolder temp;
    const std::string out = temp / "scout_share_default.tqp";
    const ToolRun build = RunTool({"pattern", "build", s_shared, out});
    ASSERT_EQ(build.status, 0) << build.err;
    EXPECT_NE(build.out.find("4 layers, dirt image yes, badge yes, banner yes"), std::string::npos)
        << build.out;

    const ToolRun info = RunTool({"pattern", "info", out, "--json"});
    ASSERT_EQ(info.status, 0) << info.err;
    const nlohmann::json json = nlohmann::json::parse(info.out);
    EXPECT_EQ(json["scheme"], "default");
    EXPECT_EQ(json["width"], 64);
    EXPECT_EQ(json["height"], 64);
    ASSERT_EQ(json["layers"].size(), 4u);
    EXPECT_EQ(json["layers"][0], (nlohmann::json{{"index", 0}, {"name", "primary"}, {"nonzero", 64 * 32}}));
    EXPECT_EQ(json["layers"][3]["name"], "dirt");
    EXPECT_EQ(json["dirt"], (nlohmann::json{{"width", 64}, {"height", 64}}));
    EXPECT_EQ(json["badge"], nlohmann::json::array({8.0, 16.0, 64.0, 64.0}));
    EXPECT_EQ(json["banner"], nlohmann::json::array({24.0, 8.0, 64.0, 96.0}));

    const ToolRun text = RunTool({"pattern", "info", out});
    EXPECT_EQ(text.status, 0);
    EXPECT_NE(text.out.find("  0 primary: 2048 non-zero\n"), std::string::npos) << text.out;
    EXPECT_NE(text.out.find("badge: x 8, y 16, 64 by 64\n"), std::string::npos) << text.out;
}

TEST(PatternCommand, FailuresExitWithTheirMessages)
{
    TempFolder temp;
    const std::string texture = temp.Write("art/crate.tga", "");
    std::filesystem::copy_file(s_shared, texture, std::filesystem::copy_options::overwrite_existing);
    const std::string layer =
        std::string(TQ7Z_SAMPLES) + "/project/art/source/texture_share_scout_default_badge.tga";
    const std::string out = temp / "crate.tqp";

    // No layer image: a note, exit 0, no file.
    ToolRun run = RunTool({"pattern", "build", texture, out});
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_NE(run.err.find("no pattern"), std::string::npos) << run.err;
    EXPECT_FALSE(std::filesystem::exists(out));

    // A 96 by 96 image as the red scheme's primary layer of a 64 by 64 texture.
    std::filesystem::copy_file(layer, temp / "art/crate_red_primary.tga");
    run = RunTool({"pattern", "build", texture, "--scheme", "red", out});
    EXPECT_EQ(run.status, 1);
    EXPECT_NE(run.err.find("Merge: Layer '"), std::string::npos) << run.err;
    EXPECT_NE(run.err.find("crate_red_primary.tga' does not match texture '"), std::string::npos) << run.err;
    EXPECT_FALSE(std::filesystem::exists(out));

    struct Case
    {
        std::vector<std::string> args;
        int status;
        const char* message;
    } cases[] = {
        {{"pattern", "info", temp / "missing.tqp"}, 1, "does not load as a team colour pattern"},
        {{"pattern", "info", texture}, 2, "is no .tqp file"},
        {{"pattern", "build", texture, temp / "x.tga"}, 2, "writes .tqp, not '.tga'"},
        {{"pattern", "build", texture, "--scheme", std::string(32, 's'), out}, 2, "the scheme"},
        {{"pattern", "build", temp / "none.tga", out}, 1, "does not exist"},
    };
    for (const Case& c : cases)
    {
        run = RunTool(c.args);
        EXPECT_EQ(run.status, c.status) << c.args[1] << " " << c.args[2];
        EXPECT_NE(run.err.find(c.message), std::string::npos) << run.err;
        EXPECT_EQ(run.out, "");
    }
    temp.Write("bad.tqp", "Vardo Chunky\r\n");
    run = RunTool({"pattern", "info", temp / "bad.tqp"});
    EXPECT_EQ(run.status, 1);
    EXPECT_NE(run.err.find("bad.tqp"), std::string::npos);
}

} // namespace
