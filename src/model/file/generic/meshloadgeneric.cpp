#include "model/file/generic/meshloadgeneric.h"

#include "foundation/debug.h"
#include "foundation/output.h"
#include "inventory/warehouse.h"
#include "model/file/generic/genericchunk.h"
#include "model/file/meshchunk.h"
#include "storage/bytestreamadapter.h"
#include "storage/chunky.h"
#include "storage/filepath.h"
#include "storage/filepathutil.h"

#include <string>
#include <vector>

using namespace GenericChunk;
using namespace ModelChunk;

namespace
{
// Bit 3 of the type word in the legacy geometry: one word of an old-style weight per vertex.
constexpr uint32 s_legacyWeightBit = 1u << 3;

// The data of a mesh: the shared head, then one index list of the high level per primitive set.
void ReadMeshData(Payload& payload, const ChunkInfo& info, ra::Mesh& mesh)
{
    const char* meshName = mesh.Inv::NamedResource::GetName();
    const uint32 usage = MeshChunk::PrimSetUsage(MeshChunk::ReadMeshHead(payload, info, mesh));
    const fr::VertexSet* pSet = mesh.GetVertexSet(ra::Mesh::Poly_High);
    const uint32 vertexCount = pSet ? pSet->GetSize() : 0;
    // Each primitive set takes at least the length of its shader name and its index count.
    const uint32 primSetCount = payload.ReadCount(4 + 4);
    mesh.SetPrimSetCount(int32(primSetCount));
    for (uint32 i = 0; i < primSetCount; ++i)
    {
        Inv::Reference<Shader> shaderRef = MeshChunk::ReadPrimSetShader(payload, mesh, int32(i));
        const std::vector<uint16> cIndex = MeshChunk::ReadIndexList(payload, vertexCount, meshName, int32(i));
        if (shaderRef.IsValid())
            MeshChunk::SetPrimSet(mesh, int32(i), ra::Mesh::Poly_High, *shaderRef.Get(), usage, cIndex);
    }
}

// The data of a legacy geometry chunk.
void ReadLegacyMeshData(Payload& payload, const ChunkInfo& info, ra::Mesh& mesh)
{
    const char* meshName = mesh.Inv::NamedResource::GetName();
    if (info.version >= 4)
        mesh.SetMeshType(payload.ReadInt32());
    const uint32 vertexCount = payload.ReadUInt32();
    fr::VertexType type = MeshChunk::ReadVertexType(payload, meshName);
    const bool oldWeight = info.version < 5 && (type.to_ulong() & s_legacyWeightBit) != 0;
    if (oldWeight)
        type &= fr::VertexType(~uint64(s_legacyWeightBit));
    std::unique_ptr<fr::VertexSet> pSet = MeshChunk::CreateVertexSet(payload, type, vertexCount, meshName);
    MeshChunk::ReadStream(payload, pSet.get(), type, vertexCount, fr::VC_Position);
    MeshChunk::ReadStream(payload, pSet.get(), type, vertexCount, fr::VC_Weights);
    MeshChunk::ReadStream(payload, pSet.get(), type, vertexCount, fr::VC_Normal);
    if (oldWeight)
    {
        payload.Need(vertexCount, 4);
        payload.Skip(vertexCount * 4);
    }
    MeshChunk::ReadStream(payload, pSet.get(), type, vertexCount, fr::VC_TexCoord0);
    if (info.version >= 3)
        payload.ReadUInt8();
    mesh.SetVertexSet(ra::Mesh::Poly_High, std::move(pSet));

    const uint32 usage = MeshChunk::PrimSetUsage(type);
    const uint32 shaderCount = payload.ReadCount(4 + 4);
    mesh.SetPrimSetCount(int32(shaderCount));
    uint64 indexTotal = 0;
    for (uint32 i = 0; i < shaderCount; ++i)
    {
        Inv::Reference<Shader> shaderRef = MeshChunk::ReadPrimSetShader(payload, mesh, int32(i));
        const uint32 indexCount = payload.ReadUInt32();
        const std::vector<uint16> cIndex = MeshChunk::ReadIndices(payload, indexCount, vertexCount, meshName);
        indexTotal += indexCount;
        if (shaderRef.IsValid())
            MeshChunk::SetPrimSet(mesh, int32(i), ra::Mesh::Poly_High, *shaderRef.Get(), usage, cIndex);
    }
    mesh.SetPolyCount(ra::Mesh::Poly_High, int32(indexTotal / 3));

    // Extras: named matrices, of which the flagged ones are the bones that skin this mesh.
    const uint32 extraCount = payload.ReadCount(4 + 48);
    for (uint32 i = 0; i < extraCount; ++i)
    {
        const ra::Name name = payload.ReadName();
        payload.ReadMatrix34();
        if (info.version >= 2 && payload.ReadUInt8() != 0)
        {
            const int32 skin = mesh.GetSkinnedTransformCount();
            mesh.SetSkinnedTransformCount(skin + 1);
            mesh.SetSkinnedTransformName(skin, name);
            mesh.SetSkinnedTransformIndex(skin, int32(i));
        }
    }
}

// A legacy "GEOM" folder into a new mesh of that name: its data, then its bound volume; the
// volumes of the extras that follow are dropped.
Inv::Reference<ra::Mesh> LoadGeometry(Chunky& chunky, ByteStreamAdapter& adapter, const char* meshName)
{
    chunky.ReadFolderChunk(ID_GEOM, GEOMVersion);
    auto pMesh = std::make_unique<ra::Mesh>(meshName);
    bool hasVolume = false;
    ChunkInfo info;
    while (chunky.NextChunk(info))
    {
        if (info.kind != Chunky::CT_Data)
            continue;
        if (info.id == ID_DATA)
        {
            const ChunkInfo data = chunky.ReadDataChunk(ID_DATA, GEOMDataVersion);
            Payload payload(adapter, data);
            ReadLegacyMeshData(payload, data, *pMesh);
            chunky.CloseChunk();
        }
        else if (info.id == ID_BVOL)
        {
            const ra::BoundVolume bv = MeshChunk::ReadBoundVolumeChunk(chunky, adapter);
            if (!hasVolume && bv.IsValid())
                pMesh->SetBV(bv);
            hasVolume = true;
        }
    }
    chunky.CloseChunk();
    return MeshChunk::AddAnonymous(std::move(pMesh));
}

// A cross-reference of the oldest files: a path relative to the model file's folder.
std::string RelativeToFolder(const char* folder, const std::string& path)
{
    char joined[FilePath::MAXPATH];
    if (folder == nullptr || !FilePathUtil::Join(joined, folder, path.c_str()))
        return path;
    return joined;
}

// One legacy "NODE": a mesh of its own or one from another model's file, on a bone.
MeshChunk::Entry LoadLegacyNode(Chunky& chunky, ByteStreamAdapter& adapter, const char* folder)
{
    chunky.ReadFolderChunk(ID_NODE, NODEVersion);
    MeshChunk::Entry entry;
    ChunkInfo info;
    while (chunky.NextChunk(info))
    {
        if (info.kind == Chunky::CT_Data && info.id == ID_INFO)
        {
            const ChunkInfo data = chunky.ReadDataChunk(ID_INFO, NODEInfoVersion);
            Payload payload(adapter, data);
            payload.ReadMatrix34();
            entry.boneIndex = payload.ReadInt32();
            chunky.CloseChunk();
        }
        else if (info.kind == Chunky::CT_Folder && info.id == ID_MESH)
        {
            const ChunkInfo mesh = chunky.ReadFolderChunk(ID_MESH, MESHVersion);
            entry.name = ra::NameOf(mesh.name.c_str());
            if (entry.name == ra::Name::INVALID)
                ThrowBadContent(adapter, "A mesh has no name!");
            if (chunky.FindChunk(Chunky::CT_Folder, ID_GEOM))
                entry.mesh = LoadGeometry(chunky, adapter, mesh.name.c_str());
            chunky.CloseChunk();
        }
        else if (info.kind == Chunky::CT_Data && info.id == ID_XREF)
        {
            const ChunkInfo xref = chunky.ReadDataChunk(ID_XREF, NODEXrefVersion);
            Payload payload(adapter, xref);
            entry.xref = payload.ReadString();
            if (xref.version < 3)
                entry.xref = RelativeToFolder(folder, entry.xref);
            entry.name = payload.ReadName();
            if (xref.version < 4 && payload.ReadUInt8() != 0)
            {
                payload.ReadString();
                payload.ReadString();
            }
            chunky.CloseChunk();
            if (entry.name == ra::Name::INVALID)
                ThrowBadContent(adapter, "A cross-referenced mesh has no name!");
        }
    }
    chunky.CloseChunk();
    if (entry.name == ra::Name::INVALID)
        ThrowBadContent(adapter, "A mesh node holds no mesh!");
    return entry;
}

} // namespace

Inv::Reference<ra::Mesh> MeshLoadGeneric::LoadMesh(Chunky& chunky, ByteStreamAdapter& adapter,
                                                   const char* modelName)
{
    return MeshChunk::AddAnonymous(
        MeshChunk::ReadMeshFolder(chunky, adapter, modelName, MSLCDataVersion, &ReadMeshData));
}

std::unique_ptr<ra::MeshGroup> MeshLoadGeneric::Load(Chunky& chunky, ByteStreamAdapter& adapter,
                                                     const Skeleton* pSkeleton, const char* modelName)
{
    return MeshChunk::ReadGroup(chunky, adapter, pSkeleton, modelName,
                                [&](const ChunkInfo&) { return LoadMesh(chunky, adapter, modelName); });
}

std::unique_ptr<ra::MeshGroup> MeshLoadGeneric::LoadLegacy(Chunky& chunky, ByteStreamAdapter& adapter,
                                                           const Skeleton* pSkeleton, const char* modelName,
                                                           const char* folder)
{
    chunky.ReadFolderChunk(ID_MESH, MESHVersion);
    std::vector<MeshChunk::Entry> cEntry;
    ra::BoundVolume bv;
    ChunkInfo info;
    while (chunky.NextChunk(info))
    {
        if (info.kind != Chunky::CT_Folder || info.id != ID_GGRP)
            continue;
        chunky.ReadFolderChunk(ID_GGRP, GGRPVersion);
        ChunkInfo child;
        while (chunky.NextChunk(child))
        {
            if (child.kind == Chunky::CT_Data && child.id == ID_INFO)
            {
                Payload payload(adapter, chunky.ReadDataChunk(ID_INFO, GGRPInfoVersion));
                payload.ReadUInt8();
                chunky.CloseChunk();
            }
            else if (child.kind == Chunky::CT_Data && child.id == ID_BVOL)
                bv = MeshChunk::ReadBoundVolumeChunk(chunky, adapter);
            else if (child.kind == Chunky::CT_Folder && child.id == ID_NODE)
                cEntry.push_back(LoadLegacyNode(chunky, adapter, folder));
        }
        chunky.CloseChunk();
    }
    chunky.CloseChunk();
    return MeshChunk::BuildGroup(cEntry, {}, pSkeleton, bv, modelName);
}

void MeshLoadGeneric::SaveMesh(Chunky& chunky, ByteStreamAdapter& adapter, const ra::Mesh& mesh,
                               const char* name)
{
    MeshChunk::WriteMeshFolder(chunky, adapter, mesh, name, MSLCDataVersion,
                               [&]
                               {
                                   MeshChunk::WriteMeshHead(adapter, mesh);
                                   WriteInt32(adapter, mesh.GetPrimSetCount());
                                   for (int32 i = 0; i < mesh.GetPrimSetCount(); ++i)
                                   {
                                       MeshChunk::WritePrimSetShader(adapter, mesh, i);
                                       MeshChunk::WriteIndexList(adapter,
                                                                 mesh.GetPrimSet(i, ra::Mesh::Poly_High));
                                   }
                               });
}

void MeshLoadGeneric::Save(Chunky& chunky, ByteStreamAdapter& adapter, const ra::MeshGroup& meshGroup)
{
    MeshChunk::WriteGroup(chunky, adapter, meshGroup,
                          [&](const ra::Mesh& mesh, const char* name)
                          { SaveMesh(chunky, adapter, mesh, name); });
}
