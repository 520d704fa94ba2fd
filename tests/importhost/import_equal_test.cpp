// A scene written by the test in a modelling package's form, exported through the import host,
// gives the same model as the scene file that says the same, exported as ever. COLLADA and FBX
// are the glTF written again by the import library's own writers.
#include "importhost/testscenes.h"
#include "support/runtool.h"

#include <gtest/gtest.h>

#include <assimp/Exporter.hpp>
#include <assimp/Importer.hpp>
#include <assimp/scene.h>

#include <algorithm>
#include <array>
#include <memory>
#include <span>

namespace
{
using namespace importtest;

// `gltf` in the import library's `format` (FBX as text: its binary FBX its own reader refuses). Its
// FBX writer takes key times for seconds, so they are made seconds first.
std::string Rewrite(const std::string& gltf, const char* format, const std::string& out)
{
    Assimp::Importer importer;
    if (importer.ReadFile(gltf, 0) == nullptr)
        return "unreadable." + out;
    std::unique_ptr<aiScene> pScene(importer.GetOrphanedScene());
    for (unsigned a = 0; a < pScene->mNumAnimations; ++a)
    {
        aiAnimation& animation = *pScene->mAnimations[a];
        const double scale = 1.0 / animation.mTicksPerSecond;
        const auto seconds = [scale](auto* pKey, unsigned count)
        { std::for_each(pKey, pKey + count, [scale](auto& key) { key.mTime *= scale; }); };
        for (aiNodeAnim* pChannel : std::span(animation.mChannels, animation.mNumChannels))
        {
            seconds(pChannel->mPositionKeys, pChannel->mNumPositionKeys);
            seconds(pChannel->mRotationKeys, pChannel->mNumRotationKeys);
            seconds(pChannel->mScalingKeys, pChannel->mNumScalingKeys);
        }
        animation.mDuration *= scale;
        animation.mTicksPerSecond = 1;
    }
    const std::string path = std::filesystem::path(gltf).parent_path() / out;
    return Assimp::Exporter().Export(pScene.get(), format, path) == AI_SUCCESS ? path : "unwritten." + out;
}

// Name, the import library's format to write the glTF again in (nullptr: none) and its file.
using Case = std::array<const char*, 3>;

class ImportForms : public testing::TestWithParam<Case>
{
};

// The roof: axes, v turned over, materials, smoothing groups from normals. The skin: bones, weights
// and keys, the keys within float precision (the file's times are floats).
TEST_P(ImportForms, ExportAsTheSceneFileSays)
{
    const auto [name, format, out] = GetParam();
    const bool skin = std::string(name).find("Skin") != std::string::npos;
    TempFolder folder;
    std::string file = (skin ? SkinGltf() : RoofGltf()).Save(folder, "source");
    if (format)
        file = Rewrite(file, format, out);
    json expected = skin ? SkinScene() : RoofScene();
    // The import library's COLLADA writer gives a specular where glTF has none.
    for (size_t m = 0; format && !skin && m < 2; ++m)
        expected["materials"][m]["specular"] = {0.4, 0.4, 0.4};
    const std::string scene = folder.Write("scene.json", expected.dump());
    for (const auto& [input, output] : {std::pair{file, "a/scene.sgm"}, {scene, "b/scene.sgm"}})
    {
        const ToolRun run = RunTool({"export", input, folder / output});
        ASSERT_EQ(run.status, 0) << "export of " << input << " failed: " << run.err;
    }
    std::vector<std::string> args = {"model", "diff", folder / "a/scene.sgm", folder / "b/scene.sgm"};
    if (skin)
        args.insert(args.end(), {"--tolerance", "1e-5"});
    const ToolRun diff = RunTool(args);
    EXPECT_EQ(diff.status, 0) << diff.out << RunTool({"scene", "convert", file, folder / "seen.json"}).err
                              << TempFolder::Read(folder / "seen.json");
}

INSTANTIATE_TEST_SUITE_P(Import, ImportForms,
                         testing::Values(Case{"RoofGltf"}, Case{"RoofCollada", "collada", "roof.dae"},
                                         Case{"SkinGltf"}, Case{"SkinFbx", "fbxa", "skin.fbx"}),
                         [](const testing::TestParamInfo<Case>& info) { return std::string(info.param[0]); });
} // namespace
