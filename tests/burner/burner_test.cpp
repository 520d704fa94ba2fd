// The burn front end: a burn path split into folder and regular expression, the singleton, and the
// steps for merge tools against the test burner.
#include "burner/burner.h"
#include "fakeburnerfixture.h"
#include "foundation/debug.h"
#include "pipeline/pipeline.h"

#include <regex>

namespace
{
// The system's form of a disk path.
std::string System(std::string path)
{
    for (char& c : path)
        c = c == '/' ? '\\' : c;
    return path;
}

using BurnerTest = FakeBurnerTest;
} // namespace

TEST(BurnerSplit, PathBecomesFolderAndRegularExpression)
{
    TempFolder temp;
    fs::create_directories(temp / "units");
    const std::string root = System(temp.Path());
    struct Case
    {
        std::string path, folder, pattern;
        std::vector<std::string> matches, misses;
    };
    const Case cases[] = {
        {"", "", "", {}, {}},
        {temp / "units", root + "\\units", ".*$", {"a.sgm", ""}, {}},
        {temp / "units/a*.s?m",
         root + "\\units\\",
         "a.*\\.s.m$",
         {"a.sgm", "abc.spm", "xa.sgm"},
         {"a.sg", "a.sgmx", "aXsgm"}},
        {temp / "units/*.*", root + "\\units\\", ".*$", {"x", "a.b"}, {}},
        {temp / "no/such/x(1)+[a]{b}^$.sgm",
         root + "\\no\\such\\",
         "x\\(1\\)\\+\\[a\\]\\{b\\}\\^\\$\\.sgm$",
         {"x(1)+[a]{b}^$.sgm"},
         {"x1.sgm"}},
        {temp / "units/tank.sgm",
         root + "\\units\\",
         "tank\\.sgm$",
         {"tank.sgm"},
         {"tank.sgm.bak", "tankXsgm"}},
        {temp / "units/../units/*.sgm", root + "\\units\\", ".*\\.sgm$", {"a.sgm"}, {"a.ebp"}},
        {"GENERIC:art/units/*.sgm", "GENERIC:\\art\\units\\", ".*\\.sgm$", {"b.sgm"}, {}},
    };
    for (const Case& c : cases)
    {
        SCOPED_TRACE(c.path);
        std::string folder = "old", pattern = "old";
        Burner::SplitPath(c.path, folder, pattern);
        EXPECT_EQ(folder, c.folder);
        EXPECT_EQ(pattern, c.pattern);
        for (const std::string& name : c.matches)
            EXPECT_TRUE(std::regex_search(name, std::regex(pattern))) << name;
        for (const std::string& name : c.misses)
            EXPECT_FALSE(std::regex_search(name, std::regex(pattern))) << name;
    }
}

TEST(BurnerSingleton, OneInstanceAtATime)
{
    EXPECT_EQ(Burner::Instance(), nullptr);
    ASSERT_TRUE(Burner::Initialize("/share"));
    EXPECT_EQ(Burner::Instance()->GetBurnerPath(), "/share");
    {
        dbg::ScopedThrowOnAssert throwing;
        EXPECT_THROW(Burner::Initialize("/other"), std::runtime_error);
    }
    EXPECT_EQ(Burner::Instance()->GetBurnerPath(), "/share");
    Burner::Shutdown();
    EXPECT_EQ(Burner::Instance(), nullptr);
    Burner::Shutdown();
}

TEST_F(BurnerTest, BurnSendsTheSplitPathAndFlags)
{
    UseMode("");
    fs::create_directories(m_temp / "gen");
    ASSERT_TRUE(Burner::Initialize(m_burnerPath));
    BurnerResults results;
    uint32 filesBurned = 0;
    EXPECT_TRUE(Burner::Instance()->Burn(9, m_temp / "gen/a*.s?m", true, filesBurned, results));
    EXPECT_EQ(filesBurned, 2u);
    ASSERT_EQ(results.Count(), 4u);
    EXPECT_EQ(results[2].text, "request 9 " + System(m_temp / "gen/") + " a.*\\.s.m$ 101");

    // Asynchronous: start, then poll to the end.
    BurnerResults async;
    ASSERT_TRUE(Burner::Instance()->BurnAsync(3, m_temp / "gen", false, true, false, async));
    bool done = false;
    while (!done)
        ASSERT_TRUE(Burner::Instance()->Poll(done, filesBurned, async));
    EXPECT_EQ(async[2].text, "request 3 " + System(m_temp / "gen") + " .*$ 010");
    Burner::Shutdown();
    ExpectNothingLeft();
}

TEST_F(BurnerTest, BurnOneAndOpenForBurnUseThePipeline)
{
    UseMode("");
    m_temp.Write("pipeline.ini", "[p4]\r\nRevControlPort=\r\n[burner]\r\nburnerPath=share\r\n"
                                 "[project:art]\r\nDataSource=src\r\nDataSourceShared=\r\nDataBurn=\r\n"
                                 "DataIntermediate=\r\nDataGeneric=gen\r\nDataFinal=final\r\nDataPreview=\r\n"
                                 "LocaleFolder=\r\nAttrLoc=\r\nParent=\r\n");
    const std::string output = m_temp.Write("final/a.tqm", "old");
    ASSERT_EQ(Pipeline::InitOk, Pipeline::Initialize(System(m_temp / "pipeline.ini").c_str()));

    EXPECT_TRUE(Burner::BurnOne(m_temp / "gen/a.sgm", 0));
    EXPECT_EQ(Burner::Instance(), nullptr) << "the burner of the step is gone";
    int pid = 0;
    std::string self;
    EXPECT_TRUE(Launched(pid, self));

    uint32 changelist = 77;
    EXPECT_TRUE(Burner::OpenForBurn(changelist, output.c_str())) << "local mode, a writable file";
    EXPECT_EQ(changelist, 0u);
    Pipeline::Shutdown();

    EXPECT_FALSE(Burner::BurnOne(m_temp / "gen/a.sgm", 0)) << "no pipeline.ini: no burner path";
    ExpectNothingLeft();
}
