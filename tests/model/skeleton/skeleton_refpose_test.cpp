// Skeleton: bones by index and name, parents, and the reference pose in model space worked out
// by hand for a three-bone chain.
#include "model/skeleton/skeleton.h"

#include "foundation/debug.h"
#include "model/mesh/mesh_test_util.h"

#include <gtest/gtest.h>

using model_test::BoneDesc;
using model_test::MakeSkeleton;
using model_test::MatrixNear;
using model_test::QuarterTurn;
using model_test::Rows;

namespace
{
// Root at (1, 0, 0) turned a quarter about z; arm at (0, 2, 0) below it; hand at (0, 0, 3),
// turned a quarter about x.
std::vector<BoneDesc> Chain()
{
    return {{"Root", -1, {1, 0, 0}, QuarterTurn({0, 0, 1})},
            {"Arm", 0, {0, 2, 0}, {}},
            {"Hand", 1, {0, 0, 3}, QuarterTurn({1, 0, 0})}};
}
} // namespace

TEST(SkeletonRefPose, WorldMatricesOfAChainMatchHandValues)
{
    const auto pSkeleton = MakeSkeleton(Chain());
    // A quarter turn about z takes x to y and y to -x.
    EXPECT_TRUE(MatrixNear(pSkeleton->GetBone(0)->GetWorldMatrix(),
                           Rows({0, 1, 0}, {-1, 0, 0}, {0, 0, 1}, {1, 0, 0})));
    // (0, 2, 0) through the root: 2 * (-1, 0, 0) + (1, 0, 0).
    EXPECT_TRUE(MatrixNear(pSkeleton->GetBone(1)->GetWorldMatrix(),
                           Rows({0, 1, 0}, {-1, 0, 0}, {0, 0, 1}, {-1, 0, 0})));
    // The hand's axes x, z, -y through the arm's rotation; (0, 0, 3) stays on z.
    EXPECT_TRUE(MatrixNear(pSkeleton->GetBone(2)->GetWorldMatrix(),
                           Rows({0, 1, 0}, {0, 0, 1}, {1, 0, 0}, {-1, 0, 3})));
}

TEST(SkeletonRefPose, LocalValuesComeBackFromWorldMatrices)
{
    const auto pSource = MakeSkeleton(Chain());
    Skeleton copy(3);
    for (int32 i = 0; i < 3; ++i)
    {
        copy.GetBone(i)->SetWorldMatrix(pSource->GetBone(i)->GetWorldMatrix());
        copy.SetBoneParent(i, pSource->GetBone(i)->GetParentIndex());
    }
    copy.BuildLocalFromWorld();
    for (int32 i = 0; i < 3; ++i)
    {
        const Bone* pExpected = pSource->GetBone(i);
        const Bone* pBone = copy.GetBone(i);
        EXPECT_NEAR((pBone->GetPosition() - pExpected->GetPosition()).Length(), 0, 1e-5) << i;
        // A rotation and its negation are the same turn.
        EXPECT_NEAR(std::fabs(ra::Dot(pBone->GetRotation(), pExpected->GetRotation())), 1, 1e-5) << i;
    }
    copy.BuildRefPose();
    for (int32 i = 0; i < 3; ++i)
        EXPECT_TRUE(MatrixNear(copy.GetBone(i)->GetWorldMatrix(), pSource->GetBone(i)->GetWorldMatrix()))
            << i;
}
