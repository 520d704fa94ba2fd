// The 4 by 4 float matrix of the render layer (texture transforms, world matrices), row-major,
// row 3 the translation, and the fixed-depth matrix stack that draws push their transforms on.
#pragma once

#include "foundation/types.h"

#include <array>

namespace fr
{
struct Matrix44
{
    float m[4][4];

    static constexpr Matrix44 Identity()
    {
        return Matrix44{{{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}}};
    }
    // Element by element, as the files store them.
    friend bool operator==(const Matrix44& a, const Matrix44& b)
    {
        for (int r = 0; r < 4; ++r)
            for (int c = 0; c < 4; ++c)
                if (a.m[r][c] != b.m[r][c])
                    return false;
        return true;
    }
};
static_assert(sizeof(Matrix44) == 64);

// A stack that refuses to grow past its depth or to pop its last entry; either mistake is
// logged and leaves the stack as it was.
class MatrixStack
{
public:
    static constexpr uint32 Depth = 32;

    // Starts with the identity on top.
    MatrixStack();
    // Pushes a copy of the top; false on overflow.
    bool Push();
    // Pushes `matrix`; false on overflow.
    bool Push(const Matrix44& matrix);
    // False on underflow: the bottom entry stays.
    bool Pop();
    void Load(const Matrix44& matrix) { m_cEntry[m_top] = matrix; }
    const Matrix44& Top() const { return m_cEntry[m_top]; }
    // Entries above the bottom one.
    uint32 GetLevel() const { return m_top; }

private:
    std::array<Matrix44, Depth> m_cEntry;
    uint32 m_top = 0;
};
} // namespace fr
