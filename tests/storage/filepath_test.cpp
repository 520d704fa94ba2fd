#include "storage/filepath.h"

#include "filepath_testutil.h"
#include "foundation/debug.h"
#include "storage/bytestream.h"
#include "storage/filepath_hd.h"

#include <gtest/gtest.h>

#include <cstring>
#include <unistd.h>

namespace
{
using namespace testutil;
using Names = std::vector<std::string>;
constexpr int Read = ByteStream::Mode_Read;
constexpr int Write = ByteStream::Mode_Write;
constexpr int Both = ByteStream::Mode_Both;

// A source that answers nothing and notes each name it is asked about, after its tag.
class RecordingSource : public FilePath::Source
{
public:
    RecordingSource(std::string tag, Names& cLog) : m_tag(std::move(tag)), m_cLog(cLog) {}
    bool BuildPath(char*, const char* inname, int) override { return Note(inname); }
    bool ConvertPath(char*, const char* fullName) override { return Note(fullName); }
    std::unique_ptr<ByteStream> Open(const char* name, int) override { return Note(name), nullptr; }
    bool Delete(const char* name) override { return Note(name); }
    bool Exists(const char* name, int) override { return Note(name); }
    int FileType(const char* name) override { return Note(name); }
    void FindFiles(const char* filespec, FilePath::FileListObj*) override { Note(filespec); }

private:
    bool Note(const char* name)
    {
        m_cLog.push_back(m_tag + " " + name);
        return false;
    }
    std::string m_tag;
    Names& m_cLog;
};

class RecordingListener : public FilePath::FileListener
{
public:
    void OnOpen(const char* name, const char* alias, const char* id) override
    {
        m_cOpen.push_back(std::string(name) + "|" + alias + "|" + id);
    }
    Names m_cOpen;
};

class FilePathTest : public ::testing::Test
{
protected:
    void TearDown() override { FilePath::Reset(); }
    // Mounts `rel` of the scratch folder (all of it when empty) under `alias`.
    void Mount(const char* alias, const char* id, int priority, int mode, const std::string& rel = "")
    {
        auto pSource = FilePathHD::Create(rel.empty() ? m_dir.Path().c_str() : m_dir.Path(rel).c_str(), mode,
                                          false, false);
        ASSERT_TRUE(pSource);
        ASSERT_TRUE(FilePath::AddAlias(alias, id, priority, pSource));
    }
    static std::string ReadAll(const std::shared_ptr<ByteStream>& pStream)
    {
        if (!pStream)
            return "<none>";
        std::string text(pStream->GetLength(), '\0');
        text.resize(pStream->Read(text.data(), uint32(text.size())));
        return text;
    }
    static bool WriteText(const std::string& name, const std::string& text,
                          FilePath::SourceID* pUsed = nullptr)
    {
        std::shared_ptr<ByteStream> pStream = FilePath::Open(name.c_str(), Write, pUsed);
        return pStream && pStream->Write(text.data(), uint32(text.size())) == text.size();
    }
    ScratchFolder m_dir;
};

TEST_F(FilePathTest, SourcesAreTriedByPriorityLaterEqualsFirst)
{
    Names cLog;
    for (auto [alias, id, priority] : {std::tuple{"data", "early10", 10},
                                       {"DATA", "top20", 20},
                                       {"Data", "late10", 10},
                                       {"DATA", "zero", 0}})
        ASSERT_TRUE(FilePath::AddAlias(alias, id, priority, std::make_shared<RecordingSource>(id, cLog)));
    EXPECT_FALSE(FilePath::Exists("DATA:x.tga", Read));
    EXPECT_EQ(cLog, (Names{"top20 x.tga", "late10 x.tga", "early10 x.tga", "zero x.tga"}));
    // Removing takes the path out of the order, the rest stays.
    cLog.clear();
    EXPECT_TRUE(FilePath::RemoveAlias("data", "LATE10"));
    EXPECT_EQ(FilePath::FileType("DATA:x.tga"), 0);
    EXPECT_EQ(cLog, (Names{"top20 x.tga", "early10 x.tga", "zero x.tga"}));
}

TEST_F(FilePathTest, NamesAreSplitAndNormalisedAlike)
{
    Names cLog;
    ASSERT_TRUE(FilePath::AddAlias("DATA", "rec", 1, std::make_shared<RecordingSource>("rec", cLog)));
    for (const char* name :
         {"data:art/x.tga", "DATA:art\\x.tga", "Data:/art//x.tga", "DATA:\\\\server\\x.tga"})
        FilePath::FileType(name);
    EXPECT_EQ(cLog, (Names{"rec art\\x.tga", "rec art\\x.tga", "rec art\\x.tga", "rec \\\\server\\x.tga"}));
    // On disk both spellings reach the same file.
    Mount("GAME", "disk", 5, Both);
    m_dir.Write("art/x.tga", "pixels");
    char a[FilePath::MAXPATH] = "game:art/x.tga";
    char b[FilePath::MAXPATH] = "GAME:art\\x.tga";
    ASSERT_TRUE(FilePath::BuildPath(a, Read));
    ASSERT_TRUE(FilePath::BuildPath(b, Read));
    EXPECT_STREQ(a, b);
    EXPECT_EQ(std::string(a), SystemName(m_dir.Path(), true) + "\\art\\x.tga");
    EXPECT_EQ(ReadAll(FilePath::Open("game:art/X.TGA", Read)), "pixels");
}

TEST_F(FilePathTest, MissingAliasIsLoggedWithTheWholeName)
{
    LogCapture log;
    EXPECT_FALSE(FilePath::Exists("NOPE:art\\x.tga", Read));
    EXPECT_TRUE(log.Has("FILESYSTEM -- filepath failure, missing alias 'NOPE:art\\x.tga'"));
    // A name without ':' has the empty alias, which nobody registered.
    EXPECT_EQ(FilePath::Open("art\\x.tga", Read), nullptr);
    EXPECT_TRUE(log.Has("FILESYSTEM -- filepath failure, missing alias 'art\\x.tga'"));
    // An empty name fails without a word.
    log.Clear();
    EXPECT_EQ(FilePath::FileType(""), 0);
    EXPECT_FALSE(FilePath::Delete(""));
    EXPECT_EQ(log.Size(), 0u);
    EXPECT_FALSE(FilePath::RemoveAlias("NOPE", "x"));
    EXPECT_TRUE(log.Has("FILESYSTEM -- filepath failed to remove alias, missing alias 'NOPE'"));
}

TEST_F(FilePathTest, AddAliasRefusesDriveLikeAliasesDuplicatesAndNulls)
{
    Names cLog;
    auto pSource = std::make_shared<RecordingSource>("s", cLog);
    {
        dbg::ScopedThrowOnAssert throwing;
        EXPECT_THROW(FilePath::AddAlias("C", "id", 1, pSource), std::runtime_error);
        EXPECT_THROW(FilePath::AddAlias("DA:TA", "id", 1, pSource), std::runtime_error);
        EXPECT_THROW(FilePath::AddAlias("DATA", "", 1, pSource), std::runtime_error);
        EXPECT_THROW(FilePath::AddAlias("DATA", "id", -1, pSource), std::runtime_error);
    }
    dbg::ScopedThrowOnAssert silent(false);
    EXPECT_FALSE(FilePath::AddAlias("C", "id", 1, pSource));
    EXPECT_FALSE(FilePath::AddAlias("DATA", "id", 1, nullptr));
    EXPECT_TRUE(FilePath::AddAlias("DATA", "id", 1, pSource));
    EXPECT_FALSE(FilePath::AddAlias("data", "ID", 2, pSource));
    EXPECT_FALSE(FilePath::RemoveAlias("DATA", "other"));
    EXPECT_TRUE(FilePath::IsAliased("data:x"));
    EXPECT_FALSE(FilePath::IsAliased("TOOL:x"));
    EXPECT_FALSE(FilePath::IsAliased("x"));
}

TEST_F(FilePathTest, WriteSkipsReadOnlySourceAndSourceIdLimitsOpens)
{
    m_dir.Write("ro/shared.txt", "from read-only");
    Mount("DATA", "ro", 20, Read, "ro");
    Mount("DATA", "rw", 10, Both, "rw");
    EXPECT_TRUE(m_dir.Has("rw")) << "a writable root is made when missing";
    FilePath::SourceID used;
    EXPECT_FALSE(used.IsValid());
    ASSERT_TRUE(WriteText("DATA:out/sub/new.txt", "written", &used));
    EXPECT_EQ(m_dir.Read("rw/out/sub/new.txt"), "written");
    EXPECT_FALSE(m_dir.Has("ro/out"));
    EXPECT_TRUE(used.IsValid());
    EXPECT_EQ(used, FilePath::FindSource("DATA:anything.txt", Write));
    // Reading finds the file of the higher source; limited to the other one, the other copy.
    ASSERT_TRUE(WriteText("DATA:shared.txt", "from writable"));
    FilePath::SourceID readFrom;
    EXPECT_EQ(ReadAll(FilePath::Open("DATA:shared.txt", Read, &readFrom)), "from read-only");
    EXPECT_NE(readFrom, used);
    EXPECT_EQ(readFrom, FilePath::FindSource("DATA:shared.txt", Read));
    EXPECT_EQ(ReadAll(FilePath::Open("DATA:shared.txt", Read, used)), "from writable");
    EXPECT_EQ(FilePath::Open("DATA:out/sub/new.txt", Read, readFrom), nullptr);
    // The read-only source deletes nothing; the writable one deletes its copy.
    EXPECT_TRUE(FilePath::Delete("DATA:shared.txt"));
    EXPECT_FALSE(m_dir.Has("rw/shared.txt"));
    EXPECT_TRUE(m_dir.Has("ro/shared.txt"));
    EXPECT_FALSE(FilePath::FindSource("DATA:missing.txt", Read).IsValid());
}

TEST_F(FilePathTest, ListenersHearEveryOpenAndStreamsKeepTheGivenName)
{
    m_dir.Write("a.txt", "a");
    Mount("DATA", "Tools Data", 400, Read);
    RecordingListener first, second;
    EXPECT_TRUE(FilePath::AddListener("first", &first));
    EXPECT_TRUE(FilePath::AddListener("second", &second));
    EXPECT_FALSE(FilePath::AddListener("FIRST", &second));
    auto pStream = FilePath::Open("data:A.txt", Read);
    ASSERT_TRUE(pStream);
    EXPECT_STREQ(pStream->GetName(), "data:A.txt");
    EXPECT_EQ(first.m_cOpen, Names{"data:A.txt|DATA|Tools Data"});
    EXPECT_EQ(second.m_cOpen, first.m_cOpen);
    // A failed open tells nobody; a removed listener hears nothing more.
    EXPECT_EQ(FilePath::Open("DATA:missing.txt", Read), nullptr);
    EXPECT_TRUE(FilePath::RemoveListener("First"));
    EXPECT_FALSE(FilePath::RemoveListener("first"));
    EXPECT_TRUE(FilePath::Open("DATA:a.txt", Read));
    EXPECT_EQ(first.m_cOpen.size(), 1u);
    EXPECT_EQ(second.m_cOpen.size(), 2u);
}

TEST_F(FilePathTest, RootSourceRefusesNamesThatLeaveTheRoot)
{
    auto pSource = FilePathHD::Create(m_dir.Path().c_str(), Both, false, false);
    ASSERT_TRUE(pSource);
    m_dir.Write("inside.txt", "x");
    char out[FilePath::MAXPATH];
    for (const char* name : {"..\\escape.txt", "art\\..\\x", "C:\\x", "\\abs", "a/b", ""})
    {
        {
            dbg::ScopedThrowOnAssert throwing;
            EXPECT_THROW(pSource->FileType(name), std::runtime_error) << name;
        }
        dbg::ScopedThrowOnAssert silent(false);
        EXPECT_EQ(pSource->FileType(name), 0) << name;
        EXPECT_EQ(pSource->Open(name, Read), nullptr) << name;
        EXPECT_FALSE(pSource->BuildPath(out, name, Write)) << name;
        EXPECT_FALSE(pSource->Delete(name)) << name;
    }
    EXPECT_EQ(pSource->FileType("inside.txt"), 1);
}

TEST_F(FilePathTest, RootSourceCreation)
{
    LogCapture log;
    EXPECT_EQ(FilePathHD::Create(m_dir.Path("missing").c_str(), Read, false, false), nullptr);
    EXPECT_TRUE(
        log.Has("FILESYSTEM -- filepath failure, path does not exist '" + m_dir.Path("missing") + "'"));
    // Writable roots are made with their parents, in the case given; the source names them in
    // upper case and still finds them.
    auto pSource = FilePathHD::Create(m_dir.Path("Made/Deeper").c_str(), Write, false, false);
    ASSERT_TRUE(pSource);
    EXPECT_TRUE(m_dir.Has("Made/Deeper"));
    EXPECT_EQ(std::string(pSource->GetRoot()), SystemName(m_dir.Path("Made/Deeper"), true) + "\\");
    // A root under a file cannot be made.
    m_dir.Write("plain", "x");
    EXPECT_EQ(FilePathHD::Create(m_dir.Path("plain/sub").c_str(), Both, false, false), nullptr);
    EXPECT_TRUE(log.Has("FILESYSTEM -- filepath failure, failed to create path '"));
    dbg::ScopedThrowOnAssert silent(false);
    EXPECT_EQ(FilePathHD::Create(m_dir.Path().c_str(), ByteStream::Mode_None, false, false), nullptr);
    EXPECT_EQ(FilePathHD::Create(std::string(300, 'x').c_str(), Read, false, false), nullptr);
}

TEST_F(FilePathTest, BuildPathChecksReadsAndPreparesWrites)
{
    Mount("DATA", "disk", 1, Both);
    LogCapture log;
    char name[FilePath::MAXPATH] = "DATA:art\\missing.tga";
    EXPECT_FALSE(FilePath::BuildPath(name, Read));
    EXPECT_TRUE(log.Has("WARNING: Could not find file [DATA:art\\missing.tga]"));
    EXPECT_STREQ(name, "DATA:art\\missing.tga");
    std::strcpy(name, "DATA:new/folder/file.tga");
    EXPECT_TRUE(FilePath::BuildPath(name, Write));
    EXPECT_EQ(std::string(name), SystemName(m_dir.Path(), true) + "\\new\\folder\\file.tga");
    EXPECT_TRUE(m_dir.Has("new/folder"));
    EXPECT_FALSE(m_dir.Has("new/folder/file.tga"));
}

TEST_F(FilePathTest, FileTypeAndExistsOfFoldersFilesAndWildcards)
{
    m_dir.Write("dir/model.sgm", "m");
    m_dir.Write("dir/.hidden.tga", "h");
    m_dir.Write("dir/folder.tga/inner", "i");
    m_dir.Write("writable.txt", "w");
    m_dir.Write("locked.txt", "r", std::filesystem::perms(0444));
    Mount("DATA", "disk", 1, Both);
    // Only hidden files and folders match "*.tga": no file.
    const std::pair<const char*, int> types[] = {{"DATA:dir\\", 2},         {"DATA:DIR", 2},
                                                 {"DATA:dir/model.sgm", 1}, {"DATA:dir/nothing.sgm", 0},
                                                 {"DATA:dir/*.SGM", 1},     {"DATA:dir/m?del.*", 1},
                                                 {"DATA:dir/*.tga", 0}};
    for (const auto& [name, type] : types)
        EXPECT_EQ(FilePath::FileType(name), type) << name;
    // Exists matches the attributes against the mode.
    const std::tuple<const char*, int, bool> exists[] = {
        {"writable.txt", Read, false}, {"writable.txt", Write, false}, {"writable.txt", Both, true},
        {"locked.txt", Read, true},    {"locked.txt", Write, false},   {"locked.txt", Both, true},
        {"missing.txt", Both, false}};
    for (const auto& [name, mode, expected] : exists)
        EXPECT_EQ(FilePath::Exists(("DATA:" + std::string(name)).c_str(), mode), expected) << name << mode;
    // A read-only source is not asked for a mode it lacks.
    FilePath::Reset();
    Mount("DATA", "disk", 1, Read);
    EXPECT_TRUE(FilePath::Exists("DATA:locked.txt", Read));
    EXPECT_FALSE(FilePath::Exists("DATA:writable.txt", Both));
    // The raw source takes full paths, and the trailing separator as well.
    FilePathHDRaw raw;
    EXPECT_EQ(raw.FileType((m_dir.Path("dir") + "/").c_str()), 2);
    EXPECT_EQ(raw.FileType(m_dir.Path("dir/*.sgm").c_str()), 1);
}

TEST_F(FilePathTest, FindFilesMergesSourcesAndRecurses)
{
    for (const char* name : {"one/art/a.tga", "one/art/b.tga", "one/art/note.txt", "one/art/units/tank.tga",
                             "two/art/A.TGA", "two/art/c.tga", "two/art/units/deep/jeep.tga"})
        m_dir.Write(name, "x");
    Mount("DATA", "one", 2, Read, "one");
    Mount("DATA", "two", 1, Read, "two");
    auto names = [](const FilePath::FileSet& set)
    {
        Names cName;
        for (uint32 i = 0; i < set.GetCount(); ++i)
            cName.emplace_back(set.Get(i));
        return cName;
    };
    FilePath::FileSet flat = FilePath::FindFiles("data:art/*.tga", false, FilePath::SEARCH_Files);
    EXPECT_STREQ(flat.GetBasePath(), "DATA:art\\");
    EXPECT_EQ(names(flat), (Names{"DATA:art\\a.tga", "DATA:art\\b.tga", "DATA:art\\c.tga"}));
    EXPECT_EQ(names(FilePath::FindFiles("DATA:art\\*.tga", true, FilePath::SEARCH_Files)),
              (Names{"DATA:art\\a.tga", "DATA:art\\b.tga", "DATA:art\\c.tga",
                     "DATA:art\\units\\deep\\jeep.tga", "DATA:art\\units\\tank.tga"}));
    EXPECT_EQ(names(FilePath::FindFiles("DATA:art\\*.*", true, FilePath::SEARCH_Folders)),
              (Names{"DATA:art\\units", "DATA:art\\units\\deep"}));
    FilePath::FileSet both = FilePath::FindFiles("DATA:art\\*.*", false, FilePath::SEARCH_Both);
    EXPECT_EQ(both.GetCount(), 5u);
    // Copies share the list.
    FilePath::FileSet copy = both;
    copy.Add("extra.tga");
    EXPECT_EQ(both.GetCount(), 6u);
    dbg::ScopedThrowOnAssert silent(false);
    EXPECT_EQ(both.Get(both.GetCount()), nullptr);
    LogCapture log;
    EXPECT_EQ(FilePath::FindFiles("NONE:*.tga", false, FilePath::SEARCH_Files).GetCount(), 0u);
    EXPECT_TRUE(log.Has("missing alias 'NONE:*.tga'"));
}

TEST_F(FilePathTest, ConvertToAliasedFindsTheSourceAndUpperCases)
{
    m_dir.Write("data/art/x.tga", "x");
    Mount("DATA", "disk", 1, Read, "data");
    ASSERT_TRUE(FilePath::AddAlias("TOOL", "HD", 99, std::make_shared<FilePathHDRaw>()));
    char name[FilePath::MAXPATH];
    std::strcpy(name, m_dir.Path("data/art/x.tga").c_str());
    ASSERT_TRUE(FilePath::ConvertToAliased(name));
    EXPECT_STREQ(name, "DATA:ART\\X.TGA");
    // Known aliases stay as they are.
    std::strcpy(name, "tool:/tmp/Whatever.sgm");
    EXPECT_TRUE(FilePath::ConvertToAliased(name));
    EXPECT_STREQ(name, "tool:/tmp/Whatever.sgm");
    // A relative name is taken against the current folder.
    char cwd[FilePath::MAXPATH];
    ASSERT_NE(::getcwd(cwd, sizeof(cwd)), nullptr);
    ASSERT_EQ(::chdir(m_dir.Path("data").c_str()), 0);
    std::strcpy(name, "art/sub/y.tga");
    const bool relativeOk = FilePath::ConvertToAliased(name);
    ASSERT_EQ(::chdir(cwd), 0);
    EXPECT_TRUE(relativeOk);
    EXPECT_STREQ(name, "DATA:ART\\SUB\\Y.TGA");
    LogCapture log;
    std::strcpy(name, "/elsewhere/x.tga");
    EXPECT_FALSE(FilePath::ConvertToAliased(name));
    EXPECT_TRUE(log.Has("WARNING: Could not convert file [/elsewhere/x.tga]"));
    std::strcpy(name, "DATA:Art\\Units/Tank.TGA");
    FilePath::MakeCanonical(name);
    EXPECT_STREQ(name, "data:art/units/tank.tga") << "the canonical form: lower case with slashes";
}

TEST_F(FilePathTest, RawSourceTakesFullPaths)
{
    ASSERT_TRUE(FilePath::AddAlias("TOOL", "HD", 99, std::make_shared<FilePathHDRaw>()));
    const std::string file = m_dir.Path("scene/model.sgm");
    ASSERT_TRUE(FilePathHDRaw::MakeFolders(SystemName(file).c_str()));
    EXPECT_TRUE(m_dir.Has("scene"));
    EXPECT_FALSE(m_dir.Has("scene/model.sgm"));
    ASSERT_TRUE(WriteText("TOOL:" + file, "model"));
    EXPECT_EQ(m_dir.Read("scene/model.sgm"), "model");
    EXPECT_EQ(FilePath::FileType(("TOOL:" + file).c_str()), 1);
    char built[FilePath::MAXPATH];
    std::strcpy(built, ("TOOL:" + file).c_str());
    ASSERT_TRUE(FilePath::BuildPath(built, Read));
    EXPECT_EQ(std::string(built), SystemName(file));
    FilePathHDRaw raw;
    EXPECT_FALSE(raw.ConvertPath(built, file.c_str()));
    const std::string renamed = m_dir.Path("scene/renamed.sgm");
    EXPECT_TRUE(raw.Rename(file.c_str(), renamed.c_str()));
    EXPECT_EQ(m_dir.Read("scene/renamed.sgm"), "model");
    EXPECT_FALSE(m_dir.Has("scene/model.sgm"));
    EXPECT_TRUE(FilePath::Delete(("TOOL:" + renamed).c_str()));
    EXPECT_FALSE(m_dir.Has("scene/renamed.sgm"));
    EXPECT_TRUE(FilePath::Delete(("TOOL:" + renamed).c_str()));
    // Registered under the empty alias, the raw source serves plain names.
    ASSERT_TRUE(FilePath::AddAlias("", "plain", 1, std::make_shared<FilePathHDRaw>()));
    m_dir.Write("plain.txt", "p");
    EXPECT_EQ(FilePath::FileType(m_dir.Path("plain.txt").c_str()), 1);
    FilePath::FileSet found = FilePath::FindFiles(m_dir.Path("*.txt").c_str(), false, FilePath::SEARCH_Files);
    ASSERT_EQ(found.GetCount(), 1u);
    EXPECT_EQ(std::string(found.Get(0)), SystemName(m_dir.Path("plain.txt")));
}

int s_changeCalls = 0;
Names s_changed;
void OnChange(const char* name)
{
    ++s_changeCalls;
    s_changed.emplace_back(name);
}
void OnOtherChange(const char*)
{
    ++s_changeCalls;
}

TEST_F(FilePathTest, UpdateCallsChangeCallbacksBySubstring)
{
    FakeClock clock;
    ASSERT_TRUE(
        FilePath::AddAlias("DATA", "disk", 1, FilePathHD::Create(m_dir.Path().c_str(), Both, false, true)));
    s_changeCalls = 0;
    s_changed.clear();
    ASSERT_TRUE(FilePath::AddChangeCallback("DATA:Art\\Units\\Tank.sgm", &OnChange));
    ASSERT_TRUE(FilePath::AddChangeCallback("data:art/units/", &OnOtherChange));
    ASSERT_TRUE(FilePath::AddChangeCallback("DATA:art\\jeep.sgm", &OnChange));
    auto sweep = [&]
    {
        FilePath::Update();
        clock.Advance(501);
        FilePath::Update();
    };
    m_dir.Write("art/units/tank.sgm", "v1");
    m_dir.Write("art/other.sgm", "v1");
    FilePath::Update();
    EXPECT_EQ(s_changeCalls, 0) << "not swept yet";
    sweep();
    // The tank calls its own callback and the folder's; the other file calls nothing.
    EXPECT_EQ(s_changeCalls, 2);
    EXPECT_EQ(s_changed, Names{"DATA:art\\units\\tank.sgm"});
    // Removed from one entry only, then from all.
    EXPECT_TRUE(FilePath::RemoveChangeCallback(&OnOtherChange, "DATA:art\\units\\"));
    m_dir.Write("art/units/tank.sgm", "v2");
    sweep();
    EXPECT_EQ(s_changeCalls, 3);
    EXPECT_TRUE(FilePath::RemoveChangeCallback(&OnChange));
    EXPECT_FALSE(FilePath::RemoveChangeCallback(&OnChange));
    m_dir.Write("art/units/tank.sgm", "v3");
    sweep();
    EXPECT_EQ(s_changeCalls, 3);
}
} // namespace
