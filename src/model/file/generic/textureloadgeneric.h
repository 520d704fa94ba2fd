// The generic form of a texture: a "TXTR" folder named after the texture, holding "INFO" (the
// number of images) and the images as "IMAG" folders, one per mip level, or one holding every
// level for the compressed types. The move between render textures and images that reading and
// writing make is model/shader/textureimages.h.
//
// The reader takes untrusted files: a malformed container or image throws Chunky::Exception (or
// ByteStream::Exception for an overlong string) and leaves nothing behind.
#pragma once

#include "foundation/types.h"
#include "model/shader/texture.h"

#include <memory>

class ByteStreamAdapter;
class Chunky;

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
};
