#include "playback/playstate.h"

#include "foundation/debug.h"
#include "model/anim/animlist.h"
#include "model/motiontree/motion.h"
#include "model/rendermodel.h"
#include "names/memorypool.h"

#include <algorithm>
#include <cmath>

namespace
{
MemoryPool& StatePool()
{
    static MemoryPool& s_pool = MemoryPool::Get("AnimPlayStates");
    return s_pool;
}

// The longest animation of the motion: a play ends when all of them have.
float MotionLength(const Motion* pMotion)
{
    float length = 0.0f;
    for (int i = 0; pMotion && i < pMotion->GetAnimNodeCount(); ++i)
    {
        const AnimListNode* pNode = pMotion->GetAnimNode(i);
        const Anim* pAnim = pNode ? pNode->GetAnim().Get() : nullptr;
        if (pAnim != nullptr)
            length = std::max(length, pAnim->GetTime());
    }
    return length;
}
} // namespace

static_assert(sizeof(PlayState) <= 128, "play states come from a pool of small blocks");

const char* PlayState::GetStateText(int state)
{
    switch (state)
    {
    case STATE_START_DELAY:
        return "Start Delay";
    case STATE_TRANSITION_IN:
        return "Transition In";
    case STATE_PLAY:
        return "Playing";
    case STATE_LOOP_DELAY:
        return "Loop Delay";
    case STATE_EXIT_DELAY:
        return "Exit Delay";
    case STATE_TRANSITION_OUT:
        return "Transition Out";
    case STATE_FINISHED:
        return "Exiting";
    default:
        return "";
    }
}

void* PlayState::operator new(size_t s)
{
    dbAssert(s <= 128);
    return StatePool().Alloc(s);
}

void PlayState::operator delete(void* p)
{
    StatePool().Free(p);
}

PlayState::PlayState(const Motion* pMotion, const Motion* pRootMotion)
    : m_pMotion(pMotion), m_pRootMotion(pRootMotion)
{
    SetMotion(pMotion);
    Reset();
}

void PlayState::SetMotion(const Motion* pMotion)
{
    m_pMotion = pMotion;
    m_length = MotionLength(pMotion);
    m_PlayingAnims.clear();
    const int animCount = pMotion ? pMotion->GetAnimNodeCount() : 0;
    m_PlayingAnims.resize(size_t(animCount));
    for (int i = 0; i < animCount; ++i)
    {
        const AnimListNode* pNode = pMotion->GetAnimNode(i);
        if (pNode == nullptr)
            continue;
        const Anim* pAnim = pNode->GetAnim().Get();
        PlayingAnim& playing = m_PlayingAnims[size_t(i)];
        playing.boneHints.resize(pNode->GetBoneMappingCount());
        playing.cameraHints.resize(size_t(pNode->GetCameraMappingCount()));
        playing.controlHints.resize(size_t(pAnim ? pAnim->GetControlStreamCount() : 0));
    }
}

void PlayState::ResetHints()
{
    for (PlayingAnim& playing : m_PlayingAnims)
    {
        std::fill(playing.boneHints.begin(), playing.boneHints.end(), AnimHints{});
        std::fill(playing.cameraHints.begin(), playing.cameraHints.end(), AnimHints{});
        std::fill(playing.controlHints.begin(), playing.controlHints.end(), int16(0));
    }
}

float PlayState::DrawRange(float minimum, float maximum)
{
    if (!(maximum > 0.0f))
        return 0.0f;
    float max = maximum, min = minimum;
    if (!dbAssert(max >= min))
        return max;
    // 24 bits of the shared random source: every float step of [0, 1) a float can tell apart.
    constexpr uint32 Steps = 1u << 24;
    const float unit = float(RenderModel::Random(Steps)) / float(Steps);
    return min + (max - min) * unit;
}

void PlayState::Reset()
{
    m_startTimer = m_loopTimer = m_exitTimer = m_inTimer = m_outTimer = 0.0f;
    if (m_pMotion == nullptr)
        return;
    m_startDelay = DrawRange(m_pMotion->GetStartDelayMin(), m_pMotion->GetStartDelayMax());
    m_loopDelay = DrawRange(m_pMotion->GetLoopDelayMin(), m_pMotion->GetLoopDelayMax());
    m_exitDelay = DrawRange(m_pMotion->GetExitDelayMin(), m_pMotion->GetExitDelayMax());
    const float startPosition = DrawRange(m_pMotion->GetStartPositionMin(), m_pMotion->GetStartPositionMax());
    if (!m_bAbsolute)
    {
        m_position = m_bStartAtZero ? 0.0f : startPosition;
        m_previousPosition = m_position;
    }
}

void PlayState::Restart()
{
    Reset();
    m_state = STATE_START_REQUEST;
}

void PlayState::SetRate(float rate)
{
    if (!dbAssert(rate >= 0.0f))
        rate = 0.0f;
    m_rate = rate;
}

void PlayState::SetState(int state)
{
    // The asserted text is the diagnostic, spaces and all.
    // clang-format off
    if (!dbAssert(( state != STATE_START_DELAY ) && ( state != STATE_PLAY ) && ( state != STATE_LOOP_DELAY ) &&
                  ( state != STATE_TRANSITION_OUT ) && ( state != STATE_FINISHED ) && ( state >= 0 ) &&
                  ( state < STATE_COUNT )))
        // clang-format on
        return;
    m_state = state;
}

bool PlayState::IsLeaving() const
{
    return m_state == STATE_EXIT_REQUEST || m_state == STATE_EXIT_DELAY || m_state == STATE_TRANSITION_OUT ||
           m_state == STATE_FINISHED;
}

float PlayState::GetWeight() const
{
    switch (m_state)
    {
    case STATE_START_DELAY:
    case STATE_FINISHED:
        return 0.0f;
    case STATE_TRANSITION_IN:
        return m_bAbsolute ? 0.0f : 1.0f;
    case STATE_TRANSITION_OUT:
    {
        if (!dbAssert(m_pMotion->GetTransitionOutTime() > 0.0f))
            return 0.0f;
        return 1.0f - m_outTimer / m_pMotion->GetTransitionOutTime();
    }
    default:
        return 1.0f;
    }
}

void PlayState::Update(float dt)
{
    m_bLooped = false;
    m_bFinished = false;
    switch (m_state)
    {
    case STATE_START_REQUEST:
        m_state = STATE_START_DELAY;
        runStartDelay(dt);
        break;
    case STATE_PLAY_REQUEST:
        m_state = STATE_PLAY;
        runPlay(dt);
        break;
    case STATE_EXIT_REQUEST:
        m_exitTimer = 0.0f;
        m_state = STATE_EXIT_DELAY;
        runExitDelay(dt);
        break;
    case STATE_START_DELAY:
        runStartDelay(dt);
        break;
    case STATE_TRANSITION_IN:
        if (runTransitionIn(dt))
            m_state = STATE_PLAY;
        break;
    case STATE_PLAY:
        runPlay(dt);
        break;
    case STATE_LOOP_DELAY:
        runLoopDelay(dt);
        break;
    case STATE_EXIT_DELAY:
        runExitDelay(dt);
        break;
    case STATE_TRANSITION_OUT:
        runTransitionOut(dt);
        break;
    case STATE_FINISHED:
        // The list removes a finished play at its next cleanup; it is not updated again.
        dbBreak();
        break;
    default:
        dbBreak();
        m_state = STATE_FINISHED;
        break;
    }
}

void PlayState::enterFinished()
{
    m_state = STATE_FINISHED;
    if (m_bFollowEvents)
        m_bFinished = true;
}

void PlayState::runStartDelay(float dt)
{
    m_startTimer += dt;
    if (m_startTimer < m_startDelay)
        return;
    m_inTimer = 0.0f;
    m_state = STATE_TRANSITION_IN;
    if (runTransitionIn(dt))
    {
        m_state = STATE_PLAY;
        runPlay(dt);
    }
}

bool PlayState::runTransitionIn(float dt)
{
    m_inTimer += dt;
    return m_inTimer >= m_transitionInTime;
}

void PlayState::runPlay(float dt)
{
    if (!m_bAbsolute)
    {
        m_previousPosition = m_position;
        m_position += dt * m_rate;
    }
    if (!(m_position > m_length) || m_pMotion == nullptr)
        return;
    switch (m_pMotion->GetType())
    {
    case Motion::TYPE_NON_LOOPING:
        enterFinished();
        break;
    case Motion::TYPE_LOOPING:
        m_bLooped = true;
        // A play on its way out wraps at once: it has no further loop to wait for.
        if (m_loopDelay > 0.0f && m_state == STATE_PLAY)
        {
            m_loopTimer = 0.0f;
            m_state = STATE_LOOP_DELAY;
        }
        else
            m_position = m_length > 0.0f ? std::fmod(m_position, m_length) : 0.0f;
        break;
    case Motion::TYPE_HOLD_END:
        m_previousPosition = m_position;
        break;
    default:
        break;
    }
}

void PlayState::runLoopDelay(float dt)
{
    m_loopTimer += dt;
    if (!(m_loopTimer > m_loopDelay))
        return;
    m_position = m_length > 0.0f ? std::fmod(m_position, m_length) : 0.0f;
    m_state = STATE_PLAY;
    m_loopDelay = m_pMotion ? DrawRange(m_pMotion->GetLoopDelayMin(), m_pMotion->GetLoopDelayMax()) : 0.0f;
}

void PlayState::runExitDelay(float dt)
{
    runPlay(dt);
    // A non-looping motion that ran out while waiting has ended.
    if (m_state == STATE_FINISHED)
        return;
    m_exitTimer += dt;
    if (m_bExitDelayEnabled && m_exitTimer < m_exitDelay)
        return;
    m_outTimer = 0.0f;
    m_state = STATE_TRANSITION_OUT;
    runTransitionOut(dt);
}

void PlayState::runTransitionOut(float dt)
{
    m_outTimer += dt;
    if (m_bTransitionEnabled && m_pMotion && m_pMotion->GetTransitionOutTime() > m_outTimer)
        return;
    enterFinished();
}
