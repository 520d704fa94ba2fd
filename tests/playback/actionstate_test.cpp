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
    ra::ActionState state(m_arm.Model());
    state.SetVariableBool(N("moving"), false);
    state.SetAction(m_pAction);
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

TEST_F(ActionStateTest, ForcedActionRestartsTheKeptPlays)
{
    ra::ActionState state(m_arm.Model());
    state.SetAction(m_pAction);
    state.Update(0.1f);
    state.GetPlayList().Update(0.5f, state.GetCurrentId());
    PlayState& idle = *state.GetPlayList().GetState(0);
    ASSERT_EQ(m_pIdle, idle.GetMotion());
    EXPECT_FLOAT_EQ(0.5f, idle.GetPosition());
    state.SetAction(m_pAction, true);
    state.Update(0.1f);
    EXPECT_EQ(&idle, state.GetPlayList().GetState(0));
    EXPECT_EQ(PlayState::STATE_START_REQUEST, idle.GetState());
    EXPECT_FLOAT_EQ(0.0f, idle.GetPosition());
    EXPECT_EQ(state.GetCurrentId(), idle.GetId());
}

TEST_F(ActionStateTest, TimingModifierFollowsItsVariable)
{
    ra::ActionState state(m_arm.Model());
    state.SetVariableFloat(N("aim"), 0.25f);
    state.SetAction(m_pAction);
    state.Update(0.1f);
    PlayState& idle = *state.GetPlayList().GetState(0);
    ASSERT_EQ(m_pIdle, idle.GetMotion());
    EXPECT_TRUE(idle.IsAbsolute());
    EXPECT_FLOAT_EQ(0.5f, idle.GetPosition());
    state.SetVariableFloat(N("aim"), 0.75f);
    state.Update(0.1f);
    EXPECT_FLOAT_EQ(1.5f, idle.GetPosition());
}

TEST_F(ActionStateTest, VariablesAreMadeOnceAndMissingOnesAreAssertions)
{
    ra::ActionState state(m_arm.Model());
    ra::VariableList& variables = state.GetVariables();
    EXPECT_EQ(2, variables.GetCount());
    EXPECT_EQ(0, variables.CreateBool(N("moving")));
    EXPECT_EQ(2, variables.CreateString(N("moving")));
    EXPECT_EQ(ra::VariableList::InvalidIndex, variables.Find(N("speed"), ra::Clause::VARIABLE_FLOAT));
    state.SetVariableBool(N("moving"), true);
    state.SetVariableString(N("moving"), N("north"));
    std::vector<std::string> cLines;
    variables.GetDebugLines(cLines);
    EXPECT_EQ(
        (std::vector<std::string>{"~~ Variables ~~", "moving = true", "aim NOT_SET!", "moving = north"}),
        cLines);
    EXPECT_NE(std::string::npos, AssertionText([&] { state.SetVariableFloat(N("speed"), 1.0f); })
                                     .find("index != VariableList::InvalidIndex"));
    EXPECT_NE(std::string::npos, AssertionText([&] { variables.CreateFloat(ra::Name::INVALID); })
                                     .find("nameKey != ra::Name::INVALID"));
    bool value = false;
    EXPECT_TRUE(variables.GetBool(N("moving"), value));
    EXPECT_TRUE(value);
    float aim = 3.0f;
    EXPECT_FALSE(variables.GetFloat(N("aim"), aim));
}

TEST_F(ActionStateTest, MoreThanTwentyFourActionsDrawAWarningEachEvaluation)
{
    ra::ActionTree& tree = m_arm.Model().GetActionTree();
    while (tree.GetActionCount() < 24)
        tree.AddAction();
    ra::ActionState state(m_arm.Model());
    state.SetAction(m_pAction);
    const std::string warning =
        "ANIM -- 'arm': Motion 'locomotion' - there are more than 25 actions being evaluated";
    {
        LogCapture log;
        state.Update(0.1f);
        EXPECT_EQ(0, log.Count(warning));
    }
    tree.AddAction();
    LogCapture log;
    state.Update(0.1f);
    state.Update(0.1f);
    EXPECT_EQ(2, log.Count(warning));
}

TEST_F(ActionStateTest, AFloatThatCrossesItsClauseChangesTheChoice)
{
    RenderModel& model = m_arm.Model();
    auto pClause = ra::Clause::Create(ra::Clause::VARIABLE_FLOAT);
    pClause->SetName(N("fast"));
    pClause->SetVariableName(N("speed"));
    pClause->SetComparison(ra::Clause::COMPARE_GREATER);
    pClause->SetValue(1.0f);
    ra::Condition* pFast = model.GetConditionList().CreateCondition(N("IsFast"));
    pFast->AddClause(pClause.get(), false);
    model.GetClauseList().AddClause(std::move(pClause));
    Action* pRun = model.GetActionTree().AddAction();
    pRun->AddMotion(m_pWalk, ra::Condition::CONDITIONTYPE_IF, pFast);
    pRun->AddMotion(m_pIdle, ra::Condition::CONDITIONTYPE_ELSE, nullptr);
    ra::ActionState state(model);
    state.SetVariableFloat(N("speed"), 0.5f);
    state.SetAction(pRun);
    state.Update(0.1f);
    ASSERT_EQ(1, state.GetPlayList().GetStateCount());
    state.SetVariableFloat(N("speed"), 2.0f);
    state.Update(0.1f);
    ASSERT_EQ(2, state.GetPlayList().GetStateCount());
    EXPECT_EQ(PlayState::STATE_EXIT_REQUEST, state.GetPlayList().GetState(0)->GetState());
    EXPECT_EQ(m_pWalk, state.GetPlayList().GetState(1)->GetMotion());
}
