// Skin data in a built mesh: the table of skinned bones in order of first use, the weights that
// reach the vertex set, "ForceSkinning", and bad weights failing their mesh alone.
#include "exporter/mesh_test_util.h"
#include "exporter/skin_test_util.h"

#include <array>
#include <string>
#include <vector>

namespace
{
using skin_test::ExpectRecord;
using skin_test::Skin;
using skin_test::SkinScene;

constexpr uint8 None = 0xFF;

class SkinMesh : public mesh_test::MeshFixture
{
protected:
    // The skinned table of mesh i as (name, bone index) pairs.
    std::vector<std::pair<ra::Name, int32>> Table(size_t i = 0) const
    {
        std::vector<std::pair<ra::Name, int32>> out;
        const ra::Mesh* pMesh = Mesh(i);
        if (pMesh == nullptr)
            return out;
        for (int32 k = 0; k < pMesh->GetSkinnedTransformCount(); ++k)
            out.emplace_back(pMesh->GetSkinnedTransformName(k), pMesh->GetSkinnedTransformIndex(k));
        return out;
    }

    // The weights of every final vertex at host vertex i = (i, i * i, 0) of SkinScene.
    static std::vector<WeightRecord> WeightsAt(const std::vector<mesh_test::Vertex>& cVertex, int i)
    {
        const ra::Vec3 position(float(-i), 0.0f, float(-i * i));
        std::vector<WeightRecord> out;
        for (const mesh_test::Vertex& v : cVertex)
            if (v.position == position)
                out.push_back(v.weight);
        return out;
    }

    // Whether the vertex set of mesh i declares the weights stream.
    bool HasWeights(size_t i = 0) const
    {
        fr::VertexType type;
        Vertices(i, &type);
        return type.test(fr::VC_Weights);
    }

    static std::pair<ra::Name, int32> Entry(const char* name, int32 index)
    {
        return {ra::MakeName(name), index};
    }
};

TEST_F(SkinMesh, SkinnedBonesAreListedInOrderOfFirstUse)
{
    ASSERT_TRUE(Build(SkinScene(4, Skin("[[[2, 1]], [[0, 0.5], [2, 0.5]], [[3, 1]], [[0, 1]]]"))));
    EXPECT_TRUE(Errors().empty());
    EXPECT_EQ(Table(),
              (std::vector<std::pair<ra::Name, int32>>{Entry("B2", 2), Entry("B0", 0), Entry("B3", 3)}));

    ASSERT_TRUE(HasWeights());
    const std::vector<mesh_test::Vertex> cVertex = Vertices();
    const std::pair<std::array<float, 3>, std::array<uint8, 4>> expected[4] = {
        {{1, 0, 0}, {2, None, None, None}},
        {{0.5f, 0.5f, 0}, {0, 2, None, None}},
        {{1, 0, 0}, {3, None, None, None}},
        {{1, 0, 0}, {0, None, None, None}}};
    for (int i = 0; i < 4; ++i)
    {
        SCOPED_TRACE("vertex " + std::to_string(i));
        const std::vector<WeightRecord> found = WeightsAt(cVertex, i);
        ASSERT_FALSE(found.empty());
        for (const WeightRecord& r : found)
            ExpectRecord(r, expected[i].first, expected[i].second);
    }
}

TEST_F(SkinMesh, MeshWithoutSkinHasNoTableAndNoWeightStream)
{
    ASSERT_TRUE(Build(SkinScene(3, "")));
    EXPECT_TRUE(Record().cWeight.empty());
    EXPECT_TRUE(Table().empty());
    EXPECT_FALSE(HasWeights());
}

TEST_F(SkinMesh, ForceSkinningWeightsEveryVertexFullyToTheParentBoneAndWinsOverSkin)
{
    // The Skin would fail the mesh if it were read.
    const std::string stack = R"([{"class": "skin", "installed": false, "bones": ["B0"],
                                   "points": [[[0, 1]], [[0, 1]], [[0, 1]], [[0, 1]]]}])";
    ASSERT_TRUE(Build(SkinScene(4, stack, R"(, "parent": "B3", "userProperties": "ForceSkinning")")));
    EXPECT_TRUE(Errors().empty());
    // One record for all vertices once welded.
    ASSERT_EQ(Record().cWeight.size(), 1u);
    ExpectRecord(Record().cWeight[0], {1, 0, 0}, {3, None, None, None});
    EXPECT_EQ(Table(), (std::vector<std::pair<ra::Name, int32>>{Entry("B3", 3)}));
    EXPECT_TRUE(HasWeights());
}

TEST_F(SkinMesh, ForceSkinningOnAMeshThatIsABoneUsesItself)
{
    ASSERT_TRUE(
        Build(SkinScene(3, "", R"(, "parent": "B1", "bone": true, "userProperties": "ForceSkinning")")));
    ASSERT_EQ(m_pExport->GetBoneNodes().size(), 6u);
    EXPECT_TRUE(Errors().empty());
    ASSERT_EQ(Record().cWeight.size(), 1u);
    // The walk takes M right after its parent B1.
    ASSERT_EQ(m_pExport->FindBoneIndex(Node("M")), 2);
    ExpectRecord(Record().cWeight[0], {1, 0, 0}, {2, None, None, None});
    EXPECT_EQ(Table(), (std::vector<std::pair<ra::Name, int32>>{Entry("M", 2)}));
}

TEST_F(SkinMesh, ForceSkinningWithoutABoneIsReportedAndTheMeshGoesOnUnweighted)
{
    const std::string json = R"({"nodes": [{"name": "D", "object": {"class": "dummy"}},
        {"name": "M", "parent": "D", "userProperties": "ForceSkinning", "object": {"class": "editableMesh",
         "mesh": {"vertices": [[0,0,0],[1,0,0],[0,1,0]], "faces": [[0,1,2]]}}}]})";
    EXPECT_TRUE(Build(json));
    EXPECT_EQ(Errors(), (std::vector<std::string>{"Error   : Force Skinned Mesh 'M' is not a bone!"}));
    EXPECT_TRUE(Record().cWeight.empty());
    EXPECT_TRUE(Table().empty());
    EXPECT_EQ(Vertices().size(), 3u);
    EXPECT_FALSE(HasWeights());
}

TEST_F(SkinMesh, BadWeightsFailTheirMeshAfterEveryVertexWasReported)
{
    const std::string rigid = R"(, {"name": "N", "object": {"class": "editableMesh",
        "mesh": {"vertices": [[0,0,0],[1,0,0],[0,1,0]], "faces": [[0,1,2]]}}})";
    EXPECT_FALSE(Build(SkinScene(
        3, Skin("[[[0, 0.2], [1, 0.2], [2, 0.2], [3, 0.2], [4, 0.2]], [[0, 1]], [[1, 0]]]"), "", rigid)));
    EXPECT_EQ(
        Errors(),
        (std::vector<std::string>{
            "Error   : Mesh 'M', vertex 0 is weighted by too many bones!  A maximum of 4 bones is supported!",
            "Error   : Mesh 'M', vertex 2 is not weighted to any bones!",
            "Error   : 'M': Unable to build mesh!"}));
    // The failed mesh has no skinned table; the next mesh was still built.
    EXPECT_TRUE(Table(0).empty());
    ASSERT_EQ(m_pExport->GetMeshNodes().size(), 2u);
    EXPECT_EQ(Vertices(1).size(), 3u);
}
} // namespace
