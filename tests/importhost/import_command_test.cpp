// The import host through the program: bad files are refused with the file's name or the
// exporter's own messages, and `scene convert` writes the very scene that export sees.
#include "importhost/testscenes.h"
#include "support/runtool.h"
#include "support/tempfolder.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace
{
using namespace importtest;

// One triangle per three vertices, `vertexCount` of them, skinned to `boneCount` bones with
// equal weights when that is not 0 (the first four in JOINTS_0, the rest in JOINTS_1).
std::string Soup(const TempFolder& folder, uint32_t vertexCount, int boneCount, const char* image,
                 bool bindMatrices = true)
{
    GltfBuilder b;
    std::vector<float> pos;
    std::vector<uint32_t> index;
    for (uint32_t v = 0; v < vertexCount; ++v)
    {
        pos.insert(pos.end(), {float(v % 1000), float(v / 1000), v % 3 == 2 ? 1.0f : 0.0f});
        index.push_back(v);
    }
    json attributes = {{"POSITION", b.Floats(pos, "VEC3", 3)}};
    json mesh = {{"name", "Big"}};
    if (boneCount > 0)
    {
        for (int set = 0; set * 4 < boneCount; ++set)
        {
            std::vector<uint16_t> joints;
            std::vector<float> weights;
            for (uint32_t v = 0; v < vertexCount; ++v)
                for (int k = 0; k < 4; ++k)
                {
                    const int bone = set * 4 + k;
                    joints.push_back(uint16_t(bone < boneCount ? bone : 0));
                    weights.push_back(bone < boneCount ? 1.0f / float(boneCount) : 0.0f);
                }
            attributes["JOINTS_" + std::to_string(set)] = b.Shorts(joints, "VEC4", 4);
            attributes["WEIGHTS_" + std::to_string(set)] = b.Floats(weights, "VEC4", 4);
        }
        json joints = json::array();
        for (int bone = 0; bone < boneCount; ++bone)
            joints.push_back(b.Node({{"name", "Bone" + std::to_string(bone)}}, true));
        b.doc["skins"] = {{{"joints", joints}}};
        std::vector<float> bind;
        for (int bone = 0; bone < boneCount; ++bone)
            bind.insert(bind.end(), {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1});
        if (bindMatrices)
            b.doc["skins"][0]["inverseBindMatrices"] = b.Floats(bind, "MAT4", 16);
    }
    json primitive = {{"attributes", attributes}, {"indices", b.Ints(index, "SCALAR", 1)}};
    if (image)
    {
        b.doc["images"] = {{{"uri", image}}};
        b.doc["textures"] = {{{"source", 0}}};
        b.doc["materials"] = {
            {{"name", "Painted"}, {"pbrMetallicRoughness", {{"baseColorTexture", {{"index", 0}}}}}}};
        primitive["material"] = 0;
        const std::vector<float> uv(size_t(vertexCount) * 2, 0.5f);
        primitive["attributes"]["TEXCOORD_0"] = b.Floats(uv, "VEC2", 2);
    }
    b.doc["meshes"] = {{{"primitives", {primitive}}}};
    json node = {{"name", "Big"}, {"mesh", 0}};
    if (boneCount > 0)
        node["skin"] = 0;
    b.Node(node, true);
    return b.Save(folder, "soup", GltfBuilder::Form::Bin);
}

TEST(ImportCommand, BadInputIsRefusedWithWhatAndWhere)
{
    struct Case
    {
        const char* name;
        std::function<std::string(const TempFolder&)> write;
        int status;
        std::vector<std::string> cMessage;
    } cases[] = {
        {"not a glTF",
         [](const TempFolder& f) { return f.Write("broken.gltf", "{\"asset\": [1, 2"); },
         1,
         {"broken.gltf: the import library refused the file"}},
        {"no such file",
         [](const TempFolder& f) { return f / "absent.fbx"; },
         1,
         {"absent.fbx: the import library refused"}},
        {"70,002 vertices",
         [](const TempFolder& f) { return Soup(f, 70002, 0, nullptr); },
         1,
         {"'Big': Too many vertices!"}},
        {"five bones a vertex",
         [](const TempFolder& f) { return Soup(f, 3, 5, nullptr); },
         1,
         {"Mesh 'Big', vertex 0 is weighted by too many bones!"}},
        {"a skin without bind matrices",
         [](const TempFolder& f) { return Soup(f, 3, 2, nullptr, false); },
         1,
         {"soup.gltf: /skins/0: a skin without \"inverseBindMatrices\""}},
        {"four bones a vertex", [](const TempFolder& f) { return Soup(f, 3, 4, nullptr); }, 0, {}},
        {"missing bitmap",
         [](const TempFolder& f) { return Soup(f, 3, 0, "paint/missing.tga"); },
         0,
         {"Unable to load texture", "paint/missing.tga"}},
    };
    for (const Case& c : cases)
    {
        TempFolder folder;
        const std::string file = c.write(folder);
        const ToolRun run = RunTool({"export", file, folder / "out/soup.sgm"});
        EXPECT_EQ(run.status, c.status) << c.name << "\n" << run.err;
        for (const std::string& message : c.cMessage)
            EXPECT_NE(run.err.find(message), std::string::npos) << c.name << ": " << message << " in\n"
                                                                << run.err;
        // A file the import refuses leaves nothing behind.
        if (c.status != 0 && c.cMessage[0].find("import library") != std::string::npos)
        {
            EXPECT_FALSE(std::filesystem::exists(folder / "out/soup.sgm")) << c.name;
        }
    }
}

TEST(ImportCommand, ConvertWritesTheSceneExportSees)
{
    TempFolder folder;
    const std::string file = SkinGltf().Save(folder, "skin", GltfBuilder::Form::Bin);
    const ToolRun convert = RunTool({"scene", "convert", file, folder / "scenes/skin.json"});
    ASSERT_EQ(convert.status, 0) << convert.err;
    EXPECT_NE(convert.out.find("4 nodes, 2 materials, 0 textures, frames 0 to 2"), std::string::npos)
        << convert.out;
    ASSERT_EQ(RunTool({"export", file, folder / "a/skin.sgm"}).status, 0);
    ASSERT_EQ(RunTool({"export", folder / "scenes/skin.json", folder / "b/skin.sgm"}).status, 0);
    // Exactly: no tolerance.
    const ToolRun diff = RunTool({"model", "diff", folder / "a/skin.sgm", folder / "b/skin.sgm"});
    EXPECT_EQ(diff.status, 0) << diff.out;

    // Bitmap names are relative to the scene file's folder.
    const std::string soup = Soup(folder, 3, 0, "paint/wood.tga");
    ASSERT_EQ(RunTool({"scene", "convert", soup, folder / "scenes/soup.json"}).status, 0);
    const json document = json::parse(TempFolder::Read(folder / "scenes/soup.json"));
    EXPECT_EQ(document["textures"][0]["file"], "../paint/wood.tga");

    EXPECT_EQ(RunTool({"scene", "convert", file, folder / "skin.txt"}).status, 2);
}
} // namespace
