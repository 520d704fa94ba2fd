#include "model/file/generic/actionloadgeneric.h"

#include "foundation/debug.h"
#include "foundation/output.h"
#include "model/file/generic/clauseloadgeneric.h"
#include "model/file/generic/conditionloadgeneric.h"
#include "model/file/motionpayloadreader.h"
#include "model/rendermodel.h"
#include "storage/bytestreamadapter.h"
#include "storage/chunky.h"

namespace
{
struct EntryRead
{
    ra::Name name;
    int conditionType = ra::Condition::CONDITIONTYPE_ALWAYS;
    ra::Condition* pCondition = nullptr;
};

// One entry's name, condition type and, for "if" and "else if", its condition by name.
EntryRead ReadEntry(ra::MotionPayloadReader& reader, const ra::ConditionList& conditions,
                    const char* modelName, const char* actionName)
{
    EntryRead entry;
    char name[ra::MotionPayloadReader::MaxString + 1];
    reader.ReadString(name);
    entry.name = ra::NameOf(name);
    const int32 type = reader.ReadInt32();
    if (type < 0 || type >= ra::Condition::CONDITIONTYPE_COUNT)
    {
        dbWarningf("'%s': Unknown condition type %d for '%s' in action '%s', using 'always'!", modelName,
                   type, name, actionName);
        return entry;
    }
    entry.conditionType = type;
    if (!ra::Condition::NeedsCondition(type))
        return entry;
    char conditionName[ra::MotionPayloadReader::MaxString + 1];
    reader.ReadString(conditionName);
    const int index = conditions.FindCondition(ra::NameOf(conditionName));
    if (index == InvalidIndex)
    {
        dbWarningf("'%s': Condition '%s' referenced in action '%s' is missing!", modelName, conditionName,
                   actionName);
        entry.conditionType = ra::Condition::CONDITIONTYPE_ALWAYS;
        return entry;
    }
    entry.pCondition = conditions.GetCondition(index);
    return entry;
}

void WriteEntry(ByteStreamAdapter& adapter, const ra::Name& name, int conditionType,
                const ra::Condition* pCondition)
{
    ra::WriteName(adapter, name);
    adapter.WriteValue(int32(conditionType));
    if (ra::Condition::NeedsCondition(conditionType))
        ra::WriteName(adapter, pCondition ? pCondition->GetName() : ra::Name::INVALID);
}
} // namespace

void ActionLoadGeneric::Load(Chunky& chunky, ByteStreamAdapter& adapter, ra::ActionTree& tree,
                             const ra::MotionList& motions, const ra::ConditionList& conditions,
                             const char* modelName)
{
    if (modelName == nullptr)
        modelName = "";
    chunky.ReadFolderChunk(ID_ACTR, ACTRVersion);
    ChunkInfo info;
    while (chunky.NextChunk(info))
    {
        if (info.kind != Chunky::CT_Data || info.id != ID_ACTN)
            continue;
        const ChunkInfo actn = chunky.ReadDataChunk(ID_ACTN, ACTNVersion);
        const char* actionName = actn.name.c_str();
        ra::MotionPayloadReader reader(adapter, actn);
        Action* pAction = tree.AddAction();
        pAction->SetName(ra::NameOf(actionName));

        // An entry holds a name's length and a condition type at least.
        const uint32 motionCount = reader.ReadCount(8);
        for (uint32 i = 0; i < motionCount; ++i)
        {
            const EntryRead entry = ReadEntry(reader, conditions, modelName, actionName);
            const int index = motions.FindMotion(entry.name);
            if (index == InvalidIndex)
            {
                dbWarningf("'%s': Motion '%s' referenced in action '%s' is missing!", modelName,
                           ra::NameText(entry.name), actionName);
                continue;
            }
            pAction->AddMotion(motions.GetMotion(index), entry.conditionType, entry.pCondition);
        }
        const uint32 subActionCount = reader.ReadCount(8);
        for (uint32 i = 0; i < subActionCount; ++i)
        {
            const EntryRead entry = ReadEntry(reader, conditions, modelName, actionName);
            pAction->AddSubAction(entry.name, entry.conditionType, entry.pCondition);
        }
        chunky.CloseChunk();
    }
    chunky.CloseChunk();
    tree.ResolveSubActions();
}

void ActionLoadGeneric::Save(Chunky& chunky, ByteStreamAdapter& adapter, const ra::ActionTree& tree)
{
    if (tree.GetActionCount() == 0)
        return;
    chunky.OpenFolderChunk(ID_ACTR, ACTRVersion, nullptr);
    for (int a = 0; a < tree.GetActionCount(); ++a)
    {
        const Action* pAction = tree.GetAction(a);
        chunky.OpenDataChunk(ID_ACTN, ACTNVersion, ra::NameText(pAction->GetName()));
        adapter.WriteValue(int32(pAction->GetMotionCount()));
        for (int i = 0; i < pAction->GetMotionCount(); ++i)
        {
            const Action::MotionEntry& entry = pAction->GetMotion(i);
            WriteEntry(adapter, entry.pMotion ? entry.pMotion->GetName() : ra::Name::INVALID,
                       entry.conditionType, entry.pCondition);
        }
        adapter.WriteValue(int32(pAction->GetSubActionCount()));
        for (int i = 0; i < pAction->GetSubActionCount(); ++i)
        {
            const Action::SubActionEntry& entry = pAction->GetSubAction(i);
            WriteEntry(adapter, entry.pAction ? entry.pAction->GetName() : entry.name, entry.conditionType,
                       entry.pCondition);
        }
        chunky.CloseChunk();
    }
    chunky.CloseChunk();
}

void ActionLoadGeneric::LoadTree(Chunky& chunky, ByteStreamAdapter& adapter, ra::ActionTree& tree,
                                 ra::ConditionList& conditions, ra::ClauseList& clauses,
                                 const ra::MotionList& motions, const char* modelName)
{
    // Actions point at conditions, conditions at clauses: let go in that order.
    tree.Clear();
    conditions.Clear();
    clauses.Clear();
    chunky.ReadFolderChunk(ID_ERTR, ERTRVersion);
    ChunkInfo info;
    while (chunky.NextChunk(info))
    {
        if (info.kind != Chunky::CT_Folder)
            continue;
        if (info.id == ClauseLoadGeneric::ID_CLST)
            ClauseLoadGeneric::Load(chunky, adapter, clauses, modelName);
        else if (info.id == ConditionLoadGeneric::ID_CONL)
            ConditionLoadGeneric::Load(chunky, adapter, conditions, clauses, modelName);
        else if (info.id == ID_ACTR)
            Load(chunky, adapter, tree, motions, conditions, modelName);
    }
    chunky.CloseChunk();
}

void ActionLoadGeneric::SaveTree(Chunky& chunky, ByteStreamAdapter& adapter, const ra::ActionTree& tree,
                                 const ra::ConditionList& conditions, const ra::ClauseList& clauses)
{
    chunky.OpenFolderChunk(ID_ERTR, ERTRVersion, nullptr);
    ClauseLoadGeneric::Save(chunky, adapter, clauses);
    ConditionLoadGeneric::Save(chunky, adapter, conditions);
    Save(chunky, adapter, tree);
    chunky.CloseChunk();
}

void ActionLoadGeneric::LoadTree(Chunky& chunky, ByteStreamAdapter& adapter, RenderModel& model)
{
    LoadTree(chunky, adapter, model.GetActionTree(), model.GetConditionList(), model.GetClauseList(),
             model.GetMotionList(), model.GetName());
}

void ActionLoadGeneric::SaveTree(Chunky& chunky, ByteStreamAdapter& adapter, const RenderModel& model)
{
    SaveTree(chunky, adapter, model.GetActionTree(), model.GetConditionList(), model.GetClauseList());
}

bool ActionLoadGeneric::LoadFile(const char* filename, RenderModel& model)
{
    if (!dbAssert(filename))
        return false;
    return ra::WithChunkFile(filename, ByteStream::Mode_Read,
                             [&](Chunky& chunky, ByteStreamAdapter& adapter)
                             { LoadTree(chunky, adapter, model); });
}

bool ActionLoadGeneric::SaveFile(const char* filename, const RenderModel& model)
{
    if (!dbAssert(filename))
        return false;
    return ra::WithChunkFile(filename, ByteStream::Mode_Write,
                             [&](Chunky& chunky, ByteStreamAdapter& adapter)
                             { SaveTree(chunky, adapter, model); });
}
