// The timing modifiers of a model in its entity file:
//
//   MODL folder, version 1
//     MODF data, version 2, name = modifier name:
//       string variable name, i32 type, f32 reference value, f32 clamp value (not in version 1)
//
// The reader takes untrusted files: a damaged chunk throws Chunky::Exception (or
// ByteStream::Exception for a string over 260 characters).
#pragma once

#include "foundation/types.h"
#include "model/motiontree/modifier.h"

class ByteStreamAdapter;
class Chunky;

class ModifierLoad
{
public:
    static constexpr uint32 ID_MODL = 0x4D4F444C; // "MODL"
    static constexpr uint32 MODLVersion = 1;
    static constexpr uint32 ID_MODF = 0x4D4F4446; // "MODF"
    static constexpr uint32 MODFVersion = 2;

    // Reads the next "MODL" folder, appending to `list`.
    static void Load(Chunky& chunky, ByteStreamAdapter& adapter, ra::ModifierList& list);
    static void Save(Chunky& chunky, ByteStreamAdapter& adapter, const ra::ModifierList& list);
};
