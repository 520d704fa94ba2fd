// A string of at most LEN characters held in place, with no heap: used for file names
// (FixedString<260>) and other bounded texts. A longer or null source is an assertion failure.
#pragma once

#include "foundation/debug.h"
#include "foundation/types.h"

#include <cstring>
#include <string>
#include <string_view>

template <uint32 LEN> class FixedString
{
public:
    static constexpr uint32 Capacity = LEN;

    FixedString() { m_text[0] = '\0'; }
    FixedString(const char* rhs) { Assign(rhs); }
    FixedString& operator=(const char* rhs)
    {
        Assign(rhs);
        return *this;
    }

    // Stores rhs; a null or over-long source leaves the string unchanged and returns false.
    bool Assign(const char* rhs)
    {
        using T = std::char_traits<char>;
        if (!dbAssert(rhs != nullptr))
            return false;
        // clang-format off
        if (!dbAssert(T::length( rhs ) <= LEN))
            return false;
        // clang-format on
        std::memcpy(m_text, rhs, T::length(rhs) + 1);
        return true;
    }

    void Clear() { m_text[0] = '\0'; }
    const char* c_str() const { return m_text; }
    char* data() { return m_text; }
    uint32 length() const { return uint32(std::strlen(m_text)); }
    bool empty() const { return m_text[0] == '\0'; }
    std::string_view view() const { return m_text; }

    friend bool operator==(const FixedString& a, const FixedString& b) { return a.view() == b.view(); }
    friend bool operator==(const FixedString& a, const char* b) { return b && a.view() == b; }

private:
    char m_text[LEN + 1];
};
