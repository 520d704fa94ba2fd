// Key reduction of control streams, on short streams whose survivors are worked out by hand through
// the order in which a pass visits the keys.
#include "exporter/keyreduce.h"

#include "model/anim/animstream.h"

#include <gtest/gtest.h>

#include <utility>
#include <vector>

namespace
{
using Keys = std::vector<std::pair<float, float>>;

// Values at even times from 0 to 1.
ControlStream Even(const std::vector<float>& values)
{
    ControlStream stream(uint32(values.size()));
    for (size_t k = 0; k < values.size(); ++k)
    {
        const float time = values.size() > 1 ? float(k) / float(values.size() - 1) : 0.0f;
        stream.SetTime(uint32(k), time);
        stream.SetValue(uint32(k), values[k]);
    }
    return stream;
}

Keys KeysOf(const ControlStream& stream)
{
    Keys keys;
    for (uint32 k = 0; k < stream.GetKeyCount(); ++k)
        keys.emplace_back(stream.GetKeyTime(k), stream.GetKeyValue(k));
    return keys;
}

TEST(KeyReduce, StraightLineKeepsOnlyItsEnds)
{
    ControlStream stream = Even({0.0f, 0.25f, 0.5f, 0.75f, 1.0f});
    EXPECT_EQ(3u, ReduceKeys(stream));
    EXPECT_EQ((Keys{{0.0f, 0.0f}, {1.0f, 1.0f}}), KeysOf(stream));
}

TEST(KeyReduce, BumpAndStepsSurvive)
{
    ControlStream bump = Even({0.0f, 1.0f, 0.0f});
    EXPECT_EQ(0u, ReduceKeys(bump));
    EXPECT_EQ((Keys{{0.0f, 0.0f}, {0.5f, 1.0f}, {1.0f, 0.0f}}), KeysOf(bump));

    // The flat start goes; the corner before the jump stays.
    ControlStream jump = Even({0.0f, 1.0f, 2.0f, 3.0f, 10.0f});
    EXPECT_EQ(2u, ReduceKeys(jump));
    EXPECT_EQ((Keys{{0.0f, 0.0f}, {0.75f, 3.0f}, {1.0f, 10.0f}}), KeysOf(jump));
}

TEST(KeyReduce, TwoKeysLoseTheSecondOnlyWithinTolerance)
{
    ControlStream close = Even({0.0f, 0.004f});
    EXPECT_EQ(1u, ReduceKeys(close));
    EXPECT_EQ((Keys{{0.0f, 0.0f}}), KeysOf(close));

    ControlStream below = Even({0.0f, -0.004f});
    EXPECT_EQ(1u, ReduceKeys(below));
    EXPECT_EQ(1u, below.GetKeyCount());

    ControlStream apart = Even({0.0f, 0.006f});
    EXPECT_EQ(0u, ReduceKeys(apart));
    EXPECT_EQ((Keys{{0.0f, 0.0f}, {1.0f, 0.006f}}), KeysOf(apart));
}

TEST(KeyReduce, SmallDriftEndsInTheFirstKeyAfterRepeatedPasses)
{
    // The middle key goes in the first pass; the second pass finds two keys within the tolerance.
    ControlStream stream = Even({0.0f, 0.001f, 0.002f});
    EXPECT_EQ(2u, ReduceKeys(stream));
    EXPECT_EQ((Keys{{0.0f, 0.0f}}), KeysOf(stream));
}

TEST(KeyReduce, FiveKeysFollowThePassOrder)
{
    // Pass 1: key 0.25 lies on the line 0..0 and goes; then 0.75 (0.003 against 0.006 of the line
    // from 0.5 to 1) goes. Pass 2: 0.5 is 0.006 off the line from 0 to 0.012 and stays.
    ControlStream stream = Even({0.0f, 0.0f, 0.0f, 0.003f, 0.012f});
    EXPECT_EQ(2u, ReduceKeys(stream));
    EXPECT_EQ((Keys{{0.0f, 0.0f}, {0.5f, 0.0f}, {1.0f, 0.012f}}), KeysOf(stream));
}

TEST(KeyReduce, KeyPutBackSkipsItsRightNeighbour)
{
    // Keys 0.25 and 0.75 are put back, each skipping the key after it, so the key at 0.5 is never
    // tried although it lies within 0.002 of the line between its neighbours.
    ControlStream stream = Even({0.0f, 0.0f, 0.012f, 0.02f, 0.0f});
    EXPECT_EQ(0u, ReduceKeys(stream));
    EXPECT_EQ(5u, stream.GetKeyCount());
}

TEST(KeyReduce, UnevenTimesInterpolateByTime)
{
    ControlStream stream(3);
    stream.SetTime(0, 0.0f);
    stream.SetValue(0, 0.0f);
    stream.SetTime(1, 0.1f);
    stream.SetValue(1, 0.1f);
    stream.SetTime(2, 1.0f);
    stream.SetValue(2, 1.0f);
    EXPECT_EQ(1u, ReduceKeys(stream));
    EXPECT_EQ((Keys{{0.0f, 0.0f}, {1.0f, 1.0f}}), KeysOf(stream));

    // The same values at even times are off the line by 0.4.
    ControlStream even = Even({0.0f, 0.1f, 1.0f});
    EXPECT_EQ(0u, ReduceKeys(even));
}

TEST(KeyReduce, EmptyAndSingleKeyStreamsStayAsTheyAre)
{
    ControlStream empty;
    EXPECT_EQ(0u, ReduceKeys(empty));
    EXPECT_TRUE(empty.IsEmpty());

    ControlStream single = Even({0.7f});
    EXPECT_EQ(0u, ReduceKeys(single));
    EXPECT_EQ((Keys{{0.0f, 0.7f}}), KeysOf(single));
}
} // namespace
