#include "model/file/generic/shaderloadgeneric.h"

#include "model/file/generic/genericchunk.h"
#include "model/file/generic/textureloadgeneric.h"
#include "model/file/shaderchunk.h"
#include "model/shader/shaderimp.h"
#include "model/shader/shadertypeinfo.h"
#include "storage/bytestreamadapter.h"
#include "storage/chunky.h"

using namespace GenericChunk;
using namespace ModelChunk;

namespace
{
const char* ShaderNameText(const Shader& shader)
{
    const char* text = ra::GetNameText(shader.GetName());
    return text ? text : "";
}

// A texture that cannot be converted is logged and passed over: the generic form never fails a
// file for it.
bool SaveTextureOrPass(Chunky& chunky, ByteStreamAdapter& adapter, const Texture& texture)
{
    TextureLoadGeneric::Save(chunky, adapter, texture);
    return true;
}
} // namespace

std::unique_ptr<ShaderImp> ShaderLoadGeneric::Load(Chunky& chunky, ByteStreamAdapter& adapter,
                                                   const char* modelName)
{
    return ShaderChunk::Load(chunky, adapter, modelName, true);
}

Inv::Reference<Shader> ShaderLoadGeneric::LoadShared(Chunky& chunky, ByteStreamAdapter& adapter)
{
    Payload payload(adapter, chunky.ReadDataChunk(ID_SSHR, SSHRVersion));
    char name[ra::MotionPayloadReader::MaxString + 1];
    payload.ReadString(name);
    chunky.CloseChunk();
    if (name[0] == '\0')
        ThrowBadContent(adapter, "A shared shader reference has no name!");

    return ShaderChunk::FindShared(name);
}

void ShaderLoadGeneric::Save(Chunky& chunky, ByteStreamAdapter& adapter, const Shader& shader)
{
    if (!shader.IsShared())
    {
        SaveBody(chunky, adapter, shader);
        return;
    }
    chunky.OpenDataChunk(ID_SSHR, SSHRVersion, nullptr);
    adapter.WriteString(ShaderNameText(shader));
    chunky.CloseChunk();
}

void ShaderLoadGeneric::SaveBody(Chunky& chunky, ByteStreamAdapter& adapter, const Shader& shader)
{
    ShaderChunk::Save(chunky, adapter, shader);
}

void ShaderLoadGeneric::SaveTextures(Chunky& chunky, ByteStreamAdapter& adapter, const Shader& shader,
                                     std::set<const Texture*>& cWritten)
{
    ShaderChunk::SaveTextures(chunky, adapter, shader, Shader::CN_Count, cWritten, SaveTextureOrPass);
}

bool ShaderLoadGeneric::SaveSharedFile(const char* filename, const Shader& shader)
{
    return ShaderChunk::SaveSharedFile(filename, shader, SaveTextureOrPass);
}

std::unique_ptr<Shader> ShaderLoadGeneric::LoadSharedFile(const char* path)
{
    return ShaderChunk::LoadSharedFile(
        path, [](Chunky& chunky, ByteStreamAdapter& adapter) { return TextureLoadGeneric::Load(chunky, adapter); },
        true, false);
}

void ShaderLoadGeneric::Register()
{
    ShaderTypeInfo::SetShaderReader(&LoadSharedFile);
}
