#include "foundation/output.h"

#include "foundation/debug.h"

#include <cctype>
#include <cstdarg>
#include <cstdio>
#include <mutex>
#include <string>
#include <vector>

namespace dbg
{
namespace
{
// The table is read by the thread of a queued dispatcher while the main thread may add or
// remove listeners, so it is copied under the lock and the listeners are called outside it:
// a listener may log in turn without deadlock.
std::mutex& TableLock()
{
    static std::mutex s_lock;
    return s_lock;
}
Listener s_listeners[MaxListeners] = {};
int s_userCount = 0;

DirectDispatcher s_direct;
Dispatcher* s_pDispatcher = &s_direct;

// Nobody listens: the debugger's output channel. Its stand-in is standard error, written only
// while a debugger is attached: a tool's user reads standard error for what went wrong, and lines
// nobody asked for would hide it. Each line gets a line end and is cut to the buffer.
void ConsoleOutput(const char* const* lines, uint32 count)
{
    if (!IsDebuggerPresent())
        return;
    char buf[ConsoleLineBuffer];
    for (uint32 i = 0; i < count; ++i)
    {
        // A long line is cut, but keeps its line end.
        std::snprintf(buf, sizeof(buf), "%.*s\n", int(sizeof(buf) - 2), lines[i] ? lines[i] : "");
        std::fputs(buf, stderr);
    }
}
} // namespace

void CallListeners(const char* const* lines, uint32 count, uint32 channel)
{
    Listener copy[MaxListeners];
    {
        std::lock_guard<std::mutex> guard(TableLock());
        for (int i = 0; i < MaxListeners; ++i)
            copy[i] = s_listeners[i];
    }
    bool any = false;
    for (Listener l : copy)
    {
        if (l)
        {
            any = true;
            l(lines, count, channel);
        }
    }
    if (!any)
        ConsoleOutput(lines, count);
}

void DirectDispatcher::Output(const char* const* lines, uint32 count)
{
    CallListeners(lines, count, 0);
}
void DirectDispatcher::ErrorOutput(const char* const* lines, uint32 count)
{
    CallListeners(lines, count, 0);
}
void DirectDispatcher::TaggedOutput(uint32 channel, const char* const* lines, uint32 count)
{
    CallListeners(lines, count, channel);
}
void DirectDispatcher::Flush()
{
    std::fflush(stderr);
}

Dispatcher& GetDispatcher()
{
    return *s_pDispatcher;
}
void SetDispatcher(Dispatcher* pDispatcher)
{
    s_pDispatcher = pDispatcher ? pDispatcher : &s_direct;
}

bool AddListener(Listener listener)
{
    if (listener == nullptr)
        return false;
    std::lock_guard<std::mutex> guard(TableLock());
    for (Listener& l : s_listeners)
    {
        if (!l)
        {
            l = listener;
            ++s_userCount;
            return true;
        }
    }
    return false;
}

bool RemoveListener(Listener listener)
{
    if (listener == nullptr)
        return false;
    std::lock_guard<std::mutex> guard(TableLock());
    for (Listener& l : s_listeners)
    {
        if (l == listener)
        {
            l = nullptr;
            --s_userCount;
            return true;
        }
    }
    return false;
}

int GetUserCount()
{
    std::lock_guard<std::mutex> guard(TableLock());
    return s_userCount;
}

const char* ChannelName(uint32 channel, char (&out)[9])
{
    int n = 0;
    bool letters = channel != 0;
    for (int shift = 24; shift >= 0; shift -= 8)
    {
        const unsigned char c = static_cast<unsigned char>(channel >> shift);
        if (c == 0 && n == 0)
            continue; // a three-letter code has an empty top byte
        if (!std::isalnum(c))
        {
            letters = false;
            break;
        }
        out[n++] = char(c);
    }
    if (!letters)
        std::snprintf(out, sizeof(out), "%08X", channel);
    else
        out[n] = '\0';
    return out;
}
} // namespace dbg

namespace
{
// Formats and splits at line ends (CR, LF or CR LF) into one batch. A trailing line end does not
// make an empty last line; an empty text is one empty line.
std::vector<std::string> FormatLines(const char* format, va_list args)
{
    char small[0x400];
    va_list copy;
    va_copy(copy, args);
    const int needed = std::vsnprintf(small, sizeof(small), format ? format : "", copy);
    va_end(copy);
    std::string text;
    if (needed < 0)
        text = format ? format : "";
    else if (size_t(needed) < sizeof(small))
        text.assign(small, size_t(needed));
    else
    {
        text.resize(size_t(needed) + 1);
        std::vsnprintf(text.data(), text.size(), format, args);
        text.resize(size_t(needed));
    }

    std::vector<std::string> lines;
    std::string cur;
    for (size_t i = 0; i < text.size(); ++i)
    {
        const char c = text[i];
        if (c == '\r' || c == '\n')
        {
            if (c == '\r' && i + 1 < text.size() && text[i + 1] == '\n')
                ++i;
            lines.push_back(cur);
            cur.clear();
        }
        else
            cur += c;
    }
    if (!cur.empty() || lines.empty())
        lines.push_back(cur);
    return lines;
}

template <class Send> void Emit(const std::vector<std::string>& lines, Send send)
{
    std::vector<const char*> ptrs;
    ptrs.reserve(lines.size());
    for (const std::string& s : lines)
        ptrs.push_back(s.c_str());
    send(ptrs.data(), uint32(ptrs.size()));
}
} // namespace

void dbTracef(const char* format, ...)
{
    va_list args;
    va_start(args, format);
    auto lines = FormatLines(format, args);
    va_end(args);
    Emit(lines, [](const char* const* l, uint32 n) { dbg::GetDispatcher().Output(l, n); });
}

void dbErrorf(const char* format, ...)
{
    va_list args;
    va_start(args, format);
    auto lines = FormatLines(format, args);
    va_end(args);
    Emit(lines, [](const char* const* l, uint32 n) { dbg::GetDispatcher().ErrorOutput(l, n); });
}

void dbTagf(uint32 channel, const char* format, ...)
{
    va_list args;
    va_start(args, format);
    auto lines = FormatLines(format, args);
    va_end(args);
    Emit(lines,
         [channel](const char* const* l, uint32 n) { dbg::GetDispatcher().TaggedOutput(channel, l, n); });
}

void dbWarningAt(const char* file, int line, const char* format, ...)
{
    va_list args;
    va_start(args, format);
    auto lines = FormatLines(format, args);
    va_end(args);
    lines.front() = std::string(file) + "(" + std::to_string(line) + "): WARNING: " + lines.front();
    Emit(lines, [](const char* const* l, uint32 n) { dbg::GetDispatcher().Output(l, n); });
}
