// Collects what the output layer logs while a test runs, so that tests can look for a message.
#pragma once

#include "foundation/output.h"

#include <algorithm>
#include <string>
#include <vector>

namespace testing_log
{
struct Line
{
    std::string text;
    uint32 channel;
};

inline std::vector<Line>& Captured()
{
    static std::vector<Line> s_lines;
    return s_lines;
}

inline void CaptureListener(const char* const* lines, uint32 count, uint32 channel)
{
    for (uint32 i = 0; i < count; ++i)
        Captured().push_back({lines[i], channel});
}

// Captures from construction to destruction.
class LogCapture
{
public:
    LogCapture()
    {
        Captured().clear();
        dbg::AddListener(CaptureListener);
    }
    ~LogCapture() { dbg::RemoveListener(CaptureListener); }
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    // Lines holding `text`.
    int Count(const std::string& text) const
    {
        return int(std::count_if(Captured().begin(), Captured().end(),
                                 [&](const Line& l) { return l.text.find(text) != std::string::npos; }));
    }
    bool Has(const std::string& text) const { return Count(text) > 0; }
    std::size_t Size() const { return Captured().size(); }
    void Clear() { Captured().clear(); }
    const std::vector<Line>& Lines() const { return Captured(); }
};
} // namespace testing_log
