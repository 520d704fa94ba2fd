#include "model/skeleton/bone.h"

#include "foundation/debug.h"

void Bone::SetName(ra::Name name)
{
    if (!dbAssert(name != ra::Name::INVALID))
        return;
    m_name = name;
}

int32 Bone::GetSkeletonIndex() const
{
    dbAssert(m_SkeletonIndex != InvalidIndex);
    return m_SkeletonIndex;
}

ra::Matrix34 Bone::GetLocalMatrix() const
{
    return ra::MatrixFromQuatPos(m_rotation, m_position);
}

void Bone::SetWorldMatrix(const ra::Matrix34& world)
{
    m_world = world;
    m_invWorld = ra::Inverse(world);
}

int32 Bone::GetParentIndex() const
{
    return m_pParent ? m_pParent->m_SkeletonIndex : InvalidIndex;
}
