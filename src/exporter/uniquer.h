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

// A hash of raw bytes, eight at a time.
inline size_t UniquerHash(const void* pData, size_t size)
{
    const auto* p = static_cast<const uint8*>(pData);
    uint64 h = 0x9E3779B97F4A7C15ull;
    for (size_t i = 0; i < size; i += 8)
    {
        uint64 word = 0;
        std::memcpy(&word, p + i, std::min<size_t>(8, size - i));
        h = (h ^ word) * 0xFF51AFD7ED558CCDull;
        h ^= h >> 32;
    }
    return size_t(h);
}

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

    // The distinct values are found first, by a hash of their bytes, and only they are sorted: the
    // same result as sorting the whole list, since equal values go to one place whatever their
    // order, in time nearly linear in the list (most lists weld to a fraction of their length).
    const size_t count = cArray.size();
    size_t capacity = 16;
    while (capacity < count * 2)
        capacity *= 2;
    constexpr uint32 Empty = std::numeric_limits<uint32>::max();
    std::vector<uint32> cTable(capacity, Empty);
    std::vector<uint32> cFirst; // per distinct value, the index of its first appearance
    cRemap.resize(count);
    for (size_t i = 0; i < count; ++i)
    {
        size_t slot = UniquerHash(&cArray[i], sizeof(T)) & (capacity - 1);
        while (cTable[slot] != Empty &&
               std::memcmp(&cArray[cFirst[cTable[slot]]], &cArray[i], sizeof(T)) != 0)
            slot = (slot + 1) & (capacity - 1);
        if (cTable[slot] == Empty)
        {
            cTable[slot] = uint32(cFirst.size());
            cFirst.push_back(uint32(i));
        }
        cRemap[i] = cTable[slot];
    }

    std::vector<uint32> cOrder(cFirst.size());
    for (size_t d = 0; d < cOrder.size(); ++d)
        cOrder[d] = uint32(d);
    std::sort(cOrder.begin(), cOrder.end(),
              [&](uint32 a, uint32 b)
              { return std::memcmp(&cArray[cFirst[a]], &cArray[cFirst[b]], sizeof(T)) < 0; });
    std::vector<uint32> cRank(cOrder.size());
    std::vector<T> cSorted;
    cSorted.reserve(cOrder.size());
    for (size_t r = 0; r < cOrder.size(); ++r)
    {
        cRank[cOrder[r]] = uint32(r);
        cSorted.push_back(cArray[cFirst[cOrder[r]]]);
    }
    for (uint32& remap : cRemap)
        remap = cRank[remap];
    cArray = std::move(cSorted);
}
