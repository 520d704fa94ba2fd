#include "playback/variablelist.h"

#include "foundation/debug.h"

#include <cstdio>

namespace ra
{
void Variable::SetFloat(float value)
{
    m_float = value;
    m_bSet = true;
}

void Variable::SetBool(bool value)
{
    m_bool = value;
    m_bSet = true;
}

void Variable::SetString(ra::Name value)
{
    m_string = value;
    m_bSet = true;
}

int VariableList::Create(ra::Name nameKey, int type)
{
    if (!dbAssert(nameKey != ra::Name::INVALID))
        return InvalidIndex;
    const int index = Find(nameKey, type);
    if (index != InvalidIndex)
        return index;
    m_Variables.emplace_back(nameKey, type);
    return int(m_Variables.size()) - 1;
}

int VariableList::CreateFloat(ra::Name nameKey)
{
    return Create(nameKey, Clause::VARIABLE_FLOAT);
}

int VariableList::CreateBool(ra::Name nameKey)
{
    return Create(nameKey, Clause::VARIABLE_BOOL);
}

int VariableList::CreateString(ra::Name nameKey)
{
    return Create(nameKey, Clause::VARIABLE_STRING);
}

int VariableList::Find(ra::Name name, int type) const
{
    for (size_t i = 0; i < m_Variables.size(); ++i)
        if (m_Variables[i].GetName() == name && m_Variables[i].GetType() == type)
            return int(i);
    return InvalidIndex;
}

Variable* VariableList::Get(int index)
{
    if (!dbAssert(size_t(index) < m_Variables.size()))
        return nullptr;
    return &m_Variables[size_t(index)];
}

const Variable* VariableList::Get(int index) const
{
    if (!dbAssert(size_t(index) < m_Variables.size()))
        return nullptr;
    return &m_Variables[size_t(index)];
}

bool VariableList::GetFloat(ra::Name name, float& out) const
{
    const int index = Find(name, Clause::VARIABLE_FLOAT);
    if (index == InvalidIndex || !m_Variables[size_t(index)].IsSet())
        return false;
    out = m_Variables[size_t(index)].GetFloat();
    return true;
}

bool VariableList::GetBool(ra::Name name, bool& out) const
{
    const int index = Find(name, Clause::VARIABLE_BOOL);
    if (index == InvalidIndex || !m_Variables[size_t(index)].IsSet())
        return false;
    out = m_Variables[size_t(index)].GetBool();
    return true;
}

bool VariableList::GetString(ra::Name name, ra::Name& out) const
{
    const int index = Find(name, Clause::VARIABLE_STRING);
    if (index == InvalidIndex || !m_Variables[size_t(index)].IsSet())
        return false;
    out = m_Variables[size_t(index)].GetString();
    return true;
}

void VariableList::GetDebugLines(std::vector<std::string>& cLines) const
{
    cLines.emplace_back("~~ Variables ~~");
    for (const Variable& variable : m_Variables)
    {
        if (!dbAssert(variable.GetName() != ra::Name::INVALID))
            continue;
        const char* name = ra::GetNameText(variable.GetName());
        std::string line = name ? name : "";
        if (!variable.IsSet())
        {
            line += " NOT_SET!";
            cLines.push_back(std::move(line));
            continue;
        }
        switch (variable.GetType())
        {
        case Clause::VARIABLE_FLOAT:
        {
            char buffer[64];
            std::snprintf(buffer, sizeof(buffer), " = %.2f", variable.GetFloat());
            line += buffer;
            break;
        }
        case Clause::VARIABLE_BOOL:
            line += variable.GetBool() ? " = true" : " = false";
            break;
        default:
        {
            const char* value = ra::GetNameText(variable.GetString());
            line += " = ";
            line += value ? value : "";
            break;
        }
        }
        cLines.push_back(std::move(line));
    }
}
} // namespace ra
