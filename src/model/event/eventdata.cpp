#include "model/event/eventdata.h"

#include "foundation/debug.h"
#include "foundation/output.h"

#include <cctype>
#include <cstring>

namespace
{
EventDataTypeInfo s_eventDataTypeInfo;
EventDataTypeInfo::EventReader s_reader = nullptr;
} // namespace

namespace ra
{
Inv::ResourceTypeInfo* EventData::GetTypeInfo()
{
    return &s_eventDataTypeInfo;
}

void EventData::AddParam(const char* name, const char* value)
{
    if (!dbAssert(name && *name != '\0') || !dbAssert(value))
        return;
    m_Params.push_back({ra::MakeName(name), name, value});
}

const char* EventData::GetParamName(int index) const
{
    if (!dbAssert(index >= 0) || !dbAssert(size_t(index) < m_Params.size()))
        return nullptr;
    return m_Params[index].name.c_str();
}

const char* EventData::GetParamValue(int index) const
{
    if (!dbAssert(index >= 0) || !dbAssert(size_t(index) < m_Params.size()))
        return nullptr;
    return m_Params[index].value.c_str();
}

ra::Name EventData::GetParamKey(int index) const
{
    if (!dbAssert(index >= 0) || !dbAssert(size_t(index) < m_Params.size()))
        return ra::Name::INVALID;
    return m_Params[index].key;
}

const char* EventData::FindParam(ra::Name key) const
{
    for (const Param& param : m_Params)
        if (param.key == key)
            return param.value.c_str();
    return nullptr;
}
std::string EventData::NormalizeName(const char* in)
{
    if (in == nullptr || *in == '\0')
        return std::string();
    bool changed = false;
    const char* p = in;
    if (const char* colon = std::strchr(p, ':'))
    {
        p = colon + 1;
        changed = true;
    }
    if (*p == '/' || *p == '\\')
    {
        ++p;
        changed = true;
    }
    std::string out(p);
    bool hadBackSlash = false;
    for (char& c : out)
        if (c == '\\')
        {
            c = '/';
            hadBackSlash = true;
        }
    if (hadBackSlash || out.find('/') != std::string::npos)
        changed = true;
    const size_t dot = out.find('.');
    if (dot != std::string::npos)
    {
        out.resize(dot);
        changed = true;
    }
    for (char& c : out)
        c = char(std::tolower(static_cast<unsigned char>(c)));
    if (!changed || out.compare(0, std::strlen(EventFolder), EventFolder) == 0)
        return out;
    return EventFolder + out;
}
} // namespace ra

void EventDataTypeInfo::SetEventReader(EventReader reader)
{
    s_reader = reader;
}

EventDataTypeInfo::EventReader EventDataTypeInfo::GetEventReader()
{
    return s_reader;
}

void EventDataTypeInfo::Destroy(Inv::NamedResource* data)
{
    delete data;
}

Inv::NamedResource* EventDataTypeInfo::Load(const char* name)
{
    if (!s_reader)
    {
        dbWarningf("EVENTS -- '%s': no reader of event files is registered!", name ? name : "");
        return nullptr;
    }
    return s_reader(name, "Inventory").release();
}
