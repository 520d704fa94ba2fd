// The final form of a model's action tree, in its entity file: all actions in one chunk.
//
//   ACTS data, version 1: i32 action count; per action: string name, then the action's fields
//        (model/file/actionfields.h)
//
// Links are by name, as in the generic form, with the same log lines; but a motion that is
// missing fails the load. The reader takes untrusted files: a damaged chunk throws
// Chunky::Exception (ByteStream::Exception for a string over 260 characters).
#pragma once

#include "model/motiontree/action.h"
#include "model/motiontree/condition.h"
#include "model/motiontree/motion.h"

class ByteStreamAdapter;
class Chunky;

class ActionLoadFinal
{
public:
    // Reads the next "ACTS" chunk, appending to `tree`, then resolves the sub-actions. False, with
    // the missing motion logged, when an action names a motion that `motions` lacks.
    static bool Load(Chunky& chunky, ByteStreamAdapter& adapter, ra::ActionTree& tree,
                     const ra::MotionList& motions, const ra::ConditionList& conditions,
                     const char* modelName);
    // Writes one "ACTS" chunk, also for an empty tree.
    static void Save(Chunky& chunky, ByteStreamAdapter& adapter, const ra::ActionTree& tree);
};
