// Reading and writing images: the files artists paint (DDS, JPEG, TGA, BMP, .bw), the chunk form
// that model and pattern files carry ("IMAG", and "IPAL" for a paletted image), and saving by
// file extension.
//
// Every reader is safe for untrusted input: it checks each length and count against what is left
// of the stream before it reads, refuses sides above Image::MaxSide, and on any fault logs what
// and where and returns null, never reading or writing outside its buffers. The chunk forms throw
// only what the chunk container throws (Chunky::Exception) for a malformed container.
#pragma once

#include "image/image.h"
#include "image/imagetypes.h"

#include <memory>

class ByteStreamAdapter;
class Chunky;

namespace ImageLoad
{
// Chunk ids and versions of the chunk form.
constexpr uint32 ID_IMAG = 0x494D4147; // "IMAG", folder
constexpr uint32 ID_ATTR = 0x41545452; // "ATTR"
constexpr uint32 ID_DATA = 0x44415441; // "DATA"
constexpr uint32 ID_PAL8 = 0x50414C38; // "PAL8"
constexpr uint32 ID_IPAL = 0x4950414C; // "IPAL"
constexpr uint32 IMAGVersion = 1;
constexpr uint32 ATTRVersion = 2;
constexpr uint32 DATAVersion = 2;
constexpr uint32 PAL8Version = 1;
constexpr uint32 IPALVersion = 1;

// The pixel of the stand-in image of a run with the "noimages" option.
constexpr uint32 NoImagesPixel = 0xFF9F9F9F;

// Loads a file by name through the file path layer. Without an extension ".dds", ".jpg", ".tga",
// ".bmp" and ".bw" are tried in that order, and the first that is a file is loaded; with one, it
// must be one of these. When `wantedType` is not IMAGETYPE_ASFILE and differs from the file's
// type, the image is converted and the source format becomes SOURCEFORMAT_OTHER. The image takes
// `name` as its name. Null on failure, with the source format SOURCEFORMAT_OTHER.
std::unique_ptr<Image> Load(int* pSourceFormat, const char* name, int wantedType = IMAGETYPE_ASFILE,
                            int mipsToSkip = 0);

// The "IMAG" folder at the reader's position: attributes, data and the optional palette. Up to
// `mipsToSkip` of the top levels are left out, keeping compressed levels at least 4 pixels a side.
std::unique_ptr<Image> Load(Chunky& chunky, ByteStreamAdapter& adapter, int mipsToSkip = 0);
// Writes `image` as one "IMAG" folder named after the image.
void Save(Chunky& chunky, ByteStreamAdapter& adapter, const Image& image);
// The types the chunk reader takes back: all but the 16-bit ones (4, 5, 6), whose data it refuses
// with an assertion.
bool IsChunkType(int type);

// Steps of the chunk reader, each on its own data chunk, which it enters and closes.
// "ATTR": makes the image with its (skipped) size and mip count; `pSkip` receives the levels to
// drop, `pFileWidth`/`pFileHeight` the size stored in the file.
std::unique_ptr<Image> ReadImageAttributes(Chunky& chunky, ByteStreamAdapter& adapter, int mipsToSkip,
                                           uint32* pSkip, uint32* pFileWidth, uint32* pFileHeight);
// "DATA": passes over the `skip` dropped levels of the file's size, then fills every level.
bool ReadImageData(Chunky& chunky, ByteStreamAdapter& adapter, Image& image, uint32 skip, uint32 fileWidth,
                   uint32 fileHeight);

// "IPAL": a paletted image as width, height, the index bytes and 0x400 bytes of palette, named
// after the chunk.
std::unique_ptr<Image_Palette> LoadImagePalette(Chunky& chunky, ByteStreamAdapter& adapter);
void SaveImagePalette(Chunky& chunky, ByteStreamAdapter& adapter, const Image_Palette& image);

// Saves by the text behind the last '.' of `name`, without regard to case: "TGA" (types 0 and 7),
// "JPG" (converted to RGB888, quality 100) and "DDS" (compressed types, sides powers of two).
// A name without '.' fails silently; any other extension logs and fails.
bool Save(const char* name, const Image& image);

// The file readers on an open stream, positioned at the start of the file. `name` is for messages.
std::unique_ptr<Image> LoadTGA(ByteStreamAdapter& adapter, const char* name, int* pSourceFormat);
std::unique_ptr<Image> LoadBMP(ByteStreamAdapter& adapter, const char* name, int* pSourceFormat);
std::unique_ptr<Image> LoadBW(ByteStreamAdapter& adapter, const char* name, int* pSourceFormat);
std::unique_ptr<Image> LoadDDS(ByteStreamAdapter& adapter, const char* name, int* pSourceFormat,
                               int mipsToSkip);
std::unique_ptr<Image> LoadJPEG(ByteStreamAdapter& adapter, const char* name, int* pSourceFormat);

// The file writers on an open stream. `name` is for messages.
bool SaveTGA(ByteStreamAdapter& adapter, const char* name, const Image& image);
bool SaveJPEG(ByteStreamAdapter& adapter, const char* name, const Image& image);
bool SaveDDS(ByteStreamAdapter& adapter, const char* name, const Image& image);

// The levels to drop from the top of a chain of `mipCount` levels of w by h pixels when
// `mipsToSkip` are asked for and the chain has more: for a compressed type, never so many that a
// side falls below 4 pixels.
uint32 LevelsToSkip(int type, uint32 w, uint32 h, uint32 mipCount, uint32 mipsToSkip);
} // namespace ImageLoad
