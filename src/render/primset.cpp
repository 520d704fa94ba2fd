#include "render/primset.h"

#include "foundation/debug.h"
#include "render/device.h"

#include <algorithm>

namespace fr
{
bool NullPrimSet::Initialise(VertexSet* pVertexSet, Shader* pShader, uint32 usage)
{
    m_pVertexSet = pVertexSet;
    m_pShader = ObjectPtr<Shader>::Share(pShader);
    m_usage = usage;
    return true;
}

bool NullPrimSet::CopyFrom(const PrimSet& from)
{
    if (&from == this)
        return true;
    Initialise(from.GetVertexSet(), from.GetShader(), from.GetUsage());
    m_kind = from.GetKind();
    m_cIndex.resize(from.GetIndexCount());
    if (!from.ReadIndices(0, uint32(m_cIndex.size()), m_cIndex))
        return false;
    from.GetRange(m_rangeStart, m_rangeCount);
    return true;
}

void NullPrimSet::Release()
{
    m_cIndex.clear();
    m_cIndex.shrink_to_fit();
    m_pVertexSet = nullptr;
    m_pShader.reset();
    m_rangeStart = m_rangeCount = 0;
}

void NullPrimSet::SetIndexCount(uint32 n)
{
    m_cIndex.resize(n);
    m_rangeStart = 0;
    m_rangeCount = n;
}

bool NullPrimSet::WriteIndices(uint32 start, uint32 count, std::span<const uint16> values)
{
    if (!dbAssert(std::size_t(start) + count <= m_cIndex.size()) || !dbAssert(values.size() >= count))
        return false;
    std::copy_n(values.begin(), count, m_cIndex.begin() + start);
    return true;
}

bool NullPrimSet::ReadIndices(uint32 start, uint32 count, std::span<uint16> out) const
{
    if (!dbAssert(std::size_t(start) + count <= m_cIndex.size()) || !dbAssert(out.size() >= count))
        return false;
    std::copy_n(m_cIndex.begin() + start, count, out.begin());
    return true;
}

void NullPrimSet::SetRange(uint32 start, uint32 count)
{
    m_rangeStart = start;
    m_rangeCount = count;
}

void NullPrimSet::GetRange(uint32& start, uint32& count) const
{
    start = m_rangeStart;
    count = m_rangeCount;
}

bool NullPrimSet::Render()
{
    return RenderRange(m_rangeStart, m_rangeCount);
}

bool NullPrimSet::RenderRange(uint32, uint32)
{
    Device* pDevice = Interface::GetDevice();
    return pDevice && pDevice->CheckInScene();
}
} // namespace fr
