#include "model/file/final/actionloadfinal.h"

#include "model/file/actionfields.h"
#include "model/file/final/finalchunk.h"
#include "storage/bytestreamadapter.h"
#include "storage/chunky.h"

using namespace FinalChunk;

bool ActionLoadFinal::Load(Chunky& chunky, ByteStreamAdapter& adapter, ra::ActionTree& tree,
                           const ra::MotionList& motions, const ra::ConditionList& conditions,
                           const char* modelName)
{
    ra::MotionPayloadReader reader(adapter, chunky.ReadDataChunk(ID_ACTS, ACTSVersion));
    // An action takes at least its name's length and its two counts.
    const uint32 count = reader.ReadCount(4 + 4 + 4);
    for (uint32 i = 0; i < count; ++i)
    {
        char name[ra::MotionPayloadReader::MaxString + 1];
        reader.ReadString(name);
        Action* pAction = tree.AddAction();
        pAction->SetName(ra::NameOf(name));
        if (!ActionFields::Read(reader, *pAction, motions, conditions, modelName, name))
            return false;
    }
    chunky.CloseChunk();
    tree.ResolveSubActions();
    return true;
}

void ActionLoadFinal::Save(Chunky& chunky, ByteStreamAdapter& adapter, const ra::ActionTree& tree)
{
    chunky.OpenDataChunk(ID_ACTS, ACTSVersion, nullptr);
    adapter.WriteValue(int32(tree.GetActionCount()));
    for (int a = 0; a < tree.GetActionCount(); ++a)
    {
        const Action* pAction = tree.GetAction(a);
        adapter.WriteString(ra::NameText(pAction->GetName()));
        ActionFields::Write(adapter, *pAction);
    }
    chunky.CloseChunk();
}
