#include "math/matrix.h"

#include <gtest/gtest.h>

#include <numbers>

using namespace ra;

namespace
{
void ExpectNear(const Vec3& a, const Vec3& b, float eps = 1e-5f)
{
    EXPECT_NEAR(a.x, b.x, eps);
    EXPECT_NEAR(a.y, b.y, eps);
    EXPECT_NEAR(a.z, b.z, eps);
}
constexpr float kHalfPi = std::numbers::pi_v<float> / 2;
} // namespace

TEST(Quat, QuarterTurnAboutZTakesXToY)
{
    const Quat q = QuatFromAxisAngle({0, 0, 1}, kHalfPi);
    ExpectNear(Rotate(q, {1, 0, 0}), {0, 1, 0});
}

TEST(Quat, ConcatenateAppliesTheFirstRotationFirst)
{
    const Quat aboutZ = QuatFromAxisAngle({0, 0, 1}, kHalfPi);
    const Quat aboutX = QuatFromAxisAngle({1, 0, 0}, kHalfPi);
    // x -> y (about z), then y -> z (about x).
    ExpectNear(Rotate(Concatenate(aboutZ, aboutX), {1, 0, 0}), {0, 0, 1});
}

TEST(Matrix34, RowVectorsAreTransformedRotationThenTranslation)
{
    const Matrix34 m = MatrixFromQuatPos(QuatFromAxisAngle({0, 0, 1}, kHalfPi), {10, 0, 0});
    ExpectNear(TransformPoint({1, 0, 0}, m), {10, 1, 0});
    ExpectNear(TransformVector({1, 0, 0}, m), {0, 1, 0});
}

TEST(Matrix34, ProductAppliesLeftFirstAndInverseUndoesIt)
{
    const Matrix34 a = MatrixFromQuatPos(QuatFromAxisAngle({0, 0, 1}, kHalfPi), {1, 2, 3});
    const Matrix34 b = MatrixFromQuatPos(QuatFromAxisAngle({1, 0, 0}, 0.3f), {-4, 0, 5});
    const Vec3 p{0.5f, -1, 2};
    ExpectNear(TransformPoint(p, a * b), TransformPoint(TransformPoint(p, a), b));
    ExpectNear(TransformPoint(TransformPoint(p, a), Inverse(a)), p);
}

TEST(Matrix34, QuaternionSurvivesTheTripThroughAMatrix)
{
    const Quat q = Normalize(Quat{0.1f, -0.7f, 0.3f, 0.6f});
    const Quat back = QuatFromMatrix(MatrixFromQuatPos(q, {}));
    // q and -q are the same rotation.
    EXPECT_NEAR(std::fabs(Dot(q, back)), 1.0f, 1e-5f);
}

TEST(BoundVolume, GrowsToHoldPointsAndOtherVolumes)
{
    BoundVolume bv;
    EXPECT_FALSE(bv.IsValid());
    const Vec3 pts[] = {{-1, 0, 2}, {3, 4, -2}};
    bv.AddPoints(pts, 2);
    ASSERT_TRUE(bv.IsValid());
    ExpectNear(bv.GetOBB().centre, {1, 2, 0});
    ExpectNear(bv.GetOBB().scale, {2, 2, 2});

    BoundVolume other;
    const Vec3 far[] = {{10, 10, 10}};
    other.AddPoints(far, 1);
    bv.Add(other);
    Vec3 lo, hi;
    bv.GetMinMax(lo, hi);
    ExpectNear(lo, {-1, 0, -2});
    ExpectNear(hi, {10, 10, 10});
}

TEST(LookAt, RowTwoPointsAtTheTargetAndTheFrameIsRightHanded)
{
    const ra::Matrix34 m = ra::LookAt({1, 2, 3}, {1, 2, 13}, {0, 1, 0});
    EXPECT_EQ(m.r[3], (ra::Vec3{1, 2, 3}));
    EXPECT_NEAR(m.r[2].z, 1.0f, 1e-6f);
    // Up (0,1,0) crossed with the view (0,0,1) is +x; row 1 comes back as the up vector.
    EXPECT_NEAR(m.r[0].x, 1.0f, 1e-6f);
    EXPECT_NEAR(m.r[1].y, 1.0f, 1e-6f);
    const ra::Vec3 c = ra::Cross(m.r[0], m.r[1]);
    EXPECT_NEAR(ra::Dot(c, m.r[2]), 1.0f, 1e-6f);
}

TEST(LookAt, UpAlongTheViewStillGivesAnOrthonormalFrame)
{
    const ra::Matrix34 m = ra::LookAt({0, 0, 0}, {0, 5, 0}, {0, 1, 0});
    EXPECT_NEAR(m.r[2].y, 1.0f, 1e-6f);
    for (int i = 0; i < 3; ++i)
        EXPECT_NEAR(ra::Dot(m.r[i], m.r[i]), 1.0f, 1e-5f);
    EXPECT_NEAR(ra::Dot(m.r[0], m.r[1]), 0.0f, 1e-6f);
    EXPECT_NEAR(ra::Dot(m.r[0], m.r[2]), 0.0f, 1e-6f);
    // A target on the position keeps the identity rotation.
    const ra::Matrix34 same = ra::LookAt({4, 4, 4}, {4, 4, 4}, {0, 1, 0});
    EXPECT_EQ(same.r[0], (ra::Vec3{1, 0, 0}));
}
