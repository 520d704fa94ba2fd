// What the animation tests share: near comparisons of vectors and quaternions, two-key control
// streams, and the text of the assertion that a call trips.
#pragma once

#include "model/anim/anim.h"
#include "model/anim/animstream.h"
#include "model/shader/shader_test_env.h"

#include "foundation/debug.h"

#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>

namespace anim_test
{
inline void ExpectVec(const ra::Vec3& expected, const ra::Vec3& actual, float tolerance = 1e-5f)
{
    EXPECT_NEAR(expected.x, actual.x, tolerance);
    EXPECT_NEAR(expected.y, actual.y, tolerance);
    EXPECT_NEAR(expected.z, actual.z, tolerance);
}

inline void ExpectQuat(const ra::Quat& expected, const ra::Quat& actual, float tolerance = 1e-5f)
{
    EXPECT_NEAR(expected.x, actual.x, tolerance);
    EXPECT_NEAR(expected.y, actual.y, tolerance);
    EXPECT_NEAR(expected.z, actual.z, tolerance);
    EXPECT_NEAR(expected.w, actual.w, tolerance);
}

// What a control stream drives: target, channel, parameter and the target's place in the group.
inline ControlInfo Control(int32 targetType, int32 channel = 0, int32 parameter = 0, int32 index = -1)
{
    ControlInfo info;
    info.targetType = targetType;
    info.m_index = index;
    info.channel = channel;
    info.parameter = parameter;
    return info;
}

// Values v0 at time 0 and v1 at time 1.
inline std::unique_ptr<ControlStream> Keys(float v0, float v1)
{
    auto pStream = std::make_unique<ControlStream>(2);
    pStream->SetTime(0, 0.0f);
    pStream->SetValue(0, v0);
    pStream->SetTime(1, 1.0f);
    pStream->SetValue(1, v1);
    return pStream;
}

using model_test::AssertionText;
} // namespace anim_test
