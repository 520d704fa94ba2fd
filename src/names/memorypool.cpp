#include "names/memorypool.h"

#include "foundation/debug.h"

#include <cstdio>
#include <cstring>
#include <memory>
#include <new>

namespace
{
// Each block carries its size in front, rounded to the strictest alignment so the user part
// stays aligned.
constexpr size_t BlockHeader = alignof(std::max_align_t) > sizeof(size_t) ? alignof(std::max_align_t)
                                                                          : sizeof(size_t);

std::vector<MemoryPool*>& Pools()
{
    // Never destroyed: dictionaries and other statics free into their pools at exit, in an order
    // that static destruction does not guarantee.
    static auto* s_pPools = new std::vector<MemoryPool*>();
    return *s_pPools;
}
} // namespace

MemoryPool& MemoryPool::Get(const char* name)
{
    if (!dbAssert(name != nullptr))
        name = "";
    if (MemoryPool* pPool = Find(name))
        return *pPool;
    auto* pPool = new MemoryPool(name);
    Pools().push_back(pPool);
    return *pPool;
}

MemoryPool* MemoryPool::Find(const char* name)
{
    if (name == nullptr)
        return nullptr;
    for (MemoryPool* pPool : Pools())
        if (pPool->m_name == name)
            return pPool;
    return nullptr;
}

std::vector<MemoryPool*> MemoryPool::GetAll()
{
    return Pools();
}

void* MemoryPool::Alloc(size_t size)
{
    auto* pBlock = static_cast<unsigned char*>(::operator new(BlockHeader + size));
    std::memcpy(pBlock, &size, sizeof(size));
    ++m_allocations;
    ++m_live;
    m_used += size;
    Sample();
    return pBlock + BlockHeader;
}

void MemoryPool::Free(void* p)
{
    if (p == nullptr)
        return;
    unsigned char* pBlock = static_cast<unsigned char*>(p) - BlockHeader;
    size_t size;
    std::memcpy(&size, pBlock, sizeof(size));
    if (dbAssert(m_live > 0 && m_used >= size))
    {
        --m_live;
        m_used -= size;
        Sample();
    }
    ::operator delete(pBlock);
}

char* MemoryPool::StrDup(const char* text)
{
    if (text == nullptr)
        return nullptr;
    const size_t n = std::strlen(text) + 1;
    char* pCopy = static_cast<char*>(Alloc(n));
    std::memcpy(pCopy, text, n);
    return pCopy;
}

void MemoryPool::Sample()
{
    if (m_samples == 0 || m_used < m_minUsed)
        m_minUsed = m_used;
    if (m_used > m_maxUsed)
        m_maxUsed = m_used;
    ++m_samples;
    m_usedSum += m_used;
}

std::string MemoryPool::Report()
{
    std::string text = "Pool,Allocations,MemUsed,MinUsed,MaxUsed,AvgUsed\n";
    for (const MemoryPool* pPool : Pools())
    {
        char line[512];
        std::snprintf(line, sizeof(line), "%s,%llu,%llu,%llu,%llu,%llu\n", pPool->GetName(),
                      static_cast<unsigned long long>(pPool->m_allocations),
                      static_cast<unsigned long long>(pPool->m_used),
                      static_cast<unsigned long long>(pPool->m_minUsed),
                      static_cast<unsigned long long>(pPool->m_maxUsed),
                      static_cast<unsigned long long>(pPool->GetAvgUsed()));
        text += line;
    }
    return text;
}
