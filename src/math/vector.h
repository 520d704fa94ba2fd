// Vectors and quaternions of the model library: plain float records in the layout the files store
// (vec3: x, y, z; quat: x, y, z, w), with the few operations the model code needs.
#pragma once

#include <cmath>

namespace ra
{
struct Vec3
{
    float x = 0, y = 0, z = 0;

    constexpr Vec3() = default;
    constexpr Vec3(float x_, float y_, float z_) : x(x_), y(y_), z(z_) {}

    constexpr Vec3 operator+(const Vec3& o) const { return {x + o.x, y + o.y, z + o.z}; }
    constexpr Vec3 operator-(const Vec3& o) const { return {x - o.x, y - o.y, z - o.z}; }
    constexpr Vec3 operator-() const { return {-x, -y, -z}; }
    constexpr Vec3 operator*(float s) const { return {x * s, y * s, z * s}; }
    Vec3& operator+=(const Vec3& o) { return *this = *this + o; }
    Vec3& operator-=(const Vec3& o) { return *this = *this - o; }
    Vec3& operator*=(float s) { return *this = *this * s; }
    constexpr bool operator==(const Vec3& o) const = default;

    float Length() const { return std::sqrt(x * x + y * y + z * z); }
    float LengthSquared() const { return x * x + y * y + z * z; }
};
static_assert(sizeof(Vec3) == 12);

constexpr float Dot(const Vec3& a, const Vec3& b) { return a.x * b.x + a.y * b.y + a.z * b.z; }
constexpr Vec3 Cross(const Vec3& a, const Vec3& b)
{
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}
// The unit vector along v; a zero vector stays zero.
Vec3 Normalize(const Vec3& v);
Vec3 Min(const Vec3& a, const Vec3& b);
Vec3 Max(const Vec3& a, const Vec3& b);

// A rotation as a unit quaternion. The identity is (0, 0, 0, 1).
struct Quat
{
    float x = 0, y = 0, z = 0, w = 1;

    constexpr Quat() = default;
    constexpr Quat(float x_, float y_, float z_, float w_) : x(x_), y(y_), z(z_), w(w_) {}
    constexpr bool operator==(const Quat& o) const = default;
    constexpr Quat operator-() const { return {-x, -y, -z, -w}; }
};
static_assert(sizeof(Quat) == 16);

constexpr float Dot(const Quat& a, const Quat& b) { return a.x * b.x + a.y * b.y + a.z * b.z + a.w * b.w; }
Quat Normalize(const Quat& q);
// The rotation a then b (applied to a row vector: first a, then b).
Quat Concatenate(const Quat& a, const Quat& b);
Quat Conjugate(const Quat& q);
// The rotation of `angle` radians about the unit `axis`.
Quat QuatFromAxisAngle(const Vec3& axis, float angle);
// v rotated by q.
Vec3 Rotate(const Quat& q, const Vec3& v);
} // namespace ra
