// Play states stepped with small time steps through every transition: delays drawn at reset,
// transition in and out, play, loop delay, hold, exit, and the weights along the way.
#include "playback/playlist.h"
#include "playback/playstate.h"

#include "playback/playback_test_util.h"

#include <gtest/gtest.h>

using namespace playback_test;

class PlayStateTest : public ::testing::Test
{
protected:
    // A motion of one second, or of `seconds`.
    Motion* OneSecond(int32 type = Motion::TYPE_NON_LOOPING, float seconds = 1.0f)
    {
        return m_arm.PlainMotion(type == Motion::TYPE_LOOPING ? "loop" : "once", seconds, type);
    }
    PlayState& Play(const Motion* pMotion)
    {
        const int index = m_list.AddMotion(pMotion, 1);
        EXPECT_NE(PlayList::InvalidIndex, index);
        return *m_list.GetState(index);
    }

    Env m_env;
    ArmModel m_arm;
    PlayList m_list;
};

TEST_F(PlayStateTest, ZeroDelaysPassThroughStartDelayAndTransitionInToPlayInTheFirstUpdate)
{
    PlayState& state = Play(OneSecond());
    EXPECT_EQ(PlayState::STATE_START_REQUEST, state.GetState());
    state.Update(0.25f);
    EXPECT_EQ(PlayState::STATE_PLAY, state.GetState());
    EXPECT_FLOAT_EQ(0.25f, state.GetPosition());
    EXPECT_FLOAT_EQ(0.0f, state.GetPreviousPosition());
    EXPECT_FLOAT_EQ(0.25f, state.GetStartTimer());
    EXPECT_FLOAT_EQ(0.25f, state.GetInTimer());
    EXPECT_FLOAT_EQ(1.0f, state.GetWeight());
}

TEST_F(PlayStateTest, StartDelayWaitsWithNoWeightThenPlaysTheWholeStep)
{
    Motion* pMotion = OneSecond(Motion::TYPE_NON_LOOPING, 10.0f);
    pMotion->SetStartDelay(2.0f, 2.0f);
    PlayState& state = Play(pMotion);
    EXPECT_FLOAT_EQ(2.0f, state.GetStartDelay());

    for (float expected : {0.5f, 1.0f, 1.5f})
    {
        state.Update(0.5f);
        EXPECT_EQ(PlayState::STATE_START_DELAY, state.GetState());
        EXPECT_FLOAT_EQ(expected, state.GetStartTimer());
        EXPECT_FLOAT_EQ(0.0f, state.GetWeight());
        EXPECT_FLOAT_EQ(0.0f, state.GetPosition());
    }
    state.Update(0.5f);
    EXPECT_EQ(PlayState::STATE_PLAY, state.GetState());
    EXPECT_FLOAT_EQ(0.5f, state.GetPosition());

    // One step longer than the delay lands in play, and the position advances by the whole step.
    PlayState& late = Play(pMotion);
    late.Update(3.0f);
    EXPECT_EQ(PlayState::STATE_PLAY, late.GetState());
    EXPECT_FLOAT_EQ(3.0f, late.GetPosition());
}

TEST_F(PlayStateTest, DelaysAreDrawnBetweenTheirBoundsAndStartPositionUnlessStartingAtZero)
{
    RenderModel::SetRandomSource([](uint32 count) { return count / 4; });
    Motion* pMotion = OneSecond(Motion::TYPE_NON_LOOPING, 10.0f);
    pMotion->SetStartDelay(1.0f, 3.0f);
    pMotion->SetLoopDelay(0.0f, 4.0f);
    pMotion->SetExitDelay(2.0f, 2.0f);
    pMotion->SetStartPosition(4.0f, 8.0f);
    PlayState& state = Play(pMotion);
    EXPECT_FLOAT_EQ(1.5f, state.GetStartDelay());
    EXPECT_FLOAT_EQ(1.0f, state.GetLoopDelay());
    EXPECT_FLOAT_EQ(2.0f, state.GetExitDelay());
    EXPECT_FLOAT_EQ(5.0f, state.GetPosition());

    state.SetStartAtZero(true);
    state.Reset();
    EXPECT_FLOAT_EQ(0.0f, state.GetPosition());

    // An absolute play keeps the position its modifier gave it.
    state.SetAbsolute(true);
    state.SetPosition(7.0f);
    state.Reset();
    EXPECT_FLOAT_EQ(7.0f, state.GetPosition());
}

TEST_F(PlayStateTest, TransitionInWaitsForTheRestOfAnOlderPlaysTransitionOut)
{
    Motion* pOld = OneSecond(Motion::TYPE_LOOPING);
    pOld->SetTransitionOutTime(1.0f);
    PlayState& old = Play(pOld);
    old.Update(0.1f);
    old.SetState(PlayState::STATE_EXIT_REQUEST);
    old.Update(0.25f);
    ASSERT_EQ(PlayState::STATE_TRANSITION_OUT, old.GetState());
    EXPECT_FLOAT_EQ(0.25f, old.GetOutTimer());
    EXPECT_FLOAT_EQ(0.75f, old.GetWeight());

    PlayState& next = Play(OneSecond(Motion::TYPE_NON_LOOPING, 10.0f));
    EXPECT_FLOAT_EQ(0.75f, next.GetTransitionInTime());
    next.Update(0.5f);
    EXPECT_EQ(PlayState::STATE_TRANSITION_IN, next.GetState());
    EXPECT_FLOAT_EQ(0.5f, next.GetInTimer());
    EXPECT_FLOAT_EQ(1.0f, next.GetWeight());
    EXPECT_FLOAT_EQ(0.0f, next.GetPosition());
    // Ending the transition in from its own state goes to play without advancing.
    next.Update(0.5f);
    EXPECT_EQ(PlayState::STATE_PLAY, next.GetState());
    EXPECT_FLOAT_EQ(0.0f, next.GetPosition());
    next.Update(0.5f);
    EXPECT_FLOAT_EQ(0.5f, next.GetPosition());

    // An absolute play transitioning in shows nothing.
    PlayState& absolute = Play(OneSecond());
    absolute.SetAbsolute(true);
    absolute.SetState(PlayState::STATE_TRANSITION_IN);
    EXPECT_FLOAT_EQ(0.0f, absolute.GetWeight());
}

TEST_F(PlayStateTest, NonLoopingMotionEndsWithoutTransitionAndItsWeightDrops)
{
    PlayState& state = Play(OneSecond());
    state.Update(0.4f);
    state.Update(0.4f);
    EXPECT_FLOAT_EQ(0.8f, state.GetPosition());
    EXPECT_FLOAT_EQ(1.0f, state.GetWeight());
    state.Update(0.4f);
    EXPECT_EQ(PlayState::STATE_FINISHED, state.GetState());
    EXPECT_FLOAT_EQ(0.0f, state.GetWeight());
    // Nobody follows events, so the end is not reported as finished.
    EXPECT_FALSE(state.HasFinished());
    EXPECT_NE(std::string::npos, AssertionText([&] { state.Update(0.1f); }).find("dbBreak"));
}

TEST_F(PlayStateTest, LoopingMotionWrapsByModuloOrWaitsOutItsLoopDelay)
{
    PlayState& state = Play(OneSecond(Motion::TYPE_LOOPING));
    state.Update(0.4f);
    state.Update(0.4f);
    EXPECT_FALSE(state.HasLooped());
    state.Update(0.4f);
    EXPECT_EQ(PlayState::STATE_PLAY, state.GetState());
    EXPECT_NEAR(0.2f, state.GetPosition(), 1e-5f);
    EXPECT_NEAR(1.2f, state.GetPreviousPosition() + 0.4f, 1e-5f);
    EXPECT_TRUE(state.HasLooped());
    state.Update(0.4f);
    EXPECT_FALSE(state.HasLooped());
    EXPECT_NEAR(0.6f, state.GetPosition(), 1e-5f);

    Motion* pDelayed = OneSecond(Motion::TYPE_LOOPING);
    pDelayed->SetLoopDelay(0.5f, 0.5f);
    PlayState& delayed = Play(pDelayed);
    delayed.Update(0.6f);
    delayed.Update(0.6f);
    EXPECT_EQ(PlayState::STATE_LOOP_DELAY, delayed.GetState());
    EXPECT_TRUE(delayed.HasLooped());
    EXPECT_FLOAT_EQ(1.0f, delayed.GetWeight());
    delayed.Update(0.25f);
    EXPECT_EQ(PlayState::STATE_LOOP_DELAY, delayed.GetState());
    EXPECT_FLOAT_EQ(0.25f, delayed.GetLoopTimer());
    EXPECT_NEAR(1.2f, delayed.GetPosition(), 1e-5f);
    delayed.Update(0.3f);
    EXPECT_EQ(PlayState::STATE_PLAY, delayed.GetState());
    EXPECT_NEAR(0.2f, delayed.GetPosition(), 1e-5f);
}

TEST_F(PlayStateTest, HoldEndStaysInPlayWithNoMovementReported)
{
    PlayState& state = Play(OneSecond(Motion::TYPE_HOLD_END));
    state.Update(0.6f);
    state.Update(0.6f);
    EXPECT_EQ(PlayState::STATE_PLAY, state.GetState());
    EXPECT_FLOAT_EQ(state.GetPosition(), state.GetPreviousPosition());
    EXPECT_FALSE(state.HasLooped());
    EXPECT_FLOAT_EQ(1.0f, state.GetWeight());
}

TEST_F(PlayStateTest, ExitRequestRunsExitDelayWhilePlayingThenFadesOut)
{
    Motion* pMotion = OneSecond(Motion::TYPE_LOOPING, 10.0f);
    pMotion->SetExitDelay(1.0f, 1.0f);
    pMotion->SetTransitionOutTime(0.5f);
    PlayState& state = Play(pMotion);
    state.Update(0.1f);
    state.SetState(PlayState::STATE_EXIT_REQUEST);

    state.Update(0.4f);
    EXPECT_EQ(PlayState::STATE_EXIT_DELAY, state.GetState());
    EXPECT_FLOAT_EQ(0.4f, state.GetExitTimer());
    EXPECT_FLOAT_EQ(0.5f, state.GetPosition());
    EXPECT_FLOAT_EQ(1.0f, state.GetWeight());
    state.Update(0.4f);
    EXPECT_EQ(PlayState::STATE_EXIT_DELAY, state.GetState());
    state.Update(0.4f);
    EXPECT_EQ(PlayState::STATE_TRANSITION_OUT, state.GetState());
    EXPECT_FLOAT_EQ(0.4f, state.GetOutTimer());
    EXPECT_NEAR(0.2f, state.GetWeight(), 1e-5f);
    const float held = state.GetPosition();
    state.Update(0.05f);
    EXPECT_NEAR(0.1f, state.GetWeight(), 1e-5f);
    EXPECT_FLOAT_EQ(held, state.GetPosition());
    state.Update(0.05f);
    EXPECT_EQ(PlayState::STATE_FINISHED, state.GetState());

    // With no delay and no transition an exit takes one update.
    PlayState& quick = Play(OneSecond(Motion::TYPE_LOOPING));
    quick.Update(0.1f);
    quick.SetState(PlayState::STATE_EXIT_REQUEST);
    quick.Update(0.1f);
    EXPECT_EQ(PlayState::STATE_FINISHED, quick.GetState());

    // A disabled exit delay or transition is skipped.
    PlayState& cut = Play(pMotion);
    cut.Update(0.1f);
    cut.SetExitDelayEnabled(false);
    cut.SetTransitionEnabled(false);
    cut.SetState(PlayState::STATE_EXIT_REQUEST);
    cut.Update(0.1f);
    EXPECT_EQ(PlayState::STATE_FINISHED, cut.GetState());
}

TEST_F(PlayStateTest, OnlyRequestsTransitionInAndExitDelayCanBeSetFromOutside)
{
    PlayState& state = Play(OneSecond());
    for (int allowed : {0, 1, 2, 4, 7})
    {
        EXPECT_EQ("", AssertionText([&] { state.SetState(allowed); }));
        EXPECT_EQ(allowed, state.GetState());
    }
    for (int refused : {3, 5, 6, 8, 9})
    {
        const std::string text = AssertionText([&] { state.SetState(refused); });
        EXPECT_NE(std::string::npos, text.find("( state != STATE_START_DELAY ) && ( state != STATE_PLAY )"))
            << text;
        EXPECT_EQ(7, state.GetState());
    }
    state.SetState(PlayState::STATE_PLAY_REQUEST);
    state.Update(0.25f);
    EXPECT_EQ(PlayState::STATE_PLAY, state.GetState());
    EXPECT_FLOAT_EQ(0.25f, state.GetPosition());

    EXPECT_NE(std::string::npos, AssertionText([&] { state.SetRate(-1.0f); }).find("rate >= 0.0f"));
}

TEST_F(PlayStateTest, StateTextsOfTheLists)
{
    EXPECT_STREQ("Start Delay", PlayState::GetStateText(3));
    EXPECT_STREQ("Transition In", PlayState::GetStateText(4));
    EXPECT_STREQ("Playing", PlayState::GetStateText(5));
    EXPECT_STREQ("Loop Delay", PlayState::GetStateText(6));
    EXPECT_STREQ("Exit Delay", PlayState::GetStateText(7));
    EXPECT_STREQ("Transition Out", PlayState::GetStateText(8));
    EXPECT_STREQ("Exiting", PlayState::GetStateText(9));
    EXPECT_STREQ("", PlayState::GetStateText(0));
}
