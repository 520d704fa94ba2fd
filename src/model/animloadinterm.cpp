#include "model/animloadinterm.h"

#include "foundation/debug.h"
#include "foundation/output.h"
#include "model/animinterm.h"
#include "model/animloadgeneric.h"
#include "model/meshgroup.h"
#include "model/modelloadgeneric_chunks.h"
#include "model/rendermodel.h"
#include "model/skeleton.h"
#include "storage/bytestreamadapter.h"
#include "storage/chunky.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

using namespace GenericChunk;

namespace
{
template <class StreamT> std::unique_ptr<StreamT> CopyStream(const StreamT* pStream)
{
    if (pStream == nullptr)
        return nullptr;
    auto pCopy = std::make_unique<StreamT>(pStream->GetKeyCount());
    std::memcpy(pCopy->GetKeyData(), pStream->GetKeyData(), pStream->GetKeyDataSize());
    return pCopy;
}

// The converted animation as an ordinary one, so that a model read from an intermediate file
// holds what a model read from a generic file holds.
std::unique_ptr<Anim> ToAnim(const AnimInterm& interm)
{
    auto pAnim = std::make_unique<Anim>(ra::NameText(interm.GetName()));
    pAnim->SetFrameCount(interm.GetFrameCount());
    pAnim->SetTime(interm.GetTime());
    pAnim->SetBoneCount(interm.GetBoneCount());
    for (int i = 0; i < interm.GetBoneCount(); ++i)
    {
        pAnim->SetBoneName(i, interm.GetBoneName(i));
        pAnim->SetBoneAnimated(i, interm.IsBoneAnimated(i));
        pAnim->SetPositionStream(i, CopyStream(interm.GetPositionStream(i)));
        pAnim->SetRotationStream(i, CopyStream(interm.GetRotationStream(i)));
    }
    for (int i = 0; i < interm.GetCameraCount(); ++i)
        pAnim->AddCamera(interm.GetCameraName(i), CopyStream(interm.GetCameraPositionStream(i)),
                         CopyStream(interm.GetCameraRotationStream(i)));
    for (int i = 0; i < interm.GetControlStreamCount(); ++i)
        pAnim->AddControlStream(interm.GetControlName(i), interm.GetControlInfo(i),
                                CopyStream(interm.GetControlStream(i)));
    return pAnim;
}

void ReadInfo(Payload& payload, Anim& anim)
{
    const int32 frameCount = payload.ReadInt32();
    const float time = payload.ReadFloat();
    if (frameCount <= 0)
        ThrowBadContent(payload.GetAdapter(), "Animation '%s' has %d frames!", ra::NameText(anim.GetName()),
                        frameCount);
    if (!(time > 0.0f) || !std::isfinite(time))
        ThrowBadContent(payload.GetAdapter(), "Animation '%s' lasts %g seconds!",
                        ra::NameText(anim.GetName()), double(time));
    anim.SetFrameCount(frameCount);
    anim.SetTime(time);
}

void ReadBoneMatrices(Payload& payload, const ChunkInfo& info, AnimInterm& anim, const Skeleton* pSkeleton)
{
    std::unique_ptr<BoneMatrixStream> pMatrices = ReadKeyStream<BoneMatrixStream>(payload);
    const bool animated = payload.ReadUInt8() != 0;
    const int index = pSkeleton ? pSkeleton->FindBone(ra::NameOf(info.name.c_str())) : Bone::InvalidIndex;
    if (index == Bone::InvalidIndex)
    {
        dbWarningf("Unable to find bone %s in skeleton, ignoring it!", info.name.c_str());
        return;
    }
    anim.SetBoneMatrixStream(index, std::move(pMatrices));
    anim.SetBoneAnimated(index, animated);
}

std::unique_ptr<AnimInterm> ReadData(Chunky& chunky, ByteStreamAdapter& adapter, const RenderModel& model,
                                     const char* animName)
{
    chunky.ReadFolderChunk(ID_DATA, AnimDataIntermVersion);
    auto pAnim = std::make_unique<AnimInterm>(animName);
    const Skeleton* pSkeleton = model.GetSkeleton();
    if (pSkeleton != nullptr)
    {
        pAnim->SetBoneCount(pSkeleton->GetBoneCount());
        for (int32 i = 0; i < pSkeleton->GetBoneCount(); ++i)
            pAnim->SetBoneName(i, pSkeleton->GetBone(i)->GetName());
    }
    bool hasInfo = false;
    ChunkInfo info;
    while (chunky.NextChunk(info))
    {
        if (info.kind != Chunky::CT_Data)
            continue;
        if (info.id == ID_INFO)
        {
            Payload payload(adapter, chunky.ReadDataChunk(ID_INFO, AnimInfoIntermVersion));
            ReadInfo(payload, *pAnim);
            hasInfo = true;
        }
        else if (info.id == ID_BANM)
        {
            const ChunkInfo chunk = chunky.ReadDataChunk(ID_BANM, BANMIntermVersion);
            Payload payload(adapter, chunk);
            ReadBoneMatrices(payload, chunk, *pAnim, pSkeleton);
        }
        else if (info.id == ID_CONS)
        {
            const ChunkInfo chunk = chunky.ReadDataChunk(ID_CONS, CONSVersion);
            Payload payload(adapter, chunk);
            const ra::Name streamName = ra::NameOf(chunk.name.c_str());
            if (dbAssert(streamName != ra::Name::INVALID))
                AnimLoadGeneric::ReadControl(payload, chunk, *pAnim, model, false);
        }
        else if (info.id == ID_CMRA)
        {
            const ChunkInfo chunk = chunky.ReadDataChunk(ID_CMRA, CMRAAnimVersion);
            Payload payload(adapter, chunk);
            AnimLoadGeneric::ReadCamera(payload, chunk, *pAnim, model);
        }
        else
            continue;
        chunky.CloseChunk();
    }
    chunky.CloseChunk();
    if (!hasInfo)
        ThrowBadContent(adapter, "Animation '%s' has no frame count!", animName);
    return pAnim;
}

// Model-space matrices of every bone, sampled from an ordinary animation once per frame: each
// bone's streams (or its reference pose where it has none) under its parent's matrix.
std::vector<std::unique_ptr<BoneMatrixStream>> SampleBoneMatrices(const Anim& anim, const Skeleton& skeleton)
{
    const int boneCount = skeleton.GetBoneCount();
    const uint32 keyCount = std::min<uint32>(uint32(anim.GetFrameCount()), BoneMatrixStream::MaxKeyCount);
    std::vector<std::unique_ptr<BoneMatrixStream>> cStream(static_cast<size_t>(boneCount));
    for (auto& pStream : cStream)
        pStream = std::make_unique<BoneMatrixStream>(keyCount);
    std::vector<AnimHints> cHint(static_cast<size_t>(boneCount));
    std::vector<ra::Matrix34> cWorld(static_cast<size_t>(boneCount));
    for (uint32 k = 0; k < keyCount; ++k)
    {
        const float t = keyCount > 1 ? float(k) / float(keyCount - 1) : 0.0f;
        for (int b = 0; b < boneCount; ++b)
        {
            const Bone* pBone = skeleton.GetBone(b);
            ra::Vec3 position = pBone->GetPosition();
            ra::Quat rotation = pBone->GetRotation();
            if (b < anim.GetBoneCount())
            {
                AnimHints& hints = cHint[size_t(b)];
                if (const BonePositionStream* pPositions = anim.GetPositionStream(b))
                    position = pPositions->Evaluate(t, false, hints.position);
                if (const BoneRotationStream* pRotations = anim.GetRotationStream(b))
                    rotation = pRotations->Evaluate(t, false, hints.rotation);
            }
            ra::Matrix34 world = ra::MatrixFromQuatPos(rotation, position);
            const int32 parent = pBone->GetParentIndex();
            if (parent != Bone::InvalidIndex)
                world = world * cWorld[size_t(parent)];
            cWorld[size_t(b)] = world;
            cStream[size_t(b)]->SetTime(k, t);
            cStream[size_t(b)]->SetValue(k, world);
        }
    }
    return cStream;
}

// An ordinary animation holds a shader's control values relative to the shader's base, while the
// intermediate form holds them with the base on. The base goes back on through the very fix-up
// that reading applies, run on the negated values (-v - base is exactly -(v + base)), so that
// writing and reading take off and put on the same base. One key far outside the fix-up's
// tolerance keeps the stream from being dropped as flat.
std::unique_ptr<ControlStream> WithShaderBase(const Anim& anim, int controlIndex, const ra::MeshGroup* pGroup)
{
    const ControlStream* pStream = anim.GetControlStream(controlIndex);
    const ControlInfo& info = anim.GetControlInfo(controlIndex);
    if (pStream == nullptr || pGroup == nullptr || info.targetType != ControlInfo::Target_Shader)
        return CopyStream(pStream);
    const uint32 keyCount = pStream->GetKeyCount();
    auto pNegated = std::make_unique<ControlStream>(keyCount + 1);
    for (uint32 k = 0; k < keyCount; ++k)
    {
        pNegated->SetTime(k, pStream->GetKeyTime(k));
        pNegated->SetValue(k, -pStream->GetKeyValue(k));
    }
    pNegated->SetTime(keyCount, 2.0f);
    pNegated->SetValue(keyCount, -1.0e6f);
    AnimInterm probe;
    probe.AddControlStream(anim.GetControlName(controlIndex), info, std::move(pNegated));
    probe.FixControlStreams(*pGroup);
    const ControlStream* pFixed = probe.GetControlStreamCount() == 1 ? probe.GetControlStream(0) : nullptr;
    if (pFixed == nullptr || pFixed->GetKeyCount() != keyCount + 1)
        return CopyStream(pStream);
    auto pOut = std::make_unique<ControlStream>(keyCount);
    for (uint32 k = 0; k < keyCount; ++k)
    {
        pOut->SetTime(k, pStream->GetKeyTime(k));
        pOut->SetValue(k, -pFixed->GetKeyValue(k));
    }
    return pOut;
}

bool HasBoneStreams(const Anim& anim)
{
    for (int i = 0; i < anim.GetBoneCount(); ++i)
        if (anim.GetPositionStream(i) || anim.GetRotationStream(i))
            return true;
    return false;
}
} // namespace

int AnimLoadInterm::Load(Chunky& chunky, ByteStreamAdapter& adapter, AnimList& list)
{
    const RenderModel& model = list.GetRenderModel();
    const ChunkInfo anim = chunky.ReadFolderChunk(ID_ANIM, ANIMIntermVersion);
    const char* animName = anim.name.c_str();
    if (animName[0] == '\0')
        ThrowBadContent(adapter, "An animation has no name!");
    std::unique_ptr<AnimInterm> pInterm;
    if (chunky.FindChunk(Chunky::CT_Folder, ID_DATA))
        pInterm = ReadData(chunky, adapter, model, animName);
    chunky.CloseChunk();
    if (!pInterm)
        ThrowBadContent(adapter, "Animation '%s' holds no data!", animName);

    pInterm->Convert(model);
    Inv::Reference<Anim> animRef = Anim::AddToInventory(ToAnim(*pInterm));
    if (!animRef.IsValid())
        return AnimList::InvalidIndex;
    return list.AddAnim(AnimLoadGeneric::MakeNode(model, animRef), true);
}

void AnimLoadInterm::Save(Chunky& chunky, ByteStreamAdapter& adapter, const AnimListNode& node,
                          const RenderModel& model)
{
    const Anim* pAnim = node.GetAnim().Get();
    if (!dbAssert(pAnim))
        return;
    const char* name = ra::NameText(pAnim->GetName());
    if (!dbAssert(name))
        return;
    if (name[0] == '\0')
    {
        dbBreakMsg("name[ 0 ] != '\\0'");
        return;
    }
    const auto* pInterm = dynamic_cast<const AnimInterm*>(pAnim);
    const Skeleton* pSkeleton = model.GetSkeleton();

    chunky.OpenFolderChunk(ID_ANIM, ANIMIntermVersion, name);
    chunky.OpenFolderChunk(ID_DATA, AnimDataIntermVersion, name);

    chunky.OpenDataChunk(ID_INFO, AnimInfoIntermVersion, nullptr);
    WriteInt32(adapter, pAnim->GetFrameCount());
    WriteFloat(adapter, pAnim->GetTime());
    chunky.CloseChunk();

    std::vector<std::unique_ptr<BoneMatrixStream>> cSampled;
    if (pInterm == nullptr && pSkeleton != nullptr && pSkeleton->GetBoneCount() == pAnim->GetBoneCount() &&
        HasBoneStreams(*pAnim))
        cSampled = SampleBoneMatrices(*pAnim, *pSkeleton);
    for (int i = 0; i < pAnim->GetBoneCount(); ++i)
    {
        const BoneMatrixStream* pMatrices = nullptr;
        if (pInterm != nullptr)
            pMatrices = pInterm->GetBoneMatrixStream(i);
        else if (size_t(i) < cSampled.size())
            pMatrices = cSampled[size_t(i)].get();
        chunky.OpenDataChunk(ID_BANM, BANMIntermVersion, ra::NameText(pAnim->GetBoneName(i)));
        WriteKeyStream(adapter, pMatrices);
        WriteUInt8(adapter, pAnim->IsBoneAnimated(i) ? 1 : 0);
        chunky.CloseChunk();
    }
    for (int i = 0; i < pAnim->GetControlStreamCount(); ++i)
    {
        chunky.OpenDataChunk(ID_CONS, CONSVersion, ra::NameText(pAnim->GetControlName(i)));
        if (pInterm != nullptr)
            AnimLoadGeneric::WriteControl(adapter, pAnim->GetControlInfo(i), pAnim->GetControlStream(i));
        else
            AnimLoadGeneric::WriteControl(adapter, pAnim->GetControlInfo(i),
                                          WithShaderBase(*pAnim, i, model.GetMeshGroup()).get());
        chunky.CloseChunk();
    }
    for (int i = 0; i < pAnim->GetCameraCount(); ++i)
    {
        chunky.OpenDataChunk(ID_CMRA, CMRAAnimVersion, ra::NameText(pAnim->GetCameraName(i)));
        WriteKeyStream(adapter, pAnim->GetCameraPositionStream(i));
        WriteKeyStream(adapter, pAnim->GetCameraRotationStream(i));
        chunky.CloseChunk();
    }
    chunky.CloseChunk();
    chunky.CloseChunk();
}
