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
            text = text.compare(0, root.size(), root) == 0 ? text.substr(root.size()) : "outside: " + text;
            std::replace(text.begin(), text.end(), '\\', '/');
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
    // A folder renamed is watched under its new name, and its old name is not asked for.
    std::filesystem::rename(m_dir.Path("new"), m_dir.Path("moved"));
    HDNotification::RunCompletions();
    m_dir.Write("moved/deeper/jeep.sgm", "j2");
    m_clock.Advance(501);
    EXPECT_EQ(Changes(), Names{"moved/deeper/jeep.sgm"});
    std::filesystem::remove_all(m_dir.Path("moved"));
    // A file renamed into place is reported; the part file renamed away stays pending, unreported.
    m_dir.Write("tmp/save.part", "new model");
    std::filesystem::rename(m_dir.Path("tmp/save.part"), m_dir.Path("model.sgm"));
    m_clock.Advance(501);
    EXPECT_EQ(Changes(), Names{"model.sgm"});
    EXPECT_FALSE(m_log.Has("Error requesting notifications"));
}

TEST_F(HDNotificationTest, CloseEndsTheWatchAndAMissingFolderGivesAHarmlessOne)
{
    m_dir.Write("pending.tga", "p");
    HDNotification::RunCompletions();
    m_pWatch->Close();
    EXPECT_FALSE(m_pWatch->IsWatching());
    m_dir.Write("after.tga", "a");
    m_clock.Advance(501);
    EXPECT_EQ(Changes(), Names{});
    auto pWatch = HDNotification::Create("/tmp/tq7z_no_such_folder_for_notification");
    ASSERT_TRUE(pWatch);
    EXPECT_FALSE(pWatch->IsWatching());
    EXPECT_TRUE(m_log.Has("NOTIFIER - Unable to create handle for directory "
                          "\\tmp\\tq7z_no_such_folder_for_notification\\, error code: 0x2."));
    std::vector<HDNotification::Name> cName;
    EXPECT_FALSE(pWatch->GetChanges(cName));
}
} // namespace
