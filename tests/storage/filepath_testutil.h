// Helpers of the path alias and change notification tests: a scratch folder under /tmp, a log
// listener that keeps the lines, and a clock the test moves by hand.
#pragma once

#include "foundation/output.h"
#include "storage/filepath.h"
#include "storage/hdnotification.h"
#include "support/logcapture.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <sys/stat.h>
#include <vector>

namespace testutil
{
namespace fs = std::filesystem;

// A fresh folder, removed with everything in it.
class ScratchFolder
{
public:
    ScratchFolder()
    {
        char pattern[] = "/tmp/tq7z_filepath_XXXXXX";
        if (::mkdtemp(pattern) != nullptr)
            m_path = pattern;
    }
    ~ScratchFolder()
    {
        if (m_path.empty())
            return;
        std::error_code ec;
        for (auto& entry : fs::recursive_directory_iterator(m_path, ec))
            fs::permissions(entry.path(), fs::perms::owner_all, fs::perm_options::add, ec);
        fs::remove_all(m_path, ec);
    }
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;

    const std::string& Path() const { return m_path; }
    std::string Path(const std::string& rel) const { return m_path + "/" + rel; }

    void Write(const std::string& rel, const std::string& text) const
    {
        fs::create_directories(fs::path(Path(rel)).parent_path());
        std::ofstream(Path(rel), std::ios::binary) << text;
    }
    std::string Read(const std::string& rel) const
    {
        std::ifstream in(Path(rel), std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(in), {});
    }
    bool Has(const std::string& rel) const { return fs::exists(Path(rel)); }
    void MakeReadOnly(const std::string& rel) const { ::chmod(Path(rel).c_str(), 0444); }

private:
    std::string m_path;
};

// The clock of the watches while it lives.
class FakeClock
{
public:
    explicit FakeClock(uint32 start = 100000)
    {
        Now() = start;
        HDNotification::SetTickSource(&Tick);
    }
    ~FakeClock() { HDNotification::SetTickSource(nullptr); }
    FakeClock(const FakeClock&) = delete;
    FakeClock& operator=(const FakeClock&) = delete;

    void Advance(uint32 ms) { Now() += ms; }

private:
    static uint32& Now()
    {
        static uint32 s_now = 0;
        return s_now;
    }
    static uint32 Tick() { return Now(); }
};

// The system form of a native path: '\\' separators.
inline std::string SystemName(std::string native)
{
    for (char& c : native)
        c = c == '/' ? '\\' : c;
    return native;
}

inline std::string Upper(std::string text)
{
    for (char& c : text)
        c = (c >= 'a' && c <= 'z') ? char(c - 'a' + 'A') : c;
    return text;
}
} // namespace testutil
