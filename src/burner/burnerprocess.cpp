#include "burner/burnerprocess.h"

#include "foundation/debug.h"
#include "storage/osfile.h"

#include <cerrno>
#include <chrono>
#include <climits>
#include <cstdio>
#include <cstring>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

extern char** environ;

bool BurnerProcess::s_debugBurner = false;

namespace
{
// Paths of the burner are held in buffers of this size.
constexpr size_t MaxPath = 260;
constexpr int WaitStepMs = 10;

void SleepMs(int ms)
{
    std::this_thread::sleep_for(std::chrono::milliseconds(ms));
}

// The tool's own program, as the system names it.
bool HostProgram(std::string& out)
{
    char path[PATH_MAX];
    const ssize_t n = ::readlink("/proc/self/exe", path, sizeof(path) - 1);
    if (n <= 0)
        return false;
    out.assign(path, size_t(n));
    return true;
}

// Asked only with a debugger attached: run the burner built beside the tool instead of the one in
// the burner path.
bool AskLocalBurn()
{
    if (!::isatty(STDIN_FILENO))
        return false;
    std::fprintf(stderr, "Local Burn?\nWould you like to use the local %s? [y/n] ",
                 BurnerProcess::ModuleName);
    char answer[16] = {};
    return std::fgets(answer, sizeof(answer), stdin) != nullptr && (answer[0] == 'y' || answer[0] == 'Y');
}

std::string JoinName(const std::string& folder, const char* name)
{
    if (folder.empty() || folder.back() == '\\' || folder.back() == '/')
        return folder + name;
    return folder + "\\" + name;
}
} // namespace

BurnerProcess::~BurnerProcess()
{
    Stop();
}

void BurnerProcess::SetEnvironment(const std::string& name, const std::string& value)
{
    for (auto& entry : m_cEnvironment)
        if (entry.first == name)
        {
            entry.second = value;
            return;
        }
    m_cEnvironment.emplace_back(name, value);
}

bool BurnerProcess::Start(const std::string& burnerPath)
{
    m_lastError.clear();
    if (!dbAssert(m_pid == 0))
        return false;

    std::string host;
    if (!HostProgram(host))
    {
        m_lastError = std::strerror(errno);
        return false;
    }
    const std::string hostFolder = host.substr(0, host.rfind('/'));

    if (dbg::IsDebuggerPresent())
    {
        const std::string local = hostFolder + "/" + ModuleName;
        if ((OSFile::FileAttr(local.c_str()) & OSFile::F_ATTRIBUTE_FILE) != 0 && AskLocalBurn())
            m_modulePath = local;
    }

    if (m_modulePath.empty())
    {
        const std::string module = JoinName(burnerPath, ModuleName);
        if (module.size() >= MaxPath || (OSFile::FileAttr(module.c_str()) & OSFile::F_ATTRIBUTE_FILE) == 0)
        {
            m_lastError = std::string("Failed to locate the burner module: '") + ModuleName + "'.";
            return false;
        }
        m_modulePath = module;
    }

    // The local copy: the first free number. Another tool in the same folder may take a number
    // between the look and the copy; then the next free one is taken.
    const std::string source = m_modulePath;
    for (uint32 number = 0;; ++number)
    {
        const std::string local = hostFolder + "/" + LocalCopyPrefix + std::to_string(number);
        if (OSFile::FileAttr(local.c_str()) != 0)
            continue;
        m_modulePath = local;
        dbAssert(OSFile::FileAttr(m_modulePath.c_str()) == 0);
        if (OSFile::Copy(source.c_str(), local.c_str(), true) == OSFile::R_Success)
            break;
        if (OSFile::FileAttr(local.c_str()) != 0 && OSFile::FileAttr(source.c_str()) != 0)
            continue;
        m_lastError =
            "Failed to copy network file to local drive: src '" + source + "' -> dest '" + local + "'.";
        m_modulePath.clear();
        return false;
    }
    // A read-only file on the share gives a read-only copy, which could not be deleted; and the copy
    // must run whatever bits the share gave it.
    OSFile::SetWritable(m_modulePath.c_str(), true);
    ::chmod(m_modulePath.c_str(), S_IRWXU | S_IRGRP | S_IXGRP | S_IROTH | S_IXOTH);
    m_deleteOnStop = true;

    dbAssert((OSFile::FileAttr(m_modulePath.c_str()) & OSFile::F_ATTRIBUTE_FILE) != 0);

    std::vector<std::string> cArgs = {m_modulePath};
    if (s_debugBurner)
    {
        cArgs.push_back("-notrap");
        cArgs.push_back("-debug");
    }
    std::vector<char*> argv;
    for (std::string& arg : cArgs)
        argv.push_back(arg.data());
    argv.push_back(nullptr);

    std::vector<std::string> cEnv;
    for (char** p = environ; p != nullptr && *p != nullptr; ++p)
    {
        bool replaced = false;
        for (const auto& entry : m_cEnvironment)
            replaced |= std::strncmp(*p, entry.first.c_str(), entry.first.size()) == 0 &&
                        (*p)[entry.first.size()] == '=';
        if (!replaced)
            cEnv.emplace_back(*p);
    }
    for (const auto& entry : m_cEnvironment)
        cEnv.push_back(entry.first + "=" + entry.second);
    std::vector<char*> envp;
    for (std::string& var : cEnv)
        envp.push_back(var.data());
    envp.push_back(nullptr);

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addchdir_np(&actions, hostFolder.c_str());
    pid_t pid = 0;
    const int spawned =
        ::posix_spawn(&pid, m_modulePath.c_str(), &actions, nullptr, argv.data(), envp.data());
    posix_spawn_file_actions_destroy(&actions);
    if (spawned != 0)
    {
        m_lastError = "Failed to spawn the Burner process";
        return false;
    }
    m_pid = pid;

    if (s_debugBurner)
        return true;
    // A burner that ends this early could not start; it leaves no text of its own.
    for (int waited = 0; waited < StartCheckMs; waited += WaitStepMs)
    {
        if (HasExited())
            return false;
        SleepMs(WaitStepMs);
    }
    return !HasExited();
}

bool BurnerProcess::HasExited()
{
    if (m_pid == 0)
        return true;
    int status = 0;
    pid_t result;
    do
        result = ::waitpid(m_pid, &status, WNOHANG);
    while (result < 0 && errno == EINTR);
    if (result == 0)
        return false;
    m_pid = 0;
    return true;
}

void BurnerProcess::Stop()
{
    if (m_pid != 0)
    {
        // A burner that does not end in time keeps running: it is only let go here, not killed.
        for (int waited = 0; waited < StopWaitMs && !HasExited(); waited += WaitStepMs)
            SleepMs(WaitStepMs);
        m_pid = 0;
    }
    if (m_deleteOnStop && !m_modulePath.empty())
    {
        for (int attempt = 0; attempt < DeleteTries; ++attempt)
        {
            if (OSFile::Delete(m_modulePath.c_str()) == OSFile::R_Success ||
                OSFile::FileAttr(m_modulePath.c_str()) == 0)
                break;
            SleepMs(DeleteIntervalMs);
        }
    }
    m_deleteOnStop = false;
    m_modulePath.clear();
}

bool BurnerProcess::IsRunning()
{
    if (m_pid == 0)
        return false;
    if (HasExited())
    {
        Stop();
        return false;
    }
    return true;
}
