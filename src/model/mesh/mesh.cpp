#include "model/mesh/mesh.h"

#include "foundation/debug.h"
#include "foundation/output.h"
#include "model/mesh/meshtypeinfo.h"
#include "render/device.h"

#include <cstring>

namespace ra
{
namespace
{
const Inv::Reference<Shader> s_nullShader;
} // namespace

Inv::ResourceTypeInfo* Mesh::GetTypeInfo()
{
    static MeshTypeInfo s_info;
    return &s_info;
}

Mesh::Mesh(const char* name)
{
    SetName(name);
}

Mesh::~Mesh()
{
    // Primitive sets point at the vertex sets: they go first.
    m_PrimSets.clear();
}

void Mesh::SetName(const char* name)
{
    if (!dbAssert(name))
        return;
    Inv::NamedResource::SetName(name);
    m_name = MakeName(name);
}

void Mesh::SetPolyCount(uint32 level, int32 n)
{
    if (!dbAssert(level < Poly_Count))
        return;
    m_polyCount[level] = n;
}

int32 Mesh::GetPolyCount(uint32 level) const
{
    if (!dbAssert(level < Poly_Count))
        return 0;
    return m_polyCount[level];
}

void Mesh::SetVertexSet(uint32 level, std::unique_ptr<fr::VertexSet> pSet)
{
    if (!dbAssert(level < Poly_Count))
        return;
    m_pVertexSets[level] = std::move(pSet);
    for (PrimSetEntry& entry : m_PrimSets)
        if (entry.pPrimSets[level])
            entry.pPrimSets[level]->SetVertexSet(m_pVertexSets[level].get());
}

fr::VertexSet* Mesh::GetVertexSet(uint32 level) const
{
    if (!dbAssert(level < Poly_Count))
        return nullptr;
    return m_pVertexSets[level].get();
}

bool Mesh::IsSkinIndex(int32 index) const
{
    return dbAssert(index != InvalidIndex) && dbAssert(uint32(index) < m_skinnedTransforms.size());
}

void Mesh::SetSkinnedTransformCount(int32 n)
{
    if (!dbAssert(n >= 0))
        return;
    m_skinnedTransforms.resize(size_t(n));
}

void Mesh::SetSkinnedTransformName(int32 index, Name name)
{
    if (IsSkinIndex(index))
        m_skinnedTransforms[size_t(index)].name = name;
}

Name Mesh::GetSkinnedTransformName(int32 index) const
{
    if (!IsSkinIndex(index))
        return Name::INVALID;
    return m_skinnedTransforms[size_t(index)].name;
}

void Mesh::SetSkinnedTransformIndex(int32 index, int32 value)
{
    if (IsSkinIndex(index))
        m_skinnedTransforms[size_t(index)].index = value;
}

int32 Mesh::GetSkinnedTransformIndex(int32 index) const
{
    if (!IsSkinIndex(index))
        return InvalidIndex;
    return m_skinnedTransforms[size_t(index)].index;
}

void Mesh::SetPrimSetCount(int32 n)
{
    if (!dbAssert(n >= 0))
        return;
    m_PrimSets.resize(size_t(n));
}

void Mesh::SetPrimSetShader(int32 index, const Inv::Reference<Shader>& shaderRef)
{
    if (!dbAssert(uint32(index) < m_PrimSets.size()))
        return;
    m_PrimSets[size_t(index)].shader = shaderRef;
}

const Inv::Reference<Shader>& Mesh::GetPrimSetShader(int32 index) const
{
    if (!dbAssert(uint32(index) < m_PrimSets.size()))
        return s_nullShader;
    return m_PrimSets[size_t(index)].shader;
}

int32 Mesh::FindPrimSet(Name shaderName) const
{
    for (size_t i = 0; i < m_PrimSets.size(); ++i)
    {
        const Shader* pShader = m_PrimSets[i].shader.Get();
        if (pShader && pShader->GetName() == shaderName)
            return int32(i);
    }
    return InvalidIndex;
}

void Mesh::SetPrimSet(int32 shaderIndex, uint32 polyLevel, std::unique_ptr<fr::PrimSet> pSet)
{
    if (!dbAssert(uint32(shaderIndex) < m_PrimSets.size()) || !dbAssert(polyLevel < Poly_Count))
        return;
    if (pSet && m_pVertexSets[polyLevel])
        pSet->SetVertexSet(m_pVertexSets[polyLevel].get());
    m_PrimSets[size_t(shaderIndex)].pPrimSets[polyLevel] = std::move(pSet);
}

fr::PrimSet* Mesh::GetPrimSet(int32 shaderIndex, uint32 polyLevel) const
{
    if (!dbAssert(uint32(shaderIndex) < m_PrimSets.size()) || !dbAssert(polyLevel < Poly_Count))
        return nullptr;
    return m_PrimSets[size_t(shaderIndex)].pPrimSets[polyLevel].get();
}

void Mesh::SetBV(const BoundVolume& boundVolume)
{
    if (!dbAssert(boundVolume.IsValid()))
        return;
    m_bv = boundVolume;
}

const BoundVolume& Mesh::GetBV() const
{
    dbAssert(m_bv.IsValid());
    return m_bv;
}

uint32 Mesh::Display(uint32 polyLevel) const
{
    if (!dbAssert(polyLevel < Poly_Count))
        return 0;
    if (!dbAssert(m_pVertexSets[Poly_High]) || !dbAssert(m_pVertexSets[Poly_High]->GetSize() > 0))
        return 0;
    if (!m_pVertexSets[polyLevel])
    {
        dbAssert(polyLevel != ra::Mesh::Poly_High);
        polyLevel = Poly_High;
    }
    uint32 drawn = 0;
    for (const PrimSetEntry& entry : m_PrimSets)
    {
        fr::PrimSet* pSet = entry.pPrimSets[polyLevel].get();
        if (!pSet)
            continue;
        const Shader* pShader = entry.shader.Get();
        if (pShader && pShader->IsHidden())
            continue;
        if (pSet->Render())
            ++drawn;
    }
    return drawn;
}

std::unique_ptr<fr::VertexSet> CreateVertexSet(const fr::VertexType& type, uint32 vertexCount)
{
    fr::Device* pDevice = fr::Interface::GetDevice();
    if (pDevice == nullptr)
    {
        dbWarningf("MODELS -- no render device to create a vertex set of %u vertices!", vertexCount);
        return nullptr;
    }
    std::unique_ptr<fr::VertexSet> pSet = pDevice->CreateVertexSet();
    if (!pSet || !pSet->Create(type, vertexCount, 0))
        return nullptr;
    return pSet;
}

uint32 GetStreamWordCount(uint32 component)
{
    return fr::GetComponentSize(component) / 4;
}

bool ReadStreamWords(fr::VertexSet& set, uint32 component, std::vector<uint32>& cOut)
{
    const uint32 words = GetStreamWordCount(component);
    const uint32 size = set.GetSize();
    cOut.assign(size_t(size) * words, 0);
    if (words == 0 || !set.IsStreamEnabled(component))
        return false;
    if (size == 0)
        return true;
    uint32 stride = 0;
    const auto* pSrc = static_cast<const uint8*>(set.LockArray(component, stride));
    if (pSrc == nullptr)
        return false;
    for (uint32 v = 0; v < size; ++v)
        std::memcpy(&cOut[size_t(v) * words], pSrc + size_t(v) * stride, words * 4);
    set.UnlockArray(component);
    return true;
}

bool WriteStreamWords(fr::VertexSet& set, uint32 component, std::span<const uint32> cWords)
{
    const uint32 words = GetStreamWordCount(component);
    const uint32 size = set.GetSize();
    if (words == 0 || !set.IsStreamEnabled(component) || cWords.size() != size_t(size) * words)
        return false;
    if (size == 0)
        return true;
    uint32 stride = 0;
    auto* pDst = static_cast<uint8*>(set.LockArray(component, stride));
    if (pDst == nullptr)
        return false;
    for (uint32 v = 0; v < size; ++v)
        std::memcpy(pDst + size_t(v) * stride, &cWords[size_t(v) * words], words * 4);
    set.UnlockArray(component);
    return true;
}
} // namespace ra
