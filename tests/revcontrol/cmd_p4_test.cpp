// tq7z p4 run end to end against a stand-in "p4" program put first on PATH.
#include "support/runtool.h"
#include <gtest/gtest.h>

TEST(CmdP4, OpenOrAddAndStatusThroughTheServerOrInLocalMode)
{
    namespace fs = std::filesystem;
    const std::string project = "[project:art]\r\nDataSource=src\r\nDataSourceShared=\r\nDataBurn=\r\nDataIntermediate=\r\n"
                                "DataGeneric=gen\r\nDataFinal=final\r\nDataPreview=\r\nLocaleFolder=\r\nAttrLoc=\r\nParent=\r\n";
    TempFolder tree, bin;
    tree.Write("pipeline.ini", "[p4]\r\nRevControlPort=fake:1666\r\n" + project);
    const std::string file = tree.Write("final/units/tank.tqm", "final data");
    // The stand-in answers each command by its words and logs every call.
    auto client = [&](const std::string& cases)
    {
        bin.Write("p4", "#!/bin/sh\necho \"$*\" >> " + Quote(bin / "calls.log") + "\ncase \"$*\" in\n  *' info') echo 'exit: 0';;\n" +
                            cases + "  *) echo \"error: unexpected command: $*\"; echo 'exit: 1';;\nesac\n",
                  fs::perms(0755));
    };
    auto run = [&](const char* command, std::vector<std::string> args = {})
    {
        args.insert(args.begin(), {"p4", command}), args.push_back(file);
        return RunTool(args, {"PATH=" + bin.Path() + ":/usr/bin:/bin", "P4CLIENT=artist-ws", "P4USER=artist"});
    };
    const std::string changes = "  *'changes -c artist-ws -s pending -l') ";
    client(changes + "echo 'exit: 0';;\n  *'change -i') cat > " + Quote(bin / "form.txt") +
           "; echo 'info: Change 42 created.'; echo 'exit: 0';;\n  *' add -c 42 '*) echo 'info: x#1 - opened for add';;\n");
    ToolRun result = run("openoradd");
    EXPECT_EQ(std::pair(0, file + ": opened in changelist 42\n"), std::pair(result.status, result.out)) << result.err;
    EXPECT_EQ("-s -p fake:1666 info\n-s -p fake:1666 changes -c artist-ws -s pending -l\n-s -p fake:1666 change -i\n"
              "-s -p fake:1666 add -c 42 " + file + "\n",
              TempFolder::Read(bin / "calls.log"));
    EXPECT_EQ("Change: new\nClient: artist-ws\nUser: artist\nStatus: new\nDescription: SGM Export Changes",
              TempFolder::Read(bin / "form.txt"));
    client(changes + "printf 'info: Change 7 *pending*\\n\\n\\tSGM Export Changes\\n';;\n  *' add -c 7 '*) echo 'error: x - can'\"'\"'t add';;\n"
                     "  *' fstat '*) echo 'info1: action edit';;\n  *' opened -c 7 '*) echo 'error: x - file(s) not opened';;\n");
    result = run("openoradd");
    EXPECT_TRUE(result.status == 1 && result.out.empty());
    EXPECT_NE(std::string::npos, result.err.find("Could not open or add requested file!\n" + file + " is opened in another changelist"))
        << result.err;

    // A server that does not answer: local mode, which opens a writable file.
    bin.Write("p4", "#!/bin/sh\necho 'error: Connect to server failed; check $P4PORT.'\nexit 1\n", fs::perms(0755));
    result = run("openoradd");
    EXPECT_EQ(std::pair(0, file + ": writable (local mode)\n"), std::pair(result.status, result.out)) << result.err;
    EXPECT_NE(std::string::npos, result.err.find("RevControlP4::Initialize failed")) << result.err;
    // An empty --port is local mode too; a read-only file cannot be opened then.
    fs::permissions(file, fs::perms(0444));
    EXPECT_EQ(1, run("openoradd", {"--port", ""}).status);
    EXPECT_EQ("1 read-only (local mode)\n", run("status").out);
    // No [p4] key: the tools' message.
    tree.Write("pipeline.ini", project);
    result = run("status");
    EXPECT_TRUE(result.status == 1 && result.err.find("PerforceMS: 'RevControlPort' not listed under [p4] in pipeline.ini") != std::string::npos);
}
