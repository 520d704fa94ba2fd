// The events of ".events" files, loaded once on first request and kept by name for the rest of
// the run: the one place that the game and the tools ask for file events.
#pragma once

#include "inventory/reference.h"
#include "model/event/eventdata.h"
#include "names/name.h"

#include <memory>

class EventFileDatabase
{
public:
    // The one database; a second Create, or a Destroy without one, is an assertion.
    static void Create();
    static void Destroy();
    // The database; null (an assertion) when none was made.
    static EventFileDatabase* i();

    // The event of that name (normalised as event names are), loaded through the inventory from
    // its ".events" file on the first request. A null reference when it cannot be loaded; the
    // failure is remembered, so a missing file is looked for once.
    Inv::Reference<ra::EventData> GetEvent(const char* name);
    // Events asked for so far, loaded or not.
    size_t GetCount() const;
    // Lets go of every event.
    void Clear();

    EventFileDatabase(const EventFileDatabase&) = delete;
    EventFileDatabase& operator=(const EventFileDatabase&) = delete;

private:
    EventFileDatabase();
    ~EventFileDatabase();

    struct Imp;
    std::unique_ptr<Imp> m_pImp;

    static EventFileDatabase* s_pDB;
};
