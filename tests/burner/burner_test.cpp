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
std::string System(std::string path) { return std::replace(path.begin(), path.end(), '/', '\\'), path; }
using BurnerTest = FakeBurnerTest;
} // namespace
TEST(BurnerSplit, PathBecomesFolderAndRegularExpression)
{
    TempFolder temp;
    fs::create_directories(temp / "units");
    const std::string root = System(temp.Path());
    using Names = std::vector<std::string>;
    // path, folder, regular expression, names it takes, names it does not
    const std::tuple<std::string, std::string, std::string, Names, Names> cases[] = {
        {"", "", "", {}, {}},
        {temp / "units", root + "\\units", ".*$", {"a.sgm", ""}, {}},
        {temp / "units/a*.s?m", root + "\\units\\", "a.*\\.s.m$", {"a.sgm", "abc.spm", "xa.sgm"}, {"a.sg", "a.sgmx", "aXsgm"}},
        {temp / "units/*.*", root + "\\units\\", ".*$", {"x", "a.b"}, {}},
        {temp / "no/such/x(1)+[a]{b}^$.sgm", root + "\\no\\such\\", "x\\(1\\)\\+\\[a\\]\\{b\\}\\^\\$\\.sgm$", {"x(1)+[a]{b}^$.sgm"}, {"x1.sgm"}},
        {temp / "units/tank.sgm", root + "\\units\\", "tank\\.sgm$", {"tank.sgm"}, {"tank.sgm.bak", "tankXsgm"}},
        {temp / "units/../units/*.sgm", root + "\\units\\", ".*\\.sgm$", {"a.sgm"}, {"a.ebp"}},
        {"GENERIC:art/units/*.sgm", "GENERIC:\\art\\units\\", ".*\\.sgm$", {"b.sgm"}, {}},
    };
    for (const auto& [path, expectedFolder, expectedPattern, matches, misses] : cases)
    {
        std::string folder = "old", pattern = "old";
        Burner::SplitPath(path, folder, pattern);
        EXPECT_EQ(std::pair(expectedFolder, expectedPattern), std::pair(folder, pattern)) << path;
        for (const std::string& name : matches)
            EXPECT_TRUE(std::regex_search(name, std::regex(pattern))) << name;
        for (const std::string& name : misses)
            EXPECT_FALSE(std::regex_search(name, std::regex(pattern))) << name;
    }
}

TEST(BurnerSingleton, OneInstanceAtATime)
{
    EXPECT_EQ(Burner::Instance(), nullptr);
    ASSERT_TRUE(Burner::Initialize("/share"));
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
    ASSERT_EQ(std::pair(2u, size_t(4)), std::pair(filesBurned, size_t(results.Count())));
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
    m_temp.Write("pipeline.ini", "[p4]\r\nRevControlPort=\r\n[burner]\r\nburnerPath=share\r\n[project:art]\r\nDataSource=src\r\nDataSourceShared=\r\n"
                                 "DataBurn=\r\nDataIntermediate=\r\nDataGeneric=gen\r\nDataFinal=final\r\nDataPreview=\r\nLocaleFolder=\r\nAttrLoc=\r\nParent=\r\n");
    const std::string output = m_temp.Write("final/a.tqm", "old");
    ASSERT_EQ(Pipeline::InitOk, Pipeline::Initialize(System(m_temp / "pipeline.ini").c_str()));
    int pid = 0;
    std::string self;
    EXPECT_TRUE(Burner::BurnOne(m_temp / "gen/a.sgm", 0) && Launched(pid, self));
    EXPECT_EQ(Burner::Instance(), nullptr) << "the burner of the step is gone";
    uint32 changelist = 77;
    EXPECT_TRUE(Burner::OpenForBurn(changelist, output.c_str()) && changelist == 0u) << "local mode, a writable file";
    Pipeline::Shutdown();
    EXPECT_FALSE(Burner::BurnOne(m_temp / "gen/a.sgm", 0)) << "no pipeline.ini: no burner path";
    ExpectNothingLeft();
}
