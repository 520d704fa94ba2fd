#include "render/vertexset.h"

#include "foundation/debug.h"
#include "foundation/output.h"
#include "names/memorypool.h"

#include <cstring>

namespace fr
{
namespace
{
constexpr uint32 s_componentSize[VC_Count] = {12, 16, 12, 4, 4, 8, 8, 8, 8};
// The word behind the position of a weighted vertex.
constexpr uint32 s_weightPad = 4;

MemoryPool& VertexPool()
{
    return MemoryPool::Get("fr::MemoryVertexSet");
}
} // namespace

uint32 GetComponentSize(uint32 component)
{
    return component < VC_Count ? s_componentSize[component] : 0;
}

uint32 GetVertexStride(const VertexType& type)
{
    uint32 stride = type.test(VC_Weights) ? s_weightPad : 0;
    for (uint32 c = 0; c < VC_Count; ++c)
        if (type.test(c))
            stride += s_componentSize[c];
    return stride;
}

uint32 GetComponentOffset(const VertexType& type, uint32 component)
{
    uint32 offset = (component > VC_Position && type.test(VC_Weights)) ? s_weightPad : 0;
    for (uint32 c = 0; c < component && c < VC_Count; ++c)
        if (type.test(c))
            offset += s_componentSize[c];
    return offset;
}

bool VertexSet::WriteArray(uint32 component, int32 start, int32 range, const void* pValues,
                           uint32 elementSize, std::size_t valueCount)
{
    if (!IsStreamEnabled(component))
    {
        dbWarningf("VertexSet does not have the requested vertex component.");
        return false;
    }
    if (elementSize != GetComponentSize(component))
    {
        dbWarningf("Unsupported size for vertex set component.");
        return false;
    }
    if ((start == Unset) != (range == Unset))
    {
        dbWarningf("Must set both 'start' and 'range' parameters for WriteArray().");
        return false;
    }
    uint32 first = 0;
    uint32 count = GetSize();
    if (start != Unset)
    {
        if (!dbAssert(start >= 0 && range >= 0))
            return false;
        first = uint32(start);
        count = uint32(range);
    }
    if (!dbAssert(valueCount >= count))
        return false;

    uint32 stride = 0;
    auto* pDest = static_cast<uint8*>(LockArray(component, stride, first, count));
    if (!pDest)
        return false;
    const auto* pSrc = static_cast<const uint8*>(pValues);
    for (uint32 i = 0; i < count; ++i)
        std::memcpy(pDest + std::size_t(i) * stride, pSrc + std::size_t(i) * elementSize, elementSize);
    UnlockArray(component);
    return true;
}

MemoryVertexSet::MemoryVertexSet() : m_cRange{{0, 0}} {}

MemoryVertexSet::~MemoryVertexSet()
{
    Destroy();
}

bool MemoryVertexSet::Create(const VertexType& type, uint32 size, uint32 usage)
{
    if (size > MaxSize)
    {
        dbWarningf("Size too large for VertexSet::Create()");
        return false;
    }
    Destroy();
    const uint32 stride = GetVertexStride(type);
    m_BlockSize = std::size_t(stride) * size;
    if (m_BlockSize > 0)
    {
        m_pData = static_cast<uint8*>(VertexPool().Alloc(m_BlockSize));
        std::memset(m_pData, 0, m_BlockSize);
    }
    m_Type = type;
    m_Size = uint16(size);
    m_Usage = usage;
    m_Stride = stride;
    m_cRange[0] = {0, uint16(size)};
    return true;
}

bool MemoryVertexSet::Create(const VertexSet& from, uint32 usage)
{
    return Create(from.GetType(), from.GetSize(), usage);
}

void MemoryVertexSet::Destroy()
{
    if (m_pData)
        VertexPool().Free(m_pData);
    m_pData = nullptr;
    m_BlockSize = 0;
    m_Locked.reset();
}

void* MemoryVertexSet::LockArray(uint32 component, uint32& stride, uint32 start, uint32 count)
{
    stride = 0;
    if (!IsStreamEnabled(component))
        return nullptr;
    if (count == WholeSet)
        count = m_Size;
    if (count > m_Size || start > m_Size - count)
    {
        dbWarningf("LockArray range exceeds size of VertexSet");
        return nullptr;
    }
    if (!dbAssert(count))
        return nullptr;
    if (!m_pData)
        return nullptr;
    if (m_Locked.test(component))
        dbWarningf("VertexComponent already locked.");
    m_Locked.set(component);
    stride = m_Stride;
    return m_pData + GetComponentOffset(m_Type, component) + std::size_t(start) * m_Stride;
}

void MemoryVertexSet::UnlockArray(uint32 component)
{
    if (!m_Locked.test(component))
        dbWarningf("VertexComponent not locked.");
    m_Locked.reset(component);
}

bool MemoryVertexSet::Resize(uint32 size)
{
    Destroy();
    return Create(VertexType(m_Type), size, m_Usage);
}

uint32 MemoryVertexSet::AddRange(uint32 start, uint32 count)
{
    if (!dbAssert(start < m_Size) || !dbAssert(count > 0) || !dbAssert(count <= m_Size))
        return InvalidRange;
    m_cRange.push_back({uint16(start), uint16(count)});
    return uint32(m_cRange.size() - 1);
}

void MemoryVertexSet::RemoveRange(uint32 id)
{
    if (!dbAssert(id < m_cRange.size()))
        return;
    m_cRange[id] = {0, 0};
}

void MemoryVertexSet::SetRange(uint32 id, uint32 start, uint32 count)
{
    if (!dbAssert(id < m_cRange.size()) || !dbAssert(unsigned(start + count) <= m_Size))
        return;
    m_cRange[id] = {uint16(start), uint16(count)};
}

void MemoryVertexSet::GetRange(uint32 id, uint32& start, uint32& count) const
{
    start = 0;
    count = 0;
    if (!dbAssert(id < m_cRange.size()))
        return;
    start = m_cRange[id].start;
    count = m_cRange[id].count;
}
} // namespace fr
