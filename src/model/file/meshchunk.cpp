#include "model/file/meshchunk.h"

#include "foundation/debug.h"
#include "foundation/output.h"
#include "inventory/warehouse.h"
#include "model/rendermodel.h"
#include "model/rendermodeltypeinfo.h"
#include "model/shader/shaderimp.h"
#include "render/device.h"
#include "storage/bytestreamadapter.h"
#include "storage/chunky.h"

#include <algorithm>

using namespace ModelChunk;

namespace
{
// The streams a model file carries, in file order.
constexpr uint32 s_fileStreams[] = {fr::VC_Position, fr::VC_Weights, fr::VC_Normal, fr::VC_TexCoord0};
// Bit 1 of the type word: weighted vertices, whose primitive sets are made in mode 2.
constexpr uint32 s_weightedUsage = 2;

std::unique_ptr<fr::PrimSet> CreatePrimSet(fr::VertexSet* pVertexSet, Shader& shader, uint32 usage,
                                           const std::vector<uint16>& cIndex)
{
    fr::Device* pDevice = fr::Interface::GetDevice();
    if (!dbAssert(pDevice))
        return nullptr;
    if (shader.GetRenderShader() == nullptr)
        shader.Update();
    std::unique_ptr<fr::PrimSet> pSet = pDevice->CreatePrimSet();
    if (!pSet || !pSet->Initialise(pVertexSet, shader.GetRenderShader(), usage))
        return nullptr;
    pSet->SetKind(fr::PK_TriangleList);
    pSet->SetIndexCount(uint32(cIndex.size()));
    if (!pSet->WriteIndices(0, uint32(cIndex.size()), cIndex))
        return nullptr;
    return pSet;
}

// The first mesh of the stand-in model, for a mesh that cannot be had.
Inv::Reference<ra::Mesh> MissingMesh()
{
    Inv::Reference<RenderModel> modelRef = Inv::Load<RenderModel>(RenderModelTypeInfo::MissingModelName);
    const RenderModel* pModel = modelRef.Get();
    if (pModel == nullptr || pModel->GetMeshGroup() == nullptr || pModel->GetMeshGroup()->GetMeshCount() == 0)
        return {};
    return pModel->GetMeshGroup()->GetMeshRef(0).mesh;
}

// The mesh of that name in the group of another model's file.
Inv::Reference<ra::Mesh> XRefMesh(const char* xref, ra::Name name)
{
    Inv::Reference<RenderModel> modelRef = Inv::Load<RenderModel>(xref);
    const RenderModel* pModel = modelRef.Get();
    const ra::MeshGroup* pGroup = pModel ? pModel->GetMeshGroup() : nullptr;
    const int32 index = pGroup ? pGroup->FindMesh(name) : ra::MeshGroup::InvalidIndex;
    if (index != ra::MeshGroup::InvalidIndex)
        return pGroup->GetMeshRef(index).mesh;
    dbWarningf("MODELS -- Unable to load XREF Mesh '%s' from '%s'!", ra::NameText(name), xref);
    return MissingMesh();
}

uint16 FirstVertex(const std::vector<uint16>& cIndex)
{
    return cIndex.empty() ? 0 : *std::min_element(cIndex.begin(), cIndex.end());
}

uint16 VertexRange(const std::vector<uint16>& cIndex)
{
    if (cIndex.empty())
        return 0;
    const auto [low, high] = std::minmax_element(cIndex.begin(), cIndex.end());
    return uint16(*high - *low + 1);
}
} // namespace

namespace MeshChunk
{
uint32 PrimSetUsage(const fr::VertexType& type)
{
    return type.test(fr::VC_Weights) ? s_weightedUsage : 0;
}

Inv::Reference<ra::Mesh> AddAnonymous(std::unique_ptr<ra::Mesh> pMesh)
{
    Inv::Warehouse* pWarehouse = Inv::Warehouse::Get();
    if (!dbAssert(pWarehouse))
        return {};
    // Meshes are reached through their model, never by name: two models may hold meshes of the
    // same name.
    auto* pResource = new Inv::Resource(pMesh.get());
    if (!pWarehouse->AddAnonymous(pResource, ra::Mesh::GetTypeInfo()))
        return {};
    pMesh.release();
    return Inv::Reference<ra::Mesh>(pResource);
}

Inv::Reference<Shader> FindShader(const char* shaderName, const char* meshName)
{
    Inv::Warehouse* pWarehouse = Inv::Warehouse::Get();
    if (!dbAssert(pWarehouse))
        return {};
    Inv::Resource* pResource = nullptr;
    if (pWarehouse->Find(&pResource, shaderName, Shader::GetTypeInfo()))
        return Inv::Reference<Shader>(pResource);
    dbWarningf("Mesh '%s': Unable to load shader '%s' (Make sure the MAX Ref does not have IgnoreShaders on!",
               meshName, shaderName);
    auto pShader = std::make_unique<ShaderImp>(shaderName);
    Inv::Reference<Shader> shaderRef = pWarehouse->Add<Shader>(pShader.get());
    if (shaderRef.IsValid())
        pShader.release();
    return shaderRef;
}

ra::BoundVolume ReadBoundVolume(Payload& payload, const ChunkInfo& info)
{
    ra::BoundVolume bv;
    if (info.version >= 2)
    {
        if (payload.ReadUInt8() != 0)
            bv.SetOBB(payload.ReadOBB());
        return bv;
    }
    const bool hasSphere = payload.ReadUInt8() != 0;
    const bool hasBox = payload.ReadUInt8() != 0;
    if (hasSphere)
        payload.Skip(12 + 4);
    if (hasBox)
        bv.SetOBB(payload.ReadOBB());
    return bv;
}

ra::BoundVolume ReadBoundVolumeChunk(Chunky& chunky, ByteStreamAdapter& adapter)
{
    const ChunkInfo info = chunky.ReadDataChunk(ID_BVOL, BVOLVersion);
    Payload payload(adapter, info);
    ra::BoundVolume bv = ReadBoundVolume(payload, info);
    chunky.CloseChunk();
    return bv;
}

void WriteBoundVolume(Chunky& chunky, ByteStreamAdapter& adapter, const ra::BoundVolume& bv)
{
    chunky.OpenDataChunk(ID_BVOL, BVOLVersion, nullptr);
    WriteUInt8(adapter, bv.IsValid() ? 1 : 0);
    if (bv.IsValid())
        WriteOBB(adapter, bv.GetOBB());
    chunky.CloseChunk();
}

fr::VertexType ReadVertexType(Payload& payload, const char* meshName)
{
    const uint32 type = payload.ReadUInt32();
    if ((type >> fr::VC_Count) != 0)
        ThrowBadContent(payload.GetAdapter(),
                        "Mesh '%s': vertex type 0x%X names components the render layer lacks!", meshName,
                        type);
    return fr::VertexType(type);
}

std::unique_ptr<fr::VertexSet> CreateVertexSet(Payload& payload, const fr::VertexType& type,
                                               int64 vertexCount, const char* meshName)
{
    if (vertexCount < 0 || vertexCount > fr::VertexSet::MaxSize)
        ThrowBadContent(payload.GetAdapter(), "Mesh '%s': %lld vertices do not fit a vertex set!", meshName,
                        static_cast<long long>(vertexCount));
    if (vertexCount == 0)
        return nullptr;
    std::unique_ptr<fr::VertexSet> pSet = ra::CreateVertexSet(type, uint32(vertexCount));
    if (!pSet)
        ThrowBadContent(payload.GetAdapter(), "Mesh '%s': unable to create a vertex set of %lld vertices!",
                        meshName, static_cast<long long>(vertexCount));
    return pSet;
}

// One stream of every vertex, if the type has it.
void ReadStream(Payload& payload, fr::VertexSet* pSet, const fr::VertexType& type, uint32 vertexCount,
                uint32 component)
{
    if (!type.test(component))
        return;
    const std::vector<uint32> cWord =
        payload.ReadArray<uint32>(vertexCount * ra::GetStreamWordCount(component));
    if (pSet != nullptr)
        ra::WriteStreamWords(*pSet, component, cWord);
}

std::unique_ptr<fr::VertexSet> ReadVertexSet(Payload& payload, int64 vertexCount, fr::VertexType& type,
                                             const char* meshName)
{
    type = ReadVertexType(payload, meshName);
    std::unique_ptr<fr::VertexSet> pSet = CreateVertexSet(payload, type, vertexCount, meshName);
    for (uint32 component : s_fileStreams)
        ReadStream(payload, pSet.get(), type, uint32(vertexCount), component);
    return pSet;
}

void WriteVertexStreams(ByteStreamAdapter& adapter, fr::VertexSet* pSet)
{
    if (pSet == nullptr)
        return;
    WriteUInt32(adapter, uint32(pSet->GetType().to_ulong()));
    std::vector<uint32> cWord;
    for (uint32 component : s_fileStreams)
        if (ra::ReadStreamWords(*pSet, component, cWord))
            adapter.WriteArray(cWord.data(), uint32(cWord.size()));
}

fr::VertexType ReadMeshHead(Payload& payload, const ChunkInfo& info, ra::Mesh& mesh)
{
    const char* meshName = mesh.Inv::NamedResource::GetName();
    mesh.SetMeshType(int32(payload.ReadUInt32()));
    if (info.version >= 2)
        mesh.SetRenderFlag(payload.ReadUInt8() != 0);
    mesh.SetPolyCount(ra::Mesh::Poly_High, payload.ReadInt32());
    mesh.SetPolyCount(ra::Mesh::Poly_Low, payload.ReadInt32());

    // Each skin transform takes at least the length of its bone name and its slot.
    const uint32 skinCount = payload.ReadCount(4 + 4);
    mesh.SetSkinnedTransformCount(int32(skinCount));
    for (uint32 i = 0; i < skinCount; ++i)
    {
        mesh.SetSkinnedTransformName(int32(i), payload.ReadName());
        mesh.SetSkinnedTransformIndex(int32(i), int32(payload.ReadUInt32()));
    }

    const int32 vertexCount = payload.ReadInt32();
    fr::VertexType type;
    mesh.SetVertexSet(ra::Mesh::Poly_High, ReadVertexSet(payload, vertexCount, type, meshName));
    return type;
}

void WriteMeshHead(ByteStreamAdapter& adapter, const ra::Mesh& mesh)
{
    WriteUInt32(adapter, uint32(mesh.GetMeshType()));
    WriteUInt8(adapter, mesh.GetRenderFlag() ? 1 : 0);
    WriteInt32(adapter, mesh.GetPolyCount(ra::Mesh::Poly_High));
    WriteInt32(adapter, mesh.GetPolyCount(ra::Mesh::Poly_Low));
    WriteInt32(adapter, mesh.GetSkinnedTransformCount());
    for (int32 i = 0; i < mesh.GetSkinnedTransformCount(); ++i)
    {
        adapter.WriteString(ra::NameText(mesh.GetSkinnedTransformName(i)));
        WriteUInt32(adapter, uint32(mesh.GetSkinnedTransformIndex(i)));
    }
    fr::VertexSet* pSet = mesh.GetVertexSet(ra::Mesh::Poly_High);
    WriteInt32(adapter, pSet ? int32(pSet->GetSize()) : 0);
    if (pSet == nullptr)
        WriteUInt32(adapter, 0);
    WriteVertexStreams(adapter, pSet);
}

Inv::Reference<Shader> ReadPrimSetShader(Payload& payload, ra::Mesh& mesh, int32 index)
{
    const char* meshName = mesh.Inv::NamedResource::GetName();
    char shaderName[ra::MotionPayloadReader::MaxString + 1];
    payload.ReadString(shaderName);
    if (shaderName[0] == '\0')
        ThrowBadContent(payload.GetAdapter(), "Mesh '%s': primitive set %d has no shader!", meshName, index);
    Inv::Reference<Shader> shaderRef = FindShader(shaderName, meshName);
    if (shaderRef.IsValid())
        mesh.SetPrimSetShader(index, shaderRef);
    return shaderRef;
}

void WritePrimSetShader(ByteStreamAdapter& adapter, const ra::Mesh& mesh, int32 index)
{
    const Shader* pShader = mesh.GetPrimSetShader(index).Get();
    dbAssert(pShader);
    adapter.WriteString(pShader ? ra::NameText(pShader->GetName()) : "");
}

std::vector<uint16> ReadIndices(Payload& payload, uint32 indexCount, uint32 vertexCount, const char* meshName)
{
    std::vector<uint16> cIndex = payload.ReadArray<uint16>(indexCount);
    for (uint16 index : cIndex)
        if (index >= vertexCount)
            ThrowBadContent(payload.GetAdapter(), "Mesh '%s': index %u out of range (mesh has %u vertices)",
                            meshName, index, vertexCount);
    return cIndex;
}

std::vector<uint16> ReadIndexList(Payload& payload, uint32 vertexCount, const char* meshName, int32 index)
{
    const int32 indexCount = payload.ReadInt32();
    if (indexCount < 0)
        ThrowBadContent(payload.GetAdapter(), "Mesh '%s': primitive set %d has %d indices!", meshName, index,
                        indexCount);
    if (indexCount == 0)
        return {};
    std::vector<uint16> cIndex = ReadIndices(payload, uint32(indexCount), vertexCount, meshName);
    // The first vertex and the range in use follow from the indices; the writer works them out
    // again.
    payload.Skip(2 + 2);
    return cIndex;
}

void WriteIndexList(ByteStreamAdapter& adapter, const fr::PrimSet* pPrimSet)
{
    std::vector<uint16> cIndex;
    if (pPrimSet != nullptr)
    {
        cIndex.resize(pPrimSet->GetIndexCount());
        pPrimSet->ReadIndices(0, uint32(cIndex.size()), cIndex);
    }
    WriteInt32(adapter, int32(cIndex.size()));
    if (cIndex.empty())
        return;
    adapter.WriteArray(cIndex.data(), uint32(cIndex.size()));
    const uint16 first = FirstVertex(cIndex);
    const uint16 range = VertexRange(cIndex);
    adapter.WriteValue(first);
    adapter.WriteValue(range);
}

void SetPrimSet(ra::Mesh& mesh, int32 index, uint32 level, Shader& shader, uint32 usage,
                const std::vector<uint16>& cIndex)
{
    if (cIndex.empty())
        return;
    mesh.SetPrimSet(index, level, CreatePrimSet(mesh.GetVertexSet(level), shader, usage, cIndex));
}

void ReadGroupEntries(Payload& payload, std::vector<Entry>& cEntry)
{
    // An entry takes at least the lengths of its two strings and its bone.
    const uint32 count = payload.ReadCount(4 + 4 + 4);
    cEntry.reserve(count);
    for (uint32 i = 0; i < count; ++i)
    {
        Entry entry;
        entry.name = payload.ReadName();
        entry.xref = payload.ReadString();
        entry.boneIndex = int32(payload.ReadUInt32());
        if (entry.name == ra::Name::INVALID)
            ThrowBadContent(payload.GetAdapter(), "Mesh entry %u has no name!", i);
        cEntry.push_back(std::move(entry));
    }
}

void WriteGroupEntries(Chunky& chunky, ByteStreamAdapter& adapter, const ra::MeshGroup& group)
{
    chunky.OpenDataChunk(ID_DATA, MSGRDataVersion, nullptr);
    WriteInt32(adapter, group.GetMeshCount());
    for (int32 i = 0; i < group.GetMeshCount(); ++i)
    {
        const ra::MeshRef& ref = group.GetMeshRef(i);
        adapter.WriteString(ra::NameText(ref.name));
        adapter.WriteString(ra::NameText(ref.xrefName));
        WriteUInt32(adapter, uint32(ref.boneIndex));
    }
    chunky.CloseChunk();
}

std::unique_ptr<ra::MeshGroup> BuildGroup(std::vector<Entry>& cEntry,
                                          const std::vector<Inv::Reference<ra::Mesh>>& cLocal,
                                          const Skeleton* pSkeleton, const ra::BoundVolume& bv,
                                          const char* modelName)
{
    for (Entry& entry : cEntry)
    {
        if (entry.mesh.IsValid())
            continue;
        if (!entry.xref.empty())
        {
            entry.mesh = XRefMesh(entry.xref.c_str(), entry.name);
            continue;
        }
        for (const Inv::Reference<ra::Mesh>& meshRef : cLocal)
            if (meshRef.Get() && meshRef.Get()->GetName() == entry.name)
            {
                entry.mesh = meshRef;
                break;
            }
        if (!entry.mesh.IsValid())
        {
            dbWarningf("MODELS -- '%s': Mesh '%s' is not in the model file!", modelName,
                       ra::NameText(entry.name));
            entry.mesh = MissingMesh();
        }
    }
    cEntry.erase(std::remove_if(cEntry.begin(), cEntry.end(),
                                [modelName](const Entry& entry)
                                {
                                    if (entry.mesh.IsValid())
                                        return false;
                                    dbWarningf("MODELS -- '%s': no stand-in for mesh '%s', left out!",
                                               modelName, ra::NameText(entry.name));
                                    return true;
                                }),
                 cEntry.end());

    auto pGroup = std::make_unique<ra::MeshGroup>();
    pGroup->SetSkeleton(pSkeleton);
    pGroup->SetMeshCount(int32(cEntry.size()));
    for (size_t i = 0; i < cEntry.size(); ++i)
    {
        ra::MeshRef ref;
        ref.mesh = cEntry[i].mesh;
        ref.name = cEntry[i].name;
        ref.xrefName = cEntry[i].xref.empty() ? ra::Name::INVALID : ra::MakeName(cEntry[i].xref.c_str());
        ref.boneIndex = cEntry[i].boneIndex;
        pGroup->SetMesh(int32(i), ref);
    }
    pGroup->SetBV(bv);
    return pGroup;
}

std::unique_ptr<ra::Mesh>
ReadMeshFolder(Chunky& chunky, ByteStreamAdapter& adapter, const char* modelName, uint32 dataVersion,
               const std::function<void(Payload&, const ChunkInfo&, ra::Mesh&)>& readData)
{
    const ChunkInfo mslc = chunky.ReadFolderChunk(ID_MSLC, MSLCVersion);
    if (mslc.name.empty())
        ThrowBadContent(adapter, "A mesh of model '%s' has no name!", modelName);
    auto pMesh = std::make_unique<ra::Mesh>(mslc.name.c_str());
    ChunkInfo info;
    while (chunky.NextChunk(info))
    {
        if (info.kind != Chunky::CT_Data)
            continue;
        if (info.id == ID_DATA)
        {
            const ChunkInfo data = chunky.ReadDataChunk(ID_DATA, dataVersion);
            Payload payload(adapter, data);
            readData(payload, data, *pMesh);
            chunky.CloseChunk();
        }
        else if (info.id == ID_BVOL)
        {
            const ra::BoundVolume bv = ReadBoundVolumeChunk(chunky, adapter);
            if (bv.IsValid())
                pMesh->SetBV(bv);
        }
    }
    chunky.CloseChunk();
    return pMesh;
}

void WriteMeshFolder(Chunky& chunky, ByteStreamAdapter& adapter, const ra::Mesh& mesh, const char* name,
                     uint32 dataVersion, const std::function<void()>& writeData)
{
    chunky.OpenFolderChunk(ID_MSLC, MSLCVersion, name);
    chunky.OpenDataChunk(ID_DATA, dataVersion, nullptr);
    writeData();
    chunky.CloseChunk();
    // A mesh of a model file always has its volume; one without is written as not valid.
    if (!mesh.HasBV())
        dbBreakMsg("m_bv.IsValid()");
    WriteBoundVolume(chunky, adapter, mesh.HasBV() ? mesh.GetBV() : ra::BoundVolume());
    chunky.CloseChunk();
}

std::unique_ptr<ra::MeshGroup>
ReadGroup(Chunky& chunky, ByteStreamAdapter& adapter, const Skeleton* pSkeleton, const char* modelName,
          const std::function<Inv::Reference<ra::Mesh>(const ChunkInfo&)>& loadMesh)
{
    chunky.ReadFolderChunk(ID_MSGR, MSGRVersion);
    std::vector<Inv::Reference<ra::Mesh>> cLocal;
    std::vector<Entry> cEntry;
    ra::BoundVolume bv;
    ChunkInfo info;
    while (chunky.NextChunk(info))
    {
        if (info.kind == Chunky::CT_Folder && info.id == ID_MSLC)
            cLocal.push_back(loadMesh(info));
        else if (info.kind == Chunky::CT_Data && info.id == ID_DATA)
        {
            Payload payload(adapter, chunky.ReadDataChunk(ID_DATA, MSGRDataVersion));
            ReadGroupEntries(payload, cEntry);
            chunky.CloseChunk();
        }
        else if (info.kind == Chunky::CT_Data && info.id == ID_BVOL)
            bv = ReadBoundVolumeChunk(chunky, adapter);
    }
    chunky.CloseChunk();
    return BuildGroup(cEntry, cLocal, pSkeleton, bv, modelName);
}

void WriteGroup(Chunky& chunky, ByteStreamAdapter& adapter, const ra::MeshGroup& group,
                const std::function<void(const ra::Mesh&, const char* name)>& saveMesh)
{
    chunky.OpenFolderChunk(ID_MSGR, MSGRVersion, nullptr);
    for (int32 i = 0; i < group.GetMeshCount(); ++i)
    {
        const ra::MeshRef& ref = group.GetMeshRef(i);
        if (ref.xrefName == ra::Name::INVALID && ref.mesh.Get() != nullptr)
            saveMesh(*ref.mesh.Get(), ra::NameText(ref.name));
    }
    WriteGroupEntries(chunky, adapter, group);
    WriteBoundVolume(chunky, adapter, group.GetBV());
    chunky.CloseChunk();
}
} // namespace MeshChunk
