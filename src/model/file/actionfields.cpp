#include "model/file/actionfields.h"

#include "foundation/debug.h"
#include "foundation/output.h"
#include "storage/bytestreamadapter.h"

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

namespace ActionFields
{
bool Read(ra::MotionPayloadReader& reader, Action& action, const ra::MotionList& motions,
          const ra::ConditionList& conditions, const char* modelName, const char* actionName)
{
    if (modelName == nullptr)
        modelName = "";
    bool allMotions = true;
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
            allMotions = false;
            continue;
        }
        action.AddMotion(motions.GetMotion(index), entry.conditionType, entry.pCondition);
    }
    const uint32 subActionCount = reader.ReadCount(8);
    for (uint32 i = 0; i < subActionCount; ++i)
    {
        const EntryRead entry = ReadEntry(reader, conditions, modelName, actionName);
        action.AddSubAction(entry.name, entry.conditionType, entry.pCondition);
    }
    return allMotions;
}

void Write(ByteStreamAdapter& adapter, const Action& action)
{
    adapter.WriteValue(int32(action.GetMotionCount()));
    for (int i = 0; i < action.GetMotionCount(); ++i)
    {
        const Action::MotionEntry& entry = action.GetMotion(i);
        WriteEntry(adapter, entry.pMotion ? entry.pMotion->GetName() : ra::Name::INVALID, entry.conditionType,
                   entry.pCondition);
    }
    adapter.WriteValue(int32(action.GetSubActionCount()));
    for (int i = 0; i < action.GetSubActionCount(); ++i)
    {
        const Action::SubActionEntry& entry = action.GetSubAction(i);
        WriteEntry(adapter, entry.pAction ? entry.pAction->GetName() : entry.name, entry.conditionType,
                   entry.pCondition);
    }
}
} // namespace ActionFields
