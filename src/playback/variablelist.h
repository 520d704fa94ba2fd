// Variables of a model instance: the game's named values (float, bool or string) that the motion
// tree's clauses compare and its timing modifiers read. A variable exists once created and counts
// as set once given a value.
#pragma once

#include "model/motiontree/clause.h"
#include "names/name.h"

#include <string>
#include <vector>

namespace ra
{
class Variable
{
public:
    Variable(ra::Name name, int type) : m_name(name), m_type(type) {}

    ra::Name GetName() const { return m_name; }
    // One of the clause types.
    int GetType() const { return m_type; }
    bool IsSet() const { return m_bSet; }
    void Unset() { m_bSet = false; }

    // Each setter sets the value of its type and marks the variable set; the others' are kept.
    void SetFloat(float value);
    void SetBool(bool value);
    void SetString(ra::Name value);
    float GetFloat() const { return m_float; }
    bool GetBool() const { return m_bool; }
    ra::Name GetString() const { return m_string; }

private:
    ra::Name m_name;
    int m_type;
    float m_float = 0.0f;
    bool m_bool = false;
    ra::Name m_string = ra::Name::INVALID;
    bool m_bSet = false;
};

class VariableList : public VariableSource
{
public:
    static constexpr int InvalidIndex = -1;

    // The index of the variable of that name and type, made (not set) when there is none.
    // InvalidIndex (an assertion) for ra::Name::INVALID.
    int CreateFloat(ra::Name nameKey);
    int CreateBool(ra::Name nameKey);
    int CreateString(ra::Name nameKey);
    // InvalidIndex when absent.
    int Find(ra::Name name, int type) const;
    int GetCount() const { return int(m_Variables.size()); }
    // Null (an assertion) for a bad index.
    Variable* Get(int index);
    const Variable* Get(int index) const;

    // What clauses read: false when the variable is absent or not set.
    bool GetFloat(ra::Name name, float& out) const override;
    bool GetBool(ra::Name name, bool& out) const override;
    bool GetString(ra::Name name, ra::Name& out) const override;

    // The debug display: "~~ Variables ~~" and a line per variable, "name = value", " = true",
    // " = false" or "NOT_SET!".
    void GetDebugLines(std::vector<std::string>& cLines) const;

private:
    int Create(ra::Name nameKey, int type);

    std::vector<Variable> m_Variables;
};
} // namespace ra
