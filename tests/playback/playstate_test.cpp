// Play states stepped with small time steps through every transition: delays drawn at reset,
// transition in and out, play, loop delay, hold, exit, and the weights along the way.
#include "playback/playlist.h"
#include "playback/playstate.h"

#include "playback/playback_test_util.h"

#include <gtest/gtest.h>

#include <limits>

using namespace playback_test;

namespace
{
constexpr float Any = std::numeric_limits<float>::quiet_NaN();

// One update of a play and what it shows after it; Any is not checked.
struct Step
{
    float dt;
    int state;
    float position = Any;
    float weight = Any;
    float timer = Any; // the timer of the state it is in
};

float Timer(const PlayState& state)
{
    switch (state.GetState())
    {
    case PlayState::STATE_START_DELAY:
        return state.GetStartTimer();
    case PlayState::STATE_TRANSITION_IN:
        return state.GetInTimer();
    case PlayState::STATE_LOOP_DELAY:
        return state.GetLoopTimer();
    case PlayState::STATE_EXIT_DELAY:
        return state.GetExitTimer();
    case PlayState::STATE_TRANSITION_OUT:
        return state.GetOutTimer();
    }
    return Any;
}

void Steps(PlayState& state, std::initializer_list<Step> steps)
{
    int i = 0;
    for (const Step& step : steps)
    {
        SCOPED_TRACE(::testing::Message() << "step " << i++);
        state.Update(step.dt);
        EXPECT_EQ(step.state, state.GetState());
        for (const auto& [expected, actual] : {std::pair{step.position, state.GetPosition()},
                                               {step.weight, state.GetWeight()},
                                               {step.timer, Timer(state)}})
            if (!std::isnan(expected))
            {
                EXPECT_NEAR(expected, actual, 1e-5f);
            }
    }
}
} // namespace

class PlayStateTest : public ::testing::Test
{
protected:
    Motion* Make(int32 type = Motion::TYPE_NON_LOOPING, float seconds = 1.0f)
    {
        return m_arm.PlainMotion(type == Motion::TYPE_LOOPING ? "loop" : "once", seconds, type);
    }
    PlayState& Play(const Motion* pMotion)
    {
        const int index = m_list.AddMotion(pMotion, 1);
        EXPECT_NE(PlayList::InvalidIndex, index);
        return *m_list.GetState(index);
    }
    // A play asked to exit after its first update of 0.1 seconds.
    PlayState& Leaving(const Motion* pMotion)
    {
        PlayState& state = Play(pMotion);
        state.Update(0.1f);
        state.SetState(PlayState::STATE_EXIT_REQUEST);
        return state;
    }
    Env m_env;
    ArmModel m_arm;
    PlayList m_list;
};

TEST_F(PlayStateTest, StartDelayAndTransitionIn)
{
    // Zero delays pass through start delay and transition in to play in the first update.
    PlayState& state = Play(Make());
    EXPECT_EQ(PlayState::STATE_START_REQUEST, state.GetState());
    Steps(state, {{0.25f, PlayState::STATE_PLAY, 0.25f, 1.0f}});
    EXPECT_FLOAT_EQ(0.0f, state.GetPreviousPosition());
    EXPECT_FLOAT_EQ(0.25f, state.GetStartTimer());
    EXPECT_FLOAT_EQ(0.25f, state.GetInTimer());
    // A start delay waits with no weight, then plays the whole step.
    Motion* pDelayed = Make(Motion::TYPE_NON_LOOPING, 10.0f);
    pDelayed->SetStartDelay(2.0f, 2.0f);
    PlayState& delayed = Play(pDelayed);
    EXPECT_FLOAT_EQ(2.0f, delayed.GetStartDelay());
    Steps(delayed, {{0.5f, PlayState::STATE_START_DELAY, 0.0f, 0.0f, 0.5f},
                    {0.5f, PlayState::STATE_START_DELAY, 0.0f, 0.0f, 1.0f},
                    {0.5f, PlayState::STATE_START_DELAY, 0.0f, 0.0f, 1.5f},
                    {0.5f, PlayState::STATE_PLAY, 0.5f}});
    Steps(Play(pDelayed), {{3.0f, PlayState::STATE_PLAY, 3.0f}}); // one step longer than the delay
    // The transition in waits for the rest of an older play's transition out.
    Motion* pOld = Make(Motion::TYPE_LOOPING);
    pOld->SetTransitionOutTime(1.0f);
    Steps(Leaving(pOld), {{0.25f, PlayState::STATE_TRANSITION_OUT, Any, 0.75f, 0.25f}});
    Leaving(m_arm.PlainMotion("abrupt", 1.0f, Motion::TYPE_LOOPING)); // newer, but with no transition to lend
    PlayState& next = Play(Make(Motion::TYPE_NON_LOOPING, 10.0f));
    EXPECT_FLOAT_EQ(0.75f, next.GetTransitionInTime());
    // Ending the transition in from its own state goes to play without advancing.
    Steps(next, {{0.5f, PlayState::STATE_TRANSITION_IN, 0.0f, 1.0f, 0.5f},
                 {0.5f, PlayState::STATE_PLAY, 0.0f},
                 {0.5f, PlayState::STATE_PLAY, 0.5f}});
    // An absolute play transitioning in shows nothing.
    PlayState& absolute = Play(Make());
    absolute.SetAbsolute(true);
    absolute.SetState(PlayState::STATE_TRANSITION_IN);
    EXPECT_FLOAT_EQ(0.0f, absolute.GetWeight());
}

TEST_F(PlayStateTest, EndsLoopsAndHolds)
{
    // Non-looping: ends without transition and its weight drops; nobody follows events, so the
    // end is not reported as finished.
    PlayState& once = Play(Make());
    Steps(once, {{0.4f, PlayState::STATE_PLAY},
                 {0.4f, PlayState::STATE_PLAY, 0.8f, 1.0f},
                 {0.4f, PlayState::STATE_FINISHED, Any, 0.0f}});
    EXPECT_FALSE(once.HasFinished());
    EXPECT_NE(std::string::npos, AssertionText([&] { once.Update(0.1f); }).find("dbBreak"));
    // Looping wraps by modulo and says so for one update.
    PlayState& loop = Play(Make(Motion::TYPE_LOOPING));
    Steps(loop, {{0.4f, PlayState::STATE_PLAY}, {0.4f, PlayState::STATE_PLAY}});
    EXPECT_FALSE(loop.HasLooped());
    Steps(loop, {{0.4f, PlayState::STATE_PLAY, 0.2f}});
    EXPECT_NEAR(1.2f, loop.GetPreviousPosition() + 0.4f, 1e-5f);
    EXPECT_TRUE(loop.HasLooped());
    Steps(loop, {{0.4f, PlayState::STATE_PLAY, 0.6f}});
    EXPECT_FALSE(loop.HasLooped());
    // Or waits out its loop delay at full weight.
    Motion* pDelayed = Make(Motion::TYPE_LOOPING);
    pDelayed->SetLoopDelay(0.5f, 0.5f);
    PlayState& delayed = Play(pDelayed);
    Steps(delayed, {{0.6f, PlayState::STATE_PLAY}, {0.6f, PlayState::STATE_LOOP_DELAY, Any, 1.0f}});
    EXPECT_TRUE(delayed.HasLooped());
    Steps(delayed,
          {{0.25f, PlayState::STATE_LOOP_DELAY, 1.2f, Any, 0.25f}, {0.3f, PlayState::STATE_PLAY, 0.2f}});
    // Hold end stays in play with no movement reported.
    PlayState& hold = Play(Make(Motion::TYPE_HOLD_END));
    Steps(hold, {{0.6f, PlayState::STATE_PLAY}, {0.6f, PlayState::STATE_PLAY, Any, 1.0f}});
    EXPECT_FLOAT_EQ(hold.GetPosition(), hold.GetPreviousPosition());
    EXPECT_FALSE(hold.HasLooped());
    // A looping motion of no length stays at its start.
    Steps(Play(m_arm.PlainMotion("still", 0.0f, Motion::TYPE_LOOPING)),
          {{0.4f, PlayState::STATE_PLAY, 0.0f}});
}
