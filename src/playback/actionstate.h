// ra::ActionState: drives a model instance's plays from its motion tree. The game sets variables
// and the action; each update the action on top of the stack is walked, and when the variables
// change what it asks for, the plays are evaluated again: motions whose conditions hold are kept
// or started, the others are sent on their way out.
#pragma once

#include "foundation/types.h"
#include "playback/playlist.h"
#include "playback/variablelist.h"

#include <string>
#include <vector>

class Action;
class Motion;
class RenderModel;

namespace ra
{
class ActionState
{
public:
    // More actions than this in a model's tree draw a warning at every evaluation.
    static constexpr int MaxQuietActions = 24;

    // Creates a variable for every clause (of the clause's type) and timing modifier (float) of
    // the model, not set.
    explicit ActionState(const RenderModel& renderModel);
    ActionState(const ActionState&) = delete;
    ActionState& operator=(const ActionState&) = delete;

    VariableList& GetVariables() { return m_Variables; }
    const VariableList& GetVariables() const { return m_Variables; }
    PlayList& GetPlayList() { return m_PlayList; }
    const PlayList& GetPlayList() const { return m_PlayList; }

    // Sets a variable that exists (a missing one is an assertion); a new value asks for the
    // plays to be compared with the conditions at the next update.
    void SetVariableFloat(ra::Name name, float value);
    void SetVariableBool(ra::Name name, bool value);
    void SetVariableString(ra::Name name, ra::Name value);

    // The action to play from the next update on, alone on the stack, under a new id. With
    // `force` every play it keeps starts again. Null empties the stack.
    void SetAction(const Action* pAction, bool force = false);
    // Plays a sub-state over the current action until popped.
    void PushAction(const Action* pAction);
    void PopAction();
    const Action* GetAction() const { return m_ActionStack.empty() ? nullptr : m_ActionStack.back(); }
    // The id of the plays the current action keeps alive.
    int32 GetCurrentId() const { return m_currentId; }

    // Evaluates the action stack, and feeds the timing modifiers of the plays from the
    // variables. The play list is stepped by its owner after this (PlayList::Update).
    void Update(float dt);

    // The debug display: "~~ Playing Actions ~~", the actions on the stack, then the plays and the
    // variables.
    void GetDebugLines(std::vector<std::string>& cLines) const;

private:
    void evaluateStack();
    int evaluateActionMotions(const Action& action, int position);
    int evaluateSubActionsRecursively(const Action& action, int position, int depth);
    bool motionsDiffer(const Action& action, bool active, int depth) const;
    bool isPlaying(const Motion* pMotion) const;
    void applyModifier(int stateIndex);

    const RenderModel& m_RenderModel;
    VariableList m_Variables;
    std::vector<const Action*> m_ActionStack;
    PlayList m_PlayList;
    int32 m_currentId = 0;
    bool m_bVariablesChanged = false;
    bool m_bReEvaluate = false;
    bool m_bForce = false;
};
} // namespace ra
