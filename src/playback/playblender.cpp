#include "playback/playblender.h"

#include "foundation/debug.h"
#include "model/anim/animlist.h"
#include "model/anim/animpose.h"
#include "model/motiontree/motion.h"
#include "model/rendermodel.h"
#include "playback/playlist.h"

#include <cfloat>

namespace
{
const ra::Quat s_identityQuat;

bool IsLooping(const PlayState& state)
{
    return state.GetMotion() != nullptr && state.GetMotion()->GetType() == Motion::TYPE_LOOPING;
}

// The rotation from identity toward q by `amount`.
ra::Quat ScaleRotation(const ra::Quat& q, float amount)
{
    if (amount <= 0.0f)
        return s_identityQuat;
    if (amount >= 1.0f)
        return q;
    return AnimInterpolate(s_identityQuat, q, amount);
}

ra::Quat Mix(const ra::Quat& from, const ra::Quat& to, float amount)
{
    if (amount <= 0.0f)
        return from;
    if (amount >= 1.0f)
        return to;
    return AnimInterpolate(from, to, amount);
}

// The box under `world`, its axes carried along and its half extents stretched by the axes'
// lengths.
ra::OBB TransformOBB(const ra::OBB& box, const ra::Matrix34& world)
{
    ra::OBB out;
    out.centre = ra::TransformPoint(box.centre, world);
    const float* pScale = &box.scale.x;
    float* pOutScale = &out.scale.x;
    for (int a = 0; a < 3; ++a)
    {
        const ra::Vec3 axis = ra::TransformVector(box.rotation[a], world);
        const float length = axis.Length();
        out.rotation[a] = length > 0.0f ? axis * (1.0f / length) : box.rotation[a];
        pOutScale[a] = pScale[a] * length;
    }
    return out;
}
} // namespace

PlayBlender::PlayBlender(const RenderModel& renderModel, PlayList* pPlayList)
    : m_RenderModel(renderModel), m_pPlayList(pPlayList), m_pRefPose(renderModel.GetRefPose())
{
    dbAssert(m_pPlayList);
}

bool PlayBlender::BuildPose(AnimPose& pose)
{
    const AnimPose* pRefPose = m_pRefPose;
    if (!dbAssert(pRefPose) || !dbAssert(m_pPlayList))
        return false;
    const AnimPose& refPose = *pRefPose;

    for (int32 i = 0; i < refPose.GetCameraCount() && i < pose.GetCameraCount(); ++i)
        pose.SetCamera(i, refPose.GetCamera(i));
    for (int32 i = 0; i < refPose.GetShaderCount() && i < pose.GetShaderCount(); ++i)
        pose.SetShaderValues(i, refPose.GetShaderValues(i));

    m_bAnyMeshVisible = false;
    m_bShaderChanged = false;
    const bool empty = m_pPlayList->GetStateCount() == 0;
    for (int32 i = 0; i < pose.GetMeshCount(); ++i)
    {
        const float visibility = empty && i < refPose.GetMeshCount() ? refPose.GetMeshVisibility(i) : 0.0f;
        pose.SetMeshVisibility(i, visibility);
        if (visibility > 0.0f)
            m_bAnyMeshVisible = true;
    }

    m_bBoneChanged = false;
    if (m_RenderModel.GetSkeleton() != nullptr)
        buildBones(pose, refPose);
    buildCameras(pose);
    buildControls(pose);
    return m_bAnyMeshVisible;
}

void PlayBlender::buildBones(AnimPose& pose, const AnimPose& refPose)
{
    const Skeleton& skeleton = *m_RenderModel.GetSkeleton();
    const int numBones = skeleton.GetBoneCount();
    // The asserted text is the diagnostic, spaces and all.
    // clang-format off
    if (!dbAssert(static_cast<int>( pose.GetBoneCount() ) == numBones))
        // clang-format on
        return;

    if (m_pPlayList->GetStateCount() == 0)
    {
        for (int i = 0; i < numBones; ++i)
        {
            if (pose.IsBoneSetByHand(i))
                pose.ClearBoneSetByHand(i);
            else
                pose.SetBoneMatrix(i, i < refPose.GetBoneCount() ? refPose.GetBoneMatrix(i) : ra::Matrix34());
        }
        return;
    }

    for (int i = 0; i < numBones; ++i)
    {
        ra::Matrix34 local;
        if (pose.IsBoneSetByHand(i))
        {
            // The caller's matrix stands for this frame, as a matrix local to the parent.
            pose.ClearBoneSetByHand(i);
            local = pose.GetBoneMatrix(i);
        }
        else
            local = buildBone(i);

        const int parentIndex = skeleton.GetBone(i)->GetParentIndex();
        if (parentIndex != Bone::InvalidIndex && parentIndex < i)
            pose.SetBoneMatrix(i, local * pose.GetBoneMatrix(parentIndex));
        else
        {
            if (m_scale != 1.0f)
                for (ra::Vec3& row : local.r)
                    row *= m_scale;
            pose.SetBoneMatrix(i, local);
        }
    }
}

ra::Matrix34 PlayBlender::buildBone(int boneIndex)
{
    const Skeleton& skeleton = *m_RenderModel.GetSkeleton();
    if (!dbAssert(boneIndex < m_RenderModel.GetSkeleton()->GetBoneCount()))
        return ra::Matrix34();
    const Bone& bone = *skeleton.GetBone(boneIndex);
    const ra::Vec3 refP = bone.GetPosition();
    const ra::Quat refQ = bone.GetRotation();
    const ra::Quat invRefQ = ra::Conjugate(refQ);

    ra::Vec3 P = refP;
    ra::Quat Q = refQ;
    bool pending = false;
    bool first = true;
    float remaining = 1.0f;
    ra::Quat pendQ;
    ra::Vec3 pendP;
    float pendW = 0.0f;

    const int numStates = m_pPlayList->GetStateCount();
    for (int s = 0; s < numStates && remaining > 0.0f; ++s)
    {
        PlayState& state = *m_pPlayList->GetState(s);
        const float w = state.GetWeight();
        if (w == 0.0f)
            continue;
        const float v = w * remaining;
        const Motion* pMotion = state.GetMotion();
        const bool loop = IsLooping(state);
        const bool fadingOut = state.GetState() == PlayState::STATE_TRANSITION_OUT;
        const int animCount = pMotion ? pMotion->GetAnimNodeCount() : 0;
        for (int a = 0; a < animCount; ++a)
        {
            const AnimListNode* pNode = pMotion->GetAnimNode(a);
            const Anim* pAnim = pNode ? pNode->GetAnim().Get() : nullptr;
            if (pAnim == nullptr || size_t(boneIndex) >= pNode->GetBoneMappingCount())
                continue;
            const int32 streamIndex = pNode->GetBoneMapping(boneIndex);
            if (streamIndex == -1 || !pAnim->IsBoneAnimated(streamIndex))
                continue;

            ra::Vec3 p = refP;
            ra::Quat q = refQ;
            PlayingAnim& playing = state.GetPlayingAnim(a);
            if (pAnim->EvaluateBone(streamIndex, state.GetPosition(), loop, p, q,
                                    playing.boneHints[size_t(boneIndex)]))
                m_bBoneChanged = true;

            if (fadingOut)
            {
                // Held until the next playing state, to be mixed with it.
                pendQ = ra::Concatenate(q, invRefQ);
                pendP = p - refP;
                pendW = v;
                pending = true;
            }
            else if (!pending)
            {
                ra::Quat dq = ra::Concatenate(q, invRefQ);
                ra::Vec3 dp = p - refP;
                if (!first)
                {
                    dq = ScaleRotation(dq, v);
                    dp *= v;
                }
                else
                    first = false;
                Q = ra::Concatenate(dq, Q);
                P += dp;
            }
            else
            {
                if (!first)
                {
                    pendQ = ScaleRotation(pendQ, pendW);
                    pendP *= pendW;
                }
                else
                    first = false;
                pendQ = ra::Concatenate(pendQ, refQ);
                pendP += refP;
                q = Mix(pendQ, q, 1.0f - pendW);
                p = pendP + (p - pendP) * (1.0f - pendW);
                Q = ra::Concatenate(ra::Concatenate(q, invRefQ), Q);
                P += p - refP;
                pending = false;
            }

            remaining = (1.0f - v) * remaining;
            if (remaining <= 0.0f)
                break;
        }
    }
    if (pending)
    {
        Q = ra::Concatenate(pendQ, Q);
        P += pendP;
    }
    return ra::MatrixFromQuatPos(ra::Normalize(Q), P);
}

void PlayBlender::buildCameras(AnimPose& pose)
{
    for (int32 i = 0; i < m_RenderModel.GetCameraCount() && i < pose.GetCameraCount(); ++i)
        buildCamera(i, pose);
}

void PlayBlender::buildCamera(int cameraIndex, AnimPose& pose)
{
    if (!dbAssert(cameraIndex < m_RenderModel.GetCameraCount()))
        return;
    RenderModelCamera camera = m_RenderModel.GetCCamera(cameraIndex);
    {
        const float n = camera.nearClip;
        dbAssert(n > 0.0f);
    }
    {
        const float n = camera.farClip;
        dbAssert(n > 0.0f);
    }
    const ra::Vec3 refP = camera.position;
    const ra::Quat refQ = camera.orientation;
    const ra::Quat invRefQ = ra::Conjugate(refQ);
    ra::Vec3 P = refP;
    ra::Quat Q = refQ;
    float remaining = 1.0f;

    const int numStates = m_pPlayList->GetStateCount();
    for (int s = 0; s < numStates; ++s)
    {
        PlayState& state = *m_pPlayList->GetState(s);
        const float w = state.GetWeight();
        if (w == 0.0f)
            continue;
        const float v = w * remaining;
        const Motion* pMotion = state.GetMotion();
        const bool loop = IsLooping(state);
        const int animCount = pMotion ? pMotion->GetAnimNodeCount() : 0;
        for (int a = 0; a < animCount; ++a)
        {
            const AnimListNode* pNode = pMotion->GetAnimNode(a);
            const Anim* pAnim = pNode ? pNode->GetAnim().Get() : nullptr;
            if (pAnim == nullptr || cameraIndex >= pNode->GetCameraMappingCount())
                continue;
            const int32 streamIndex = pNode->GetCameraMapping(cameraIndex);
            if (streamIndex == -1)
                continue;
            ra::Vec3 p = refP;
            ra::Quat q = refQ;
            pAnim->EvaluateCamera(streamIndex, state.GetPosition(), loop, p, q,
                                  state.GetPlayingAnim(a).cameraHints[size_t(cameraIndex)]);
            Q = ra::Concatenate(ScaleRotation(ra::Concatenate(q, invRefQ), v), Q);
            P += (p - refP) * v;
        }
        remaining = (1.0f - w) * remaining;
        if (remaining <= 0.0f)
            break;
    }

    // The target moves rigidly with the camera.
    const ra::Vec3 target = ra::Rotate(invRefQ, camera.target - refP);
    camera.orientation = ra::Normalize(Q);
    camera.position = P;
    camera.target = P + ra::Rotate(camera.orientation, target);
    pose.SetCamera(cameraIndex, camera);
}

void PlayBlender::buildControls(AnimPose& pose)
{
    const int numStates = m_pPlayList->GetStateCount();
    for (int s = 0; s < numStates; ++s)
    {
        PlayState& state = *m_pPlayList->GetState(s);
        const float w = state.GetWeight();
        if (w == 0.0f)
            continue;
        const Motion* pMotion = state.GetMotion();
        const bool loop = IsLooping(state);
        const int animCount = pMotion ? pMotion->GetAnimNodeCount() : 0;
        for (int a = 0; a < animCount; ++a)
        {
            const AnimListNode* pNode = pMotion->GetAnimNode(a);
            const Anim* pAnim = pNode ? pNode->GetAnim().Get() : nullptr;
            if (pAnim == nullptr)
                continue;
            PlayingAnim& playing = state.GetPlayingAnim(a);
            const int controlCount = pAnim->GetControlStreamCount();
            for (int c = 0; c < controlCount && c < pNode->GetNumControlMappings(); ++c)
            {
                const int32 resourceIndex = pNode->GetControlMapping(c);
                if (resourceIndex == -1)
                    continue;
                const ControlInfo& info = pAnim->GetControlInfo(c);
                const bool isShader = info.targetType == ControlInfo::Target_Shader;
                if (!isShader && !info.IsMeshVisibility())
                    continue;
                const float value =
                    pAnim->EvaluateControl(c, state.GetPosition(), loop, playing.controlHints[size_t(c)]) * w;
                if (isShader)
                {
                    if (resourceIndex >= pose.GetShaderCount())
                        continue;
                    AnimPose::ShaderValues values = pose.GetShaderValues(resourceIndex);
                    const uint32 index =
                        uint32(info.channel) * AnimPose::ValuesPerChannel + uint32(info.parameter);
                    if (!dbAssert(index < values.size()))
                        continue;
                    values[index] += value;
                    pose.SetShaderValues(resourceIndex, values);
                    m_bShaderChanged = true;
                }
                else
                {
                    pose.SetMeshVisibility(resourceIndex, value);
                    if (value > 0.0f)
                        m_bAnyMeshVisible = true;
                }
            }
        }
    }
}

bool PlayBlender::IsBoneAnimated(int boneIndex) const
{
    const int numStates = m_pPlayList ? m_pPlayList->GetStateCount() : 0;
    for (int s = 0; s < numStates; ++s)
    {
        const PlayState& state = *m_pPlayList->GetState(s);
        if (state.GetWeight() == 0.0f || state.GetMotion() == nullptr)
            continue;
        const Motion& motion = *state.GetMotion();
        for (int a = 0; a < motion.GetAnimNodeCount(); ++a)
        {
            const AnimListNode* pNode = motion.GetAnimNode(a);
            const Anim* pAnim = pNode ? pNode->GetAnim().Get() : nullptr;
            if (pAnim == nullptr || boneIndex < 0 || size_t(boneIndex) >= pNode->GetBoneMappingCount())
                continue;
            const int32 streamIndex = pNode->GetBoneMapping(boneIndex);
            if (streamIndex != -1 && pAnim->IsBoneAnimated(streamIndex))
                return true;
        }
    }
    return false;
}

void PlayBlender::GetBV(ra::BoundVolume& outBox, const ra::Matrix34& world)
{
    const ra::MeshGroup* pGroup = m_RenderModel.GetMeshGroup();
    const ra::OBB groupBox = pGroup && pGroup->GetBV().IsValid() ? pGroup->GetBV().GetOBB() : ra::OBB();
    ra::OBB box;
    if (m_pPlayList == nullptr || m_pPlayList->GetStateCount() == 0)
        box = groupBox;
    else
    {
        if (m_pPlayList->GetChanged())
        {
            ra::Vec3 minimum(FLT_MAX, FLT_MAX, FLT_MAX);
            ra::Vec3 maximum(-FLT_MAX, -FLT_MAX, -FLT_MAX);
            bool contributed = false;
            for (int s = 0; s < m_pPlayList->GetStateCount(); ++s)
            {
                const PlayState& state = *m_pPlayList->GetState(s);
                if (state.GetWeight() == 0.0f || state.GetMotion() == nullptr)
                    continue;
                const Motion& motion = *state.GetMotion();
                for (int a = 0; a < motion.GetAnimNodeCount(); ++a)
                {
                    ra::Vec3 animMin, animMax;
                    const AnimListNode* pNode = motion.GetAnimNode(a);
                    if (pNode == nullptr || !pNode->GetBV(animMin, animMax))
                        continue;
                    minimum = ra::Min(minimum, animMin);
                    maximum = ra::Max(maximum, animMax);
                    contributed = true;
                }
            }
            if (!contributed || !(maximum.x > minimum.x) || !(maximum.y > minimum.y) ||
                !(maximum.z > minimum.z))
            {
                minimum = groupBox.centre - groupBox.scale;
                maximum = groupBox.centre + groupBox.scale;
            }
            m_boundsMin = minimum;
            m_boundsMax = maximum;
            m_pPlayList->SetChanged(false);
        }
        const ra::OBB bv = ra::OBB::FromMinMax(m_boundsMin, m_boundsMax);
        dbAssert(bv.GetScale().x != 0.0f);
        dbAssert(bv.GetScale().y != 0.0f);
        dbAssert(bv.GetScale().z != 0.0f);
        box = bv;
    }

    if (m_scale != 1.0f)
    {
        box.centre *= m_scale;
        box.scale *= m_scale;
    }
    outBox.SetOBB(TransformOBB(box, world));
}
