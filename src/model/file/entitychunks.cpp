#include "model/file/entitychunks.h"

#include "model/file/clauseload.h"
#include "model/file/conditionload.h"
#include "model/file/eventload.h"
#include "model/file/modelchunk.h"
#include "model/file/modelparts.h"
#include "model/file/modifierload.h"
#include "model/file/motionload.h"
#include "model/rendermodel.h"
#include "storage/bytestreamadapter.h"

using namespace ModelChunk;

namespace
{
void ReadSelection(Chunky& chunky, ByteStreamAdapter& adapter, RenderModel& model)
{
    const ChunkInfo info = chunky.ReadDataChunk(EntityChunks::ID_SEUI, EntityChunks::SEUIVersion);
    Payload payload(adapter, info);
    model.SetSelectionType(payload.ReadInt32());
    float extents[2], centre[2];
    extents[0] = payload.ReadFloat();
    extents[1] = payload.ReadFloat();
    centre[0] = payload.ReadFloat();
    centre[1] = payload.ReadFloat();
    model.SetSelectionBox(extents, centre);
    if (info.version >= 3)
        model.SetSelectionVolume(payload.ReadOBB());
    chunky.CloseChunk();
}

} // namespace

namespace EntityChunks
{
bool Read(Chunky& chunky, ByteStreamAdapter& adapter, const ChunkInfo& info, RenderModel& model,
          AnimList& animList)
{
    if (info.kind == Chunky::CT_Data)
    {
        if (info.id != ID_SEUI)
            return false;
        ReadSelection(chunky, adapter, model);
        return true;
    }
    const char* modelName = ModelParts::ModelName(model);
    switch (info.id)
    {
    case EventLoad::ID_EVCT:
        EventLoad::Load(chunky, adapter, model.GetEventList());
        return true;
    case ClauseLoad::ID_CLST:
        ClauseLoad::Load(chunky, adapter, model.GetClauseList(), modelName);
        return true;
    case ConditionLoad::ID_CONL:
        ConditionLoad::Load(chunky, adapter, model.GetConditionList(), model.GetClauseList(), modelName);
        return true;
    case ModifierLoad::ID_MODL:
        ModifierLoad::Load(chunky, adapter, model.GetModifierList());
        return true;
    case MotionLoad::ID_MTRE:
        MotionLoad::Load(chunky, adapter, model.GetMotionList(), model.GetModifierList(),
                         model.GetEventList(), animList);
        return true;
    default:
        return false;
    }
}

void WriteMotionTree(Chunky& chunky, ByteStreamAdapter& adapter, const RenderModel& model)
{
    EventLoad::Save(chunky, adapter, model.GetEventList());
    ClauseLoad::Save(chunky, adapter, model.GetClauseList());
    ConditionLoad::Save(chunky, adapter, model.GetConditionList());
    ModifierLoad::Save(chunky, adapter, model.GetModifierList());
    MotionLoad::Save(chunky, adapter, model.GetMotionList());
}

void WriteSelection(Chunky& chunky, ByteStreamAdapter& adapter, const RenderModel& model)
{
    chunky.OpenDataChunk(ID_SEUI, SEUIVersion, nullptr);
    WriteInt32(adapter, model.GetSelectionType());
    float extents[2], centre[2];
    model.GetSelectionBox(extents, centre);
    adapter.WriteArray(extents, 2);
    adapter.WriteArray(centre, 2);
    WriteOBB(adapter, model.GetSelectionVolume());
    chunky.CloseChunk();
}
} // namespace EntityChunks
