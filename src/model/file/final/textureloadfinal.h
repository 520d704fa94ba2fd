// The final form of a texture, as the game reads it from ".tqm" and ".vds" files: a "TXTR" folder
// named after the texture, holding "HEAD" and the images as "IMAG" folders (the image layer's
// chunk form).
//
//   TXTR folder, version 1, name = texture name
//     HEAD data, version 1: u32 format (the render layer's pixel format), u32 image count
//     IMAG folder, version 1 (x count): one per mip level; or, for the compressed formats (5, 6, 7),
//          one holding the levels from the first written one down
//
// The writer's settings (how many top levels to leave out, whether the levels below are written,
// S3TC compression) and the reader's detail level are globals, set once by the burner or the game.
//
// The reader takes untrusted files: a malformed container or image chunk throws Chunky::Exception
// (ByteStream::Exception for an overlong string), as every chunk reader does; a texture that yields
// no image is null, logged. It never stands a substitute in for a texture of the file.
#pragma once

#include "foundation/types.h"
#include "model/shader/texture.h"

#include <memory>

class ByteStreamAdapter;
class Chunky;

class TextureLoadFinal
{
public:
    static constexpr uint32 ID_TXTR = FourCC("TXTR");
    static constexpr uint32 TXTRVersion = 1;
    static constexpr uint32 ID_HEAD = FourCC("HEAD");
    static constexpr uint32 HEADVersion = 1;
    // The colour of the flat texture that detail 0 reads.
    static constexpr uint32 FlatColour = 0xFF808080;

    // S3TC compression of written textures: 0 none, 1, 3 or 5 for DXT1, DXT3, DXT5. Asserts
    // "(useDXTC == 0) || (useDXTC == 1) || (useDXTC == 3) || (useDXTC == 5)".
    static void SetUseDXTC(int useDXTC);
    static int GetUseDXTC();
    // Top levels left out on writing (at least 0); the smallest level is always written.
    static void SetMipsToSkip(int mipsToSkip);
    static int GetMipsToSkip();
    // Whether an uncompressed texture is written with all its levels below the first, or with the
    // first alone (the game then makes the levels).
    static void SetWriteAllMips(bool all);
    static bool GetWriteAllMips();
    // Reading quality, 0 to 3: 0 reads every texture as one flat grey pixel, 1 leaves out the top
    // two levels, 2 the top one, 3 none.
    static void SetDetail(int detail);
    static int GetDetail();

    // Reads the next "TXTR" folder at the global detail. Images larger than the device's maximum
    // texture size are dropped; none left logs "TEXTURES -- '%s': Unable to load images!" and is
    // null. A lone uncompressed image with `autoMip` gets the device's automatic mips, as the game
    // reads it; a tool that wants the texture back with the levels written alone passes false.
    static std::unique_ptr<Texture> Load(Chunky& chunky, ByteStreamAdapter& adapter, bool autoMip = true);

    // Writes one "TXTR" folder with the given settings. All images are made before anything is
    // written, so a failure (logged) writes nothing and is false. A compressed level needs 4 pixels
    // a side: levels to skip stop there, and a texture whose top is smaller is written uncompressed.
    static bool Save(Chunky& chunky, ByteStreamAdapter& adapter, const Texture& texture, int mipsToSkip,
                     bool writeAllMips, int useDXTC);
    // The same with the global settings.
    static bool Save(Chunky& chunky, ByteStreamAdapter& adapter, const Texture& texture);
};
