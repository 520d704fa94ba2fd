// The dispatcher that moves listeners' calls off the logging thread: each batch is copied into a
// record and queued for one worker thread, which hands it to the listeners in order.
#pragma once

#include "foundation/output.h"

#include <condition_variable>
#include <deque>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace dbg
{
class QueuedDispatcher final : public Dispatcher
{
public:
    // How long Flush waits for the worker to reach the flush, in milliseconds.
    static constexpr int FlushTimeoutMs = 1000;

    QueuedDispatcher();
    // Hands over what is still queued, then ends the worker.
    ~QueuedDispatcher() override;
    QueuedDispatcher(const QueuedDispatcher&) = delete;
    QueuedDispatcher& operator=(const QueuedDispatcher&) = delete;

    void Output(const char* const* lines, uint32 count) override;
    void ErrorOutput(const char* const* lines, uint32 count) override;
    void TaggedOutput(uint32 channel, const char* const* lines, uint32 count) override;
    // Waits until the worker has handed over everything queued before the call, or until the
    // time-out. False on time-out, and when called from the worker itself (a listener that
    // flushes), which would otherwise wait on itself.
    bool WaitFlushed();
    void Flush() override { WaitFlushed(); }

private:
    // Record kinds: 0 plain, 1 error, 2 tagged.
    struct Record
    {
        int kind = 0;
        uint32 channel = 0;
        std::vector<std::string> lines;
    };

    void Post(int kind, uint32 channel, const char* const* lines, uint32 count);
    void Run();

    std::mutex m_lock;
    std::condition_variable m_wake;
    std::condition_variable m_done;
    std::deque<Record> m_cRecord;
    uint64 m_posted = 0; // records queued so far
    uint64 m_handed = 0; // records the worker has handed to the listeners
    bool m_stopping = false;
    std::thread m_worker;
};
} // namespace dbg
