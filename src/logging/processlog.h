// The process logger: one log file port for the whole process, fed by a listener of the output
// layer. A tool command starts it on its log file, works, and stops it with its exit code.
#pragma once

#include <string>

namespace ProcessLog
{
// Opens the port on `name` (null or empty: the first free "warnings.log" name) and adds its
// listener. A second start while one runs is an assertion and returns false, leaving the running
// log as it is. A port whose file did not open still runs, and writes nothing.
bool Start(const char* name, bool timestamps);

// Takes the listener out and closes the log with the exit code: 0 is a normal end, -1 a failed
// tool command. Nothing happens when no log runs.
void Stop(int exitCode);

bool IsStarted();

// The full name of the running log's file; empty when none runs or its file did not open.
std::string GetFileName();
} // namespace ProcessLog
