#include "foundation/queueddispatcher.h"

#include <chrono>

namespace dbg
{
QueuedDispatcher::QueuedDispatcher() : m_worker([this] { Run(); }) {}

QueuedDispatcher::~QueuedDispatcher()
{
    {
        std::lock_guard<std::mutex> guard(m_lock);
        m_stopping = true;
    }
    m_wake.notify_all();
    if (m_worker.joinable())
        m_worker.join();
}

void QueuedDispatcher::Output(const char* const* lines, uint32 count)
{
    Post(0, 0, lines, count);
}
void QueuedDispatcher::ErrorOutput(const char* const* lines, uint32 count)
{
    Post(1, 0, lines, count);
}
void QueuedDispatcher::TaggedOutput(uint32 channel, const char* const* lines, uint32 count)
{
    Post(2, channel, lines, count);
}

void QueuedDispatcher::Post(int kind, uint32 channel, const char* const* lines, uint32 count)
{
    Record rec;
    rec.kind = kind;
    rec.channel = channel;
    rec.lines.reserve(count);
    for (uint32 i = 0; i < count; ++i)
        rec.lines.emplace_back(lines[i] ? lines[i] : "");
    {
        std::lock_guard<std::mutex> guard(m_lock);
        m_cRecord.push_back(std::move(rec));
        ++m_posted;
    }
    m_wake.notify_one();
}

bool QueuedDispatcher::WaitFlushed()
{
    if (std::this_thread::get_id() == m_worker.get_id())
        return false;
    std::unique_lock<std::mutex> guard(m_lock);
    const uint64 target = m_posted;
    return m_done.wait_for(guard, std::chrono::milliseconds(FlushTimeoutMs),
                           [&] { return m_handed >= target; });
}

void QueuedDispatcher::Run()
{
    std::unique_lock<std::mutex> guard(m_lock);
    for (;;)
    {
        m_wake.wait(guard, [this] { return m_stopping || !m_cRecord.empty(); });
        if (m_cRecord.empty())
            return; // stopping, and everything handed over
        Record rec = std::move(m_cRecord.front());
        m_cRecord.pop_front();
        guard.unlock();

        std::vector<const char*> ptrs;
        ptrs.reserve(rec.lines.size());
        for (const std::string& s : rec.lines)
            ptrs.push_back(s.c_str());
        CallListeners(ptrs.data(), uint32(ptrs.size()), rec.kind == 2 ? rec.channel : 0);

        guard.lock();
        ++m_handed;
        m_done.notify_all();
    }
}
} // namespace dbg
