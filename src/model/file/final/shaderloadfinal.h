// The final form of a shader: the "SHDR" folder as the generic form has it (model/file/shaderchunk.h),
// read without the channel warning; or, for a shader that lives in a shared shader file, an "SSHR"
// chunk whose header names it. Also the final shared shader file (".vds": a "SHRF" folder of the
// textures in their final form and one "SHDR").
//
//   SSHR data, version 2, name = shared shader name: string, the same name, written and not read
//
// The reader takes untrusted files: a damaged chunk throws Chunky::Exception (ByteStream::Exception
// for a string over 260 characters). A texture that isn't in the inventory turns its channel pink.
#pragma once

#include "foundation/types.h"
#include "inventory/reference.h"
#include "model/shader/shader.h"

#include <memory>
#include <set>

class ByteStreamAdapter;
class Chunky;
class ShaderImp;

class ShaderLoadFinal
{
public:
    static constexpr uint32 ID_SSHR = FourCC("SSHR");
    static constexpr uint32 SSHRVersion = 2;

    // Reads the next "SHDR" folder. A texture the inventory lacks turns its channel pink;
    // `modelName` is for messages.
    static std::unique_ptr<ShaderImp> Load(Chunky& chunky, ByteStreamAdapter& adapter, const char* modelName);
    // Reads the next "SSHR" chunk and gives the shared shader of its header name from the inventory,
    // marked shared.
    static Inv::Reference<Shader> LoadShared(Chunky& chunky, ByteStreamAdapter& adapter);
    // Writes "SSHR" for a shared shader, "SHDR" with its channels 0 to 5 otherwise.
    static void Save(Chunky& chunky, ByteStreamAdapter& adapter, const Shader& shader);

    // Writes, in the final form with the global texture settings, "TXTR" for each texture of the
    // shader's channels (all seven) that `cWritten` doesn't hold yet, and adds it there. False at
    // the first texture that cannot be written (logged).
    static bool SaveTextures(Chunky& chunky, ByteStreamAdapter& adapter, const Shader& shader,
                             std::set<const Texture*>& cWritten);

    // The shared shader file at `path`: logs "SHADER USAGE -- Loading shared shader '%s'...", adds
    // its textures to the inventory (unless one of the name is there) and gives its one "SHDR". A
    // texture of the file that doesn't load fails it. Null, logged, on any failure; never throws.
    static std::unique_ptr<Shader> LoadSharedFile(const char* path);
    // Writes the shared shader file: "SHRF" with the textures of channels 0 to 5, each once, then
    // the "SHDR". False, logged, when it cannot be written; the file is then left as it was.
    static bool SaveSharedFile(const char* filename, const Shader& shader);
};
