// Silences assertions and log lines for the whole benchmark run, so only the measured work runs.
#pragma once

#include "foundation/output.h"
#include "foundation/runoptions.h"

inline void Quiet()
{
    static const bool s_done = []
    {
        static dbg::DebugSpewDispatcher s_quiet;
        dbg::SetDispatcher(&s_quiet);
        RunOptions::SetFileText("notrace");
        return true;
    }();
    (void)s_done;
}
