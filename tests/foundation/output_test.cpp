#include "foundation/linecapture.h"
#include "foundation/output.h"
#include "foundation/queueddispatcher.h"

#include <gtest/gtest.h>

#include <array>
#include <string>
#include <thread>

using testutil::LineCapture;
using Lines = std::vector<std::string>;

namespace
{
int s_calls[11] = {};
template <int N> void Counting(const char* const*, uint32, uint32)
{
    ++s_calls[N];
}
} // namespace

TEST(ListenerTable, TenSlotsAndTheUserCountFollowsAddAndRemove)
{
    // clang-format off
    const dbg::Listener all[] = {&Counting<0>, &Counting<1>, &Counting<2>, &Counting<3>, &Counting<4>, &Counting<5>,
                                 &Counting<6>, &Counting<7>, &Counting<8>, &Counting<9>, &Counting<10>};
    // clang-format on
    const int before = dbg::GetUserCount();
    for (int i = 0; i < dbg::MaxListeners; ++i)
        ASSERT_TRUE(dbg::AddListener(all[i])) << i;
    EXPECT_FALSE(dbg::AddListener(all[10])) << "an eleventh listener has no slot";
    EXPECT_EQ(dbg::GetUserCount(), before + 10);
    dbTracef("to all");
    EXPECT_EQ(std::vector<int>(std::begin(s_calls), std::end(s_calls)),
              (std::vector{1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 0}));
    EXPECT_TRUE(dbg::RemoveListener(all[3]) && !dbg::RemoveListener(all[3]) &&
                dbg::GetUserCount() == before + 9);
    EXPECT_TRUE(dbg::AddListener(all[10]) && !dbg::AddListener(nullptr)) << "the freed slot is taken again";
    for (int i = 0; i <= 10; ++i)
        dbg::RemoveListener(all[i]);
    EXPECT_EQ(dbg::GetUserCount(), before);
}

TEST(OutputLines, TextIsSplitAtEveryLineEndIntoOneBatchWithItsChannel)
{
    LineCapture cap;
    dbTracef("one\ntwo\r\nthree\rfour %d", 4);
    dbTracef("trailing\n");
    dbTracef("%s", "");
    dbTagf(Tag3("INV"), "inventory %d", 1);
    dbTagf(FourCC("ANIM"), "anim");
    auto batches = cap.Take();
    ASSERT_EQ(batches.size(), 5u);
    EXPECT_EQ(batches[0].lines, (Lines{"one", "two", "three", "four 4"}));
    EXPECT_TRUE(batches[1].lines == Lines{"trailing"} && batches[2].lines == Lines{""});
    EXPECT_TRUE(batches[0].channel == 0u && batches[3].channel == 0x494E56u &&
                batches[4].channel == 0x414E494Du);
    // A long text is not cut; a warning carries file and line.
    const std::string longText(5000, 'q');
    dbErrorf("%s!", longText.c_str());
    const int line = __LINE__ + 1;
    dbWarningf("missing %s", "thing");
    EXPECT_EQ(cap.Lines(), (Lines{longText + "!", std::string(__FILE__) + "(" + std::to_string(line) +
                                                      "): WARNING: missing thing"}));
    char a[9], b[9];
    EXPECT_EQ(std::string(dbg::ChannelName(FourCC("ANIM"), a)) + dbg::ChannelName(0x01020304, b),
              "ANIM01020304");
}

TEST(QueuedDispatcher, HandsCopiedBatchesInOrderOnItsOwnThreadAndFlushWaitsForThem)
{
    LineCapture cap;
    {
        dbg::QueuedDispatcher queued;
        dbg::SetDispatcher(&queued);
        for (int i = 0; i < 200; ++i)
            dbTracef("line %d", i);
        dbTagf(Tag3("INV"), "tagged");
        EXPECT_TRUE(queued.WaitFlushed());
        dbg::SetDispatcher(nullptr);
        char text[16] = "before";
        const char* lines[] = {text};
        queued.Output(lines, 1);
        std::snprintf(text, sizeof(text), "after"); // the caller may reuse its buffer at once
        queued.Output(lines, 1);
    } // the destructor hands over what is still queued
    auto batches = cap.Take();
    ASSERT_EQ(batches.size(), 203u);
    for (int i = 0; i < 200; ++i)
        EXPECT_TRUE(batches[i].lines[0] == "line " + std::to_string(i) &&
                    batches[i].thread != std::this_thread::get_id());
    EXPECT_TRUE(batches[200].channel == 0x494E56u &&
                batches[201].lines[0] + batches[202].lines[0] == "beforeafter");
}
