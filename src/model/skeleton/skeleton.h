// Skeleton: the bone hierarchy of a model, addressed by index and by name from meshes, markers
// and animation streams. Bones are ordered parents before children: nothing sorts or checks it,
// and the reference pose relies on it.
#pragma once

#include "model/skeleton/bone.h"

#include <utility>
#include <vector>

class Skeleton
{
public:
    // Sizes the bones once; each knows its index. Bones are never added afterwards.
    explicit Skeleton(uint32 boneCount);
    // Bones point at their parents inside the vector, so a skeleton is not copied.
    Skeleton(const Skeleton&) = delete;
    Skeleton& operator=(const Skeleton&) = delete;

    int32 GetBoneCount() const { return int32(m_Bones.size()); }
    // Linear search in index order; Bone::InvalidIndex when absent.
    int32 FindBone(ra::Name name) const;
    // Asserts the index; an index out of range gives bone 0 of a non-empty skeleton, and null
    // only for an empty one.
    Bone* GetBone(int32 index);
    const Bone* GetBone(int32 index) const;
    // Bone::InvalidIndex makes the bone a root.
    void SetBoneParent(int32 index, int32 parentIndex);

    // For each bone in index order: local matrix, times the parent's world matrix as it stands,
    // into the world matrix and its inverse. A parent that comes after its child gives a wrong
    // pose without a message.
    void BuildRefPose();
    // The reverse, for skeletons that arrive as world matrices: each bone's local position and
    // rotation from its world matrix and its parent's.
    void BuildLocalFromWorld();

    // The world matrices that an intermediate file gave the bones, exactly as read: the reference
    // pose built again from the local values differs from them in the last bits. Kept only so that
    // the intermediate writer can give back the bytes it read; nothing else uses them, and
    // changing the bones leaves them as they are (the writer tells whether they still belong).
    // Empty for a skeleton that came any other way.
    void SetIntermWorldMatrices(std::vector<ra::Matrix34> cWorld) { m_cIntermWorld = std::move(cWorld); }
    const std::vector<ra::Matrix34>& GetIntermWorldMatrices() const { return m_cIntermWorld; }

private:
    std::vector<Bone> m_Bones;
    std::vector<ra::Matrix34> m_cIntermWorld;
};
