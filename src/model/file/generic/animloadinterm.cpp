#include "model/file/generic/animloadinterm.h"

#include "foundation/debug.h"
#include "foundation/output.h"
#include "model/anim/animinterm.h"
#include "model/file/animchunk.h"
#include "model/file/generic/animloadgeneric.h"
#include "model/file/generic/genericchunk.h"
#include "model/mesh/meshgroup.h"
#include "model/rendermodel.h"
#include "model/skeleton/skeleton.h"
#include "storage/bytestreamadapter.h"
#include "storage/chunky.h"

#include <algorithm>
#include <vector>

using namespace GenericChunk;
using namespace ModelChunk;

namespace
{
template <class StreamT> std::unique_ptr<StreamT> CopyStream(const StreamT* pStream)
{
    return pStream ? std::make_unique<StreamT>(*pStream) : nullptr;
}

void ReadInfo(Payload& payload, Anim& anim)
{
    const int32 frameCount = payload.ReadInt32();
    const float time = payload.ReadFloat();
    AnimChunk::SetFrames(payload, anim, frameCount, time);
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
    AnimInterm& anim = *pAnim;
    const Skeleton* pSkeleton = model.GetSkeleton();
    AnimChunk::SetSkeletonBones(anim, pSkeleton);
    AnimLoadGeneric::ReadDataChunks(
        chunky, adapter, animName,
        {{ID_INFO, AnimInfoIntermVersion,
          [&](Payload& payload, const ChunkInfo&) { ReadInfo(payload, anim); }},
         {ID_BANM, BANMIntermVersion,
          [&](Payload& payload, const ChunkInfo& chunk)
          { ReadBoneMatrices(payload, chunk, anim, pSkeleton); }},
         {ID_CONS, CONSVersion,
          [&](Payload& payload, const ChunkInfo& chunk)
          {
              const ra::Name streamName = ra::NameOf(chunk.name.c_str());
              if (dbAssert(streamName != ra::Name::INVALID))
                  AnimChunk::ReadControl(payload, chunk.name.c_str(), anim, model, false);
          }},
         {ID_CMRA, CMRAAnimVersion, [&](Payload& payload, const ChunkInfo& chunk) {
              AnimChunk::ReadCamera(payload, chunk.name.c_str(), anim, model);
          }}});
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
// intermediate form holds them with the base on: the same base that reading takes off, added only
// where reading subtracts one.
std::unique_ptr<ControlStream> WithShaderBase(const Anim& anim, int controlIndex, const ra::MeshGroup* pGroup)
{
    std::unique_ptr<ControlStream> pStream = CopyStream(anim.GetControlStream(controlIndex));
    const ControlInfo& info = anim.GetControlInfo(controlIndex);
    if (pStream == nullptr || pGroup == nullptr || info.targetType != ControlInfo::Target_Shader)
        return pStream;
    const int32 shaderIndex = pGroup->FindShader(anim.GetControlName(controlIndex));
    if (shaderIndex == ra::MeshGroup::InvalidIndex)
        return pStream;
    if (const Shader* pShader = pGroup->GetShader(shaderIndex).Get())
    {
        const float base = AnimInterm::ShaderBaseValue(*pShader, info);
        if (base != 0.0f)
            pStream->OffsetValues(base);
    }
    return pStream;
}

// What the intermediate form of `anim` is written from: an AnimInterm as it stands (the
// exporter's sampling), or the file's animation kept by a read while it still converts to `anim`
// against the model; null when the matrices must be sampled from the streams.
const AnimInterm* IntermSource(const Anim& anim, const RenderModel& model)
{
    if (const auto* pInterm = dynamic_cast<const AnimInterm*>(&anim))
        return pInterm;
    const auto* pRead = dynamic_cast<const AnimFromInterm*>(&anim);
    if (pRead != nullptr && pRead->SourceHolds(model))
        return pRead->GetSource();
    return nullptr;
}

bool HasBoneStreams(const Anim& anim)
{
    for (int i = 0; i < anim.GetBoneCount(); ++i)
        if (anim.GetPositionStream(i) || anim.GetRotationStream(i))
            return true;
    return false;
}

void WriteInfo(Chunky& chunky, ByteStreamAdapter& adapter, const Anim& anim)
{
    chunky.OpenDataChunk(ID_INFO, AnimInfoIntermVersion, nullptr);
    WriteInt32(adapter, anim.GetFrameCount());
    WriteFloat(adapter, anim.GetTime());
    chunky.CloseChunk();
}

void WriteBoneMatrices(Chunky& chunky, ByteStreamAdapter& adapter, const Anim& anim, int boneIndex,
                       const BoneMatrixStream* pMatrices)
{
    chunky.OpenDataChunk(ID_BANM, BANMIntermVersion, ra::NameText(anim.GetBoneName(boneIndex)));
    WriteKeyStream(adapter, pMatrices);
    WriteUInt8(adapter, anim.IsBoneAnimated(boneIndex) ? 1 : 0);
    chunky.CloseChunk();
}

void WriteControl(Chunky& chunky, ByteStreamAdapter& adapter, const Anim& anim, int controlIndex,
                  const ControlStream* pStream)
{
    chunky.OpenDataChunk(ID_CONS, CONSVersion, ra::NameText(anim.GetControlName(controlIndex)));
    AnimChunk::WriteControl(adapter, anim.GetControlInfo(controlIndex), pStream);
    chunky.CloseChunk();
}

// An AnimInterm as it stands: its matrices, its control values with their base on, its cameras.
void WriteAnimInterm(Chunky& chunky, ByteStreamAdapter& adapter, const AnimInterm& anim, const char* name)
{
    chunky.OpenFolderChunk(ID_ANIM, ANIMIntermVersion, name);
    chunky.OpenFolderChunk(ID_DATA, AnimDataIntermVersion, name);
    WriteInfo(chunky, adapter, anim);
    for (int i = 0; i < anim.GetBoneCount(); ++i)
        WriteBoneMatrices(chunky, adapter, anim, i, anim.GetBoneMatrixStream(i));
    for (int i = 0; i < anim.GetControlStreamCount(); ++i)
        WriteControl(chunky, adapter, anim, i, anim.GetControlStream(i));
    AnimLoadGeneric::WriteCameras(chunky, adapter, anim);
    chunky.CloseChunk();
    chunky.CloseChunk();
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

    // The model holds the converted animation, as a read of the generic form gives it; the file's
    // animation goes with it for the intermediate writer.
    std::unique_ptr<AnimInterm> pSource = pInterm->Clone();
    pInterm->Convert(model);
    Inv::Reference<Anim> animRef =
        Anim::AddToInventory(std::make_unique<AnimFromInterm>(*pInterm, std::move(pSource)));
    if (!animRef.IsValid())
        return AnimList::InvalidIndex;
    return list.AddAnim(AnimChunk::MakeNode(model, animRef), true);
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
    const Skeleton* pSkeleton = model.GetSkeleton();
    if (const AnimInterm* pInterm = IntermSource(*pAnim, model))
    {
        WriteAnimInterm(chunky, adapter, *pInterm, name);
        return;
    }

    chunky.OpenFolderChunk(ID_ANIM, ANIMIntermVersion, name);
    chunky.OpenFolderChunk(ID_DATA, AnimDataIntermVersion, name);
    WriteInfo(chunky, adapter, *pAnim);
    std::vector<std::unique_ptr<BoneMatrixStream>> cSampled;
    if (pSkeleton != nullptr && pSkeleton->GetBoneCount() == pAnim->GetBoneCount() && HasBoneStreams(*pAnim))
        cSampled = SampleBoneMatrices(*pAnim, *pSkeleton);
    for (int i = 0; i < pAnim->GetBoneCount(); ++i)
        WriteBoneMatrices(chunky, adapter, *pAnim, i,
                          size_t(i) < cSampled.size() ? cSampled[size_t(i)].get() : nullptr);
    for (int i = 0; i < pAnim->GetControlStreamCount(); ++i)
        WriteControl(chunky, adapter, *pAnim, i, WithShaderBase(*pAnim, i, model.GetMeshGroup()).get());
    AnimLoadGeneric::WriteCameras(chunky, adapter, *pAnim);
    chunky.CloseChunk();
    chunky.CloseChunk();
}
