// Marker: a named place on a model (where effects attach, where projectiles leave), local to a
// parent bone or absolute when it has none.
#pragma once

#include "foundation/types.h"
#include "math/matrix.h"
#include "names/name.h"

struct Marker
{
    ra::Name name;
    // Local to the parent bone, or absolute when there is none.
    ra::Matrix34 transform;
    // ra::Name::INVALID for a free marker.
    ra::Name parentName;
    // The parent's bone index, resolved by RenderModel::SetSkeleton; -1 when the marker is free
    // or its parent is not in the skeleton.
    int32 parentIndex = -1;
};
