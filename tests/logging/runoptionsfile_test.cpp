#include "foundation/output.h"
#include "foundation/runoptions.h"
#include "logging/runoptionsfile.h"
#include "logging/tempfolder.h"

#include <gtest/gtest.h>

using testutil::TempFolder;

TEST(RunOptionsFile, InitTakesTheCommandLineAndTheFileOfTheWorkingFolder)
{
    TempFolder folder;
    {
        std::ofstream cfg(folder / "runoptions.cfg");
        cfg << "# this machine\nnotrace\r\nnomodels\n";
    }
    std::string a0 = "tq7z", a1 = "--opt", a2 = "invleaks", a3 = "merge";
    char* argv[] = {a0.data(), a1.data(), a2.data(), a3.data(), nullptr};
    const int argc = RunOptions::Init(4, argv);
    EXPECT_EQ(argc, 2);
    EXPECT_STREQ(argv[1], "merge");
    EXPECT_TRUE(RunOptions::Has("notrace"));
    EXPECT_TRUE(RunOptions::Has("nomodels"));
    EXPECT_TRUE(RunOptions::Has("invleaks"));
    EXPECT_EQ(RunOptions::GetText(), "notrace nomodels invleaks");
    RunOptions::Clear();
}

TEST(RunOptionsFile, MissingOrUnreadableFileGivesNoOptions)
{
    TempFolder folder;
    RunOptions::SetFileText("stale");
    EXPECT_FALSE(RunOptions::LoadFile());
    EXPECT_FALSE(RunOptions::Has("stale")) << "the options of an earlier file are gone";
    std::filesystem::create_directory(folder / "runoptions.cfg");
    EXPECT_FALSE(RunOptions::LoadFile());
    EXPECT_EQ(RunOptions::GetText(), "");
    {
        std::ofstream cfg(folder / "other.cfg");
        cfg << "nodbg";
    }
    EXPECT_TRUE(RunOptions::LoadFile((folder / "other.cfg").c_str()));
    EXPECT_EQ(RunOptions::GetText(), "nodbg");
    RunOptions::Clear();
}
