#include "model/event/eventnames.h"

#include "foundation/debug.h"

#include <array>

namespace ra
{
namespace
{
const char* const s_paramNames[EventNames::PARAM_COUNT] = {
    "footfall_fx",
    "footfall_fx_other",
    "footfall_fx_transform",
    "footfall_fx_motion_align",
    "footfall_fx_motion_orphan",
    "fx",
    "fx_length",
    "fx_other",
    "fx_other_marker",
    "fx_scale",
    "fx_transform",
    "fx_orphan",
    "fx_motion_orphan",
    "fx_target_group_name",
    "fx_weather",
    "marker",
    "sound",
    "sound_orphan",
    "sound_motion_cutoff",
    "sound_percent",
    "decal",
    "decal_use_target",
    "decal_texel_size",
    "decal_texel_size_delta",
    "decal_rotation",
    "decal_random_rotation",
    "decal_lifetime",
    "decal_fade_in",
    "decal_fade_out",
    "decal_offset",
    "decal_offset_random",
    "decal_scale_in",
    "decal_scale_out",
    "decal_start_delay",
    "cam_shake_duration",
    "cam_shake_target",
    "cam_shake_intensity",
    "cam_shake_radius",
    "cam_shake_falloff",
    "attach_our_marker",
    "attach_to_target_marker",
    "attach_keep_vertical_orientation",
    "attach_target_face_our_center",
    "attach_smooth",
    "detach_from_target",
    "detach_marker_transform",
    "detach_velocity",
    "entity_sink_into_ground",
    "entity_fade_out",
    "physics_recoil",
    "physics_impact",
    "detail_level",
    "spawn_outside_camera_view",
    "spawn_radius",
};
} // namespace

const char* EventNames::GetParamName(int index)
{
    if (index < 0 || index >= PARAM_COUNT)
    {
        dbBreak();
        return "";
    }
    return s_paramNames[index];
}

ra::Name EventNames::GetParamKey(int index)
{
    static const std::array<ra::Name, PARAM_COUNT> s_keys = []
    {
        std::array<ra::Name, PARAM_COUNT> keys;
        for (int i = 0; i < PARAM_COUNT; ++i)
            keys[i] = ra::MakeName(s_paramNames[i]);
        return keys;
    }();
    if (index < 0 || index >= PARAM_COUNT)
    {
        dbBreak();
        return ra::Name::INVALID;
    }
    return s_keys[index];
}
} // namespace ra
