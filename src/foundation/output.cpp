#include "foundation/output.h"

#include <cstdarg>
#include <cstdio>
#include <string>
#include <vector>

namespace dbg
{
namespace
{
Listener s_listeners[MaxListeners] = {};
int s_userCount = 0;
DirectDispatcher s_direct;
Dispatcher* s_pDispatcher = &s_direct;

void CallListeners(const char* const* lines, uint32 count, uint32 channel)
{
    bool any = false;
    for (Listener l : s_listeners)
    {
        if (l)
        {
            any = true;
            l(lines, count, channel);
        }
    }
    if (!any)
    {
        for (uint32 i = 0; i < count; ++i)
            std::fprintf(stderr, "%s\n", lines[i]);
    }
}
} // namespace

void DirectDispatcher::Output(const char* const* lines, uint32 count) { CallListeners(lines, count, 0); }
void DirectDispatcher::ErrorOutput(const char* const* lines, uint32 count) { CallListeners(lines, count, 0); }
void DirectDispatcher::TaggedOutput(uint32 channel, const char* const* lines, uint32 count)
{
    CallListeners(lines, count, channel);
}
void DirectDispatcher::Flush() { std::fflush(stderr); }

Dispatcher& GetDispatcher() { return *s_pDispatcher; }
void SetDispatcher(Dispatcher* pDispatcher) { s_pDispatcher = pDispatcher ? pDispatcher : &s_direct; }

bool AddListener(Listener listener)
{
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

int GetUserCount() { return s_userCount; }
} // namespace dbg

namespace
{
// Formats and splits at line ends into one batch.
std::vector<std::string> FormatLines(const char* format, va_list args)
{
    char buf[0x400];
    std::vsnprintf(buf, sizeof(buf), format, args);
    std::vector<std::string> lines;
    std::string cur;
    for (const char* p = buf; *p; ++p)
    {
        if (*p == '\r' || *p == '\n')
        {
            if (*p == '\r' && p[1] == '\n')
                ++p;
            lines.push_back(cur);
            cur.clear();
        }
        else
            cur += *p;
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
    Emit(lines, [channel](const char* const* l, uint32 n) { dbg::GetDispatcher().TaggedOutput(channel, l, n); });
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
