#include "model/motiontree/modifier.h"

#include "foundation/debug.h"

namespace
{
const char* TextOrNone(const ra::Name& name)
{
    const char* text = ra::GetNameText(name);
    return text ? text : "<NONE>";
}
} // namespace

const char* Modifier::GetNameText() const
{
    return TextOrNone(m_name);
}

const char* Modifier::GetVariableNameText() const
{
    return TextOrNone(m_variableName);
}

namespace ra
{
Modifier* ModifierList::CreateModifier(ra::Name name)
{
    auto pModifier = std::make_unique<Modifier>(name);
    if (!dbAssert(pModifier))
        return nullptr;
    m_pModifiers.push_back(std::move(pModifier));
    return m_pModifiers.back().get();
}

int ModifierList::FindModifier(ra::Name name) const
{
    for (size_t i = 0; i < m_pModifiers.size(); ++i)
        if (m_pModifiers[i]->GetName() == name)
            return int(i);
    return InvalidIndex;
}

Modifier* ModifierList::GetModifier(int index) const
{
    if (!dbAssert(index >= 0) || !dbAssert(index < GetModifierCount()))
        return nullptr;
    return m_pModifiers[index].get();
}
} // namespace ra
