// Saving: the minimal file of what differs from the level above, written through revision control,
// and the file removed when nothing differs; in local mode and through a stand-in "p4" on PATH.
#include "burntree.h"

#include "revcontrol/revcontrolapi.h"
#include "support/logcapture.h"

#include <filesystem>

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
    static void Set(BurnerConfig& config, const char* name, const char* value)
    {
        ASSERT_TRUE(config.SetParam(config.FindTarget("models", "final"), {name, value, false}));
    }
    bool Save(RevControlAPI& revControl, int changelist, const std::string& file, BurnerConfig& config)
    {
        return ConfigLoad::SaveConfig(revControl, changelist, Path(file).c_str(), config);
    }

    std::unique_ptr<RevControlAPI> m_pLocal = RevControlAPI::Create("", RevisionControlLocal);
};
} // namespace

TEST_F(SaveConfigTest, WritesOnlyWhatDiffersAsLuaConfigWritesIt)
{
    BurnerConfig config = Load("gen/units/tank/tank.sgm");
    Set(config, "dxtc", "1");
    Set(config, "write_all_mips", "Yes"); // the level above has "yes"
    Set(config, "mips_to_skip", "1");     // as the level above
    ASSERT_TRUE(Save(*m_pLocal, 0, "gen/units/tank/tank.sgm", config));
    EXPECT_EQ("burn_params =  \r\n{\r\n"
              "\t \r\n\t{\r\n"
              "\t\tname = \"models\",\r\n"
              "\t\ttargets =  \r\n\t\t{\r\n"
              "\t\t\t \r\n\t\t\t{\r\n"
              "\t\t\t\tparams =  \r\n\t\t\t\t{\r\n"
              "\t\t\t\t\t \r\n\t\t\t\t\t{\r\n"
              "\t\t\t\t\t\t\"dxtc\",\r\n"
              "\t\t\t\t\t\t\"1\",\r\n"
              "\t\t\t\t\t},\r\n"
              "\t\t\t\t},\r\n"
              "\t\t\t\ttarget = \"final\",\r\n"
              "\t\t\t},\r\n"
              "\t\t},\r\n"
              "\t},\r\n"
              "}\r\n",
              Read("gen/units/tank/tank.sgm.burn"));
    EXPECT_FALSE(fs::exists(m_root / "gen/units/tank/tank.sgm.burn.tmp"));

    const BurnerConfig again = Load("gen/units/tank/tank.sgm");
    EXPECT_EQ("1", Param(again, "dxtc"));
    EXPECT_EQ("yes (default)", Param(again, "write_all_mips"));
    EXPECT_EQ("1 (default)", Param(again, "mips_to_skip"));
}

TEST_F(SaveConfigTest, AConfigurationEqualToItsParentLeavesNoFile)
{
    // A file under the folder whose mips_to_skip is "1", and that folder under the base's "0".
    struct Case
    {
        const char* file;
        const char* burnFile;
        const char* mips;
    };
    const Case cases[] = {{"gen/units/tank/tank.sgm", "gen/units/tank/tank.sgm.burn", "1"},
                          {"gen/units", "gen/units/_default.burn", "0"}};
    for (const Case& c : cases)
    {
        Write(c.burnFile, Override("dxtc", "3"));
        BurnerConfig config = Load(c.file);
        Set(config, "dxtc", "5");
        Set(config, "mips_to_skip", c.mips);
        EXPECT_TRUE(Save(*m_pLocal, 0, c.file, config)) << c.file;
        EXPECT_FALSE(fs::exists(m_root / c.burnFile)) << c.file;
    }
}

TEST_F(SaveConfigTest, RefusalsLeaveTheFilesAsTheyWere)
{
    LogCapture log;
    const std::string units = Read("gen/units/_default.burn");
    struct Case
    {
        const char* file;
        const char* param;
        const char* message; // on the channel "BURN"
    };
    const Case cases[] = {
        // The base holds the targets: the minimal form would lose them.
        {"gen", "dxtc", "is the base of its tree"},
        // The level above has no such parameter to compare with.
        {"gen/units", "sharpen", "Unable to load the parameter sharpen from input config file."},
        // Local mode cannot open a read-only file.
        {"gen/units", "dxtc", "for add or edit"},
    };
    fs::permissions(m_root / "gen/units/_default.burn", fs::perms(0444));
    for (const Case& c : cases)
    {
        BurnerConfig config = Load(c.file);
        Set(config, c.param, "2");
        EXPECT_FALSE(Save(*m_pLocal, 0, c.file, config)) << c.message;
        const LogCapture::Line* pLine = log.FindLine(c.message);
        ASSERT_NE(nullptr, pLine) << c.message;
        EXPECT_EQ(ConfigLoad::k_Channel, pLine->channel);
    }
    EXPECT_EQ(s_baseBurn, Read("gen/_default.burn"));
    EXPECT_EQ(units, Read("gen/units/_default.burn"));
}

namespace
{
// A stand-in Perforce client on PATH that logs each command line; "fstat" answers with the file's
// state under test.
class SaveThroughP4 : public SaveConfigTest
{
protected:
    std::unique_ptr<RevControlAPI> Client(const std::string& fstatReply)
    {
        fs::remove(m_bin / "calls.log");
        m_bin.Write("p4",
                    "#!/bin/sh\necho \"$*\" >> '" + m_bin / "calls.log" +
                        "'\ncase \"$*\" in\n"
                        "  *' info') echo 'info: User name: artist';;\n"
                        "  *' sync '*) echo 'error: file(s) up-to-date.';;\n"
                        "  *' fstat '*) " +
                        fstatReply +
                        ";;\n"
                        "  *' add '*) echo 'info: //depot/x#1 - opened for add';;\n"
                        "  *' revert '*) echo 'info: //depot/x#1 - was edit, reverted';;\n"
                        "  *' delete '*) echo 'info: //depot/x#1 - opened for delete';;\n"
                        "esac\necho 'exit: 0'\n",
                    fs::perms(0755));
        return RevControlAPI::Create("fake:1666", RevisionControlP4);
    }
    std::string Calls() const { return TempFolder::Read(m_bin / "calls.log"); }

    TempFolder m_bin;
    ScopedEnv m_path{"PATH", (m_bin.Path() + ":/usr/bin:/bin").c_str()};
    ScopedEnv m_client{"P4CLIENT", "artist-ws"};
    ScopedEnv m_user{"P4USER", "artist"};
};
} // namespace

TEST_F(SaveThroughP4, SyncsThenOpensOrAddsAndWrites)
{
    auto pP4 = Client("echo 'error: no such file(s).'");
    ASSERT_NE(nullptr, pP4);
    BurnerConfig config = Load("gen/units/tank/tank.sgm");
    Set(config, "dxtc", "1");
    ASSERT_TRUE(Save(*pP4, 42, "gen/units/tank/tank.sgm", config));
    const std::string tank = m_root / "gen/units/tank/tank.sgm";
    EXPECT_EQ("-s -p fake:1666 info\n-s -p fake:1666 sync " + tank + "\n-s -p fake:1666 add -c 42 " + tank +
                  ".burn\n",
              Calls());
    EXPECT_EQ("1", Param(Load("gen/units/tank/tank.sgm"), "dxtc"));
}

TEST_F(SaveThroughP4, RevertsOrDeletesByTheFilesState)
{
    const std::pair<const char*, const char*> cases[] = {
        // fstat's reply, and the commands that follow it
        {"echo 'info1: depotFile //depot/gen/units/_default.burn'; echo 'info1: headAction add'", "delete"},
        {"echo 'info1: action edit'", "revert delete"},
        {"echo 'info1: action add'", "revert"},
        {"echo 'info1: action delete'", ""},
    };
    const std::string file = m_root / "gen/units/_default.burn";
    for (const auto& [fstat, commands] : cases)
    {
        auto pP4 = Client(fstat);
        ASSERT_NE(nullptr, pP4);
        Write("gen/units/_default.burn", Override("dxtc", "5"));
        BurnerConfig config = Load("gen/units");
        ASSERT_TRUE(Save(*pP4, 42, "gen/units", config)) << fstat;
        std::string expected = "-s -p fake:1666 info\n-s -p fake:1666 fstat " + file + "\n";
        for (const std::string command : {"revert", "delete"})
            if (std::string(commands).find(command) != std::string::npos)
                expected += "-s -p fake:1666 " + command + " -c 42 " + file + "\n";
        EXPECT_EQ(expected, Calls()) << fstat;
        // The stand-in leaves the file on the disk; the save removes it.
        EXPECT_FALSE(fs::exists(file)) << fstat;
    }
}
