// A burner program that misbehaves on purpose, for the tool side's fault tests. Its behaviour comes
// from FAKE_BURNER_MODE; when FAKE_BURNER_PIDFILE is set it first writes its process id and its
// own file name there, one per line. (A .cxx file, so that the test target's glob of .cpp files
// leaves it out.)
#include "burner/burnermessages.h"
#include "burner/namedpipe.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>
#include <unistd.h>

namespace
{
void SleepMs(int ms)
{
    std::this_thread::sleep_for(std::chrono::milliseconds(ms));
}

std::string SelfName()
{
    char path[4096];
    const ssize_t n = ::readlink("/proc/self/exe", path, sizeof(path) - 1);
    return n > 0 ? std::string(path, size_t(n)) : std::string();
}

// Stays until the tool hangs up, so that the tool reads the last message while this still runs.
void WaitForHangUp(NamedPipe& pipe)
{
    BurnerMessage msg;
    while (ReadMessage(pipe, msg))
    {
    }
}

template <class T> bool ReadTyped(NamedPipe& pipe, T& out)
{
    BurnerMessage msg;
    return ReadMessage(pipe, msg) && msg.GetType() == T::MSG_TYPE && msg.Get(out);
}

bool SendRaw(NamedPipe& pipe, uint32 type, uint32 payloadBytes)
{
    std::vector<uint8> bytes(4 + payloadBytes, 0);
    std::memcpy(bytes.data(), &type, 4);
    return pipe.Write(bytes.data(), uint32(bytes.size()));
}
} // namespace

int main()
{
    const char* modeText = std::getenv("FAKE_BURNER_MODE");
    const std::string mode = modeText != nullptr ? modeText : "";
    if (const char* pidFile = std::getenv("FAKE_BURNER_PIDFILE"))
        if (FILE* f = std::fopen(pidFile, "w"))
        {
            std::fprintf(f, "%d\n%s\n", int(::getpid()), SelfName().c_str());
            std::fclose(f);
        }

    if (mode == "exit-at-once")
        return 3;
    if (mode == "never-connect")
        for (;;)
            SleepMs(1000);
    if (mode == "die-before-connect")
    {
        SleepMs(800);
        return 4;
    }

    NamedPipe pipe(NamedPipe::PathFromEnvironment(), NamedPipe::Client);
    BurnerSetupMsg setup;
    if (!pipe.Create() || !ReadTyped(pipe, setup))
        return 5;

    if (mode == "unknown-answer")
        return SendRaw(pipe, FourCC("HUH?"), 4) ? (WaitForHangUp(pipe), 0) : 6;
    if (mode == "ready-of-8-bytes")
        return SendRaw(pipe, BurnerReadyMsg::MSG_TYPE, 8) ? (WaitForHangUp(pipe), 0) : 6;
    if (mode == "refuse-setup")
    {
        BurnerErrorMsg error;
        error.results.Add(BurnerResults::LevelError, "BurnerImp", "protocol %u not spoken",
                          setup.protocolVersion);
        return SendMessage(pipe, error) ? (WaitForHangUp(pipe), 0) : 6;
    }
    if (!SendMessage(pipe, BurnerReadyMsg{}))
        return 6;

    BurnerMessage request;
    if (!ReadMessage(pipe, request))
        return 7;
    if (mode == "exit-during-burn")
        return 0;
    if (mode == "unknown-update")
        return SendRaw(pipe, FourCC("HUH?"), 0) ? (WaitForHangUp(pipe), 0) : 6;

    // The request as records, so that the tests see what arrived.
    BurnerUpdateMsg echo;
    echo.results.AddText(
        0, ("setup " + std::string(setup.configPath) + " v" + std::to_string(setup.protocolVersion)).c_str());
    echo.results.AddText(0, ("self " + SelfName()).c_str());
    BurnRequestMsg burn;
    BurnFileListMsg list;
    BurnUpdateFileListMsg updateList;
    if (request.GetType() == BurnRequestMsg::MSG_TYPE && request.Get(burn))
        echo.results.AddText(0, ("request " + std::to_string(burn.changelist) + " " + burn.folder + " " +
                                 burn.pattern + " " + std::to_string(burn.flagA) +
                                 std::to_string(burn.flagB) + std::to_string(burn.flagC))
                                    .c_str());
    else if (request.GetType() == BurnFileListMsg::MSG_TYPE && request.Get(list))
        for (const std::string& file : list.cFiles)
            echo.results.AddText(0, ("list " + std::to_string(list.changelist) + " " + file).c_str());
    else if (request.GetType() == BurnUpdateFileListMsg::MSG_TYPE && request.Get(updateList))
        for (const std::string& file : updateList.cFiles)
            echo.results.AddText(0, ("update " + std::to_string(updateList.changelist) + " " + file).c_str());
    if (!SendMessage(pipe, echo))
        return 6;

    if (mode == "big-update")
    {
        // 4 type + 4 count + 4 level + 4 length + 1984 text = 2000 bytes.
        BurnerUpdateMsg big;
        big.results.AddText(1, std::string(1984, 'b').c_str());
        if (!SendMessage(pipe, big))
            return 6;
    }
    if (mode == "progress")
        for (const char* done : {"1/2 units/a.tqm", "2/2 units/b.tqm"})
        {
            BurnerUpdateMsg update;
            update.results.AddText(0, done);
            if (!SendMessage(pipe, update))
                return 6;
        }
    if (mode == "slow-result")
        SleepMs(400);
    if (mode == "refuse-request")
    {
        BurnerErrorMsg error;
        error.results.Add(BurnerResults::LevelError, "BurnerImp", "no such folder");
        return SendMessage(pipe, error) ? (WaitForHangUp(pipe), 0) : 6;
    }

    BurnerResultMsg result;
    result.filesBurned = 2;
    result.results.Add(BurnerResults::LevelInfo, "BurnerImp", "2 files burned");
    if (!SendMessage(pipe, result))
        return 6;
    WaitForHangUp(pipe);
    return 0;
}
