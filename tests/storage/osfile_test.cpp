#include "storage/osfile.h"

#include "foundation/debug.h"

#include <gtest/gtest.h>

#include "support/tempfolder.h"

#include <chrono>
#include <fcntl.h>
#include <filesystem>
#include <string>
#include <unistd.h>

namespace
{
namespace fs = std::filesystem;

class OSFileTest : public ::testing::Test
{
protected:
    std::string Path(const std::string& rel) const { return m_folder / rel; }
    void MakeFile(const std::string& rel, const std::string& text) const { m_folder.Write(rel, text); }
    static std::string ReadAll(const std::string& path) { return TempFolder::Read(path); }
    TempFolder m_folder;
    const std::string m_root = m_folder.Path();
};

TEST_F(OSFileTest, AttributesWritabilityAndSharing)
{
    MakeFile("plain.txt", "x");
    m_folder.Write("locked.txt", "x", fs::perms(0444));
    EXPECT_EQ(OSFile::FileAttr(Path("plain.txt").c_str()), 0x302u);
    EXPECT_EQ(OSFile::FileAttr(Path("locked.txt").c_str()), 0x102u);
    EXPECT_EQ(OSFile::FileAttr(m_root.c_str()), 0x301u);
    EXPECT_EQ(OSFile::FileAttr(Path("missing.txt").c_str()), 0u);
    EXPECT_EQ(OSFile::SetWritable(Path("LOCKED.txt").c_str(), true), OSFile::R_Success);
    EXPECT_EQ(OSFile::SetWritable(Path("plain.txt").c_str(), false), OSFile::R_Success);
    EXPECT_EQ(OSFile::FileAttr(Path("locked.txt").c_str()), 0x302u);
    EXPECT_EQ(OSFile::FileAttr(Path("plain.txt").c_str()), 0x102u);
    EXPECT_EQ(OSFile::SetWritable(Path("missing.txt").c_str(), true), OSFile::R_FileNotFound);
    // The kernel's process files refuse a change of mode, even to root.
    EXPECT_EQ(OSFile::SetWritable("/proc/self/status", true), OSFile::R_AccessDenied);
    // A file held open for writing is not ready; closed, it is; a missing one never is.
    const int fd = ::open(Path("plain.txt").c_str(), O_WRONLY);
    ASSERT_GE(fd, 0);
    EXPECT_FALSE(OSFile::CanOpenShared(Path("plain.txt").c_str()));
    ::close(fd);
    EXPECT_TRUE(OSFile::CanOpenShared(Path("plain.txt").c_str()));
    EXPECT_FALSE(OSFile::CanOpenShared(Path("missing.txt").c_str()));
}

TEST_F(OSFileTest, NamesResolveWithoutRegardToCaseAndNewFilesTakeTheGivenCase)
{
    MakeFile("Art/Models/Walker.SGM", "walker");
    const std::string given = m_root + "\\ART\\models\\walker.sgm";
    EXPECT_EQ(OSFile::NativeName(given.c_str()), Path("Art/Models/Walker.SGM"));
    OSFile::Handle h = OSFile::Open(given.c_str(), OSFile::OM_Read, true);
    char text[16] = {};
    EXPECT_EQ(OSFile::Read(h, text, sizeof(text)), 6u);
    EXPECT_STREQ(text, "walker");
    OSFile::Close(h);
    // Inside existing folders a new file takes the given case; the same file under another case
    // is truncated, not made a second time.
    for (const char* name : {"/ART/models/New.TQM", "/art/MODELS/new.tqm"})
    {
        h = OSFile::Open((m_root + name).c_str(), OSFile::OM_Write, false);
        EXPECT_EQ(OSFile::Write(h, name, 4), 4u);
        OSFile::Close(h);
    }
    EXPECT_EQ(ReadAll(Path("Art/Models/New.TQM")), "/art");
    EXPECT_EQ(std::distance(fs::directory_iterator(Path("Art/Models")), fs::directory_iterator()), 2);
}

TEST_F(OSFileTest, OpenModes)
{
    EXPECT_EQ(OSFile::Open(Path("missing").c_str(), OSFile::OM_Read, true), 0u);
    EXPECT_EQ(OSFile::Open(m_root.c_str(), OSFile::OM_Read, true), 0u) << "a folder is not a file";
    MakeFile("log.txt", "12345");
    OSFile::Handle h = OSFile::Open(Path("log.txt").c_str(), OSFile::OM_ReadWrite, false);
    ASSERT_NE(h, 0u);
    EXPECT_EQ(OSFile::Tell(h), 5u) << "read-write opens at the end";
    EXPECT_EQ(OSFile::Write(h, "67", 2), 2u);
    EXPECT_TRUE(OSFile::Seek(h, 1));
    char c[3] = {};
    EXPECT_EQ(OSFile::Read(h, c, 2), 2u);
    EXPECT_STREQ(c, "23");
    OSFile::Close(h);
    EXPECT_EQ(ReadAll(Path("log.txt")), "1234567");
    dbg::ScopedThrowOnAssert silent(false);
    EXPECT_EQ(OSFile::Open(Path("x").c_str(), 3, false), 0u);
}

TEST_F(OSFileTest, DeleteRenameAndCopyResults)
{
    MakeFile("a.txt", "alpha");
    MakeFile("b.txt", "beta");
    auto rename = [&](const char* from, const char* to)
    { return OSFile::Rename(Path(from).c_str(), Path(to).c_str()); };
    auto copy = [&](const char* from, const char* to, bool failIfExists)
    { return OSFile::Copy(Path(from).c_str(), Path(to).c_str(), failIfExists); };
    const std::vector<OSFile::Result> results = {rename("a.txt", "b.txt"),     rename("none", "c.txt"),
                                                 rename("A.TXT", "c.txt"),     rename("c.txt", "C.txt"),
                                                 copy("C.txt", "b.txt", true), copy("none", "d.txt", false)};
    EXPECT_EQ(results, (std::vector{OSFile::R_Failed, OSFile::R_FileNotFound, OSFile::R_Success,
                                    OSFile::R_Success, OSFile::R_Failed, OSFile::R_FileNotFound}));
    EXPECT_EQ(ReadAll(Path("C.txt")) + ReadAll(Path("b.txt")), "alphabeta");
    // A copy takes the permission bits and the time of its source.
    fs::permissions(Path("C.txt"), fs::perms(0640));
    const auto time = fs::last_write_time(Path("C.txt")) - std::chrono::hours(48);
    fs::last_write_time(Path("C.txt"), time);
    EXPECT_EQ(copy("c.txt", "b.txt", false), OSFile::R_Success);
    EXPECT_EQ(ReadAll(Path("b.txt")), "alpha");
    EXPECT_EQ(fs::status(Path("b.txt")).permissions(), fs::perms(0640));
    EXPECT_EQ(fs::last_write_time(Path("b.txt")), time);
    EXPECT_EQ(copy("b.txt", "B.TXT", false), OSFile::R_Failed)
        << "copying a file onto itself must not truncate it";
    EXPECT_EQ(OSFile::Delete(Path("B.txt").c_str()), OSFile::R_Success);
    EXPECT_EQ(OSFile::Delete(Path("b.txt").c_str()), OSFile::R_FileNotFound);
    EXPECT_EQ(OSFile::Delete(m_root.c_str()), OSFile::R_AccessDenied);
}

} // namespace
