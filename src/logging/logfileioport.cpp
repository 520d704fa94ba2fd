#include "logging/logfileioport.h"

#include "foundation/runoptions.h"
#include "logging/localtime.h"
#include "logging/logregistry.h"

#include <cctype>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <pwd.h>
#include <sys/sysinfo.h>
#include <sys/utsname.h>
#include <unistd.h>

namespace
{
// The name a log is held under: the native name, made absolute, so that two spellings of one
// file meet in the registry.
std::string FullName(const char* name)
{
    std::string native = OSFile::NativeName(name);
    if (native.empty())
        return native;
    std::filesystem::path path(native);
    if (path.is_relative())
    {
        char cwd[PATH_MAX];
        if (::getcwd(cwd, sizeof(cwd)) != nullptr)
            path = std::filesystem::path(cwd) / path;
    }
    // Text only: "." and ".." steps go, nothing on disk is asked.
    return path.lexically_normal().string();
}

// The running program's file name, upper case, without folder and extension.
std::string ModuleName()
{
    char path[PATH_MAX];
    const ssize_t n = ::readlink("/proc/self/exe", path, sizeof(path) - 1);
    if (n <= 0)
        return "UNKNOWN";
    path[n] = '\0';
    std::string name = path;
    const size_t slash = name.find_last_of('/');
    if (slash != std::string::npos)
        name.erase(0, slash + 1);
    const size_t dot = name.find_last_of('.');
    if (dot != std::string::npos && dot > 0)
        name.erase(dot);
    for (char& c : name)
        c = char(std::toupper(static_cast<unsigned char>(c)));
    return name;
}

std::string OSLine()
{
    utsname u{};
    int major = 0;
    int minor = 0;
    const char* system = "Linux";
    if (::uname(&u) == 0)
    {
        system = u.sysname;
        std::sscanf(u.release, "%d.%d", &major, &minor);
    }
    unsigned long long megabytes = 0;
    struct sysinfo info
    {
    };
    if (::sysinfo(&info) == 0)
    {
        const unsigned long long bytes = (unsigned long long)info.totalram * info.mem_unit;
        megabytes = (bytes + (1ull << 20) - 1) >> 20;
    }
    char buf[512];
    std::snprintf(buf, sizeof(buf), "OS %s %d.%d, %dMB Physical Memory", system, major, minor,
                  int(megabytes));
    return buf;
}

std::string UserName()
{
    if (const char* user = std::getenv("USER"); user && *user)
        return user;
    if (const passwd* pw = ::getpwuid(::geteuid()); pw && pw->pw_name)
        return pw->pw_name;
    return "";
}
} // namespace

LogFileIOPort::LogFileIOPort(const char* name, bool timestamps) : timestamps(timestamps)
{
    if (name != nullptr && *name != '\0')
        TryOpen(name);
    else
    {
        for (int i = 0; i < WarningsTries; ++i)
        {
            char candidate[32];
            if (i == 0)
                std::snprintf(candidate, sizeof(candidate), "warnings.log");
            else
                std::snprintf(candidate, sizeof(candidate), "warnings%d.log", i);
            if (TryOpen(candidate) != OpenResult::Held)
                break;
        }
    }
    WriteHeader();
}

LogFileIOPort::~LogFileIOPort()
{
    std::lock_guard<std::mutex> guard(m_lock);
    if (m_file != 0)
        OSFile::Close(m_file);
    m_file = 0;
    LogRegistry::Unregister(m_registered);
    m_registered = 0;
}

LogFileIOPort::OpenResult LogFileIOPort::TryOpen(const char* name)
{
    const std::string full = FullName(name);
    if (full.empty())
        return OpenResult::Failed;
    if (LogRegistry::IsRegistered(full.c_str()))
        return OpenResult::Held;
    // Others may read a log while it is written. The file is opened without truncating first: a
    // log that another process holds (its lock) is left as it is, and the walk goes on.
    const OSFile::Handle file = OSFile::Open(full.c_str(), OSFile::OM_ReadWrite, true);
    if (file == 0)
        return OpenResult::Failed;
    if (!OSFile::TryLock(file))
    {
        OSFile::Close(file);
        return OpenResult::Held;
    }
    if (!OSFile::Truncate(file))
    {
        OSFile::Close(file);
        return OpenResult::Failed;
    }
    m_file = file;
    m_fileName = full;
    m_registered = LogRegistry::Register(full.c_str());
    return OpenResult::Opened;
}

void LogFileIOPort::FormatHeader(std::string (&out)[6])
{
    const Log::LocalTime t = Log::Now();
    char buf[PATH_MAX + 64];
    std::snprintf(buf, sizeof(buf), "%s started at %04d-%02d-%02d %02d:%02d", ModuleName().c_str(), t.year,
                  t.month, t.day, t.hour, t.minute);
    out[0] = buf;
    out[1] = OSLine();
    out[2] = "RUN-OPTIONS " + RunOptions::GetText();
    char cwd[PATH_MAX];
    std::snprintf(buf, sizeof(buf), "WORKING-DIR %s", ::getcwd(cwd, sizeof(cwd)) ? cwd : "");
    out[3] = buf;
    out[4] = "USER " + UserName();
    out[5] = "";
}

void LogFileIOPort::WriteHeader()
{
    std::string header[6];
    FormatHeader(header);
    const char* lines[6];
    for (int i = 0; i < 6; ++i)
        lines[i] = header[i].c_str();
    WriteBatch(lines, 6);
}

void LogFileIOPort::WriteBatch(const char* const* lines, uint32 count)
{
    std::lock_guard<std::mutex> guard(m_lock);
    if (m_file == 0)
        return;
    char prefix[32] = "";
    if (timestamps)
    {
        const Log::LocalTime t = Log::Now();
        std::snprintf(prefix, sizeof(prefix), "%02d:%02d:%02d.%02d   ", t.hour, t.minute, t.second,
                      t.millisecond / 10);
    }
    std::string text;
    for (uint32 i = 0; i < count; ++i)
    {
        text += prefix;
        text += lines[i] ? lines[i] : "";
        text += "\r\n";
    }
    if (!text.empty())
        OSFile::Write(m_file, text.data(), uint32(text.size()));
}

void LogFileIOPort::Close(int exitCode)
{
    char line[64];
    if (exitCode == 0)
        std::snprintf(line, sizeof(line), "\r\nApplication closed without errors");
    else
        std::snprintf(line, sizeof(line), "\r\nApplication closed with error code %d", exitCode);
    const char* lines[] = {line};
    WriteBatch(lines, 1);

    std::lock_guard<std::mutex> guard(m_lock);
    LogRegistry::Unregister(m_registered);
    m_registered = 0;
    if (m_file != 0)
        OSFile::Close(m_file);
    m_file = 0;
}
