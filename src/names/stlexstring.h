// printf-style formatting into standard strings: replace the contents, or append to them.
#pragma once

#include <string>

class StlExString
{
public:
    // Clears s and formats into it. Returns the number of characters written.
    static int Printf(std::string& s, const char* format, ...) __attribute__((format(printf, 2, 3)));
    // Formats behind what s holds. Returns the number of characters appended.
    static int AppendPrintf(std::string& s, const char* format, ...) __attribute__((format(printf, 2, 3)));
    // Wide form: clears s and formats into it.
    static int Printf(std::wstring& s, const wchar_t* format, ...);
};
