// A shader's "SHDR" folder and the shared shader file (".vds"), which the generic and the final
// model files hold alike; the forms differ only in the channel warning of the reader and in the
// form of the textures a shared shader file carries, which the caller passes in.
//
//   SHDR folder, version 1, name = shader name
//     INFO data, version 1: i32 blend source, i32 blend destination, f32, i32, u8
//     CHAN data, version 3 (x6): i32 channel, i32 method, u32 colour, string texture,
//          [u8 reserved, version 2 only], i32 mode 1..3, mat44 transform, mat44 transform 2
//   SHRF folder, version 1: the "TXTR" folders of channels 0 to 5, each once, then one "SHDR"
//
// The reader takes untrusted files: a damaged chunk throws Chunky::Exception (ByteStream::Exception
// for a string over 260 characters). A texture that isn't in the inventory never fails a shader:
// the channel turns pink.
#pragma once

#include "foundation/types.h"
#include "inventory/reference.h"
#include "model/shader/shader.h"

#include <functional>
#include <memory>
#include <set>

class ByteStreamAdapter;
class Chunky;
class ShaderImp;

namespace ShaderChunk
{
constexpr uint32 ID_SHDR = FourCC("SHDR");
constexpr uint32 SHDRVersion = 1;
constexpr uint32 ID_INFO = FourCC("INFO");
constexpr uint32 INFOVersion = 1;
constexpr uint32 ID_CHAN = FourCC("CHAN");
constexpr uint32 CHANVersion = 3;
constexpr uint32 ID_SHRF = FourCC("SHRF");
constexpr uint32 SHRFVersion = 1;
constexpr uint32 ID_TXTR = FourCC("TXTR");

// Reads the next "SHDR" folder. With `warnChannel`, a texture on a channel other than the diffuse
// one is reported (and kept). `modelName` is for messages.
std::unique_ptr<ShaderImp> Load(Chunky& chunky, ByteStreamAdapter& adapter, const char* modelName,
                                bool warnChannel);
// Writes the "SHDR" folder whatever the shader's shared flag says.
void Save(Chunky& chunky, ByteStreamAdapter& adapter, const Shader& shader);

// The shared shader of a name, from the inventory (which reads its shared shader file, or stands
// a blank one in), marked shared so that it is written back by reference. Asserts
// "shaderRef.IsValid()".
Inv::Reference<Shader> FindShared(const char* name);

// The texture form of a shared shader file: reads the next "TXTR" folder (null when it yields no
// texture), writes one (false, logged, when it cannot).
using TextureReader = std::function<std::unique_ptr<Texture>(Chunky&, ByteStreamAdapter&)>;
using TextureWriter = std::function<bool(Chunky&, ByteStreamAdapter&, const Texture&)>;

// Writes "TXTR", through `saveTexture`, for each texture of the shader's first `channelCount`
// channels that `cWritten` doesn't hold yet, and adds it there: a texture used by several shaders is
// written once, at its first use. False at the first texture that `saveTexture` refuses.
bool SaveTextures(Chunky& chunky, ByteStreamAdapter& adapter, const Shader& shader, uint32 channelCount,
                  std::set<const Texture*>& cWritten, const TextureWriter& saveTexture);

// Writes the shared shader file: "SHRF" with the textures of channels 0 to 5, each once, through
// `saveTexture`, then the one "SHDR". A texture that `saveTexture` refuses fails the whole file,
// which is then left as it was. False, logged, when the file cannot be written.
bool SaveSharedFile(const char* filename, const Shader& shader, const TextureWriter& saveTexture);

// Reads the shared shader file at `path`: its textures go into the inventory (unless one of the
// name is there), and its one "SHDR" is the result. A texture that doesn't load is passed over,
// or with `strict` fails the file. Null, logged, on any failure; never throws.
std::unique_ptr<Shader> LoadSharedFile(const char* path, const TextureReader& loadTexture, bool warnChannel,
                                       bool strict);
} // namespace ShaderChunk
