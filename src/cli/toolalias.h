// The plain disk under the alias "TOOL" while a command runs, and the command line's files as
// names of the path table ("TOOL:/full/path"). Removed when the scope ends.
#pragma once

#include "storage/filepath.h"
#include "storage/filepath_hd.h"

#include <filesystem>
#include <memory>
#include <string>

namespace cli
{
class ToolAlias
{
public:
    ToolAlias() : m_added(FilePath::AddAlias("TOOL", "HD", 99, std::make_shared<FilePathHDRaw>())) {}
    ~ToolAlias()
    {
        if (m_added)
            FilePath::RemoveAlias("TOOL", "HD");
    }
    ToolAlias(const ToolAlias&) = delete;
    ToolAlias& operator=(const ToolAlias&) = delete;

    bool IsAdded() const { return m_added; }

    // A command-line file as a name of the path table.
    static std::string Name(const std::string& file)
    {
        return "TOOL:" + std::filesystem::absolute(file).lexically_normal().string();
    }

private:
    bool m_added;
};
} // namespace cli
