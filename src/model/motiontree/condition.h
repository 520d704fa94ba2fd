// Conditions of the motion tree: a named list of clauses, all of which must hold, and the model's
// list of them. Also the four ways an action entry tests its condition against the running flag
// of its level ("if", "else if", "else", "always").
#pragma once

#include "model/motiontree/clause.h"

#include <memory>
#include <vector>

namespace ra
{
class Condition : public ClauseList
{
public:
    enum ConditionType
    {
        CONDITIONTYPE_IF = 0,
        CONDITIONTYPE_ELSEIF = 1,
        CONDITIONTYPE_ELSE = 2,
        CONDITIONTYPE_ALWAYS = 3,
        CONDITIONTYPE_COUNT = 4,
    };

    explicit Condition(ra::Name name) : m_name(name) {}

    ra::Name GetName() const { return m_name; }
    void SetName(ra::Name name) { m_name = name; }

    // True when every clause holds; an empty condition is true.
    bool Evaluate(const VariableSource& variables) const;

    // Types 0 and 1 test a condition and need one; types 2 and 3 have none.
    static bool NeedsCondition(int conditionType);
    // One entry of an action level, in order: `running` is the level's flag, starting clear.
    //   if       the condition; the flag takes the outcome
    //   else if  flag clear and the condition; sets the flag when true
    //   else     flag clear; sets the flag
    //   always   true; clears the flag, so a later "else" can hold again
    // A missing or surplus condition is an assertion and gives false.
    static bool EvaluateType(int conditionType, const Condition* pCondition, bool& running,
                             const VariableSource& variables);

private:
    ra::Name m_name;
};

class ConditionList
{
public:
    // The new condition; null (an assertion) for ra::Name::INVALID.
    Condition* CreateCondition(ra::Name nameKey);
    // InvalidIndex when absent.
    int FindCondition(ra::Name name) const;
    // Null (an assertion) out of range.
    Condition* GetCondition(int index) const;
    int GetConditionCount() const { return int(m_pConditionsList.size()); }
    void Clear() { m_pConditionsList.clear(); }

private:
    std::vector<std::unique_ptr<Condition>> m_pConditionsList;
};
} // namespace ra
