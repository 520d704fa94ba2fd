// The final form of a model's meshes: the generic "MSGR" tree, whose mesh data carries both levels
// of detail and the stencil shadow arrays.
//
//   MSGR folder, version 1
//     MSLC folder, version 1, name = mesh name (one per local mesh)
//       DATA data, version 2: as the generic form up to and including the high vertex streams
//            (model/file/meshchunk.h), then:
//            i32 low vertex count; when not 0: u32 low vertex type, the low streams 0, 1, 2, 5
//            i32 primitive set count + (string shader, index list of the high level, index list
//            of the low level) each; an index list is i32 count, and when not 0: u16 indices,
//            u16 first vertex, u16 vertex range
//            i32 shadow vertex count + vec3 each, i32 shadow edge count + 24 bytes each, i32
//            shadow face count + 40 bytes each
//       BVOL data, version 2
//     DATA data, version 1 (the entries, as the generic form)
//     BVOL data, version 2
//
// Meshes are shared by name: an "MSLC" whose name the inventory holds already is passed over and
// the stored mesh taken, so the first model to load a mesh of a name gives it to all. The shadow
// arrays are read only when a shadow manager is set; otherwise the rest of the chunk is passed
// over. The reader takes untrusted files: a damaged chunk, an index past the vertices of its level
// or a vertex type the render layer lacks throws Chunky::Exception.
#pragma once

#include "inventory/reference.h"
#include "model/mesh/mesh.h"
#include "model/mesh/meshgroup.h"

#include <memory>

class ByteStreamAdapter;
class Chunky;
class Skeleton;

class MeshLoadFinal
{
public:
    // The shadow manager of the game, whose presence makes the reader keep the shadow arrays.
    static void SetShadowManager(ra::ShadowManager* pShadowManager);
    static ra::ShadowManager* GetShadowManager();

    // Reads the next "MSGR" folder. The group gets the skeleton (which may be null); skin
    // transforms are resolved by the caller. `modelName` is for messages.
    static std::unique_ptr<ra::MeshGroup> Load(Chunky& chunky, ByteStreamAdapter& adapter,
                                               const Skeleton* pSkeleton, const char* modelName);
    // Reads the next "MSLC" folder into a new mesh, put into the inventory under its name.
    static Inv::Reference<ra::Mesh> LoadMesh(Chunky& chunky, ByteStreamAdapter& adapter,
                                             const char* modelName);

    // Writes the group: an "MSLC" folder for each mesh held by this model, the entries, the volume.
    static void Save(Chunky& chunky, ByteStreamAdapter& adapter, const ra::MeshGroup& meshGroup);
    // Writes one "MSLC" folder under `name`, both levels. A mesh without high vertices is an
    // assertion.
    static void SaveMesh(Chunky& chunky, ByteStreamAdapter& adapter, const ra::Mesh& mesh, const char* name);
};
