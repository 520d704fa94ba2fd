#include "model/file/generic/skeletonloadgeneric.h"

#include "foundation/debug.h"
#include "model/file/generic/genericchunk.h"
#include "model/file/skeletonchunk.h"
#include "model/skeleton/skeleton.h"
#include "storage/bytestreamadapter.h"
#include "storage/chunky.h"

#include <vector>

using namespace GenericChunk;
using namespace ModelChunk;

namespace
{
SkeletonChunk::BoneRecord ReadBone(Payload& payload, const ChunkInfo& info)
{
    SkeletonChunk::BoneRecord bone;
    bone.name = ra::NameOf(info.name.c_str());
    bone.parent = payload.ReadInt32();
    if (info.version >= 5)
    {
        bone.position = payload.ReadVec3();
        bone.rotation = payload.ReadQuat();
        return bone;
    }
    payload.ReadUInt32();
    if (info.version == 1)
        payload.Skip(3 * 4);
    const ra::Matrix34 matrix = payload.ReadMatrix34();
    bone.rotation = ra::QuatFromMatrix(matrix);
    bone.position = matrix.Translation();
    if (info.version < 4)
        payload.Skip(2 * 12);
    if (info.version < 3)
        payload.ReadUInt32();
    return bone;
}
} // namespace

std::unique_ptr<Skeleton> SkeletonLoadGeneric::Load(Chunky& chunky, ByteStreamAdapter& adapter)
{
    chunky.ReadFolderChunk(ID_SKEL, SKELVersion);
    int32 boneCount = -1;
    std::vector<SkeletonChunk::BoneRecord> cBone;
    ChunkInfo info;
    while (chunky.NextChunk(info))
    {
        if (info.kind != Chunky::CT_Data)
            continue;
        if (info.id == ID_INFO)
        {
            Payload payload(adapter, chunky.ReadDataChunk(ID_INFO, SKELInfoVersion));
            boneCount = payload.ReadInt32();
            chunky.CloseChunk();
        }
        else if (info.id == ID_BONE)
        {
            const ChunkInfo bone = chunky.ReadDataChunk(ID_BONE, BONEVersion);
            Payload payload(adapter, bone);
            cBone.push_back(ReadBone(payload, bone));
            chunky.CloseChunk();
        }
    }
    chunky.CloseChunk();

    if (boneCount < 0)
        ThrowBadContent(adapter, "Skeleton without a bone count!");
    if (size_t(boneCount) != cBone.size())
        ThrowBadContent(adapter, "Skeleton of %d bones holds %u!", boneCount, uint32(cBone.size()));
    return SkeletonChunk::Build(adapter, cBone);
}

void SkeletonLoadGeneric::Save(Chunky& chunky, ByteStreamAdapter& adapter, const Skeleton& skeleton)
{
    chunky.OpenFolderChunk(ID_SKEL, SKELVersion, nullptr);
    chunky.OpenDataChunk(ID_INFO, SKELInfoVersion, nullptr);
    WriteInt32(adapter, skeleton.GetBoneCount());
    chunky.CloseChunk();
    for (int32 i = 0; i < skeleton.GetBoneCount(); ++i)
    {
        chunky.OpenDataChunk(ID_BONE, BONEVersion, ra::NameText(skeleton.GetBone(i)->GetName()));
        SkeletonChunk::WriteBone(adapter, skeleton, i);
        chunky.CloseChunk();
    }
    chunky.CloseChunk();
}
