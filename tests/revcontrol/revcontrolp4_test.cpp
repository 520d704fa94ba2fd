// The Perforce back end against recorded server replies: command lines sent, and the judgement of
// each reply.
#include "revcontrolcall.h"
#include "scriptedclient.h"

#include "foundation/debug.h"
#include "revcontrol/revcontrolp4.h"

#include <gtest/gtest.h>

namespace
{
using Script = std::vector<std::pair<std::string, std::string>>;

struct Case
{
    std::string call;
    Script script; // command line sent => reply given
    int result;
    const char* error = ""; // the last error afterwards; null: not looked at
    int number = -1;        // the changelist number handed out; -1: left alone
    std::string input = ""; // the form sent to "change -i"
};

const std::string s_form = "Change: new\nClient: artist-ws\nUser: artist\nStatus: new\nDescription: ";
const char* const s_pending =
    "info: Change 80 on 2024/03/01 by artist@artist-ws *pending*\n\n\tTexture fixes\n\n"
    "info: Change 77 on 2024/02/27 by artist@artist-ws *pending*\n\n\tSGM Export Changes\n\n"
    "info: Change 70 on 2024/02/20 by artist@artist-ws *pending*\n\n\tSGM Export Changes\n";
const char* const s_changes = "changes -c artist-ws -s pending -l";
const char* const s_notOpened = "error: a.sgm - file(s) not opened on this client.";
const char* const s_cantAdd = "error: //depot/a.sgm - can't add existing file";
const char* const s_heldDelete = "info: //depot/a.sgm#3 - currently opened for delete";
const char* const s_fstatDelete = "info1: depotFile //depot/a.sgm\ninfo1: action delete";
const char* const s_fstatKnown =
    "info1: depotFile //depot/a.sgm\ninfo1: headAction edit\ninfo1: headType binary";

std::vector<Case> Cases()
{
    Script fourDeletes;
    for (int pass = 0; pass < 4; ++pass)
        fourDeletes.insert(fourDeletes.end(),
                           {{"add a.sgm", s_heldDelete},
                            {"fstat a.sgm", s_fstatDelete},
                            {"opened -c default a.sgm", "info: //depot/a.sgm#3 - delete default change"},
                            {"revert a.sgm", "info: //depot/a.sgm#3 - was delete, reverted"}});
    auto status = [](const char* reply, int expected) {
        return Case{"GetFileStatus a.sgm", {{"fstat a.sgm", reply}}, expected};
    };
    const char* const edited = "info: //depot/a.sgm#3 - opened for edit";
    const char* const branched = "info: //depot/new.sgm#1 - branch/sync from //depot/old.sgm#1,#2";
    const char* const notOnClient = "error: a.sgm - file(s) not on client.";
    const char* const findFailed = "Failed to find pending changelist: 'SGM Export Changes'";
    // clang-format off
    return {
        // Changelists: the form, the number read with any one character for the full stop.
        {"CreateChangelist SGM Export Changes", {{"change -i", "info: Change 123 created."}}, 1, "", 123, s_form + "SGM Export Changes"},
        {"CreateChangelist SGM Export Changes", {{"change -i", "info: Change 124 created!"}}, 1, "", 124},
        {"CreateChangelist SGM Export Changes", {{"change -i", "info: Change 125 created"}}, 0,
         "Failed to parse changlist # for changelist: 'SGM Export Changes'"},
        {"CreateChangelist SGM Export Changes", {{"change -i", "error: Client 'artist-ws' unknown."}}, 0,
         "Failed to create changlist: 'SGM Export Changes'"},
        {"CreateChangelist " + std::string(3000, 'd'), {{"change -i", "info: Change 9 created."}}, 1, "", 9,
         (s_form + std::string(3000, 'd')).substr(0, 2048)},
        {"FindChangelist SGM Export Changes", {{s_changes, s_pending}}, 1, "", 77},
        {"FindChangelist Burn Changes", {{s_changes, s_pending}}, 0, "Failed to find pending changelist: 'Burn Changes'"},
        // An entry that holds the description but does not scan as a change is passed over.
        {"FindChangelist SGM Export Changes", {{s_changes, "info: Pending: SGM Export Changes"}}, 0, findFailed},
        {"FindChangelist SGM Export Changes", {{s_changes, ""}}, 0, findFailed},
        {"FindOrCreateChangelist SGM Export Changes", {{s_changes, s_pending}}, 1, "", 77},
        {"FindOrCreateChangelist SGM Export Changes", {{s_changes, ""}, {"change -i", "info: Change 78 created."}}, 1, nullptr, 78},
        {"DeleteChangelist 5", {{"change -d 5", "info: Change 5 deleted."}}, 1},
        {"DeleteChangelist 6", {{"change -d 6", "info: Change 6 has 2 open file(s) associated with it and can't be deleted."}}, 0,
         "Failed to delete empty changelist #: '6', error: 'Change 6 has 2 open file(s) associated with it and can't be deleted.'"},
        {"DeleteChangelist 7", {{"change -d 7", "error: Change 7 unknown."}}, 0, "Failed to delete empty changelist #: '7'"},
        // Nothing opened: no revert is sent.
        {"RevertChangelist 12 1", {{"opened -c 12", "error: File(s) not opened on this client."}}, 1},
        {"RevertChangelist 0 1", {{"opened -c default", "info: //depot/a.sgm#1 - edit default change (binary)"},
          {"revert -a -c default //...", "info: //depot/a.sgm#1 - was edit, reverted\ninfo: //depot/b.sgm#1 - was add, abandoned"}}, 1},
        {"RevertChangelist 12 0", {{"opened -c 12", "info: //depot/a.sgm#1 - edit change 12 (binary)"},
          {"revert -c 12 //...", "info: //depot/a.sgm#1 - was edit, reverted\ninfo: //depot/c.sgm - file(s) locked"}}, 0,
         "Failed to revert changlist #: '12', error: '//depot/c.sgm - file(s) locked'"},
        {"RevertChangelist 12 0", {{"opened -c 12", "info: //depot/a.sgm#1 - edit change 12 (binary)"},
          {"revert -c 12 //...", "error: Access denied."}}, 0, "Failed to revert changlist #: '12'"},

        // Single files: the first info line is judged by the words of each command.
        {"OpenForEdit a.sgm 0", {{"edit a.sgm", std::string(edited) + "\ninfo: ... //depot/a.sgm - also opened by bob"}}, 1},
        {"OpenForEdit a.sgm 42", {{"edit -c 42 a.sgm", "info: //depot/a.sgm#1 - reopened for add"}}, 1},
        {"OpenForEdit a.sgm 0", {{"edit a.sgm", s_heldDelete}}, 0,
         "Failed to open for edit file: 'a.sgm', error: '//depot/a.sgm#3 - currently opened for delete'"},
        {"OpenForEdit a.sgm 0", {{"edit a.sgm", notOnClient}}, 0, "Failed to open for edit file: 'a.sgm'"},
        {"OpenForAdd a.sgm 4", {{"add -c 4 a.sgm", "info: //depot/a.sgm#1 - currently opened for edit"}}, 0,
         "Failed to open for Add file: 'a.sgm', error: '//depot/a.sgm#1 - currently opened for edit'"},
        {"OpenForDelete a.sgm 0", {{"delete a.sgm", "info: //depot/a.sgm#2 - opened for delete"}}, 1},
        {"OpenForDelete a.sgm 4", {{"delete -c 4 a.sgm", "info: //depot/a.sgm#2 - currently opened for edit"}}, 0,
         "Failed to open for Delete file: 'a.sgm', error: '//depot/a.sgm#2 - currently opened for edit'"},
        {"OpenForDelete a.sgm 0", {{"delete a.sgm", notOnClient}}, 0, "Failed to open for Delete file: 'a.sgm'"},
        {"Revert a.sgm 0 0", {{"revert a.sgm", "info: //depot/a.sgm#1 - was edit, reverted"}}, 1},
        {"Revert a.sgm 2 1", {{"revert -a -c 2 a.sgm", "info: //depot/a.sgm#none - was add, abandoned"}}, 1},
        {"Revert a.sgm 0 0", {{"revert a.sgm", "info: //depot/a.sgm#none - was branch, deleted"}}, 1},
        {"Revert a.sgm 0 0", {{"revert a.sgm", "info: a.sgm - file(s) not opened on this client."}}, 0,
         "Failed to Revert file: 'a.sgm', error: 'a.sgm - file(s) not opened on this client.'"},
        // The default changelist goes to integrate as the number 0, not as the word.
        {"Integrate old.sgm new.sgm 0", {{"integrate -c 0 old.sgm new.sgm", branched}}, 1},
        {"Integrate old.sgm new.sgm 9", {{"integrate -c 9 old.sgm new.sgm", "info: old.sgm - all revision(s) already integrated."}}, 0,
         "Failed to Integrate file: 'old.sgm', error: 'old.sgm - all revision(s) already integrated.'"},
        {"Rename old.sgm new.sgm 9", {{"integrate -c 9 old.sgm new.sgm", branched},
          {"delete -c 9 old.sgm", "info: //depot/old.sgm#2 - opened for delete"}}, 1},
        {"Rename old.sgm new.sgm 9", {{"integrate -c 9 old.sgm new.sgm", "error: old.sgm - no such file(s)."}}, 0,
         "Failed to integrate file: 'old.sgm' to: 'new.sgm' during rename operation"},
        // The branch stays open when the delete fails.
        {"Rename old.sgm new.sgm 9", {{"integrate -c 9 old.sgm new.sgm", branched}, {"delete -c 9 old.sgm", notOnClient}}, 0,
         "Failed to delete file: 'old.sgm' during rename operation"},

        // Lists: at the first failure the files opened before it are reverted, and no later one is tried.
        {"OpenForEditList a.sgm,b.sgm,c.sgm,d.sgm 3", {{"edit -c 3 a.sgm", edited}, {"edit -c 3 b.sgm", edited},
          {"edit -c 3 c.sgm", notOnClient}, {"revert -a -c 3 a.sgm", "info: //depot/a.sgm#1 - was edit, reverted"},
          {"revert -a -c 3 b.sgm", "info: //depot/b.sgm#1 - was edit, reverted"}}, 0, "Failed to open for edit file: 'c.sgm'"},
        // A revert that fails leaves its own text: the last step taken.
        {"OpenForEditList x.sgm,y.sgm 0", {{"edit x.sgm", edited}, {"edit y.sgm", notOnClient}, {"revert -a x.sgm", s_notOpened}}, 0,
         "Failed to Revert file: 'x.sgm'"},
        {"OpenForAddList a.tqp,b.tqp 0", {{"add a.tqp", "info: //depot/a.tqp#1 - opened for add"},
          {"add b.tqp", "info: //depot/b.tqp#1 - opened for add"}}, 1},
        {"OpenForAddList a.tqp,b.tqp 8", {{"add -c 8 a.tqp", "info: //depot/a.tqp#1 - opened for add"},
          {"add -c 8 b.tqp", "error: //depot/b.tqp - can't add existing file"},
          {"revert -a -c 8 a.tqp", "info: //depot/a.tqp#none - was add, abandoned"}}, 0, "Failed to open for Add file: 'b.tqp'"},

        // Opened state: errors decide; the number is read from the first line.
        {"IsOpenedIn a.sgm 0", {{"opened -c default a.sgm", "info: //depot/a.sgm#1 - edit default change (binary)"}}, 1},
        {"IsOpenedIn a.sgm 42", {{"opened -c 42 a.sgm", s_notOpened}}, 0},
        {"GetOpenedChangelist a.sgm", {{"opened a.sgm", "info: //depot/a.sgm#1 - edit default change (binary)"}}, 1, "", 0},
        {"GetOpenedChangelist a.sgm", {{"opened a.sgm", "info: //depot/a.sgm#1 - edit change 42 (binary)"}}, 1, "", 42},
        {"GetOpenedChangelist a.sgm", {{"opened a.sgm", s_notOpened}}, 0},
        {"GetOpenedChangelist a.sgm", {{"opened a.sgm", "info: //depot/a.sgm#1 - edit in some other way"}}, 1},

        // File status from fstat: the first deciding entry wins; words in paths do not count.
        status("info1: depotFile //depot/art/unit.sgm\ninfo1: clientFile /home/artist/art/unit.sgm\ninfo1: headAction edit\n"
               "info1: headType binary\ninfo1: action edit\ninfo1: change default", FileStatusOpenForEdit),
        status("info1: depotFile //depot/a.sgm\ninfo1: action add", FileStatusOpenForAdd),
        status("info1: depotFile //depot/a.sgm\ninfo1: action branch", FileStatusOpenForAdd),
        status(s_fstatDelete, FileStatusOpenForDelete),
        status("info1: depotFile //depot/a.sgm\ninfo1: headAction edit\ninfo1: headType binary+l\n"
               "info1: otherOpen0 bob@bob-ws\ninfo1: otherAction0 edit\ninfo1: otherOpen 1", FileStatusHeldByOther),
        status("info1: depotFile //depot/a.sgm\ninfo1: headAction edit\ninfo1: headType binary\n"
               "info1: otherOpen0 bob@bob-ws\ninfo1: otherAction0 edit\ninfo1: otherOpen 1", FileStatusNotOpened),
        status("info1: depotFile //depot/a.sgm\ninfo1: headType text\ninfo1: otherLock0 bob@bob-ws", FileStatusHeldByOther),
        status("info1: depotFile //depot/a.sgm\ninfo1: headAction delete\ninfo1: headType binary", FileStatusNotControlled),
        status("error: a.sgm - no such file(s).", FileStatusNotControlled),
        status("info1: depotFile //depot/action/edit/a.sgm\ninfo1: clientFile /home/action/delete/a.sgm\n"
               "info1: headAction add\ninfo1: headType text", FileStatusNotOpened),
        status("info1: depotFile //depot/a.sgm\ninfo1: action archive\ninfo1: otherLock0 bob@bob-ws", FileStatusHeldByOther),

        // OpenOrAdd: add, else by the file's state.
        {"OpenOrAdd a.sgm 5", {{"add -c 5 a.sgm", "info: //depot/a.sgm#1 - opened for add"}}, OpenResultOpened},
        {"OpenOrAdd a.sgm 5", {{"add -c 5 a.sgm", s_cantAdd}, {"fstat a.sgm", s_fstatKnown}, {"edit -c 5 a.sgm", edited}},
         OpenResultOpened, nullptr},
        {"OpenOrAdd a.sgm 5", {{"add -c 5 a.sgm", s_cantAdd}, {"fstat a.sgm", s_fstatKnown}, {"edit -c 5 a.sgm", notOnClient}},
         OpenResultFailed, "Failed to open for edit file: 'a.sgm'"},
        // "currently opened for add" holds the words of a successful add.
        {"OpenOrAdd a.sgm 0", {{"add a.sgm", "info: //depot/a.sgm - currently opened for add"}}, OpenResultOpened},
        {"OpenOrAdd a.sgm 5", {{"add -c 5 a.sgm", "info: //depot/a.sgm#3 - currently opened for edit"},
          {"fstat a.sgm", "info1: depotFile //depot/a.sgm\ninfo1: action edit\ninfo1: change 5"},
          {"opened -c 5 a.sgm", "info: //depot/a.sgm#3 - edit change 5 (binary)"}}, OpenResultInThisChangelist, nullptr},
        {"OpenOrAdd a.sgm 0", {{"add a.sgm", "info: //depot/a.sgm - can't add (already opened for branch)"},
          {"fstat a.sgm", "info1: depotFile //depot/a.sgm\ninfo1: action branch\ninfo1: change 9"},
          {"opened -c default a.sgm", s_notOpened}}, OpenResultInOtherChangelist, nullptr},
        // Opened for delete here: reverted, and the add tried again.
        {"OpenOrAdd a.sgm 5", {{"add -c 5 a.sgm", s_heldDelete}, {"fstat a.sgm", s_fstatDelete},
          {"opened -c 5 a.sgm", "info: //depot/a.sgm#3 - delete change 5 (binary)"},
          {"revert -c 5 a.sgm", "info: //depot/a.sgm#3 - was delete, reverted"},
          {"add -c 5 a.sgm", s_cantAdd}, {"fstat a.sgm", s_fstatKnown}, {"edit -c 5 a.sgm", edited}}, OpenResultOpened, nullptr},
        // Opened for delete elsewhere: reported as opened, left as it is.
        {"OpenOrAdd a.sgm 5", {{"add -c 5 a.sgm", s_heldDelete}, {"fstat a.sgm", s_fstatDelete}, {"opened -c 5 a.sgm", s_notOpened}},
         OpenResultOpened, nullptr},
        {"OpenOrAdd a.sgm 5", {{"add -c 5 a.sgm", s_heldDelete}, {"fstat a.sgm", s_fstatDelete},
          {"opened -c 5 a.sgm", "info: //depot/a.sgm#3 - delete change 5 (binary)"},
          {"revert -c 5 a.sgm", "error: a.sgm - file(s) locked"}}, OpenResultFailed, "Failed to Revert file: 'a.sgm'"},
        // A server that keeps the delete after each revert is given up on.
        {"OpenOrAdd a.sgm 0", fourDeletes, OpenResultFailed, "Failed to open file: 'a.sgm', still opened for delete after revert"},

        // Sync: errors are judged before info.
        {"Sync art\\units 1", {{"sync art\\units\\...", "info: //depot/art/units/a.sgm#4 - updating /w/a.sgm"}}, SyncUpdated},
        {"Sync art/units/ 1", {{"sync art/units/...", "info: //depot/art/units/b.sgm#1 - added as /w/b.sgm"}}, SyncUpdated},
        {"Sync a.sgm 0", {{"sync a.sgm", "error: a.sgm - file(s) up-to-date."}}, SyncUpToDate},
        {"Sync a.sgm 0", {{"sync a.sgm", "error: Can't clobber writable file /w/a.sgm"}}, SyncFailed},
        {"Sync a.sgm 0", {{"sync a.sgm", "error: a.sgm - no such file(s)."}}, SyncNoSuchFile},
        {"Sync a.sgm 0", {{"sync a.sgm", "error: a.sgm - must refer to client 'artist-ws'."}}, SyncFailed,
         "Failed to sync file: 'a.sgm', error: 'a.sgm - must refer to client 'artist-ws'.'"},
        {"Sync a.sgm 0", {{"sync a.sgm", "info: //depot/a.sgm#4 - deleted as /w/a.sgm"}}, SyncFailed, "Failed to sync file: 'a.sgm'"},
    };
    // clang-format on
}
} // namespace

TEST(RevControlP4, EachOperationSendsItsCommandAndJudgesTheReply)
{
    auto pScript = std::make_shared<P4Script>();
    RevControlP4 p4(std::make_unique<ScriptedClient>(pScript));
    ASSERT_TRUE(p4.Initialize("perforce:1666"));
    for (const Case& c : Cases())
    {
        SCOPED_TRACE(c.call.substr(0, 60) + " => " + c.script.front().second.substr(0, 60));
        for (const auto& [command, reply] : c.script)
            pScript->Expect(command, reply);
        pScript->cInputs.clear();
        int number = -1;
        EXPECT_EQ(c.result, CallRevControl(p4, c.call, number));
        EXPECT_EQ(c.number, number);
        EXPECT_TRUE(pScript->cReplies.empty()) << "not every scripted command was sent";
        pScript->cReplies.clear();
        const std::string error = p4.GetLastError();
        EXPECT_EQ(c.error != nullptr ? c.error : error, error);
        EXPECT_EQ("", p4.GetLastError()) << "the last error is read once";
        if (!c.input.empty())
        {
            EXPECT_EQ((std::vector<std::string>{c.input}), pScript->cInputs);
        }
    }
}

TEST(RevControlP4, ConnectionIsClosedOnceAndRetriedWhenDropped)
{
    auto pScript = std::make_shared<P4Script>();
    {
        RevControlP4 p4(std::make_unique<ScriptedClient>(pScript));
        ASSERT_TRUE(p4.Initialize("perforce:1666"));
        EXPECT_EQ("perforce:1666", pScript->port);
    }
    EXPECT_EQ(1, pScript->finals);

    RevControlP4 p4(std::make_unique<ScriptedClient>(pScript));
    ASSERT_TRUE(p4.Initialize("perforce:1666"));
    // The server restarts: the next command connects anew and goes through.
    pScript->dropped = true;
    pScript->Expect("edit a.sgm", "info: //depot/a.sgm#2 - opened for edit");
    EXPECT_TRUE(p4.OpenForEdit("a.sgm", 0));
    EXPECT_EQ(3, pScript->inits);
    // It stays down: the command is not sent, and later ones are not tried either.
    pScript->dropped = true;
    pScript->initSucceeds = false;
    EXPECT_FALSE(p4.OpenForEdit("a.sgm", 0));
    EXPECT_FALSE(p4.OpenForEdit("b.sgm", 0));
    EXPECT_EQ(4, pScript->inits);
    EXPECT_EQ(1u, pScript->cCommands.size());
}

TEST(RevControlP4, UnreachableServerFailsEveryCommandThroughItsEmptyReply)
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
    }
    EXPECT_TRUE(pScript->cCommands.empty());
    EXPECT_EQ(0, pScript->finals);
}

TEST(RevControlP4, NullFileNamesAssertAndFail)
{
    auto pScript = std::make_shared<P4Script>();
    RevControlP4 p4(std::make_unique<ScriptedClient>(pScript));
    ASSERT_TRUE(p4.Initialize("perforce:1666"));
    dbg::ScopedThrowOnAssert quiet(false);
    EXPECT_FALSE(p4.OpenForEdit(static_cast<const char*>(nullptr), 0));
    EXPECT_EQ(OpenResultFailed, p4.OpenOrAdd(nullptr, 0));
    EXPECT_EQ(SyncFailed, p4.Sync(nullptr, SyncModeFile));
    EXPECT_TRUE(pScript->cCommands.empty());
    dbg::ScopedThrowOnAssert loud;
    EXPECT_THROW(p4.Revert(nullptr, 0, false), std::runtime_error);
}
