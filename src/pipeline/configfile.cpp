#include "pipeline/configfile.h"

#include "foundation/debug.h"
#include "foundation/output.h"
#include "names/utf8.h"
#include "storage/diskfilestream.h"
#include "storage/osfile.h"
#include "storage/filepathutil.h"

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <string_view>
#include <vector>

namespace
{
constexpr const char* s_blanks = " \t\r\n\v\f";

std::string_view Trim(std::string_view text)
{
    size_t first = text.find_first_not_of(s_blanks);
    if (first == std::string_view::npos)
        return std::string_view();
    size_t last = text.find_last_not_of(s_blanks);
    return text.substr(first, last - first + 1);
}

std::string Lower(std::string_view text)
{
    std::string lower(text);
    FilePathUtil::ToLower(lower.data());
    return lower;
}

// Neither the key nor the value of a written line may hold what would split it differently when
// it is read back.
bool IsWritable(const char* text)
{
    return std::strpbrk(text, "=;\r\n") == nullptr;
}
} // namespace

bool ConfigFile::Load(const char* name)
{
    if (!dbAssert(name != nullptr && *name != '\0'))
        return false;
    m_fileName = name;
    std::unique_ptr<DiskFileStream> pStream = DiskFileStream::New(name, ByteStream::Mode_Read, true);
    if (pStream == nullptr)
    {
        m_loaded = false;
        m_cSections.clear();
        m_currentSection.clear();
        return false;
    }
    return Load(*pStream, name);
}

bool ConfigFile::Load(ByteStream& stream, const char* name)
{
    m_fileName = name != nullptr ? name : "";
    m_loaded = false;
    m_cSections.clear();
    m_currentSection.clear();

    Keys* pTarget = nullptr;
    int lineNumber = 0;
    char buffer[MaxLine + 1];
    for (;; ++lineNumber)
    {
        const uint32 start = stream.GetPos();
        const uint32 got = stream.Read(buffer, MaxLine);
        if (got == 0)
            break;
        buffer[got] = '\0';
        // The bytes are text: a stray NUL ends the line there.
        std::string_view line(buffer, std::strlen(buffer));
        const size_t lineEnd = line.find("\r\n");
        if (lineEnd != std::string_view::npos)
        {
            line = line.substr(0, lineEnd);
            // Only "\r\n" ends a line: a file with bare "\n" is read in blocks of MaxLine bytes.
            if (!stream.Seek(start + uint32(lineEnd) + 2))
                break;
        }

        line = Trim(line);
        if (line.empty() || line.front() == ';')
            continue;

        if (line.front() == '[')
        {
            if (line.size() < 2 || line.back() != ']')
            {
                dbWarningf("Failed to read line %d from %s", lineNumber, m_fileName.c_str());
                continue;
            }
            auto [it, inserted] = m_cSections.try_emplace(Lower(Trim(line.substr(1, line.size() - 2))));
            if (!inserted)
                dbWarningf("Duplicate section at line %d from %s", lineNumber, m_fileName.c_str());
            // A section seen before takes the keys that follow: the two are merged.
            pTarget = &it->second;
            continue;
        }

        const size_t equals = line.find('=');
        if (equals == std::string_view::npos || equals == 0)
        {
            dbWarningf("Failed to read line %d from %s", lineNumber, m_fileName.c_str());
            continue;
        }
        if (pTarget == nullptr)
        {
            dbWarningf("Key outside section at line %d from %s", lineNumber, m_fileName.c_str());
            continue;
        }
        // The first value of a key is kept; a ';' behind a value belongs to the value.
        pTarget->try_emplace(Lower(Trim(line.substr(0, equals))), std::string(Trim(line.substr(equals + 1))));
    }

    m_currentSection = m_cSections.empty() ? std::string() : m_cSections.begin()->first;
    m_loaded = true;
    return true;
}

bool ConfigFile::Save(const char* name)
{
    std::string target = name != nullptr ? name : m_fileName;
    if (!dbAssert(!target.empty()))
        return false;
    // A file checked in read-only is written all the same: the read-only attribute goes first.
    if ((OSFile::FileAttr(target.c_str()) & OSFile::F_ATTRIBUTE_FILE) != 0)
        OSFile::SetWritable(target.c_str(), true);
    std::unique_ptr<DiskFileStream> pStream =
        DiskFileStream::New(target.c_str(), ByteStream::Mode_Write, false);
    if (pStream == nullptr)
    {
        dbWarningf("Couldn't open config file %s for writing", target.c_str());
        return false;
    }
    // Lines go out with "\r\n", the only line end the reader knows.
    bool written = true;
    for (const auto& [section, keys] : m_cSections)
    {
        written = written && WriteText(*pStream, ("[" + section + "]\n").c_str(), false);
        for (const auto& [key, value] : keys)
            written = written && WriteText(*pStream, (key + "=" + value + "\n").c_str(), false);
    }
    written = written && WriteText(*pStream, "\n", false);
    if (!written)
        dbWarningf("Couldn't write config file %s", target.c_str());
    return written;
}

uint32 ConfigFile::SectionCount() const
{
    return uint32(m_cSections.size());
}

const char* ConfigFile::SectionName(uint32 index) const
{
    if (!dbAssert(index < m_cSections.size()))
        return "";
    return std::next(m_cSections.begin(), index)->first.c_str();
}

const ConfigFile::Keys* ConfigFile::CurrentKeys() const
{
    auto it = m_cSections.find(m_currentSection);
    return it != m_cSections.end() ? &it->second : nullptr;
}

uint32 ConfigFile::KeyCount() const
{
    const Keys* pKeys = CurrentKeys();
    return pKeys != nullptr ? uint32(pKeys->size()) : 0;
}

const char* ConfigFile::KeyName(uint32 index) const
{
    const Keys* pKeys = CurrentKeys();
    if (!dbAssert(pKeys != nullptr && index < pKeys->size()))
        return "";
    return std::next(pKeys->begin(), index)->first.c_str();
}

bool ConfigFile::SelectSection(const char* name, char* previousOut, size_t previousOutLength)
{
    if (previousOut != nullptr && previousOutLength > 0)
        std::snprintf(previousOut, previousOutLength, "%s", m_currentSection.c_str());
    if (!dbAssert(name != nullptr && std::strlen(name) < MaxSectionName))
        return false;
    m_currentSection = Lower(name);
    return true;
}

bool ConfigFile::GetString(const char* key, char* out, size_t outLength) const
{
    if (!dbAssert(key != nullptr && *key != '\0' && out != nullptr && outLength > 0))
        return false;
    out[0] = '\0';
    const Keys* pKeys = CurrentKeys();
    if (pKeys == nullptr)
        return false;
    auto it = pKeys->find(Lower(key));
    if (it == pKeys->end() || it->second.size() >= outLength)
        return false;
    std::memcpy(out, it->second.c_str(), it->second.size() + 1);
    return true;
}

bool ConfigFile::GetString(const char* key, std::string& out) const
{
    out.clear();
    char buffer[2048];
    if (!GetString(key, buffer, sizeof(buffer)))
        return false;
    out = buffer;
    return true;
}

bool ConfigFile::GetInt(const char* key, int& out) const
{
    out = 0;
    char buffer[32];
    if (!GetString(key, buffer, sizeof(buffer)))
        return false;
    char* end = nullptr;
    errno = 0;
    long value = std::strtol(buffer, &end, 10);
    if (*end != '\0' || errno == ERANGE || value < INT_MIN || value > INT_MAX)
        return false;
    out = int(value);
    return true;
}

bool ConfigFile::GetWideString(const char* key, wchar16* out, size_t outLength) const
{
    if (!dbAssert(out != nullptr && outLength > 0 && outLength <= UINT32_MAX / 4))
        return false;
    out[0] = 0;
    // A UTF-8 character takes at most four bytes for each 16-bit one it gives.
    std::vector<char> buffer(outLength * 4);
    if (!GetString(key, buffer.data(), buffer.size()))
        return false;
    return AnsiToWide(buffer.data(), out, uint32(outLength));
}

bool ConfigFile::SetString(const char* key, const char* value)
{
    if (!dbAssert(key != nullptr && *key != '\0' && value != nullptr && IsWritable(key) && IsWritable(value)))
        return false;
    m_cSections[m_currentSection][Lower(key)] = value;
    return true;
}

bool ConfigFile::SetInt(const char* key, int value)
{
    char buffer[32];
    std::snprintf(buffer, sizeof(buffer), "%d", value);
    return SetString(key, buffer);
}

bool ConfigFile::RemoveKey(const char* key)
{
    if (!dbAssert(key != nullptr && *key != '\0'))
        return false;
    auto it = m_cSections.find(m_currentSection);
    if (it == m_cSections.end())
        return false;
    return it->second.erase(Lower(key)) > 0;
}
