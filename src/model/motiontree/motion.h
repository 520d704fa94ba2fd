// Motions: the playable units of the motion tree. A motion plays its animations together, or picks
// one of its random motions by weight; it fires events at times in its play and carries the delays,
// start positions and transition that playback draws from. The model's motion list owns them.
#pragma once

#include "foundation/types.h"
#include "inventory/reference.h"
#include "model/event/eventdata.h"
#include "names/name.h"

#include <memory>
#include <string>
#include <vector>

class AnimListNode;
class Modifier;
class Motion;

// One entry of a motion's random choice: the motion's name, its pointer once the list has resolved
// the names, and its weight.
struct RandomMotion
{
    ra::Name name;
    Motion* pMotion = nullptr;
    float weight = 1.0f;
};

// An event fired at `time` seconds into the play.
struct MotionEvent
{
    Inv::Reference<ra::EventData> eventRef;
    float time = 0.0f;
};

class Motion
{
public:
    enum MotionType
    {
        TYPE_NON_LOOPING = 0,
        TYPE_LOOPING = 1,
        TYPE_HOLD_END = 2,
    };

    explicit Motion(ra::Name name) : m_name(name) {}
    Motion(const Motion&) = delete;
    Motion& operator=(const Motion&) = delete;

    ra::Name GetName() const { return m_name; }
    void SetName(ra::Name name) { m_name = name; }
    int32 GetType() const { return m_type; }
    void SetType(int32 type) { m_type = type; }
    // "Non-Looping", "Looping", "Hold End"; "" for another value.
    static const char* GetTypeText(int32 type);

    // The animations, not owned: nodes of the model's animation list.
    void AddAnimNode(AnimListNode* pAnimNode);
    int GetAnimNodeCount() const { return int(m_pAnimNodes.size()); }
    // Null (an assertion) out of range.
    AnimListNode* GetAnimNode(int index) const;
    void RemoveAnimNode(int index);
    void ClearAnimNodes() { m_pAnimNodes.clear(); }

    // Ranges in seconds; each setter stores its two values in order, smaller first.
    void SetStartDelay(float a, float b);
    float GetStartDelayMin() const { return m_startDelayMin; }
    float GetStartDelayMax() const { return m_startDelayMax; }
    void SetLoopDelay(float a, float b);
    float GetLoopDelayMin() const { return m_loopDelayMin; }
    float GetLoopDelayMax() const { return m_loopDelayMax; }
    // Where in the animation a play may begin.
    void SetStartPosition(float a, float b);
    float GetStartPositionMin() const { return m_startPositionMin; }
    float GetStartPositionMax() const { return m_startPositionMax; }
    void SetExitDelay(float a, float b);
    float GetExitDelayMin() const { return m_exitDelayMin; }
    float GetExitDelayMax() const { return m_exitDelayMax; }

    // Seconds over which the motion fades out; above 0 where a transition is played.
    void SetTransitionOutTime(float seconds) { m_transitionOutTime = seconds; }
    float GetTransitionOutTime() const { return m_transitionOutTime; }

    // A new play of this motion does not wait for older plays' exit delays.
    void SetIgnoreDelays(bool ignore) { m_ignoreDelays = ignore; }
    bool GetIgnoreDelays() const { return m_ignoreDelays; }
    // A new play of this motion cuts older plays' transitions.
    void SetIgnoreTransitions(bool ignore) { m_ignoreTransitions = ignore; }
    bool GetIgnoreTransitions() const { return m_ignoreTransitions; }

    // Random motions. A weight must be above 0.001 to be added (an assertion, nothing added) and
    // at least 0.001 to be set.
    int AddRandMotion(ra::Name name, float weight);
    int GetRandMotionCount() const { return int(m_RandomMotions.size()); }
    const RandomMotion& GetRandMotion(int index) const;
    void SetRandMotionWeight(int index, float weight);
    void SetRandMotionPointer(int index, Motion* pMotion);
    void RemoveRandMotion(int index);
    void ClearRandMotions() { m_RandomMotions.clear(); }
    // A looping play picks a new random motion at each loop.
    void SetRandomRepeat(bool repeat) { m_bRandomRepeat = repeat; }
    bool GetRandomRepeat() const { return m_bRandomRepeat; }

    // Events; a reference without data is an assertion and adds nothing.
    int AddEvent(const Inv::Reference<ra::EventData>& eventRef, float time);
    int GetEventCount() const { return int(m_Events.size()); }
    const MotionEvent& GetEvent(int index) const;
    void RemoveEvent(int index);
    void ClearEvents() { m_Events.clear(); }

    // Not owned: a modifier of the model's list, or null.
    void SetTimingModifier(const Modifier* pModifier) { m_pTimingModifier = pModifier; }
    const Modifier* GetTimingModifier() const { return m_pTimingModifier; }

    // Whether a play can show anything: it has animations, or a random motion that has some.
    bool IsPlayable() const;

    // The name; the type unless an absolute modifier sets the position; then "Absolute [variable]"
    // or ", Scaled [variable]" for a modifier. For debug displays.
    std::string GetDescription() const;

private:
    ra::Name m_name;
    int32 m_type = TYPE_NON_LOOPING;
    std::vector<AnimListNode*> m_pAnimNodes;
    float m_startDelayMin = 0.0f;
    float m_startDelayMax = 0.0f;
    float m_loopDelayMin = 0.0f;
    float m_loopDelayMax = 0.0f;
    float m_startPositionMin = 0.0f;
    float m_startPositionMax = 0.0f;
    float m_exitDelayMin = 0.0f;
    float m_exitDelayMax = 0.0f;
    float m_transitionOutTime = 0.0f;
    bool m_ignoreDelays = false;
    bool m_ignoreTransitions = false;
    std::vector<RandomMotion> m_RandomMotions;
    bool m_bRandomRepeat = false;
    std::vector<MotionEvent> m_Events;
    const Modifier* m_pTimingModifier = nullptr;
};

// Picks one of the motion's random motions: a point r = `unit` (0 to 1) times the sum of all
// weights, and the first motion with animations at which the running sum of the weights of motions
// with animations reaches r. Motions without animations are passed over without their weight, so
// r can fall past every candidate: that is an assertion, and the last candidate, or null, is the
// answer. Null (an assertion) for a motion without random motions.
Motion* SelectRandomMotion(const Motion* pMotion, float unit);
// The same with a draw from the model library's shared random source.
Motion* SelectRandomMotion(const Motion* pMotion);

namespace ra
{
class MotionList
{
public:
    int GetMotionCount() const { return int(m_pMotions.size()); }
    // Null (an assertion) out of range.
    Motion* GetMotion(int index) const;
    // InvalidIndex when absent.
    int FindMotion(ra::Name name) const;
    // The new motion, owned by the list.
    Motion* AddMotion(ra::Name name);
    void Clear() { m_pMotions.clear(); }
    // Points every random motion at the motion of its name; null for a name not in the list.
    void ResolveMotions();

private:
    std::vector<std::unique_ptr<Motion>> m_pMotions;
};
} // namespace ra
