// Expands a path name to a full one, as the tools do with every name that comes from outside:
// relative names are put behind the working folder, "." and ".." are resolved, and '\\' is the
// separator. The disk is not looked at.
#pragma once

#include <cstddef>
#include <string>

namespace FullPath
{
// False when the working folder cannot be read or the result has `outLength` or more characters
// (`out` is then empty).
bool Expand(const char* name, char* out, size_t outLength);
// The same without a length limit; empty on failure.
std::string Expand(const char* name);

// True when the name begins with a separator or a drive ("C:"): the tools' test for a full name.
bool HasDrive(const char* name);
} // namespace FullPath
