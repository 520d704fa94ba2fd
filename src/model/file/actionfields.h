// The fields of one action as every form stores them: in the generic form an "ACTN" chunk holds
// them after its name, in the final form "ACTS" holds them for all actions in one chunk.
//
//   i32 motion count; per motion: string motion name, i32 condition type, string condition name
//   (types 0 and 1 only)
//   i32 sub-action count; per sub-action: string action name, i32 condition type, string
//   condition name (types 0 and 1 only)
//
// Links are by name: a missing condition makes its entry "always" and a missing motion drops its
// entry, each with a log line. Reads are bounded by the chunk (ra::MotionPayloadReader).
#pragma once

#include "model/file/motionpayloadreader.h"
#include "model/motiontree/action.h"
#include "model/motiontree/condition.h"
#include "model/motiontree/motion.h"

class ByteStreamAdapter;

namespace ActionFields
{
// Reads the fields into `action`; `actionName` is the chunk's text of its name, for the log. False when a
// motion was missing (its entry is left out and the rest still read), so that a strict form can refuse the
// action.
bool Read(ra::MotionPayloadReader& reader, Action& action, const ra::MotionList& motions,
          const ra::ConditionList& conditions, const char* modelName, const char* actionName);
void Write(ByteStreamAdapter& adapter, const Action& action);
} // namespace ActionFields
