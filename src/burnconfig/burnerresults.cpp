#include "burnconfig/burnerresults.h"

#include "foundation/debug.h"
#include "storage/bytestream.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>

namespace
{
const char* const s_prefix[] = {"%s -- ", "Warning: %s -- ", "Error: %s -- "};

// Formats in place behind what `str` holds.
void AppendV(std::string& str, const char* format, va_list args)
{
    va_list count;
    va_copy(count, args);
    const int n = std::vsnprintf(nullptr, 0, format, count);
    va_end(count);
    if (n <= 0)
        return;
    const size_t oldsize = str.size();
    str.resize(oldsize + size_t(n) + 1);
    std::vsnprintf(&str[oldsize], size_t(n) + 1, format, args);
    str.resize(oldsize + size_t(n));
    dbAssert(str.size() == strlen(str.c_str()));
    dbAssert(str.size() == n + oldsize);
}

void AppendFormat(std::string& str, const char* format, ...) __attribute__((format(printf, 2, 3)));
void AppendFormat(std::string& str, const char* format, ...)
{
    va_list args;
    va_start(args, format);
    AppendV(str, format, args);
    va_end(args);
}
} // namespace

void BurnerResults::AddV(Level level, const char* module, const char* format, va_list args)
{
    if (!dbAssert(level <= LevelError && module != nullptr && format != nullptr))
        return;
    Record record;
    record.level = level;
    // The prefixes are the three wordings of the list, nothing a caller passes.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
    AppendFormat(record.text, s_prefix[level], module);
#pragma GCC diagnostic pop
    AppendV(record.text, format, args);
    m_cRecords.push_back(std::move(record));
}

void BurnerResults::Add(Level level, const char* module, const char* format, ...)
{
    va_list args;
    va_start(args, format);
    AddV(level, module, format, args);
    va_end(args);
}

void BurnerResults::Warning(const char* module, const char* format, ...)
{
    va_list args;
    va_start(args, format);
    AddV(LevelWarning, module, format, args);
    va_end(args);
}

void BurnerResults::AddText(uint32 level, const char* text)
{
    if (!dbAssert(text != nullptr))
        return;
    m_cRecords.push_back(Record{level, text});
}

void BurnerResults::Append(const BurnerResults& other)
{
    m_cRecords.insert(m_cRecords.end(), other.m_cRecords.begin(), other.m_cRecords.end());
}

bool BurnerResults::Write(ByteStream& stream) const
{
    for (const Record& record : m_cRecords)
    {
        if (!WriteText(stream, record.text.c_str(), true))
            return false;
    }
    return true;
}
