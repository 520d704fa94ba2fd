// A scene written by the test in a modelling package's form, exported through the import host,
// gives the same model as the scene file that says the same, exported as ever.
#include "importhost/testscenes.h"
#include "support/runtool.h"
#include "support/tempfolder.h"

#include <gtest/gtest.h>

#include <assimp/Exporter.hpp>
#include <assimp/Importer.hpp>
#include <assimp/scene.h>

#include <functional>
#include <memory>

namespace
{
using namespace importtest;

// Exports `scene` to `folder`/`sub`/scene.sgm (the model is named after the file) and says what went wrong.
std::string Export(const std::string& scene, const TempFolder& folder, const std::string& sub)
{
    const ToolRun run = RunTool({"export", scene, folder / (sub + "/scene.sgm")});
    return run.status == 0 ? "" : "export of " + scene + " failed: " + run.err;
}

// `file` and the scene file `scene` export to the same model (floats within `tolerance`); on a
// difference, the scene the import host made is shown.
void ExpectSameModel(const std::string& file, const json& scene, const char* tolerance)
{
    TempFolder folder;
    ASSERT_EQ(Export(file, folder, "a"), "");
    ASSERT_EQ(Export(folder.Write("scene.json", scene.dump()), folder, "b"), "");
    std::vector<std::string> args = {"model", "diff", folder / "a/scene.sgm", folder / "b/scene.sgm"};
    if (tolerance)
        args.insert(args.end(), {"--tolerance", tolerance});
    const ToolRun diff = RunTool(args);
    EXPECT_EQ(diff.status, 0) << diff.out << RunTool({"scene", "convert", file, folder / "seen.json"}).err
                              << TempFolder::Read(folder / "seen.json");
}

struct Case
{
    const char* name;
    std::function<std::string(const TempFolder&)> write;
};

void PrintTo(const Case& c, std::ostream* out)
{
    *out << c.name;
}

class RoofForms : public testing::TestWithParam<Case>
{
};

TEST_P(RoofForms, ExportAsTheSceneFileSays)
{
    TempFolder folder;
    ExpectSameModel(GetParam().write(folder), RoofScene(), nullptr);
}

INSTANTIATE_TEST_SUITE_P(
    Import, RoofForms,
    testing::Values(Case{"GltfDataUri", [](const TempFolder& f)
                         { return RoofGltf().Save(f, "roof", GltfBuilder::Form::DataUri); }},
                    Case{"GltfBin", [](const TempFolder& f)
                         { return RoofGltf().Save(f, "roof", GltfBuilder::Form::Bin); }},
                    Case{"Glb", [](const TempFolder& f)
                         { return RoofGltf().Save(f, "roof", GltfBuilder::Form::Glb); }},
                    Case{"Collada", [](const TempFolder& f) { return RoofDae(f); }},
                    Case{"Obj", [](const TempFolder& f) { return RoofObj(f); }}),
    [](const testing::TestParamInfo<Case>& info) { return std::string(info.param.name); });
} // namespace

namespace
{
// The skinned scene as FBX: assimp reads the glTF and writes it again, as FBX text (its binary
// FBX of this version its own reader refuses). Its writer takes key times for seconds, so they
// are made seconds first.
std::string SkinFbx(const TempFolder& folder)
{
    const std::string glb = SkinGltf().Save(folder, "skin", GltfBuilder::Form::Glb);
    Assimp::Importer importer;
    if (importer.ReadFile(glb, 0) == nullptr)
        return "unreadable.fbx";
    std::unique_ptr<aiScene> pScene(importer.GetOrphanedScene());
    for (unsigned a = 0; a < pScene->mNumAnimations; ++a)
    {
        aiAnimation& animation = *pScene->mAnimations[a];
        const double scale = 1.0 / animation.mTicksPerSecond;
        for (unsigned c = 0; c < animation.mNumChannels; ++c)
        {
            aiNodeAnim& channel = *animation.mChannels[c];
            for (unsigned k = 0; k < channel.mNumPositionKeys; ++k)
                channel.mPositionKeys[k].mTime *= scale;
            for (unsigned k = 0; k < channel.mNumRotationKeys; ++k)
                channel.mRotationKeys[k].mTime *= scale;
            for (unsigned k = 0; k < channel.mNumScalingKeys; ++k)
                channel.mScalingKeys[k].mTime *= scale;
        }
        animation.mDuration *= scale;
        animation.mTicksPerSecond = 1;
    }
    Assimp::Exporter exporter;
    const std::string fbx = folder / "skin.fbx";
    return exporter.Export(pScene.get(), "fbxa", fbx) == AI_SUCCESS ? fbx : "unwritten.fbx";
}

class SkinForms : public testing::TestWithParam<Case>
{
};

// Bones, weights and keys: the keys within float precision (the file's times are floats).
TEST_P(SkinForms, ExportAsTheSceneFileSays)
{
    TempFolder folder;
    ExpectSameModel(GetParam().write(folder), SkinScene(), "1e-5");
}

INSTANTIATE_TEST_SUITE_P(
    Import, SkinForms,
    testing::Values(Case{"GltfDataUri", [](const TempFolder& f)
                         { return SkinGltf().Save(f, "skin", GltfBuilder::Form::DataUri); }},
                    Case{"GltfBin", [](const TempFolder& f)
                         { return SkinGltf().Save(f, "skin", GltfBuilder::Form::Bin); }},
                    Case{"Glb", [](const TempFolder& f)
                         { return SkinGltf().Save(f, "skin", GltfBuilder::Form::Glb); }},
                    Case{"Fbx", SkinFbx}),
    [](const testing::TestParamInfo<Case>& info) { return std::string(info.param.name); });
} // namespace
