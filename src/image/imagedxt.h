// S3TC block coding of the compressed image types (DXT1, DXT3, DXT5) through libsquish: encoding
// 32-bit pixels into blocks and decoding blocks back into pixels, a whole mip chain at a time.
// Image::Convert calls it for every pair with a compressed type; the texture writer may call it
// directly to choose the number of threads.
//
// Block layout, shared with the DDS files and the "DATA" chunk: the blocks of a level row after row
// of blocks, each block as it stands on disk (little-endian 16-bit colour end points, then the
// 2-bit indices of the pixels row by row, lowest bits first; DXT3 and DXT5 put their 8 bytes of
// alpha in front). A side that is not a multiple of 4 rounds up to whole blocks, and a level keeps
// at least one block: the pixels past the edge take no part in the fit and are dropped on decoding.
//
// The result is the same to the byte for any number of threads.
#pragma once

#include "image/image.h"

#include <memory>

namespace ImageDXT
{
// `threads` 0 takes every core for a large level and the calling thread alone for a small one.
constexpr uint32 AutoThreads = 0;

// Blocks each thread has at the least when the count is automatic: a level of fewer than twice as
// many (a 128 by 128 level and smaller) stays on the calling thread, where starting threads would
// cost more than they save.
constexpr uint32 MinBlocksPerThread = 512;

// The libsquish flags of a compressed type (0 for any other).
int SquishFlags(int type);

// Encodes one level of w by h pixels into `pBlocks`, which holds Image::LevelBytes(type, w, h).
void EncodeLevel(int type, const Colour* pPixels, uint32 w, uint32 h, uint8* pBlocks,
                 uint32 threads = AutoThreads);
// Decodes one level of w by h pixels from its blocks into `pPixels`, which holds w * h colours.
void DecodeLevel(int type, const uint8* pBlocks, uint32 w, uint32 h, Colour* pPixels,
                 uint32 threads = AutoThreads);

// A new image of the compressed type `type` with every level of `src`, an IMAGETYPE_RGBA32 image.
// Null, after an assertion, for a type that is not compressed or a source of another type.
std::unique_ptr<Image> Encode(int type, const Image& src, uint32 threads = AutoThreads);
// A new IMAGETYPE_RGBA32 image with every level of `src`, an image of a compressed type. Null,
// after an assertion, for a source of another type.
std::unique_ptr<Image> Decode(const Image& src, uint32 threads = AutoThreads);
} // namespace ImageDXT
