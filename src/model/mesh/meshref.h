// ra::MeshRef: one mesh as a model uses it: the shared mesh, the name under which the model knows
// it, the file it came from, and how it follows the skeleton.
#pragma once

#include "foundation/types.h"
#include "inventory/inventory.h"
#include "model/mesh/mesh.h"
#include "names/name.h"

#include <utility>
#include <vector>

namespace ra
{
struct MeshRef
{
    Inv::Reference<Mesh> mesh;
    // The name of this instance in the model; never Name::INVALID once set.
    Name name;
    // The model file that supplied the mesh; Name::INVALID for a mesh held in this model.
    Name xrefName;
    // The bone a rigid mesh follows; -1 when it follows none.
    int32 boneIndex = -1;
    // Per skinned transform of the mesh: (slot, bone index in the skeleton).
    std::vector<std::pair<int32, int32>> skinnedTransforms;

    bool IsValid() const { return mesh.IsValid(); }
};
} // namespace ra
