#include "render/matrix.h"

#include "foundation/output.h"

namespace fr
{
MatrixStack::MatrixStack()
{
    m_cEntry[0] = Matrix44::Identity();
}

bool MatrixStack::Push()
{
    return Push(m_cEntry[m_top]);
}

bool MatrixStack::Push(const Matrix44& matrix)
{
    if (m_top + 1 >= Depth)
    {
        dbWarningf("MATH -- Matrix stack overflow.");
        return false;
    }
    m_cEntry[++m_top] = matrix;
    return true;
}

bool MatrixStack::Pop()
{
    if (m_top == 0)
    {
        dbWarningf("MATH -- Matrix stack underflow.");
        return false;
    }
    --m_top;
    return true;
}
} // namespace fr
