// The script commands as Lua globals, run in this process: argument errors as Lua errors with the
// calling line, results and listener texts, and a merge left half done that holds until a reset.
#include "scripts/scripthost.h"

#include "burner/burnercommand.h"
#include "logging/processlog.h"
#include "merge/mergetree.h"
#include "scripts/primitive.h"
#include "support/tempfolder.h"
#include "teamcolour/burnsteps.h"

#include <gtest/gtest.h>
#include <lua.hpp>

#include <filesystem>
#include <string>

using merge_test::MergeTree;

namespace
{
// A project "art": sources in src, generic data in gen.
const std::string Project = "[project:art]\r\nDataSource=src\r\nDataSourceShared=\r\nDataBurn=\r\n"
                            "DataIntermediate=int\r\nDataGeneric=gen\r\nDataFinal=final\r\nDataPreview=\r\n"
                            "LocaleFolder=\r\nAttrLoc=\r\nParent=\r\n";

std::string Replace(std::string text, const std::string& from, const std::string& to)
{
    for (size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size()))
        text.replace(at, from.size(), to);
    return text;
}

// A host whose listener is kept here.
class Host
{
public:
    Host() : m_previous(Script::SetListener([this](const std::string& text) { m_listener += text; })) {}
    ~Host()
    {
        Script::SetListener(m_previous);
        // A command left half done must not reach the next test.
        BurnerCommand::TearDown();
        if (ProcessLog::IsStarted())
            ProcessLog::Stop(-1);
    }

    // Runs `lua` as "case.lua"; the global `out` as text, or "error: " and the error's message.
    std::string Run(const std::string& lua)
    {
        if (!m_host.RunString(lua, "case.lua"))
            return "error: " + m_host.GetLastError();
        lua_getglobal(m_host.GetState(), "out");
        const std::string out = luaL_tolstring(m_host.GetState(), -1, nullptr);
        lua_pop(m_host.GetState(), 2);
        return out;
    }

    std::string m_listener;

private:
    Script::Listener m_previous;
    Script::ScriptHost m_host;
};

TEST(ScriptCommands, ArgumentsResultsAndListenerTexts)
{
    // {root}: the project in local mode; {noport}: a tree whose pipeline.ini names no revision
    // control port.
    TempFolder temp;
    temp.Write("root/pipeline.ini",
               "[Global]\r\nToolsData=tools\r\n[p4]\r\nRevControlPort=\r\n[burner]\r\nburnerPath=tools\r\n" +
                   Project);
    temp.Write("noport/pipeline.ini", "[Global]\r\nToolsData=tools\r\n" + Project);
    temp.Write("root/readonly.txt", "", std::filesystem::perms::owner_read);
    const std::string root = temp / "root";

    struct Case
    {
        const char* call;
        const char* out; // tostring of the result, or "error: case.lua:1: " and the error's text
        const char* listener = "";
    } cases[] = {
        {"tq7z_pipeline_sourcetogeneric(42)", "error: case.lua:1: Type error: tq7z_pipeline_sourcetogeneric "
                                              "source_filename requires String, got: 42"},
        {"tq7z_pipeline_sourcetointermediate(nil)",
         "error: case.lua:1: Type error: tq7z_pipeline_sourcetointermediate source_filename requires String, "
         "got: "
         "undefined"},
        {"tq7z_pipeline_sourcetofinal({'a'})", "error: case.lua:1: Type error: tq7z_pipeline_sourcetofinal "
                                               "source_filename requires String, got: #(\"a\")"},
        {"tq7z_pipeline_sourcetogeneric('a', 'b')",
         "error: case.lua:1: Argument count error: tq7z_pipeline_sourcetogeneric wanted 1, got 2"},
        // The final one's count error names a primitive that does not exist.
        {"tq7z_pipeline_sourcetofinal()",
         "error: case.lua:1: Argument count error: tq7z_pipeline_sourcetodestination wanted 1, got 0"},
        {"tq7z_pipeline_sourcetogeneric('{root}/src/units/scout/scout.sgm')",
         "{ROOT}\\gen\\units\\scout\\scout.sgm"},
        {"tq7z_pipeline_sourcetofinal('{root}/src/scout.max')", "{ROOT}\\final\\scout.max"},
        {"tq7z_pipeline_sourcetogeneric('{root}/gen/scout.sgm')", "nil"},
        {"tq7z_animergeFlags(true)", "false",
         "Ani-merge options : usage 'Ani-merge <export model flag> <export textures flag>'\n"},
        {"tq7z_animergeFlags(1, true)", "error: case.lua:1: Unable to convert: 1 to type: BooleanClass"},
        {"tq7z_animerge('{root}/gen/x.sgm')", "false",
         "Ani-merge : usage 'Ani-merge <merge file> <model file> <anim file(s)>* '\n"},
        {"tq7z_animerge('{root}/gen/x.sgm', 7, {})",
         "error: case.lua:1: Unable to convert: 7 to type: String"},
        // The port is looked for before the count: set-up comes first.
        {"tq7z_p4_openoradd('{noport}/x.txt', 'y')", "false",
         "PerforceMS: 'RevControlPort' not listed under [p4] in pipeline.ini\n"},
        {"tq7z_p4_openoradd('{root}/x.txt', 'y')", "false", "PerforceMS: usage 'tq7z_p4_openoradd <file>'\n"},
        {"tq7z_p4_openoradd('{root}/readonly.txt')", "false",
         "PerforceMS: Could not open or add requested file!\n"},
        {"tq7z_p4_openoradd('{root}/gen/new.sgm')", "true"},
        {"tq7z_burner('{root}/src/x.sgm')", "false", "Burner: Unable to find associated project.\n"},
        {"tq7z_burner()", "false", "Burner: usage 'burner <merged sgm file>'\n"},
    };
    for (const Case& c : cases)
    {
        SCOPED_TRACE(c.call);
        Host host;
        const std::string call = Replace(Replace(c.call, "{root}", root), "{noport}", temp / "noport");
        EXPECT_EQ(host.Run("out = " + call), Replace(c.out, "{ROOT}", Replace(root, "/", "\\")));
        EXPECT_EQ(host.m_listener, c.listener);
    }
}

TEST(ScriptCommands, AFailedMergeHoldsItsSetUpUntilAResetAndTheFlagsHoldThroughout)
{
    MergeTree tree;
    ASSERT_TRUE(tree.IsReady());
    TeamColour::ScopedBurnSteps steps({[](uint32& changelist, const char*)
                                       {
                                           changelist = 0;
                                           return true;
                                       },
                                       [](const std::string&, uint32) { return true; }});
    const std::string merge = tree.Path("art/generic/units/scout/scout.sgm");
    Host host;
    const std::string lua = Replace(Replace(Replace(R"(
        local merge, model, walk = '{merge}', '{model}', '{walk}'
        local results = { tq7z_animergeFlags(false, true) }
        -- A model in no intermediate folder: set-up stops half way, without a word.
        results[#results + 1] = tq7z_animerge(merge, '{root}/ref.sgm', {})
        -- Its log and aliases are still there: this set-up fails too.
        results[#results + 1] = tq7z_animerge(merge, model, walk)
        results[#results + 1] = tq7z_burner_reset()
        results[#results + 1] = tq7z_animerge(merge, model, walk)
        for i, result in ipairs(results) do results[i] = tostring(result) end
        out = table.concat(results, ' ')
        tq7z_animergeFlags(true, true)
    )",
                                                    "{merge}", merge),
                                            "{model}", tree.Intermediate("reference/ref")),
                                    "{walk}", tree.Intermediate("walk"));
    EXPECT_EQ(host.Run(Replace(lua, "{root}", tree.Root())), "true false false true true");
    EXPECT_EQ(host.m_listener, "");
    // The flags set first still hold: no merged model, and the shared texture's pattern.
    EXPECT_FALSE(std::filesystem::exists(merge));
    EXPECT_TRUE(tree.Exists("art/generic/texture_share_scout_default.tqp"));
    EXPECT_TRUE(tree.Exists("art/generic/texture_share_scout.vds"));
}
} // namespace

namespace
{
TEST(ScriptCommands, OpenOrAddRefusesAFileOpenedInAnotherChangelist)
{
    // A server (a stand-in "p4" first on PATH) whose pending "SGM Export Changes" is 7, and which
    // has the file open in change 9.
    TempFolder tree, bin;
    tree.Write("pipeline.ini", "[p4]\r\nRevControlPort=fake:1666\r\n" + Project);
    const std::string file = tree.Write("final/tank.tqm", "final data");
    bin.Write(
        "p4",
        "#!/bin/sh\ncase \"$*\" in\n"
        "  *' info') echo 'info: User name: artist'; echo 'exit: 0';;\n"
        "  *'changes -c artist-ws -s pending -l') printf 'info: Change 7 on 2024/01/02 by artist@artist-ws "
        "*pending*\\n\\n\\tSGM Export Changes\\n'; echo 'exit: 0';;\n"
        "  *' add -c 7 '*) echo 'error: tank.tqm - can'\"'\"'t add existing file'; echo 'exit: 1';;\n"
        "  *' fstat '*) echo 'info1: depotFile //depot/final/tank.tqm'; echo 'info1: action edit'; "
        "echo 'info1: change 9'; echo 'exit: 0';;\n"
        "  *) echo \"error: unexpected command: $*\"; echo 'exit: 1';;\nesac\n",
        std::filesystem::perms(0755));
    ScopedEnv path("PATH", (bin.Path() + ":/usr/bin:/bin").c_str());
    ScopedEnv client("P4CLIENT", "artist-ws");
    ScopedEnv user("P4USER", "artist");
    Host host;
    EXPECT_EQ(host.Run("out = tq7z_p4_openoradd('" + file + "')"), "false");
    EXPECT_EQ(host.m_listener, "PerforceMS: Could not open or add requested file!\n");
}
} // namespace
