#include "model/skeletonloadinterm.h"

#include "foundation/debug.h"
#include "model/modelloadgeneric_chunks.h"
#include "model/skeleton.h"
#include "storage/bytestreamadapter.h"
#include "storage/chunky.h"

using namespace GenericChunk;

std::unique_ptr<Skeleton> SkeletonLoadInterm::Load(Chunky& chunky, ByteStreamAdapter& adapter)
{
    Payload payload(adapter, chunky.ReadDataChunk(ID_SKEL, SKELIntermVersion));
    // A bone takes at least its name's length, its parent and its matrix.
    const uint32 boneCount = payload.ReadCount(4 + 4 + 48);
    auto pSkeleton = std::make_unique<Skeleton>(boneCount);
    for (uint32 i = 0; i < boneCount; ++i)
    {
        const ra::Name name = payload.ReadName();
        const int32 parent = payload.ReadInt32();
        const ra::Matrix34 world = payload.ReadMatrix34();
        if (name == ra::Name::INVALID)
            ThrowBadContent(adapter, "Bone %u has no name!", i);
        if (parent < -1 || parent >= int32(boneCount))
            ThrowBadContent(adapter, "Bone '%s': parent %d is not a bone of the skeleton!",
                            ra::NameText(name), parent);
        Bone* pBone = pSkeleton->GetBone(int32(i));
        pBone->SetName(name);
        pBone->SetWorldMatrix(world);
        pSkeleton->SetBoneParent(int32(i), parent);
    }
    chunky.CloseChunk();
    pSkeleton->BuildLocalFromWorld();
    pSkeleton->BuildRefPose();
    return pSkeleton;
}

void SkeletonLoadInterm::Save(Chunky& chunky, ByteStreamAdapter& adapter, const Skeleton& skeleton)
{
    chunky.OpenDataChunk(ID_SKEL, SKELIntermVersion, nullptr);
    WriteInt32(adapter, skeleton.GetBoneCount());
    for (int32 i = 0; i < skeleton.GetBoneCount(); ++i)
    {
        const Bone* pBone = skeleton.GetBone(i);
        const int32 parentIndex = pBone->GetParentIndex();
        dbAssert(parentIndex < skeleton.GetBoneCount());
        adapter.WriteString(ra::NameText(pBone->GetName()));
        WriteInt32(adapter, parentIndex);
        WriteMatrix34(adapter, pBone->GetWorldMatrix());
    }
    chunky.CloseChunk();
}
