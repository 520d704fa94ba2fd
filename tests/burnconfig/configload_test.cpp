// Loading ".burn" chains: the files found from a file up to the top of the generic tree, the
// merge and its default flags, and the messages of broken files.
#include "burntree.h"

#include "foundation/debug.h"
#include "storage/filepathutil.h"
#include "support/logcapture.h"

#include <vector>

namespace
{
struct ChainCase
{
    const char* label;
    std::vector<std::pair<std::string, std::string>> files; // beside the base, gen/_default.burn
    const char* load;
    std::vector<std::string> chain; // below the base
    std::string params;             // of models/final, '*' marking a default
};

const std::pair<std::string, std::string> s_units{"gen/units/_default.burn", Override("mips_to_skip", "1")};

// clang-format off
const ChainCase s_chainCases[] = {
    {"one level: the base alone, all default", {}, "gen/units/tank/tank.sgm", {},
     "dxtc=5* mips_to_skip=0* write_all_mips=yes*"},
    {"two levels: a folder's override is the default of a file below it", {s_units}, "gen/units/tank/tank.sgm",
     {s_units.first}, "dxtc=5* mips_to_skip=1* write_all_mips=yes*"},
    {"two levels for the folder itself: its own value is no default", {s_units}, "gen/units", {s_units.first},
     "dxtc=5* mips_to_skip=1 write_all_mips=yes*"},
    {"three levels: 'Yes' over 'yes' is default and keeps its text",
     {s_units, {"gen/units/tank/tank.sgm.burn", "burn_params = { { name = 'models', targets = { { target = "
                "'final', params = { { 'dxtc', '1' }, { 'write_all_mips', 'Yes' } } } } } }"}},
     "gen/units/tank/tank.sgm", {s_units.first, "gen/units/tank/tank.sgm.burn"},
     "dxtc=1 mips_to_skip=1* write_all_mips=yes*"},
    {"the top folder: the base's own values", {}, "gen", {}, "dxtc=5 mips_to_skip=0 write_all_mips=yes"},
};
// clang-format on

class LoadChain : public BurnTree, public ::testing::WithParamInterface<ChainCase>
{
};
} // namespace

TEST_P(LoadChain, MergesFromTheBaseDown)
{
    const ChainCase& c = GetParam();
    std::vector<std::string> expected{Write("gen/_default.burn", s_baseBurn)};
    for (const auto& [file, text] : c.files)
        Write(file, text);
    for (const std::string& file : c.chain)
        expected.push_back(Path(file));

    BurnerConfig config;
    BurnerResults results;
    std::vector<std::string> chain;
    ASSERT_TRUE(ConfigLoad::LoadConfig(Path(c.load).c_str(), config, results, &chain)) << Texts(results);
    EXPECT_TRUE(results.IsEmpty()) << Texts(results);
    EXPECT_EQ(expected, chain);
    EXPECT_EQ(2, config.GetVersion());
    ASSERT_EQ(2u, config.TargetGroupCount());
    EXPECT_EQ(".*", config.GetTargetGroup(1).wildcard);
    EXPECT_EQ("DataPreview", config.GetTargetInfo(config.FindTarget("MODELS", "Preview"))->destination);
    std::string params;
    for (const BurnerConfig::Param& param : *config.GetParams(config.FindTarget("models", "final")))
        params += (params.empty() ? "" : " ") + param.name + "=" + param.value + (param.isDefault ? "*" : "");
    EXPECT_EQ(c.params, params);
}

INSTANTIATE_TEST_SUITE_P(Chains, LoadChain, ::testing::ValuesIn(s_chainCases), CaseName<ChainCase>);

namespace
{
struct BrokenCase
{
    const char* label;
    const char* file; // gen/_default.burn is a broken base; otherwise the base is sound
    std::string text;
    std::vector<std::string> messages; // the first ones, in order; $F is the broken file
    std::string mips = "";             // models/final mips_to_skip when the load succeeds
};

const char* const s_base = "gen/_default.burn";
const char* const s_unitsFile = "gen/units/_default.burn";
std::string Group(const std::string& target)
{
    return "burn_version = 1 burn_targets = { { name = 'a', targets = { " + target + " } } }";
}
std::string Params(const std::string& params)
{
    return "burn_params = { { name = 'models', targets = { { target = 'final', params = " + params +
           " } } } }";
}

// clang-format off
const BrokenCase s_brokenCases[] = {
    {"syntax error", s_base, "burn_version = = 2",
     {"Burner configuration '$F' not parsed.  Syntax Error?.", "Unable to load default configuration $F."}},
    {"no targets: the message says burn_data", s_base, "burn_version = 1", {"Unable to find 'burn_data' in '$F'"}},
    {"a group that is no table", s_base, "burn_version = 1 burn_targets = { 'a' }",
     {"Invalid target group table '1' in configuration '$F'."}},
    {"a group without a name", s_base, "burn_version = 1 burn_targets = { { targets = {} } }",
     {"Could not read name for target group.", "Invalid target group in configuration '$F'."}},
    {"targets that are no table", s_base, "burn_version = 1 burn_targets = { { name = 'a', targets = 7 } }",
     {"Invalid 'targets' table in target group 'a'."}},
    {"a target without destination", s_base, Group("{ target = 't', plugin = 'p' }"),
     {"Could not read destination for target 't'.", "Invalid target in target group 'a'."}},
    {"a plugin of the wrong type", s_base, Group("{ target = 't', destination = 'd', plugin = true }"),
     {"Could not read pluginName for target 't'."}},
    {"a script that never ends", s_base, "burn_version = 1 while true do end",
     {"Burner configuration '$F' not parsed.  Syntax Error?."}},
    {"a script that eats the memory", s_base, "burn_version = 1 x = string.rep('x', 1 << 32)",
     {"Burner configuration '$F' not parsed.  Syntax Error?."}},
    {"an override without burn_params", s_unitsFile, "burn_version = 3",
     {"Unable to find 'burn_data' in '$F'", "Unable to load configuration $F."}},
    {"a parameter entry that is no table", s_unitsFile, Params("{ 'dxtc' }"),
     {"Invalid table '1'.", "Invalid Parameter in target 'final'.", "Invalid target in target group 'models'."}},
    {"a pair without its value is skipped", s_unitsFile, Params("{ { 'dxtc' }, { 'mips_to_skip', 3 } }"),
     {"Invalid name/value pair in target 'final' table is '1'."}, "3 (default)"},
    {"params that are no table are passed over", s_unitsFile, Params("'none'"), {}, "0 (default)"},
};
// clang-format on

class LoadBroken : public BurnTree, public ::testing::WithParamInterface<BrokenCase>
{
};
} // namespace

TEST_P(LoadBroken, ReportsWhatAndWhere)
{
    const BrokenCase& c = GetParam();
    Write(s_base, s_baseBurn);
    const std::string broken = Write(c.file, c.text);
    LogCapture log; // Lua's own message goes to the log

    BurnerConfig config;
    BurnerResults results;
    const bool loaded = ConfigLoad::LoadConfig(Path("gen/units/tank/tank.sgm").c_str(), config, results);
    std::string expected;
    for (std::string message : c.messages)
    {
        if (const size_t at = message.find("$F"); at != std::string::npos)
            message.replace(at, 2, broken);
        expected += "Warning: ConfigIO -- " + message + "\n";
    }
    const std::string texts = Texts(results);
    EXPECT_EQ(expected, texts.substr(0, expected.size())) << texts;
    EXPECT_EQ(!c.mips.empty(), loaded);
    if (loaded)
    {
        EXPECT_EQ(expected, texts);
        EXPECT_EQ(c.mips, Param(config, "mips_to_skip"));
    }
}

INSTANTIATE_TEST_SUITE_P(Files, LoadBroken, ::testing::ValuesIn(s_brokenCases), CaseName<BrokenCase>);

TEST_F(BurnTree, ParamsNamingATargetTheBaseLacksAreFatal)
{
    Write("gen/_default.burn", s_baseBurn);
    const std::string file =
        Write("gen/units/_default.burn",
              "burn_params = { { name = 'models', targets = { { target = 'nosuch' } } } }");
    LogCapture log;
    dbg::ScopedThrowOnAssert fatalThrows;
    BurnerConfig config;
    BurnerResults results;
    try
    {
        ConfigLoad::LoadConfig(Path("gen/units").c_str(), config, results);
        FAIL() << "no fatal exit";
    }
    catch (const std::runtime_error& e)
    {
        EXPECT_EQ("'" + file +
                      "': Burn Params 'models' does not have matching target 'nosuch' in base burn_targets!",
                  e.what());
    }
    EXPECT_TRUE(log.Has("-- FATAL EXIT --"));
}

TEST_F(BurnTree, LoadFailsWithoutAConfigurationOrAProject)
{
    const std::string tank = Path("gen/units/tank/tank.sgm");
    const std::pair<std::string, std::string> cases[] = {
        {tank, "Filename [" + tank + "] does not have a burn configuration script."},
        {Path("gen/none.sgm"), "Unable to get burn filename for " + Path("gen/none.sgm")},
        {Path("src/tank.max"),
         "File [" + Path("src/tank.max.burn") + "] does not belong to a pipeline project."},
    };
    for (const auto& [file, message] : cases)
    {
        BurnerConfig config;
        BurnerResults results;
        EXPECT_FALSE(ConfigLoad::LoadConfig(file.c_str(), config, results));
        EXPECT_EQ("Warning: ConfigIO -- " + message + "\n", Texts(results));
    }
    // The names: behind a file's whole name, or in a folder named with either separator.
    char out[FilePathUtil::MAXPATH];
    ASSERT_TRUE(ConfigLoad::GetBurnFilename(tank.c_str(), out, sizeof(out)));
    EXPECT_EQ(tank + ".burn", out);
    ASSERT_TRUE(ConfigLoad::GetBurnFilename((m_root / "gen/units/").c_str(), out, sizeof(out)));
    EXPECT_EQ(Path("gen/units/_default.burn"), out);
    EXPECT_FALSE(ConfigLoad::GetBurnFilename(Path("gen/units/none.sgm").c_str(), out, sizeof(out)))
        << "no file, no name";
    // A buffer that holds the folder's name and "_default.burn", but not the separator between.
    const std::string folder = Path("gen/units");
    std::vector<char> tight(folder.size() + 14);
    EXPECT_FALSE(ConfigLoad::GetBurnFilename(folder.c_str(), tight.data(), tight.size()));
}

TEST_F(BurnTree, BaseIsReadOncePerProcess)
{
    Write("gen/_default.burn", s_baseBurn);
    const std::string tank = Path("gen/units/tank/tank.sgm");
    BurnerConfig config;
    BurnerResults results;
    ASSERT_TRUE(ConfigLoad::LoadConfig(tank.c_str(), config, results));
    // A changed base is not seen until the cache is let go, as in a new process.
    Write("gen/_default.burn", std::string(s_baseBurn) + "burn_version = 7\n");
    ASSERT_TRUE(ConfigLoad::LoadConfig(tank.c_str(), config, results));
    EXPECT_EQ(2, config.GetVersion());
    ConfigLoad::ClearBaseCache();
    ASSERT_TRUE(ConfigLoad::LoadConfig(tank.c_str(), config, results));
    EXPECT_EQ(7, config.GetVersion());
}
