// Loading ".burn" chains: the files found from a file up to the top of the generic tree, the
// merge and its default flags, and the messages of broken files.
#include "burntree.h"

#include "foundation/debug.h"
#include "storage/filepathutil.h"
#include "support/logcapture.h"

#include <gtest/gtest.h>

#include <vector>

namespace
{
using Files = std::vector<std::pair<std::string, std::string>>;

struct ChainCase
{
    const char* label;
    Files files; // beside the base in gen/_default.burn
    const char* load;
    std::vector<std::string> chain; // base first
    // models/final dxtc, mips_to_skip, write_all_mips
    std::string dxtc, mips, allMips;
};

const ChainCase s_chainCases[] = {
    {"one level: the base alone, everything default",
     {},
     "gen/units/tank/tank.sgm",
     {"gen/_default.burn"},
     "5 (default)",
     "0 (default)",
     "yes (default)"},
    {"two levels: a folder's override is the default of a file below it",
     {{"gen/units/_default.burn", Override("models", "final", "mips_to_skip", "1")}},
     "gen/units/tank/tank.sgm",
     {"gen/_default.burn", "gen/units/_default.burn"},
     "5 (default)",
     "1 (default)",
     "yes (default)"},
    {"two levels, loaded for the folder itself: its own override is no default",
     {{"gen/units/_default.burn", Override("models", "final", "mips_to_skip", "1")}},
     "gen/units",
     {"gen/_default.burn", "gen/units/_default.burn"},
     "5 (default)",
     "1",
     "yes (default)"},
    {"three levels: the file's own values against all above; 'Yes' over 'yes' is default",
     {{"gen/units/_default.burn", Override("models", "final", "mips_to_skip", "1")},
      {"gen/units/tank/tank.sgm.burn",
       "burn_params = { { name = 'models', targets = { { target = 'final', params = { { 'dxtc', '1' }, "
       "{ 'write_all_mips', 'Yes' }, { 'mips_to_skip', '1' } } } } } }"}},
     "gen/units/tank/tank.sgm",
     {"gen/_default.burn", "gen/units/_default.burn", "gen/units/tank/tank.sgm.burn"},
     "1",
     "1 (default)",
     "yes (default)"},
    {"a folder with no _default.burn between the file and the top adds nothing",
     {{"gen/units/tank/_default.burn", Override("models", "final", "dxtc", "3")}},
     "gen/units/tank/tank.sgm",
     {"gen/_default.burn", "gen/units/tank/_default.burn"},
     "3 (default)",
     "0 (default)",
     "yes (default)"},
    {"the top folder itself: the base, whose own values are no defaults",
     {},
     "gen",
     {"gen/_default.burn"},
     "5",
     "0",
     "yes"},
};

class LoadChain : public BurnTree, public ::testing::WithParamInterface<ChainCase>
{
};
} // namespace

TEST_P(LoadChain, MergesFromTheBaseDown)
{
    const ChainCase& c = GetParam();
    Write("gen/_default.burn", s_baseBurn);
    for (const auto& [file, text] : c.files)
        Write(file, text);

    BurnerConfig config;
    BurnerResults results;
    std::vector<std::string> chain;
    ASSERT_TRUE(ConfigLoad::LoadConfig(Path(c.load).c_str(), config, results, &chain)) << Texts(results);
    EXPECT_TRUE(results.IsEmpty()) << Texts(results);
    std::vector<std::string> expected;
    for (const std::string& file : c.chain)
        expected.push_back(Path(file));
    EXPECT_EQ(expected, chain);

    EXPECT_EQ(2, config.GetVersion());
    ASSERT_EQ(2u, config.TargetGroupCount());
    EXPECT_EQ(".*\\.sgm$", config.GetTargetGroup(0).wildcard);
    EXPECT_EQ(".*", config.GetTargetGroup(1).wildcard);
    const BurnerConfig::Target* pPreview = config.GetTargetInfo(config.FindTarget("MODELS", "Preview"));
    ASSERT_NE(nullptr, pPreview);
    EXPECT_EQ("DataPreview", pPreview->destination);
    EXPECT_EQ("model", pPreview->plugin);

    EXPECT_EQ(c.dxtc, Param(config, "models", "final", "dxtc"));
    EXPECT_EQ(c.mips, Param(config, "models", "final", "mips_to_skip"));
    EXPECT_EQ(c.allMips, Param(config, "models", "final", "write_all_mips"));
    EXPECT_EQ(config.FindParam(config.FindTarget("copy", "copy"), "read_only")->isDefault,
              c.load != std::string("gen"));
}

INSTANTIATE_TEST_SUITE_P(Chains, LoadChain, ::testing::ValuesIn(s_chainCases), CaseName<ChainCase>);

namespace
{
struct BrokenCase
{
    const char* label;
    const char* file; // "gen/_default.burn" is a broken base; otherwise the base is sound
    std::string text;
    std::vector<std::string> messages; // in order, each after "Warning: ConfigIO -- "
    bool loads;
    std::string mips = ""; // models/final mips_to_skip after a load that succeeds
};

std::string Params(const std::string& params)
{
    return "burn_params = { { name = 'models', targets = { { target = 'final', params = " + params +
           " } } } }";
}

const BrokenCase s_brokenCases[] = {
    {"syntax error",
     "gen/_default.burn",
     "burn_version = = 2",
     {"Burner configuration '$F' not parsed.  Syntax Error?.", "Unable to load default configuration $F."},
     false},
    {"no version",
     "gen/_default.burn",
     "burn_targets = {}",
     {"Unable to find 'burn_version' in '$F'"},
     false},
    {"the targets' message says burn_data",
     "gen/_default.burn",
     "burn_version = 1",
     {"Unable to find 'burn_data' in '$F'", "Unable to load default configuration $F."},
     false},
    {"a group that is no table",
     "gen/_default.burn",
     "burn_version = 1 burn_targets = { 'models' }",
     {"Invalid target group table '1' in configuration '$F'."},
     false},
    {"a group without a name",
     "gen/_default.burn",
     "burn_version = 1 burn_targets = { { targets = {} } }",
     {"Could not read name for target group.", "Invalid target group in configuration '$F'."},
     false},
    {"two groups of one name",
     "gen/_default.burn",
     "burn_version = 1 burn_targets = { { name = 'a', targets = {} }, { name = 'A', targets = {} } }",
     {"Could not add new target group.", "Invalid target group in configuration '$F'."},
     false},
    {"targets that are no table",
     "gen/_default.burn",
     "burn_version = 1 burn_targets = { { name = 'a', targets = 7 } }",
     {"Invalid 'targets' table in target group 'a'."},
     false},
    {"a target that is no table",
     "gen/_default.burn",
     "burn_version = 1 burn_targets = { { name = 'a', targets = { x = 7 } } }",
     {"Invalid table 'x' in target group 'a'."},
     false},
    {"a target without a name",
     "gen/_default.burn",
     "burn_version = 1 burn_targets = { { name = 'a', targets = { { destination = 'd', plugin = 'p' } } } }",
     {"Could not read name for target.", "Invalid target in target group 'a'."},
     false},
    {"a target without destination",
     "gen/_default.burn",
     "burn_version = 1 burn_targets = { { name = 'a', targets = { { target = 't', plugin = 'p' } } } }",
     {"Could not read destination for target 't'.", "Invalid target in target group 'a'."},
     false},
    {"a destination of the wrong type",
     "gen/_default.burn",
     "burn_version = 1 burn_targets = { { name = 'a', targets = { { target = 't', destination = {} } } } }",
     {"Could not read destination for target 't'."},
     false},
    {"a target without plugin",
     "gen/_default.burn",
     "burn_version = 1 burn_targets = { { name = 'a', targets = { { target = 't', destination = 'd' } } } }",
     {"Could not read pluginName for target 't'."},
     false},
    {"a plugin of the wrong type",
     "gen/_default.burn",
     "burn_version = 1 burn_targets = { { name = 'a', targets = { { target = 't', destination = 'd', plugin "
     "= "
     "true } } } }",
     {"Could not read pluginName for target 't'."},
     false},
    {"two targets of one name",
     "gen/_default.burn",
     "burn_version = 1 burn_targets = { { name = 'a', targets = { { target = 't', destination = 'd', plugin "
     "= "
     "'p' }, { target = 't', destination = 'e', plugin = 'q' } } } }",
     {"Could not add new target.", "Invalid target in target group 'a'."},
     false},
    {"a script that never ends",
     "gen/_default.burn",
     "burn_version = 1 while true do end",
     {"Burner configuration '$F' not parsed.  Syntax Error?."},
     false},
    {"a script that eats the memory",
     "gen/_default.burn",
     "burn_version = 1 x = string.rep('x', 1 << 32)",
     {"Burner configuration '$F' not parsed.  Syntax Error?."},
     false},
    {"an override without burn_params",
     "gen/units/_default.burn",
     "burn_version = 3",
     {"Unable to find 'burn_data' in '$F'", "Unable to load configuration $F."},
     false},
    {"a parameter group that is no table",
     "gen/units/_default.burn",
     "burn_params = { 'models' }",
     {"Invalid target param table '1' in configuration '$F'."},
     false},
    {"a parameter group without a name",
     "gen/units/_default.burn",
     "burn_params = { { targets = {} } }",
     {"Could not read name for target group.", "Invalid target group parameter in configuration '$F'."},
     false},
    {"parameter targets that are no table",
     "gen/units/_default.burn",
     "burn_params = { { name = 'models', targets = 'final' } }",
     {"Invalid 'targets' table in target group 'models'.",
      "Invalid target group parameter in configuration '$F'."},
     false},
    {"a parameter target without a name",
     "gen/units/_default.burn",
     "burn_params = { { name = 'models', targets = { { params = {} } } } }",
     {"Could not read name for target.", "Invalid target in target group 'models'."},
     false},
    {"a parameter entry that is no table",
     "gen/units/_default.burn",
     Params("{ 'dxtc' }"),
     {"Invalid table '1'.", "Invalid Parameter in target 'final'.",
      "Invalid target in target group 'models'."},
     false},
    {"a pair without its value is skipped",
     "gen/units/_default.burn",
     Params("{ { 'dxtc' }, { 'mips_to_skip', 3 } }"),
     {"Invalid name/value pair in target 'final' table is '1'."},
     true,
     "3 (default)"},
    {"params that are no table are passed over",
     "gen/units/_default.burn",
     Params("'none'"),
     {},
     true,
     "0 (default)"},
};

class LoadBroken : public BurnTree, public ::testing::WithParamInterface<BrokenCase>
{
};
} // namespace

TEST_P(LoadBroken, ReportsWhatAndWhere)
{
    const BrokenCase& c = GetParam();
    Write("gen/_default.burn", s_baseBurn);
    const std::string broken = Write(c.file, c.text);
    LogCapture log; // the Lua error itself goes to the log

    BurnerConfig config;
    BurnerResults results;
    EXPECT_EQ(c.loads, ConfigLoad::LoadConfig(Path("gen/units/tank/tank.sgm").c_str(), config, results));
    std::string expected;
    for (std::string message : c.messages)
    {
        const size_t at = message.find("$F");
        if (at != std::string::npos)
            message.replace(at, 2, broken);
        expected += "Warning: ConfigIO -- " + message + "\n";
    }
    const std::string texts = Texts(results);
    // The listed messages come in that order; a failed load says more behind them.
    EXPECT_EQ(expected, texts.substr(0, expected.size())) << texts;
    if (c.loads)
    {
        EXPECT_EQ(expected, texts);
        EXPECT_EQ(c.mips, Param(config, "models", "final", "mips_to_skip"));
    }
}

INSTANTIATE_TEST_SUITE_P(Files, LoadBroken, ::testing::ValuesIn(s_brokenCases), CaseName<BrokenCase>);

TEST_F(BurnTree, ParamsNamingATargetTheBaseLacksAreFatal)
{
    Write("gen/_default.burn", s_baseBurn);
    const std::string file = Write("gen/units/_default.burn", Override("models", "nosuch", "dxtc", "1"));
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
                  std::string(e.what()));
    }
    EXPECT_TRUE(log.Has("-- FATAL EXIT --"));
}

TEST_F(BurnTree, LoadFailsWithoutAConfigurationOrAProject)
{
    struct Case
    {
        std::string file;
        std::string message;
    };
    // No "_default.burn" anywhere yet.
    const Case cases[] = {
        {Path("gen/units/tank/tank.sgm"),
         "Filename [" + Path("gen/units/tank/tank.sgm") + "] does not have a burn configuration script."},
        {Path("gen/units/tank/none.sgm"),
         "Unable to get burn filename for " + Path("gen/units/tank/none.sgm")},
        {Path("src/tank.max"),
         "File [" + Path("src/tank.max.burn") + "] does not belong to a pipeline project."},
    };
    for (const Case& c : cases)
    {
        BurnerConfig config;
        BurnerResults results;
        EXPECT_FALSE(ConfigLoad::LoadConfig(c.file.c_str(), config, results));
        EXPECT_EQ("Warning: ConfigIO -- " + c.message + "\n", Texts(results));
    }
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

TEST_F(BurnTree, BurnFilenames)
{
    char out[FilePathUtil::MAXPATH];
    ASSERT_TRUE(ConfigLoad::GetBurnFilename(Path("gen/units/tank/tank.sgm").c_str(), out, sizeof(out)));
    EXPECT_EQ(Path("gen/units/tank/tank.sgm.burn"), out);
    // A folder, named with either separator and a trailing one.
    ASSERT_TRUE(ConfigLoad::GetBurnFilename((m_root / "gen/units/").c_str(), out, sizeof(out)));
    EXPECT_EQ(Path("gen/units/_default.burn"), out);
    EXPECT_FALSE(ConfigLoad::GetBurnFilename(Path("gen/none").c_str(), out, sizeof(out)));
    EXPECT_STREQ("", out);
}
