// Scene files that are refused: each kind of fault names the file, the JSON path and what was
// expected.
#include "host/scene.h"

#include "support/tempfolder.h"

#include <gtest/gtest.h>

namespace
{
// The message of the refusal, or "accepted".
std::string Refusal(const std::string& text)
{
    try
    {
        scene::ReadSceneText(text, "walker.json");
    }
    catch (const scene::SceneError& e)
    {
        return e.what();
    }
    return "accepted";
}

const char* const s_box = R"({"name": "Box", "object": {"class": "editableMesh", "mesh": {
    "vertices": [[0,0,0],[1,0,0],[0,1,0]], "faces": [[0,1,2]]}}})";
} // namespace

TEST(SceneErrors, NotJsonOrNotAnObject)
{
    EXPECT_EQ(Refusal("{\"nodes\": [}").rfind("walker.json: not a JSON text: ", 0), 0u)
        << Refusal("{\"nodes\": [}");
    EXPECT_NE(Refusal("{\"nodes\": [}").find("line 1"), std::string::npos);
    // A number no double holds is refused as the text's fault, not thrown past the reader.
    EXPECT_EQ(Refusal("{\"nodes\": [], \"frameRate\": 1e999}").rfind("walker.json: not a JSON text: ", 0), 0u)
        << Refusal("{\"nodes\": [], \"frameRate\": 1e999}");
    EXPECT_EQ(Refusal("[]"), "walker.json: /: expected an object, found an array");
    EXPECT_EQ(Refusal("{}"), "walker.json: /: missing key 'nodes' (the array of the scene's nodes)");
    EXPECT_EQ(Refusal(R"({"version": 2, "nodes": []})"),
              "walker.json: /version: version 2 is not known (expected 1)");
    EXPECT_EQ(Refusal(R"({"format": "max", "nodes": []})"), "walker.json: /format: expected \"tq7z-scene\"");
}

TEST(SceneErrors, WrongTypes)
{
    EXPECT_EQ(Refusal(R"({"nodes": {}})"), "walker.json: /nodes: expected an array, found an object");
    EXPECT_EQ(Refusal(R"({"nodes": [{"name": 5}]})"),
              "walker.json: /nodes/0/name: expected a string, found a number");
    EXPECT_EQ(Refusal(R"({"nodes": [{"name": "a", "bone": "yes"}]})"),
              "walker.json: /nodes/0/bone: expected true or false, found a string");
    EXPECT_EQ(Refusal(R"({"frameRate": 29.97, "nodes": []})"),
              "walker.json: /frameRate: expected a whole number, found a number with a fraction");
    EXPECT_EQ(Refusal(R"({"nodes": [{"name": "a", "transform": [[1,0,0],[0,1,0],[0,0,1]]}]})"),
              "walker.json: /nodes/0/transform: expected 4 rows of 3 numbers, found 3 values");
    EXPECT_EQ(Refusal(R"({"nodes": [{"name": "a", "transform": [[1,0,0],[0,1,0],[0,0,1],[0,"x",0]]}]})"),
              "walker.json: /nodes/0/transform/3/1: expected a number, found a string");
    EXPECT_EQ(Refusal(R"({"nodes": [{"name": "a", "visibility": [1]}]})"),
              "walker.json: /nodes/0/visibility: expected a number, found an array");
    EXPECT_EQ(Refusal(R"({"nodes": [{"name": "a", "wireColor": [0, 300, 0]}]})"),
              "walker.json: /nodes/0/wireColor/1: 300 out of range (0 to 255)");
    // Past the signed 64-bit range: refused, not wrapped.
    EXPECT_EQ(Refusal(R"({"nodes": [{"name": "a", "wireColor": [0, 18446744073709551615, 0]}]})"),
              "walker.json: /nodes/0/wireColor/1: 18446744073709551615 out of range (0 to 255)");
}

TEST(SceneErrors, MissingAndUnknownKeys)
{
    EXPECT_EQ(Refusal(R"({"nodes": [{"object": {"class": "box"}}]})"),
              "walker.json: /nodes/0: missing key 'name' (the node's name)");
    EXPECT_EQ(
        Refusal(R"({"nodes": [{"name": "a", "object": {}}]})"),
        "walker.json: /nodes/0/object: missing key 'class' (the object's class: a name or [partA, partB])");
    EXPECT_EQ(Refusal(R"({"nodes": [{"name": "a", "renderabel": false}]})")
                  .rfind("walker.json: /nodes/0/renderabel: unknown key 'renderabel' (expected one of name, "
                         "id, parent,",
                         0),
              0u);
    EXPECT_EQ(
        Refusal(R"({"nodes": [{"name": "a", "object": {"class": "teapot"}}]})")
            .rfind("walker.json: /nodes/0/object/class: unknown class 'teapot' (expected one of triObject,",
                   0),
        0u);
    EXPECT_EQ(Refusal(R"({"nodes": [{"name": "a", "object": {"class": "box", "fov": 1}}]})")
                  .rfind("walker.json: /nodes/0/object/fov: unknown key 'fov'", 0),
              0u);
    EXPECT_EQ(Refusal(R"({"nodes": [{"name": "a", "object": {"class": [1, 2]}}]})"),
              "walker.json: /nodes/0/object: missing key 'superClass' (the family of class Class_ID(1,2))");
    EXPECT_EQ(Refusal(R"({"materials": [{"name": "m", "class": "standard", "maps": {"diffuse": {}}}],
                         "textures": [{"name": "t", "class": "bitmap"}], "nodes": []})"),
              "walker.json: /textures/0: missing key 'file' (the bitmap's file name)");
    EXPECT_EQ(
        Refusal(R"({"materials": [{"name": "m", "class": "standard", "maps": {"difuse": {}}}], "nodes": []})")
            .rfind("walker.json: /materials/0/maps/difuse: unknown map slot 'difuse'", 0),
        0u);
}

TEST(SceneErrors, IndicesOutOfRange)
{
    const std::string face =
        std::string(R"({"nodes": [{"name": "Box", "object": {"class": "editableMesh", "mesh": {
        "vertices": [[0,0,0],[1,0,0],[0,1,0]], "faces": [[0,1,2], {"v": [0, 3, 1]}]}}}]})");
    EXPECT_EQ(Refusal(face),
              "walker.json: /nodes/0/object/mesh/faces/1/v/1: vertex index 3 out of range (mesh has 3 "
              "vertices)");
    EXPECT_EQ(Refusal(R"({"nodes": [{"name": "Box", "object": {"class": "editableMesh", "mesh": {
        "vertices": [[0,0,0],[1,0,0],[0,1,0]], "faces": [[0,1,-2]]}}}]})"),
              "walker.json: /nodes/0/object/mesh/faces/0/2: -2 out of range (0 to 4294967295)");
    EXPECT_EQ(Refusal(R"({"nodes": [{"name": "Box", "object": {"class": "editableMesh", "mesh": {
        "vertices": [[0,0,0],[1,0,0],[0,1,0]], "faces": [[0,1,2]], "tverts": [[0,0]], "tvFaces": [[0,0,1]]}}}]})"),
              "walker.json: /nodes/0/object/mesh/tvFaces/0/2: texture vertex index 1 out of range (mesh has "
              "1 texture "
              "vertex)");
    EXPECT_EQ(
        Refusal(R"({"nodes": [{"name": "Box", "object": {"class": "editableMesh", "mesh": {
        "vertices": [[0,0,0],[1,0,0],[0,1,0]], "faces": [[0,1,2]], "tverts": [[0,0]], "tvFaces": []}}}]})"),
        "walker.json: /nodes/0/object/mesh/tvFaces: 0 texture faces for 1 faces (expected one per face)");
    EXPECT_EQ(
        Refusal(R"({"nodes": [{"name": "Box", "object": {"class": "editableMesh", "mesh": {
        "vertices": [], "faces": [{"v": [0,0,0], "materialId": 65536}]}}}]})"),
        "walker.json: /nodes/0/object/mesh/faces/0/v/0: vertex index 0 out of range (mesh has 0 vertices)");
    EXPECT_EQ(Refusal(R"({"nodes": [{"name": "a", "material": 0}]})"),
              "walker.json: /nodes/0/material: index 0 out of range (materials is empty)");
    EXPECT_EQ(Refusal(R"({"materials": [{"class": "multi", "subMaterials": [3]}], "nodes": []})"),
              "walker.json: /materials/0/subMaterials/0: 3 out of range (0 to 0)");
}

TEST(SceneErrors, LinksByNameAndId)
{
    EXPECT_EQ(Refusal(R"({"nodes": [{"name": "a", "parent": "b"}]})"),
              "walker.json: /nodes/0/parent: no entry of nodes has the id or name 'b'");
    EXPECT_EQ(Refusal(R"({"nodes": [{"name": "a", "parent": "b"}, {"name": "b"}]})"),
              "walker.json: /nodes/0/parent: the parent 'b' comes after its child; list parents before their "
              "children");
    EXPECT_EQ(Refusal(R"({"nodes": [{"name": "a", "parent": 0}]})"),
              "walker.json: /nodes/0/parent: the parent 'a' comes after its child; list parents before their "
              "children");
    EXPECT_EQ(Refusal(R"({"nodes": [{"name": "a"}, {"name": "a"}, {"name": "c", "target": "a"}]})"),
              "walker.json: /nodes/2/target: the name 'a' is not unique in nodes (entries 0 and 1); refer to "
              "the entry "
              "by index or give it an \"id\"");
    EXPECT_EQ(Refusal(R"({"nodes": [{"name": "a", "id": "x"}, {"name": "b", "id": "x"}]})"),
              "walker.json: /nodes/1/id: id 'x' is given twice");
    EXPECT_EQ(Refusal(R"({"nodes": [{"name": "a", "target": "a"}]})"),
              "walker.json: /nodes/0/target: a node cannot target itself");
    EXPECT_EQ(Refusal(R"({"materials": [{"name": "m", "class": "multi", "subMaterials": ["n"]},
                                        {"name": "n", "class": "multi", "subMaterials": [0]}], "nodes": []})"),
              "walker.json: /materials/1/subMaterials/0: material 'm' contains itself");
}

TEST(SceneErrors, FrameCounts)
{
    EXPECT_EQ(
        Refusal(R"({"animationRange": [0, 2], "nodes": [{"name": "a", "visibility": {"frames": [1, 0]}}]})"),
        "walker.json: /nodes/0/visibility/frames: 3 values expected (frames 0 to 2), found 2");
    EXPECT_EQ(Refusal(R"({"animationRange": [5, 5], "nodes": [{"name": "a",
                          "transform": {"frames": [[[1,0,0],[0,1,0],[0,0,1],[0,0,0]], [[1,0,0],[0,1,0],[0,0,1],[0,0,0]]]}}]})"),
              "walker.json: /nodes/0/transform/frames: 1 values expected (frames 5 to 5), found 2");
    EXPECT_EQ(
        Refusal(
            R"({"animationRange": [0, 1], "nodes": [{"name": "a", "visibility": {"frames": [1, "0"]}}]})"),
        "walker.json: /nodes/0/visibility/frames/1: expected a number, found a string");
    EXPECT_EQ(
        Refusal(R"({"animationRange": [0, 1], "nodes": [{"name": "a", "visibility": {"keys": [1, 0]}}]})")
            .rfind("walker.json: /nodes/0/visibility/keys: unknown key 'keys'", 0),
        0u);
    EXPECT_EQ(Refusal(R"({"animationRange": [3, 1], "nodes": []})"),
              "walker.json: /animationRange: the last frame comes before the first");
    EXPECT_EQ(Refusal(R"({"frameRate": 0, "nodes": []})"),
              "walker.json: /frameRate: 0 out of range (1 to 4800)");
}

TEST(SceneErrors, SkinData)
{
    const std::string head = std::string(R"({"nodes": [{"name": "Bone"}, )") + s_box;
    auto withSkin = [&](const std::string& skin)
    { return head.substr(0, head.size() - 1) + R"(, "modifiers": [)" + skin + "]}]}"; };
    // The mesh node is /nodes/1.
    EXPECT_EQ(Refusal(withSkin(R"({"class": "skin", "bones": ["Bone"], "points": [[[0, 1]], [[0, 1]]]})")),
              "walker.json: /nodes/1/modifiers/0/points: 2 points for a mesh of 3 vertices (expected one per "
              "vertex)");
    EXPECT_EQ(
        Refusal(withSkin(R"({"class": "skin", "bones": ["Bone"], "points": [[[0, 1]], [[1, 1]], []]})")),
        "walker.json: /nodes/1/modifiers/0/points/1/0/0: 1 out of range (-2147483648 to 0)");
    EXPECT_EQ(Refusal(withSkin(R"({"class": "skin", "bones": ["Bone"], "points": [[[0, 1]], [0.5], []]})")),
              "walker.json: /nodes/1/modifiers/0/points/1/0: expected an array of [bone, weight], found a "
              "number with a "
              "fraction");
    EXPECT_EQ(Refusal(withSkin(R"({"class": "skin", "bones": ["Nobody"]})")),
              "walker.json: /nodes/1/modifiers/0/bones/0: no entry of nodes has the id or name 'Nobody'");
    EXPECT_EQ(Refusal(withSkin(R"({"class": "skin", "bones": ["Bone"], "initTMs": []})")),
              "walker.json: /nodes/1/modifiers/0/initTMs: expected one matrix per bone, found 0 values");
    // Weights are the artist's to get wrong; the file only needs them to be numbers.
    EXPECT_EQ(
        Refusal(withSkin(R"({"class": "skin", "bones": ["Bone"], "points": [[[0, 1.5]], [[0, -1]], []]})")),
        "accepted");
}

TEST(SceneErrors, PropertiesAndEnumerations)
{
    EXPECT_EQ(Refusal(R"({"fileProperties": [{"value": 1}], "nodes": []})"),
              "walker.json: /fileProperties/0: a property has either a \"name\" or an \"id\"");
    EXPECT_EQ(
        Refusal(R"({"fileProperties": [{"name": "d", "type": "date", "value": "May 5"}], "nodes": []})"),
        "walker.json: /fileProperties/0/value: expected a date as \"YYYY-MM-DD\", found 'May 5'");
    EXPECT_EQ(Refusal(R"({"fileProperties": [{"name": "d", "type": "time", "value": 1}], "nodes": []})"),
              "walker.json: /fileProperties/0/type: unknown type 'time' (expected bool, int, float, double, "
              "string, "
              "wstring or date)");
    EXPECT_EQ(
        Refusal(R"({"textures": [{"name": "t", "class": "bitmap", "file": "a.tga",
                          "uvGen": {"uMode": "clamp"}}], "nodes": []})"),
        "walker.json: /textures/0/uvGen/uMode: unknown tile mode 'clamp' (expected wrap, mirror or none)");
    EXPECT_EQ(
        Refusal(R"({"materials": [{"name": "m", "class": "standard", "transparencyType": 2}], "nodes": []})"),
        "walker.json: /materials/0/transparencyType: expected a string, found a number");
}

TEST(SceneErrors, FilesOnDisk)
{
    TempFolder folder;
    try
    {
        scene::ReadScene(folder / "missing.json");
        FAIL() << "a missing file was read";
    }
    catch (const scene::SceneError& e)
    {
        EXPECT_EQ(std::string(e.what()), folder / "missing.json" + ": cannot open the file");
    }
    const std::string path = folder.Write("art/walker.json", R"({"nodes": [{"name": "a", "bone": 1}]})");
    try
    {
        scene::ReadScene(path);
        FAIL() << "a bad file was read";
    }
    catch (const scene::SceneError& e)
    {
        EXPECT_EQ(std::string(e.what()), path + ": /nodes/0/bone: expected true or false, found a number");
    }
    const std::string good = folder.Write("art/good.json", R"({"textures": [{"name": "t", "class": "bitmap",
        "file": "maps/t.tga"}], "nodes": []})");
    EXPECT_NE(scene::ReadScene(good), nullptr);
}
