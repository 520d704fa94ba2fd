#include "playback/actionstate.h"

#include "foundation/debug.h"
#include "foundation/output.h"
#include "model/motiontree/action.h"
#include "model/motiontree/condition.h"
#include "model/motiontree/modifier.h"
#include "model/motiontree/motion.h"
#include "model/rendermodel.h"

#include <algorithm>

namespace
{
// Action trees may refer to themselves; a walk deeper than this is a loop.
constexpr int MaxDepth = 32;

const char* Text(ra::Name name)
{
    const char* text = ra::GetNameText(name);
    return text ? text : "";
}
} // namespace

namespace ra
{
ActionState::ActionState(const RenderModel& renderModel) : m_RenderModel(renderModel)
{
    const ClauseList& clauses = renderModel.GetClauseList();
    for (int i = 0; i < clauses.GetClauseCount(); ++i)
    {
        const Clause* pClause = clauses.GetClause(i);
        if (pClause == nullptr || pClause->GetVariableName() == ra::Name::INVALID)
            continue;
        switch (pClause->GetType())
        {
        case Clause::VARIABLE_FLOAT:
            m_Variables.CreateFloat(pClause->GetVariableName());
            break;
        case Clause::VARIABLE_BOOL:
            m_Variables.CreateBool(pClause->GetVariableName());
            break;
        case Clause::VARIABLE_STRING:
            m_Variables.CreateString(pClause->GetVariableName());
            break;
        default:
            break;
        }
    }
    const ModifierList& modifiers = renderModel.GetModifierList();
    for (int i = 0; i < modifiers.GetModifierCount(); ++i)
    {
        const Modifier* pModifier = modifiers.GetModifier(i);
        if (pModifier != nullptr && pModifier->GetVariableName() != ra::Name::INVALID)
            m_Variables.CreateFloat(pModifier->GetVariableName());
    }
}

void ActionState::SetVariableFloat(ra::Name name, float value)
{
    const int index = m_Variables.Find(name, Clause::VARIABLE_FLOAT);
    if (!dbAssert(index != VariableList::InvalidIndex))
        return;
    Variable& variable = *m_Variables.Get(index);
    if (!variable.IsSet() || variable.GetFloat() != value)
        m_bVariablesChanged = true;
    variable.SetFloat(value);
}

void ActionState::SetVariableBool(ra::Name name, bool value)
{
    const int index = m_Variables.Find(name, Clause::VARIABLE_BOOL);
    if (!dbAssert(index != ra::VariableList::InvalidIndex))
        return;
    Variable& variable = *m_Variables.Get(index);
    if (!variable.IsSet() || variable.GetBool() != value)
        m_bVariablesChanged = true;
    variable.SetBool(value);
}

void ActionState::SetVariableString(ra::Name name, ra::Name value)
{
    const int index = m_Variables.Find(name, Clause::VARIABLE_STRING);
    if (!dbAssert(index != ra::VariableList::InvalidIndex))
        return;
    Variable& variable = *m_Variables.Get(index);
    if (!variable.IsSet() || variable.GetString() != value)
        m_bVariablesChanged = true;
    variable.SetString(value);
}

void ActionState::SetAction(const Action* pAction, bool force)
{
    m_ActionStack.clear();
    if (pAction != nullptr)
        m_ActionStack.push_back(pAction);
    ++m_currentId;
    m_bReEvaluate = true;
    m_bForce = force;
}

void ActionState::PushAction(const Action* pAction)
{
    if (!dbAssert(pAction))
        return;
    m_ActionStack.push_back(pAction);
    ++m_currentId;
    m_bReEvaluate = true;
}

void ActionState::PopAction()
{
    if (!dbAssert(!m_ActionStack.empty()))
        return;
    m_ActionStack.pop_back();
    ++m_currentId;
    m_bReEvaluate = true;
}

void ActionState::Update(float dt)
{
    evaluateStack();
    for (int i = 0; i < m_PlayList.GetStateCount(); ++i)
        applyModifier(i);
}

bool ActionState::isPlaying(const Motion* pMotion) const
{
    for (int i = m_PlayList.FindMotion(pMotion, 0); i != PlayList::InvalidIndex;
         i = m_PlayList.FindMotion(pMotion, i + 1))
        if (!m_PlayList.GetState(i)->IsLeaving())
            return true;
    return false;
}

// Whether a motion of the action (or of its sub-actions) would now be started or stopped: its
// condition outcome differs from whether it plays. Non-looping motions are left to end by
// themselves.
bool ActionState::motionsDiffer(const Action& action, bool active, int depth) const
{
    if (depth > MaxDepth)
        return false;
    bool running = false;
    for (int i = 0; i < action.GetMotionCount(); ++i)
    {
        const Action::MotionEntry& entry = action.GetMotion(i);
        const bool wanted =
            Condition::EvaluateType(entry.conditionType, entry.pCondition, running, m_Variables) && active;
        if (entry.pMotion == nullptr || entry.pMotion->GetType() == Motion::TYPE_NON_LOOPING)
            continue;
        if (wanted != isPlaying(entry.pMotion))
            return true;
    }
    running = false;
    for (int i = 0; i < action.GetSubActionCount(); ++i)
    {
        const Action::SubActionEntry& entry = action.GetSubAction(i);
        const bool wanted =
            Condition::EvaluateType(entry.conditionType, entry.pCondition, running, m_Variables) && active;
        if (entry.pAction != nullptr && motionsDiffer(*entry.pAction, wanted, depth + 1))
            return true;
    }
    return false;
}

void ActionState::evaluateStack()
{
    if (m_ActionStack.empty())
        return;
    const Action* pAction = m_ActionStack.back();
    if (!dbAssert(!m_ActionStack.empty()) || pAction == nullptr)
        return;

    const int actionCount = m_RenderModel.GetActionTree().GetActionCount();
    if (actionCount > MaxQuietActions)
        dbTracef(
            "ANIM -- '%s': Motion '%s' - there are more than 25 actions being evaluated -- please simplify "
            "your action tree setup!",
            m_RenderModel.Inv::NamedResource::GetName() ? m_RenderModel.Inv::NamedResource::GetName() : "",
            Text(pAction->GetName()));

    if (m_bVariablesChanged && !m_bReEvaluate)
    {
        if (motionsDiffer(*pAction, true, 0))
            m_bReEvaluate = true;
    }
    m_bVariablesChanged = false;

    if (!m_bReEvaluate && !m_bForce)
        return;
    for (int i = 0; i < m_PlayList.GetStateCount(); ++i)
    {
        PlayState& state = *m_PlayList.GetState(i);
        if (!state.IsLeaving())
            state.SetState(PlayState::STATE_EXIT_REQUEST);
    }
    const int position = evaluateActionMotions(*pAction, 0);
    evaluateSubActionsRecursively(*pAction, position, 0);
    // Plays on their way out go first, so that each fades into what follows it.
    m_PlayList.SortStates();
    m_bReEvaluate = false;
    m_bForce = false;
}

int ActionState::evaluateActionMotions(const Action& action, int position)
{
    bool running = false;
    for (int i = 0; i < action.GetMotionCount(); ++i)
    {
        const Action::MotionEntry& entry = action.GetMotion(i);
        const bool holds =
            Condition::EvaluateType(entry.conditionType, entry.pCondition, running, m_Variables);
        const Motion* pMotion = entry.pMotion;
        if (!holds || pMotion == nullptr || !pMotion->IsPlayable())
            continue;

        position = std::min(position, m_PlayList.GetStateCount());
        int index = m_PlayList.FindMotion(pMotion, position);
        if (index == PlayList::InvalidIndex)
            index = m_PlayList.FindMotion(pMotion, 0);
        if (index == PlayList::InvalidIndex)
        {
            index = m_PlayList.AddMotion(pMotion, m_currentId);
            if (index == PlayList::InvalidIndex)
                continue;
            applyModifier(index);
        }
        else
        {
            PlayState& state = *m_PlayList.GetState(index);
            if (m_bForce)
                state.Restart();
            else
                state.SetState(PlayState::STATE_PLAY_REQUEST);
        }
        if (index < position)
        {
            m_PlayList.MoveState(index, position - 1);
            index = position - 1;
        }
        else if (index > position)
        {
            m_PlayList.MoveState(index, position);
            index = position;
        }
        m_PlayList.GetState(index)->SetId(m_currentId);
        position = index + 1;
    }
    return position;
}

int ActionState::evaluateSubActionsRecursively(const Action& action, int position, int depth)
{
    if (depth > MaxDepth)
        return position;
    bool running = false;
    for (int i = 0; i < action.GetSubActionCount(); ++i)
    {
        const Action::SubActionEntry& entry = action.GetSubAction(i);
        if (!Condition::EvaluateType(entry.conditionType, entry.pCondition, running, m_Variables))
            continue;
        if (entry.pAction == nullptr)
            continue;
        position = evaluateActionMotions(*entry.pAction, position);
        position = evaluateSubActionsRecursively(*entry.pAction, position, depth + 1);
    }
    return position;
}

void ActionState::applyModifier(int stateIndex)
{
    PlayState* pState = m_PlayList.GetState(stateIndex);
    if (pState == nullptr)
        return;
    const Motion* pMotion = pState->GetRootMotion() ? pState->GetRootMotion() : pState->GetMotion();
    const Modifier* pModifier = pMotion ? pMotion->GetTimingModifier() : nullptr;
    if (pModifier == nullptr)
        return;
    const int variableIndex = m_Variables.Find(pModifier->GetVariableName(), Clause::VARIABLE_FLOAT);
    if (!dbAssert(variableIndex != ra::VariableList::InvalidIndex))
        return;
    const Variable& variable = *m_Variables.Get(variableIndex);
    if (variable.IsSet())
        m_PlayList.SetModifier(stateIndex, variable.GetFloat());
}

void ActionState::GetDebugLines(std::vector<std::string>& cLines) const
{
    cLines.emplace_back("~~ Playing Actions ~~");
    for (const Action* pAction : m_ActionStack)
        cLines.emplace_back(pAction ? Text(pAction->GetName()) : "");
    m_PlayList.GetDebugLines(cLines);
    m_Variables.GetDebugLines(cLines);
}
} // namespace ra
