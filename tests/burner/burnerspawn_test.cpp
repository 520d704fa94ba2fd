// The tool side of a burn against a test burner program that misbehaves as FAKE_BURNER_MODE says.
// Each case checks the records and that no process, socket or local copy is left behind.
#include "fakeburnerfixture.h"
#include "support/logcapture.h"

namespace
{
using BurnerSpawnTest = FakeBurnerTest;

// The burner's misbehaviour, the last record, and a text the log must hold (or null).
const std::tuple<const char*, const char*, const char*> s_faults[] = {
    {"exit-at-once", "Error: Burner -- ", nullptr},
    {"die-before-connect", "Error: Burner -- Burner failed to connect to the Burner Process", nullptr},
    {"unknown-answer", "Error: Burner -- Unknown message read from the burner", nullptr},
    {"ready-of-8-bytes", "Error: Burner -- Failed to read a Message from the Burner Process", "sizeof(BurnerReadyMsg) == size"},
    {"refuse-setup", "Error: BurnerImp -- protocol 8 not spoken", nullptr},
    {"exit-during-burn", "Error: Burner -- Failed to read a post burn request message from the burner", nullptr},
    {"unknown-update", "Error: Burner -- Post burn Request message received is Unknown", nullptr},
    {"refuse-request", "Error: BurnerImp -- no such folder", nullptr},
};
} // namespace

TEST_F(BurnerSpawnTest, EachFaultGivesItsRecordAndLeavesNothingAndAMissingProgramIsNamed)
{
    for (const auto& [mode, lastRecord, assertion] : s_faults)
    {
        SCOPED_TRACE(mode);
        fs::remove(m_pidFile);
        UseMode(mode);
        LogCapture log;
        BurnerResults results;
        uint32 filesBurned = 99;
        EXPECT_FALSE(BurnerSpawn::RunBurn(m_burnerPath, 1, "/f", ".*$", false, false, true, filesBurned, results) || filesBurned != 0);
        ASSERT_FALSE(results.IsEmpty());
        EXPECT_EQ(std::pair(std::string(lastRecord), uint32(BurnerResults::LevelError)),
                  std::pair(results[results.Count() - 1].text, results[results.Count() - 1].level));
        EXPECT_TRUE(assertion == nullptr || log.Has(assertion));
        ExpectNothingLeft();
    }
    // No burner program at all: named.
    fs::remove(m_burnerPath + "/" + BurnerProcess::ModuleName);
    BurnerResults results;
    EXPECT_FALSE(BurnerSpawn::StartBurn(m_burnerPath, 0, "/f", ".*$", false, false, true, results));
    EXPECT_EQ(Texts(results), s_error + "Failed to locate the burner module: 'BurnerImp'.\n");
}

// The update of 2000 bytes and the request arrive whole; the local copy takes the first free number.
TEST_F(BurnerSpawnTest, UpdateOfTwoThousandBytesAndTheRequestArriveWhole)
{
    const std::string zero = HostFolder() + "/" + BurnerProcess::LocalCopyPrefix + "0";
    const bool made = !fs::exists(zero);
    if (made)
        std::ofstream(zero) << "left from a crash";
    UseMode("big-update");
    BurnerResults results;
    uint32 filesBurned = 0;
    const auto start = std::chrono::steady_clock::now();
    ASSERT_TRUE(BurnerSpawn::RunBurn(m_burnerPath, 7, "/p/generic", "a\\..*$", true, false, true, filesBurned, results));
    ASSERT_TRUE(filesBurned == 2u && results.Count() == 5u && results[3].level == 1u);
    EXPECT_EQ(Texts(results), "setup  v8\nself " + results[1].text.substr(5) + "\nrequest 7 /p/generic a\\..*$ 101\n" +
                                  std::string(1984, 'b') + "\nBurnerImp -- 2 files burned\n");
    // The burner waits for the tool to hang up; hanging up before the stop's wait of 2000 ms
    // lets the burn end soon after the start's check of 500 ms.
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(1500));
    int pid = 0;
    std::string self;
    ASSERT_TRUE(Launched(pid, self));
    EXPECT_TRUE(self != zero && results[1].text == "self " + self && fs::exists(zero)) << "a copy left by another run is not touched";
    EXPECT_TRUE(!made || TempFolder::Read(zero) == "left from a crash");
    made ? void(fs::remove(zero)) : void();
    ExpectNothingLeft();
}

TEST_F(BurnerSpawnTest, SecondStartLeavesTheFirstUndisturbed)
{
    UseMode("slow-result");
    BurnerResults results;
    ASSERT_TRUE(BurnerSpawn::StartBurn(m_burnerPath, 3, "/f", "x$", false, false, true, results));
    EXPECT_FALSE(BurnerSpawn::RunningProcess()->Start(m_burnerPath)) << "the running process is not started twice";
    BurnerResults second;
    EXPECT_FALSE(BurnerSpawn::StartBurn(m_burnerPath, 4, "/g", "y$", false, false, true, second));
    EXPECT_EQ(Texts(second), s_error + "Burn already in progress\n");
    bool done = false;
    uint32 filesBurned = 0;
    int polls = 0;
    while (!done && polls++ < 200)
        ASSERT_TRUE(BurnerSpawn::PollBurn(done, filesBurned, results));
    EXPECT_TRUE(done && filesBurned == 2u && polls > 2) << "the result comes after some empty polls of 50 ms";
    EXPECT_EQ(results[2].text, "request 3 /f x$ 001");
    ExpectNothingLeft();
    EXPECT_FALSE(BurnerSpawn::PollBurn(done, filesBurned, second));
    EXPECT_EQ(second[1].text, s_error + "Asyncronous Burn not in progress");
}

TEST_F(BurnerSpawnTest, NeverConnectingBurnerEndsTheWaitWhenItIsKilled)
{
    UseMode("never-connect");
    // The wait for the client has no limit of its own; this watchdog ends the burner after a second.
    std::thread watchdog(
        [this]
        {
            int pid = 0;
            std::string self;
            if (Launched(pid, self, 10000))
                std::this_thread::sleep_for(std::chrono::milliseconds(1000)), ::kill(pid, SIGKILL);
        });
    const auto start = std::chrono::steady_clock::now();
    BurnerResults results;
    EXPECT_FALSE(BurnerSpawn::StartBurn(m_burnerPath, 0, "/f", ".*$", false, false, true, results));
    watchdog.join();
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(1000));
    EXPECT_EQ(Texts(results), s_error + "Burner failed to connect to the Burner Process\n");
    ExpectNothingLeft();
}

TEST_F(BurnerSpawnTest, FileListsGoAsTheirOwnMessages)
{
    UseMode("");
    const std::vector<std::string> files = {"/p/a.sgm", "/p/b c.sgm"};
    for (bool update : {false, true})
    {
        BurnerResults results;
        uint32 filesBurned = 0;
        EXPECT_TRUE(update ? BurnerSpawn::RunUpdateFileList(m_burnerPath, 5, files, filesBurned, results)
                           : BurnerSpawn::RunFileList(m_burnerPath, 5, files, filesBurned, results));
        const std::string word = update ? "update 5 " : "list 5 ";
        ASSERT_EQ(std::pair(2u, size_t(5)), std::pair(filesBurned, size_t(results.Count())));
        EXPECT_EQ(results[2].text + "|" + results[3].text, word + files[0] + "|" + word + files[1]);
        ExpectNothingLeft();
    }
}
