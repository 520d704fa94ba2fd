#include "model/event/eventlist.h"

#include "foundation/debug.h"
#include "storage/filepathutil.h"

namespace ra
{
Inv::Reference<EventData> EventList::GetEvent(int index) const
{
    if (!dbAssert(index >= 0) || !dbAssert(index < GetEventCount()))
        return {};
    return m_Events[index];
}

int EventList::FindEvent(const char* name) const
{
    if (!dbAssert(name))
        return InvalidIndex;
    for (size_t i = 0; i < m_Events.size(); ++i)
    {
        const EventData* pEvent = m_Events[i].Get();
        if (pEvent && pEvent->GetName() && FilePathUtil::Equal(pEvent->GetName(), name))
            return int(i);
    }
    return InvalidIndex;
}

int EventList::AddEvent(const Inv::Reference<EventData>& ref)
{
    const EventData* pNewEvent = ref.Get();
    if (!dbAssert(pNewEvent))
        return InvalidIndex;
    m_Events.push_back(ref);
    return int(m_Events.size()) - 1;
}

void EventList::DeleteEvent(int eventIndex)
{
    if (!dbAssert(eventIndex >= 0) || !dbAssert(eventIndex < GetEventCount()))
        return;
    m_Events.erase(m_Events.begin() + eventIndex);
}
} // namespace ra
