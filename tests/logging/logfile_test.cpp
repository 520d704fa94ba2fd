#include "foundation/debug.h"
#include "foundation/linecapture.h"
#include "logging/logfile.h"
#include "logging/tempfolder.h"
#include "storage/bytestream.h"
#include "storage/filepath_hd.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <regex>

using testutil::ReadFile;

namespace
{
std::string Escape(const std::string& s)
{
    return std::regex_replace(s, std::regex(R"([.^$|()\[\]{}*+?\\])"), R"(\$&)");
}

} // namespace

TEST(LogFile, NameCarriesTheDateAndTimeAndTheFolderIsMade)
{
    testutil::WorkingFolder folder;
    LogFile log;
    ASSERT_TRUE(log.Open("leaks/deeper/InventoryLeaks", ".csv", false, false));
    EXPECT_TRUE(log.IsOpen());
    const std::string name = log.GetName();
    EXPECT_TRUE(std::regex_match(
        name, std::regex(Escape(folder.Path()) +
                         R"(/leaks/deeper/InventoryLeaks\.\d{4}-\d\d-\d\d\.\d\d-\d\d-\d\d\.csv)")))
        << name;
    EXPECT_TRUE(std::filesystem::exists(name));
    log.Close();
    EXPECT_FALSE(log.IsOpen());
    EXPECT_STREQ(log.GetName(), "");
}

TEST(LogFile, LinesEndInCrLfWithOptionalTimeAndEcho)
{
    testutil::WorkingFolder folder;
    testutil::LineCapture cap;
    std::string plainName, stampedName;
    {
        LogFile plain;
        ASSERT_TRUE(plain.Open("plain", "", false, true));
        EXPECT_TRUE(plain.GetEcho());
        EXPECT_FALSE(plain.GetTimestamps());
        plainName = plain.GetName();
        EXPECT_EQ(plainName.substr(plainName.size() - 4), ".log") << "an empty extension gives .log";
        EXPECT_TRUE(plain.Printf("Inventory Item,%s", "Stack0, "));
        EXPECT_TRUE(plain.WriteLine("two\nlines"));
        EXPECT_TRUE(plain.WriteLine(""));

        LogFile stamped;
        ASSERT_TRUE(stamped.Open("stamped", ".txt", true, false));
        stampedName = stamped.GetName();
        EXPECT_TRUE(stamped.WriteLine("x"));
    }
    EXPECT_EQ(ReadFile(plainName), "Inventory Item,Stack0, \r\ntwo\r\nlines\r\n\r\n");
    EXPECT_TRUE(std::regex_match(ReadFile(stampedName), std::regex(R"(\d\d:\d\d:\d\d\.\d\d   x\r\n)")));
    // Echo hands the lines to the output layer; the stamped log does not echo.
    EXPECT_EQ(cap.Lines(), (std::vector<std::string>{"Inventory Item,Stack0, ", "two", "lines", ""}));

    LogFile closed;
    EXPECT_FALSE(closed.WriteLine("nowhere"));
}
