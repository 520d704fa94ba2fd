// The motions of a model in its entity file, and the stand-alone motion file:
//
//   MTRE folder, version 3
//     MTON data, version 4, name = motion name, in order:
//       i32 animation count, that many animation names
//       i32 random motion count; per random motion: string name, f32 weight
//       u8 random repeat
//       i32 event count; per event: string event name, f32 time
//       i32 type
//       f32 start delay min, max; f32 loop delay min, max
//       f32 reserved (below version 4, dropped)
//       f32 transition time
//       f32 start position min, max; f32 exit delay min, max (version 2 and above)
//       u8 ignore delays (version 3 and above); u8 ignore transitions (version 4)
//       u8 has modifier, then the modifier's name when it is not 0
//
//   The older form, still read: MOTN folders, version 2, named after the motion, each with an MDAT
//   data chunk, version 5, in the same order and with the same version steps, except that:
//       below version 2 each animation name is followed by an f32 (dropped), and there is no
//       random motion count and no random motion;
//       version 4 has one more u8 after the ignore transitions flag (dropped);
//       below version 3, in place of the modifier flag, an i32 count of modifiers, each a string
//       variable name, i32 type and f32 reference value: each becomes the model's modifier named
//       after the motion, and the motion's timing modifier;
//       an animation that is missing is left out, with no stand-in.
//
//   ERML folder, version 1: the stand-alone motion file, holding MODL and MTRE.
//
// Links are by name and never fail a load: a missing animation becomes an empty stand-in
// animation "MOTION_ERROR - <motion>", a missing event or modifier is left out; each is logged.
// The readers take untrusted files: a damaged chunk throws Chunky::Exception (or
// ByteStream::Exception for a string over 260 characters).
#pragma once

#include "foundation/types.h"
#include "model/event/eventlist.h"
#include "model/motiontree/action.h"
#include "model/motiontree/modifier.h"
#include "model/motiontree/motion.h"

class AnimList;
class ByteStreamAdapter;
class Chunky;
class RenderModel;

class MotionLoad
{
public:
    static constexpr uint32 ID_MTRE = 0x4D545245; // "MTRE"
    static constexpr uint32 MTREVersion = 3;
    static constexpr uint32 ID_MTON = 0x4D544F4E; // "MTON"
    static constexpr uint32 MTONVersion = 4;
    static constexpr uint32 ID_MOTN = 0x4D4F544E; // "MOTN"
    static constexpr uint32 MOTNVersion = 2;
    static constexpr uint32 ID_MDAT = 0x4D444154; // "MDAT"
    static constexpr uint32 MDATVersion = 5;
    static constexpr uint32 ID_ERML = 0x45524D4C; // "ERML"
    static constexpr uint32 ERMLVersion = 1;
    // The name of the stand-in for a missing animation is this and the motion's name.
    static constexpr const char* MissingAnimPrefix = "MOTION_ERROR - ";

    // Reads the next "MTRE" folder, appending to `motions`, then resolves the random motions.
    // Animations are looked up in `animList`, which names the model in log lines and takes the
    // stand-ins; events in `events`; modifiers in `modifiers`, which the older form adds to.
    static void Load(Chunky& chunky, ByteStreamAdapter& adapter, ra::MotionList& motions,
                     ra::ModifierList& modifiers, const ra::EventList& events, AnimList& animList);
    static void Save(Chunky& chunky, ByteStreamAdapter& adapter, const ra::MotionList& motions);
    // What the burner warns about as it writes the motions of the game's files: a motion of more
    // than one animation (tag "MTAN", a line per animation), and a motion with an absolute
    // modifier that does not ignore transitions and has an event in the span of its fade-out
    // (the last transition time of its first animation), which a transition may skip.
    static void WarnValidity(const ra::MotionList& motions, const char* modelName);

    // The stand-alone motion file: reads the next "ERML" folder after clearing the motions and
    // the modifiers. The entries of `pActions` (may be null) are pointed at the new motions of the
    // same names; an entry whose motion is gone is dropped with a log line.
    static void LoadMotions(Chunky& chunky, ByteStreamAdapter& adapter, ra::MotionList& motions,
                            ra::ModifierList& modifiers, const ra::EventList& events, AnimList& animList,
                            ra::ActionTree* pActions);
    static void SaveMotions(Chunky& chunky, ByteStreamAdapter& adapter, const ra::MotionList& motions,
                            const ra::ModifierList& modifiers);
    // The same on a model's own lists; a model without an animation list is an assertion and
    // reads nothing.
    static void LoadMotions(Chunky& chunky, ByteStreamAdapter& adapter, RenderModel& model);
    static void SaveMotions(Chunky& chunky, ByteStreamAdapter& adapter, const RenderModel& model);

    // A stand-alone motion file by name: a chunk file whose root is "ERML". False, logged, when the
    // file cannot be opened or is damaged; never throws.
    static bool LoadFile(const char* filename, RenderModel& model);
    static bool SaveFile(const char* filename, const RenderModel& model);
};
