// VertexWeight as the exporter fills it: Add keeps influences by falling weight and merges a held
// bone in its place; Store scales the first three weights to a sum of 1 beside the four bone bytes.
#include "model/vertexweight.h"

#include "foundation/debug.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace
{
struct Stored
{
    float weight[3] = {-1, -1, -1};
    uint8 bone[4] = {0xCD, 0xCD, 0xCD, 0xCD};
};

Stored Store(const VertexWeight& w)
{
    Stored out;
    w.Store(out.weight, out.bone);
    return out;
}

void ExpectPlaces(const VertexWeight& w, std::initializer_list<std::pair<uint8, float>> places)
{
    uint32 i = 0;
    for (const auto& [bone, weight] : places)
    {
        EXPECT_EQ(w.index[i], bone) << "place " << i;
        EXPECT_EQ(w.weight[i], weight) << "place " << i;
        ++i;
    }
}
} // namespace

TEST(VertexWeightExportAdd, PlacesByFallingWeightAndLosesTheFourthWhenFull)
{
    VertexWeight w;
    w.Clear();
    w.Add(4, 0.2f);
    w.Add(2, 0.4f);
    w.Add(6, 0.1f);
    ExpectPlaces(w, {{2, 0.4f}, {4, 0.2f}, {6, 0.1f}, {0xFF, 0.0f}});

    w.Add(8, 0.15f);
    ExpectPlaces(w, {{2, 0.4f}, {4, 0.2f}, {8, 0.15f}, {6, 0.1f}});

    // A fifth that beats the third pushes the weakest out.
    w.Add(1, 0.3f);
    ExpectPlaces(w, {{2, 0.4f}, {1, 0.3f}, {4, 0.2f}, {8, 0.15f}});

    // Equal to the weakest is not smaller than it: dropped.
    w.Add(9, 0.15f);
    ExpectPlaces(w, {{2, 0.4f}, {1, 0.3f}, {4, 0.2f}, {8, 0.15f}});
}

TEST(VertexWeightExportAdd, HeldBoneGainsInPlaceAndTheOrderMayStopFalling)
{
    VertexWeight w;
    w.Add(3, 0.5f);
    w.Add(7, 0.25f);
    w.Add(7, 0.5f);
    ExpectPlaces(w, {{3, 0.5f}, {7, 0.75f}, {0xFF, 0.0f}});

    // Later influences still look for the first smaller weight from the top.
    w.Add(5, 0.6f);
    ExpectPlaces(w, {{5, 0.6f}, {3, 0.5f}, {7, 0.75f}, {0xFF, 0.0f}});
}

TEST(VertexWeightExportAdd, WeightOutsideZeroToOneIsAnAssertionAndNotAdded)
{
    {
        dbg::ScopedThrowOnAssert throwing;
        VertexWeight w;
        EXPECT_THROW(w.Add(1, 1.5f), std::runtime_error);
        EXPECT_THROW(w.Add(1, -0.25f), std::runtime_error);
    }
    dbg::ScopedThrowOnAssert quiet(false);
    VertexWeight w;
    w.Add(1, 1.5f);
    w.Add(2, -0.25f);
    ExpectPlaces(w, {{0xFF, 0.0f}, {0xFF, 0.0f}, {0xFF, 0.0f}, {0xFF, 0.0f}});
    // The bounds themselves are weights.
    w.Add(1, 1.0f);
    w.Add(2, 0.0f);
    EXPECT_EQ(w.index[0], 1);
    EXPECT_EQ(w.weight[0], 1.0f);
}

TEST(VertexWeightExportStore, ScalesToASumOfOneAndDropsTheFourthWeight)
{
    VertexWeight w;
    w.Add(10, 0.25f);
    w.Add(11, 0.25f);
    Stored s = Store(w);
    EXPECT_EQ(s.weight[0], 0.5f);
    EXPECT_EQ(s.weight[1], 0.5f);
    EXPECT_EQ(s.weight[2], 0.0f);
    EXPECT_EQ(s.bone[0], 10);
    EXPECT_EQ(s.bone[1], 11);
    EXPECT_EQ(s.bone[2], 0xFF);
    EXPECT_EQ(s.bone[3], 0xFF);

    VertexWeight full;
    full.Add(0, 0.4f);
    full.Add(1, 0.3f);
    full.Add(2, 0.2f);
    full.Add(3, 0.1f);
    s = Store(full);
    const float sum = 0.4f + 0.3f + 0.2f + 0.1f;
    EXPECT_FLOAT_EQ(s.weight[0], 0.4f / sum);
    EXPECT_FLOAT_EQ(s.weight[1], 0.3f / sum);
    EXPECT_FLOAT_EQ(s.weight[2], 0.2f / sum);
    EXPECT_EQ(s.bone[3], 3);
}

TEST(VertexWeightExportStore, NoWeightGivesZerosWithoutDividing)
{
    VertexWeight w;
    Stored s = Store(w);
    for (float f : s.weight)
        EXPECT_EQ(f, 0.0f);
    for (uint8 b : s.bone)
        EXPECT_EQ(b, 0xFF);
}

TEST(VertexWeightExportStore, SumOfAtLeastOnePointZeroZeroOneIsAnAssertion)
{
    VertexWeight w;
    w.Add(0, 1.0f);
    w.Add(0, 0.0005f);
    {
        // Just over 1, under the limit: stored without a report.
        dbg::ScopedThrowOnAssert throwing;
        EXPECT_NO_THROW(Store(w));
    }
    w.Add(0, 0.001f);
    dbg::ScopedThrowOnAssert throwing;
    EXPECT_THROW(Store(w), std::runtime_error);
}
