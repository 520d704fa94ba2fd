#include "burnerimp/burnersession.h"

#include "burner/burnermessages.h"
#include "burner/namedpipe.h"
#include "burnerimp/burnengine.h"

#include <chrono>
#include <thread>

namespace
{
// After a refused set-up the tool reads the error and stops the burner: wait a little for it to
// close the pipe, so that the error is read from a running burner.
void AwaitClose(NamedPipe& pipe)
{
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(1);
    bool hasData = false;
    while (std::chrono::steady_clock::now() < end && pipe.Peek(hasData) && !hasData)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
}

bool SendError(NamedPipe& pipe, const BurnerResults& results)
{
    BurnerErrorMsg error;
    error.results = results;
    return SendMessage(pipe, error);
}

// A string of a fixed field, up to its terminator or the field's end.
template <size_t N> std::string FieldText(const char (&field)[N])
{
    size_t length = 0;
    while (length < N && field[length] != '\0')
        ++length;
    return std::string(field, length);
}

// The changelist and files of either file list message.
template <class ListMsg> bool ListRequest(const BurnerMessage& message, BurnRequest& request)
{
    ListMsg msg;
    if (!message.Get(msg))
        return false;
    request.changelist = int32(msg.changelist);
    request.cFiles = msg.cFiles;
    return true;
}

bool Serve(NamedPipe& pipe, BurnEngine& engine, BurnRequest& request)
{
    BurnerResults results;
    const BurnSummary summary = engine.Burn(request, results,
                                            [&pipe](const BurnerResults& update)
                                            {
                                                BurnerUpdateMsg msg;
                                                msg.results = update;
                                                SendMessage(pipe, msg);
                                            });
    results.Add(BurnerResults::LevelInfo, BurnEngine::k_Module,
                "%u files: %u burned, %u up to date, %u failed", summary.filesMatched,
                summary.filesBurned - summary.filesSkipped, summary.filesSkipped, summary.filesFailed);
    BurnerResultMsg result;
    result.filesBurned = summary.filesBurned;
    result.flag = summary.filesFailed == 0 ? 1 : 0;
    result.results = results;
    return SendMessage(pipe, result);
}
} // namespace

int RunBurnerSession(NamedPipe& pipe, uint32 threads)
{
    BurnerMessage message;
    if (!ReadMessage(pipe, message))
        return 1;
    BurnerResults results;
    BurnerSetupMsg setup;
    if (message.GetType() != BurnerSetupMsg::MSG_TYPE || !message.Get(setup))
    {
        results.Add(BurnerResults::LevelError, BurnEngine::k_Module, "The first message was not a set-up");
        SendError(pipe, results);
        AwaitClose(pipe);
        return 1;
    }
    if (setup.protocolVersion != BurnerProtocol::Version)
    {
        results.Add(BurnerResults::LevelError, BurnEngine::k_Module,
                    "The tool speaks protocol version %u, this burner %u", setup.protocolVersion,
                    BurnerProtocol::Version);
        SendError(pipe, results);
        AwaitClose(pipe);
        return 1;
    }
    BurnEngine engine(threads);
    if (!engine.Setup(FieldText(setup.configPath).c_str(), results))
    {
        SendError(pipe, results);
        AwaitClose(pipe);
        return 1;
    }
    if (!SendMessage(pipe, BurnerReadyMsg()))
        return 1;

    // Requests until the tool closes the pipe.
    while (ReadMessage(pipe, message))
    {
        BurnRequest request;
        bool served = true;
        switch (message.GetType())
        {
        case BurnRequestMsg::MSG_TYPE:
        {
            BurnRequestMsg msg;
            if ((served = message.Get(msg)))
            {
                request.changelist = int32(msg.changelist);
                request.folder = FieldText(msg.folder);
                request.pattern = FieldText(msg.pattern);
                request.force = msg.flagA != 0;
                request.recurse = msg.flagC != 0;
            }
            break;
        }
        case BurnFileListMsg::MSG_TYPE:
            served = ListRequest<BurnFileListMsg>(message, request);
            request.force = true;
            break;
        case BurnUpdateFileListMsg::MSG_TYPE:
            served = ListRequest<BurnUpdateFileListMsg>(message, request);
            break;
        default:
            served = false;
            break;
        }
        if (!served)
        {
            BurnerResults refusal;
            refusal.Add(BurnerResults::LevelError, BurnEngine::k_Module,
                        "Unknown or malformed request (message type 0x%08x, %u bytes)", message.GetType(),
                        message.GetMessageSize());
            if (!SendError(pipe, refusal))
                return 1;
            continue;
        }
        // A list with no names is a burn of nothing, not a folder burn.
        if (request.cFiles.empty() && message.GetType() != BurnRequestMsg::MSG_TYPE)
        {
            BurnerResultMsg result;
            if (!SendMessage(pipe, result))
                return 1;
            continue;
        }
        if (!Serve(pipe, engine, request))
            return 1;
    }
    return 0;
}
