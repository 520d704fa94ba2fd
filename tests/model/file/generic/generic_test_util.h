// What the generic model file tests share: payloads built by hand, chunk files in memory written
// and read through the loaders, disk folders under an alias, and model parts built in code.
#pragma once

#include "foundation/debug.h"
#include "inventory/warehouse.h"
#include "math/matrix.h"
#include "model/event/eventdata.h"
#include "model/file/generic/rendermodelloadgeneric.h"
#include "model/mesh/mesh.h"
#include "model/rendermodeltypeinfo.h"
#include "model/shader/shader_test_env.h"
#include "model/shader/shaderimp.h"
#include "model/shader/shadertypeinfo.h"
#include "model/shader/texturetypeinfo.h"
#include "model/skeleton/skeleton.h"
#include "render/device.h"
#include "storage/chunky.h"
#include "storage/filepath.h"
#include "storage/filepath_hd.h"
#include "support/logcapture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace generic_test
{
using model_test::Chunk;
using model_test::FileHeader;
using model_test::U32;

// The readers of this library registered for one test; the process-wide hooks are put back.
class RegisteredLoaders
{
public:
    RegisteredLoaders()
        : m_shaderReader(ShaderTypeInfo::GetShaderReader()), m_textureReader(TextureTypeInfo::GetTextureReader()),
          m_eventReader(EventDataTypeInfo::GetEventReader())
    {
        RenderModelLoadGeneric::Register();
    }
    ~RegisteredLoaders()
    {
        ShaderTypeInfo::SetShaderReader(m_shaderReader);
        TextureTypeInfo::SetTextureReader(m_textureReader);
        EventDataTypeInfo::SetEventReader(m_eventReader);
        RenderModelTypeInfo::SetGenericLoader(nullptr);
    }
    RegisteredLoaders(const RegisteredLoaders&) = delete;
    RegisteredLoaders& operator=(const RegisteredLoaders&) = delete;

private:
    ShaderTypeInfo::ShaderReader m_shaderReader;
    TextureTypeInfo::TextureReader m_textureReader;
    EventDataTypeInfo::EventReader m_eventReader;
};

// A fresh folder on disk under an alias ("GENERIC", "DATA"...); both go at the end of the test.
class MountedFolder
{
public:
    explicit MountedFolder(const char* alias) : m_alias(alias)
    {
        char pattern[] = "/tmp/tq7z_generic_XXXXXX";
        if (::mkdtemp(pattern) != nullptr)
            m_path = pattern;
        FilePath::AddAlias(alias, "generic test", 100,
                           FilePathHD::Create(m_path.c_str(), ByteStream::Mode_Both, false, false));
    }
    ~MountedFolder()
    {
        FilePath::RemoveAlias(m_alias.c_str(), "generic test");
        std::error_code ec;
        std::filesystem::remove_all(m_path, ec);
    }
    MountedFolder(const MountedFolder&) = delete;
    MountedFolder& operator=(const MountedFolder&) = delete;

    const std::string& Path() const { return m_path; }
    std::string Read(const std::string& rel) const
    {
        std::ifstream in(m_path + "/" + rel, std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(in), {});
    }
    void Write(const std::string& rel, const std::string& bytes) const
    {
        std::filesystem::create_directories(std::filesystem::path(m_path + "/" + rel).parent_path());
        std::ofstream(m_path + "/" + rel, std::ios::binary) << bytes;
    }

private:
    std::string m_alias;
    std::string m_path;
};

inline std::string Folder(const char* id, uint32 version, const std::string& children, const char* name = nullptr)
{
    return Chunk("FOLD", id, version, children, name);
}
inline std::string Data(const char* id, uint32 version, const std::string& payload, const char* name = nullptr)
{
    return Chunk("DATA", id, version, payload, name);
}

// Writes through `write` into a chunk file in memory; its bytes.
inline std::string WriteChunks(const std::function<void(Chunky&, ByteStreamAdapter&)>& write)
{
    model_test::Writer w;
    write(*w.m_pChunky, w.m_adapter);
    return w.Bytes();
}

// Reads the chunks (the file header is added) through `read`.
template <class ReadT> auto ReadChunks(const std::string& chunks, ReadT read)
{
    model_test::Reader r(FileHeader() + chunks);
    return read(*r.m_pChunky, r.m_adapter);
}

// The chunks under the root folder of a file, as "ID:name" and their bytes, headers included.
inline std::vector<std::pair<std::string, std::string>> RootChunks(const std::string& file)
{
    auto word = [&](size_t at)
    {
        uint32 v = 0;
        if (at + 4 <= file.size())
            std::memcpy(&v, file.data() + at, 4);
        return v;
    };
    std::vector<std::pair<std::string, std::string>> c;
    const size_t root = Chunky::FileHeaderSize;
    const size_t begin = root + Chunky::ChunkHeaderSize + word(root + 16);
    const size_t end = std::min(file.size(), begin + word(root + 12));
    for (size_t at = begin; at + Chunky::ChunkHeaderSize <= end;)
    {
        const uint32 nameLength = word(at + 16);
        const std::string name = nameLength ? std::string(file.c_str() + at + Chunky::ChunkHeaderSize) : "";
        const size_t size = Chunky::ChunkHeaderSize + nameLength + word(at + 12);
        c.emplace_back(file.substr(at + 4, 4) + ":" + name, file.substr(at, size));
        at += size;
    }
    return c;
}

// The children of the root folder of a file, as "ID:name".
inline std::vector<std::string> RootChildren(const std::string& file)
{
    std::vector<std::string> c;
    for (const auto& chunk : RootChunks(file))
        c.push_back(chunk.first);
    return c;
}

// The top chunks of a file, as "ID:name".
inline std::vector<std::string> TopChunks(const std::string& file)
{
    model_test::Reader r(file);
    std::vector<std::string> cName;
    ChunkInfo info;
    while (r.m_pChunky->NextChunk(info))
    {
        const char id[4] = {char(info.id >> 24), char(info.id >> 16), char(info.id >> 8), char(info.id)};
        cName.push_back(std::string(id, 4) + ":" + info.name.c_str());
    }
    return cName;
}

// The text of a name, "" for none.
inline std::string Text(ra::Name name)
{
    const char* text = ra::GetNameText(name);
    return text ? text : "";
}

inline bool SameMatrix(const fr::Matrix44& a, const fr::Matrix44& b)
{
    return std::memcmp(&a, &b, sizeof(a)) == 0;
}

inline ra::BoundVolume BoxAt(float x, float y, float z, float extent)
{
    ra::OBB box;
    box.centre = {x, y, z};
    box.scale = {extent, extent * 2, extent};
    ra::BoundVolume bv;
    bv.SetOBB(box);
    return bv;
}

// Floats of a stream, vertex after vertex, from a formula of vertex and element.
inline std::vector<uint32> FloatWords(uint32 vertexCount, uint32 perVertex, float scale, float offset)
{
    std::vector<uint32> c(size_t(vertexCount) * perVertex);
    for (size_t i = 0; i < c.size(); ++i)
    {
        const float value = offset + scale * float(i);
        std::memcpy(&c[i], &value, 4);
    }
    return c;
}

inline std::unique_ptr<fr::PrimSet> TriangleList(const std::vector<uint16>& cIndex)
{
    std::unique_ptr<fr::PrimSet> pSet = fr::Interface::GetDevice()->CreatePrimSet();
    pSet->Initialise(nullptr, nullptr, 0);
    pSet->SetKind(fr::PK_TriangleList);
    pSet->SetIndexCount(uint32(cIndex.size()));
    pSet->WriteIndices(0, uint32(cIndex.size()), cIndex);
    return pSet;
}

// The indices of a primitive set of a mesh; none when it has no set there.
inline std::vector<uint16> IndicesOf(const ra::Mesh& mesh, int32 primSet, uint32 level = ra::Mesh::Poly_High)
{
    const fr::PrimSet* pSet = mesh.GetPrimSet(primSet, level);
    std::vector<uint16> c(pSet ? pSet->GetIndexCount() : 0);
    if (pSet)
        pSet->ReadIndices(0, uint32(c.size()), c);
    return c;
}

// A texture of the null device whose bytes tell their place, in the inventory.
inline Inv::Reference<Texture> AddPatternedTexture(const char* name, uint32 side = 4)
{
    fr::ObjectPtr<fr::Texture> pRender = fr::Interface::GetDevice()->CreateTexture(side, side, 1, fr::PF_A8R8G8B8, false);
    std::vector<uint8> bytes(size_t(pRender->GetLevelPitch(0)) * pRender->GetLevelRows(0));
    for (size_t i = 0; i < bytes.size(); ++i)
        bytes[i] = uint8(i * 13 + side);
    pRender->Write(0, 0, 0, side, side, bytes, pRender->GetLevelPitch(0));
    return Inv::Warehouse::Get()->Add(new Texture(name, pRender));
}

// A matrix whose sixteen elements differ.
inline fr::Matrix44 Counting(float start)
{
    fr::Matrix44 m;
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c)
            m.m[r][c] = start + float(r * 4 + c) * 0.5f;
    return m;
}
} // namespace generic_test
