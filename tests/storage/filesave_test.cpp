#include "storage/filesave.h"

#include "storage/filepath.h"
#include "storage/filepath_hd.h"
#include "support/logcapture.h"
#include "support/tempfolder.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace
{
struct DataAlias
{
    explicit DataAlias(const TempFolder& folder)
    {
        FilePath::AddAlias("DATA", "test", 100,
                           FilePathHD::Create(folder.Path().c_str(), ByteStream::Mode_Both, false, false));
    }
    ~DataAlias() { FilePath::Reset(); }
};

bool Save(const char* name, const std::string& bytes, bool commit = true)
{
    FileSave file(name);
    file.Write(bytes.data(), uint32(bytes.size()));
    return !commit || file.Commit();
}

auto EntryCount(const std::string& folder)
{
    return std::distance(std::filesystem::recursive_directory_iterator(folder), {});
}
} // namespace

TEST(FileSave, SeeksBackPatchAndOnlyACommitReplacesTheFileKeepingItsBitsOrNone)
{
    TempFolder folder;
    DataAlias alias(folder);
    FileSave file("DATA:sub\\model.tqm");
    file.Write("0000abcdef", 10);
    ASSERT_TRUE(file.Seek(2));
    file.Write("XY", 2);
    EXPECT_FALSE(file.Seek(11)) << "past the end";
    ASSERT_TRUE(file.Commit());
    EXPECT_EQ(TempFolder::Read(folder / "sub/model.tqm"), "00XYabcdef");
    EXPECT_EQ(EntryCount(folder.Path()), 2) << "the folder and the file, no temporary left";
    const std::string path = folder.Write("m.tqm", "old", std::filesystem::perms(0640));
    ASSERT_TRUE(Save("DATA:M.TQM", "new but never committed", false));
    EXPECT_EQ(TempFolder::Read(path), "old");
    ASSERT_TRUE(Save("DATA:M.TQM", "new")) << "the name resolves without regard to case";
    EXPECT_EQ(TempFolder::Read(path), "new");
    EXPECT_EQ(std::filesystem::status(path).permissions() & std::filesystem::perms::all,
              std::filesystem::perms(0640));
    // A refused save leaves the old file as it was.
    folder.Write("locked.tqm", "old", std::filesystem::perms(0444));
    LogCapture log;
    EXPECT_FALSE(Save("DATA:locked.tqm", "new"));
    EXPECT_TRUE(log.Has("'DATA:locked.tqm': Unable to write the file (access denied)!"));
    EXPECT_EQ(TempFolder::Read(folder / "locked.tqm"), "old");
    EXPECT_EQ(EntryCount(folder.Path()), 4);
    EXPECT_FALSE(Save("NOWHERE:x.tqm", "new"));
}
