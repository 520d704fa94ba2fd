// Timing modifiers of the motion tree: a named link from a game variable to how a motion plays.
// Type 0 sets the play position from the variable (absolute); any other type scales the play rate
// by the variable over the reference value.
#pragma once

#include "foundation/types.h"
#include "names/name.h"

#include <memory>
#include <vector>

class Modifier
{
public:
    enum ModifierType
    {
        TYPE_ABSOLUTE = 0,
        TYPE_SCALED = 1,
    };

    explicit Modifier(ra::Name name) : m_name(name) {}

    ra::Name GetName() const { return m_name; }
    void SetName(ra::Name name) { m_name = name; }
    ra::Name GetVariableName() const { return m_variableName; }
    void SetVariableName(ra::Name name) { m_variableName = name; }
    int32 GetType() const { return m_type; }
    void SetType(int32 type) { m_type = type; }
    bool IsAbsolute() const { return m_type == TYPE_ABSOLUTE; }
    // Must be above 0 when the modifier scales a play.
    float GetRefValue() const { return m_refValue; }
    void SetRefValue(float value) { m_refValue = value; }
    float GetClampValue() const { return m_clampValue; }
    void SetClampValue(float value) { m_clampValue = value; }

    // The texts of the names for displays: "<NONE>" for a name not set.
    const char* GetNameText() const;
    const char* GetVariableNameText() const;

private:
    ra::Name m_name;
    ra::Name m_variableName = ra::Name::INVALID;
    int32 m_type = TYPE_SCALED;
    float m_refValue = 1.0f;
    float m_clampValue = 1.0f;
};

namespace ra
{
class ModifierList
{
public:
    // The new modifier, owned by the list.
    Modifier* CreateModifier(ra::Name name);
    // InvalidIndex when absent.
    int FindModifier(ra::Name name) const;
    // Null (an assertion) out of range.
    Modifier* GetModifier(int index) const;
    int GetModifierCount() const { return int(m_pModifiers.size()); }
    void Clear() { m_pModifiers.clear(); }

private:
    std::vector<std::unique_ptr<Modifier>> m_pModifiers;
};
} // namespace ra
