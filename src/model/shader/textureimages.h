// The move between render textures and images, which every texture file form makes: images read
// from a file become a render texture on the current device, and the levels of a render texture
// become images to be written.
#pragma once

#include "foundation/types.h"
#include "render/texture.h"

#include <memory>
#include <vector>

class Image;

namespace TextureImages
{
// A render texture of images, on the current device: compressed images bring their levels,
// others are one level each, in order. Images of the types the render layer lacks (paletted,
// 4444) go through IMAGETYPE_RGBA32. A lone uncompressed image with `autoMip` gets the device's
// automatic mips.
fr::ObjectPtr<fr::Texture> CreateRenderTexture(const std::vector<const Image*>& images, bool autoMip,
                                               const char* name);

// Adds the image to `cImage` when the current device takes its size; a null image, or one too
// large (or any without a device), is dropped.
void KeepIfItFits(std::vector<std::unique_ptr<Image>>& cImage, std::unique_ptr<Image> pImage);

// One image, named `name`, of `levelCount` levels of the texture from `firstLevel` on, its top the
// size of `firstLevel`. The 16-bit formats come out as IMAGETYPE_RGBA32, since image files and the
// image chunk have no 16-bit types. Null when the texture cannot be read or the levels aren't there.
std::unique_ptr<Image> ConvertLevels(const fr::Texture& texture, uint32 firstLevel, uint32 levelCount,
                                     const char* name);
// The images of a whole render texture: one per level, or one holding every level for the
// compressed formats. Empty when the texture cannot be read.
std::vector<std::unique_ptr<Image>> ConvertToImages(const fr::Texture& texture, const char* name);

// The render format that holds an image type as it stands; false for the types that must be
// converted first.
bool PixelFormatOf(int imageType, fr::PixelFormat& format);
// The image type of a render format; -1 for none.
int ImageTypeOf(fr::PixelFormat format);
} // namespace TextureImages
