#include "cli/outputfile.h"

#include "storage/filepathutil.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <system_error>
#include <unistd.h>

namespace cli
{
namespace fs = std::filesystem;

bool CheckOutputExtension(const std::string& command, const std::string& file,
                          std::initializer_list<const char*> extensions)
{
    for (const char* extension : extensions)
        if (FilePathUtil::HasExtension(file.c_str(), extension))
            return true;
    std::string forms;
    size_t n = 0;
    for (const char* extension : extensions)
    {
        if (n > 0)
            forms += n + 1 == extensions.size() ? " or " : ", ";
        forms += extension;
        ++n;
    }
    const std::string extension = fs::path(file).extension().string();
    std::fprintf(stderr, "tq7z %s: %s: writes %s, not %s\n", command.c_str(), file.c_str(), forms.c_str(),
                 extension.empty() ? "a name without extension" : ("'" + extension + "'").c_str());
    return false;
}

bool CheckOutputFolder(const std::string& command, const std::string& file)
{
    std::error_code ec;
    const fs::path target = fs::absolute(file, ec).lexically_normal();
    if (fs::is_directory(target, ec))
    {
        std::fprintf(stderr, "tq7z %s: %s: cannot be written: it is a folder\n", command.c_str(),
                     file.c_str());
        return false;
    }
    return CheckWritableFolder(command, file, target.parent_path().string());
}

bool CheckWritableFolder(const std::string& command, const std::string& shown, const std::string& path)
{
    // A missing folder and a file standing where a folder should be both read as "not there":
    // the walk stops at the first name that exists.
    std::error_code ec;
    fs::path folder = fs::absolute(path, ec).lexically_normal();
    while (fs::symlink_status(folder, ec).type() == fs::file_type::not_found && folder.has_relative_path())
        folder = folder.parent_path();
    if (!fs::is_directory(folder, ec))
    {
        std::fprintf(stderr, "tq7z %s: %s: cannot be written: %s is a file, not a folder\n", command.c_str(),
                     shown.c_str(), folder.c_str());
        return false;
    }
    if (::access(folder.c_str(), W_OK | X_OK) != 0)
    {
        const int error = errno;
        std::fprintf(stderr, "tq7z %s: %s: cannot be written: the folder %s %s (%s)\n", command.c_str(),
                     shown.c_str(), folder.c_str(),
                     error == EACCES || error == EROFS ? "is not writable" : "cannot be used",
                     std::strerror(error));
        return false;
    }
    return true;
}
} // namespace cli
