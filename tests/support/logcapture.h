// Collects the log lines sent while it lives, for tests that check what was reported.
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
        uint32 channel;
    };

    LogCapture()
    {
        s_pCurrent = this;
        dbg::AddListener(&Listen);
    }
    ~LogCapture()
    {
        dbg::RemoveListener(&Listen);
        s_pCurrent = nullptr;
    }
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    // Lines that contain the text.
    int Count(const std::string& text) const
    {
        int n = 0;
        for (const Line& line : m_cLine)
            n += line.text.find(text) != std::string::npos ? 1 : 0;
        return n;
    }
    // The first line that contains the text, or null.
    const Line* FindLine(const std::string& text) const
    {
        for (const Line& line : m_cLine)
            if (line.text.find(text) != std::string::npos)
                return &line;
        return nullptr;
    }
    const std::vector<Line>& GetLines() const { return m_cLine; }
    void Clear() { m_cLine.clear(); }

private:
    static void Listen(const char* const* lines, uint32 count, uint32 channel)
    {
        if (s_pCurrent == nullptr)
            return;
        for (uint32 i = 0; i < count; ++i)
            s_pCurrent->m_cLine.push_back({lines[i], channel});
    }

    static inline LogCapture* s_pCurrent = nullptr;
    std::vector<Line> m_cLine;
};
