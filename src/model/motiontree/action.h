// Actions: the nodes of a model's decision tree. An action holds motions and sub-actions, each
// behind a condition type ("if", "else if", "else", "always") and, for the first two, a condition.
// The action tree owns the actions; a sub-action is held by name until the tree resolves it.
#pragma once

#include "foundation/types.h"
#include "names/name.h"

#include <memory>
#include <vector>

class Motion;
namespace ra
{
class Condition;
}

class Action
{
public:
    struct MotionEntry
    {
        Motion* pMotion = nullptr;
        int conditionType = 0;
        ra::Condition* pCondition = nullptr;
    };
    struct SubActionEntry
    {
        ra::Name name;
        Action* pAction = nullptr;
        int conditionType = 0;
        ra::Condition* pCondition = nullptr;
    };

    explicit Action(ra::Name name = ra::Name::INVALID) : m_name(name) {}
    Action(const Action&) = delete;
    Action& operator=(const Action&) = delete;

    ra::Name GetName() const { return m_name; }
    void SetName(ra::Name name) { m_name = name; }

    // Types 0 and 1 need a condition, types 2 and 3 take none; a mismatch, an unknown type or a
    // null motion is an assertion and adds nothing. The new index or InvalidIndex.
    int AddMotion(Motion* pMotion, int conditionType, ra::Condition* pCondition);
    int GetMotionCount() const { return int(m_Motions.size()); }
    const MotionEntry& GetMotion(int index) const;
    void SetMotionPointer(int index, Motion* pMotion);
    void RemoveMotion(int index);

    // A sub-action by name; the tree's ResolveSubActions finds its pointer.
    int AddSubAction(ra::Name name, int conditionType, ra::Condition* pCondition);
    int GetSubActionCount() const { return int(m_SubActions.size()); }
    const SubActionEntry& GetSubAction(int index) const;
    void SetSubAction(int index, Action* pSubAction);
    void RemoveSubAction(int index);

private:
    static bool CheckCondition(int conditionType, const ra::Condition* pCondition);

    ra::Name m_name;
    std::vector<MotionEntry> m_Motions;
    std::vector<SubActionEntry> m_SubActions;
};

namespace ra
{
class ActionTree
{
public:
    // Makes `n` empty actions; only on an empty tree (an assertion).
    void SetActionCount(int n);
    // A new empty action at the end.
    Action* AddAction();
    int GetActionCount() const { return int(m_pActions.size()); }
    // Null (an assertion) out of range.
    Action* GetAction(int index) const;
    // Removes the action and every sub-action entry that points at it.
    void DeleteAction(int deleteIndex);
    // InvalidIndex when absent.
    int FindAction(ra::Name name) const;
    void Clear() { m_pActions.clear(); }

    // Points each sub-action entry at the action of its name, and removes the entries whose name
    // no action has, with a log line each. A tree may refer to itself: links are pointers, and
    // nothing here walks them.
    void ResolveSubActions();

private:
    std::vector<std::unique_ptr<Action>> m_pActions;
};
} // namespace ra
