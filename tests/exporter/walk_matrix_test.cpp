// The converter from host axes to game axes: hand-worked matrices, scale kept or dropped, and a
// mirrored transform that comes out right-handed.
#include "exporter/sgmutil.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

namespace
{
void ExpectNear(const ra::Matrix34& actual, const ra::Matrix34& expected)
{
    for (int row = 0; row < 4; ++row)
    {
        EXPECT_NEAR(actual.r[row].x, expected.r[row].x, 1e-5f) << "row " << row;
        EXPECT_NEAR(actual.r[row].y, expected.r[row].y, 1e-5f) << "row " << row;
        EXPECT_NEAR(actual.r[row].z, expected.r[row].z, 1e-5f) << "row " << row;
    }
}

float Determinant(const ra::Matrix34& m)
{
    return ra::Dot(m.r[0], ra::Cross(m.r[1], m.r[2]));
}

// The host frame of the identity in game axes: rows (-x, z, -y), row 0 rebuilt from rows 1 and 2.
const ra::Matrix34 IdentityInGame{{{1, 0, 0}, {0, 0, -1}, {0, 1, 0}, {0, 0, 0}}};
} // namespace

TEST(ConvertMatrix, RotationAboutUpAxisWorkedByHand)
{
    host::Matrix3 tm = host::RotateZMatrix(std::numbers::pi_v<float> / 2);
    tm.SetTrans({1, 2, 3});
    // Rows (0,1,0), (-1,0,0), (0,0,1) become (0,0,-1), (1,0,0), (0,1,0); row 0 is then rebuilt as
    // (1,0,0) x (0,1,0) = (0,0,1); the translation (1,2,3) becomes (-1,3,-2).
    ra::Matrix34 out;
    ConvertMatrix(out, tm);
    ExpectNear(out, ra::Matrix34{{{0, 0, 1}, {1, 0, 0}, {0, 1, 0}, {-1, 3, -2}}});
}

TEST(ConvertMatrix, MirroredTransformComesOutUnmirrored)
{
    const host::Matrix3 mirrored({-1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {0, 0, 0});
    ra::Matrix34 out;
    ConvertMatrix(out, mirrored);
    ExpectNear(out, IdentityInGame);
    EXPECT_NEAR(Determinant(out), 1.0f, 1e-5f);
}

TEST(ConvertMatrix, ScaleIsDroppedOrKeptPerRow)
{
    const host::Matrix3 scaled({2, 0, 0}, {0, 3, 0}, {0, 0, 4}, {5, 6, 7});
    ra::Matrix34 out;
    ConvertMatrix(out, scaled);
    ra::Matrix34 expected = IdentityInGame;
    expected.r[3] = {-5, 7, -6};
    ExpectNear(out, expected);

    ConvertMatrixKeepScale(out, scaled);
    ExpectNear(out, ra::Matrix34{{{2, 0, 0}, {0, 0, -3}, {0, 4, 0}, {-5, 7, -6}}});
}

TEST(ConvertMatrix, SkewedInputGivesAnOrthogonalRightHandedFrameAlongItsZRow)
{
    const host::Matrix3 skewed({1, 0.5f, 0}, {0.2f, 1, 0.3f}, {0, -0.4f, 2}, {1, 1, 1});
    ra::Matrix34 out;
    ConvertMatrix(out, skewed);
    for (int i = 0; i < 3; ++i)
        EXPECT_NEAR(ra::Dot(out.r[i], out.r[(i + 1) % 3]), 0.0f, 1e-5f);
    EXPECT_GT(Determinant(out), 0.0f);
    // Row 2 keeps the direction of the converted z row: (0,-0.4,2) becomes (0,2,0.4).
    const ra::Vec3 z = ra::Normalize(ra::Vec3(0, 2, 0.4f));
    EXPECT_NEAR(ra::Dot(ra::Normalize(out.r[2]), z), 1.0f, 1e-5f);
    EXPECT_EQ(out.r[3], ra::Vec3(-1, 1, -1));
}
