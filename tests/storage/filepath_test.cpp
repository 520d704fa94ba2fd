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
    void Mount(const char* alias, const char* id, int priority, int mode, const std::string& rel = "")
    {
        auto pSource = FilePathHD::Create(rel.empty() ? m_dir.Path().c_str() : m_dir.Path(rel).c_str(), mode,
                                          false, false);
        ASSERT_TRUE(pSource);
        ASSERT_TRUE(FilePath::AddAlias(alias, id, priority, pSource));
    }
    static std::string ReadAll(const std::shared_ptr<ByteStream>& pStream)
    {
        std::string text(pStream ? pStream->GetLength() : 0, '\0');
        return pStream ? text.substr(0, pStream->Read(text.data(), uint32(text.size()))) : "<none>";
    }
    static bool WriteText(const std::string& name, const std::string& text,
                          FilePath::SourceID* pUsed = nullptr)
    {
        std::shared_ptr<ByteStream> pStream = FilePath::Open(name.c_str(), Write, pUsed);
        return pStream && pStream->Write(text.data(), uint32(text.size())) == text.size();
    }
    // Runs `f` with the current folder at `rel` of the scratch folder.
    template <class F> auto InFolder(const std::string& rel, F f)
    {
        char cwd[FilePath::MAXPATH];
        EXPECT_NE(::getcwd(cwd, sizeof(cwd)), nullptr);
        EXPECT_EQ(::chdir(m_dir.Path(rel).c_str()), 0);
        const auto result = f();
        EXPECT_EQ(::chdir(cwd), 0);
        return result;
    }
    ScratchFolder m_dir;
};

TEST_F(FilePathTest, AliasesOrderTheirSourcesAndNormaliseNames)
{
    Names cLog;
    // clang-format off
    for (auto [alias, id, priority] : {std::tuple{"data", "early10", 10}, {"DATA", "top20", 20}, {"Data", "late10", 10}, {"DATA", "zero", 0}})
        // clang-format on
        ASSERT_TRUE(FilePath::AddAlias(alias, id, priority, std::make_shared<RecordingSource>(id, cLog)));
    EXPECT_FALSE(FilePath::Exists("DATA:x.tga", Read));
    EXPECT_EQ(cLog, (Names{"top20 x.tga", "late10 x.tga", "early10 x.tga", "zero x.tga"}));
    // Removing takes the path out of the order, the rest stays.
    cLog.clear();
    EXPECT_TRUE(FilePath::RemoveAlias("data", "LATE10"));
    for (const char* name : {"Data:/art//x.tga", "DATA:\\\\server\\x.tga"})
        FilePath::FileType(name);
    EXPECT_EQ(cLog,
              (Names{"top20 art\\x.tga", "early10 art\\x.tga", "zero art\\x.tga", "top20 \\\\server\\x.tga",
                     "early10 \\\\server\\x.tga", "zero \\\\server\\x.tga"}));
    LogCapture log;
    EXPECT_FALSE(FilePath::Exists("NOPE:art\\x.tga", Read));
    EXPECT_TRUE(log.Has("FILESYSTEM -- filepath failure, missing alias 'NOPE:art\\x.tga'"));
    EXPECT_FALSE(FilePath::RemoveAlias("NOPE", "x"));
    EXPECT_TRUE(log.Has("FILESYSTEM -- filepath failed to remove alias, missing alias 'NOPE'"));
    log.Clear();
    EXPECT_TRUE(FilePath::FileType("") == 0 && !FilePath::Delete("") && log.Size() == 0u)
        << "fails without a word";
    dbg::ScopedThrowOnAssert silent(false);
    auto pSource = std::make_shared<RecordingSource>("s", cLog);
    for (auto [alias, id, priority] : {std::tuple{"C", "id", 1},
                                       {"DA:TA", "id", 1},
                                       {"DATA", "", 1},
                                       {"DATA", "top20", 1},
                                       {"DATA", "id", -1}})
        EXPECT_FALSE(FilePath::AddAlias(alias, id, priority, pSource)) << alias << id << priority;
    EXPECT_FALSE(FilePath::AddAlias("TOOL", "id", 1, nullptr));
    EXPECT_TRUE(FilePath::IsAliased("data:x") && !FilePath::IsAliased("TOOL:x") && !FilePath::IsAliased("x"));
}

TEST_F(FilePathTest, WriteSkipsReadOnlySourceAndSourceIdLimitsOpens)
{
    m_dir.Write("ro/shared.txt", "from read-only");
    Mount("DATA", "ro", 20, Read, "ro");
    Mount("DATA", "rw", 10, Both, "rw");
    FilePath::SourceID used;
    ASSERT_TRUE(WriteText("DATA:out/sub/new.txt", "written", &used));
    EXPECT_EQ(m_dir.Read("rw/out/sub/new.txt"), "written");
    EXPECT_EQ(used, FilePath::FindSource("DATA:anything.txt", Write));
    // Reading finds the file of the higher source; limited to the other one, the other copy.
    ASSERT_TRUE(WriteText("DATA:shared.txt", "from writable"));
    FilePath::SourceID readFrom;
    EXPECT_EQ(ReadAll(FilePath::Open("data:SHARED.txt", Read, &readFrom)), "from read-only");
    EXPECT_NE(readFrom, used);
    EXPECT_EQ(ReadAll(FilePath::Open("DATA:shared.txt", Read, used)), "from writable");
    EXPECT_EQ(FilePath::Open("DATA:out/sub/new.txt", Read, readFrom), nullptr);
    // The read-only source deletes nothing; the writable one deletes its copy.
    EXPECT_TRUE(FilePath::Delete("DATA:shared.txt"));
    EXPECT_TRUE(!m_dir.Has("rw/shared.txt") && m_dir.Has("ro/shared.txt"));
    EXPECT_FALSE(FilePath::FindSource("DATA:missing.txt", Read).IsValid());
    RecordingListener first, second;
    EXPECT_TRUE(FilePath::AddListener("first", &first) && FilePath::AddListener("second", &second));
    EXPECT_FALSE(FilePath::AddListener("FIRST", &second));
    EXPECT_STREQ(FilePath::Open("data:Shared.txt", Read)->GetName(), "data:Shared.txt");
    EXPECT_FALSE(FilePath::Open("DATA:missing.txt", Read));
    EXPECT_TRUE(FilePath::RemoveListener("First") && !FilePath::RemoveListener("first"));
    EXPECT_TRUE(FilePath::Open("DATA:shared.txt", Read));
    EXPECT_EQ(first.m_cOpen, Names{"data:Shared.txt|DATA|ro"});
    EXPECT_EQ(second.m_cOpen.size(), 2u);
}

TEST_F(FilePathTest, RootSourcesStayInsideTheirRoot)
{
    LogCapture log;
    EXPECT_EQ(FilePathHD::Create(m_dir.Path("missing").c_str(), Read, false, false), nullptr);
    EXPECT_TRUE(
        log.Has("FILESYSTEM -- filepath failure, path does not exist '" + m_dir.Path("missing") + "'"));
    // Writable roots are made with their parents; the source names them in upper case.
    auto pSource = FilePathHD::Create(m_dir.Path("Made/Deeper").c_str(), Both, false, false);
    ASSERT_TRUE(pSource);
    EXPECT_EQ(std::string(pSource->GetRoot()), SystemName(m_dir.Path("Made/Deeper"), true) + "\\");
    m_dir.Write("plain", "x");
    EXPECT_EQ(FilePathHD::Create(m_dir.Path("plain/sub").c_str(), Both, false, false), nullptr);
    EXPECT_TRUE(log.Has("FILESYSTEM -- filepath failure, failed to create path '"));
    m_dir.Write("Made/Deeper/inside.txt", "x");
    char out[FilePath::MAXPATH];
    dbg::ScopedThrowOnAssert silent(false);
    for (const char* name : {"..\\inside.txt", "art\\..\\x", "C:\\x", "\\abs", "a/b", ""})
        EXPECT_TRUE(pSource->FileType(name) == 0 && !pSource->Open(name, Read) &&
                    !pSource->BuildPath(out, name, Write) && !pSource->Delete(name))
            << name;
    EXPECT_EQ(pSource->FileType("inside.txt"), 1);
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
    EXPECT_TRUE(m_dir.Has("new/folder") && !m_dir.Has("new/folder/file.tga"));
}

TEST_F(FilePathTest, FileTypeAndExistsOfFoldersFilesAndWildcards)
{
    for (const char* name : {"dir/model.sgm", "dir/.hidden.tga", "dir/folder.tga/inner", "writable.txt"})
        m_dir.Write(name, "x");
    m_dir.Write("locked.txt", "r", std::filesystem::perms(0444));
    Mount("DATA", "disk", 1, Both);
    // Only hidden files and folders match "*.tga": no file.
    const std::pair<const char*, int> types[] = {{"DATA:dir\\", 2},           {"DATA:DIR", 2},
                                                 {"DATA:dir/nothing.sgm", 0}, {"DATA:dir/*.SGM", 1},
                                                 {"DATA:dir/m?del.*", 1},     {"DATA:dir/*.tga", 0}};
    for (const auto& [name, type] : types)
        EXPECT_EQ(FilePath::FileType(name), type) << name;
    // Exists matches the attributes against the mode.
    const std::tuple<const char*, int, bool> exists[] = {
        {"writable.txt", Read, false}, {"writable.txt", Write, false}, {"writable.txt", Both, true},
        {"locked.txt", Read, true},    {"locked.txt", Write, false},   {"missing.txt", Both, false}};
    for (const auto& [name, mode, expected] : exists)
        EXPECT_EQ(FilePath::Exists(("DATA:" + std::string(name)).c_str(), mode), expected) << name << mode;
    // A read-only source is not asked for a mode it lacks.
    FilePath::Reset();
    Mount("DATA", "disk", 1, Read);
    EXPECT_TRUE(FilePath::Exists("DATA:locked.txt", Read));
    EXPECT_FALSE(FilePath::Exists("DATA:writable.txt", Both));
}

TEST_F(FilePathTest, FindFilesMergesSourcesAndRecurses)
{
    for (const char* name : {"one/art/a.tga", "one/art/b.tga", "one/art/note.txt", "one/art/units/tank.tga",
                             "two/art/A.TGA", "two/art/c.tga", "two/art/units/deep/jeep.tga"})
        m_dir.Write(name, "x");
    Mount("DATA", "one", 2, Read, "one");
    Mount("DATA", "two", 1, Read, "two");
    auto names = [](const char* pattern, bool recurse, FilePath::SEARCH_Type what)
    {
        FilePath::FileSet set = FilePath::FindFiles(pattern, recurse, what);
        Names cName{set.GetBasePath() ? set.GetBasePath() : "-"};
        for (uint32 i = 0; i < set.GetCount(); ++i)
            cName.emplace_back(set.Get(i));
        return cName;
    };
    EXPECT_EQ(names("data:art/*.tga", false, FilePath::SEARCH_Files),
              (Names{"DATA:art\\", "DATA:art\\a.tga", "DATA:art\\b.tga", "DATA:art\\c.tga"}));
    EXPECT_EQ(names("DATA:art\\*.tga", true, FilePath::SEARCH_Files),
              (Names{"DATA:art\\", "DATA:art\\a.tga", "DATA:art\\b.tga", "DATA:art\\c.tga",
                     "DATA:art\\units\\deep\\jeep.tga", "DATA:art\\units\\tank.tga"}));
    EXPECT_EQ(names("DATA:art\\*.*", true, FilePath::SEARCH_Folders),
              (Names{"DATA:art\\", "DATA:art\\units", "DATA:art\\units\\deep"}));
    EXPECT_EQ(names("NONE:*.tga", false, FilePath::SEARCH_Files).size(), 1u);
}

TEST_F(FilePathTest, ConvertToAliasedAndTheRawSource)
{
    m_dir.Write("data/art/x.tga", "x");
    Mount("DATA", "disk", 1, Read, "data");
    ASSERT_TRUE(FilePath::AddAlias("TOOL", "HD", 99, std::make_shared<FilePathHDRaw>()));
    char name[FilePath::MAXPATH];
    std::strcpy(name, m_dir.Path("data/art/x.tga").c_str());
    ASSERT_TRUE(FilePath::ConvertToAliased(name));
    EXPECT_STREQ(name, "DATA:ART\\X.TGA");
    std::strcpy(name, "tool:/tmp/Whatever.sgm");
    EXPECT_TRUE(FilePath::ConvertToAliased(name));
    EXPECT_STREQ(name, "tool:/tmp/Whatever.sgm") << "known aliases stay as they are";
    std::strcpy(name, "art/sub/y.tga");
    EXPECT_TRUE(InFolder("data", [&] { return FilePath::ConvertToAliased(name); }));
    EXPECT_STREQ(name, "DATA:ART\\SUB\\Y.TGA") << "a relative name is taken against the current folder";
    LogCapture log;
    std::strcpy(name, "/elsewhere/x.tga");
    EXPECT_FALSE(FilePath::ConvertToAliased(name));
    EXPECT_TRUE(log.Has("WARNING: Could not convert file [/elsewhere/x.tga]"));
    {
        dbg::ScopedThrowOnAssert silent(false);
        EXPECT_FALSE(FilePath::ConvertToAliased(nullptr)) << "no name converts to nothing";
    }
    std::strcpy(name, "DATA:Art\\Units/Tank.TGA");
    FilePath::MakeCanonical(name);
    EXPECT_STREQ(name, "data:art/units/tank.tga");
    // The raw source takes full paths and makes folders, also of a relative name.
    const std::string file = m_dir.Path("scene/model.sgm");
    ASSERT_TRUE(FilePathHDRaw::MakeFolders(SystemName(file).c_str()));
    EXPECT_TRUE(m_dir.Has("scene") && !m_dir.Has("scene/model.sgm"));
    EXPECT_TRUE(InFolder("", [] { return FilePathHDRaw::MakeFolders("a\\b\\c.sgm"); }));
    EXPECT_TRUE(m_dir.Has("a/b") && !m_dir.Has("a/b/c.sgm"));
    ASSERT_TRUE(WriteText("TOOL:" + file, "model"));
    EXPECT_EQ(m_dir.Read("scene/model.sgm"), "model");
    std::strcpy(name, ("TOOL:" + file).c_str());
    ASSERT_TRUE(FilePath::BuildPath(name, Read));
    EXPECT_EQ(std::string(name), SystemName(file));
    EXPECT_TRUE(FilePath::Delete(("TOOL:" + file).c_str()));
    EXPECT_FALSE(m_dir.Has("scene/model.sgm"));
}

Names s_changed;
void OnChange(const char* name)
{
    s_changed.emplace_back(name);
}
void OnOtherChange(const char*)
{
    s_changed.emplace_back("other");
}

TEST_F(FilePathTest, UpdateCallsChangeCallbacksBySubstring)
{
    FakeClock clock;
    ASSERT_TRUE(
        FilePath::AddAlias("DATA", "disk", 1, FilePathHD::Create(m_dir.Path().c_str(), Both, false, true)));
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
    EXPECT_EQ(s_changed.size(), 0u) << "not swept yet";
    sweep();
    // The tank calls its own callback and the folder's; the other file calls nothing.
    std::sort(s_changed.begin(), s_changed.end());
    EXPECT_EQ(s_changed, (Names{"DATA:art\\units\\tank.sgm", "other"}));
    // Removed from one entry only, then from all.
    EXPECT_TRUE(FilePath::RemoveChangeCallback(&OnOtherChange, "DATA:art\\units\\"));
    m_dir.Write("art/units/tank.sgm", "v2");
    sweep();
    EXPECT_EQ(s_changed.size(), 3u);
    EXPECT_FALSE(FilePath::RemoveChangeCallback(&OnChange, std::string(300, 'a').c_str())) << "no such name";
    EXPECT_TRUE(FilePath::RemoveChangeCallback(&OnChange));
    EXPECT_FALSE(FilePath::RemoveChangeCallback(&OnChange));
    m_dir.Write("art/units/tank.sgm", "v3");
    sweep();
    EXPECT_EQ(s_changed.size(), 3u);
}
} // namespace
