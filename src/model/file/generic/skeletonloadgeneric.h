// The generic form of a skeleton: a "SKEL" folder with the bone count and one "BONE" chunk per bone,
// in skeleton order (parents before children, which nothing here checks).
//
//   SKEL folder, version 3
//     INFO data, version 1: i32 bone count
//     BONE data, version 5, name = bone name: i32 parent index (-1 for a root), vec3 position,
//          quat rotation
//
// Older BONE versions are read: after the parent index, versions 4 and below have a u32; version 1
// then three i32; versions below 5 have a mat34 in place of position and rotation; versions below 4
// then two vec3; versions below 3 then a u32. The reader takes untrusted files: a damaged chunk, a
// bone without a name, a parent outside the skeleton or a count that disagrees with the bones
// throws Chunky::Exception.
#pragma once

#include <memory>

class ByteStreamAdapter;
class Chunky;
class Skeleton;

class SkeletonLoadGeneric
{
public:
    // Reads the next "SKEL" folder; the reference pose is built.
    static std::unique_ptr<Skeleton> Load(Chunky& chunky, ByteStreamAdapter& adapter);
    static void Save(Chunky& chunky, ByteStreamAdapter& adapter, const Skeleton& skeleton);
};
