// tq7z_animerge and tq7z_animergeFlags: Ani-merge from a script, and the two flags that steer it,
// which keep the value a script gives them until the process ends.
#include "merge/animerge.h"
#include "scripts/primitive.h"
#include "storage/userpath.h"

namespace Script
{
namespace
{
AniMerge::Flags s_flags;

const char* const FlagsUsageText =
    "Ani-merge options : usage 'Ani-merge <export model flag> <export textures flag>'\n";

// merge file, model file, then the animation files: further arguments, or one Array third.
Value AniMergeCommand(const Value* argList, int count)
{
    AniMerge::Arguments arguments;
    arguments.count = size_t(count);
    // Without a model file there is nothing to set up from.
    if (count < 2)
    {
        ListenerPrint(AniMerge::UsageText);
        return Value::Boolean(false);
    }
    arguments.mergeFile = FullName(argList[0]);
    arguments.modelFile = FullName(argList[1]);
    if (count >= 3 && argList[2].IsArray())
    {
        for (const Value& element : argList[2].Elements())
            arguments.cAnimFile.push_back(FullName(element));
    }
    else
    {
        for (int i = 2; i < count; ++i)
            arguments.cAnimFile.push_back(FullName(argList[i]));
    }
    // The merge's texts name files in the system's form; the artist reads them as typed.
    return Value::Boolean(AniMerge::Run(
        arguments, s_flags, [](const std::string& text) { ListenerPrint(UserPath::InText(text.c_str())); }));
}

Value AniMergeFlagsCommand(const Value* argList, int count)
{
    if (count < 2)
    {
        ListenerPrint(FlagsUsageText);
        return Value::Boolean(false);
    }
    s_flags.exportModel = argList[0].to_bool();
    s_flags.exportTextures = argList[1].to_bool();
    return Value::Boolean(true);
}

const Primitive s_animerge("tq7z_animerge", &AniMergeCommand, 0);
const Primitive s_animergeFlags("tq7z_animergeFlags", &AniMergeFlagsCommand, 0);
} // namespace
} // namespace Script
