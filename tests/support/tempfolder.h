// A folder of its own for one test, removed with everything in it when the test ends.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

class TempFolder
{
public:
    TempFolder()
    {
        std::string pattern = (std::filesystem::temp_directory_path() / "tq7z-test-XXXXXX").string();
        if (char* made = mkdtemp(pattern.data()))
            m_path = made;
    }
    ~TempFolder()
    {
        std::error_code ec;
        if (!m_path.empty())
            std::filesystem::remove_all(m_path, ec);
    }
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;

    const std::string& Path() const { return m_path; }
    std::string operator/(const std::string& name) const { return m_path + "/" + name; }

    // Writes `text` to `name` and sets its permission bits.
    std::string Write(const std::string& name, const std::string& text,
                      std::filesystem::perms perms = std::filesystem::perms(0644)) const
    {
        std::string path = *this / name;
        std::filesystem::create_directories(std::filesystem::path(path).parent_path());
        {
            std::ofstream out(path, std::ios::binary | std::ios::trunc);
            out << text;
        }
        std::filesystem::permissions(path, perms);
        return path;
    }

    static std::string Read(const std::string& path)
    {
        std::ifstream in(path, std::ios::binary);
        std::stringstream text;
        text << in.rdbuf();
        return text.str();
    }

private:
    std::string m_path;
};

// Sets an environment variable for the scope of a test and puts the old value back.
class ScopedEnv
{
public:
    ScopedEnv(const char* name, const char* value) : m_name(name)
    {
        if (const char* old = std::getenv(name))
        {
            m_had = true;
            m_old = old;
        }
        if (value != nullptr)
            setenv(name, value, 1);
        else
            unsetenv(name);
    }
    ~ScopedEnv()
    {
        if (m_had)
            setenv(m_name.c_str(), m_old.c_str(), 1);
        else
            unsetenv(m_name.c_str());
    }
    ScopedEnv(const ScopedEnv&) = delete;
    ScopedEnv& operator=(const ScopedEnv&) = delete;

private:
    std::string m_name;
    std::string m_old;
    bool m_had = false;
};
