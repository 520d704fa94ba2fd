// A counted reference to a resource of the inventory. The data is read through the resource at
// each use, never kept, so a reload swaps it under every live reference.
#pragma once

#include "inventory/resource.h"

#include "foundation/debug.h"

#include <cstddef>
#include <type_traits>

namespace Inv
{
template <class T> class Reference
{
public:
    Reference() = default;
    explicit Reference(Resource* pResource) : m_pResource(pResource)
    {
        if (m_pResource)
            m_pResource->AddRef(this);
    }
    Reference(const Reference& rhs) : Reference(rhs.m_pResource) {}
    // A reference to a derived type serves as one to its base.
    template <class U, class = std::enable_if_t<std::is_convertible_v<U*, T*>>>
    Reference(const Reference<U>& rhs) : Reference(rhs.GetResource())
    {
    }
    ~Reference()
    {
        if (m_pResource)
            m_pResource->Release(this);
    }

    Reference& operator=(const Reference& rhs) { return Set(rhs.m_pResource); }
    Reference& operator=(std::nullptr_t) { return Set(nullptr); }

    // Counts the new resource before letting go of the old one, so that assigning a reference to
    // itself cannot free what it holds.
    Reference& Set(Resource* pResource)
    {
        if (pResource)
            pResource->AddRef(this);
        Resource* pOld = m_pResource;
        m_pResource = pResource;
        if (pOld)
            pOld->Release(this);
        return *this;
    }

    // The data, or null for a null reference or a resource without data.
    T* Get() const { return m_pResource ? static_cast<T*>(m_pResource->GetData()) : nullptr; }
    // Dereferencing a null reference is an assertion failure and gives null.
    T* operator->() const
    {
        if (!dbAssert(m_pResource))
            return nullptr;
        return Get();
    }

    Resource* GetResource() const { return m_pResource; }
    bool IsValid() const { return m_pResource != nullptr; }
    explicit operator bool() const { return IsValid(); }

    friend bool operator==(const Reference& a, const Reference& b) { return a.m_pResource == b.m_pResource; }

private:
    Resource* m_pResource = nullptr;
};
} // namespace Inv
