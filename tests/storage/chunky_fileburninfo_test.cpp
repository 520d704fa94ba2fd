#include "storage/fileburninfo.h"
#include "storage/filepath.h"
#include "storage/filepath_hd.h"

#include "support/chunkmemory.h"
#include "support/tempfolder.h"

#include <gtest/gtest.h>

#include <string>

namespace
{
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
    EXPECT_TRUE(back.m_Label == "walker" && back.m_Value == 0x01020304u && back.m_Text == "burner" &&
                back.m_Date == info.m_Date);
    // A payload cut after the value ends early.
    ChunkReader cut(out.Bytes().substr(0, 24) + header.substr(0, 12) + std::string("\x0e\0\0\0", 4) +
                    header.substr(16) + payload.substr(0, 14));
    EXPECT_FALSE(back.Read(*cut.m_pChunky, cut.m_adapter));
}

TEST(FileBurnInfoChunk, ReadFromANamedFileThroughAnAlias)
{
    TempFolder folder;
    for (const char* name : {"Final.tqm", "none.tqm"})
    {
        ChunkWriter out;
        FileBurnInfo info;
        info.m_Label = "first";
        info.m_Value = 7;
        if (name[0] == 'F')
            info.Write(*out.m_pChunky, out.m_adapter);
        out.m_pChunky->OpenFolderChunk(FourCC("RSGM"), 1, nullptr);
        out.m_pChunky->CloseChunk();
        folder.Write(name, out.Bytes());
    }
    folder.Write("text.tqm", "not a chunk file");
    ASSERT_TRUE(FilePath::AddAlias(
        "BURNT", "disk", 1, FilePathHD::Create(folder.Path().c_str(), ByteStream::Mode_Read, true, false)));
    FileBurnInfo back;
    ASSERT_TRUE(FileBurnInfo::ReadFromFile("BURNT:final.tqm", back));
    EXPECT_TRUE(back.m_Label == "first" && back.m_Value == 7u);
    for (const char* name : {"BURNT:none.tqm", "BURNT:missing.tqm", "BURNT:text.tqm"})
        EXPECT_FALSE(FileBurnInfo::ReadFromFile(name, back)) << name;
    FilePath::RemoveAlias("BURNT", "disk");
}
} // namespace
