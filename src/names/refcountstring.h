// An immutable string shared by counting: one heap block holds the count, the length and the
// characters, so a copy costs an increment. Chunk names and other often-copied texts use it.
#pragma once

#include "foundation/types.h"

#include <string_view>

class RefCountString
{
public:
    // An empty string holds no block at all.
    RefCountString() = default;
    // A null source is an assertion failure and leaves the string empty; "" allocates nothing.
    RefCountString(const char* p);
    // The first `length` characters of p, which need no terminator (chunk ids, for instance).
    RefCountString(const char* p, uint32 length);
    RefCountString(const RefCountString& rhs);
    RefCountString(RefCountString&& rhs) noexcept;
    ~RefCountString();

    RefCountString& operator=(const RefCountString& rhs);
    RefCountString& operator=(RefCountString&& rhs) noexcept;
    RefCountString& operator=(const char* p);

    // Never null: an empty string gives "".
    const char* c_str() const;
    uint32 length() const;
    bool empty() const { return m_pBlock == nullptr; }
    std::string_view view() const { return std::string_view(c_str(), length()); }

    // strcmp order: negative, 0 or positive.
    int compare(const RefCountString& rhs) const;
    int compare(const char* rhs) const;

    // How many strings share this block; 0 for an empty string.
    uint32 GetRefCount() const;

    friend bool operator==(const RefCountString& a, const RefCountString& b)
    {
        return a.m_pBlock == b.m_pBlock || a.compare(b) == 0;
    }
    friend bool operator==(const RefCountString& a, const char* b) { return b && a.compare(b) == 0; }
    friend bool operator<(const RefCountString& a, const RefCountString& b) { return a.compare(b) < 0; }

private:
    struct Header
    {
        uint32 refCount;
        uint32 length;
    };

    void Make(const char* p, uint32 length);
    void Drop();
    char* Text() const { return reinterpret_cast<char*>(m_pBlock + 1); }

    Header* m_pBlock = nullptr;
};
