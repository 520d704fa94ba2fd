#include "teamcolour/exporttext.h"

#include "storage/filepathutil.h"

#include <cstdio>
#include <cstring>

namespace TeamColour
{
std::string FormatV(const char* format, va_list args)
{
    va_list copy;
    va_copy(copy, args);
    const int length = std::vsnprintf(nullptr, 0, format, copy);
    va_end(copy);
    std::string text(length > 0 ? size_t(length) : 0, '\0');
    if (length > 0)
        std::vsnprintf(text.data(), text.size() + 1, format, args);
    return text;
}

std::string NormalizedPath(std::string path)
{
    FilePathUtil::Normalize(path.data());
    path.resize(std::strlen(path.c_str()));
    return path;
}

std::string Format(const char* format, ...)
{
    va_list args;
    va_start(args, format);
    std::string text = FormatV(format, args);
    va_end(args);
    return text;
}
} // namespace TeamColour
