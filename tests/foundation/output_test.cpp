#include "foundation/linecapture.h"
#include "foundation/output.h"
#include "foundation/queueddispatcher.h"

#include <gtest/gtest.h>

#include <string>
#include <sys/ptrace.h>
#include <thread>

using testutil::LineCapture;

namespace
{
int s_calls[11] = {};
template <int N> void Counting(const char* const*, uint32, uint32)
{
    ++s_calls[N];
}

// Puts the current dispatcher back whatever the test does.
struct DispatcherGuard
{
    ~DispatcherGuard() { dbg::SetDispatcher(nullptr); }
};
} // namespace

TEST(ListenerTable, TenSlotsAndTheUserCountFollowsAddAndRemove)
{
    const dbg::Listener all[] = {&Counting<0>, &Counting<1>, &Counting<2>, &Counting<3>,
                                 &Counting<4>, &Counting<5>, &Counting<6>, &Counting<7>,
                                 &Counting<8>, &Counting<9>, &Counting<10>};
    const int before = dbg::GetUserCount();
    for (int i = 0; i < dbg::MaxListeners; ++i)
        ASSERT_TRUE(dbg::AddListener(all[i])) << i;
    EXPECT_EQ(dbg::GetUserCount(), before + 10);
    EXPECT_FALSE(dbg::AddListener(all[10])) << "an eleventh listener has no slot";
    EXPECT_EQ(dbg::GetUserCount(), before + 10);

    std::fill(std::begin(s_calls), std::end(s_calls), 0);
    dbTracef("to all");
    for (int i = 0; i < 10; ++i)
        EXPECT_EQ(s_calls[i], 1) << i;
    EXPECT_EQ(s_calls[10], 0);

    EXPECT_TRUE(dbg::RemoveListener(all[3]));
    EXPECT_FALSE(dbg::RemoveListener(all[3])) << "already gone";
    EXPECT_EQ(dbg::GetUserCount(), before + 9);
    EXPECT_TRUE(dbg::AddListener(all[10])) << "the freed slot is taken again";
    EXPECT_FALSE(dbg::AddListener(nullptr));
    for (int i = 0; i <= 10; ++i)
        dbg::RemoveListener(all[i]);
    EXPECT_EQ(dbg::GetUserCount(), before);
}

TEST(OutputLines, TextIsSplitAtEveryKindOfLineEndIntoOneBatch)
{
    LineCapture cap;
    ASSERT_TRUE(cap.Added());
    dbTracef("one\ntwo\r\nthree\rfour %d", 4);
    dbTracef("trailing\n");
    dbTracef("%s", "");
    auto batches = cap.Take();
    ASSERT_EQ(batches.size(), 3u);
    EXPECT_EQ(batches[0].lines, (std::vector<std::string>{"one", "two", "three", "four 4"}));
    EXPECT_EQ(batches[1].lines, (std::vector<std::string>{"trailing"}));
    EXPECT_EQ(batches[2].lines, (std::vector<std::string>{""}));
    EXPECT_EQ(batches[0].channel, 0u);

    // A long text is not cut; a warning carries file and line.
    const std::string longText(5000, 'q');
    dbErrorf("%s!", longText.c_str());
    const int line = __LINE__ + 1;
    dbWarningf("missing %s", "thing");
    EXPECT_EQ(cap.Lines(),
              (std::vector<std::string>{longText + "!", std::string(__FILE__) + "(" + std::to_string(line) +
                                                            "): WARNING: missing thing"}));
}

TEST(TaggedOutput, ChannelCodeReachesTheListenerAndNamesItself)
{
    LineCapture cap;
    dbTagf(Tag3("INV"), "inventory %d", 1);
    dbTagf(FourCC("ANIM"), "anim");
    dbTagf(Tag3("ART"), "art");
    auto batches = cap.Take();
    ASSERT_EQ(batches.size(), 3u);
    EXPECT_EQ(batches[0].channel, 0x494E56u);
    EXPECT_EQ(batches[1].channel, 0x414E494Du);
    EXPECT_EQ(batches[2].channel, 0x415254u);
    EXPECT_EQ(batches[0].lines[0], "inventory 1");

    char name[9];
    const std::pair<uint32, const char*> names[] = {{0x494E56, "INV"},        {FourCC("ANIM"), "ANIM"},
                                                    {FourCC("RMUS"), "RMUS"}, {Tag3("TRA"), "TRA"},
                                                    {0x01020304, "01020304"}, {0, "00000000"}};
    for (const auto& [channel, expected] : names)
        EXPECT_STREQ(expected, dbg::ChannelName(channel, name));
}

TEST(DirectDispatcher, WithNoListenerLinesReachStandardErrorOnlyUnderADebugger)
{
    ASSERT_EQ(dbg::GetUserCount(), 0) << "another test left a listener";
    // In a fresh process traced by its parent: each line with its line end, a long one cut to the
    // 0x400-byte buffer. (The debugger is looked for once, so this comes first.)
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    auto traced = []
    {
        if (::ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0)
            std::_Exit(3);
        dbTracef("first\nsecond");
        dbTagf(Tag3("INV"), "%s", std::string(2000, 'x').c_str());
        std::_Exit(0);
    };
    EXPECT_EXIT(traced(), testing::ExitedWithCode(0), "^first\nsecond\n" + std::string(0x3FE, 'x') + "\n$");
    testing::internal::CaptureStderr();
    dbTracef("first\nsecond");
    EXPECT_EQ("", testing::internal::GetCapturedStderr());
}

TEST(DebugSpewDispatcher, SwallowsEverything)
{
    DispatcherGuard restore;
    LineCapture cap;
    dbg::DebugSpewDispatcher spew;
    dbg::SetDispatcher(&spew);
    EXPECT_EQ(&dbg::GetDispatcher(), &spew);
    dbTracef("lost");
    dbErrorf("lost");
    dbTagf(Tag3("INV"), "lost");
    EXPECT_TRUE(cap.Take().empty());
    dbg::SetDispatcher(nullptr);
    dbTracef("kept");
    EXPECT_EQ(cap.Lines(), (std::vector<std::string>{"kept"}));
}

TEST(QueuedDispatcher, HandsBatchesInOrderOnItsOwnThreadAndFlushWaitsForThem)
{
    DispatcherGuard restore;
    LineCapture cap;
    dbg::QueuedDispatcher queued;
    dbg::SetDispatcher(&queued);
    for (int i = 0; i < 200; ++i)
        dbTracef("line %d", i);
    dbErrorf("error");
    dbTagf(Tag3("INV"), "tagged");
    EXPECT_TRUE(queued.WaitFlushed());
    dbg::SetDispatcher(nullptr);

    auto batches = cap.Take();
    ASSERT_EQ(batches.size(), 202u);
    for (int i = 0; i < 200; ++i)
    {
        EXPECT_EQ(batches[i].lines[0], "line " + std::to_string(i));
        EXPECT_NE(batches[i].thread, std::this_thread::get_id());
    }
    EXPECT_EQ(batches[200].lines[0], "error");
    EXPECT_EQ(batches[200].channel, 0u);
    EXPECT_EQ(batches[201].channel, 0x494E56u);
}

TEST(QueuedDispatcher, BatchesAreCopiedSoTheCallerMayReuseItsBuffers)
{
    LineCapture cap;
    {
        dbg::QueuedDispatcher queued;
        char text[16] = "before";
        const char* lines[] = {text};
        queued.Output(lines, 1);
        std::snprintf(text, sizeof(text), "after");
        queued.Output(lines, 1);
        // The destructor hands over what is still queued.
    }
    EXPECT_EQ(cap.Lines(), (std::vector<std::string>{"before", "after"}));
}

namespace
{
dbg::QueuedDispatcher* s_pQueued = nullptr;
bool s_flushFromWorker = true;
void FlushingListener(const char* const*, uint32, uint32)
{
    s_flushFromWorker = s_pQueued->WaitFlushed();
}
} // namespace

TEST(QueuedDispatcher, FlushFromAListenerDoesNotWaitOnItself)
{
    dbg::QueuedDispatcher queued;
    s_pQueued = &queued;
    ASSERT_TRUE(dbg::AddListener(&FlushingListener));
    const char* lines[] = {"x"};
    queued.Output(lines, 1);
    EXPECT_TRUE(queued.WaitFlushed());
    dbg::RemoveListener(&FlushingListener);
    EXPECT_FALSE(s_flushFromWorker);
}
