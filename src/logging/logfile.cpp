#include "logging/logfile.h"

#include "foundation/debug.h"
#include "foundation/output.h"
#include "logging/localtime.h"
#include "storage/bytestream.h"
#include "storage/filepath_hd.h"
#include "storage/filepathutil.h"

#include <climits>
#include <cstdarg>
#include <cstdio>
#include <string>
#include <unistd.h>

namespace
{
// A plain name goes to the raw disk source, which takes full paths only.
std::string Absolute(const std::string& name)
{
    if (!name.empty() && FilePathUtil::IsSeparator(name[0]))
        return name;
    char cwd[PATH_MAX];
    if (::getcwd(cwd, sizeof(cwd)) == nullptr)
        return name;
    std::string out = cwd;
    if (out.empty() || out.back() != '/')
        out += '/';
    return out + name;
}

// The stream for `name` in write mode, or null when a file is there already or it does not open.
std::shared_ptr<ByteStream> OpenNew(const std::string& name, bool aliased)
{
    if (aliased)
    {
        if (FilePath::FileType(name.c_str()) != 0)
            return nullptr;
        return FilePath::Open(name.c_str(), ByteStream::Mode_Write);
    }
    FilePathHDRaw raw(true);
    if (raw.FileType(name.c_str()) != 0)
        return nullptr;
    if (!FilePathHDRaw::MakeFolders(name.c_str()))
        return nullptr;
    return std::shared_ptr<ByteStream>(raw.Open(name.c_str(), ByteStream::Mode_Write));
}
} // namespace

LogFile::~LogFile()
{
    Close();
}

bool LogFile::Open(const char* name, const char* extension, bool timestamps, bool echo)
{
    if (name == nullptr || *name == '\0' || extension == nullptr)
    {
        dbBreak();
        return false;
    }
    Close();

    const Log::LocalTime t = Log::Now();
    char dated[FilePath::MAXPATH + 64];
    std::snprintf(dated, sizeof(dated), "%s.%04d-%02d-%02d.%02d-%02d-%02d", name, t.year, t.month, t.day,
                  t.hour, t.minute, t.second);
    std::string ext = *extension ? extension : "log";
    if (ext[0] != '.')
        ext.insert(ext.begin(), '.');

    const bool aliased = FilePathUtil::HasAlias(name);
    const std::string stem = aliased ? std::string(dated) : Absolute(dated);
    for (int i = 0; i < Tries; ++i)
    {
        std::string candidate = stem;
        if (i > 0)
            candidate += "." + std::to_string(i);
        candidate += ext;
        if (candidate.size() >= size_t(FilePath::MAXPATH))
            return false;
        std::shared_ptr<ByteStream> pStream = OpenNew(candidate, aliased);
        if (pStream)
        {
            m_pStream = std::move(pStream);
            m_name = candidate.c_str();
            m_timestamps = timestamps;
            m_echo = echo;
            return true;
        }
    }
    return false;
}

void LogFile::Close()
{
    m_pStream.reset();
    m_name = "";
}

bool LogFile::WriteLine(const char* text)
{
    if (!m_pStream)
        return false;
    const char* line = text ? text : "";
    if (m_echo)
        dbTracef("%s", line);
    if (m_timestamps)
    {
        const Log::LocalTime t = Log::Now();
        char prefix[32];
        std::snprintf(prefix, sizeof(prefix), "%02d:%02d:%02d.%02d   ", t.hour, t.minute, t.second,
                      t.millisecond / 10);
        if (!WriteText(*m_pStream, prefix, false))
            return false;
    }
    return WriteText(*m_pStream, line, true);
}

bool LogFile::Printf(const char* format, ...)
{
    if (!dbAssert(format != nullptr))
        return false;
    va_list args;
    va_start(args, format);
    va_list copy;
    va_copy(copy, args);
    const int needed = std::vsnprintf(nullptr, 0, format, copy);
    va_end(copy);
    std::string text(needed > 0 ? size_t(needed) : 0, '\0');
    if (needed > 0)
        std::vsnprintf(text.data(), text.size() + 1, format, args);
    va_end(args);
    return WriteLine(text.c_str());
}
