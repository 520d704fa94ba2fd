#include "math/vector.h"

#include <algorithm>

namespace ra
{
Vec3 Normalize(const Vec3& v)
{
    const float len = v.Length();
    return len > 0 ? v * (1.0f / len) : v;
}

Vec3 Min(const Vec3& a, const Vec3& b) { return {std::min(a.x, b.x), std::min(a.y, b.y), std::min(a.z, b.z)}; }
Vec3 Max(const Vec3& a, const Vec3& b) { return {std::max(a.x, b.x), std::max(a.y, b.y), std::max(a.z, b.z)}; }

Quat Normalize(const Quat& q)
{
    const float len = std::sqrt(Dot(q, q));
    if (len <= 0)
        return Quat{};
    const float s = 1.0f / len;
    return {q.x * s, q.y * s, q.z * s, q.w * s};
}

// Hamilton product b * a: with row vectors, rotating by a then by b.
Quat Concatenate(const Quat& a, const Quat& b)
{
    return {b.w * a.x + b.x * a.w + b.y * a.z - b.z * a.y, b.w * a.y - b.x * a.z + b.y * a.w + b.z * a.x,
            b.w * a.z + b.x * a.y - b.y * a.x + b.z * a.w, b.w * a.w - b.x * a.x - b.y * a.y - b.z * a.z};
}

Quat Conjugate(const Quat& q) { return {-q.x, -q.y, -q.z, q.w}; }

Quat QuatFromAxisAngle(const Vec3& axis, float angle)
{
    const float s = std::sin(angle * 0.5f);
    return {axis.x * s, axis.y * s, axis.z * s, std::cos(angle * 0.5f)};
}

Vec3 Rotate(const Quat& q, const Vec3& v)
{
    // v + 2w(u x v) + 2u x (u x v), with u the vector part.
    const Vec3 u{q.x, q.y, q.z};
    const Vec3 t = Cross(u, v) * 2.0f;
    return v + t * q.w + Cross(u, t);
}
} // namespace ra
