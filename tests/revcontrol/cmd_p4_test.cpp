// tq7z p4 run end to end against a stand-in "p4" program put first on PATH.
#include "support/runtool.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace
{
namespace fs = std::filesystem;

// A tree whose pipeline.ini names a server, and a bin folder for the stand-in client.
class CmdP4Test : public ::testing::Test
{
protected:
    void SetUp() override
    {
        m_tree.Write("pipeline.ini",
                     "[p4]\r\nRevControlPort=fake:1666\r\n"
                     "[project:art]\r\nDataSource=src\r\nDataSourceShared=\r\nDataBurn=\r\n"
                     "DataIntermediate=\r\nDataGeneric=gen\r\nDataFinal=final\r\nDataPreview=\r\n"
                     "LocaleFolder=\r\nAttrLoc=\r\nParent=\r\n");
        m_file = m_tree.Write("final/units/tank.tqm", "final data");
    }

    // The stand-in answers each command by its words; every call is logged.
    void WriteClient(const std::string& cases)
    {
        m_bin.Write("p4",
                    "#!/bin/sh\n"
                    "echo \"$*\" >> " +
                        Quote(m_bin / "calls.log") +
                        "\n"
                        "case \"$*\" in\n"
                        "  *' info') echo 'info: User name: artist'; echo 'exit: 0';;\n" +
                        cases +
                        "  *) echo \"error: unexpected command: $*\"; echo 'exit: 1';;\n"
                        "esac\n",
                    fs::perms(0755));
    }
    std::vector<std::string> Env() const
    {
        return {"PATH=" + m_bin.Path() + ":/usr/bin:/bin", "P4CLIENT=artist-ws", "P4USER=artist"};
    }
    std::string Calls() const { return TempFolder::Read(m_bin / "calls.log"); }

    TempFolder m_tree;
    TempFolder m_bin;
    std::string m_file;
};
} // namespace

TEST_F(CmdP4Test, OpenOrAddMakesTheChangelistAndAddsTheFile)
{
    WriteClient("  *'changes -c artist-ws -s pending -l') echo 'exit: 0';;\n"
                "  *'change -i') cat > " +
                Quote(m_bin / "form.txt") +
                "; echo 'info: Change 42 created.'; echo 'exit: 0';;\n"
                "  *' add -c 42 '*) echo \"info: //depot/final/units/tank.tqm#1 - opened for add\"; echo "
                "'exit: 0';;\n");
    ToolRun run = RunTool({"p4", "openoradd", m_file}, Env());
    EXPECT_EQ(0, run.status) << run.err;
    EXPECT_EQ(m_file + ": opened in changelist 42\n", run.out);
    EXPECT_EQ("-s -p fake:1666 info\n"
              "-s -p fake:1666 changes -c artist-ws -s pending -l\n"
              "-s -p fake:1666 change -i\n"
              "-s -p fake:1666 add -c 42 " +
                  m_file + "\n",
              Calls());
    EXPECT_EQ("Change: new\nClient: artist-ws\nUser: artist\nStatus: new\nDescription: SGM Export Changes",
              TempFolder::Read(m_bin / "form.txt"));
}

TEST_F(CmdP4Test, OpenOrAddRefusesAFileOpenedInAnotherChangelist)
{
    WriteClient(
        "  *'changes -c artist-ws -s pending -l') printf 'info: Change 7 on 2024/01/02 by artist@artist-ws "
        "*pending*\\n\\n\\tSGM Export Changes\\n'; echo 'exit: 0';;\n"
        "  *' add -c 7 '*) echo 'error: //depot/final/units/tank.tqm - can'\"'\"'t add existing file'; "
        "echo 'exit: 1';;\n"
        "  *' fstat '*) echo 'info1: depotFile //depot/final/units/tank.tqm'; echo 'info1: action edit'; "
        "echo 'info1: change 9'; echo 'exit: 0';;\n"
        "  *' opened -c 7 '*) echo 'error: tank.tqm - file(s) not opened on this client.'; echo 'exit: "
        "0';;\n");
    ToolRun run = RunTool({"p4", "openoradd", m_file}, Env());
    EXPECT_EQ(1, run.status);
    EXPECT_EQ("", run.out);
    EXPECT_NE(std::string::npos, run.err.find("PerforceMS: Could not open or add requested file!"))
        << run.err;
    EXPECT_NE(std::string::npos, run.err.find("opened in another changelist")) << run.err;
}

TEST_F(CmdP4Test, StatusThroughTheServer)
{
    WriteClient("  *' fstat '*) echo 'info1: depotFile //depot/final/units/tank.tqm'; "
                "echo 'info1: headType binary+l'; echo 'info1: otherOpen0 bob@bob-ws'; "
                "echo 'info1: otherAction0 edit'; echo 'exit: 0';;\n");
    ToolRun run = RunTool({"p4", "status", m_file}, Env());
    EXPECT_EQ(0, run.status) << run.err;
    EXPECT_EQ("4 held by another user\n", run.out);
}

TEST_F(CmdP4Test, ServerThatDoesNotAnswerFallsBackToLocalMode)
{
    m_bin.Write("p4",
                "#!/bin/sh\necho 'error: Connect to server failed; check $P4PORT.'\necho 'exit: 1'\nexit 1\n",
                fs::perms(0755));
    ToolRun run = RunTool({"p4", "openoradd", m_file}, Env());
    EXPECT_EQ(0, run.status) << run.err;
    EXPECT_EQ(m_file + ": writable (local mode)\n", run.out);
    EXPECT_NE(std::string::npos, run.err.find("RevControlP4::Initialize failed")) << run.err;

    // With no client on PATH at all, the same; a read-only file cannot be opened then.
    fs::remove(m_bin / "p4");
    fs::permissions(m_file, fs::perms(0444));
    run = RunTool({"p4", "openoradd", m_file}, Env());
    EXPECT_EQ(1, run.status);
    EXPECT_NE(std::string::npos, run.err.find("PerforceMS: Could not open or add requested file!"))
        << run.err;
    run = RunTool({"p4", "status", m_file}, Env());
    EXPECT_EQ("1 read-only (local mode)\n", run.out);
}

TEST_F(CmdP4Test, PortComesFromPipelineIniOrTheCommandLine)
{
    // No [p4] key: the tools' message.
    m_tree.Write("pipeline.ini", "[project:art]\r\nDataSource=src\r\nDataSourceShared=\r\nDataBurn=\r\n"
                                 "DataIntermediate=\r\nDataGeneric=gen\r\nDataFinal=final\r\nDataPreview=\r\n"
                                 "LocaleFolder=\r\nAttrLoc=\r\nParent=\r\n");
    ToolRun run = RunTool({"p4", "status", m_file}, Env());
    EXPECT_EQ(1, run.status);
    EXPECT_NE(std::string::npos,
              run.err.find("PerforceMS: 'RevControlPort' not listed under [p4] in pipeline.ini"));

    // An empty --port is local mode, and needs no pipeline.ini.
    TempFolder loose;
    const std::string file = loose.Write("loose.txt", "x");
    run = RunTool({"p4", "status", "--port", "", file}, Env());
    EXPECT_EQ(0, run.status) << run.err;
    EXPECT_EQ("0 writable (local mode)\n", run.out);

    run = RunTool({"p4", "status", file}, Env());
    EXPECT_EQ(1, run.status);
    EXPECT_NE(std::string::npos, run.err.find("no usable pipeline.ini")) << run.err;
}
