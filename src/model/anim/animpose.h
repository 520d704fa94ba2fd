// AnimPose: one frame of a posed model: a model-space matrix per bone, a posed camera per camera,
// the six-channel shader values per shader and a visibility per mesh. A model keeps its
// reference pose in one; the blender fills one per instance and frame.
#pragma once

#include "foundation/types.h"
#include "math/matrix.h"
#include "model/rendermodelcamera.h"

#include <array>
#include <vector>

class RenderModel;

class AnimPose
{
public:
    // Five values per shader channel: colour multiplier, U offset, V offset, U scale, V scale.
    static constexpr uint32 ValuesPerChannel = 5;
    static constexpr uint32 ChannelCount = 6;
    using ShaderValues = std::array<float, ValuesPerChannel * ChannelCount>;

    // Identity bones, default cameras, neutral shader values (multiplier 1, offsets 0, scales 1)
    // and every mesh visible.
    AnimPose(uint32 boneCount, uint32 cameraCount, uint32 shaderCount, uint32 meshCount);
    // Sized for the model: its bones (none without a skeleton), cameras, and the shaders and
    // meshes of its mesh group.
    explicit AnimPose(const RenderModel& model);

    int32 GetBoneCount() const { return int32(m_boneMatrices.size()); }
    void SetBoneMatrix(int32 index, const ra::Matrix34& matrix);
    // Identity for a bad index (an assertion).
    const ra::Matrix34& GetBoneMatrix(int32 index) const;
    // A matrix the caller sets by hand for this frame: the blender leaves it once and clears the
    // mark.
    void SetBoneMatrixByHand(int32 index, const ra::Matrix34& matrix);
    bool IsBoneSetByHand(int32 index) const;
    void ClearBoneSetByHand(int32 index);

    int32 GetCameraCount() const { return int32(m_cameras.size()); }
    void SetCamera(int32 index, const RenderModelCamera& camera);
    const RenderModelCamera& GetCamera(int32 index) const;

    int32 GetShaderCount() const { return int32(m_shaderValues.size()); }
    void SetShaderValues(int32 index, const ShaderValues& values);
    const ShaderValues& GetShaderValues(int32 index) const;

    int32 GetMeshCount() const { return int32(m_meshVisibility.size()); }
    void SetMeshVisibility(int32 index, float visibility);
    float GetMeshVisibility(int32 index) const;
    // Above 0 means visible; a mesh the pose does not know is not.
    bool IsMeshVisible(int32 index) const;

private:
    struct BoneMatrix
    {
        ra::Matrix34 matrix;
        bool byHand = false;
    };

    std::vector<BoneMatrix> m_boneMatrices;
    std::vector<RenderModelCamera> m_cameras;
    std::vector<ShaderValues> m_shaderValues;
    std::vector<float> m_meshVisibility;
};
