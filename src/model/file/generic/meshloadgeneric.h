// The generic form of a model's meshes: an "MSGR" folder with one "MSLC" folder per mesh the model
// holds, then the group's entries and its bound volume. The legacy "MESH" tree of older files is
// read as well.
//
//   MSGR folder, version 1
//     MSLC folder, version 1, name = mesh name (one per local mesh)
//       DATA data, version 2: u32 mesh type, u8 render flag (not in version 1), i32 polygons high,
//            i32 polygons low, i32 skin count + (string bone, u32 slot) each, i32 vertex count,
//            u32 vertex type, the words of streams 0, 1, 2 and 5 that the type has, i32 primitive
//            set count + (string shader, i32 index count, and when that is not 0: u16 indices,
//            u16 first vertex, u16 vertex range) each
//       BVOL data, version 2: u8 valid, obb when valid (version 1: u8 sphere, u8 box, vec3 and
//            f32 of the sphere when set, obb when set)
//     DATA data, version 1: i32 count + (string name, string cross-reference model or "",
//          u32 bone index or -1) each
//     BVOL data, version 2
//
//   MESH folder, version 2 (legacy, in place of MSGR): GGRP folder, version 1: INFO (u8), BVOL,
//     NODE folders, version 1: INFO version 2 (mat34, i32 bone, version 1: one more i32), then a
//     MESH folder (name = mesh name) holding one GEOM folder, or an XREF chunk, version 6.
//
// Meshes enter the inventory unnamed (a mesh is found through its model, never by name). A
// shader that isn't in the inventory is logged and stood in by an empty one; a mesh that a model
// takes from another model's file and that isn't there is logged and stood in by the first mesh of
// "art/ebps/missingmodel". The reader takes untrusted files: a damaged chunk, an index past the
// vertices or a vertex type the render layer lacks throws Chunky::Exception.
#pragma once

#include "foundation/types.h"
#include "inventory/reference.h"
#include "model/mesh/mesh.h"
#include "model/mesh/meshgroup.h"

#include <memory>

class ByteStreamAdapter;
class Chunky;
class Skeleton;

class MeshLoadGeneric
{
public:
    // Reads the next "MSGR" folder. The group gets the skeleton (which may be null); skin
    // transforms are resolved by the caller once both are there. `modelName` is for messages.
    static std::unique_ptr<ra::MeshGroup> Load(Chunky& chunky, ByteStreamAdapter& adapter,
                                               const Skeleton* pSkeleton, const char* modelName);
    // Reads the next legacy "MESH" folder in place of a group. `folder` is the folder of the
    // model file, which cross-references of the oldest versions are relative to.
    static std::unique_ptr<ra::MeshGroup> LoadLegacy(Chunky& chunky, ByteStreamAdapter& adapter,
                                                     const Skeleton* pSkeleton, const char* modelName,
                                                     const char* folder);
    // Reads the next "MSLC" folder into a new mesh, put into the inventory.
    static Inv::Reference<ra::Mesh> LoadMesh(Chunky& chunky, ByteStreamAdapter& adapter,
                                             const char* modelName);

    // Writes the group: an "MSLC" folder for each mesh held by this model, the entries, the volume.
    static void Save(Chunky& chunky, ByteStreamAdapter& adapter, const ra::MeshGroup& meshGroup);
    // Writes one "MSLC" folder under `name`; only the high level of detail is written.
    static void SaveMesh(Chunky& chunky, ByteStreamAdapter& adapter, const ra::Mesh& mesh, const char* name);
};
