#include "model/motiontree/condition.h"

#include "foundation/debug.h"

namespace ra
{
bool Condition::Evaluate(const VariableSource& variables) const
{
    for (int i = 0; i < GetClauseCount(); ++i)
    {
        const Clause* pClause = GetClause(i);
        if (!pClause || !pClause->Evaluate(variables))
            return false;
    }
    return true;
}

bool Condition::NeedsCondition(int conditionType)
{
    return conditionType == CONDITIONTYPE_IF || conditionType == CONDITIONTYPE_ELSEIF;
}

bool Condition::EvaluateType(int conditionType, const Condition* pCondition, bool& running,
                             const VariableSource& variables)
{
    switch (conditionType)
    {
    case CONDITIONTYPE_IF:
        if (!dbAssert(pCondition))
            return false;
        running = pCondition->Evaluate(variables);
        return running;
    case CONDITIONTYPE_ELSEIF:
        if (!dbAssert(pCondition))
            return false;
        if (running || !pCondition->Evaluate(variables))
            return false;
        running = true;
        return true;
    case CONDITIONTYPE_ELSE:
        if (!dbAssert(!pCondition))
            return false;
        if (running)
            return false;
        running = true;
        return true;
    case CONDITIONTYPE_ALWAYS:
        if (!dbAssert(!pCondition))
            return false;
        running = false;
        return true;
    default:
        dbBreak();
        return false;
    }
}

Condition* ConditionList::CreateCondition(ra::Name nameKey)
{
    if (!dbAssert(nameKey != ra::Name::INVALID))
        return nullptr;
    m_pConditionsList.push_back(std::make_unique<Condition>(nameKey));
    return m_pConditionsList.back().get();
}

int ConditionList::FindCondition(ra::Name name) const
{
    for (size_t i = 0; i < m_pConditionsList.size(); ++i)
        if (m_pConditionsList[i]->GetName() == name)
            return int(i);
    return InvalidIndex;
}

Condition* ConditionList::GetCondition(int index) const
{
    if (!dbAssert(index >= 0) || !dbAssert(index < GetConditionCount()))
        return nullptr;
    return m_pConditionsList[index].get();
}
} // namespace ra
