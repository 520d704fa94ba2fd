// The final form of a skeleton: one data chunk of every bone.
//
//   SKEL data, version 5: i32 bone count; per bone: string name, i32 parent index (-1 for a root),
//        vec3 position, quat rotation
//
// The reader takes untrusted files: a damaged chunk, a bone without a name or a parent outside the
// skeleton throws Chunky::Exception.
#pragma once

#include <memory>

class ByteStreamAdapter;
class Chunky;
class Skeleton;

class SkeletonLoadFinal
{
public:
    // Reads the next "SKEL" chunk; the reference pose is built.
    static std::unique_ptr<Skeleton> Load(Chunky& chunky, ByteStreamAdapter& adapter);
    static void Save(Chunky& chunky, ByteStreamAdapter& adapter, const Skeleton& skeleton);
};
