// What the generic and final forms of a skeleton share: the bones as read, and the skeleton made
// of them once all are there. A bone without a name or with a parent outside the skeleton throws
// Chunky::Exception.
#pragma once

#include "math/matrix.h"
#include "model/file/modelchunk.h"
#include "names/name.h"

#include <memory>
#include <vector>

class Skeleton;

namespace SkeletonChunk
{
struct BoneRecord
{
    ra::Name name;
    int32 parent = -1;
    ra::Vec3 position;
    ra::Quat rotation;
};

// The skeleton of the bones in file order, its reference pose built.
std::unique_ptr<Skeleton> Build(const ByteStreamAdapter& adapter, const std::vector<BoneRecord>& cBone);
// i32 parent index, vec3 position, quat rotation: the newest bone fields of every form.
void WriteBone(ByteStreamAdapter& adapter, const Skeleton& skeleton, int32 index);
} // namespace SkeletonChunk
