#include "names/utf8.h"

#include "foundation/debug.h"

namespace
{
constexpr uint32 Replacement = 0xFFFD;

// Decodes one code point at s and advances it; malformed sequences give one U+FFFD and skip
// the bytes that were taken as part of them.
uint32 DecodeUtf8(const uint8*& s)
{
    const uint32 lead = *s++;
    if (lead < 0x80)
        return lead;
    uint32 need;
    uint32 cp;
    uint32 min;
    if ((lead & 0xE0) == 0xC0)
    {
        need = 1;
        cp = lead & 0x1F;
        min = 0x80;
    }
    else if ((lead & 0xF0) == 0xE0)
    {
        need = 2;
        cp = lead & 0x0F;
        min = 0x800;
    }
    else if ((lead & 0xF8) == 0xF0)
    {
        need = 3;
        cp = lead & 0x07;
        min = 0x10000;
    }
    else
        return Replacement;
    for (; need != 0; --need)
    {
        // A terminator or a non-continuation byte ends the sequence early; it is not consumed.
        if ((*s & 0xC0) != 0x80)
            return Replacement;
        cp = (cp << 6) | (*s++ & 0x3F);
    }
    if (cp < min || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF))
        return Replacement;
    return cp;
}

uint32 DecodeUtf16(const wchar16*& s)
{
    const uint32 u = *s++;
    if (u < 0xD800 || u > 0xDFFF)
        return u;
    if (u >= 0xDC00 || *s < 0xDC00 || *s > 0xDFFF)
        return Replacement;
    const uint32 low = *s++;
    return 0x10000 + ((u - 0xD800) << 10) + (low - 0xDC00);
}
} // namespace

bool AnsiToWide(const char* ansi, wchar16* wide, uint32 maxn)
{
    if (!dbAssert(wide))
        return false;
    if (!dbAssert(maxn > 0))
        return false;
    wide[0] = 0;
    if (!dbAssert(ansi))
        return true;
    const uint8* s = reinterpret_cast<const uint8*>(ansi);
    uint32 n = 0;
    while (*s != 0)
    {
        const uint32 cp = DecodeUtf8(s);
        const uint32 units = cp >= 0x10000 ? 2 : 1;
        // Room for the units and the terminator behind them.
        if (maxn - 1 - n < units)
        {
            wide[0] = 0;
            return false;
        }
        if (units == 2)
        {
            wide[n++] = wchar16(0xD800 + ((cp - 0x10000) >> 10));
            wide[n++] = wchar16(0xDC00 + ((cp - 0x10000) & 0x3FF));
        }
        else
            wide[n++] = wchar16(cp);
    }
    wide[n] = 0;
    return true;
}

bool WideToAnsi(const wchar16* wide, char* ansi, uint32 maxn)
{
    if (!dbAssert(ansi))
        return false;
    if (!dbAssert(maxn > 0))
        return false;
    ansi[0] = '\0';
    if (!dbAssert(wide))
        return true;
    uint32 n = 0;
    while (*wide != 0)
    {
        const uint32 cp = DecodeUtf16(wide);
        uint8 bytes[4];
        uint32 count;
        if (cp < 0x80)
        {
            bytes[0] = uint8(cp);
            count = 1;
        }
        else if (cp < 0x800)
        {
            bytes[0] = uint8(0xC0 | (cp >> 6));
            bytes[1] = uint8(0x80 | (cp & 0x3F));
            count = 2;
        }
        else if (cp < 0x10000)
        {
            bytes[0] = uint8(0xE0 | (cp >> 12));
            bytes[1] = uint8(0x80 | ((cp >> 6) & 0x3F));
            bytes[2] = uint8(0x80 | (cp & 0x3F));
            count = 3;
        }
        else
        {
            bytes[0] = uint8(0xF0 | (cp >> 18));
            bytes[1] = uint8(0x80 | ((cp >> 12) & 0x3F));
            bytes[2] = uint8(0x80 | ((cp >> 6) & 0x3F));
            bytes[3] = uint8(0x80 | (cp & 0x3F));
            count = 4;
        }
        if (maxn - 1 - n < count)
        {
            ansi[0] = '\0';
            return false;
        }
        for (uint32 i = 0; i < count; ++i)
            ansi[n++] = char(bytes[i]);
    }
    ansi[n] = '\0';
    return true;
}
