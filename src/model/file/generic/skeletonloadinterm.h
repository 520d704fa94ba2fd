// The intermediate form of a skeleton, as the exporter samples it: one "SKEL" data chunk with each
// bone's absolute world matrix.
//
//   SKEL data, version 2: i32 bone count; per bone: string name, i32 parent index, mat34 world
//
// Reading derives each bone's local position and rotation from its world matrix and its parent's,
// then builds the reference pose from those again. That pose differs from the file's matrices in
// the last bits, so the reader keeps the file's matrices on the skeleton and the writer gives them
// back while they still belong to the bones: a file this writer wrote reads and writes again byte
// for byte the same. The reader takes untrusted files: a damaged chunk, a bone without a name or a
// parent outside the skeleton throws Chunky::Exception.
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
    // Writes the bones with their world matrices: those the file gave when they still hold,
    // otherwise the reference pose.
    static void Save(Chunky& chunky, ByteStreamAdapter& adapter, const Skeleton& skeleton);
    // Whether the world matrices kept from the file still belong to the bones: derived under the
    // skeleton's hierarchy as it stands, they give every bone's local position and rotation, and
    // then its reference pose, bit for bit, so a read of them makes this skeleton again. A bone
    // moved, turned or hung elsewhere since the read, or given a world matrix of its own, makes
    // them stale.
    static bool IntermWorldMatricesHold(const Skeleton& skeleton);
};
