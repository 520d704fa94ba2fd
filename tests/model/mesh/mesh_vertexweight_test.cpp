// VertexWeight: keeping the four strongest influences (the library's AddWeight and the exporter's
// Add), rejecting weak ones and merging slots, and the packed and stored forms of the weights.
#include "model/mesh/vertexweight.h"

#include "foundation/debug.h"
#include "support/logcapture.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <tuple>
#include <vector>

namespace
{
using Places = std::vector<std::pair<uint8, float>>;
constexpr uint8 kFree = VertexWeight::NoBone;

VertexWeight Record(const Places& entries)
{
    VertexWeight w;
    for (size_t i = 0; i < entries.size(); ++i)
        std::tie(w.index[i], w.weight[i]) = entries[i];
    return w;
}

// The four places as (slot, weight).
Places PlacesOf(const VertexWeight& w)
{
    Places c;
    for (int i = 0; i < 4; ++i)
        c.push_back({w.index[i], w.weight[i]});
    return c;
}

struct Packed
{
    float weight[3];
    uint8 index[4];
};
static_assert(sizeof(Packed) == VertexWeight::PackedSize);

Packed Pack(const VertexWeight& w)
{
    uint8 bytes[VertexWeight::PackedSize];
    std::memset(bytes, 0xCD, sizeof(bytes));
    w.Pack(bytes);
    Packed p;
    std::memcpy(&p, bytes, sizeof(p));
    return p;
}

Packed Store(const VertexWeight& w)
{
    Packed p{{-1, -1, -1}, {0xCD, 0xCD, 0xCD, 0xCD}};
    w.Store(p.weight, p.index);
    return p;
}
} // namespace

TEST(VertexWeight, AddingKeepsTheStrongestAndMergesHeldSlots)
{
    struct Case
    {
        const char* what;
        bool exporter; // Add instead of AddWeight
        Places added;
        Places want;
    } const cases[] = {
        {"four strongest, by falling weight",
         false,
         {{7, 0.04f}, {3, 0.3f}, {9, 0.01f}, {1, 0.5f}, {5, 0.15f}},
         {{1, 0.5f}, {3, 0.3f}, {5, 0.15f}, {7, 0.04f}}},
        {"weaker than all four is dropped, an equal one too",
         false,
         {{0, 0.2f}, {1, 0.2f}, {2, 0.2f}, {3, 0.2f}, {8, 0.1f}, {9, 0.2f}},
         {{0, 0.2f}, {1, 0.2f}, {2, 0.2f}, {3, 0.2f}}},
        {"a held slot gains and moves up",
         false,
         {{4, 0.25f}, {2, 0.5f}, {4, 0.125f}},
         {{2, 0.5f}, {4, 0.375f}, {kFree, 0}, {kFree, 0}}},
        {"the exporter's held bone gains in its place",
         true,
         {{3, 0.5f}, {7, 0.25f}, {7, 0.5f}},
         {{3, 0.5f}, {7, 0.75f}, {kFree, 0}, {kFree, 0}}},
        {"and a later one looks for the first smaller weight from the top",
         true,
         {{3, 0.5f}, {7, 0.25f}, {7, 0.5f}, {5, 0.6f}},
         {{5, 0.6f}, {3, 0.5f}, {7, 0.75f}, {kFree, 0}}},
    };
    for (const Case& c : cases)
    {
        VertexWeight w;
        w.Clear();
        for (const auto& [slot, weight] : c.added)
            c.exporter ? w.Add(slot, weight) : w.AddWeight(slot, weight);
        EXPECT_EQ(PlacesOf(w), c.want) << c.what;
    }
}

TEST(VertexWeight, NormalizeRejectsWeakWeightsMergesSlotsAndOrdersBySlot)
{
    struct Case
    {
        Places record;
        Places want;
        const char* rejected; // the one line logged, or null
    } const cases[] = {
        // Only weights above zero are logged; weights are not rescaled; free slots go last.
        {{{4, 0.6f}, {2, 0.3f}, {6, 0.002f}, {1, 0.0f}},
         {{2, 0.3f}, {4, 0.6f}, {kFree, 0}, {kFree, 0}},
         "Rejecting bone weight for strength 0.002000"},
        {{{3, 0.9f}, {8, 0.003f}}, {{3, 0.9f}, {8, 0.003f}, {kFree, 0}, {kFree, 0}}, nullptr},
        {{{3, 0.4f}, {1, 0.3f}, {3, 0.2f}, {7, 0.1f}},
         {{1, 0.3f}, {3, 0.6f}, {7, 0.1f}, {kFree, 0}},
         nullptr},
    };
    for (const Case& c : cases)
    {
        LogCapture log;
        VertexWeight w = Record(c.record);
        w.Normalize();
        const Places got = PlacesOf(w);
        for (size_t i = 0; i < 4; ++i)
        {
            EXPECT_EQ(got[i].first, c.want[i].first) << i;
            EXPECT_FLOAT_EQ(got[i].second, c.want[i].second) << i;
        }
        EXPECT_EQ(log.Count("Rejecting bone weight"), c.rejected ? 1 : 0);
        if (c.rejected)
        {
            EXPECT_TRUE(log.Has(c.rejected));
        }
    }
}

TEST(VertexWeight, PackAndStoreScaleThreeWeightsToSumOneBesideFourSlots)
{
    struct Case
    {
        Places record;
        Packed want; // the same from Pack and Store
    } const cases[] = {
        {{{2, 0.5f}, {5, 0.25f}, {9, 0.25f}, {kFree, 0}}, {{0.5f, 0.25f, 0.25f}, {2, 5, 9, kFree}}},
        // What remains after a rejection: the sum is 0.8; the fourth weight is left out.
        {{{1, 0.4f}, {2, 0.2f}, {3, 0.1f}, {4, 0.1f}}, {{0.5f, 0.25f, 0.125f}, {1, 2, 3, 4}}},
        {{{10, 0.25f}, {11, 0.25f}, {kFree, 0}, {kFree, 0}}, {{0.5f, 0.5f, 0}, {10, 11, kFree, kFree}}},
        // No weight at all: zeros, not -0 or NaN from a division.
        {{{kFree, 0}, {kFree, 0}, {kFree, 0}, {kFree, 0}}, {{0, 0, 0}, {kFree, kFree, kFree, kFree}}},
    };
    for (const Case& c : cases)
        for (const Packed& got : {Pack(Record(c.record)), Store(Record(c.record))})
        {
            for (int i = 0; i < 3; ++i)
            {
                EXPECT_FLOAT_EQ(got.weight[i], c.want.weight[i]) << i;
                EXPECT_FALSE(std::signbit(got.weight[i])) << i;
            }
            EXPECT_EQ(std::memcmp(got.index, c.want.index, 4), 0) << int(got.index[0]) << int(got.index[3]);
        }
    // The bytes themselves: 0.5f = 0x3F000000, 0.25f = 0x3E800000, little endian.
    uint8 bytes[VertexWeight::PackedSize];
    Record({{2, 0.5f}, {5, 0.25f}, {9, 0.25f}, {kFree, 0}}).Pack(bytes);
    const uint8 expected[VertexWeight::PackedSize] = {0x00, 0x00, 0x00, 0x3F, 0x00, 0x00, 0x80, 0x3E,
                                                      0x00, 0x00, 0x80, 0x3E, 0x02, 0x05, 0x09, 0xFF};
    EXPECT_EQ(std::memcmp(bytes, expected, sizeof(bytes)), 0);
}
