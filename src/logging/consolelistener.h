// The listener of a command-line tool: every line of the output layer goes to standard error, so
// that a tool's messages stay visible while a log file listens as well.
#pragma once

namespace dbg
{
// Adds the listener; false when it is in already or no slot is free.
bool AddConsoleListener();
bool RemoveConsoleListener();
} // namespace dbg
