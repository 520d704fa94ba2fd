#include "model/file/final/animloadfinal.h"

#include "foundation/debug.h"
#include "foundation/output.h"
#include "inventory/warehouse.h"
#include "model/file/animchunk.h"
#include "model/file/final/finalchunk.h"
#include "model/file/modelparts.h"
#include "model/rendermodel.h"
#include "model/skeleton/skeleton.h"
#include "storage/bytestreamadapter.h"
#include "storage/chunky.h"

#include <string>

using namespace FinalChunk;
using namespace ModelChunk;

namespace
{

// The animation of that name that a model loaded before put into the inventory.
Inv::Reference<Anim> FindShared(const char* animName)
{
    Inv::Warehouse* pWarehouse = Inv::Warehouse::Get();
    Inv::Resource* pResource = nullptr;
    if (pWarehouse == nullptr || !pWarehouse->Find(&pResource, animName, Anim::GetTypeInfo()))
        return {};
    return Inv::Reference<Anim>(pResource);
}

Inv::Reference<Anim> AddShared(std::unique_ptr<Anim> pAnim)
{
    Inv::Warehouse* pWarehouse = Inv::Warehouse::Get();
    if (!dbAssert(pWarehouse))
        return {};
    Inv::Reference<Anim> animRef = pWarehouse->Add<Anim>(pAnim.get());
    if (animRef.IsValid())
        pAnim.release();
    return animRef;
}

void ReadBones(Payload& payload, Anim& anim, const Skeleton* pSkeleton)
{
    const int32 boneCount = pSkeleton ? pSkeleton->GetBoneCount() : 0;
    // A bone takes at least its name's length, two key counts and its flag.
    const uint32 count = payload.ReadCount(4 + 4 + 4 + 1);
    if (count != 0 && int32(count) != boneCount)
    {
        dbBreakMsg("count == boneCount");
        ThrowBadContent(payload.GetAdapter(), "Animation '%s' has %u bones, the skeleton %d!",
                        ra::NameText(anim.GetName()), count, boneCount);
    }
    for (uint32 i = 0; i < count; ++i)
    {
        char name[ra::MotionPayloadReader::MaxString + 1];
        payload.ReadString(name);
        std::unique_ptr<BonePositionStream> pPositions = ReadKeyStream<BonePositionStream>(payload);
        std::unique_ptr<BoneRotationStream> pRotations = ReadKeyStream<BoneRotationStream>(payload);
        const bool animated = payload.ReadUInt8() != 0;
        const int index = pSkeleton->FindBone(ra::NameOf(name));
        if (index == Anim::InvalidIndex)
        {
            dbWarningf("Unable to find bone %s in skeleton, ignoring it!", name);
            continue;
        }
        anim.SetPositionStream(index, std::move(pPositions));
        anim.SetRotationStream(index, std::move(pRotations));
        anim.SetBoneAnimated(index, animated);
    }
}

std::unique_ptr<Anim> ReadData(Payload& payload, const ChunkInfo& info, const RenderModel& model,
                               const char* animName)
{
    auto pAnim = std::make_unique<Anim>(animName);
    Anim& anim = *pAnim;
    const int32 frameCount = payload.ReadInt32();
    const float time = payload.ReadFloat();
    AnimChunk::SetFrames(payload, anim, frameCount, time);
    AnimChunk::SetSkeletonBones(anim, model.GetSkeleton());
    ReadBones(payload, anim, model.GetSkeleton());

    char name[ra::MotionPayloadReader::MaxString + 1];
    // A control takes at least its name's length, three fields and its key count.
    const uint32 controlCount = payload.ReadCount(4 + 4 * 4);
    for (uint32 i = 0; i < controlCount; ++i)
    {
        payload.ReadString(name);
        AnimChunk::ReadControl(payload, name, anim, model, false);
    }
    if (info.version >= 2)
    {
        const uint32 cameraCount = payload.ReadCount(4 + 4 + 4);
        for (uint32 i = 0; i < cameraCount; ++i)
        {
            payload.ReadString(name);
            AnimChunk::ReadCamera(payload, name, anim, model);
        }
    }
    return pAnim;
}

void WriteData(ByteStreamAdapter& adapter, const Anim& anim)
{
    WriteInt32(adapter, anim.GetFrameCount());
    WriteFloat(adapter, anim.GetTime());
    WriteInt32(adapter, anim.GetBoneCount());
    for (int i = 0; i < anim.GetBoneCount(); ++i)
    {
        adapter.WriteString(ra::NameText(anim.GetBoneName(i)));
        WriteKeyStream(adapter, anim.GetPositionStream(i));
        WriteKeyStream(adapter, anim.GetRotationStream(i));
        WriteUInt8(adapter, anim.IsBoneAnimated(i) ? 1 : 0);
    }
    WriteInt32(adapter, anim.GetControlStreamCount());
    for (int i = 0; i < anim.GetControlStreamCount(); ++i)
    {
        adapter.WriteString(ra::NameText(anim.GetControlName(i)));
        AnimChunk::WriteControl(adapter, anim.GetControlInfo(i), anim.GetControlStream(i));
    }
    WriteInt32(adapter, anim.GetCameraCount());
    for (int i = 0; i < anim.GetCameraCount(); ++i)
    {
        adapter.WriteString(ra::NameText(anim.GetCameraName(i)));
        AnimChunk::WriteCamera(adapter, anim, i);
    }
}
} // namespace

int AnimLoadFinal::Load(Chunky& chunky, ByteStreamAdapter& adapter, AnimList& list)
{
    const RenderModel& model = list.GetRenderModel();
    const ChunkInfo folder = chunky.ReadFolderChunk(ID_ANIM, ANIMVersion);
    const char* animName = folder.name.c_str();
    if (animName[0] == '\0')
        ThrowBadContent(adapter, "An animation of model '%s' has no name!", ModelParts::ModelName(model));

    Inv::Reference<Anim> animRef;
    bool hasData = false;
    bool hasXRef = false;
    std::string xrefFile;
    ra::Name xrefAnim;
    bool hasBV = false;
    ra::Vec3 minimum, maximum;
    ChunkInfo info;
    while (chunky.NextChunk(info))
    {
        if (info.kind != Chunky::CT_Data)
            continue;
        if (info.id == ID_DATA)
        {
            hasData = true;
            // An animation of this name is loaded already: the chunk is passed over unread.
            animRef = info.name.empty() ? Inv::Reference<Anim>() : FindShared(info.name.c_str());
            if (animRef.IsValid())
                continue;
            const ChunkInfo data = chunky.ReadDataChunk(ID_DATA, AnimDataVersion);
            Payload payload(adapter, data);
            std::unique_ptr<Anim> pAnim = ReadData(payload, data, model, animName);
            chunky.CloseChunk();
            animRef = AddShared(std::move(pAnim));
        }
        else if (info.id == ID_XREF)
        {
            Payload payload(adapter, chunky.ReadDataChunk(ID_XREF, XREFVersion));
            xrefFile = payload.ReadString();
            xrefAnim = payload.ReadName();
            chunky.CloseChunk();
            if (xrefFile.empty() || xrefAnim == ra::Name::INVALID)
                ThrowBadContent(adapter, "A cross-referenced animation lacks its model or its name!");
            hasXRef = true;
        }
        else if (info.id == ID_ANBV)
        {
            AnimChunk::ReadBox(chunky, adapter, minimum, maximum);
            hasBV = true;
        }
    }
    chunky.CloseChunk();

    if (!hasData && !hasXRef)
        ThrowBadContent(adapter, "Animation '%s' holds neither its data nor a cross-reference!", animName);
    ra::Name xrefName = ra::Name::INVALID;
    if (!hasData)
    {
        animRef = AnimChunk::FindXRefAnim(xrefFile.c_str(), xrefAnim);
        if (!animRef.IsValid())
        {
            dbWarningf("'%s': XRef'ed Anim '%s' in model '%s' is missing!", ModelParts::ModelName(model),
                       ra::NameText(xrefAnim), xrefFile.c_str());
            return AnimList::InvalidIndex;
        }
        xrefName = ra::MakeName(xrefFile.c_str());
    }
    if (!animRef.IsValid())
        return AnimList::InvalidIndex;
    std::unique_ptr<AnimListNode> pNode = AnimChunk::MakeNode(model, animRef);
    pNode->SetXRefName(xrefName);
    if (hasBV)
        pNode->SetBV(minimum, maximum);
    return list.AddAnim(std::move(pNode), true);
}

void AnimLoadFinal::Save(Chunky& chunky, ByteStreamAdapter& adapter, const AnimListNode& node)
{
    const Anim* pAnim = node.GetAnim().Get();
    if (!dbAssert(pAnim))
        return;
    const char* animName = ra::NameText(pAnim->GetName());
    chunky.OpenFolderChunk(ID_ANIM, ANIMVersion, animName);
    if (node.HasXRefName())
    {
        chunky.OpenDataChunk(ID_XREF, XREFVersion, nullptr);
        AnimChunk::WriteXRefFields(adapter, node, animName);
        chunky.CloseChunk();
    }
    else
    {
        chunky.OpenDataChunk(ID_DATA, AnimDataVersion, animName);
        WriteData(adapter, *pAnim);
        chunky.CloseChunk();
    }
    AnimChunk::WriteBox(chunky, adapter, node, animName);
    chunky.CloseChunk();
}
