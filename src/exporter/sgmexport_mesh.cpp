// Mesh construction: each mesh node is pulled apart into per-face records, its normals rebuilt from
// smoothing groups, and its final vertices found by sorting tuples of welded indices; the result is
// one ra::Mesh with a vertex set and one primitive set per shader.
#include "exporter/sgmerrors.h"
#include "exporter/sgmexport.h"
#include "exporter/sgmutil.h"
#include "exporter/sgmuv.h"
#include "exporter/uniquer.h"

#include "foundation/debug.h"
#include "foundation/output.h"
#include "model/mesh/mesh.h"
#include "model/shader/shader.h"
#include "model/shader/shaderimp.h"
#include "names/faststring.h"
#include "render/device.h"
#include "render/matrix.h"

#include <algorithm>
#include <climits>
#include <cstring>
#include <memory>
#include <string>

namespace
{
// The view a render mesh is asked for: the exporter has no viewport, so a 640 by 480 screen with
// an identity camera stands in.
class NullView final : public host::View
{
public:
    NullView()
    {
        screenW = 640.0f;
        screenH = 480.0f;
    }
    host::Point2 ViewToScreen(host::Point3 p) override { return {p.x, p.y}; }
};

NullView s_NullView;

// Frees a render mesh that the host handed out with needDelete set.
class RenderMeshHolder
{
public:
    RenderMeshHolder(host::Mesh* pMesh, bool needDelete) : m_pMesh(pMesh), m_needDelete(needDelete) {}
    ~RenderMeshHolder() { Release(); }
    RenderMeshHolder(const RenderMeshHolder&) = delete;
    RenderMeshHolder& operator=(const RenderMeshHolder&) = delete;

    host::Mesh* Get() const { return m_pMesh; }
    void Release()
    {
        if (m_pMesh != nullptr && m_needDelete)
            m_pMesh->DeleteThis();
        m_pMesh = nullptr;
    }

private:
    host::Mesh* m_pMesh;
    bool m_needDelete;
};

// The texture coordinates of a face-mapped face: the texture's square laid on the face so that its
// hidden edge (the diagonal of a quad) runs across the square's diagonal.
void FaceMapUVs(const host::Face& face, TexCoord (&uv)[3])
{
    static const TexCoord s_tableA[3] = {{0, 0}, {1, 0}, {1, 1}};
    static const TexCoord s_tableB[3] = {{1, 1}, {0, 1}, {0, 0}};

    const uint32 edges = face.getEdgeVisFlags();
    uint32 hidden = 2;
    if ((edges & host::EDGE_A) == 0)
        hidden = 0;
    else if ((edges & host::EDGE_B) == 0)
        hidden = 1;
    else if ((edges & host::EDGE_C) == 0)
        hidden = 2;

    const TexCoord* table = face.v[(hidden + 2) % 3] < face.v[hidden] ? s_tableA : s_tableB;
    uint32 s = 2 - hidden;
    for (int i = 0; i < 3; ++i)
    {
        uv[i] = table[s];
        s = (s + 1) % 3;
    }
}

// "MeshMinDetail": "Medium" 1, "High" 2, anything else 0.
int32 ReadMinDetail(host::INode* pNode)
{
    host::CStr value;
    if (!pNode->GetUserPropString("MeshMinDetail", value))
        return 0;
    if (FastString::EqualNoCase(value, "Medium"))
        return 1;
    if (FastString::EqualNoCase(value, "High"))
        return 2;
    return 0;
}

// One face corner while the final vertices are found. The three words are the identity of a
// final vertex: position and shader, weight and UV, normal.
struct VertexKey
{
    uint32 word[3];
    int32 newIndex;
    uint32 face;
    uint32 corner;
};

bool SameIdentity(const VertexKey& a, const VertexKey& b)
{
    return std::memcmp(a.word, b.word, sizeof(a.word)) == 0;
}

constexpr size_t MaxListSize = 65536;
} // namespace

bool SGMExport::BuildMeshes(RenderModel& model, SGMExportOptions& options)
{
    bool success = true;
    size_t i = 0;
    while (i < m_MeshNodes.size())
    {
        host::INode* pNode = m_MeshNodes[i].pNode;
        const host::ObjectState os = pNode ? pNode->EvalWorldState(options.time) : host::ObjectState{};
        if (os.obj == nullptr)
        {
            SGMErrors::Get()->Warning("Skipping node [%s].", pNode ? pNode->GetName() : "");
            m_MeshNodes.erase(m_MeshNodes.begin() + std::ptrdiff_t(i));
            continue;
        }
        if (!BuildMesh(model, i, options))
        {
            success = false;
            SGMErrors::Get()->Error("'%s': Unable to build mesh!", pNode->GetName());
        }
        ++i;
    }
    return success;
}

bool SGMExport::BuildMesh(RenderModel& /*model*/, size_t meshIndex, SGMExportOptions& options)
{
    if (!dbAssert(meshIndex < m_MeshNodes.size()))
        return false;
    host::INode* pNode = m_MeshNodes[meshIndex].pNode;
    if (!dbAssert(pNode))
        return false;
    const host::TimeValue time = options.time;
    const char* meshName = pNode->GetName();

    // The node may have changed since the walk.
    if (!IsMesh(pNode, time))
    {
        SGMErrors::Get()->Error("'%s': Node is not a mesh!", meshName);
        return false;
    }

    int needDelete = 0;
    host::Mesh* pRenderMesh = nullptr;
    if (auto* pGeom = dynamic_cast<host::GeomObject*>(pNode->EvalWorldState(time).obj))
        pRenderMesh = pGeom->GetRenderMesh(time, pNode, s_NullView, needDelete);
    RenderMeshHolder renderMesh(pRenderMesh, needDelete != 0);
    if (pRenderMesh == nullptr)
    {
        SGMErrors::Get()->Error("'%s': Unable to node to a mesh!", meshName);
        return false;
    }
    const host::Mesh& mesh = *pRenderMesh;

    // Corner order: the game's axes reverse the winding, and a mirror reverses it back.
    const host::Matrix3 objectTM = pNode->GetObjectTM(time);
    const bool mirrored =
        host::DotProd(host::CrossProd(objectTM.GetRow(0), objectTM.GetRow(1)), objectTM.GetRow(2)) < 0.0f;
    static const int s_plainOrder[3] = {2, 1, 0};
    static const int s_mirrorOrder[3] = {0, 1, 2};
    const int* cornerOrder = mirrored ? s_mirrorOrder : s_plainOrder;

    host::Mtl* pMtl = pNode->GetMtl();
    const int subMtlCount = pMtl ? pMtl->NumSubMtls() : 0;
    const int faceCount = mesh.numFaces;
    const int vertexCount = mesh.numVerts;
    const int tVertCount = mesh.numTVerts;

    if (faceCount <= 0)
    {
        SGMErrors::Get()->Warning("'%s': has no faces!", meshName);
        return false;
    }

    // The mesh, known to the inventory by the node's name.
    auto pRAMesh = std::make_unique<ra::Mesh>();
    if (!dbAssert(pRAMesh))
        return false;
    pRAMesh->SetName(meshName);
    Inv::Warehouse* pWarehouse = Inv::Warehouse::Get();
    if (!dbAssert(pWarehouse))
        return false;
    ra::Mesh* pMesh = pRAMesh.get();
    Inv::Reference<ra::Mesh> meshRef = pWarehouse->Add(pMesh);
    if (!meshRef.IsValid())
        return false;
    pRAMesh.release();
    m_MeshNodes[meshIndex].meshRef = meshRef;
    // The count before degenerate faces are removed.
    pMesh->SetPolyCount(ra::Mesh::Poly_High, faceCount);

    MeshNode& node = m_MeshNodes[meshIndex];
    node.cVertex.assign(size_t(std::max(vertexCount, 0)), ra::Vec3{});
    node.cUV.assign(size_t(faceCount) * 3, TexCoord{});

    pMesh->SetMinDetail(ReadMinDetail(pNode));
    pMesh->SetChildSelection(pNode->UserPropExists("No_Child_Selection") ? 0 : 1);

    // Positions in world space of `time`, in game axes.
    for (int v = 0; v < vertexCount; ++v)
    {
        const host::Point3 p = mesh.verts[v] * objectTM;
        node.cVertex[size_t(v)] = ra::Vec3(-p.x, p.z, -p.y);
    }

    std::vector<bool> usedShader(size_t(subMtlCount > 0 ? subMtlCount : 1), false);
    node.cFace.assign(size_t(faceCount), FaceRecord{});

    for (int f = 0; f < faceCount; ++f)
    {
        const host::Face& face = mesh.faces[f];
        FaceRecord& record = node.cFace[size_t(f)];

        uint16 id = 0;
        host::Mtl* pFaceMtl = pMtl;
        if (subMtlCount > 0)
        {
            // Clamped, not wrapped.
            id = uint16(std::min<int>(face.getMatID(), subMtlCount - 1));
            pFaceMtl = pMtl->GetSubMtl(id);
        }
        const bool faceMap = pFaceMtl != nullptr && (pFaceMtl->Requirements(-1) & host::MTLREQ_FACEMAP) != 0;

        for (int k = 0; k < 3; ++k)
        {
            const uint32 v = face.v[cornerOrder[k]];
            if (!dbAssert(v < uint32(vertexCount)))
                return false;
            record.iVertex[k] = uint16(v);
            record.iNormal[k] = uint16(v);
        }

        if (tVertCount > 0)
        {
            fr::Matrix44 uvMatrix = fr::Matrix44::Identity();
            if (pFaceMtl)
                GetMaterialUVMatrix(uvMatrix, pFaceMtl);
            TexCoord uv[3];
            if (faceMap)
                FaceMapUVs(face, uv);
            else
            {
                if (!dbAssert(mesh.tvFace))
                    return false;
                for (int k = 0; k < 3; ++k)
                {
                    const uint32 t = mesh.tvFace[f].t[k];
                    if (!dbAssert(t < uint32(tVertCount)))
                        return false;
                    uv[k] = {mesh.tVerts[t].x, mesh.tVerts[t].y};
                }
            }
            for (int k = 0; k < 3; ++k)
            {
                const TexCoord& corner = uv[cornerOrder[k]];
                const size_t slot = size_t(f) * 3 + size_t(k);
                const host::Point3 p = TransformUV(uvMatrix, host::Point3(corner.u, corner.v, 0.0f));
                node.cUV[slot] = {p.x, p.y};
                record.iUV[k] = uint16(slot);
            }
        }

        record.smoothing = face.smGroup;
        record.iShader = id;
        usedShader[id] = true;
    }

    // Used ids get compact numbers in rising id order.
    std::vector<int32> remapShader(usedShader.size(), -1);
    int32 compact = 0;
    for (size_t id = 0; id < usedShader.size(); ++id)
        if (usedShader[id])
            remapShader[id] = compact++;

    std::vector<ShaderListEntry*> shaderList;
    CollectShaders(pNode, shaderList, options, &usedShader);

    // The shader table is sorted by key, so opaque shaders come first.
    std::vector<ShaderListEntry*> sortedShaderList = shaderList;
    std::stable_sort(sortedShaderList.begin(), sortedShaderList.end(),
                     [](const ShaderListEntry* a, const ShaderListEntry* b)
                     { return a->sortKey < b->sortKey; });
    for (int32& shader : remapShader)
    {
        if (shader == -1)
            continue;
        if (!dbAssert(size_t(shader) < shaderList.size()))
            return false;
        auto iter = std::find(sortedShaderList.begin(), sortedShaderList.end(), shaderList[size_t(shader)]);
        if (!dbAssert(iter != sortedShaderList.end()))
            return false;
        shader = int32(iter - sortedShaderList.begin());
    }

    pMesh->SetPrimSetCount(int32(sortedShaderList.size()));
    for (size_t i = 0; i < sortedShaderList.size(); ++i)
    {
        const ShaderListEntry* pEntry = sortedShaderList[i];
        const Inv::NamedResource* pShaderData = pEntry && pEntry->pShader ? pEntry->pShader : nullptr;
        const char* shaderName = pShaderData && pShaderData->GetName() ? pShaderData->GetName() : "";
        Inv::Resource* pResource = nullptr;
        if (shaderName[0] != '\0' && pWarehouse->Find(&pResource, shaderName, Shader::GetTypeInfo()))
            pMesh->SetPrimSetShader(int32(i), Inv::Reference<Shader>(pResource));
        else
            SGMErrors::Get()->Error("Material '%s' is in mesh '%s', but is not used!", shaderName, meshName);
    }

    // Weld the UVs and put the faces on their shader numbers. Slot f * 3 + k is where corner k
    // of face f put its UV, which also holds past the 16 bits of iUV.
    std::vector<uint32> cRemapUV;
    Uniquer(node.cUV, cRemapUV);
    for (size_t i = 0; i < node.cFace.size(); ++i)
    {
        FaceRecord& face = node.cFace[i];
        for (size_t k = 0; k < 3; ++k)
            face.iUV[k] = uint16(cRemapUV[i * 3 + k]);
        if (!dbAssert(m_MeshNodes[meshIndex].cFace[i].iShader < remapShader.size()) ||
            !dbAssert(remapShader[m_MeshNodes[meshIndex].cFace[i].iShader] != -1))
            return false;
        face.iShader = uint16(remapShader[face.iShader]);
    }

    renderMesh.Release();

    if (!BuildSkinData(meshIndex, options))
        return false;

    // The bound volume is over every position, ahead of the removal of degenerate faces.
    ra::BoundVolume bv;
    bv.AddPoints(node.cVertex.data(), node.cVertex.size());
    if (bv.IsValid())
        pMesh->SetBV(bv);

    if (!BuildNormals(meshIndex))
        return false;
    std::vector<std::pair<uint32, uint32>> cVertexMap;
    if (!BuildVertices(meshIndex, 2, &cVertexMap))
        return false;
    return BuildPrimSets(meshIndex, 2);
}

bool SGMExport::BuildNormals(size_t meshIndex)
{
    if (!dbAssert(meshIndex < m_MeshNodes.size()))
        return false;
    MeshNode& node = m_MeshNodes[meshIndex];

    // Degenerate faces go; the others get their unit face normal.
    std::vector<ra::Vec3> cFaceNormal;
    cFaceNormal.reserve(node.cFace.size());
    for (size_t i = 0; i < node.cFace.size(); ++i)
    {
        FaceRecord& face = node.cFace[i];
        for (uint16 v : face.iVertex)
            if (!dbAssert(v < node.cVertex.size()))
                return false;
        bool invalid = face.iVertex[0] == face.iVertex[1] || face.iVertex[1] == face.iVertex[2] ||
                       face.iVertex[0] == face.iVertex[2];
        ra::Vec3 normal;
        if (!invalid)
        {
            const ra::Vec3& p0 = node.cVertex[face.iVertex[0]];
            normal = ra::Cross(node.cVertex[face.iVertex[1]] - p0, node.cVertex[face.iVertex[2]] - p0);
            invalid = normal.LengthSquared() == 0.0f;
        }
        if (invalid)
        {
            dbWarningf("Removing invalid face %d", int(i));
            face.iVertex[0] = face.iVertex[1] = face.iVertex[2] = FaceRecord::Removed;
        }
        else
            cFaceNormal.push_back(ra::Normalize(normal));
    }

    // The face normals now run parallel to cFace.
    std::erase_if(node.cFace,
                  [](const FaceRecord& face)
                  {
                      return face.iVertex[0] == FaceRecord::Removed &&
                             face.iVertex[1] == FaceRecord::Removed && face.iVertex[2] == FaceRecord::Removed;
                  });
    if (!dbAssert(cFaceNormal.size() == node.cFace.size()))
        return false;

    // Per position, the faces that use it, once per corner.
    const size_t positionCount = node.cVertex.size();
    std::vector<uint32> cFirst(positionCount + 1, 0);
    for (const FaceRecord& face : node.cFace)
        for (uint16 v : face.iVertex)
            ++cFirst[size_t(v) + 1];
    for (size_t p = 0; p < positionCount; ++p)
        cFirst[p + 1] += cFirst[p];
    std::vector<uint32> cPositionFace(cFirst[positionCount]);
    {
        std::vector<uint32> cFill(cFirst.begin(), cFirst.end() - 1);
        for (size_t i = 0; i < node.cFace.size(); ++i)
            for (uint16 v : node.cFace[i].iVertex)
                cPositionFace[cFill[v]++] = uint32(i);
    }

    // One normal per face without smoothing, one per corner with it. The corner's entry in the
    // new list is kept at full width, so that lists longer than 16 bits still map right.
    std::vector<ra::Vec3> cNewNormal;
    cNewNormal.reserve(node.cFace.size() * 3);
    std::vector<uint32> cCornerNormal(node.cFace.size() * 3);
    for (size_t i = 0; i < node.cFace.size(); ++i)
    {
        const FaceRecord& face = node.cFace[i];
        if (face.smoothing == 0)
        {
            for (size_t k = 0; k < 3; ++k)
                cCornerNormal[i * 3 + k] = uint32(cNewNormal.size());
            cNewNormal.push_back(cFaceNormal[i]);
            continue;
        }
        for (size_t k = 0; k < 3; ++k)
        {
            // Unit normals of every face that shares the position and a smoothing group, not
            // weighted by area or angle.
            ra::Vec3 n;
            const uint16 v = face.iVertex[k];
            for (uint32 j = cFirst[v]; j < cFirst[size_t(v) + 1]; ++j)
            {
                const uint32 g = cPositionFace[j];
                if ((node.cFace[g].smoothing & face.smoothing) != 0)
                    n += cFaceNormal[g];
            }
            if (n.LengthSquared() == 0.0f)
            {
                dbWarningf("Face %d does not have the smoothing property set!", int(i));
                return false;
            }
            cCornerNormal[i * 3 + k] = uint32(cNewNormal.size());
            cNewNormal.push_back(ra::Normalize(n));
        }
    }

    std::vector<uint32> cRemapNormal;
    Uniquer(cNewNormal, cRemapNormal);
    for (size_t i = 0; i < node.cFace.size(); ++i)
    {
        for (size_t k = 0; k < 3; ++k)
        {
            const uint32 v = cRemapNormal[cCornerNormal[i * 3 + k]];
            if (!dbAssert(v <= USHRT_MAX))
                return false;
            node.cFace[i].iNormal[k] = uint16(v);
        }
    }
    node.cNormal = std::move(cNewNormal);
    return true;
}

bool SGMExport::BuildVertices(size_t meshIndex, uint32 usage, std::vector<std::pair<uint32, uint32>>* pMap)
{
    if (!dbAssert(meshIndex < m_MeshNodes.size()))
        return false;
    MeshNode& node = m_MeshNodes[meshIndex];
    const char* meshName = node.pNode ? node.pNode->GetName() : "";

    // Welded indices are 16 bits wide.
    if (node.cVertex.size() > MaxListSize || node.cWeight.size() > MaxListSize ||
        node.cNormal.size() > MaxListSize || node.cUV.size() > MaxListSize)
    {
        SGMErrors::Get()->Error("'%s': Too many vertices!", meshName);
        return false;
    }

    std::vector<uint32> cRemapVertex, cRemapWeight, cRemapNormal, cRemapUV;
    Uniquer(node.cVertex, cRemapVertex);
    Uniquer(node.cWeight, cRemapWeight);
    Uniquer(node.cNormal, cRemapNormal);
    Uniquer(node.cUV, cRemapUV);
    if (!node.cWeight.empty() && !dbAssert(cRemapWeight.size() == cRemapVertex.size()))
        return false;

    // All faces were degenerate.
    if (node.cFace.empty())
        return false;

    // One key per corner.
    std::vector<VertexKey> cKey;
    cKey.reserve(node.cFace.size() * 3);
    for (size_t i = 0; i < node.cFace.size(); ++i)
    {
        const FaceRecord& face = node.cFace[i];
        for (uint32 k = 0; k < 3; ++k)
        {
            const uint16 v = face.iVertex[k];
            if (!dbAssert(v < cRemapVertex.size()) ||
                !dbAssert(cRemapNormal.empty() || face.iNormal[k] < cRemapNormal.size()) ||
                !dbAssert(cRemapUV.empty() || face.iUV[k] < cRemapUV.size()))
                return false;
            const uint32 position = cRemapVertex[v];
            const uint32 weight = cRemapWeight.empty() ? 0 : cRemapWeight[v];
            const uint32 normal = cRemapNormal.empty() ? 0 : cRemapNormal[face.iNormal[k]];
            const uint32 uv = cRemapUV.empty() ? 0 : cRemapUV[face.iUV[k]];
            VertexKey key;
            key.word[0] = (position & 0xFFFF) | (uint32(face.iShader) << 16);
            key.word[1] = (weight & 0xFFFF) | ((uv & 0xFFFF) << 16);
            key.word[2] = normal & 0xFFFF;
            key.newIndex = -1;
            key.face = uint32(i);
            key.corner = k;
            cKey.push_back(key);
        }
    }

    // By raw bytes: position bytes come first, so a shader's vertices are one run only by chance.
    std::sort(cKey.begin(), cKey.end(),
              [](const VertexKey& a, const VertexKey& b)
              { return std::memcmp(a.word, b.word, sizeof(a.word)) < 0; });

    int32 newIndex = 0;
    for (size_t i = 0; i < cKey.size(); ++i)
    {
        if (i > 0 && !SameIdentity(cKey[i], cKey[i - 1]))
            ++newIndex;
        cKey[i].newIndex = newIndex;
    }
    const uint32 finalCount = uint32(newIndex) + 1;

    if (!dbAssert(!m_MeshNodes[meshIndex].cVertex.empty()))
        return false;
    fr::VertexType type;
    type.set(fr::VC_Position);
    if (!node.cWeight.empty())
        type.set(fr::VC_Weights);
    if (!node.cNormal.empty())
        type.set(fr::VC_Normal);
    if (!node.cUV.empty())
        type.set(fr::VC_TexCoord0);
    fr::Device* pDevice = fr::Interface::GetDevice();
    std::unique_ptr<fr::VertexSet> pVertexSetHigh = pDevice ? pDevice->CreateVertexSet() : nullptr;
    if (pVertexSetHigh && !pVertexSetHigh->Create(type, finalCount, usage))
        pVertexSetHigh.reset();
    if (!dbAssert(pVertexSetHigh))
        return false;

    // Each final vertex is written once, from the first of its keys.
    uint32 stridePosition = 0, strideWeight = 0, strideNormal = 0, strideUV = 0;
    auto* pPosition = static_cast<uint8*>(pVertexSetHigh->LockArray(fr::VC_Position, stridePosition));
    auto* pWeight = node.cWeight.empty()
                        ? nullptr
                        : static_cast<uint8*>(pVertexSetHigh->LockArray(fr::VC_Weights, strideWeight));
    auto* pNormal = node.cNormal.empty()
                        ? nullptr
                        : static_cast<uint8*>(pVertexSetHigh->LockArray(fr::VC_Normal, strideNormal));
    auto* pUV = node.cUV.empty() ? nullptr
                                 : static_cast<uint8*>(pVertexSetHigh->LockArray(fr::VC_TexCoord0, strideUV));
    const bool locksAgree = pPosition != nullptr && (pWeight != nullptr) == !node.cWeight.empty() &&
                            (pNormal != nullptr) == !node.cNormal.empty() &&
                            (pUV != nullptr) == !node.cUV.empty();
    if (locksAgree)
    {
        for (size_t i = 0; i < cKey.size(); ++i)
        {
            const VertexKey& cv = cKey[i];
            if (i > 0 && cv.newIndex == cKey[i - 1].newIndex)
                continue;
            if (!dbAssert(cv.newIndex != -1))
                continue;
            const size_t n = size_t(cv.newIndex);
            std::memcpy(pPosition + n * stridePosition, &node.cVertex[cv.word[0] & 0xFFFF], sizeof(ra::Vec3));
            if (pWeight)
                std::memcpy(pWeight + n * strideWeight, &node.cWeight[cv.word[1] & 0xFFFF],
                            sizeof(WeightRecord));
            if (pNormal)
                std::memcpy(pNormal + n * strideNormal, &node.cNormal[cv.word[2] & 0xFFFF], sizeof(ra::Vec3));
            if (pUV)
                std::memcpy(pUV + n * strideUV, &node.cUV[cv.word[1] >> 16], sizeof(TexCoord));
        }
    }

    if (pUV)
        pVertexSetHigh->UnlockArray(fr::VC_TexCoord0);
    if (pNormal)
        pVertexSetHigh->UnlockArray(fr::VC_Normal);
    if (pWeight)
        pVertexSetHigh->UnlockArray(fr::VC_Weights);
    if (pPosition)
        pVertexSetHigh->UnlockArray(fr::VC_Position);

    // Every corner now names its final vertex in all three index fields.
    for (const VertexKey& cv : cKey)
    {
        FaceRecord& face = node.cFace[cv.face];
        if (pMap)
            pMap->emplace_back(uint32(face.iVertex[cv.corner]), uint32(cv.newIndex));
        const uint16 index = uint16(cv.newIndex);
        face.iVertex[cv.corner] = index;
        face.iNormal[cv.corner] = index;
        face.iUV[cv.corner] = index;
    }

    if (pMap)
    {
        std::sort(pMap->begin(), pMap->end());
        pMap->erase(std::unique(pMap->begin(), pMap->end()), pMap->end());
    }

    if (!dbAssert(m_MeshNodes[meshIndex].meshRef.IsValid()))
        return false;
    node.meshRef.Get()->SetVertexSet(ra::Mesh::Poly_High, std::move(pVertexSetHigh));
    return true;
}

bool SGMExport::BuildPrimSets(size_t meshIndex, uint32 usage)
{
    if (!dbAssert(meshIndex < m_MeshNodes.size()))
        return false;
    MeshNode& node = m_MeshNodes[meshIndex];
    if (!dbAssert(m_MeshNodes[meshIndex].meshRef.IsValid()))
        return false;
    ra::Mesh* pMesh = node.meshRef.Get();
    if (!dbAssert(pMesh))
        return false;

    std::sort(node.cFace.begin(), node.cFace.end(),
              [](const FaceRecord& a, const FaceRecord& b) { return a.iShader < b.iShader; });

    fr::Device* pDevice = fr::Interface::GetDevice();
    const int32 shaderCount = pMesh->GetPrimSetCount();
    auto faceBegin = node.cFace.begin();
    for (int32 s = 0; s < shaderCount; ++s)
    {
        // The faces of shader s are one run of the sorted list.
        while (faceBegin != node.cFace.end() && faceBegin->iShader < s)
            ++faceBegin;
        auto faceEnd = faceBegin;
        while (faceEnd != node.cFace.end() && faceEnd->iShader == s)
            ++faceEnd;
        const size_t faceCount = size_t(faceEnd - faceBegin);
        if (faceCount == 0)
        {
            pMesh->SetPrimSet(s, ra::Mesh::Poly_High, nullptr);
            continue;
        }

        // The two marks are an either-or: an index that lowers the low mark is not looked at for
        // the high one.
        std::vector<uint16> cIndex;
        cIndex.reserve(faceCount * 3);
        uint16 low = 0xFFFF;
        uint16 high = 0;
        for (auto face = faceBegin; face != faceEnd; ++face)
        {
            for (uint16 index : face->iVertex)
            {
                if (index < low)
                    low = index;
                else if (index > high)
                    high = index;
                cIndex.push_back(index);
            }
        }
        faceBegin = faceEnd;

        fr::VertexSet* pVertexSetHigh = pMesh->GetVertexSet(ra::Mesh::Poly_High);
        if (!dbAssert(pVertexSetHigh))
            return false;
        const uint32 rangeCount = uint32(int32(high) - int32(low) + 1);
        pVertexSetHigh->AddRange(low, rangeCount);

        Shader* pShader = pMesh->GetPrimSetShader(s).Get();
        fr::Shader* pRenderShader = pShader ? pShader->GetRenderShader() : nullptr;

        std::unique_ptr<fr::PrimSet> pPrimSetHigh = pDevice ? pDevice->CreatePrimSet() : nullptr;
        if (!dbAssert(pPrimSetHigh))
            return false;
        pPrimSetHigh->Initialise(pVertexSetHigh, pRenderShader, usage);
        // The index count resets the range, so the range goes in after it.
        pPrimSetHigh->SetIndexCount(uint32(cIndex.size()));
        pPrimSetHigh->SetRange(low, rangeCount);
        pPrimSetHigh->SetKind(fr::PK_TriangleList);
        pPrimSetHigh->WriteIndices(0, uint32(cIndex.size()), cIndex);
        pMesh->SetPrimSet(s, ra::Mesh::Poly_High, std::move(pPrimSetHigh));
    }
    return true;
}
