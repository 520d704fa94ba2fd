// The bound volume of an animation: the box that a model's visible meshes sweep while the
// animation plays alone on it. Making it poses the model frame by frame, which takes the playback
// layer; the model library does not link playback (playback builds on it), so playback installs
// its builder here at start (AnimBVBuilder::Register, see playback/animbvbuilder.h) and the
// animation list reaches it through AnimListNodeBV::Build. Without a builder, a node read without
// its box stays without one.
#pragma once

class AnimListNode;
class RenderModel;

namespace AnimListNodeBV
{
// Poses the model with the node's animation and stores the box in the node. False when nothing
// was stored.
using Builder = bool (*)(const RenderModel& renderModel, AnimListNode& node);

// Null removes the builder.
void SetBuilder(Builder builder);
Builder GetBuilder();

// The node's box through the installed builder; false, with the node untouched, when none is
// installed.
bool Build(const RenderModel& renderModel, AnimListNode& node);
} // namespace AnimListNodeBV
