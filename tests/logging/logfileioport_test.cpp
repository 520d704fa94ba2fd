#include "foundation/runoptions.h"
#include "logging/logfileioport.h"
#include "logging/logregistry.h"
#include "logging/tempfolder.h"

#include <gtest/gtest.h>

#include <regex>
#include <sys/sysinfo.h>
#include <sys/utsname.h>

using testutil::ReadFile;

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
    struct sysinfo info = {};
    EXPECT_EQ(::sysinfo(&info), 0);
    const unsigned long long bytes = (unsigned long long)info.totalram * info.mem_unit;
    const unsigned long long mb = bytes / (1024 * 1024) + (bytes % (1024 * 1024) ? 1 : 0);
    return "OS " + std::string(u.sysname) + " " + std::to_string(major) + "." + std::to_string(minor) + ", " +
           std::to_string(mb) + "MB Physical Memory";
}

class LogPortTest : public testing::Test
{
protected:
    void SetUp() override { RunOptions::Clear(); }
    void TearDown() override { RunOptions::Clear(); }

    testutil::WorkingFolder m_folder;
    ScopedEnv m_user{"USER", "artist"};
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

// A port without a name takes warnings.log, or the next warningsN.log when another log holds it;
// dropping a registration frees only its own name.
TEST_F(LogPortTest, UnnamedPortsTakeTheFirstWarningsLogNotHeld)
{
    LogFileIOPort first(nullptr, false), second(nullptr, false);
    EXPECT_EQ(first.GetFileName(), m_folder / "warnings.log");
    EXPECT_EQ(second.GetFileName(), m_folder / "warnings1.log");
    const uint32 a = LogRegistry::Register("a"), b = LogRegistry::Register("b");
    LogRegistry::Unregister(b);
    EXPECT_TRUE(LogRegistry::IsRegistered("a"));
    EXPECT_FALSE(LogRegistry::IsRegistered("b"));
    LogRegistry::Unregister(a);
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
        EXPECT_TRUE(std::stoi(m[1]) < 24 && std::stoi(m[2]) < 60 && std::stoi(m[3]) < 61) << l;
    }
    EXPECT_EQ(lines[6].substr(0, 14), lines[7].substr(0, 14)) << "one prefix per batch";
    EXPECT_EQ(lines[6].substr(14) + lines[7].substr(14), "ab");
    EXPECT_EQ(lines[5].size(), 14u) << "the empty header line is the prefix alone";
    EXPECT_EQ(lines[8].size(), 14u);
    EXPECT_EQ(lines[9], "Application closed with error code -1");
}
