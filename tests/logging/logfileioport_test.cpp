#include "foundation/runoptions.h"
#include "logging/logfileioport.h"
#include "logging/logregistry.h"
#include "logging/tempfolder.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <fstream>
#include <sys/file.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <regex>
#include <sys/stat.h>
#include <sys/sysinfo.h>
#include <sys/utsname.h>

using testutil::ReadFile;
using testutil::TempFolder;

namespace
{
// Splits at CR LF; a bare LF or CR anywhere fails the test.
std::vector<std::string> CrLfLines(const std::string& bytes)
{
    std::vector<std::string> lines;
    size_t pos = 0;
    while (pos < bytes.size())
    {
        const size_t end = bytes.find("\r\n", pos);
        if (end == std::string::npos)
        {
            ADD_FAILURE() << "text after the last CR LF: " << bytes.substr(pos);
            break;
        }
        lines.push_back(bytes.substr(pos, end - pos));
        pos = end + 2;
    }
    for (const std::string& l : lines)
        EXPECT_EQ(l.find_first_of("\r\n"), std::string::npos) << "a bare line end in: " << l;
    return lines;
}

// The OS line worked out here from the same system calls, independently of the port.
std::string ExpectedOSLine()
{
    utsname u{};
    EXPECT_EQ(::uname(&u), 0);
    int major = 0, minor = 0;
    std::sscanf(u.release, "%d.%d", &major, &minor);
    struct sysinfo info
    {
    };
    EXPECT_EQ(::sysinfo(&info), 0);
    const unsigned long long bytes = (unsigned long long)info.totalram * info.mem_unit;
    const unsigned long long mb = bytes / (1024 * 1024) + (bytes % (1024 * 1024) ? 1 : 0);
    return "OS " + std::string(u.sysname) + " " + std::to_string(major) + "." + std::to_string(minor) + ", " +
           std::to_string(mb) + "MB Physical Memory";
}

class LogPortTest : public testing::Test
{
protected:
    void SetUp() override
    {
        RunOptions::Clear();
        const char* user = std::getenv("USER");
        m_oldUser = user ? user : "";
        m_hadUser = user != nullptr;
        ::setenv("USER", "artist", 1);
    }
    void TearDown() override
    {
        RunOptions::Clear();
        if (m_hadUser)
            ::setenv("USER", m_oldUser.c_str(), 1);
        else
            ::unsetenv("USER");
    }

    TempFolder m_folder;
    std::string m_oldUser;
    bool m_hadUser = false;
};
} // namespace

TEST_F(LogPortTest, WithoutTimestampsTheFileIsHeaderLinesAndExitLineExactly)
{
    RunOptions::SetFileText("invleaks nodbg");
    {
        LogFileIOPort port("tool.log", false);
        ASSERT_TRUE(port.IsOpen());
        EXPECT_EQ(port.GetFileName(), m_folder / "tool.log");
        const char* batch[] = {"first", "", "third line"};
        port.WriteBatch(batch, 3);
        port.Close(0);
        EXPECT_FALSE(port.IsOpen());
        port.WriteBatch(batch, 1); // closed: nothing more
    }
    const std::string bytes = ReadFile(m_folder / "tool.log");
    const auto lines = CrLfLines(bytes);
    ASSERT_EQ(lines.size(), 11u) << bytes;
    EXPECT_TRUE(
        std::regex_match(lines[0], std::regex(R"(LOGGING_TESTS started at \d{4}-\d\d-\d\d \d\d:\d\d)")))
        << lines[0];
    EXPECT_EQ(lines[1], ExpectedOSLine());
    EXPECT_EQ(lines[2], "RUN-OPTIONS invleaks nodbg");
    EXPECT_EQ(lines[3], "WORKING-DIR " + m_folder.Path());
    EXPECT_EQ(lines[4], "USER artist");
    EXPECT_EQ(lines[5], "");
    // Everything after the header, byte for byte.
    const size_t headerEnd = bytes.find("USER artist\r\n\r\n") + std::string("USER artist\r\n\r\n").size();
    EXPECT_EQ(bytes.substr(headerEnd),
              "first\r\n\r\nthird line\r\n\r\nApplication closed without errors\r\n");
}

TEST_F(LogPortTest, WithTimestampsEveryLineOfABatchHasTheSamePrefix)
{
    {
        LogFileIOPort port("stamped.log", true);
        EXPECT_TRUE(port.GetTimestamps());
        const char* batch[] = {"a", "b"};
        port.WriteBatch(batch, 2);
        port.Close(-1);
    }
    const std::string bytes = ReadFile(m_folder / "stamped.log");
    const std::regex stamp(R"((\d\d):(\d\d):(\d\d)\.(\d\d)   )");
    // Header six lines, two lines, then the exit line (its own empty line first).
    const auto lines = CrLfLines(bytes);
    ASSERT_EQ(lines.size(), 10u) << bytes;
    for (const std::string& l : lines)
    {
        if (&l == &lines[9])
            continue; // the second half of the exit line carries no prefix of its own
        std::smatch m;
        ASSERT_TRUE(std::regex_search(l, m, stamp, std::regex_constants::match_continuous)) << l;
        EXPECT_LT(std::stoi(m[1]), 24);
        EXPECT_LT(std::stoi(m[2]), 60);
        EXPECT_LT(std::stoi(m[3]), 61);
    }
    EXPECT_EQ(lines[6].substr(0, 14), lines[7].substr(0, 14)) << "one prefix per batch";
    EXPECT_EQ(lines[6].substr(14), "a");
    EXPECT_EQ(lines[7].substr(14), "b");
    EXPECT_EQ(lines[5].size(), 14u) << "the empty header line is the prefix alone";
    EXPECT_EQ(lines[8].size(), 14u);
    EXPECT_EQ(lines[9], "Application closed with error code -1");
}

TEST_F(LogPortTest, AnExistingFileIsReplaced)
{
    {
        std::ofstream old(m_folder / "again.log");
        old << std::string(10000, '~');
    }
    {
        LogFileIOPort port("again.log", false);
        ASSERT_TRUE(port.IsOpen());
    }
    const std::string bytes = ReadFile(m_folder / "again.log");
    EXPECT_EQ(bytes.find('~'), std::string::npos);
    EXPECT_EQ(bytes.compare(0, 13, "LOGGING_TESTS"), 0);
}

TEST_F(LogPortTest, WithoutANameTheWalkPassesOverHeldWarningsLogs)
{
    auto p0 = std::make_unique<LogFileIOPort>(nullptr, false);
    auto p1 = std::make_unique<LogFileIOPort>("", false);
    auto p2 = std::make_unique<LogFileIOPort>(nullptr, false);
    EXPECT_EQ(p0->GetFileName(), m_folder / "warnings.log");
    EXPECT_EQ(p1->GetFileName(), m_folder / "warnings1.log");
    EXPECT_EQ(p2->GetFileName(), m_folder / "warnings2.log");
    auto names = LogRegistry::Names();
    EXPECT_NE(std::find(names.begin(), names.end(), m_folder / "warnings1.log"), names.end());

    // A log that closes is free again; the first free name wins.
    p1->Close(0);
    p1.reset();
    EXPECT_FALSE(LogRegistry::IsRegistered((m_folder / "warnings1.log").c_str()));
    LogFileIOPort again(nullptr, false);
    EXPECT_EQ(again.GetFileName(), m_folder / "warnings1.log");
    EXPECT_TRUE(p0->IsOpen());
    EXPECT_TRUE(p2->IsOpen());
}

TEST_F(LogPortTest, AWarningsLogLockedByAnotherProcessIsPassedOverAndKept)
{
    // Another writer's log: its own open file with the lock taken, as another tq7z would hold it.
    const std::string other = m_folder / "warnings.log";
    {
        std::ofstream out(other, std::ios::binary);
        out << "other process";
    }
    const int fd = ::open(other.c_str(), O_RDWR);
    ASSERT_GE(fd, 0);
    ASSERT_EQ(::flock(fd, LOCK_EX | LOCK_NB), 0);

    LogFileIOPort port(nullptr, false);
    EXPECT_EQ(port.GetFileName(), m_folder / "warnings1.log");
    EXPECT_EQ(ReadFile(other), "other process");
    ::close(fd);
}

TEST_F(LogPortTest, AllTenWarningsLogsHeldLeavesThePortWithoutAFile)
{
    std::vector<std::unique_ptr<LogFileIOPort>> held;
    for (int i = 0; i < LogFileIOPort::WarningsTries; ++i)
    {
        held.push_back(std::make_unique<LogFileIOPort>(nullptr, false));
        ASSERT_TRUE(held.back()->IsOpen()) << i;
    }
    EXPECT_EQ(held.back()->GetFileName(), m_folder / "warnings9.log");
    LogFileIOPort eleventh(nullptr, false);
    EXPECT_FALSE(eleventh.IsOpen());
    EXPECT_FALSE(testutil::Exists(m_folder / "warnings10.log"));
}

TEST_F(LogPortTest, AnyOtherFailureEndsTheWalkAndThePortWritesNothing)
{
    // A folder where the log should be: not held by a log, so the walk ends on it.
    ASSERT_EQ(::mkdir((m_folder / "warnings.log").c_str(), 0755), 0);
    LogFileIOPort port(nullptr, false);
    EXPECT_FALSE(port.IsOpen());
    EXPECT_EQ(port.GetFileName(), "");
    const char* batch[] = {"lost"};
    port.WriteBatch(batch, 1);
    port.Close(0);
    EXPECT_FALSE(testutil::Exists(m_folder / "warnings1.log"));
    EXPECT_TRUE(std::filesystem::is_empty(m_folder / "warnings.log"));
}

TEST_F(LogPortTest, ANamedLogHeldByAnotherPortIsNotOpenedTwice)
{
    LogFileIOPort first("shared.log", false);
    ASSERT_TRUE(first.IsOpen());
    LogFileIOPort second("./SHARED.log", false); // the same file, found without regard to case
    EXPECT_FALSE(second.IsOpen());
    const char* batch[] = {"kept"};
    first.WriteBatch(batch, 1);
    first.Close(0);
    const std::string bytes = ReadFile(m_folder / "shared.log");
    EXPECT_NE(bytes.find("kept\r\n\r\nApplication closed without errors\r\n"), std::string::npos);
    EXPECT_EQ(bytes.find("LOGGING_TESTS", 1), std::string::npos) << "one header only";
}

TEST_F(LogPortTest, ThreadsWriteWholeBatches)
{
    {
        LogFileIOPort port("threads.log", false);
        auto writer = [&port](const char* tag)
        {
            for (int i = 0; i < 200; ++i)
            {
                const char* batch[] = {tag, tag, tag};
                port.WriteBatch(batch, 3);
            }
        };
        std::thread a(writer, "aaaaaaaaaaaaaaaaaaaaaaaa");
        std::thread b(writer, "bbbbbbbbbbbbbbbbbbbbbbbb");
        a.join();
        b.join();
        port.Close(0);
    }
    const auto lines = CrLfLines(ReadFile(m_folder / "threads.log"));
    ASSERT_EQ(lines.size(), 6u + 1200u + 2u);
    for (size_t i = 6; i < 6 + 1200; i += 3)
    {
        EXPECT_EQ(lines[i], lines[i + 1]) << i;
        EXPECT_EQ(lines[i], lines[i + 2]) << i;
    }
}
