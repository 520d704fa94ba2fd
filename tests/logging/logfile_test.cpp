#include "foundation/debug.h"
#include "foundation/linecapture.h"
#include "logging/logfile.h"
#include "logging/tempfolder.h"
#include "storage/bytestream.h"
#include "storage/filepath_hd.h"

#include <gtest/gtest.h>

#include <regex>

using testutil::ReadFile;
using testutil::TempFolder;

namespace
{
std::string Escape(const std::string& s)
{
    return std::regex_replace(s, std::regex(R"([.^$|()\[\]{}*+?\\])"), R"(\$&)");
}

// The dated stem of a name: everything before ".csv" and any ".N".
std::string Stem(const std::string& name)
{
    std::smatch m;
    if (std::regex_match(name, m, std::regex(R"((.*\.\d{4}-\d\d-\d\d\.\d\d-\d\d-\d\d)(\.\d)?\.[a-z]+)")))
        return m[1];
    return "";
}
} // namespace

TEST(LogFile, NameCarriesTheDateAndTimeAndTheFolderIsMade)
{
    TempFolder folder;
    LogFile log;
    ASSERT_TRUE(log.Open("leaks/deeper/InventoryLeaks", ".csv", false, false));
    EXPECT_TRUE(log.IsOpen());
    const std::string name = log.GetName();
    EXPECT_TRUE(std::regex_match(
        name, std::regex(Escape(folder.Path()) +
                         R"(/leaks/deeper/InventoryLeaks\.\d{4}-\d\d-\d\d\.\d\d-\d\d-\d\d\.csv)")))
        << name;
    EXPECT_TRUE(testutil::Exists(name));
    log.Close();
    EXPECT_FALSE(log.IsOpen());
    EXPECT_STREQ(log.GetName(), "");
}

TEST(LogFile, TenNamesAreTriedThenOpenFails)
{
    TempFolder folder;
    // The names depend on the second of the opening; when the clock moves on during the run, run
    // it again.
    for (int attempt = 0; attempt < 5; ++attempt)
    {
        std::vector<std::unique_ptr<LogFile>> logs;
        std::vector<std::string> names;
        for (int i = 0; i < LogFile::Tries; ++i)
        {
            logs.push_back(std::make_unique<LogFile>());
            ASSERT_TRUE(logs.back()->Open("Leaks", "csv", false, false)) << i;
            names.push_back(logs.back()->GetName());
        }
        LogFile eleventh;
        const bool opened = eleventh.Open("Leaks", "csv", false, false);
        const std::string stem = Stem(names[0]);
        bool sameSecond = !stem.empty();
        for (const std::string& n : names)
            sameSecond = sameSecond && Stem(n) == stem;
        if (!sameSecond || (opened && Stem(eleventh.GetName()) != stem))
        {
            std::filesystem::remove_all(folder.Path() + "/");
            std::filesystem::create_directory(folder.Path());
            continue;
        }
        EXPECT_EQ(names[0], stem + ".csv");
        for (int i = 1; i < LogFile::Tries; ++i)
            EXPECT_EQ(names[i], stem + "." + std::to_string(i) + ".csv");
        EXPECT_FALSE(opened) << "all ten names are taken";
        return;
    }
    FAIL() << "the clock moved on during every attempt";
}

TEST(LogFile, LinesEndInCrLfWithOptionalTimeAndEcho)
{
    TempFolder folder;
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

TEST(LogFile, AliasedNamesOpenThroughTheirSource)
{
    TempFolder folder;
    auto pSource = FilePathHD::Create(folder.Path().c_str(), ByteStream::Mode_Both, true, false);
    ASSERT_TRUE(pSource);
    ASSERT_TRUE(FilePath::AddAlias("LOGS", "test", 10, pSource));
    {
        LogFile log;
        ASSERT_TRUE(log.Open("LOGS:reports\\Leaks", ".csv", false, false));
        EXPECT_EQ(std::string(log.GetName()).substr(0, 18), "LOGS:reports\\Leaks");
        EXPECT_TRUE(log.WriteLine("row"));
    }
    FilePath::RemoveAlias("LOGS", "test");
    bool found = false;
    for (const auto& entry : std::filesystem::directory_iterator(folder.Path() + "/reports"))
    {
        found = true;
        EXPECT_EQ(ReadFile(entry.path().string()), "row\r\n");
    }
    EXPECT_TRUE(found);
}

TEST(LogFile, MissingNameOrExtensionIsAnAssertion)
{
    TempFolder folder;
    LogFile log;
    {
        dbg::ScopedThrowOnAssert throwing;
        EXPECT_THROW(log.Open(nullptr, ".csv", false, false), std::runtime_error);
        EXPECT_THROW(log.Open("", ".csv", false, false), std::runtime_error);
        EXPECT_THROW(log.Open("name", nullptr, false, false), std::runtime_error);
    }
    testutil::LineCapture quiet;
    dbg::ScopedThrowOnAssert passing(false);
    EXPECT_FALSE(log.Open(nullptr, ".csv", false, false));
    EXPECT_FALSE(log.IsOpen());
    EXPECT_TRUE(std::filesystem::is_empty(folder.Path()));
}
