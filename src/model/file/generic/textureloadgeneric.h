// The generic form of a texture: a "TXTR" folder named after the texture, holding "INFO" (the
// number of images) and the images as "IMAG" folders, one per mip level, or one holding every
// level for the compressed types. Also the move between render textures and images.
//
// The reader takes untrusted files: a malformed container or image throws Chunky::Exception (or
// ByteStream::Exception for an overlong string) and leaves nothing behind.
#pragma once

#include "foundation/types.h"
#include "model/shader/texture.h"
#include "render/texture.h"

#include <memory>
#include <vector>

class ByteStreamAdapter;
class Chunky;
class Image;

class TextureLoadGeneric
{
public:
    static constexpr uint32 ID_TXTR = 0x54585452; // "TXTR"
    static constexpr uint32 TXTRVersion = 1;
    static constexpr uint32 ID_INFO = 0x494E464F; // "INFO"
    static constexpr uint32 INFOVersion = 3;
    // The code of the exception thrown when a texture yields no image.
    static constexpr uint32 EXC_NoImages = 11;

    // Reads the next "TXTR" folder. Images larger than the device's maximum texture size are
    // dropped; none left throws "Unable to load image(s) for texture '%s'!". A lone uncompressed
    // image with `autoMip` gets the device's automatic mips. Null when the first image doesn't
    // load, or without a render device.
    static std::unique_ptr<Texture> Load(Chunky& chunky, ByteStreamAdapter& adapter, bool autoMip = false);
    // Writes one "TXTR" folder. False, with nothing written, when the texture has nothing to
    // convert.
    static bool Save(Chunky& chunky, ByteStreamAdapter& adapter, const Texture& texture);

    // A texture of a file: a name ending in Texture::FileExtension is a chunk file with one
    // "TXTR"; any other is an image file, loaded with automatic mips. Null on any failure, logged;
    // never throws.
    static std::unique_ptr<Texture> LoadFile(const char* filename);
    // The reverse: a texture chunk file, or an image file by the extension of the name.
    static bool SaveFile(const char* filename, const Texture& texture);

    // A render texture of images, on the current device: compressed images bring their levels,
    // others are one level each, in order. Images of the types the render layer lacks
    // (paletted, 4444) go through IMAGETYPE_RGBA32.
    static fr::ObjectPtr<fr::Texture> CreateRenderTexture(const std::vector<const Image*>& images,
                                                          bool autoMip, const char* name);
    // The images of a render texture, named `name`: one per level, or one holding every level
    // for the compressed formats. The 16-bit formats come out as IMAGETYPE_RGBA32, since image
    // files and the image chunk have no 16-bit types. Empty when the texture cannot be read.
    static std::vector<std::unique_ptr<Image>> ConvertToImages(const fr::Texture& texture, const char* name);

    // The render format that holds an image type as it stands; false for the types that must be
    // converted first.
    static bool PixelFormatOf(int imageType, fr::PixelFormat& format);
    static int ImageTypeOf(fr::PixelFormat format);
};
