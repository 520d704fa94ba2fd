// Collects the lines the output layer sends while it lives, so that tests can see the warnings.
#pragma once

#include "foundation/output.h"

#include <string>
#include <vector>

class LogCatcher
{
public:
    LogCatcher()
    {
        Lines().clear();
        dbg::AddListener(&Listen);
    }
    ~LogCatcher() { dbg::RemoveListener(&Listen); }
    LogCatcher(const LogCatcher&) = delete;
    LogCatcher& operator=(const LogCatcher&) = delete;

    // The lines that hold `text`.
    std::vector<std::string> With(const std::string& text) const
    {
        std::vector<std::string> found;
        for (const std::string& line : Lines())
        {
            if (line.find(text) != std::string::npos)
                found.push_back(line);
        }
        return found;
    }
    const std::vector<std::string>& All() const { return Lines(); }

private:
    static std::vector<std::string>& Lines()
    {
        static std::vector<std::string> s_lines;
        return s_lines;
    }
    static void Listen(const char* const* lines, uint32 count, uint32)
    {
        for (uint32 i = 0; i < count; ++i)
            Lines().emplace_back(lines[i] != nullptr ? lines[i] : "");
    }
};
