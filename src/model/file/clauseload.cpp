#include "model/file/clauseload.h"

#include "foundation/debug.h"
#include "foundation/output.h"
#include "model/file/motionpayloadreader.h"
#include "storage/bytestreamadapter.h"
#include "storage/chunky.h"

namespace
{
// One value of the clause's type, read into its value or its default.
void ReadTypedValue(ra::MotionPayloadReader& reader, ra::Clause& clause, bool asDefault)
{
    switch (clause.GetType())
    {
    case ra::Clause::VARIABLE_FLOAT:
    {
        const float value = reader.ReadFloat();
        asDefault ? clause.SetDefault(value) : clause.SetValue(value);
        break;
    }
    case ra::Clause::VARIABLE_BOOL:
    {
        const bool value = reader.ReadUInt8() != 0;
        asDefault ? clause.SetDefault(value) : clause.SetValue(value);
        break;
    }
    default:
    {
        const ra::Name value = reader.ReadName();
        asDefault ? clause.SetDefault(value) : clause.SetValue(value);
        break;
    }
    }
}

void WriteTypedValue(ByteStreamAdapter& adapter, const ra::Clause& clause, bool asDefault)
{
    switch (clause.GetType())
    {
    case ra::Clause::VARIABLE_FLOAT:
    {
        float value = 0.0f;
        asDefault ? clause.GetDefault(value) : clause.GetValue(value);
        adapter.WriteValue(value);
        break;
    }
    case ra::Clause::VARIABLE_BOOL:
    {
        bool value = false;
        asDefault ? clause.GetDefault(value) : clause.GetValue(value);
        adapter.WriteValue(uint8(value ? 1 : 0));
        break;
    }
    default:
    {
        ra::Name value = ra::Name::INVALID;
        asDefault ? clause.GetDefault(value) : clause.GetValue(value);
        ra::WriteName(adapter, value);
        break;
    }
    }
}
} // namespace

void ClauseLoad::Load(Chunky& chunky, ByteStreamAdapter& adapter, ra::ClauseList& list, const char* modelName)
{
    if (modelName == nullptr)
        modelName = "";
    chunky.ReadFolderChunk(ID_CLST, CLSTVersion);
    ChunkInfo info;
    while (chunky.NextChunk(info))
    {
        if (info.kind != Chunky::CT_Data || info.id != ID_CLAS)
            continue;
        const ChunkInfo clas = chunky.ReadDataChunk(ID_CLAS, CLASVersion);
        ra::MotionPayloadReader reader(adapter, clas);
        const int32 type = reader.ReadInt32();
        if (type < 0 || type >= ra::Clause::VARIABLE_COUNT)
        {
            dbWarningf("'%s': Clause '%s' has unknown variable type %d, ignoring it!", modelName,
                       clas.name.c_str(), type);
            chunky.CloseChunk();
            continue;
        }
        std::unique_ptr<ra::Clause> pClause = ra::Clause::Create(type);
        pClause->SetName(ra::NameOf(clas.name.c_str()));
        pClause->SetVariableName(reader.ReadName());
        const int32 comparison = reader.ReadInt32();
        ReadTypedValue(reader, *pClause, false);
        if (clas.version >= 2)
            ReadTypedValue(reader, *pClause, true);
        chunky.CloseChunk();
        if (comparison < 0 || comparison >= ra::Clause::COMPARE_COUNT)
        {
            dbWarningf("'%s': Clause '%s' has unknown comparison %d, ignoring it!", modelName,
                       clas.name.c_str(), comparison);
            continue;
        }
        pClause->SetComparison(comparison);
        list.AddClause(std::move(pClause));
    }
    chunky.CloseChunk();
}

void ClauseLoad::Save(Chunky& chunky, ByteStreamAdapter& adapter, const ra::ClauseList& list)
{
    if (list.GetClauseCount() == 0)
        return;
    chunky.OpenFolderChunk(ID_CLST, CLSTVersion, nullptr);
    for (int i = 0; i < list.GetClauseCount(); ++i)
    {
        const ra::Clause* pClause = list.GetClause(i);
        if (!pClause)
            continue;
        chunky.OpenDataChunk(ID_CLAS, CLASVersion, ra::NameText(pClause->GetName()));
        adapter.WriteValue(int32(pClause->GetType()));
        ra::WriteName(adapter, pClause->GetVariableName());
        adapter.WriteValue(int32(pClause->GetComparison()));
        WriteTypedValue(adapter, *pClause, false);
        WriteTypedValue(adapter, *pClause, true);
        chunky.CloseChunk();
    }
    chunky.CloseChunk();
}
