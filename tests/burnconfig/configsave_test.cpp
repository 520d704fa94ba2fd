// Saving: the minimal file of what differs from the level above, written through revision control,
// and the file removed when nothing differs; in local mode and through a stand-in "p4" on PATH.
#include "burntree.h"

#include "revcontrol/revcontrolapi.h"
#include "support/logcapture.h"

#include <gtest/gtest.h>

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
        Write("gen/units/_default.burn", Override("models", "final", "mips_to_skip", "1"));
        m_pLocal = RevControlAPI::Create("", RevisionControlLocal);
        ASSERT_NE(nullptr, m_pLocal);
    }

    BurnerConfig Load(const std::string& file)
    {
        BurnerConfig config;
        BurnerResults results;
        EXPECT_TRUE(ConfigLoad::LoadConfig(Path(file).c_str(), config, results)) << Texts(results);
        return config;
    }
    static void Set(BurnerConfig& config, const char* group, const char* target, const char* name,
                    const char* value)
    {
        ASSERT_TRUE(
            config.SetParam(config.FindTarget(group, target), BurnerConfig::Param{name, value, false}));
    }

    std::unique_ptr<RevControlAPI> m_pLocal;
};
} // namespace

TEST_F(SaveConfigTest, WritesOnlyWhatDiffersInTheLuaConfigText)
{
    BurnerConfig config = Load("gen/units/tank/tank.sgm");
    Set(config, "models", "final", "dxtc", "1");
    Set(config, "models", "final", "write_all_mips", "Yes"); // the level above says "yes"
    Set(config, "models", "final", "mips_to_skip", "1");     // as the level above
    Set(config, "copy", "copy", "read_only", "no");
    ASSERT_TRUE(ConfigLoad::SaveConfig(*m_pLocal, 0, Path("gen/units/tank/tank.sgm").c_str(), config));

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
              "\t \r\n\t{\r\n"
              "\t\tname = \"copy\",\r\n"
              "\t\ttargets =  \r\n\t\t{\r\n"
              "\t\t\t \r\n\t\t\t{\r\n"
              "\t\t\t\tparams =  \r\n\t\t\t\t{\r\n"
              "\t\t\t\t\t \r\n\t\t\t\t\t{\r\n"
              "\t\t\t\t\t\t\"read_only\",\r\n"
              "\t\t\t\t\t\t\"no\",\r\n"
              "\t\t\t\t\t},\r\n"
              "\t\t\t\t},\r\n"
              "\t\t\t\ttarget = \"copy\",\r\n"
              "\t\t\t},\r\n"
              "\t\t},\r\n"
              "\t},\r\n"
              "}\r\n",
              Read("gen/units/tank/tank.sgm.burn"));
    EXPECT_FALSE(fs::exists(m_root / "gen/units/tank/tank.sgm.burn.tmp"));

    // Read back, the file gives the same configuration.
    const BurnerConfig again = Load("gen/units/tank/tank.sgm");
    EXPECT_EQ("1", Param(again, "models", "final", "dxtc"));
    EXPECT_EQ("yes (default)", Param(again, "models", "final", "write_all_mips"));
    EXPECT_EQ("1 (default)", Param(again, "models", "final", "mips_to_skip"));
    EXPECT_EQ("no", Param(again, "copy", "copy", "read_only"));
    EXPECT_EQ("1 (default)", Param(again, "models", "preview", "dxtc"));
}

TEST_F(SaveConfigTest, AConfigurationEqualToItsParentLeavesNoFile)
{
    struct Case
    {
        const char* file;     // the file or folder saved
        const char* burnFile; // its configuration
        const char* value;    // mips_to_skip before the save: its parent has "1", the base "0"
    };
    const Case cases[] = {
        {"gen/units/tank/tank.sgm", "gen/units/tank/tank.sgm.burn", "1"},
        {"gen/units", "gen/units/_default.burn", "0"},
    };
    for (const Case& c : cases)
    {
        Write(c.burnFile, Override("models", "final", "dxtc", "3"));
        BurnerConfig config = Load(c.file);
        Set(config, "models", "final", "dxtc", "5");
        Set(config, "models", "final", "mips_to_skip", c.value);
        EXPECT_TRUE(ConfigLoad::SaveConfig(*m_pLocal, 0, Path(c.file).c_str(), config)) << c.file;
        EXPECT_FALSE(fs::exists(m_root / c.burnFile)) << c.file;
        EXPECT_FALSE(config.HasOverrides());
    }
}

TEST_F(SaveConfigTest, RefusalsLeaveTheFilesAsTheyWere)
{
    LogCapture log;
    const std::string base = Read("gen/_default.burn");
    const std::string units = Read("gen/units/_default.burn");

    // The base holds the targets: it is not written in the minimal form.
    BurnerConfig top = Load("gen");
    Set(top, "models", "final", "dxtc", "1");
    EXPECT_FALSE(ConfigLoad::SaveConfig(*m_pLocal, 0, Path("gen").c_str(), top));
    EXPECT_TRUE(log.Has("is the base of its tree")) << log.Size();

    // A parameter that the level above does not have cannot be validated.
    BurnerConfig stray = Load("gen/units");
    Set(stray, "models", "final", "sharpen", "1");
    EXPECT_FALSE(ConfigLoad::SaveConfig(*m_pLocal, 0, Path("gen/units").c_str(), stray));
    EXPECT_TRUE(log.Has("Unable to load the parameter sharpen from input config file."));
    EXPECT_TRUE(log.Has("Unable to validate burner configuration " + Path("gen/units/_default.burn") +
                        " against its parent."));

    // A read-only file cannot be opened in local mode.
    fs::permissions(m_root / "gen/units/_default.burn", fs::perms(0444));
    BurnerConfig readOnly = Load("gen/units");
    Set(readOnly, "models", "final", "dxtc", "2");
    EXPECT_FALSE(ConfigLoad::SaveConfig(*m_pLocal, 0, Path("gen/units").c_str(), readOnly));
    EXPECT_TRUE(log.Has("Unable to open " + Path("gen/units/_default.burn") + " for add or edit"));
    const LogCapture::Line* pLine = log.FindLine("for add or edit");
    ASSERT_NE(nullptr, pLine);
    EXPECT_EQ(ConfigLoad::k_Channel, pLine->channel);

    EXPECT_EQ(base, Read("gen/_default.burn"));
    EXPECT_EQ(units, Read("gen/units/_default.burn"));
}

namespace
{
// A stand-in Perforce client on PATH: it logs each command line and answers "fstat" with the
// file's state under test.
class SaveThroughP4 : public SaveConfigTest
{
protected:
    void WriteClient(const std::string& fstatReply)
    {
        m_bin.Write("p4",
                    "#!/bin/sh\n"
                    "echo \"$*\" >> " +
                        Quote(m_bin / "calls.log") +
                        "\n"
                        "case \"$*\" in\n"
                        "  *' info') echo 'info: User name: artist'; echo 'exit: 0';;\n"
                        "  *' sync '*) echo 'error: file(s) up-to-date.'; echo 'exit: 0';;\n"
                        "  *' fstat '*) " +
                        fstatReply +
                        " echo 'exit: 0';;\n"
                        "  *' add '*) echo 'info: //depot/x#1 - opened for add'; echo 'exit: 0';;\n"
                        "  *' revert '*) echo 'info: //depot/x#1 - was edit, reverted'; echo 'exit: 0';;\n"
                        "  *' delete '*) echo 'info: //depot/x#1 - opened for delete'; echo 'exit: 0';;\n"
                        "  *) echo \"error: unexpected command: $*\"; echo 'exit: 1';;\n"
                        "esac\n",
                    fs::perms(0755));
    }
    static std::string Quote(const std::string& text) { return "'" + text + "'"; }
    std::string Calls() const { return TempFolder::Read(m_bin / "calls.log"); }

    TempFolder m_bin;
    ScopedEnv m_path{"PATH", (m_bin.Path() + ":/usr/bin:/bin").c_str()};
    ScopedEnv m_client{"P4CLIENT", "artist-ws"};
    ScopedEnv m_user{"P4USER", "artist"};
};
} // namespace

TEST_F(SaveThroughP4, OpensOrAddsAndWrites)
{
    WriteClient("echo 'error: no such file(s).';");
    auto pP4 = RevControlAPI::Create("fake:1666", RevisionControlP4);
    ASSERT_NE(nullptr, pP4);
    BurnerConfig config = Load("gen/units/tank/tank.sgm");
    Set(config, "models", "final", "dxtc", "1");
    ASSERT_TRUE(ConfigLoad::SaveConfig(*pP4, 42, Path("gen/units/tank/tank.sgm").c_str(), config));
    const std::string tank = m_root / "gen/units/tank/tank.sgm";
    EXPECT_EQ("-s -p fake:1666 info\n"
              "-s -p fake:1666 sync " +
                  tank +
                  "\n"
                  "-s -p fake:1666 add -c 42 " +
                  tank + ".burn\n",
              Calls());
    EXPECT_EQ("1", Param(Load("gen/units/tank/tank.sgm"), "models", "final", "dxtc"));
}

TEST_F(SaveThroughP4, RevertsOrDeletesByTheFilesState)
{
    struct Case
    {
        const char* fstat;
        const char* commands; // behind the fstat, each with "-c 42" and the file
    };
    const Case cases[] = {
        {"echo 'info1: depotFile //depot/gen/units/_default.burn'; echo 'info1: headAction add';", "delete"},
        {"echo 'info1: action edit';", "revert delete"},
        {"echo 'info1: action add';", "revert"},
        {"echo 'info1: action delete';", ""},
    };
    for (const Case& c : cases)
    {
        fs::remove(m_bin / "calls.log");
        WriteClient(c.fstat);
        const std::string burn = Write("gen/units/_default.burn", Override("models", "final", "dxtc", "5"));
        auto pP4 = RevControlAPI::Create("fake:1666", RevisionControlP4);
        ASSERT_NE(nullptr, pP4);
        BurnerConfig config = Load("gen/units");
        ASSERT_TRUE(ConfigLoad::SaveConfig(*pP4, 42, Path("gen/units").c_str(), config)) << c.fstat;

        const std::string file = m_root / "gen/units/_default.burn";
        std::string expected = "-s -p fake:1666 info\n-s -p fake:1666 fstat " + file + "\n";
        for (const std::string& command : {std::string("revert"), std::string("delete")})
        {
            if (std::string(c.commands).find(command) != std::string::npos)
                expected += "-s -p fake:1666 " + command + " -c 42 " + file + "\n";
        }
        EXPECT_EQ(expected, Calls()) << c.fstat;
        // The stand-in leaves the file on the disk; the save removes it.
        EXPECT_FALSE(fs::exists(file)) << c.fstat;
    }
}
