// Quantising a 32-bit image to a palette of at most 256 colours by splitting boxes of colour space.
#pragma once

#include "image/imagetypes.h"

#include <memory>

// A paletted image of level 0 of `src` (IMAGETYPE_RGBA32) with at most `colours` palette entries
// (1 to 256). The distinct colours are sorted, the box that holds them is split at the middle of
// its widest channel until there are enough boxes, each box gives the mean of its corners as its
// entry, and each pixel takes the index of its box. Entries past the boxes stay zero.
std::unique_ptr<Image_Palette> Palettize(const Image& src, uint32 colours = 256);
