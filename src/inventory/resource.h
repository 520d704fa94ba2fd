// The record that counted references point at: one per resource in the inventory, holding the
// data, the count and, while leak tracking is on, the call stack of every live reference.
#pragma once

#include "inventory/namedresource.h"

#include "foundation/callstack.h"
#include "foundation/types.h"

#include <cstddef>
#include <vector>

namespace Inv
{
class NonCopyable
{
protected:
    NonCopyable() = default;
    ~NonCopyable() = default;

public:
    NonCopyable(const NonCopyable&) = delete;
    NonCopyable& operator=(const NonCopyable&) = delete;
};

// Leak tracking ("invleaks"): references record where they were taken, and a resource that dies
// still referenced writes them to the leak report.
bool IsLeakTrackingOn();
void SetLeakTracking(bool on);

class Resource : private NonCopyable
{
public:
    // Where one live reference was taken.
    struct LeakRecord
    {
        const void* tag;
        std::vector<dbg::StackFrame> cFrame;
    };

    Resource() = default;
    // A record for data in hand, to be put in with Warehouse::Add or AddAnonymous.
    explicit Resource(NamedResource* pData) : m_pData(pData) {}
    // Asserts that the data has been taken out and that no reference is left; with leak tracking
    // on, a resource still referenced is written to the leak report instead.
    virtual ~Resource();

    static void* operator new(size_t size);
    static void operator delete(void* p);

    // Counts a reference; `tag` (the reference's address) identifies it in leak tracking.
    void AddRef(const void* tag);
    // Drops one. The count never goes below 0 (an assertion), and a resource at 0 stays in the
    // warehouse until a flush.
    void Release(const void* tag);

    uint32 GetRefCount() const { return m_RefCount; }
    NamedResource* GetData() const { return m_pData; }
    const char* GetDebugName() const { return m_pDebugName; }
    bool IsAnonymous() const { return m_bAnonymous; }
    const std::vector<LeakRecord>& GetLeakRecords() const { return m_cLeak; }

private:
    friend class Warehouse;

    const char* m_pDebugName = nullptr;
    std::vector<LeakRecord> m_cLeak;
    bool m_bAnonymous = false;
    uint32 m_RefCount = 0;
    NamedResource* m_pData = nullptr;
};
} // namespace Inv
