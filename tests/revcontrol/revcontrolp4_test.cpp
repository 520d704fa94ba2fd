// The Perforce back end against recorded server replies: command lines sent, and the judgement of
// each reply.
#include "revcontrolcall.h"
#include "scriptedclient.h"
#include "revcontrol/revcontrolp4.h"
#include <gtest/gtest.h>

namespace
{
using Script = std::vector<std::pair<std::string, std::string>>;

// The call, the command lines sent with the replies given, the result, the last error afterwards
// (null: not looked at), the changelist number handed out (-1: left alone), the form sent to "change -i".
struct Case
{
    std::string call;
    Script script;
    int result;
    const char* error = "";
    int number = -1;
    std::string input = "";
};

const std::string s_form = "Change: new\nClient: artist-ws\nUser: artist\nStatus: new\nDescription: ";
const char* const s_pending = "info: Change 80 on 2024/03/01 by artist@artist-ws *pending*\n\n\tTexture fixes\n\ninfo: Change 77 on "
                              "2024/02/27 *pending*\n\n\tSGM Export Changes\n\ninfo: Change 70 *pending*\n\n\tSGM Export Changes\n";
const char* const s_changes = "changes -c artist-ws -s pending -l";
const char* const s_notOpened = "error: a.sgm - file(s) not opened on this client.";
const char* const s_cantAdd = "error: //depot/a.sgm - can't add existing file";
const char* const s_heldDelete = "info: //depot/a.sgm#3 - currently opened for delete";
const char* const s_fstatDelete = "info1: depotFile //depot/a.sgm\ninfo1: action delete";
const char* const s_fstatKnown = "info1: depotFile //depot/a.sgm\ninfo1: headAction edit\ninfo1: headType binary";

std::vector<Case> Cases()
{
    Script fourDeletes;
    for (int pass = 0; pass < 4; ++pass)
        fourDeletes.insert(fourDeletes.end(), {{"add a.sgm", s_heldDelete}, {"fstat a.sgm", s_fstatDelete},
                                               {"opened -c default a.sgm", "info: //depot/a.sgm#3 - delete default change"},
                                               {"revert a.sgm", "info: //depot/a.sgm#3 - was delete, reverted"}});
    auto status = [](std::string reply, int expected)
    { return Case{"GetFileStatus a.sgm", {{"fstat a.sgm", "info1: depotFile //depot/a.sgm\n" + reply}}, expected}; };
    const char* const edited = "info: //depot/a.sgm#3 - opened for edit";
    const char* const branched = "info: //depot/new.sgm#1 - branch/sync from //depot/old.sgm#1,#2";
    const char* const notOnClient = "error: a.sgm - file(s) not on client.";
    return {
        // Changelists: the form, the number read with any one character for the full stop.
        {"CreateChangelist SGM Export Changes", {{"change -i", "info: Change 123 created."}}, 1, "", 123, s_form + "SGM Export Changes"},
        {"CreateChangelist SGM Export Changes", {{"change -i", "info: Change 125 created"}}, 0,
         "Failed to parse changlist # for changelist: 'SGM Export Changes'"},
        {"CreateChangelist SGM Export Changes", {{"change -i", "error: Client 'artist-ws' unknown."}}, 0,
         "Failed to create changlist: 'SGM Export Changes'"},
        {"FindChangelist SGM Export Changes", {{s_changes, s_pending}}, 1, "", 77},
        // An entry that holds the description but does not scan as a change is passed over.
        {"FindChangelist SGM Export Changes", {{s_changes, "info: Pending: SGM Export Changes"}}, 0,
         "Failed to find pending changelist: 'SGM Export Changes'"},
        {"FindOrCreateChangelist SGM Export Changes", {{s_changes, ""}, {"change -i", "info: Change 78 created."}}, 1, nullptr, 78},
        {"DeleteChangelist 5", {{"change -d 5", "info: Change 5 deleted."}}, 1},
        {"DeleteChangelist 6", {{"change -d 6", "info: Change 6 can't be deleted."}}, 0,
         "Failed to delete empty changelist #: '6', error: 'Change 6 can't be deleted.'"},
        {"DeleteChangelist 7", {{"change -d 7", "error: Change 7 unknown."}}, 0, "Failed to delete empty changelist #: '7'"},
        // Nothing opened: no revert is sent.
        {"RevertChangelist 12 1", {{"opened -c 12", "error: File(s) not opened on this client."}}, 1},
        {"RevertChangelist 0 1", {{"opened -c default", "info: a.sgm#1 - edit default change"},
          {"revert -a -c default //...", "info: a.sgm#1 - was edit, reverted\ninfo: b.sgm#1 - was add, abandoned"}}, 1},
        {"RevertChangelist 12 0", {{"opened -c 12", "info: a.sgm#1 - edit change 12"},
          {"revert -c 12 //...", "info: a.sgm#1 - was edit, reverted\ninfo: c.sgm - file(s) locked"}}, 0,
         "Failed to revert changlist #: '12', error: 'c.sgm - file(s) locked'"},
        // Single files: the first info line is judged by the words of each command.
        {"OpenForEdit a.sgm 0", {{"edit a.sgm", std::string(edited) + "\ninfo: ... a.sgm - also opened by bob"}}, 1},
        {"OpenForEdit a.sgm 42", {{"edit -c 42 a.sgm", "info: a.sgm#1 - reopened for add"}}, 1},
        {"OpenForAdd a.sgm 4", {{"add -c 4 a.sgm", "info: a.sgm#1 - currently opened for edit"}}, 0,
         "Failed to open for Add file: 'a.sgm', error: 'a.sgm#1 - currently opened for edit'"},
        {"OpenForDelete a.sgm 4", {{"delete -c 4 a.sgm", "info: a.sgm#2 - opened for delete"}}, 1},
        {"Revert a.sgm 2 1", {{"revert -a -c 2 a.sgm", "info: a.sgm#none - was add, abandoned"}}, 1},
        {"Revert a.sgm 0 0", {{"revert a.sgm", "info: a.sgm - file(s) not opened on this client."}}, 0,
         "Failed to Revert file: 'a.sgm', error: 'a.sgm - file(s) not opened on this client.'"},
        // The default changelist goes to integrate as the number 0, not as the word.
        {"Integrate old.sgm new.sgm 0", {{"integrate -c 0 old.sgm new.sgm", branched}}, 1},
        {"Integrate old.sgm new.sgm 9", {{"integrate -c 9 old.sgm new.sgm", "info: old.sgm - already integrated."}}, 0,
         "Failed to Integrate file: 'old.sgm', error: 'old.sgm - already integrated.'"},
        {"Rename old.sgm new.sgm 9", {{"integrate -c 9 old.sgm new.sgm", branched}, {"delete -c 9 old.sgm", "info: old.sgm#2 - opened for delete"}}, 1},
        {"Rename old.sgm new.sgm 9", {{"integrate -c 9 old.sgm new.sgm", "error: old.sgm - no such file(s)."}}, 0,
         "Failed to integrate file: 'old.sgm' to: 'new.sgm' during rename operation"},
        // The branch stays open when the delete fails.
        {"Rename old.sgm new.sgm 9", {{"integrate -c 9 old.sgm new.sgm", branched}, {"delete -c 9 old.sgm", notOnClient}}, 0,
         "Failed to delete file: 'old.sgm' during rename operation"},
        // Lists: at the first failure the files opened before it are reverted, and no later one is tried.
        {"OpenForEditList a.sgm,b.sgm,c.sgm,d.sgm 3", {{"edit -c 3 a.sgm", edited}, {"edit -c 3 b.sgm", edited},
          {"edit -c 3 c.sgm", notOnClient}, {"revert -a -c 3 a.sgm", "info: a.sgm#1 - was edit, reverted"},
          {"revert -a -c 3 b.sgm", "info: b.sgm#1 - was edit, reverted"}}, 0, "Failed to open for edit file: 'c.sgm'"},
        // A revert that fails leaves its own text: the last step taken.
        {"OpenForEditList x.sgm,y.sgm 0", {{"edit x.sgm", edited}, {"edit y.sgm", notOnClient}, {"revert -a x.sgm", s_notOpened}}, 0,
         "Failed to Revert file: 'x.sgm'"},
        {"OpenForAddList a.tqp,b.tqp 0", {{"add a.tqp", "info: a.tqp#1 - opened for add"}, {"add b.tqp", "info: b.tqp#1 - opened for add"}}, 1},
        // Opened state: errors decide; the number is read from the first line.
        {"IsOpenedIn a.sgm 0", {{"opened -c default a.sgm", "info: a.sgm#1 - edit default change"}}, 1},
        {"IsOpenedIn a.sgm 42", {{"opened -c 42 a.sgm", s_notOpened}}, 0},
        {"GetOpenedChangelist a.sgm", {{"opened a.sgm", "info: a.sgm#1 - edit default change"}}, 1, "", 0},
        {"GetOpenedChangelist a.sgm", {{"opened a.sgm", "info: a.sgm#1 - edit change 42 (binary)"}}, 1, "", 42},
        {"GetOpenedChangelist a.sgm", {{"opened a.sgm", s_notOpened}}, 0},
        {"GetOpenedChangelist a.sgm", {{"opened a.sgm", "info: a.sgm#1 - edit in some other way"}}, 1},
        // File status from fstat: the first deciding entry wins; words in paths do not count.
        status("info1: headAction edit\ninfo1: action edit\ninfo1: change default", FileStatusOpenForEdit),
        status("info1: action add", FileStatusOpenForAdd), status("info1: action branch", FileStatusOpenForAdd),
        status(s_fstatDelete, FileStatusOpenForDelete), status("error: a.sgm - no such file(s).", FileStatusNotControlled),
        status("info1: headType binary+l\ninfo1: otherOpen0 bob@bob-ws\ninfo1: otherAction0 edit", FileStatusHeldByOther),
        status("info1: headType binary\ninfo1: otherOpen0 bob@bob-ws\ninfo1: otherAction0 edit", FileStatusNotOpened),
        status("info1: headType text\ninfo1: otherLock0 bob@bob-ws", FileStatusHeldByOther),
        status("info1: headAction delete\ninfo1: headType binary", FileStatusNotControlled),
        status("info1: depotFile //depot/action/edit/a.sgm\ninfo1: clientFile /home/action/delete/a.sgm\n"
               "info1: headAction add", FileStatusNotOpened),
        status("info1: action archive\ninfo1: otherLock0 bob@bob-ws", FileStatusHeldByOther),
        // OpenOrAdd: add, else by the file's state.
        {"OpenOrAdd a.sgm 5", {{"add -c 5 a.sgm", "info: //depot/a.sgm#1 - opened for add"}}, OpenResultOpened},
        {"OpenOrAdd a.sgm 5", {{"add -c 5 a.sgm", s_cantAdd}, {"fstat a.sgm", s_fstatKnown}, {"edit -c 5 a.sgm", edited}},
         OpenResultOpened, nullptr},
        {"OpenOrAdd a.sgm 5", {{"add -c 5 a.sgm", s_cantAdd}, {"fstat a.sgm", s_fstatKnown}, {"edit -c 5 a.sgm", notOnClient}},
         OpenResultFailed, "Failed to open for edit file: 'a.sgm'"},
        {"OpenOrAdd a.sgm 5", {{"add -c 5 a.sgm", "info: a.sgm#3 - currently opened for edit"}, {"fstat a.sgm", "info1: action edit"},
          {"opened -c 5 a.sgm", "info: a.sgm#3 - edit change 5"}}, OpenResultInThisChangelist, nullptr},
        {"OpenOrAdd a.sgm 0", {{"add a.sgm", "info: a.sgm - can't add (already opened for branch)"}, {"fstat a.sgm", "info1: action branch"},
          {"opened -c default a.sgm", s_notOpened}}, OpenResultInOtherChangelist, nullptr},
        // Opened for delete here: reverted, and the add tried again.
        {"OpenOrAdd a.sgm 5", {{"add -c 5 a.sgm", s_heldDelete}, {"fstat a.sgm", s_fstatDelete}, {"opened -c 5 a.sgm", "info: a.sgm#3 - delete change 5"},
          {"revert -c 5 a.sgm", "info: a.sgm#3 - was delete, reverted"}, {"add -c 5 a.sgm", s_cantAdd}, {"fstat a.sgm", s_fstatKnown},
          {"edit -c 5 a.sgm", edited}}, OpenResultOpened, nullptr},
        // Opened for delete elsewhere: reported as opened, left as it is.
        {"OpenOrAdd a.sgm 5", {{"add -c 5 a.sgm", s_heldDelete}, {"fstat a.sgm", s_fstatDelete}, {"opened -c 5 a.sgm", s_notOpened}},
         OpenResultOpened, nullptr},
        {"OpenOrAdd a.sgm 5", {{"add -c 5 a.sgm", s_heldDelete}, {"fstat a.sgm", s_fstatDelete}, {"opened -c 5 a.sgm", "info: a.sgm#3 - delete change 5"},
          {"revert -c 5 a.sgm", "error: a.sgm - file(s) locked"}}, OpenResultFailed, "Failed to Revert file: 'a.sgm'"},
        // A server that keeps the delete after each revert is given up on.
        {"OpenOrAdd a.sgm 0", fourDeletes, OpenResultFailed, "Failed to open file: 'a.sgm', still opened for delete after revert"},
        // Sync: errors are judged before info.
        {"Sync art\\units 1", {{"sync art\\units\\...", "info: a.sgm#4 - updating /w/a.sgm"}}, SyncUpdated},
        {"Sync art/units/ 1", {{"sync art/units/...", "info: b.sgm#1 - added as /w/b.sgm"}}, SyncUpdated},
        {"Sync a.sgm 0", {{"sync a.sgm", "error: a.sgm - file(s) up-to-date."}}, SyncUpToDate},
        {"Sync a.sgm 0", {{"sync a.sgm", "error: a.sgm - no such file(s)."}}, SyncNoSuchFile},
        {"Sync a.sgm 0", {{"sync a.sgm", "error: a.sgm - must refer to client 'artist-ws'."}}, SyncFailed,
         "Failed to sync file: 'a.sgm', error: 'a.sgm - must refer to client 'artist-ws'.'"},
        {"Sync a.sgm 0", {{"sync a.sgm", "info: //depot/a.sgm#4 - deleted as /w/a.sgm"}}, SyncFailed, "Failed to sync file: 'a.sgm'"},
    };
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
        pScript->cReplies.assign(c.script.begin(), c.script.end());
        pScript->cInputs.clear();
        int number = -1;
        EXPECT_EQ(std::pair(c.result, c.number), std::pair(CallRevControl(p4, c.call, number), number));
        EXPECT_TRUE(pScript->cReplies.empty()) << "not every scripted command was sent";
        const std::string error = p4.GetLastError();
        EXPECT_EQ(c.error != nullptr ? c.error : error, error);
        EXPECT_EQ("", p4.GetLastError()) << "the last error is read once";
        EXPECT_EQ(c.input.empty() ? pScript->cInputs : std::vector<std::string>{c.input}, pScript->cInputs);
    }
}

TEST(RevControlP4, ConnectionIsClosedOnceRetriedWhenDroppedAndCommandsFailWithoutIt)
{
    auto pScript = std::make_shared<P4Script>();
    ASSERT_TRUE(RevControlP4(std::make_unique<ScriptedClient>(pScript)).Initialize("perforce:1666"));
    EXPECT_TRUE(pScript->finals == 1 && pScript->port == "perforce:1666");
    RevControlP4 p4(std::make_unique<ScriptedClient>(pScript));
    ASSERT_TRUE(p4.Initialize("perforce:1666"));
    // The server restarts: the next command connects anew and goes through.
    pScript->dropped = true;
    pScript->cReplies.emplace_back("edit a.sgm", "info: a.sgm#2 - opened for edit");
    EXPECT_TRUE(p4.OpenForEdit("a.sgm", 0) && pScript->inits == 3);
    // It stays down: the command is not sent, and later ones are not tried either; with nothing
    // in the lists, IsOpenedIn and GetFileStatus read as "opened" and "not opened".
    pScript->dropped = true;
    pScript->initSucceeds = false;
    int number = -7;
    EXPECT_FALSE(p4.OpenForEdit("b.sgm", 0));
    EXPECT_EQ("Failed to open for edit file: 'b.sgm'", p4.GetLastError());
    EXPECT_FALSE(p4.CreateChangelist("SGM Export Changes", number) || number != -7);
    EXPECT_TRUE(p4.IsOpenedIn("a.sgm", 0) && p4.GetFileStatus("a.sgm") == FileStatusNotOpened &&
                p4.Sync("a.sgm", SyncModeFile) == SyncFailed);
    EXPECT_TRUE(pScript->inits == 4 && pScript->cCommands.size() == 1u);
    // A server not there at the start: the client's reason, and nothing to close.
    {
        RevControlP4 down(std::make_unique<ScriptedClient>(pScript));
        EXPECT_FALSE(down.Initialize("nowhere:1666"));
        EXPECT_NE(std::string::npos, down.GetLastError().find("Connect to server failed"));
    }
    EXPECT_EQ(1, pScript->finals);
}
