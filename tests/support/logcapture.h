// Collects the log lines sent while a capture lives, so that tests can look for what was reported.
// Captures share one list: a capture made while another lives starts it afresh.
#pragma once

#include "foundation/output.h"

#include <string>
#include <vector>

class LogCapture
{
public:
    struct Line
    {
        std::string text;
        uint32 channel = 0;
    };

    LogCapture()
    {
        Captured().clear();
        if (Active()++ == 0)
            dbg::AddListener(&Listen);
    }
    ~LogCapture()
    {
        if (--Active() == 0)
            dbg::RemoveListener(&Listen);
    }
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    // Lines that hold `text`.
    int Count(const std::string& text) const
    {
        int n = 0;
        for (const Line& line : Captured())
            n += line.text.find(text) != std::string::npos ? 1 : 0;
        return n;
    }
    bool Has(const std::string& text) const { return Count(text) > 0; }
    // The first line that holds `text`, or null.
    const Line* FindLine(const std::string& text) const
    {
        for (const Line& line : Captured())
            if (line.text.find(text) != std::string::npos)
                return &line;
        return nullptr;
    }
    // The texts of the lines that hold `text`.
    std::vector<std::string> With(const std::string& text) const
    {
        std::vector<std::string> found;
        for (const Line& line : Captured())
            if (line.text.find(text) != std::string::npos)
                found.push_back(line.text);
        return found;
    }
    const std::vector<Line>& Lines() const { return Captured(); }
    size_t Size() const { return Captured().size(); }
    void Clear() { Captured().clear(); }

private:
    static std::vector<Line>& Captured()
    {
        static std::vector<Line> s_lines;
        return s_lines;
    }
    static int& Active()
    {
        static int s_active = 0;
        return s_active;
    }
    static void Listen(const char* const* lines, uint32 count, uint32 channel)
    {
        for (uint32 i = 0; i < count; ++i)
            Captured().push_back({lines[i] != nullptr ? lines[i] : "", channel});
    }
};
