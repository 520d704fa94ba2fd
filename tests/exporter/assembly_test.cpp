// Model assembly: skeleton, mesh group with bones and XRef names, markers, cameras, and control
// streams renamed after what they drive, from small scenes walked and built by the exporter.
#include "exporter/sgmfilename.h"
#include "exporter_fixture.h"
#include "model/anim/anim.h"
#include "model/anim/animlist.h"
#include "model/rendermodel.h"
#include "model/shader/shader.h"
#include "model/skeleton/skeleton.h"
#include "names/name.h"
#include "support/tempfolder.h"

#include <gtest/gtest.h>

#include <string>

namespace
{
// A mesh node of one triangle, as JSON: name, then the rest of the node's keys.
std::string Triangle(const std::string& name, const std::string& more = "")
{
    return R"J({"name": ")J" + name + R"J(", "material": "Plain", )J" + more +
           R"J("object": {"class": "editableMesh", "mesh": {"vertices": [[0,0,0],[1,0,0],[0,1,0]], "faces": [[0,1,2]]}}})J";
}

std::string Scene(const std::string& nodes, const std::string& top = "")
{
    return R"J({)J" + top + R"J("materials": [{"name": "Plain", "class": "standard"}], "nodes": [)J" + nodes +
           "]}";
}

std::string Text(ra::Name name)
{
    const char* text = ra::GetNameText(name);
    return text != nullptr ? text : "<invalid>";
}

void ExpectNear(const ra::Vec3& actual, const ra::Vec3& expected)
{
    EXPECT_NEAR(actual.x, expected.x, 1e-4f);
    EXPECT_NEAR(actual.y, expected.y, 1e-4f);
    EXPECT_NEAR(actual.z, expected.z, 1e-4f);
}

// The exporter as an export runs it: started on the scene (which gives it the scene's interface
// and animation range), walked, and built with the options a test sets.
class Assembly : public ::testing::Test
{
protected:
    void TearDown() override
    {
        if (m_started)
            m_pExport->ShutdownExport();
    }

    std::unique_ptr<RenderModel> Build(const std::string& json)
    {
        if (m_started)
            m_pExport->ShutdownExport();
        m_started = false;
        m_pScene = exporter_test::ReadScene(json);
        if (m_pScene == nullptr)
            return nullptr;
        m_pExport = std::make_unique<SGMExport>();
        SGMExportOptions started;
        m_started = m_pExport->InitExport(started, "/tmp/units/Test.sgm", m_pScene.get(), true);
        if (!m_started)
            return nullptr;
        m_options.modelName = started.modelName;
        m_options.filename = started.filename;
        m_pExport->WalkScene(m_options, m_pScene->GetRootNode());
        return m_pExport->BuildRenderModel(m_options);
    }

    static const std::vector<std::string>& Messages() { return SGMErrors::Get()->GetMessages(); }

    std::unique_ptr<scene::Scene> m_pScene;
    std::unique_ptr<SGMExport> m_pExport;
    SGMExportOptions m_options;
    bool m_started = false;
};
} // namespace

TEST_F(Assembly, SkeletonFollowsTheBoneListAndIsHandedToTheModel)
{
    auto pModel = Build(Scene(R"J(
        {"name": "Hip", "bone": true, "transform": [[1,0,0],[0,1,0],[0,0,1],[0,0,3]]},
        {"name": "hip", "bone": true, "parent": "Hip", "transform": [[1,0,0],[0,1,0],[0,0,1],[1,0,3]]},
        )J" + Triangle("Hull", R"J("parent": "Hip", )J")));
    ASSERT_NE(pModel, nullptr);
    EXPECT_STREQ(pModel->GetName(), "Test");
    const Skeleton* pSkeleton = pModel->GetSkeleton();
    ASSERT_NE(pSkeleton, nullptr);
    EXPECT_EQ(m_pExport->GetSkeletonUnderConstruction(), nullptr);
    ASSERT_EQ(pSkeleton->GetBoneCount(), 2);
    EXPECT_EQ(Text(pSkeleton->GetBone(0)->GetName()), "hip");
    EXPECT_EQ(Text(pSkeleton->GetBone(1)->GetName()), "hip(2)");
    EXPECT_EQ(pSkeleton->GetBone(0)->GetParentIndex(), Bone::InvalidIndex);
    EXPECT_EQ(pSkeleton->GetBone(1)->GetParentIndex(), 0);
    ExpectNear(pSkeleton->GetBone(1)->GetWorldMatrix().r[3], {-1, 3, 0});
    // Local to the parent, in the parent's frame: one unit along host x is one along game x.
    ExpectNear(pSkeleton->GetBone(1)->GetPosition(), {-1, 0, 0});
    EXPECT_EQ(pModel->GetMeshGroup()->GetSkeleton(), pSkeleton);
}

TEST_F(Assembly, RigidMeshesFollowTheirOwnOrTheirParentsBone)
{
    auto pModel =
        Build(Scene(R"J(
        {"name": "Arm", "bone": true},
        {"name": "Helper", "object": {"class": "dummy"}},
        )J" + Triangle("Self", R"J("bone": true, )J") +
                    "," + Triangle("Child", R"J("parent": "Arm", )J") + "," +
                    Triangle("Loose", R"J("parent": "Helper", )J") + "," +
                    Triangle("Skinned", R"J("parent": "Arm", "modifiers": [{"class": "skin", "bones": ["Arm"],
                                  "points": [[[0, 1]], [[0, 1]], [[0, 1]]]}], )J")));
    ASSERT_NE(pModel, nullptr);
    const ra::MeshGroup* pGroup = pModel->GetMeshGroup();
    ASSERT_NE(pGroup, nullptr);
    // Depth first: Arm's children, Helper's, then Self; bones are Arm and Self.
    ASSERT_EQ(pGroup->GetMeshCount(), 4);
    EXPECT_EQ(Text(pGroup->GetMeshName(0)), "child");
    EXPECT_EQ(Text(pGroup->GetMeshName(1)), "skinned");
    EXPECT_EQ(Text(pGroup->GetMeshName(2)), "loose");
    EXPECT_EQ(Text(pGroup->GetMeshName(3)), "self");
    EXPECT_EQ(pGroup->GetMeshBone(0), 0);
    EXPECT_EQ(pGroup->GetMeshBone(1), -1); // skinned: never a mesh bone
    EXPECT_EQ(pGroup->GetMeshBone(2), -1); // under a helper: world space
    EXPECT_EQ(pGroup->GetMeshBone(3), 1);
    EXPECT_TRUE(Messages().empty()) << Messages()[0];
    EXPECT_TRUE(pGroup->GetBV().IsValid());
}

TEST_F(Assembly, MeshUnderARemovedBoneIsAnErrorAndTakesBoneZero)
{
    auto pModel = Build(Scene(R"J(
        {"name": "Body", "bone": true},
        {"name": "Gone", "bone": true, "parent": "Body", "userProperties": "Remove"},
        )J" + Triangle("Hull", R"J("parent": "Gone", )J")));
    ASSERT_NE(pModel, nullptr);
    EXPECT_EQ(pModel->GetMeshGroup()->GetMeshBone(0), 0);
    EXPECT_EQ(Messages(), std::vector<std::string>{
                              "Error   : Mesh 'Hull' assigned to invalid bone! (Removed from Skeleton?)"});
}

TEST_F(Assembly, NoMeshesIsAnErrorOnlyWhenMeshesAreExported)
{
    EXPECT_EQ(Build(Scene(R"J({"name": "Lonely", "bone": true})J")), nullptr);
    EXPECT_EQ(Messages(), std::vector<std::string>{"Error   : No meshes to export!"});
    SGMErrors::Get()->Clear();

    m_options.exportMeshes = false;
    EXPECT_EQ(Build(Scene(R"J({"name": "Lonely", "bone": true})J")), nullptr);
    EXPECT_TRUE(Messages().empty());
}

TEST_F(Assembly, MarkersAreAbsoluteUnderTheRootAndLocalUnderABone)
{
    auto pModel = Build(Scene(R"J(
        {"name": "Arm", "bone": true, "transform": [[1,0,0],[0,1,0],[0,0,1],[0,0,3]]},
        {"name": "Gone", "bone": true, "parent": "Arm", "userProperties": "Remove",
         "transform": [[1,0,0],[0,1,0],[0,0,1],[0,0,4]]},
        {"name": "Helper", "object": {"class": "dummy"}},
        {"name": "Free", "object": {"class": "point"}, "transform": [[1,0,0],[0,1,0],[0,0,1],[1,2,3]]},
        {"name": "Tip", "parent": "Arm", "object": {"class": "point"}, "transform": [[1,0,0],[0,1,0],[0,0,1],[0,0,5]]},
        {"name": "Held", "parent": "Helper", "object": {"class": "point"}, "transform": [[1,0,0],[0,1,0],[0,0,1],[0,0,5]]},
        {"name": "Orphan", "parent": "Gone", "object": {"class": "point"}, "transform": [[1,0,0],[0,1,0],[0,0,1],[0,0,5]]},
        )J" + Triangle("Hull", R"J("parent": "Arm", )J")));
    ASSERT_NE(pModel, nullptr);
    ASSERT_EQ(pModel->GetCMarkerCount(), 4);
    // Depth first: Arm (Gone, Orphan; Tip), Helper (Held), Free.
    const Marker& orphan = pModel->GetCMarker(0);
    const Marker& tip = pModel->GetCMarker(1);
    const Marker& held = pModel->GetCMarker(2);
    const Marker& free = pModel->GetCMarker(3);

    EXPECT_EQ(Text(free.name), "free");
    EXPECT_EQ(free.parentName, ra::Name::INVALID);
    EXPECT_EQ(free.parentIndex, -1);
    ExpectNear(free.transform.r[3], {-1, 3, -2});

    // Tip is two units above Arm along host z, which is the bone's own z after conversion.
    EXPECT_EQ(Text(tip.parentName), "arm");
    EXPECT_EQ(tip.parentIndex, 0);
    ExpectNear(tip.transform.r[0], {1, 0, 0});
    ExpectNear(tip.transform.r[1], {0, 1, 0});
    ExpectNear(tip.transform.r[2], {0, 0, 1});
    ExpectNear(tip.transform.r[3], {0, 0, 2});

    EXPECT_EQ(held.parentName, ra::Name::INVALID);
    ExpectNear(held.transform.r[3], {0, 5, 0});

    // A removed bone is still named, and the skeleton does not know it.
    EXPECT_EQ(Text(orphan.parentName), "gone");
    EXPECT_EQ(orphan.parentIndex, -1);
    ExpectNear(orphan.transform.r[3], {0, 0, 1});
}

TEST_F(Assembly, CamerasTakeTargetFieldOfViewAndClipFromTheObject)
{
    // All look along host +y from (0,-20,5): game position (0,5,20), looking along game -z.
    const std::string frame = R"J("transform": [[1,0,0],[0,0,1],[0,-1,0],[0,-20,5]])J";
    auto pModel = Build(Scene(R"J(
        {"name": "Plain", "object": {"class": "freeCamera"}, )J" +
                              frame + R"J(},
        {"name": "Back", "object": {"class": "freeCamera", "targetDistance": -5, "fov": 0.8}, )J" +
                              frame + R"J(},
        {"name": "Clipped", "object": {"class": "freeCamera", "manualClip": true, "nearClip": 0.01, "farClip": 5000}, )J" +
                              frame + R"J(},
        {"name": "Within", "object": {"class": "freeCamera", "manualClip": true, "nearClip": 2, "farClip": 50}, )J" +
                              frame + R"J(},
        {"name": "Unclipped", "object": {"class": "freeCamera", "nearClip": 0.01, "farClip": 50}, )J" +
                              frame +
                              R"J(},
        )J" + Triangle("Hull")));
    ASSERT_NE(pModel, nullptr);
    ASSERT_EQ(pModel->GetCCameraCount(), 5);

    const RenderModelCamera& plain = pModel->GetCCamera(0);
    EXPECT_EQ(Text(plain.name), "plain");
    ExpectNear(plain.position, {0, 5, 20});
    ExpectNear(plain.target, {0, 5, -80}); // the default target distance of 100
    EXPECT_NEAR(plain.fov, 0.785398f, 1e-5f);
    EXPECT_FLOAT_EQ(plain.nearClip, 0.1f);
    EXPECT_FLOAT_EQ(plain.farClip, 1000.0f);
    // The orientation's z axis points at the target.
    const ra::Matrix34 m = ra::MatrixFromQuatPos(plain.orientation, plain.position);
    ExpectNear(m.r[2], {0, 0, -1});

    const RenderModelCamera& back = pModel->GetCCamera(1);
    ExpectNear(back.target, {0, 5, 19}); // a negative distance counts as 1
    EXPECT_FLOAT_EQ(back.fov, 0.8f);

    EXPECT_FLOAT_EQ(pModel->GetCCamera(2).nearClip, 0.1f);
    EXPECT_FLOAT_EQ(pModel->GetCCamera(2).farClip, 1000.0f);
    EXPECT_FLOAT_EQ(pModel->GetCCamera(3).nearClip, 2.0f);
    EXPECT_FLOAT_EQ(pModel->GetCCamera(3).farClip, 50.0f);
    EXPECT_FLOAT_EQ(pModel->GetCCamera(4).nearClip, 0.1f);
    EXPECT_FLOAT_EQ(pModel->GetCCamera(4).farClip, 1000.0f);
}

TEST_F(Assembly, TargetCameraLooksAtItsTarget)
{
    auto pModel = Build(Scene(R"J(
        {"name": "Look", "target": "Spot", "object": {"class": "targetCamera"},
         "transform": [[1,0,0],[0,0,1],[0,-1,0],[0,-20,5]]},
        {"name": "Spot", "object": {"class": "target"}, "transform": [[1,0,0],[0,1,0],[0,0,1],[0,10,5]]},
        )J" + Triangle("Hull")));
    ASSERT_NE(pModel, nullptr);
    ASSERT_EQ(pModel->GetCCameraCount(), 1);
    ExpectNear(pModel->GetCCamera(0).target, {0, 5, -10});
}

TEST_F(Assembly, XRefMeshesNameTheirModelUnlessLocal)
{
    TempFolder tree;
    std::string ini;
    for (const char* line :
         {"[project:Art]", "Description=Art", "DataSource=art/source", "DataSourceShared=art/shared",
          "DataBurn=art/burn", "DataIntermediate=art/intermediate", "DataGeneric=art/generic",
          "DataFinal=art/final", "DataPreview=art/preview", "LocaleFolder=art/locale", "AttrLoc=attrib",
          "Parent="})
        ini += std::string(line) + "\r\n";
    tree.Write("pipeline.ini", ini);
    const std::string walls = tree / "art/source/props/Walls/reference/ref.max";
    const std::string nodes =
        Triangle("Walls", R"J("xref": {"file": ")J" + walls + R"J("}, )J") + "," +
        Triangle("Forced", R"J("xref": {"file": ")J" + walls + R"J("}, "userProperties": "ForceLocal", )J") +
        "," + Triangle("Local") + "," + Triangle("Stray", R"J("xref": {"file": "/nowhere/stray.max"}, )J");
    // Triangle() gives editable meshes; an XRef's object is what it evaluates to, so that is fine.
    auto pModel = Build(Scene(nodes));
    ASSERT_NE(pModel, nullptr);
    const ra::MeshGroup* pGroup = pModel->GetMeshGroup();
    ASSERT_EQ(pGroup->GetMeshCount(), 4);
    EXPECT_EQ(Text(pGroup->GetMeshXRefName(0)), "/props/walls");
    EXPECT_EQ(pGroup->GetMeshXRefName(1), ra::Name::INVALID);
    EXPECT_EQ(pGroup->GetMeshXRefName(2), ra::Name::INVALID);
    // Outside every project there is no data name: the mesh stays local.
    EXPECT_EQ(pGroup->GetMeshXRefName(3), ra::Name::INVALID);

    // The model holds inventory references: it goes before its export is taken down.
    pModel.reset();
    m_options = SGMExportOptions();
    m_options.xrefLocal = true;
    auto pLocal = Build(Scene(nodes));
    ASSERT_NE(pLocal, nullptr);
    EXPECT_EQ(pLocal->GetMeshGroup()->GetMeshXRefName(0), ra::Name::INVALID);
}

TEST_F(Assembly, ControlStreamsAreNamedAfterTheirShaderAndMesh)
{
    auto pModel = Build(R"J({"animationRange": [0, 2],
      "materials": [{"name": "Fading", "class": "standard", "opacity": {"frames": [1, 0.5, 0]}}],
      "nodes": [
        {"name": "Body", "bone": true},
        {"name": "Hull", "parent": "Body", "material": "Fading", "visibility": {"frames": [1, 0, 1]},
         "object": {"class": "editableMesh", "mesh": {"vertices": [[0,0,0],[1,0,0],[0,1,0]], "faces": [[0,1,2]]}}}]})J");
    ASSERT_NE(pModel, nullptr);
    ASSERT_EQ(pModel->GetAnimList()->GetAnimCount(), 1);
    const Anim* pAnim = pModel->GetAnimList()->GetAnim(0);
    ASSERT_NE(pAnim, nullptr);
    const ra::MeshGroup* pGroup = pModel->GetMeshGroup();
    bool sawShader = false;
    bool sawMesh = false;
    for (int c = 0; c < pAnim->GetControlStreamCount(); ++c)
    {
        const ControlInfo& info = pAnim->GetControlInfo(c);
        if (info.targetType == ControlInfo::Target_Shader)
        {
            sawShader = true;
            ASSERT_GE(info.m_index, 0);
            EXPECT_EQ(pAnim->GetControlName(c), pGroup->GetShader(info.m_index)->GetName());
        }
        else if (info.targetType == ControlInfo::Target_Mesh)
        {
            sawMesh = true;
            EXPECT_EQ(info.m_index, 0);
            EXPECT_EQ(Text(pAnim->GetControlName(c)), "hull");
        }
    }
    EXPECT_TRUE(sawShader);
    EXPECT_TRUE(sawMesh);
}
