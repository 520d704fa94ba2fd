// The project's sample model and the model commands a user relies on. The sample is the walker of
// generic_model_fixture.h as the writer writes it: run this test with TQ7Z_WRITE_SAMPLES=1 to write
// it again into samples/models; otherwise the test checks that the files there are still that.
#include "model/file/generic/generic_model_fixture.h"
#include "model/file/generic/rendermodelloadgeneric.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <filesystem>
#include <unistd.h>

namespace
{
namespace fs = std::filesystem;

const fs::path s_samples = (fs::path(__FILE__).parent_path() / "../../../../samples/models").lexically_normal();

// The program beside the test program's build: <build>/tests/model/model_tests, <build>/bin/tq7z.
std::string ProgramPath()
{
    char self[4096];
    const ssize_t n = ::readlink("/proc/self/exe", self, sizeof(self) - 1);
    if (n <= 0)
        return "";
    self[n] = '\0';
    return (fs::path(self).parent_path().parent_path().parent_path() / "bin" / "tq7z").string();
}
} // namespace

#define TQ7Z_BINARY ProgramPath()
#include "support/runtool.h"

// The program has to be built; a test run of the model library alone passes over these.
#define REQUIRE_PROGRAM()                                                                                    \
    if (!fs::exists(ProgramPath()))                                                                          \
    GTEST_SKIP() << "the tq7z program is not built at " << ProgramPath()

TEST(GenericSample, SampleFilesAreTheWalkerAsTheWriterWritesIt)
{
    std::string sgm, ebp;
    {
        generic_test::RegisteredLoaders loaders;
        model_test::Env env;
        generic_test::MountedFolder generic("GENERIC");
        ASSERT_TRUE(RenderModelLoadGeneric::Save("GENERIC:walker.sgm", *generic_test::BuildWalker()));
        sgm = generic.Read("walker.sgm"), ebp = generic.Read("walker.ebp");
    }
    if (std::getenv("TQ7Z_WRITE_SAMPLES") != nullptr)
    {
        fs::create_directories(s_samples);
        std::ofstream(s_samples / "walker.sgm", std::ios::binary) << sgm;
        std::ofstream(s_samples / "walker.ebp", std::ios::binary) << ebp;
    }
    EXPECT_EQ(TempFolder::Read((s_samples / "walker.sgm").string()), sgm);
    EXPECT_EQ(TempFolder::Read((s_samples / "walker.ebp").string()), ebp);
}

TEST(ModelCommands, DiffNamesTheChangedValueAndTheFinalFormHoldsTheSameModel)
{
    REQUIRE_PROGRAM();
    TempFolder folder;
    const std::string walker = (s_samples / "walker.sgm").string();
    // The camera's field of view, the one 0.8 of the file, made 0.9.
    std::string sgm = TempFolder::Read(walker);
    const float from = 0.8f, to = 0.9f;
    const size_t at = sgm.find(std::string(reinterpret_cast<const char*>(&from), 4));
    ASSERT_NE(at, std::string::npos);
    sgm.replace(at, 4, std::string(reinterpret_cast<const char*>(&to), 4));
    const std::string changed = folder.Write("changed.sgm", sgm);
    folder.Write("changed.ebp", TempFolder::Read((s_samples / "walker.ebp").string()));
    const ToolRun text = RunTool({"model", "diff", walker, changed});
    EXPECT_EQ(text.status, 1) << text.err;
    EXPECT_EQ(text.out, "cameras/portrait/fov: 0.8 vs 0.9\n1 differences\n");
    const ToolRun json = RunTool({"model", "diff", changed, walker, "--json"});
    EXPECT_EQ(nlohmann::ordered_json::parse(json.out)["differences"][0],
              nlohmann::ordered_json({{"path", "cameras/portrait/fov"}, {"a", "0.9"}, {"b", "0.8"}}));
    EXPECT_EQ(RunTool({"model", "diff", walker, changed, "--tolerance", "0.11"}).status, 0);

    ASSERT_EQ(RunTool({"model", "convert", walker, folder / "w.tqm"}).status, 0);
    const ToolRun same = RunTool({"model", "diff", walker, folder / "w.tqm"});
    EXPECT_EQ(same.status, 0) << same.out << same.err;
    const ToolRun info = RunTool({"model", "info", folder / "w.tqm", "--json"});
    ASSERT_EQ(info.status, 0) << info.err;
    const auto model = nlohmann::ordered_json::parse(info.out);
    EXPECT_EQ(model["format"], "final");
    EXPECT_EQ(model["animations"].size(), 2u);
}
