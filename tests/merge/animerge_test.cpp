// Ani-merge on a copy of the sample project: what it writes under each pair of flags, the merged
// model's name and animations, the listener's texts for each failure, and the log's name.
#include "merge/animerge.h"
#include "burner/burnercommand.h"
#include "logging/processlog.h"
#include "merge/mergetree.h"
#include "teamcolour/burnsteps.h"
#include "teamcolour/exporttext.h"
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

TEST(AniMerge, WritesWhatItsFlagsAskAndTellsEachFailure)
{
    using Prepare = std::function<void(merge_test::MergeTree&)>;
    const std::string scout = "art/intermediate/units/scout/", ref = scout + "reference/ref.sgm", log = scout + "reference/ref.log",
                      merge = "art/generic/units/scout/trooper.sgm", two = "art/generic/units/scout/two.sgm", dotted = "art/intermediate/units/scout.v2/ref.sgm";
    const Prepare twoAnims = [&](merge_test::MergeTree& t)
    { ASSERT_TRUE(AniMerge::Run({3, t.Path(two), t.Intermediate("reference/ref"), {t.Intermediate("walk"), t.Intermediate("idle")}}, {true, false}, [](const std::string&) {})); };
    const Prepare blocked = [&](merge_test::MergeTree& t) { std::filesystem::create_directories(t.Path(merge)); };
    const Prepare point = [&](merge_test::MergeTree& t) { std::filesystem::create_directories(t.Path("art/intermediate/units/scout.v2")), std::filesystem::copy(t.Intermediate("reference/ref"), t.Path(dotted)); };
    // flags, model, animations, result, listener ("%s": the model), the merged file's name ("ref" is named by the merge file)
    // and animations (empty: none written), the shared texture's pattern and shader written (their revision control and burn
    // only succeed), the log (named up to the first point of the path), a preparation (a two-animation file; a folder in the way).
    const std::tuple<AniMerge::Flags, std::string, std::vector<std::string>, bool, std::string, std::string, bool, std::string, Prepare> cases[] = {
        {{true, true}, ref, {scout + "walk.sgm", scout + "idle.sgm"}, true, "", "trooper: walk idle", true, log, nullptr},
        {{false, true}, ref, {scout + "walk.sgm"}, true, "", "", true, log, nullptr},
        {{true, false}, ref, {two}, true, "", "trooper: walk", false, log, twoAnims},
        {{true, true}, "art/source/ref.sgm", {}, false, "", "", false, "art/source/ref.log", nullptr},
        {{true, true}, scout + "missing.sgm", {}, false, AniMerge::LoadFailedText, "", false, scout + "missing.log", nullptr},
        {{true, true}, ref, {scout + "run.sgm"}, false, AniMerge::BuildFailedText, "", false, log, nullptr},
        {{true, true}, ref, {}, false, TeamColour::Format(AniMerge::SaveFailedText, "trooper"), "", false, log, blocked},
        {{true, true}, ref, {}, false, AniMerge::UsageText, "", false, log, nullptr},
        {{true, false}, dotted, {}, true, "", "trooper:", false, "art/intermediate/units/scout.log", point},
    };
    for (const auto& [flags, model, cAnim, result, listener, merged, patterns, logName, prepare] : cases)
    {
        SCOPED_TRACE(model + " " + listener);
        merge_test::MergeTree tree;
        ASSERT_TRUE(tree.IsReady());
        TeamColour::ScopedBurnSteps steps({[](uint32& changelist, const char*) { return changelist = 0, true; }, [](const std::string&, uint32) { return true; }});
        prepare ? prepare(tree) : void();
        AniMerge::Arguments arguments{listener == AniMerge::UsageText ? 2u : 3u, tree.Path(merge), tree.Path(model), {}};
        for (const std::string& anim : cAnim)
            arguments.cAnimFile.push_back(tree.Path(anim));
        std::string heard, summary;
        EXPECT_EQ(result, AniMerge::Run(arguments, flags, [&heard](const std::string& text) { heard += text; }));
        BurnerCommand::TearDown(); // a failure leaves its set-up; the next case starts clean
        ProcessLog::IsStarted() ? ProcessLog::Stop(-1) : void();
        EXPECT_EQ(heard, TeamColour::Format(listener.c_str(), tree.Path(model).c_str()));
        const ToolRun info = RunTool({"model", "info", "--json", tree.Path(merge)});
        summary = info.status == 0 ? nlohmann::json::parse(info.out)["name"].get<std::string>() + ":" : "";
        for (const nlohmann::json& anim : info.status == 0 ? nlohmann::json::parse(info.out)["animations"] : nlohmann::json::array())
            summary += " " + anim["name"].get<std::string>();
        EXPECT_EQ(summary, merged);
        EXPECT_TRUE(tree.Exists("art/generic/texture_share_scout_default.tqp") == patterns && tree.Exists("art/generic/texture_share_scout.vds") == patterns);
        EXPECT_TRUE(tree.Exists(logName) && (TempFolder::Read(tree.Path(logName)).find("Application closed without errors") != std::string::npos) == result);
    }
}
