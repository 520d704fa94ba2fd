// Named memory pools: an allocator that carries a name ("DictionaryStrings", "InvNames"...) and
// counts what goes through it, so that memory can be reported per purpose.
#pragma once

#include "foundation/types.h"

#include <cstddef>
#include <string>
#include <vector>

class MemoryPool
{
public:
    // The pool of that name, made on first use. Pools live until the program exits, so that
    // objects with static lifetime may free into them from their destructors.
    static MemoryPool& Get(const char* name);
    // The pool of that name when it has been made, otherwise null.
    static MemoryPool* Find(const char* name);
    // Every pool made so far, in the order of first use.
    static std::vector<MemoryPool*> GetAll();

    // A block of at least `size` bytes, aligned for any type. Size 0 gives a valid block too.
    void* Alloc(size_t size);
    // Gives a block of this pool back; null is ignored.
    void Free(void* p);
    // A copy of the text, with its terminator, from this pool (null for a null text).
    char* StrDup(const char* text);

    const char* GetName() const { return m_name.c_str(); }
    // Allocations made over the pool's life.
    uint64 GetAllocationCount() const { return m_allocations; }
    // Blocks not yet given back.
    uint64 GetLiveCount() const { return m_live; }
    // Bytes requested by the live blocks.
    uint64 GetBytesInUse() const { return m_used; }
    // Smallest and largest bytes in use seen after the first allocation.
    uint64 GetMinUsed() const { return m_minUsed; }
    uint64 GetMaxUsed() const { return m_maxUsed; }
    // Mean of the bytes in use, sampled at every allocation and release.
    uint64 GetAvgUsed() const { return m_samples ? uint64(m_usedSum / m_samples) : 0; }

    // The memory report: a header "Pool,Allocations,MemUsed,MinUsed,MaxUsed,AvgUsed" and one
    // line per pool.
    static std::string Report();

    MemoryPool(const MemoryPool&) = delete;
    MemoryPool& operator=(const MemoryPool&) = delete;

private:
    explicit MemoryPool(const char* name) : m_name(name) {}
    void Sample();

    std::string m_name;
    uint64 m_allocations = 0;
    uint64 m_live = 0;
    uint64 m_used = 0;
    uint64 m_minUsed = 0;
    uint64 m_maxUsed = 0;
    uint64 m_samples = 0;
    long double m_usedSum = 0;
};

// A standard-library allocator drawing from a named pool, for the nodes of maps and lists.
template <class T> class PoolAllocator
{
public:
    using value_type = T;

    explicit PoolAllocator(MemoryPool& pool) : m_pPool(&pool) {}
    template <class U> PoolAllocator(const PoolAllocator<U>& rhs) : m_pPool(rhs.GetPool()) {}

    T* allocate(size_t n) { return static_cast<T*>(m_pPool->Alloc(n * sizeof(T))); }
    void deallocate(T* p, size_t) { m_pPool->Free(p); }
    MemoryPool* GetPool() const { return m_pPool; }

    template <class U> friend bool operator==(const PoolAllocator& a, const PoolAllocator<U>& b)
    {
        return a.GetPool() == b.GetPool();
    }

private:
    MemoryPool* m_pPool;
};
