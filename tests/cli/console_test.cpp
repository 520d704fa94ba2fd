// What a user sees on standard error: the commands' own messages, warnings and errors, never the
// system's traces or a name in its internal form; and output names the commands refuse.
#include "support/runtool.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <regex>

namespace
{
const std::string kSamples = TQ7Z_SAMPLES;

// The lines of `err` that a user should not see: a trace, a tagged line, or a name in the
// system's own form ('\\' between names, the plain disk's alias "TOOL:").
std::string Unwanted(const std::string& err)
{
    static const std::regex trace(R"(^(RENDER - |Exporting File|=+ end =+|[A-Z][A-Z0-9]{2,3}: ))");
    static const std::regex internal(R"(\\|\bTOOL:)");
    std::string found;
    size_t start = 0;
    while (start < err.size())
    {
        size_t end = err.find('\n', start);
        if (end == std::string::npos)
            end = err.size();
        const std::string line = err.substr(start, end - start);
        if (std::regex_search(line, trace) || std::regex_search(line, internal))
            found += line + "\n";
        start = end + 1;
    }
    return found;
}

// Files and folders under `folder`.
size_t Entries(const std::string& folder)
{
    const std::filesystem::recursive_directory_iterator all(folder);
    return size_t(std::distance(begin(all), end(all)));
}
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
        {"export", scout + "/reference/ref.json", out / "export/reference/ref.sgm", "--suppress-prompts"},
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
        EXPECT_EQ(Unwanted(run.err), "") << command;
    }

    // --verbose, anywhere on the line, shows the traces, with names as the user gave them.
    EXPECT_NE(RunTool({"-v", "model", "info", walker}).err.find("RENDER - Driver[null]"), std::string::npos);
    const ToolRun run = RunTool({"model", "info", out / "walker.tqm", "--verbose"});
    EXPECT_NE(run.err.find("Loading model '" + out / "walker.tqm"), std::string::npos) << run.err;
    // The export's log has the traces, its name in the user's form.
    const std::string log = TempFolder::Read(out / "export/walk.log");
    EXPECT_NE(log.find("Exporting File " + out / "export/walk.sgm"), std::string::npos) << log;
}

TEST(Console, CommandsThatWriteRefuseUnknownFormsAndFoldersTheyCannotWrite)
{
    const std::string scene = kSamples + "/project/art/source/units/scout/walk.json";
    const std::string walker = kSamples + "/models/walker.sgm";
    const std::string image = kSamples + "/images/walker_diffuse.tga";
    const std::string texture = kSamples + "/project/art/source/texture_share_scout.tga";
    const struct
    {
        std::vector<std::string> args; // OUT is appended
        const char* extension;         // one that the command writes
        const char* forms;             // the forms its refusal lists
    } cases[] = {
        {{"export", scene}, ".sgm", "writes .sgm, not '.xyz'"},
        {{"model", "convert", walker}, ".tqm", "the forms written are .sgm"},
        {{"image", "convert", image}, ".img", "writes .tga, .jpg, .dds or .img, not '.xyz'"},
        {{"pattern", "build", texture}, ".tqp", "writes .tqp, not '.xyz'"},
    };
    for (const auto& c : cases)
    {
        const std::string command = c.args[0] + " " + c.args[1];
        TempFolder folder;
        // A folder under a regular file cannot be made, even by root.
        const std::string blocker = folder.Write("notes.txt", "a file");

        std::vector<std::string> args = c.args;
        args.push_back(folder / "out.xyz");
        ToolRun run = RunTool(args);
        EXPECT_EQ(run.status, 2) << command << "\n" << run.err;
        EXPECT_NE(run.err.find(c.forms), std::string::npos) << command << "\n" << run.err;
        EXPECT_EQ(Entries(folder.Path()), 1u) << command << ": nothing written";

        args.back() = blocker + "/sub/out" + c.extension;
        run = RunTool(args);
        EXPECT_EQ(run.status, 1) << command << "\n" << run.err;
        EXPECT_NE(run.err.find("cannot be written: " + blocker + " is a file, not a folder"),
                  std::string::npos)
            << command << "\n"
            << run.err;
        EXPECT_EQ(Entries(folder.Path()), 1u) << command << ": nothing written";
    }
}
