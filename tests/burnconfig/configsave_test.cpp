// Saving: the minimal file of what differs from the level above, written through revision control,
// and the file removed when nothing differs; in local mode and through a stand-in "p4" on PATH.
#include "burntree.h"
#include "revcontrol/revcontrolapi.h"
#include "support/logcapture.h"

namespace
{
namespace fs = std::filesystem;

class SaveConfigTest : public BurnTree
{
protected:
    void SetUp() override
    {
        BurnTree::SetUp();
        Write("gen/_default.burn", s_baseBurn);
        Write("gen/units/_default.burn", Override("mips_to_skip", "1"));
    }
    BurnerConfig Load(const std::string& file)
    {
        BurnerConfig config;
        BurnerResults results;
        EXPECT_TRUE(ConfigLoad::LoadConfig(Path(file).c_str(), config, results)) << Texts(results);
        return config;
    }
    // Loads `file`, sets models/final's `name` to `value` and saves through `revControl`.
    bool SetAndSave(const std::string& file, const char* name, const char* value, RevControlAPI* revControl = nullptr)
    {
        BurnerConfig config = Load(file);
        EXPECT_TRUE(config.SetParam(config.FindTarget("models", "final"), {name, value, false}));
        return ConfigLoad::SaveConfig(revControl != nullptr ? *revControl : *m_pLocal, 42, Path(file).c_str(), config);
    }

    std::unique_ptr<RevControlAPI> m_pLocal = RevControlAPI::Create("", RevisionControlLocal);
};
} // namespace

TEST_F(SaveConfigTest, WritesOnlyWhatDiffersAsLuaConfigWritesIt)
{
    BurnerConfig config = Load("gen/units/tank/tank.sgm");
    // "Yes" where the level above has "yes", and mips_to_skip as the level above: neither is written.
    for (const auto& [name, value] : {std::pair{"dxtc", "1"}, {"write_all_mips", "Yes"}, {"mips_to_skip", "1"}})
        ASSERT_TRUE(config.SetParam(config.FindTarget("models", "final"), {name, value, false}));
    ASSERT_TRUE(ConfigLoad::SaveConfig(*m_pLocal, 0, Path("gen/units/tank/tank.sgm").c_str(), config));
    EXPECT_EQ("burn_params =  \r\n{\r\n\t \r\n\t{\r\n\t\tname = \"models\",\r\n\t\ttargets =  \r\n\t\t{\r\n\t\t\t \r\n\t\t\t{\r\n"
              "\t\t\t\tparams =  \r\n\t\t\t\t{\r\n\t\t\t\t\t \r\n\t\t\t\t\t{\r\n\t\t\t\t\t\t\"dxtc\",\r\n\t\t\t\t\t\t\"1\",\r\n"
              "\t\t\t\t\t},\r\n\t\t\t\t},\r\n\t\t\t\ttarget = \"final\",\r\n\t\t\t},\r\n\t\t},\r\n\t},\r\n}\r\n",
              Read("gen/units/tank/tank.sgm.burn"));
    EXPECT_FALSE(fs::exists(m_root / "gen/units/tank/tank.sgm.burn.tmp"));
    const BurnerConfig again = Load("gen/units/tank/tank.sgm");
    EXPECT_EQ("1 yes (default) 1 (default)",
              Param(again, "dxtc") + " " + Param(again, "write_all_mips") + " " + Param(again, "mips_to_skip"));
}

TEST_F(SaveConfigTest, AConfigurationEqualToItsParentLeavesNoFileAndRefusalsLeaveTheFiles)
{
    // A file under the folder whose mips_to_skip is "1", and that folder under the base's "0".
    Write("gen/units/tank/tank.sgm.burn", Override("mips_to_skip", "0"));
    EXPECT_TRUE(SetAndSave("gen/units/tank/tank.sgm", "mips_to_skip", "1") && !fs::exists(m_root / "gen/units/tank/tank.sgm.burn"));
    const std::string units = Read("gen/units/_default.burn");
    EXPECT_TRUE(SetAndSave("gen/units", "mips_to_skip", "0") && !fs::exists(m_root / "gen/units/_default.burn"));
    Write("gen/units/_default.burn", units);
    LogCapture log;
    // file, parameter, message on the channel "BURN": the base holds the targets, which the minimal
    // form would lose; the level above has no such parameter; local mode cannot open a read-only file.
    const std::tuple<const char*, const char*, const char*> cases[] = {
        {"gen", "dxtc", "is the base of its tree"}, {"gen/units", "dxtc", "for add or edit"},
        {"gen/units", "sharpen", "Unable to load the parameter sharpen from input config file."}};
    fs::permissions(m_root / "gen/units/_default.burn", fs::perms(0444));
    for (const auto& [file, param, message] : cases)
    {
        EXPECT_FALSE(SetAndSave(file, param, "2")) << message;
        const LogCapture::Line* pLine = log.FindLine(message);
        EXPECT_TRUE(pLine != nullptr && pLine->channel == ConfigLoad::k_Channel) << message;
    }
    EXPECT_TRUE(Read("gen/_default.burn") == s_baseBurn && Read("gen/units/_default.burn") == units);
}

// Through a stand-in Perforce client on PATH that logs each command line; "fstat" gives the file's state.
TEST_F(SaveConfigTest, ThroughP4SyncsAndAddsOrRevertsAndDeletesByTheFilesState)
{
    TempFolder bin;
    ScopedEnv path("PATH", (bin.Path() + ":/usr/bin:/bin").c_str()), client("P4CLIENT", "artist-ws"), user("P4USER", "artist");
    auto p4 = [&](const std::string& fstatReply)
    {
        fs::remove(bin / "calls.log");
        bin.Write("p4", "#!/bin/sh\necho \"$*\" >> '" + bin / "calls.log" + "'\ncase \"$*\" in\n  *' sync '*) echo 'error: up-to-date.';;\n"
                        "  *' fstat '*) " + fstatReply + ";;\n  *' add '*) echo 'info: x#1 - opened for add';;\n"
                        "  *' revert '*) echo 'info: x#1 - was edit, reverted';;\n  *' delete '*) echo 'info: x#1 - opened for delete';;\n"
                        "esac\necho 'exit: 0'\n", fs::perms(0755));
        return RevControlAPI::Create("fake:1666", RevisionControlP4);
    };
    const std::string tank = m_root / "gen/units/tank/tank.sgm", file = m_root / "gen/units/_default.burn";
    ASSERT_TRUE(SetAndSave("gen/units/tank/tank.sgm", "dxtc", "1", p4("echo 'error: no such file(s).'").get()));
    EXPECT_EQ("-s -p fake:1666 info\n-s -p fake:1666 sync " + tank + "\n-s -p fake:1666 add -c 42 " + tank + ".burn\n",
              TempFolder::Read(bin / "calls.log"));
    EXPECT_EQ("1", Param(Load("gen/units/tank/tank.sgm"), "dxtc"));
    // fstat's reply, and the commands that follow it; the stand-in leaves the file on the disk, the save removes it.
    const std::pair<const char*, std::vector<std::string>> cases[] = {
        {"echo 'info1: depotFile //depot/gen/units/_default.burn'; echo 'info1: headAction add'", {"delete"}},
        {"echo 'info1: action edit'", {"revert", "delete"}},
        {"echo 'info1: action add'", {"revert"}},
        {"echo 'info1: action delete'", {}},
    };
    for (const auto& [fstat, commands] : cases)
    {
        Write("gen/units/_default.burn", Override("dxtc", "5"));
        ASSERT_TRUE(SetAndSave("gen/units", "dxtc", "5", p4(fstat).get())) << fstat;
        std::string expected = "-s -p fake:1666 info\n-s -p fake:1666 fstat " + file + "\n";
        for (const std::string& command : commands)
            expected += "-s -p fake:1666 " + command + " -c 42 " + file + "\n";
        EXPECT_EQ(expected, TempFolder::Read(bin / "calls.log")) << fstat;
        EXPECT_FALSE(fs::exists(file)) << fstat;
    }
}
