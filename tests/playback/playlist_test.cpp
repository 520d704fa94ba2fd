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
    // A repeat that draws the motion already playing changes nothing: its events go on.
    RecordingEvents events;
    m_list.SetEventState(&events);
    pIdle->SetRandomRepeat(true);
    s_draw = (1u << 24) - 1;
    m_list.Update(1.0f, 1);
    m_list.Cleanup();
    EXPECT_EQ(pB, state.GetMotion());
    EXPECT_EQ("Start idle_b", events.m_cCall.front());
    EXPECT_EQ(std::string::npos, events.m_cCall.back().find("End"));
    m_list.SetEventState(nullptr);
}
