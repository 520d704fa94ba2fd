#include "model/file/generic/animloadgeneric.h"

#include "foundation/debug.h"
#include "foundation/output.h"
#include "inventory/warehouse.h"
#include "model/file/animchunk.h"
#include "model/file/generic/genericchunk.h"
#include "model/file/modelparts.h"
#include "model/mesh/meshgroup.h"
#include "model/rendermodel.h"
#include "model/skeleton/skeleton.h"
#include "storage/bytestreamadapter.h"
#include "storage/chunky.h"
#include "storage/filepath.h"
#include "storage/filepathutil.h"

#include <cmath>
#include <string>

using namespace GenericChunk;
using namespace ModelChunk;

namespace
{

void ReadInfo(Payload& payload, const ChunkInfo& info, Anim& anim)
{
    int64 frameCount = 0;
    float time = 0.0f;
    if (info.version >= 5)
    {
        frameCount = payload.ReadInt32();
        time = payload.ReadFloat();
    }
    else
    {
        if (info.version == 1)
            payload.ReadInt32();
        const int32 startFrame = payload.ReadInt32();
        const int32 endFrame = payload.ReadInt32();
        const float frameRate = payload.ReadFloat();
        if (info.version < 4)
            payload.Skip(2 * 12);
        if (info.version < 3)
            payload.ReadInt32();
        if (info.version < 4)
            payload.Skip(2 * 12);
        frameCount = int64(endFrame) - int64(startFrame) + 1;
        time = float(double(frameCount) / double(frameRate));
    }
    AnimChunk::SetFrames(payload, anim, frameCount, time);
}

// The bone entry of a stream: the skeleton's bone of that name, or without a skeleton an entry of
// its own in file order. InvalidIndex for a bone the skeleton lacks.
int BoneEntry(Anim& anim, const Skeleton* pSkeleton, ra::Name name)
{
    if (pSkeleton != nullptr)
        return pSkeleton->FindBone(name);
    if (name == ra::Name::INVALID)
        return Anim::InvalidIndex;
    const int index = anim.FindBone(name);
    return index != Anim::InvalidIndex ? index : anim.AddBone(name);
}

void ReadBoneAnim(Payload& payload, const ChunkInfo& info, Anim& anim, const Skeleton* pSkeleton)
{
    std::unique_ptr<BonePositionStream> pPositions = ReadKeyStream<BonePositionStream>(payload);
    std::unique_ptr<BoneRotationStream> pRotations = ReadKeyStream<BoneRotationStream>(payload);
    const bool animated = info.version >= 2 ? payload.ReadUInt8() != 0 : payload.ReadInt32() > 0;

    const ra::Name name = ra::NameOf(info.name.c_str());
    const int index = BoneEntry(anim, pSkeleton, name);
    if (index == Anim::InvalidIndex)
    {
        dbWarningf("Unable to find bone %s in skeleton, ignoring it!", info.name.c_str());
        return;
    }
    anim.SetPositionStream(index, std::move(pPositions));
    anim.SetRotationStream(index, std::move(pRotations));
    anim.SetBoneAnimated(index, animated);
}

} // namespace

void AnimLoadGeneric::ReadDataChunks(Chunky& chunky, ByteStreamAdapter& adapter, const char* animName,
                                     std::initializer_list<DataChunkReader> readers)
{
    bool hasInfo = false;
    ChunkInfo info;
    while (chunky.NextChunk(info))
    {
        if (info.kind != Chunky::CT_Data)
            continue;
        for (const DataChunkReader& reader : readers)
        {
            if (reader.id != info.id)
                continue;
            const ChunkInfo chunk = chunky.ReadDataChunk(reader.id, reader.version);
            Payload payload(adapter, chunk);
            reader.read(payload, chunk);
            chunky.CloseChunk();
            hasInfo = hasInfo || reader.id == ID_INFO;
            break;
        }
    }
    chunky.CloseChunk();
    if (!hasInfo)
        ThrowBadContent(adapter, "Animation '%s' has no frame count!", animName);
}

void AnimLoadGeneric::WriteCameras(Chunky& chunky, ByteStreamAdapter& adapter, const Anim& anim)
{
    for (int i = 0; i < anim.GetCameraCount(); ++i)
    {
        chunky.OpenDataChunk(ID_CMRA, CMRAAnimVersion, ra::NameText(anim.GetCameraName(i)));
        AnimChunk::WriteCamera(adapter, anim, i);
        chunky.CloseChunk();
    }
}

namespace
{

// The "DATA" folder: the animation's own streams.
std::unique_ptr<Anim> ReadData(Chunky& chunky, ByteStreamAdapter& adapter, const RenderModel& model,
                               const char* animName)
{
    chunky.ReadFolderChunk(ID_DATA, AnimDataVersion);
    auto pAnim = std::make_unique<Anim>(animName);
    Anim& anim = *pAnim;
    const Skeleton* pSkeleton = model.GetSkeleton();
    AnimChunk::SetSkeletonBones(anim, pSkeleton);
    AnimLoadGeneric::ReadDataChunks(
        chunky, adapter, animName,
        {{ID_INFO, AnimInfoVersion,
          [&](Payload& payload, const ChunkInfo& chunk) { ReadInfo(payload, chunk, anim); }},
         {ID_BANM, BANMVersion,
          [&](Payload& payload, const ChunkInfo& chunk) { ReadBoneAnim(payload, chunk, anim, pSkeleton); }},
         {ID_CANM, CANMVersion,
          [&](Payload& payload, const ChunkInfo& chunk)
          { AnimChunk::ReadControl(payload, chunk.name.c_str(), anim, model, chunk.version == 1); }},
         {ID_CMRA, CMRAAnimVersion, [&](Payload& payload, const ChunkInfo& chunk) {
              AnimChunk::ReadCamera(payload, chunk.name.c_str(), anim, model);
          }}});
    return pAnim;
}

// The animation of another model's file that an "XREF" names.
struct XRef
{
    std::string file;
    ra::Name animName;
};

XRef ReadXRef(Chunky& chunky, ByteStreamAdapter& adapter, const char* folder)
{
    const ChunkInfo info = chunky.ReadDataChunk(ID_XREF, XREFVersion);
    Payload payload(adapter, info);
    XRef xref;
    xref.file = payload.ReadString();
    xref.animName = payload.ReadName();
    chunky.CloseChunk();
    char joined[FilePath::MAXPATH];
    if (info.version <= 1 && folder != nullptr && FilePathUtil::Join(joined, folder, xref.file.c_str()))
        xref.file = joined;
    if (xref.file.empty() || xref.animName == ra::Name::INVALID)
        ThrowBadContent(adapter, "A cross-referenced animation lacks its model or its name!");
    return xref;
}

} // namespace

int AnimLoadGeneric::Load(Chunky& chunky, ByteStreamAdapter& adapter, AnimList& list, const char* folder)
{
    const RenderModel& model = list.GetRenderModel();
    const ChunkInfo anim = chunky.ReadFolderChunk(ID_ANIM, ANIMVersion);
    const char* animName = anim.name.c_str();
    if (animName[0] == '\0')
        ThrowBadContent(adapter, "An animation of model '%s' has no name!", ModelParts::ModelName(model));

    std::unique_ptr<Anim> pAnim;
    bool hasXRef = false;
    XRef xref;
    bool hasBV = false;
    ra::Vec3 minimum, maximum;
    ChunkInfo info;
    while (chunky.NextChunk(info))
    {
        if (info.kind == Chunky::CT_Folder && info.id == ID_DATA)
            pAnim = ReadData(chunky, adapter, model, animName);
        else if (info.kind == Chunky::CT_Data && info.id == ID_XREF)
        {
            xref = ReadXRef(chunky, adapter, folder);
            hasXRef = true;
        }
        else if (info.kind == Chunky::CT_Data && info.id == ID_ANBV)
        {
            AnimChunk::ReadBox(chunky, adapter, minimum, maximum);
            hasBV = true;
        }
    }
    chunky.CloseChunk();

    int index = AnimList::InvalidIndex;
    if (pAnim)
    {
        std::unique_ptr<AnimListNode> pNode =
            AnimChunk::MakeNode(model, Anim::AddToInventory(std::move(pAnim)));
        if (!pNode->GetAnim().IsValid())
            return AnimList::InvalidIndex;
        if (hasBV)
            pNode->SetBV(minimum, maximum);
        index = list.AddAnim(std::move(pNode), true);
    }
    else if (hasXRef)
    {
        if (list.FindAnim(xref.animName) != AnimList::InvalidIndex)
        {
            dbWarningf("'%s': XRef'ed Anim '%s' is already present locally, resave the motion tree",
                       ModelParts::ModelName(model), ra::NameText(xref.animName));
            return AnimList::InvalidIndex;
        }
        const ra::Name xrefName = ra::MakeName(xref.file.c_str());
        Inv::Reference<Anim> animRef = AnimChunk::FindXRefAnim(xref.file.c_str(), xref.animName);
        if (!animRef.IsValid())
        {
            dbWarningf("'%s': XRef'ed Anim '%s' in model '%s' is missing!", ModelParts::ModelName(model),
                       ra::NameText(xref.animName), xref.file.c_str());
            index = list.AddAnim(xref.animName, xrefName);
        }
        else
        {
            std::unique_ptr<AnimListNode> pNode = AnimChunk::MakeNode(model, animRef);
            pNode->SetXRefName(xrefName);
            if (hasBV)
                pNode->SetBV(minimum, maximum);
            index = list.AddAnim(std::move(pNode), true);
        }
        if (hasBV && index != AnimList::InvalidIndex && !list.GetAnimNode(index)->HasBV())
            list.GetAnimNode(index)->SetBV(minimum, maximum);
    }
    else
        ThrowBadContent(adapter, "Animation '%s' holds neither its data nor a cross-reference!", animName);
    return index;
}

void AnimLoadGeneric::Save(Chunky& chunky, ByteStreamAdapter& adapter, const AnimListNode& node)
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
        chunky.OpenFolderChunk(ID_DATA, AnimDataVersion, animName);

        chunky.OpenDataChunk(ID_INFO, AnimInfoVersion, nullptr);
        WriteInt32(adapter, pAnim->GetFrameCount());
        WriteFloat(adapter, pAnim->GetTime());
        chunky.CloseChunk();

        for (int i = 0; i < pAnim->GetBoneCount(); ++i)
        {
            chunky.OpenDataChunk(ID_BANM, BANMVersion, ra::NameText(pAnim->GetBoneName(i)));
            WriteKeyStream(adapter, pAnim->GetPositionStream(i));
            WriteKeyStream(adapter, pAnim->GetRotationStream(i));
            WriteUInt8(adapter, pAnim->IsBoneAnimated(i) ? 1 : 0);
            chunky.CloseChunk();
        }
        for (int i = 0; i < pAnim->GetControlStreamCount(); ++i)
        {
            const ControlInfo& control = pAnim->GetControlInfo(i);
            chunky.OpenDataChunk(ID_CANM, CANMVersion, ra::NameText(pAnim->GetControlName(i)));
            AnimChunk::WriteControl(adapter, control, pAnim->GetControlStream(i));
            chunky.CloseChunk();
        }
        WriteCameras(chunky, adapter, *pAnim);
        chunky.CloseChunk();
    }
    AnimChunk::WriteBox(chunky, adapter, node, animName);
    chunky.CloseChunk();
}
