// Local mode: the answers come from the disk alone, and the factory's choice of back end.
#include "revcontrolcall.h"
#include "support/tempfolder.h"

#include "foundation/debug.h"
#include "revcontrol/revcontrollocal.h"
#include "revcontrol/revcontrolp4.h"

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>

namespace fs = std::filesystem;

TEST(RevControlLocal, AnswersFromTheDiskAlone)
{
    TempFolder folder;
    folder.Write("art/W.sgm", "w");
    folder.Write("art/R.sgm", "r", fs::perms(0444));
    folder.Write("art/L.sgm", "l");
    // W writable, R read-only, M missing, D a folder.
    struct Case
    {
        const char* call;
        int result;
        int number = -1;
    };
    const Case cases[] = {
        {"OpenForEdit W 0", 1},
        {"OpenForEdit M 0", 1},
        {"OpenForEdit R 0", 0},
        {"OpenForEdit D 0", 0},
        {"OpenForEditList W,R,L 0", 0},
        {"OpenForEditList W,M,L 0", 1},
        {"GetFileStatus W", FileStatusNotOpened},
        {"GetFileStatus R", FileStatusOpenForEdit},
        {"GetFileStatus M", FileStatusOpenForDelete},
        {"GetFileStatus D", FileStatusOpenForDelete},
        {"OpenOrAdd M 0", OpenResultOpened},
        {"OpenOrAdd W 5", OpenResultOpened},
        {"OpenOrAdd R 0", OpenResultFailed},
        // Only the default changelist holds files.
        {"IsOpenedIn W 0", 0},
        {"IsOpenedIn R 0", 1},
        {"IsOpenedIn M 0", 1},
        {"IsOpenedIn R 7", 0},
        {"IsOpenedIn M 7", 0},
        // Changelists: creating one is a failure, so that callers for both modes find-or-create.
        {"CreateChangelist SGM Export Changes", 0, 0},
        {"FindChangelist SGM Export Changes", 0, 0},
        {"FindOrCreateChangelist SGM Export Changes", 1, 0},
        {"GetOpenedChangelist W", 1, 0},
        {"DeleteChangelist 4", 1},
        {"RevertChangelist 4 1", 1},
        {"Revert W 0 0", 1},
        {"Sync D 1", SyncUpToDate},
        {"OpenForAdd M 0", 0},
        {"OpenForAddList M 0", 0},
        {"Integrate W M 0", 0},
        {"Rename W M 0", 0},
        {"OpenForDelete M 0", 0},
        {"OpenForDelete W 0", 1},
    };
    RevControlLocal local;
    for (const Case& c : cases)
    {
        SCOPED_TRACE(c.call);
        // Each one-letter word or list entry names its file.
        const std::string text = std::string(" ") + c.call + " ";
        std::string call;
        for (size_t i = 1; i + 1 < text.size(); ++i)
        {
            const char ch = text[i];
            bool alone =
                std::strchr("WRMDL", ch) && std::strchr(" ,", text[i - 1]) && std::strchr(" ,", text[i + 1]);
            call += !alone ? std::string(1, ch) : ch == 'D' ? folder / "art" : folder / "art/" + ch + ".sgm";
        }
        int number = -1;
        EXPECT_EQ(c.result, CallRevControl(local, call, number));
        EXPECT_EQ(c.number, number);
        EXPECT_EQ("", local.GetLastError());
    }
    // Only a delete changes the disk.
    EXPECT_EQ(fs::perms(0444), fs::status(folder / "art/R.sgm").permissions() & fs::perms::all);
    EXPECT_TRUE(fs::exists(folder / "art/L.sgm"));
    EXPECT_FALSE(fs::exists(folder / "art/W.sgm"));
}

TEST(RevControlFactory, LocalTypeAndEmptyPortNeverRunTheClient)
{
    // A client on PATH that records being run: local mode must not touch it.
    TempFolder bin;
    bin.Write("p4", "#!/bin/sh\necho \"$*\" >> '" + bin / "calls.log" + "'\necho 'exit: 0'\n",
              fs::perms(0755));
    ScopedEnv path("PATH", (bin.Path() + ":" + std::getenv("PATH")).c_str());

    EXPECT_NE(nullptr, dynamic_cast<RevControlLocal*>(
                           RevControlAPI::Create("perforce:1666", RevisionControlLocal).get()));
    EXPECT_NE(nullptr,
              dynamic_cast<RevControlLocal*>(RevControlAPI::Create("", RevisionControlP4OrLocal).get()));
    EXPECT_FALSE(fs::exists(bin / "calls.log"));

    // With a port, the server is asked first.
    EXPECT_NE(nullptr, dynamic_cast<RevControlP4*>(
                           RevControlAPI::Create("perforce:1666", RevisionControlP4OrLocal).get()));
    EXPECT_EQ("-s -p perforce:1666 info\n", TempFolder::Read(bin / "calls.log"));
}

TEST(RevControlFactory, UnreachableServerFallsBackToLocalOnlyWhenAllowed)
{
    TempFolder bin;
    bin.Write("p4",
              "#!/bin/sh\necho 'error: Connect to server failed; check $P4PORT.'\necho 'exit: 1'\nexit 1\n",
              fs::perms(0755));
    ScopedEnv path("PATH", bin.Path().c_str());
    EXPECT_EQ(nullptr, RevControlAPI::Create("down:1666", RevisionControlP4));
    EXPECT_NE(nullptr, dynamic_cast<RevControlLocal*>(
                           RevControlAPI::Create("down:1666", RevisionControlP4OrLocal).get()));

    // No client installed at all: the same fallback.
    ScopedEnv emptyPath("PATH", (bin / "nothing-here").c_str());
    EXPECT_NE(nullptr, dynamic_cast<RevControlLocal*>(
                           RevControlAPI::Create("perforce:1666", RevisionControlP4OrLocal).get()));

    dbg::ScopedThrowOnAssert quiet(false);
    EXPECT_EQ(nullptr, RevControlAPI::Create("", 3));
    dbg::ScopedThrowOnAssert loud;
    EXPECT_THROW(RevControlAPI::Create("", -1), std::runtime_error);
}
