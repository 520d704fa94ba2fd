#include "model/file/skeletonchunk.h"

#include "foundation/debug.h"
#include "model/skeleton/skeleton.h"
#include "storage/bytestreamadapter.h"

using namespace ModelChunk;

namespace SkeletonChunk
{
std::unique_ptr<Skeleton> Build(const ByteStreamAdapter& adapter, const std::vector<BoneRecord>& cBone)
{
    const int32 boneCount = int32(cBone.size());
    auto pSkeleton = std::make_unique<Skeleton>(uint32(boneCount));
    for (int32 i = 0; i < boneCount; ++i)
    {
        const BoneRecord& record = cBone[size_t(i)];
        if (record.name == ra::Name::INVALID)
            ThrowBadContent(adapter, "Bone %d has no name!", i);
        if (record.parent < -1 || record.parent >= boneCount)
            ThrowBadContent(adapter, "Bone '%s': parent %d is not a bone of the skeleton!",
                            ra::NameText(record.name), record.parent);
        Bone* pBone = pSkeleton->GetBone(i);
        pBone->SetName(record.name);
        pBone->SetPosition(record.position);
        pBone->SetRotation(record.rotation);
        pSkeleton->SetBoneParent(i, record.parent);
    }
    pSkeleton->BuildRefPose();
    return pSkeleton;
}

void WriteBone(ByteStreamAdapter& adapter, const Skeleton& skeleton, int32 index)
{
    const Bone* pBone = skeleton.GetBone(index);
    const int32 parentIndex = pBone->GetParentIndex();
    dbAssert(parentIndex < skeleton.GetBoneCount());
    WriteInt32(adapter, parentIndex);
    WriteVec3(adapter, pBone->GetPosition());
    WriteQuat(adapter, pBone->GetRotation());
}
} // namespace SkeletonChunk
