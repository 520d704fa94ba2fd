#include "host/matrix3.h"

#include <cmath>

namespace host
{

void Matrix3::SetColumn(int i, const Point4& c)
{
    m_row[0][i] = c.x;
    m_row[1][i] = c.y;
    m_row[2][i] = c.z;
    m_row[3][i] = c.w;
}

void Matrix3::NoScale()
{
    for (int i = 0; i < 3; ++i)
        m_row[i] = Normalize(m_row[i]);
}

Matrix3 operator*(const Matrix3& a, const Matrix3& b)
{
    Matrix3 r;
    for (int i = 0; i < 3; ++i)
        r.SetRow(i, VectorTransform(b, a.GetRow(i)));
    r.SetRow(3, a.GetRow(3) * b);
    return r;
}

Point3 VectorTransform(const Matrix3& m, const Point3& v)
{
    return m.GetRow(0) * v.x + m.GetRow(1) * v.y + m.GetRow(2) * v.z;
}

Point3 operator*(const Point3& p, const Matrix3& m)
{
    return VectorTransform(m, p) + m.GetRow(3);
}

Matrix3 Inverse(const Matrix3& m)
{
    const Point3& a = m.GetRow(0);
    const Point3& b = m.GetRow(1);
    const Point3& c = m.GetRow(2);
    const float det = DotProd(a, CrossProd(b, c));
    if (det == 0.0f || !std::isfinite(det))
        return Matrix3();
    // Rows of the inverse's 3x3 part are the columns of the adjugate over the determinant.
    const Point3 ca = CrossProd(b, c) / det;
    const Point3 cb = CrossProd(c, a) / det;
    const Point3 cc = CrossProd(a, b) / det;
    Matrix3 r(Point3(ca.x, cb.x, cc.x), Point3(ca.y, cb.y, cc.y), Point3(ca.z, cb.z, cc.z), Point3());
    r.SetRow(3, -VectorTransform(r, m.GetRow(3)));
    return r;
}

Matrix3 TransMatrix(const Point3& p)
{
    Matrix3 r;
    r.SetRow(3, p);
    return r;
}

Matrix3 ScaleMatrix(const Point3& s)
{
    return Matrix3(Point3(s.x, 0, 0), Point3(0, s.y, 0), Point3(0, 0, s.z), Point3());
}

Matrix3 RotateZMatrix(float angle)
{
    const float c = std::cos(angle);
    const float s = std::sin(angle);
    return Matrix3(Point3(c, s, 0), Point3(-s, c, 0), Point3(0, 0, 1), Point3());
}
} // namespace host
