// Fixed-size integer names used across the system's data structures and file formats.
#pragma once

#include <cstddef>
#include <cstdint>

using int8 = std::int8_t;
using uint8 = std::uint8_t;
using int16 = std::int16_t;
using uint16 = std::uint16_t;
using int32 = std::int32_t;
using uint32 = std::uint32_t;
using int64 = std::int64_t;
using uint64 = std::uint64_t;
using wchar16 = char16_t; // UTF-16 code unit, as stored in files

// The result of every failed Find.
constexpr int InvalidIndex = -1;

// A four-character code as a number, first character in the top byte: FourCC("FOLD") == 0x464F4C44.
constexpr uint32 FourCC(const char (&s)[5])
{
    return (uint32(uint8(s[0])) << 24) | (uint32(uint8(s[1])) << 16) | (uint32(uint8(s[2])) << 8) |
           uint32(uint8(s[3]));
}
// A three-letter log channel code: FourCC-style, three letters: Tag3("INV") == 0x494E56.
constexpr uint32 Tag3(const char (&s)[4])
{
    return (uint32(uint8(s[0])) << 16) | (uint32(uint8(s[1])) << 8) | uint32(uint8(s[2]));
}
