// Bases of the render objects: fr::Core is what a caller can destroy, fr::Object adds the count
// that device-level objects (textures, shaders) carry because several users share them.
#pragma once

#include "foundation/types.h"

#include <utility>

namespace fr
{
class Core
{
public:
    Core() = default;
    virtual ~Core() = default;
    Core(const Core&) = delete;
    Core& operator=(const Core&) = delete;

    // Deletes the object itself; the render layer's objects are always made with new.
    virtual void destroy() { delete this; }
};

class Object : public Core
{
public:
    // A new object holds one count, its creator's.
    void AddRef() { ++m_refCount; }
    // Drops one count; the last one destroys the object.
    void Release();
    uint32 GetRefCount() const { return m_refCount; }

protected:
    ~Object() override = default;

private:
    uint32 m_refCount = 1;
};

// A counted pointer to a render object. Adopting takes over the creator's count; copying adds one.
template <class T> class ObjectPtr
{
public:
    ObjectPtr() = default;
    // Takes over the count that `p` already holds (as returned by a device factory).
    static ObjectPtr Adopt(T* p)
    {
        ObjectPtr r;
        r.m_p = p;
        return r;
    }
    // Shares `p`, adding a count.
    static ObjectPtr Share(T* p)
    {
        if (p)
            p->AddRef();
        return Adopt(p);
    }
    ObjectPtr(const ObjectPtr& rhs) : m_p(rhs.m_p)
    {
        if (m_p)
            m_p->AddRef();
    }
    ObjectPtr(ObjectPtr&& rhs) noexcept : m_p(std::exchange(rhs.m_p, nullptr)) {}
    ObjectPtr& operator=(ObjectPtr rhs) noexcept
    {
        std::swap(m_p, rhs.m_p);
        return *this;
    }
    ~ObjectPtr() { reset(); }

    void reset()
    {
        if (T* p = std::exchange(m_p, nullptr))
            p->Release();
    }
    T* get() const { return m_p; }
    T* operator->() const { return m_p; }
    T& operator*() const { return *m_p; }
    explicit operator bool() const { return m_p != nullptr; }

private:
    T* m_p = nullptr;
};
} // namespace fr
