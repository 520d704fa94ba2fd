// The generic form of a shader: a "SHDR" folder named after the shader, holding "INFO" (blend and
// the three parameters) and six "CHAN" chunks, one per file channel; or, for a shader that lives in
// a shared shader file, an "SSHR" chunk that names it. Also the shared shader file itself (".vds"
// under "GENERIC": a "SHRF" folder of the textures and one "SHDR"). The "SHDR" folder and the
// shared shader file are model/file/shaderchunk.h, which the final form shares.
//
//   SSHR data, version 1: string shared shader name (from version 2 on, the chunk's name instead)
//
// The reader takes untrusted files: a damaged chunk throws Chunky::Exception (ByteStream::Exception
// for a string over 260 characters). A texture that isn't in the inventory never fails a load: the
// channel turns pink.
#pragma once

#include "foundation/types.h"
#include "inventory/reference.h"
#include "model/shader/shader.h"

#include <memory>
#include <set>

class ByteStreamAdapter;
class Chunky;
class ShaderImp;

class ShaderLoadGeneric
{
public:
    // Reads the next "SHDR" folder. A texture on a channel other than the diffuse one is reported
    // and kept; a texture the inventory lacks turns its channel pink. `modelName` is for messages.
    static std::unique_ptr<ShaderImp> Load(Chunky& chunky, ByteStreamAdapter& adapter, const char* modelName);
    // Reads the next "SSHR" chunk and gives the shared shader of that name from the inventory,
    // which loads it from its shared shader file (or stands a blank one in). The shader is marked
    // shared, so that it is written back by reference.
    static Inv::Reference<Shader> LoadShared(Chunky& chunky, ByteStreamAdapter& adapter);
    // Writes "SSHR" for a shared shader, "SHDR" with its channels 0 to 5 otherwise.
    static void Save(Chunky& chunky, ByteStreamAdapter& adapter, const Shader& shader);
    // Writes the "SHDR" folder whatever the shader's shared flag says (the body of a shared shader
    // file).
    static void SaveBody(Chunky& chunky, ByteStreamAdapter& adapter, const Shader& shader);

    // Writes "TXTR" for each texture of the shader's channels (all seven) that `cWritten` doesn't
    // hold yet, and adds it there: a texture used by several shaders is written once, at its first
    // use. A texture that cannot be converted is logged and passed over.
    static void SaveTextures(Chunky& chunky, ByteStreamAdapter& adapter, const Shader& shader,
                             std::set<const Texture*>& cWritten);

    // The shared shader file: "SHRF" with the textures of channels 0 to 5, each once, then the one
    // "SHDR". False, logged, when the file cannot be written.
    static bool SaveSharedFile(const char* filename, const Shader& shader);

    // Reads the shared shader file at `path`: its textures go into the inventory (unless one of
    // the name is there), and its one "SHDR" is the result. Null, logged, on any failure; never
    // throws.
    static std::unique_ptr<Shader> LoadSharedFile(const char* path);

    // Makes the shader resource type read shared shader files through LoadSharedFile. Idempotent.
    static void Register();
};
