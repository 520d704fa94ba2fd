// What a user sees on standard error: the commands' own messages, warnings and errors, never the
// system's traces or a name in its internal form; and output names the commands refuse.
#include "support/runtool.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <regex>

namespace
{
const std::string kSamples = TQ7Z_SAMPLES;

// A trace or tagged line, or a name in the system's own form ('\\' between names, the plain disk's
// alias "TOOL:"): what a user should not see on standard error.
const std::regex s_unwanted(R"(^(RENDER - |Exporting File|=+ end =+|[A-Z][A-Z0-9]{2,3}: )|\\|\bTOOL:)",
                            std::regex::ECMAScript | std::regex::multiline);
} // namespace

TEST(Console, EachSubcommandOnTheSamplesShowsNoTracesOrInternalNames)
{
    TempFolder out;
    const std::string walker = kSamples + "/models/walker.sgm";
    const std::string scout = kSamples + "/project/art/source/units/scout";
    const std::string texture = kSamples + "/project/art/source/texture_share_scout.tga";
    const std::vector<std::string> runs[] = {
        {"pipeline", "info", kSamples + "/project"},
        {"pipeline", "source-to", "generic", kSamples + "/project/art/source/units/tank/tank.max"},
        {"image", "info", kSamples + "/images/walker_normal.dds"},
        {"image", "convert", kSamples + "/images/walker_diffuse.tga", out / "diffuse.img", "--mips"},
        {"chunks", kSamples + "/chunks/walker.chunky"},
        {"lua", "dump", kSamples + "/lua/unit.lua"},
        {"scene", "check", scout + "/walk.json"},
        {"export", scout + "/walk.json", out / "export/walk.sgm"},
        {"model", "info", out / "export/walk.sgm"},
        {"model", "convert", walker, out / "walker.tqm", "--dxt", "1"},
        {"model", "info", out / "walker.tqm"},
        {"model", "diff", walker, out / "walker.tqm", "--ignore-textures"},
        {"model", "pose", walker, "walk", "0.5"},
        {"pattern", "build", texture, out / "scout.tqp"},
        {"pattern", "info", out / "scout.tqp"},
        {"burn", "config", kSamples + "/project/art/generic/units/tank/readme.txt"},
    };
    for (const std::vector<std::string>& args : runs)
    {
        const ToolRun run = RunTool(args);
        const std::string command = args[0] + " " + args[1];
        EXPECT_EQ(run.status, 0) << command << "\n" << run.err;
        EXPECT_FALSE(std::regex_search(run.err, s_unwanted)) << command << "\n" << run.err;
    }

    // -v shows the traces, which the check above catches; --verbose may stand anywhere on the line,
    // and names are still shown as the user gave them.
    EXPECT_TRUE(std::regex_search(RunTool({"-v", "model", "info", walker}).err, s_unwanted));
    const ToolRun run = RunTool({"model", "info", out / "walker.tqm", "--verbose"});
    EXPECT_NE(run.err.find("Loading model '" + out / "walker.tqm"), std::string::npos) << run.err;
    // The export's log has the traces, its name in the user's form.
    const std::string log = TempFolder::Read(out / "export/walk.log");
    EXPECT_NE(log.find("Exporting File " + out / "export/walk.sgm"), std::string::npos) << log;
}

TEST(Console, CommandsThatWriteRefuseUnknownFormsAndFoldersTheyCannotWrite)
{
    const std::string walker = kSamples + "/models/walker.sgm", art = kSamples + "/project/art/source/";
    const struct
    {
        std::vector<std::string> args; // "OUT" stands for the file to write
        const char* extension;         // one that the command writes
        const char* forms;             // the forms its refusal lists
    } cases[] = {
        {{"export", art + "units/scout/walk.json", "OUT"}, ".sgm", "writes .sgm, not '.xyz'"},
        {{"model", "convert", walker, "OUT"}, ".tqm", "the forms written are .sgm"},
        {{"animerge", "OUT", walker, walker}, ".sgm", "writes .sgm"},
        {{"image", "convert", kSamples + "/images/walker_diffuse.tga", "OUT"},
         ".img",
         "writes .tga, .jpg, .dds"},
        {{"pattern", "build", art + "texture_share_scout.tga", "OUT"}, ".tqp", "writes .tqp"},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.args[0] + " " + c.args[1]);
        TempFolder folder;
        // A folder under a regular file cannot be made, even by root.
        const std::string blocker = folder.Write("notes.txt", "a file");
        std::vector<std::string> args = c.args;
        std::string& out = *std::find(args.begin(), args.end(), "OUT");
        out = folder / "out.xyz";
        ToolRun run = RunTool(args);
        EXPECT_EQ(run.status, 2);
        EXPECT_NE(run.err.find(c.forms), std::string::npos) << run.err;

        out = blocker + "/sub/out" + c.extension;
        run = RunTool(args);
        EXPECT_EQ(run.status, 1);
        EXPECT_NE(run.err.find(blocker + " is a file, not a folder"), std::string::npos) << run.err;
        EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.Path()), {}), 1)
            << "nothing written";
    }
}
