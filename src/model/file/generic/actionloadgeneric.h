// The action tree of a model in its entity file, and the stand-alone action file:
//
//   ACTR folder, version 1 (written only when the tree has actions)
//     ACTN data, version 1, name = action name:
//       i32 motion count; per motion: string motion name, i32 condition type, string condition
//       name (types 0 and 1 only)
//       i32 sub-action count; per sub-action: string action name, i32 condition type, string
//       condition name (types 0 and 1 only)
//
//   ERTR folder, version 1: the stand-alone action file, holding CLST, CONL and ACTR.
//
// Links are by name and never fail a load: a missing motion drops its entry, a missing condition
// makes its entry "always", each with a log line; sub-actions are resolved once every action is
// read. The readers take untrusted files: a damaged chunk throws Chunky::Exception (or
// ByteStream::Exception for a string over 260 characters).
#pragma once

#include "foundation/types.h"
#include "model/motiontree/action.h"
#include "model/motiontree/clause.h"
#include "model/motiontree/condition.h"
#include "model/motiontree/motion.h"

class ByteStreamAdapter;
class Chunky;
class RenderModel;

class ActionLoadGeneric
{
public:
    static constexpr uint32 ID_ACTR = 0x41435452; // "ACTR"
    static constexpr uint32 ACTRVersion = 1;
    static constexpr uint32 ID_ACTN = 0x4143544E; // "ACTN"
    static constexpr uint32 ACTNVersion = 1;
    static constexpr uint32 ID_ERTR = 0x45525452; // "ERTR"
    static constexpr uint32 ERTRVersion = 1;

    // Reads the next "ACTR" folder, appending to `tree`, then resolves the sub-actions.
    static void Load(Chunky& chunky, ByteStreamAdapter& adapter, ra::ActionTree& tree,
                     const ra::MotionList& motions, const ra::ConditionList& conditions,
                     const char* modelName);
    static void Save(Chunky& chunky, ByteStreamAdapter& adapter, const ra::ActionTree& tree);

    // The stand-alone action file: reads the next "ERTR" folder after clearing the tree, the
    // conditions and the clauses.
    static void LoadTree(Chunky& chunky, ByteStreamAdapter& adapter, ra::ActionTree& tree,
                         ra::ConditionList& conditions, ra::ClauseList& clauses,
                         const ra::MotionList& motions, const char* modelName);
    static void SaveTree(Chunky& chunky, ByteStreamAdapter& adapter, const ra::ActionTree& tree,
                         const ra::ConditionList& conditions, const ra::ClauseList& clauses);
    // The same on a model's own lists.
    static void LoadTree(Chunky& chunky, ByteStreamAdapter& adapter, RenderModel& model);
    static void SaveTree(Chunky& chunky, ByteStreamAdapter& adapter, const RenderModel& model);

    // A stand-alone action file by name: a chunk file whose root is "ERTR". False, logged, when the
    // file cannot be opened or is damaged; never throws.
    static bool LoadFile(const char* filename, RenderModel& model);
    static bool SaveFile(const char* filename, const RenderModel& model);
};
