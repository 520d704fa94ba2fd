#include "playback/playlist.h"

#include "foundation/debug.h"
#include "model/motiontree/modifier.h"
#include "model/motiontree/motion.h"

#include <algorithm>
#include <cstdio>

PlayList::~PlayList()
{
    Clear();
}

void PlayList::Clear()
{
    for (auto& pState : m_PlayingStatePtrs)
        if (pState)
            EndEvents(*pState);
    m_PlayingStatePtrs.clear();
    m_playTime = 0.0f;
    m_bChanged = true;
}

bool PlayList::IsIndex(int index) const
{
    if (!dbAssert(index != InvalidIndex))
        return false;
    return dbAssert(size_t(index) < m_PlayingStatePtrs.size());
}

int PlayList::AddMotion(const Motion* pMotion, int32 id)
{
    if (!dbAssert(pMotion))
        return InvalidIndex;
    // The asserted text is the diagnostic, spaces and all.
    // clang-format off
    if (!dbAssert(( pMotion->GetAnimNodeCount() > 0 ) || ( pMotion->GetRandMotionCount() > 0 )))
        // clang-format on
        return InvalidIndex;

    const Motion* pPlay = pMotion;
    const Motion* pRoot = nullptr;
    if (pMotion->GetRandMotionCount() > 0)
    {
        pRoot = pMotion;
        pPlay = SelectRandomMotion(pMotion);
        // The selection has already reported a choice with nothing to play.
        if (pPlay == nullptr)
            return InvalidIndex;
    }
    std::unique_ptr<PlayState> pNewState(new PlayState(pPlay, pRoot));
    if (!dbAssert(pNewState))
        return InvalidIndex;
    pNewState->SetId(id);
    pNewState->SetFollowEvents(m_pEventState != nullptr);

    // Older plays, newest first. A play fading out lends the new one the rest of its transition.
    const bool ignoreTransitions = pMotion->GetIgnoreTransitions();
    for (auto it = m_PlayingStatePtrs.rbegin(); it != m_PlayingStatePtrs.rend(); ++it)
    {
        PlayState& older = **it;
        if (older.GetState() != PlayState::STATE_EXIT_REQUEST &&
            older.GetState() != PlayState::STATE_TRANSITION_OUT)
            continue;
        const Motion* pOlderMotion = older.GetMotion();
        if (pOlderMotion == nullptr || !(pOlderMotion->GetTransitionOutTime() > 0.0f))
            continue;
        if (ignoreTransitions)
            older.SetTransitionEnabled(false);
        else
        {
            pNewState->SetTransitionInTime(pOlderMotion->GetTransitionOutTime() - older.GetOutTimer());
            break;
        }
    }

    // The new play waits for the longest exit delay still to run.
    const bool ignoreDelays = pMotion->GetIgnoreDelays();
    float longestExit = 0.0f;
    for (auto it = m_PlayingStatePtrs.rbegin(); it != m_PlayingStatePtrs.rend(); ++it)
    {
        PlayState& older = **it;
        if (older.GetState() != PlayState::STATE_EXIT_REQUEST &&
            older.GetState() != PlayState::STATE_EXIT_DELAY)
            continue;
        if (ignoreDelays)
        {
            if (older.GetExitDelay() > 0.0f)
                older.SetExitDelayEnabled(false);
        }
        else
            longestExit = std::max(longestExit, std::max(0.0f, older.GetExitDelay() - older.GetExitTimer()));
    }
    if (!ignoreDelays)
        pNewState->AddStartDelay(longestExit);

    m_PlayingStatePtrs.push_back(std::move(pNewState));
    m_bChanged = true;
    return int(m_PlayingStatePtrs.size()) - 1;
}

void PlayList::SetModifier(int stateIndex, float value)
{
    if (!dbAssert(stateIndex != InvalidIndex))
        return;
    const size_t index = size_t(stateIndex);
    if (!dbAssert(index < m_PlayingStatePtrs.size()))
        return;
    PlayState& state = *m_PlayingStatePtrs[index];
    const Motion* pMotion = state.GetRootMotion() ? state.GetRootMotion() : state.GetMotion();
    const Modifier* pModifier = pMotion ? pMotion->GetTimingModifier() : nullptr;
    if (pModifier == nullptr)
    {
        state.SetRate(1.0f);
        return;
    }
    if (pModifier->IsAbsolute())
    {
        state.SetAbsolute(true);
        state.SetPosition(std::clamp(value, 0.0f, 1.0f) * state.GetLength());
        return;
    }
    if (!dbAssert(pMotion->GetTimingModifier()->GetRefValue() > 0.0f))
        return;
    state.SetRate(std::max(value, 0.0f) / pModifier->GetRefValue());
}

void PlayList::Update(float dt, int32 id)
{
    m_bFinished = false;
    if (m_PlayingStatePtrs.empty())
    {
        m_playTime = 0.0f;
        return;
    }
    float timedTime = 0.0f;
    float absoluteTime = 0.0f;
    for (auto& pState : m_PlayingStatePtrs)
    {
        PlayState& state = *pState;
        if (state.GetState() != PlayState::STATE_FINISHED)
            state.Update(dt);
        if (state.GetId() == id && (state.HasLooped() || state.HasFinished()))
            m_bFinished = true;
        if (state.GetState() == PlayState::STATE_FINISHED)
            m_bChanged = true;
        if (state.IsAbsolute())
            absoluteTime = std::max(absoluteTime, state.GetPosition());
        else
            timedTime = std::max(timedTime, state.GetPosition());
    }
    m_playTime = timedTime > 0.0f ? timedTime : absoluteTime;
}

void PlayList::EndEvents(PlayState& state)
{
    if (m_pEventState == nullptr || !state.GetEventStarted() || state.GetMotion() == nullptr)
        return;
    m_pEventState->End(*state.GetMotion(), state.GetEventData());
    state.SetEventStarted(false);
}

void PlayList::Cleanup()
{
    int numStates = int(m_PlayingStatePtrs.size());
    for (int i = 0; i < numStates;)
    {
        // The asserted text is the diagnostic, spaces and all.
        // clang-format off
        dbAssert(numStates == static_cast<int>( m_PlayingStatePtrs.size() ));
        // clang-format on
        PlayState& state = *m_PlayingStatePtrs[size_t(i)];
        if (state.GetState() == PlayState::STATE_FINISHED)
        {
            EndEvents(state);
            m_PlayingStatePtrs.erase(m_PlayingStatePtrs.begin() + i);
            --numStates;
            if (i < numStates)
                // The asserted text is the diagnostic, spaces and all.
                // clang-format off
                dbAssert(m_PlayingStatePtrs[ i ]);
            // clang-format on
            continue;
        }

        const Motion* pMotion = state.GetMotion();
        if (m_pEventState != nullptr && pMotion != nullptr &&
            (state.GetState() == PlayState::STATE_PLAY || state.GetState() == PlayState::STATE_EXIT_DELAY))
        {
            if (!state.GetEventStarted())
            {
                m_pEventState->Start(*pMotion, state.GetEventData());
                state.SetEventStarted(true);
            }
            m_pEventState->Update(*pMotion, state.GetEventData(), state.GetPreviousPosition(),
                                  state.GetPosition());
        }

        const Motion* pRoot = state.GetRootMotion();
        if (state.HasLooped() && pRoot != nullptr && pRoot->GetRandomRepeat())
        {
            const Motion* pNext = SelectRandomMotion(pRoot);
            if (pNext != nullptr && pNext != pMotion)
            {
                // The events of the old selection end with it; the new one starts its own.
                EndEvents(state);
                state.SetMotion(pNext);
                m_bChanged = true;
            }
        }
        ++i;
    }
}

PlayState* PlayList::GetState(int index) const
{
    if (!IsIndex(index))
        return nullptr;
    // The asserted text is the diagnostic, spaces and all.
    // clang-format off
    if (!dbAssert(m_PlayingStatePtrs[ index ]))
        // clang-format on
        return nullptr;
    return m_PlayingStatePtrs[size_t(index)].get();
}

int PlayList::FindMotion(ra::Name name, int start) const
{
    for (size_t i = size_t(std::max(start, 0)); i < m_PlayingStatePtrs.size(); ++i)
    {
        const PlayState& state = *m_PlayingStatePtrs[i];
        if ((state.GetMotion() && state.GetMotion()->GetName() == name) ||
            (state.GetRootMotion() && state.GetRootMotion()->GetName() == name))
            return int(i);
    }
    return InvalidIndex;
}

int PlayList::FindMotion(const Motion* pMotion, int start) const
{
    for (size_t i = size_t(std::max(start, 0)); i < m_PlayingStatePtrs.size(); ++i)
    {
        const PlayState& state = *m_PlayingStatePtrs[i];
        if (state.GetMotion() == pMotion || (state.GetRootMotion() && state.GetRootMotion() == pMotion))
            return int(i);
    }
    return InvalidIndex;
}

void PlayList::MoveState(int from, int to)
{
    const int numStates = int(m_PlayingStatePtrs.size());
    if (!IsIndex(from) || !dbAssert(to >= 0 && to < numStates) || from == to)
        return;
    auto first = m_PlayingStatePtrs.begin();
    if (from > to)
        std::rotate(first + to, first + from, first + from + 1);
    else
        std::rotate(first + from, first + from + 1, first + to + 1);
}

void PlayList::SortStates()
{
    std::stable_sort(m_PlayingStatePtrs.begin(), m_PlayingStatePtrs.end(),
                     [](const std::unique_ptr<PlayState>& a, const std::unique_ptr<PlayState>& b)
                     { return a->IsLeaving() && !b->IsLeaving(); });
}

void PlayList::GetDebugLines(std::vector<std::string>& cLines) const
{
    cLines.emplace_back("~~ Playing Motions ~~");
    for (const auto& pState : m_PlayingStatePtrs)
    {
        const PlayState& state = *pState;
        const Motion* pMotion = state.GetMotion();
        const char* name = pMotion ? ra::GetNameText(pMotion->GetName()) : nullptr;
        std::string line = name ? name : "<NONE>";
        const char* stateText = PlayState::GetStateText(state.GetState());
        if (*stateText != '\0')
        {
            line += ", ";
            line += stateText;
        }
        char buffer[64];
        std::snprintf(buffer, sizeof(buffer), ", %.2f", state.GetPosition());
        line += buffer;
        std::snprintf(buffer, sizeof(buffer), ", [%.2f]", state.GetWeight());
        line += buffer;
        cLines.push_back(std::move(line));
    }
}
