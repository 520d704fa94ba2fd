// A test burner program in a share folder of its own: each test copies the built test burner as
// <share>/BurnerImp and chooses its misbehaviour through FAKE_BURNER_MODE; the burner writes its
// process id and file name to a file, so that a test can see that nothing of it is left.
#pragma once
#include "burner/burnerprocess.h"
#include "burner/burnerspawn.h"
#include "burner/namedpipe.h"
#include "support/tempfolder.h"
#include <gtest/gtest.h>
#include <csignal>
#include <fstream>
#include <thread>
#include <unistd.h>

namespace fs = std::filesystem;
inline const std::string s_error = "Error: Burner -- ";
inline std::string HostFolder() { return fs::read_symlink("/proc/self/exe").parent_path().string(); }

// The texts of a results list, one a line.
inline std::string Texts(const BurnerResults& results)
{
    std::string text;
    for (const BurnerResults::Record& record : results)
        text += record.text + "\n";
    return text;
}

// Sockets of this process still in the runtime folder.
inline int SocketsLeft()
{
    const std::string prefix = std::string(NamedPipe::PipeName) + "-" + std::to_string(::getpid()) + "-";
    int count = 0;
    for (const fs::directory_entry& entry : fs::directory_iterator(fs::path(NamedPipe::LocalPath(NamedPipe::PipeName)).parent_path()))
        count += entry.path().filename().string().rfind(prefix, 0) == 0 ? 1 : 0;
    return count;
}

class FakeBurnerTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        fs::create_directories(m_burnerPath);
        fs::copy_file(FAKE_BURNER, m_burnerPath + "/" + BurnerProcess::ModuleName);
    }
    void UseMode(const char* mode) { m_mode.reset(), m_mode = std::make_unique<ScopedEnv>("FAKE_BURNER_MODE", mode); }

    // The burner's process id and file name, once it has written them.
    bool Launched(int& pid, std::string& self, int waitMs = 0)
    {
        for (int waited = 0;; waited += 20)
        {
            std::istringstream in(TempFolder::Read(m_pidFile));
            if (in >> pid >> self)
                return true;
            if (waited >= waitMs)
                return false;
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        }
    }

    void ExpectNothingLeft()
    {
        EXPECT_TRUE(!BurnerSpawn::IsBurnInProgress() && SocketsLeft() == 0);
        int pid = 0;
        std::string self;
        if (!Launched(pid, self))
            return;
        EXPECT_EQ(::kill(pid, 0), -1) << "the burner " << pid << " still runs or was not reaped";
        // The local copy it ran from, beside this program, is gone.
        EXPECT_TRUE(!fs::exists(self) && fs::path(self).parent_path().string() == HostFolder() &&
                    fs::path(self).filename().string().rfind(BurnerProcess::LocalCopyPrefix, 0) == 0u) << self;
    }

    TempFolder m_temp;
    std::string m_burnerPath = m_temp / "share", m_pidFile = m_temp / "burner.pid";
    ScopedEnv m_pidEnv{"FAKE_BURNER_PIDFILE", m_pidFile.c_str()};
    std::unique_ptr<ScopedEnv> m_mode;
};
