#include "storage/userpath.h"

#include "storage/filepathutil.h"
#include "storage/osfile.h"

#include <algorithm>
#include <cctype>
#include <cstring>

namespace UserPath
{
namespace
{
constexpr char RawAlias[] = "TOOL:";
constexpr size_t RawAliasLength = sizeof(RawAlias) - 1;

// "TOOL:" at `p`, at the start of a word: "XTOOL:" is another alias.
bool RawAliasAt(const char* text, const char* p)
{
    if (std::strncmp(p, RawAlias, RawAliasLength) != 0)
        return false;
    if (p == text)
        return true;
    const unsigned char before = static_cast<unsigned char>(p[-1]);
    return !std::isalnum(before) && before != '_';
}
} // namespace

std::string FromName(const char* name)
{
    if (name == nullptr)
        return std::string();
    if (!RawAliasAt(name, name) && FilePathUtil::HasAlias(name))
    {
        std::string user(name);
        std::replace(user.begin(), user.end(), '\\', '/');
        return user;
    }
    // A name of the disk: each part that exists is named in its case on disk, which is how the
    // user typed it (the system upper-cases the roots of its sources).
    if (!RawAliasAt(name, name))
        return OSFile::NativeName(name);
    // The raw disk holds full paths only.
    const char* p = name + RawAliasLength;
    if (*p == '\0')
        return std::string();
    const std::string full = FilePathUtil::IsSeparator(*p) ? std::string(p) : "/" + std::string(p);
    return OSFile::NativeName(full.c_str());
}

std::string InText(const char* text)
{
    if (text == nullptr)
        return std::string();
    std::string user;
    const char* p = text;
    while (*p != '\0')
    {
        if (RawAliasAt(text, p))
        {
            // The name runs to the next blank or quote; FromName does the rest of it.
            const char* end = p + RawAliasLength;
            while (*end != '\0' && !std::isspace(static_cast<unsigned char>(*end)) && *end != '\'' &&
                   *end != '"')
                ++end;
            user += FromName(std::string(p, end).c_str());
            p = end;
            continue;
        }
        user += *p == '\\' ? '/' : *p;
        ++p;
    }
    return user;
}
} // namespace UserPath
