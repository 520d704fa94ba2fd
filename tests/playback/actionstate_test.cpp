// The action state: variables, which plays an action keeps, starts and sends away as conditions
// change, order in the list, timing modifiers fed from variables, and the warning for large trees.
#include "playback/actionstate.h"

#include "model/motiontree/action.h"
#include "model/motiontree/condition.h"
#include "model/motiontree/modifier.h"
#include "playback/playback_test_util.h"
#include "support/logcapture.h"

#include <gtest/gtest.h>

using namespace playback_test;

class ActionStateTest : public ::testing::Test
{
protected:
    // "locomotion": walk (looping) if moving, else idle (looping); an always-played "breathe"
    // (non-looping) after them.
    ActionStateTest()
    {
        RenderModel& model = m_arm.Model();
        auto pClause = ra::Clause::Create(ra::Clause::VARIABLE_BOOL);
        pClause->SetName(N("moving_is_true"));
        pClause->SetVariableName(N("moving"));
        pClause->SetValue(true);
        ra::Clause* pRaw = pClause.get();
        model.GetClauseList().AddClause(std::move(pClause));
        ra::Condition* pMoving = model.GetConditionList().CreateCondition(N("IsMoving"));
        pMoving->AddClause(pRaw, false);
        Modifier* pAim = model.GetModifierList().CreateModifier(N("aim_modifier"));
        pAim->SetVariableName(N("aim"));
        pAim->SetType(Modifier::TYPE_ABSOLUTE);
        m_pWalk = m_arm.PlainMotion("walk", 2.0f, Motion::TYPE_LOOPING);
        m_pIdle = m_arm.PlainMotion("idle", 2.0f, Motion::TYPE_LOOPING);
        m_pIdle->SetTimingModifier(pAim);
        m_pBreathe = m_arm.PlainMotion("breathe", 2.0f);
        m_pAction = model.GetActionTree().AddAction();
        m_pAction->SetName(N("locomotion"));
        m_pAction->AddMotion(m_pWalk, ra::Condition::CONDITIONTYPE_IF, pMoving);
        m_pAction->AddMotion(m_pIdle, ra::Condition::CONDITIONTYPE_ELSE, nullptr);
        m_pAction->AddMotion(m_pBreathe, ra::Condition::CONDITIONTYPE_ALWAYS, nullptr);
    }
    std::vector<std::pair<const Motion*, int>> Plays(const ra::ActionState& state) const
    {
        std::vector<std::pair<const Motion*, int>> cPlay;
        const PlayList& list = state.GetPlayList();
        for (int i = 0; i < list.GetStateCount(); ++i)
            cPlay.emplace_back(list.GetState(i)->GetMotion(), list.GetState(i)->GetState());
        return cPlay;
    }
    Env m_env;
    ArmModel m_arm;
    Motion* m_pWalk;
    Motion* m_pIdle;
    Motion* m_pBreathe;
    Action* m_pAction;
};

TEST_F(ActionStateTest, ConditionsChooseThePlaysAndAChangeSendsTheOthersAway)
{
    // Locomotion is reached through 20 levels of sub-actions: a change that deep is still seen.
    Action* pTop = m_pAction;
    for (int level = 0; level < 20; ++level)
    {
        Action* pUp = m_arm.Model().GetActionTree().AddAction();
        pUp->SetSubAction(pUp->AddSubAction(pTop->GetName(), ra::Condition::CONDITIONTYPE_ALWAYS, nullptr), pTop);
        pTop = pUp;
    }
    ra::ActionState state(m_arm.Model());
    state.SetVariableBool(N("moving"), false);
    state.SetAction(pTop);
    state.Update(0.1f);
    using Plays_t = std::vector<std::pair<const Motion*, int>>;
    EXPECT_EQ(
        (Plays_t{{m_pIdle, PlayState::STATE_START_REQUEST}, {m_pBreathe, PlayState::STATE_START_REQUEST}}),
        Plays(state));
    EXPECT_EQ(state.GetCurrentId(), state.GetPlayList().GetState(0)->GetId());
    state.GetPlayList().Update(0.1f, state.GetCurrentId());
    // The same value again, or a value no condition reads, changes nothing.
    state.SetVariableBool(N("moving"), false);
    state.SetVariableFloat(N("aim"), 0.5f);
    state.Update(0.1f);
    EXPECT_EQ((Plays_t{{m_pIdle, PlayState::STATE_PLAY}, {m_pBreathe, PlayState::STATE_PLAY}}), Plays(state));
    // Moving: idle leaves first in the list, breathe is kept, walk starts.
    state.SetVariableBool(N("moving"), true);
    state.Update(0.1f);
    EXPECT_EQ((Plays_t{{m_pIdle, PlayState::STATE_EXIT_REQUEST},
                       {m_pWalk, PlayState::STATE_START_REQUEST},
                       {m_pBreathe, PlayState::STATE_PLAY_REQUEST}}),
              Plays(state));
    state.GetPlayList().Update(0.1f, state.GetCurrentId());
    state.GetPlayList().Cleanup();
    EXPECT_EQ(2, state.GetPlayList().GetStateCount());
    // Still: walk leaves, idle starts again.
    state.SetVariableBool(N("moving"), false);
    state.Update(0.1f);
    EXPECT_EQ((Plays_t{{m_pWalk, PlayState::STATE_EXIT_REQUEST},
                       {m_pIdle, PlayState::STATE_START_REQUEST},
                       {m_pBreathe, PlayState::STATE_PLAY_REQUEST}}),
              Plays(state));
}
