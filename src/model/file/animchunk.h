// What the generic, intermediate and final forms of an animation share: the node that carries an
// animation in a model's list, the frame count and time checks, the skeleton's bones, the fields
// of a control stream and of a camera stream, and the animation of another model's file that a
// cross-reference names.
//
//   control stream: i32 target type, i32 channel, i32 parameter, i32 key count + keys of 8 bytes
//   camera stream: i32 + position keys of 16 bytes, i32 + rotation keys of 20 bytes
//
// A control whose shader or mesh the model lacks, or a camera the model lacks, is logged and
// passed over.
#pragma once

#include "foundation/types.h"
#include "inventory/reference.h"
#include "math/vector.h"
#include "model/anim/anim.h"
#include "model/anim/animlist.h"
#include "names/name.h"

#include <memory>

class ByteStreamAdapter;
class Chunky;
class RenderModel;
class Skeleton;

namespace ModelChunk
{
class Payload;
}

namespace AnimChunk
{
// The box an animation sweeps, the same chunk in every form: vec3 minimum, vec3 maximum.
constexpr uint32 ID_ANBV = FourCC("ANBV");
constexpr uint32 ANBVVersion = 1;

// A node for the animation, its mappings sized for `model` (the list fills them when the node is
// added).
std::unique_ptr<AnimListNode> MakeNode(const RenderModel& model, const Inv::Reference<Anim>& animRef);

// The frame count and time of `anim`; throws unless both are above 0 (and the count fits an i32).
void SetFrames(ModelChunk::Payload& payload, Anim& anim, int64 frameCount, float time);
// `anim` gets a bone for each of the skeleton's, in its order and under its names; nothing
// without a skeleton.
void SetSkeletonBones(Anim& anim, const Skeleton* pSkeleton);

// The fields of a control stream named `name` into `anim`, its shader or mesh found in `model`'s
// group; with `oldVisibility` (the first version of the generic chunk) parameter 0 reads one lower.
void ReadControl(ModelChunk::Payload& payload, const char* name, Anim& anim, const RenderModel& model,
                 bool oldVisibility);
void WriteControl(ByteStreamAdapter& adapter, const ControlInfo& control, const ControlStream* pStream);
// The two streams of the camera `name` into `anim`, for a camera of `model`.
void ReadCamera(ModelChunk::Payload& payload, const char* name, Anim& anim, const RenderModel& model);
void WriteCamera(ByteStreamAdapter& adapter, const Anim& anim, int index);

// Reads the "ANBV" chunk just peeked.
void ReadBox(Chunky& chunky, ByteStreamAdapter& adapter, ra::Vec3& minimum, ra::Vec3& maximum);
// Writes an "ANBV" chunk named `animName` when the node holds a box.
void WriteBox(Chunky& chunky, ByteStreamAdapter& adapter, const AnimListNode& node, const char* animName);
// The fields of a cross-reference: string source model, string animation name.
void WriteXRefFields(ByteStreamAdapter& adapter, const AnimListNode& node, const char* animName);

// The animation `animName` of the model file `file`, loaded through the inventory; a null
// reference when the model lacks it.
Inv::Reference<Anim> FindXRefAnim(const char* file, ra::Name animName);
} // namespace AnimChunk
