#include "pipeline/fullpath.h"

#include "storage/filepathutil.h"

#include <cctype>
#include <cstring>
#include <unistd.h>
#include <vector>

namespace FullPath
{

bool HasDrive(const char* name)
{
    if (name == nullptr || *name == '\0')
        return false;
    if (FilePathUtil::IsSeparator(name[0]))
        return true;
    return std::isalpha(static_cast<unsigned char>(name[0])) && name[1] == ':';
}

std::string Expand(const char* name)
{
    if (name == nullptr || *name == '\0')
        return std::string();

    std::string joined;
    if (!HasDrive(name))
    {
        std::vector<char> cwd(4096);
        if (::getcwd(cwd.data(), cwd.size()) == nullptr)
            return std::string();
        joined = cwd.data();
        joined += '\\';
    }
    joined += name;

    // A drive text stays in front; the rest is cut into components and walked.
    std::string head;
    size_t pos = 0;
    if (std::isalpha(static_cast<unsigned char>(joined[0])) && joined.size() > 1 && joined[1] == ':')
    {
        head = joined.substr(0, 2);
        pos = 2;
    }
    std::vector<std::string> cPart;
    while (pos < joined.size())
    {
        size_t end = pos;
        while (end < joined.size() && !FilePathUtil::IsSeparator(joined[end]))
            ++end;
        std::string part = joined.substr(pos, end - pos);
        if (part == "..")
        {
            if (!cPart.empty())
                cPart.pop_back();
        }
        else if (!part.empty() && part != ".")
        {
            cPart.push_back(std::move(part));
        }
        pos = end + 1;
    }

    std::string full = head;
    for (const std::string& part : cPart)
        full += '\\' + part;
    // A name that ends in a separator keeps it, as the folder it names.
    if (FilePathUtil::IsSeparator(joined.back()) && !cPart.empty())
        full += '\\';
    if (cPart.empty())
        full += '\\';
    return full;
}

bool Expand(const char* name, char* out, size_t outLength)
{
    if (out == nullptr || outLength == 0)
        return false;
    out[0] = '\0';
    std::string full = Expand(name);
    if (full.empty() || full.size() >= outLength)
        return false;
    std::memcpy(out, full.c_str(), full.size() + 1);
    return true;
}
} // namespace FullPath
