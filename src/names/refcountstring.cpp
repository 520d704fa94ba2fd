#include "names/refcountstring.h"

#include "foundation/debug.h"

#include <cstring>
#include <new>

RefCountString::RefCountString(const char* p)
{
    if (!dbAssert(p != NULL))
        return;
    Make(p, uint32(std::strlen(p)));
}

RefCountString::RefCountString(const char* p, uint32 length)
{
    if (!dbAssert(p != NULL))
        return;
    Make(p, uint32(strnlen(p, length)));
}

RefCountString::RefCountString(const RefCountString& rhs) : m_pBlock(rhs.m_pBlock)
{
    if (m_pBlock)
        ++m_pBlock->refCount;
}

RefCountString::RefCountString(RefCountString&& rhs) noexcept : m_pBlock(rhs.m_pBlock)
{
    rhs.m_pBlock = nullptr;
}

RefCountString::~RefCountString()
{
    Drop();
}

RefCountString& RefCountString::operator=(const RefCountString& rhs)
{
    // Count the new block up before the old one down, so that self-assignment keeps the block.
    Header* pNew = rhs.m_pBlock;
    if (pNew)
        ++pNew->refCount;
    Drop();
    m_pBlock = pNew;
    return *this;
}

RefCountString& RefCountString::operator=(RefCountString&& rhs) noexcept
{
    if (this != &rhs)
    {
        Drop();
        m_pBlock = rhs.m_pBlock;
        rhs.m_pBlock = nullptr;
    }
    return *this;
}

RefCountString& RefCountString::operator=(const char* p)
{
    RefCountString copy(p);
    return *this = std::move(copy);
}

const char* RefCountString::c_str() const
{
    return m_pBlock ? Text() : "";
}

uint32 RefCountString::length() const
{
    return m_pBlock ? m_pBlock->length : 0;
}

int RefCountString::compare(const RefCountString& rhs) const
{
    return std::strcmp(c_str(), rhs.c_str());
}

int RefCountString::compare(const char* rhs) const
{
    if (!dbAssert(rhs != NULL))
        return 1;
    return std::strcmp(c_str(), rhs);
}

uint32 RefCountString::GetRefCount() const
{
    return m_pBlock ? m_pBlock->refCount : 0;
}

void RefCountString::Make(const char* p, uint32 length)
{
    if (length == 0)
        return;
    void* pMem = ::operator new(sizeof(Header) + length + 1);
    m_pBlock = new (pMem) Header{1, length};
    std::memcpy(Text(), p, length);
    Text()[length] = '\0';
}

void RefCountString::Drop()
{
    if (m_pBlock && --m_pBlock->refCount == 0)
        ::operator delete(m_pBlock);
    m_pBlock = nullptr;
}
