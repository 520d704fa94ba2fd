// Scene gathering: how the walk sorts nodes into bones, meshes, markers, cameras and lights, how
// bones are named and parented; and the converter from host axes to game axes.
#include "exporter/sgmutil.h"
#include "exporter_fixture.h"

namespace
{
using SceneWalk = exporter_test::ExporterFixture;

std::string Name(const BoneNode& bone)
{
    return bone.name;
}
std::string Name(const MeshNode& mesh)
{
    return mesh.pNode->GetName();
}
std::string Name(host::INode* pNode)
{
    return pNode->GetName();
}
template <class List> std::string Names(const List& list)
{
    std::string out;
    for (const auto& entry : list)
        out += Name(entry) + " ";
    return out;
}
} // namespace

TEST_F(SceneWalk, ClassifiesNodesAndNumbersDuplicateBoneNamesWithoutRegardToCase)
{
    SGMExport& exporter = Walk(R"J({"nodes": [
        {"name": "Box", "object": {"class": "box"}}, {"name": "BoxMesh", "object": {"class": "editableMesh"}},
        {"name": "BoneMesh", "bone": true, "object": {"class": "editableMesh"}}, {"name": "Dummy", "object": {"class": "dummy"}},
        {"name": "FlaggedDummy", "bone": true, "object": {"class": "dummy"}},
        {"name": "BipedDummy", "controller": "bipedSlave", "object": {"class": "dummy"}},
        {"name": "BipedPelvis", "controller": "bipedBody", "object": {"class": "point"}},
        {"name": "BoneObject", "object": {"class": "bone"}}, {"name": "Tri", "object": {"class": "triObject"}},
        {"name": "Patch", "object": {"class": "patch"}}, {"name": "Poly", "object": {"class": "editablePoly"}},
        {"name": "Hidden", "renderable": false, "object": {"class": "editableMesh"}}, {"name": "Empty"},
        {"name": "Free", "object": {"class": "freeCamera"}}, {"name": "Look", "object": {"class": "targetCamera"}},
        {"name": "Sun", "object": {"class": "directionalLight"}}, {"name": "TargetSun", "object": {"class": "targetDirectionalLight"}},
        {"name": "Omni", "object": {"class": "omniLight"}}, {"name": "Spot", "object": {"class": "targetSpotLight"}},
        {"name": "FreeSpot", "object": {"class": "freeSpotLight"}},
        {"name": "box", "bone": true, "object": {"class": "freeCamera"}}, {"name": "Box(2)", "bone": true},
        {"name": "Tip", "parent": "Free", "object": {"class": "point"}},
        {"name": "Walls", "xref": {"file": "/art/walls/reference/ref.max"}, "object": {"class": "triObject"}},
        {"name": "Door", "xref": {"file": "/art/door.max"}, "userProperties": "forcelocal", "object": {"class": "triObject"}}]})J");
    // The last clashes with the numbered one and restarts: Box(2) -> Box(2)(2). A camera stops the
    // camera and light chain, not the bone test; a point helper is a marker, bone or not.
    EXPECT_EQ(Names(exporter.GetBoneNodes()),
              "Box BoneMesh FlaggedDummy BipedPelvis BoneObject box(2) Box(2)(2) ");
    EXPECT_EQ(Names(exporter.GetMeshNodes()), "BoxMesh BoneMesh Tri Patch Walls Door ");
    EXPECT_EQ(Names(exporter.GetMarkerNodes()), "BipedPelvis Tip ");
    EXPECT_EQ(Names(exporter.GetCameraNodes()), "Free Look ");
    EXPECT_EQ(Names(exporter.GetLightNodes()), "Sun TargetSun Omni Spot FreeSpot ");
    EXPECT_EQ(m_options.xrefCount, 1u);
    EXPECT_TRUE(IsXRef(Node("Walls")));
    EXPECT_FALSE(IsXRef(Node("Door")) || IsXRef(Node("Tri")) || IsXRef(nullptr));
    // The add operations repeat the class test; the root and no node are nothing.
    for (auto add : {&SGMExport::AddBoneNode, &SGMExport::AddMeshNode, &SGMExport::AddCameraNode,
                     &SGMExport::AddLightNode, &SGMExport::AddMarkerNode})
        (exporter.*add)(Node("Dummy"), 0);
    EXPECT_EQ(exporter.GetBoneNodes().size() + exporter.GetMeshNodes().size() +
                  exporter.GetMarkerNodes().size() + exporter.GetCameraNodes().size() +
                  exporter.GetLightNodes().size(),
              7u + 6 + 2 + 2 + 5);
    for (host::INode* pNode : {m_pScene->GetRootNode(), static_cast<host::INode*>(nullptr)})
        EXPECT_FALSE(IsBone(pNode, 0) || IsMesh(pNode, 0) || IsMarker(pNode, 0) || IsCamera(pNode, 0) ||
                     IsLight(pNode, 0));
}

TEST_F(SceneWalk, ParentSearchStepsOverRemovedBonesAndOtherNodes)
{
    SGMExport& exporter = Walk(R"J({"nodes": [{"name": "Hip", "bone": true},
        {"name": "Gone", "bone": true, "parent": "Hip", "userProperties": "Remove"},
        {"name": "Knee", "bone": true, "parent": "Gone"}, {"name": "Helper", "object": {"class": "dummy"}, "parent": "Knee"},
        {"name": "Foot", "bone": true, "parent": "Helper"},
        {"name": "Loose", "bone": true, "userProperties": "Stale", "transform": [[2,0,0],[0,2,0],[0,0,2],[1,2,3]]}]})J");
    const auto& bones = exporter.GetBoneNodes();
    ASSERT_EQ(Names(bones), "Hip Knee Foot Loose ");
    EXPECT_EQ((std::vector<int32>{bones[0].parent, bones[1].parent, bones[2].parent, bones[3].parent}),
              (std::vector<int32>{-1, 0, 1, -1}));
    EXPECT_TRUE(bones[0].active && !bones[3].active);
    // The bone's transform loses its scale and turns into game axes.
    EXPECT_EQ(bones[3].transform, (ra::Matrix34{{{1, 0, 0}, {0, 0, -1}, {0, 1, 0}, {-1, 3, -2}}}));
    EXPECT_EQ(exporter.FindBoneIndex(Node("Gone")), -1);
    EXPECT_EQ(exporter.FindParentBone(Node("Helper")), 1);
}

TEST(ConvertMatrix, MirroredTransformComesOutUnmirroredAndScaleIsDroppedOrKept)
{
    // The host's identity in game axes is rows (-x, z, -y); row 0 is rebuilt from rows 1 and 2.
    const host::Matrix3 scaled({2, 0, 0}, {0, 3, 0}, {0, 0, 4}, {5, 6, 7});
    ra::Matrix34 out;
    ConvertMatrix(out, host::Matrix3({-1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {0, 0, 0}));
    EXPECT_EQ(out, (ra::Matrix34{{{1, 0, 0}, {0, 0, -1}, {0, 1, 0}, {0, 0, 0}}}));
    ConvertMatrix(out, scaled);
    EXPECT_EQ(out, (ra::Matrix34{{{1, 0, 0}, {0, 0, -1}, {0, 1, 0}, {-5, 7, -6}}}));
    ConvertMatrixKeepScale(out, scaled);
    EXPECT_EQ(out, (ra::Matrix34{{{2, 0, 0}, {0, 0, -3}, {0, 4, 0}, {-5, 7, -6}}}));
}
