// The import host through the program: bad files are refused with the file's name or the
// exporter's own messages; node extras are user properties.
#include "importhost/importhost.h"
#include "importhost/testscenes.h"
#include "support/runtool.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>

namespace
{
using namespace importtest;

// One triangle per three vertices, `vertexCount` of them, skinned to `boneCount` bones with equal
// weights when that is not 0 (the first four in JOINTS_0, the rest in JOINTS_1).
std::string Soup(const TempFolder& folder, uint32_t vertexCount, int boneCount)
{
    GltfBuilder b;
    std::vector<float> pos, bind;
    std::vector<uint32_t> index;
    for (uint32_t v = 0; v < vertexCount; ++v)
    {
        pos.insert(pos.end(), {float(v % 1000), float(v / 1000), v % 3 == 2 ? 1.0f : 0.0f});
        index.push_back(v);
    }
    json primitive = {{"attributes", {{"POSITION", b.Add(pos, "VEC3", 3)}}},
                      {"indices", b.Add(index, "SCALAR", 1)}};
    for (int set = 0; set * 4 < boneCount; ++set)
    {
        std::vector<uint16_t> joints;
        std::vector<float> weights;
        for (uint32_t v = 0; v < vertexCount * 4; ++v)
        {
            const int bone = set * 4 + int(v % 4);
            joints.push_back(uint16_t(bone < boneCount ? bone : 0));
            weights.push_back(bone < boneCount ? 1.0f / float(boneCount) : 0.0f);
        }
        primitive["attributes"]["JOINTS_" + std::to_string(set)] = b.Add(joints, "VEC4", 4);
        primitive["attributes"]["WEIGHTS_" + std::to_string(set)] = b.Add(weights, "VEC4", 4);
    }
    json joints = json::array();
    for (int bone = 0; bone < boneCount; ++bone)
    {
        joints.push_back(b.Node({{"name", "Bone" + std::to_string(bone)}}, true));
        bind.insert(bind.end(), {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1});
    }
    b.doc["meshes"] = {{{"primitives", {primitive}}}};
    b.Node({{"name", "Big"}, {"mesh", 0}}, true);
    if (boneCount > 0)
    {
        b.doc["skins"] = {{{"joints", joints}, {"inverseBindMatrices", b.Add(bind, "MAT4", 16)}}};
        b.doc["nodes"].back()["skin"] = 0;
    }
    return b.Save(folder, "soup");
}

TEST(ImportCommand, BadInputIsRefusedWithWhatAndWhere)
{
    struct Case
    {
        const char* name;
        std::function<std::string(const TempFolder&)> write;
        int status;
        std::vector<std::string> cMessage;
    };
    // clang-format off
    const Case cases[] = {
        {"not a glTF", [](const TempFolder& f) { return f.Write("broken.gltf", "{"); }, 1, {"broken.gltf: the import library refused"}},
        {"70,002 vertices", [](const TempFolder& f) { return Soup(f, 70002, 0); }, 1, {"'Big': Too many vertices"}},
        {"five bones a vertex", [](const TempFolder& f) { return Soup(f, 3, 5); }, 1, {"vertex 0 is weighted by too many"}},
        {"four bones a vertex", [](const TempFolder& f) { return Soup(f, 3, 4); }, 0, {}},
        {"a skin without bind matrices", [](const TempFolder& f) {
             GltfBuilder b = SkinGltf();
             b.doc["skins"][0].erase("inverseBindMatrices");
             return b.Save(f, "skin"); }, 1,
         {"skin.gltf: /skins/0: a skin without \"inverseBindMatrices\""}},
        {"missing bitmap", [](const TempFolder& f) {
             GltfBuilder b = RoofGltf();
             b.doc["images"] = {{{"uri", "paint/missing.tga"}}};
             b.doc["textures"] = {{{"source", 0}}};
             b.doc["materials"][0]["pbrMetallicRoughness"]["baseColorTexture"] = {{"index", 0}};
             return b.Save(f, "roof"); }, 0,
         {"Unable to load texture", "paint/missing.tga"}},
    };
    // clang-format on
    for (const Case& c : cases)
    {
        TempFolder folder;
        const ToolRun run = RunTool({"export", c.write(folder), folder / "out/soup.sgm"});
        EXPECT_EQ(run.status, c.status) << c.name << "\n" << run.err;
        for (const std::string& message : c.cMessage)
            EXPECT_NE(run.err.find(message), std::string::npos) << c.name << ": " << message << " in\n"
                                                                << run.err;
        EXPECT_EQ(std::filesystem::exists(folder / "out/soup.sgm"), c.status == 0) << c.name;
    }
}

TEST(ImportDocument, NodeExtrasAreUserProperties)
{
    const std::tuple<json, const char*, const char*> cases[] = {
        // extras, key, value (nullptr: none)
        {{{"Remove", true}}, "Remove", ""},
        {{{"Remove", false}}, "Remove", nullptr},
        {{{"MeshMinDetail", "High"}}, "meshmindetail", "High"},
        {{{"Lod", 3}}, "Lod", "3"},
        {{{"Scale", 0.25}}, "Scale", "0.25"},
        {{{"Inner", {{"a", 1}}}}, "Inner", nullptr},
    };
    for (const auto& [extras, key, value] : cases)
    {
        TempFolder folder;
        GltfBuilder b;
        b.Node({{"name", "Carrier"}, {"extras", extras}}, true);
        const auto pScene = importhost::ImportScene(b.Save(folder, "extras"));
        host::INode* pNode = pScene->FindNode("Carrier");
        ASSERT_NE(pNode, nullptr) << extras.dump();
        EXPECT_EQ(pNode->UserPropExists(key) != 0, value != nullptr) << extras.dump();
        host::CStr text;
        if (value != nullptr)
        {
            EXPECT_TRUE(pNode->GetUserPropString(key, text) && std::string(text.data()) == value)
                << extras.dump();
        }
    }
}

} // namespace
