// Pipeline: finding and reading pipeline.ini, projects and their folders, plain sections, the
// owner of a path and the source name mapping.
#include "support/logcapture.h"
#include "pipelinetree.h"

#include "foundation/debug.h"
#include "pipeline/pipeline.h"

#include <gtest/gtest.h>

#include <filesystem>

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
}

TEST_F(PipelineTest, NoFileOnTheWayUpGivesOne)
{
    for (fs::path p = fs::path(m_root.Path());; p = p.parent_path())
    {
        if (fs::exists(p / "pipeline.ini"))
            GTEST_SKIP() << "a pipeline.ini lies above the test folder: " << p;
        if (p == p.parent_path())
            break;
    }
    EXPECT_EQ(Pipeline::InitNotFound, Pipeline::Initialize((m_root / "a/b/c.max").c_str()));
    EXPECT_FALSE(Pipeline::IsInitialized());
}

TEST_F(PipelineTest, UnreadableOrSectionlessFileGivesTwo)
{
    EXPECT_EQ(Pipeline::InitUnreadable, Init(""));
    EXPECT_EQ(Pipeline::InitUnreadable, Init("; only a comment\r\n\r\n"));
    fs::remove(m_root / "pipeline.ini");
    fs::create_directories(m_root / "pipeline.ini");
    EXPECT_EQ(Pipeline::InitUnreadable, Pipeline::Initialize((m_root / "x.max").c_str()));
    EXPECT_FALSE(Pipeline::IsInitialized());
}

TEST_F(PipelineTest, ProjectFaultsGiveThree)
{
    LogCapture log;
    EXPECT_EQ(Pipeline::InitBadProject, Init(s_plain));
    EXPECT_EQ(1u, log.With("holds no [project:NAME] section").size());

    std::string lacking = ProjectSection("project:tank", "tank", "");
    lacking.erase(lacking.find("DataPreview="), std::string("DataPreview=tank/preview\r\n").size());
    EXPECT_EQ(Pipeline::InitBadProject, Init(ProjectSection("project:base", "base", "") + lacking));
    EXPECT_EQ(1u, log.With("[project:tank] lacks the key \"DataPreview\"").size());
    EXPECT_FALSE(Pipeline::IsInitialized());

    // Description, DataExtra and the bugreport path are the only optional keys.
    std::string noDescription = ProjectSection("project:tank", "tank", "");
    noDescription.erase(noDescription.find("Description="),
                        std::string("Description=Art of tank\r\n").size());
    ASSERT_EQ(Pipeline::InitOk, Init(noDescription));
    EXPECT_STREQ("", Pipeline::ProjectDescription("tank"));
}

TEST_F(PipelineTest, FolderValuesMustBeUnder260Characters)
{
    auto withSource = [](const std::string& value)
    {
        std::string section = ProjectSection("project:tank", "tank", "");
        size_t at = section.find("DataSource=tank/source");
        return section.replace(at, std::string("DataSource=tank/source").size(), "DataSource=" + value);
    };
    // Values with a drive, so that nothing is put in front of them.
    const std::string v259 = "/" + std::string(258, 'a');
    const std::string v260 = "/" + std::string(259, 'a');
    ASSERT_EQ(Pipeline::InitOk, Init(withSource(v259)));
    EXPECT_EQ(v259, Pipeline::ProjectFolder("tank", DataSource));
    Pipeline::Shutdown();

    {
        dbg::ScopedThrowOnAssert quiet(false);
        EXPECT_EQ(Pipeline::InitBadProject, Init(withSource(v260)));
        // A relative value that only fits before the folder of pipeline.ini is put in front.
        EXPECT_EQ(Pipeline::InitBadProject, Init(withSource(std::string(250, 'r'))));
    }
    dbg::ScopedThrowOnAssert loud;
    EXPECT_THROW(Init(withSource(v260)), std::runtime_error);
}

TEST_F(PipelineTest, ProjectsAndTheirFolders)
{
    std::string tank = ProjectSection("Project:Tank", "tank", "Base");
    tank.replace(tank.find("DataBurn=tank/burn"), std::string("DataBurn=tank/burn").size(),
                 "DataBurn=/abs/burn");
    tank.replace(tank.find("DataPreview=tank/preview"), std::string("DataPreview=tank/preview").size(),
                 "DataPreview=.");
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
    std::string first = ProjectSection("project:Tank", "tank", "");
    first.erase(first.find("DataPreview="), std::string("DataPreview=tank/preview\r\n").size());
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

    bool flag = false;
    EXPECT_TRUE(Pipeline::GetBool("TOOLS", "yes", flag));
    EXPECT_TRUE(flag);
    flag = true;
    EXPECT_FALSE(Pipeline::GetBool("tools", "On", flag));
    EXPECT_FALSE(flag);
    flag = true;
    EXPECT_TRUE(Pipeline::GetBool("tools", "Zero", flag));
    EXPECT_FALSE(flag);

    float value = 0.0f;
    EXPECT_TRUE(Pipeline::GetFloat("tools", "Float", value));
    EXPECT_FLOAT_EQ(2.5f, value);
    EXPECT_FALSE(Pipeline::GetFloat("tools", "BadFloat", value));
    EXPECT_FALSE(Pipeline::GetFloat("tools", "Empty", value));
    int number = 0;
    EXPECT_TRUE(Pipeline::GetInt("tools", "Int", number));
    EXPECT_EQ(-40, number);
    EXPECT_FALSE(Pipeline::GetInt("tools", "Float", number));

    char path[260];
    EXPECT_TRUE(Pipeline::GetPath("tools", "Relative", path, sizeof(path)));
    EXPECT_EQ(Front() + "tools/data", path);
    EXPECT_TRUE(Pipeline::GetPath("tools", "Absolute", path, sizeof(path)));
    EXPECT_STREQ("/opt/tools", path);
    char small[8];
    EXPECT_TRUE(Pipeline::GetPath("tools", "Absolute", small, sizeof(small)));
    EXPECT_STREQ("/opt/to", small);
    EXPECT_EQ(Front() + "bin/report", Pipeline::BugReportPath());

    // A value of 512 characters or more comes through as the empty text.
    std::string text = "x";
    EXPECT_TRUE(Pipeline::GetString("tools", "Long", text));
    EXPECT_EQ("", text);
    EXPECT_FALSE(Pipeline::GetString("tools", "absent", text));
    EXPECT_FALSE(Pipeline::GetString("project:tank", "DataFinal", text));

    std::string version;
    EXPECT_TRUE(Pipeline::GetVersionPath(version));
    EXPECT_EQ("\\\\server\\versions", version);
    EXPECT_TRUE(Pipeline::GetVersionUsers(version));
    EXPECT_EQ("alice;bob", version);
    EXPECT_TRUE(Pipeline::GetString("P4", "revcontrolport", text));
    EXPECT_EQ("", text);
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
    PipelineData kind = DataSource;
    EXPECT_TRUE(PipelineDataFromName("DataGeneric", kind));
    EXPECT_EQ(DataGeneric, kind);
    EXPECT_TRUE(PipelineDataFromName("FINAL", kind));
    EXPECT_EQ(DataFinal, kind);
    EXPECT_TRUE(PipelineDataFromName("intermediate", kind));
    EXPECT_EQ(DataIntermediate, kind);
    EXPECT_TRUE(PipelineDataFromName("localefolder", kind));
    EXPECT_EQ(LocaleFolder, kind);
    EXPECT_FALSE(PipelineDataFromName("finals", kind));
    EXPECT_FALSE(PipelineDataFromName("", kind));
    EXPECT_EQ(LocaleFolder, kind);
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
    std::string section = ProjectSection("project:tank", "tank", "");
    section.replace(section.find("DataFinal=tank/final"), 20, "DataFinal=tank/final\\");
    ASSERT_EQ(Pipeline::InitOk, Init(section));
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
