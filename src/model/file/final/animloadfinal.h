// The final form of one animation of a model: an "ANIM" folder holding the animation's streams in
// one data chunk, or a cross-reference to an animation of another model's file, and the box it
// sweeps.
//
//   ANIM folder, version 3, name = animation name
//     DATA data, version 2, name = animation name:
//          i32 frame count, f32 time in seconds
//          i32 bone count (0 or the skeleton's); per bone: string name, i32 + position keys of 16
//          bytes, i32 + rotation keys of 20 bytes, u8 animated
//          i32 control count; per control: string name, then the control stream fields
//          i32 camera count (not in version 1); per camera: string name, then the camera streams
//          (model/file/animchunk.h)
//     or XREF data, version 1: string source model, string animation name
//     ANBV data, version 1, name = animation name: vec3 minimum, vec3 maximum (when held)
//
// Animations are shared by name: a "DATA" whose name the inventory holds already is passed over
// and the stored animation taken. A cross-referenced animation missing from its model is logged
// and adds nothing. The reader takes untrusted files: a damaged chunk, a frame count or time that
// is not above 0, or a bone count that is not the skeleton's throws Chunky::Exception.
#pragma once

#include "model/anim/animlist.h"

class ByteStreamAdapter;
class Chunky;

class AnimLoadFinal
{
public:
    // Reads the next "ANIM" folder and adds its node to `list`, whose model gives the skeleton,
    // meshes, shaders and cameras that the streams are matched to. The node's index, or
    // AnimList::InvalidIndex when the folder adds nothing (a cross-reference to an animation that
    // is missing).
    static int Load(Chunky& chunky, ByteStreamAdapter& adapter, AnimList& list);
    // Writes the node: its streams, or for a node with a cross-reference name, the reference; then
    // its box when it holds one.
    static void Save(Chunky& chunky, ByteStreamAdapter& adapter, const AnimListNode& node);
};
