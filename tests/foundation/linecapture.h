// Test helper: a listener that keeps every batch it is handed, with its channel and the thread
// that handed it. One capture at a time; the destructor takes the listener out again.
#pragma once

#include "foundation/output.h"

#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace testutil
{
struct Batch
{
    std::vector<std::string> lines;
    uint32 channel = 0;
    std::thread::id thread;
};

class LineCapture
{
public:
    LineCapture()
    {
        std::lock_guard<std::mutex> guard(Lock());
        Batches().clear();
        m_added = dbg::AddListener(&Listen);
    }
    ~LineCapture()
    {
        if (m_added)
            dbg::RemoveListener(&Listen);
    }
    LineCapture(const LineCapture&) = delete;
    LineCapture& operator=(const LineCapture&) = delete;

    bool Added() const { return m_added; }
    std::vector<Batch> Take()
    {
        std::lock_guard<std::mutex> guard(Lock());
        std::vector<Batch> out = std::move(Batches());
        Batches().clear();
        return out;
    }
    // Every line of every batch, in order.
    std::vector<std::string> Lines()
    {
        std::vector<std::string> out;
        for (Batch& b : Take())
            out.insert(out.end(), b.lines.begin(), b.lines.end());
        return out;
    }

private:
    static std::mutex& Lock()
    {
        static std::mutex s_lock;
        return s_lock;
    }
    static std::vector<Batch>& Batches()
    {
        static std::vector<Batch> s_batches;
        return s_batches;
    }
    static void Listen(const char* const* lines, uint32 count, uint32 channel)
    {
        Batch b;
        b.lines.assign(lines, lines + count);
        b.channel = channel;
        b.thread = std::this_thread::get_id();
        std::lock_guard<std::mutex> guard(Lock());
        Batches().push_back(std::move(b));
    }

    bool m_added = false;
};
} // namespace testutil
