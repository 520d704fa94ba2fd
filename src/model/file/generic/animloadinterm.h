// The intermediate form of an animation, as the exporter samples it: model-space bone matrices in
// place of local position and rotation streams, and control values that still carry their shader's
// base. Reading converts it to the ordinary form (AnimInterm::Convert).
//
//   ANIM folder, version 1, name = animation name
//     DATA folder, version 1, name = animation name
//       INFO data, version 1: i32 frame count, f32 time
//       BANM data, version 1, name = bone name: i32 + matrix keys of 52 bytes, u8 animated
//       CONS data, version 1, name = stream name: as "CANM" of the generic form
//       CMRA data, version 1, name = camera name: as in the generic form
//
// The model holds what a read of the generic form holds, an ordinary animation, with the file's
// animation kept beside it (AnimFromInterm), so that writing the intermediate form again gives the
// bytes that were read.
//
// The reader takes untrusted files: a damaged chunk, a frame count or time that is not above 0, or
// a stream of more keys than a hint reaches throws Chunky::Exception. A bone the skeleton lacks is
// logged and passed over.
#pragma once

#include "foundation/types.h"
#include "model/anim/animlist.h"

class ByteStreamAdapter;
class Chunky;

class AnimLoadInterm
{
public:
    // Reads the next intermediate "ANIM" folder, converts it against the model of `list` and adds
    // it there as an ordinary animation. The node's index.
    static int Load(Chunky& chunky, ByteStreamAdapter& adapter, AnimList& list);
    // Writes the node's animation in the intermediate form. An AnimInterm is the exporter's raw
    // sampling and is written as it stands; so is the file's animation that a read kept, while it
    // still converts to the node's animation against the model (AnimFromInterm::SourceHolds).
    // Any other animation has its bone matrices sampled from its streams once per frame, against
    // the model's skeleton, and its shader control values put back on their shader's base.
    static void Save(Chunky& chunky, ByteStreamAdapter& adapter, const AnimListNode& node,
                     const RenderModel& model);
};
