#include "host/maxtypes.h"

#include "foundation/output.h"

#include <cstdarg>
#include <cstdio>

namespace host
{

namespace
{
int s_frameRate = 30;
}

void SetFrameRate(int rate)
{
    if (rate > 0)
        s_frameRate = rate;
}

int GetFrameRate()
{
    return s_frameRate;
}

int GetTicksPerFrame()
{
    return TIME_TICKSPERSEC / s_frameRate;
}

void DebugPrint(const char* format, ...)
{
    char buffer[1024];
    va_list args;
    va_start(args, format);
    std::vsnprintf(buffer, sizeof(buffer), format, args);
    va_end(args);
    // The host's lines end in a line feed of their own; the log adds its own.
    std::string line = buffer;
    while (!line.empty() && (line.back() == '\n' || line.back() == '\r'))
        line.pop_back();
    dbTracef("%s", line.c_str());
}
} // namespace host
