#include "model/motiontree/motion.h"

#include "foundation/debug.h"
#include "model/motiontree/modifier.h"
#include "model/rendermodel.h"

#include <algorithm>
#include <cstdio>
#include <utility>

namespace
{
void Ordered(float a, float b, float& outMin, float& outMax)
{
    outMin = std::min(a, b);
    outMax = std::max(a, b);
}
} // namespace

const char* Motion::GetTypeText(int32 type)
{
    switch (type)
    {
    case TYPE_NON_LOOPING:
        return "Non-Looping";
    case TYPE_LOOPING:
        return "Looping";
    case TYPE_HOLD_END:
        return "Hold End";
    default:
        return "";
    }
}

void Motion::AddAnimNode(AnimListNode* pAnimNode)
{
    if (!dbAssert(pAnimNode))
        return;
    m_pAnimNodes.push_back(pAnimNode);
}

AnimListNode* Motion::GetAnimNode(int index) const
{
    if (!dbAssert(index >= 0) || !dbAssert(size_t(index) < m_pAnimNodes.size()))
        return nullptr;
    return m_pAnimNodes[index];
}

void Motion::RemoveAnimNode(int index)
{
    if (!dbAssert(index >= 0) || !dbAssert(size_t(index) < m_pAnimNodes.size()))
        return;
    m_pAnimNodes.erase(m_pAnimNodes.begin() + index);
}

void Motion::SetStartDelay(float a, float b)
{
    Ordered(a, b, m_startDelayMin, m_startDelayMax);
}

void Motion::SetLoopDelay(float a, float b)
{
    Ordered(a, b, m_loopDelayMin, m_loopDelayMax);
}

void Motion::SetStartPosition(float a, float b)
{
    Ordered(a, b, m_startPositionMin, m_startPositionMax);
}

void Motion::SetExitDelay(float a, float b)
{
    Ordered(a, b, m_exitDelayMin, m_exitDelayMax);
}

int Motion::AddRandMotion(ra::Name name, float weight)
{
    if (!dbAssert(weight > 0.001f))
        return InvalidIndex;
    m_RandomMotions.push_back({name, nullptr, weight});
    return int(m_RandomMotions.size()) - 1;
}

const RandomMotion& Motion::GetRandMotion(int index) const
{
    static const RandomMotion s_none;
    if (!dbAssert(index >= 0) || !dbAssert(index < GetRandMotionCount()))
        return s_none;
    return m_RandomMotions[index];
}

void Motion::SetRandMotionWeight(int index, float weight)
{
    if (!dbAssert(index >= 0) || !dbAssert(index < GetRandMotionCount()))
        return;
    if (!dbAssert(weight >= 0.001f))
        return;
    m_RandomMotions[index].weight = weight;
}

void Motion::SetRandMotionPointer(int index, Motion* pMotion)
{
    if (!dbAssert(index >= 0) || !dbAssert(index < GetRandMotionCount()))
        return;
    m_RandomMotions[index].pMotion = pMotion;
}

void Motion::RemoveRandMotion(int index)
{
    if (!dbAssert(index >= 0) || !dbAssert(index < GetRandMotionCount()))
        return;
    m_RandomMotions.erase(m_RandomMotions.begin() + index);
}

int Motion::AddEvent(const Inv::Reference<ra::EventData>& eventRef, float time)
{
    if (!dbAssert(eventRef.IsValid()) || !eventRef.Get())
        return InvalidIndex;
    m_Events.push_back({eventRef, time});
    return int(m_Events.size()) - 1;
}

const MotionEvent& Motion::GetEvent(int index) const
{
    static const MotionEvent s_none;
    if (!dbAssert(index >= 0) || !dbAssert(index < GetEventCount()))
        return s_none;
    return m_Events[index];
}

void Motion::RemoveEvent(int index)
{
    if (!dbAssert(index >= 0) || !dbAssert(index < GetEventCount()))
        return;
    m_Events.erase(m_Events.begin() + index);
}

bool Motion::IsPlayable() const
{
    if (GetAnimNodeCount() > 0)
        return true;
    for (const RandomMotion& random : m_RandomMotions)
        if (random.pMotion && random.pMotion->GetAnimNodeCount() > 0)
            return true;
    return false;
}

std::string Motion::GetDescription() const
{
    const char* name = ra::GetNameText(m_name);
    std::string text = name ? name : "";
    const Modifier* pModifier = m_pTimingModifier;
    const bool absolute = pModifier && pModifier->IsAbsolute();
    if (!absolute)
    {
        text += ' ';
        text += GetTypeText(m_type);
    }
    if (pModifier)
    {
        text += absolute ? " Absolute [" : ", Scaled [";
        text += pModifier->GetVariableNameText();
        text += ']';
    }
    return text;
}

Motion* SelectRandomMotion(const Motion* pMotion, float unit)
{
    if (!dbAssert(pMotion))
        return nullptr;
    if (!dbAssert(pMotion->GetRandMotionCount() > 0))
        return nullptr;
    float total = 0.0f;
    for (int i = 0; i < pMotion->GetRandMotionCount(); ++i)
        total += pMotion->GetRandMotion(i).weight;
    const float r = std::clamp(unit, 0.0f, 1.0f) * total;

    Motion* selectedMotion = nullptr;
    Motion* pLastCandidate = nullptr;
    float running = 0.0f;
    for (int i = 0; i < pMotion->GetRandMotionCount(); ++i)
    {
        const RandomMotion& random = pMotion->GetRandMotion(i);
        if (random.pMotion == nullptr || random.pMotion->GetAnimNodeCount() <= 0)
            continue;
        pLastCandidate = random.pMotion;
        running += random.weight;
        if (r <= running)
        {
            selectedMotion = random.pMotion;
            break;
        }
    }
    if (!dbAssert(selectedMotion))
        return pLastCandidate;
    return selectedMotion;
}

Motion* SelectRandomMotion(const Motion* pMotion)
{
    constexpr uint32 Steps = 1u << 24;
    // Steps + 1 values, so that both ends of the unit range can be drawn.
    const float unit = float(RenderModel::Random(Steps + 1)) / float(Steps);
    return SelectRandomMotion(pMotion, unit);
}

namespace ra
{
Motion* MotionList::GetMotion(int index) const
{
    if (!dbAssert(index >= 0) || !dbAssert(index < GetMotionCount()) ||
        !dbAssert(size_t(index) < m_pMotions.size()))
        return nullptr;
    return m_pMotions[index].get();
}

int MotionList::FindMotion(ra::Name name) const
{
    for (size_t i = 0; i < m_pMotions.size(); ++i)
        if (m_pMotions[i]->GetName() == name)
            return int(i);
    return InvalidIndex;
}

Motion* MotionList::AddMotion(ra::Name name)
{
    m_pMotions.push_back(std::make_unique<Motion>(name));
    return m_pMotions.back().get();
}

void MotionList::ResolveMotions()
{
    for (const auto& pMotion : m_pMotions)
        for (int i = 0; i < pMotion->GetRandMotionCount(); ++i)
        {
            const int index = FindMotion(pMotion->GetRandMotion(i).name);
            pMotion->SetRandMotionPointer(i, index == InvalidIndex ? nullptr : m_pMotions[index].get());
        }
}
} // namespace ra
