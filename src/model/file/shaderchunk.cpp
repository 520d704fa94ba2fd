#include "model/file/shaderchunk.h"

#include "foundation/debug.h"
#include "foundation/output.h"
#include "inventory/warehouse.h"
#include "model/file/modelchunk.h"
#include "model/file/modelparts.h"
#include "model/shader/shaderimp.h"
#include "storage/bytestream.h"
#include "storage/bytestreamadapter.h"
#include "storage/chunky.h"
#include "storage/filepath.h"

#include <exception>
#include <stdexcept>

using namespace ModelChunk;

namespace
{
const char* ShaderNameText(const Shader& shader)
{
    const char* text = ra::GetNameText(shader.GetName());
    return text ? text : "";
}

void ReadInfo(Payload& payload, Shader& shader)
{
    const int32 source = payload.ReadInt32();
    const int32 destination = payload.ReadInt32();
    const float floatParameter = payload.ReadFloat();
    const int32 intParameter = payload.ReadInt32();
    const uint8 byteParameter = payload.ReadUInt8();
    shader.SetBlend(source, destination);
    shader.SetFloat(floatParameter);
    shader.SetInt(intParameter);
    shader.SetByte(byteParameter);
}

void ReadChannel(Payload& payload, const ChunkInfo& info, Shader& shader, const char* modelName,
                 bool warnChannel)
{
    const int32 channel = payload.ReadInt32();
    const int32 method = payload.ReadInt32();
    const uint32 colour = payload.ReadUInt32();
    char texture[ra::MotionPayloadReader::MaxString + 1];
    payload.ReadString(texture);
    if (info.version == 2)
        payload.ReadUInt8();
    int32 mode[3];
    for (int32& m : mode)
        m = payload.ReadInt32();
    const fr::Matrix44 transform = payload.ReadMatrix44();
    const fr::Matrix44 transform2 = payload.ReadMatrix44();

    if (channel < 0 || channel >= int32(Shader::FileChannelCount))
        ThrowBadContent(payload.GetAdapter(), "Shader '%s': channel %d is not a channel of a model file!",
                        ShaderNameText(shader), channel);
    if (method < Shader::Method_Colour || method > Shader::Method_Blend)
        ThrowBadContent(payload.GetAdapter(), "Shader '%s': channel %d has no method %d!",
                        ShaderNameText(shader), channel, method);
    const uint32 n = uint32(channel);
    shader.SetMethod(n, method);
    shader.SetColour(n, colour);
    shader.SetBaseColour(n, colour);
    shader.SetAddressMode(n, mode[0]);
    shader.SetFilterMode(n, mode[1]);
    shader.SetCoordMode(n, mode[2]);
    shader.SetTransform(n, transform);
    shader.SetBaseTransform(n, transform);
    shader.SetTransform2(n, transform2);
    // An empty name leaves method and colour as the file has them.
    if (texture[0] != '\0')
        SetChannelTextureByName(shader, n, texture, modelName, warnChannel);
}

} // namespace

namespace ShaderChunk
{
std::unique_ptr<ShaderImp> Load(Chunky& chunky, ByteStreamAdapter& adapter, const char* modelName,
                                bool warnChannel)
{
    const ChunkInfo shdr = chunky.ReadFolderChunk(ID_SHDR, SHDRVersion);
    if (shdr.name.empty())
        ThrowBadContent(adapter, "A shader has no name!");
    auto pShader = std::make_unique<ShaderImp>(shdr.name.c_str());

    ChunkInfo info;
    while (chunky.NextChunk(info))
    {
        if (info.kind != Chunky::CT_Data)
            continue;
        if (info.id == ID_INFO)
        {
            Payload payload(adapter, chunky.ReadDataChunk(ID_INFO, INFOVersion));
            ReadInfo(payload, *pShader);
            chunky.CloseChunk();
        }
        else if (info.id == ID_CHAN)
        {
            const ChunkInfo chan = chunky.ReadDataChunk(ID_CHAN, CHANVersion);
            Payload payload(adapter, chan);
            ReadChannel(payload, chan, *pShader, modelName, warnChannel);
            chunky.CloseChunk();
        }
    }
    chunky.CloseChunk();
    return pShader;
}

void Save(Chunky& chunky, ByteStreamAdapter& adapter, const Shader& shader)
{
    chunky.OpenFolderChunk(ID_SHDR, SHDRVersion, ShaderNameText(shader));

    chunky.OpenDataChunk(ID_INFO, INFOVersion, nullptr);
    int32 source = 0, destination = 0;
    shader.GetBlend(source, destination);
    WriteInt32(adapter, source);
    WriteInt32(adapter, destination);
    WriteFloat(adapter, shader.GetFloat());
    WriteInt32(adapter, shader.GetInt());
    WriteUInt8(adapter, shader.GetByte());
    chunky.CloseChunk();

    for (uint32 n = 0; n < Shader::FileChannelCount; ++n)
    {
        chunky.OpenDataChunk(ID_CHAN, CHANVersion, nullptr);
        WriteInt32(adapter, int32(n));
        WriteInt32(adapter, shader.GetMethod(n));
        WriteUInt32(adapter, shader.GetColour(n));
        const Texture* pTexture = shader.GetTexture(n).Get();
        const char* textureName = pTexture ? pTexture->GetName() : nullptr;
        adapter.WriteString(textureName ? textureName : "");
        WriteInt32(adapter, shader.GetAddressMode(n));
        WriteInt32(adapter, shader.GetFilterMode(n));
        WriteInt32(adapter, shader.GetCoordMode(n));
        WriteMatrix44(adapter, shader.GetTransform(n));
        WriteMatrix44(adapter, shader.GetTransform2(n));
        chunky.CloseChunk();
    }
    chunky.CloseChunk();
}

Inv::Reference<Shader> FindShared(const char* name)
{
    Inv::Reference<Shader> shaderRef = Inv::Load<Shader>(name);
    if (!dbAssert(shaderRef.IsValid()))
        return shaderRef;
    if (Shader* pShader = shaderRef.Get())
        pShader->SetShared(true);
    return shaderRef;
}

bool SaveTextures(Chunky& chunky, ByteStreamAdapter& adapter, const Shader& shader, uint32 channelCount,
                  std::set<const Texture*>& cWritten, const TextureWriter& saveTexture)
{
    for (uint32 n = 0; n < channelCount && n < Shader::CN_Count; ++n)
    {
        const Texture* pTexture = shader.GetTexture(n).Get();
        if (pTexture == nullptr || !cWritten.insert(pTexture).second)
            continue;
        if (!saveTexture(chunky, adapter, *pTexture))
            return false;
    }
    return true;
}

bool SaveSharedFile(const char* filename, const Shader& shader, const TextureWriter& saveTexture)
{
    if (!dbAssert(filename))
        return false;
    return ra::WithChunkFile(filename, ByteStream::Mode_Write,
                             [&](Chunky& chunky, ByteStreamAdapter& adapter)
                             {
                                 chunky.OpenFolderChunk(ID_SHRF, SHRFVersion, nullptr);
                                 std::set<const Texture*> cWritten;
                                 if (!SaveTextures(chunky, adapter, shader, Shader::FileChannelCount, cWritten,
                                                   saveTexture))
                                     throw std::runtime_error("a texture of the shader cannot be written");
                                 Save(chunky, adapter, shader);
                                 chunky.CloseChunk();
                             });
}

std::unique_ptr<Shader> LoadSharedFile(const char* path, const TextureReader& loadTexture, bool warnChannel,
                                       bool strict)
{
    if (!dbAssert(path))
        return nullptr;
    std::shared_ptr<ByteStream> pStream = FilePath::Open(path, ByteStream::Mode_Read);
    if (!pStream)
    {
        dbWarningf("SHADER -- '%s': Unable to load!", path);
        return nullptr;
    }
    try
    {
        ByteStreamAdapter adapter(*pStream);
        Chunky chunky(adapter);
        chunky.ReadFolderChunk(ID_SHRF, SHRFVersion);
        std::unique_ptr<Shader> pShader;
        ChunkInfo info;
        while (!pShader && chunky.NextChunk(info))
        {
            if (info.kind == Chunky::CT_Folder && info.id == ID_TXTR)
            {
                std::unique_ptr<Texture> pTexture = loadTexture(chunky, adapter);
                if (!pTexture && strict)
                {
                    dbWarningf("SHADER -- '%s': a texture of the file did not load!", path);
                    return nullptr;
                }
                // The textures go into the inventory unless one of that name is there already.
                if (pTexture)
                    ModelParts::AddTexture(std::move(pTexture));
            }
            else if (info.kind == Chunky::CT_Folder && info.id == ID_SHDR)
                pShader = Load(chunky, adapter, adapter.GetName(), warnChannel);
        }
        if (!pShader)
            dbWarningf("SHADER -- '%s': the file holds no shader!", path);
        return pShader;
    }
    catch (const std::exception& e)
    {
        dbWarningf("SHADER -- '%s': %s", path, e.what());
        return nullptr;
    }
}
} // namespace ShaderChunk
