#include "storage/osfile.h"

#include "foundation/debug.h"

#include <gtest/gtest.h>

#include "support/tempfolder.h"

#include <chrono>
#include <filesystem>
#include <string>

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

TEST_F(OSFileTest, AttributesOfFilesAndFolders)
{
    MakeFile("plain.txt", "x");
    m_folder.Write("locked.txt", "x", fs::perms(0444));
    EXPECT_EQ(OSFile::FileAttr(Path("plain.txt").c_str()), 0x302u);
    EXPECT_EQ(OSFile::FileAttr(Path("locked.txt").c_str()), 0x102u);
    EXPECT_EQ(OSFile::FileAttr(m_root.c_str()), 0x301u);
    EXPECT_EQ(OSFile::FileAttr(Path("missing.txt").c_str()), 0u);
    dbg::ScopedThrowOnAssert throws;
    EXPECT_THROW(OSFile::FileAttr(""), std::runtime_error);
}

TEST_F(OSFileTest, NamesResolveWithoutRegardToCaseAndWithEitherSeparator)
{
    MakeFile("Art/Models/Walker.SGM", "walker");
    std::string given = m_root + "\\ART\\models\\walker.sgm";
    EXPECT_EQ(OSFile::FileAttr(given.c_str()) & OSFile::F_ATTRIBUTE_FILE, uint32(OSFile::F_ATTRIBUTE_FILE));
    EXPECT_EQ(OSFile::NativeName(given.c_str()), Path("Art/Models/Walker.SGM"));
    OSFile::Handle h = OSFile::Open(given.c_str(), OSFile::OM_Read, true);
    ASSERT_NE(h, 0u);
    char text[16] = {};
    EXPECT_EQ(OSFile::Read(h, text, sizeof(text)), 6u);
    EXPECT_STREQ(text, "walker");
    OSFile::Close(h);
}

TEST_F(OSFileTest, NewFilesTakeTheGivenCaseInsideExistingFolders)
{
    fs::create_directories(Path("Data/Final"));
    std::string given = m_root + "/DATA/final/New.TQM";
    OSFile::Handle h = OSFile::Open(given.c_str(), OSFile::OM_Write, false);
    ASSERT_NE(h, 0u);
    EXPECT_EQ(OSFile::Write(h, "abc", 3), 3u);
    OSFile::Close(h);
    EXPECT_EQ(ReadAll(Path("Data/Final/New.TQM")), "abc");
    EXPECT_FALSE(fs::exists(Path("DATA")));
    // Writing the same file under another case truncates it, rather than making a second one.
    h = OSFile::Open((m_root + "/data/FINAL/new.tqm").c_str(), OSFile::OM_Write, false);
    ASSERT_NE(h, 0u);
    EXPECT_EQ(OSFile::Write(h, "z", 1), 1u);
    OSFile::Close(h);
    EXPECT_EQ(ReadAll(Path("Data/Final/New.TQM")), "z");
    EXPECT_EQ(std::distance(fs::directory_iterator(Path("Data/Final")), fs::directory_iterator()), 1);
}

TEST_F(OSFileTest, OpenModes)
{
    EXPECT_EQ(OSFile::Open(Path("missing").c_str(), OSFile::OM_Read, true), 0u);
    EXPECT_EQ(OSFile::Open(m_root.c_str(), OSFile::OM_Read, true), 0u) << "a folder is not a file";
    MakeFile("log.txt", "12345");
    OSFile::Handle h = OSFile::Open(Path("log.txt").c_str(), OSFile::OM_ReadWrite, false);
    ASSERT_NE(h, 0u);
    EXPECT_EQ(OSFile::Tell(h), 5u) << "read-write opens at the end";
    EXPECT_EQ(OSFile::Length(h), 5u);
    EXPECT_EQ(OSFile::Write(h, "67", 2), 2u);
    EXPECT_TRUE(OSFile::Seek(h, 1));
    char c[3] = {};
    EXPECT_EQ(OSFile::Read(h, c, 2), 2u);
    EXPECT_STREQ(c, "23");
    EXPECT_TRUE(OSFile::Flush(h));
    OSFile::Close(h);
    EXPECT_EQ(ReadAll(Path("log.txt")), "1234567");
    h = OSFile::Open(Path("fresh.txt").c_str(), OSFile::OM_ReadWrite, false);
    ASSERT_NE(h, 0u) << "read-write creates";
    EXPECT_EQ(OSFile::Tell(h), 0u);
    OSFile::Close(h);
    h = OSFile::Open(Path("log.txt").c_str(), OSFile::OM_Write, false);
    ASSERT_NE(h, 0u);
    EXPECT_EQ(OSFile::Length(h), 0u) << "write truncates";
    OSFile::Close(h);
    dbg::ScopedThrowOnAssert throws;
    EXPECT_THROW(OSFile::Open(Path("x").c_str(), 3, false), std::runtime_error);
    EXPECT_THROW(OSFile::Open(nullptr, 0, false), std::runtime_error);
    EXPECT_THROW(OSFile::Close(0), std::runtime_error);
}

TEST_F(OSFileTest, DeleteRenameAndCopyResults)
{
    MakeFile("a.txt", "alpha");
    MakeFile("b.txt", "beta");
    EXPECT_EQ(OSFile::Rename(Path("a.txt").c_str(), Path("b.txt").c_str()), OSFile::R_Failed);
    EXPECT_EQ(OSFile::Rename(Path("none").c_str(), Path("c.txt").c_str()), OSFile::R_FileNotFound);
    EXPECT_EQ(OSFile::Rename(Path("A.TXT").c_str(), Path("c.txt").c_str()), OSFile::R_Success);
    EXPECT_EQ(ReadAll(Path("c.txt")), "alpha");
    EXPECT_EQ(OSFile::Rename(Path("c.txt").c_str(), Path("C.txt").c_str()), OSFile::R_Success);
    EXPECT_TRUE(fs::exists(Path("C.txt")));
    EXPECT_EQ(OSFile::Copy(Path("C.txt").c_str(), Path("b.txt").c_str(), true), OSFile::R_Failed);
    EXPECT_EQ(ReadAll(Path("b.txt")), "beta");
    // A copy takes the permission bits and the time of its source.
    fs::permissions(Path("C.txt"), fs::perms(0640));
    const auto time = fs::last_write_time(Path("C.txt")) - std::chrono::hours(48);
    fs::last_write_time(Path("C.txt"), time);
    EXPECT_EQ(OSFile::Copy(Path("c.txt").c_str(), Path("b.txt").c_str(), false), OSFile::R_Success);
    EXPECT_EQ(ReadAll(Path("b.txt")), "alpha");
    EXPECT_EQ(fs::status(Path("b.txt")).permissions(), fs::perms(0640));
    EXPECT_EQ(fs::last_write_time(Path("b.txt")), time);
    EXPECT_EQ(OSFile::Copy(Path("b.txt").c_str(), Path("B.TXT").c_str(), false), OSFile::R_Failed)
        << "copying a file onto itself must not truncate it";
    EXPECT_EQ(ReadAll(Path("b.txt")), "alpha");
    EXPECT_EQ(OSFile::Copy(Path("none").c_str(), Path("d.txt").c_str(), false), OSFile::R_FileNotFound);
    EXPECT_EQ(OSFile::Delete(Path("B.txt").c_str()), OSFile::R_Success);
    EXPECT_EQ(OSFile::Delete(Path("b.txt").c_str()), OSFile::R_FileNotFound);
    EXPECT_EQ(OSFile::Delete(m_root.c_str()), OSFile::R_AccessDenied);
}

TEST_F(OSFileTest, ModifyTimeFoldersAndListing)
{
    MakeFile("one.txt", "1");
    EXPECT_GT(OSFile::ModifyTime(Path("ONE.txt").c_str()), 1600000000u);
    EXPECT_EQ(OSFile::ModifyTime(Path("two.txt").c_str()), 0u);
    EXPECT_EQ(OSFile::MakeFolder(Path("Sub").c_str()), OSFile::R_Success);
    EXPECT_EQ(OSFile::MakeFolder(Path("SUB").c_str()), OSFile::R_Success) << "an existing folder";
    EXPECT_EQ(OSFile::MakeFolder(Path("one.txt").c_str()), OSFile::R_Failed);
    EXPECT_EQ(OSFile::MakeFolder(Path("no/such").c_str()), OSFile::R_FileNotFound);
    std::vector<OSFile::FolderEntry> entries;
    ASSERT_TRUE(OSFile::ListFolder(m_root.c_str(), entries));
    ASSERT_EQ(entries.size(), 2u);
    EXPECT_EQ(entries[0].name, "Sub");
    EXPECT_TRUE(entries[0].isFolder);
    EXPECT_EQ(entries[1].name, "one.txt");
    EXPECT_FALSE(entries[1].isFolder);
    EXPECT_FALSE(OSFile::ListFolder(Path("none").c_str(), entries));
}
} // namespace
