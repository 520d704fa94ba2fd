#include "names/faststring.h"

#include "foundation/debug.h"

#include <cstring>

namespace
{
// clang-format off
inline void Mix(uint32& a, uint32& b, uint32& c)
{
    a -= b; a -= c; a ^= (c >> 13);
    b -= c; b -= a; b ^= (a << 8);
    c -= a; c -= b; c ^= (b >> 13);
    a -= b; a -= c; a ^= (c >> 12);
    b -= c; b -= a; b ^= (a << 16);
    c -= a; c -= b; c ^= (b >> 5);
    a -= b; a -= c; a ^= (c >> 3);
    b -= c; b -= a; b ^= (a << 10);
    c -= a; c -= b; c ^= (b >> 15);
}
// clang-format on

inline uint32 Word(const uint8* k)
{
    return uint32(k[0]) | (uint32(k[1]) << 8) | (uint32(k[2]) << 16) | (uint32(k[3]) << 24);
}
} // namespace

bool FastString::EqualNoCase(const char* s1, const char* s2)
{
    // clang-format off
    if (!dbAssert((s1 != NULL) && ( s2 != NULL )))
        return false;
    // clang-format on
    for (; *s1 != '\0' && *s2 != '\0'; ++s1, ++s2)
        if (!CharEqualNoCase(*s1, *s2))
            return false;
    // One of them has ended: equal only when both have.
    return *s1 == *s2;
}

bool FastString::EqualNoCase(const char* s1, const char* s2, uint32 count)
{
    if (!dbAssert(s1 != NULL))
        return false;
    if (!dbAssert(s2 != NULL))
        return false;
    for (; count != 0; --count, ++s1, ++s2)
    {
        if (*s1 == '\0' || *s2 == '\0')
            return *s1 == *s2;
        if (!CharEqualNoCase(*s1, *s2))
            return false;
    }
    return true;
}

uint32 FastString::HashBuffer(const void* p, uint32 length, uint32 initval)
{
    if (!dbAssert(p != NULL || length == 0))
        return 0;
    const uint8* k = static_cast<const uint8*>(p);
    uint32 a = 0x9E3779B9;
    uint32 b = 0x9E3779B9;
    uint32 c = initval;
    uint32 left = length;
    for (; left >= 12; left -= 12, k += 12)
    {
        a += Word(k);
        b += Word(k + 4);
        c += Word(k + 8);
        Mix(a, b, c);
    }
    c += length;
    // The tail; the lowest byte of c is taken by the length.
    switch (left)
    {
    case 11:
        c += uint32(k[10]) << 24;
        [[fallthrough]];
    case 10:
        c += uint32(k[9]) << 16;
        [[fallthrough]];
    case 9:
        c += uint32(k[8]) << 8;
        [[fallthrough]];
    case 8:
        b += uint32(k[7]) << 24;
        [[fallthrough]];
    case 7:
        b += uint32(k[6]) << 16;
        [[fallthrough]];
    case 6:
        b += uint32(k[5]) << 8;
        [[fallthrough]];
    case 5:
        b += k[4];
        [[fallthrough]];
    case 4:
        a += uint32(k[3]) << 24;
        [[fallthrough]];
    case 3:
        a += uint32(k[2]) << 16;
        [[fallthrough]];
    case 2:
        a += uint32(k[1]) << 8;
        [[fallthrough]];
    case 1:
        a += k[0];
        break;
    default:
        break;
    }
    Mix(a, b, c);
    return c;
}

uint32 FastString::HashString(const char* s)
{
    if (!dbAssert(s != NULL))
        return 0;
    return HashBuffer(s, uint32(std::strlen(s)), 0);
}

uint32 FastString::HashStringLower(const char* s)
{
    if (!dbAssert(s != NULL))
        return 0;
    char lower[0x800];
    uint32 n = 0;
    for (; s[n] != '\0' && n < sizeof(lower) - 1; ++n)
        lower[n] = ToLower(s[n]);
    return HashBuffer(lower, n, 0);
}

uint32 FastString::HashMultiplicative(const char* s)
{
    return HashMultiplicative(s, 0);
}

uint32 FastString::HashMultiplicative(const char* s, uint32 start)
{
    if (!dbAssert(s != NULL))
        return start;
    uint32 h = start;
    for (; *s != '\0'; ++s)
        h = h * 31 + uint32(int32(static_cast<signed char>(*s)));
    return h;
}
