// Checks that a command makes on the name of a file it is to write, before it reads or works: the
// name ends in a form the command writes, and its folder can be written. Each prints its reason
// to standard error, in the name's form as the user typed it.
#pragma once

#include <initializer_list>
#include <string>

namespace cli
{
// True when `file` ends, in any case, in one of `extensions` (".sgm", ".tqm"). Otherwise prints
// "tq7z COMMAND: FILE: writes .a, .b or .c, not '.x'" and returns false: a usage error, exit 2.
bool CheckOutputExtension(const std::string& command, const std::string& file,
                          std::initializer_list<const char*> extensions);

// True when `file` can be made: no folder stands in its place, and the nearest folder on its way
// that exists can be written (missing folders below it are made when the file is written).
// Otherwise prints what stands in the way and returns false: the command fails, exit 1.
bool CheckOutputFolder(const std::string& command, const std::string& file);

// The same for a folder that files are to be written into, named `shown` in the message: the
// folder or the nearest one on its way that exists can be written.
bool CheckWritableFolder(const std::string& command, const std::string& shown, const std::string& folder);
} // namespace cli
