#include "model/file/generic/actionloadgeneric.h"

#include "foundation/debug.h"
#include "foundation/output.h"
#include "model/file/actionfields.h"
#include "model/file/clauseload.h"
#include "model/file/conditionload.h"
#include "model/file/motionpayloadreader.h"
#include "model/rendermodel.h"
#include "storage/bytestreamadapter.h"
#include "storage/chunky.h"

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
        ra::MotionPayloadReader reader(adapter, actn);
        Action* pAction = tree.AddAction();
        pAction->SetName(ra::NameOf(actn.name.c_str()));
        ActionFields::Read(reader, *pAction, motions, conditions, modelName, actn.name.c_str());
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
        ActionFields::Write(adapter, *pAction);
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
        if (info.id == ClauseLoad::ID_CLST)
            ClauseLoad::Load(chunky, adapter, clauses, modelName);
        else if (info.id == ConditionLoad::ID_CONL)
            ConditionLoad::Load(chunky, adapter, conditions, clauses, modelName);
        else if (info.id == ID_ACTR)
            Load(chunky, adapter, tree, motions, conditions, modelName);
    }
    chunky.CloseChunk();
}

void ActionLoadGeneric::SaveTree(Chunky& chunky, ByteStreamAdapter& adapter, const ra::ActionTree& tree,
                                 const ra::ConditionList& conditions, const ra::ClauseList& clauses)
{
    chunky.OpenFolderChunk(ID_ERTR, ERTRVersion, nullptr);
    ClauseLoad::Save(chunky, adapter, clauses);
    ConditionLoad::Save(chunky, adapter, conditions);
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
