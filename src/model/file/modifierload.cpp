#include "model/file/modifierload.h"

#include "model/file/motionpayloadreader.h"
#include "storage/bytestreamadapter.h"
#include "storage/chunky.h"

void ModifierLoad::Load(Chunky& chunky, ByteStreamAdapter& adapter, ra::ModifierList& list)
{
    chunky.ReadFolderChunk(ID_MODL, MODLVersion);
    ChunkInfo info;
    while (chunky.NextChunk(info))
    {
        if (info.kind != Chunky::CT_Data || info.id != ID_MODF)
            continue;
        const ChunkInfo modf = chunky.ReadDataChunk(ID_MODF, MODFVersion);
        ra::MotionPayloadReader reader(adapter, modf);
        const ra::Name variable = reader.ReadName();
        const int32 type = reader.ReadInt32();
        const float refValue = reader.ReadFloat();
        const bool hasClamp = modf.version >= 2;
        const float clampValue = hasClamp ? reader.ReadFloat() : 0.0f;
        chunky.CloseChunk();
        Modifier* pModifier = list.CreateModifier(ra::NameOf(modf.name.c_str()));
        pModifier->SetVariableName(variable);
        pModifier->SetType(type);
        pModifier->SetRefValue(refValue);
        if (hasClamp)
            pModifier->SetClampValue(clampValue);
    }
    chunky.CloseChunk();
}

void ModifierLoad::Save(Chunky& chunky, ByteStreamAdapter& adapter, const ra::ModifierList& list)
{
    chunky.OpenFolderChunk(ID_MODL, MODLVersion, nullptr);
    for (int i = 0; i < list.GetModifierCount(); ++i)
    {
        const Modifier* pModifier = list.GetModifier(i);
        chunky.OpenDataChunk(ID_MODF, MODFVersion, ra::NameText(pModifier->GetName()));
        ra::WriteName(adapter, pModifier->GetVariableName());
        adapter.WriteValue(int32(pModifier->GetType()));
        adapter.WriteValue(pModifier->GetRefValue());
        adapter.WriteValue(pModifier->GetClampValue());
        chunky.CloseChunk();
    }
    chunky.CloseChunk();
}
