#include "model/file/conditionload.h"

#include "foundation/debug.h"
#include "foundation/output.h"
#include "model/file/motionpayloadreader.h"
#include "storage/bytestreamadapter.h"
#include "storage/chunky.h"

void ConditionLoad::Load(Chunky& chunky, ByteStreamAdapter& adapter, ra::ConditionList& list,
                         const ra::ClauseList& clauses, const char* modelName)
{
    if (modelName == nullptr)
        modelName = "";
    chunky.ReadFolderChunk(ID_CONL, CONLVersion);
    ChunkInfo info;
    while (chunky.NextChunk(info))
    {
        if (info.kind != Chunky::CT_Data || info.id != ID_COND)
            continue;
        const ChunkInfo cond = chunky.ReadDataChunk(ID_COND, CONDVersion);
        ra::MotionPayloadReader reader(adapter, cond);
        const ra::Name name = ra::NameOf(cond.name.c_str());
        if (name == ra::Name::INVALID)
        {
            dbWarningf("'%s': Condition without a name, ignoring it!", modelName);
            chunky.CloseChunk();
            continue;
        }
        ra::Condition* pCondition = list.CreateCondition(name);
        const uint32 count = reader.ReadCount(4);
        char clauseName[ra::MotionPayloadReader::MaxString + 1];
        for (uint32 i = 0; i < count; ++i)
        {
            reader.ReadString(clauseName);
            const int index = clauses.FindClause(ra::NameOf(clauseName));
            if (index == InvalidIndex)
            {
                dbWarningf("'%s': Clause '%s' in condition '%s' is missing, ignoring it!", modelName,
                           clauseName, cond.name.c_str());
                continue;
            }
            pCondition->AddClause(clauses.GetClause(index), false);
        }
        chunky.CloseChunk();
    }
    chunky.CloseChunk();
}

void ConditionLoad::Save(Chunky& chunky, ByteStreamAdapter& adapter, const ra::ConditionList& list)
{
    chunky.OpenFolderChunk(ID_CONL, CONLVersion, nullptr);
    for (int i = 0; i < list.GetConditionCount(); ++i)
    {
        const ra::Condition* pCondition = list.GetCondition(i);
        chunky.OpenDataChunk(ID_COND, CONDVersion, ra::NameText(pCondition->GetName()));
        adapter.WriteValue(int32(pCondition->GetClauseCount()));
        for (int c = 0; c < pCondition->GetClauseCount(); ++c)
            ra::WriteName(adapter, pCondition->GetClause(c)->GetName());
        chunky.CloseChunk();
    }
    chunky.CloseChunk();
}
