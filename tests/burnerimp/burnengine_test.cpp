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
#include "model/shader/shader.h"

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <memory>
#include <regex>
#include <set>

namespace fs = std::filesystem;

namespace
{
BurnRequest FolderRequest(const std::string& folder, const std::string& pattern = ".*$", bool force = false)
{
    BurnRequest request;
    request.folder = folder;
    request.pattern = pattern;
    request.force = force;
    return request;
}

// The sources that a burn made outputs for (not those it found up to date), as the records say.
std::set<std::string> Burned(const BurnerResults& results)
{
    std::set<std::string> cSource;
    const std::regex burned("BurnerImp -- (.*): burned to .*");
    std::smatch match;
    for (const BurnerResults::Record& record : results)
        if (std::regex_match(record.text, match, burned))
            cSource.insert(match[1]);
    return cSource;
}

// A model read inside an inventory frame of its own, so that two reads share nothing by name.
std::unique_ptr<RenderModel> ReadModel(const std::string& path, bool final)
{
    Inv::Warehouse::Get()->PushFrame(path.c_str());
    std::unique_ptr<RenderModel> pModel;
    if (final)
    {
        RenderModelLoadFinal::Register();
        pModel = RenderModelLoadFinal::Load(("TOOL:" + path).c_str());
    }
    else
    {
        RenderModelLoadGeneric::Register();
        pModel = RenderModelLoadGeneric::Load(("TOOL:" + path).c_str(), true);
    }
    Inv::Warehouse::Get()->PopFrame();
    RenderModelLoadGeneric::Register();
    return pModel;
}
} // namespace

TEST(BurnEngine, BurnsEachTargetAndRecordsTheFilesThatFail)
{
    BurnProject project;
    BurnEngine engine(2);
    BurnerResults results;
    ASSERT_TRUE(engine.Setup(project.Ini().c_str(), results)) << Texts(results);
    const BurnSummary summary = engine.Burn(FolderRequest(project.Gen()), results);

    // Three models, the pattern, the text, the ore of no plug-in and the broken model.
    EXPECT_EQ(summary.filesMatched, 7u);
    EXPECT_EQ(summary.filesBurned, 5u);
    EXPECT_EQ(summary.filesFailed, 2u);
    EXPECT_EQ(summary.filesSkipped, 0u);
    EXPECT_EQ(CountLevel(results, BurnerResults::LevelError), 2) << Texts(results);
    EXPECT_EQ(
        CountLevel(results, BurnerResults::LevelError,
                   "Error: BurnerImp -- rock.ore: unknown plugin 'smelter' (group 'smelt', target 'final')"),
        1)
        << Texts(results);
    EXPECT_EQ(CountLevel(results, BurnerResults::LevelError,
                         "Error: BurnerImp -- units/broken/broken.sgm: does not load"),
              1)
        << Texts(results);
    EXPECT_EQ(Burned(results), (std::set<std::string>{"readme.txt", "teams/red.tqp", "units/u0/u0.sgm",
                                                      "units/u1/u1.sgm", "units/u2/u2.sgm"}));
    EXPECT_FALSE(project.Exists("final/units/broken/broken.tqm"));

    // Records in the order of the files' names, whatever thread finished first.
    std::vector<std::string> cOrder;
    for (const BurnerResults::Record& record : results)
        cOrder.push_back(record.text.substr(record.text.find("-- ") + 3));
    EXPECT_TRUE(std::is_sorted(cOrder.begin(), cOrder.end())) << Texts(results);

    // Copies are the same bytes; "read_only" makes the text read-only.
    EXPECT_EQ(project.Read("final/teams/red.tqp"), BurnProject::PatternBytes());
    EXPECT_EQ(project.Read("final/readme.txt"), "read me\n");
    EXPECT_EQ(fs::status(project.Final("readme.txt")).permissions() & fs::perms::owner_write,
              fs::perms::none);

    // The final model reads back as the game reads it and holds its source's model (DXT5 textures
    // are compared by size).
    ASSERT_TRUE(project.Exists("final/units/u1/u1.tqe"));
    std::unique_ptr<RenderModel> pFinal = ReadModel(project.Final("units/u1/u1.tqm"), true);
    std::unique_ptr<RenderModel> pSource = ReadModel(project.Gen("units/u1/u1.sgm"), false);
    ASSERT_TRUE(pFinal && pSource);
    std::vector<ra::ModelDifference> cDifference = ra::DiffModels(*pFinal, *pSource);
    for (const ra::ModelDifference& difference : cDifference)
        ADD_FAILURE() << ra::FormatDifference(difference);
}

// After a first burn, a change to the tree and a second burn: the sources burned again.
struct IncrementalCase
{
    const char* label;
    std::function<void(BurnProject&)> change;
    bool force;
    std::set<std::string> burned;
};

class BurnEngineIncremental : public ::testing::TestWithParam<IncrementalCase>
{
};

TEST_P(BurnEngineIncremental, BurnsAgainWhatChanged)
{
    const IncrementalCase& param = GetParam();
    BurnProject project;
    BurnEngine engine;
    BurnerResults results;
    ASSERT_TRUE(engine.Setup(project.Ini().c_str(), results)) << Texts(results);
    ASSERT_EQ(engine.Burn(FolderRequest(project.Gen()), results).filesBurned, 5u) << Texts(results);
    const std::string before = project.Read("final/units/u0/u0.tqm");
    // Outputs dated back, so that one written again shows.
    const auto past = fs::file_time_type::clock::now() - std::chrono::hours(24);
    for (const char* output : {"units/u0/u0.tqm", "units/u1/u1.tqm", "units/u2/u2.tqm", "teams/red.tqp"})
        fs::last_write_time(project.Final(output), past);

    param.change(project);
    BurnerResults again;
    const BurnSummary summary = engine.Burn(FolderRequest(project.Gen(), ".*$", param.force), again);
    EXPECT_EQ(Burned(again), param.burned) << Texts(again);
    EXPECT_EQ(summary.filesBurned, 5u) << Texts(again);
    EXPECT_EQ(summary.filesSkipped, 5u - param.burned.size());
    EXPECT_EQ(CountLevel(again, BurnerResults::LevelInfo, ": up to date ("), int(5 - param.burned.size()))
        << Texts(again);
    // The failures are no records to trust: they fail again.
    EXPECT_EQ(summary.filesFailed, 2u);
    const std::pair<const char*, const char*> cOutput[] = {{"units/u0/u0.sgm", "units/u0/u0.tqm"},
                                                           {"units/u1/u1.sgm", "units/u1/u1.tqm"},
                                                           {"units/u2/u2.sgm", "units/u2/u2.tqm"},
                                                           {"teams/red.tqp", "teams/red.tqp"}};
    for (const auto& [source, output] : cOutput)
    {
        ASSERT_TRUE(project.Exists(std::string("final/") + output));
        EXPECT_EQ(fs::last_write_time(project.Final(output)) == past, param.burned.count(source) == 0)
            << output;
    }
    // Burned again with the same settings, a model comes out the same.
    if (!param.burned.count("units/u0/u0.sgm") || param.force)
    {
        EXPECT_EQ(project.Read("final/units/u0/u0.tqm"), before);
    }
}

const std::set<std::string> s_allGood = {"readme.txt", "teams/red.tqp", "units/u0/u0.sgm", "units/u1/u1.sgm",
                                         "units/u2/u2.sgm"};

INSTANTIATE_TEST_SUITE_P(
    Cases, BurnEngineIncremental,
    ::testing::Values(
        IncrementalCase{"nothing changed", [](BurnProject&) {}, false, {}},
        IncrementalCase{"forced", [](BurnProject&) {}, true, s_allGood},
        IncrementalCase{"a file's own burn file",
                        [](BurnProject& p)
                        {
                            p.Write(
                                "gen/units/u1/u1.sgm.burn",
                                "burn_params = { { name = 'models', targets = { { target = 'final', params "
                                "= { { 'dxtc', '1' } } } } } }\n");
                        },
                        false,
                        {"units/u1/u1.sgm"}},
        IncrementalCase{"a folder's burn file",
                        [](BurnProject& p)
                        {
                            p.Write(
                                "gen/units/_default.burn",
                                "burn_params = { { name = 'models', targets = { { target = 'final', params "
                                "= { { 'mips_to_skip', '1' } } } } } }\n");
                        },
                        false,
                        {"units/u0/u0.sgm", "units/u1/u1.sgm", "units/u2/u2.sgm"}},
        IncrementalCase{"an ebp written again with the same bytes",
                        [](BurnProject& p)
                        { p.Write("gen/units/u2/u2.ebp", p.Read("gen/units/u0/u0.ebp") + ""); },
                        false,
                        {}},
        IncrementalCase{"a text file",
                        [](BurnProject& p) { p.Write("gen/readme.txt", "read me again\n"); },
                        false,
                        {"readme.txt"}},
        IncrementalCase{"an output removed",
                        [](BurnProject& p) { fs::remove(p.Final("units/u2/u2.tqe")); },
                        false,
                        {"units/u2/u2.sgm"}},
        IncrementalCase{"an output cut short",
                        [](BurnProject& p) { fs::resize_file(p.Final("teams/red.tqp"), 3); },
                        false,
                        {"teams/red.tqp"}},
        IncrementalCase{"the records removed",
                        [](BurnProject& p) { fs::remove_all(p.Root() + "/burn/.burncache"); }, false,
                        s_allGood}),
    LabelName<IncrementalCase>);

TEST(BurnEngine, OneThreadAndManyMakeTheSameBytesAndRecords)
{
    auto burn = [](uint32 threads, BurnProject& project, std::vector<std::string>& cUpdate)
    {
        BurnEngine engine(threads);
        BurnerResults results;
        EXPECT_TRUE(engine.Setup(project.Ini().c_str(), results));
        engine.Burn(FolderRequest(project.Gen()), results,
                    [&](const BurnerResults& update) { cUpdate.push_back(update[0].text); });
        // The broken file's message names the tree it is in.
        std::string text = Texts(results);
        for (size_t at = text.find(project.Root()); at != std::string::npos; at = text.find(project.Root()))
            text.replace(at, project.Root().size(), "<root>");
        return text;
    };
    BurnProject one(8), many(8);
    std::vector<std::string> cOneUpdate, cManyUpdate;
    const std::string oneRecords = burn(1, one, cOneUpdate);
    const std::string manyRecords = burn(4, many, cManyUpdate);
    EXPECT_EQ(oneRecords, manyRecords);
    const auto oneFiles = one.FinalFiles();
    EXPECT_EQ(oneFiles.size(), 8u * 2 + 2);
    EXPECT_TRUE(oneFiles == many.FinalFiles());

    // One update per file, counted up in the order the files finished: "3/12 units/u1/u1.tqm".
    for (const std::vector<std::string>* pUpdate : {&cOneUpdate, &cManyUpdate})
    {
        ASSERT_EQ(pUpdate->size(), 12u);
        std::set<std::string> cName;
        for (size_t i = 0; i < pUpdate->size(); ++i)
        {
            const std::string prefix = std::to_string(i + 1) + "/12 ";
            ASSERT_EQ((*pUpdate)[i].rfind(prefix, 0), 0u) << (*pUpdate)[i];
            cName.insert((*pUpdate)[i].substr(prefix.size()));
        }
        EXPECT_TRUE(cName.count("units/u3/u3.tqm"));
        EXPECT_TRUE(cName.count("rock.ore"));
        EXPECT_EQ(cName.size(), 12u);
    }
}

// Which files a request takes: the pattern matches a name whole, in any case; the folder's
// subfolders only with `recurse`; a list takes its files.
struct SelectCase
{
    const char* label;
    std::string folder; // relative to "gen"
    std::string pattern;
    bool recurse;
    std::vector<std::string> cList; // relative to "gen"; a list burn when not empty
    uint32 matched;
    const char* error; // a text of an error record, or null
};

class BurnEngineSelect : public ::testing::TestWithParam<SelectCase>
{
};

TEST_P(BurnEngineSelect, TakesTheFilesAsked)
{
    const SelectCase& param = GetParam();
    BurnProject project;
    BurnEngine engine(2);
    BurnerResults results;
    ASSERT_TRUE(engine.Setup(project.Ini().c_str(), results));
    BurnRequest request = FolderRequest(project.Gen(param.folder), param.pattern);
    request.recurse = param.recurse;
    for (const std::string& file : param.cList)
        request.cFiles.push_back(project.Gen(file));
    const BurnSummary summary = engine.Burn(request, results);
    EXPECT_EQ(summary.filesMatched, param.matched) << Texts(results);
    if (param.error != nullptr)
        EXPECT_EQ(CountLevel(results, BurnerResults::LevelError, param.error), 1) << Texts(results);
    else
        EXPECT_EQ(CountLevel(results, BurnerResults::LevelError), 0) << Texts(results);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, BurnEngineSelect,
    ::testing::Values(SelectCase{"one file", "units", "u1\\.sgm$", true, {}, 1, nullptr},
                      SelectCase{"any case", "units", "U1\\.SGM$", true, {}, 1, nullptr},
                      SelectCase{"whole name", "units", "1\\.sgm$", true, {}, 0, nullptr},
                      SelectCase{"top only", "", ".*$", false, {}, 2, "rock.ore: unknown plugin"},
                      SelectCase{"subfolders", "units", ".*$", true, {}, 4, "broken.sgm: does not load"},
                      SelectCase{"a name no group takes", "units/u0", "u0\\.ebp$", true, {}, 0, nullptr},
                      SelectCase{"no regular expression", "", "*.(", true, {}, 0, "is no regular expression"},
                      SelectCase{"no such folder", "nowhere", ".*$", true, {}, 0, "No folder"},
                      SelectCase{"a list", "", "", true, {"units/u2/u2.sgm", "readme.txt"}, 2, nullptr},
                      SelectCase{"a list with a missing file",
                                 "",
                                 "",
                                 true,
                                 {"readme.txt", "units/u9/u9.sgm"},
                                 1,
                                 "u9.sgm: no such file"}),
    LabelName<SelectCase>);

TEST(BurnEngine, SetUpFailsWithARecord)
{
    BurnEngine engine;
    BurnerResults results;
    EXPECT_FALSE(engine.Setup("/nowhere/at/all/pipeline.ini", results));
    EXPECT_FALSE(engine.IsReady());
    ASSERT_EQ(results.Count(), 1u);
    EXPECT_EQ(results[0].text,
              "Error: BurnerImp -- Unable to read the pipeline configuration '/nowhere/at/all/pipeline.ini'");
    const BurnSummary summary = engine.Burn(FolderRequest("/tmp"), results);
    EXPECT_EQ(summary.filesMatched, 0u);
    EXPECT_EQ(results[1].text, "Error: BurnerImp -- The burner is not set up");
}

// A shared shader file of the generic form comes out in the final form, which the final reader
// takes; a file of another kind under its name is an error record.
TEST(BurnEngine, ShaderPluginWritesTheFinalSharedShader)
{
    BurnProject project(1, false);
    project.Write(
        "gen/_default.burn",
        "burn_version = 1\nburn_targets = { { name = 'shaders', wildcard = '.*\\\\.vds$', targets = {\n"
        "  { target = 'final', destination = 'DataFinal', plugin = 'shader' } } } }\n"
        "burn_params = { { name = 'shaders', targets = { { target = 'final', params = {\n"
        "  { 'dxtc', '0' }, { 'mips_to_skip', '0' } } } } } }\n");
    project.Write("gen/shaders/bad.vds", "no shader");
    BurnEngine engine;
    BurnerResults results;
    ASSERT_TRUE(engine.Setup(project.Ini().c_str(), results)) << Texts(results);
    {
        std::unique_ptr<RenderModel> pModel = ReadModel(project.Gen("units/u0/u0.sgm"), false);
        ASSERT_TRUE(pModel && pModel->GetMeshGroup());
        const Shader* pShader = pModel->GetMeshGroup()->GetShader(0).Get();
        ASSERT_NE(pShader, nullptr);
        fs::create_directories(project.Gen("shaders"));
        ASSERT_TRUE(
            ShaderLoadGeneric::SaveSharedFile(("TOOL:" + project.Gen("shaders/skin.vds")).c_str(), *pShader));
    }
    const BurnSummary summary = engine.Burn(FolderRequest(project.Gen("shaders")), results);
    EXPECT_EQ(summary.filesMatched, 2u);
    EXPECT_EQ(summary.filesBurned, 1u) << Texts(results);
    EXPECT_EQ(
        CountLevel(results, BurnerResults::LevelError, "shaders/bad.vds: does not load as a shared shader"),
        1)
        << Texts(results);
    ASSERT_TRUE(project.Exists("final/shaders/skin.vds"));
    EXPECT_NE(project.Read("final/shaders/skin.vds"), project.Read("gen/shaders/skin.vds"));
    Inv::Warehouse::Get()->PushFrame("final shader");
    std::unique_ptr<Shader> pFinal =
        ShaderLoadFinal::LoadSharedFile(("TOOL:" + project.Final("shaders/skin.vds")).c_str());
    Inv::Warehouse::Get()->PopFrame();
    EXPECT_NE(pFinal, nullptr);
}

// Through a stand-in Perforce client on PATH: every output is opened in the request's changelist,
// a new one after it is written (add), one already there before it is written again.
TEST(BurnEngine, OpensEachOutputInTheChangelist)
{
    TempFolder bin;
    bin.Write("p4",
              "#!/bin/sh\necho \"$*\" >> '" + bin / "calls.log" +
                  "'\ncase \"$*\" in\n"
                  "  *' info') echo 'info: User name: artist';;\n"
                  "  *' add '*) echo 'info: //depot/x#1 - opened for add';;\n"
                  "esac\necho 'exit: 0'\n",
              fs::perms(0755));
    ScopedEnv path("PATH", (bin.Path() + ":/usr/bin:/bin").c_str());
    ScopedEnv client("P4CLIENT", "artist-ws");
    ScopedEnv user("P4USER", "artist");
    BurnProject project(1, false);
    std::string ini = project.Read("pipeline.ini");
    ini.replace(ini.find("RevControlPort="), 15, "RevControlPort=fake:1666");
    project.Write("pipeline.ini", ini);

    BurnEngine engine;
    BurnerResults results;
    ASSERT_TRUE(engine.Setup(project.Ini().c_str(), results)) << Texts(results);
    BurnRequest request = FolderRequest(project.Gen("units"));
    request.changelist = 7;
    ASSERT_EQ(engine.Burn(request, results).filesBurned, 1u) << Texts(results);
    const std::string calls = TempFolder::Read(bin / "calls.log");
    for (const char* output : {"units/u0/u0.tqm", "units/u0/u0.tqe"})
        EXPECT_NE(calls.find("add -c 7 " + project.Final(output)), std::string::npos) << calls;
    EXPECT_EQ(calls.find("-c 0"), std::string::npos) << calls;
}

// A team pattern is copied once it reads as one; a damaged one is an error record.
TEST(BurnEngine, PatternPluginRefusesAFileThatIsNoPattern)
{
    BurnProject project(0, false);
    project.Write("gen/teams/red.tqp", BurnProject::PatternBytes());
    const std::string bytes = BurnProject::PatternBytes();
    project.Write("gen/teams/cut.tqp", bytes.substr(0, bytes.size() - 3));
    BurnEngine engine;
    BurnerResults results;
    ASSERT_TRUE(engine.Setup(project.Ini().c_str(), results)) << Texts(results);
    const BurnSummary summary = engine.Burn(FolderRequest(project.Gen("teams")), results);
    EXPECT_EQ(summary.filesMatched, 2u);
    EXPECT_EQ(summary.filesBurned, 1u) << Texts(results);
    EXPECT_EQ(CountLevel(results, BurnerResults::LevelError, "teams/cut.tqp: is no team pattern"), 1)
        << Texts(results);
    EXPECT_EQ(project.Read("final/teams/red.tqp"), bytes);
    EXPECT_FALSE(project.Exists("final/teams/cut.tqp"));
}
