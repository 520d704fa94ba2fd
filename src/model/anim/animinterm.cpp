#include "model/anim/animinterm.h"

#include "model/mesh/meshgroup.h"
#include "model/rendermodel.h"
#include "model/shader/shader.h"
#include "model/skeleton/skeleton.h"
#include "render/matrix.h"

#include <algorithm>
#include <cmath>
#include <cstring>
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

template <class StreamT> std::unique_ptr<StreamT> CopyStream(const std::unique_ptr<StreamT>& pStream)
{
    return pStream ? std::make_unique<StreamT>(*pStream) : nullptr;
}

template <class StreamT>
bool SameStream(const std::unique_ptr<StreamT>& pA, const std::unique_ptr<StreamT>& pB)
{
    if (!pA || !pB)
        return !pA && !pB;
    return pA->GetKeyDataSize() == pB->GetKeyDataSize() &&
           std::memcmp(pA->GetKeyData(), pB->GetKeyData(), pA->GetKeyDataSize()) == 0;
}

// Deep copies of an animation's entries, streams and all.
void CopyEntries(const Anim& from, std::vector<Anim::BoneAnim>& cBone, std::vector<Anim::CameraAnim>& cCamera,
                 std::vector<Anim::ControlAnim>& cControl)
{
    cBone.clear();
    for (const Anim::BoneAnim& bone : from.GetBoneAnims())
        cBone.push_back(
            {bone.name, bone.isAnimated, CopyStream(bone.positionStream), CopyStream(bone.rotationStream)});
    cCamera.clear();
    for (const Anim::CameraAnim& camera : from.GetCameraAnims())
        cCamera.push_back(
            {camera.name, CopyStream(camera.positionStream), CopyStream(camera.rotationStream)});
    cControl.clear();
    for (const Anim::ControlAnim& control : from.GetControlAnims())
        cControl.push_back({control.name, control.info, CopyStream(control.stream)});
}

// Whether two animations hold the same entries with the same keys, bit for bit.
bool SameEntries(const Anim& a, const Anim& b)
{
    const float timeA = a.GetTime();
    const float timeB = b.GetTime();
    if (a.GetName() != b.GetName() || a.GetFrameCount() != b.GetFrameCount() ||
        std::memcmp(&timeA, &timeB, sizeof(float)) != 0)
        return false;
    const std::vector<Anim::BoneAnim>& cBoneA = a.GetBoneAnims();
    const std::vector<Anim::BoneAnim>& cBoneB = b.GetBoneAnims();
    if (cBoneA.size() != cBoneB.size())
        return false;
    for (size_t i = 0; i < cBoneA.size(); ++i)
        if (cBoneA[i].name != cBoneB[i].name || cBoneA[i].isAnimated != cBoneB[i].isAnimated ||
            !SameStream(cBoneA[i].positionStream, cBoneB[i].positionStream) ||
            !SameStream(cBoneA[i].rotationStream, cBoneB[i].rotationStream))
            return false;
    const std::vector<Anim::CameraAnim>& cCameraA = a.GetCameraAnims();
    const std::vector<Anim::CameraAnim>& cCameraB = b.GetCameraAnims();
    if (cCameraA.size() != cCameraB.size())
        return false;
    for (size_t i = 0; i < cCameraA.size(); ++i)
        if (cCameraA[i].name != cCameraB[i].name ||
            !SameStream(cCameraA[i].positionStream, cCameraB[i].positionStream) ||
            !SameStream(cCameraA[i].rotationStream, cCameraB[i].rotationStream))
            return false;
    const std::vector<Anim::ControlAnim>& cControlA = a.GetControlAnims();
    const std::vector<Anim::ControlAnim>& cControlB = b.GetControlAnims();
    if (cControlA.size() != cControlB.size())
        return false;
    for (size_t i = 0; i < cControlA.size(); ++i)
        if (cControlA[i].name != cControlB[i].name || !(cControlA[i].info == cControlB[i].info) ||
            !SameStream(cControlA[i].stream, cControlB[i].stream))
            return false;
    return true;
}
} // namespace

float AnimInterm::ShaderBaseValue(const Shader& shader, const ControlInfo& info)
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

std::unique_ptr<AnimInterm> AnimInterm::Clone() const
{
    auto pCopy = std::make_unique<AnimInterm>();
    if (const char* text = Inv::NamedResource::GetName())
        pCopy->SetName(text);
    pCopy->m_name = m_name;
    pCopy->m_frameCount = m_frameCount;
    pCopy->m_time = m_time;
    pCopy->m_inverseTime = m_inverseTime;
    CopyEntries(*this, pCopy->m_boneAnims, pCopy->m_cameraAnims, pCopy->m_controlAnims);
    pCopy->m_BoneMatrixStream.clear();
    for (const std::unique_ptr<BoneMatrixStream>& pStream : m_BoneMatrixStream)
        pCopy->m_BoneMatrixStream.push_back(CopyStream(pStream));
    return pCopy;
}

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

void AnimInterm::Convert(const RenderModel& model, bool logMismatch)
{
    if (const Skeleton* pSkeleton = model.GetSkeleton())
        ConvertBoneStreams(*pSkeleton, logMismatch);
    ConvertCameraStreams();
    if (const ra::MeshGroup* pMeshGroup = model.GetMeshGroup())
    {
        FixControlStreams(*pMeshGroup);
        AddDefaultVisibilityStreams(*pMeshGroup);
    }
}

void AnimInterm::ConvertBoneStreams(const Skeleton& skeleton, bool logMismatch)
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
        if (hasParent && pParentMatrices == nullptr && logMismatch)
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

AnimFromInterm::AnimFromInterm(const AnimInterm& converted, std::unique_ptr<AnimInterm> pSource)
    : m_pSource(std::move(pSource))
{
    if (const char* text = converted.Inv::NamedResource::GetName())
        SetName(text);
    m_name = converted.GetName();
    m_frameCount = converted.GetFrameCount();
    m_time = converted.GetTime();
    m_inverseTime = converted.GetInverseTime();
    CopyEntries(converted, m_boneAnims, m_cameraAnims, m_controlAnims);
}

bool AnimFromInterm::SourceHolds(const RenderModel& model) const
{
    if (m_pSource == nullptr)
        return false;
    std::unique_ptr<AnimInterm> pConverted = m_pSource->Clone();
    pConverted->Convert(model, false);
    return SameEntries(*pConverted, *this);
}
