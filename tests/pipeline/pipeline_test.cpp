// Pipeline: finding and reading pipeline.ini, projects and their folders, plain sections, the
// owner of a path, the source name mapping, and the Mapper: a project and its ancestors mounted
// under one alias, child first, extra final folders read-only, taken down with the last handle.
#include "pipelinetree.h"
#include "support/logcapture.h"
#include "foundation/debug.h"
#include "pipeline/pipeline.h"
#include "storage/bytestream.h"
#include "storage/filepath.h"
#include "storage/filepath_hd.h"
#include <gtest/gtest.h>
#include <sstream>

namespace
{
class PipelineTest : public ::testing::Test
{
protected:
    void TearDown() override { Pipeline::IsInitialized() ? Pipeline::Shutdown() : void(); }
    int Init(const std::string& ini, const std::string& from = "tank/source/units/deep/tank.max")
    {
        TearDown(), m_root.Write("pipeline.ini", ini);
        return Pipeline::Initialize((m_root / from).c_str());
    }
    std::string Front() const { return ::Front(m_root); }

    TempFolder m_root;
};

const std::string s_plain = IniText({"[Global]", "ToolsData=tools", "[p4]", "RevControlPort=", "[Version]",
                                     "VersionPath=\\\\server\\versions", "VersionUsers=alice;bob"});

std::string Edit(std::string section, const std::string& key, const char* value)
{
    const size_t at = section.find("\r\n" + key + "=") + 2, end = section.find("\r\n", at) + 2;
    return section.replace(at, end - at, value != nullptr ? key + "=" + value + "\r\n" : "");
}

class MapperTest : public PipelineTest, public FilePath::FileListener
{
protected:
    void SetUp() override
    {
        // tank derives from base; tank has one extra final folder, base two (x1 missing).
        for (const char* folder : {"tank/final", "tank/extra", "base/final", "base/x2", "tank/generic", "probe"})
            std::filesystem::create_directories(m_root / folder);
        ASSERT_EQ(Pipeline::InitOk, Init(ProjectSection("project:tank", "tank", "Base", "tank/extra") +
                                         ProjectSection("project:base", "base", "", "base/x1;base/x2") +
                                         ProjectSection("project:loop1", "loop1", "loop2") + ProjectSection("project:loop2", "loop2", "loop1") +
                                         ProjectSection("project:orphan", "orphan", "missing")));
        FilePath::AddListener("mapper-test", this);
    }
    void TearDown() override { FilePath::Reset(), PipelineTest::TearDown(); }
    void OnOpen(const char*, const char*, const char* id) override { m_lastId = id; }
    std::string OpenedThrough(const std::string& name)
    {
        return m_lastId.clear(), FilePath::Open(name.c_str(), ByteStream::Mode_Read) != nullptr ? m_lastId : "";
    }
    std::string m_lastId;
};
} // namespace

TEST_F(PipelineTest, FindsAndJudgesTheFile)
{
    const std::string tank = ProjectSection("project:tank", "tank", "");
    // Folder values with a drive must be under 260 characters; a relative value that only fits
    // before the folder of pipeline.ini is put in front is refused.
    const std::string v259 = "/" + std::string(258, 'a'), v260 = "/" + std::string(259, 'a');
    const std::tuple<std::string, int, const char*> cases[] = {
        {"; only a comment\r\n\r\n", Pipeline::InitUnreadable, nullptr},
        {s_plain, Pipeline::InitBadProject, "holds no [project:NAME] section"},
        {ProjectSection("project:base", "base", "") + Edit(tank, "DataPreview", nullptr), Pipeline::InitBadProject,
         "[project:tank] lacks the key \"DataPreview\""},
        // Description, DataExtra and the bugreport path are the only optional keys.
        {Edit(tank, "Description", nullptr), Pipeline::InitOk, nullptr},
        {Edit(tank, "DataSource", v260.c_str()), Pipeline::InitBadProject, nullptr},
        {Edit(tank, "DataSource", std::string(250, 'r').c_str()), Pipeline::InitBadProject, nullptr},
        {Edit(tank, "DataSource", v259.c_str()), Pipeline::InitOk, nullptr},
    };
    for (const auto& [ini, result, message] : cases)
    {
        SCOPED_TRACE(ini.substr(0, 60));
        LogCapture log;
        dbg::ScopedThrowOnAssert quiet(false);
        EXPECT_EQ(result, Init(ini));
        EXPECT_EQ(result == Pipeline::InitOk, Pipeline::IsInitialized());
        EXPECT_EQ(message != nullptr ? 1u : 0u, log.With(message != nullptr ? message : "\x01").size());
    }
    EXPECT_EQ(v259 + " Art of tank " + Front() + "pipeline.ini", std::string(Pipeline::ProjectFolder("tank", DataSource)) +
                  " " + Pipeline::ProjectDescription("tank") + " " + Pipeline::FileName());
    // A pipeline.ini nearer the file wins; a folder in the file's place cannot be read.
    m_root.Write("tank/pipeline.ini", ProjectSection("project:inner", "inner", ""));
    ASSERT_EQ(Pipeline::InitOk, Init(tank, "tank/source/x.max"));
    EXPECT_EQ(Front() + "tank\\pipeline.ini", Pipeline::FileName());
    std::filesystem::create_directories(m_root / "a/pipeline.ini");
    EXPECT_EQ(Pipeline::InitUnreadable, Init(tank, "a/x.max"));
    std::filesystem::remove(m_root / "pipeline.ini");
    EXPECT_EQ(Pipeline::InitNotFound, Pipeline::Initialize((m_root / "b/c.max").c_str()));
}

TEST_F(PipelineTest, ProjectsFoldersExtrasAndSections)
{
    auto List = [](uint32 count, auto get)
    { std::string text; for (uint32 i = 0; i < count; ++i) text += std::string(get(i)) + "|"; return text; };
    const std::string tank = Edit(
        Edit(ProjectSection("Project:Tank", "tank", "Base", "x1;x2 /abs/x3"), "DataBurn", "/abs/burn"), "DataPreview", ".");
    ASSERT_EQ(Pipeline::InitOk, Init(s_plain + tank + ProjectSection("project:base", "base", "", ";;  x4 ;") +
                                     ProjectSection("project:c", "c", "")));
    EXPECT_EQ("base|c|tank|", List(Pipeline::ProjectCount(), Pipeline::ProjectName));
    EXPECT_EQ("Base|", std::string(Pipeline::ProjectParent("tank")) + "|" + Pipeline::ProjectParent("base"));
    // Relative folders go behind the folder of pipeline.ini as written; folders with a drive stay;
    // a lone point is kept as it is; AttrLoc is not a folder and is never touched.
    const std::string f = Front() + "tank/";
    EXPECT_EQ(f + "source|" + f + "shared|/abs/burn|" + f + "interm|" + f + "generic|" + f + "final|" + f + "locale|" +
                  Front() + ".|attrib\\tank|",
              List(PipelineDataCount, [](uint32 k) { return Pipeline::ProjectFolder("Tank", PipelineData(k)); }));
    auto extras = [&List](const char* p)
    { return List(Pipeline::ProjectExtraCount(p), [p](uint32 i) { return Pipeline::ProjectExtra(p, i); }); };
    EXPECT_EQ(Front() + "x1|" + Front() + "x2|/abs/x3|/" + Front() + "x4|/", extras("tank") + "/" + extras("base") + "/" + extras("c"));
    EXPECT_EQ("global|p4|version|", List(Pipeline::SectionCount(), Pipeline::SectionName));
    EXPECT_EQ("versionpath=\\\\server\\versions|versionusers=alice;bob|",
              List(Pipeline::SectionKeyCount(2), [](uint32 k)
                   { return std::string(Pipeline::SectionKeyName(2, k)) + "=" + Pipeline::SectionKeyValue(2, k); }));
}

TEST_F(PipelineTest, TypedValuesAndAliases)
{
    ASSERT_EQ(Pipeline::InitOk,
              Init(IniText({"[Tools]", "Yes=Yes", "On=on", "Zero=0", "Float=2.5", "BadFloat=2.5x", "Empty=", "Int=-40",
                            "Relative=tools/data", "Absolute=/opt/tools", "Long=" + std::string(600, 'l'),
                            "[bugreport]", "ExePath=bin/report"}) +
                   s_plain + ProjectSection("project:tank", "tank", "")));
    // Each read gives "<ok><value> "; a failed float read leaves the value.
    std::ostringstream got;
    bool flag = true;
    float real = 0.0f;
    int number = 0;
    for (const char* key : {"yes", "On", "Zero"})
        got << Pipeline::GetBool("TOOLS", key, flag) << flag << " ";
    for (const char* key : {"Float", "BadFloat", "Empty"})
        got << Pipeline::GetFloat("tools", key, real) << real << " ";
    for (const char* key : {"Int", "Float", "Empty"})
        got << Pipeline::GetInt("tools", key, number) << number << " ";
    // A value of 512 characters or more comes through as the empty text; project sections are not plain.
    std::string text = "x";
    for (const auto& [section, key] : {std::pair{"tools", "Long"}, {"tools", "absent"}, {"project:tank", "DataFinal"},
                                       {"P4", "revcontrolport"}, {"version", "VersionPath"}})
        got << Pipeline::GetString(section, key, text) << text << " ";
    EXPECT_EQ("11 00 10 12.5 02.5 02.5 1-40 00 00 1 0 0 1 1\\\\server\\versions ", got.str());
    EXPECT_TRUE(Pipeline::GetVersionUsers(text) && text == "alice;bob");
    char path[260], alias[10];
    EXPECT_TRUE(Pipeline::GetPath("tools", "Relative", path, sizeof(path)) && path == Front() + "tools/data");
    EXPECT_TRUE(Pipeline::GetPath("tools", "Absolute", path, 8) && std::string(path) == "/opt/to");
    EXPECT_EQ(Front() + "bin/report", Pipeline::BugReportPath());
    EXPECT_TRUE(Pipeline::GetAlias(DataFinal, path, 10) && Pipeline::GetAlias(DataBurn, alias, 10));
    EXPECT_EQ("DATA: :", std::string(path) + " " + alias);
    dbg::ScopedThrowOnAssert quiet(false);
    EXPECT_FALSE(Pipeline::GetAlias(DataFinal, path, 9));
}

TEST_F(PipelineTest, ProjectFromPathNeedsAWholeComponentAndTakesTheFirstByName)
{
    // "data" is a prefix of "data2"; zulu's folder holds alpha's.
    auto data = [](const std::string& name, const char* source)
    { return Edit(Edit(ProjectSection("project:" + name, "x", ""), "DataSource", source), "DataFinal", "Data\\"); };
    std::string outer = ProjectSection("project:zulu", "art", ""), inner = ProjectSection("project:alpha", "art/source/u", "");
    ASSERT_EQ(Pipeline::InitOk, Init(data("data", "Data") + data("data2", "Data2") + outer + inner));
    // Case and separators do not matter; a folder with a trailing separator matches only itself.
    const std::tuple<std::string, PipelineData, const char*> cases[] = {
        {"Data2/units/t.max", DataSource, "data2"}, {"Data/units/t.max", DataSource, "data"}, {"Data", DataSource, "data"},
        {"DATA\\x/../t.max", DataSource, "data"}, {"Data3/t.max", DataSource, nullptr}, {"Dat", DataSource, nullptr},
        {"Data/t.tqm", DataFinal, nullptr}, {"Data/", DataFinal, "data"},
        {"art/source/u/source/t.max", DataSource, "alpha"}, {"art/source/t.max", DataSource, "zulu"},
    };
    for (const auto& [path, kind, owner] : cases)
        EXPECT_STREQ(owner, Pipeline::ProjectFromPath((m_root / path).c_str(), kind)) << path;
    // Renamed so that the outer project sorts first: it now owns the inner folder as well.
    outer.replace(outer.find("zulu"), 4, "aaaa");
    ASSERT_EQ(Pipeline::InitOk, Init(outer + inner));
    EXPECT_STREQ("aaaa", Pipeline::ProjectFromPath((m_root / "art/source/u/source/t.max").c_str(), DataSource));
}

TEST_F(PipelineTest, SourceNameMappingKeepsTheTailByteForByte)
{
    m_root.Write("pipeline.ini", ProjectSection("project:tank", "tank", ""));
    const std::string source = m_root / "tank/source/units/Heavy.max", generic = Front() + "tank/generic/units/Heavy.max";
    char out[260];
    // The result fits only below the room given; each mapping runs its own Initialize and Shutdown.
    EXPECT_TRUE(Pipeline::MapSourceName(source.c_str(), DataGeneric, out, generic.size() + 1) && out == generic);
    EXPECT_FALSE(Pipeline::MapSourceName(source.c_str(), DataGeneric, out, generic.size()));
    EXPECT_TRUE(Pipeline::MapSourceNameToAlias(source.c_str(), out, sizeof(out)) && std::string(out) == "DATA:/units/Heavy.max");
    EXPECT_FALSE(Pipeline::MapSourceName((m_root / "tank/final/x.max").c_str(), DataGeneric, out, sizeof(out)) || *out);
    EXPECT_FALSE(Pipeline::IsInitialized());
}

TEST_F(MapperTest, ChildThenItsExtrasThenTheParentFromPriority200)
{
    Mapper mapper = Pipeline::CreateMapper("Tank", DataFinal, false);
    EXPECT_EQ("tank DATA", std::string(mapper.Project()) + " " + mapper.Alias());
    const char* ids[] = {"tank", "tank-extra-01", "base", "base-extra-01", "base-extra-02"};
    const char* folders[] = {"tank/final", "tank/extra", "base/final", "base/x1", "base/x2"};
    ASSERT_TRUE(mapper.Mappings().size() == 5u && mapper.Map());
    for (int i = 0; i < 5; ++i)
    {
        const Mapper::Mapping& mapping = mapper.Mappings()[size_t(i)];
        EXPECT_EQ(ids[i] + (" " + Front()) + folders[i], mapping.sourceId + " " + mapping.folder);
        EXPECT_EQ(i == 1 || i >= 3, mapping.extra);
        if (i == 3) // the missing folder is passed over, and not made
            continue;
        // A probe one below the mapping's priority loses to it; one at the same priority, added
        // later, goes ahead of it. So the mapping stands at exactly 200 - i.
        const std::string file = "m" + std::to_string(i) + ".tqm";
        m_root.Write(std::string(folders[i]) + "/" + file, "m");
        m_root.Write("probe/" + file, "p");
        for (const auto& [id, priority] : {std::pair{"below", 199 - i}, {"same", 200 - i}})
        {
            ASSERT_TRUE(FilePath::AddAlias("DATA", id, priority, FilePathHD::Create(Win(m_root / "probe").c_str(),
                                                                                    ByteStream::Mode_Read, false, false)));
            EXPECT_EQ(priority == 200 - i ? id : ids[i], OpenedThrough("DATA:" + file)) << i;
            ASSERT_TRUE(FilePath::RemoveAlias("DATA", id));
        }
    }
    EXPECT_FALSE(std::filesystem::exists(m_root / "base/x1"));
    // A write goes to the first writable source: the child's own folder.
    ASSERT_NE(nullptr, FilePath::Open("DATA:written.tqm", ByteStream::Mode_Write));
    EXPECT_TRUE(std::filesystem::exists(m_root / "tank/final/written.tqm"));
    EXPECT_EQ(std::pair(size_t(2), size_t(2)), std::pair(Pipeline::CreateMapper("tank", DataFinal, true).Mappings().size(),
                                                          Pipeline::CreateMapper("tank", DataGeneric, false).Mappings().size()));
}

TEST_F(MapperTest, ReadOnlyAnotherAliasAndTheLastHandle)
{
    for (const char* file : {"tank/generic/both.sgm", "base/generic/both.sgm", "base/generic/only-base.sgm"})
        m_root.Write(file, "");
    {
        Mapper outer;
        {
            Mapper mapper = Pipeline::CreateMapper("tank", DataGeneric, false);
            ASSERT_TRUE(mapper.Map(true));
            outer = mapper;
        }
        EXPECT_TRUE(outer.IsMapped());
        EXPECT_EQ("tank", OpenedThrough("GENERIC:both.sgm"));
        EXPECT_EQ("base", OpenedThrough("generic:ONLY-BASE.sgm"));
        EXPECT_EQ(nullptr, FilePath::Open("GENERIC:new.sgm", ByteStream::Mode_Write));
    }
    EXPECT_EQ("", OpenedThrough("GENERIC:both.sgm"));
    Mapper mapper = Pipeline::CreateMapper("tank", DataGeneric, false);
    ASSERT_TRUE(mapper.Map(false, "WORK") && FilePath::Open("WORK:new.sgm", ByteStream::Mode_Write) != nullptr);
    EXPECT_TRUE(std::filesystem::exists(m_root / "tank/generic/new.sgm"));
    ASSERT_TRUE(mapper.Unmap());
    EXPECT_FALSE(mapper.IsMapped() || OpenedThrough("WORK:both.sgm") != "");
    dbg::ScopedThrowOnAssert quiet(false);
    EXPECT_FALSE(mapper.Unmap() || Mapper().Map());
}

TEST_F(MapperTest, ProjectQuestionsAndTheParentWalk)
{
    // The walk ends at a missing parent or a loop; an unknown project gives an empty handle.
    const Mapper tank = Pipeline::CreateMapper("tank", DataFinal, false), base = Pipeline::CreateMapper("base", DataFinal, false);
    const Mapper none = Pipeline::CreateMapper("nobody", DataFinal, false), loop = Pipeline::CreateMapper("loop1", DataGeneric, false);
    EXPECT_EQ(1u, Pipeline::CreateMapper("orphan", DataGeneric, false).Mappings().size());
    EXPECT_TRUE(loop.Mappings().size() == 2 && none.IsEmpty() && none.Mappings().empty() && none.Project() == nullptr);
    const std::tuple<const Mapper*, const char*, bool, bool> cases[] = {
        {&tank, "TANK", true, false}, {&tank, "base", false, true}, {&tank, nullptr, false, false},
        {&base, "tank", false, false}, {&none, nullptr, true, false}, {&loop, "loop2", false, true}, {&loop, "base", false, false}};
    for (const auto& [pMapper, name, project, derived] : cases)
        EXPECT_EQ(std::pair(project, derived), std::pair(pMapper->IsProject(name), pMapper->IsDerivedFrom(name)))
            << (name != nullptr ? name : "null");
    EXPECT_TRUE(Pipeline::CreateMapper(nullptr, DataGeneric, false).IsEmpty());
}

TEST(PipelineData, NamesAndAliasesOfKindsAndNoneOutOfRange)
{
    const std::tuple<int, const char*, const char*, bool> cases[] = {
        {DataGeneric, "DataGeneric", "GENERIC", true}, {AttrLoc, "AttrLoc", "AttrLoc", false},
        {-1, nullptr, nullptr, false}, {PipelineDataCount, nullptr, nullptr, false}};
    for (const auto& [kind, name, alias, folder] : cases)
    {
        EXPECT_STREQ(name, PipelineDataName(kind)) << kind;
        EXPECT_STREQ(alias, PipelineDataAlias(kind)) << kind;
        EXPECT_EQ(folder, PipelineDataIsFolder(kind)) << kind;
    }
}
