#include "math/matrix.h"

#include <algorithm>
#include <cfloat>
#include <cmath>

namespace ra
{
Matrix34 MatrixFromQuatPos(const Quat& q, const Vec3& t)
{
    // Row i is the image of axis i, so that p * M rotates p by q.
    Matrix34 m;
    m.r[0] = Rotate(q, {1, 0, 0});
    m.r[1] = Rotate(q, {0, 1, 0});
    m.r[2] = Rotate(q, {0, 0, 1});
    m.r[3] = t;
    return m;
}

Quat QuatFromMatrix(const Matrix34& src)
{
    const Vec3 a = Normalize(src.r[0]), b = Normalize(src.r[1]), c = Normalize(src.r[2]);
    // With rows as the images of the axes, element (i, j) is row i's component j; the rotation
    // matrix in column convention is the transpose.
    const float m00 = a.x, m01 = b.x, m02 = c.x;
    const float m10 = a.y, m11 = b.y, m12 = c.y;
    const float m20 = a.z, m21 = b.z, m22 = c.z;
    const float trace = m00 + m11 + m22;
    Quat q;
    if (trace > 0)
    {
        const float s = std::sqrt(trace + 1.0f) * 2.0f;
        q = {(m21 - m12) / s, (m02 - m20) / s, (m10 - m01) / s, 0.25f * s};
    }
    else if (m00 > m11 && m00 > m22)
    {
        const float s = std::sqrt(1.0f + m00 - m11 - m22) * 2.0f;
        q = {0.25f * s, (m01 + m10) / s, (m02 + m20) / s, (m21 - m12) / s};
    }
    else if (m11 > m22)
    {
        const float s = std::sqrt(1.0f + m11 - m00 - m22) * 2.0f;
        q = {(m01 + m10) / s, 0.25f * s, (m12 + m21) / s, (m02 - m20) / s};
    }
    else
    {
        const float s = std::sqrt(1.0f + m22 - m00 - m11) * 2.0f;
        q = {(m02 + m20) / s, (m12 + m21) / s, 0.25f * s, (m10 - m01) / s};
    }
    return Normalize(q);
}

Vec3 TransformVector(const Vec3& v, const Matrix34& m) { return m.r[0] * v.x + m.r[1] * v.y + m.r[2] * v.z; }
Vec3 TransformPoint(const Vec3& p, const Matrix34& m) { return TransformVector(p, m) + m.r[3]; }

Matrix34 operator*(const Matrix34& a, const Matrix34& b)
{
    Matrix34 out;
    for (int i = 0; i < 3; ++i)
        out.r[i] = TransformVector(a.r[i], b);
    out.r[3] = TransformPoint(a.r[3], b);
    return out;
}

Matrix34 Inverse(const Matrix34& m)
{
    const Vec3 &a = m.r[0], &b = m.r[1], &c = m.r[2];
    const Vec3 bc = Cross(b, c), ca = Cross(c, a), ab = Cross(a, b);
    const float det = Dot(a, bc);
    if (det == 0.0f)
        return Matrix34{};
    const float inv = 1.0f / det;
    // The inverse of the 3x3 part has the cross products as columns.
    Matrix34 out;
    out.r[0] = Vec3{bc.x, ca.x, ab.x} * inv;
    out.r[1] = Vec3{bc.y, ca.y, ab.y} * inv;
    out.r[2] = Vec3{bc.z, ca.z, ab.z} * inv;
    out.r[3] = -TransformVector(m.r[3], out);
    return out;
}

OBB OBB::FromMinMax(const Vec3& minimum, const Vec3& maximum)
{
    OBB box;
    box.centre = (minimum + maximum) * 0.5f;
    box.scale = (maximum - minimum) * 0.5f;
    return box;
}

void BoundVolume::GetMinMax(Vec3& minimum, Vec3& maximum) const
{
    // Project the box on each world axis: the extent is the sum of its half axes' components.
    Vec3 extent;
    for (int i = 0; i < 3; ++i)
    {
        const Vec3 axis = m_obb.rotation[i] * (i == 0 ? m_obb.scale.x : i == 1 ? m_obb.scale.y : m_obb.scale.z);
        extent += Vec3{std::fabs(axis.x), std::fabs(axis.y), std::fabs(axis.z)};
    }
    minimum = m_obb.centre - extent;
    maximum = m_obb.centre + extent;
}

void BoundVolume::AddPoints(const Vec3* points, size_t count)
{
    if (count == 0)
        return;
    Vec3 lo{FLT_MAX, FLT_MAX, FLT_MAX}, hi{-FLT_MAX, -FLT_MAX, -FLT_MAX};
    if (m_valid)
        GetMinMax(lo, hi);
    for (size_t i = 0; i < count; ++i)
    {
        lo = Min(lo, points[i]);
        hi = Max(hi, points[i]);
    }
    SetOBB(OBB::FromMinMax(lo, hi));
}

void BoundVolume::Add(const BoundVolume& other)
{
    if (!other.IsValid())
        return;
    Vec3 corners[2];
    other.GetMinMax(corners[0], corners[1]);
    AddPoints(corners, 2);
}

Matrix34 LookAt(const Vec3& position, const Vec3& target, const Vec3& up)
{
    Matrix34 m;
    m.r[3] = position;
    const Vec3 view = target - position;
    if (Dot(view, view) <= 0.0f)
        return m;
    const Vec3 z = Normalize(view);
    Vec3 x = Cross(up, z);
    // An up vector along the view gives no side: take a world axis that is not along it.
    if (Dot(x, x) < 1e-12f)
        x = Cross(std::fabs(z.x) < 0.9f ? Vec3{1, 0, 0} : Vec3{0, 0, 1}, z);
    x = Normalize(x);
    m.r[0] = x;
    m.r[1] = Cross(z, x);
    m.r[2] = z;
    return m;
}
} // namespace ra
