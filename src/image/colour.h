// Pixel and block layouts of the image types: the 32-bit colour that all conversions pass through,
// the packed 16-bit and 24-bit colours, and the S3TC blocks of the compressed types.
#pragma once

#include "foundation/types.h"

// 32 bits a pixel, bytes in memory blue, green, red, alpha.
struct Colour
{
    uint8 b = 0;
    uint8 g = 0;
    uint8 r = 0;
    uint8 a = 0;

    constexpr Colour() = default;
    constexpr Colour(uint8 red, uint8 green, uint8 blue, uint8 alpha) : b(blue), g(green), r(red), a(alpha) {}

    // The pixel as one word read from memory on this (little-endian) machine: 0xAARRGGBB.
    constexpr uint32 Word() const
    {
        return (uint32(a) << 24) | (uint32(r) << 16) | (uint32(g) << 8) | uint32(b);
    }
    static constexpr Colour FromWord(uint32 w)
    {
        return Colour(uint8(w >> 16), uint8(w >> 8), uint8(w), uint8(w >> 24));
    }
    // Channels by their place in memory: 0 blue, 1 green, 2 red, 3 alpha.
    uint8& Channel(int i) { return i == 0 ? b : i == 1 ? g : i == 2 ? r : a; }
    uint8 Channel(int i) const { return i == 0 ? b : i == 1 ? g : i == 2 ? r : a; }

    friend constexpr bool operator==(const Colour& l, const Colour& r) { return l.Word() == r.Word(); }
};
static_assert(sizeof(Colour) == 4);

namespace ColourScale
{
// A field of `bits` bits widened to 8 and back, rounded to the nearest value, so that 0 and the
// field's maximum map onto 0 and 255 and a round trip from the narrow side gives back the same field.
constexpr uint8 Widen(uint32 value, int bits)
{
    const uint32 maxValue = (1u << bits) - 1;
    return uint8((value * 255 + maxValue / 2) / maxValue);
}
constexpr uint32 Narrow(uint8 value, int bits)
{
    const uint32 maxValue = (1u << bits) - 1;
    return (uint32(value) * maxValue + 127) / 255;
}
} // namespace ColourScale

// A 16-bit pixel with fields packed from the top: alpha (when it has bits), red, green, blue, the
// blue field in the lowest bits. <5,6,5,0> is 565, <5,5,5,1> is 1555, <4,4,4,4> is 4444.
template <int RBITS, int GBITS, int BBITS, int ABITS> struct Colour_RGBA16
{
    static_assert(RBITS + GBITS + BBITS + ABITS == 16);
    static constexpr int BShift = 0;
    static constexpr int GShift = BBITS;
    static constexpr int RShift = BBITS + GBITS;
    static constexpr int AShift = BBITS + GBITS + RBITS;

    uint16 value = 0;

    static constexpr uint32 Field(uint32 v, int shift, int bits) { return (v >> shift) & ((1u << bits) - 1); }

    constexpr Colour ToColour() const
    {
        const uint8 alpha = ABITS == 0 ? uint8(0xFF) : ColourScale::Widen(Field(value, AShift, ABITS), ABITS);
        return Colour(ColourScale::Widen(Field(value, RShift, RBITS), RBITS),
                      ColourScale::Widen(Field(value, GShift, GBITS), GBITS),
                      ColourScale::Widen(Field(value, BShift, BBITS), BBITS), alpha);
    }
    static constexpr Colour_RGBA16 FromColour(const Colour& c)
    {
        uint32 v = (ColourScale::Narrow(c.r, RBITS) << RShift) | (ColourScale::Narrow(c.g, GBITS) << GShift) |
                   (ColourScale::Narrow(c.b, BBITS) << BShift);
        if constexpr (ABITS > 0)
            v |= ColourScale::Narrow(c.a, ABITS) << AShift;
        Colour_RGBA16 out;
        out.value = uint16(v);
        return out;
    }
};
static_assert(sizeof(Colour_RGBA16<5, 6, 5, 0>) == 2);

// 24 bits a pixel, bytes in memory blue, green, red.
struct Colour_RGB888
{
    uint8 b = 0;
    uint8 g = 0;
    uint8 r = 0;

    constexpr Colour ToColour() const { return Colour(r, g, b, 0xFF); }
    static constexpr Colour_RGB888 FromColour(const Colour& c)
    {
        Colour_RGB888 out;
        out.b = c.b;
        out.g = c.g;
        out.r = c.r;
        return out;
    }
};
static_assert(sizeof(Colour_RGB888) == 3);

// One S3TC block of 4 by 4 pixels: 8 bytes for DXT1, 16 bytes for DXT3 and DXT5. The image code
// moves blocks as they stand; it never decodes them.
struct Chunk_S3TC_64
{
    uint8 bytes[8];
};
struct Chunk_S3TC_128
{
    uint8 bytes[16];
};
static_assert(sizeof(Chunk_S3TC_64) == 8);
static_assert(sizeof(Chunk_S3TC_128) == 16);
