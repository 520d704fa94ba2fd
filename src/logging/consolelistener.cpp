#include "logging/consolelistener.h"

#include "foundation/output.h"

#include <cstdio>

namespace dbg
{
namespace
{
bool s_added = false;

void ConsoleListener(const char* const* lines, uint32 count, uint32 channel)
{
    char tag[9];
    for (uint32 i = 0; i < count; ++i)
    {
        const char* line = lines[i] ? lines[i] : "";
        // Tagged lines name their channel, as the log of a tool mixes several.
        if (channel != 0)
            std::fprintf(stderr, "%s: %s\n", ChannelName(channel, tag), line);
        else
            std::fprintf(stderr, "%s\n", line);
    }
}
} // namespace

bool AddConsoleListener()
{
    if (s_added)
        return false;
    s_added = AddListener(&ConsoleListener);
    return s_added;
}

bool RemoveConsoleListener()
{
    if (!s_added)
        return false;
    s_added = !RemoveListener(&ConsoleListener);
    return !s_added;
}
} // namespace dbg
