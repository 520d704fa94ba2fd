// The workstation's Perforce connection: the tagged output of "p4 -s" turned into ClientUser
// calls, and a stand-in client program run as the real one would be.
#include "support/tempfolder.h"
#include "revcontrol/p4commandclient.h"
#include <gtest/gtest.h>

namespace
{
using Calls = std::vector<std::string>;

// Keeps every call in the order it came, as "kind:text".
class RecordingUser final : public ClientUser
{
public:
    void OutputError(const char* errBuf) override { m_cCalls.push_back(std::string("error:") + errBuf); }
    void OutputInfo(char level, const char* data) override { m_cCalls.push_back(std::string("info") + level + ":" + data); }
    void OutputText(const char* data, int length) override { m_cCalls.push_back("text:" + std::string(data, size_t(length))); }
    void Finished() override { ++m_finished; }

    Calls m_cCalls;
    int m_finished = 0;
};

// A stand-in client: logs its arguments, one call a line, and runs `body` to answer.
std::string WriteFakeClient(const TempFolder& folder, const std::string& body)
{
    return folder.Write("p4", "#!/bin/sh\necho \"$*\" >> '" + folder / "calls.log" + "'\n" + body, std::filesystem::perms(0755));
}

// Runs `command` with `args` and gives the calls it made.
Calls RunOn(P4CommandClient& client, const char* command, std::vector<const char*> args)
{
    RecordingUser user;
    client.SetArgv(int(args.size()), args.data());
    client.Run(command, &user);
    EXPECT_EQ(1, user.m_finished);
    return user.m_cCalls;
}
} // namespace

TEST(P4TaggedOutput, EachTagBecomesItsCall)
{
    const std::tuple<const char*, int, Calls> cases[] = {
        {"info: a.sgm#1 - opened for edit\ninfo1: depotFile //a.sgm\nwarning: also opened by bob\nerror: not on client.\ntext: line\nexit: 1\n",
         1, {"info0:a.sgm#1 - opened for edit", "info1:depotFile //a.sgm", "error:also opened by bob", "error:not on client.", "text:line"}},
        // Untagged lines continue the message before them.
        {"info: Change 77 *pending*\r\n\r\n\tSGM Export Changes\r\n\r\ninfo: Change 78\nexit: 0\n", 0,
         {"info0:Change 77 *pending*\n\n\tSGM Export Changes", "info0:Change 78"}},
        // Text outside the protocol is an error; tags that only look like ours are not ours.
        {"p4: command not understood\nsecond line", -1, {"error:p4: command not understood\nsecond line"}},
        {"info12: x\ninfox: y\n", -1, {"error:info12: x\ninfox: y"}},
        {"info:bare\nexit: 0\n", 0, {"info0:bare"}}, // the blank after the tag is optional
    };
    for (const auto& [output, exitCode, calls] : cases)
    {
        RecordingUser user;
        EXPECT_EQ(exitCode, DeliverTaggedOutput(output, user)) << output;
        EXPECT_EQ(calls, user.m_cCalls);
    }
}

TEST(P4CommandClient, ConnectionsThatFail)
{
    TempFolder folder;
    // The stand-in's answer, the port, and what Init reports.
    const std::tuple<const char*, const char*, const char*> cases[] = {
        {nullptr, "", "could not be run"},
        {"echo 'error: Perforce client error:'\nprintf '\\tConnect to server failed; check $P4PORT.\\n'\necho 'exit: 1'\nexit 1\n",
         "nowhere:1666", "Perforce server nowhere:1666 did not answer: Perforce client error:\n\tConnect to server failed"},
        {"echo 'exit: 0'\nexit 3\n", "", "Perforce server (P4PORT) did not answer: '"},
        {"echo 'error: no such user'\necho 'exit: 0'\n", "", "did not answer: no such user"},
    };
    for (const auto& [body, port, reason] : cases)
    {
        P4CommandClient client(body != nullptr ? WriteFakeClient(folder, body) : folder / "no-such-p4");
        client.SetPort(port);
        ClientError e;
        client.Init(&e);
        EXPECT_TRUE(client.Dropped() != 0 && e.Test());
        EXPECT_NE(std::string::npos, e.text.find(reason)) << e.text;
        const Calls calls = RunOn(client, "edit", {"a.sgm"});
        EXPECT_TRUE(body != nullptr || (calls.size() == 1 && calls[0].rfind("error:", 0) == 0));
    }
    EXPECT_EQ("-s -p nowhere:1666 info\n-s -p nowhere:1666 edit a.sgm\n-s info\n-s edit a.sgm\n-s info\n-s edit a.sgm\n",
              TempFolder::Read(folder / "calls.log"));
}

TEST(P4CommandClient, RunsTheCommandWithLocalNamesAndDropsWhenTheServerGoes)
{
    TempFolder folder;
    P4CommandClient client(WriteFakeClient(folder, "case \"$*\" in\n  *' info') echo 'exit: 0';;\n  *' edit '*) echo \"info: //$5#1 - opened\";;\n"
                                                   "  *) echo 'error: Connect to server failed.';;\nesac\n"));
    client.SetPort("perforce:1666");
    ClientError e;
    client.Init(&e);
    ASSERT_EQ(0, client.Dropped()) << e.text;
    EXPECT_EQ(Calls{"info0://art/units/a.sgm#1 - opened"}, RunOn(client, "edit", {"art\\units\\a.sgm"}));
    EXPECT_TRUE(client.Dropped() == 0 && RunOn(client, "opened", {}).size() == 1u && client.Dropped() != 0);
}

TEST(P4CommandClient, ClientAndUserFromSettingsWhenTheEnvironmentHasNone)
{
    TempFolder folder;
    P4CommandClient client(WriteFakeClient(folder, "[ \"$1\" = set ] && printf 'P4CLIENTPATH=/x (set)\\nP4CLIENT=artist-ws (set)\\nP4USER=artist\\n'\n"));
    ScopedEnv c("P4CLIENT", nullptr), u("P4USER", "");
    EXPECT_EQ("artist-ws artist", client.GetClient() + " " + client.GetUser());
}
