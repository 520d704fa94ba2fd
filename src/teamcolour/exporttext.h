// The texts of pattern and export messages.
#pragma once

#include "names/stlexstring.h"

#include <string>

namespace TeamColour
{
// printf into a new string. A text without arguments is taken as it stands.
inline std::string Format(const char* text)
{
    return text;
}
template <class... Args> std::string Format(const char* format, Args... args)
{
    std::string text;
    StlExString::Printf(text, format, args...);
    return text;
}

// A path with '\\' between its parts, as the path layer makes it (FilePathUtil::Normalize).
std::string NormalizedPath(std::string path);
} // namespace TeamColour
