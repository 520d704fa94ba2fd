// A scratch folder, a clock the test moves by hand, and the system form of a native path.
#pragma once

#include "storage/hdnotification.h"
#include "support/logcapture.h"
#include "support/tempfolder.h"

#include <filesystem>
#include <string>

namespace testutil
{
class ScratchFolder : public TempFolder
{
public:
    using TempFolder::Path;
    std::string Path(const std::string& rel) const { return *this / rel; }
    std::string Read(const std::string& rel) const { return TempFolder::Read(*this / rel); }
    bool Has(const std::string& rel) const { return std::filesystem::exists(Path(rel)); }
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
    void Advance(uint32 ms) { Now() += ms; }

private:
    static uint32& Now() { return s_now; }
    static uint32 Tick() { return s_now; }
    static inline uint32 s_now = 0;
};

// The system form of a native path: '\\' separators, upper case when `upper`.
inline std::string SystemName(std::string native, bool upper = false)
{
    for (char& c : native)
        c = c == '/' ? '\\' : upper && c >= 'a' && c <= 'z' ? char(c - 'a' + 'A') : c;
    return native;
}
} // namespace testutil
