#include "logging/consolelistener.h"

#include "foundation/output.h"
#include "storage/userpath.h"

#include <atomic>
#include <cstdio>
#include <cstring>

namespace dbg
{
namespace
{
// The mark that the warning output of the layer puts after its "file(line)".
constexpr char WarningMark[] = "): WARNING: ";

class ConsoleDispatcher final : public Dispatcher
{
public:
    void Output(const char* const* lines, uint32 count) override
    {
        const bool warning =
            count > 0 && lines[0] != nullptr && std::strstr(lines[0], WarningMark) != nullptr;
        Send(warning || m_verbose, lines, count, 0);
    }
    void ErrorOutput(const char* const* lines, uint32 count) override { Send(true, lines, count, 0); }
    void TaggedOutput(uint32 channel, const char* const* lines, uint32 count) override
    {
        Send(m_verbose, lines, count, channel);
    }
    void Flush() override { std::fflush(stderr); }

    std::atomic<bool> m_verbose{false};

private:
    static void Send(bool show, const char* const* lines, uint32 count, uint32 channel)
    {
        if (show)
            Show(lines, count, channel);
        // Shown and nobody listening: the debugger's channel would only repeat it.
        if (!show || GetUserCount() > 0)
            CallListeners(lines, count, channel);
    }

    static void Show(const char* const* lines, uint32 count, uint32 channel)
    {
        char tag[9];
        for (uint32 i = 0; i < count; ++i)
        {
            const std::string line = UserPath::InText(lines[i] ? lines[i] : "");
            // Tagged lines name their channel, as the log of a tool mixes several.
            if (channel != 0)
                std::fprintf(stderr, "%s: %s\n", ChannelName(channel, tag), line.c_str());
            else
                std::fprintf(stderr, "%s\n", line.c_str());
        }
    }
};

ConsoleDispatcher s_console;
bool s_started = false;
} // namespace

void StartConsole(bool verbose)
{
    s_console.m_verbose = verbose;
    SetDispatcher(&s_console);
    s_started = true;
}

bool StopConsole()
{
    if (!s_started)
        return false;
    if (&GetDispatcher() == &s_console)
        SetDispatcher(nullptr);
    s_started = false;
    return true;
}

void SetConsoleVerbose(bool verbose)
{
    s_console.m_verbose = verbose;
}
} // namespace dbg
