#include "model/file/final/skeletonloadfinal.h"

#include "model/file/final/finalchunk.h"
#include "model/file/skeletonchunk.h"
#include "model/skeleton/skeleton.h"
#include "storage/bytestreamadapter.h"
#include "storage/chunky.h"

#include <vector>

using namespace FinalChunk;
using namespace ModelChunk;

std::unique_ptr<Skeleton> SkeletonLoadFinal::Load(Chunky& chunky, ByteStreamAdapter& adapter)
{
    Payload payload(adapter, chunky.ReadDataChunk(ID_SKEL, SKELVersion));
    // A bone takes at least its name's length, its parent, position and rotation.
    const uint32 boneCount = payload.ReadCount(4 + 4 + 12 + 16);
    std::vector<SkeletonChunk::BoneRecord> cBone(boneCount);
    for (SkeletonChunk::BoneRecord& bone : cBone)
    {
        bone.name = payload.ReadName();
        bone.parent = payload.ReadInt32();
        bone.position = payload.ReadVec3();
        bone.rotation = payload.ReadQuat();
    }
    chunky.CloseChunk();
    return SkeletonChunk::Build(adapter, cBone);
}

void SkeletonLoadFinal::Save(Chunky& chunky, ByteStreamAdapter& adapter, const Skeleton& skeleton)
{
    chunky.OpenDataChunk(ID_SKEL, SKELVersion, nullptr);
    WriteInt32(adapter, skeleton.GetBoneCount());
    for (int32 i = 0; i < skeleton.GetBoneCount(); ++i)
    {
        adapter.WriteString(ra::NameText(skeleton.GetBone(i)->GetName()));
        SkeletonChunk::WriteBone(adapter, skeleton, i);
    }
    chunky.CloseChunk();
}
