// tq7z pipeline run end to end, on the sample tree that ships with the project and on a broken tree.
#include "pipelinetree.h"
#include "support/runtool.h"
#include <gtest/gtest.h>

TEST(CmdPipeline, InfoProjectAndSourceToOnTheSampleTree)
{
    const std::string s = std::filesystem::weakly_canonical(TQ7Z_SAMPLES "/project").string();
    const std::string tank = s + "/art/source/units/tank/tank.max";
    TempFolder broken;
    std::string lacking = ProjectSection("project:tank", "tank", "");
    broken.Write("pipeline.ini", "orphan=1\r\n" + lacking.erase(lacking.find("Parent=")));
    using Strings = std::vector<std::string>;
    const std::tuple<Strings, int, Strings, Strings> cases[] = {
        {{"pipeline", "info", tank}, 0, {"pipeline.ini: " + s + "/pipeline.ini\n", "project art\n  Description: Art of the base game\n  Parent: (none)\n",
          "  DataExtra: " + s + "/art/final_patch\n", "  AttrLoc: attrib\n", "section p4\n  revcontrolport=\n"}, {}},
        {{"pipeline", "info", broken.Path()}, 1, {}, {"Key outside section at line 0 from", "[project:tank] lacks the key \"Parent\"",
          "no complete [project:NAME] section"}},
        {{"pipeline", "project", Win(s + "/art/generic/units"), "--kind", "dataGENERIC"}, 0, {"art\n"}, {}},
        {{"pipeline", "project", s + "/tools/version.txt", "--kind", "final"}, 1, {""}, {"lies in no project's DataFinal folder"}},
        {{"pipeline", "project", s, "--kind", "finished"}, 1, {""}, {"unknown data kind 'finished'"}},
        {{"pipeline", "source-to", "final", "--alias", tank}, 0, {"DATA:\\units\\tank\\tank.max\n"}, {}},
        {{"pipeline", "source-to", "generic", s + "/art/final/units/tank/readme.txt"}, 1, {""}, {"cannot map"}},
        {{"pipeline", "info", "--help"}, 0, {"Usage:"}, {}}, {{"pipeline", "source-to", "--help"}, 0, {"Usage:"}, {}},
    };
    for (const auto& [args, status, out, err] : cases)
    {
        SCOPED_TRACE(args[1] + " " + args[2]);
        ToolRun run = RunTool(args);
        EXPECT_EQ(status, run.status) << run.err;
        for (const std::string& part : out)
            EXPECT_TRUE(part.empty() ? run.out.empty() : run.out.find(part) != std::string::npos) << run.out;
        for (const std::string& part : err)
            EXPECT_NE(std::string::npos, run.err.find(part)) << run.err;
    }
}
