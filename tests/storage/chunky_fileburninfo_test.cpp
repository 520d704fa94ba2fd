#include "storage/chunky.h"
#include "storage/diskfilestream.h"
#include "storage/fileburninfo.h"
#include "storage/filepath.h"
#include "storage/filepath_hd.h"
#include "storage/ramstream.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <regex>
#include <string>

namespace
{
std::tm At(int hour, int minute, int second)
{
    std::tm time = {};
    time.tm_year = 2024 - 1900;
    time.tm_mon = 2;
    time.tm_mday = 5;
    time.tm_hour = hour;
    time.tm_min = minute;
    time.tm_sec = second;
    return time;
}

TEST(FileBurnInfoDate, TwelveHourClockWithoutALeadingZero)
{
    EXPECT_EQ(FileBurnInfo::FormatDate(At(15, 7, 9)), "March 05, 2024, 3:07:09 PM");
    EXPECT_EQ(FileBurnInfo::FormatDate(At(0, 5, 0)), "March 05, 2024, 12:05:00 AM");
    EXPECT_EQ(FileBurnInfo::FormatDate(At(12, 0, 0)), "March 05, 2024, 12:00:00 PM");
    EXPECT_EQ(FileBurnInfo::FormatDate(At(10, 59, 59)), "March 05, 2024, 10:59:59 AM");

    FileBurnInfo now;
    EXPECT_EQ(now.m_Value, 0u);
    EXPECT_TRUE(now.m_Label.empty());
    EXPECT_TRUE(now.m_Text.empty());
    EXPECT_TRUE(std::regex_match(
        now.m_Date,
        std::regex("[A-Z][a-z]+ [0-3][0-9], [0-9]{4}, (1[0-2]|[1-9]):[0-5][0-9]:[0-6][0-9] (AM|PM)")))
        << now.m_Date;
}

TEST(FileBurnInfoChunk, PayloadLayoutAndRoundTrip)
{
    FileBurnInfo info;
    info.m_Label = "walker";
    info.m_Value = 0x01020304;
    info.m_Text = "burner";
    info.m_Date = "May 01, 2023, 9:00:00 AM";

    RamStream stream;
    stream.Create(64, ByteStream::Mode_Write);
    ByteStreamAdapter adapter(stream);
    {
        Chunky chunky(adapter);
        info.Write(chunky, adapter);
    }
    const std::string bytes(reinterpret_cast<const char*>(stream.GetBuffer()), stream.GetLength());
    const std::string payload =
        std::string("\x06\0\0\0walker\x04\x03\x02\x01\x06\0\0\0burner\x18\0\0\0", 28) + info.m_Date;
    const std::string header = std::string("DATAFBIF\x01\0\0\0", 12) + char(payload.size()) +
                               std::string("\0\0\0\x0d\0\0\0", 7) + std::string("FileBurnInfo\0", 13);
    EXPECT_EQ(bytes.substr(24), header + payload);

    RamStream in;
    in.Attach(stream.GetBuffer(), stream.GetLength(), false, ByteStream::Mode_Read);
    ByteStreamAdapter reader(in);
    Chunky chunky(reader);
    FileBurnInfo back;
    ASSERT_TRUE(back.Read(chunky, reader));
    EXPECT_EQ(back.m_Label, "walker");
    EXPECT_EQ(back.m_Value, 0x01020304u);
    EXPECT_EQ(back.m_Text, "burner");
    EXPECT_EQ(back.m_Date, info.m_Date);
}

TEST(FileBurnInfoChunk, ReadFromANamedFileThroughAnAlias)
{
    char pattern[] = "/tmp/tq7z_burninfo_XXXXXX";
    ASSERT_NE(::mkdtemp(pattern), nullptr);
    const std::string root = pattern;
    {
        DiskFileStream stream;
        ASSERT_TRUE(stream.Open((root + "/Final.tqm").c_str(), ByteStream::Mode_Write, false));
        ByteStreamAdapter adapter(stream);
        Chunky chunky(adapter);
        FileBurnInfo info;
        info.m_Label = "first";
        info.m_Value = 7;
        info.Write(chunky, adapter);
        chunky.OpenFolderChunk(FourCC("RSGM"), 1, nullptr);
        chunky.CloseChunk();
    }
    {
        DiskFileStream stream;
        ASSERT_TRUE(stream.Open((root + "/none.tqm").c_str(), ByteStream::Mode_Write, false));
        ByteStreamAdapter adapter(stream);
        Chunky chunky(adapter);
        chunky.OpenFolderChunk(FourCC("RSGM"), 1, nullptr);
        chunky.CloseChunk();
    }
    ASSERT_TRUE(FilePath::AddAlias("BURNT", "disk", 1,
                                   FilePathHD::Create(root.c_str(), ByteStream::Mode_Read, true, false)));
    FileBurnInfo info;
    ASSERT_TRUE(FileBurnInfo::ReadFromFile("BURNT:final.tqm", info));
    EXPECT_EQ(info.m_Label, "first");
    EXPECT_EQ(info.m_Value, 7u);
    EXPECT_FALSE(FileBurnInfo::ReadFromFile("BURNT:none.tqm", info)) << "a file without the record";
    EXPECT_FALSE(FileBurnInfo::ReadFromFile("BURNT:missing.tqm", info));
    FilePath::RemoveAlias("BURNT", "disk");
    std::filesystem::remove_all(root);
}
} // namespace
