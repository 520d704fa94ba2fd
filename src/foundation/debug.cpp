#include "foundation/debug.h"

#include "foundation/output.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>

namespace dbg
{
namespace
{
bool s_throwOnAssert = false;
const char* s_fatalFile = "";
int s_fatalLine = 0;
} // namespace

void SetThrowOnAssert(bool on) { s_throwOnAssert = on; }
bool GetThrowOnAssert() { return s_throwOnAssert; }

bool AssertFailed(const char* file, int line, const char* expression, bool* pSiteFlag)
{
    if (pSiteFlag && *pSiteFlag)
        return false;
    char msg[0x400];
    std::snprintf(msg, sizeof(msg), "%s(%d): Assertion of (%s) failed.", file, line, expression);
    const char* lines[] = {msg};
    GetDispatcher().ErrorOutput(lines, 1);
    GetDispatcher().Flush();
    if (s_throwOnAssert)
        throw std::runtime_error(msg);
    return false;
}

void SetFatalLocation(const char* file, int line)
{
    s_fatalFile = file;
    s_fatalLine = line;
}

void Fatal(const char* format, ...)
{
    char msg[0x400];
    va_list args;
    va_start(args, format);
    std::vsnprintf(msg, sizeof(msg), format, args);
    va_end(args);
    char where[0x400];
    std::snprintf(where, sizeof(where), "%s(%d)", s_fatalFile, s_fatalLine);
    const char* lines[] = {"-- FATAL EXIT --", msg, where, ""};
    GetDispatcher().ErrorOutput(lines, 4);
    GetDispatcher().Flush();
    if (s_throwOnAssert)
        throw std::runtime_error(msg);
    std::exit(-1);
}
} // namespace dbg
