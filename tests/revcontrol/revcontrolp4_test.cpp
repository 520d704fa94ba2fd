// The Perforce back end against recorded server replies: command lines sent, and the judgement of
// each reply.
#include "scriptedclient.h"

#include "foundation/debug.h"
#include "revcontrol/revcontrolp4.h"

#include <gtest/gtest.h>

namespace
{
class RevControlP4Test : public ::testing::Test
{
protected:
    void SetUp() override
    {
        m_pScript = std::make_shared<P4Script>();
        m_pP4 = std::make_unique<RevControlP4>(std::make_unique<ScriptedClient>(m_pScript));
        ASSERT_TRUE(m_pP4->Initialize("perforce:1666"));
    }
    void TearDown() override
    {
        EXPECT_TRUE(m_pScript->cReplies.empty()) << "not every scripted reply was asked for";
    }

    void Expect(std::string command, std::string reply)
    {
        m_pScript->Expect(std::move(command), std::move(reply));
    }
    const std::vector<std::string>& Commands() const { return m_pScript->cCommands; }

    std::shared_ptr<P4Script> m_pScript;
    std::unique_ptr<RevControlP4> m_pP4;
};

const char* const s_unitFile = "/home/artist/art/unit.sgm";
} // namespace

TEST(RevControlP4Connection, InitializeSetsPortAndFinalClosesOnDestruction)
{
    auto pScript = std::make_shared<P4Script>();
    {
        RevControlP4 p4(std::make_unique<ScriptedClient>(pScript));
        EXPECT_TRUE(p4.Initialize("perforce:1666"));
        EXPECT_EQ("perforce:1666", pScript->port);
        EXPECT_EQ(1, pScript->inits);
    }
    EXPECT_EQ(1, pScript->finals);
}

TEST(RevControlP4Connection, UnreachableServerFailsEveryCommandThroughItsEmptyReply)
{
    auto pScript = std::make_shared<P4Script>();
    pScript->initSucceeds = false;
    {
        RevControlP4 p4(std::make_unique<ScriptedClient>(pScript));
        EXPECT_FALSE(p4.Initialize("nowhere:1666"));
        EXPECT_NE(std::string::npos, p4.GetLastError().find("Connect to server failed"));

        EXPECT_FALSE(p4.OpenForEdit("a.sgm", 0));
        EXPECT_EQ("Failed to open for edit file: 'a.sgm'", p4.GetLastError());
        int number = -7;
        EXPECT_FALSE(p4.CreateChangelist("SGM Export Changes", number));
        EXPECT_EQ(-7, number);
        // With nothing in the lists, these two read as "opened" and "not opened".
        EXPECT_TRUE(p4.IsOpenedIn("a.sgm", 0));
        EXPECT_EQ(FileStatusNotOpened, p4.GetFileStatus("a.sgm"));
        EXPECT_EQ(SyncFailed, p4.Sync("a.sgm", SyncModeFile));
        EXPECT_EQ("Failed to sync file: 'a.sgm'", p4.GetLastError());
    }
    EXPECT_TRUE(pScript->cCommands.empty());
    EXPECT_EQ(0, pScript->finals);
}

TEST(RevControlP4Connection, DroppedConnectionIsRetriedBeforeTheNextCommand)
{
    auto pScript = std::make_shared<P4Script>();
    RevControlP4 p4(std::make_unique<ScriptedClient>(pScript));
    ASSERT_TRUE(p4.Initialize("perforce:1666"));

    // The server restarts: the next command connects anew and goes through.
    pScript->dropped = true;
    pScript->Expect("edit a.sgm", "info: //depot/a.sgm#2 - opened for edit\nexit: 0\n");
    EXPECT_TRUE(p4.OpenForEdit("a.sgm", 0));
    EXPECT_EQ(2, pScript->inits);

    // It stays down: the command is not sent, and later ones are not tried either.
    pScript->dropped = true;
    pScript->initSucceeds = false;
    EXPECT_FALSE(p4.OpenForEdit("a.sgm", 0));
    EXPECT_FALSE(p4.OpenForEdit("b.sgm", 0));
    EXPECT_EQ(3, pScript->inits);
    EXPECT_EQ(1u, pScript->cCommands.size());
}

TEST_F(RevControlP4Test, LastErrorIsReadOnce)
{
    Expect("edit a.sgm", "error: a.sgm - file(s) not on client.\nexit: 1\n");
    EXPECT_FALSE(m_pP4->OpenForEdit("a.sgm", 0));
    EXPECT_EQ("Failed to open for edit file: 'a.sgm'", m_pP4->GetLastError());
    EXPECT_EQ("", m_pP4->GetLastError());

    // A success leaves no text behind.
    Expect("edit a.sgm", "info: //depot/a.sgm#1 - opened for edit\nexit: 0\n");
    EXPECT_TRUE(m_pP4->OpenForEdit("a.sgm", 0));
    EXPECT_EQ("", m_pP4->GetLastError());
}

TEST_F(RevControlP4Test, CreateChangelistSendsTheChangeFormAndReadsTheNumber)
{
    Expect("change -i", "info: Change 123 created.\nexit: 0\n");
    int number = 0;
    ASSERT_TRUE(m_pP4->CreateChangelist("SGM Export Changes", number));
    EXPECT_EQ(123, number);
    ASSERT_EQ(1u, m_pScript->cInputs.size());
    EXPECT_EQ("Change: new\nClient: artist-ws\nUser: artist\nStatus: new\nDescription: SGM Export Changes",
              m_pScript->cInputs[0]);

    // Any one character stands where the server puts its full stop.
    Expect("change -i", "info: Change 124 created!\nexit: 0\n");
    ASSERT_TRUE(m_pP4->CreateChangelist("SGM Export Changes", number));
    EXPECT_EQ(124, number);
}

TEST_F(RevControlP4Test, CreateChangelistFailures)
{
    int number = 5;
    Expect("change -i", "info: Change 125 created\nexit: 0\n");
    EXPECT_FALSE(m_pP4->CreateChangelist("SGM Export Changes", number));
    EXPECT_EQ("Failed to parse changlist # for changelist: 'SGM Export Changes'", m_pP4->GetLastError());

    Expect("change -i", "error: Client 'artist-ws' unknown - use 'client' command to create it.\nexit: 1\n");
    EXPECT_FALSE(m_pP4->CreateChangelist("SGM Export Changes", number));
    EXPECT_EQ("Failed to create changlist: 'SGM Export Changes'", m_pP4->GetLastError());
    EXPECT_EQ(5, number);
}

TEST_F(RevControlP4Test, CreateChangelistCutsTheFormAt2048Characters)
{
    Expect("change -i", "info: Change 9 created.\nexit: 0\n");
    int number = 0;
    std::string description(3000, 'd');
    ASSERT_TRUE(m_pP4->CreateChangelist(description.c_str(), number));
    ASSERT_EQ(1u, m_pScript->cInputs.size());
    EXPECT_EQ(2048u, m_pScript->cInputs[0].size());
}

TEST_F(RevControlP4Test, FindChangelistTakesTheFirstPendingChangeWithTheDescription)
{
    const char* reply = "info: Change 80 on 2024/03/01 by artist@artist-ws *pending*\n"
                        "\n"
                        "\tTexture fixes\n"
                        "\n"
                        "info: Change 77 on 2024/02/27 by artist@artist-ws *pending*\n"
                        "\n"
                        "\tSGM Export Changes\n"
                        "\n"
                        "info: Change 70 on 2024/02/20 by artist@artist-ws *pending*\n"
                        "\n"
                        "\tSGM Export Changes\n"
                        "exit: 0\n";
    Expect("changes -c artist-ws -s pending -l", reply);
    int number = 0;
    ASSERT_TRUE(m_pP4->FindChangelist("SGM Export Changes", number));
    EXPECT_EQ(77, number);

    Expect("changes -c artist-ws -s pending -l", reply);
    EXPECT_FALSE(m_pP4->FindChangelist("Burn Changes", number));
    EXPECT_EQ("Failed to find pending changelist: 'Burn Changes'", m_pP4->GetLastError());
    EXPECT_EQ(77, number);

    // An entry that holds the description but does not scan as a change is passed over.
    Expect("changes -c artist-ws -s pending -l", "info: Pending: SGM Export Changes\nexit: 0\n");
    EXPECT_FALSE(m_pP4->FindChangelist("SGM Export Changes", number));

    Expect("changes -c artist-ws -s pending -l", "exit: 0\n");
    EXPECT_FALSE(m_pP4->FindChangelist("SGM Export Changes", number));
    EXPECT_EQ("Failed to find pending changelist: 'SGM Export Changes'", m_pP4->GetLastError());
}

TEST_F(RevControlP4Test, FindOrCreateChangelistCreatesOnlyWhenNoneIsPending)
{
    Expect("changes -c artist-ws -s pending -l",
           "info: Change 77 on 2024/02/27 by artist@artist-ws *pending*\n\n\tSGM Export Changes\nexit: 0\n");
    int number = 0;
    ASSERT_TRUE(m_pP4->FindOrCreateChangelist("SGM Export Changes", number));
    EXPECT_EQ(77, number);

    Expect("changes -c artist-ws -s pending -l", "exit: 0\n");
    Expect("change -i", "info: Change 78 created.\nexit: 0\n");
    ASSERT_TRUE(m_pP4->FindOrCreateChangelist("SGM Export Changes", number));
    EXPECT_EQ(78, number);
}

TEST_F(RevControlP4Test, DeleteChangelistRefusalStandsInTheErrorText)
{
    Expect("change -d 5", "info: Change 5 deleted.\nexit: 0\n");
    EXPECT_TRUE(m_pP4->DeleteChangelist(5));

    const char* refusal = "Change 6 has 2 open file(s) associated with it and can't be deleted.";
    Expect("change -d 6", std::string("info: ") + refusal + "\nexit: 0\n");
    EXPECT_FALSE(m_pP4->DeleteChangelist(6));
    EXPECT_EQ(std::string("Failed to delete empty changelist #: '6', error: '") + refusal + "'",
              m_pP4->GetLastError());

    Expect("change -d 7", "error: Change 7 unknown.\nexit: 1\n");
    EXPECT_FALSE(m_pP4->DeleteChangelist(7));
    EXPECT_EQ("Failed to delete empty changelist #: '7'", m_pP4->GetLastError());
}

TEST_F(RevControlP4Test, RevertChangelistRevertsOnlyWhatIsOpened)
{
    // Nothing opened: no revert is sent.
    Expect("opened -c 12", "error: File(s) not opened on this client.\nexit: 0\n");
    EXPECT_TRUE(m_pP4->RevertChangelist(12, true));
    EXPECT_EQ(1u, Commands().size());

    Expect("opened -c default", "info: //depot/a.sgm#1 - edit default change (binary)\nexit: 0\n");
    Expect(
        "revert -a -c default //...",
        "info: //depot/a.sgm#1 - was edit, reverted\ninfo: //depot/b.sgm#1 - was add, abandoned\nexit: 0\n");
    EXPECT_TRUE(m_pP4->RevertChangelist(0, true));

    Expect("opened -c 12", "info: //depot/a.sgm#1 - edit change 12 (binary)\nexit: 0\n");
    Expect("revert -c 12 //...",
           "info: //depot/a.sgm#1 - was edit, reverted\ninfo: //depot/c.sgm - file(s) locked\nexit: 0\n");
    EXPECT_FALSE(m_pP4->RevertChangelist(12, false));
    EXPECT_EQ("Failed to revert changlist #: '12', error: '//depot/c.sgm - file(s) locked'",
              m_pP4->GetLastError());

    Expect("opened -c 12", "info: //depot/a.sgm#1 - edit change 12 (binary)\nexit: 0\n");
    Expect("revert -c 12 //...", "error: Access denied.\nexit: 1\n");
    EXPECT_FALSE(m_pP4->RevertChangelist(12, false));
    EXPECT_EQ("Failed to revert changlist #: '12'", m_pP4->GetLastError());
}

TEST_F(RevControlP4Test, OpenForEditJudgesTheFirstReplyOnly)
{
    Expect("edit /home/artist/art/unit.sgm",
           "info: //depot/art/unit.sgm#3 - opened for edit\n"
           "info: ... //depot/art/unit.sgm - also opened by bob@bob-ws\nexit: 0\n");
    EXPECT_TRUE(m_pP4->OpenForEdit(s_unitFile, 0));

    Expect("edit -c 42 /home/artist/art/unit.sgm",
           "info: //depot/art/unit.sgm#1 - reopened for add\nexit: 0\n");
    EXPECT_TRUE(m_pP4->OpenForEdit(s_unitFile, 42));

    Expect("edit /home/artist/art/unit.sgm",
           "info: //depot/art/unit.sgm#3 - currently opened for delete\nexit: 0\n");
    EXPECT_FALSE(m_pP4->OpenForEdit(s_unitFile, 0));
    EXPECT_EQ("Failed to open for edit file: '/home/artist/art/unit.sgm', error: '//depot/art/unit.sgm#3 - "
              "currently "
              "opened for delete'",
              m_pP4->GetLastError());
}

TEST_F(RevControlP4Test, OpenForEditListRevertsTheFilesBeforeAFailure)
{
    Expect("edit -c 3 a.sgm", "info: //depot/a.sgm#1 - opened for edit\nexit: 0\n");
    Expect("edit -c 3 b.sgm", "info: //depot/b.sgm#1 - opened for edit\nexit: 0\n");
    Expect("edit -c 3 c.sgm", "error: c.sgm - file(s) not on client.\nexit: 1\n");
    Expect("revert -a -c 3 a.sgm", "info: //depot/a.sgm#1 - was edit, reverted\nexit: 0\n");
    Expect("revert -a -c 3 b.sgm", "info: //depot/b.sgm#1 - was edit, reverted\nexit: 0\n");
    // d.sgm is never tried: the scripted client fails the test on a command it does not expect.
    EXPECT_FALSE(m_pP4->OpenForEdit(RevControlAPI::FileList{"a.sgm", "b.sgm", "c.sgm", "d.sgm"}, 3));
    EXPECT_EQ("Failed to open for edit file: 'c.sgm'", m_pP4->GetLastError());

    // A revert that fails leaves its own text: the last step taken.
    Expect("edit x.sgm", "info: //depot/x.sgm#1 - opened for edit\nexit: 0\n");
    Expect("edit y.sgm", "error: y.sgm - file(s) not on client.\nexit: 1\n");
    Expect("revert -a x.sgm", "error: x.sgm - file(s) not opened on this client.\nexit: 1\n");
    EXPECT_FALSE(m_pP4->OpenForEdit(RevControlAPI::FileList{"x.sgm", "y.sgm"}, 0));
    EXPECT_EQ("Failed to Revert file: 'x.sgm'", m_pP4->GetLastError());
}

TEST_F(RevControlP4Test, OpenForAddListStopsAndRevertsInOrder)
{
    Expect("add a.tqp", "info: //depot/a.tqp#1 - opened for add\nexit: 0\n");
    Expect("add b.tqp", "info: //depot/b.tqp#1 - opened for add\nexit: 0\n");
    EXPECT_TRUE(m_pP4->OpenForAdd(RevControlAPI::FileList{"a.tqp", "b.tqp"}, 0));

    Expect("add -c 8 a.tqp", "info: //depot/a.tqp#1 - opened for add\nexit: 0\n");
    Expect("add -c 8 b.tqp", "error: //depot/b.tqp - can't add existing file\nexit: 1\n");
    Expect("revert -a -c 8 a.tqp", "info: //depot/a.tqp#none - was add, abandoned\nexit: 0\n");
    EXPECT_FALSE(m_pP4->OpenForAdd(RevControlAPI::FileList{"a.tqp", "b.tqp"}, 8));
    EXPECT_EQ("Failed to open for Add file: 'b.tqp'", m_pP4->GetLastError());
}

TEST_F(RevControlP4Test, SingleFileCommandsAndTheirWords)
{
    Expect("add -c 4 new.sgm", "info: //depot/new.sgm#1 - currently opened for edit\nexit: 0\n");
    EXPECT_FALSE(m_pP4->OpenForAdd("new.sgm", 4));
    EXPECT_EQ(
        "Failed to open for Add file: 'new.sgm', error: '//depot/new.sgm#1 - currently opened for edit'",
        m_pP4->GetLastError());

    Expect("delete old.sgm", "info: //depot/old.sgm#2 - opened for delete\nexit: 0\n");
    EXPECT_TRUE(m_pP4->OpenForDelete("old.sgm", 0));
    Expect("delete -c 4 old.sgm", "info: //depot/old.sgm#2 - currently opened for edit\nexit: 0\n");
    EXPECT_FALSE(m_pP4->OpenForDelete("old.sgm", 4));
    EXPECT_EQ(
        "Failed to open for Delete file: 'old.sgm', error: '//depot/old.sgm#2 - currently opened for edit'",
        m_pP4->GetLastError());
    Expect("delete old.sgm", "error: old.sgm - file(s) not on client.\nexit: 1\n");
    EXPECT_FALSE(m_pP4->OpenForDelete("old.sgm", 0));
    EXPECT_EQ("Failed to open for Delete file: 'old.sgm'", m_pP4->GetLastError());

    Expect("revert a.sgm", "info: //depot/a.sgm#1 - was edit, reverted\nexit: 0\n");
    EXPECT_TRUE(m_pP4->Revert("a.sgm", 0, false));
    Expect("revert -a -c 2 b.sgm", "info: //depot/b.sgm#none - was add, abandoned\nexit: 0\n");
    EXPECT_TRUE(m_pP4->Revert("b.sgm", 2, true));
    Expect("revert c.sgm", "info: //depot/c.sgm#none - was branch, deleted\nexit: 0\n");
    EXPECT_TRUE(m_pP4->Revert("c.sgm", 0, false));
    Expect("revert d.sgm", "info: d.sgm - file(s) not opened on this client.\nexit: 0\n");
    EXPECT_FALSE(m_pP4->Revert("d.sgm", 0, false));
    EXPECT_EQ("Failed to Revert file: 'd.sgm', error: 'd.sgm - file(s) not opened on this client.'",
              m_pP4->GetLastError());
}

TEST_F(RevControlP4Test, IntegrateAlwaysNamesTheChangelistAndRenameIsBranchThenDelete)
{
    // The default changelist goes as the number 0 here, not as the word.
    Expect("integrate -c 0 old.sgm new.sgm",
           "info: //depot/new.sgm#1 - branch/sync from //depot/old.sgm#1,#2\nexit: 0\n");
    EXPECT_TRUE(m_pP4->Integrate("old.sgm", "new.sgm", 0));

    Expect("integrate -c 9 old.sgm new.sgm",
           "info: old.sgm - all revision(s) already integrated.\nexit: 0\n");
    EXPECT_FALSE(m_pP4->Integrate("old.sgm", "new.sgm", 9));
    EXPECT_EQ("Failed to Integrate file: 'old.sgm', error: 'old.sgm - all revision(s) already integrated.'",
              m_pP4->GetLastError());

    Expect("integrate -c 9 old.sgm new.sgm",
           "info: //depot/new.sgm#1 - branch/sync from //depot/old.sgm#1,#2\nexit: 0\n");
    Expect("delete -c 9 old.sgm", "info: //depot/old.sgm#2 - opened for delete\nexit: 0\n");
    EXPECT_TRUE(m_pP4->Rename("old.sgm", "new.sgm", 9));

    Expect("integrate -c 9 old.sgm new.sgm", "error: old.sgm - no such file(s).\nexit: 1\n");
    EXPECT_FALSE(m_pP4->Rename("old.sgm", "new.sgm", 9));
    EXPECT_EQ("Failed to integrate file: 'old.sgm' to: 'new.sgm' during rename operation",
              m_pP4->GetLastError());

    // The branch stays open when the delete fails.
    Expect("integrate -c 9 old.sgm new.sgm",
           "info: //depot/new.sgm#1 - branch/sync from //depot/old.sgm#1,#2\nexit: 0\n");
    Expect("delete -c 9 old.sgm", "error: old.sgm - file(s) not on client.\nexit: 1\n");
    EXPECT_FALSE(m_pP4->Rename("old.sgm", "new.sgm", 9));
    EXPECT_EQ("Failed to delete file: 'old.sgm' during rename operation", m_pP4->GetLastError());
}

TEST_F(RevControlP4Test, IsOpenedInAndGetOpenedChangelist)
{
    Expect("opened -c default a.sgm", "info: //depot/a.sgm#1 - edit default change (binary)\nexit: 0\n");
    EXPECT_TRUE(m_pP4->IsOpenedIn("a.sgm", 0));
    Expect("opened -c 42 a.sgm", "error: a.sgm - file(s) not opened on this client.\nexit: 0\n");
    EXPECT_FALSE(m_pP4->IsOpenedIn("a.sgm", 42));

    int number = -1;
    Expect("opened a.sgm", "info: //depot/a.sgm#1 - edit default change (binary)\nexit: 0\n");
    EXPECT_TRUE(m_pP4->GetOpenedChangelist("a.sgm", number));
    EXPECT_EQ(0, number);

    Expect("opened a.sgm", "info: //depot/a.sgm#1 - edit change 42 (binary)\nexit: 0\n");
    EXPECT_TRUE(m_pP4->GetOpenedChangelist("a.sgm", number));
    EXPECT_EQ(42, number);

    // Not opened: the number is left alone, and the error decides.
    number = 17;
    Expect("opened a.sgm", "error: a.sgm - file(s) not opened on this client.\nexit: 0\n");
    EXPECT_FALSE(m_pP4->GetOpenedChangelist("a.sgm", number));
    EXPECT_EQ(17, number);

    Expect("opened a.sgm", "info: //depot/a.sgm#1 - edit in some other way\nexit: 0\n");
    EXPECT_TRUE(m_pP4->GetOpenedChangelist("a.sgm", number));
    EXPECT_EQ(17, number);
}

TEST_F(RevControlP4Test, FileStatusFromFstat)
{
    struct Case
    {
        const char* name;
        const char* reply;
        int status;
    };
    const Case cases[] = {
        {"opened for edit",
         "info1: depotFile //depot/art/unit.sgm\ninfo1: clientFile /home/artist/art/unit.sgm\n"
         "info1: headAction edit\ninfo1: headType binary\ninfo1: action edit\ninfo1: change default\n",
         FileStatusOpenForEdit},
        {"opened for add", "info1: depotFile //depot/a.sgm\ninfo1: action add\n", FileStatusOpenForAdd},
        {"opened for branch", "info1: depotFile //depot/a.sgm\ninfo1: action branch\n", FileStatusOpenForAdd},
        {"opened for delete", "info1: depotFile //depot/a.sgm\ninfo1: action delete\n",
         FileStatusOpenForDelete},
        {"exclusive and opened elsewhere",
         "info1: depotFile //depot/a.sgm\ninfo1: headAction edit\ninfo1: headType binary+l\n"
         "info1: otherOpen0 bob@bob-ws\ninfo1: otherAction0 edit\ninfo1: otherOpen 1\n",
         FileStatusHeldByOther},
        {"plain and opened elsewhere",
         "info1: depotFile //depot/a.sgm\ninfo1: headAction edit\ninfo1: headType binary\n"
         "info1: otherOpen0 bob@bob-ws\ninfo1: otherAction0 edit\ninfo1: otherOpen 1\n",
         FileStatusNotOpened},
        {"locked elsewhere",
         "info1: depotFile //depot/a.sgm\ninfo1: headType text\ninfo1: otherLock0 bob@bob-ws\n",
         FileStatusHeldByOther},
        {"deleted at head",
         "info1: depotFile //depot/a.sgm\ninfo1: headAction delete\ninfo1: headType binary\n",
         FileStatusNotControlled},
        {"not in the depot", "error: a.sgm - no such file(s).\n", FileStatusNotControlled},
        {"action in the depot path",
         "info1: depotFile //depot/action/edit/a.sgm\ninfo1: clientFile /home/action/delete/a.sgm\n"
         "info1: headAction add\ninfo1: headType text\n",
         FileStatusNotOpened},
        {"an action without a known word goes on",
         "info1: depotFile //depot/a.sgm\ninfo1: action archive\ninfo1: otherLock0 bob@bob-ws\n",
         FileStatusHeldByOther},
    };
    for (const Case& c : cases)
    {
        SCOPED_TRACE(c.name);
        Expect("fstat a.sgm", std::string(c.reply) + "exit: 0\n");
        EXPECT_EQ(c.status, m_pP4->GetFileStatus("a.sgm"));
    }
}

TEST_F(RevControlP4Test, OpenOrAddWalksFromAddToEdit)
{
    // New file: opened for add at once.
    Expect("add -c 5 a.sgm", "info: //depot/a.sgm#1 - opened for add\nexit: 0\n");
    EXPECT_EQ(OpenResultOpened, m_pP4->OpenOrAdd("a.sgm", 5));

    // Known file, not opened: add refuses, edit opens.
    Expect("add -c 5 a.sgm", "error: //depot/a.sgm - can't add existing file\nexit: 0\n");
    Expect("fstat a.sgm",
           "info1: depotFile //depot/a.sgm\ninfo1: headAction edit\ninfo1: headType binary\nexit: 0\n");
    Expect("edit -c 5 a.sgm", "info: //depot/a.sgm#3 - opened for edit\nexit: 0\n");
    EXPECT_EQ(OpenResultOpened, m_pP4->OpenOrAdd("a.sgm", 5));

    Expect("add -c 5 a.sgm", "error: //depot/a.sgm - can't add existing file\nexit: 0\n");
    Expect("fstat a.sgm",
           "info1: depotFile //depot/a.sgm\ninfo1: headAction edit\ninfo1: headType binary\nexit: 0\n");
    Expect("edit -c 5 a.sgm", "error: a.sgm - file(s) not on client.\nexit: 1\n");
    EXPECT_EQ(OpenResultFailed, m_pP4->OpenOrAdd("a.sgm", 5));
    EXPECT_EQ("Failed to open for edit file: 'a.sgm'", m_pP4->GetLastError());
}

TEST_F(RevControlP4Test, OpenOrAddOnFilesAlreadyOpened)
{
    // "currently opened for add" holds the words of a successful add.
    Expect("add a.sgm", "info: //depot/a.sgm - currently opened for add\nexit: 0\n");
    EXPECT_EQ(OpenResultOpened, m_pP4->OpenOrAdd("a.sgm", 0));

    Expect("add -c 5 a.sgm", "info: //depot/a.sgm#3 - currently opened for edit\nexit: 0\n");
    Expect("fstat a.sgm", "info1: depotFile //depot/a.sgm\ninfo1: action edit\ninfo1: change 5\nexit: 0\n");
    Expect("opened -c 5 a.sgm", "info: //depot/a.sgm#3 - edit change 5 (binary)\nexit: 0\n");
    EXPECT_EQ(OpenResultInThisChangelist, m_pP4->OpenOrAdd("a.sgm", 5));

    // The add reply itself counts as opened when it holds the words, so a branch stands in here.
    Expect("add a.sgm", "info: //depot/a.sgm - can't add (already opened for branch)\nexit: 0\n");
    Expect("fstat a.sgm", "info1: depotFile //depot/a.sgm\ninfo1: action branch\ninfo1: change 9\nexit: 0\n");
    Expect("opened -c default a.sgm", "error: a.sgm - file(s) not opened on this client.\nexit: 0\n");
    EXPECT_EQ(OpenResultInOtherChangelist, m_pP4->OpenOrAdd("a.sgm", 0));
}

TEST_F(RevControlP4Test, OpenOrAddRevertsADeleteInItsOwnChangelistAndStartsAgain)
{
    Expect("add -c 5 a.sgm", "info: //depot/a.sgm#3 - currently opened for delete\nexit: 0\n");
    Expect("fstat a.sgm", "info1: depotFile //depot/a.sgm\ninfo1: action delete\nexit: 0\n");
    Expect("opened -c 5 a.sgm", "info: //depot/a.sgm#3 - delete change 5 (binary)\nexit: 0\n");
    Expect("revert -c 5 a.sgm", "info: //depot/a.sgm#3 - was delete, reverted\nexit: 0\n");
    Expect("add -c 5 a.sgm", "error: //depot/a.sgm - can't add existing file\nexit: 0\n");
    Expect("fstat a.sgm", "info1: depotFile //depot/a.sgm\ninfo1: headAction edit\nexit: 0\n");
    Expect("edit -c 5 a.sgm", "info: //depot/a.sgm#3 - opened for edit\nexit: 0\n");
    EXPECT_EQ(OpenResultOpened, m_pP4->OpenOrAdd("a.sgm", 5));

    // Opened for delete in another changelist: reported as opened, left as it is.
    Expect("add -c 5 a.sgm", "info: //depot/a.sgm#3 - currently opened for delete\nexit: 0\n");
    Expect("fstat a.sgm", "info1: depotFile //depot/a.sgm\ninfo1: action delete\nexit: 0\n");
    Expect("opened -c 5 a.sgm", "error: a.sgm - file(s) not opened on this client.\nexit: 0\n");
    EXPECT_EQ(OpenResultOpened, m_pP4->OpenOrAdd("a.sgm", 5));

    Expect("add -c 5 a.sgm", "info: //depot/a.sgm#3 - currently opened for delete\nexit: 0\n");
    Expect("fstat a.sgm", "info1: depotFile //depot/a.sgm\ninfo1: action delete\nexit: 0\n");
    Expect("opened -c 5 a.sgm", "info: //depot/a.sgm#3 - delete change 5 (binary)\nexit: 0\n");
    Expect("revert -c 5 a.sgm", "error: a.sgm - file(s) locked\nexit: 1\n");
    EXPECT_EQ(OpenResultFailed, m_pP4->OpenOrAdd("a.sgm", 5));
    EXPECT_EQ("Failed to Revert file: 'a.sgm'", m_pP4->GetLastError());
}

TEST_F(RevControlP4Test, OpenOrAddGivesUpOnAServerThatKeepsTheDelete)
{
    for (int pass = 0; pass < 4; ++pass)
    {
        Expect("add a.sgm", "info: //depot/a.sgm#3 - currently opened for delete\nexit: 0\n");
        Expect("fstat a.sgm", "info1: depotFile //depot/a.sgm\ninfo1: action delete\nexit: 0\n");
        Expect("opened -c default a.sgm",
               "info: //depot/a.sgm#3 - delete default change (binary)\nexit: 0\n");
        Expect("revert a.sgm", "info: //depot/a.sgm#3 - was delete, reverted\nexit: 0\n");
    }
    EXPECT_EQ(OpenResultFailed, m_pP4->OpenOrAdd("a.sgm", 0));
    EXPECT_NE("", m_pP4->GetLastError());
}

TEST_F(RevControlP4Test, SyncJudgesErrorsThenInfo)
{
    Expect("sync art\\units\\...",
           "info: //depot/art/units/a.sgm#4 - updating /home/artist/art/units/a.sgm\nexit: 0\n");
    EXPECT_EQ(SyncUpdated, m_pP4->Sync("art\\units", SyncModeFolder));
    Expect("sync art/units/...",
           "info: //depot/art/units/b.sgm#1 - added as /home/artist/art/units/b.sgm\nexit: 0\n");
    EXPECT_EQ(SyncUpdated, m_pP4->Sync("art/units/", SyncModeFolder));
    Expect("sync a.sgm", "error: a.sgm - file(s) up-to-date.\nexit: 0\n");
    EXPECT_EQ(SyncUpToDate, m_pP4->Sync("a.sgm", SyncModeFile));
    Expect("sync a.sgm", "error: Can't clobber writable file /home/artist/a.sgm\nexit: 1\n");
    EXPECT_EQ(SyncFailed, m_pP4->Sync("a.sgm", SyncModeFile));
    EXPECT_EQ("", m_pP4->GetLastError());
    Expect("sync a.sgm", "error: a.sgm - no such file(s).\nexit: 1\n");
    EXPECT_EQ(SyncNoSuchFile, m_pP4->Sync("a.sgm", SyncModeFile));

    Expect("sync a.sgm", "error: a.sgm - must refer to client 'artist-ws'.\nexit: 1\n");
    EXPECT_EQ(SyncFailed, m_pP4->Sync("a.sgm", SyncModeFile));
    EXPECT_EQ("Failed to sync file: 'a.sgm', error: 'a.sgm - must refer to client 'artist-ws'.'",
              m_pP4->GetLastError());
    Expect("sync a.sgm", "info: //depot/a.sgm#4 - deleted as /home/artist/a.sgm\nexit: 0\n");
    EXPECT_EQ(SyncFailed, m_pP4->Sync("a.sgm", SyncModeFile));
    EXPECT_EQ("Failed to sync file: 'a.sgm'", m_pP4->GetLastError());
}

TEST_F(RevControlP4Test, NullFileNamesAssertAndFail)
{
    dbg::ScopedThrowOnAssert quiet(false);
    EXPECT_FALSE(m_pP4->OpenForEdit(static_cast<const char*>(nullptr), 0));
    EXPECT_EQ(OpenResultFailed, m_pP4->OpenOrAdd(nullptr, 0));
    EXPECT_EQ(SyncFailed, m_pP4->Sync(nullptr, SyncModeFile));
    EXPECT_TRUE(Commands().empty());

    dbg::ScopedThrowOnAssert loud;
    EXPECT_THROW(m_pP4->Revert(nullptr, 0, false), std::runtime_error);
}
