#include "model/event/event.h"

#include "foundation/debug.h"
#include "foundation/output.h"
#include "model/event/eventnames.h"

#include <cerrno>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace ra
{
namespace
{
template <class T, size_t N> constexpr size_t LENGTHOF(const T (&)[N])
{
    return N;
}

// Events up to detail level 1 are high detail until the user changes the setting.
float s_eventDetail = 1.0f;
} // namespace

bool Event::ParseNumber(const char* text, float& out)
{
    if (text == nullptr)
        return false;
    errno = 0;
    char* end = nullptr;
    const float value = std::strtof(text, &end);
    if (end == text)
        return false;
    while (*end == ' ' || *end == '\t')
        ++end;
    if (*end != '\0' || errno == ERANGE || !std::isfinite(value))
        return false;
    out = value;
    return true;
}

Event::Event(EventSink* pSink, const Inv::Reference<EventData>& eventRef)
    : m_pSink(pSink), m_EventRef(eventRef)
{
    dbAssert(m_pSink);
    if (!dbAssert(m_EventRef.IsValid()) || !m_EventRef.Get())
        return;

    float detail = 0.0f;
    if (!GetFloatParam(EventNames::GetParamKey(EventNames::DETAIL_LEVEL), detail))
        detail = 0.0f;
    m_bHighDetail = detail <= s_eventDetail;

    float motionOrphan = 0.0f;
    const bool motionOrphaned =
        GetFloatParam(EventNames::GetParamKey(EventNames::FX_MOTION_ORPHAN), motionOrphan) &&
        motionOrphan != 0.0f;
    m_bOrphaned = motionOrphaned || FindParam(EventNames::GetParamKey(EventNames::FX_ORPHAN)) != nullptr;

    float radius = 1.0f;
    if (GetFloatParam(EventNames::GetParamKey(EventNames::SPAWN_RADIUS), radius))
        m_spawnRadius = radius;
}

void Event::SetEventDetail(float detail)
{
    s_eventDetail = detail;
}

float Event::GetEventDetail()
{
    return s_eventDetail;
}

const char* Event::FindParam(ra::Name key) const
{
    const EventData* pData = m_EventRef.Get();
    return pData ? pData->FindParam(key) : nullptr;
}

std::pair<std::string, bool> Event::FindParamEx(ra::Name key) const
{
    const char* value = FindParam(key);
    if (value == nullptr)
        return {std::string(), false};
    const char* open = std::strchr(value, '%');
    if (open == nullptr)
        return {value, true};

    const char* nameStart = open + 1;
    const char* close = std::strchr(nameStart, '%');
    const char* nameEnd = close ? close : nameStart + std::strlen(nameStart);
    const std::string variableName(nameStart, nameEnd);

    const char* varvalue = "";
    ra::Name variableKey;
    if (!variableName.empty() && ra::FindName(variableName.c_str(), variableKey))
        for (const auto& variable : m_Variables)
            if (variable.first == variableKey)
            {
                varvalue = variable.second.c_str();
                break;
            }

    char buf[ExpandBuffer];
    if (!dbAssert(strlen(value) + strlen(varvalue) < LENGTHOF(buf)))
        return {value, true};
    const std::string expanded =
        std::string(value, open) + varvalue + (close ? std::string(close + 1) : std::string());
    std::snprintf(buf, sizeof(buf), "%s", expanded.c_str());
    return {buf, true};
}

bool Event::GetFloatParam(ra::Name key, float& out) const
{
    const char* value = FindParam(key);
    if (value == nullptr)
        return false;
    if (ParseNumber(value, out))
        return true;
    Log("param '%s' is not a number!", ra::GetNameText(key) ? ra::GetNameText(key) : "");
    return false;
}

void Event::SetVariable(ra::Name name, const char* value)
{
    if (!dbAssert(name != ra::Name::INVALID) || !dbAssert(value))
        return;
    for (auto& variable : m_Variables)
        if (variable.first == name)
        {
            variable.second = value;
            return;
        }
    m_Variables.emplace_back(name, value);
}

const char* Event::GetEventName() const
{
    const EventData* pData = m_EventRef.Get();
    return pData && pData->GetName() ? pData->GetName() : "";
}

bool Event::Trigger() const
{
    if (!dbAssert(m_pSink) || !dbAssert(m_EventRef.IsValid()))
        return false;
    return m_pSink->Trigger(*this);
}

void Event::Log(const char* format, ...) const
{
    char message[512];
    va_list args;
    va_start(args, format);
    std::vsnprintf(message, sizeof(message), format, args);
    va_end(args);
    dbTracef("EVENTS -- '%s' -- event '%s' %s", m_pSink ? m_pSink->GetOwnerName() : "", GetEventName(),
             message);
}

std::string Event::GetDebugText() const
{
    std::string text = "EVENT TRIGGER";
    const EventData* pData = m_EventRef.Get();
    if (pData == nullptr)
        return text;
    char line[1024];
    for (int i = 0; i < pData->GetParamCount(); ++i)
    {
        std::snprintf(line, sizeof(line), "%s\n\t%s", pData->GetParamName(i), pData->GetParamValue(i));
        text += '\n';
        text += line;
    }
    return text;
}
} // namespace ra
