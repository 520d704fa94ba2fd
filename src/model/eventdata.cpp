#include "model/eventdata.h"

#include "foundation/debug.h"
#include "model/eventload.h"

namespace
{
EventDataTypeInfo s_eventDataTypeInfo;
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
} // namespace ra

void EventDataTypeInfo::Destroy(Inv::NamedResource* data)
{
    delete data;
}

Inv::NamedResource* EventDataTypeInfo::Load(const char* name)
{
    return EventLoad::Load(name, "Inventory").release();
}
