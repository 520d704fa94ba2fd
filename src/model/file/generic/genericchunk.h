// The chunk ids and versions of the generic model files (.sgm, its intermediate form and .ebp).
// Their payloads are read and written through model/file/modelchunk.h.
#pragma once

#include "foundation/types.h"
#include "model/file/modelchunk.h"
#include "storage/chunky.h"

namespace GenericChunk
{
// Roots.
constexpr uint32 ID_RSGM = FourCC("RSGM");
constexpr uint32 RSGMVersion = 1;
constexpr uint32 ID_REBP = FourCC("REBP");
constexpr uint32 REBPVersion = 4;

// Textures and shaders.
constexpr uint32 ID_TXTR = FourCC("TXTR");
constexpr uint32 ID_SHDR = FourCC("SHDR");
constexpr uint32 SHDRVersion = 1;
constexpr uint32 SHDRInfoVersion = 1;
constexpr uint32 ID_SSHR = FourCC("SSHR");
constexpr uint32 SSHRVersion = 1;
constexpr uint32 ID_CHAN = FourCC("CHAN");
constexpr uint32 CHANVersion = 3;
constexpr uint32 ID_SHRF = FourCC("SHRF");
constexpr uint32 SHRFVersion = 1;

// Shared by several folders; the version depends on the folder.
constexpr uint32 ID_INFO = FourCC("INFO");
constexpr uint32 ID_DATA = FourCC("DATA");
constexpr uint32 ID_BVOL = FourCC("BVOL");
constexpr uint32 BVOLVersion = 2;
constexpr uint32 ID_CMRA = FourCC("CMRA");

// Skeleton.
constexpr uint32 ID_SKEL = FourCC("SKEL");
constexpr uint32 SKELVersion = 3;
constexpr uint32 SKELIntermVersion = 2;
constexpr uint32 SKELInfoVersion = 1;
constexpr uint32 ID_BONE = FourCC("BONE");
constexpr uint32 BONEVersion = 5;

// Meshes.
constexpr uint32 ID_MSGR = FourCC("MSGR");
constexpr uint32 MSGRVersion = 1;
constexpr uint32 MSGRDataVersion = 1;
constexpr uint32 ID_MSLC = FourCC("MSLC");
constexpr uint32 MSLCVersion = 1;
constexpr uint32 MSLCDataVersion = 2;
// The legacy mesh tree.
constexpr uint32 ID_MESH = FourCC("MESH");
constexpr uint32 MESHVersion = 2;
constexpr uint32 ID_GEOM = FourCC("GEOM");
constexpr uint32 GEOMVersion = 2;
constexpr uint32 GEOMDataVersion = 5;
constexpr uint32 ID_GGRP = FourCC("GGRP");
constexpr uint32 GGRPVersion = 1;
constexpr uint32 GGRPInfoVersion = 1;
constexpr uint32 ID_NODE = FourCC("NODE");
constexpr uint32 NODEVersion = 1;
constexpr uint32 NODEInfoVersion = 2;
constexpr uint32 NODEXrefVersion = 6;

// Markers and cameras of the model.
constexpr uint32 ID_MARK = FourCC("MARK");
constexpr uint32 MARKVersion = 1;
constexpr uint32 CMRAModelVersion = 2;

// Animations.
constexpr uint32 ID_ANIM = FourCC("ANIM");
constexpr uint32 ANIMVersion = 2;
constexpr uint32 ANIMIntermVersion = 1;
constexpr uint32 AnimDataVersion = 3;
constexpr uint32 AnimDataIntermVersion = 1;
constexpr uint32 AnimInfoVersion = 5;
constexpr uint32 AnimInfoIntermVersion = 1;
constexpr uint32 ID_BANM = FourCC("BANM");
constexpr uint32 BANMVersion = 2;
constexpr uint32 BANMIntermVersion = 1;
constexpr uint32 ID_CANM = FourCC("CANM");
constexpr uint32 CANMVersion = 2;
constexpr uint32 ID_CONS = FourCC("CONS");
constexpr uint32 CONSVersion = 1;
constexpr uint32 CMRAAnimVersion = 1;
constexpr uint32 ID_XREF = FourCC("XREF");
constexpr uint32 XREFVersion = 3;
constexpr uint32 ID_ANBV = FourCC("ANBV");
constexpr uint32 ANBVVersion = 1;

// The entity file's own chunk.
constexpr uint32 ID_SEUI = FourCC("SEUI");
constexpr uint32 SEUIVersion = 3;

} // namespace GenericChunk
