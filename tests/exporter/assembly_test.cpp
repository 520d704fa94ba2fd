// Model assembly: skeleton, mesh group with bones and XRef names, markers and cameras, from small
// scenes walked and built by the exporter.
#include "anim_fixture.h"
#include "model/rendermodel.h"
#include "model/skeleton/skeleton.h"
#include "names/name.h"
#include "support/tempfolder.h"

#include <gtest/gtest.h>

#include <string>

namespace
{
using exporter_test::ExpectNear;

// A mesh node of one triangle, as JSON: name, then the rest of the node's keys.
std::string Triangle(const std::string& name, const std::string& more = "")
{
    return R"J({"name": ")J" + name + R"J(", "material": "Plain", )J" + more +
           R"J("object": {"class": "editableMesh", "mesh": {"vertices": [[0,0,0],[1,0,0],[0,1,0]], "faces": [[0,1,2]]}}})J";
}

std::string Scene(const std::string& nodes)
{
    return R"J({"materials": [{"name": "Plain", "class": "standard"}], "nodes": [)J" + nodes + "]}";
}

std::string Text(ra::Name name)
{
    const char* text = ra::GetNameText(name);
    return text != nullptr ? text : "<invalid>";
}

class Assembly : public anim_test::AnimFixture
{
protected:
    RenderModel* Build(const std::string& json)
    {
        Start(json);
        return AnimFixture::Build();
    }
};
} // namespace

TEST_F(Assembly, SkeletonFollowsTheBoneListAndIsHandedToTheModel)
{
    RenderModel* pModel = Build(Scene(R"J(
        {"name": "Hip", "bone": true, "transform": [[1,0,0],[0,1,0],[0,0,1],[0,0,3]]},
        {"name": "hip", "bone": true, "parent": "Hip", "transform": [[1,0,0],[0,1,0],[0,0,1],[1,0,3]]},
        )J" + Triangle("Hull", R"J("parent": "Hip", )J")));
    ASSERT_NE(pModel, nullptr);
    EXPECT_STREQ(pModel->GetName(), "run");
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
    const std::string skin = R"J("parent": "Arm", "modifiers": [{"class": "skin", "bones": ["Arm"],
                                 "points": [[[0, 1]], [[0, 1]], [[0, 1]]]}], )J";
    RenderModel* pModel = Build(
        Scene(R"J({"name": "Arm", "bone": true}, {"name": "Helper", "object": {"class": "dummy"}}, )J" +
              Triangle("Self", R"J("bone": true, )J") + "," + Triangle("Child", R"J("parent": "Arm", )J") +
              "," + Triangle("Loose", R"J("parent": "Helper", )J") + "," + Triangle("Skinned", skin)));
    ASSERT_NE(pModel, nullptr);
    const ra::MeshGroup* pGroup = pModel->GetMeshGroup();
    // Depth first: Arm's children, Helper's, then Self; bones are Arm and Self. Skinned is never a
    // mesh bone; under a helper is world space.
    const std::pair<const char*, int32> expected[] = {
        {"child", 0}, {"skinned", -1}, {"loose", -1}, {"self", 1}};
    ASSERT_EQ(pGroup->GetMeshCount(), 4);
    for (int32 i = 0; i < 4; ++i)
    {
        EXPECT_EQ(Text(pGroup->GetMeshName(i)), expected[i].first);
        EXPECT_EQ(pGroup->GetMeshBone(i), expected[i].second) << expected[i].first;
    }
    EXPECT_TRUE(Messages().empty()) << Messages()[0];
    EXPECT_TRUE(pGroup->GetBV().IsValid());
}

TEST_F(Assembly, MeshUnderARemovedBoneIsAnErrorAndTakesBoneZero)
{
    RenderModel* pModel = Build(Scene(R"J(
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

    Start(Scene(R"J({"name": "Lonely", "bone": true})J"));
    m_options.exportMeshes = false;
    EXPECT_EQ(AnimFixture::Build(), nullptr);
    EXPECT_TRUE(Messages().empty());
}

TEST_F(Assembly, MarkersAreAbsoluteUnderTheRootAndLocalUnderABone)
{
    auto point = [](const char* name, const char* parent, const char* at)
    {
        return R"J({"name": ")J" + std::string(name) + R"J(", )J" + parent +
               R"J("object": {"class": "point"}, "transform": [[1,0,0],[0,1,0],[0,0,1],)J" + at + "]},";
    };
    RenderModel* pModel = Build(Scene(
        R"J({"name": "Arm", "bone": true, "transform": [[1,0,0],[0,1,0],[0,0,1],[0,0,3]]},
        {"name": "Gone", "bone": true, "parent": "Arm", "userProperties": "Remove",
         "transform": [[1,0,0],[0,1,0],[0,0,1],[0,0,4]]},
        {"name": "Helper", "object": {"class": "dummy"}},)J" +
        point("Free", "", "[1,2,3]") + point("Tip", R"J("parent": "Arm", )J", "[0,0,5]") +
        point("Held", R"J("parent": "Helper", )J", "[0,0,5]") +
        point("Orphan", R"J("parent": "Gone", )J", "[0,0,5]") + Triangle("Hull", R"J("parent": "Arm", )J")));
    ASSERT_NE(pModel, nullptr);
    ASSERT_EQ(pModel->GetCMarkerCount(), 4);
    // Depth first: Arm (Gone, Orphan; Tip), Helper (Held), Free. Tip is two units above Arm along host
    // z, the bone's own z after conversion. A removed bone is still named, and the skeleton does not
    // know it.
    struct Expected
    {
        const char* name;
        const char* parent;
        int32 parentIndex;
        ra::Vec3 position;
    };
    const Expected expected[] = {{"orphan", "gone", -1, {0, 0, 1}},
                                 {"tip", "arm", 0, {0, 0, 2}},
                                 {"held", "<invalid>", -1, {0, 5, 0}},
                                 {"free", "<invalid>", -1, {-1, 3, -2}}};
    for (int i = 0; i < 4; ++i)
    {
        const Marker& marker = pModel->GetCMarker(i);
        SCOPED_TRACE(expected[i].name);
        EXPECT_EQ(Text(marker.name), expected[i].name);
        EXPECT_EQ(Text(marker.parentName), expected[i].parent);
        EXPECT_EQ(marker.parentIndex, expected[i].parentIndex);
        ExpectNear(marker.transform.r[3], expected[i].position);
    }
    exporter_test::ExpectMatrix(pModel->GetCMarker(1).transform,
                                ra::Matrix34{{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {0, 0, 2}}});
}

TEST_F(Assembly, CamerasTakeTargetFieldOfViewAndClipFromTheObject)
{
    // All look along host +y from (0,-20,5): game position (0,5,20), looking along game -z.
    auto camera = [](const char* name, const char* object)
    {
        return R"J({"name": ")J" + std::string(name) + R"J(", "object": {"class": "freeCamera")J" + object +
               R"J(}, "transform": [[1,0,0],[0,0,1],[0,-1,0],[0,-20,5]]},)J";
    };
    RenderModel* pModel =
        Build(Scene(camera("Plain", "") + camera("Back", R"J(, "targetDistance": -5, "fov": 0.8)J") +
                    camera("Clipped", R"J(, "manualClip": true, "nearClip": 0.01, "farClip": 5000)J") +
                    camera("Within", R"J(, "manualClip": true, "nearClip": 2, "farClip": 50)J") +
                    camera("Unclipped", R"J(, "nearClip": 0.01, "farClip": 50)J") +
                    R"J({"name": "Look", "target": "Spot", "object": {"class": "targetCamera"},
         "transform": [[1,0,0],[0,0,1],[0,-1,0],[0,-20,5]]},
        {"name": "Spot", "object": {"class": "target"}, "transform": [[1,0,0],[0,1,0],[0,0,1],[0,10,5]]},)J" +
                    Triangle("Hull")));
    ASSERT_NE(pModel, nullptr);
    ASSERT_EQ(pModel->GetCCameraCount(), 6);

    const RenderModelCamera& plain = pModel->GetCCamera(0);
    EXPECT_EQ(Text(plain.name), "plain");
    ExpectNear(plain.position, {0, 5, 20});
    ExpectNear(plain.target, {0, 5, -80}); // the default target distance of 100
    EXPECT_NEAR(plain.fov, 0.785398f, 1e-5f);
    // The orientation's z axis points at the target.
    ExpectNear(ra::MatrixFromQuatPos(plain.orientation, plain.position).r[2], {0, 0, -1});
    ExpectNear(pModel->GetCCamera(1).target, {0, 5, 19}); // a negative distance counts as 1
    EXPECT_FLOAT_EQ(pModel->GetCCamera(1).fov, 0.8f);
    ExpectNear(pModel->GetCCamera(5).target, {0, 5, -10});
    // Manual clip planes are clamped to 0.1 and 1000; without manual clipping those are the planes.
    const std::pair<float, float> clip[] = {{0.1f, 1000}, {0.1f, 1000}, {0.1f, 1000}, {2, 50}, {0.1f, 1000}};
    for (int c = 0; c < 5; ++c)
    {
        EXPECT_FLOAT_EQ(pModel->GetCCamera(c).nearClip, clip[c].first) << c;
        EXPECT_FLOAT_EQ(pModel->GetCCamera(c).farClip, clip[c].second) << c;
    }
}

TEST_F(Assembly, XRefMeshesNameTheirModelUnlessLocal)
{
    TempFolder tree;
    exporter_test::WriteProject(tree);
    const std::string walls = tree / "art/source/props/Walls/reference/ref.max";
    // Triangle() gives editable meshes; an XRef's object is what it evaluates to, so that is fine.
    const std::string nodes = Triangle("Walls", R"J("xref": {"file": ")J" + walls + R"J("}, )J") + "," +
                              Triangle("Stray", R"J("xref": {"file": "/nowhere/stray.max"}, )J");
    RenderModel* pModel = Build(Scene(nodes));
    ASSERT_NE(pModel, nullptr);
    EXPECT_EQ(Text(pModel->GetMeshGroup()->GetMeshXRefName(0)), "/props/walls");
    // Outside every project there is no data name: the mesh stays local.
    EXPECT_EQ(pModel->GetMeshGroup()->GetMeshXRefName(1), ra::Name::INVALID);

    Start(Scene(nodes));
    m_options.xrefLocal = true;
    ASSERT_NE(AnimFixture::Build(), nullptr);
    EXPECT_EQ(m_pModel->GetMeshGroup()->GetMeshXRefName(0), ra::Name::INVALID);
}
