#include "model/file/final/shaderloadfinal.h"

#include "foundation/output.h"
#include "model/file/final/textureloadfinal.h"
#include "model/file/modelchunk.h"
#include "model/file/shaderchunk.h"
#include "model/shader/shaderimp.h"
#include "storage/bytestreamadapter.h"
#include "storage/chunky.h"

namespace
{
bool SaveTexture(Chunky& chunky, ByteStreamAdapter& adapter, const Texture& texture)
{
    return TextureLoadFinal::Save(chunky, adapter, texture);
}

std::unique_ptr<Texture> LoadTexture(Chunky& chunky, ByteStreamAdapter& adapter)
{
    return TextureLoadFinal::Load(chunky, adapter);
}
} // namespace

std::unique_ptr<ShaderImp> ShaderLoadFinal::Load(Chunky& chunky, ByteStreamAdapter& adapter, const char* modelName)
{
    return ShaderChunk::Load(chunky, adapter, modelName, false);
}

Inv::Reference<Shader> ShaderLoadFinal::LoadShared(Chunky& chunky, ByteStreamAdapter& adapter)
{
    // The body repeats the name for older readers; the header's is the one that counts.
    const ChunkInfo sshr = chunky.ReadDataChunk(ID_SSHR, SSHRVersion);
    chunky.CloseChunk();
    if (sshr.name.empty())
        ModelChunk::ThrowBadContent(adapter, "A shared shader reference has no name!");
    return ShaderChunk::FindShared(sshr.name.c_str());
}

void ShaderLoadFinal::Save(Chunky& chunky, ByteStreamAdapter& adapter, const Shader& shader)
{
    if (!shader.IsShared())
    {
        ShaderChunk::Save(chunky, adapter, shader);
        return;
    }
    const char* name = ra::GetNameText(shader.GetName());
    chunky.OpenDataChunk(ID_SSHR, SSHRVersion, name);
    adapter.WriteString(name ? name : "");
    chunky.CloseChunk();
}

bool ShaderLoadFinal::SaveTextures(Chunky& chunky, ByteStreamAdapter& adapter, const Shader& shader,
                                   std::set<const Texture*>& cWritten)
{
    return ShaderChunk::SaveTextures(chunky, adapter, shader, Shader::CN_Count, cWritten, SaveTexture);
}

std::unique_ptr<Shader> ShaderLoadFinal::LoadSharedFile(const char* path)
{
    dbTracef("SHADER USAGE -- Loading shared shader '%s'...", path ? path : "");
    return ShaderChunk::LoadSharedFile(path, LoadTexture, false, true);
}

bool ShaderLoadFinal::SaveSharedFile(const char* filename, const Shader& shader)
{
    return ShaderChunk::SaveSharedFile(filename, shader, SaveTexture);
}
