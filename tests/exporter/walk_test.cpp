// Scene gathering: how the walk sorts nodes into bones, meshes, markers, cameras and lights, how
// bones are named and parented; and the converter from host axes to game axes.
#include "exporter/sgmutil.h"
#include "exporter_fixture.h"

#include <cmath>
#include <numbers>
#include <string>

using exporter_test::ExpectMatrix;

namespace
{
using SceneWalk = exporter_test::ExporterFixture;

std::vector<std::string> BoneNames(const SGMExport& exporter)
{
    std::vector<std::string> names;
    for (const BoneNode& bone : exporter.GetBoneNodes())
        names.push_back(bone.name);
    return names;
}
} // namespace

TEST_F(SceneWalk, DuplicateBoneNamesAreNumberedWithoutRegardToCase)
{
    SGMExport& exporter = Walk(R"J({"nodes": [
        {"name": "a", "bone": true},
        {"name": "A", "bone": true},
        {"name": "a", "bone": true},
        {"name": "A(2)", "bone": true}]})J");
    // The fourth clashes with the second's new name and restarts: A(2) -> A(2)(2).
    EXPECT_EQ(BoneNames(exporter), (std::vector<std::string>{"a", "A(2)", "a(3)", "A(2)(2)"}));
}

TEST_F(SceneWalk, ParentSearchStepsOverRemovedBonesAndOtherNodes)
{
    SGMExport& exporter = Walk(R"J({"nodes": [
        {"name": "Hip", "bone": true},
        {"name": "Gone", "bone": true, "parent": "Hip", "userProperties": "Remove"},
        {"name": "Knee", "bone": true, "parent": "Gone"},
        {"name": "Helper", "object": {"class": "dummy"}, "parent": "Knee"},
        {"name": "Foot", "bone": true, "parent": "Helper"},
        {"name": "Loose", "bone": true, "userProperties": "Stale", "transform": [[2,0,0],[0,2,0],[0,0,2],[1,2,3]]}]})J");
    const auto& bones = exporter.GetBoneNodes();
    ASSERT_EQ(BoneNames(exporter), (std::vector<std::string>{"Hip", "Knee", "Foot", "Loose"}));
    EXPECT_EQ(bones[0].parent, -1);
    EXPECT_EQ(bones[1].parent, 0);
    EXPECT_EQ(bones[2].parent, 1);
    EXPECT_EQ(bones[3].parent, -1);
    EXPECT_TRUE(bones[0].active);
    EXPECT_FALSE(bones[3].active);
    // The bone's transform loses its scale and turns into game axes.
    EXPECT_EQ(bones[3].transform, (ra::Matrix34{{{1, 0, 0}, {0, 0, -1}, {0, 1, 0}, {-1, 3, -2}}}));
    EXPECT_EQ(exporter.FindBoneIndex(Node("Gone")), -1);
    EXPECT_EQ(exporter.FindParentBone(Node("Helper")), 1);
}

TEST_F(SceneWalk, ClassifiesBonesMeshesAndHelpers)
{
    SGMExport& exporter = Walk(R"J({"nodes": [
        {"name": "Box", "object": {"class": "box"}},
        {"name": "BoxMesh", "object": {"class": "editableMesh"}},
        {"name": "BoneMesh", "bone": true, "object": {"class": "editableMesh"}},
        {"name": "Dummy", "object": {"class": "dummy"}},
        {"name": "FlaggedDummy", "bone": true, "object": {"class": "dummy"}},
        {"name": "BipedDummy", "controller": "bipedSlave", "object": {"class": "dummy"}},
        {"name": "BipedPelvis", "controller": "bipedBody", "object": {"class": "point"}},
        {"name": "BoneObject", "object": {"class": "bone"}},
        {"name": "Tri", "object": {"class": "triObject"}},
        {"name": "Patch", "object": {"class": "patch"}},
        {"name": "Poly", "object": {"class": "editablePoly"}},
        {"name": "Hidden", "renderable": false, "object": {"class": "editableMesh"}},
        {"name": "Empty"}]})J");

    EXPECT_EQ(BoneNames(exporter),
              (std::vector<std::string>{"Box", "BoneMesh", "FlaggedDummy", "BipedPelvis", "BoneObject"}));
    std::vector<std::string> meshes;
    for (const MeshNode& mesh : exporter.GetMeshNodes())
        meshes.push_back(mesh.pNode->GetName());
    EXPECT_EQ(meshes, (std::vector<std::string>{"BoxMesh", "BoneMesh", "Tri", "Patch"}));
    // A point helper is a marker whether or not it is also a bone.
    ASSERT_EQ(exporter.GetMarkerNodes().size(), 1u);
    EXPECT_EQ(exporter.GetMarkerNodes()[0], Node("BipedPelvis"));
}

TEST_F(SceneWalk, NullNodesAndTheRootAreNothing)
{
    Walk(R"J({"nodes": [{"name": "A", "bone": true}]})J");
    host::INode* pRoot = m_pScene->GetRootNode();
    for (host::INode* pNode : {pRoot, static_cast<host::INode*>(nullptr)})
    {
        EXPECT_FALSE(IsBone(pNode, 0));
        EXPECT_FALSE(IsMesh(pNode, 0));
        EXPECT_FALSE(IsMarker(pNode, 0));
        EXPECT_FALSE(IsCamera(pNode, 0));
        EXPECT_FALSE(IsLight(pNode, 0));
    }
    EXPECT_FALSE(IsXRef(nullptr));
}

TEST_F(SceneWalk, CameraLightChainStopsAtTheFirstMatchWhileMarkersAndMeshesStandAlone)
{
    SGMExport& exporter = Walk(R"J({"nodes": [
        {"name": "Free", "object": {"class": "freeCamera"}},
        {"name": "Look", "object": {"class": "targetCamera"}},
        {"name": "Sun", "object": {"class": "directionalLight"}},
        {"name": "TargetSun", "object": {"class": "targetDirectionalLight"}},
        {"name": "Omni", "object": {"class": "omniLight"}},
        {"name": "Spot", "object": {"class": "targetSpotLight"}},
        {"name": "FreeSpot", "object": {"class": "freeSpotLight"}},
        {"name": "BoneCamera", "bone": true, "object": {"class": "freeCamera"}},
        {"name": "Tip", "parent": "Free", "object": {"class": "point"}}]})J");
    ASSERT_EQ(exporter.GetCameraNodes().size(), 2u);
    EXPECT_EQ(exporter.GetCameraNodes()[0], Node("Free"));
    EXPECT_EQ(exporter.GetCameraNodes()[1], Node("Look"));
    EXPECT_EQ(exporter.GetLightNodes().size(), 5u);
    EXPECT_EQ(BoneNames(exporter), std::vector<std::string>{"BoneCamera"});
    ASSERT_EQ(exporter.GetMarkerNodes().size(), 1u);
    EXPECT_EQ(exporter.GetMarkerNodes()[0], Node("Tip"));
}

TEST_F(SceneWalk, ListsFollowDepthFirstOrderOfTheTree)
{
    // "B" is the root's first child in file order, "A2" comes after its parent's subtree.
    SGMExport& exporter = Walk(R"J({"nodes": [
        {"name": "B", "bone": true},
        {"name": "A", "bone": true},
        {"name": "B1", "bone": true, "parent": "B"},
        {"name": "A1", "bone": true, "parent": "A"},
        {"name": "B2", "bone": true, "parent": "B1"}]})J");
    EXPECT_EQ(BoneNames(exporter), (std::vector<std::string>{"B", "B1", "B2", "A", "A1"}));
    const auto& bones = exporter.GetBoneNodes();
    EXPECT_EQ(bones[2].parent, 1);
    EXPECT_EQ(bones[4].parent, 3);
}

TEST_F(SceneWalk, XRefMeshesAreCountedUnlessForcedLocal)
{
    SGMExport& exporter = Walk(R"J({"nodes": [
        {"name": "Walls", "xref": {"file": "/art/walls/reference/ref.max"}, "object": {"class": "triObject"}},
        {"name": "Door", "xref": {"file": "/art/door.max"}, "userProperties": "forcelocal",
         "object": {"class": "triObject"}},
        {"name": "Local", "object": {"class": "editableMesh"}}]})J");
    EXPECT_EQ(exporter.GetMeshNodes().size(), 3u);
    EXPECT_EQ(m_options.xrefCount, 1u);
    EXPECT_TRUE(IsXRef(Node("Walls")));
    EXPECT_FALSE(IsXRef(Node("Door")));
    EXPECT_FALSE(IsXRef(Node("Local")));
}

TEST_F(SceneWalk, AddOperationsRepeatTheClassTest)
{
    SGMExport& exporter = Walk(R"J({"nodes": [{"name": "Helper", "object": {"class": "dummy"}}]})J");
    exporter.AddBoneNode(Node("Helper"), 0);
    exporter.AddMeshNode(Node("Helper"), 0);
    exporter.AddCameraNode(Node("Helper"), 0);
    exporter.AddLightNode(Node("Helper"), 0);
    exporter.AddMarkerNode(Node("Helper"), 0);
    EXPECT_TRUE(exporter.GetBoneNodes().empty());
    EXPECT_TRUE(exporter.GetMeshNodes().empty());
    EXPECT_TRUE(exporter.GetCameraNodes().empty());
    EXPECT_TRUE(exporter.GetLightNodes().empty());
    EXPECT_TRUE(exporter.GetMarkerNodes().empty());

    dbg::ScopedThrowOnAssert throwOnAssert;
    EXPECT_THROW(exporter.AddBoneNode(nullptr, 0), std::runtime_error);
}

namespace
{
// The host frame of the identity in game axes: rows (-x, z, -y), row 0 rebuilt from rows 1 and 2.
const ra::Matrix34 IdentityInGame{{{1, 0, 0}, {0, 0, -1}, {0, 1, 0}, {0, 0, 0}}};

float Determinant(const ra::Matrix34& m)
{
    return ra::Dot(m.r[0], ra::Cross(m.r[1], m.r[2]));
}
} // namespace

TEST(ConvertMatrix, RotationAboutUpAxisWorkedByHand)
{
    host::Matrix3 tm = host::RotateZMatrix(std::numbers::pi_v<float> / 2);
    tm.SetTrans({1, 2, 3});
    // Rows (0,1,0), (-1,0,0), (0,0,1) become (0,0,-1), (1,0,0), (0,1,0); row 0 is then rebuilt as
    // (1,0,0) x (0,1,0) = (0,0,1); the translation (1,2,3) becomes (-1,3,-2).
    ra::Matrix34 out;
    ConvertMatrix(out, tm);
    ExpectMatrix(out, ra::Matrix34{{{0, 0, 1}, {1, 0, 0}, {0, 1, 0}, {-1, 3, -2}}});
}

TEST(ConvertMatrix, MirroredTransformComesOutUnmirroredAndScaleIsDroppedOrKept)
{
    ra::Matrix34 out;
    ConvertMatrix(out, host::Matrix3({-1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {0, 0, 0}));
    ExpectMatrix(out, IdentityInGame);
    EXPECT_NEAR(Determinant(out), 1.0f, 1e-5f);

    const host::Matrix3 scaled({2, 0, 0}, {0, 3, 0}, {0, 0, 4}, {5, 6, 7});
    ConvertMatrix(out, scaled);
    ra::Matrix34 expected = IdentityInGame;
    expected.r[3] = {-5, 7, -6};
    ExpectMatrix(out, expected);
    ConvertMatrixKeepScale(out, scaled);
    ExpectMatrix(out, ra::Matrix34{{{2, 0, 0}, {0, 0, -3}, {0, 4, 0}, {-5, 7, -6}}});
}

TEST(ConvertMatrix, SkewedInputGivesAnOrthogonalRightHandedFrameAlongItsZRow)
{
    ra::Matrix34 out;
    ConvertMatrix(out, host::Matrix3({1, 0.5f, 0}, {0.2f, 1, 0.3f}, {0, -0.4f, 2}, {1, 1, 1}));
    for (int i = 0; i < 3; ++i)
        EXPECT_NEAR(ra::Dot(out.r[i], out.r[(i + 1) % 3]), 0.0f, 1e-5f);
    EXPECT_GT(Determinant(out), 0.0f);
    // Row 2 keeps the direction of the converted z row: (0,-0.4,2) becomes (0,2,0.4).
    EXPECT_NEAR(ra::Dot(ra::Normalize(out.r[2]), ra::Normalize(ra::Vec3(0, 2, 0.4f))), 1.0f, 1e-5f);
    EXPECT_EQ(out.r[3], ra::Vec3(-1, 1, -1));
}
