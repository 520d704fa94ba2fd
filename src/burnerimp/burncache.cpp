#include "burnerimp/burncache.h"

#include "storage/osfile.h"

#include <xxhash.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cinttypes>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>

namespace
{
constexpr const char* s_header = "burnerimp record 1";
constexpr size_t s_readBlock = 1 << 18;
} // namespace

BurnHasher::BurnHasher() : m_pState(XXH64_createState())
{
    XXH64_reset(m_pState, 0);
}

BurnHasher::~BurnHasher()
{
    XXH64_freeState(m_pState);
}

void BurnHasher::Add(const void* data, size_t size)
{
    XXH64_update(m_pState, data, size);
}

void BurnHasher::AddText(const std::string& text)
{
    const uint64 length = text.size();
    Add(&length, sizeof(length));
    Add(text.data(), text.size());
}

bool BurnHasher::AddFile(const std::string& nativePath)
{
    const int fd = open(nativePath.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0)
    {
        if (errno != ENOENT && errno != ENOTDIR)
            return false;
        AddText("<none>");
        return true;
    }
    struct stat info;
    if (fstat(fd, &info) != 0 || !S_ISREG(info.st_mode))
    {
        close(fd);
        return false;
    }
    const uint64 length = uint64(info.st_size);
    Add(&length, sizeof(length));
    // One block per thread, kept: a burn hashes thousands of small files.
    thread_local std::unique_ptr<char[]> s_pBlock(new char[s_readBlock]);
    uint64 total = 0;
    ssize_t got = 0;
    while ((got = read(fd, s_pBlock.get(), s_readBlock)) > 0)
    {
        Add(s_pBlock.get(), size_t(got));
        total += uint64(got);
    }
    close(fd);
    // A file that changed length while it was read is not hashed as either version.
    return got == 0 && total == length;
}

uint64 BurnHasher::Digest() const
{
    return XXH64_digest(m_pState);
}

std::string BurnCache::RecordPath(uint64 key) const
{
    char name[32];
    std::snprintf(name, sizeof(name), "%016" PRIx64 ".rec", key);
    return m_folder + "/" + name;
}

bool BurnCache::Find(uint64 key, Record& record) const
{
    std::ifstream in(RecordPath(key), std::ios::binary);
    if (!in)
        return false;
    std::stringstream text;
    text << in.rdbuf();
    return Parse(text.str(), record);
}

bool BurnCache::Store(uint64 key, const Record& record) const
{
    std::error_code ec;
    std::filesystem::create_directories(m_folder, ec);
    const std::string text = Text(record);
    return OSFile::WriteWhole(RecordPath(key).c_str(), text.data(), text.size()) == OSFile::R_Success;
}

bool BurnCache::Forget(uint64 key) const
{
    std::error_code ec;
    std::filesystem::remove(RecordPath(key), ec);
    return !ec;
}

std::string BurnCache::Text(const Record& record)
{
    std::string text = std::string(s_header) + "\n";
    text += "source " + record.source + "\n";
    for (const Target& target : record.cTargets)
    {
        text += "target " + target.name + "\n";
        for (const Output& output : target.cOutputs)
            text +=
                "output " + output.kind + " " + output.relative + " " + std::to_string(output.size) + "\n";
    }
    return text;
}

bool BurnCache::Parse(const std::string& text, Record& record)
{
    record = Record();
    std::istringstream in(text);
    std::string line;
    if (!std::getline(in, line) || line != s_header)
        return false;
    if (!std::getline(in, line) || line.rfind("source ", 0) != 0)
        return false;
    record.source = line.substr(7);
    while (std::getline(in, line))
    {
        if (line.rfind("target ", 0) == 0)
            record.cTargets.push_back({line.substr(7), {}});
        else if (line.rfind("output ", 0) == 0 && !record.cTargets.empty())
        {
            // The kind is one word and the size the last one; the name between may hold spaces.
            const size_t kindEnd = line.find(' ', 7);
            const size_t sizeStart = line.rfind(' ');
            if (kindEnd == std::string::npos || sizeStart <= kindEnd + 1)
                return false;
            Output output;
            output.kind = line.substr(7, kindEnd - 7);
            output.relative = line.substr(kindEnd + 1, sizeStart - kindEnd - 1);
            const std::string size = line.substr(sizeStart + 1);
            if (size.empty() || size.size() > 19 || size.find_first_not_of("0123456789") != std::string::npos)
                return false;
            output.size = std::stoull(size);
            record.cTargets.back().cOutputs.push_back(std::move(output));
        }
        else
            return false;
    }
    // A target that made nothing is no target of a burn that went well.
    for (const Target& target : record.cTargets)
        if (target.cOutputs.empty())
            return false;
    return true;
}
