#include "foundation/debug.h"
#include "foundation/output.h"
#include "foundation/queueddispatcher.h"
#include "foundation/runoptions.h"
#include "logging/processlog.h"
#include "logging/tempfolder.h"

#include <gtest/gtest.h>

using testutil::ReadFile;
using testutil::TempFolder;

// Outside any namespace and not inlined, so that the trace in the log can name it.
__attribute__((noinline)) bool FailingCheck(const char* p)
{
    if (!dbAssert(p != nullptr))
        return false;
    return true;
}

namespace
{
class ProcessLogTest : public testing::Test
{
protected:
    void SetUp() override
    {
        RunOptions::Clear();
        dbg::ClearAssertionHistory();
    }
    void TearDown() override
    {
        ProcessLog::Stop(0);
        RunOptions::Clear();
        dbg::ClearAssertionHistory();
    }
    // The log's lines after the six header lines.
    std::string Body(const std::string& name)
    {
        const std::string bytes = ReadFile(m_folder / name);
        size_t pos = 0;
        for (int i = 0; i < 6 && pos != std::string::npos; ++i)
            pos = bytes.find("\r\n", pos) + 2;
        return pos == std::string::npos ? std::string() : bytes.substr(pos);
    }

    TempFolder m_folder;
};
} // namespace

TEST_F(ProcessLogTest, LinesOfTheOutputLayerGoToTheLogUntilStop)
{
    const int usersBefore = dbg::GetUserCount();
    ASSERT_TRUE(ProcessLog::Start("run.log", false));
    EXPECT_TRUE(ProcessLog::IsStarted());
    EXPECT_EQ(ProcessLog::GetFileName(), m_folder / "run.log");
    EXPECT_EQ(dbg::GetUserCount(), usersBefore + 1) << "the port listens";
    dbTracef("plain %d", 1);
    dbErrorf("error\nsecond line");
    dbTagf(Tag3("INV"), "tagged");
    ProcessLog::Stop(0);
    EXPECT_FALSE(ProcessLog::IsStarted());
    EXPECT_EQ(dbg::GetUserCount(), usersBefore);
    EXPECT_EQ(ProcessLog::GetFileName(), "");
    testing::internal::CaptureStderr(); // nobody listens now
    dbTracef("after stop");
    testing::internal::GetCapturedStderr();
    ProcessLog::Stop(0); // a second stop does nothing
    EXPECT_EQ(Body("run.log"),
              "plain 1\r\nerror\r\nsecond line\r\ntagged\r\n\r\nApplication closed without errors\r\n");
}

TEST_F(ProcessLogTest, SecondStartIsAnAssertionAndKeepsTheRunningLog)
{
    ASSERT_TRUE(ProcessLog::Start("first.log", false));
    {
        dbg::ScopedThrowOnAssert throwing;
        EXPECT_THROW(ProcessLog::Start("second.log", false), std::runtime_error);
    }
    {
        dbg::ScopedThrowOnAssert passing(false);
        EXPECT_FALSE(ProcessLog::Start("second.log", true));
    }
    EXPECT_FALSE(testutil::Exists(m_folder / "second.log"));
    EXPECT_EQ(ProcessLog::GetFileName(), m_folder / "first.log");
    ProcessLog::Stop(-1);
    const std::string body = Body("first.log");
    // The assertion went into the running log, with its trace.
    EXPECT_NE(body.find("): Assertion of (dbBreak) failed.\r\n\r\n--stack trace--\r\n"), std::string::npos)
        << body;
    EXPECT_NE(body.find("\r\n\r\nApplication closed with error code -1\r\n"), std::string::npos);
    EXPECT_TRUE(ProcessLog::Start("second.log", false)) << "free again after stop";
}

TEST_F(ProcessLogTest, AssertionReportInTheLogNamesTheFailingFunction)
{
    ASSERT_TRUE(ProcessLog::Start(nullptr, false));
    EXPECT_EQ(ProcessLog::GetFileName(), m_folder / "warnings.log");
    EXPECT_FALSE(FailingCheck(nullptr));
    ProcessLog::Stop(0);
    const std::string body = Body("warnings.log");
    const size_t trace = body.find("--stack trace--\r\n");
    ASSERT_NE(trace, std::string::npos) << body;
    const std::string firstFrame = body.substr(trace + 17, body.find("\r\n", trace + 17) - trace - 17);
    EXPECT_NE(firstFrame.find("FailingCheck(char const*)"), std::string::npos) << firstFrame;
    EXPECT_NE(firstFrame.find("(logging_tests)"), std::string::npos) << firstFrame;
}

TEST_F(ProcessLogTest, QueuedLinesReachTheLogOnFlush)
{
    dbg::QueuedDispatcher queued;
    dbg::SetDispatcher(&queued);
    ASSERT_TRUE(ProcessLog::Start("queued.log", false));
    for (int i = 0; i < 50; ++i)
        dbTracef("line %02d", i);
    EXPECT_TRUE(queued.WaitFlushed());
    ProcessLog::Stop(0);
    dbg::SetDispatcher(nullptr);
    std::string expected;
    for (int i = 0; i < 50; ++i)
        expected += "line " + std::string(i < 10 ? "0" : "") + std::to_string(i) + "\r\n";
    EXPECT_EQ(Body("queued.log"), expected + "\r\nApplication closed without errors\r\n");
}
