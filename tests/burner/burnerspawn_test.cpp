// The tool side of a burn against a test burner program that misbehaves as FAKE_BURNER_MODE says.
// Each case checks the records and that no process, socket or local copy is left behind.
#include "fakeburnerfixture.h"
#include "support/logcapture.h"

namespace
{
using BurnerSpawnTest = FakeBurnerTest;

struct FaultCase
{
    const char* mode;
    const char* lastRecord;
    const char* assertion; // a text the log must hold, or null
};

const FaultCase s_faults[] = {
    {"exit-at-once", "Error: Burner -- ", nullptr},
    {"die-before-connect", "Error: Burner -- Burner failed to connect to the Burner Process", nullptr},
    {"unknown-answer", "Error: Burner -- Unknown message read from the burner", nullptr},
    {"ready-of-8-bytes", "Error: Burner -- Failed to read a Message from the Burner Process",
     "sizeof(BurnerReadyMsg) == size"},
    {"refuse-setup", "Error: BurnerImp -- protocol 8 not spoken", nullptr},
    {"exit-during-burn", "Error: Burner -- Failed to read a post burn request message from the burner",
     nullptr},
    {"unknown-update", "Error: Burner -- Post burn Request message received is Unknown", nullptr},
    {"refuse-request", "Error: BurnerImp -- no such folder", nullptr},
};
} // namespace

TEST_F(BurnerSpawnTest, EachFaultGivesItsRecordAndLeavesNothing)
{
    for (const FaultCase& c : s_faults)
    {
        SCOPED_TRACE(c.mode);
        std::error_code ec;
        fs::remove(m_pidFile, ec);
        UseMode(c.mode);
        LogCapture log;
        BurnerResults results;
        uint32 filesBurned = 99;
        EXPECT_FALSE(
            BurnerSpawn::RunBurn(m_burnerPath, 1, "/f", ".*$", false, false, true, filesBurned, results));
        EXPECT_EQ(filesBurned, 0u);
        ASSERT_FALSE(results.IsEmpty());
        EXPECT_EQ(results[results.Count() - 1].text, c.lastRecord);
        EXPECT_EQ(results[results.Count() - 1].level, uint32(BurnerResults::LevelError));
        if (c.assertion != nullptr)
        {
            EXPECT_TRUE(log.Has(c.assertion));
        }
        ExpectNothingLeft();
    }
}

TEST_F(BurnerSpawnTest, MissingModuleIsNamed)
{
    fs::remove(m_burnerPath + "/" + BurnerProcess::ModuleName);
    BurnerResults results;
    EXPECT_FALSE(BurnerSpawn::StartBurn(m_burnerPath, 0, "/f", ".*$", false, false, true, results));
    ASSERT_EQ(results.Count(), 1u);
    EXPECT_EQ(results[0].text, s_error + "Failed to locate the burner module: 'BurnerImp'.");
    ExpectNothingLeft();
}

TEST_F(BurnerSpawnTest, UpdateOfTwoThousandBytesAndTheRequestArriveWhole)
{
    UseMode("big-update");
    BurnerResults results;
    uint32 filesBurned = 0;
    const auto start = std::chrono::steady_clock::now();
    ASSERT_TRUE(BurnerSpawn::RunBurn(m_burnerPath, 7, "/p/generic", "a\\..*$", true, false, true, filesBurned,
                                     results));
    EXPECT_EQ(filesBurned, 2u);
    ASSERT_EQ(results.Count(), 5u);
    EXPECT_EQ(results[0].text, "setup  v8");
    EXPECT_EQ(results[2].text, "request 7 /p/generic a\\..*$ 101");
    EXPECT_EQ(results[3].level, 1u);
    EXPECT_EQ(results[3].text, std::string(1984, 'b'));
    EXPECT_EQ(results[4].text, "BurnerImp -- 2 files burned");
    // The burner waits for the tool to hang up; hanging up before the stop's wait of 2000 ms
    // lets the burn end soon after the start's check of 500 ms.
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(1500));
    ExpectNothingLeft();
}

TEST_F(BurnerSpawnTest, SecondStartLeavesTheFirstUndisturbed)
{
    UseMode("slow-result");
    BurnerResults results;
    ASSERT_TRUE(BurnerSpawn::StartBurn(m_burnerPath, 3, "/f", "x$", false, false, true, results));
    BurnerResults second;
    EXPECT_FALSE(BurnerSpawn::StartBurn(m_burnerPath, 4, "/g", "y$", false, false, true, second));
    ASSERT_EQ(second.Count(), 1u);
    EXPECT_EQ(second[0].text, s_error + "Burn already in progress");

    bool done = false;
    uint32 filesBurned = 0;
    int polls = 0;
    while (!done && polls++ < 200)
        ASSERT_TRUE(BurnerSpawn::PollBurn(done, filesBurned, results));
    EXPECT_TRUE(done);
    EXPECT_EQ(filesBurned, 2u);
    EXPECT_GT(polls, 2) << "the result comes after some empty polls of 50 ms";
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
            {
                std::this_thread::sleep_for(std::chrono::milliseconds(1000));
                ::kill(pid, SIGKILL);
            }
        });
    const auto start = std::chrono::steady_clock::now();
    BurnerResults results;
    EXPECT_FALSE(BurnerSpawn::StartBurn(m_burnerPath, 0, "/f", ".*$", false, false, true, results));
    watchdog.join();
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(1000));
    ASSERT_EQ(results.Count(), 1u);
    EXPECT_EQ(results[0].text, s_error + "Burner failed to connect to the Burner Process");
    ExpectNothingLeft();
}

TEST_F(BurnerSpawnTest, LocalCopyTakesTheFirstFreeNumber)
{
    const std::string zero = HostFolder() + "/" + BurnerProcess::LocalCopyPrefix + "0";
    const bool made = !fs::exists(zero);
    if (made)
        std::ofstream(zero) << "left from a crash";
    UseMode("big-update");
    BurnerResults results;
    uint32 filesBurned = 0;
    EXPECT_TRUE(BurnerSpawn::RunBurn(m_burnerPath, 0, "/f", ".*$", false, false, true, filesBurned, results));
    int pid = 0;
    std::string self;
    ASSERT_TRUE(Launched(pid, self));
    EXPECT_NE(self, zero);
    EXPECT_EQ(results[1].text, "self " + self);
    EXPECT_TRUE(fs::exists(zero)) << "a copy left by another run is not touched";
    if (made)
    {
        EXPECT_EQ(TempFolder::Read(zero), "left from a crash");
        fs::remove(zero);
    }
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
        EXPECT_EQ(filesBurned, 2u);
        ASSERT_EQ(results.Count(), 5u);
        const std::string word = update ? "update 5 " : "list 5 ";
        EXPECT_EQ(results[2].text, word + files[0]);
        EXPECT_EQ(results[3].text, word + files[1]);
        ExpectNothingLeft();
    }
}
