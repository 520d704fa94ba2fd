// One firing of an event: the event data bound to the sink that carries it into the game, with
// the flags the sink decides by and the variables that "%name%" in a parameter value stands for.
// Also the sink interface itself.
#pragma once

#include "inventory/reference.h"
#include "model/event/eventdata.h"
#include "names/name.h"

#include <string>
#include <utility>
#include <vector>

namespace ra
{
class Event;

// Where fired events go: effects, sounds and decals in the game.
class EventSink
{
public:
    virtual ~EventSink() = default;
    // Starts what the event asks for; false when it asked for nothing valid.
    virtual bool Trigger(const Event& event) = 0;
    // Preloading of what an event will want, so that the first firing does not stall.
    virtual void PrecacheFX(const EventData& data) = 0;
    virtual void PrecacheSound(const EventData& data) = 0;
    virtual void Update(float dt) = 0;

    // The owner named in event log lines (the model).
    const char* GetOwnerName() const { return m_ownerName.c_str(); }
    void SetOwnerName(const char* name) { m_ownerName = name ? name : ""; }

private:
    std::string m_ownerName;
};

class Event
{
public:
    // The largest value of a "%name%" expansion, terminator included.
    static constexpr size_t ExpandBuffer = 260;

    // Both must be given (assertions); the flags are read from the parameters here.
    Event(EventSink* pSink, const Inv::Reference<EventData>& eventRef);

    // The user's event detail setting, 1 until set: events whose "detail_level" is above it are
    // low detail.
    static void SetEventDetail(float detail);
    static float GetEventDetail();

    // The value text, or null when the event has no such parameter.
    const char* FindParam(ra::Name key) const;
    // The value with the first "%variable%" replaced by the variable's text ("" when the event
    // has no such variable); found is false when the parameter is absent.
    std::pair<std::string, bool> FindParamEx(ra::Name key) const;
    // A parameter as a number: false when absent; false and a log line when it is not a number.
    bool GetFloatParam(ra::Name key, float& out) const;

    // A whole text as a number, blanks around it allowed; false for anything else.
    static bool ParseNumber(const char* text, float& out);

    // Variables for the expansion of values; a second set of a name replaces the first.
    void SetVariable(ra::Name name, const char* value);

    // "detail_level" (0 when absent) at or below the detail setting.
    bool IsHighDetail() const { return m_bHighDetail; }
    // "fx_motion_orphan" non-zero, or "fx_orphan" present: the effect runs free of its marker.
    bool IsOrphaned() const { return m_bOrphaned; }
    // "spawn_radius", 1.0 when absent.
    float GetSpawnRadius() const { return m_spawnRadius; }

    EventSink* GetSink() const { return m_pSink; }
    const Inv::Reference<EventData>& GetEventRef() const { return m_EventRef; }
    // The event data's name, "" when it has none.
    const char* GetEventName() const;

    // Hands the event to its sink.
    bool Trigger() const;

    // A line "EVENTS -- 'owner' -- event 'name' message".
    void Log(const char* format, ...) const __attribute__((format(printf, 2, 3)));

    // "EVENT TRIGGER" and each parameter as "name\n\tvalue", for debug displays.
    std::string GetDebugText() const;

private:
    EventSink* m_pSink;
    Inv::Reference<EventData> m_EventRef;
    bool m_bHighDetail = true;
    bool m_bOrphaned = false;
    float m_spawnRadius = 1.0f;
    std::vector<std::pair<ra::Name, std::string>> m_Variables;
};
} // namespace ra
