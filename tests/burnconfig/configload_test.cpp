// Loading ".burn" chains: the files found from a file up to the top of the generic tree, the
// merge and its default flags, and the messages of broken files.
#include "burntree.h"
#include "foundation/debug.h"
#include "storage/filepathutil.h"
#include "support/logcapture.h"
#include <regex>

namespace fs = std::filesystem;
TEST_F(BurnTree, ChainsMergeFromTheBaseDown)
{
    const std::string units = Path("gen/units/_default.burn"), own = Path("gen/units/tank/tank.sgm.burn");
    const std::vector<std::string> base{Write("gen/_default.burn", s_baseBurn)};
    // A file written before the load and its text, the file loaded, the chain below the base, and
    // the parameters of models/final, '*' marking a default.
    const std::tuple<const char*, std::string, const char*, std::vector<std::string>, const char*> cases[] = {
        // One level: the base alone, all default; the top folder: the base's own values.
        {nullptr, "", "gen/units/tank/tank.sgm", {}, "dxtc=5* mips_to_skip=0* write_all_mips=yes*"},
        {nullptr, "", "gen", {}, "dxtc=5 mips_to_skip=0 write_all_mips=yes"},
        // A folder's override is the default of a file below it, and no default of the folder itself.
        {"gen/units/_default.burn", Override("mips_to_skip", "1"), "gen/units/tank/tank.sgm", {units}, "dxtc=5* mips_to_skip=1* write_all_mips=yes*"},
        {nullptr, "", "gen/units", {units}, "dxtc=5* mips_to_skip=1 write_all_mips=yes*"},
        // Three levels: 'Yes' over 'yes' is default and keeps its text.
        {"gen/units/tank/tank.sgm.burn", "burn_params = { { name = 'models', targets = { { target = 'final', params = { "
                                         "{ 'dxtc', '1' }, { 'write_all_mips', 'Yes' } } } } } }",
         "gen/units/tank/tank.sgm", {units, own}, "dxtc=1 mips_to_skip=1* write_all_mips=yes*"},
    };
    for (const auto& [file, text, load, below, expected] : cases)
    {
        if (file != nullptr)
            Write(file, text);
        BurnerConfig config;
        BurnerResults results;
        std::vector<std::string> chain, whole = base;
        whole.insert(whole.end(), below.begin(), below.end());
        ASSERT_TRUE(ConfigLoad::LoadConfig(Path(load).c_str(), config, results, &chain)) << Texts(results);
        EXPECT_TRUE(results.IsEmpty() && chain == whole) << Texts(results) << load;
        std::string params;
        for (const BurnerConfig::Param& param : *config.GetParams(config.FindTarget("models", "final")))
            params += (params.empty() ? "" : " ") + param.name + "=" + param.value + (param.isDefault ? "*" : "");
        EXPECT_EQ(expected, params) << load;
    }
}

TEST_F(BurnTree, BrokenFilesReportWhatAndWhere)
{
    const char *const s_base = "gen/_default.burn", *const s_unitsFile = "gen/units/_default.burn";
    auto group = [](const std::string& target) { return "burn_version = 1 burn_targets = { { name = 'a', targets = { " + target + " } } }"; };
    auto params = [](const std::string& params)
    { return "burn_params = { { name = 'models', targets = { { target = 'final', params = " + params + " } } } }"; };
    // The broken file (the base, or a sound base's folder below), its text, the first messages in
    // order ($F: the broken file), and models/final mips_to_skip when it loads.
    const std::tuple<const char*, std::string, std::vector<std::string>, std::string> cases[] = {
    {s_base, "burn_version = = 2", {"Burner configuration '$F' not parsed.  Syntax Error?.", "Unable to load default configuration $F."}, ""},
    {s_base, "burn_version = 1", {"Unable to find 'burn_data' in '$F'"}, ""},
    {s_base, "burn_version = 1 burn_targets = { 'a' }", {"Invalid target group table '1' in configuration '$F'."}, ""},
    {s_base, "burn_version = 1 burn_targets = { { targets = {} } }",
     {"Could not read name for target group.", "Invalid target group in configuration '$F'."}, ""},
    {s_base, "burn_version = 1 burn_targets = { { name = 'a', targets = 7 } }", {"Invalid 'targets' table in target group 'a'."}, ""},
    {s_base, group("{ target = 't', plugin = 'p' }"),
     {"Could not read destination for target 't'.", "Invalid target in target group 'a'."}, ""},
    {s_base, group("{ target = 't', destination = 'd', plugin = true }"), {"Could not read pluginName for target 't'."}, ""},
    {s_base, "burn_version = 1 while true do end", {"Burner configuration '$F' not parsed.  Syntax Error?."}, ""},
    {s_base, "burn_version = 1 x = string.rep('x', 1 << 32)", {"Burner configuration '$F' not parsed.  Syntax Error?."}, ""},
    {s_unitsFile, "burn_version = 3", {"Unable to find 'burn_data' in '$F'", "Unable to load configuration $F."}, ""},
    {s_unitsFile, params("{ 'dxtc' }"),
     {"Invalid table '1'.", "Invalid Parameter in target 'final'.", "Invalid target in target group 'models'."}, ""},
    {s_unitsFile, params("{ { 'dxtc' }, { 'mips_to_skip', 3 } }"),
     {"Invalid name/value pair in target 'final' table is '1'."}, "3 (default)"},
    {s_unitsFile, params("'none'"), {}, "0 (default)"},
    };
    for (const auto& [file, text, messages, mips] : cases)
    {
        // A sound tree, then the broken file.
        fs::remove(m_root / s_unitsFile);
        Write(s_base, s_baseBurn);
        ConfigLoad::ClearBaseCache();
        const std::string broken = Write(file, text);
        LogCapture log; // Lua's own message goes to the log
        BurnerConfig config;
        BurnerResults results;
        const bool loaded = ConfigLoad::LoadConfig(Path("gen/units/tank/tank.sgm").c_str(), config, results);
        std::string expected;
        for (std::string message : messages)
            expected += "Warning: ConfigIO -- " + std::regex_replace(message, std::regex("\\$F"), broken) + "\n";
        const std::string texts = Texts(results);
        EXPECT_EQ(expected, texts.substr(0, expected.size())) << texts;
        EXPECT_EQ(!mips.empty(), loaded) << text;
        EXPECT_TRUE(!loaded || (expected == texts && mips == Param(config, "mips_to_skip"))) << texts;
    }
}

TEST_F(BurnTree, ParamsNamingATargetTheBaseLacksAreFatal)
{
    Write("gen/_default.burn", s_baseBurn);
    const std::string file = Write("gen/units/_default.burn", "burn_params = { { name = 'models', targets = { { target = 'nosuch' } } } }");
    LogCapture log;
    dbg::ScopedThrowOnAssert fatalThrows;
    BurnerConfig config;
    BurnerResults results;
    std::string what = "no fatal exit";
    try { ConfigLoad::LoadConfig(Path("gen/units").c_str(), config, results); }
    catch (const std::runtime_error& e) { what = e.what(); }
    EXPECT_EQ("'" + file + "': Burn Params 'models' does not have matching target 'nosuch' in base burn_targets!", what);
    EXPECT_TRUE(log.Has("-- FATAL EXIT --"));
}

TEST_F(BurnTree, LoadFailsWithoutAConfigurationOrAProjectAndReadsTheBaseOnce)
{
    const std::string tank = Path("gen/units/tank/tank.sgm");
    const std::pair<std::string, std::string> cases[] = {
        {tank, "Filename [" + tank + "] does not have a burn configuration script."},
        {Path("gen/none.sgm"), "Unable to get burn filename for " + Path("gen/none.sgm")},
        {Path("src/tank.max"), "File [" + Path("src/tank.max.burn") + "] does not belong to a pipeline project."},
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
    EXPECT_TRUE(ConfigLoad::GetBurnFilename(tank.c_str(), out, sizeof(out)) && out == tank + ".burn");
    EXPECT_TRUE(ConfigLoad::GetBurnFilename((m_root / "gen/units/").c_str(), out, sizeof(out)) && out == Path("gen/units/_default.burn"));
    EXPECT_FALSE(ConfigLoad::GetBurnFilename(Path("gen/units/none.sgm").c_str(), out, sizeof(out))) << "no file, no name";
    // Room for the folder's name, the separator, "_default.burn" and the end, and one less.
    const std::string folder = Path("gen/units");
    EXPECT_TRUE(ConfigLoad::GetBurnFilename(folder.c_str(), out, folder.size() + 15));
    EXPECT_FALSE(ConfigLoad::GetBurnFilename(folder.c_str(), out, folder.size() + 14));
    // The base is read once: a changed one is not seen until the cache is let go, as in a new process.
    Write("gen/_default.burn", s_baseBurn);
    BurnerConfig config;
    BurnerResults results;
    ASSERT_TRUE(ConfigLoad::LoadConfig(tank.c_str(), config, results));
    Write("gen/_default.burn", std::string(s_baseBurn) + "burn_version = 7\n");
    EXPECT_TRUE(ConfigLoad::LoadConfig(tank.c_str(), config, results) && config.GetVersion() == 2);
    ConfigLoad::ClearBaseCache();
    EXPECT_TRUE(ConfigLoad::LoadConfig(tank.c_str(), config, results) && config.GetVersion() == 7);
}
