// The burn engine on project trees in temporary folders: what it writes, what it records, what a
// second burn skips, and that the thread count changes nothing but the time.
#include "burnproject.h"
#include "burnerimp/burnengine.h"
#include "inventory/warehouse.h"
#include "model/file/final/rendermodelloadfinal.h"
#include "model/file/final/shaderloadfinal.h"
#include "model/file/generic/rendermodelloadgeneric.h"
#include "model/file/generic/shaderloadgeneric.h"
#include "model/modeldiff.h"
#include "model/rendermodel.h"
#include <gtest/gtest.h>
#include <chrono>
#include <functional>
#include <regex>
#include <set>
namespace fs = std::filesystem;
namespace
{
using Names = std::set<std::string>;

BurnRequest FolderRequest(const std::string& folder, const std::string& pattern = ".*$", bool force = false)
{
    BurnRequest request;
    return request.folder = folder, request.pattern = pattern, request.force = force, request;
}
// The sources that a burn made outputs for (not those it found up to date), as the records say.
Names Burned(const BurnerResults& results)
{
    Names cSource;
    for (const BurnerResults::Record& record : results)
        if (record.text.find(": burned to ") != std::string::npos)
            cSource.insert(record.text.substr(13, record.text.find(": burned to ") - 13));
    return cSource;
}
// A model read inside an inventory frame of its own, so that two reads share nothing by name.
std::unique_ptr<RenderModel> ReadModel(const std::string& path, bool final)
{
    Inv::Warehouse::Get()->PushFrame(path.c_str());
    final ? RenderModelLoadFinal::Register() : RenderModelLoadGeneric::Register();
    auto pModel = final ? RenderModelLoadFinal::Load(("TOOL:" + path).c_str()) : RenderModelLoadGeneric::Load(("TOOL:" + path).c_str(), true);
    Inv::Warehouse::Get()->PopFrame();
    RenderModelLoadGeneric::Register();
    return pModel;
}
// A burner set up on `project`, and the records of its last burn.
struct Burner
{
    explicit Burner(const BurnProject& project, uint32 threads = 2) : engine(threads) { EXPECT_TRUE(engine.Setup(project.Ini().c_str(), results)); }
    BurnSummary Burn(const BurnRequest& request, const BurnEngine::Progress& progress = nullptr)
    {
        return results.Clear(), engine.Burn(request, results, progress);
    }
    BurnEngine engine;
    BurnerResults results;
};

const Names s_allGood = {"readme.txt", "teams/red.tqp", "units/u0/u0.sgm", "units/u1/u1.sgm", "units/u2/u2.sgm"};
} // namespace

TEST(BurnEngine, BurnsEachTargetRecordsTheFailuresAndMakesTheSameOnOneThreadAsOnMany)
{
    BurnProject one(8), many(8);
    std::vector<std::string> cUpdate[2], cText(2);
    BurnSummary summary;
    BurnerResults results;
    for (const int i : {0, 1})
    {
        Burner burner(i == 0 ? one : many, i == 0 ? 1 : 4);
        summary = burner.Burn(FolderRequest((i == 0 ? one : many).Gen()), [&](const BurnerResults& update) { cUpdate[i].push_back(update[0].text); });
        // The broken file's message names the tree it is in.
        cText[i] = std::regex_replace(Texts(results = burner.results), std::regex((i == 0 ? one : many).Root()), "<root>");
    }
    EXPECT_EQ(cText[0], cText[1]);
    EXPECT_TRUE(one.FinalFiles() == many.FinalFiles() && many.FinalFiles().size() == 8u * 2 + 2);
    // Eight models, the pattern, the text, the ore of no plug-in and the broken model.
    EXPECT_EQ((std::vector<uint32>{12, 10, 2, 0}),
              (std::vector<uint32>{summary.filesMatched, summary.filesBurned, summary.filesFailed, summary.filesSkipped}));
    EXPECT_EQ(CountLevel(results, BurnerResults::LevelError), 2) << Texts(results);
    for (const char* error : {"Error: BurnerImp -- rock.ore: unknown plugin 'smelter' (group 'smelt', target 'final')",
                              "Error: BurnerImp -- units/broken/broken.sgm: does not load"})
        EXPECT_EQ(CountLevel(results, BurnerResults::LevelError, error), 1);
    const Names burned = Burned(results);
    EXPECT_TRUE(burned.size() == 10u && burned.count("readme.txt") && burned.count("teams/red.tqp") && burned.count("units/u7/u7.sgm"));
    EXPECT_FALSE(many.Exists("final/units/broken/broken.tqm"));
    // One update per file, counted up in the order the files finished: "3/12 units/u1/u1.tqm".
    for (std::vector<std::string>& cText : cUpdate)
    {
        for (size_t i = 0; i < cText.size(); ++i)
            cText[i] = std::regex_replace(cText[i], std::regex("^" + std::to_string(i + 1) + "/12 "), "");
        const Names cName(cText.begin(), cText.end());
        EXPECT_TRUE(cText.size() == 12u && cName.size() == 12u && cName.count("units/u3/u3.tqm") && cName.count("rock.ore"));
    }
    // Copies are the same bytes; "read_only" makes the text read-only.
    EXPECT_EQ(many.Read("final/teams/red.tqp"), BurnProject::PatternBytes());
    EXPECT_EQ(many.Read("final/readme.txt"), "read me\n");
    EXPECT_EQ(fs::status(many.Final("readme.txt")).permissions() & fs::perms::owner_write, fs::perms::none);
    // The final model reads back as the game reads it and holds its source's model (DXT5 textures
    // are compared by size).
    ASSERT_TRUE(many.Exists("final/units/u1/u1.tqe"));
    const Burner reader(many);
    std::unique_ptr<RenderModel> pFinal = ReadModel(many.Final("units/u1/u1.tqm"), true);
    std::unique_ptr<RenderModel> pSource = ReadModel(many.Gen("units/u1/u1.sgm"), false);
    ASSERT_TRUE(pFinal && pSource);
    for (const ra::ModelDifference& difference : ra::DiffModels(*pFinal, *pSource))
        ADD_FAILURE() << ra::FormatDifference(difference);
}

// After a first burn, a change to the tree and a second burn: the sources burned again.
TEST(BurnEngine, BurnsAgainWhatChanged)
{
    // A ".burn" that sets one parameter of the models.
    auto param = [](std::string file, std::string value) -> std::function<void(BurnProject&)>
    { return [=](BurnProject& p) { p.Write(file, "burn_params = { { name = 'models', targets = { { target = 'final', params = { { " + value + " } } } } } }\n"); }; };
    const std::tuple<const char*, std::function<void(BurnProject&)>, bool, Names> cases[] = {
        {"nothing changed", [](BurnProject&) {}, false, {}},
        {"forced", [](BurnProject&) {}, true, s_allGood},
        {"a file's own burn file", param("gen/units/u1/u1.sgm.burn", "'dxtc', '1'"), false, {"units/u1/u1.sgm"}},
        {"a folder's burn file", param("gen/units/_default.burn", "'mips_to_skip', '1'"), false, {"units/u0/u0.sgm", "units/u1/u1.sgm", "units/u2/u2.sgm"}},
        {"an ebp written again with the same bytes", [](BurnProject& p) { p.Write("gen/units/u2/u2.ebp", p.Read("gen/units/u0/u0.ebp")); },
         false, {}},
        {"a text file", [](BurnProject& p) { p.Write("gen/readme.txt", "read me again\n"); }, false, {"readme.txt"}},
        {"an output removed", [](BurnProject& p) { fs::remove(p.Final("units/u2/u2.tqe")); }, false, {"units/u2/u2.sgm"}},
        {"an output cut short", [](BurnProject& p) { fs::resize_file(p.Final("teams/red.tqp"), 3); }, false, {"teams/red.tqp"}},
        {"the records removed", [](BurnProject& p) { fs::remove_all(p.Root() + "/burn/.burncache"); }, false, s_allGood},
    };
    for (const auto& [label, change, force, burned] : cases)
    {
        SCOPED_TRACE(label);
        BurnProject project;
        Burner burner(project, 1);
        ASSERT_EQ(burner.Burn(FolderRequest(project.Gen())).filesBurned, 5u) << Texts(burner.results);
        // Outputs dated back, so that one written again shows.
        const auto past = fs::file_time_type::clock::now() - std::chrono::hours(24);
        const std::pair<const char*, const char*> cOutput[] = {{"units/u0/u0.sgm", "units/u0/u0.tqm"}, {"units/u1/u1.sgm", "units/u1/u1.tqm"},
                                                               {"units/u2/u2.sgm", "units/u2/u2.tqm"}, {"teams/red.tqp", "teams/red.tqp"}};
        for (const auto& [source, output] : cOutput)
            fs::last_write_time(project.Final(output), past);
        change(project);
        const BurnSummary summary = burner.Burn(FolderRequest(project.Gen(), ".*$", force));
        EXPECT_EQ(Burned(burner.results), burned) << Texts(burner.results);
        // The failures are no records to trust: they fail again.
        EXPECT_EQ((std::vector<uint32>{5, uint32(5 - burned.size()), 2}),
                  (std::vector<uint32>{summary.filesBurned, summary.filesSkipped, summary.filesFailed}));
        EXPECT_EQ(CountLevel(burner.results, BurnerResults::LevelInfo, ": up to date ("), int(5 - burned.size()));
        for (const auto& [source, output] : cOutput)
            EXPECT_EQ(fs::exists(project.Final(output)) && fs::last_write_time(project.Final(output)) == past,
                      burned.count(source) == 0) << output;
    }
}

// Which files a request takes: the pattern matches a name whole, in any case; the folder's
// subfolders only with `recurse`; a list takes its files.
TEST(BurnEngine, TakesTheFilesAskedOnceSetUp)
{
    BurnProject project;
    Burner burner(project);
    // folder (under "gen"), pattern, recurse, list (under "gen"), files matched, a text of the error record or null
    const std::tuple<std::string, std::string, bool, std::vector<std::string>, uint32, const char*> cases[] = {
        {"units", "U1\\.SGM$", true, {}, 1, nullptr},
        {"units", "1\\.sgm$", true, {}, 0, nullptr},
        {"", ".*$", false, {}, 2, "rock.ore: unknown plugin"},
        {"units", ".*$", true, {}, 4, "broken.sgm: does not load"},
        {"units/u0", "u0\\.ebp$", true, {}, 0, nullptr},
        {"", "*.(", true, {}, 0, "is no regular expression"},
        {"nowhere", ".*$", true, {}, 0, "No folder"},
        {"", "", true, {"units/u2/u2.sgm", "readme.txt"}, 2, nullptr},
        {"", "", true, {"readme.txt", "units/u9/u9.sgm"}, 1, "u9.sgm: no such file"},
    };
    for (const auto& [folder, pattern, recurse, cList, matched, error] : cases)
    {
        BurnRequest request = FolderRequest(project.Gen(folder), pattern);
        request.recurse = recurse;
        for (const std::string& file : cList)
            request.cFiles.push_back(project.Gen(file));
        EXPECT_EQ(burner.Burn(request).filesMatched, matched) << folder << " " << pattern << Texts(burner.results);
        EXPECT_EQ(CountLevel(burner.results, BurnerResults::LevelError, error != nullptr ? error : ""), error != nullptr ? 1 : 0)
            << Texts(burner.results);
    }
    // A set-up that fails is a record, and so is every burn after it.
    BurnEngine engine;
    BurnerResults results;
    EXPECT_FALSE(engine.Setup("/nowhere/at/all/pipeline.ini", results) || engine.IsReady());
    EXPECT_EQ(engine.Burn(FolderRequest("/tmp"), results).filesMatched, 0u);
    EXPECT_EQ(Texts(results), "Error: BurnerImp -- Unable to read the pipeline configuration '/nowhere/at/all/pipeline.ini'\n"
                              "Error: BurnerImp -- The burner is not set up\n");
}

// A shared shader of the generic form comes out in the final form, which the final reader takes;
// a file that is no pattern or no shader under its name is an error record.
TEST(BurnEngine, ShaderAndPatternPluginsWriteWhatReadsAndRefuseTheRest)
{
    BurnProject project(1, false);
    project.Write("gen/_default.burn", std::string(s_baseBurn) +
                                           "burn_targets[5] = { name = 'shaders', wildcard = '.*\\\\.vds$', targets = {\n"
                                           "  { target = 'final', destination = 'DataFinal', plugin = 'shader' } } }\n"
                                           "burn_params[4] = { name = 'shaders', targets = { { target = 'final', params = {\n"
                                           "  { 'dxtc', '0' }, { 'mips_to_skip', '0' } } } } }\n");
    const std::string bytes = BurnProject::PatternBytes();
    for (const auto& [name, text] : {std::pair{"bad.vds", std::string("no shader")}, {"red.tqp", bytes}, {"cut.tqp", bytes.substr(0, bytes.size() - 3)}, {"empty.tqp", ""}})
        project.Write("gen/shaders/" + std::string(name), text);
    Burner burner(project);
    {
        std::unique_ptr<RenderModel> pModel = ReadModel(project.Gen("units/u0/u0.sgm"), false);
        ASSERT_TRUE(pModel && pModel->GetMeshGroup() && pModel->GetMeshGroup()->GetShader(0).Get());
        ASSERT_TRUE(ShaderLoadGeneric::SaveSharedFile(("TOOL:" + project.Gen("shaders/skin.vds")).c_str(),
                                                      *pModel->GetMeshGroup()->GetShader(0).Get()));
    }
    const BurnSummary summary = burner.Burn(FolderRequest(project.Gen("shaders")));
    EXPECT_EQ(std::pair(5u, 2u), std::pair(summary.filesMatched, summary.filesBurned)) << Texts(burner.results);
    for (const char* error : {"shaders/bad.vds: does not load as a shared shader", "shaders/cut.tqp: is no team pattern",
                              "shaders/empty.tqp: is no team pattern: it is empty"})
        EXPECT_EQ(CountLevel(burner.results, BurnerResults::LevelError, error), 1) << Texts(burner.results);
    EXPECT_EQ(project.Read("final/shaders/red.tqp"), bytes);
    EXPECT_FALSE(project.Exists("final/shaders/cut.tqp"));
    EXPECT_TRUE(project.Exists("final/shaders/skin.vds") && project.Read("final/shaders/skin.vds") != project.Read("gen/shaders/skin.vds"));
    Inv::Warehouse::Get()->PushFrame("final shader");
    EXPECT_NE(ShaderLoadFinal::LoadSharedFile(("TOOL:" + project.Final("shaders/skin.vds")).c_str()), nullptr);
    Inv::Warehouse::Get()->PopFrame();
}

// Through a stand-in Perforce client on PATH: every output is opened in the request's changelist,
// a new one after it is written (add), one already there before it is written again.
TEST(BurnEngine, OpensEachOutputInTheChangelist)
{
    TempFolder bin;
    bin.Write("p4", "#!/bin/sh\necho \"$*\" >> '" + bin / "calls.log" + "'\ncase \"$*\" in\n  *' add '*) echo 'info: x#1 - opened for add';;\n"
                    "esac\necho 'exit: 0'\n", fs::perms(0755));
    ScopedEnv path("PATH", (bin.Path() + ":/usr/bin:/bin").c_str()), client("P4CLIENT", "artist-ws"), user("P4USER", "artist");
    BurnProject project(1, false, "fake:1666");
    Burner burner(project);
    BurnRequest request = FolderRequest(project.Gen("units"));
    ASSERT_EQ(burner.Burn((request.changelist = 7, request)).filesBurned, 1u) << Texts(burner.results);
    const std::string calls = TempFolder::Read(bin / "calls.log");
    EXPECT_TRUE(calls.find("add -c 7 " + project.Final("units/u0/u0.tqm")) != std::string::npos &&
                calls.find("add -c 7 " + project.Final("units/u0/u0.tqe")) != std::string::npos && calls.find("-c 0") == std::string::npos)
        << calls;
}
