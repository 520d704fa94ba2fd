// The formatted texts of pattern and export messages.
#pragma once

#include <cstdarg>
#include <string>

namespace TeamColour
{
// printf into a string of any length.
std::string Format(const char* format, ...) __attribute__((format(printf, 1, 2)));
std::string FormatV(const char* format, va_list args);
// A path with '\\' between its parts, as the path layer makes it (FilePathUtil::Normalize).
std::string NormalizedPath(std::string path);
} // namespace TeamColour
