#include "burner/burnerspawn.h"

#include "burner/burnermessages.h"
#include "burner/burnerprocess.h"
#include "burner/namedpipe.h"
#include "pipeline/pipeline.h"

#include <chrono>
#include <memory>
#include <thread>

namespace
{
// The burn that runs: both set from the burner's ready message to its result, error or a failure.
std::unique_ptr<NamedPipe> s_pAsycnPipe;
std::unique_ptr<BurnerProcess> s_pBurnerProc;

void AddError(BurnerResults& results, const char* text)
{
    results.Add(BurnerResults::LevelError, BurnerSpawn::Module, "%s", text);
}

// Destroys the process, then the pipe. The pipe's connection is ended first: the burner stays alive
// until the tool hangs up (so that its last message is read while it still runs), and so ends
// within the process's stop wait.
void Free(std::unique_ptr<BurnerProcess>& pProc, std::unique_ptr<NamedPipe>& pPipe)
{
    if (pPipe)
        pPipe->Disconnect();
    pProc.reset();
    pPipe.reset();
}

void FreeRunning()
{
    Free(s_pBurnerProc, s_pAsycnPipe);
}

// Makes the pipe, starts the burner, waits for it and sets it up. On success the running burn holds
// both; on failure neither exists any more.
bool Connect(const std::string& burnerPath, BurnerResults& results)
{
    if (s_pAsycnPipe || s_pBurnerProc)
    {
        AddError(results, "Burn already in progress");
        return false;
    }
    auto pPipe = std::make_unique<NamedPipe>(NamedPipe::LocalPath(NamedPipe::PipeName), NamedPipe::Server);
    std::unique_ptr<BurnerProcess> pProc;
    const auto fail = [&](const char* text)
    {
        AddError(results, text);
        Free(pProc, pPipe);
        return false;
    };
    if (!pPipe->Create())
        return fail("Failed to create Pipe for communication");
    pProc = std::make_unique<BurnerProcess>();
    pProc->SetEnvironment(NamedPipe::EnvironmentVariable, pPipe->GetPath());
    if (!pProc->Start(burnerPath))
        return fail(pProc->GetLastError().c_str());
    // The wait for the client has no time limit, but it ends when the burner does: a burner that
    // dies before it connects is a failure, not a hang.
    BurnerProcess& proc = *pProc;
    if (!pPipe->Connect([&proc] { return proc.IsRunning(); }))
        return fail("Burner failed to connect to the Burner Process");
    BurnerSetupMsg setup;
    if (!setup.SetConfigPath(Pipeline::IsInitialized() ? Pipeline::FileName() : "") ||
        !SendMessage(*pPipe, setup))
        return fail("Failed to Send the Setup Message to the burner");
    BurnerMessage msg;
    if (!ReadMessage(*pPipe, msg))
        return fail("Failed to read a Message from the Burner Process");
    switch (msg.GetType())
    {
    case BurnerErrorMsg::MSG_TYPE:
    {
        BurnerErrorMsg error;
        if (!msg.Get(error))
            return fail("Failed to read a Message from the Burner Process");
        results.Append(error.results);
        Free(pProc, pPipe);
        return false;
    }
    case BurnerReadyMsg::MSG_TYPE:
    {
        // A ready message of another size asserts: the burner speaks another protocol.
        BurnerReadyMsg ready;
        if (!msg.Get(ready))
            return fail("Failed to read a Message from the Burner Process");
        s_pAsycnPipe = std::move(pPipe);
        s_pBurnerProc = std::move(pProc);
        return true;
    }
    default:
        return fail("Unknown message read from the burner");
    }
}

template <class T>
bool SendList(const std::string& burnerPath, uint32 changelist, const std::vector<std::string>& files,
              uint32& filesBurned, BurnerResults& results)
{
    filesBurned = 0;
    if (!Connect(burnerPath, results))
        return false;
    T request;
    request.changelist = changelist;
    request.cFiles = files;
    if (!SendMessage(*s_pAsycnPipe, request))
    {
        AddError(results, "Failed to send Burn Filelist request to the burner.");
        FreeRunning();
        return false;
    }
    bool done = false;
    while (!done)
        if (!BurnerSpawn::PollBurn(done, filesBurned, results))
            return false;
    return true;
}
} // namespace

namespace BurnerSpawn
{
bool StartBurn(const std::string& burnerPath, uint32 changelist, const std::string& folder,
               const std::string& pattern, bool flagA, bool flagB, bool flagC, BurnerResults& results)
{
    if (!Connect(burnerPath, results))
        return false;
    BurnRequestMsg request;
    request.changelist = changelist;
    request.flagA = flagA ? 1 : 0;
    request.flagB = flagB ? 1 : 0;
    request.flagC = flagC ? 1 : 0;
    if (!request.SetFolder(folder) || !request.SetPattern(pattern) || !SendMessage(*s_pAsycnPipe, request))
    {
        AddError(results, "Failed to Send a Message to the burner");
        FreeRunning();
        return false;
    }
    return true;
}

bool PollBurn(bool& done, uint32& filesBurned, BurnerResults& results)
{
    done = false;
    filesBurned = 0;
    if (!s_pAsycnPipe || !s_pBurnerProc)
    {
        AddError(results, "Asyncronous Burn not in progress");
        return false;
    }
    dbAssert(s_pAsycnPipe);
    dbAssert(s_pBurnerProc);

    const auto fail = [&results](const char* text)
    {
        AddError(results, text);
        FreeRunning();
        return false;
    };
    const char* const readFailure = "Failed to read a post burn request message from the burner";

    // A burner that has ended is a failure even when a message of it still waits: it must stay
    // until the tool has read its last word.
    bool hasData = false;
    if (!s_pAsycnPipe->Peek(hasData) || !s_pBurnerProc->IsRunning())
        return fail(readFailure);
    if (!hasData)
    {
        std::this_thread::sleep_for(std::chrono::milliseconds(PollSleepMs));
        return true;
    }
    BurnerMessage msg;
    if (!ReadMessage(*s_pAsycnPipe, msg))
        return fail(readFailure);
    switch (msg.GetType())
    {
    case BurnerErrorMsg::MSG_TYPE:
    {
        BurnerErrorMsg error;
        if (!msg.Get(error))
            return fail(readFailure);
        results.Append(error.results);
        FreeRunning();
        return false;
    }
    case BurnerUpdateMsg::MSG_TYPE:
    {
        BurnerUpdateMsg update;
        if (!msg.Get(update))
            return fail(readFailure);
        results.Append(update.results);
        return true;
    }
    case BurnerResultMsg::MSG_TYPE:
    {
        BurnerResultMsg result;
        if (!msg.Get(result))
            return fail(readFailure);
        filesBurned = result.filesBurned;
        results.Append(result.results);
        FreeRunning();
        done = true;
        return true;
    }
    default:
        return fail("Post burn Request message received is Unknown");
    }
}

bool RunBurn(const std::string& burnerPath, uint32 changelist, const std::string& folder,
             const std::string& pattern, bool flagA, bool flagB, bool flagC, uint32& filesBurned,
             BurnerResults& results)
{
    filesBurned = 0;
    if (!StartBurn(burnerPath, changelist, folder, pattern, flagA, flagB, flagC, results))
        return false;
    bool done = false;
    while (!done)
        if (!PollBurn(done, filesBurned, results))
            return false;
    return true;
}

bool RunFileList(const std::string& burnerPath, uint32 changelist, const std::vector<std::string>& files,
                 uint32& filesBurned, BurnerResults& results)
{
    return SendList<BurnFileListMsg>(burnerPath, changelist, files, filesBurned, results);
}

bool RunUpdateFileList(const std::string& burnerPath, uint32 changelist,
                       const std::vector<std::string>& files, uint32& filesBurned, BurnerResults& results)
{
    return SendList<BurnUpdateFileListMsg>(burnerPath, changelist, files, filesBurned, results);
}

bool IsBurnInProgress()
{
    return s_pAsycnPipe != nullptr || s_pBurnerProc != nullptr;
}

BurnerProcess* RunningProcess()
{
    return s_pBurnerProc.get();
}
} // namespace BurnerSpawn
