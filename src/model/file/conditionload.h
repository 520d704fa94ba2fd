// The conditions of a model in its entity file:
//
//   CONL folder, version 1
//     COND data, version 1, name = condition name: i32 clause count, that many clause names
//
// A condition borrows its clauses from the model's clause list, which is read first; a clause
// that is not there is logged and left out. The reader takes untrusted files: a damaged chunk
// throws Chunky::Exception (or ByteStream::Exception for a string over 260 characters).
#pragma once

#include "foundation/types.h"
#include "model/motiontree/condition.h"

class ByteStreamAdapter;
class Chunky;

class ConditionLoad
{
public:
    static constexpr uint32 ID_CONL = 0x434F4E4C; // "CONL"
    static constexpr uint32 CONLVersion = 1;
    static constexpr uint32 ID_COND = 0x434F4E44; // "COND"
    static constexpr uint32 CONDVersion = 1;

    // Reads the next "CONL" folder, appending to `list`. `modelName` is for the log.
    static void Load(Chunky& chunky, ByteStreamAdapter& adapter, ra::ConditionList& list,
                     const ra::ClauseList& clauses, const char* modelName);
    static void Save(Chunky& chunky, ByteStreamAdapter& adapter, const ra::ConditionList& list);
};
