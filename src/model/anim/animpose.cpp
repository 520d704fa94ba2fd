#include "model/anim/animpose.h"

#include "foundation/debug.h"
#include "model/rendermodel.h"

namespace
{
const ra::Matrix34 s_identity;
const RenderModelCamera s_defaultCamera;

AnimPose::ShaderValues NeutralShaderValues()
{
    AnimPose::ShaderValues values{};
    for (uint32 c = 0; c < AnimPose::ChannelCount; ++c)
    {
        float* pChannel = &values[c * AnimPose::ValuesPerChannel];
        pChannel[0] = 1.0f;
        pChannel[1] = pChannel[2] = 0.0f;
        pChannel[3] = pChannel[4] = 1.0f;
    }
    return values;
}
const AnimPose::ShaderValues s_neutralValues = NeutralShaderValues();
} // namespace

AnimPose::AnimPose(uint32 boneCount, uint32 cameraCount, uint32 shaderCount, uint32 meshCount)
    : m_boneMatrices(boneCount), m_cameras(cameraCount), m_shaderValues(shaderCount, s_neutralValues),
      m_meshVisibility(meshCount, 1.0f)
{
}

static uint32 CountOrZero(int32 n)
{
    return n > 0 ? uint32(n) : 0;
}

AnimPose::AnimPose(const RenderModel& model)
    : AnimPose(model.GetSkeleton() ? CountOrZero(model.GetSkeleton()->GetBoneCount()) : 0,
               CountOrZero(model.GetCameraCount()),
               model.GetMeshGroup() ? CountOrZero(model.GetMeshGroup()->GetShaderCount()) : 0,
               model.GetMeshGroup() ? CountOrZero(model.GetMeshGroup()->GetMeshCount()) : 0)
{
    for (int32 i = 0; i < model.GetCameraCount(); ++i)
        m_cameras[size_t(i)] = model.GetCCamera(i);
}

void AnimPose::SetBoneMatrix(int32 index, const ra::Matrix34& matrix)
{
    if (dbAssert(uint32(index) < m_boneMatrices.size()))
        m_boneMatrices[size_t(index)].matrix = matrix;
}

const ra::Matrix34& AnimPose::GetBoneMatrix(int32 index) const
{
    if (!dbAssert(uint32(index) < m_boneMatrices.size()))
        return s_identity;
    return m_boneMatrices[size_t(index)].matrix;
}

void AnimPose::SetBoneMatrixByHand(int32 index, const ra::Matrix34& matrix)
{
    if (!dbAssert(uint32(index) < m_boneMatrices.size()))
        return;
    m_boneMatrices[size_t(index)] = {matrix, true};
}

bool AnimPose::IsBoneSetByHand(int32 index) const
{
    if (!dbAssert(uint32(index) < m_boneMatrices.size()))
        return false;
    return m_boneMatrices[size_t(index)].byHand;
}

void AnimPose::ClearBoneSetByHand(int32 index)
{
    if (dbAssert(uint32(index) < m_boneMatrices.size()))
        m_boneMatrices[size_t(index)].byHand = false;
}

void AnimPose::SetCamera(int32 index, const RenderModelCamera& camera)
{
    if (dbAssert(uint32(index) < m_cameras.size()))
        m_cameras[size_t(index)] = camera;
}

const RenderModelCamera& AnimPose::GetCamera(int32 index) const
{
    if (!dbAssert(uint32(index) < m_cameras.size()))
        return s_defaultCamera;
    return m_cameras[size_t(index)];
}

void AnimPose::SetShaderValues(int32 index, const ShaderValues& values)
{
    if (dbAssert(uint32(index) < m_shaderValues.size()))
        m_shaderValues[size_t(index)] = values;
}

const AnimPose::ShaderValues& AnimPose::GetShaderValues(int32 index) const
{
    if (!dbAssert(uint32(index) < m_shaderValues.size()))
        return s_neutralValues;
    return m_shaderValues[size_t(index)];
}

void AnimPose::SetMeshVisibility(int32 index, float visibility)
{
    if (dbAssert(uint32(index) < m_meshVisibility.size()))
        m_meshVisibility[size_t(index)] = visibility;
}

float AnimPose::GetMeshVisibility(int32 index) const
{
    if (!dbAssert(uint32(index) < m_meshVisibility.size()))
        return 0.0f;
    return m_meshVisibility[size_t(index)];
}

bool AnimPose::IsMeshVisible(int32 index) const
{
    return uint32(index) < m_meshVisibility.size() && m_meshVisibility[size_t(index)] > 0.0f;
}
