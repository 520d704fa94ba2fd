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

#include <functional>
#include <optional>
#include <string>
#include <vector>

using merge_test::MergeTree;

namespace
{
const std::string Scout = "art/intermediate/units/scout/";
const std::string Pattern = "art/generic/texture_share_scout_default.tqp";
const std::string SharedShader = "art/generic/texture_share_scout.vds";
const std::string Merge = "art/generic/units/scout/trooper.sgm";
const std::string Two = "art/generic/units/scout/two.sgm";

// The model's name and its animations' names, as tq7z model info reads the file.
std::string Summary(const std::string& file)
{
    const ToolRun run = RunTool({"model", "info", "--json", file});
    if (run.status != 0)
        return "unreadable: " + run.err;
    const nlohmann::json info = nlohmann::json::parse(run.out);
    std::string text = info["name"].get<std::string>() + ":";
    for (const nlohmann::json& anim : info["animations"])
        text += " " + anim["name"].get<std::string>();
    return text;
}

struct Case
{
    const char* name;
    AniMerge::Flags flags;
    std::string model; // below the project's root
    std::vector<std::string> cAnim;
    bool result;
    // The listener's text; "%s" stands for the model file.
    std::string listener;
    // Summary() of the merged file; empty when none may be written.
    std::string merged;
    bool patterns; // the pattern and shared shader of the scout's shared texture written
    std::string log = Scout + "reference/ref.log";
    std::function<void(MergeTree&)> prepare = nullptr;
};

TEST(AniMerge, WritesWhatItsFlagsAskAndTellsEachFailure)
{
    const std::string ref = Scout + "reference/ref.sgm", log = Scout + "reference/ref.log";
    const std::string dotted = "art/intermediate/units/scout.v2/ref.sgm";
    // clang-format off
    const Case cases[] = {
        // The model's own name is "ref": the merged one is named by the merge file.
        {"both flags", {true, true}, ref, {Scout + "walk.sgm", Scout + "idle.sgm"}, true, "", "trooper: walk idle",
         true},
        {"model flag off: nothing merged, patterns still", {false, true}, ref, {Scout + "walk.sgm"}, true, "", "",
         true},
        {"no animations, textures off", {true, false}, ref, {}, true, "", "trooper:", false},
        {"a file's first animation only", {true, false}, ref, {Two}, true, "", "trooper: walk", false, log,
         [](MergeTree& tree) {
             // A merged file of walk and idle serves as an animation file.
             ASSERT_TRUE(AniMerge::Run({3, tree.Path(Two), tree.Intermediate("reference/ref"),
                                        {tree.Intermediate("walk"), tree.Intermediate("idle")}},
                                       {true, false}, [](const std::string&) {}));
         }},
        // Set-up stops before the model is looked at.
        {"model outside every intermediate folder", {true, true}, "art/source/ref.sgm", {}, false, "", "", false,
         "art/source/ref.log"},
        {"model that does not load", {true, true}, Scout + "missing.sgm", {}, false, AniMerge::LoadFailedText, "",
         false, Scout + "missing.log"},
        {"animation that does not open", {true, true}, ref, {Scout + "run.sgm"}, false, AniMerge::BuildFailedText,
         "", false},
        {"merged file that cannot be written", {true, true}, ref, {}, false,
         TeamColour::Format(AniMerge::SaveFailedText, "trooper"), "", false, log,
         [](MergeTree& tree) { std::filesystem::create_directories(tree.Path(Merge)); }},
        {"too few arguments, after set-up", {true, true}, ref, {}, false, AniMerge::UsageText, "", false},
        // The log's name is cut at the first point of the path.
        {"a folder with a point", {true, false}, dotted, {}, true, "", "trooper:", false,
         "art/intermediate/units/scout.log",
         [&](MergeTree& tree) {
             std::filesystem::create_directories(std::filesystem::path(tree.Path(dotted)).parent_path());
             std::filesystem::copy(tree.Intermediate("reference/ref"), tree.Path(dotted));
         }},
    };
    // clang-format on
    for (const Case& c : cases)
    {
        SCOPED_TRACE(c.name);
        MergeTree tree;
        ASSERT_TRUE(tree.IsReady());
        // The pattern and shader files are written; their revision control and burn only succeed.
        TeamColour::ScopedBurnSteps steps({[](uint32& changelist, const char*)
                                           {
                                               changelist = 0;
                                               return true;
                                           },
                                           [](const std::string&, uint32) { return true; }});
        if (c.prepare)
            c.prepare(tree);
        AniMerge::Arguments arguments;
        arguments.count = c.listener == AniMerge::UsageText ? 2 : 3;
        arguments.mergeFile = tree.Path(Merge);
        arguments.modelFile = tree.Path(c.model);
        for (const std::string& anim : c.cAnim)
            arguments.cAnimFile.push_back(tree.Path(anim));
        std::string listener;
        const bool result =
            AniMerge::Run(arguments, c.flags, [&listener](const std::string& text) { listener += text; });
        // A failure leaves its set-up; the next case starts clean.
        BurnerCommand::TearDown();
        if (ProcessLog::IsStarted())
            ProcessLog::Stop(-1);

        EXPECT_EQ(result, c.result);
        EXPECT_EQ(listener, TeamColour::Format(c.listener.c_str(), tree.Path(c.model).c_str()));
        if (c.merged.empty())
            EXPECT_FALSE(std::filesystem::is_regular_file(tree.Path(Merge)));
        else
            EXPECT_EQ(Summary(tree.Path(Merge)), c.merged);
        EXPECT_EQ(tree.Exists(Pattern), c.patterns);
        EXPECT_EQ(tree.Exists(SharedShader), c.patterns);
        EXPECT_TRUE(tree.Exists(c.log)) << c.log;
        const std::string log = TempFolder::Read(tree.Path(c.log));
        EXPECT_EQ(log.find("Application closed without errors") != std::string::npos, c.result) << log;
    }
}
} // namespace
