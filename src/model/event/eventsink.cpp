#include "model/event/eventsink.h"

#include "foundation/debug.h"
#include "foundation/output.h"
#include "model/event/eventnames.h"
#include "model/rendermodel.h"

#include <algorithm>
#include <cstring>

namespace
{
ra::Name Key(int index)
{
    return ra::EventNames::GetParamKey(index);
}

const char* ParamName(int index)
{
    return ra::EventNames::GetParamName(index);
}

void AddOnce(std::vector<std::string>& cName, const char* name)
{
    if (name == nullptr || *name == '\0')
        return;
    if (std::find(cName.begin(), cName.end(), name) == cName.end())
        cName.emplace_back(name);
}
} // namespace

RenderModelEventSink::RenderModelEventSink(const RenderModel& model) : m_model(model)
{
    SetOwnerName(model.GetName());
}

bool RenderModelEventSink::IsValidTransform(const char* text)
{
    static const char* const s_transforms[] = {"marker", "world", "model"};
    for (const char* transform : s_transforms)
        if (text && std::strcmp(text, transform) == 0)
            return true;
    return false;
}

bool RenderModelEventSink::Trigger(const ra::Event& event)
{
    if (!event.IsHighDetail())
        return false;
    bool started = false;

    const auto fx = event.FindParamEx(Key(ra::EventNames::FX));
    if (fx.second && !fx.first.empty())
        started |= TriggerFX(event, fx.first);

    const auto sound = event.FindParamEx(Key(ra::EventNames::SOUND));
    if (sound.second && !sound.first.empty())
        started |= TriggerSound(event, sound.first);

    const auto decal = event.FindParamEx(Key(ra::EventNames::DECAL));
    if (decal.second && !decal.first.empty())
    {
        Spawn spawn;
        spawn.kind = SPAWN_DECAL;
        spawn.name = decal.first;
        spawn.eventName = event.GetEventName();
        m_cSpawn.push_back(spawn);
        started = true;
    }

    started |= TriggerCamShake(event);
    return started;
}

bool RenderModelEventSink::TriggerFX(const ra::Event& event, const std::string& fx)
{
    const char* eventName = event.GetEventName();
    const char* modelName = GetOwnerName();

    int32 markerIndex = InvalidIndex;
    const auto marker = event.FindParamEx(Key(ra::EventNames::MARKER));
    if (marker.second)
    {
        markerIndex = m_model.FindMarker(ra::MakeName(marker.first.c_str()));
        if (markerIndex == InvalidIndex)
        {
            dbWarningf("EVENTS -- '%s': Missing marker '%s' referenced in event '%s'!", modelName,
                       marker.first.c_str(), eventName);
            return false;
        }
    }
    else
    {
        markerIndex = m_model.FindMarker(ra::MakeName("root"));
        if (markerIndex == InvalidIndex)
        {
            dbWarningf("EVENTS -- '%s:' Unable to find root marker for event '%s'!", modelName, eventName);
            return false;
        }
    }

    // The checks of the effect's set-up: numbers where numbers go, pairs complete, known transforms.
    bool valid = true;
    for (int index : {ra::EventNames::FX_LENGTH, ra::EventNames::FX_SCALE})
    {
        const char* value = event.FindParam(Key(index));
        float number = 0.0f;
        if (value && !ra::Event::ParseNumber(value, number))
        {
            dbWarningf("Event '%s' spawned FX with invalid '%s' = '%s'", eventName, ParamName(index), value);
            valid = false;
        }
    }
    const auto other = event.FindParamEx(Key(ra::EventNames::FX_OTHER));
    const char* otherMarker = event.FindParam(Key(ra::EventNames::FX_OTHER_MARKER));
    if (otherMarker && (!other.second || other.first.empty()))
    {
        dbWarningf("Event '%s' spawned FX with '%s' but no valid '%s'", eventName,
                   ParamName(ra::EventNames::FX_OTHER_MARKER), ParamName(ra::EventNames::FX_OTHER));
        valid = false;
    }
    const char* transform = event.FindParam(Key(ra::EventNames::FX_TRANSFORM));
    if (transform && !IsValidTransform(transform))
    {
        dbWarningf("Event '%s' spawned FX with invalid 'fx_transform' = '%s'", eventName, transform);
        valid = false;
    }
    if (!valid)
        return false;

    Spawn spawn;
    spawn.kind = SPAWN_FX;
    spawn.name = fx;
    spawn.eventName = eventName;
    spawn.markerIndex = markerIndex;
    m_model.GetMarkerWorldTransform(markerIndex, spawn.transform);
    spawn.bound = !event.IsOrphaned();
    float length = 0.0f;
    if (ra::Event::ParseNumber(event.FindParam(Key(ra::EventNames::FX_LENGTH)), length) && length > 0.0f)
        spawn.remaining = length;
    m_cSpawn.push_back(spawn);
    return true;
}

bool RenderModelEventSink::TriggerSound(const ra::Event& event, const std::string& sound)
{
    float percent = 1.0f;
    if (event.FindParam(Key(ra::EventNames::SOUND_PERCENT)))
    {
        if (!event.GetFloatParam(Key(ra::EventNames::SOUND_PERCENT), percent))
            return false;
        if (percent <= 0.0f)
        {
            event.Log("percent must be above Zero!");
            return false;
        }
        if (percent > 1.0f)
        {
            event.Log("percent must be below One!");
            return false;
        }
    }
    Spawn spawn;
    spawn.kind = SPAWN_SOUND;
    spawn.name = sound;
    spawn.eventName = event.GetEventName();
    m_cSpawn.push_back(spawn);
    return true;
}

bool RenderModelEventSink::TriggerCamShake(const ra::Event& event)
{
    const int required[] = {ra::EventNames::CAM_SHAKE_DURATION, ra::EventNames::CAM_SHAKE_INTENSITY,
                            ra::EventNames::CAM_SHAKE_RADIUS, ra::EventNames::CAM_SHAKE_FALLOFF};
    int present = 0;
    for (int index : required)
        present += event.FindParam(Key(index)) ? 1 : 0;
    // "cam_shake_target" alone asks for a shake too.
    if (present == 0 && !event.FindParam(Key(ra::EventNames::CAM_SHAKE_TARGET)))
        return false;
    if (present != 4)
    {
        event.Log("Cam Shake event parameters missing. '%s','%s','%s', and '%s' required!",
                  ParamName(required[0]), ParamName(required[1]), ParamName(required[2]),
                  ParamName(required[3]));
        return false;
    }
    for (int index : required)
    {
        float value = 0.0f;
        if (!event.GetFloatParam(Key(index), value))
            return false;
    }
    Spawn spawn;
    spawn.kind = SPAWN_CAM_SHAKE;
    spawn.eventName = event.GetEventName();
    m_cSpawn.push_back(spawn);
    return true;
}

void RenderModelEventSink::PrecacheFX(const ra::EventData& data)
{
    AddOnce(m_cPrecachedFX, data.FindParam(Key(ra::EventNames::FX)));
}

void RenderModelEventSink::PrecacheSound(const ra::EventData& data)
{
    AddOnce(m_cPrecachedSound, data.FindParam(Key(ra::EventNames::SOUND)));
}

void RenderModelEventSink::Update(float dt)
{
    for (size_t i = 0; i < m_cSpawn.size();)
    {
        Spawn& spawn = m_cSpawn[i];
        if (spawn.kind == SPAWN_FX && spawn.remaining > 0.0f)
        {
            spawn.remaining -= dt;
            if (spawn.remaining <= 0.0f)
            {
                m_cSpawn.erase(m_cSpawn.begin() + i);
                continue;
            }
        }
        if (spawn.kind == SPAWN_FX && spawn.bound)
            m_model.GetMarkerWorldTransform(spawn.markerIndex, spawn.transform);
        ++i;
    }
}
