// VertexWeight as the exporter fills it: Add keeps influences by falling weight and merges a held
// bone in its place; Store scales the first three weights to a sum of 1 beside the four bone bytes.
#include "model/mesh/vertexweight.h"

#include "foundation/debug.h"

#include <gtest/gtest.h>

#include <array>
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

void ExpectStored(const Stored& s, std::array<float, 3> weight, std::array<uint8, 4> bone)
{
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(s.weight[i], weight[i]) << "weight " << i;
    for (int i = 0; i < 4; ++i)
        EXPECT_EQ(s.bone[i], bone[i]) << "bone " << i;
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

TEST(VertexWeightExportStore, ScalesToASumOfOneAndDropsTheFourthWeight)
{
    VertexWeight w;
    w.Add(10, 0.25f);
    w.Add(11, 0.25f);
    Stored s = Store(w);
    ExpectStored(s, {0.5f, 0.5f, 0}, {10, 11, 0xFF, 0xFF});

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

    // No weight at all: zeros, without a division.
    s = Store(VertexWeight());
    ExpectStored(s, {0, 0, 0}, {0xFF, 0xFF, 0xFF, 0xFF});
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
