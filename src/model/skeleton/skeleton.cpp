#include "model/skeleton/skeleton.h"

#include "foundation/debug.h"

Skeleton::Skeleton(uint32 boneCount) : m_Bones(boneCount)
{
    for (uint32 i = 0; i < boneCount; ++i)
        m_Bones[i].m_SkeletonIndex = int32(i);
}

int32 Skeleton::FindBone(ra::Name name) const
{
    for (const Bone& bone : m_Bones)
        if (bone.m_name == name)
            return bone.m_SkeletonIndex;
    return Bone::InvalidIndex;
}

Bone* Skeleton::GetBone(int32 index)
{
    return const_cast<Bone*>(static_cast<const Skeleton*>(this)->GetBone(index));
}

const Bone* Skeleton::GetBone(int32 index) const
{
    if (!dbAssert(index != Bone::InvalidIndex) || !dbAssert(uint32(index) < m_Bones.size()))
        return m_Bones.empty() ? nullptr : &m_Bones[0];
    return &m_Bones[size_t(index)];
}

void Skeleton::SetBoneParent(int32 index, int32 parentIndex)
{
    if (!dbAssert(index != Bone::InvalidIndex) || !dbAssert(uint32(index) < m_Bones.size()))
        return;
    if (parentIndex == Bone::InvalidIndex)
    {
        m_Bones[size_t(index)].m_pParent = nullptr;
        return;
    }
    if (!dbAssert(uint32(parentIndex) < m_Bones.size()))
        return;
    m_Bones[size_t(index)].m_pParent = &m_Bones[size_t(parentIndex)];
}

void Skeleton::BuildRefPose()
{
    for (Bone& bone : m_Bones)
    {
        ra::Matrix34 world = bone.GetLocalMatrix();
        // The parent's world matrix as it stands now: final only when the parent came first.
        if (bone.m_pParent)
            world = world * bone.m_pParent->m_world;
        bone.SetWorldMatrix(world);
    }
}

void Skeleton::BuildLocalFromWorld()
{
    for (Bone& bone : m_Bones)
    {
        ra::Matrix34 local = bone.m_world;
        if (bone.m_pParent)
            local = bone.m_world * bone.m_pParent->m_invWorld;
        bone.m_rotation = ra::QuatFromMatrix(local);
        bone.m_position = local.Translation();
    }
}
