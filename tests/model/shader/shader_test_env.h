// What the shader and texture tests run in: the null render device and the inventory, as a tool
// command sets them up, and chunk files in memory.
#pragma once

#include "foundation/debug.h"
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
#include <stdexcept>
#include <string>
#include <vector>

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

// The message of the assertion that `f` trips; empty when none fires.
template <class F> std::string AssertionText(F f)
{
    dbg::ScopedThrowOnAssert throwOnAssert;
    try
    {
        f();
    }
    catch (const std::runtime_error& e)
    {
        return e.what();
    }
    return "";
}

// A render texture of the null device wrapped in a Texture and put into the inventory.
inline Inv::Reference<Texture> AddTexture(const char* name, fr::PixelFormat format, uint32 side = 4)
{
    fr::ObjectPtr<fr::Texture> pRender =
        fr::Interface::GetDevice()->CreateTexture(side, side, 1, format, false);
    return Inv::Warehouse::Get()->Add(new Texture(name, pRender));
}

// A render texture of the null device whose every byte tells its level and place.
inline fr::ObjectPtr<fr::Texture> PatternedTexture(uint32 w, uint32 h, uint32 mips, fr::PixelFormat format)
{
    fr::ObjectPtr<fr::Texture> pTexture =
        fr::Interface::GetDevice()->CreateTexture(w, h, mips, format, false);
    for (uint32 level = 0; level < pTexture->GetMipCount(); ++level)
    {
        std::vector<uint8> bytes(size_t(pTexture->GetLevelPitch(level)) * pTexture->GetLevelRows(level));
        for (size_t i = 0; i < bytes.size(); ++i)
            bytes[i] = uint8(level * 40 + i * 7 + 1);
        pTexture->Write(level, 0, 0, pTexture->GetLevelWidth(level), pTexture->GetLevelHeight(level), bytes,
                        pTexture->GetLevelPitch(level));
    }
    return pTexture;
}

// The bytes of one level of a render texture of the null device.
inline std::vector<uint8> LevelBytes(const fr::Texture& texture, uint32 level)
{
    const auto bytes = static_cast<const fr::NullTexture&>(texture).GetLevel(level);
    return std::vector<uint8>(bytes.begin(), bytes.end());
}

// Two render textures alike in format, size and the bytes of every level.
inline bool SameLevels(const fr::Texture& a, const fr::Texture& b)
{
    if (a.GetFormat() != b.GetFormat() || a.GetWidth() != b.GetWidth() || a.GetHeight() != b.GetHeight() ||
        a.GetMipCount() != b.GetMipCount())
        return false;
    for (uint32 level = 0; level < a.GetMipCount(); ++level)
        if (LevelBytes(a, level) != LevelBytes(b, level))
            return false;
    return true;
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
