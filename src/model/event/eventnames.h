// The fixed parameter names that events understand, by index: the sink asks for them by key, so
// that a look-up compares numbers.
#pragma once

#include "names/name.h"

namespace ra
{
class EventNames
{
public:
    enum ParamIndex
    {
        FOOTFALL_FX = 0,
        FOOTFALL_FX_OTHER,
        FOOTFALL_FX_TRANSFORM,
        FOOTFALL_FX_MOTION_ALIGN,
        FOOTFALL_FX_MOTION_ORPHAN,
        FX,
        FX_LENGTH,
        FX_OTHER,
        FX_OTHER_MARKER,
        FX_SCALE,
        FX_TRANSFORM,
        FX_ORPHAN,
        FX_MOTION_ORPHAN,
        FX_TARGET_GROUP_NAME,
        FX_WEATHER,
        MARKER,
        SOUND,
        SOUND_ORPHAN,
        SOUND_MOTION_CUTOFF,
        SOUND_PERCENT,
        DECAL,
        DECAL_USE_TARGET,
        DECAL_TEXEL_SIZE,
        DECAL_TEXEL_SIZE_DELTA,
        DECAL_ROTATION,
        DECAL_RANDOM_ROTATION,
        DECAL_LIFETIME,
        DECAL_FADE_IN,
        DECAL_FADE_OUT,
        DECAL_OFFSET,
        DECAL_OFFSET_RANDOM,
        DECAL_SCALE_IN,
        DECAL_SCALE_OUT,
        DECAL_START_DELAY,
        CAM_SHAKE_DURATION,
        CAM_SHAKE_TARGET,
        CAM_SHAKE_INTENSITY,
        CAM_SHAKE_RADIUS,
        CAM_SHAKE_FALLOFF,
        ATTACH_OUR_MARKER,
        ATTACH_TO_TARGET_MARKER,
        ATTACH_KEEP_VERTICAL_ORIENTATION,
        ATTACH_TARGET_FACE_OUR_CENTER,
        ATTACH_SMOOTH,
        DETACH_FROM_TARGET,
        DETACH_MARKER_TRANSFORM,
        DETACH_VELOCITY,
        ENTITY_SINK_INTO_GROUND,
        ENTITY_FADE_OUT,
        PHYSICS_RECOIL,
        PHYSICS_IMPACT,
        DETAIL_LEVEL,
        SPAWN_OUTSIDE_CAMERA_VIEW,
        SPAWN_RADIUS,
        PARAM_COUNT,
    };

    // The text of a parameter name; an index out of range is an assertion and gives "".
    static const char* GetParamName(int index);
    // Its name key, from a table made on first use; ra::Name::INVALID out of range.
    static ra::Name GetParamKey(int index);
};
} // namespace ra
