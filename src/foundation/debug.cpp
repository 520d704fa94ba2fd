#include "foundation/debug.h"

#include "foundation/callstack.h"
#include "foundation/output.h"
#include "foundation/runoptions.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <mutex>
#include <string>
#include <unistd.h>
#include <vector>

namespace dbg
{
namespace
{
std::atomic<bool> s_throwOnAssert{false};
std::atomic<uint32> s_breakCount{0};
const char* s_fatalFile = "";
int s_fatalLine = 0;

std::mutex s_seenLock;
std::vector<std::string> s_cSeen;

// Keeps the thread's errno across a report, as the failing code may be about to read it.
class ErrnoKeeper
{
public:
    ErrnoKeeper() : m_saved(errno) {}
    ~ErrnoKeeper() { errno = m_saved; }
    ErrnoKeeper(const ErrnoKeeper&) = delete;
    ErrnoKeeper& operator=(const ErrnoKeeper&) = delete;

private:
    int m_saved;
};

// The tracer's pid from the process status; 0 when nobody traces us or the status cannot be read.
// The status is a kernel report, not a data file, so it is read here directly.
bool ReadTracerPid()
{
    const int fd = ::open("/proc/self/status", O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        return false;
    char buf[4096];
    size_t used = 0;
    for (;;)
    {
        const ssize_t n = ::read(fd, buf + used, sizeof(buf) - 1 - used);
        if (n <= 0)
            break;
        used += size_t(n);
        if (used == sizeof(buf) - 1)
            break;
    }
    ::close(fd);
    buf[used] = '\0';
    const char* p = std::strstr(buf, "TracerPid:");
    if (p == nullptr)
        return false;
    return std::atol(p + std::strlen("TracerPid:")) != 0;
}

// The repeat filter. True when the text is new (stored now) and the site should break; a seen
// text is silent. A null or empty text, or a full table, breaks here.
bool FilterRepeat(const char* text)
{
    if (text == nullptr || *text == '\0')
    {
        DebugBreak();
        return false;
    }
    std::string kept(text, strnlen(text, MessageBuffer - 1));
    {
        std::lock_guard<std::mutex> guard(s_seenLock);
        for (const std::string& seen : s_cSeen)
        {
            if (seen == kept)
                return false;
        }
        if (int(s_cSeen.size()) < MaxAssertionTexts)
        {
            s_cSeen.push_back(std::move(kept));
            return true;
        }
    }
    DebugBreak();
    return false;
}

// The stack lines of a report: "--stack trace--" and a line per frame, unless "notrace".
__attribute__((noinline)) void AppendStack(std::vector<std::string>& cLine, int skip)
{
    cLine.emplace_back("--stack trace--");
    if (RunOptions::Has("notrace"))
        return;
    for (const StackFrame& frame : CaptureCallStack(skip + 1))
        cLine.push_back(FormatStackFrame(frame));
}

void SendErrorBatch(const std::vector<std::string>& cLine)
{
    std::vector<const char*> ptrs;
    ptrs.reserve(cLine.size());
    for (const std::string& s : cLine)
        ptrs.push_back(s.c_str());
    GetDispatcher().ErrorOutput(ptrs.data(), uint32(ptrs.size()));
    GetDispatcher().Flush();
}

// The body of a report. `ownFrames` are the reporter's frames above this one, left out of the
// trace.
__attribute__((noinline)) bool Report(const char* file, int line, const char* expression, int ownFrames)
{
    char msg[MessageBuffer];
    std::snprintf(msg, sizeof(msg), "%s(%d): Assertion of (%s) failed.", file ? file : "?", line,
                  expression ? expression : "");
    if (!IsDebuggerPresent())
    {
        std::vector<std::string> cLine{msg, ""};
        AppendStack(cLine, ownFrames + 1);
        SendErrorBatch(cLine);
    }
    if (s_throwOnAssert)
        throw std::runtime_error(msg);
    return FilterRepeat(msg);
}
} // namespace

void SetThrowOnAssert(bool on)
{
    s_throwOnAssert = on;
}
bool GetThrowOnAssert()
{
    return s_throwOnAssert;
}

bool IsDebuggerPresent()
{
    static const bool s_traced = ReadTracerPid();
    return s_traced && !RunOptions::Has("nodbg");
}

void DebugBreak()
{
    ++s_breakCount;
    if (IsDebuggerPresent())
        std::raise(SIGTRAP);
}

uint32 GetBreakCount()
{
    return s_breakCount;
}

__attribute__((noinline)) bool ReportAssertion(const char* file, int line, const char* expression)
{
    ErrnoKeeper keep;
    return Report(file, line, expression, 1);
}

__attribute__((noinline)) bool AssertFailed(const char* file, int line, const char* expression,
                                            bool* pSiteFlag)
{
    if (pSiteFlag && *pSiteFlag)
        return false;
    ErrnoKeeper keep;
    if (Report(file, line, expression, 1))
        DebugBreak();
    return false;
}

void ClearAssertionHistory()
{
    std::lock_guard<std::mutex> guard(s_seenLock);
    s_cSeen.clear();
}

void SetFatalLocation(const char* file, int line)
{
    s_fatalFile = file ? file : "";
    s_fatalLine = line;
}

__attribute__((noinline)) void Fatal(const char* format, ...)
{
    char msg[MessageBuffer];
    va_list args;
    va_start(args, format);
    std::vsnprintf(msg, sizeof(msg), format ? format : "", args);
    va_end(args);
    char where[MessageBuffer];
    std::snprintf(where, sizeof(where), "%s(%d)", s_fatalFile, s_fatalLine);

    std::vector<std::string> cLine{"-- FATAL EXIT --", msg, where, ""};
    AppendStack(cLine, 1);
    SendErrorBatch(cLine);
    if (s_throwOnAssert)
        throw std::runtime_error(msg);
    if (FilterRepeat(msg))
        DebugBreak();
    std::exit(-1);
}
} // namespace dbg
