// The console of a command-line tool. What a user reads on standard error is what went wrong and
// the command's own messages: error output and warnings. Traces and tagged lines go to the log file
// (the listeners) only, unless the console is verbose. Names in a shown line are in the user's form.
#pragma once

namespace dbg
{
// Makes the console the current dispatcher. Every line still reaches the listeners as before; a
// line that the console did not show and that no listener takes goes to the debugger's output
// channel. `verbose` shows every line, traces and tagged lines too (tagged ones as "TAG: text").
void StartConsole(bool verbose);
// Puts the direct dispatcher back; false when the console was not started.
bool StopConsole();
// Shows the traces from now on, or stops showing them.
void SetConsoleVerbose(bool verbose);
} // namespace dbg
