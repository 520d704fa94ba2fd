// BurnerProcess: the burner program as a process of its own. The program lives in the burner path
// of pipeline.ini (often a share, changed often), so the tool runs a local copy of it, "Burner_N"
// beside the tool's own program with the first free N, and deletes that copy when it stops.
#pragma once

#include "foundation/types.h"

#include <string>
#include <sys/types.h>
#include <utility>
#include <vector>

class BurnerProcess
{
public:
    // The burner program's file name in the burner path.
    static constexpr const char* ModuleName = "BurnerImp";
    // The local copies are this and a number.
    static constexpr const char* LocalCopyPrefix = "Burner_";
    // How long Start watches the new process before it counts as started.
    static constexpr int StartCheckMs = 500;
    // How long Stop waits for the process to end.
    static constexpr int StopWaitMs = 2000;
    static constexpr int DeleteTries = 10;
    static constexpr int DeleteIntervalMs = 100;

    BurnerProcess() = default;
    // Stops the process and removes the local copy.
    ~BurnerProcess();
    BurnerProcess(const BurnerProcess&) = delete;
    BurnerProcess& operator=(const BurnerProcess&) = delete;

    // A variable the process gets beside the tool's own environment.
    void SetEnvironment(const std::string& name, const std::string& value);

    // Copies <burnerPath>/BurnerImp to the local copy and starts it in the tool's folder. False when
    // any step fails, with the reason in GetLastError; a process that ends within StartCheckMs is a
    // failure with an empty error text.
    bool Start(const std::string& burnerPath);
    // Waits up to StopWaitMs for the process to end (a process that outlives the wait is left
    // alone), then deletes the local copy, trying DeleteTries times.
    void Stop();
    // False with no process. A process that has ended is stopped, and false.
    bool IsRunning();

    const std::string& GetLastError() const { return m_lastError; }
    // The file that runs: the local copy while the process lives.
    const std::string& GetModulePath() const { return m_modulePath; }
    pid_t GetProcessId() const { return m_pid; }

    // The development switch: the burner gets " -notrap -debug" and is not watched at its start,
    // so that a debugger can be attached. Off; nothing in the tool sets it.
    static bool s_debugBurner;

private:
    // Reaps the process when it has ended; true when it has.
    bool HasExited();

    std::string m_lastError;
    pid_t m_pid = 0;
    bool m_deleteOnStop = false;
    std::string m_modulePath;
    std::vector<std::pair<std::string, std::string>> m_cEnvironment;
};
