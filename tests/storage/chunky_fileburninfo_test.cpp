#include "storage/fileburninfo.h"
#include "storage/filepath.h"
#include "storage/filepath_hd.h"

#include "support/chunkmemory.h"
#include "support/tempfolder.h"

#include <gtest/gtest.h>

#include <regex>
#include <string>

namespace
{
TEST(FileBurnInfoDate, TwelveHourClockWithoutALeadingZero)
{
    const std::pair<int, const char*> cases[] = {{15 * 3600 + 7 * 60 + 9, "3:07:09 PM"},
                                                 {5 * 60, "12:05:00 AM"},
                                                 {12 * 3600, "12:00:00 PM"},
                                                 {10 * 3600 + 59 * 60 + 59, "10:59:59 AM"}};
    for (const auto& [seconds, clock] : cases)
    {
        std::tm time = {};
        time.tm_year = 2024 - 1900;
        time.tm_mon = 2;
        time.tm_mday = 5;
        time.tm_hour = seconds / 3600;
        time.tm_min = seconds / 60 % 60;
        time.tm_sec = seconds % 60;
        EXPECT_EQ(FileBurnInfo::FormatDate(time), std::string("March 05, 2024, ") + clock);
    }
    FileBurnInfo now;
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
    ChunkWriter out;
    info.Write(*out.m_pChunky, out.m_adapter);
    const std::string payload =
        std::string("\x06\0\0\0walker\x04\x03\x02\x01\x06\0\0\0burner\x18\0\0\0", 28) + info.m_Date;
    const std::string header = std::string("DATAFBIF\x01\0\0\0", 12) + char(payload.size()) +
                               std::string("\0\0\0\x0d\0\0\0", 7) + std::string("FileBurnInfo\0", 13);
    EXPECT_EQ(out.Bytes().substr(24), header + payload);
    ChunkReader in(out.Bytes());
    FileBurnInfo back;
    ASSERT_TRUE(back.Read(*in.m_pChunky, in.m_adapter));
    EXPECT_EQ(back.m_Label, "walker");
    EXPECT_EQ(back.m_Value, 0x01020304u);
    EXPECT_EQ(back.m_Text, "burner");
    EXPECT_EQ(back.m_Date, info.m_Date);
    // A payload cut after the value ends early.
    ChunkReader cut(out.Bytes().substr(0, 24) + header.substr(0, 12) + std::string("\x0e\0\0\0", 4) +
                    header.substr(16) + payload.substr(0, 14));
    EXPECT_FALSE(back.Read(*cut.m_pChunky, cut.m_adapter));
}

TEST(FileBurnInfoChunk, ReadFromANamedFileThroughAnAlias)
{
    TempFolder folder;
    ChunkWriter burnt;
    FileBurnInfo info;
    info.m_Label = "first";
    info.m_Value = 7;
    info.Write(*burnt.m_pChunky, burnt.m_adapter);
    burnt.m_pChunky->OpenFolderChunk(FourCC("RSGM"), 1, nullptr);
    burnt.m_pChunky->CloseChunk();
    folder.Write("Final.tqm", burnt.Bytes());
    ChunkWriter plain;
    plain.m_pChunky->OpenFolderChunk(FourCC("RSGM"), 1, nullptr);
    plain.m_pChunky->CloseChunk();
    folder.Write("none.tqm", plain.Bytes());
    folder.Write("text.tqm", "not a chunk file");
    ASSERT_TRUE(FilePath::AddAlias(
        "BURNT", "disk", 1, FilePathHD::Create(folder.Path().c_str(), ByteStream::Mode_Read, true, false)));
    FileBurnInfo back;
    ASSERT_TRUE(FileBurnInfo::ReadFromFile("BURNT:final.tqm", back));
    EXPECT_EQ(back.m_Label, "first");
    EXPECT_EQ(back.m_Value, 7u);
    for (const char* name : {"BURNT:none.tqm", "BURNT:missing.tqm", "BURNT:text.tqm"})
        EXPECT_FALSE(FileBurnInfo::ReadFromFile(name, back)) << name;
    FilePath::RemoveAlias("BURNT", "disk");
}
} // namespace
