// Pipeline: finding and reading pipeline.ini, projects and their folders, plain sections, the
// owner of a path and the source name mapping.
#include "pipelinetree.h"
#include "support/logcapture.h"

#include "foundation/debug.h"
#include "pipeline/pipeline.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <sstream>

namespace
{
namespace fs = std::filesystem;

class PipelineTest : public ::testing::Test
{
protected:
    void TearDown() override
    {
        if (Pipeline::IsInitialized())
            Pipeline::Shutdown();
    }

    // Writes pipeline.ini at the root and initialises from a file deep below it.
    int Init(const std::string& ini, const std::string& from = "tank/source/units/deep/tank.max")
    {
        m_root.Write("pipeline.ini", ini);
        return Pipeline::Initialize((m_root / from).c_str());
    }
    // The folder of pipeline.ini as relative folders are put behind it.
    std::string Front() const { return Win(m_root.Path()) + "\\"; }

    TempFolder m_root;
};

const std::string s_plain = IniText({"[Global]", "ToolsData=tools", "[p4]", "RevControlPort=", "[Version]",
                                     "VersionPath=\\\\server\\versions", "VersionUsers=alice;bob"});

// The section with `key` set to `value`, or without the key when `value` is null.
std::string Edit(std::string section, const std::string& key, const char* value)
{
    const size_t at = section.find("\r\n" + key + "=") + 2;
    const size_t end = section.find("\r\n", at) + 2;
    return section.replace(at, end - at, value != nullptr ? key + "=" + value + "\r\n" : "");
}
} // namespace

TEST_F(PipelineTest, FindsTheFileAboveTheStartingFolder)
{
    ASSERT_EQ(Pipeline::InitOk, Init(ProjectSection("project:tank", "tank", "")));
    EXPECT_EQ(Front() + "pipeline.ini", Pipeline::FileName());
    Pipeline::Shutdown();

    // A pipeline.ini nearer the file wins.
    m_root.Write("tank/pipeline.ini", ProjectSection("project:inner", "inner", ""));
    ASSERT_EQ(Pipeline::InitOk, Pipeline::Initialize((m_root / "tank/source/x.max").c_str()));
    EXPECT_EQ(Front() + "tank\\pipeline.ini", Pipeline::FileName());
    EXPECT_TRUE(Pipeline::HasProject("inner"));
    Pipeline::Shutdown();

    // A folder in the file's place cannot be read.
    fs::create_directories(m_root / "a/pipeline.ini");
    EXPECT_EQ(Pipeline::InitUnreadable, Pipeline::Initialize((m_root / "a/x.max").c_str()));
    EXPECT_FALSE(Pipeline::IsInitialized());

    for (fs::path p = fs::path(m_root.Path()).parent_path(); p != p.parent_path(); p = p.parent_path())
    {
        if (fs::exists(p / "pipeline.ini"))
            GTEST_SKIP() << "a pipeline.ini lies above the test folder: " << p;
    }
    fs::remove_all(m_root / "a");
    fs::remove(m_root / "tank/pipeline.ini");
    fs::remove(m_root / "pipeline.ini");
    EXPECT_EQ(Pipeline::InitNotFound, Pipeline::Initialize((m_root / "a/b/c.max").c_str()));
}

TEST_F(PipelineTest, InitializeJudgesTheFile)
{
    const std::string tank = ProjectSection("project:tank", "tank", "");
    // Folder values with a drive, so that nothing is put in front of them, must be under 260
    // characters; a relative value that only fits before the folder of pipeline.ini is put in front.
    const std::string v259 = "/" + std::string(258, 'a');
    const std::string v260 = "/" + std::string(259, 'a');
    struct Case
    {
        std::string ini;
        int result;
        const char* message = nullptr;
    };
    const Case cases[] = {
        {"", Pipeline::InitUnreadable},
        {"; only a comment\r\n\r\n", Pipeline::InitUnreadable},
        {s_plain, Pipeline::InitBadProject, "holds no [project:NAME] section"},
        {ProjectSection("project:base", "base", "") + Edit(tank, "DataPreview", nullptr),
         Pipeline::InitBadProject, "[project:tank] lacks the key \"DataPreview\""},
        // Description, DataExtra and the bugreport path are the only optional keys.
        {Edit(tank, "Description", nullptr), Pipeline::InitOk},
        {Edit(tank, "DataSource", v259.c_str()), Pipeline::InitOk},
        {Edit(tank, "DataSource", v260.c_str()), Pipeline::InitBadProject},
        {Edit(tank, "DataSource", std::string(250, 'r').c_str()), Pipeline::InitBadProject},
    };
    for (const Case& c : cases)
    {
        SCOPED_TRACE(c.ini.substr(0, 60));
        LogCapture log;
        dbg::ScopedThrowOnAssert quiet(false);
        EXPECT_EQ(c.result, Init(c.ini));
        EXPECT_EQ(c.result == Pipeline::InitOk, Pipeline::IsInitialized());
        EXPECT_EQ(c.message != nullptr ? 1u : 0u, log.With(c.message != nullptr ? c.message : "\x01").size());
        if (Pipeline::IsInitialized())
            Pipeline::Shutdown();
    }
    ASSERT_EQ(Pipeline::InitOk, Init(Edit(tank, "DataSource", v259.c_str())));
    EXPECT_EQ(v259, Pipeline::ProjectFolder("tank", DataSource));
    EXPECT_STREQ("Art of tank", Pipeline::ProjectDescription("tank"));
    Pipeline::Shutdown();
    ASSERT_EQ(Pipeline::InitOk, Init(Edit(tank, "Description", nullptr)));
    EXPECT_STREQ("", Pipeline::ProjectDescription("tank"));
    Pipeline::Shutdown();
    dbg::ScopedThrowOnAssert loud;
    EXPECT_THROW(Init(Edit(tank, "DataSource", v260.c_str())), std::runtime_error);
}

TEST_F(PipelineTest, ProjectsAndTheirFolders)
{
    const std::string tank = Edit(
        Edit(ProjectSection("Project:Tank", "tank", "Base"), "DataBurn", "/abs/burn"), "DataPreview", ".");
    ASSERT_EQ(Pipeline::InitOk, Init(s_plain + tank + ProjectSection("project:base", "base", "")));

    ASSERT_EQ(2u, Pipeline::ProjectCount());
    EXPECT_STREQ("base", Pipeline::ProjectName(0));
    EXPECT_STREQ("tank", Pipeline::ProjectName(1));
    EXPECT_TRUE(Pipeline::HasProject("TANK"));
    EXPECT_FALSE(Pipeline::HasProject("tan"));
    EXPECT_STREQ("Art of tank", Pipeline::ProjectDescription("tank"));
    EXPECT_STREQ("Base", Pipeline::ProjectParent("tank"));
    EXPECT_STREQ("", Pipeline::ProjectParent("base"));

    // Relative folders go behind the folder of pipeline.ini as written; folders with a drive stay;
    // a lone point is kept as it is; AttrLoc is not a folder and is never touched.
    EXPECT_EQ(Front() + "tank/source", Pipeline::ProjectFolder("tank", DataSource));
    EXPECT_EQ(Front() + "tank/generic", Pipeline::ProjectFolder("Tank", DataGeneric));
    EXPECT_EQ(Front() + "tank/locale", Pipeline::ProjectFolder("tank", LocaleFolder));
    EXPECT_STREQ("/abs/burn", Pipeline::ProjectFolder("tank", DataBurn));
    EXPECT_EQ(Front() + ".", Pipeline::ProjectFolder("tank", DataPreview));
    EXPECT_STREQ("attrib\\tank", Pipeline::ProjectFolder("tank", AttrLoc));

    // The project sections are not among the plain ones.
    ASSERT_EQ(3u, Pipeline::SectionCount());
    EXPECT_STREQ("global", Pipeline::SectionName(0));
    EXPECT_STREQ("p4", Pipeline::SectionName(1));
    EXPECT_STREQ("version", Pipeline::SectionName(2));
    ASSERT_EQ(2u, Pipeline::SectionKeyCount(2));
    EXPECT_STREQ("versionpath", Pipeline::SectionKeyName(2, 0));
    EXPECT_STREQ("\\\\server\\versions", Pipeline::SectionKeyValue(2, 0));

    dbg::ScopedThrowOnAssert quiet(false);
    EXPECT_EQ(nullptr, Pipeline::ProjectFolder("nobody", DataFinal));
    EXPECT_EQ(nullptr, Pipeline::ProjectParent("nobody"));
    EXPECT_EQ(nullptr, Pipeline::ProjectName(2));
}

TEST_F(PipelineTest, ProjectSectionsThatDifferInCaseAreOne)
{
    LogCapture log;
    const std::string first = Edit(ProjectSection("project:Tank", "tank", ""), "DataPreview", nullptr);
    const std::string second =
        IniText({"[PROJECT:TANK]", "DataPreview=late/preview", "DataFinal=late/final"});
    ASSERT_EQ(Pipeline::InitOk, Init(first + second));
    EXPECT_EQ(1u, Pipeline::ProjectCount());
    EXPECT_EQ(Front() + "late/preview", Pipeline::ProjectFolder("tank", DataPreview));
    EXPECT_EQ(Front() + "tank/final", Pipeline::ProjectFolder("tank", DataFinal));
    EXPECT_EQ(1u, log.With("Duplicate section at line").size());
}

TEST_F(PipelineTest, DataExtraIsCutAtSemicolonsAndBlanks)
{
    ASSERT_EQ(Pipeline::InitOk,
              Init(ProjectSection("project:a", "a", "", "x1;x2 /abs/x3") +
                   ProjectSection("project:b", "b", "", ";;  x4 ;") + ProjectSection("project:c", "c", "")));
    ASSERT_EQ(3u, Pipeline::ProjectExtraCount("a"));
    EXPECT_EQ(Front() + "x1", Pipeline::ProjectExtra("a", 0));
    EXPECT_EQ(Front() + "x2", Pipeline::ProjectExtra("a", 1));
    EXPECT_STREQ("/abs/x3", Pipeline::ProjectExtra("a", 2));
    ASSERT_EQ(1u, Pipeline::ProjectExtraCount("b"));
    EXPECT_EQ(Front() + "x4", Pipeline::ProjectExtra("b", 0));
    EXPECT_EQ(0u, Pipeline::ProjectExtraCount("c"));
}

TEST_F(PipelineTest, TypedValuesOfPlainSections)
{
    const std::string settings =
        IniText({"[Tools]", "Yes=Yes", "On=on", "Zero=0", "Float=2.5", "BadFloat=2.5x", "Empty=", "Int=-40",
                 "Relative=tools/data", "Absolute=/opt/tools", "Long=" + std::string(600, 'l'), "[bugreport]",
                 "ExePath=bin/report"});
    ASSERT_EQ(Pipeline::InitOk, Init(settings + s_plain + ProjectSection("project:tank", "tank", "")));

    // "<read> <section> <key>" and what it gives: "<ok> <value>".
    auto read = [](const std::string& call)
    {
        std::istringstream in(call);
        std::string type, section, key;
        in >> type >> section >> key;
        bool flag = true;
        float real = 0.0f;
        int number = 0;
        char path[260];
        std::string text = "x";
        std::ostringstream out;
        if (type == "bool")
            out << Pipeline::GetBool(section.c_str(), key.c_str(), flag) << " " << flag;
        else if (type == "float")
            out << Pipeline::GetFloat(section.c_str(), key.c_str(), real) << " " << real;
        else if (type == "int")
            out << Pipeline::GetInt(section.c_str(), key.c_str(), number) << " " << number;
        else if (type == "path")
            out << Pipeline::GetPath(section.c_str(), key.c_str(), path,
                                     std::stoul(call.substr(call.rfind(' '))))
                << " " << path;
        else
            out << Pipeline::GetString(section.c_str(), key.c_str(), text) << " " << text;
        return out.str();
    };
    const std::pair<const char*, std::string> cases[] = {
        {"bool TOOLS yes", "1 1"},
        {"bool tools On", "0 0"},
        {"bool tools Zero", "1 0"},
        {"float tools Float", "1 2.5"},
        {"float tools BadFloat", "0 0"},
        {"float tools Empty", "0 0"},
        {"int tools Int", "1 -40"},
        {"int tools Float", "0 0"},
        {"path tools Relative 260", "1 " + Front() + "tools/data"},
        {"path tools Absolute 260", "1 /opt/tools"},
        {"path tools Absolute 8", "1 /opt/to"},
        // A value of 512 characters or more comes through as the empty text.
        {"string tools Long", "1 "},
        {"string tools absent", "0 "},
        {"string project:tank DataFinal", "0 "},
        {"string P4 revcontrolport", "1 "},
    };
    for (const auto& [call, expected] : cases)
        EXPECT_EQ(expected, read(call)) << call;
    EXPECT_EQ(Front() + "bin/report", Pipeline::BugReportPath());

    std::string version;
    EXPECT_TRUE(Pipeline::GetVersionPath(version));
    EXPECT_EQ("\\\\server\\versions", version);
    EXPECT_TRUE(Pipeline::GetVersionUsers(version));
    EXPECT_EQ("alice;bob", version);
}

TEST_F(PipelineTest, AliasesOfTheDataKinds)
{
    char alias[16];
    const char* expected[] = {
        "DATASRC:", "DATASRCSHARED:", ":", "INTERM:", "GENERIC:", "DATA:", "LOCALE:", "PREVIEW:", "AttrLoc:"};
    for (int kind = 0; kind < PipelineDataCount; ++kind)
    {
        ASSERT_TRUE(Pipeline::GetAlias(PipelineData(kind), alias, sizeof(alias)));
        EXPECT_STREQ(expected[kind], alias);
    }
    dbg::ScopedThrowOnAssert loud;
    EXPECT_THROW(Pipeline::GetAlias(DataFinal, alias, 9), std::runtime_error);
}

TEST_F(PipelineTest, DataKindNamesAndShortForms)
{
    const std::pair<const char*, int> cases[] = {
        {"DataGeneric", DataGeneric},   {"FINAL", DataFinal}, {"intermediate", DataIntermediate},
        {"localefolder", LocaleFolder}, {"finals", -1},       {"", -1}};
    for (const auto& [name, expected] : cases)
    {
        PipelineData kind = DataBurn;
        EXPECT_EQ(expected >= 0, PipelineDataFromName(name, kind)) << name;
        EXPECT_EQ(expected >= 0 ? expected : int(DataBurn), int(kind)) << name;
    }
}

TEST_F(PipelineTest, ProjectFromPathNeedsAWholeComponentBehindTheFolder)
{
    // Data and Data2 side by side: "data" is a prefix of "data2", and comes first.
    const std::string data =
        IniText({"[project:data]", "DataSource=Data", "DataSourceShared=", "DataBurn=", "DataIntermediate=",
                 "DataGeneric=", "DataFinal=", "DataPreview=", "LocaleFolder=", "AttrLoc=", "Parent="});
    std::string data2 = data;
    data2.replace(data2.find("[project:data]"), 14, "[project:data2]");
    data2.replace(data2.find("DataSource=Data"), 15, "DataSource=Data2");
    ASSERT_EQ(Pipeline::InitOk, Init(data + data2));

    EXPECT_STREQ("data2", Pipeline::ProjectFromPath((m_root / "Data2/units/t.max").c_str(), DataSource));
    EXPECT_STREQ("data", Pipeline::ProjectFromPath((m_root / "Data/units/t.max").c_str(), DataSource));
    EXPECT_STREQ("data", Pipeline::ProjectFromPath((m_root / "Data").c_str(), DataSource));
    // Case and separators do not matter; the path is expanded first.
    EXPECT_STREQ("data", Pipeline::ProjectFromPath(Win(m_root / "DATA/x/../t.max").c_str(), DataSource));
    EXPECT_EQ(nullptr, Pipeline::ProjectFromPath((m_root / "Data3/t.max").c_str(), DataSource));
    EXPECT_EQ(nullptr, Pipeline::ProjectFromPath((m_root / "Dat").c_str(), DataSource));
}

TEST_F(PipelineTest, NestedProjectFoldersGoToTheFirstProjectByName)
{
    std::string outer = ProjectSection("project:zulu", "art", "");
    std::string inner = ProjectSection("project:alpha", "art/source/units", "");
    ASSERT_EQ(Pipeline::InitOk, Init(outer + inner));
    const std::string innerFile = m_root / "art/source/units/source/t.max";
    EXPECT_STREQ("alpha", Pipeline::ProjectFromPath(innerFile.c_str(), DataSource));
    EXPECT_STREQ("zulu", Pipeline::ProjectFromPath((m_root / "art/source/t.max").c_str(), DataSource));
    Pipeline::Shutdown();

    // Renamed so that the outer project sorts first: it now owns the inner folder as well.
    outer.replace(outer.find("zulu"), 4, "aaaa");
    ASSERT_EQ(Pipeline::InitOk, Init(outer + inner));
    EXPECT_STREQ("aaaa", Pipeline::ProjectFromPath(innerFile.c_str(), DataSource));
}

TEST_F(PipelineTest, FolderWithATrailingSeparatorMatchesOnlyItself)
{
    ASSERT_EQ(Pipeline::InitOk,
              Init(Edit(ProjectSection("project:tank", "tank", ""), "DataFinal", "tank/final\\")));
    EXPECT_EQ(nullptr, Pipeline::ProjectFromPath((m_root / "tank/final/t.tqm").c_str(), DataFinal));
    EXPECT_STREQ("tank", Pipeline::ProjectFromPath((m_root / "tank/final/").c_str(), DataFinal));
}

TEST_F(PipelineTest, SourceNameMappingKeepsTheTailByteForByte)
{
    m_root.Write("pipeline.ini", ProjectSection("project:tank", "tank", ""));
    const std::string source = m_root / "tank/source/units/Heavy.max";
    char out[260];
    ASSERT_TRUE(Pipeline::MapSourceName(source.c_str(), DataGeneric, out, sizeof(out)));
    EXPECT_EQ(Front() + "tank/generic/units/Heavy.max", out);
    ASSERT_TRUE(Pipeline::MapSourceName(source.c_str(), DataIntermediate, out, sizeof(out)));
    EXPECT_EQ(Front() + "tank/interm/units/Heavy.max", out);
    ASSERT_TRUE(Pipeline::MapSourceNameToAlias(source.c_str(), out, sizeof(out)));
    EXPECT_STREQ("DATA:/units/Heavy.max", out);
    // Each mapping runs its own Initialize and Shutdown.
    EXPECT_FALSE(Pipeline::IsInitialized());

    EXPECT_FALSE(
        Pipeline::MapSourceName((m_root / "tank/final/x.max").c_str(), DataGeneric, out, sizeof(out)));
    EXPECT_STREQ("", out);
    EXPECT_FALSE(Pipeline::IsInitialized());
    char tiny[8];
    EXPECT_FALSE(Pipeline::MapSourceName(source.c_str(), DataGeneric, tiny, sizeof(tiny)));
    fs::remove(m_root / "pipeline.ini");
    EXPECT_FALSE(Pipeline::MapSourceName(source.c_str(), DataGeneric, out, sizeof(out)));
}
