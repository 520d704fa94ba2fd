// What the shader and texture tests run in: the null render device and the inventory, as a tool
// command sets them up, and chunk files in memory.
#pragma once

#include "inventory/inventory.h"
#include "model/shader/shaderimp.h"
#include "model/shader/texture.h"
#include "render/device.h"
#include "storage/bytestreamadapter.h"
#include "storage/chunky.h"
#include "storage/ramstream.h"
#include "support/chunkbytes.h"
#include "support/chunkmemory.h"

#include <cstring>
#include <memory>
#include <string>

namespace model_test
{
// Device first and inventory second; taken down in reverse order.
struct Env
{
    Env()
    {
        fr::Interface::CreateDevice({});
        Inv::Warehouse::Create();
    }
    ~Env()
    {
        ShaderImp::ClearOverrides();
        ShaderImp::ClearActiveTeam();
        Inv::Warehouse::Destroy();
        fr::Interface::DestroyDevice();
    }
    Env(const Env&) = delete;
    Env& operator=(const Env&) = delete;
};

// A render texture of the null device wrapped in a Texture and put into the inventory.
inline Inv::Reference<Texture> AddTexture(const char* name, fr::PixelFormat format, uint32 side = 4)
{
    fr::ObjectPtr<fr::Texture> pRender =
        fr::Interface::GetDevice()->CreateTexture(side, side, 1, format, false);
    return Inv::Warehouse::Get()->Add(new Texture(name, pRender));
}

inline const fr::NullShader& RenderTree(const ShaderImp& shader)
{
    return static_cast<const fr::NullShader&>(*shader.GetRenderShader());
}

// The shared chunk files in memory, by the short names these tests use.
using Writer = ChunkWriter;
using Reader = ChunkReader;

// Chunk files built by hand, byte by byte.
inline std::string U32(uint32 v)
{
    return Bytes().U32(v);
}
inline std::string FileHeader()
{
    return ChunkFileHeader();
}
inline std::string Chunk(const char* type, const char* id, uint32 version, const std::string& payload,
                         const char* name = nullptr)
{
    return ChunkBytes(type, id, version, payload, name);
}
} // namespace model_test
