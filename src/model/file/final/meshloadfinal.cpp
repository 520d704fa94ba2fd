#include "model/file/final/meshloadfinal.h"

#include "foundation/debug.h"
#include "inventory/warehouse.h"
#include "model/file/final/finalchunk.h"
#include "model/file/meshchunk.h"
#include "storage/bytestreamadapter.h"
#include "storage/chunky.h"

#include <vector>

using namespace FinalChunk;
using namespace ModelChunk;

namespace
{
ra::ShadowManager* s_pShadowManager = nullptr;

// The mesh of that name that a model loaded before put into the inventory.
Inv::Reference<ra::Mesh> FindShared(const char* meshName)
{
    Inv::Warehouse* pWarehouse = Inv::Warehouse::Get();
    Inv::Resource* pResource = nullptr;
    if (pWarehouse == nullptr || !pWarehouse->Find(&pResource, meshName, ra::Mesh::GetTypeInfo()))
        return {};
    return Inv::Reference<ra::Mesh>(pResource);
}

Inv::Reference<ra::Mesh> AddShared(std::unique_ptr<ra::Mesh> pMesh)
{
    Inv::Warehouse* pWarehouse = Inv::Warehouse::Get();
    if (!dbAssert(pWarehouse))
        return {};
    Inv::Reference<ra::Mesh> meshRef = pWarehouse->Add<ra::Mesh>(pMesh.get());
    if (meshRef.IsValid())
        pMesh.release();
    return meshRef;
}

uint32 VertexCount(const ra::Mesh& mesh, uint32 level)
{
    const fr::VertexSet* pSet = mesh.GetVertexSet(level);
    return pSet ? pSet->GetSize() : 0;
}

void ReadShadows(Payload& payload, ra::Mesh& mesh)
{
    const uint32 vertexCount = payload.ReadCount(sizeof(ra::Vec3));
    mesh.SetShadowVertices(payload.ReadArray<ra::Vec3>(vertexCount));
    const uint32 edgeCount = payload.ReadCount(sizeof(ra::ShadowEdge));
    mesh.SetShadowEdges(payload.ReadArray<ra::ShadowEdge>(edgeCount));
    const uint32 faceCount = payload.ReadCount(sizeof(ra::ShadowFace));
    mesh.SetShadowFaces(payload.ReadArray<ra::ShadowFace>(faceCount));
}

template <class T> void WriteArray(ByteStreamAdapter& adapter, const std::vector<T>& c)
{
    WriteInt32(adapter, int32(c.size()));
    if (!c.empty())
        adapter.Write(c.data(), uint32(c.size() * sizeof(T)));
}

void ReadMeshData(Payload& payload, const ChunkInfo& info, ra::Mesh& mesh)
{
    const char* meshName = mesh.Inv::NamedResource::GetName();
    const uint32 highUsage = MeshChunk::PrimSetUsage(MeshChunk::ReadMeshHead(payload, info, mesh));
    uint32 lowUsage = 0;
    const int32 lowCount = payload.ReadInt32();
    if (lowCount != 0)
    {
        fr::VertexType lowType;
        mesh.SetVertexSet(ra::Mesh::Poly_Low, MeshChunk::ReadVertexSet(payload, lowCount, lowType, meshName));
        lowUsage = MeshChunk::PrimSetUsage(lowType);
    }

    // Each primitive set takes at least the length of its shader name and two index counts.
    const uint32 primSetCount = payload.ReadCount(4 + 4 + 4);
    mesh.SetPrimSetCount(int32(primSetCount));
    for (uint32 i = 0; i < primSetCount; ++i)
    {
        Inv::Reference<Shader> shaderRef = MeshChunk::ReadPrimSetShader(payload, mesh, int32(i));
        const std::vector<uint16> cHigh =
            MeshChunk::ReadIndexList(payload, VertexCount(mesh, ra::Mesh::Poly_High), meshName, int32(i));
        const std::vector<uint16> cLow =
            MeshChunk::ReadIndexList(payload, VertexCount(mesh, ra::Mesh::Poly_Low), meshName, int32(i));
        if (!shaderRef.IsValid())
            continue;
        MeshChunk::SetPrimSet(mesh, int32(i), ra::Mesh::Poly_High, *shaderRef.Get(), highUsage, cHigh);
        MeshChunk::SetPrimSet(mesh, int32(i), ra::Mesh::Poly_Low, *shaderRef.Get(), lowUsage, cLow);
    }
    // Without a shadow manager the arrays are of no use: the chunk is closed here.
    if (s_pShadowManager != nullptr)
        ReadShadows(payload, mesh);
}
} // namespace

void MeshLoadFinal::SetShadowManager(ra::ShadowManager* pShadowManager)
{
    s_pShadowManager = pShadowManager;
}

ra::ShadowManager* MeshLoadFinal::GetShadowManager()
{
    return s_pShadowManager;
}

Inv::Reference<ra::Mesh> MeshLoadFinal::LoadMesh(Chunky& chunky, ByteStreamAdapter& adapter,
                                                 const char* modelName)
{
    return AddShared(MeshChunk::ReadMeshFolder(chunky, adapter, modelName, MSLCDataVersion, &ReadMeshData));
}

std::unique_ptr<ra::MeshGroup> MeshLoadFinal::Load(Chunky& chunky, ByteStreamAdapter& adapter,
                                                   const Skeleton* pSkeleton, const char* modelName)
{
    return MeshChunk::ReadGroup(chunky, adapter, pSkeleton, modelName,
                                [&](const ChunkInfo& info)
                                {
                                    // A mesh of this name is loaded already: the chunk is passed
                                    // over unread.
                                    Inv::Reference<ra::Mesh> meshRef = info.name.empty()
                                                                           ? Inv::Reference<ra::Mesh>()
                                                                           : FindShared(info.name.c_str());
                                    return meshRef.IsValid() ? meshRef : LoadMesh(chunky, adapter, modelName);
                                });
}

void MeshLoadFinal::SaveMesh(Chunky& chunky, ByteStreamAdapter& adapter, const ra::Mesh& mesh,
                             const char* name)
{
    fr::VertexSet* pHigh = mesh.GetVertexSet(ra::Mesh::Poly_High);
    if (pHigh == nullptr)
        dbBreakMsg("mesh.GetVertexSet( ra::Mesh::Poly_High )");
    else if (pHigh->GetSize() == 0)
        dbBreakMsg("mesh.GetVertexSet( ra::Mesh::Poly_High )->GetSize() > 0");

    MeshChunk::WriteMeshFolder(
        chunky, adapter, mesh, name, MSLCDataVersion,
        [&]
        {
            MeshChunk::WriteMeshHead(adapter, mesh);
            fr::VertexSet* pLow = mesh.GetVertexSet(ra::Mesh::Poly_Low);
            WriteInt32(adapter, pLow ? int32(pLow->GetSize()) : 0);
            MeshChunk::WriteVertexStreams(adapter, pLow);
            WriteInt32(adapter, mesh.GetPrimSetCount());
            for (int32 i = 0; i < mesh.GetPrimSetCount(); ++i)
            {
                MeshChunk::WritePrimSetShader(adapter, mesh, i);
                MeshChunk::WriteIndexList(adapter, mesh.GetPrimSet(i, ra::Mesh::Poly_High));
                MeshChunk::WriteIndexList(adapter, mesh.GetPrimSet(i, ra::Mesh::Poly_Low));
            }
            WriteArray(adapter, mesh.GetShadowVertices());
            WriteArray(adapter, mesh.GetShadowEdges());
            WriteArray(adapter, mesh.GetShadowFaces());
        });
}

void MeshLoadFinal::Save(Chunky& chunky, ByteStreamAdapter& adapter, const ra::MeshGroup& meshGroup)
{
    MeshChunk::WriteGroup(chunky, adapter, meshGroup,
                          [&](const ra::Mesh& mesh, const char* name)
                          { SaveMesh(chunky, adapter, mesh, name); });
}
