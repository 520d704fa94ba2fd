// PlayState: one motion running on a model instance, from its start request through delays,
// transitions and play to its end. A play list holds the running states, oldest first; the
// blender reads each state's position and weight, and its per-animation stream hints.
#pragma once

#include "foundation/types.h"
#include "model/anim/animstream.h"

#include <vector>

class Motion;
class PlayList;

// The hints of one animation of the playing motion: where the last evaluation of each stream
// stopped, so that sequential play walks each stream in constant time. Bones and cameras are
// indexed as in the model, control streams as in the animation.
struct PlayingAnim
{
    std::vector<AnimHints> boneHints;
    std::vector<AnimHints> cameraHints;
    std::vector<int16> controlHints;
};

class PlayState
{
public:
    enum State
    {
        STATE_START_REQUEST = 0,
        STATE_PLAY_REQUEST = 1,
        STATE_EXIT_REQUEST = 2,
        STATE_START_DELAY = 3,
        STATE_TRANSITION_IN = 4,
        STATE_PLAY = 5,
        STATE_LOOP_DELAY = 6,
        STATE_EXIT_DELAY = 7,
        STATE_TRANSITION_OUT = 8,
        STATE_FINISHED = 9,
        STATE_COUNT = 10,
    };

    // "Start Delay", "Transition In", "Playing", "Loop Delay", "Exit Delay", "Transition Out",
    // "Exiting"; "" for the three requests and values out of range.
    static const char* GetStateText(int state);

    // Plays `pMotion`; `pRootMotion` is the motion asked for when `pMotion` is its random
    // selection, otherwise null. The hints are sized for the model of the motion's animations;
    // the delays and the start position are drawn at once (see Reset). The state starts as a
    // start request.
    PlayState(const Motion* pMotion, const Motion* pRootMotion);
    PlayState(const PlayState&) = delete;
    PlayState& operator=(const PlayState&) = delete;

    // From the pool "AnimPlayStates".
    static void* operator new(size_t s);
    static void operator delete(void* p);

    // Draws the start, loop and exit delays from the motion's ranges, and the start position
    // unless the play starts at zero; timers go back to 0. An absolute play keeps its position.
    void Reset();
    // Reset, and a start request: the play begins again with fresh delays.
    void Restart();

    // One step of `dt` seconds through the state machine.
    void Update(float dt);

    // Blend weight: 0 while waiting or finished, and while an absolute play transitions in; a
    // fade from 1 to 0 during the transition out; 1 otherwise.
    float GetWeight() const;

    int GetState() const { return m_state; }
    // Only the requests (start, play, exit), transition in and exit delay can be set from outside.
    void SetState(int state);
    bool IsLeaving() const;

    const Motion* GetMotion() const { return m_pMotion; }
    const Motion* GetRootMotion() const { return m_pRootMotion; }
    // Plays another selection of the root motion: new length and fresh hints.
    void SetMotion(const Motion* pMotion);
    // The longest animation of the motion, in seconds.
    float GetLength() const { return m_length; }

    float GetPosition() const { return m_position; }
    float GetPreviousPosition() const { return m_previousPosition; }
    // Sets the position directly; an absolute play then stops following time.
    void SetPosition(float position) { m_position = position; }
    void SetAbsolute(bool absolute) { m_bAbsolute = absolute; }
    bool IsAbsolute() const { return m_bAbsolute; }
    void SetRate(float rate);
    float GetRate() const { return m_rate; }
    // Without it a random start position is drawn at reset.
    void SetStartAtZero(bool startAtZero) { m_bStartAtZero = startAtZero; }
    bool GetStartAtZero() const { return m_bStartAtZero; }

    float GetStartDelay() const { return m_startDelay; }
    float GetLoopDelay() const { return m_loopDelay; }
    float GetExitDelay() const { return m_exitDelay; }
    void SetExitDelayEnabled(bool enabled) { m_bExitDelayEnabled = enabled; }
    bool GetExitDelayEnabled() const { return m_bExitDelayEnabled; }
    void SetTransitionEnabled(bool enabled) { m_bTransitionEnabled = enabled; }
    bool GetTransitionEnabled() const { return m_bTransitionEnabled; }
    // How long the transition in waits before play; older plays fading out set it.
    void SetTransitionInTime(float seconds) { m_transitionInTime = seconds; }
    float GetTransitionInTime() const { return m_transitionInTime; }
    // Adds to the start delay: the wait for older plays' exit delays.
    void AddStartDelay(float seconds) { m_startDelay += seconds; }

    float GetStartTimer() const { return m_startTimer; }
    float GetLoopTimer() const { return m_loopTimer; }
    float GetExitTimer() const { return m_exitTimer; }
    float GetInTimer() const { return m_inTimer; }
    float GetOutTimer() const { return m_outTimer; }

    // Set by the last update when it wrapped past the end of a looping motion.
    bool HasLooped() const { return m_bLooped; }
    // Set by the last update when the play reached its end and events are followed.
    bool HasFinished() const { return m_bFinished; }

    // Events of this play: set by the list when its owner follows events, so that the end of a
    // play is reported as finished.
    void SetFollowEvents(bool follow) { m_bFollowEvents = follow; }
    bool GetFollowEvents() const { return m_bFollowEvents; }
    // The event sink's own data for this play, and whether its Start has run.
    void*& GetEventData() { return m_pEventData; }
    bool GetEventStarted() const { return m_bEventStarted; }
    void SetEventStarted(bool started) { m_bEventStarted = started; }

    // The action evaluation that keeps this play alive.
    int32 GetId() const { return m_id; }
    void SetId(int32 id) { m_id = id; }

    int GetPlayingAnimCount() const { return int(m_PlayingAnims.size()); }
    PlayingAnim& GetPlayingAnim(int index) { return m_PlayingAnims[size_t(index)]; }
    const PlayingAnim& GetPlayingAnim(int index) const { return m_PlayingAnims[size_t(index)]; }
    // Every hint back to the first key.
    void ResetHints();

private:
    static float DrawRange(float minimum, float maximum);
    void enterFinished();
    void runStartDelay(float dt);
    bool runTransitionIn(float dt);
    void runPlay(float dt);
    void runLoopDelay(float dt);
    void runExitDelay(float dt);
    void runTransitionOut(float dt);

    const Motion* m_pMotion;
    const Motion* m_pRootMotion;
    std::vector<PlayingAnim> m_PlayingAnims;
    void* m_pEventData = nullptr;
    float m_length = 0.0f;
    float m_rate = 1.0f;
    float m_startDelay = 0.0f;
    float m_loopDelay = 0.0f;
    float m_exitDelay = 0.0f;
    float m_transitionInTime = 0.0f;
    float m_position = 0.0f;
    float m_previousPosition = 0.0f;
    float m_startTimer = 0.0f;
    float m_loopTimer = 0.0f;
    float m_exitTimer = 0.0f;
    float m_inTimer = 0.0f;
    float m_outTimer = 0.0f;
    int32 m_state = STATE_START_REQUEST;
    int32 m_id = 0;
    bool m_bStartAtZero = false;
    bool m_bFollowEvents = false;
    bool m_bFinished = false;
    bool m_bLooped = false;
    bool m_bExitDelayEnabled = true;
    bool m_bTransitionEnabled = true;
    bool m_bAbsolute = false;
    bool m_bEventStarted = false;
};
