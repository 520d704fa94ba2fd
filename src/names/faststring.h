// Case-insensitive string compares and the string hashes that names, dictionaries and the
// inventory are keyed by. Only ASCII letters fold; every other byte compares exactly.
#pragma once

#include "foundation/types.h"

class FastString
{
public:
    // True when the strings are equal but for the case of ASCII letters. Null is an assertion
    // failure and compares unequal.
    static bool EqualNoCase(const char* s1, const char* s2);
    // The same over at most `count` characters; true when the count runs out first.
    static bool EqualNoCase(const char* s1, const char* s2, uint32 count);
    // Whether two bytes are equal but for case: '[' and '{' differ although only bit 5 does.
    static bool CharEqualNoCase(char c1, char c2)
    {
        const unsigned u = uint8(c1) & 0xDF;
        return c1 == c2 || (u >= 'A' && u <= 'Z' && u == (uint8(c2) & 0xDFu));
    }
    // ASCII lower case, other bytes unchanged.
    static char ToLower(char c) { return (c >= 'A' && c <= 'Z') ? char(c + ('a' - 'A')) : c; }

    // Bob Jenkins' lookup2 hash of a buffer, seeded with `initval`.
    static uint32 HashBuffer(const void* p, uint32 length, uint32 initval);
    // lookup2 of a NUL-terminated string (without the terminator), seed 0.
    static uint32 HashString(const char* s);
    // lookup2 of the lower-cased string; only its first 0x7FF characters count.
    static uint32 HashStringLower(const char* s);
    // h = h * 31 + c over the characters, each taken as a signed char, from 0 or from `start`.
    static uint32 HashMultiplicative(const char* s);
    static uint32 HashMultiplicative(const char* s, uint32 start);
};
