#include "model/file/animchunk.h"

#include "foundation/debug.h"
#include "foundation/output.h"
#include "inventory/warehouse.h"
#include "model/file/modelchunk.h"
#include "model/file/modelparts.h"
#include "model/mesh/meshgroup.h"
#include "model/rendermodel.h"
#include "model/skeleton/skeleton.h"
#include "storage/bytestreamadapter.h"
#include "storage/chunky.h"

#include <cmath>

using namespace ModelChunk;

namespace AnimChunk
{
std::unique_ptr<AnimListNode> MakeNode(const RenderModel& model, const Inv::Reference<Anim>& animRef)
{
    const Skeleton* pSkeleton = model.GetSkeleton();
    auto pNode =
        std::make_unique<AnimListNode>(pSkeleton ? pSkeleton->GetBoneCount() : 0, model.GetCameraCount(),
                                       animRef.Get() ? animRef.Get()->GetControlStreamCount() : 0);
    pNode->SetAnim(animRef);
    return pNode;
}

void SetFrames(Payload& payload, Anim& anim, int64 frameCount, float time)
{
    if (frameCount <= 0 || frameCount > INT32_MAX)
        ThrowBadContent(payload.GetAdapter(), "Animation '%s' has %lld frames!", ra::NameText(anim.GetName()),
                        static_cast<long long>(frameCount));
    if (!(time > 0.0f) || !std::isfinite(time))
        ThrowBadContent(payload.GetAdapter(), "Animation '%s' lasts %g seconds!",
                        ra::NameText(anim.GetName()), double(time));
    anim.SetFrameCount(int32(frameCount));
    anim.SetTime(time);
}

void SetSkeletonBones(Anim& anim, const Skeleton* pSkeleton)
{
    if (pSkeleton == nullptr)
        return;
    anim.SetBoneCount(pSkeleton->GetBoneCount());
    for (int32 i = 0; i < pSkeleton->GetBoneCount(); ++i)
        anim.SetBoneName(i, pSkeleton->GetBone(i)->GetName());
}

void ReadControl(Payload& payload, const char* nameText, Anim& anim, const RenderModel& model,
                 bool oldVisibility)
{
    ControlInfo control;
    control.targetType = payload.ReadInt32();
    control.channel = payload.ReadInt32();
    control.parameter = payload.ReadInt32();
    std::unique_ptr<ControlStream> pStream = ReadKeyStream<ControlStream>(payload);

    const ra::Name name = ra::NameOf(nameText);
    const ra::MeshGroup* pGroup = model.GetMeshGroup();
    if (control.targetType == ControlInfo::Target_Shader)
    {
        control.m_index = pGroup ? pGroup->FindShader(name) : ra::MeshGroup::InvalidIndex;
        if (control.m_index == ra::MeshGroup::InvalidIndex)
        {
            dbWarningf("Could not find shader '%s' in model '%s' for animation '%s'", nameText,
                       ModelParts::ModelName(model), ra::NameText(anim.GetName()));
            return;
        }
    }
    else if (control.targetType == ControlInfo::Target_Mesh)
    {
        control.m_index = pGroup ? pGroup->FindMesh(name) : ra::MeshGroup::InvalidIndex;
        if (control.m_index == ra::MeshGroup::InvalidIndex)
        {
            dbWarningf("Could not find mesh '%s' in model '%s' for animation '%s'", nameText,
                       ModelParts::ModelName(model), ra::NameText(anim.GetName()));
            return;
        }
    }
    // Values of the first version were one lower.
    if (oldVisibility && control.parameter == 0 && pStream)
        pStream->OffsetValues(1.0f);
    anim.AddControlStream(name, control, std::move(pStream));
}

void WriteControl(ByteStreamAdapter& adapter, const ControlInfo& control, const ControlStream* pStream)
{
    WriteInt32(adapter, control.targetType);
    WriteInt32(adapter, control.channel);
    WriteInt32(adapter, control.parameter);
    WriteKeyStream(adapter, pStream);
}

void ReadCamera(Payload& payload, const char* nameText, Anim& anim, const RenderModel& model)
{
    std::unique_ptr<CameraPositionStream> pPositions = ReadKeyStream<CameraPositionStream>(payload);
    std::unique_ptr<CameraRotationStream> pRotations = ReadKeyStream<CameraRotationStream>(payload);
    const ra::Name name = ra::NameOf(nameText);
    if (model.FindCamera(name) == RenderModel::InvalidIndex)
    {
        dbWarningf("Could not find camera '%s' in model '%s' for animation '%s'", nameText,
                   ModelParts::ModelName(model), ra::NameText(anim.GetName()));
        return;
    }
    anim.AddCamera(name, std::move(pPositions), std::move(pRotations));
}

void WriteCamera(ByteStreamAdapter& adapter, const Anim& anim, int index)
{
    WriteKeyStream(adapter, anim.GetCameraPositionStream(index));
    WriteKeyStream(adapter, anim.GetCameraRotationStream(index));
}

Inv::Reference<Anim> FindXRefAnim(const char* file, ra::Name animName)
{
    Inv::Reference<RenderModel> xrefModelRef = Inv::Load<RenderModel>(file);
    if (!dbAssert(xrefModelRef.IsValid()))
        return {};
    const AnimList* pList = xrefModelRef.Get() ? xrefModelRef.Get()->GetAnimList() : nullptr;
    const int index = pList ? pList->FindAnim(animName) : AnimList::InvalidIndex;
    if (index == AnimList::InvalidIndex)
        return {};
    return pList->GetAnimNode(index)->GetAnim();
}
void ReadBox(Chunky& chunky, ByteStreamAdapter& adapter, ra::Vec3& minimum, ra::Vec3& maximum)
{
    Payload payload(adapter, chunky.ReadDataChunk(ID_ANBV, ANBVVersion));
    minimum = payload.ReadVec3();
    maximum = payload.ReadVec3();
    chunky.CloseChunk();
}

void WriteBox(Chunky& chunky, ByteStreamAdapter& adapter, const AnimListNode& node, const char* animName)
{
    ra::Vec3 minimum, maximum;
    if (!node.GetBV(minimum, maximum))
        return;
    chunky.OpenDataChunk(ID_ANBV, ANBVVersion, animName);
    WriteVec3(adapter, minimum);
    WriteVec3(adapter, maximum);
    chunky.CloseChunk();
}

void WriteXRefFields(ByteStreamAdapter& adapter, const AnimListNode& node, const char* animName)
{
    adapter.WriteString(ra::NameText(node.GetXRefName()));
    adapter.WriteString(animName);
}
} // namespace AnimChunk
