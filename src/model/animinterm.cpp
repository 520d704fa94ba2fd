#include "model/animinterm.h"

#include "model/meshgroup.h"
#include "model/rendermodel.h"
#include "model/shader.h"
#include "model/skeleton.h"
#include "render/matrix.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace
{
const char* NameText(ra::Name name)
{
    const char* text = ra::GetNameText(name);
    return text ? text : "";
}

fr::Matrix44 Multiply44(const fr::Matrix44& a, const fr::Matrix44& b)
{
    fr::Matrix44 out{};
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c)
            out.m[r][c] =
                a.m[r][0] * b.m[0][c] + a.m[r][1] * b.m[1][c] + a.m[r][2] * b.m[2][c] + a.m[r][3] * b.m[3][c];
    return out;
}

// The inverse of a texture transform by Gauss-Jordan elimination with partial pivoting; a singular
// matrix gives the identity, as the model library's inverses do.
fr::Matrix44 Inverse44(const fr::Matrix44& m)
{
    double a[4][8];
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c)
        {
            a[r][c] = m.m[r][c];
            a[r][c + 4] = (r == c) ? 1.0 : 0.0;
        }
    for (int col = 0; col < 4; ++col)
    {
        int pivot = col;
        for (int r = col + 1; r < 4; ++r)
            if (std::fabs(a[r][col]) > std::fabs(a[pivot][col]))
                pivot = r;
        if (std::fabs(a[pivot][col]) < 1e-12)
            return fr::Matrix44::Identity();
        if (pivot != col)
            for (int c = 0; c < 8; ++c)
                std::swap(a[pivot][c], a[col][c]);
        const double scale = 1.0 / a[col][col];
        for (int c = 0; c < 8; ++c)
            a[col][c] *= scale;
        for (int r = 0; r < 4; ++r)
        {
            if (r == col || a[r][col] == 0.0)
                continue;
            const double factor = a[r][col];
            for (int c = 0; c < 8; ++c)
                a[r][c] -= factor * a[col][c];
        }
    }
    fr::Matrix44 out{};
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c)
            out.m[r][c] = float(a[r][c + 4]);
    return out;
}

// Each rotation key on the side of the one before it, so that neighbouring keys take the short
// way; the first is compared with `start`.
template <class StreamT> void TurnToHemisphere(StreamT& stream, ra::Quat start)
{
    ra::Quat previous = start;
    for (uint32 i = 0; i < stream.GetKeyCount(); ++i)
    {
        ra::Quat key = stream.GetKeyValue(i);
        if (ra::Dot(previous, key) < 0.0f)
        {
            key = -key;
            stream.SetValue(i, key);
        }
        previous = key;
    }
}

// The value of a shader parameter as loaded, which the file's control keys carry on top of.
float ShaderBaseValue(const Shader& shader, const ControlInfo& info)
{
    if (info.channel < 0 || info.channel >= int32(Shader::CN_Count))
        return 0.0f;
    const uint32 channel = uint32(info.channel);
    switch (info.parameter)
    {
    case ControlInfo::Parameter_Colour:
    {
        const uint32 colour = shader.GetBaseColour(channel);
        // Opacity lives in the alpha byte; the other channels are read by their second byte.
        const uint32 byte = (channel == Shader::CN_Opacity) ? (colour >> 24) & 0xFF : (colour >> 8) & 0xFF;
        return float(byte) / 255.0f;
    }
    case ControlInfo::Parameter_OffsetU:
    case ControlInfo::Parameter_OffsetV:
    {
        const fr::Matrix44 offset =
            Multiply44(shader.GetBaseTransform(channel), Inverse44(shader.GetTransform2(channel)));
        return info.parameter == ControlInfo::Parameter_OffsetU ? offset.m[3][0] : offset.m[3][1];
    }
    default:
        return 0.0f;
    }
}
} // namespace

void AnimInterm::SetBoneCount(int boneCount)
{
    if (!dbAssert(boneCount >= 0))
        return;
    Anim::SetBoneCount(boneCount);
    m_BoneMatrixStream.resize(size_t(boneCount));
}

int AnimInterm::AddBone(ra::Name name)
{
    const int index = Anim::AddBone(name);
    m_BoneMatrixStream.resize(m_boneAnims.size());
    return index;
}

void AnimInterm::SetBoneMatrixStream(int boneIndex, std::unique_ptr<BoneMatrixStream> pStream)
{
    if (!IsBoneIndex(boneIndex))
        return;
    m_BoneMatrixStream[size_t(boneIndex)] = std::move(pStream);
}

const BoneMatrixStream* AnimInterm::GetBoneMatrixStream(int boneIndex) const
{
    return IsBoneIndex(boneIndex) ? m_BoneMatrixStream[size_t(boneIndex)].get() : nullptr;
}

BoneMatrixStream* AnimInterm::GetBoneMatrixStream(int boneIndex)
{
    return IsBoneIndex(boneIndex) ? m_BoneMatrixStream[size_t(boneIndex)].get() : nullptr;
}

void AnimInterm::Convert(const RenderModel& model)
{
    if (const Skeleton* pSkeleton = model.GetSkeleton())
        ConvertBoneStreams(*pSkeleton);
    ConvertCameraStreams();
    if (const ra::MeshGroup* pMeshGroup = model.GetMeshGroup())
    {
        FixControlStreams(*pMeshGroup);
        AddDefaultVisibilityStreams(*pMeshGroup);
    }
}

void AnimInterm::ConvertBoneStreams(const Skeleton& skeleton)
{
    for (size_t streamIndex = 0; streamIndex < m_boneAnims.size(); ++streamIndex)
    {
        BoneAnim& boneAnim = m_boneAnims[streamIndex];
        const int32 skeletonIndex = skeleton.FindBone(boneAnim.name);
        if (skeletonIndex == Bone::InvalidIndex)
            continue;
        boneAnim.positionStream.reset();
        boneAnim.rotationStream.reset();
        if (!boneAnim.isAnimated)
            continue;
        const BoneMatrixStream* pMatrices = m_BoneMatrixStream[streamIndex].get();
        if (pMatrices == nullptr || pMatrices->IsEmpty())
            continue;

        // The sampled matrices are in model space; the parent's sample at the same key takes them
        // into the parent's space.
        const Bone* pBone = skeleton.GetBone(skeletonIndex);
        const BoneMatrixStream* pParentMatrices = nullptr;
        bool hasParent = false;
        if (pBone->GetParent() != nullptr)
        {
            const int32 parentIndex = pBone->GetParentIndex();
            if (dbAssert(parentIndex != Bone::InvalidIndex))
            {
                hasParent = true;
                const int parentStream = FindBone(skeleton.GetBone(parentIndex)->GetName());
                if (parentStream != InvalidIndex)
                    pParentMatrices = m_BoneMatrixStream[size_t(parentStream)].get();
                if (pParentMatrices != nullptr && pParentMatrices->IsEmpty())
                    pParentMatrices = nullptr;
            }
        }
        if (hasParent && pParentMatrices == nullptr)
            dbTagf(
                FourCC("ANIM"),
                "'%s': The bone %s's parent bone does not have animation keys - the skeleton hierarchy does "
                "not match the REF skeleton!",
                NameText(m_name), NameText(boneAnim.name));

        const uint32 keyCount = pMatrices->GetKeyCount();
        auto pPositions = std::make_unique<BonePositionStream>(keyCount);
        auto pRotations = std::make_unique<BoneRotationStream>(keyCount);
        for (uint32 k = 0; k < keyCount; ++k)
        {
            ra::Matrix34 local = pMatrices->GetKeyValue(k);
            if (pParentMatrices != nullptr)
            {
                // A parent sampled with fewer keys lends its last one.
                const uint32 parentKey = std::min(k, pParentMatrices->GetKeyCount() - 1);
                local = local * ra::Inverse(pParentMatrices->GetKeyValue(parentKey));
            }
            const float time = pMatrices->GetKeyTime(k);
            pPositions->SetTime(k, time);
            pPositions->SetValue(k, local.Translation());
            pRotations->SetTime(k, time);
            pRotations->SetValue(k, ra::QuatFromMatrix(local));
        }
        TurnToHemisphere(*pRotations, pBone->GetRotation());
        boneAnim.positionStream = std::move(pPositions);
        boneAnim.rotationStream = std::move(pRotations);
    }
}

void AnimInterm::ConvertCameraStreams()
{
    for (CameraAnim& camera : m_cameraAnims)
        if (camera.rotationStream)
            TurnToHemisphere(*camera.rotationStream, ra::Quat(0, 0, 0, 1));
}

void AnimInterm::FixControlStreams(const ra::MeshGroup& meshGroup)
{
    for (size_t i = 0; i < m_controlAnims.size();)
    {
        ControlAnim& control = m_controlAnims[i];
        if (control.info.targetType == ControlInfo::Target_Shader)
        {
            control.info.m_index = meshGroup.FindShader(control.name);
            if (control.info.m_index != ra::MeshGroup::InvalidIndex && control.stream)
            {
                const Inv::Reference<Shader>& shaderRef = meshGroup.GetShader(control.info.m_index);
                if (const Shader* pShader = shaderRef.Get())
                {
                    const float base = ShaderBaseValue(*pShader, control.info);
                    if (base != 0.0f)
                        control.stream->OffsetValues(-base);
                }
            }
        }
        else if (control.info.targetType == ControlInfo::Target_Mesh)
            control.info.m_index = meshGroup.FindMesh(control.name);

        if (!control.info.IsMeshVisibility() && (!control.stream || control.stream->IsFlat(FlatTolerance)))
            m_controlAnims.erase(m_controlAnims.begin() + ptrdiff_t(i));
        else
            ++i;
    }
}

void AnimInterm::AddDefaultVisibilityStreams(const ra::MeshGroup& meshGroup)
{
    for (int32 meshIndex = 0; meshIndex < meshGroup.GetMeshCount(); ++meshIndex)
    {
        const ra::Name meshName = meshGroup.GetMeshName(meshIndex);
        bool hasVisibility = false;
        for (const ControlAnim& control : m_controlAnims)
            if (control.info.IsMeshVisibility() && control.name == meshName)
            {
                hasVisibility = true;
                break;
            }
        if (hasVisibility)
            continue;
        ControlInfo info;
        info.targetType = ControlInfo::Target_Mesh;
        info.m_index = meshIndex;
        info.channel = 0;
        info.parameter = ControlInfo::Parameter_Visibility;
        auto pStream = std::make_unique<ControlStream>(1);
        pStream->SetTime(0, 0.0f);
        pStream->SetValue(0, 0.0f);
        AddControlStream(meshName, info, std::move(pStream));
    }
}
