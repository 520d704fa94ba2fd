// Test helper: a fresh folder under /tmp that becomes the working folder for the test, and the
// reading of a whole file back as bytes.
#pragma once

#include <gtest/gtest.h>

#include <climits>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <unistd.h>

namespace testutil
{
class TempFolder
{
public:
    TempFolder()
    {
        char pattern[] = "/tmp/tq7z_logging_XXXXXX";
        const char* made = ::mkdtemp(pattern);
        EXPECT_NE(made, nullptr);
        m_path = made ? made : "/tmp";
        char old[PATH_MAX];
        m_old = ::getcwd(old, sizeof(old)) ? old : "/";
        EXPECT_EQ(::chdir(m_path.c_str()), 0);
    }
    ~TempFolder()
    {
        (void)::chdir(m_old.c_str());
        std::error_code ec;
        std::filesystem::remove_all(m_path, ec);
    }
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;

    const std::string& Path() const { return m_path; }
    std::string operator/(const std::string& name) const { return m_path + "/" + name; }

private:
    std::string m_path;
    std::string m_old;
};

inline std::string ReadFile(const std::string& name)
{
    std::ifstream in(name, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

inline bool Exists(const std::string& name)
{
    return std::filesystem::exists(name);
}
} // namespace testutil
