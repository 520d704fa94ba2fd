// The burner's side of the pipe, end to end over a real socket: the session runs on a thread as the
// client, the test plays the tool. And the program itself, started as the tool starts it.
#include "burnproject.h"

#include "burner/burnermessages.h"
#include "burner/namedpipe.h"
#include "burnerimp/burnersession.h"

#include <gtest/gtest.h>

#include <spawn.h>
#include <sys/wait.h>

#include <thread>

extern char** environ;

namespace
{
// Reads messages until a result or an error comes; counts the updates on the way.
struct Reply
{
    uint32 type = 0;
    std::vector<std::string> cUpdate;
    BurnerResultMsg result;
    BurnerErrorMsg error;
};

Reply ReadReply(NamedPipe& pipe)
{
    Reply reply;
    BurnerMessage message;
    while (ReadMessage(pipe, message))
    {
        reply.type = message.GetType();
        if (reply.type == BurnerUpdateMsg::MSG_TYPE)
        {
            BurnerUpdateMsg update;
            EXPECT_TRUE(message.Get(update));
            for (const BurnerResults::Record& record : update.results)
                reply.cUpdate.push_back(record.text);
            continue;
        }
        if (reply.type == BurnerResultMsg::MSG_TYPE)
        {
            EXPECT_TRUE(message.Get(reply.result));
        }
        else if (reply.type == BurnerErrorMsg::MSG_TYPE)
        {
            EXPECT_TRUE(message.Get(reply.error));
        }
        break;
    }
    return reply;
}

// The tool's end: a server pipe, and the session on a thread connected to it.
class SessionTest : public ::testing::Test
{
protected:
    void StartSession()
    {
        m_pServer = std::make_unique<NamedPipe>(NamedPipe::LocalPath(NamedPipe::PipeName), NamedPipe::Server);
        ASSERT_TRUE(m_pServer->Create());
        m_session = std::thread(
            [this]
            {
                NamedPipe client(m_pServer->GetPath(), NamedPipe::Client);
                m_exit = client.Create() && client.Connect() ? RunBurnerSession(client, 2) : -1;
            });
        ASSERT_TRUE(m_pServer->Connect());
    }
    // Closing the tool's end ends the session.
    int StopSession()
    {
        m_pServer.reset();
        m_session.join();
        return m_exit;
    }
    void TearDown() override
    {
        if (m_session.joinable())
            StopSession();
    }

    // Sends the set-up of the project and expects the burner ready.
    void ExpectReady(NamedPipe& server)
    {
        BurnerSetupMsg setup;
        ASSERT_TRUE(setup.SetConfigPath(m_project.Ini()));
        ASSERT_TRUE(SendMessage(server, setup));
        BurnerMessage message;
        ASSERT_TRUE(ReadMessage(server, message));
        EXPECT_EQ(message.GetType(), BurnerReadyMsg::MSG_TYPE);
        EXPECT_EQ(message.GetMessageSize(), 4u);
    }

    BurnProject m_project;
    std::unique_ptr<NamedPipe> m_pServer;
    std::thread m_session;
    int m_exit = -2;
};
} // namespace

TEST_F(SessionTest, SetsUpBurnsWithProgressAndEndsWhenTheToolCloses)
{
    StartSession();
    ExpectReady(*m_pServer);

    // The models of "units", then the same again: all up to date.
    for (const int pass : {1, 2})
    {
        BurnRequestMsg request;
        request.changelist = 0;
        ASSERT_TRUE(request.SetFolder(m_project.Gen("units")));
        ASSERT_TRUE(request.SetPattern(".*\\.sgm$"));
        ASSERT_TRUE(SendMessage(*m_pServer, request));
        const Reply reply = ReadReply(*m_pServer);
        ASSERT_EQ(reply.type, BurnerResultMsg::MSG_TYPE) << pass;
        EXPECT_EQ(reply.cUpdate.size(), 4u);
        EXPECT_EQ(reply.result.filesBurned, 3u);
        EXPECT_EQ(reply.result.flag, 0) << "the broken model failed";
        const std::string texts = Texts(reply.result.results);
        EXPECT_NE(texts.find("Error: BurnerImp -- units/broken/broken.sgm: does not load"),
                  std::string::npos);
        EXPECT_NE(texts.find(pass == 1
                                 ? "BurnerImp -- units/u2/u2.sgm: burned to units/u2/u2.tqm, units/u2/u2.tqe"
                                 : "BurnerImp -- units/u2/u2.sgm: up to date (models/final)"),
                  std::string::npos)
            << texts;
        EXPECT_EQ(reply.result.results[reply.result.results.Count() - 1].text,
                  pass == 1 ? "BurnerImp -- 4 files: 3 burned, 0 up to date, 1 failed"
                            : "BurnerImp -- 4 files: 0 burned, 3 up to date, 1 failed");
    }

    // A list of files burns them whatever the records say; an update list only what changed.
    BurnFileListMsg list;
    list.cFiles = {m_project.Gen("units/u0/u0.sgm"), m_project.Gen("readme.txt")};
    ASSERT_TRUE(SendMessage(*m_pServer, list));
    Reply reply = ReadReply(*m_pServer);
    ASSERT_EQ(reply.type, BurnerResultMsg::MSG_TYPE);
    EXPECT_EQ(reply.result.filesBurned, 2u);
    EXPECT_EQ(reply.result.flag, 1);
    EXPECT_EQ(reply.result.results[reply.result.results.Count() - 1].text,
              "BurnerImp -- 2 files: 2 burned, 0 up to date, 0 failed");
    BurnUpdateFileListMsg update;
    update.cFiles = list.cFiles;
    ASSERT_TRUE(SendMessage(*m_pServer, update));
    reply = ReadReply(*m_pServer);
    EXPECT_EQ(reply.result.results[reply.result.results.Count() - 1].text,
              "BurnerImp -- 2 files: 0 burned, 2 up to date, 0 failed");

    // A message that is no request is refused, and the session goes on.
    ASSERT_TRUE(SendMessage(*m_pServer, BurnerReadyMsg()));
    reply = ReadReply(*m_pServer);
    ASSERT_EQ(reply.type, BurnerErrorMsg::MSG_TYPE);
    EXPECT_EQ(reply.error.results[0].text,
              "Error: BurnerImp -- Unknown or malformed request (message type 0x42525442, 4 bytes)");
    EXPECT_EQ(StopSession(), 0);
}

TEST_F(SessionTest, RefusesASetUpItCannotUse)
{
    struct Case
    {
        std::string config;
        uint32 version;
        const char* error;
    };
    const Case cCase[] = {
        {"/nowhere/pipeline.ini", BurnerProtocol::Version,
         "Error: BurnerImp -- Unable to read the pipeline configuration '/nowhere/pipeline.ini'"},
        {m_project.Ini(), 7, "Error: BurnerImp -- The tool speaks protocol version 7, this burner 8"},
    };
    for (const Case& c : cCase)
    {
        StartSession();
        BurnerSetupMsg setup;
        ASSERT_TRUE(setup.SetConfigPath(c.config));
        setup.protocolVersion = c.version;
        ASSERT_TRUE(SendMessage(*m_pServer, setup));
        const Reply reply = ReadReply(*m_pServer);
        ASSERT_EQ(reply.type, BurnerErrorMsg::MSG_TYPE);
        ASSERT_EQ(reply.error.results.Count(), 1u);
        EXPECT_EQ(reply.error.results[0].text, c.error);
        EXPECT_EQ(StopSession(), 1);
    }
}

// The program as the tool starts it: the pipe's path in the environment, a burn, and its exit
// once the tool closes the pipe.
TEST_F(SessionTest, TheProgramBurnsOverThePipe)
{
    m_pServer = std::make_unique<NamedPipe>(NamedPipe::LocalPath(NamedPipe::PipeName), NamedPipe::Server);
    ASSERT_TRUE(m_pServer->Create());
    ScopedEnv env(NamedPipe::EnvironmentVariable, m_pServer->GetPath().c_str());
    const char* argv[] = {BURNERIMP_BINARY, nullptr};
    pid_t pid = 0;
    ASSERT_EQ(posix_spawn(&pid, BURNERIMP_BINARY, nullptr, nullptr, const_cast<char**>(argv), environ), 0);
    ASSERT_TRUE(m_pServer->Connect());
    ExpectReady(*m_pServer);
    BurnRequestMsg request;
    ASSERT_TRUE(request.SetFolder(m_project.Gen()));
    ASSERT_TRUE(request.SetPattern("u1\\.sgm$"));
    ASSERT_TRUE(SendMessage(*m_pServer, request));
    const Reply reply = ReadReply(*m_pServer);
    ASSERT_EQ(reply.type, BurnerResultMsg::MSG_TYPE);
    EXPECT_EQ(reply.result.filesBurned, 1u);
    EXPECT_EQ(reply.cUpdate, std::vector<std::string>{"1/1 units/u1/u1.tqm"});
    EXPECT_TRUE(m_project.Exists("final/units/u1/u1.tqm"));

    // Still running after its result, until the pipe is closed.
    EXPECT_EQ(waitpid(pid, nullptr, WNOHANG), 0);
    m_pServer.reset();
    int status = 0;
    ASSERT_EQ(waitpid(pid, &status, 0), pid);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
}
