// The way back: a scene file exported to a model, the model written as glTF, and the glTF exported
// again through the import host (`tq7z export OUT.glb`). The second model keeps the first one's
// bones, skin weights and animation keys within float precision. (Materials do not come back whole:
// the exporter takes bitmaps from files only, and the glTF holds its images inside.)
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

const fs::path s_scenes = (fs::path(__FILE__).parent_path() / "../../../../samples/project/art/source/units/scout")
                              .lexically_normal();

std::string ProgramPath()
{
    char self[4096];
    const ssize_t n = ::readlink("/proc/self/exe", self, sizeof(self) - 1);
    if (n <= 0)
        return "";
    self[n] = '\0';
    return (fs::path(self).parent_path().parent_path().parent_path() / "bin" / "tq7z").string();
}
} // namespace

#define TQ7Z_BINARY ProgramPath()
#include "support/runtool.h"

namespace
{
constexpr float Precision = 1e-4f;

// Per vertex, the weight of each bone by name: the packed weights through the mesh's skin slots.
std::vector<std::map<std::string, float>> NamedWeights(const ra::Mesh& mesh)
{
    std::vector<std::map<std::string, float>> cOut;
    std::vector<uint32> cWord;
    fr::VertexSet* pSet = mesh.GetVertexSet(ra::Mesh::Poly_High);
    if (pSet == nullptr || !ra::ReadStreamWords(*pSet, fr::VC_Weights, cWord))
        return cOut;
    for (size_t v = 0; v + 3 < cWord.size(); v += 4)
    {
        float weight[4];
        std::memcpy(weight, &cWord[v], 12);
        weight[3] = 1.0f - weight[0] - weight[1] - weight[2];
        uint8 slot[4];
        std::memcpy(slot, &cWord[v + 3], 4);
        std::map<std::string, float> named;
        for (size_t k = 0; k < 4; ++k)
            if (slot[k] != VertexWeight::NoBone && weight[k] > Precision)
                for (int32 s = 0; s < mesh.GetSkinnedTransformCount(); ++s)
                    if (mesh.GetSkinnedTransformIndex(s) == slot[k])
                        named[ra::GetNameText(mesh.GetSkinnedTransformName(s))] += weight[k];
        cOut.push_back(std::move(named));
    }
    return cOut;
}

std::vector<float> Positions(const ra::Mesh& mesh)
{
    std::vector<uint32> cWord;
    EXPECT_TRUE(ra::ReadStreamWords(*mesh.GetVertexSet(ra::Mesh::Poly_High), fr::VC_Position, cWord));
    std::vector<float> cFloat(cWord.size());
    std::memcpy(cFloat.data(), cWord.data(), cWord.size() * 4);
    return cFloat;
}

void ExpectNear(const ra::Vec3& a, const ra::Vec3& b, const std::string& what)
{
    EXPECT_NEAR(a.x, b.x, Precision) << what;
    EXPECT_NEAR(a.y, b.y, Precision) << what;
    EXPECT_NEAR(a.z, b.z, Precision) << what;
}

void ExpectNear(const ra::Quat& a, const ra::Quat& b, const std::string& what)
{
    EXPECT_NEAR(a.x, b.x, Precision) << what;
    EXPECT_NEAR(a.y, b.y, Precision) << what;
    EXPECT_NEAR(a.z, b.z, Precision) << what;
    EXPECT_NEAR(a.w, b.w, Precision) << what;
}

template <class StreamT> void ExpectSameKeys(const StreamT* pA, const StreamT* pB, const std::string& what)
{
    ASSERT_EQ(pA != nullptr, pB != nullptr) << what;
    if (pA == nullptr)
        return;
    ASSERT_EQ(pA->GetKeyCount(), pB->GetKeyCount()) << what;
    for (uint32 k = 0; k < pA->GetKeyCount(); ++k)
    {
        EXPECT_NEAR(pA->GetKeyTime(k), pB->GetKeyTime(k), Precision) << what << " key " << k;
        ExpectNear(pA->GetKeyValue(k), pB->GetKeyValue(k), what + " key " + std::to_string(k));
    }
}

class GltfRoundTrip : public ::testing::TestWithParam<const char*>
{
};

TEST_P(GltfRoundTrip, SceneModelGltfModelKeepsBonesWeightsAndKeys)
{
    if (!fs::exists(ProgramPath()))
        GTEST_SKIP() << "the tq7z program is not built at " << ProgramPath();
    generic_test::RegisteredLoaders loaders;
    model_test::Env env;
    generic_test::MountedFolder folder("ROUNDTRIP");
    const std::string scene = (s_scenes / GetParam()).string();
    const std::string first = folder.Path() + "/first.sgm", gltf = folder.Path() + "/first.glb",
                      second = folder.Path() + "/second.sgm";
    for (const std::vector<std::string>& args : {std::vector<std::string>{"export", scene, first},
                                                 std::vector<std::string>{"model", "export-gltf", first, gltf},
                                                 std::vector<std::string>{"export", gltf, second}})
    {
        const ToolRun run = RunTool(args);
        ASSERT_EQ(run.status, 0) << args[0] << " " << args[1] << ": " << run.err;
    }
    const std::unique_ptr<RenderModel> pA = RenderModelLoadGeneric::Load("ROUNDTRIP:first.sgm", true);
    const std::unique_ptr<RenderModel> pB = RenderModelLoadGeneric::Load("ROUNDTRIP:second.sgm", true);
    ASSERT_TRUE(pA && pB);

    const Skeleton& a = *pA->GetSkeleton();
    const Skeleton& b = *pB->GetSkeleton();
    ASSERT_EQ(a.GetBoneCount(), b.GetBoneCount());
    for (int32 i = 0; i < a.GetBoneCount(); ++i)
    {
        const std::string name = ra::GetNameText(a.GetBone(i)->GetName());
        EXPECT_EQ(name, ra::GetNameText(b.GetBone(i)->GetName()));
        EXPECT_EQ(a.GetBone(i)->GetParentIndex(), b.GetBone(i)->GetParentIndex()) << name;
        ExpectNear(a.GetBone(i)->GetPosition(), b.GetBone(i)->GetPosition(), name);
        ExpectNear(a.GetBone(i)->GetRotation(), b.GetBone(i)->GetRotation(), name);
    }

    const ra::MeshGroup& groupA = *pA->GetMeshGroup();
    const ra::MeshGroup& groupB = *pB->GetMeshGroup();
    ASSERT_EQ(groupA.GetMeshCount(), groupB.GetMeshCount());
    size_t weighted = 0;
    for (int32 m = 0; m < groupA.GetMeshCount(); ++m)
    {
        const ra::Name name = groupA.GetMeshName(m);
        const int32 other = groupB.FindMesh(name);
        ASSERT_GE(other, 0) << ra::GetNameText(name);
        const std::vector<float> positionsA = Positions(*groupA.GetMesh(m));
        const std::vector<float> positionsB = Positions(*groupB.GetMesh(other));
        ASSERT_EQ(positionsA.size(), positionsB.size()) << ra::GetNameText(name);
        for (size_t i = 0; i < positionsA.size(); ++i)
            ASSERT_NEAR(positionsA[i], positionsB[i], Precision) << ra::GetNameText(name) << " vertex " << i / 3;
        const auto weightsA = NamedWeights(*groupA.GetMesh(m));
        const auto weightsB = NamedWeights(*groupB.GetMesh(other));
        ASSERT_EQ(weightsA.size(), weightsB.size()) << ra::GetNameText(name);
        for (size_t v = 0; v < weightsA.size(); ++v)
        {
            ASSERT_EQ(weightsA[v].size(), weightsB[v].size()) << ra::GetNameText(name) << " vertex " << v;
            for (const auto& [bone, weight] : weightsA[v])
                EXPECT_NEAR(weightsB[v].count(bone) ? weightsB[v].at(bone) : -1.0f, weight, Precision)
                    << ra::GetNameText(name) << " vertex " << v << " bone " << bone;
        }
        weighted += weightsA.size();
    }
    EXPECT_GT(weighted, 0u) << "the scene has a skin";

    const AnimList& listA = *pA->GetAnimList();
    const AnimList& listB = *pB->GetAnimList();
    ASSERT_EQ(listA.GetAnimCount(), listB.GetAnimCount());
    for (int i = 0; i < listA.GetAnimCount(); ++i)
    {
        const Anim& animA = *listA.GetAnim(i);
        const Anim& animB = *listB.GetAnim(i);
        EXPECT_EQ(animA.GetFrameCount(), animB.GetFrameCount());
        EXPECT_NEAR(animA.GetTime(), animB.GetTime(), Precision);
        ASSERT_EQ(animA.GetBoneCount(), animB.GetBoneCount());
        for (int bone = 0; bone < animA.GetBoneCount(); ++bone)
        {
            const std::string name = ra::GetNameText(animA.GetBoneName(bone));
            const int other = animB.FindBone(animA.GetBoneName(bone));
            ASSERT_GE(other, 0) << name;
            ExpectSameKeys(animA.GetPositionStream(bone), animB.GetPositionStream(other), name + " position");
            ExpectSameKeys(animA.GetRotationStream(bone), animB.GetRotationStream(other), name + " rotation");
        }
    }
}

INSTANTIATE_TEST_SUITE_P(ScoutScenes, GltfRoundTrip, ::testing::Values("walk.json", "idle.json"),
                         [](const ::testing::TestParamInfo<const char*>& info)
                         { return std::string(info.param).substr(0, std::string(info.param).find('.')); });
} // namespace
