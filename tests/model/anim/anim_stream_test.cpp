// Key streams: evaluation against values worked out by hand (loop wrap, clamping, single keys,
// spherical interpolation), hints against fresh searches, insertion by time and the raw key bytes.
#include "model/anim/animstream.h"

#include "model/anim/anim_test_util.h"
#include "support/logcapture.h"

#include "foundation/debug.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <optional>
#include <vector>

using anim_test::ExpectQuat;
using anim_test::ExpectVec;

namespace
{
// Keys at 0, 0.5 and 1: (0,0,0), (10,20,30), (20,0,-10).
BonePositionStream ThreeKeys()
{
    BonePositionStream stream(3);
    stream.SetTime(0, 0.0f);
    stream.SetValue(0, {0, 0, 0});
    stream.SetTime(1, 0.5f);
    stream.SetValue(1, {10, 20, 30});
    stream.SetTime(2, 1.0f);
    stream.SetValue(2, {20, 0, -10});
    return stream;
}

ControlStream Controls(const std::vector<ControlKey>& cKey)
{
    ControlStream stream(uint32(cKey.size()));
    for (uint32 i = 0; i < cKey.size(); ++i)
    {
        stream.SetTime(i, cKey[i].time);
        stream.SetValue(i, cKey[i].value);
    }
    return stream;
}

const ra::Quat kIdentity(0, 0, 0, 1);
// 90 degrees about z.
const ra::Quat kQuarterZ(0, 0, 0.70710677f, 0.70710677f);
} // namespace

// Keys at 0, 0.5 and 1: (0,0,0), (10,20,30), (20,0,-10); the value at t and the hint after it.
TEST(AnimStreamEvaluate, PositionsByTimeLoopAndHint)
{
    const struct
    {
        const char* what;
        float t;
        bool loop;
        int16 hintIn;
        ra::Vec3 want;
        int16 hintOut; // -1: not pinned
    } cases[] = {
        {"linear between keys", 0.25f, false, 0, {5, 10, 15}, 0},
        {"linear between later keys", 0.75f, false, 0, {15, 10, 10}, 1},
        {"on a key, its value", 0.5f, false, 0, {10, 20, 30}, -1},
        {"the last key", 1.0f, false, 0, {20, 0, -10}, -1},
        {"loop wraps past the end", 2.25f, true, 0, {5, 10, 15}, 0},
        {"loop wraps once", 1.75f, true, 0, {15, 10, 10}, -1},
        {"loop plays the end at one", 1.0f, true, 0, {20, 0, -10}, -1},
        {"a whole number of lengths lands on the start", 3.0f, true, 0, {0, 0, 0}, -1},
        {"a wrap goes back to the first key from a hint at the end", 1.25f, true, 2, {5, 10, 15}, 0},
        {"without loop a late time is clamped", 2.25f, false, 0, {20, 0, -10}, 2},
        {"a hint beyond t is not moved back without loop", 0.25f, false, 2, {20, 0, -10}, 2},
        {"with loop a time before the hint's key searches again", 0.25f, true, 2, {5, 10, 15}, 0},
        {"negative times count as 0", -1.0f, false, 0, {0, 0, 0}, -1},
    };
    const BonePositionStream stream = ThreeKeys();
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.what);
        int16 hint = c.hintIn;
        ExpectVec(c.want, stream.Evaluate(c.t, c.loop, hint));
        if (c.hintOut >= 0)
        {
            EXPECT_EQ(c.hintOut, hint);
        }
    }
}

TEST(AnimStreamEvaluate, ControlEdgeCases)
{
    const struct
    {
        const char* what;
        std::vector<ControlKey> keys;
        float t;
        bool loop;
        int16 hintIn;
        float want;
        int16 hintOut;
    } cases[] = {
        {"one key before the range", {{0.3f, 7.5f}}, -2.0f, false, 9, 7.5f, 0},
        {"one key, looping", {{0.3f, 7.5f}}, 0.9f, true, 9, 7.5f, 0},
        {"one key at its time", {{0.3f, 7.5f}}, 0.3f, false, 9, 7.5f, 0},
        {"one key past the end", {{0.3f, 7.5f}}, 5.5f, false, 9, 7.5f, 0},
        {"one key past the end, looping", {{0.3f, 7.5f}}, 5.5f, true, 9, 7.5f, 0},
        // A pair of equal times gives its first key, not NaN.
        {"equal times from the pair", {{0, 0}, {0.5f, 1}, {0.5f, 3}, {1, 5}}, 0.5f, false, 1, 1.0f, 1},
        {"equal times from the start", {{0, 0}, {0.5f, 1}, {0.5f, 3}, {1, 5}}, 0.5f, false, 0, 1.0f, 0},
        {"past the zero-length pair", {{0, 0}, {0.5f, 1}, {0.5f, 3}, {1, 5}}, 0.75f, false, 1, 4.0f, 2},
        {"before the first key falls through to the last", {{0.25f, 1}, {1, 2}}, 0.1f, false, 0, 2.0f, 1},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.what);
        // A single key is no fault: no assertion may fire.
        std::optional<dbg::ScopedThrowOnAssert> throwOnAssert;
        if (c.keys.size() == 1)
            throwOnAssert.emplace();
        const ControlStream stream = Controls(c.keys);
        int16 hint = c.hintIn;
        const float value = stream.Evaluate(c.t, c.loop, hint);
        EXPECT_FALSE(std::isnan(value));
        EXPECT_FLOAT_EQ(c.want, value);
        EXPECT_EQ(c.hintOut, hint);
    }
}

TEST(AnimStreamEvaluate, RotationsSlerpTheShortWayAndNormalise)
{
    BoneRotationStream stream(2);
    stream.SetTime(0, 0.0f);
    stream.SetValue(0, kIdentity);
    stream.SetTime(1, 1.0f);
    stream.SetValue(1, kQuarterZ);
    int16 hint = 0;
    // 45 and 22.5 degrees about z.
    ExpectQuat({0, 0, 0.38268343f, 0.92387953f}, stream.Evaluate(0.5f, false, hint));
    ExpectQuat({0, 0, 0.19509032f, 0.98078528f}, stream.Evaluate(0.25f, false, hint));

    // The same rotation stored with the opposite sign blends to the same result.
    stream.SetValue(1, -kQuarterZ);
    ExpectQuat({0, 0, 0.38268343f, 0.92387953f}, stream.Evaluate(0.5f, false, hint));
    ExpectQuat({0, 0, 0.19509032f, 0.98078528f}, stream.Evaluate(0.25f, false, hint));

    // A first key of the opposite sign: weights flip, the result is the short way from it.
    stream.SetValue(0, -kIdentity);
    stream.SetValue(1, kQuarterZ);
    ExpectQuat({0, 0, -0.38268343f, -0.92387953f}, stream.Evaluate(0.5f, false, hint));
}

TEST(AnimStreamEvaluate, HintsGiveTheSameValuesAsFreshSearches)
{
    // Uneven key times and values from a small generator.
    uint32 seed = 12345;
    auto next = [&seed]()
    {
        seed = seed * 1664525u + 1013904223u;
        return float(seed >> 8) / float(1u << 24);
    };
    const uint32 keyCount = 40;
    BonePositionStream positions(keyCount);
    BoneRotationStream rotations(keyCount);
    float time = 0.0f;
    for (uint32 i = 0; i < keyCount; ++i)
    {
        positions.SetTime(i, time);
        rotations.SetTime(i, time);
        positions.SetValue(i, {next() * 10, next() * 10, next() * 10});
        rotations.SetValue(i,
                           ra::QuatFromAxisAngle(ra::Normalize({next(), next(), next() + 0.1f}), next() * 6));
        time = (i + 2 == keyCount) ? 1.0f : time + (0.2f + next()) / (keyCount * 1.5f);
    }

    // A forward sweep, looping and past the end several times, with hints kept.
    int16 positionHint = 0;
    int16 rotationHint = 0;
    for (int step = -100; step < 3500; ++step)
    {
        const float t = step * 0.001f;
        for (bool loop : {true, false})
        {
            if (!loop && (t > 1.0f))
                continue;
            int16 fresh = 0;
            const ra::Vec3 expected = positions.Evaluate(t, loop, fresh);
            fresh = 0;
            const ra::Quat expectedRotation = rotations.Evaluate(t, loop, fresh);
            ASSERT_EQ(expected, positions.Evaluate(t, loop, positionHint)) << "t = " << t;
            ASSERT_EQ(expectedRotation, rotations.Evaluate(t, loop, rotationHint)) << "t = " << t;
        }
    }
}

TEST(AnimStreamKeys, InsertStopsAtTheKeyLimitWithALogLine)
{
    ControlStream stream(ControlStream::MaxKeyCount);
    for (uint32 i = 0; i < stream.GetKeyCount(); ++i)
        stream.SetTime(i, float(i) / float(ControlStream::MaxKeyCount));
    LogCapture log;
    EXPECT_FALSE(stream.Insert(2.0f, 1.0f));
    EXPECT_EQ(ControlStream::MaxKeyCount, stream.GetKeyCount());
    const LogCapture::Line* pLine =
        log.FindLine("Animation has exceeded 65535 key frames. Failing addition.");
    ASSERT_NE(nullptr, pLine);
    EXPECT_EQ(FourCC("ANIM"), pLine->channel);
    // A key of a time already there still takes its new value.
    EXPECT_TRUE(stream.Insert(0.0f, 4.0f));
    EXPECT_FLOAT_EQ(4.0f, stream.GetKeyValue(0));
}
