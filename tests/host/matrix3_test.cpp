// The host's transforms: row vectors, composition order, inverse, scale removal, rows and columns.
#include "host/matrix3.h"

#include <gtest/gtest.h>

using namespace host;

namespace
{
void ExpectNear(const Point3& a, const Point3& b)
{
    EXPECT_NEAR(a.x, b.x, 1e-5f);
    EXPECT_NEAR(a.y, b.y, 1e-5f);
    EXPECT_NEAR(a.z, b.z, 1e-5f);
}
} // namespace

TEST(Matrix3, ProductAppliesLeftFirst)
{
    // Rotate a quarter turn about z, then move along x: (1,0,0) -> (0,1,0) -> (10,1,0).
    const Matrix3 rotate = RotateZMatrix(1.5707964f);
    const Matrix3 move = TransMatrix(Point3(10, 0, 0));
    ExpectNear(Point3(1, 0, 0) * (rotate * move), Point3(10, 1, 0));
    // The other order moves first: (11,0,0) turned is (0,11,0).
    ExpectNear(Point3(1, 0, 0) * (move * rotate), Point3(0, 11, 0));
    // Directions ignore the translation.
    ExpectNear(VectorTransform(rotate * move, Point3(1, 0, 0)), Point3(0, 1, 0));
}

TEST(Matrix3, InverseUndoesAffineTransformsAndRefusesSingular)
{
    const Matrix3 m = ScaleMatrix(Point3(2, 3, -1)) * RotateZMatrix(0.3f) * TransMatrix(Point3(4, -5, 6));
    const Point3 p(1.5f, -2, 7);
    ExpectNear(p * m * Inverse(m), p);
    const Matrix3 identity = m * Inverse(m);
    for (int i = 0; i < 4; ++i)
        ExpectNear(identity.GetRow(i), Matrix3().GetRow(i));
    // A flat matrix has no inverse and gives the identity.
    EXPECT_EQ(Inverse(ScaleMatrix(Point3(1, 0, 1))), Matrix3());
}

TEST(Matrix3, NoScaleKeepsRotationAndTranslation)
{
    Matrix3 m = ScaleMatrix(Point3(2, 4, 0.5f)) * RotateZMatrix(0.5f) * TransMatrix(Point3(1, 2, 3));
    m.NoScale();
    const Matrix3 expected = RotateZMatrix(0.5f) * TransMatrix(Point3(1, 2, 3));
    for (int i = 0; i < 4; ++i)
        ExpectNear(m.GetRow(i), expected.GetRow(i));
}

TEST(Matrix3, RowsAndColumns)
{
    Matrix3 m(Point3(1, 2, 3), Point3(4, 5, 6), Point3(7, 8, 9), Point3(10, 11, 12));
    EXPECT_EQ(m.GetColumn(1), Point4(2, 5, 8, 11));
    EXPECT_EQ(m.GetTrans(), Point3(10, 11, 12));
    m.SetColumn(2, Point4(-1, -2, -3, -4));
    EXPECT_EQ(m.GetRow(0), Point3(1, 2, -1));
    EXPECT_EQ(m.GetRow(3), Point3(10, 11, -4));
    m.SetRow(1, Point3(0, 0, 0));
    EXPECT_EQ(m.GetColumn(0), Point4(1, 0, 7, 10));
    EXPECT_FLOAT_EQ(DotProd(CrossProd(Point3(1, 0, 0), Point3(0, 1, 0)), Point3(0, 0, 1)), 1.0f);
}
