#include "foundation/callstack.h"
#include "foundation/debug.h"
#include "foundation/linecapture.h"
#include "foundation/runoptions.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <string>
#include <sys/ptrace.h>

using testutil::LineCapture;

// Outside any namespace and not inlined, so that the trace can name it.
const int s_assertLine = __LINE__ + 3;
__attribute__((noinline)) int AssertingDivide(int a, int b)
{
    if (!dbAssert(b != 0))
        return 0;
    return a / b;
}

namespace
{
// Keeps the run options and the repeat filter of one test away from the next.
class AssertionTest : public testing::Test
{
protected:
    void SetUp() override
    {
        RunOptions::Clear();
        dbg::ClearAssertionHistory();
    }
    void TearDown() override
    {
        RunOptions::Clear();
        dbg::ClearAssertionHistory();
    }
};

bool StartsWith(const std::string& s, const std::string& prefix)
{
    return s.compare(0, prefix.size(), prefix) == 0;
}
} // namespace

TEST_F(AssertionTest, PassedAssertionTakesTheSafeReturnAndKeepsErrno)
{
    dbg::ScopedThrowOnAssert noThrow(false);
    LineCapture quiet;
    errno = ENOENT;
    EXPECT_EQ(AssertingDivide(6, 0), 0);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(AssertingDivide(6, 3), 2);
    errno = EACCES;
    dbg::ReportAssertion("e.cpp", 1, "e");
    EXPECT_EQ(errno, EACCES);
}

TEST_F(AssertionTest, ReportIsOneErrorBatchWithMessageAndStackTrace)
{
    LineCapture cap;
    AssertingDivide(1, 0);
    auto batches = cap.Take();
    ASSERT_EQ(batches.size(), 1u);
    const auto& lines = batches[0].lines;
    ASSERT_GE(lines.size(), 4u);
    EXPECT_EQ(lines[0], std::string(__FILE__) + "(" + std::to_string(s_assertLine) +
                            "): Assertion of (b != 0) failed.");
    EXPECT_EQ(lines[1], "");
    EXPECT_EQ(lines[2], "--stack trace--");
    EXPECT_LE(lines.size() - 3, size_t(dbg::MaxStackFrames));
    // The reporter's own frames are left out: the trace starts at the asserting function.
    EXPECT_TRUE(StartsWith(lines[3], "0x")) << lines[3];
    EXPECT_NE(lines[3].find("AssertingDivide(int, int)"), std::string::npos) << lines[3];
    EXPECT_NE(lines[3].find("(foundation_tests)"), std::string::npos) << lines[3];
    EXPECT_EQ(lines[3].find("AssertFailed"), std::string::npos);

    // "notrace" leaves the frames out.
    RunOptions::SetFileText("notrace");
    dbg::ClearAssertionHistory();
    AssertingDivide(1, 0);
    EXPECT_EQ(cap.Lines(), (std::vector<std::string>{lines[0], "", "--stack trace--"}));
}

TEST_F(AssertionTest, SecondIdenticalAssertionIsReportedButDoesNotBreakAgain)
{
    LineCapture cap;
    const uint32 before = dbg::GetBreakCount();
    AssertingDivide(1, 0);
    EXPECT_EQ(dbg::GetBreakCount(), before + 1);
    AssertingDivide(2, 0);
    EXPECT_EQ(dbg::GetBreakCount(), before + 1) << "the same text is silent the second time";
    EXPECT_EQ(cap.Take().size(), 2u);

    // Another text is new to the filter.
    EXPECT_TRUE(dbg::ReportAssertion("other.cpp", 7, "x"));
    EXPECT_FALSE(dbg::ReportAssertion("other.cpp", 7, "x"));
    EXPECT_TRUE(dbg::ReportAssertion("other.cpp", 8, "x")) << "the line is part of the text";

    dbg::ClearAssertionHistory();
    AssertingDivide(3, 0);
    EXPECT_EQ(dbg::GetBreakCount(), before + 2);
}

TEST_F(AssertionTest, FullRepeatTableBreaksOnEveryNewText)
{
    LineCapture quiet;
    RunOptions::SetFileText("notrace");
    for (int i = 0; i < dbg::MaxAssertionTexts; ++i)
        ASSERT_TRUE(dbg::ReportAssertion("fill.cpp", i, "full")) << i;
    const uint32 before = dbg::GetBreakCount();
    EXPECT_FALSE(dbg::ReportAssertion("fill.cpp", 100000, "full"));
    EXPECT_FALSE(dbg::ReportAssertion("fill.cpp", 100001, "full"));
    EXPECT_EQ(dbg::GetBreakCount(), before + 2) << "the filter breaks itself on a full table";
    EXPECT_FALSE(dbg::ReportAssertion("fill.cpp", 5, "full"));
    EXPECT_EQ(dbg::GetBreakCount(), before + 2) << "a text already stored stays silent";
}

TEST_F(AssertionTest, ThrowSwitchThrowsTheMessageAfterTheReportAndBeforeTheFilter)
{
    LineCapture cap;
    {
        dbg::ScopedThrowOnAssert throwing;
        EXPECT_TRUE(dbg::GetThrowOnAssert());
        try
        {
            AssertingDivide(1, 0);
            FAIL() << "no exception";
        }
        catch (const std::runtime_error& e)
        {
            const std::string what = e.what();
            EXPECT_NE(what.find("Assertion of (b != 0) failed."), std::string::npos) << what;
            EXPECT_EQ(what.find("--stack trace--"), std::string::npos) << "the message alone";
        }
        EXPECT_FALSE(cap.Take().empty()) << "reported before throwing";
    }
    EXPECT_FALSE(dbg::GetThrowOnAssert());
    // The thrown assertion never reached the filter, so the site still breaks once.
    const uint32 before = dbg::GetBreakCount();
    AssertingDivide(1, 0);
    EXPECT_EQ(dbg::GetBreakCount(), before + 1);
}

TEST_F(AssertionTest, FatalExitWithTheThrowSwitchSendsItsBatchAndThrows)
{
    LineCapture cap;
    dbg::ScopedThrowOnAssert throwing;
    int line = 0;
    try
    {
        line = __LINE__ + 1;
        dbFatal("cannot go on: %s %d", "code", 7);
    }
    catch (const std::runtime_error& e)
    {
        EXPECT_STREQ(e.what(), "cannot go on: code 7");
    }
    auto lines = cap.Lines();
    ASSERT_GE(lines.size(), 5u);
    EXPECT_EQ(lines[0], "-- FATAL EXIT --");
    EXPECT_EQ(lines[1], "cannot go on: code 7");
    EXPECT_EQ(lines[2], std::string(__FILE__) + "(" + std::to_string(line) + ")");
    EXPECT_EQ(lines[3], "");
    EXPECT_EQ(lines[4], "--stack trace--");
    ASSERT_GE(lines.size(), 6u);
    EXPECT_EQ(lines[5].find("dbg::Fatal"), std::string::npos) << "the fatal exit's own frame is left out";
}

using AssertionDeathTest = AssertionTest;

TEST_F(AssertionDeathTest, FatalExitEndsTheProcessWithStatusMinusOne)
{
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    // Its batch went to the listeners (above); with none, the status alone.
    EXPECT_EXIT(dbFatal("fatal %d", 1), testing::ExitedWithCode(255), "");
}

TEST_F(AssertionDeathTest, TracerIsSeenAndNodbgHidesIt)
{
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    // In a fresh process: ask the parent to trace us, then look.
    auto traced = [](bool nodbg)
    {
        if (::ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0)
            std::_Exit(3);
        if (nodbg)
            RunOptions::SetFileText("nodbg");
        std::_Exit(dbg::IsDebuggerPresent() ? 1 : 2);
    };
    EXPECT_EXIT(traced(false), testing::ExitedWithCode(1), "");
    EXPECT_EXIT(traced(true), testing::ExitedWithCode(2), "");
}
