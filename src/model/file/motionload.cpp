#include "model/file/motionload.h"

#include "foundation/debug.h"
#include "foundation/output.h"
#include "model/anim/animlist.h"
#include "model/file/eventload.h"
#include "model/file/modifierload.h"
#include "model/file/motionpayloadreader.h"
#include "model/rendermodel.h"
#include "storage/bytestreamadapter.h"
#include "storage/chunky.h"

#include <iterator>
#include <string>
#include <vector>

namespace
{
// What a motion chunk is read against.
struct MotionReadContext
{
    const char* modelName;
    ra::ModifierList& modifiers;
    const ra::EventList& events;
    AnimList& animList;
};

const char* ModelName(const AnimList& animList)
{
    const char* name = animList.GetRenderModel().GetName();
    return name ? name : "";
}

// The stand-in for a missing animation: one empty animation per motion, made on first need.
AnimListNode* MissingAnimNode(AnimList& animList, const char* motionName)
{
    const std::string missingName = std::string(MotionLoad::MissingAnimPrefix) + motionName;
    const ra::Name name = ra::MakeName(missingName.c_str());
    int index = animList.FindAnim(name);
    if (index == AnimList::InvalidIndex)
        index = animList.AddAnim(name, ra::Name::INVALID);
    if (!dbAssert(index != AnimList::InvalidIndex))
        return nullptr;
    return animList.GetAnimNode(index);
}

// The fields of an MTON chunk, or of an MDAT chunk with `legacy`, into `motion`.
void ReadMotion(ra::MotionPayloadReader& reader, uint32 version, bool legacy, Motion& motion,
                const MotionReadContext& context)
{
    const char* motionName = ra::NameText(motion.GetName());
    char name[ra::MotionPayloadReader::MaxString + 1];

    const bool animWeights = legacy && version < 2;
    const uint32 animCount = reader.ReadCount(animWeights ? 8 : 4);
    for (uint32 i = 0; i < animCount; ++i)
    {
        reader.ReadString(name);
        if (animWeights)
            reader.ReadFloat();
        const int index = context.animList.FindAnim(ra::NameOf(name));
        if (index != AnimList::InvalidIndex)
        {
            motion.AddAnimNode(context.animList.GetAnimNode(index));
            continue;
        }
        dbWarningf("'%s': Animation '%s' referenced in motion '%s' is missing!", context.modelName, name,
                   motionName);
        // The older form only logs; the motion goes on without the animation.
        if (legacy)
            continue;
        if (AnimListNode* pStandIn = MissingAnimNode(context.animList, motionName))
            motion.AddAnimNode(pStandIn);
    }

    if (!legacy || version >= 2)
    {
        const uint32 randomCount = reader.ReadCount(8);
        for (uint32 i = 0; i < randomCount; ++i)
        {
            reader.ReadString(name);
            const float weight = reader.ReadFloat();
            if (!(weight > 0.001f))
            {
                dbWarningf("'%s': Random motion '%s' in motion '%s' has weight %g, ignoring it!",
                           context.modelName, name, motionName, double(weight));
                continue;
            }
            motion.AddRandMotion(ra::NameOf(name), weight);
        }
    }
    motion.SetRandomRepeat(reader.ReadUInt8() != 0);

    const uint32 eventCount = reader.ReadCount(8);
    for (uint32 i = 0; i < eventCount; ++i)
    {
        reader.ReadString(name);
        const float time = reader.ReadFloat();
        const int index = context.events.FindEvent(ra::EventData::NormalizeName(name).c_str());
        if (index == InvalidIndex)
        {
            dbWarningf("EVENTS -- '%s': Event '%s' referenced in motion '%s' is missing!", context.modelName,
                       name, motionName);
            continue;
        }
        motion.AddEvent(context.events.GetEvent(index), time);
    }

    motion.SetType(reader.ReadInt32());
    const float startDelayMin = reader.ReadFloat();
    const float startDelayMax = reader.ReadFloat();
    motion.SetStartDelay(startDelayMin, startDelayMax);
    const float loopDelayMin = reader.ReadFloat();
    const float loopDelayMax = reader.ReadFloat();
    motion.SetLoopDelay(loopDelayMin, loopDelayMax);
    if (version < 4)
        reader.ReadFloat();
    motion.SetTransitionOutTime(reader.ReadFloat());
    if (version >= 2)
    {
        const float startPositionMin = reader.ReadFloat();
        const float startPositionMax = reader.ReadFloat();
        motion.SetStartPosition(startPositionMin, startPositionMax);
        const float exitDelayMin = reader.ReadFloat();
        const float exitDelayMax = reader.ReadFloat();
        motion.SetExitDelay(exitDelayMin, exitDelayMax);
    }
    if (version >= 3)
        motion.SetIgnoreDelays(reader.ReadUInt8() != 0);
    if (version >= 4)
        motion.SetIgnoreTransitions(reader.ReadUInt8() != 0);
    if (legacy && version == 4)
        reader.ReadUInt8();

    if (legacy && version < 3)
    {
        // Modifiers stood in the motion then: each becomes the model's modifier of the motion's name.
        const uint32 modifierCount = reader.ReadCount(12);
        for (uint32 i = 0; i < modifierCount; ++i)
        {
            const ra::Name variable = reader.ReadName();
            const int32 type = reader.ReadInt32();
            const float refValue = reader.ReadFloat();
            const int index = context.modifiers.FindModifier(motion.GetName());
            Modifier* pModifier = index != InvalidIndex ? context.modifiers.GetModifier(index)
                                                        : context.modifiers.CreateModifier(motion.GetName());
            pModifier->SetVariableName(variable);
            pModifier->SetType(type);
            pModifier->SetRefValue(refValue);
            motion.SetTimingModifier(pModifier);
        }
        return;
    }
    if (reader.ReadUInt8() != 0)
    {
        reader.ReadString(name);
        const int index = context.modifiers.FindModifier(ra::NameOf(name));
        if (index == InvalidIndex)
            dbWarningf("'%s': Modifier '%s' referenced in motion '%s' is missing!", context.modelName, name,
                       motionName);
        else
            motion.SetTimingModifier(context.modifiers.GetModifier(index));
    }
}

void WriteMotion(ByteStreamAdapter& adapter, const Motion& motion)
{
    adapter.WriteValue(int32(motion.GetAnimNodeCount()));
    for (int i = 0; i < motion.GetAnimNodeCount(); ++i)
    {
        const AnimListNode* pNode = motion.GetAnimNode(i);
        const Anim* pAnim = pNode ? pNode->GetAnim().Get() : nullptr;
        ra::WriteName(adapter, pAnim ? pAnim->GetName() : ra::Name::INVALID);
    }
    adapter.WriteValue(int32(motion.GetRandMotionCount()));
    for (int i = 0; i < motion.GetRandMotionCount(); ++i)
    {
        const RandomMotion& random = motion.GetRandMotion(i);
        ra::WriteName(adapter, random.name);
        adapter.WriteValue(random.weight);
    }
    adapter.WriteValue(uint8(motion.GetRandomRepeat() ? 1 : 0));
    adapter.WriteValue(int32(motion.GetEventCount()));
    for (int i = 0; i < motion.GetEventCount(); ++i)
    {
        const MotionEvent& event = motion.GetEvent(i);
        const ra::EventData* pData = event.eventRef.Get();
        adapter.WriteString(pData && pData->GetName() ? pData->GetName() : "");
        adapter.WriteValue(event.time);
    }
    adapter.WriteValue(int32(motion.GetType()));
    const float ranges[] = {
        motion.GetStartDelayMin(),    motion.GetStartDelayMax(),     motion.GetLoopDelayMin(),
        motion.GetLoopDelayMax(),     motion.GetTransitionOutTime(), motion.GetStartPositionMin(),
        motion.GetStartPositionMax(), motion.GetExitDelayMin(),      motion.GetExitDelayMax()};
    adapter.WriteArray(ranges, uint32(std::size(ranges)));
    adapter.WriteValue(uint8(motion.GetIgnoreDelays() ? 1 : 0));
    adapter.WriteValue(uint8(motion.GetIgnoreTransitions() ? 1 : 0));
    const Modifier* pModifier = motion.GetTimingModifier();
    adapter.WriteValue(uint8(pModifier ? 1 : 0));
    if (pModifier)
        ra::WriteName(adapter, pModifier->GetName());
}
} // namespace

void MotionLoad::Load(Chunky& chunky, ByteStreamAdapter& adapter, ra::MotionList& motions,
                      ra::ModifierList& modifiers, const ra::EventList& events, AnimList& animList)
{
    const MotionReadContext context{ModelName(animList), modifiers, events, animList};
    chunky.ReadFolderChunk(ID_MTRE, MTREVersion);
    bool obsoleteLogged = false;
    ChunkInfo info;
    while (chunky.NextChunk(info))
    {
        if (info.kind == Chunky::CT_Data && info.id == ID_MTON)
        {
            const ChunkInfo mton = chunky.ReadDataChunk(ID_MTON, MTONVersion);
            ra::MotionPayloadReader reader(adapter, mton);
            Motion* pMotion = motions.AddMotion(ra::NameOf(mton.name.c_str()));
            ReadMotion(reader, mton.version, false, *pMotion, context);
            chunky.CloseChunk();
        }
        else if (info.kind == Chunky::CT_Folder && info.id == ID_MOTN)
        {
            if (!obsoleteLogged)
            {
                dbWarningf("'%s': Obsolete motion tree detected, please resave the motion tree!",
                           context.modelName);
                obsoleteLogged = true;
            }
            const ChunkInfo motn = chunky.ReadFolderChunk(ID_MOTN, MOTNVersion);
            const ChunkInfo mdat = chunky.ReadDataChunk(ID_MDAT, MDATVersion);
            ra::MotionPayloadReader reader(adapter, mdat);
            const char* name = motn.name.empty() ? mdat.name.c_str() : motn.name.c_str();
            Motion* pMotion = motions.AddMotion(ra::NameOf(name));
            ReadMotion(reader, mdat.version, true, *pMotion, context);
            chunky.CloseChunk();
            chunky.CloseChunk();
        }
    }
    chunky.CloseChunk();
    motions.ResolveMotions();
}

void MotionLoad::Save(Chunky& chunky, ByteStreamAdapter& adapter, const ra::MotionList& motions)
{
    chunky.OpenFolderChunk(ID_MTRE, MTREVersion, nullptr);
    for (int i = 0; i < motions.GetMotionCount(); ++i)
    {
        const Motion* pMotion = motions.GetMotion(i);
        chunky.OpenDataChunk(ID_MTON, MTONVersion, ra::NameText(pMotion->GetName()));
        WriteMotion(adapter, *pMotion);
        chunky.CloseChunk();
    }
    chunky.CloseChunk();
}

void MotionLoad::WarnValidity(const ra::MotionList& motions, const char* modelName)
{
    if (modelName == nullptr)
        modelName = "";
    for (int i = 0; i < motions.GetMotionCount(); ++i)
    {
        const Motion* pMotion = motions.GetMotion(i);
        const char* motionName = ra::NameText(pMotion->GetName());
        if (pMotion->GetAnimNodeCount() > 1)
        {
            dbTagf(FourCC("MTAN"), "'%s': Motion '%s' has more than one animation:", modelName, motionName);
            for (int a = 0; a < pMotion->GetAnimNodeCount(); ++a)
            {
                const AnimListNode* pNode = pMotion->GetAnimNode(a);
                const Anim* pAnim = pNode ? pNode->GetAnim().Get() : nullptr;
                dbTagf(FourCC("MTAN"), "'%s': Animation: %s", modelName,
                       pAnim ? ra::NameText(pAnim->GetName()) : "");
            }
        }
        const Modifier* pModifier = pMotion->GetTimingModifier();
        if (pModifier == nullptr || !pModifier->IsAbsolute() || pMotion->GetIgnoreTransitions() ||
            pMotion->GetEventCount() == 0 || pMotion->GetAnimNodeCount() == 0)
            continue;
        const AnimListNode* pNode = pMotion->GetAnimNode(0);
        const Anim* pAnim = pNode ? pNode->GetAnim().Get() : nullptr;
        if (pAnim == nullptr)
            continue;
        // The fade-out plays the last seconds of the animation; an absolute modifier jumps the
        // position, so an event in that span may never be reached.
        const float skipFrom = pAnim->GetTime() - pMotion->GetTransitionOutTime();
        for (int e = 0; e < pMotion->GetEventCount(); ++e)
            if (pMotion->GetEvent(e).time >= skipFrom)
            {
                dbWarningf(
                    "'%s': WARNING -- Motion '%s' has an absolute modifier, has events, and does not ignore "
                    "transitions -- it may skip events",
                    modelName, motionName);
                break;
            }
    }
}

void MotionLoad::LoadMotions(Chunky& chunky, ByteStreamAdapter& adapter, ra::MotionList& motions,
                             ra::ModifierList& modifiers, const ra::EventList& events, AnimList& animList,
                             ra::ActionTree* pActions)
{
    // The actions keep their motions by name across the reload.
    std::vector<std::vector<ra::Name>> cActionMotion;
    if (pActions)
        for (int a = 0; a < pActions->GetActionCount(); ++a)
        {
            const Action* pAction = pActions->GetAction(a);
            std::vector<ra::Name>& cName = cActionMotion.emplace_back();
            for (int i = 0; i < pAction->GetMotionCount(); ++i)
            {
                const Motion* pMotion = pAction->GetMotion(i).pMotion;
                cName.push_back(pMotion ? pMotion->GetName() : ra::Name::INVALID);
            }
        }

    auto relink = [&]()
    {
        if (!pActions)
            return;
        const char* modelName = ModelName(animList);
        for (int a = 0; a < pActions->GetActionCount(); ++a)
        {
            Action* pAction = pActions->GetAction(a);
            // Entries are removed as they go, so the old names are walked by their own index.
            int entry = 0;
            for (const ra::Name& name : cActionMotion[a])
            {
                const int index = motions.FindMotion(name);
                if (index == InvalidIndex)
                {
                    dbWarningf("'%s': Motion '%s' referenced in action '%s' is missing!", modelName,
                               ra::NameText(name), ra::NameText(pAction->GetName()));
                    pAction->RemoveMotion(entry);
                    continue;
                }
                pAction->SetMotionPointer(entry, motions.GetMotion(index));
                ++entry;
            }
        }
    };

    motions.Clear();
    modifiers.Clear();
    try
    {
        chunky.ReadFolderChunk(ID_ERML, ERMLVersion);
        ChunkInfo info;
        while (chunky.NextChunk(info))
        {
            if (info.kind != Chunky::CT_Folder)
                continue;
            if (info.id == ModifierLoad::ID_MODL)
                ModifierLoad::Load(chunky, adapter, modifiers);
            else if (info.id == ID_MTRE)
                Load(chunky, adapter, motions, modifiers, events, animList);
        }
        chunky.CloseChunk();
    }
    catch (...)
    {
        // A damaged file still leaves no action pointing at a motion that is gone.
        relink();
        throw;
    }
    relink();
}

void MotionLoad::SaveMotions(Chunky& chunky, ByteStreamAdapter& adapter, const ra::MotionList& motions,
                             const ra::ModifierList& modifiers)
{
    chunky.OpenFolderChunk(ID_ERML, ERMLVersion, nullptr);
    ModifierLoad::Save(chunky, adapter, modifiers);
    Save(chunky, adapter, motions);
    chunky.CloseChunk();
}

void MotionLoad::LoadMotions(Chunky& chunky, ByteStreamAdapter& adapter, RenderModel& model)
{
    if (!dbAssert(model.GetAnimList()))
        return;
    LoadMotions(chunky, adapter, model.GetMotionList(), model.GetModifierList(), model.GetEventList(),
                *model.GetAnimList(), &model.GetActionTree());
}

void MotionLoad::SaveMotions(Chunky& chunky, ByteStreamAdapter& adapter, const RenderModel& model)
{
    SaveMotions(chunky, adapter, model.GetMotionList(), model.GetModifierList());
}

bool MotionLoad::LoadFile(const char* filename, RenderModel& model)
{
    if (!dbAssert(filename) || !dbAssert(model.GetAnimList()))
        return false;
    return ra::WithChunkFile(filename, ByteStream::Mode_Read,
                             [&](Chunky& chunky, ByteStreamAdapter& adapter)
                             { LoadMotions(chunky, adapter, model); });
}

bool MotionLoad::SaveFile(const char* filename, const RenderModel& model)
{
    if (!dbAssert(filename))
        return false;
    return ra::WithChunkFile(filename, ByteStream::Mode_Write,
                             [&](Chunky& chunky, ByteStreamAdapter& adapter)
                             { SaveMotions(chunky, adapter, model); });
}
