#include "names/stlexstring.h"

#include "foundation/debug.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <cwchar>

namespace
{
int AppendFormat(std::string& s, const char* format, va_list args)
{
    if (!dbAssert(format))
        return 0;
    const size_t oldsize = s.size();
    va_list dry;
    va_copy(dry, args);
    const int n = std::vsnprintf(nullptr, 0, format, dry);
    va_end(dry);
    if (n <= 0)
        return n < 0 ? 0 : n;
    s.resize(oldsize + size_t(n));
    // The string's own terminator slot takes the NUL that vsnprintf writes.
    std::vsnprintf(s.data() + oldsize, size_t(n) + 1, format, args);
    // clang-format off
    dbAssert(s.size() == strlen( s.c_str() ));
    dbAssert(s.size() == n + oldsize);
    // clang-format on
    return n;
}
} // namespace

int StlExString::Printf(std::string& s, const char* format, ...)
{
    s.clear();
    va_list args;
    va_start(args, format);
    const int n = AppendFormat(s, format, args);
    va_end(args);
    return n;
}

int StlExString::AppendPrintf(std::string& s, const char* format, ...)
{
    va_list args;
    va_start(args, format);
    const int n = AppendFormat(s, format, args);
    va_end(args);
    return n;
}

int StlExString::Printf(std::wstring& s, const wchar_t* format, ...)
{
    s.clear();
    if (!dbAssert(format))
        return 0;
    // vswprintf has no dry run: it fails when the room is short, so the room grows until it fits.
    // A text that still fails at the largest room is an encoding fault, and gives nothing.
    std::wstring buffer(256, L'\0');
    int written = -1;
    for (; buffer.size() <= 0x100000; buffer.resize(buffer.size() * 4))
    {
        va_list args;
        va_start(args, format);
        written = std::vswprintf(buffer.data(), buffer.size(), format, args);
        va_end(args);
        if (written >= 0)
            break;
    }
    if (written < 0)
        return 0;
    const size_t n = size_t(written);
    s.assign(buffer.data(), n);
    // clang-format off
    dbAssert(s.size() == wcslen( s.c_str() ));
    dbAssert(s.size() == n);
    // clang-format on
    return written;
}
