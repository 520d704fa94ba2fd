// Uniquer: welding of a list by sorting and remapping. Values are equal only when all their bytes
// are, with no tolerance: 0.0 and -0.0 stay two values, and so do two floats a last bit apart.
#pragma once

#include "foundation/debug.h"
#include "foundation/types.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <type_traits>
#include <vector>

// Leaves cArray sorted by the raw bytes of its values (memory order, so little-endian floats do
// not come out in numeric order) and free of duplicates; cRemap[old index] is the value's new
// index. An empty list gives an empty remap.
template <class T> void Uniquer(std::vector<T>& cArray, std::vector<uint32>& cRemap)
{
    static_assert(std::is_trivially_copyable_v<T>, "values are compared as raw bytes");

    cRemap.clear();
    if (cArray.empty())
        return;
    // The remap holds 32-bit indices.
    if (cArray.size() > std::numeric_limits<uint32>::max())
    {
        dbBreakMsg("cArray.size() <= ULONG_MAX");
        return;
    }

    struct Entry
    {
        T value;
        uint32 oldIndex;
    };
    std::vector<Entry> cWork;
    cWork.reserve(cArray.size());
    for (size_t i = 0; i < cArray.size(); ++i)
        cWork.push_back({cArray[i], uint32(i)});
    std::sort(cWork.begin(), cWork.end(),
              [](const Entry& a, const Entry& b) { return std::memcmp(&a.value, &b.value, sizeof(T)) < 0; });

    cRemap.resize(cArray.size());
    cArray.clear();
    cArray.push_back(cWork.front().value);
    uint32 newIndex = 0;
    for (const Entry& entry : cWork)
    {
        if (std::memcmp(&entry.value, &cArray.back(), sizeof(T)) != 0)
        {
            cArray.push_back(entry.value);
            ++newIndex;
        }
        cRemap[entry.oldIndex] = newIndex;
    }
}
