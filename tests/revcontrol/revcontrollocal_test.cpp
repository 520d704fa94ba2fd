// Local mode: the answers come from the disk alone, and the factory's choice of back end.
#include "support/tempfolder.h"

#include "foundation/debug.h"
#include "revcontrol/revcontrollocal.h"
#include "revcontrol/revcontrolp4.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace
{
namespace fs = std::filesystem;

class RevControlLocalTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        m_writable = m_folder.Write("art/writable.sgm", "w");
        m_readOnly = m_folder.Write("art/readonly.sgm", "r", fs::perms(0444));
        m_missing = m_folder / "art/missing.sgm";
        m_subFolder = m_folder / "art";
    }

    TempFolder m_folder;
    RevControlLocal m_local;
    std::string m_writable;
    std::string m_readOnly;
    std::string m_missing;
    std::string m_subFolder;
};
} // namespace

TEST_F(RevControlLocalTest, OpenForEditTellsWhetherTheFileCanBeWritten)
{
    EXPECT_TRUE(m_local.OpenForEdit(m_writable.c_str(), 0));
    EXPECT_TRUE(m_local.OpenForEdit(m_missing.c_str(), 0));
    EXPECT_FALSE(m_local.OpenForEdit(m_readOnly.c_str(), 0));
    EXPECT_FALSE(m_local.OpenForEdit(m_subFolder.c_str(), 0));
    // Local mode changes nothing on disk.
    EXPECT_EQ(fs::perms(0444), fs::status(m_readOnly).permissions() & fs::perms::all);
}

TEST_F(RevControlLocalTest, FileStatusAndOpenOrAdd)
{
    EXPECT_EQ(FileStatusNotOpened, m_local.GetFileStatus(m_writable.c_str()));
    EXPECT_EQ(FileStatusOpenForEdit, m_local.GetFileStatus(m_readOnly.c_str()));
    EXPECT_EQ(FileStatusOpenForDelete, m_local.GetFileStatus(m_missing.c_str()));
    EXPECT_EQ(FileStatusOpenForDelete, m_local.GetFileStatus(m_subFolder.c_str()));

    EXPECT_EQ(OpenResultOpened, m_local.OpenOrAdd(m_missing.c_str(), 0));
    EXPECT_EQ(OpenResultOpened, m_local.OpenOrAdd(m_writable.c_str(), 5));
    EXPECT_EQ(OpenResultFailed, m_local.OpenOrAdd(m_readOnly.c_str(), 0));
}

TEST_F(RevControlLocalTest, IsOpenedInOnlyForTheDefaultChangelist)
{
    EXPECT_FALSE(m_local.IsOpenedIn(m_writable.c_str(), 0));
    EXPECT_TRUE(m_local.IsOpenedIn(m_readOnly.c_str(), 0));
    EXPECT_TRUE(m_local.IsOpenedIn(m_missing.c_str(), 0));
    for (const std::string* pName : {&m_writable, &m_readOnly, &m_missing})
        EXPECT_FALSE(m_local.IsOpenedIn(pName->c_str(), 7)) << *pName;
}

TEST_F(RevControlLocalTest, OpenForEditListStopsAtTheFirstReadOnlyFile)
{
    std::string later = m_folder.Write("art/later.sgm", "l");
    EXPECT_FALSE(m_local.OpenForEdit(RevControlAPI::FileList{m_writable, m_readOnly, later}, 0));
    EXPECT_TRUE(m_local.OpenForEdit(RevControlAPI::FileList{m_writable, m_missing, later}, 0));
    EXPECT_TRUE(fs::exists(m_writable));
    EXPECT_TRUE(fs::exists(later));
}

TEST_F(RevControlLocalTest, OpenForDeleteDeletesOnDisk)
{
    EXPECT_TRUE(m_local.OpenForDelete(m_writable.c_str(), 0));
    EXPECT_FALSE(fs::exists(m_writable));
    EXPECT_FALSE(m_local.OpenForDelete(m_missing.c_str(), 0));
    EXPECT_EQ("", m_local.GetLastError());
}

TEST_F(RevControlLocalTest, ChangelistsAndTheOperationsLocalModeCannotDo)
{
    int number = 9;
    EXPECT_FALSE(m_local.CreateChangelist("SGM Export Changes", number));
    EXPECT_EQ(0, number);
    number = 9;
    EXPECT_FALSE(m_local.FindChangelist("SGM Export Changes", number));
    EXPECT_EQ(0, number);
    number = 9;
    EXPECT_TRUE(m_local.FindOrCreateChangelist("SGM Export Changes", number));
    EXPECT_EQ(0, number);
    number = 9;
    EXPECT_TRUE(m_local.GetOpenedChangelist(m_writable.c_str(), number));
    EXPECT_EQ(0, number);

    EXPECT_TRUE(m_local.DeleteChangelist(4));
    EXPECT_TRUE(m_local.RevertChangelist(4, true));
    EXPECT_TRUE(m_local.Revert(m_writable.c_str(), 0, false));
    EXPECT_EQ(SyncUpToDate, m_local.Sync(m_subFolder.c_str(), SyncModeFolder));
    EXPECT_FALSE(m_local.OpenForAdd(m_missing.c_str(), 0));
    EXPECT_FALSE(m_local.OpenForAdd(RevControlAPI::FileList{m_missing}, 0));
    EXPECT_FALSE(m_local.Integrate(m_writable.c_str(), m_missing.c_str(), 0));
    EXPECT_FALSE(m_local.Rename(m_writable.c_str(), m_missing.c_str(), 0));
    EXPECT_TRUE(fs::exists(m_writable));
}

TEST(RevControlFactory, LocalTypeAndEmptyPortNeverRunTheClient)
{
    // A client on PATH that records being run: local mode must not touch it.
    TempFolder bin;
    bin.Write("p4", "#!/bin/sh\necho \"$*\" >> '" + bin / "calls.log" + "'\necho 'exit: 0'\n",
              fs::perms(0755));
    ScopedEnv path("PATH", (bin.Path() + ":" + std::getenv("PATH")).c_str());

    std::unique_ptr<RevControlAPI> pLocal = RevControlAPI::Create("perforce:1666", RevisionControlLocal);
    EXPECT_NE(nullptr, dynamic_cast<RevControlLocal*>(pLocal.get()));
    std::unique_ptr<RevControlAPI> pFallback = RevControlAPI::Create("", RevisionControlP4OrLocal);
    EXPECT_NE(nullptr, dynamic_cast<RevControlLocal*>(pFallback.get()));
    EXPECT_FALSE(fs::exists(bin / "calls.log"));

    // With a port, the server is asked first.
    std::unique_ptr<RevControlAPI> pP4 = RevControlAPI::Create("perforce:1666", RevisionControlP4OrLocal);
    EXPECT_NE(nullptr, dynamic_cast<RevControlP4*>(pP4.get()));
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
    std::unique_ptr<RevControlAPI> pFallback = RevControlAPI::Create("down:1666", RevisionControlP4OrLocal);
    EXPECT_NE(nullptr, dynamic_cast<RevControlLocal*>(pFallback.get()));

    // No client installed at all: the same fallback.
    ScopedEnv emptyPath("PATH", (bin / "nothing-here").c_str());
    std::unique_ptr<RevControlAPI> pNoClient =
        RevControlAPI::Create("perforce:1666", RevisionControlP4OrLocal);
    EXPECT_NE(nullptr, dynamic_cast<RevControlLocal*>(pNoClient.get()));
}

TEST(RevControlFactory, UnknownTypeAsserts)
{
    {
        dbg::ScopedThrowOnAssert quiet(false);
        EXPECT_EQ(nullptr, RevControlAPI::Create("", 3));
    }
    dbg::ScopedThrowOnAssert loud;
    EXPECT_THROW(RevControlAPI::Create("", -1), std::runtime_error);
}
