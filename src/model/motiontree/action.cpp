#include "model/motiontree/action.h"

#include "foundation/debug.h"
#include "foundation/output.h"
#include "model/motiontree/condition.h"

bool Action::CheckCondition(int conditionType, const ra::Condition* pCondition)
{
    if (conditionType < 0 || conditionType >= ra::Condition::CONDITIONTYPE_COUNT)
    {
        dbBreak();
        return false;
    }
    if (ra::Condition::NeedsCondition(conditionType))
        return dbAssert(pCondition);
    return dbAssert(!pCondition);
}

int Action::AddMotion(Motion* pMotion, int conditionType, ra::Condition* pCondition)
{
    if (!dbAssert(pMotion) || !CheckCondition(conditionType, pCondition))
        return InvalidIndex;
    m_Motions.push_back({pMotion, conditionType, pCondition});
    return int(m_Motions.size()) - 1;
}

const Action::MotionEntry& Action::GetMotion(int index) const
{
    static const MotionEntry s_none;
    if (!dbAssert(index >= 0) || !dbAssert(index < GetMotionCount()))
        return s_none;
    return m_Motions[index];
}

void Action::SetMotionPointer(int index, Motion* pMotion)
{
    if (!dbAssert(index >= 0) || !dbAssert(index < GetMotionCount()) || !dbAssert(pMotion))
        return;
    m_Motions[index].pMotion = pMotion;
}

void Action::RemoveMotion(int index)
{
    if (!dbAssert(index >= 0) || !dbAssert(index < GetMotionCount()))
        return;
    m_Motions.erase(m_Motions.begin() + index);
}

int Action::AddSubAction(ra::Name name, int conditionType, ra::Condition* pCondition)
{
    if (!CheckCondition(conditionType, pCondition))
        return InvalidIndex;
    m_SubActions.push_back({name, nullptr, conditionType, pCondition});
    return int(m_SubActions.size()) - 1;
}

const Action::SubActionEntry& Action::GetSubAction(int index) const
{
    static const SubActionEntry s_none;
    if (!dbAssert(index >= 0) || !dbAssert(index < GetSubActionCount()))
        return s_none;
    return m_SubActions[index];
}

void Action::SetSubAction(int index, Action* pSubAction)
{
    if (!dbAssert(index >= 0) || !dbAssert(index < GetSubActionCount()) || !dbAssert(pSubAction))
        return;
    m_SubActions[index].pAction = pSubAction;
}

void Action::RemoveSubAction(int index)
{
    if (!dbAssert(index >= 0) || !dbAssert(index < GetSubActionCount()))
        return;
    m_SubActions.erase(m_SubActions.begin() + index);
}

namespace ra
{
void ActionTree::SetActionCount(int n)
{
    if (!dbAssert(m_pActions.size() == 0) || !dbAssert(n >= 0))
        return;
    for (int i = 0; i < n; ++i)
        m_pActions.push_back(std::make_unique<Action>());
}

Action* ActionTree::AddAction()
{
    auto pAction = std::make_unique<Action>();
    if (!dbAssert(pAction))
        return nullptr;
    m_pActions.push_back(std::move(pAction));
    return m_pActions.back().get();
}

Action* ActionTree::GetAction(int index) const
{
    if (!dbAssert(index >= 0) || !dbAssert(index < GetActionCount()))
        return nullptr;
    return m_pActions[index].get();
}

void ActionTree::DeleteAction(int deleteIndex)
{
    if (!dbAssert(deleteIndex != InvalidIndex) || !dbAssert(deleteIndex >= 0) ||
        !dbAssert(deleteIndex < GetActionCount()))
        return;
    const Action* pDeleted = m_pActions[deleteIndex].get();
    for (const auto& pAction : m_pActions)
        for (int i = 0; i < pAction->GetSubActionCount();)
        {
            if (pAction->GetSubAction(i).pAction == pDeleted)
                pAction->RemoveSubAction(i);
            else
                ++i;
        }
    m_pActions.erase(m_pActions.begin() + deleteIndex);
}

int ActionTree::FindAction(ra::Name name) const
{
    for (size_t i = 0; i < m_pActions.size(); ++i)
        if (m_pActions[i]->GetName() == name)
            return int(i);
    return InvalidIndex;
}

void ActionTree::ResolveSubActions()
{
    for (const auto& pAction : m_pActions)
    {
        // After a removal the next entry has moved into this place: the position stays.
        for (int i = 0; i < pAction->GetSubActionCount();)
        {
            const ra::Name name = pAction->GetSubAction(i).name;
            const int index = FindAction(name);
            if (index == InvalidIndex)
            {
                const char* nameText = ra::GetNameText(name);
                const char* actionText = ra::GetNameText(pAction->GetName());
                dbWarningf("Sub-action '%s' referenced in action '%s' is missing, ignoring it!",
                           nameText ? nameText : "", actionText ? actionText : "");
                pAction->RemoveSubAction(i);
                continue;
            }
            pAction->SetSubAction(i, m_pActions[index].get());
            ++i;
        }
    }
}
} // namespace ra
