// The intermediate form of a skeleton, as the exporter samples it: one "SKEL" data chunk with each
// bone's absolute world matrix.
//
//   SKEL data, version 2: i32 bone count; per bone: string name, i32 parent index, mat34 world
//
// Reading derives each bone's local position and rotation from its world matrix and its parent's,
// then builds the reference pose from those again. The reader takes untrusted files: a damaged
// chunk, a bone without a name or a parent outside the skeleton throws Chunky::Exception.
#pragma once

#include <memory>

class ByteStreamAdapter;
class Chunky;
class Skeleton;

class SkeletonLoadInterm
{
public:
    // Reads the next "SKEL" data chunk.
    static std::unique_ptr<Skeleton> Load(Chunky& chunky, ByteStreamAdapter& adapter);
    // Writes the bones with their reference world matrices.
    static void Save(Chunky& chunky, ByteStreamAdapter& adapter, const Skeleton& skeleton);
};
