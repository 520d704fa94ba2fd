// tq7z_p4_openoradd and tq7z_p4_reset: a file opened for edit, or added, in the pending changelist
// "SGM Export Changes", by the revision control of the [p4] port of the file's pipeline.ini (local
// mode when the port is empty).
#include "burner/burner.h"
#include "foundation/debug.h"
#include "pipeline/pipeline.h"
#include "revcontrol/revcontrolapi.h"
#include "scripts/primitive.h"

#include <memory>
#include <stdexcept>

namespace Script
{
namespace
{
const char* const UsageText = "PerforceMS: usage 'tq7z_p4_openoradd <file>'\n";

// The command's revision control, from its set-up to its tear-down.
std::unique_ptr<RevControlAPI> s_RevCtrl;

void TearDown()
{
    s_RevCtrl.reset();
    Pipeline::Shutdown();
}

Value OpenOrAddCommand(const Value* argList, int count)
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
        dbAssert(s_RevCtrl == nullptr);
        // The result is not tested: without a pipeline the port is missing.
        Pipeline::Initialize(file.c_str());
        char port[256];
        if (!Pipeline::IsInitialized() || !Pipeline::GetString("p4", "RevControlPort", port, sizeof(port)))
            throw std::runtime_error("PerforceMS: 'RevControlPort' not listed under [p4] in pipeline.ini\n");
        s_RevCtrl = RevControlAPI::Create(port, RevisionControlP4OrLocal);
        // The count is looked at only now: a call with more arguments has set up all the same.
        if (count != 1)
            throw std::runtime_error(UsageText);
        int changelist = 0;
        if (s_RevCtrl == nullptr ||
            !s_RevCtrl->FindOrCreateChangelist(Burner::ChangelistDescription, changelist))
            throw std::runtime_error("PerforceMS: Unable to create changelist\n");
        const int result = s_RevCtrl->OpenOrAdd(file.c_str(), changelist);
        if (result != OpenResultOpened && result != OpenResultInThisChangelist)
            throw std::runtime_error("PerforceMS: Could not open or add requested file!\n");
    }
    catch (const std::exception& e)
    {
        ListenerPrint(e.what());
        s_RevCtrl.reset();
        if (Pipeline::IsInitialized())
            Pipeline::Shutdown();
        return Value::Boolean(false);
    }
    TearDown();
    return Value::Boolean(true);
}

// Clears a command left half done; with no pipeline open the shut-down asserts.
Value ResetCommand(const Value*, int)
{
    TearDown();
    return Value::Boolean(true);
}

const Primitive s_openOrAdd("tq7z_p4_openoradd", &OpenOrAddCommand, 0);
const Primitive s_reset("tq7z_p4_reset", &ResetCommand, 0);
} // namespace
} // namespace Script
