// tq7z export of a small scene holding a bit of everything (bones, rigid and skinned meshes,
// animated materials, markers, cameras, visibility), read back whole through tq7z model info and
// posed half way; the export of a failing scene, and the command's help.
#include "support/runtool.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cstdio>
#include <filesystem>

namespace
{
using nlohmann::json;

json RunJson(const std::vector<std::string>& args)
{
    const ToolRun run = RunTool(args);
    EXPECT_EQ(run.status, 0) << run.err;
    return json::parse(run.out, nullptr, false);
}

// The entries of a list, one line each: the name, then the values of these keys.
std::string Lines(const json& list, std::initializer_list<const char*> keys)
{
    std::string out;
    for (const json& entry : list)
    {
        out += entry.value("name", "?");
        for (const char* key : keys)
            out += " " + (entry[key].is_string() ? entry[key].get<std::string>() : entry[key].dump());
        out += "\n";
    }
    return out;
}

// Arm moves up along host z a unit a frame; "arm" is numbered, "Gone" removed; meshes are rigid
// under a bone, skinned, under a helper and a bone themselves; materials animate self illumination
// (clamped), map amounts with and without a warning, and an opacity under a constant map amount.
// "$M" stands for the object of a one-triangle mesh.
const char* const s_Scene = R"J({"frameRate": 30, "animationRange": [0, 2],
 "textures": [{"name": "Map", "class": "bitmap", "file": "map.tga", "uvGen": null}], "materials": [
  {"name": "Glow", "class": "standard", "selfIllum": {"frames": [1.5, 0.5, -0.2]}, "opacity": 0.7},
  {"name": "Fade", "class": "standard", "opacity": 1, "maps": {"opacity": {"texmap": "Map", "amount": {"frames": [1, 0.5, 0.25]}}}},
  {"name": "Tint", "class": "standard", "diffuse": [0.5, 0.5, 0.5], "maps": {"diffuse": {"texmap": "Map", "amount": {"frames": [0, 0, 1]}}}},
  {"name": "Plain", "class": "standard"},
  {"name": "Quiet", "class": "standard", "opacity": 0, "maps": {"opacity": {"texmap": "Map", "amount": {"frames": [1, 0.5, 0.25]}}}},
  {"name": "Black", "class": "standard", "diffuse": [0, 0, 0], "maps": {"diffuse": {"texmap": "Map", "amount": {"frames": [0, 0, 1]}}}},
  {"name": "Still", "class": "standard", "opacity": {"frames": [1, 0, 1]}, "maps": {"opacity": {"texmap": "Map", "amount": 0.5}}}],
 "nodes": [{"name": "Arm", "bone": true, "transform": {"frames": [[[1,0,0],[0,1,0],[0,0,1],[0,0,3]], [[1,0,0],[0,1,0],[0,0,1],[0,0,4]], [[1,0,0],[0,1,0],[0,0,1],[0,0,5]]]}},
  {"name": "arm", "bone": true, "parent": "Arm", "userProperties": "Inactive", "transform": [[1,0,0],[0,1,0],[0,0,1],[1,0,3]]},
  {"name": "Gone", "bone": true, "parent": "Arm", "userProperties": "Remove", "transform": [[1,0,0],[0,1,0],[0,0,1],[0,0,4]]},
  {"name": "Helper", "object": {"class": "dummy"}}, {"name": "Child", "parent": "Arm", "material": "Glow", $M},
  {"name": "Skinned", "parent": "Arm", "material": "Fade", "modifiers": [{"class": "skin", "bones": ["Arm"], "points": [[[0, 1]], [[0, 1]], [[0, 1]]]}], $M},
  {"name": "Loose", "parent": "Helper", "material": "Tint", "visibility": {"frames": [1, 0, 1]}, $M},
  {"name": "Self", "bone": true, "material": "Plain", "userProperties": "ForceInvisible", $M},
  {"name": "Q", "material": "Quiet", $M}, {"name": "B", "material": "Black", $M}, {"name": "S", "material": "Still", $M},
  {"name": "Tip", "parent": "Arm", "object": {"class": "point"}, "transform": [[1,0,0],[0,1,0],[0,0,1],[0,0,5]]},
  {"name": "Orphan", "parent": "Gone", "object": {"class": "point"}, "transform": [[1,0,0],[0,1,0],[0,0,1],[0,0,5]]},
  {"name": "Free", "object": {"class": "point"}, "transform": [[1,0,0],[0,1,0],[0,0,1],[1,2,3]]},
  {"name": "Cam", "object": {"class": "freeCamera"}, "transform": [[1,0,0],[0,0,1],[0,-1,0],[0,-20,5]]},
  {"name": "Back", "object": {"class": "freeCamera", "targetDistance": -5, "fov": 0.8, "manualClip": true, "nearClip": 0.01, "farClip": 5000}, "transform": [[1,0,0],[0,0,1],[0,-1,0],[0,-20,5]]},
  {"name": "Within", "object": {"class": "freeCamera", "manualClip": true, "nearClip": 2, "farClip": 50}, "transform": [[1,0,0],[0,0,1],[0,-1,0],[0,-20,5]]},
  {"name": "Look", "target": "Spot", "object": {"class": "targetCamera"}, "transform": [[1,0,0],[0,0,1],[0,-1,0],[0,-20,5]]},
  {"name": "Spot", "object": {"class": "target"}, "transform": [[1,0,0],[0,1,0],[0,0,1],[0,10,5]]}]})J";
const char* const s_Mesh =
    R"("object": {"class": "editableMesh", "mesh": {"vertices": [[0,0,0],[1,0,0],[0,1,0]], "faces": [[0,1,2]]}})";
} // namespace

TEST(ExportCommand, SmallSceneReadsBackAsAWholeModelAndPoses)
{
    TempFolder folder;
    const std::string out = folder / "out/run.sgm";
    std::string scene = s_Scene;
    for (size_t at; (at = scene.find("$M")) != std::string::npos;)
        scene.replace(at, 2, s_Mesh);
    const ToolRun run = RunTool({"export", folder.Write("run.json", scene), out});
    ASSERT_EQ(run.status, 0) << run.err;
    const json info = RunJson({"model", "info", "--json", out});
    std::string shaders;
    for (const json& shader : info["shaders"])
    {
        shaders += shader["name"].get<std::string>() + " " + shader["blend"].dump();
        for (const json& channel : shader["channels"])
        {
            char text[16];
            std::snprintf(text, sizeof(text), " %d:%08x", channel["method"].get<int>(),
                          channel["colour"].get<unsigned>());
            shaders += text;
        }
        shaders += "\n";
    }
    // Opacity 0.7 blends; an animated map amount turns its channel to method 3.
    EXPECT_EQ(shaders, "glow [6,7] 0:ff7f7f7f 0:ffe5e5e5 0:ff000000 0:ffffffff 0:b2ffffff 0:ff000000\n"
                       "fade [1,0] 0:ff7f7f7f 0:ffe5e5e5 0:ff000000 0:ff000000 3:ffffffff 0:ff000000\n"
                       "tint [1,0] 3:ff7f7f7f 0:ffe5e5e5 0:ff000000 0:ff000000 0:ffffffff 0:ff000000\n"
                       "plain [1,0] 0:ff7f7f7f 0:ffe5e5e5 0:ff000000 0:ff000000 0:ffffffff 0:ff000000\n"
                       "quiet [6,7] 0:ff7f7f7f 0:ffe5e5e5 0:ff000000 0:ff000000 3:00ffffff 0:ff000000\n"
                       "black [1,0] 3:ff000000 0:ffe5e5e5 0:ff000000 0:ff000000 0:ffffffff 0:ff000000\n"
                       "still [1,0] 0:ff7f7f7f 0:ffe5e5e5 0:ff000000 0:ff000000 0:ffffffff 0:ff000000\n");
    // Local to the parent in the parent's frame: one unit along host x is one along game x.
    EXPECT_EQ(Lines(info["bones"], {"parent", "position"}),
              "arm -1 [-0.0,3.0,-0.0]\narm(2) 0 [-1.0,0.0,0.0]\nself -1 [-0.0,0.0,-0.0]\n");
    // Depth first; a skinned mesh is never a mesh bone, under a helper is world space.
    EXPECT_EQ(Lines(info["meshes"], {"bone", "vertex_type", "skin"}),
              "child 0 37 []\nskinned -1 39 [\"arm\"]\nloose -1 37 []\nself 2 37 []\nq -1 37 []\nb -1 37 "
              "[]\ns -1 37 []\n");
    // A removed bone is still named, and the skeleton does not know it.
    EXPECT_EQ(Lines(info["markers"], {"parent", "transform"}),
              "orphan gone [1.0,0.0,0.0,0.0,1.0,0.0,0.0,0.0,1.0,0.0,0.0,1.0]\n"
              "tip arm [1.0,0.0,0.0,0.0,1.0,0.0,0.0,0.0,1.0,0.0,0.0,2.0]\n"
              "free  [1.0,0.0,0.0,0.0,0.0,-1.0,-0.0,1.0,0.0,-1.0,3.0,-2.0]\n");
    // The default target distance is 100, a negative one counts as 1; manual clip planes are clamped
    // to 0.1 and 1000.
    EXPECT_EQ(Lines(info["cameras"], {"target", "fov", "near", "far"}),
              "cam [-0.0,5.0,-80.0] 0.7853981852531433 0.10000000149011612 1000.0\n"
              "back [-0.0,5.0,19.0] 0.800000011920929 0.10000000149011612 1000.0\n"
              "within [-0.0,5.0,-80.0] 0.7853981852531433 2.0 50.0\n"
              "look [-0.0,5.0,-10.0] 0.7853981852531433 0.10000000149011612 1000.0\n");
    // The length counts the last frame whole. An "Inactive" bone is not animated. Streams of shaders
    // first, then the visibility of every mesh; reduction leaves two keys of a straight line and one
    // of a constant ("ForceInvisible" included).
    const json& anim = info["animations"][0];
    EXPECT_EQ(anim["frames"].dump() + " " + anim["time"].dump(), "3 0.10000000149011612");
    EXPECT_EQ(Lines(anim["bones"], {"position_keys", "animated"}),
              "arm 3 true\narm(2) 0 false\nself 3 true\n");
    EXPECT_EQ(Lines(anim["controls"], {"target_type", "channel", "keys"}),
              "glow 0 3 2\nfade 0 4 3\ntint 0 0 3\nquiet 0 4 3\nblack 0 0 3\nstill 0 4 3\n"
              "child 2 0 1\nskinned 2 0 1\nloose 2 0 3\nself 2 0 1\nq 2 0 1\nb 2 0 1\ns 2 0 1\n");
    EXPECT_EQ(Lines(anim["cameras"], {"position_keys", "rotation_keys"}),
              "cam 3 3\nback 3 3\nwithin 3 3\nlook 3 3\n");

    // Half way is frame 1: the bone one unit up, the dip, self illumination half way down its line.
    const json pose = RunJson({"model", "pose", "--json", out, "run", "0.05"});
    std::string posed;
    for (const json& bone : pose["bones"])
        posed += bone["name"].get<std::string>() + " " +
                 json(std::vector<float>(bone["matrix"].end() - 3, bone["matrix"].end())).dump() + "\n";
    for (const json& shader : pose["shaders"])
        posed += shader["name"].get<std::string>() + " " +
                 json({shader["values"][0], shader["values"][15], shader["values"][20]}).dump() + "\n";
    EXPECT_EQ(posed + Lines(pose["meshes"], {"visibility"}),
              "arm [0.0,4.0,0.0]\narm(2) [-1.0,4.0,0.0]\nself [0.0,0.0,0.0]\n"
              "glow [0.49803921580314636,0.5,0.6980392336845398]\nfade [0.49803921580314636,0.0,0.5]\n"
              "tint [0.0,0.0,1.0]\nplain [0.49803921580314636,0.0,1.0]\nquiet [0.49803921580314636,0.0,0.5]\n"
              "black [0.0,0.0,1.0]\nstill [0.49803921580314636,0.0,0.0]\n"
              "child 1.0\nskinned 1.0\nloose 0.0\nself 0.0\nq 1.0\nb 1.0\ns 1.0\n");

    // Each map's file fails to load outside a project; the two warnings of map amounts.
    std::string expected;
    for (int i = 0; i < 5; ++i)
        expected += "Warning : Unable to load texture '" + (folder / "map.tga") +
                    "' - please ensure it is in the model 'Textures' folder!\nWarning : Texture [Map] does "
                    "not have a UVGen.\n";
    EXPECT_EQ(run.err,
              expected +
                  "Warning : Material [Fade]: Material opacity not set to zero when animating texture "
                  "opacity - exported file may not look the same.\nWarning : Material [Tint]: Material "
                  "diffuse not set to black when animating texture diffuse amount - exported file may "
                  "not look the same.\n");
}

TEST(ExportCommand, ErrorsFailTheExportButLeaveTheLog)
{
    TempFolder folder;
    const std::string scene = folder.Write("bad.json", R"J({"nodes": [{"name": "Body", "bone": true},
        {"name": "Gone", "parent": "Body", "bone": true, "userProperties": "Remove"},
        {"name": "Hull", "parent": "Gone", "object": {"class": "editableMesh", "mesh": {"vertices": [[0,0,0],[1,0,0],[0,1,0]], "faces": [[0,1,2]]}}}]})J");
    const std::string out = folder / "out/hull.sgm";
    const ToolRun run = RunTool({"export", scene, out});
    EXPECT_EQ(run.status, 1);
    // The collected messages and nothing else: the traces went to the log.
    EXPECT_EQ(run.err, "Warning : Object [Hull] has no material assigned to it.\n"
                       "Error   : Mesh 'Hull' assigned to invalid bone! (Removed from Skeleton?)\n");
    EXPECT_TRUE(std::filesystem::is_regular_file(out)); // saved before the messages were counted
    EXPECT_NE(TempFolder::Read(folder / "out/hull.log").find("Exporting File"), std::string::npos);
    EXPECT_EQ(RunTool({"export", scene, folder / "noextension"}).status, 2);
    const ToolRun help = RunTool({"export", "--help"});
    EXPECT_EQ(help.status, 0);
    for (const char* text : {"--no-meshes", "--no-animation", "--xref-local", "--suppress-prompts"})
        EXPECT_NE(help.out.find(text), std::string::npos) << text;
}
