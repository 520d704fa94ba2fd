// The project's sample model and the model commands of the program. The sample is the walker of
// generic_model_fixture.h as the writer writes it: run this test with TQ7Z_WRITE_SAMPLES=1 to write
// it again into samples/models; otherwise the test checks that the files there are still that.
#include "model/file/final/shaderloadfinal.h"
#include "model/file/generic/generic_model_fixture.h"
#include "model/file/generic/rendermodelloadgeneric.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <filesystem>
#include <unistd.h>

namespace
{
namespace fs = std::filesystem;

// The source tree's samples, found from this file.
const fs::path s_samples =
    (fs::path(__FILE__).parent_path() / "../../../../samples/models").lexically_normal();

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

using namespace generic_test;

namespace
{
std::string ReadFile(const fs::path& path)
{
    return TempFolder::Read(path.string());
}

// The walker written by the generic writer: the .sgm and .ebp bytes.
std::pair<std::string, std::string> WriteWalker()
{
    RegisteredLoaders loaders;
    model_test::Env env;
    MountedFolder generic("GENERIC");
    {
        std::unique_ptr<RenderModel> pWalker = BuildWalker();
        EXPECT_TRUE(RenderModelLoadGeneric::Save("GENERIC:walker.sgm", *pWalker));
    }
    return {generic.Read("walker.sgm"), generic.Read("walker.ebp")};
}

// The program has to be built; a test run of the model library alone passes over these.
#define REQUIRE_PROGRAM()                                                                                    \
    if (!fs::exists(ProgramPath()))                                                                          \
    GTEST_SKIP() << "the tq7z program is not built at " << ProgramPath()
} // namespace

TEST(GenericSample, SampleFilesAreTheWalkerAsTheWriterWritesIt)
{
    const auto [sgm, ebp] = WriteWalker();
    if (std::getenv("TQ7Z_WRITE_SAMPLES") != nullptr)
    {
        fs::create_directories(s_samples);
        std::ofstream(s_samples / "walker.sgm", std::ios::binary) << sgm;
        std::ofstream(s_samples / "walker.ebp", std::ios::binary) << ebp;
    }
    EXPECT_EQ(ReadFile(s_samples / "walker.sgm"), sgm);
    EXPECT_EQ(ReadFile(s_samples / "walker.ebp"), ebp);
}

TEST(GenericSample, ModelInfoJsonHasTheKeysScriptsRelyOn)
{
    REQUIRE_PROGRAM();
    const ToolRun run = RunTool({"model", "info", (s_samples / "walker.sgm").string(), "--json"});
    ASSERT_EQ(run.status, 0) << run.err;
    using Json = nlohmann::ordered_json;
    const Json info = Json::parse(run.out);
    auto at = [&](const char* path) -> const Json& { return info.at(Json::json_pointer(path)); };
    // The keys of each object in order, the sizes of arrays, and values of the walker.
    // clang-format off
    const std::pair<const char*, std::vector<std::string>> keys[] = {
        {"", {"name", "format", "textures", "shaders", "bones", "meshes", "markers", "cameras", "animations"}},
        {"/textures/0", {"name", "width", "height", "mips"}},
        {"/shaders/1", {"name", "shared", "blend", "channels"}},
        {"/shaders/1/channels/0", {"method", "colour", "texture"}},
        {"/bones/5", {"name", "parent", "position", "rotation"}},
        {"/meshes/0", {"name", "xref", "bone", "vertices", "vertex_type", "primsets", "skin"}},
        {"/markers/0", {"name", "parent", "transform"}},
        {"/cameras/0", {"name", "position", "target", "orientation", "fov", "near", "far"}},
        {"/animations/0", {"name", "xref", "frames", "time", "bones", "controls", "cameras"}},
        {"/animations/0/bones/1", {"name", "position_keys", "rotation_keys", "animated"}},
        {"/animations/0/controls/0", {"name", "target_type", "channel", "parameter", "keys"}},
        {"/animations/0/cameras/0", {"name", "position_keys", "rotation_keys"}},
    };
    const std::pair<const char*, size_t> sizes[] = {
        {"/textures", 2}, {"/shaders", 2}, {"/shaders/1/channels", 6}, {"/bones", 6}, {"/bones/5/rotation", 4},
        {"/meshes", 2}, {"/markers", 2}, {"/markers/0/transform", 12}, {"/cameras", 1}, {"/animations", 2},
    };
    const std::pair<const char*, Json> values[] = {
        {"/name", "walker"},
        {"/format", "generic"},
        {"/textures/0/width", 8},
        {"/shaders/1/blend", Json::array({6, 7})},
        {"/shaders/1/channels/0/colour", 0x80FF8040u},
        {"/shaders/1/channels/0/texture", "art/textures/walker_glow"},
        {"/bones/5/parent", 2},
        {"/bones/0/parent", -1},
        {"/meshes/0/skin", Json::array({"pelvis", "spine", "head"})},
        {"/meshes/1/bone", 5},
        {"/meshes/0/primsets/0", Json({{"shader", "walker_skin"}, {"indices", 9}})},
        {"/markers/1/parent", ""},
        {"/animations/0/frames", 31},
        {"/animations/0/bones/1/position_keys", 3},
        {"/animations/0/controls/1/target_type", 2},
    };
    // clang-format on
    for (const auto& [path, want] : keys)
    {
        std::vector<std::string> got;
        for (const auto& [key, value] : at(path).items())
            got.push_back(key);
        EXPECT_EQ(got, want) << path;
    }
    for (const auto& [path, want] : sizes)
        EXPECT_EQ(at(path).size(), want) << path;
    for (const auto& [path, want] : values)
        EXPECT_EQ(at(path), want) << path;
}

// The model commands across the forms: diff, the format key, convert to and from the final form.
namespace
{
size_t Count(const std::string& text, const std::string& what)
{
    size_t count = 0;
    for (size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + 1))
        ++count;
    return count;
}

std::string FloatBytes(float value)
{
    return std::string(reinterpret_cast<const char*>(&value), 4);
}

std::string FormatOf(const std::string& file)
{
    const ToolRun run = RunTool({"model", "info", file, "--json"});
    EXPECT_EQ(run.status, 0) << run.err;
    return run.status == 0 ? nlohmann::ordered_json::parse(run.out)["format"].get<std::string>() : "";
}
} // namespace

TEST(ModelCommands, DiffPrintsTheChangedValueWithItsPathAndExitsWithOne)
{
    REQUIRE_PROGRAM();
    TempFolder folder;
    const std::string walker = (s_samples / "walker.sgm").string();
    const ToolRun same = RunTool({"model", "diff", walker, walker});
    EXPECT_EQ(same.status, 0) << same.err;
    EXPECT_NE(same.out.find("hold the same model"), std::string::npos) << same.out;

    // The camera's field of view, the one 0.8 of the file, made 0.9.
    std::string sgm = ReadFile(s_samples / "walker.sgm");
    ASSERT_EQ(Count(sgm, FloatBytes(0.8f)), 1u);
    sgm.replace(sgm.find(FloatBytes(0.8f)), 4, FloatBytes(0.9f));
    const std::string changed = folder.Write("changed.sgm", sgm);
    folder.Write("changed.ebp", ReadFile(s_samples / "walker.ebp"));

    const ToolRun text = RunTool({"model", "diff", walker, changed});
    EXPECT_EQ(text.status, 1) << text.err;
    EXPECT_EQ(text.out, "cameras/portrait/fov: 0.8 vs 0.9\n1 differences\n");
    const ToolRun json = RunTool({"model", "diff", changed, walker, "--json"});
    EXPECT_EQ(json.status, 1) << json.err;
    const nlohmann::ordered_json result = nlohmann::ordered_json::parse(json.out);
    EXPECT_EQ(result["equal"], false);
    ASSERT_EQ(result["differences"].size(), 1u);
    EXPECT_EQ(result["differences"][0],
              nlohmann::ordered_json({{"path", "cameras/portrait/fov"}, {"a", "0.9"}, {"b", "0.8"}}));
    EXPECT_EQ(RunTool({"model", "diff", walker, changed, "--tolerance", "0.11"}).status, 0);
    EXPECT_EQ(RunTool({"model", "diff", walker, changed, "--tolerance", "0.09"}).status, 1);
}

TEST(ModelCommands, UsageErrorsExitWithTwoAndUnreadableFilesWithOne)
{
    REQUIRE_PROGRAM();
    TempFolder folder, damaged;
    const std::string walker = (s_samples / "walker.sgm").string();
    const std::string sample = ReadFile(s_samples / "walker.sgm");
    const std::string cut = damaged.Write("cut.sgm", sample.substr(0, sample.size() / 2));
    struct Case
    {
        std::vector<std::string> args;
        int status;
        const char* message; // in stderr; null for CLI11's own
    };
    // clang-format off
    const Case cases[] = {
        {{"model", "diff", walker}, 2, nullptr},
        {{"model", "diff", walker, walker, "--tolerance", "-1"}, 2, nullptr},
        {{"model", "convert", walker, folder / "out.xyz"}, 2, "the forms written are .sgm"},
        {{"model", "convert", walker, folder / "out"}, 2, "no model form is written as ''"},
        {{"model", "convert", walker, folder / "out.tqm", "--dxt", "2"}, 2, nullptr},
        {{"model", "convert", walker, folder / "out.sgm", "--dxt", "1"}, 2, "are for a .tqm file"},
        {{"model", "convert", walker, folder / "out.tqm", "--interm"}, 2, "--interm writes a .sgm file"},
        {{"model", "info", walker, "--detail", "4"}, 2, nullptr},
        {{"model", "info", folder / "none.sgm"}, 1, "none.sgm: no such file"},
        {{"model", "diff", walker, folder / "none.tqm"}, 1, "none.tqm: no such file"},
        {{"model", "info", cut, "--json"}, 1, "cut.sgm: "},
        {{"model", "info", cut}, 1, "at byte offset"},
        {{"model", "diff", (s_samples / "../images/walker_diffuse.img").string(), walker}, 1, "not a model file (its root chunk is the folder 'IMAG'"},
        {{"model", "convert", walker, "/proc/none/x.sgm"}, 1, "could not be written"},
        {{"model", "convert", "--help"}, 0, nullptr},
        {{"model", "diff", "--help"}, 0, nullptr},
    };
    // clang-format on
    for (const Case& c : cases)
    {
        const ToolRun run = RunTool(c.args);
        EXPECT_EQ(run.status, c.status) << c.args.back() << "\n" << run.err;
        if (c.message != nullptr)
        {
            EXPECT_NE(run.err.find(c.message), std::string::npos) << run.err;
        }
        // A file that cannot be read or written prints nothing on standard output.
        if (c.status == 1)
        {
            EXPECT_TRUE(run.out.empty()) << run.out;
        }
    }
    // Nothing of a refused convert is left behind.
    EXPECT_TRUE(fs::is_empty(folder.Path())) << fs::directory_iterator(folder.Path())->path();
}

TEST(ModelCommands, FinalFormReadsBackAsTheModelItCameFrom)
{
    REQUIRE_PROGRAM();
    TempFolder folder;
    const std::string walker = (s_samples / "walker.sgm").string();
    ASSERT_EQ(RunTool({"model", "convert", walker, folder / "w.tqm"}).status, 0);
    EXPECT_EQ(FormatOf(folder / "w.tqm"), "final");
    const ToolRun diff = RunTool({"model", "diff", walker, folder / "w.tqm"});
    EXPECT_EQ(diff.status, 0) << diff.out << diff.err;

    // Read at detail 0, every final texture is one flat pixel: four differences, the first shown.
    const ToolRun flat =
        RunTool({"model", "diff", walker, folder / "w.tqm", "--detail", "0", "--max", "1", "--json"});
    EXPECT_EQ(flat.status, 1);
    const nlohmann::ordered_json flatResult = nlohmann::ordered_json::parse(flat.out);
    EXPECT_EQ(flatResult["more"], true);
    ASSERT_EQ(flatResult["differences"].size(), 1u);
    EXPECT_EQ(flatResult["differences"][0],
              nlohmann::ordered_json(
                  {{"path", "textures/art/textures/walker_skin/width"}, {"a", "8"}, {"b", "1"}}));
    EXPECT_EQ(Count(RunTool({"model", "diff", walker, folder / "w.tqm", "--detail", "0", "--max", "0"}).out,
                    " vs 1\n"),
              4u);

    // Written again, the same bytes; and back to the generic form, the same model.
    ASSERT_EQ(RunTool({"model", "convert", folder / "w.tqm", folder / "again.tqm"}).status, 0);
    EXPECT_TRUE(TempFolder::Read(folder / "again.tqm") == TempFolder::Read(folder / "w.tqm"));
    EXPECT_TRUE(TempFolder::Read(folder / "again.tqe") == TempFolder::Read(folder / "w.tqe"));
    ASSERT_EQ(RunTool({"model", "convert", folder / "w.tqm", folder / "back.sgm"}).status, 0);
    EXPECT_EQ(FormatOf(folder / "back.sgm"), "generic");
    // The final reader has the device make the levels below a lone top image, and the generic
    // writer keeps them: the textures gain levels on the way back, the rest is the same.
    const ToolRun back = RunTool({"model", "diff", walker, folder / "back.sgm"});
    EXPECT_EQ(back.status, 1);
    EXPECT_EQ(Count(back.out, "/mips: 1 vs "), 2u) << back.out;
    EXPECT_EQ(RunTool({"model", "diff", walker, folder / "back.sgm", "--ignore-textures"}).status, 0);

    // Compressed textures keep their size only; the pixels are not held against them.
    ASSERT_EQ(RunTool({"model", "convert", walker, folder / "dxt.tqm", "--dxt", "1"}).status, 0);
    const ToolRun dxt = RunTool({"model", "diff", walker, folder / "dxt.tqm"});
    EXPECT_EQ(dxt.status, 0) << dxt.out << dxt.err;

    ASSERT_EQ(RunTool({"model", "convert", walker, folder / "i.sgm", "--interm"}).status, 0);
    EXPECT_EQ(FormatOf(folder / "i.sgm"), "intermediate");
}

TEST(ModelCommands, SharedShaderFilesShowTheirShader)
{
    REQUIRE_PROGRAM();
    MountedFolder generic("GENERIC");
    {
        RegisteredLoaders loaders;
        model_test::Env env;
        ShaderImp shader("team_colour");
        shader.SetMethod(Shader::CN_Diffuse, Shader::Method_Texture);
        shader.SetTexture(Shader::CN_Diffuse, AddPatternedTexture("art/textures/team", 4));
        ASSERT_TRUE(ShaderLoadFinal::SaveSharedFile("GENERIC:final.vds", shader));
        ASSERT_TRUE(ShaderLoadGeneric::SaveSharedFile("GENERIC:generic.vds", shader));
    }
    const ToolRun run = RunTool({"model", "info", generic.Path() + "/final.vds", "--json"});
    ASSERT_EQ(run.status, 0) << run.err;
    const nlohmann::ordered_json info = nlohmann::ordered_json::parse(run.out);
    EXPECT_EQ(info["format"], "shared-shader");
    EXPECT_EQ(info["name"], "team_colour");
    EXPECT_EQ(info["shaders"][0]["channels"][0]["texture"], "art/textures/team");
    EXPECT_EQ(info["textures"][0]["width"], 4);
    // The generic form of the same shader holds the same.
    const ToolRun diff =
        RunTool({"model", "diff", generic.Path() + "/final.vds", generic.Path() + "/generic.vds"});
    EXPECT_EQ(diff.status, 0) << diff.out << diff.err;
}
