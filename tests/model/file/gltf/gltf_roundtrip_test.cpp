// The way back: a scene file exported to a model, the model written as glTF, the glTF exported again
// through the import host (`tq7z export OUT.glb`). The second model keeps the first one's bones, skin
// weights and animation keys within float precision. (Materials do not come back whole: the exporter
// takes bitmaps from files only, and the glTF holds its images inside.)
#include "model/file/generic/generic_test_util.h"
#include "model/file/generic/rendermodelloadgeneric.h"
#include "model/mesh/vertexweight.h"
#include "model/rendermodel.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <unistd.h>

namespace
{
namespace fs = std::filesystem;

fs::path BuildFolder()
{
    char self[4096];
    const ssize_t n = ::readlink("/proc/self/exe", self, sizeof(self) - 1);
    return n > 0 ? fs::path(std::string(self, size_t(n))).parent_path().parent_path().parent_path()
                 : fs::path();
}
} // namespace

#define TQ7Z_BINARY (BuildFolder() / "bin/tq7z").string()
#include "support/runtool.h"

namespace
{
constexpr float Precision = 1e-4f;

std::vector<float> Floats(const ra::Mesh& mesh, uint32 component)
{
    std::vector<uint32> cWord;
    ra::ReadStreamWords(*mesh.GetVertexSet(ra::Mesh::Poly_High), component, cWord);
    std::vector<float> cFloat(cWord.size());
    std::memcpy(cFloat.data(), cWord.data(), cWord.size() * 4);
    return cFloat;
}

// Per vertex, the weight of each bone by name: the packed weights through the mesh's skin slots.
std::vector<std::map<std::string, float>> NamedWeights(const ra::Mesh& mesh)
{
    const std::vector<float> cWeight = Floats(mesh, fr::VC_Weights);
    std::vector<std::map<std::string, float>> cOut;
    for (size_t v = 0; v + 3 < cWeight.size(); v += 4)
    {
        const float weight[4] = {cWeight[v], cWeight[v + 1], cWeight[v + 2],
                                 1.0f - cWeight[v] - cWeight[v + 1] - cWeight[v + 2]};
        uint8 slot[4];
        std::memcpy(slot, &cWeight[v + 3], 4);
        std::map<std::string, float>& named = cOut.emplace_back();
        for (size_t k = 0; k < 4; ++k)
            for (int32 s = 0; s < mesh.GetSkinnedTransformCount() && weight[k] > Precision; ++s)
                if (slot[k] != VertexWeight::NoBone && mesh.GetSkinnedTransformIndex(s) == slot[k])
                    named[ra::GetNameText(mesh.GetSkinnedTransformName(s))] += weight[k];
    }
    return cOut;
}

void ExpectNear(const float* a, const float* b, size_t count, const std::string& what)
{
    for (size_t i = 0; i < count; ++i)
        EXPECT_NEAR(a[i], b[i], Precision) << what << " [" << i << "]";
}

template <class StreamT> void ExpectSameKeys(const StreamT* pA, const StreamT* pB, const std::string& what)
{
    ASSERT_EQ(pA ? pA->GetKeyCount() : 0, pB ? pB->GetKeyCount() : 0) << what;
    // A key is its time and its value: floats one after the other.
    const size_t floats = sizeof(typename StreamT::Key) / sizeof(float);
    if (pA)
        ExpectNear(reinterpret_cast<const float*>(pA->GetKeyData()),
                   reinterpret_cast<const float*>(pB->GetKeyData()), pA->GetKeyCount() * floats, what);
}

class GltfRoundTrip : public ::testing::TestWithParam<const char*>
{
};

TEST_P(GltfRoundTrip, SceneModelGltfModelKeepsBonesWeightsAndKeys)
{
    if (!fs::exists(TQ7Z_BINARY))
        GTEST_SKIP() << "the tq7z program is not built at " << TQ7Z_BINARY;
    generic_test::RegisteredLoaders loaders;
    model_test::Env env;
    generic_test::MountedFolder folder("ROUNDTRIP");
    const std::string scene =
        (fs::path(__FILE__).parent_path() / "../../../../samples/project/art/source/units/scout" / GetParam())
            .string();
    const std::string first = folder.Path() + "/first.sgm", gltf = folder.Path() + "/first.glb";
    for (const std::vector<std::string>& args : {std::vector<std::string>{"export", scene, first},
                                                 {"model", "export-gltf", first, gltf},
                                                 {"export", gltf, folder.Path() + "/second.sgm"}})
    {
        const ToolRun run = RunTool(args);
        ASSERT_EQ(run.status, 0) << args[0] << " " << args[1] << ": " << run.err;
    }
    const std::unique_ptr<RenderModel> pA = RenderModelLoadGeneric::Load("ROUNDTRIP:first.sgm", true);
    const std::unique_ptr<RenderModel> pB = RenderModelLoadGeneric::Load("ROUNDTRIP:second.sgm", true);
    ASSERT_TRUE(pA && pB);

    const Skeleton &a = *pA->GetSkeleton(), &b = *pB->GetSkeleton();
    ASSERT_EQ(a.GetBoneCount(), b.GetBoneCount());
    for (int32 i = 0; i < a.GetBoneCount(); ++i)
    {
        const Bone &boneA = *a.GetBone(i), &boneB = *b.GetBone(i);
        const std::string name = ra::GetNameText(boneA.GetName());
        EXPECT_EQ(name, ra::GetNameText(boneB.GetName()));
        EXPECT_EQ(boneA.GetParentIndex(), boneB.GetParentIndex()) << name;
        ExpectNear(&boneA.GetPosition().x, &boneB.GetPosition().x, 3, name + " position");
        ExpectNear(&boneA.GetRotation().x, &boneB.GetRotation().x, 4, name + " rotation");
    }

    const ra::MeshGroup &groupA = *pA->GetMeshGroup(), &groupB = *pB->GetMeshGroup();
    ASSERT_EQ(groupA.GetMeshCount(), groupB.GetMeshCount());
    size_t weighted = 0;
    for (int32 m = 0; m < groupA.GetMeshCount(); ++m)
    {
        const std::string name = ra::GetNameText(groupA.GetMeshName(m));
        const int32 other = groupB.FindMesh(groupA.GetMeshName(m));
        ASSERT_GE(other, 0) << name;
        const std::vector<float> positionsA = Floats(*groupA.GetMesh(m), fr::VC_Position);
        const std::vector<float> positionsB = Floats(*groupB.GetMesh(other), fr::VC_Position);
        ASSERT_EQ(positionsA.size(), positionsB.size()) << name;
        ExpectNear(positionsA.data(), positionsB.data(), positionsA.size(), name + " positions");
        const auto weightsA = NamedWeights(*groupA.GetMesh(m)),
                   weightsB = NamedWeights(*groupB.GetMesh(other));
        ASSERT_EQ(weightsA.size(), weightsB.size()) << name;
        for (size_t v = 0; v < weightsA.size(); ++v)
        {
            EXPECT_EQ(weightsA[v].size(), weightsB[v].size()) << name << " vertex " << v;
            for (const auto& [bone, weight] : weightsA[v])
                EXPECT_NEAR(weightsB[v].count(bone) ? weightsB[v].at(bone) : -1.0f, weight, Precision)
                    << name << " vertex " << v << " bone " << bone;
        }
        weighted += weightsA.size();
    }
    EXPECT_GT(weighted, 0u) << "the scene has a skin";

    const AnimList &listA = *pA->GetAnimList(), &listB = *pB->GetAnimList();
    ASSERT_EQ(listA.GetAnimCount(), listB.GetAnimCount());
    for (int i = 0; i < listA.GetAnimCount(); ++i)
    {
        const Anim &animA = *listA.GetAnim(i), &animB = *listB.GetAnim(i);
        EXPECT_EQ(animA.GetFrameCount(), animB.GetFrameCount());
        EXPECT_NEAR(animA.GetTime(), animB.GetTime(), Precision);
        ASSERT_EQ(animA.GetBoneCount(), animB.GetBoneCount());
        for (int bone = 0; bone < animA.GetBoneCount(); ++bone)
        {
            const std::string name = ra::GetNameText(animA.GetBoneName(bone));
            const int other = animB.FindBone(animA.GetBoneName(bone));
            ASSERT_GE(other, 0) << name;
            ExpectSameKeys(animA.GetPositionStream(bone), animB.GetPositionStream(other),
                           name + " position keys");
            ExpectSameKeys(animA.GetRotationStream(bone), animB.GetRotationStream(other),
                           name + " rotation keys");
        }
    }
}

INSTANTIATE_TEST_SUITE_P(ScoutScenes, GltfRoundTrip, ::testing::Values("walk.json", "idle.json"),
                         [](const ::testing::TestParamInfo<const char*>& info)
                         { return std::string(info.param).substr(0, std::string(info.param).find('.')); });
} // namespace
