// RenderModelCamera: a camera that a model carries (cinematics, portraits), in model space.
#pragma once

#include "math/vector.h"
#include "names/name.h"

#include <numbers>

struct RenderModelCamera
{
    ra::Name name;
    ra::Vec3 position;
    ra::Vec3 target;
    ra::Quat orientation;
    // Field of view in radians: 60 degrees by default.
    float fov = 60.0f * std::numbers::pi_v<float> / 180.0f;
    float nearClip = 0.1f;
    float farClip = 1000.0f;
};
