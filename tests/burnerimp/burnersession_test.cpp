// The burner's side of the pipe, end to end over a real socket: the program started as the tool
// starts it (the pipe's path in the environment), the test playing the tool.
#include "burnproject.h"
#include "burner/burnermessages.h"
#include "burner/namedpipe.h"
#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/wait.h>
extern char** environ;

namespace
{
// The updates on the way to an answer, and that answer's last record.
struct Reply
{
    uint32 type = 0;
    std::vector<std::string> cUpdate;
    BurnerResultMsg result;
    BurnerResults records;
    std::string Last() const { return records.Count() > 0 ? records[records.Count() - 1].text : ""; }
};
class SessionTest : public ::testing::Test
{
protected:
    void Start(std::vector<const char*> args = {})
    {
        m_pServer = std::make_unique<NamedPipe>(NamedPipe::LocalPath(NamedPipe::PipeName), NamedPipe::Server);
        ASSERT_TRUE(m_pServer->Create());
        ScopedEnv env(NamedPipe::EnvironmentVariable, m_pServer->GetPath().c_str());
        args.insert(args.begin(), BURNERIMP_BINARY), args.push_back(nullptr);
        ASSERT_EQ(posix_spawn(&m_pid, BURNERIMP_BINARY, nullptr, nullptr, const_cast<char**>(args.data()), environ), 0);
        ASSERT_TRUE(m_pServer->Connect());
    }
    // Closing the tool's end ends the session: the program's exit status.
    int Stop()
    {
        m_pServer.reset();
        int status = 0;
        return waitpid(m_pid, &status, 0) == m_pid && WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }
    void TearDown() override { m_pServer != nullptr ? void(Stop()) : void(); }
    // Sends `msg` and reads until an answer other than an update comes, keeping the updates.
    template <class T> Reply Ask(const T& msg)
    {
        Reply reply;
        BurnerMessage answer;
        BurnerUpdateMsg update;
        BurnerErrorMsg error;
        EXPECT_TRUE(SendMessage(*m_pServer, msg));
        while (ReadMessage(*m_pServer, answer) && (reply.type = answer.GetType()) == BurnerUpdateMsg::MSG_TYPE && answer.Get(update))
            reply.cUpdate.push_back(update.results[0].text);
        const bool result = reply.type == BurnerResultMsg::MSG_TYPE;
        EXPECT_TRUE(result ? answer.Get(reply.result) : reply.type != BurnerErrorMsg::MSG_TYPE || answer.Get(error));
        return reply.records = result ? reply.result.results : error.results, reply;
    }
    static BurnerSetupMsg Setup(const std::string& config, uint32 version = BurnerProtocol::Version)
    {
        BurnerSetupMsg setup;
        EXPECT_TRUE(setup.SetConfigPath(config));
        return setup.protocolVersion = version, setup;
    }

    BurnProject m_project;
    std::unique_ptr<NamedPipe> m_pServer;
    pid_t m_pid = 0;
};
} // namespace

TEST_F(SessionTest, SetsUpBurnsWithProgressAndEndsWhenTheToolCloses)
{
    Start({"--threads", "2"});
    ASSERT_EQ(Ask(Setup(m_project.Ini())).type, BurnerReadyMsg::MSG_TYPE);
    // The models of "units", then the same again: all up to date.
    for (const int pass : {1, 2})
    {
        BurnRequestMsg request;
        ASSERT_TRUE(request.SetFolder(m_project.Gen("units")) && request.SetPattern(".*\\.sgm$"));
        const Reply reply = Ask(request);
        ASSERT_EQ(reply.type, BurnerResultMsg::MSG_TYPE) << pass;
        EXPECT_EQ(std::tuple(size_t(4), 3u, 0), std::tuple(reply.cUpdate.size(), reply.result.filesBurned, int(reply.result.flag)))
            << "four files, the broken model failed";
        // Each update names the file's first output: "2/4 units/u2/u2.tqm".
        EXPECT_EQ(1, std::count_if(reply.cUpdate.begin(), reply.cUpdate.end(), [](const std::string& u) { return u.find("/4 units/u2/u2.tqm") == 1; }));
        const std::string texts = Texts(reply.records);
        EXPECT_NE(texts.find("Error: BurnerImp -- units/broken/broken.sgm: does not load"), std::string::npos);
        EXPECT_NE(texts.find(pass == 1 ? "BurnerImp -- units/u2/u2.sgm: burned to units/u2/u2.tqm, units/u2/u2.tqe"
                                       : "BurnerImp -- units/u2/u2.sgm: up to date (models/final)"),
                  std::string::npos) << texts;
        EXPECT_EQ(reply.Last(), pass == 1 ? "BurnerImp -- 4 files: 3 burned, 0 up to date, 1 failed"
                                          : "BurnerImp -- 4 files: 0 burned, 3 up to date, 1 failed");
    }
    // A list of files burns them whatever the records say; an update list only what changed.
    BurnFileListMsg list;
    list.cFiles = {m_project.Gen("units/u0/u0.sgm"), m_project.Gen("readme.txt")};
    const Reply reply = Ask(list);
    EXPECT_EQ(std::pair(2u, 1), std::pair(reply.result.filesBurned, int(reply.result.flag)));
    EXPECT_EQ(reply.Last(), "BurnerImp -- 2 files: 2 burned, 0 up to date, 0 failed");
    BurnUpdateFileListMsg update;
    update.cFiles = list.cFiles;
    EXPECT_EQ(Ask(update).Last(), "BurnerImp -- 2 files: 0 burned, 2 up to date, 0 failed");
    // A message that is no request is refused, and the session goes on until the tool closes.
    EXPECT_EQ(Ask(BurnerReadyMsg()).Last(), "Error: BurnerImp -- Unknown or malformed request (message type 0x42525442, 4 bytes)");
    EXPECT_TRUE(m_project.Exists("final/units/u1/u1.tqm") && waitpid(m_pid, nullptr, WNOHANG) == 0);
    EXPECT_EQ(Stop(), 0);
}

TEST_F(SessionTest, RefusesASetUpItCannotUse)
{
    const std::tuple<std::string, uint32, const char*> cases[] = {
        {"/nowhere/pipeline.ini", BurnerProtocol::Version,
         "Error: BurnerImp -- Unable to read the pipeline configuration '/nowhere/pipeline.ini'"},
        {m_project.Ini(), 7, "Error: BurnerImp -- The tool speaks protocol version 7, this burner 8"},
        {"", 0, "Error: BurnerImp -- The first message was not a set-up"},
    };
    for (const auto& [config, version, error] : cases)
    {
        Start();
        const Reply reply = config.empty() ? Ask(BurnerReadyMsg()) : Ask(Setup(config, version));
        EXPECT_TRUE(reply.type == BurnerErrorMsg::MSG_TYPE && reply.records.Count() == 1u);
        EXPECT_EQ(reply.Last(), error);
        EXPECT_EQ(Stop(), 1);
    }
}
