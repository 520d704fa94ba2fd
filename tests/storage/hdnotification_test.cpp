#include "storage/hdnotification.h"

#include "filepath_testutil.h"
#include "foundation/debug.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <unistd.h>

namespace
{
using namespace testutil;
using Names = std::vector<std::string>;

class HDNotificationTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        m_pWatch = HDNotification::Create(m_dir.Path().c_str());
        ASSERT_TRUE(m_pWatch && m_pWatch->IsWatching());
    }
    // What the watch reports now, as names below the scratch folder with '/' separators.
    Names Changes()
    {
        HDNotification::RunCompletions();
        std::vector<HDNotification::Name> cName;
        const bool any = m_pWatch->GetChanges(cName);
        EXPECT_EQ(any, !cName.empty());
        const std::string root = SystemName(m_dir.Path()) + "\\";
        Names out;
        for (const HDNotification::Name& name : cName)
        {
            std::string text = name.c_str();
            EXPECT_EQ(text.compare(0, root.size(), root), 0) << text;
            text.erase(0, root.size());
            for (char& c : text)
                c = c == '\\' ? '/' : c;
            out.push_back(text);
        }
        std::sort(out.begin(), out.end());
        return out;
    }
    FakeClock m_clock;
    ScratchFolder m_dir;
    LogCapture m_log;
    std::unique_ptr<HDNotification> m_pWatch;
};

TEST_F(HDNotificationTest, FileWrittenInTwoStepsIsReportedOnceAfterTheWriterCloses)
{
    m_dir.Write("model.sgm", "old");
    m_clock.Advance(501);
    EXPECT_EQ(Changes(), Names{"model.sgm"});
    {
        std::ofstream out(m_dir.Path("model.sgm"), std::ios::binary | std::ios::trunc);
        out << "first half" << std::flush;
        EXPECT_EQ(Changes(), Names{}); // seen, but the sweep waits
        m_clock.Advance(501);
        EXPECT_EQ(Changes(), Names{}); // still held by the writer
        out << "second half" << std::flush;
        m_clock.Advance(501);
        EXPECT_EQ(Changes(), Names{});
    }
    // Closed, but the last sweep was just now.
    EXPECT_EQ(Changes(), Names{});
    m_clock.Advance(501);
    EXPECT_EQ(Changes(), Names{"model.sgm"});
    m_clock.Advance(501);
    EXPECT_EQ(Changes(), Names{});
}

TEST_F(HDNotificationTest, SweepNeedsStrictlyMoreThan500Milliseconds)
{
    m_dir.Write("a.tga", "a");
    m_clock.Advance(500);
    EXPECT_EQ(Changes(), Names{});
    m_clock.Advance(1);
    EXPECT_EQ(Changes(), Names{"a.tga"});
    // The interval counts from the last sweep, not from the change.
    m_clock.Advance(400);
    m_dir.Write("b.tga", "b");
    m_clock.Advance(100);
    EXPECT_EQ(Changes(), Names{});
    m_clock.Advance(1);
    EXPECT_EQ(Changes(), Names{"b.tga"});
}

TEST_F(HDNotificationTest, FileHeldPastTheTimeOutIsNeverReported)
{
    // Held open just under the time out, the file stays pending; past it, it is dropped for good.
    for (const auto& [held, reported] : {std::pair{60000u, true}, {60001u, false}})
    {
        const int fd = ::open(m_dir.Path("held.tga").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        ASSERT_GE(fd, 0);
        ASSERT_EQ(::write(fd, "x", 1), 1);
        EXPECT_EQ(Changes(), Names{});
        m_clock.Advance(held);
        EXPECT_EQ(Changes(), Names{});
        ::close(fd);
        m_dir.Write("held.tga", "saved again");
        m_dir.Write("other.tga", "o");
        m_clock.Advance(501);
        EXPECT_EQ(Changes(), reported ? (Names{"held.tga", "other.tga"}) : Names{"other.tga"}) << held;
    }
}

TEST_F(HDNotificationTest, FoldersAreIgnoredAndNewFoldersAreWatched)
{
    std::filesystem::create_directories(m_dir.Path("units"));
    m_clock.Advance(501);
    EXPECT_EQ(Changes(), Names{});
    m_dir.Write("units/tank.sgm", "t");
    // A tree made at once: its file was written before a watch could stand on its folder.
    m_dir.Write("new/deeper/jeep.sgm", "j");
    m_clock.Advance(501);
    EXPECT_EQ(Changes(), (Names{"new/deeper/jeep.sgm", "units/tank.sgm"}));
    m_dir.Write("new/deeper/jeep.sgm", "j2");
    m_clock.Advance(501);
    EXPECT_EQ(Changes(), Names{"new/deeper/jeep.sgm"});
}

TEST_F(HDNotificationTest, RenamedIntoPlaceIsReported)
{
    m_dir.Write("tmp/save.part", "new model");
    std::filesystem::rename(m_dir.Path("tmp/save.part"), m_dir.Path("model.sgm"));
    m_clock.Advance(501);
    // The part file was renamed away before it could be read: it stays pending, unreported.
    EXPECT_EQ(Changes(), Names{"model.sgm"});
}

TEST_F(HDNotificationTest, OverflowIsLoggedAndTheWatchGoesOn)
{
    dbg::ScopedThrowOnAssert silent(false);
    // Changes that alternate between two files are not merged, so they fill the event queue.
    const int a = ::open(m_dir.Path("a.bin").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    const int b = ::open(m_dir.Path("b.bin").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    ASSERT_TRUE(a >= 0 && b >= 0);
    for (int i = 0; i < 20000; ++i)
        ASSERT_EQ(::write(i % 2 ? b : a, "x", 1), 1);
    ::close(a);
    ::close(b);
    HDNotification::RunCompletions();
    EXPECT_EQ(m_log.Count(
                  "NOTIFIER - Data discarded by system due to overflow - files have been modified but which "
                  "ones are unknown"),
              1);
    m_clock.Advance(501);
    EXPECT_EQ(Changes(), (Names{"a.bin", "b.bin"}));
    m_dir.Write("later.tga", "l");
    m_clock.Advance(501);
    EXPECT_EQ(Changes(), Names{"later.tga"});
}

TEST_F(HDNotificationTest, CloseEndsTheWatch)
{
    EXPECT_TRUE(m_log.Has("NOTIFIER - Handle created for directory " + SystemName(m_dir.Path()) + "\\ - 0x"));
    m_dir.Write("pending.tga", "p");
    HDNotification::RunCompletions();
    m_pWatch->Close();
    EXPECT_FALSE(m_pWatch->IsWatching());
    EXPECT_TRUE(m_log.Has("NOTIFIER - Notification terminated for directory " + SystemName(m_dir.Path()) +
                          "\\ - HANDLE: "));
    EXPECT_TRUE(m_log.Has(" - after 0 milliseconds"));
    m_dir.Write("after.tga", "a");
    m_clock.Advance(501);
    EXPECT_EQ(Changes(), Names{});
}

TEST(HDNotificationRoot, MissingFolderGivesAHarmlessWatch)
{
    LogCapture log;
    auto pWatch = HDNotification::Create("/tmp/tq7z_no_such_folder_for_notification");
    ASSERT_TRUE(pWatch);
    EXPECT_FALSE(pWatch->IsWatching());
    EXPECT_TRUE(log.Has("NOTIFIER - Unable to create handle for directory "
                        "\\tmp\\tq7z_no_such_folder_for_notification\\, error code: 0x2."));
    HDNotification::RunCompletions();
    std::vector<HDNotification::Name> cName;
    EXPECT_FALSE(pWatch->GetChanges(cName));
    pWatch->Close();
}
} // namespace
