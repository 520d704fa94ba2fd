// The children of an entity file's "REBP" folder that every form reads and writes alike: the
// events, clauses, conditions, modifiers and motions of the motion tree, and the selection.
//
//   EVCT, CLST, CONL, MODL, MTRE folders (eventload.h, clauseload.h, conditionload.h,
//        modifierload.h, motionload.h), in that order: later ones look earlier ones up by name
//   SEUI data, version 3: i32 selection type, 2 f32 extents, 2 f32 centre, obb (version 2 and
//        below have no obb)
//
// The forms differ in their animations and their action tree, which they read themselves.
#pragma once

#include "foundation/types.h"
#include "storage/chunky.h"

class AnimList;
class ByteStreamAdapter;
class RenderModel;

namespace EntityChunks
{
constexpr uint32 ID_SEUI = FourCC("SEUI");
constexpr uint32 SEUIVersion = 3;

// Reads the peeked chunk `info` into `model` (its motions find their animations in `animList`)
// when it is one of the shared ones; false, the chunk not entered, for any other.
bool Read(Chunky& chunky, ByteStreamAdapter& adapter, const ChunkInfo& info, RenderModel& model,
          AnimList& animList);
// Writes the motion tree's folders, EVCT to MTRE.
void WriteMotionTree(Chunky& chunky, ByteStreamAdapter& adapter, const RenderModel& model);
void WriteSelection(Chunky& chunky, ByteStreamAdapter& adapter, const RenderModel& model);
} // namespace EntityChunks
