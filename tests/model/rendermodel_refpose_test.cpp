// RenderModel: the reference pose from shaders and bones, the selection volume taken from the
// mesh group, and ownership of the group and skeleton.
#include "model/rendermodel.h"

#include "foundation/debug.h"
#include "model/mesh/mesh_test_util.h"

#include <gtest/gtest.h>

using model_test::AddMesh;
using model_test::AddShader;
using model_test::MakeMesh;
using model_test::MakeSkeleton;
using model_test::QuarterTurn;

namespace
{
struct RenderModelTest : ::testing::Test
{
    model_test::Env env;
};

std::unique_ptr<ra::MeshGroup> GroupOf(std::initializer_list<Inv::Reference<Shader>> cShader)
{
    auto pGroup = std::make_unique<ra::MeshGroup>();
    pGroup->SetMeshCount(1);
    ra::MeshRef ref;
    ref.mesh = AddMesh(MakeMesh("body", cShader));
    ref.name = ra::MakeName("body");
    pGroup->SetMesh(0, ref);
    return pGroup;
}
} // namespace

TEST_F(RenderModelTest, ReferencePoseTakesChannelColoursAndBoneMatrices)
{
    Inv::Reference<Shader> paint = AddShader("paint");
    // Bytes low to high: 0x44, 0x33, 0x22, 0x11; the multiplier reads byte 1.
    paint->SetColour(Shader::CN_Diffuse, 0x11223344);
    paint->SetColour(Shader::CN_Specular, 0x0000FF00);
    // The opacity channel reads the alpha byte instead.
    paint->SetColour(Shader::CN_Opacity, 0x80FF0000);

    RenderModel model("tank");
    model.SetMeshGroup(GroupOf({AddShader("plain"), paint}));
    model.SetSkeleton(
        MakeSkeleton({{"root", -1, {0, 1, 0}, {}}, {"turret", 0, {0, 0, 2}, QuarterTurn({0, 1, 0})}}));
    EXPECT_EQ(model.GetRefPose(), nullptr);
    model.BuildRefPose();
    const AnimPose* pPose = model.GetRefPose();
    ASSERT_NE(pPose, nullptr);

    ASSERT_EQ(pPose->GetShaderCount(), 2);
    const AnimPose::ShaderValues& values = pPose->GetShaderValues(1);
    EXPECT_FLOAT_EQ(values[0], 0x33 / 255.0f);
    EXPECT_FLOAT_EQ(values[5], 1.0f);
    EXPECT_FLOAT_EQ(values[4 * 5], 0x80 / 255.0f);
    for (uint32 c = 0; c < AnimPose::ChannelCount; ++c)
    {
        EXPECT_EQ(values[c * 5 + 1], 0.0f) << c;
        EXPECT_EQ(values[c * 5 + 2], 0.0f) << c;
        EXPECT_EQ(values[c * 5 + 3], 1.0f) << c;
        EXPECT_EQ(values[c * 5 + 4], 1.0f) << c;
    }
    // A new shader is white on diffuse and opacity, opaque black elsewhere: only the opacity
    // channel reads the alpha byte.
    const float defaults[AnimPose::ChannelCount] = {1, 0, 0, 0, 1, 0};
    for (uint32 c = 0; c < AnimPose::ChannelCount; ++c)
        EXPECT_FLOAT_EQ(pPose->GetShaderValues(0)[c * 5], defaults[c]) << c;

    ASSERT_EQ(pPose->GetBoneCount(), 2);
    for (int32 b = 0; b < 2; ++b)
        EXPECT_EQ(pPose->GetBoneMatrix(b), model.GetSkeleton()->GetBone(b)->GetWorldMatrix()) << b;
    EXPECT_EQ(pPose->GetMeshCount(), 1);
    EXPECT_TRUE(pPose->IsMeshVisible(0));
}

TEST_F(RenderModelTest, ANewSkeletonBecomesTheGroupsWhenItFollowedTheOldOne)
{
    RenderModel model("tank");
    model.SetMeshGroup(GroupOf({}));
    model.SetSkeleton(MakeSkeleton({{"root", -1, {}, {}}}));
    EXPECT_EQ(model.GetMeshGroup()->GetSkeleton(), model.GetSkeleton());
    model.SetSkeleton(MakeSkeleton({{"root", -1, {}, {}}, {"tail", 0, {}, {}}}));
    EXPECT_EQ(model.GetMeshGroup()->GetSkeleton(), model.GetSkeleton());
    model.SetSkeleton(nullptr);
    EXPECT_EQ(model.GetMeshGroup()->GetSkeleton(), nullptr);

    // A group given a skeleton of its own keeps it.
    const auto pOwn = MakeSkeleton({{"other", -1, {}, {}}});
    model.GetMeshGroup()->SetSkeleton(pOwn.get());
    model.SetSkeleton(MakeSkeleton({{"root", -1, {}, {}}}));
    EXPECT_EQ(model.GetMeshGroup()->GetSkeleton(), pOwn.get());
}
