// tq7z_burner and tq7z_burner_reset: the burn of one merged file into the project's final data, and
// the tear-down of a burn, or merge, left half done.
#include "burner/burner.h"
#include "burner/burnercommand.h"
#include "revcontrol/revcontrolapi.h"
#include "scripts/primitive.h"

#include <stdexcept>

namespace Script
{
namespace
{
const char* const UsageText = "Burner: usage 'burner <merged sgm file>'\n";

Value BurnerCommandPrimitive(const Value* argList, int count)
{
    // Without a file there is nothing to set up from.
    if (count < 1)
    {
        ListenerPrint(UsageText);
        return Value::Boolean(false);
    }
    const std::string file = FullName(argList[0]);
    try
    {
        BurnerCommand::SetUp(file);
        if (count != 1)
            throw std::runtime_error(UsageText);
        int changelist = 0;
        RevControlAPI* pRevCtrl = BurnerCommand::GetRevCtrl();
        if (pRevCtrl == nullptr ||
            !pRevCtrl->FindOrCreateChangelist(Burner::ChangelistDescription, changelist))
            throw std::runtime_error("Burner: Unable to create changelist\n");
        uint32 filesBurned = 0;
        BurnerResults results;
        const bool burned = Burner::Instance()->Burn(uint32(changelist), file, false, filesBurned, results);
        // The records come first, also after a failure.
        for (const BurnerResults::Record& record : results)
            ListenerPrint(record.text + "\n");
        if (!burned || filesBurned == 0)
            throw std::runtime_error("Burner: Burn failed, see log messages.'\n");
    }
    catch (const std::exception& e)
    {
        ListenerPrint(e.what());
        BurnerCommand::TearDown();
        return Value::Boolean(false);
    }
    BurnerCommand::TearDown();
    return Value::Boolean(true);
}

Value BurnerResetCommand(const Value*, int)
{
    BurnerCommand::Reset();
    return Value::Boolean(true);
}

const Primitive s_burner("tq7z_burner", &BurnerCommandPrimitive, 0);
const Primitive s_burnerReset("tq7z_burner_reset", &BurnerResetCommand, 0);
} // namespace
} // namespace Script
