#include "model/mesh/meshgroup.h"

#include "foundation/debug.h"
#include "foundation/output.h"
#include "model/anim/animpose.h"
#include "model/skeleton/skeleton.h"

namespace ra
{
namespace
{
const MeshRef s_emptyMeshRef;
const Inv::Reference<Shader> s_nullShader;

const char* Text(Name name)
{
    const char* pText = GetNameText(name);
    return pText ? pText : "";
}
} // namespace

MatrixPalette::MatrixPalette()
{
    m_cEntry.fill(fr::Matrix44::Identity());
}

void MatrixPalette::Load(uint32 position, const fr::Matrix44& matrix)
{
    if (!dbAssert(position < Size))
        return;
    m_cEntry[position] = matrix;
}

const fr::Matrix44& MatrixPalette::Get(uint32 position) const
{
    if (!dbAssert(position < Size))
        return m_cEntry[0];
    return m_cEntry[position];
}

fr::Matrix44 Expand(const Matrix34& m)
{
    fr::Matrix44 out;
    for (int r = 0; r < 4; ++r)
    {
        out.m[r][0] = m.r[r].x;
        out.m[r][1] = m.r[r].y;
        out.m[r][2] = m.r[r].z;
        out.m[r][3] = r == 3 ? 1.0f : 0.0f;
    }
    return out;
}

fr::Matrix44 Multiply(const fr::Matrix44& a, const fr::Matrix44& b)
{
    fr::Matrix44 out;
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c)
            out.m[r][c] =
                a.m[r][0] * b.m[0][c] + a.m[r][1] * b.m[1][c] + a.m[r][2] * b.m[2][c] + a.m[r][3] * b.m[3][c];
    return out;
}

void MeshGroup::SetMeshCount(int32 n)
{
    if (!dbAssert(n >= 0))
        return;
    m_cMeshes.resize(size_t(n));
}

void MeshGroup::SetMesh(int32 index, const MeshRef& meshRef)
{
    if (!dbAssert(uint32(index) < m_cMeshes.size()) || !dbAssert(meshRef.IsValid()))
        return;
    MeshRef& ref = m_cMeshes[size_t(index)];
    ref = meshRef;
    const Mesh* pMesh = ref.mesh.Get();
    if (pMesh == nullptr)
        return;
    for (uint32 level = 0; level < Mesh::Poly_Count; ++level)
        m_polyCount[level] += pMesh->GetPolyCount(level);
    const bool local = ref.xrefName == Name::INVALID;
    for (int32 i = 0; i < pMesh->GetPrimSetCount(); ++i)
    {
        const Inv::Reference<Shader>& shaderRef = pMesh->GetPrimSetShader(i);
        if (dbAssert(shaderRef.IsValid()))
            AddShader(shaderRef, local);
    }
    if (pMesh->GetSkinnedTransformCount() > 0)
        m_hasSkinned = true;
}

const MeshRef& MeshGroup::GetMeshRef(int32 index) const
{
    if (!dbAssert(uint32(index) < m_cMeshes.size()))
        return s_emptyMeshRef;
    return m_cMeshes[size_t(index)];
}

Mesh* MeshGroup::GetMesh(int32 index) const
{
    return GetMeshRef(index).mesh.Get();
}

void MeshGroup::SetMeshName(int32 index, Name name)
{
    if (!dbAssert(uint32(index) < m_cMeshes.size()) || !dbAssert(name != ra::Name::INVALID))
        return;
    m_cMeshes[size_t(index)].name = name;
}

Name MeshGroup::GetMeshName(int32 index) const
{
    const Name name = GetMeshRef(index).name;
    dbAssert(name != ra::Name::INVALID);
    return name;
}

int32 MeshGroup::FindMesh(Name name) const
{
    for (size_t i = 0; i < m_cMeshes.size(); ++i)
        if (m_cMeshes[i].name == name)
            return int32(i);
    return InvalidIndex;
}

void MeshGroup::SetMeshXRefName(int32 index, Name xrefName)
{
    if (dbAssert(uint32(index) < m_cMeshes.size()))
        m_cMeshes[size_t(index)].xrefName = xrefName;
}

Name MeshGroup::GetMeshXRefName(int32 index) const
{
    return GetMeshRef(index).xrefName;
}

void MeshGroup::SetMeshBone(int32 meshIndex, int32 boneIndex)
{
    if (dbAssert(uint32(meshIndex) < m_cMeshes.size()))
        m_cMeshes[size_t(meshIndex)].boneIndex = boneIndex;
}

int32 MeshGroup::GetMeshBone(int32 meshIndex) const
{
    return GetMeshRef(meshIndex).boneIndex;
}

void MeshGroup::SetSkinnedTransformCount(int32 meshIndex, int32 n)
{
    if (!dbAssert(uint32(meshIndex) < m_cMeshes.size()) || !dbAssert(n >= 0))
        return;
    m_cMeshes[size_t(meshIndex)].skinnedTransforms.resize(size_t(n));
}

int32 MeshGroup::GetSkinnedTransformCount(int32 meshIndex) const
{
    return int32(GetMeshRef(meshIndex).skinnedTransforms.size());
}

void MeshGroup::SetSkinnedTransform(int32 meshIndex, int32 index, int32 slot, int32 boneIndex)
{
    if (!dbAssert(uint32(meshIndex) < m_cMeshes.size()))
        return;
    auto& skinnedTransforms = m_cMeshes[size_t(meshIndex)].skinnedTransforms;
    if (!dbAssert(uint32(index) < skinnedTransforms.size()))
        return;
    skinnedTransforms[size_t(index)] = {slot, boneIndex};
}

bool MeshGroup::GetSkinnedTransform(int32 meshIndex, int32 index, int32& slot, int32& boneIndex) const
{
    const auto& skinnedTransforms = GetMeshRef(meshIndex).skinnedTransforms;
    if (!dbAssert(uint32(index) < skinnedTransforms.size()))
        return false;
    slot = skinnedTransforms[size_t(index)].first;
    boneIndex = skinnedTransforms[size_t(index)].second;
    return true;
}

bool MeshGroup::ResolveSkinnedTransforms()
{
    bool resolved = true;
    for (MeshRef& ref : m_cMeshes)
    {
        const Mesh* pMesh = ref.mesh.Get();
        if (pMesh == nullptr)
            continue;
        const int32 count = pMesh->GetSkinnedTransformCount();
        ref.skinnedTransforms.resize(size_t(count));
        for (int32 i = 0; i < count; ++i)
        {
            const Name boneName = pMesh->GetSkinnedTransformName(i);
            int32 boneIndex = m_pSkeleton ? m_pSkeleton->FindBone(boneName) : Bone::InvalidIndex;
            if (boneIndex == Bone::InvalidIndex)
            {
                dbWarningf("Mesh '%s' requires bone '%s' for skinning, but it is missing!", Text(ref.name),
                           Text(boneName));
                boneIndex = 0;
                resolved = false;
            }
            ref.skinnedTransforms[size_t(i)] = {pMesh->GetSkinnedTransformIndex(i), boneIndex};
        }
    }
    return resolved;
}

int32 MeshGroup::GetPolyCount(uint32 level) const
{
    if (!dbAssert(level < Mesh::Poly_Count))
        return 0;
    return m_polyCount[level];
}

void MeshGroup::AddShader(const Inv::Reference<Shader>& shaderRef, bool local)
{
    if (!dbAssert(shaderRef.IsValid()))
        return;
    for (ShaderEntry& entry : m_cShaders)
    {
        if (entry.shader == shaderRef)
        {
            entry.local = entry.local || local;
            return;
        }
    }
    m_cShaders.push_back({shaderRef, local});
}

int32 MeshGroup::FindShader(Name name) const
{
    for (size_t i = 0; i < m_cShaders.size(); ++i)
    {
        const Shader* pShader = m_cShaders[i].shader.Get();
        if (pShader && pShader->GetName() == name)
            return int32(i);
    }
    return InvalidIndex;
}

const Inv::Reference<Shader>& MeshGroup::GetShader(int32 shaderIndex) const
{
    if (!dbAssert(shaderIndex != InvalidIndex) || !dbAssert(uint32(shaderIndex) < m_cShaders.size()))
        return s_nullShader;
    return m_cShaders[size_t(shaderIndex)].shader;
}

bool MeshGroup::IsShaderLocal(int32 shaderIndex) const
{
    if (!dbAssert(shaderIndex != InvalidIndex) || !dbAssert(uint32(shaderIndex) < m_cShaders.size()))
        return false;
    return m_cShaders[size_t(shaderIndex)].local;
}

bool MeshGroup::GetSkinMatrix(const AnimPose& pose, int32 boneIndex, fr::Matrix44& out) const
{
    if (!dbAssert(m_pSkeleton))
        return false;
    const Bone* pBone = m_pSkeleton->GetBone(boneIndex);
    if (pBone == nullptr)
        return false;
    out = Expand(pBone->GetInvWorldMatrix() * pose.GetBoneMatrix(boneIndex));
    return true;
}

uint32 MeshGroup::Display(const AnimPose& pose, uint32 polyLevel, fr::MatrixStack& worldStack,
                          MatrixPalette& palette, ShadowManager* pShadowManager, bool skipDraw) const
{
    uint32 drawn = 0;
    for (size_t i = 0; i < m_cMeshes.size(); ++i)
    {
        if (!pose.IsMeshVisible(int32(i)))
            continue;
        const MeshRef& ref = m_cMeshes[i];
        const Mesh* pMesh = ref.mesh.Get();
        if (pMesh == nullptr)
            continue;

        if (pMesh->GetSkinnedTransformCount() == 0)
        {
            // Vertices are stored in model space of the reference pose: a mesh that follows a
            // bone moves by how far the posed bone is from its reference.
            bool pushed = false;
            if (ref.boneIndex != InvalidIndex)
            {
                fr::Matrix44 boneMatrix;
                if (!GetSkinMatrix(pose, ref.boneIndex, boneMatrix) ||
                    !worldStack.Push(Multiply(boneMatrix, worldStack.Top())))
                    continue;
                pushed = true;
            }
            if (pShadowManager)
                pShadowManager->AddMesh(*pMesh, worldStack.Top(), nullptr);
            if (!skipDraw)
                drawn += pMesh->Display(polyLevel);
            if (pushed)
                worldStack.Pop();
            continue;
        }

        if (!dbAssert(m_pSkeleton))
            continue;
        for (const auto& [slot, boneIndex] : ref.skinnedTransforms)
        {
            fr::Matrix44 boneMatrix;
            if (GetSkinMatrix(pose, boneIndex, boneMatrix))
                palette.Load(uint32(slot) + MatrixPalette::Reserved, boneMatrix);
        }
        if (pShadowManager)
            pShadowManager->AddMesh(*pMesh, worldStack.Top(), &palette);
        if (!skipDraw)
            drawn += pMesh->Display(polyLevel);
    }
    return drawn;
}
} // namespace ra
