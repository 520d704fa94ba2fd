// Reading the run options of a tool run: the file "runoptions.cfg" in the working folder and the
// "--opt NAME" arguments of the command line.
#pragma once

namespace RunOptions
{
// The file the options are read from, in the working folder.
constexpr const char* FileName = "runoptions.cfg";

// Reads the options of a file (see SetFileText for its form). A missing file gives no options
// and false; so does a file that cannot be read.
bool LoadFile(const char* name = FileName);

// What a tool program does first: takes the options out of its arguments and reads the file.
// Returns the new argument count.
int Init(int argc, char** argv);
} // namespace RunOptions
