// PlayList: the motions running at once on one model instance, as play states in order of age,
// oldest first. Actions add motions to it; each frame it steps every state, the blender poses the
// model from it, and its cleanup fires the motions' events and drops the plays that have ended.
#pragma once

#include "foundation/types.h"
#include "names/name.h"
#include "playback/playstate.h"

#include <memory>
#include <string>
#include <vector>

class Motion;

class PlayList
{
public:
    static constexpr int InvalidIndex = -1;

    // Where the events of the plays go; the list's owner supplies it. `data` is the sink's own
    // word for one play, kept with the play and null at first.
    class EventState
    {
    public:
        virtual ~EventState() = default;
        // Once, when the play is first seen playing (or in its exit delay).
        virtual void Start(const Motion& motion, void*& data) = 0;
        // At each cleanup while the play is playing or in its exit delay, with the positions
        // before and after the last update.
        virtual void Update(const Motion& motion, void*& data, float previousPosition, float position) = 0;
        // When a play that was started is removed.
        virtual void End(const Motion& motion, void*& data) = 0;
    };

    PlayList() = default;
    ~PlayList();
    PlayList(const PlayList&) = delete;
    PlayList& operator=(const PlayList&) = delete;

    // Not owned; null fires nothing. Plays already running keep their own setting.
    void SetEventState(EventState* pEventState) { m_pEventState = pEventState; }
    EventState* GetEventState() const { return m_pEventState; }

    // Starts a play of the motion, or of a random selection of it, as the newest state. Older
    // plays on their way out hand it their remaining transition (as its transition in) and their
    // remaining exit delay (added to its start delay), unless the motion ignores them, in which
    // case their transitions or exit delays are cut. Its index, or InvalidIndex for a motion with
    // nothing to play (an assertion).
    int AddMotion(const Motion* pMotion, int32 id);
    // Applies the motion's timing modifier with the variable's `value`: an absolute modifier sets
    // the position to `value` (0 to 1) of the motion's length, a scaled one sets the rate to
    // `value` (not below 0) over the modifier's reference value. No modifier means rate 1.
    void SetModifier(int stateIndex, float value);

    // Steps every state by `dt` seconds. Looped or finished plays of `id` show in HasFinished.
    void Update(float dt, int32 id);
    // Removes finished plays, fires events of playing ones, and lets a looping random motion
    // with random repeat pick its next selection.
    void Cleanup();

    int GetStateCount() const { return int(m_PlayingStatePtrs.size()); }
    // Null (an assertion) for a bad index.
    PlayState* GetState(int index) const;
    // The first state at or after `start` that plays the motion of that name, or whose root
    // motion has it; InvalidIndex when none.
    int FindMotion(ra::Name name, int start = 0) const;
    // The first state at or after `start` that plays `pMotion` (as itself or as its root).
    int FindMotion(const Motion* pMotion, int start = 0) const;
    // Moves the state at `from` to `to`; the states between shift by one.
    void MoveState(int from, int to);
    // Orders the plays on their way out before the others, keeping the order within each group, so
    // that a fading play mixes with the play that follows it.
    void SortStates();
    void Clear();

    // The position that the plays have reached: the furthest of the time-driven plays when above
    // 0, otherwise the furthest of the absolute ones; 0 with no plays.
    float GetPlayTime() const { return m_playTime; }
    // Raised when plays were added or have finished; the blender clears it when it has taken the
    // animation bounds again.
    bool GetChanged() const { return m_bChanged; }
    void SetChanged(bool changed) { m_bChanged = changed; }
    // The last update saw a play of its id wrap or finish.
    bool HasFinished() const { return m_bFinished; }

    // The debug display: "~~ Playing Motions ~~" and a line per play with its motion, state,
    // position and weight.
    void GetDebugLines(std::vector<std::string>& cLines) const;

private:
    bool IsIndex(int index) const;
    void EndEvents(PlayState& state);

    std::vector<std::unique_ptr<PlayState>> m_PlayingStatePtrs;
    EventState* m_pEventState = nullptr;
    float m_playTime = 0.0f;
    bool m_bChanged = false;
    bool m_bFinished = false;
};
