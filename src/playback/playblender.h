// PlayBlender: poses one model instance from its play list. Bone, camera and control streams of
// every playing state are mixed against the model's reference pose into an AnimPose: model-space
// bone matrices, posed cameras, shader values and mesh visibility.
#pragma once

#include "foundation/types.h"
#include "math/matrix.h"

class AnimPose;
class PlayList;
class RenderModel;

class PlayBlender
{
public:
    // The model must have its reference pose built; the list is not owned.
    PlayBlender(const RenderModel& renderModel, PlayList* pPlayList);

    // Poses the model. The oldest playing state takes full effect; newer ones add their
    // difference from the reference, scaled by the weight the older ones left; a state fading out
    // is mixed into the state that follows it. Returns whether any mesh is visible.
    bool BuildPose(AnimPose& pose);

    // Whether a state of non-zero weight plays an animated stream on this bone.
    bool IsBoneAnimated(int boneIndex) const;

    // The box of the instance under `world`: the animations' boxes of the playing states (taken
    // again when the list has changed), or the mesh group's box without plays; scaled by the root
    // scale first.
    void GetBV(ra::BoundVolume& outBox, const ra::Matrix34& world);

    // A scale on all axes applied at the root bones, and to the box.
    void SetScale(float scale) { m_scale = scale; }
    float GetScale() const { return m_scale; }

    bool GetBoneChanged() const { return m_bBoneChanged; }
    bool GetShaderChanged() const { return m_bShaderChanged; }
    bool GetAnyMeshVisible() const { return m_bAnyMeshVisible; }

private:
    void buildBones(AnimPose& pose, const AnimPose& refPose);
    ra::Matrix34 buildBone(int boneIndex);
    void buildCameras(AnimPose& pose);
    void buildCamera(int cameraIndex, AnimPose& pose);
    void buildControls(AnimPose& pose);

    const RenderModel& m_RenderModel;
    PlayList* m_pPlayList;
    const AnimPose* m_pRefPose;
    bool m_bBoneChanged = false;
    bool m_bShaderChanged = false;
    bool m_bAnyMeshVisible = false;
    float m_scale = 1.0f;
    ra::Vec3 m_boundsMin;
    ra::Vec3 m_boundsMax;
};
