// The host's transform: four rows of three floats, row 3 the translation. Points are row vectors,
// p' = p * M, so A * B applies A first, then B.
#pragma once

#include "host/point3.h"

namespace host
{

class Matrix3
{
public:
    // The identity.
    Matrix3() = default;
    Matrix3(const Point3& r0, const Point3& r1, const Point3& r2, const Point3& r3) : m_row{r0, r1, r2, r3} {}

    void IdentityMatrix() { *this = Matrix3(); }
    bool IsIdentity() const { return *this == Matrix3(); }

    const Point3& GetRow(int i) const { return m_row[i]; }
    void SetRow(int i, const Point3& p) { m_row[i] = p; }
    // Column i across the four rows, the translation's part in w.
    Point4 GetColumn(int i) const { return {m_row[0][i], m_row[1][i], m_row[2][i], m_row[3][i]}; }
    void SetColumn(int i, const Point4& c);
    const Point3& GetTrans() const { return m_row[3]; }
    void SetTrans(const Point3& p) { m_row[3] = p; }

    // Normalises rows 0 to 2, which takes out scale and leaves rotation and translation.
    void NoScale();

    bool operator==(const Matrix3& o) const = default;

private:
    Point3 m_row[4] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {0, 0, 0}};
};

// a applied first, then b.
Matrix3 operator*(const Matrix3& a, const Matrix3& b);
// The point p transformed by m, translation included.
Point3 operator*(const Point3& p, const Matrix3& m);
// The direction v transformed by m, without translation.
Point3 VectorTransform(const Matrix3& m, const Point3& v);
// The inverse of an affine matrix; a singular one gives the identity.
Matrix3 Inverse(const Matrix3& m);
Matrix3 TransMatrix(const Point3& p);
Matrix3 ScaleMatrix(const Point3& s);
// Rotation about z by `angle` radians.
Matrix3 RotateZMatrix(float angle);
} // namespace host
