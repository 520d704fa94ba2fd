// PNG encoding of a model's images for the glTF writer: an image of any type decoded to 8-bit RGBA
// and compressed with libpng into memory. Viewers load PNG everywhere; the game's own forms (S3TC,
// paletted, 16-bit) they mostly do not.
#pragma once

#include "foundation/types.h"

#include <string>
#include <vector>

class Image;

namespace gltf
{
// Level 0 of `image` as a PNG file's bytes, its rows in reverse order when `flipRows` is set.
// Compressed, paletted and 16-bit images are decoded first. False, with the reason in `error`, when
// the image has no pixels or a type that does not decode.
bool EncodePng(const Image& image, bool flipRows, std::vector<uint8>& out, std::string& error);
} // namespace gltf
