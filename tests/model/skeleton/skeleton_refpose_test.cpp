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

TEST(SkeletonRefPose, InverseWorldTakesModelSpaceIntoBoneSpace)
{
    const auto pSkeleton = MakeSkeleton(Chain());
    for (int32 i = 0; i < pSkeleton->GetBoneCount(); ++i)
    {
        const Bone* pBone = pSkeleton->GetBone(i);
        EXPECT_TRUE(
            MatrixNear(pBone->GetWorldMatrix() * pBone->GetInvWorldMatrix(), ra::Matrix34::Identity()))
            << i;
    }
    // The hand's origin in model space is (-1, 0, 3); one unit along its x axis lies at (-1, 1, 3).
    const ra::Matrix34& inverse = pSkeleton->GetBone(2)->GetInvWorldMatrix();
    const ra::Vec3 p = ra::TransformPoint({-1, 1, 3}, inverse);
    EXPECT_NEAR(p.x, 1, 1e-5);
    EXPECT_NEAR(p.y, 0, 1e-5);
    EXPECT_NEAR(p.z, 0, 1e-5);
}

TEST(SkeletonRefPose, ChildBeforeParentReadsTheParentAsItStands)
{
    // Bone 0's parent is bone 1, which has not been posed when bone 0 is: bone 0 keeps its local
    // matrix, with no message.
    const auto pSkeleton = MakeSkeleton({{"child", 1, {0, 1, 0}, {}}, {"parent", -1, {5, 0, 0}, {}}});
    EXPECT_TRUE(MatrixNear(pSkeleton->GetBone(0)->GetWorldMatrix(), model_test::Translation(0, 1, 0)));
    EXPECT_TRUE(MatrixNear(pSkeleton->GetBone(1)->GetWorldMatrix(), model_test::Translation(5, 0, 0)));
    // A second build sees the parent posed by the first.
    pSkeleton->BuildRefPose();
    EXPECT_TRUE(MatrixNear(pSkeleton->GetBone(0)->GetWorldMatrix(), model_test::Translation(5, 1, 0)));
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

TEST(Skeleton, FindBoneByNameInAnyCase)
{
    const auto pSkeleton = MakeSkeleton(Chain());
    EXPECT_EQ(pSkeleton->FindBone(ra::MakeName("hand")), 2);
    EXPECT_EQ(pSkeleton->FindBone(ra::MakeName("ROOT")), 0);
    EXPECT_EQ(pSkeleton->FindBone(ra::MakeName("Foot")), Bone::InvalidIndex);
    EXPECT_EQ(pSkeleton->FindBone(ra::Name::INVALID), Bone::InvalidIndex);
}

TEST(Skeleton, BadIndexGivesBoneZeroBehindTheAssertion)
{
    const auto pSkeleton = MakeSkeleton(Chain());
    {
        dbg::ScopedThrowOnAssert throwing;
        EXPECT_THROW(pSkeleton->GetBone(3), std::runtime_error);
        EXPECT_THROW(pSkeleton->GetBone(0)->SetName(ra::Name::INVALID), std::runtime_error);
    }
    dbg::ScopedThrowOnAssert quiet(false);
    EXPECT_EQ(pSkeleton->GetBone(Bone::InvalidIndex), pSkeleton->GetBone(0));
    EXPECT_EQ(pSkeleton->GetBone(1)->GetParent(), pSkeleton->GetBone(0));
}
