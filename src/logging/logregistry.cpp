#include "logging/logregistry.h"

#include <mutex>
#include <utility>

namespace LogRegistry
{
namespace
{
std::mutex s_lock;
std::vector<std::pair<uint32, std::string>> s_cEntry;
uint32 s_nextHandle = 1;
} // namespace

uint32 Register(const char* name)
{
    std::lock_guard<std::mutex> guard(s_lock);
    const uint32 handle = s_nextHandle++;
    if (s_nextHandle == 0)
        s_nextHandle = 1;
    s_cEntry.emplace_back(handle, name ? name : "");
    return handle;
}

void Unregister(uint32 handle)
{
    if (handle == 0)
        return;
    std::lock_guard<std::mutex> guard(s_lock);
    for (auto it = s_cEntry.begin(); it != s_cEntry.end(); ++it)
    {
        if (it->first == handle)
        {
            s_cEntry.erase(it);
            return;
        }
    }
}

bool IsRegistered(const char* name)
{
    if (name == nullptr)
        return false;
    std::lock_guard<std::mutex> guard(s_lock);
    for (const auto& entry : s_cEntry)
    {
        if (entry.second == name)
            return true;
    }
    return false;
}

std::vector<std::string> Names()
{
    std::lock_guard<std::mutex> guard(s_lock);
    std::vector<std::string> out;
    out.reserve(s_cEntry.size());
    for (const auto& entry : s_cEntry)
        out.push_back(entry.second);
    return out;
}
} // namespace LogRegistry
