// The chunk ids and versions of the final model files (.tqm, .tqe). Where a chunk is the same as
// in the generic form, its reader and writer are shared (model/file/); the ids here are what the
// final form writes around them.
#pragma once

#include "foundation/types.h"
#include "model/file/modelchunk.h"
#include "storage/chunky.h"

namespace FinalChunk
{
// Roots.
constexpr uint32 ID_RSGM = FourCC("RSGM");
constexpr uint32 RSGMVersion = 3;
constexpr uint32 ID_REBP = FourCC("REBP");
constexpr uint32 REBPVersion = 4;

// Textures and shaders (their bodies are TextureLoadFinal's and ShaderLoadFinal's).
constexpr uint32 ID_TXTR = FourCC("TXTR");
constexpr uint32 ID_SHDR = FourCC("SHDR");
constexpr uint32 ID_SSHR = FourCC("SSHR");

// Shared by several folders; the version depends on the folder.
constexpr uint32 ID_DATA = FourCC("DATA");
constexpr uint32 ID_BVOL = FourCC("BVOL");
constexpr uint32 BVOLVersion = 2;

// Skeleton: one data chunk of every bone.
constexpr uint32 ID_SKEL = FourCC("SKEL");
constexpr uint32 SKELVersion = 5;

// Meshes.
constexpr uint32 ID_MSGR = FourCC("MSGR");
constexpr uint32 MSGRVersion = 1;
constexpr uint32 MSGRDataVersion = 1;
constexpr uint32 ID_MSLC = FourCC("MSLC");
constexpr uint32 MSLCVersion = 1;
constexpr uint32 MSLCDataVersion = 2;

// Markers and cameras: one data chunk each, only when the model has any.
constexpr uint32 ID_MARK = FourCC("MARK");
constexpr uint32 MARKVersion = 1;
constexpr uint32 ID_CAMS = FourCC("CAMS");
constexpr uint32 CAMSVersion = 1;

// Animations.
constexpr uint32 ID_ANIM = FourCC("ANIM");
constexpr uint32 ANIMVersion = 3;
constexpr uint32 AnimDataVersion = 2;
constexpr uint32 ID_XREF = FourCC("XREF");
constexpr uint32 XREFVersion = 1;
constexpr uint32 ID_ANBV = FourCC("ANBV");

// The action tree of the entity file, in place of the generic "ACTR".
constexpr uint32 ID_ACTS = FourCC("ACTS");
constexpr uint32 ACTSVersion = 1;

// The entity file's own chunk, as in the generic form.
constexpr uint32 ID_SEUI = FourCC("SEUI");
constexpr uint32 SEUIVersion = 3;
} // namespace FinalChunk
