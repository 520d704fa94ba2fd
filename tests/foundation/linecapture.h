// A listener keeping every batch handed to it, with its channel and thread; one capture at a time.
#pragma once

#include "foundation/output.h"

#include <mutex>
#include <string>
#include <thread>
#include <utility>
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
    LineCapture() : m_added((Take(), dbg::AddListener(&Listen))) {}
    ~LineCapture()
    {
        if (m_added)
            dbg::RemoveListener(&Listen);
    }
    std::vector<Batch> Take()
    {
        std::lock_guard<std::mutex> guard(s_lock);
        return std::exchange(s_batches, {});
    }
    std::vector<std::string> Lines()
    {
        std::vector<std::string> out;
        for (Batch& b : Take())
            out.insert(out.end(), b.lines.begin(), b.lines.end());
        return out;
    }

private:
    static void Listen(const char* const* lines, uint32 count, uint32 channel)
    {
        std::lock_guard<std::mutex> guard(s_lock);
        s_batches.push_back({{lines, lines + count}, channel, std::this_thread::get_id()});
    }
    static inline std::mutex s_lock;
    static inline std::vector<Batch> s_batches;
    const bool m_added;
};
} // namespace testutil
