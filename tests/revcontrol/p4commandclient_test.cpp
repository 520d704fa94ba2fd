// The workstation's Perforce connection: the tagged output of "p4 -s" turned into ClientUser
// calls, and a stand-in client program run as the real one would be.
#include "support/tempfolder.h"

#include "revcontrol/p4commandclient.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

namespace
{
// Keeps every call in the order it came, as "kind:text".
class RecordingUser final : public ClientUser
{
public:
    void InputData(std::string& buffer, ClientError*) override { buffer += m_input; }
    void OutputError(const char* errBuf) override { m_cCalls.push_back(std::string("error:") + errBuf); }
    void OutputInfo(char level, const char* data) override
    {
        m_cCalls.push_back(std::string("info") + level + ":" + data);
    }
    void OutputText(const char* data, int length) override
    {
        m_cCalls.push_back("text:" + std::string(data, size_t(length)));
    }
    void Finished() override { ++m_finished; }

    std::string m_input;
    std::vector<std::string> m_cCalls;
    int m_finished = 0;
};

using Calls = std::vector<std::string>;

// A stand-in client: logs its arguments, one call a line, copies its standard input to a file,
// and runs `body` to answer.
std::string WriteFakeClient(const TempFolder& folder, const std::string& body)
{
    std::string script = "#!/bin/sh\n"
                         "echo \"$*\" >> '" +
                         folder / "calls.log" +
                         "'\n"
                         "case \"$*\" in *' -i'*) cat > '" +
                         folder / "input.txt" + "';; esac\n" + body;
    return folder.Write("p4", script, std::filesystem::perms(0755));
}
} // namespace

TEST(P4TaggedOutput, EachTagBecomesItsCall)
{
    struct Case
    {
        const char* output;
        int exitCode;
        Calls calls;
    };
    const Case cases[] = {
        {"info: //depot/a.sgm#1 - opened for edit\ninfo1: depotFile //depot/a.sgm\n"
         "warning: a.sgm - also opened by bob@bob-ws\nerror: b.sgm - file(s) not on client.\n"
         "text: line of a file\nexit: 1\n",
         1,
         {"info0://depot/a.sgm#1 - opened for edit", "info1:depotFile //depot/a.sgm",
          "error:a.sgm - also opened by bob@bob-ws", "error:b.sgm - file(s) not on client.",
          "text:line of a file"}},
        // Untagged lines continue the message before them.
        {"info: Change 77 by artist@ws *pending*\r\n\r\n\tSGM Export Changes\r\n\r\n"
         "info: Change 78 by artist@ws *pending*\nexit: 0\n",
         0,
         {"info0:Change 77 by artist@ws *pending*\n\n\tSGM Export Changes",
          "info0:Change 78 by artist@ws *pending*"}},
        // Text outside the protocol is an error; tags that only look like ours are not ours.
        {"p4: command not understood\nsecond line", -1, {"error:p4: command not understood\nsecond line"}},
        {"info12: x\ninfox: y\n", -1, {"error:info12: x\ninfox: y"}},
        {"", -1, {}},
    };
    for (const Case& c : cases)
    {
        RecordingUser user;
        EXPECT_EQ(c.exitCode, DeliverTaggedOutput(c.output, user)) << c.output;
        EXPECT_EQ(c.calls, user.m_cCalls);
    }
}

TEST(P4ClientUser, DefaultRoutingOfMessagesAndTaggedVariables)
{
    RecordingUser user;
    ClientError info;
    info.Set(ClientError::E_INFO, "Change 5 deleted.");
    ClientError warning;
    warning.Set(ClientError::E_WARN, "file(s) up-to-date.");
    user.HandleError(&info);
    user.Message(&warning);
    user.ClientUser::OutputStat(
        StatVars{{"func", "fstat"}, {"depotFile", "//depot/a.sgm"}, {"action", "edit"}});
    EXPECT_EQ((Calls{"info0:Change 5 deleted.", "error:file(s) up-to-date.", "info0:depotFile //depot/a.sgm",
                     "info0:action edit"}),
              user.m_cCalls);
    EXPECT_FALSE(info.Test());
    EXPECT_TRUE(warning.Test());
}

TEST(P4CommandClient, MissingProgramLeavesTheConnectionDropped)
{
    TempFolder folder;
    P4CommandClient client(folder / "no-such-p4");
    ClientError e;
    client.Init(&e);
    EXPECT_NE(0, client.Dropped());
    EXPECT_TRUE(e.Test());
    EXPECT_NE(std::string::npos, e.text.find("could not be run")) << e.text;

    RecordingUser user;
    const char* args[] = {"a.sgm"};
    client.SetArgv(1, args);
    client.Run("edit", &user);
    ASSERT_EQ(1u, user.m_cCalls.size());
    EXPECT_EQ(0u, user.m_cCalls[0].rfind("error:", 0));
    EXPECT_EQ(1, user.m_finished);
}

TEST(P4CommandClient, ServerThatDoesNotAnswerFailsInit)
{
    TempFolder folder;
    std::string program = WriteFakeClient(folder, "echo 'error: Perforce client error:'\n"
                                                  "printf '\\tConnect to server failed; check $P4PORT.\\n'\n"
                                                  "echo 'exit: 1'\nexit 1\n");
    P4CommandClient client(program);
    client.SetPort("nowhere:1666");
    ClientError e;
    client.Init(&e);
    EXPECT_NE(0, client.Dropped());
    EXPECT_NE(std::string::npos, e.text.find("nowhere:1666")) << e.text;
    EXPECT_NE(std::string::npos, e.text.find("Connect to server failed")) << e.text;
    EXPECT_EQ("-s -p nowhere:1666 info\n", TempFolder::Read(folder / "calls.log"));
}

TEST(P4CommandClient, RunsTheCommandWithLocalNamesAndInput)
{
    TempFolder folder;
    std::string program =
        WriteFakeClient(folder, "case \"$*\" in\n"
                                "  *' info') echo 'info: User name: artist'; echo 'exit: 0';;\n"
                                "  *' edit '*) echo \"info: //depot/$5#1 - opened for edit\";"
                                " echo 'exit: 0';;\n"
                                "  *'change -i') echo 'info: Change 31 created.'; echo 'exit: 0';;\n"
                                "esac\n");
    P4CommandClient client(program);
    client.SetPort("perforce:1666");
    ClientError e;
    client.Init(&e);
    ASSERT_EQ(0, client.Dropped()) << e.text;

    RecordingUser edit;
    const char* editArgs[] = {"art\\units\\a.sgm"};
    client.SetArgv(1, editArgs);
    client.Run("edit", &edit);
    EXPECT_EQ((Calls{"info0://depot/art/units/a.sgm#1 - opened for edit"}), edit.m_cCalls);

    RecordingUser change;
    change.m_input = "Change: new\nClient: ws\nUser: artist\nStatus: new\nDescription: SGM Export Changes";
    const char* changeArgs[] = {"-i"};
    client.SetArgv(1, changeArgs);
    client.Run("change", &change);
    EXPECT_EQ((Calls{"info0:Change 31 created."}), change.m_cCalls);
    EXPECT_EQ(change.m_input, TempFolder::Read(folder / "input.txt"));

    EXPECT_EQ(
        "-s -p perforce:1666 info\n-s -p perforce:1666 edit art/units/a.sgm\n-s -p perforce:1666 change -i\n",
        TempFolder::Read(folder / "calls.log"));
}

TEST(P4CommandClient, LostServerDuringACommandDropsTheConnection)
{
    TempFolder folder;
    std::string program = WriteFakeClient(folder, "case \"$*\" in\n"
                                                  "  *info) echo 'exit: 0';;\n"
                                                  "  *) echo 'error: Perforce client error:'; "
                                                  "printf '\\tConnect to server failed; check $P4PORT.\\n'; "
                                                  "echo 'exit: 1';;\n"
                                                  "esac\n");
    P4CommandClient client(program);
    ClientError e;
    client.Init(&e);
    ASSERT_EQ(0, client.Dropped());
    RecordingUser user;
    client.SetArgv(0, nullptr);
    client.Run("opened", &user);
    EXPECT_NE(0, client.Dropped());
    ASSERT_EQ(1u, user.m_cCalls.size());
}

TEST(P4CommandClient, ClientAndUserFromEnvironmentThenFromSettings)
{
    TempFolder folder;
    std::string program = WriteFakeClient(folder, "if [ \"$1\" = set ]; then\n"
                                                  "  echo 'P4CLIENTPATH=/x (set)'\n"
                                                  "  echo 'P4CLIENT=artist-ws (set)'\n"
                                                  "  echo 'P4USER=artist'\n"
                                                  "fi\n");
    P4CommandClient client(program);
    {
        ScopedEnv c("P4CLIENT", "env-ws");
        ScopedEnv u("P4USER", "env-user");
        EXPECT_EQ("env-ws", client.GetClient());
        EXPECT_EQ("env-user", client.GetUser());
    }
    ScopedEnv c("P4CLIENT", nullptr);
    ScopedEnv u("P4USER", nullptr);
    EXPECT_EQ("artist-ws", client.GetClient());
    EXPECT_EQ("artist", client.GetUser());
}
