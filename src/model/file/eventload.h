// Events in files: the "EVCT" folder of a model's entity file, whose "EVNT" chunks carry each
// event's name and parameters, and the ".events" files under "art/events/" that hold one event each.
//
//   EVCT folder, version 1
//     EVNT data, version 3, name = event name: i32 parameter count, per parameter two strings
//     (name and value)
//
// The readers take untrusted files: a damaged chunk throws Chunky::Exception (or
// ByteStream::Exception for a string over 260 characters) and adds nothing half-read.
#pragma once

#include "foundation/types.h"
#include "model/event/eventdata.h"
#include "model/event/eventlist.h"

#include <memory>
#include <string>
#include <vector>

class ByteStreamAdapter;
class Chunky;

class EventLoad
{
public:
    static constexpr uint32 ID_EVCT = 0x45564354; // "EVCT"
    static constexpr uint32 EVCTVersion = 1;
    static constexpr uint32 ID_EVNT = 0x45564E54; // "EVNT"
    static constexpr uint32 EVNTVersion = 3;
    static constexpr const char* FileExtension = ".events";

    // Reads the next "EVCT" folder into `list`, which is cleared first. Each event enters the
    // inventory as the model's own (not found by name there); without an inventory the events are
    // dropped with a log line.
    static void Load(Chunky& chunky, ByteStreamAdapter& adapter, ra::EventList& list);
    // Writes one "EVCT" folder; an empty list writes nothing.
    static void Save(Chunky& chunky, ByteStreamAdapter& adapter, const ra::EventList& list);

    // The events of the next "EVCT" folder, named by their normalised names, outside the inventory.
    static std::vector<std::unique_ptr<ra::EventData>> LoadEvents(Chunky& chunky, ByteStreamAdapter& adapter);
    static void SaveEvents(Chunky& chunky, ByteStreamAdapter& adapter,
                           const std::vector<const ra::EventData*>& events);

    // The event of a ".events" file: `filename` with the extension added, under its alias or else
    // under "DATA". The first event of the file, named `filename` normalised. Null, logged with
    // `caller`, when the file is missing or damaged; never throws.
    static std::unique_ptr<ra::EventData> Load(const char* filename, const char* caller);
    // Writes the list as a ".events" file, named as Load reads it. False, logged, on failure.
    static bool Save(const char* filename, const ra::EventList& list);
};
