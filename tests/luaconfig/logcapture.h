// Collects the lines that reach the log while a test runs, for tests of what is reported.
#pragma once

#include "foundation/output.h"

#include <string>
#include <vector>

class LogCapture
{
public:
    LogCapture()
    {
        Lines().clear();
        dbg::AddListener(&Listen);
    }
    ~LogCapture() { dbg::RemoveListener(&Listen); }

    // True when some line holds `text`.
    bool Has(const std::string& text) const
    {
        for (const std::string& line : Lines())
            if (line.find(text) != std::string::npos)
                return true;
        return false;
    }
    const std::vector<std::string>& Get() const { return Lines(); }
    void Clear() { Lines().clear(); }

private:
    static std::vector<std::string>& Lines()
    {
        static std::vector<std::string> s_lines;
        return s_lines;
    }
    static void Listen(const char* const* lines, uint32 count, uint32)
    {
        for (uint32 i = 0; i < count; ++i)
            Lines().emplace_back(lines[i]);
    }
};
