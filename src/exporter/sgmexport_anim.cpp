// Animation sampling: the scene's range frame by frame into one animation named after the model.
// Bone matrices and cameras are stored whole at every frame; shader values and mesh visibility
// become reduced control streams.
#include "exporter/keyreduce.h"
#include "exporter/sgmerrors.h"
#include "exporter/sgmexport.h"
#include "exporter/sgmutil.h"

#include "host/material.h"
#include "model/anim/animinterm.h"
#include "model/anim/animlist.h"
#include "model/rendermodel.h"
#include "model/shader/shaderimp.h"
#include "model/skeleton/skeleton.h"

#include <algorithm>
#include <memory>
#include <utility>

namespace
{
// The range in frames. Ticks are divided as floats and truncated, as the host's own frame
// numbers are.
struct FrameRange
{
    float startTick = 0.0f;
    float ticksPerFrame = 1.0f;
    int32 first = 0;
    int32 last = 0;

    int32 FrameCount() const { return last - first + 1; }
};

FrameRange GetFrameRange(host::Interface* pInterface)
{
    FrameRange range;
    const host::Interval interval = pInterface ? pInterface->GetAnimRange() : host::Interval(0, 0);
    range.ticksPerFrame = float(host::GetTicksPerFrame());
    range.startTick = float(interval.Start());
    range.first = int32(float(interval.Start()) / range.ticksPerFrame);
    range.last = int32(float(interval.End()) / range.ticksPerFrame);
    return range;
}

// The slots whose maps a shader carries, in channel order: channel, map id.
constexpr int s_TextureSlots[6][2] = {{0, host::ID_DI}, {1, host::ID_SP}, {2, host::ID_RL},
                                      {3, host::ID_SI}, {4, host::ID_OP}, {5, host::ID_SS}};

float Clamp01(float v)
{
    return std::min(std::max(v, 0.0f), 1.0f);
}

// The value functions: each reads one value of its object at a time.
float SelfIllumValue(void* pObject, host::TimeValue t)
{
    return Clamp01(static_cast<host::StdMat*>(pObject)->GetSelfIllum(t));
}

float OpacityMapAmountValue(void* pObject, host::TimeValue t)
{
    return Clamp01(static_cast<host::StdMat*>(pObject)->GetTexmapAmt(host::ID_OP, t));
}

float OpacityValue(void* pObject, host::TimeValue t)
{
    return Clamp01(static_cast<host::StdMat*>(pObject)->GetOpacity(t));
}

float DiffuseMapAmountValue(void* pObject, host::TimeValue t)
{
    return Clamp01(static_cast<host::StdMat*>(pObject)->GetTexmapAmt(host::ID_DI, t));
}

// The game moves the texture, not the coordinates: offsets change sign.
float UOffsetValue(void* pObject, host::TimeValue t)
{
    return -static_cast<host::StdUVGen*>(pObject)->GetUOffs(t);
}

float VOffsetValue(void* pObject, host::TimeValue t)
{
    return -static_cast<host::StdUVGen*>(pObject)->GetVOffs(t);
}

// Scales are relative to the one the shader was built with, at time 0.
float UScaleValue(void* pObject, host::TimeValue t)
{
    host::StdUVGen* pUVGen = static_cast<host::StdUVGen*>(pObject);
    return pUVGen->GetUScl(t) / pUVGen->GetUScl(0) - 1.0f;
}

float VScaleValue(void* pObject, host::TimeValue t)
{
    host::StdUVGen* pUVGen = static_cast<host::StdUVGen*>(pObject);
    return pUVGen->GetVScl(t) / pUVGen->GetVScl(0) - 1.0f;
}

float MeshVisibilityValue(void* pObject, host::TimeValue t)
{
    host::INode* pNode = static_cast<host::INode*>(pObject);
    if (pNode->UserPropExists("ForceInvisible"))
        return 0.0f;
    return pNode->GetVisibility(t);
}

ControlInfo ShaderRef(size_t shaderIndex, int32 channel, int32 parameter)
{
    ControlInfo ref;
    ref.targetType = ControlInfo::Target_Shader;
    ref.m_index = int32(shaderIndex);
    ref.channel = channel;
    ref.parameter = parameter;
    return ref;
}

bool IsBlack(const host::Color& colour)
{
    return colour.r == 0.0f && colour.g == 0.0f && colour.b == 0.0f;
}

host::StdUVGen* GetBitmapUVGen(host::StdMat* pStdMtl, int mapId)
{
    if (!pStdMtl->MapEnabled(mapId))
        return nullptr;
    host::Texmap* pTexmap = pStdMtl->GetSubTexmap(mapId);
    if (pTexmap == nullptr || !(pTexmap->ClassID() == host::BMTEX_CLASS_ID))
        return nullptr;
    host::BitmapTex* pBitmap = dynamic_cast<host::BitmapTex*>(pTexmap);
    return pBitmap ? pBitmap->GetUVGen() : nullptr;
}
} // namespace

void SGMExport::SampleAnimation(SGMExportOptions& options, RenderModel& renderModel)
{
    Skeleton* pSkeleton = renderModel.GetSkeleton();
    if (!dbAssert(pSkeleton))
        return;
    AnimList* pAnimList = renderModel.GetAnimList();
    if (!dbAssert(pAnimList))
        return;

    const int boneCount = pSkeleton->GetBoneCount();
    auto pAnimNode = std::make_unique<AnimListNode>(boneCount, int(renderModel.GetCameraCount()));
    if (!dbAssert(pAnimNode))
        return;
    auto pNewAnim = std::make_unique<AnimInterm>(options.modelName.c_str());
    AnimInterm* pAnim = pNewAnim.get();
    if (!dbAssert(pAnim))
        return;
    pAnim->SetBoneCount(boneCount);

    // The inventory holds the animation from here on; the node keeps the reference.
    Inv::Reference<Anim> animRef = Anim::AddToInventory(std::move(pNewAnim));
    if (!dbAssert(animRef.IsValid()))
        return;
    pAnimNode->SetAnim(animRef);
    AnimListNode* pNode = pAnimNode.get();
    pAnimList->AddAnim(std::move(pAnimNode), false);

    const FrameRange range = GetFrameRange(m_pInterface);
    const int32 frameCount = range.FrameCount();
    if (!dbAssert(frameCount > 0))
        return;
    // The last frame counts as a whole frame: 0 to 30 at 30 frames a second lasts 31/30 s.
    pAnim->SetTime(float(frameCount) / float(host::GetFrameRate()));
    pAnim->SetFrameCount(frameCount);

    // Streams of all bones, "Stale" and "Inactive" ones too: those only carry the flag.
    const int sampledBones = std::min(boneCount, int(m_BoneNodes.size()));
    for (int b = 0; b < sampledBones; ++b)
    {
        const BoneNode& bone = m_BoneNodes[size_t(b)];
        pAnim->SetBoneName(b, ra::MakeName(bone.name.c_str()));
        pAnim->SetBoneMatrixStream(b, std::make_unique<BoneMatrixStream>(uint32(frameCount)));
        pAnim->SetBoneAnimated(b, bone.active);
    }

    // Frames outside, bones inside: the host evaluates fastest with time moving forward. For a
    // single frame the step is infinite and never reaches a key.
    float tick = range.startTick;
    float n = 0.0f;
    const float step = 1.0f / float(frameCount - 1);
    for (int32 frame = 0; frame < frameCount; ++frame)
    {
        for (int b = 0; b < sampledBones; ++b)
        {
            BoneMatrixStream* pMatrixStream = pAnim->GetBoneMatrixStream(b);
            if (!dbAssert(pMatrixStream))
                continue;
            SampleBone(m_BoneNodes[size_t(b)].pNode, pMatrixStream, tick, n, uint32(frame));
        }
        tick += range.ticksPerFrame;
        n += step;
    }

    // Shader values, in the order the shaders were made.
    for (size_t s = 0; s < m_ShaderList.size(); ++s)
    {
        ShaderListEntry& entry = *m_ShaderList[s];
        if (entry.pMtl == nullptr || !(entry.pMtl->ClassID() == host::DMTL_CLASS_ID))
            continue;
        host::StdMat* pStdMtl = dynamic_cast<host::StdMat*>(entry.pMtl);
        if (!dbAssert(pStdMtl))
            continue;
        const char* mtlName = pStdMtl->GetName() ? pStdMtl->GetName() : "";

        AddControlStream(renderModel, ShaderRef(s, 3, ControlInfo::Parameter_Colour), SelfIllumValue, pStdMtl,
                         false);

        bool opacityMapStream = false;
        if (pStdMtl->MapEnabled(host::ID_OP))
            opacityMapStream = AddControlStream(renderModel, ShaderRef(s, 4, ControlInfo::Parameter_Colour),
                                                OpacityMapAmountValue, pStdMtl, false);
        if (!opacityMapStream)
            AddControlStream(renderModel, ShaderRef(s, 4, ControlInfo::Parameter_Colour), OpacityValue,
                             pStdMtl, false);
        else
        {
            if (pStdMtl->GetOpacity(0) != 0.0f && options.exportMeshes)
                SGMErrors::Get()->Warning(
                    "Material [%s]: Material opacity not set to zero when animating texture "
                    "opacity - exported file may not look the same.",
                    mtlName);
            if (entry.pShader)
                entry.pShader->SetMethod(4, 3);
        }

        if (pStdMtl->MapEnabled(host::ID_DI) &&
            AddControlStream(renderModel, ShaderRef(s, 0, ControlInfo::Parameter_Colour),
                             DiffuseMapAmountValue, pStdMtl, false))
        {
            if (!IsBlack(pStdMtl->GetDiffuse(0)) && options.exportMeshes)
                SGMErrors::Get()->Warning("Material [%s]: Material diffuse not set to black when animating "
                                          "texture diffuse amount - exported file may not look the same.",
                                          mtlName);
            if (entry.pShader)
                entry.pShader->SetMethod(0, 3);
        }

        for (const auto& slot : s_TextureSlots)
        {
            host::StdUVGen* pUVGen = GetBitmapUVGen(pStdMtl, slot[1]);
            if (pUVGen == nullptr)
                continue;
            const int32 channel = slot[0];
            AddControlStream(renderModel, ShaderRef(s, channel, ControlInfo::Parameter_OffsetU), UOffsetValue,
                             pUVGen, false);
            AddControlStream(renderModel, ShaderRef(s, channel, ControlInfo::Parameter_OffsetV), VOffsetValue,
                             pUVGen, false);
            AddControlStream(renderModel, ShaderRef(s, channel, ControlInfo::Parameter_ScaleU), UScaleValue,
                             pUVGen, false);
            AddControlStream(renderModel, ShaderRef(s, channel, ControlInfo::Parameter_ScaleV), VScaleValue,
                             pUVGen, false);
        }
    }

    // Cameras: an entry only for a camera that gave a stream.
    for (host::INode* pCameraNode : m_CameraNodes)
    {
        auto pPositionStream = std::make_unique<CameraPositionStream>();
        auto pRotationStream = std::make_unique<CameraRotationStream>();
        SampleCamera(pCameraNode, nullptr, *pPositionStream, *pRotationStream);
        if (pPositionStream->IsEmpty())
            pPositionStream.reset();
        if (pRotationStream->IsEmpty())
            pRotationStream.reset();
        if (pPositionStream || pRotationStream)
            pAnim->AddCamera(ra::MakeName(pCameraNode->GetName()), std::move(pPositionStream),
                             std::move(pRotationStream));
    }
    // The node was mapped before the cameras had streams; map them now, as a load would.
    for (int c = 0; c < pNode->GetCameraMappingCount(); ++c)
        pNode->SetCameraMapping(c, pAnim->FindCamera(renderModel.GetCCamera(c).name));

    // Visibility of every mesh, kept even when constant.
    for (size_t m = 0; m < m_MeshNodes.size(); ++m)
    {
        ControlInfo ref;
        ref.targetType = ControlInfo::Target_Mesh;
        ref.m_index = int32(m);
        ref.channel = 0;
        ref.parameter = ControlInfo::Parameter_Visibility;
        AddControlStream(renderModel, ref, MeshVisibilityValue, m_MeshNodes[m].pNode, true);
    }
}

void SGMExport::SampleBone(host::INode* pNode, BoneMatrixStream* pMatrixStream, float tick,
                           float normalisedTime, uint32 frame)
{
    if (!dbAssert(pNode) || !dbAssert(pMatrixStream))
        return;
    const host::TimeValue time = host::TimeValue(tick);
    ra::Matrix34 m;
    ConvertMatrix(m, pNode->GetNodeTM(time));

    if (pNode->GetTarget() != nullptr)
    {
        host::Matrix3 targetTM;
        pNode->GetTargetTM(time, targetTM);
        ra::Matrix34 target;
        ConvertMatrix(target, targetTM);
        m = ra::LookAt(m.r[3], target.r[3], m.r[1]);
    }

    pMatrixStream->SetTime(frame, normalisedTime);
    pMatrixStream->SetValue(frame, m);
}

void SGMExport::SampleCamera(host::INode* pNode, host::INode* pParent, CameraPositionStream& positionStream,
                             CameraRotationStream& rotationStream)
{
    if (!dbAssert(pNode))
        return;
    if (!positionStream.IsEmpty() || !rotationStream.IsEmpty())
        return;

    const FrameRange range = GetFrameRange(m_pInterface);
    const int32 frameCount = range.FrameCount();
    if (frameCount <= 0)
        return;
    positionStream.Resize(uint32(frameCount));
    rotationStream.Resize(uint32(frameCount));

    const bool hasTarget = pNode->GetTarget() != nullptr;
    float tick = range.startTick;
    float n = 0.0f;
    const float step = 1.0f / float(frameCount - 1);
    for (int32 i = 0; i < frameCount; ++i)
    {
        const host::TimeValue time = host::TimeValue(tick);
        ra::Matrix34 m;
        ConvertMatrix(m, pNode->GetNodeTM(time));

        if (hasTarget)
        {
            host::Matrix3 targetTM;
            pNode->GetTargetTM(time, targetTM);
            ra::Matrix34 target;
            ConvertMatrixKeepScale(target, targetTM);
            m = ra::LookAt(m.r[3], target.r[3], m.r[1]);
        }

        if (pParent != nullptr)
        {
            ra::Matrix34 parent;
            ConvertMatrix(parent, pParent->GetNodeTM(time));
            m = m * ra::Inverse(parent);
        }

        // A free camera looks down its own negative z; the look-at frame already faces its target.
        if (!hasTarget)
        {
            m.r[0] = -m.r[0];
            m.r[2] = -m.r[2];
        }

        rotationStream.SetTime(uint32(i), n);
        rotationStream.SetValue(uint32(i), ra::QuatFromMatrix(m));
        positionStream.SetTime(uint32(i), n);
        positionStream.SetValue(uint32(i), m.r[3]);

        tick += range.ticksPerFrame;
        n += step;
    }
}

bool SGMExport::AddControlStream(RenderModel& renderModel, const ControlInfo& ref,
                                 const ControlValueFunction& valueFunction, void* pObject, bool keepConstant)
{
    AnimList* pAnimList = renderModel.GetAnimList();
    if (pAnimList == nullptr || pAnimList->GetAnimCount() == 0)
        return false;
    Anim* pAnim = pAnimList->GetAnim(0);
    if (!dbAssert(pAnim))
        return false;

    const FrameRange range = GetFrameRange(m_pInterface);
    const int32 frameCount = range.FrameCount();
    if (frameCount <= 0)
        return false;
    const float step = 1.0f / float(range.last - range.first);

    auto pStream = std::make_unique<ControlStream>(uint32(frameCount));
    bool changed = false;
    float lastValue = 0.0f;
    float tick = range.startTick;
    float n = 0.0f;
    for (int32 frame = 0; frame < frameCount; ++frame)
    {
        const float v = valueFunction(pObject, host::TimeValue(tick));
        if (frame > 0 && v != lastValue)
            changed = true;
        lastValue = v;
        pStream->SetValue(uint32(frame), v);
        pStream->SetTime(uint32(frame), n);
        tick += range.ticksPerFrame;
        n += step;
    }

    if (changed)
        ReduceKeys(*pStream);
    else if (keepConstant)
    {
        if (pStream->GetKeyCount() > 1)
            pStream->Resize(1);
    }
    else
        return false;

    // Named when the model is assembled, once the mesh group's indices are known.
    pAnim->AddControlStream(ra::MakeName("<uninitialized>"), ref, std::move(pStream));
    // The node's control mappings follow the animation's streams.
    if (AnimListNode* pNode = pAnimList->GetAnimNode(0))
        pNode->SetNumControlMappings(pAnim->GetControlStreamCount());
    return true;
}
