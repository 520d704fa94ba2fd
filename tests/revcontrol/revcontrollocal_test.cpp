// Local mode: the answers come from the disk alone, and the factory's choice of back end.
#include "revcontrolcall.h"
#include "support/tempfolder.h"
#include "foundation/debug.h"
#include "revcontrol/revcontrollocal.h"
#include "revcontrol/revcontrolp4.h"
#include <gtest/gtest.h>
#include <regex>

namespace fs = std::filesystem;

TEST(RevControlLocal, AnswersFromTheDiskAlone)
{
    TempFolder folder;
    folder.Write("art/W.sgm", "w"), folder.Write("art/L.sgm", "l"), folder.Write("art/R.sgm", "r", fs::perms(0444));
    // W writable, R read-only, M missing, D a folder: call, result, changelist number handed out.
    const std::tuple<const char*, int, int> cases[] = {
        {"OpenForEdit W 0", 1, -1}, {"OpenForEdit M 0", 1, -1}, {"OpenForEdit R 0", 0, -1}, {"OpenForEdit D 0", 0, -1},
        {"OpenForEditList W,R,L 0", 0, -1}, {"OpenForEditList W,M,L 0", 1, -1},
        {"GetFileStatus W", FileStatusNotOpened, -1}, {"GetFileStatus R", FileStatusOpenForEdit, -1},
        {"GetFileStatus D", FileStatusOpenForDelete, -1}, {"OpenOrAdd M 0", OpenResultOpened, -1},
        {"OpenOrAdd R 0", OpenResultFailed, -1},
        // Only the default changelist holds files.
        {"IsOpenedIn W 0", 0, -1}, {"IsOpenedIn R 0", 1, -1}, {"IsOpenedIn R 7", 0, -1},
        // Changelists: creating one is a failure, so that callers for both modes find-or-create.
        {"CreateChangelist SGM Export Changes", 0, 0}, {"FindChangelist SGM Export Changes", 0, 0},
        {"FindOrCreateChangelist SGM Export Changes", 1, 0}, {"GetOpenedChangelist W", 1, 0},
        {"DeleteChangelist 4", 1, -1}, {"RevertChangelist 4 1", 1, -1}, {"Revert W 0 0", 1, -1},
        {"Sync D 1", SyncUpToDate, -1}, {"OpenForAdd M 0", 0, -1}, {"OpenForAddList M 0", 0, -1},
        {"Integrate W M 0", 0, -1}, {"Rename W M 0", 0, -1}, {"OpenForDelete M 0", 0, -1}, {"OpenForDelete W 0", 1, -1},
    };
    RevControlLocal local;
    for (const auto& [c, result, expected] : cases)
    {
        SCOPED_TRACE(c);
        // Each one-letter word or list entry names its file.
        const std::string call = std::regex_replace(std::regex_replace(c, std::regex("([ ,])([WRML])(?=$|[ ,])"), "$1" + folder / "art/$2.sgm"),
                                                    std::regex(" D "), " " + folder / "art ");
        int number = -1;
        EXPECT_EQ(result, CallRevControl(local, call, number));
        EXPECT_TRUE(expected == number && local.GetLastError().empty());
    }
    // Only a delete changes the disk.
    EXPECT_EQ(fs::perms(0444), fs::status(folder / "art/R.sgm").permissions() & fs::perms::all);
    EXPECT_TRUE(fs::exists(folder / "art/L.sgm") && !fs::exists(folder / "art/W.sgm"));
}

TEST(RevControlFactory, LocalModeNeverRunsTheClientAndAnUnreachableServerFallsBackOnlyWhenAllowed)
{
    // A client on PATH that records being run and reaches only "up:1666".
    TempFolder bin;
    bin.Write("p4", "#!/bin/sh\necho \"$*\" >> '" + bin / "calls.log" + "'\n[ \"$3\" = up:1666 ] && echo 'exit: 0' && exit 0\n"
                    "echo 'error: Connect to server failed; check $P4PORT.'\necho 'exit: 1'\nexit 1\n", fs::perms(0755));
    ScopedEnv path("PATH", (bin.Path() + ":" + std::getenv("PATH")).c_str());
    auto local = [](std::unique_ptr<RevControlAPI> p) { return dynamic_cast<RevControlLocal*>(p.get()) != nullptr; };
    EXPECT_TRUE(local(RevControlAPI::Create("up:1666", RevisionControlLocal)));
    EXPECT_TRUE(local(RevControlAPI::Create("", RevisionControlP4OrLocal)));
    EXPECT_FALSE(fs::exists(bin / "calls.log"));
    // With a port, the server is asked first.
    EXPECT_NE(nullptr, dynamic_cast<RevControlP4*>(RevControlAPI::Create("up:1666", RevisionControlP4OrLocal).get()));
    EXPECT_EQ(nullptr, RevControlAPI::Create("down:1666", RevisionControlP4));
    EXPECT_TRUE(local(RevControlAPI::Create("down:1666", RevisionControlP4OrLocal)));
    EXPECT_EQ("-s -p up:1666 info\n-s -p down:1666 info\n-s -p down:1666 info\n", TempFolder::Read(bin / "calls.log"));
    dbg::ScopedThrowOnAssert quiet(false);
    EXPECT_EQ(nullptr, RevControlAPI::Create("", 3));
}
