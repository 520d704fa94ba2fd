// A model's list of events: counted references to the event data its motions fire.
#pragma once

#include "inventory/reference.h"
#include "model/event/eventdata.h"

#include <vector>

namespace ra
{
class EventList
{
public:
    int GetEventCount() const { return int(m_Events.size()); }
    // A null reference (an assertion) out of range.
    Inv::Reference<EventData> GetEvent(int index) const;
    // By the event's name, compared as the inventory compares names (case and separators aside);
    // InvalidIndex when absent.
    int FindEvent(const char* name) const;
    // Appends; a reference without data is an assertion and adds nothing. The new index or
    // InvalidIndex.
    int AddEvent(const Inv::Reference<EventData>& ref);
    void DeleteEvent(int eventIndex);
    void Clear() { m_Events.clear(); }

private:
    std::vector<Inv::Reference<EventData>> m_Events;
};
} // namespace ra
