// ra::MeshGroup: meshes taken in with their counts and shaders, local and cross-referenced
// shaders, skin transforms resolved against the skeleton, and the matrices of group display.
#include "model/mesh/meshgroup.h"

#include "foundation/debug.h"
#include "model/anim/animpose.h"
#include "model/mesh/mesh_test_util.h"
#include "support/logcapture.h"

#include <gtest/gtest.h>

using model_test::AddMesh;
using model_test::AddShader;
using model_test::MakeMesh;
using model_test::MakeSkeleton;
using model_test::MatrixNear;
using model_test::QuarterTurn;
using model_test::Rows;
using model_test::Translation;

namespace
{
struct MeshGroupTest : ::testing::Test
{
    model_test::Env env;
};

ra::MeshRef Ref(const Inv::Reference<ra::Mesh>& mesh, const char* name, const char* xref = nullptr,
                int32 bone = -1)
{
    ra::MeshRef ref;
    ref.mesh = mesh;
    ref.name = ra::MakeName(name);
    ref.xrefName = xref ? ra::MakeName(xref) : ra::Name::INVALID;
    ref.boneIndex = bone;
    return ref;
}

Inv::Reference<ra::Mesh> SkinnedMesh(const char* name,
                                     std::initializer_list<std::pair<const char*, int32>> bones)
{
    auto pMesh = MakeMesh(name, {AddShader("skin")});
    pMesh->SetSkinnedTransformCount(int32(bones.size()));
    int32 i = 0;
    for (const auto& [bone, slot] : bones)
    {
        pMesh->SetSkinnedTransformName(i, ra::MakeName(bone));
        pMesh->SetSkinnedTransformIndex(i, slot);
        ++i;
    }
    return AddMesh(std::move(pMesh));
}

// What the shadow manager was shown.
struct ShadowRecord : ra::ShadowManager
{
    struct Seen
    {
        const ra::Mesh* pMesh;
        fr::Matrix44 world;
        bool skinned;
    };
    std::vector<Seen> cSeen;
    void AddMesh(const ra::Mesh& mesh, const fr::Matrix44& world, const ra::MatrixPalette* pPalette) override
    {
        cSeen.push_back({&mesh, world, pPalette != nullptr});
    }
};

struct Scene
{
    Scene() { fr::Interface::GetDevice()->BeginScene(); }
    ~Scene() { fr::Interface::GetDevice()->EndScene(); }
};
} // namespace

TEST_F(MeshGroupTest, SetMeshTakesInCountsShadersAndSkinning)
{
    Inv::Reference<Shader> metal = AddShader("metal"), glass = AddShader("glass"), rust = AddShader("rust");
    auto pLocal = MakeMesh("hull", {metal, glass}, 3, 10);
    pLocal->SetPolyCount(ra::Mesh::Poly_Low, 4);
    Inv::Reference<ra::Mesh> local = AddMesh(std::move(pLocal));
    Inv::Reference<ra::Mesh> foreign = AddMesh(MakeMesh("wheel", {glass, rust}, 3, 6));

    ra::MeshGroup group;
    group.SetMeshCount(3);
    group.SetMesh(0, Ref(local, "Hull"));
    group.SetMesh(1, Ref(foreign, "Wheel_L", "DATA:art/shared/wheel.sgm"));
    EXPECT_FALSE(group.HasSkinnedMeshes());
    group.SetMesh(2, Ref(SkinnedMesh("crew", {{"spine", 0}}), "Crew"));
    EXPECT_TRUE(group.HasSkinnedMeshes());

    EXPECT_EQ(group.GetPolyCount(ra::Mesh::Poly_High), 10 + 6 + 1);
    EXPECT_EQ(group.GetPolyCount(ra::Mesh::Poly_Low), 4);

    // Each shader once, in the order first reached; a shader reached through a local mesh is
    // local even when a cross-referenced mesh also uses it.
    ASSERT_EQ(group.GetShaderCount(), 4);
    EXPECT_EQ(group.FindShader(ra::MakeName("metal")), 0);
    EXPECT_EQ(group.FindShader(ra::MakeName("glass")), 1);
    EXPECT_EQ(group.FindShader(ra::MakeName("rust")), 2);
    EXPECT_EQ(group.FindShader(ra::MakeName("skin")), 3);
    EXPECT_EQ(group.FindShader(ra::MakeName("chrome")), ra::MeshGroup::InvalidIndex);
    EXPECT_TRUE(group.IsShaderLocal(0));
    EXPECT_TRUE(group.IsShaderLocal(1));
    EXPECT_FALSE(group.IsShaderLocal(2));
    EXPECT_TRUE(group.IsShaderLocal(3));
    EXPECT_EQ(group.GetShader(2), rust);
}

TEST_F(MeshGroupTest, SkinTransformsResolveWhenTheSkeletonArrivesLater)
{
    ra::MeshGroup group;
    group.SetMeshCount(1);
    group.SetMesh(0, Ref(SkinnedMesh("crew", {{"Spine", 4}, {"Head", 9}}), "Crew"));
    {
        LogCapture log;
        EXPECT_FALSE(group.ResolveSkinnedTransforms());
        EXPECT_EQ(log.Count("Mesh 'crew' requires bone 'spine' for skinning, but it is missing!"), 1);
    }

    const auto pSkeleton = MakeSkeleton({{"pelvis", -1, {}, {}}, {"spine", 0, {}, {}}, {"head", 1, {}, {}}});
    group.SetSkeleton(pSkeleton.get());
    EXPECT_TRUE(group.ResolveSkinnedTransforms());
    ASSERT_EQ(group.GetSkinnedTransformCount(0), 2);
    int32 slot = -1, bone = -1;
    ASSERT_TRUE(group.GetSkinnedTransform(0, 1, slot, bone));
    EXPECT_EQ(slot, 9);
    EXPECT_EQ(bone, 2);
    ASSERT_TRUE(group.GetSkinnedTransform(0, 0, slot, bone));
    EXPECT_EQ(slot, 4);
    EXPECT_EQ(bone, 1);
}

// Two bones: b0 at (1, 0, 0), b1 at (0, 1, 0) below it, both unrotated, so the reference world
// matrices are translations by (1, 0, 0) and (1, 1, 0).
struct GroupDisplay : MeshGroupTest
{
    std::unique_ptr<Skeleton> pSkeleton = MakeSkeleton({{"b0", -1, {1, 0, 0}, {}}, {"b1", 0, {0, 1, 0}, {}}});
    ra::MeshGroup group;
    AnimPose pose{2, 0, 0, 3};
    fr::MatrixStack stack;
    ra::MatrixPalette palette;
    ShadowRecord shadows;

    GroupDisplay()
    {
        group.SetSkeleton(pSkeleton.get());
        group.SetMeshCount(3);
        group.SetMesh(0, Ref(AddMesh(MakeMesh("free", {AddShader("a")})), "free"));
        group.SetMesh(1, Ref(AddMesh(MakeMesh("rigid", {AddShader("b")})), "rigid", nullptr, 0));
        group.SetMesh(2, Ref(SkinnedMesh("skinned", {{"b1", 3}, {"b0", 0}}), "skinned"));
        group.ResolveSkinnedTransforms();
        for (int32 b = 0; b < 2; ++b)
            pose.SetBoneMatrix(b, pSkeleton->GetBone(b)->GetWorldMatrix());
    }
};

TEST_F(GroupDisplay, ARigidMeshMovesByItsBoneFromTheReferencePose)
{
    // b0 posed a quarter turn about z in place: the mesh turns about the bone, (-1, 0, 0) * R + (1, 0, 0).
    pose.SetBoneMatrix(0, ra::MatrixFromQuatPos(QuarterTurn({0, 0, 1}), {1, 0, 0}));
    const fr::Matrix44 instance = ra::Expand(Translation(10, 0, 0));
    stack.Push(instance);

    Scene scene;
    EXPECT_EQ(group.Display(pose, ra::Mesh::Poly_High, stack, palette, &shadows, false), 3u);
    ASSERT_EQ(shadows.cSeen.size(), 3u);
    EXPECT_EQ(shadows.cSeen[0].pMesh, group.GetMesh(0));
    EXPECT_TRUE(MatrixNear(shadows.cSeen[0].world, instance));
    EXPECT_FALSE(shadows.cSeen[0].skinned);
    EXPECT_TRUE(
        MatrixNear(shadows.cSeen[1].world, ra::Expand(Rows({0, 1, 0}, {-1, 0, 0}, {0, 0, 1}, {11, -1, 0}))));
    // The stack is as the caller left it.
    EXPECT_EQ(stack.GetLevel(), 1u);
    EXPECT_TRUE(MatrixNear(stack.Top(), instance));
}

TEST_F(GroupDisplay, ASkinnedMeshLoadsThePaletteAtSlotPlusTwo)
{
    pose.SetBoneMatrix(1, Translation(1, 1, 4));
    Scene scene;
    group.Display(pose, ra::Mesh::Poly_High, stack, palette, &shadows, false);
    ASSERT_EQ(shadows.cSeen.size(), 3u);
    EXPECT_TRUE(shadows.cSeen[2].skinned);
    EXPECT_TRUE(MatrixNear(palette.Get(3 + 2), ra::Expand(Translation(0, 0, 4))));
    EXPECT_TRUE(MatrixNear(palette.Get(0 + 2), fr::Matrix44::Identity()));
    // Positions the mesh does not use stay as they were.
    EXPECT_TRUE(MatrixNear(palette.Get(4 + 2), fr::Matrix44::Identity()));
}
