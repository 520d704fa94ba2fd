#include "inventory/resource.h"

#include "inventory/leakreport.h"

#include "names/memorypool.h"

#include "foundation/debug.h"

#include <utility>

namespace Inv
{
namespace
{
bool s_bLeakTracking = false;

MemoryPool& ResourcePool()
{
    static MemoryPool& s_pool = MemoryPool::Get("InvResources");
    return s_pool;
}
} // namespace

bool IsLeakTrackingOn()
{
    return s_bLeakTracking;
}

void SetLeakTracking(bool on)
{
    s_bLeakTracking = on;
}

void* Resource::operator new(size_t size)
{
    return ResourcePool().Alloc(size);
}

void Resource::operator delete(void* p)
{
    ResourcePool().Free(p);
}

Resource::~Resource()
{
    dbAssert(m_pData == NULL);
    if (IsLeakTrackingOn() && m_RefCount != 0)
        WriteLeakReport(m_pDebugName, m_cLeak);
    else
        dbAssert(m_RefCount == 0);
}

void Resource::AddRef(const void* tag)
{
    ++m_RefCount;
    // Leave out this frame: the record starts at the code that took the reference.
    if (IsLeakTrackingOn())
        m_cLeak.push_back({tag, dbg::CaptureCallStack(1)});
}

void Resource::Release(const void* tag)
{
    if (!dbAssert(m_RefCount != 0))
        return;
    --m_RefCount;
    if (!IsLeakTrackingOn())
        return;
    for (size_t i = 0; i < m_cLeak.size(); ++i)
    {
        if (m_cLeak[i].tag == tag)
        {
            // Order does not matter: the last record takes the freed place.
            if (i + 1 != m_cLeak.size())
                m_cLeak[i] = std::move(m_cLeak.back());
            m_cLeak.pop_back();
            return;
        }
    }
    dbBreakMsg("leak record of the released reference not found");
}
} // namespace Inv
