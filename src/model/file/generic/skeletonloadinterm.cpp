#include "model/file/generic/skeletonloadinterm.h"

#include "foundation/debug.h"
#include "model/file/generic/genericchunk.h"
#include "model/skeleton/skeleton.h"
#include "storage/bytestreamadapter.h"
#include "storage/chunky.h"

#include <cstring>
#include <vector>

using namespace GenericChunk;
using namespace ModelChunk;

namespace
{
template <class T> bool SameBits(const T& a, const T& b)
{
    return std::memcmp(&a, &b, sizeof(T)) == 0;
}
} // namespace

std::unique_ptr<Skeleton> SkeletonLoadInterm::Load(Chunky& chunky, ByteStreamAdapter& adapter)
{
    Payload payload(adapter, chunky.ReadDataChunk(ID_SKEL, SKELIntermVersion));
    // A bone takes at least its name's length, its parent and its matrix.
    const uint32 boneCount = payload.ReadCount(4 + 4 + 48);
    auto pSkeleton = std::make_unique<Skeleton>(boneCount);
    std::vector<ra::Matrix34> cWorld(boneCount);
    for (uint32 i = 0; i < boneCount; ++i)
    {
        const ra::Name name = payload.ReadName();
        const int32 parent = payload.ReadInt32();
        cWorld[i] = payload.ReadMatrix34();
        if (name == ra::Name::INVALID)
            ThrowBadContent(adapter, "Bone %u has no name!", i);
        if (parent < -1 || parent >= int32(boneCount))
            ThrowBadContent(adapter, "Bone '%s': parent %d is not a bone of the skeleton!",
                            ra::NameText(name), parent);
        Bone* pBone = pSkeleton->GetBone(int32(i));
        pBone->SetName(name);
        pBone->SetWorldMatrix(cWorld[i]);
        pSkeleton->SetBoneParent(int32(i), parent);
    }
    chunky.CloseChunk();
    pSkeleton->BuildLocalFromWorld();
    pSkeleton->BuildRefPose();
    pSkeleton->SetIntermWorldMatrices(std::move(cWorld));
    return pSkeleton;
}

bool SkeletonLoadInterm::IntermWorldMatricesHold(const Skeleton& skeleton)
{
    const std::vector<ra::Matrix34>& cWorld = skeleton.GetIntermWorldMatrices();
    const int32 boneCount = skeleton.GetBoneCount();
    if (cWorld.size() != size_t(boneCount) || boneCount == 0)
        return false;
    // The kept matrices under the skeleton's hierarchy as it stands, derived as a read derives them.
    Skeleton derived{uint32(boneCount)};
    for (int32 i = 0; i < boneCount; ++i)
    {
        derived.SetBoneParent(i, skeleton.GetBone(i)->GetParentIndex());
        derived.GetBone(i)->SetWorldMatrix(cWorld[size_t(i)]);
    }
    derived.BuildLocalFromWorld();
    for (int32 i = 0; i < boneCount; ++i)
    {
        const Bone* pBone = skeleton.GetBone(i);
        const Bone* pDerived = derived.GetBone(i);
        if (!SameBits(pBone->GetPosition(), pDerived->GetPosition()) ||
            !SameBits(pBone->GetRotation(), pDerived->GetRotation()))
            return false;
    }
    // The reference pose too, which the writer would write otherwise: a world matrix set on a bone
    // since the read is the newer data.
    derived.BuildRefPose();
    for (int32 i = 0; i < boneCount; ++i)
        if (!SameBits(skeleton.GetBone(i)->GetWorldMatrix(), derived.GetBone(i)->GetWorldMatrix()))
            return false;
    return true;
}

void SkeletonLoadInterm::Save(Chunky& chunky, ByteStreamAdapter& adapter, const Skeleton& skeleton)
{
    const bool keptWorld = IntermWorldMatricesHold(skeleton);
    chunky.OpenDataChunk(ID_SKEL, SKELIntermVersion, nullptr);
    WriteInt32(adapter, skeleton.GetBoneCount());
    for (int32 i = 0; i < skeleton.GetBoneCount(); ++i)
    {
        const Bone* pBone = skeleton.GetBone(i);
        const int32 parentIndex = pBone->GetParentIndex();
        dbAssert(parentIndex < skeleton.GetBoneCount());
        adapter.WriteString(ra::NameText(pBone->GetName()));
        WriteInt32(adapter, parentIndex);
        WriteMatrix34(adapter,
                      keptWorld ? skeleton.GetIntermWorldMatrices()[size_t(i)] : pBone->GetWorldMatrix());
    }
    chunky.CloseChunk();
}
