#include "foundation/runoptions.h"

#include <cctype>
#include <cstring>
#include <mutex>
#include <strings.h>
#include <vector>

namespace RunOptions
{
namespace
{
// Asked from any thread that asserts, set by the main thread at start-up.
std::mutex s_lock;
std::vector<std::string> s_cFileOption;
std::vector<std::string> s_cCommandOption;

constexpr const char s_optFlag[] = "--opt";
constexpr size_t s_optFlagLen = sizeof(s_optFlag) - 1;
} // namespace

int SetCommandLine(int argc, char** argv)
{
    std::vector<std::string> found;
    int out = 0;
    for (int i = 0; i < argc; ++i)
    {
        const char* arg = argv[i];
        if (i > 0 && arg && std::strcmp(arg, s_optFlag) == 0 && i + 1 < argc && argv[i + 1])
        {
            found.emplace_back(argv[i + 1]);
            ++i;
            continue;
        }
        if (i > 0 && arg && std::strncmp(arg, s_optFlag, s_optFlagLen) == 0 && arg[s_optFlagLen] == '=')
        {
            found.emplace_back(arg + s_optFlagLen + 1);
            continue;
        }
        argv[out++] = argv[i];
    }
    if (out < argc)
        argv[out] = nullptr;
    std::lock_guard<std::mutex> guard(s_lock);
    s_cCommandOption.clear();
    for (std::string& name : found)
    {
        if (!name.empty())
            s_cCommandOption.push_back(std::move(name));
    }
    return out;
}

void SetFileText(const char* text)
{
    std::vector<std::string> found;
    std::string cur;
    bool comment = false;
    for (const char* p = text ? text : ""; *p; ++p)
    {
        const char c = *p;
        if (c == '\n' || c == '\r')
            comment = false;
        if (comment)
            continue;
        if (c == '#')
            comment = true;
        if (comment || std::isspace(static_cast<unsigned char>(c)))
        {
            if (!cur.empty())
                found.push_back(std::move(cur));
            cur.clear();
            continue;
        }
        cur += c;
    }
    if (!cur.empty())
        found.push_back(std::move(cur));
    std::lock_guard<std::mutex> guard(s_lock);
    s_cFileOption = std::move(found);
}

bool Has(const char* name)
{
    if (name == nullptr || *name == '\0')
        return false;
    std::lock_guard<std::mutex> guard(s_lock);
    for (const auto* pList : {&s_cFileOption, &s_cCommandOption})
    {
        for (const std::string& opt : *pList)
        {
            if (::strcasecmp(opt.c_str(), name) == 0)
                return true;
        }
    }
    return false;
}

std::string GetText()
{
    std::lock_guard<std::mutex> guard(s_lock);
    std::string text;
    for (const auto* pList : {&s_cFileOption, &s_cCommandOption})
    {
        for (const std::string& opt : *pList)
        {
            if (!text.empty())
                text += ' ';
            text += opt;
        }
    }
    return text;
}

void Clear()
{
    std::lock_guard<std::mutex> guard(s_lock);
    s_cFileOption.clear();
    s_cCommandOption.clear();
}
} // namespace RunOptions
