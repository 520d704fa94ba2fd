// Bone: one joint of a skeleton, with its local position and rotation relative to its parent and
// the reference pose in model space that Skeleton::BuildRefPose derives from them.
#pragma once

#include "foundation/types.h"
#include "math/matrix.h"
#include "names/name.h"

class Skeleton;

class Bone
{
public:
    static constexpr int32 InvalidIndex = -1;

    Bone() = default;

    // The name must not be ra::Name::INVALID.
    void SetName(ra::Name name);
    ra::Name GetName() const { return m_name; }
    // Position in the skeleton; reading it before the skeleton assigned it is an assertion.
    int32 GetSkeletonIndex() const;

    void SetPosition(const ra::Vec3& position) { m_position = position; }
    const ra::Vec3& GetPosition() const { return m_position; }
    void SetRotation(const ra::Quat& rotation) { m_rotation = rotation; }
    const ra::Quat& GetRotation() const { return m_rotation; }
    // The local matrix: the rotation, then the translation by the position.
    ra::Matrix34 GetLocalMatrix() const;

    // Reference pose in model space and its inverse, which takes a model-space vertex into the
    // bone's space for skinning. Skeleton::BuildRefPose fills both; the intermediate form sets
    // the world matrix directly before the local values are derived from it.
    void SetWorldMatrix(const ra::Matrix34& world);
    const ra::Matrix34& GetWorldMatrix() const { return m_world; }
    const ra::Matrix34& GetInvWorldMatrix() const { return m_invWorld; }

    // Null for a root. The parent lies in the same skeleton.
    const Bone* GetParent() const { return m_pParent; }
    // The parent's skeleton index, or InvalidIndex for a root.
    int32 GetParentIndex() const;

private:
    friend class Skeleton;

    ra::Name m_name;
    int32 m_SkeletonIndex = InvalidIndex;
    ra::Vec3 m_position;
    ra::Quat m_rotation;
    ra::Matrix34 m_world;
    ra::Matrix34 m_invWorld;
    const Bone* m_pParent = nullptr;
};
