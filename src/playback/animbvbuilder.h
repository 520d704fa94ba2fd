// AnimBVBuilder: makes the bound volume of an animation by playing it alone on its model, on a
// private play list, and collecting the posed boxes of the visible meshes frame by frame. Register
// installs it in the model library, so that animations read without a box get one on load.
#pragma once

class AnimListNode;
class RenderModel;

namespace AnimBVBuilder
{
// Installs Build as the model library's bound volume builder. Tools call it once at start,
// beside the loader registrations.
void Register();

// For each frame f of the animation, the pose at f / (frame count + 1) of its length; each
// visible mesh's box corners, moved by its bone (inverse reference matrix times posed matrix)
// when it follows one, grow the box. A box that nothing grew is stored as a zero box. False, with
// the node untouched, without a mesh group, a reference pose or an animation.
bool Build(const RenderModel& renderModel, AnimListNode& node);
} // namespace AnimBVBuilder
