#include "render/core.h"

#include "foundation/debug.h"

namespace fr
{
void Object::Release()
{
    if (!dbAssert(m_refCount > 0))
        return;
    if (--m_refCount == 0)
        destroy();
}
} // namespace fr
