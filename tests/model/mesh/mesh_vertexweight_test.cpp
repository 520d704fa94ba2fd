// VertexWeight: keeping the four strongest influences, rejecting weak ones, merging slots, and
// the packed bytes of the weights stream.
#include "model/mesh/vertexweight.h"

#include "foundation/debug.h"
#include "support/logcapture.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

namespace
{
VertexWeight Record(std::initializer_list<std::pair<uint8, float>> entries)
{
    VertexWeight w;
    uint32 i = 0;
    for (const auto& [slot, weight] : entries)
    {
        w.index[i] = slot;
        w.weight[i] = weight;
        ++i;
    }
    return w;
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
} // namespace

TEST(VertexWeightAdd, KeepsTheFourStrongestSortedByWeight)
{
    VertexWeight w;
    w.AddWeight(7, 0.04f);
    w.AddWeight(3, 0.3f);
    w.AddWeight(9, 0.01f);
    w.AddWeight(1, 0.5f);
    w.AddWeight(5, 0.15f);

    const uint8 slots[4] = {1, 3, 5, 7};
    const float weights[4] = {0.5f, 0.3f, 0.15f, 0.04f};
    for (int i = 0; i < 4; ++i)
    {
        EXPECT_EQ(w.index[i], slots[i]) << i;
        EXPECT_EQ(w.weight[i], weights[i]) << i;
    }
}

TEST(VertexWeightAdd, InfluenceWeakerThanAllFourIsDropped)
{
    VertexWeight w;
    for (uint8 slot = 0; slot < 4; ++slot)
        w.AddWeight(slot, 0.2f);
    w.AddWeight(8, 0.1f);
    for (int i = 0; i < 4; ++i)
        EXPECT_NE(w.index[i], 8);
    // Equal weights do not push out an earlier one either.
    w.AddWeight(9, 0.2f);
    for (int i = 0; i < 4; ++i)
        EXPECT_EQ(w.index[i], i);
}

TEST(VertexWeightAdd, SameSlotRaisesItsWeightWithoutANewEntry)
{
    VertexWeight w;
    w.AddWeight(4, 0.25f);
    w.AddWeight(2, 0.5f);
    w.AddWeight(4, 0.125f);
    EXPECT_EQ(w.index[0], 2);
    EXPECT_EQ(w.index[1], 4);
    EXPECT_EQ(w.weight[1], 0.375f);
    EXPECT_EQ(w.index[2], VertexWeight::NoBone);
    EXPECT_EQ(w.weight[2], 0.0f);
}

TEST(VertexWeightNormalize, RejectsWeakWeightsAndLogsOnlyThoseAboveZero)
{
    LogCapture log;
    VertexWeight w = Record({{4, 0.6f}, {2, 0.3f}, {6, 0.002f}, {1, 0.0f}});
    w.Normalize();
    EXPECT_EQ(log.Count("Rejecting bone weight for strength 0.002000"), 1);
    EXPECT_EQ(log.Count("Rejecting bone weight"), 1);

    // Ordered by slot now, free slots last; weights not rescaled.
    EXPECT_EQ(w.index[0], 2);
    EXPECT_EQ(w.weight[0], 0.3f);
    EXPECT_EQ(w.index[1], 4);
    EXPECT_EQ(w.weight[1], 0.6f);
    EXPECT_EQ(w.index[2], VertexWeight::NoBone);
    EXPECT_EQ(w.index[3], VertexWeight::NoBone);
    EXPECT_EQ(w.weight[2] + w.weight[3], 0.0f);
}

TEST(VertexWeightNormalize, WeightOfExactlyTheLimitStays)
{
    LogCapture log;
    VertexWeight w = Record({{3, 0.9f}, {8, 0.003f}});
    w.Normalize();
    EXPECT_FALSE(log.Has("Rejecting"));
    EXPECT_EQ(w.index[0], 3);
    EXPECT_EQ(w.index[1], 8);
    EXPECT_EQ(w.weight[1], 0.003f);
}

TEST(VertexWeightNormalize, EntriesOfTheSameSlotMerge)
{
    VertexWeight w = Record({{3, 0.4f}, {1, 0.3f}, {3, 0.2f}, {7, 0.1f}});
    w.Normalize();
    EXPECT_EQ(w.index[0], 1);
    EXPECT_EQ(w.weight[0], 0.3f);
    EXPECT_EQ(w.index[1], 3);
    EXPECT_FLOAT_EQ(w.weight[1], 0.6f);
    EXPECT_EQ(w.index[2], 7);
    EXPECT_EQ(w.weight[2], 0.1f);
    EXPECT_EQ(w.index[3], VertexWeight::NoBone);
    EXPECT_EQ(w.weight[3], 0.0f);
}

TEST(VertexWeightPack, BytesAreThreeScaledWeightsThenFourSlots)
{
    const VertexWeight w = Record({{2, 0.5f}, {5, 0.25f}, {9, 0.25f}, {VertexWeight::NoBone, 0.0f}});
    uint8 bytes[VertexWeight::PackedSize];
    w.Pack(bytes);
    // 0.5f = 0x3F000000, 0.25f = 0x3E800000, little endian.
    const uint8 expected[VertexWeight::PackedSize] = {0x00, 0x00, 0x00, 0x3F, 0x00, 0x00, 0x80, 0x3E,
                                                      0x00, 0x00, 0x80, 0x3E, 0x02, 0x05, 0x09, 0xFF};
    EXPECT_EQ(std::memcmp(bytes, expected, sizeof(bytes)), 0);
}

TEST(VertexWeightPack, WeightsAreScaledToSumOneAndTheFourthIsLeftOut)
{
    // What remains after a rejection: the sum is 0.8.
    const Packed p = Pack(Record({{1, 0.4f}, {2, 0.2f}, {3, 0.1f}, {4, 0.1f}}));
    EXPECT_FLOAT_EQ(p.weight[0], 0.5f);
    EXPECT_FLOAT_EQ(p.weight[1], 0.25f);
    EXPECT_FLOAT_EQ(p.weight[2], 0.125f);
    EXPECT_EQ(p.index[3], 4);
}

TEST(VertexWeightPack, NoWeightGivesZerosAndFreeSlots)
{
    const Packed p = Pack(VertexWeight{});
    for (float f : p.weight)
    {
        EXPECT_EQ(f, 0.0f);
        EXPECT_FALSE(std::signbit(f));
    }
    for (uint8 slot : p.index)
        EXPECT_EQ(slot, 0xFF);
}

TEST(VertexWeight, FullCycleFromInfluencesToPackedSlots)
{
    LogCapture log;
    VertexWeight w;
    w.Clear();
    w.AddWeight(12, 0.1f);
    w.AddWeight(3, 0.6f);
    w.AddWeight(12, 0.2f);
    w.AddWeight(0, 0.001f);
    w.Normalize();
    const Packed p = Pack(w);
    EXPECT_EQ(log.Count("Rejecting bone weight"), 1);
    EXPECT_EQ(p.index[0], 3);
    EXPECT_EQ(p.index[1], 12);
    EXPECT_EQ(p.index[2], 0xFF);
    EXPECT_EQ(p.index[3], 0xFF);
    EXPECT_NEAR(p.weight[0], 0.6f / 0.9f, 1e-6);
    EXPECT_NEAR(p.weight[1], 0.3f / 0.9f, 1e-6);
    EXPECT_EQ(p.weight[2], 0.0f);
}

TEST(VertexWeight, PackToleratesASlightlyHigherSumThanNormalize)
{
    dbg::ScopedThrowOnAssert throwing;
    VertexWeight w = Record({{0, 0.6f}, {1, 0.4005f}});
    EXPECT_NO_THROW(Pack(w));
    EXPECT_THROW(w.Normalize(), std::runtime_error);
    EXPECT_THROW(Pack(Record({{0, 0.6f}, {1, 0.402f}})), std::runtime_error);
}
