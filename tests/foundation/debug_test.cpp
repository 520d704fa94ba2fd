#include "foundation/callstack.h"
#include "foundation/debug.h"
#include "foundation/linecapture.h"
#include "foundation/runoptions.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <string>

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
class AssertionTest : public testing::Test
{
protected:
    void SetUp() override { TearDown(); }
    void TearDown() override
    {
        RunOptions::Clear();
        dbg::ClearAssertionHistory();
    }
};
} // namespace

TEST_F(AssertionTest, ReportIsOneErrorBatchWithMessageAndStackTraceThenTheSafeReturn)
{
    LineCapture cap;
    errno = ENOENT;
    EXPECT_TRUE(AssertingDivide(1, 0) == 0 && AssertingDivide(6, 3) == 2 && errno == ENOENT);
    auto batches = cap.Take();
    ASSERT_EQ(batches.size(), 1u);
    const auto& lines = batches[0].lines;
    ASSERT_GE(lines.size(), 4u);
    EXPECT_EQ(lines[0], std::string(__FILE__) + "(" + std::to_string(s_assertLine) +
                            "): Assertion of (b != 0) failed.");
    EXPECT_TRUE(lines[1] + lines[2] == "--stack trace--" && lines.size() - 3 <= size_t(dbg::MaxStackFrames));
    // The reporter's own frames are left out: the trace starts at the asserting function.
    EXPECT_TRUE(lines[3].starts_with("0x") &&
                lines[3].find("AssertingDivide(int, int)") != std::string::npos &&
                lines[3].find("(foundation_tests)") != std::string::npos)
        << lines[3];
    // "notrace" leaves the frames out.
    RunOptions::SetFileText("notrace");
    dbg::ClearAssertionHistory();
    AssertingDivide(1, 0);
    EXPECT_EQ(cap.Lines(), (std::vector<std::string>{lines[0], "", "--stack trace--"}));
}

TEST_F(AssertionTest, SecondIdenticalAssertionIsReportedButDoesNotBreakAgainUnlessTheTableIsFull)
{
    LineCapture cap;
    RunOptions::SetFileText("notrace");
    const uint32 before = dbg::GetBreakCount();
    AssertingDivide(1, 0);
    AssertingDivide(2, 0);
    EXPECT_EQ(dbg::GetBreakCount(), before + 1) << "the same text is silent the second time";
    EXPECT_EQ(cap.Take().size(), 2u);
    EXPECT_TRUE(dbg::ReportAssertion("other.cpp", 7, "x") && !dbg::ReportAssertion("other.cpp", 7, "x") &&
                dbg::ReportAssertion("other.cpp", 8, "x"))
        << "the line is part of the text";
    dbg::ClearAssertionHistory();
    AssertingDivide(3, 0);
    EXPECT_EQ(dbg::GetBreakCount(), before + 2);
    for (int i = 1; i < dbg::MaxAssertionTexts; ++i)
        ASSERT_TRUE(dbg::ReportAssertion("fill.cpp", i, "full")) << i;
    const uint32 full = dbg::GetBreakCount();
    EXPECT_FALSE(dbg::ReportAssertion("fill.cpp", 100000, "full") ||
                 dbg::ReportAssertion("fill.cpp", 100001, "full"));
    EXPECT_EQ(dbg::GetBreakCount(), full + 2) << "the filter breaks itself on a full table";
    EXPECT_FALSE(dbg::ReportAssertion("fill.cpp", 5, "full"));
    EXPECT_EQ(dbg::GetBreakCount(), full + 2) << "a text already stored stays silent";
}

TEST_F(AssertionTest, FatalExitEndsTheProcessOrWithTheThrowSwitchSendsItsBatchAndThrows)
{
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_EXIT(dbFatal("fatal %d", 1), testing::ExitedWithCode(255), "");
    LineCapture cap;
    dbg::ScopedThrowOnAssert throwing;
    const int line = __LINE__ + 1;
    EXPECT_THROW(dbFatal("cannot go on: %s %d", "code", 7), std::runtime_error);
    auto lines = cap.Lines();
    ASSERT_GE(lines.size(), 6u);
    EXPECT_EQ(std::vector<std::string>(lines.begin(), lines.begin() + 5),
              (std::vector<std::string>{"-- FATAL EXIT --", "cannot go on: code 7",
                                        std::string(__FILE__) + "(" + std::to_string(line) + ")", "",
                                        "--stack trace--"}));
    EXPECT_EQ(lines[5].find("dbg::Fatal"), std::string::npos) << "the fatal exit's own frame is left out";
}
