#include "foundation/runoptions.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace
{
class RunOptionsTest : public testing::Test
{
protected:
    void SetUp() override { RunOptions::Clear(); }
    void TearDown() override { RunOptions::Clear(); }

    // Runs SetCommandLine on a copy and returns what is left of the arguments.
    std::vector<std::string> Strip(std::vector<std::string> args)
    {
        std::vector<char*> argv;
        for (std::string& a : args)
            argv.push_back(a.data());
        argv.push_back(nullptr);
        const int argc = RunOptions::SetCommandLine(int(args.size()), argv.data());
        EXPECT_EQ(argv[argc], nullptr);
        return std::vector<std::string>(argv.begin(), argv.begin() + argc);
    }
};
} // namespace

TEST_F(RunOptionsTest, CommandLineOptionsAreTakenOutOfTheArguments)
{
    auto left = Strip({"tq7z", "--opt", "invleaks", "merge", "a.sgm", "--opt=NoImages", "b.sgm"});
    EXPECT_EQ(left, (std::vector<std::string>{"tq7z", "merge", "a.sgm", "b.sgm"}));
    EXPECT_TRUE(RunOptions::Has("invleaks"));
    EXPECT_TRUE(RunOptions::Has("noimages")) << "names compare without regard to case";
    EXPECT_TRUE(RunOptions::Has("INVLEAKS"));
    EXPECT_FALSE(RunOptions::Has("inv")) << "whole names only";
    EXPECT_FALSE(RunOptions::Has("nomodels"));
    EXPECT_FALSE(RunOptions::Has(""));
    EXPECT_FALSE(RunOptions::Has(nullptr));
    EXPECT_EQ(RunOptions::GetText(), "invleaks NoImages");
}

TEST_F(RunOptionsTest, ProgramNameAndADanglingFlagAreLeftToTheParser)
{
    auto left = Strip({"--opt=x", "run", "--opt"});
    EXPECT_EQ(left, (std::vector<std::string>{"--opt=x", "run", "--opt"}));
    EXPECT_EQ(RunOptions::GetText(), "");
}

TEST_F(RunOptionsTest, FileTextIsWhiteSpaceSeparatedWithComments)
{
    RunOptions::SetFileText(
        "# options of this machine\r\ninvleaks\n\tnotrace   nodbg # no stops\n\nnomodels");
    EXPECT_TRUE(RunOptions::Has("invleaks"));
    EXPECT_TRUE(RunOptions::Has("notrace"));
    EXPECT_TRUE(RunOptions::Has("nodbg"));
    EXPECT_TRUE(RunOptions::Has("nomodels"));
    EXPECT_FALSE(RunOptions::Has("no"));
    EXPECT_FALSE(RunOptions::Has("stops"));
    EXPECT_FALSE(RunOptions::Has("options"));
    EXPECT_EQ(RunOptions::GetText(), "invleaks notrace nodbg nomodels");
}

TEST_F(RunOptionsTest, FileAndCommandLineTogetherFileFirstAndEachReplacesItsOwn)
{
    Strip({"tq7z", "--opt", "noimages"});
    RunOptions::SetFileText("invleaks");
    EXPECT_EQ(RunOptions::GetText(), "invleaks noimages");
    RunOptions::SetFileText("nodbg");
    EXPECT_FALSE(RunOptions::Has("invleaks"));
    EXPECT_EQ(RunOptions::GetText(), "nodbg noimages");
    Strip({"tq7z"});
    EXPECT_EQ(RunOptions::GetText(), "nodbg");
    RunOptions::SetFileText(nullptr);
    EXPECT_EQ(RunOptions::GetText(), "");
}
