// The clauses of a model in its entity file:
//
//   CLST folder, version 1 (written only when the list has clauses)
//     CLAS data, version 2, name = clause name:
//       i32 type, string variable name, i32 comparison, value, default
//     value and default are f32, u8 or string by type; version 1 has no default.
//
// The reader takes untrusted files: a damaged chunk throws Chunky::Exception (or
// ByteStream::Exception for a string over 260 characters). A clause of an unknown type or
// comparison is logged and left out.
#pragma once

#include "foundation/types.h"
#include "model/motiontree/clause.h"

class ByteStreamAdapter;
class Chunky;

class ClauseLoad
{
public:
    static constexpr uint32 ID_CLST = 0x434C5354; // "CLST"
    static constexpr uint32 CLSTVersion = 1;
    static constexpr uint32 ID_CLAS = 0x434C4153; // "CLAS"
    static constexpr uint32 CLASVersion = 2;

    // Reads the next "CLST" folder, appending owned clauses to `list`. `modelName` is for the log.
    static void Load(Chunky& chunky, ByteStreamAdapter& adapter, ra::ClauseList& list, const char* modelName);
    static void Save(Chunky& chunky, ByteStreamAdapter& adapter, const ra::ClauseList& list);
};
