// tq7z burn FILE|FOLDER run end to end, with the test burner as the burner program of a small tree.
#include "support/runtool.h"
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <csignal>
#include <sstream>

namespace
{
namespace fs = std::filesystem;

const char* const s_ini = "[Global]\r\nToolsData=tools\r\n[p4]\r\nRevControlPort=\r\n[burner]\r\nburnerPath=share\r\n[project:art]\r\n"
                          "DataSource=src\r\nDataSourceShared=\r\nDataBurn=\r\nDataIntermediate=\r\nDataGeneric=gen\r\nDataFinal=final\r\n"
                          "DataPreview=\r\nLocaleFolder=\r\nAttrLoc=\r\nParent=\r\n";
bool Holds(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }
bool EndsWith(const std::string& text, const std::string& end) { return text.size() >= end.size() && text.substr(text.size() - end.size()) == end; }

class CmdBurnRun : public ::testing::Test
{
protected:
    void SetUp() override
    {
        m_tree.Write("pipeline.ini", s_ini);
        m_tree.Write("gen/units/a.sgm", "model");
        m_tree.Write("elsewhere/b.sgm", "model");
        m_tree.Write("tools/readme.txt", "tools");
        fs::create_directories(m_tree / "share");
        fs::copy_file(FAKE_BURNER, m_tree / "share/BurnerImp");
    }
    ToolRun Burn(std::vector<std::string> args, const std::string& mode) const
    {
        args.insert(args.begin(), "burn");
        return RunTool(args, {"FAKE_BURNER_MODE=" + mode, "FAKE_BURNER_PIDFILE=" + (m_tree / "pid")});
    }

    TempFolder m_tree;
};
} // namespace

TEST_F(CmdBurnRun, RecordsOnStandardOutputProgressOnStandardError)
{
    const std::string folder = m_tree / "gen/units";
    ToolRun run = Burn({folder, "--force"}, "progress");
    ASSERT_EQ(0, run.status) << run.err;
    std::string system = folder;
    std::replace(system.begin(), system.end(), '/', '\\');
    EXPECT_TRUE(Holds(run.out, " v8\n") && Holds(run.out, "request 0 " + system + " .*$ 101\n")) << "--force is the first flag";
    EXPECT_TRUE(Holds(run.out, "1/2 units/a.tqm\n2/2 units/b.tqm\nBurnerImp -- 2 files burned\n")) << run.out;
    EXPECT_TRUE(Holds(run.err, "tq7z burn: 1/2 units/a.tqm\ntq7z burn: 2/2 units/b.tqm\n")) << run.err;
    EXPECT_TRUE(EndsWith(run.err, "tq7z burn: " + folder + ": 2 files burned or up to date\n")) << run.err;
    run = Burn({m_tree / "gen/units/a.sgm", "--json"}, "");
    ASSERT_EQ(0, run.status) << run.err;
    const nlohmann::json out = nlohmann::json::parse(run.out);
    EXPECT_TRUE(out["filesBurned"] == 2 && out["error"].is_null() && Holds(out["records"][2]["text"].get<std::string>(), " a\\.sgm$ 001"))
        << run.out;
}

TEST_F(CmdBurnRun, FailuresGiveTheBurnerTexts)
{
    // path, the burner's misbehaviour, a line of pipeline.ini taken out, a part of standard output, the end of standard error
    const std::tuple<std::string, const char*, std::string, std::string, std::string> cases[] = {
        {m_tree / "gen", "refuse-request", "", "Error: BurnerImp -- no such folder\n", "Burner: Burn failed, see log messages.'\n"},
        {m_tree / "gen", "exit-during-burn", "", "Error: Burner -- Failed to read a post burn request message from the burner\n",
         "Burner: Burn failed, see log messages.'\n"},
        {m_tree / "elsewhere/b.sgm", "", "", "", "Burner: Unable to find associated project.\n"},
        {m_tree / "gen", "", "burnerPath=share\r\n", "", "Burner: 'burnerPath' not listed under [burner] in pipeline.ini\n"},
        {m_tree / "gen", "", "ToolsData=tools\r\n", "", "Burner: 'ToolsData' not listed under [Global] in pipeline.ini\n"},
        {m_tree / "gen", "", "RevControlPort=\r\n", "", "Burner: 'RevControlPort' not listed under [p4] in pipeline.ini\n"},
    };
    for (const auto& [path, mode, iniLine, out, errEnd] : cases)
    {
        std::string ini = s_ini;
        m_tree.Write("pipeline.ini", iniLine.empty() ? ini : ini.erase(ini.find(iniLine), iniLine.size()));
        const ToolRun run = Burn({path}, mode);
        EXPECT_TRUE(run.status == 1 && Holds(run.out, out)) << run.out;
        EXPECT_TRUE(EndsWith(run.err, errEnd)) << run.err;
        // The burner, when it ran, wrote its id and file name: neither is left.
        std::istringstream launched(TempFolder::Read(m_tree / "pid"));
        int pid = 0;
        std::string self;
        EXPECT_TRUE(!(launched >> pid >> self) ||
                    (::kill(pid, 0) == -1 && !fs::exists(self) && fs::path(self).parent_path() == fs::path(TQ7Z_BINARY).parent_path()))
            << pid << " " << self;
        fs::remove(m_tree / "pid");
    }
    EXPECT_EQ(2, Burn({}, "").status) << "a path or a subcommand is required";
    // A file where the final folder should be: said before anything burns.
    m_tree.Write("pipeline.ini", s_ini);
    m_tree.Write("final", "a file");
    const ToolRun run = Burn({m_tree / "gen"}, "progress");
    EXPECT_TRUE(run.status == 1 && run.out.empty()) << run.out;
    EXPECT_TRUE(EndsWith(run.err, "cannot be written: " + m_tree / "final" + " is a file, not a folder\n")) << run.err;
}
