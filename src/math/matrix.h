// The 3x4 matrix of the model library: four rows of three floats, row 3 the translation. Points
// are row vectors: p' = p * M, so a product A * B applies A first, then B.
#pragma once

#include "math/vector.h"

namespace ra
{
struct Matrix34
{
    Vec3 r[4] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {0, 0, 0}};

    static constexpr Matrix34 Identity() { return Matrix34{}; }
    constexpr bool operator==(const Matrix34& o) const = default;

    Vec3& Translation() { return r[3]; }
    const Vec3& Translation() const { return r[3]; }

    // The twelve floats, row by row, as the files store them.
    const float* Data() const { return &r[0].x; }
    float* Data() { return &r[0].x; }
};
static_assert(sizeof(Matrix34) == 48);

// Rotation and translation: the matrix that rotates by q, then moves by t.
Matrix34 MatrixFromQuatPos(const Quat& q, const Vec3& t);
// The rotation of the upper 3x3 part; rows are normalised first, so scale does not leak in.
Quat QuatFromMatrix(const Matrix34& m);
// a applied first, then b.
Matrix34 operator*(const Matrix34& a, const Matrix34& b);
Vec3 TransformPoint(const Vec3& p, const Matrix34& m);
Vec3 TransformVector(const Vec3& v, const Matrix34& m);
// The inverse of an affine matrix; a singular one gives the identity.
Matrix34 Inverse(const Matrix34& m);
// The transform of an object at `position` that looks at `target`: row 2 points to the target,
// row 0 is perpendicular to it and to `up`, row 1 completes a right-handed frame, row 3 is the
// position. When `up` runs along the view the world's x or z axis stands in for it; a target on
// the position keeps the identity's rotation.
Matrix34 LookAt(const Vec3& position, const Vec3& target, const Vec3& up);

// An oriented box: centre, half extents along its axes ("scale"), and the rotation whose rows are
// the axes. This is the bound volume of meshes, groups and models.
struct OBB
{
    Vec3 centre;
    Vec3 scale;
    Vec3 rotation[3] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};

    constexpr bool operator==(const OBB& o) const = default;
    const Vec3& GetCentre() const { return centre; }
    const Vec3& GetScale() const { return scale; }
    // The axis-aligned box from its corners.
    static OBB FromMinMax(const Vec3& minimum, const Vec3& maximum);
};
static_assert(sizeof(OBB) == 60);

// A bound volume: an optional oriented box.
class BoundVolume
{
public:
    bool IsValid() const { return m_valid; }
    void Invalidate() { m_valid = false; }
    void SetOBB(const OBB& box)
    {
        m_obb = box;
        m_valid = true;
    }
    const OBB& GetOBB() const { return m_obb; }
    // Grows the volume (axis-aligned) to hold the points; an invalid volume starts from them.
    void AddPoints(const Vec3* points, size_t count);
    // Grows the volume (axis-aligned) to hold another volume's box.
    void Add(const BoundVolume& other);
    // The axis-aligned extent of the box's corners.
    void GetMinMax(Vec3& minimum, Vec3& maximum) const;

    bool operator==(const BoundVolume& o) const { return m_valid == o.m_valid && (!m_valid || m_obb == o.m_obb); }

private:
    OBB m_obb;
    bool m_valid = false;
};
} // namespace ra
