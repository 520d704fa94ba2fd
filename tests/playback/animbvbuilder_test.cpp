// The bound volume of an animation: the posed boxes of the visible meshes over the sampled frames,
// a zero box when nothing shows, and the builder reached through the model library's hook.
#include "playback/animbvbuilder.h"

#include "model/anim/animlistnode_bv.h"
#include "playback/playback_test_util.h"

#include <gtest/gtest.h>

#include <numbers>

using namespace playback_test;

namespace
{
constexpr float Quarter = std::numbers::pi_v<float> / 2.0f;

ControlInfo Visibility()
{
    return ArmModel::Info(ControlInfo::Target_Mesh, ControlInfo::Parameter_Visibility);
}

// The shoulder turns a quarter about z over the animation; `boxShown` and `flagShown` are the
// visibility of the two meshes.
std::unique_ptr<Anim> Swing(int32 frames, float boxShown, float flagShown)
{
    auto pAnim = ArmModel::MakeAnim("swing", 1.0f, frames);
    ArmModel::Rotations(*pAnim, 0, {{0.0f, ra::Quat()}, {1.0f, TurnZ(Quarter)}});
    ArmModel::Control(*pAnim, "box", Visibility(), boxShown, boxShown);
    ArmModel::Control(*pAnim, "flag", Visibility(), flagShown, flagShown);
    return pAnim;
}
} // namespace

class AnimBVBuilderTest : public ::testing::Test
{
protected:
    ~AnimBVBuilderTest() override { AnimListNodeBV::SetBuilder(nullptr); }
    Env m_env;
    ArmModel m_arm;
};

TEST_F(AnimBVBuilderTest, BoxHoldsEveryPosedCornerOfEverySampledFrame)
{
    AnimListNode* pNode = m_arm.Add(Swing(3, 1.0f, 0.0f));
    ASSERT_TRUE(AnimBVBuilder::Build(m_arm.Model(), *pNode));
    ra::Vec3 minimum, maximum;
    ASSERT_TRUE(pNode->GetBV(minimum, maximum));
    // Frames at 0, 1/4 and 2/4 of the length: the box mesh (1.5 to 2.5 on x, half 0.5 on y and
    // z) turned about the shoulder by 0, 1/4 and 1/2 of a quarter turn.
    ra::Vec3 expectedMin(1e9f, 1e9f, 1e9f), expectedMax(-1e9f, -1e9f, -1e9f);
    for (float angle : {0.0f, Quarter / 4.0f, Quarter / 2.0f})
        for (float x : {1.5f, 2.5f})
            for (float y : {-0.5f, 0.5f})
                for (float z : {-0.5f, 0.5f})
                {
                    const ra::Vec3 corner = ra::Rotate(TurnZ(angle), {x, y, z});
                    expectedMin = ra::Min(expectedMin, corner);
                    expectedMax = ra::Max(expectedMax, corner);
                }
    ExpectVec(expectedMin, minimum);
    ExpectVec(expectedMax, maximum);
    // The end of the swing is not sampled: the box stops short of the upright arm.
    EXPECT_LT(maximum.y, 2.2f);
    // The hidden flag mesh at (0, 3, 0) is not in it.
    EXPECT_LT(maximum.y, 2.5f);
}

TEST_F(AnimBVBuilderTest, NothingShownGivesAZeroBox)
{
    AnimListNode* pNode = m_arm.Add(Swing(4, 0.0f, 0.0f));
    ASSERT_TRUE(AnimBVBuilder::Build(m_arm.Model(), *pNode));
    ra::Vec3 minimum(1, 1, 1), maximum(1, 1, 1);
    ASSERT_TRUE(pNode->GetBV(minimum, maximum));
    ExpectVec({0, 0, 0}, minimum);
    ExpectVec({0, 0, 0}, maximum);
    // A mesh on no bone stays where it is.
    AnimListNode* pFlag = m_arm.Add(Swing(4, 0.0f, 1.0f));
    ASSERT_TRUE(AnimBVBuilder::Build(m_arm.Model(), *pFlag));
    ASSERT_TRUE(pFlag->GetBV(minimum, maximum));
    ExpectVec({-0.5f, 2.5f, -0.5f}, minimum);
    ExpectVec({0.5f, 3.5f, 0.5f}, maximum);
}

TEST_F(AnimBVBuilderTest, ModelLibraryReachesTheBuilderOnceRegistered)
{
    AnimListNode* pNode = m_arm.Add(Swing(3, 1.0f, 0.0f));
    AnimListNodeBV::SetBuilder(nullptr);
    EXPECT_FALSE(AnimListNodeBV::Build(m_arm.Model(), *pNode));
    EXPECT_FALSE(pNode->HasBV());
    AnimBVBuilder::Register();
    EXPECT_TRUE(AnimListNodeBV::Build(m_arm.Model(), *pNode));
    EXPECT_TRUE(pNode->HasBV());
    // An animation added to the list without a box gets one when the list is asked for it.
    AnimListNode* pAdded = m_arm.Add(Swing(3, 1.0f, 0.0f), true);
    EXPECT_TRUE(pAdded->HasBV()) << "AnimList::AddAnim(node, true) did not build the missing box";
}

TEST_F(AnimBVBuilderTest, AModelOfAnimationAloneHasNothingToBound)
{
    // What an export without meshes writes: animation, and no mesh group to pose.
    RenderModel bare("bare");
    auto pNode = std::make_unique<AnimListNode>(2, 0, 0);
    pNode->SetAnim(Anim::AddToInventory(Swing(3, 1.0f, 0.0f)));
    dbg::ScopedThrowOnAssert throwOnAssert;
    EXPECT_FALSE(AnimBVBuilder::Build(bare, *pNode));
    EXPECT_FALSE(pNode->HasBV());
}
