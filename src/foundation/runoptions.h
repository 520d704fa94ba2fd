// Run options: single words that switch diagnostics and loading on or off for one run of a tool
// ("invleaks", "noimages", "nomodels", "notrace", "nodbg"). They come from "--opt NAME" on the
// command line and from the file "runoptions.cfg" in the working folder, taken together.
#pragma once

#include <string>

namespace RunOptions
{
// Takes the options out of a command line: every "--opt NAME" and "--opt=NAME" is recorded and
// removed from argv, the other arguments keep their order. Returns the new argument count; argv
// stays terminated by a null pointer. Replaces the options of an earlier command line.
int SetCommandLine(int argc, char** argv);

// Sets the text of "runoptions.cfg": options are separated by white space (one per line or
// several on a line); '#' starts a comment that runs to the end of the line. Replaces the options
// of an earlier file.
void SetFileText(const char* text);

// Whether an option is set, by either source. Names compare without regard to case.
bool Has(const char* name);

// All options as one line: those of the file, then those of the command line, separated by
// single spaces. Empty when there are none.
std::string GetText();

// Forgets every option.
void Clear();
} // namespace RunOptions
