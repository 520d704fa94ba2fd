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
