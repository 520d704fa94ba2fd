// The generic form of one animation of a model: an "ANIM" folder holding either the animation's
// streams or a cross-reference to an animation of another model's file, and the box it sweeps.
//
//   ANIM folder, version 2, name = animation name
//     DATA folder, version 3, name = animation name
//       INFO data, version 5: i32 frame count, f32 time in seconds (versions 1 to 4: [v1: i32],
//            i32 start frame, i32 end frame, f32 frame rate, [v < 4: 2 vec3], [v < 3: i32],
//            [v < 4: 2 vec3])
//       BANM data, version 2, name = bone name: i32 + position keys of 16 bytes, i32 + rotation keys
//            of 20 bytes, u8 animated (version 1: i32, animated above 0)
//       CANM data, version 2, name = stream name: i32 target type, i32 channel, i32 parameter,
//            i32 + keys of 8 bytes (version 1 with parameter 0: every value one lower)
//       CMRA data, version 1, name = camera name: i32 + position keys, i32 + rotation keys
//     or XREF data, version 3: string source model, string animation name (version 1 and below:
//            the model relative to the folder of the file that holds the chunk)
//     ANBV data, version 1, name = animation name: vec3 minimum, vec3 maximum (when held)
//
// Bone streams go to the skeleton's bones by name, so a local animation's streams stand in skeleton
// order; a bone, shader, mesh or camera that the model lacks is logged and its chunk passed over. A
// cross-referenced animation missing from its model is logged and stood in by an empty one. The
// reader takes untrusted files: a damaged chunk, a frame count or time that is not above 0, or a
// stream of more keys than a hint reaches throws Chunky::Exception.
#pragma once

#include "foundation/types.h"
#include "model/anim/anim.h"
#include "model/anim/animlist.h"

#include <functional>
#include <initializer_list>
#include <memory>

class ByteStreamAdapter;
class Chunky;
class RenderModel;
class Skeleton;
struct ChunkInfo;

namespace ModelChunk
{
class Payload;
}

class AnimLoadGeneric
{
public:
    // Reads the next "ANIM" folder and adds its node to `list`, whose model gives the skeleton,
    // meshes, shaders and cameras that the streams are matched to; a node read with its box keeps
    // it. The node's index, or AnimList::InvalidIndex when the folder adds nothing: a
    // cross-reference to an animation that `list` holds already. `folder` is the folder of the
    // file being read, for the oldest cross-references.
    static int Load(Chunky& chunky, ByteStreamAdapter& adapter, AnimList& list, const char* folder);
    // Writes the node as an "ANIM" folder: its streams, or for a node with a cross-reference name,
    // the reference; then its box when it holds one.
    static void Save(Chunky& chunky, ByteStreamAdapter& adapter, const AnimListNode& node);

    // The pieces the intermediate form shares (the others are in model/file/animchunk.h). A "CMRA"
    // data chunk for each of `anim`'s cameras.
    static void WriteCameras(Chunky& chunky, ByteStreamAdapter& adapter, const Anim& anim);

    // A data chunk that ReadDataChunks knows: its id, the newest version read, and the read of
    // its payload.
    struct DataChunkReader
    {
        uint32 id;
        uint32 version;
        std::function<void(ModelChunk::Payload& payload, const ChunkInfo& info)> read;
    };
    // The data chunks of the "DATA" folder just opened, each read by the reader of its id (the
    // others, and folders, passed over), then the folder closed. A folder without an "INFO" chunk
    // throws: the animation has no frame count.
    static void ReadDataChunks(Chunky& chunky, ByteStreamAdapter& adapter, const char* animName,
                               std::initializer_list<DataChunkReader> readers);
};
