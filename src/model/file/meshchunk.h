// What the generic and final forms of a model's meshes share: the bound volume chunk, the group's
// entries, the head of a mesh's "DATA" chunk up to and including its high vertex streams, vertex
// sets and index lists as the files hold them, and the finding of shaders and meshes by name.
//
//   MSLC DATA head: u32 mesh type, u8 render flag (not in version 1), i32 polygons high, i32
//        polygons low, i32 skin count + (string bone, u32 slot) each, then the high vertex set
//   vertex set: i32 vertex count, u32 vertex type, the words of streams 0, 1, 2 and 5 that the
//        type has
//   index list: i32 index count, and when that is not 0: u16 indices, u16 first vertex, u16
//        vertex range
//   BVOL data, version 2: u8 valid, obb when valid (version 1: u8 sphere, u8 box, vec3 and f32 of
//        the sphere when set, obb when set)
//   MSGR DATA, version 1: i32 count + (string name, string cross-reference model or "", u32 bone
//        index or -1) each
//
// The reads are bounded by their chunk (ModelChunk::Payload); a count, index or vertex type that
// cannot be throws Chunky::Exception.
#pragma once

#include "foundation/types.h"
#include "inventory/reference.h"
#include "model/file/modelchunk.h"
#include "model/mesh/mesh.h"
#include "model/mesh/meshgroup.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

class Skeleton;

namespace MeshChunk
{
constexpr uint32 ID_MSGR = FourCC("MSGR");
constexpr uint32 MSGRVersion = 1;
constexpr uint32 ID_MSLC = FourCC("MSLC");
constexpr uint32 MSLCVersion = 1;
constexpr uint32 ID_DATA = FourCC("DATA");
constexpr uint32 ID_BVOL = FourCC("BVOL");
constexpr uint32 BVOLVersion = 2;
constexpr uint32 MSGRDataVersion = 1;

// A group entry as the file gives it, before its mesh is found.
struct Entry
{
    ra::Name name;
    std::string xref;
    int32 boneIndex = -1;
    Inv::Reference<ra::Mesh> mesh;
};

// The usage of the primitive sets of a vertex set of this type: weighted vertices take mode 2.
uint32 PrimSetUsage(const fr::VertexType& type);

// Puts the mesh into the inventory where it cannot be found by name.
Inv::Reference<ra::Mesh> AddAnonymous(std::unique_ptr<ra::Mesh> pMesh);
// The shader of that name; one not in the inventory is logged and stood in by an empty one.
Inv::Reference<Shader> FindShader(const char* shaderName, const char* meshName);

ra::BoundVolume ReadBoundVolume(ModelChunk::Payload& payload, const ChunkInfo& info);
// Reads the next "BVOL" chunk.
ra::BoundVolume ReadBoundVolumeChunk(Chunky& chunky, ByteStreamAdapter& adapter);
void WriteBoundVolume(Chunky& chunky, ByteStreamAdapter& adapter, const ra::BoundVolume& bv);

// The vertex type word; bits the render layer lacks throw.
fr::VertexType ReadVertexType(ModelChunk::Payload& payload, const char* meshName);
// A vertex set of the type for `vertexCount` vertices: null for none; a count the render layer
// cannot hold throws.
std::unique_ptr<fr::VertexSet> CreateVertexSet(ModelChunk::Payload& payload, const fr::VertexType& type,
                                               int64 vertexCount, const char* meshName);
// One stream of every vertex into the set (which may be null), if the type has it.
void ReadStream(ModelChunk::Payload& payload, fr::VertexSet* pSet, const fr::VertexType& type,
                uint32 vertexCount, uint32 component);
// The type word and streams of `vertexCount` vertices; null for none (the streams, if the type
// names any, are then empty). The type is returned through `type`.
std::unique_ptr<fr::VertexSet> ReadVertexSet(ModelChunk::Payload& payload, int64 vertexCount,
                                             fr::VertexType& type, const char* meshName);
// The type word and the streams; nothing for a null set.
void WriteVertexStreams(ByteStreamAdapter& adapter, fr::VertexSet* pSet);

// The fields before the primitive sets: the mesh's own fields and its high vertex set. The type
// of the high set is returned.
fr::VertexType ReadMeshHead(ModelChunk::Payload& payload, const ChunkInfo& info, ra::Mesh& mesh);
void WriteMeshHead(ByteStreamAdapter& adapter, const ra::Mesh& mesh);

// The shader name of primitive set `index`, set on the mesh; an empty name throws.
Inv::Reference<Shader> ReadPrimSetShader(ModelChunk::Payload& payload, ra::Mesh& mesh, int32 index);
void WritePrimSetShader(ByteStreamAdapter& adapter, const ra::Mesh& mesh, int32 index);
// `indexCount` u16 indices, each checked against `vertexCount`.
std::vector<uint16> ReadIndices(ModelChunk::Payload& payload, uint32 indexCount, uint32 vertexCount,
                                const char* meshName);
// One index list of primitive set `index`, checked against the vertices of its level.
std::vector<uint16> ReadIndexList(ModelChunk::Payload& payload, uint32 vertexCount, const char* meshName,
                                  int32 index);
// The indices of a primitive set (none for null), as ReadIndexList reads them.
void WriteIndexList(ByteStreamAdapter& adapter, const fr::PrimSet* pPrimSet);
// A triangle list over the level's vertex set, for the shader; nothing for no indices.
void SetPrimSet(ra::Mesh& mesh, int32 index, uint32 level, Shader& shader, uint32 usage,
                const std::vector<uint16>& cIndex);

// Reads the next "MSLC" folder into a new mesh of its name: its "DATA" (of `dataVersion` at the
// newest) through `readData`, and its volume.
std::unique_ptr<ra::Mesh>
ReadMeshFolder(Chunky& chunky, ByteStreamAdapter& adapter, const char* modelName, uint32 dataVersion,
               const std::function<void(ModelChunk::Payload&, const ChunkInfo&, ra::Mesh&)>& readData);
// Writes one "MSLC" folder under `name`: its "DATA" through `writeData`, then its volume (a mesh
// without one is an assertion and is written as not valid).
void WriteMeshFolder(Chunky& chunky, ByteStreamAdapter& adapter, const ra::Mesh& mesh, const char* name,
                     uint32 dataVersion, const std::function<void()>& writeData);
// Reads the next "MSGR" folder: each "MSLC" is peeked and handed to `loadMesh`, which reads it
// (ReadMeshFolder) or passes over it, then the entries and the volume; see BuildGroup.
std::unique_ptr<ra::MeshGroup>
ReadGroup(Chunky& chunky, ByteStreamAdapter& adapter, const Skeleton* pSkeleton, const char* modelName,
          const std::function<Inv::Reference<ra::Mesh>(const ChunkInfo&)>& loadMesh);
// Writes the "MSGR" folder: `saveMesh` for each mesh the model holds itself, the entries, the volume.
void WriteGroup(Chunky& chunky, ByteStreamAdapter& adapter, const ra::MeshGroup& group,
                const std::function<void(const ra::Mesh&, const char* name)>& saveMesh);

// The entries of a group's "DATA" chunk.
void ReadGroupEntries(ModelChunk::Payload& payload, std::vector<Entry>& cEntry);
// Writes the group's "DATA" chunk.
void WriteGroupEntries(Chunky& chunky, ByteStreamAdapter& adapter, const ra::MeshGroup& group);
// Finds every entry's mesh (the model's own among `cLocal`, or from another model's file) and
// fills a new group. A mesh that cannot be had is logged and stood in by the first mesh of the
// missing model; an entry without even that is left out.
std::unique_ptr<ra::MeshGroup> BuildGroup(std::vector<Entry>& cEntry,
                                          const std::vector<Inv::Reference<ra::Mesh>>& cLocal,
                                          const Skeleton* pSkeleton, const ra::BoundVolume& bv,
                                          const char* modelName);
} // namespace MeshChunk
