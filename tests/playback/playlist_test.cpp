// The play list: older plays lending transitions and exit delays to a new one (or being cut),
// timing modifiers, the play time and flags of an update, and cleanup with its events and random
// repeats.
#include "playback/playlist.h"

#include "model/motiontree/modifier.h"
#include "playback/playback_test_util.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace playback_test;

namespace
{
// Records the calls in order as "Start name", "Update name prev pos", "End name".
class RecordingEvents : public PlayList::EventState
{
public:
    void Start(const Motion& motion, void*& data) override
    {
        data = &m_cCall;
        m_cCall.push_back("Start " + Name(motion));
    }
    void Update(const Motion& motion, void*& data, float previousPosition, float position) override
    {
        char buffer[64];
        std::snprintf(buffer, sizeof(buffer), " %.2f %.2f", previousPosition, position);
        m_cCall.push_back("Update " + Name(motion) + buffer + (data == &m_cCall ? "" : " (no data)"));
    }
    void End(const Motion& motion, void*& data) override { m_cCall.push_back("End " + Name(motion)); }
    static std::string Name(const Motion& motion) { return ra::GetNameText(motion.GetName()); }
    std::vector<std::string> m_cCall;
};
} // namespace

class PlayListTest : public ::testing::Test
{
protected:
    Env m_env;
    ArmModel m_arm;
    PlayList m_list;
};

TEST_F(PlayListTest, NewPlayTakesTheNewestFadingTransitionAndTheLongestRemainingExitDelay)
{
    Motion* pFading = m_arm.PlainMotion("fading", 10.0f, Motion::TYPE_LOOPING);
    pFading->SetTransitionOutTime(2.0f);
    Motion* pWaiting = m_arm.PlainMotion("waiting", 10.0f, Motion::TYPE_LOOPING);
    pWaiting->SetExitDelay(3.0f, 3.0f);
    pWaiting->SetTransitionOutTime(1.0f);
    Motion* pNext = m_arm.PlainMotion("next", 10.0f);
    const int fading = m_list.AddMotion(pFading, 1);
    const int waiting = m_list.AddMotion(pWaiting, 1);
    m_list.Update(0.1f, 1);
    m_list.GetState(fading)->SetState(PlayState::STATE_EXIT_REQUEST);
    m_list.GetState(waiting)->SetState(PlayState::STATE_EXIT_REQUEST);
    m_list.Update(0.5f, 1);
    ASSERT_EQ(PlayState::STATE_TRANSITION_OUT, m_list.GetState(fading)->GetState());
    ASSERT_EQ(PlayState::STATE_EXIT_DELAY, m_list.GetState(waiting)->GetState());
    m_list.SetChanged(false);
    const int next = m_list.AddMotion(pNext, 2);
    EXPECT_EQ(2, next);
    EXPECT_TRUE(m_list.GetChanged());
    // 2.0 - 0.5 of the fading play; 3.0 - 0.5 of the waiting one.
    EXPECT_FLOAT_EQ(1.5f, m_list.GetState(next)->GetTransitionInTime());
    EXPECT_FLOAT_EQ(2.5f, m_list.GetState(next)->GetStartDelay());
    EXPECT_EQ(2, m_list.GetState(next)->GetId());
}

TEST_F(PlayListTest, MotionThatIgnoresDelaysAndTransitionsCutsThoseOfOlderPlays)
{
    Motion* pOld = m_arm.PlainMotion("old", 10.0f, Motion::TYPE_LOOPING);
    pOld->SetTransitionOutTime(2.0f);
    pOld->SetExitDelay(3.0f, 3.0f);
    Motion* pNext = m_arm.PlainMotion("next", 10.0f);
    pNext->SetIgnoreDelays(true);
    pNext->SetIgnoreTransitions(true);
    const int fading = m_list.AddMotion(pOld, 1);
    const int waiting = m_list.AddMotion(pOld, 1);
    m_list.Update(0.1f, 1);
    m_list.GetState(fading)->SetExitDelayEnabled(false);
    m_list.GetState(fading)->SetState(PlayState::STATE_EXIT_REQUEST);
    m_list.GetState(waiting)->SetState(PlayState::STATE_EXIT_REQUEST);
    m_list.Update(0.5f, 1);
    ASSERT_EQ(PlayState::STATE_TRANSITION_OUT, m_list.GetState(fading)->GetState());
    const int next = m_list.AddMotion(pNext, 2);
    EXPECT_FLOAT_EQ(0.0f, m_list.GetState(next)->GetTransitionInTime());
    EXPECT_FLOAT_EQ(0.0f, m_list.GetState(next)->GetStartDelay());
    EXPECT_FALSE(m_list.GetState(fading)->GetTransitionEnabled());
    EXPECT_FALSE(m_list.GetState(waiting)->GetExitDelayEnabled());
    m_list.Update(0.1f, 2);
    EXPECT_EQ(PlayState::STATE_FINISHED, m_list.GetState(fading)->GetState());
    EXPECT_EQ(PlayState::STATE_TRANSITION_OUT, m_list.GetState(waiting)->GetState());
    EXPECT_EQ(PlayState::STATE_PLAY, m_list.GetState(next)->GetState());
}

TEST_F(PlayListTest, MotionWithNothingToPlayIsRefused)
{
    Motion* pEmpty = m_arm.Model().GetMotionList().AddMotion(N("empty"));
    const std::string text = AssertionText([&] { m_list.AddMotion(pEmpty, 0); });
    EXPECT_NE(std::string::npos,
              text.find("( pMotion->GetAnimNodeCount() > 0 ) || ( pMotion->GetRandMotionCount() > 0 )"))
        << text;
    dbg::ScopedThrowOnAssert quiet(false);
    EXPECT_EQ(PlayList::InvalidIndex, m_list.AddMotion(pEmpty, 0));
    EXPECT_EQ(PlayList::InvalidIndex, m_list.AddMotion(nullptr, 0));
    EXPECT_EQ(0, m_list.GetStateCount());
    EXPECT_EQ(nullptr, m_list.GetState(0));
}

TEST_F(PlayListTest, ModifiersSetAbsolutePositionOrScaledRate)
{
    Modifier* pAbsolute = m_arm.Model().GetModifierList().CreateModifier(N("aim"));
    pAbsolute->SetType(Modifier::TYPE_ABSOLUTE);
    Modifier* pScaled = m_arm.Model().GetModifierList().CreateModifier(N("speed"));
    pScaled->SetType(Modifier::TYPE_SCALED);
    pScaled->SetRefValue(4.0f);
    Motion* pAim = m_arm.PlainMotion("aim", 2.0f, Motion::TYPE_LOOPING);
    pAim->SetTimingModifier(pAbsolute);
    Motion* pRun = m_arm.PlainMotion("run", 10.0f, Motion::TYPE_LOOPING);
    pRun->SetTimingModifier(pScaled);
    Motion* pPlain = m_arm.PlainMotion("plain", 10.0f, Motion::TYPE_LOOPING);
    const int aim = m_list.AddMotion(pAim, 0);
    const int run = m_list.AddMotion(pRun, 0);
    const int plain = m_list.AddMotion(pPlain, 0);
    m_list.SetModifier(aim, 0.25f);
    m_list.SetModifier(run, 2.0f);
    m_list.GetState(plain)->SetRate(3.0f);
    m_list.SetModifier(plain, 7.0f);
    EXPECT_TRUE(m_list.GetState(aim)->IsAbsolute());
    EXPECT_FLOAT_EQ(0.5f, m_list.GetState(aim)->GetPosition());
    EXPECT_FLOAT_EQ(0.5f, m_list.GetState(run)->GetRate());
    EXPECT_FLOAT_EQ(1.0f, m_list.GetState(plain)->GetRate());
    m_list.Update(1.0f, 0);
    EXPECT_FLOAT_EQ(0.5f, m_list.GetState(aim)->GetPosition());
    EXPECT_FLOAT_EQ(0.5f, m_list.GetState(run)->GetPosition());
    EXPECT_FLOAT_EQ(1.0f, m_list.GetState(plain)->GetPosition());
    // The furthest time-driven play.
    EXPECT_FLOAT_EQ(1.0f, m_list.GetPlayTime());
    m_list.SetModifier(aim, 3.0f);
    EXPECT_FLOAT_EQ(2.0f, m_list.GetState(aim)->GetPosition());
    m_list.SetModifier(run, -2.0f);
    EXPECT_FLOAT_EQ(0.0f, m_list.GetState(run)->GetRate());
    pScaled->SetRefValue(0.0f);
    EXPECT_NE(std::string::npos, AssertionText([&] { m_list.SetModifier(run, 1.0f); })
                                     .find("pMotion->GetTimingModifier()->GetRefValue() > 0.0f"));
    EXPECT_NE(std::string::npos,
              AssertionText([&] { m_list.SetModifier(3, 1.0f); }).find("index < m_PlayingStatePtrs.size()"));
}

TEST_F(PlayListTest, PlayTimeFallsBackToAbsolutePlaysAndFlagsFollowTheId)
{
    m_list.Update(0.5f, 0);
    EXPECT_FLOAT_EQ(0.0f, m_list.GetPlayTime());
    const int aim = m_list.AddMotion(m_arm.PlainMotion("aim", 2.0f), 1);
    m_list.GetState(aim)->SetAbsolute(true);
    m_list.GetState(aim)->SetPosition(1.5f);
    m_list.Update(0.5f, 1);
    EXPECT_FLOAT_EQ(1.5f, m_list.GetPlayTime());
    const int loop = m_list.AddMotion(m_arm.PlainMotion("loop", 1.0f, Motion::TYPE_LOOPING), 7);
    m_list.Update(0.75f, 1);
    EXPECT_FLOAT_EQ(0.75f, m_list.GetPlayTime());
    m_list.Update(0.5f, 1);
    EXPECT_TRUE(m_list.GetState(loop)->HasLooped());
    // The wrap belongs to id 7, not to the id asked about.
    EXPECT_FALSE(m_list.HasFinished());
    m_list.Update(1.0f, 7);
    EXPECT_TRUE(m_list.HasFinished());
}

TEST_F(PlayListTest, CleanupRemovesFinishedPlaysAndFiresEventsInOrder)
{
    RecordingEvents events;
    m_list.SetEventState(&events);
    Motion* pShort = m_arm.PlainMotion("short", 1.0f);
    Motion* pLong = m_arm.PlainMotion("long", 10.0f);
    pLong->SetStartDelay(0.5f, 0.5f);
    const int shortIndex = m_list.AddMotion(pShort, 3);
    m_list.AddMotion(pLong, 3);
    for (int i = 0; i < 2; ++i)
    {
        m_list.Update(0.4f, 3);
        m_list.Cleanup();
    }
    m_list.SetChanged(false);
    m_list.Update(0.4f, 3);
    EXPECT_EQ(PlayState::STATE_FINISHED, m_list.GetState(shortIndex)->GetState());
    EXPECT_TRUE(m_list.GetState(shortIndex)->HasFinished());
    EXPECT_TRUE(m_list.HasFinished());
    EXPECT_TRUE(m_list.GetChanged());
    m_list.Cleanup();
    ASSERT_EQ(1, m_list.GetStateCount());
    EXPECT_EQ(pLong, m_list.GetState(0)->GetMotion());
    // The long play leaves its start delay in the second update and plays that whole step.
    EXPECT_EQ((std::vector<std::string>{"Start short", "Update short 0.00 0.40", "Update short 0.40 0.80",
                                        "Start long", "Update long 0.00 0.40", "End short",
                                        "Update long 0.40 0.80"}),
              events.m_cCall);
    m_list.Clear();
    EXPECT_EQ("End long", events.m_cCall.back());
    EXPECT_EQ(0, m_list.GetStateCount());
}

TEST_F(PlayListTest, RandomMotionPlaysItsSelectionAndRepeatPicksAgainAfterALoop)
{
    Motion* pA = m_arm.PlainMotion("idle_a", 1.0f, Motion::TYPE_LOOPING);
    Motion* pB = m_arm.PlainMotion("idle_b", 1.0f, Motion::TYPE_LOOPING);
    Motion* pIdle = m_arm.Model().GetMotionList().AddMotion(N("idle"));
    pIdle->SetType(Motion::TYPE_LOOPING);
    pIdle->AddRandMotion(N("idle_a"), 1.0f);
    pIdle->AddRandMotion(N("idle_b"), 1.0f);
    pIdle->SetRandomRepeat(true);
    m_arm.Model().GetMotionList().ResolveMotions();
    static uint32 s_draw = 0;
    RenderModel::SetRandomSource([](uint32 count) { return s_draw % count; });
    s_draw = 0;
    const int index = m_list.AddMotion(pIdle, 1);
    PlayState& state = *m_list.GetState(index);
    EXPECT_EQ(pA, state.GetMotion());
    EXPECT_EQ(pIdle, state.GetRootMotion());
    EXPECT_EQ(index, m_list.FindMotion(N("idle")));
    EXPECT_EQ(index, m_list.FindMotion(N("idle_a")));
    EXPECT_EQ(PlayList::InvalidIndex, m_list.FindMotion(N("idle_b")));
    EXPECT_EQ(PlayList::InvalidIndex, m_list.FindMotion(N("idle"), 1));
    // Draws past the first half of the weights pick idle_b at the next wrap.
    s_draw = (1u << 24) - 1;
    m_list.Update(0.6f, 1);
    m_list.Cleanup();
    EXPECT_EQ(pA, state.GetMotion());
    m_list.Update(0.6f, 1);
    m_list.Cleanup();
    EXPECT_EQ(pB, state.GetMotion());
    EXPECT_EQ(pIdle, state.GetRootMotion());
    // Without random repeat the selection stays.
    pIdle->SetRandomRepeat(false);
    s_draw = 0;
    m_list.Update(1.0f, 1);
    EXPECT_TRUE(state.HasLooped());
    m_list.Cleanup();
    EXPECT_EQ(pB, state.GetMotion());
}

TEST_F(PlayListTest, MoveAndSortKeepPlaysOnTheirWayOutFirstInOrder)
{
    Motion* cMotion[4];
    for (int i = 0; i < 4; ++i)
        m_list.AddMotion(cMotion[i] = m_arm.PlainMotion(std::string(1, char('a' + i)).c_str(), 10.0f,
                                                        Motion::TYPE_LOOPING),
                         0);
    Motion *pA = cMotion[0], *pB = cMotion[1], *pC = cMotion[2], *pD = cMotion[3];
    m_list.MoveState(3, 0);
    EXPECT_EQ(pD, m_list.GetState(0)->GetMotion());
    EXPECT_EQ(pC, m_list.GetState(3)->GetMotion());
    m_list.MoveState(0, 2);
    EXPECT_EQ(pA, m_list.GetState(0)->GetMotion());
    EXPECT_EQ(pD, m_list.GetState(2)->GetMotion());
    // a b d c: b and c leave.
    m_list.GetState(1)->SetState(PlayState::STATE_EXIT_REQUEST);
    m_list.GetState(3)->SetState(PlayState::STATE_EXIT_DELAY);
    m_list.SortStates();
    std::vector<const Motion*> cOrder;
    for (int i = 0; i < m_list.GetStateCount(); ++i)
        cOrder.push_back(m_list.GetState(i)->GetMotion());
    EXPECT_EQ((std::vector<const Motion*>{pB, pC, pA, pD}), cOrder);
}

TEST_F(PlayListTest, DebugLinesShowMotionStatePositionAndWeight)
{
    Motion* pWalk = m_arm.PlainMotion("walk", 10.0f, Motion::TYPE_LOOPING);
    pWalk->SetTransitionOutTime(1.0f);
    m_list.AddMotion(pWalk, 0);
    const int leaving = m_list.AddMotion(pWalk, 0);
    m_list.Update(0.5f, 0);
    m_list.GetState(leaving)->SetState(PlayState::STATE_EXIT_REQUEST);
    m_list.Update(0.25f, 0);
    std::vector<std::string> cLines;
    m_list.GetDebugLines(cLines);
    const std::vector<std::string> cExpected = {"~~ Playing Motions ~~", "walk, Playing, 0.75, [1.00]",
                                                "walk, Transition Out, 0.75, [0.75]"};
    EXPECT_EQ(cExpected, cLines);
}
