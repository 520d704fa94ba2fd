// Conversion between UTF-8 text and UTF-16 (wchar16) text, for names and messages that leave or
// enter the wide form. The names say "Ansi", but the narrow side is always UTF-8.
#pragma once

#include "foundation/types.h"

// UTF-8 to UTF-16. `maxn` counts the units of `wide`, the terminator included. The target is
// empty first; a null source leaves it empty and is a success. A target too small for the whole
// text gives false and an empty target. Invalid UTF-8 sequences become U+FFFD.
bool AnsiToWide(const char* ansi, wchar16* wide, uint32 maxn);

// UTF-16 to UTF-8, with the same rules; `maxn` counts bytes of `ansi`. Unpaired surrogates
// become U+FFFD.
bool WideToAnsi(const wchar16* wide, char* ansi, uint32 maxn);
