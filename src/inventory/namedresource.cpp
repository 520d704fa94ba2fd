#include "inventory/namedresource.h"

#include "names/memorypool.h"

#include "foundation/debug.h"

namespace Inv
{
namespace
{
MemoryPool& NamePool()
{
    static MemoryPool& s_pool = MemoryPool::Get("InvNames");
    return s_pool;
}
} // namespace

NamedResource::NamedResource(const char* name) : m_pName(NamePool().StrDup(name)) {}

NamedResource::NamedResource(const NamedResource& rhs) : m_pName(NamePool().StrDup(rhs.m_pName)) {}

NamedResource& NamedResource::operator=(const NamedResource& rhs)
{
    if (this != &rhs)
        NamedResource::SetName(rhs.m_pName);
    return *this;
}

NamedResource::~NamedResource()
{
    dbAssert(!m_bInInventory);
    FreeName();
}

void NamedResource::SetName(const char* name)
{
    if (!dbAssert(!m_bInInventory))
        return;
    // The new copy first: the name given may be this object's own.
    char* pCopy = NamePool().StrDup(name);
    FreeName();
    m_pName = pCopy;
}

void NamedResource::FreeName()
{
    NamePool().Free(m_pName);
    m_pName = nullptr;
}
} // namespace Inv
