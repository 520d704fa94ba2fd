#include "logging/processlog.h"

#include "foundation/debug.h"
#include "foundation/output.h"
#include "logging/logfileioport.h"

#include <memory>
#include <mutex>

namespace ProcessLog
{
namespace
{
// The listener may run on a dispatcher's thread while Stop takes the port down, so the slot is
// locked for each batch.
std::mutex s_slotLock;
std::unique_ptr<LogFileIOPort> s_pPort;

void PortListener(const char* const* lines, uint32 count, uint32 channel)
{
    std::lock_guard<std::mutex> guard(s_slotLock);
    if (s_pPort)
        s_pPort->WriteBatch(lines, count);
}
} // namespace

bool Start(const char* name, bool timestamps)
{
    bool running = false;
    {
        std::lock_guard<std::mutex> guard(s_slotLock);
        running = s_pPort != nullptr;
        if (!running)
            s_pPort = std::make_unique<LogFileIOPort>(name, timestamps);
    }
    // Reported outside the lock: the report itself goes to the running log.
    if (running)
    {
        dbBreak();
        return false;
    }
    dbg::AddListener(&PortListener);
    return true;
}

void Stop(int exitCode)
{
    dbg::RemoveListener(&PortListener);
    std::unique_ptr<LogFileIOPort> pPort;
    {
        std::lock_guard<std::mutex> guard(s_slotLock);
        pPort = std::move(s_pPort);
    }
    if (pPort)
        pPort->Close(exitCode);
}

bool IsStarted()
{
    std::lock_guard<std::mutex> guard(s_slotLock);
    return s_pPort != nullptr;
}

std::string GetFileName()
{
    std::lock_guard<std::mutex> guard(s_slotLock);
    return s_pPort ? s_pPort->GetFileName() : std::string();
}
} // namespace ProcessLog
