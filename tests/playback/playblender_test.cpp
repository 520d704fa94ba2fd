// The blender: the reference pose with no plays, one play's sample exactly, the first play hiding
// newer ones, a fading play mixed into its successor, later plays scaled by what is left, root
// scale, bones set by hand, cameras, shader values and visibility, and the instance box.
#include "playback/playblender.h"

#include "model/anim/animpose.h"
#include "playback/playback_test_util.h"
#include "playback/playlist.h"

#include <gtest/gtest.h>

#include <numbers>

using namespace playback_test;

namespace
{
constexpr float Quarter = std::numbers::pi_v<float> / 2.0f;

ra::Quat ShoulderRotation(const AnimPose& pose)
{
    return ra::QuatFromMatrix(pose.GetBoneMatrix(0));
}
} // namespace

class PlayBlenderTest : public ::testing::Test
{
protected:
    PlayBlenderTest() : m_blender(m_arm.Model(), &m_list), m_pose(m_arm.Model()) {}
    // A looping motion holding the shoulder at one position and rotation.
    Motion* Hold(const char* name, const ra::Vec3& position, const ra::Quat& rotation,
                 float transitionOut = 0.0f)
    {
        auto pAnim = ArmModel::MakeAnim(name, 1.0f);
        ArmModel::Positions(*pAnim, 0, {{0.0f, position}});
        ArmModel::Rotations(*pAnim, 0, {{0.0f, rotation}});
        Motion* pMotion = m_arm.MakeMotion(name, {m_arm.Add(std::move(pAnim))}, Motion::TYPE_LOOPING);
        pMotion->SetTransitionOutTime(transitionOut);
        return pMotion;
    }
    // A play brought into its transition out with `weight` left.
    PlayState& Fading(Motion* pMotion, float weight)
    {
        PlayState& state = *m_list.GetState(m_list.AddMotion(pMotion, 0));
        state.Update(0.1f);
        state.SetState(PlayState::STATE_EXIT_REQUEST);
        state.Update((1.0f - weight) * pMotion->GetTransitionOutTime());
        EXPECT_EQ(PlayState::STATE_TRANSITION_OUT, state.GetState());
        EXPECT_NEAR(weight, state.GetWeight(), 1e-5f);
        return state;
    }
    PlayState& Playing(Motion* pMotion)
    {
        PlayState& state = *m_list.GetState(m_list.AddMotion(pMotion, 0));
        state.SetTransitionInTime(0.0f);
        state.Update(0.1f);
        EXPECT_EQ(PlayState::STATE_PLAY, state.GetState());
        return state;
    }
    Env m_env;
    ArmModel m_arm;
    PlayList m_list;
    PlayBlender m_blender;
    AnimPose m_pose;
};

TEST_F(PlayBlenderTest, EmptyListGivesTheReferencePoseAndHandSetBonesLastOneFrame)
{
    m_pose.SetMeshVisibility(0, 0.0f);
    EXPECT_TRUE(m_blender.BuildPose(m_pose));
    EXPECT_TRUE(MatrixNear(m_pose.GetBoneMatrix(0), ra::Matrix34()));
    EXPECT_TRUE(MatrixNear(m_pose.GetBoneMatrix(1), ra::MatrixFromQuatPos({}, {1, 0, 0})));
    EXPECT_FLOAT_EQ(1.0f, m_pose.GetMeshVisibility(0));
    EXPECT_FALSE(m_blender.GetBoneChanged());
    const ra::Matrix34 byHand = ra::MatrixFromQuatPos(TurnZ(0.3f), {5, 5, 5});
    m_pose.SetBoneMatrixByHand(1, byHand);
    m_blender.BuildPose(m_pose);
    EXPECT_TRUE(MatrixNear(m_pose.GetBoneMatrix(1), byHand));
    EXPECT_FALSE(m_pose.IsBoneSetByHand(1));
    m_blender.BuildPose(m_pose);
    EXPECT_TRUE(MatrixNear(m_pose.GetBoneMatrix(1), ra::MatrixFromQuatPos({}, {1, 0, 0})));
    // With plays, a hand-set matrix is local to its parent for that frame.
    Playing(Hold("turn", {0, 0, 0}, TurnZ(Quarter)));
    m_pose.SetBoneMatrixByHand(1, ra::MatrixFromQuatPos({}, {2, 0, 0}));
    m_blender.BuildPose(m_pose);
    ExpectVec({0, 2, 0}, m_pose.GetBoneMatrix(1).Translation());
    m_blender.BuildPose(m_pose);
    ExpectVec({0, 1, 0}, m_pose.GetBoneMatrix(1).Translation());
}

TEST_F(PlayBlenderTest, SinglePlayGivesItsSampleExactlyAndChildrenFollow)
{
    auto pAnim = ArmModel::MakeAnim("swing", 2.0f);
    ArmModel::Rotations(*pAnim, 0, {{0.0f, ra::Quat()}, {1.0f, TurnZ(Quarter)}});
    Motion* pSwing = m_arm.MakeMotion("swing", {m_arm.Add(std::move(pAnim))});
    PlayState& state = Playing(pSwing);
    state.SetPosition(1.0f);
    m_blender.BuildPose(m_pose);
    EXPECT_TRUE(m_blender.GetBoneChanged());
    ExpectRotation(TurnZ(Quarter / 2.0f), ShoulderRotation(m_pose));
    // The forearm is one unit out along the turned x axis.
    ExpectVec(ra::Rotate(TurnZ(Quarter / 2.0f), {1, 0, 0}), m_pose.GetBoneMatrix(1).Translation());
    EXPECT_TRUE(m_blender.IsBoneAnimated(0));
    EXPECT_FALSE(m_blender.IsBoneAnimated(1));
    // Root scale reaches every bone through the root.
    m_blender.SetScale(2.0f);
    state.SetPosition(0.0f);
    m_blender.BuildPose(m_pose);
    EXPECT_TRUE(
        MatrixNear(m_pose.GetBoneMatrix(0), ra::Matrix34{{{2, 0, 0}, {0, 2, 0}, {0, 0, 2}, {0, 0, 0}}}));
    ExpectVec({2, 0, 0}, m_pose.GetBoneMatrix(1).Translation());
}

TEST_F(PlayBlenderTest, OldestFullPlayHidesNewerOnes)
{
    Playing(Hold("first", {4, 0, 0}, TurnZ(0.5f)));
    Playing(Hold("second", {0, 8, 0}, TurnZ(1.0f)));
    m_blender.BuildPose(m_pose);
    ExpectVec({4, 0, 0}, m_pose.GetBoneMatrix(0).Translation());
    ExpectRotation(TurnZ(0.5f), ShoulderRotation(m_pose));
    // A play of no weight is passed over.
    m_list.GetState(0)->SetState(PlayState::STATE_EXIT_REQUEST);
    m_list.GetState(0)->Update(0.1f);
    ASSERT_EQ(PlayState::STATE_FINISHED, m_list.GetState(0)->GetState());
    m_blender.BuildPose(m_pose);
    ExpectVec({0, 8, 0}, m_pose.GetBoneMatrix(0).Translation());
}

TEST_F(PlayBlenderTest, FadingPlayIsMixedIntoThePlayAfterIt)
{
    // With nothing after it, a fading play shows its whole sample.
    Fading(Hold("old", {4, 0, 0}, TurnZ(0.0f), 1.0f), 0.25f);
    m_blender.BuildPose(m_pose);
    ExpectVec({4, 0, 0}, m_pose.GetBoneMatrix(0).Translation());
    Playing(Hold("new", {0, 8, 0}, TurnZ(0.8f)));
    m_blender.BuildPose(m_pose);
    // Three quarters of the way from the old sample to the new one.
    ExpectVec({1, 6, 0}, m_pose.GetBoneMatrix(0).Translation());
    ExpectRotation(TurnZ(0.6f), ShoulderRotation(m_pose));
    // What the two leave, 0.25 of 0.75, scales a third play's difference from the reference.
    Playing(Hold("third", {0, 0, 16}, TurnZ(0.0f)));
    m_blender.BuildPose(m_pose);
    ExpectVec({1, 6, 3}, m_pose.GetBoneMatrix(0).Translation());
}

TEST_F(PlayBlenderTest, ShaderValuesAddAcrossPlaysAndTheNewestVisibilityWins)
{
    const ControlInfo offsetV = ArmModel::Info(ControlInfo::Target_Shader, ControlInfo::Parameter_OffsetV, 1);
    const ControlInfo visibility =
        ArmModel::Info(ControlInfo::Target_Mesh, ControlInfo::Parameter_Visibility);
    auto pFirst = ArmModel::MakeAnim("first", 1.0f);
    ArmModel::Control(*pFirst, "skin", offsetV, 0.2f, 0.6f);
    ArmModel::Control(*pFirst, "box", visibility, 1.0f, 1.0f);
    ArmModel::Control(*pFirst, "nothing", offsetV, 5.0f, 5.0f);
    auto pSecond = ArmModel::MakeAnim("second", 1.0f);
    ArmModel::Control(*pSecond, "skin", offsetV, 1.0f, 1.0f);
    ArmModel::Control(*pSecond, "box", visibility, 0.0f, 0.0f);
    ArmModel::Control(*pSecond, "flag", visibility, 1.0f, 1.0f);
    Motion* pA = m_arm.MakeMotion("first", {m_arm.Add(std::move(pFirst))});
    Motion* pB = m_arm.MakeMotion("second", {m_arm.Add(std::move(pSecond))});
    PlayState& a = Playing(pA);
    a.SetPosition(0.5f);
    const float base = m_arm.Model().GetRefPose()->GetShaderValues(0)[1 * 5 + 2];
    EXPECT_TRUE(m_blender.BuildPose(m_pose));
    EXPECT_TRUE(m_blender.GetShaderChanged());
    EXPECT_NEAR(base + 0.4f, m_pose.GetShaderValues(0)[1 * 5 + 2], 1e-5f);
    EXPECT_FLOAT_EQ(1.0f, m_pose.GetMeshVisibility(0));
    // A mesh no play shows is hidden while plays run.
    EXPECT_FLOAT_EQ(0.0f, m_pose.GetMeshVisibility(1));
    Playing(pB);
    EXPECT_TRUE(m_blender.BuildPose(m_pose));
    EXPECT_NEAR(base + 1.4f, m_pose.GetShaderValues(0)[1 * 5 + 2], 1e-5f);
    EXPECT_FLOAT_EQ(0.0f, m_pose.GetMeshVisibility(0));
    EXPECT_FLOAT_EQ(1.0f, m_pose.GetMeshVisibility(1));
    // Only the targeted value moved.
    EXPECT_FLOAT_EQ(m_arm.Model().GetRefPose()->GetShaderValues(0)[1 * 5 + 1],
                    m_pose.GetShaderValues(0)[1 * 5 + 1]);
    m_list.Clear();
    m_blender.BuildPose(m_pose);
    EXPECT_FLOAT_EQ(base, m_pose.GetShaderValues(0)[1 * 5 + 2]);
    EXPECT_FALSE(m_blender.GetShaderChanged());
}

TEST_F(PlayBlenderTest, CameraFollowsItsStreamAndCarriesItsTarget)
{
    auto pAnim = ArmModel::MakeAnim("pan", 1.0f);
    auto pPosition = std::make_unique<CameraPositionStream>(1);
    pPosition->SetValue(0, {0, 0, -20});
    auto pRotation = std::make_unique<CameraRotationStream>(1);
    pRotation->SetValue(0, ra::QuatFromAxisAngle({0, 1, 0}, Quarter));
    pAnim->AddCamera(N("cam"), std::move(pPosition), std::move(pRotation));
    Playing(m_arm.MakeMotion("pan", {m_arm.Add(std::move(pAnim))}));
    m_blender.BuildPose(m_pose);
    const RenderModelCamera& camera = m_pose.GetCamera(0);
    ExpectVec({0, 0, -20}, camera.position);
    ExpectRotation(ra::QuatFromAxisAngle({0, 1, 0}, Quarter), camera.orientation);
    // The target, ten units ahead on z, turns a quarter about y with the camera.
    ExpectVec(ra::Vec3(0, 0, -20) + ra::Rotate(camera.orientation, {0, 0, 10}), camera.target);
    EXPECT_FLOAT_EQ(m_arm.Model().GetCCamera(0).fov, camera.fov);
}

TEST_F(PlayBlenderTest, BoxComesFromTheAnimationsOrTheMeshGroup)
{
    const ra::Matrix34 world = ra::MatrixFromQuatPos({}, {10, 0, 0});
    ra::BoundVolume box;
    m_blender.GetBV(box, world);
    ra::Vec3 minimum, maximum;
    box.GetMinMax(minimum, maximum);
    ExpectVec({9, -1, -1}, minimum);
    ExpectVec({13, 4, 1}, maximum);
    // An animation without a box: the group's box.
    Motion* pPlain = m_arm.PlainMotion("plain", 1.0f);
    Playing(pPlain);
    m_blender.GetBV(box, ra::Matrix34());
    box.GetMinMax(minimum, maximum);
    ExpectVec({-1, -1, -1}, minimum);
    ExpectVec({3, 4, 1}, maximum);
    EXPECT_FALSE(m_list.GetChanged());
    AnimListNode* pNode = m_arm.Add(ArmModel::MakeAnim("boxed", 1.0f));
    pNode->SetBV({-2, 0, 0}, {0, 2, 6});
    Playing(m_arm.MakeMotion("boxed", {pNode}));
    m_blender.SetScale(0.5f);
    m_blender.GetBV(box, world);
    box.GetMinMax(minimum, maximum);
    ExpectVec({9, 0, 0}, minimum);
    ExpectVec({10, 1, 3}, maximum);
}
