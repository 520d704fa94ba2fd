// The host's points: Point2 for screen and texture positions, Point3 for positions and vectors,
// Point4 for a matrix column.
#pragma once

#include <cmath>

namespace host
{

class Point2
{
public:
    float x = 0, y = 0;
    constexpr Point2() = default;
    constexpr Point2(float x_, float y_) : x(x_), y(y_) {}
    constexpr bool operator==(const Point2& o) const = default;
};

class Point3
{
public:
    float x = 0, y = 0, z = 0;
    constexpr Point3() = default;
    constexpr Point3(float x_, float y_, float z_) : x(x_), y(y_), z(z_) {}

    constexpr float operator[](int i) const { return i == 0 ? x : i == 1 ? y : z; }
    float& operator[](int i) { return i == 0 ? x : i == 1 ? y : z; }
    constexpr Point3 operator+(const Point3& o) const { return {x + o.x, y + o.y, z + o.z}; }
    constexpr Point3 operator-(const Point3& o) const { return {x - o.x, y - o.y, z - o.z}; }
    constexpr Point3 operator-() const { return {-x, -y, -z}; }
    constexpr Point3 operator*(float s) const { return {x * s, y * s, z * s}; }
    constexpr Point3 operator/(float s) const { return {x / s, y / s, z / s}; }
    Point3& operator+=(const Point3& o) { return *this = *this + o; }
    constexpr bool operator==(const Point3& o) const = default;

    float Length() const { return std::sqrt(x * x + y * y + z * z); }
    constexpr float LengthSquared() const { return x * x + y * y + z * z; }
};

constexpr float DotProd(const Point3& a, const Point3& b)
{
    return a.x * b.x + a.y * b.y + a.z * b.z;
}
constexpr Point3 CrossProd(const Point3& a, const Point3& b)
{
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}
inline float Length(const Point3& p)
{
    return p.Length();
}
// The unit vector along p; a zero vector stays zero.
inline Point3 Normalize(const Point3& p)
{
    const float l = p.Length();
    return l > 0.0f ? p / l : p;
}

class Point4
{
public:
    float x = 0, y = 0, z = 0, w = 0;
    constexpr Point4() = default;
    constexpr Point4(float x_, float y_, float z_, float w_) : x(x_), y(y_), z(z_), w(w_) {}
    constexpr bool operator==(const Point4& o) const = default;
};
} // namespace host
