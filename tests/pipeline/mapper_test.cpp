// Mapper: a project and its ancestors mounted under one alias, child first, extra final folders
// read-only, and the mount taken down with the last handle.
#include "pipelinetree.h"

#include "foundation/debug.h"
#include "pipeline/pipeline.h"
#include "storage/bytestream.h"
#include "storage/filepath.h"
#include "storage/filepath_hd.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace
{
namespace fs = std::filesystem;

// Remembers the id of the path each open went through.
class OpenListener final : public FilePath::FileListener
{
public:
    void OnOpen(const char*, const char*, const char* id) override { m_lastId = id; }
    std::string m_lastId;
};

class MapperTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        // tank derives from base; tank has one extra final folder, base two.
        m_root.Write("pipeline.ini", ProjectSection("project:tank", "tank", "Base", "tank/extra") +
                                         ProjectSection("project:base", "base", "", "base/x1;base/x2") +
                                         ProjectSection("project:loop1", "loop1", "loop2") +
                                         ProjectSection("project:loop2", "loop2", "loop1") +
                                         ProjectSection("project:orphan", "orphan", "missing"));
        for (const char* folder :
             {"tank/final", "tank/extra", "base/final", "base/x1", "base/x2", "tank/generic", "base/generic"})
            fs::create_directories(m_root / folder);
        ASSERT_EQ(Pipeline::InitOk, Pipeline::Initialize((m_root / "tank/source/t.max").c_str()));
        FilePath::AddListener("mapper-test", &m_listener);
    }
    void TearDown() override
    {
        FilePath::Reset();
        if (Pipeline::IsInitialized())
            Pipeline::Shutdown();
    }

    // The id of the path that gives `name`, or "" when none does.
    std::string OpenedThrough(const std::string& name)
    {
        m_listener.m_lastId.clear();
        std::shared_ptr<ByteStream> pStream = FilePath::Open(name.c_str(), ByteStream::Mode_Read);
        return pStream != nullptr ? m_listener.m_lastId : std::string();
    }

    TempFolder m_root;
    OpenListener m_listener;
};
} // namespace

TEST_F(MapperTest, ChildThenItsExtrasThenTheParent)
{
    Mapper mapper = Pipeline::CreateMapper("Tank", DataFinal, false);
    EXPECT_STREQ("tank", mapper.Project());
    EXPECT_STREQ("DATA", mapper.Alias());
    const auto& cMappings = mapper.Mappings();
    ASSERT_EQ(5u, cMappings.size());
    const char* ids[] = {"tank", "tank-extra-01", "base", "base-extra-01", "base-extra-02"};
    const char* folders[] = {"tank/final", "tank/extra", "base/final", "base/x1", "base/x2"};
    for (size_t i = 0; i < 5; ++i)
    {
        EXPECT_EQ(ids[i], cMappings[i].sourceId);
        EXPECT_EQ(Front(m_root) + folders[i], cMappings[i].folder);
        EXPECT_EQ(i == 1 || i >= 3, cMappings[i].extra) << i;
    }

    // Without parents, and for other kinds, there are no extras.
    EXPECT_EQ(2u, Pipeline::CreateMapper("tank", DataFinal, true).Mappings().size());
    Mapper generic = Pipeline::CreateMapper("tank", DataGeneric, false);
    EXPECT_STREQ("GENERIC", generic.Alias());
    ASSERT_EQ(2u, generic.Mappings().size());
    EXPECT_EQ("base", generic.Mappings()[1].sourceId);
}

TEST_F(MapperTest, MountedPrioritiesFallFrom200)
{
    Mapper mapper = Pipeline::CreateMapper("tank", DataFinal, false);
    ASSERT_TRUE(mapper.Map());
    const char* folders[] = {"tank/final", "tank/extra", "base/final", "base/x1", "base/x2"};
    m_root.Write("probe/p.tqm", "probe");
    for (int i = 0; i < 5; ++i)
    {
        SCOPED_TRACE(i);
        const std::string file = "m" + std::to_string(i) + ".tqm";
        m_root.Write(std::string(folders[i]) + "/" + file, "m");
        m_root.Write("probe/" + file, "p");
        // A probe one below the mapping's priority loses to it; one at the same priority, added
        // later, goes ahead of it. So the mapping stands at exactly 200 - i.
        ASSERT_TRUE(FilePath::AddAlias(
            "DATA", "probe-below", 199 - i,
            FilePathHD::Create(Win(m_root / "probe").c_str(), ByteStream::Mode_Read, false, false)));
        EXPECT_EQ(mapper.Mappings()[size_t(i)].sourceId, OpenedThrough("DATA:" + file));
        ASSERT_TRUE(FilePath::RemoveAlias("DATA", "probe-below"));
        ASSERT_TRUE(FilePath::AddAlias(
            "DATA", "probe-same", 200 - i,
            FilePathHD::Create(Win(m_root / "probe").c_str(), ByteStream::Mode_Read, false, false)));
        EXPECT_EQ("probe-same", OpenedThrough("DATA:" + file));
        ASSERT_TRUE(FilePath::RemoveAlias("DATA", "probe-same"));
    }
}

TEST_F(MapperTest, ChildOutranksParentAndReadOnlyRefusesWrites)
{
    m_root.Write("tank/generic/both.sgm", "tank");
    m_root.Write("base/generic/both.sgm", "base");
    m_root.Write("base/generic/only-base.sgm", "base");
    {
        Mapper mapper = Pipeline::CreateMapper("tank", DataGeneric, false);
        ASSERT_TRUE(mapper.Map(true));
        EXPECT_TRUE(mapper.IsMapped());
        EXPECT_EQ("tank", OpenedThrough("GENERIC:both.sgm"));
        EXPECT_EQ("base", OpenedThrough("generic:ONLY-BASE.sgm"));
        EXPECT_EQ(nullptr, FilePath::Open("GENERIC:new.sgm", ByteStream::Mode_Write));
        ASSERT_TRUE(mapper.Unmap());
        EXPECT_EQ("", OpenedThrough("GENERIC:both.sgm"));
    }
    Mapper mapper = Pipeline::CreateMapper("tank", DataGeneric, false);
    ASSERT_TRUE(mapper.Map(false, "WORK"));
    EXPECT_STREQ("WORK", mapper.Alias());
    std::shared_ptr<ByteStream> pStream = FilePath::Open("WORK:new.sgm", ByteStream::Mode_Write);
    ASSERT_NE(nullptr, pStream);
    pStream.reset();
    EXPECT_TRUE(fs::exists(m_root / "tank/generic/new.sgm"));
}

TEST_F(MapperTest, ExtraFoldersAreReadOnlyAndMissingOnesArePassedOver)
{
    fs::remove_all(m_root / "base/x1");
    m_root.Write("base/x2/extra.tqm", "x2");
    Mapper mapper = Pipeline::CreateMapper("tank", DataFinal, false);
    ASSERT_TRUE(mapper.Map());
    EXPECT_EQ("base-extra-02", OpenedThrough("DATA:extra.tqm"));
    EXPECT_FALSE(fs::exists(m_root / "base/x1"));
    // A write goes to the first writable source: the child's own folder.
    ASSERT_NE(nullptr, FilePath::Open("DATA:written.tqm", ByteStream::Mode_Write));
    EXPECT_TRUE(fs::exists(m_root / "tank/final/written.tqm"));
}

TEST_F(MapperTest, TheLastHandleTakesTheMountDown)
{
    m_root.Write("tank/final/t.tqm", "t");
    {
        Mapper outer;
        {
            Mapper mapper = Pipeline::CreateMapper("tank", DataFinal, true);
            ASSERT_TRUE(mapper.Map());
            outer = mapper;
        }
        EXPECT_TRUE(outer.IsMapped());
        EXPECT_EQ("tank", OpenedThrough("DATA:t.tqm"));
    }
    EXPECT_EQ("", OpenedThrough("DATA:t.tqm"));

    dbg::ScopedThrowOnAssert loud;
    Mapper mapper = Pipeline::CreateMapper("tank", DataFinal, true);
    ASSERT_TRUE(mapper.Map());
    EXPECT_THROW(mapper.Map(), std::runtime_error);
    ASSERT_TRUE(mapper.Unmap());
    EXPECT_THROW(mapper.Unmap(), std::runtime_error);
    EXPECT_THROW(Mapper().Map(), std::runtime_error);
}

TEST_F(MapperTest, ProjectQuestions)
{
    Mapper tank = Pipeline::CreateMapper("tank", DataFinal, false);
    EXPECT_TRUE(tank.IsProject("TANK"));
    EXPECT_FALSE(tank.IsProject("base"));
    EXPECT_FALSE(tank.IsProject(nullptr));
    EXPECT_TRUE(tank.IsDerivedFrom("base"));
    EXPECT_FALSE(tank.IsDerivedFrom("tank"));
    EXPECT_FALSE(tank.IsDerivedFrom(nullptr));
    EXPECT_FALSE(tank.IsEmpty());

    Mapper base = Pipeline::CreateMapper("base", DataFinal, false);
    EXPECT_FALSE(base.IsDerivedFrom("tank"));

    // An unknown project gives an empty handle.
    Mapper unknown = Pipeline::CreateMapper("nobody", DataFinal, false);
    EXPECT_TRUE(unknown.IsEmpty());
    EXPECT_EQ(nullptr, unknown.Project());
    EXPECT_TRUE(unknown.IsProject(nullptr));
    EXPECT_TRUE(unknown.Mappings().empty());

    // No project and parents: a record with nothing to mount.
    Mapper none = Pipeline::CreateMapper(nullptr, DataGeneric, false);
    EXPECT_TRUE(none.IsEmpty());
    EXPECT_STREQ("GENERIC", none.Alias());

    dbg::ScopedThrowOnAssert loud;
    EXPECT_THROW(Pipeline::CreateMapper(nullptr, DataGeneric, true), std::runtime_error);
    EXPECT_THROW(Pipeline::CreateMapper("tank", DataBurn, false), std::runtime_error);
}

TEST_F(MapperTest, ParentWalkEndsAtAMissingParentOrALoop)
{
    Mapper orphan = Pipeline::CreateMapper("orphan", DataGeneric, false);
    EXPECT_EQ(1u, orphan.Mappings().size());

    Mapper loop = Pipeline::CreateMapper("loop1", DataGeneric, false);
    ASSERT_EQ(2u, loop.Mappings().size());
    EXPECT_EQ("loop2", loop.Mappings()[1].sourceId);
    EXPECT_TRUE(loop.IsDerivedFrom("loop2"));
    EXPECT_FALSE(loop.IsDerivedFrom("base"));
}
