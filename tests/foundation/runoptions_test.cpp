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

TEST_F(RunOptionsTest, CommandLineOptionsAreTakenOutOfTheArgumentsAndTheFileComesFirst)
{
    EXPECT_EQ(Strip({"tq7z", "--opt", "invleaks", "merge", "a.sgm", "--opt=NoImages", "b.sgm"}),
              (std::vector<std::string>{"tq7z", "merge", "a.sgm", "b.sgm"}));
    // Names compare without regard to case, whole names only.
    std::string which;
    for (const char* name : std::initializer_list<const char*>{"invleaks", "noimages", "INVLEAKS", "inv",
                                                               "nomodels", "", nullptr})
        which += RunOptions::Has(name) ? "+" : "-";
    EXPECT_EQ(which, "+++----");
    EXPECT_EQ(RunOptions::GetText(), "invleaks NoImages");
    // The program name and a dangling flag are left to the parser.
    RunOptions::Clear();
    EXPECT_EQ(Strip({"--opt=x", "run", "--opt"}), (std::vector<std::string>{"--opt=x", "run", "--opt"}));
    EXPECT_EQ(RunOptions::GetText(), "");
    RunOptions::SetFileText(
        "# options of this machine\r\ninvleaks\n\tnotrace   nodbg # no stops\n\nnomodels");
    EXPECT_EQ(RunOptions::GetText(), "invleaks notrace nodbg nomodels");
    // The file text is white space separated, with comments; it comes before the command line.
    Strip({"tq7z", "--opt", "noimages"});
    RunOptions::SetFileText("invleaks");
    EXPECT_EQ(RunOptions::GetText(), "invleaks noimages");
    RunOptions::SetFileText("nodbg");
    EXPECT_EQ(RunOptions::GetText(), "nodbg noimages");
    Strip({"tq7z"});
    EXPECT_EQ(RunOptions::GetText(), "nodbg");
}
