// `tq7z model export-gltf` on a model of every form: the sample walker (generic) and its intermediate
// and final conversions, the scout exported from its z-up sample scene (intermediate) and burnt to a
// DXT1 final file. What a viewer relies on is read back; the Khronos validator, when Node.js and its
// npm package are there, checks the rest. Bad input fails with a message and writes nothing.
#include "model/file/gltf/gltf_reading.h"

#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <functional>
#include <unistd.h>

namespace
{
namespace fs = std::filesystem;

const fs::path s_source = (fs::path(__FILE__).parent_path() / "../../../..").lexically_normal();

// <build>/tests/model/model_tests beside <build>/bin/tq7z.
fs::path BuildFolder()
{
    char self[4096];
    const ssize_t n = ::readlink("/proc/self/exe", self, sizeof(self) - 1);
    return n > 0 ? fs::path(std::string(self, size_t(n))).parent_path().parent_path().parent_path()
                 : fs::path();
}
} // namespace

#define TQ7Z_BINARY (BuildFolder() / "bin/tq7z").string()
#include "support/runtool.h"

using namespace gltf_test;

namespace
{
std::string Make(const TempFolder& s, const std::vector<std::string>& args, const std::string& out)
{
    std::vector<std::string> all = args;
    all.push_back(s / out);
    const ToolRun run = RunTool(all);
    EXPECT_EQ(run.status, 0) << run.err;
    return s / out;
}

const std::string s_walker = (s_source / "samples/models/walker.sgm").string();
const std::string s_scout = (s_source / "samples/project/art/source/units/scout/walk.json").string();

struct FormCase
{
    const char* name;
    const char* format; // as `model info` names it
    std::function<std::string(const TempFolder&)> make;
    bool surfaceNormals; // the walker's normals are counting numbers, not a surface's
};

void PrintTo(const FormCase& c, std::ostream* os)
{
    *os << c.name;
}

const FormCase s_forms[] = {
    {"WalkerGeneric", "generic", [](const TempFolder&) { return s_walker; }, false},
    {"WalkerIntermediate", "intermediate",
     [](const TempFolder& s) {
         return Make(s, {"model", "convert", "--interm", s_walker}, "w.sgm");
     },
     false},
    {"WalkerFinal", "final",
     [](const TempFolder& s) {
         return Make(s, {"model", "convert", s_walker}, "w.tqm");
     },
     false},
    {"ScoutIntermediate", "intermediate",
     [](const TempFolder& s) {
         return Make(s, {"export", s_scout}, "s.sgm");
     },
     true},
    {"ScoutFinalDxt1", "final",
     [](const TempFolder& s) {
         return Make(s, {"model", "convert", "--dxt", "1", Make(s, {"export", s_scout}, "s.sgm")}, "s.tqm");
     },
     true},
};

class GltfForms : public ::testing::TestWithParam<FormCase>
{
protected:
    void SetUp() override
    {
        if (!fs::exists(TQ7Z_BINARY))
            GTEST_SKIP() << "the tq7z program is not built at " << TQ7Z_BINARY;
        m_model = GetParam().make(m_scratch);
        const ToolRun info = RunTool({"model", "info", "--json", m_model});
        ASSERT_EQ(info.status, 0) << info.err;
        m_info = Json::parse(info.out);
        ASSERT_EQ(m_info["format"], std::string(GetParam().format));
    }

    TempFolder m_scratch;
    std::string m_model;
    Json m_info;
};

TEST_P(GltfForms, HoldsWhatAViewerReliesOn)
{
    const ToolRun run = RunTool({"model", "export-gltf", m_model, m_scratch / "out.glb"});
    ASSERT_EQ(run.status, 0) << run.err;
    const GltfFile file = ParseGlb(TempFolder::Read(m_scratch / "out.glb"));
    ASSERT_EQ(file.doc["meshes"].size(), m_info["meshes"].size());
    const Json& skin = file.doc["skins"][0];
    EXPECT_EQ(skin["joints"].size(), m_info["bones"].size());
    for (const Json& mesh : file.doc["meshes"])
        for (const Json& primitive : mesh["primitives"])
        {
            const Json& attributes = primitive["attributes"];
            const auto positions = ReadAccessor(file, attributes["POSITION"]);
            const auto normals = ReadAccessor(file, attributes.at("NORMAL"));
            const auto indices = ReadAccessor(file, primitive["indices"]);
            for (const auto& [semantic, index] : attributes.items())
                EXPECT_EQ(file.doc["accessors"][index.get<size_t>()]["count"], positions.size()) << semantic;
            // The bounds a viewer frames the model by are the data's own, exactly.
            for (size_t c = 0; c < 3; ++c)
            {
                auto [lo, hi] =
                    std::minmax_element(positions.begin(), positions.end(),
                                        [c](const auto& a, const auto& b) { return a[c] < b[c]; });
                EXPECT_EQ(file.doc["accessors"][attributes["POSITION"].get<size_t>()]["min"][c], (*lo)[c]);
                EXPECT_EQ(file.doc["accessors"][attributes["POSITION"].get<size_t>()]["max"][c], (*hi)[c]);
            }
            for (const auto& n : normals)
                EXPECT_NEAR(std::hypot(n[0], n[1], n[2]), 1.0, 1e-5);
            ASSERT_EQ(indices.size() % 3, 0u);
            for (size_t t = 0; t < indices.size(); t += 3)
            {
                const auto &a = positions.at(size_t(indices[t][0])),
                           &b = positions.at(size_t(indices[t + 1][0])),
                           &c = positions.at(size_t(indices[t + 2][0]));
                // Front faces wind counter-clockwise: the winding's normal goes the corners' way.
                const double e[2][3] = {{b[0] - a[0], b[1] - a[1], b[2] - a[2]},
                                        {c[0] - a[0], c[1] - a[1], c[2] - a[2]}};
                const double face[3] = {e[0][1] * e[1][2] - e[0][2] * e[1][1],
                                        e[0][2] * e[1][0] - e[0][0] * e[1][2],
                                        e[0][0] * e[1][1] - e[0][1] * e[1][0]};
                double dot = 0;
                for (size_t k = 0; k < 9; ++k)
                    dot += face[k % 3] * normals[size_t(indices[t + k / 3][0])][k % 3];
                EXPECT_TRUE(dot > 0.0 || !GetParam().surfaceNormals) << mesh["name"] << " triangle " << t / 3;
            }
            if (!attributes.contains("JOINTS_0"))
                continue;
            const auto joints = ReadAccessor(file, attributes["JOINTS_0"]);
            const auto weights = ReadAccessor(file, attributes.at("WEIGHTS_0"));
            for (size_t v = 0; v < joints.size(); ++v)
            {
                for (size_t k = 0; k < 4; ++k)
                    EXPECT_TRUE(joints[v][k] < skin["joints"].size() && weights[v][k] >= 0) << "vertex " << v;
                EXPECT_NEAR(weights[v][0] + weights[v][1] + weights[v][2] + weights[v][3], 1.0, 1e-5)
                    << "vertex " << v;
            }
        }
    // Key times rise within their animation's length.
    ASSERT_EQ(file.doc["animations"].size(), m_info["animations"].size());
    for (size_t a = 0; a < m_info["animations"].size(); ++a)
        for (const Json& sampler : file.doc["animations"][a]["samplers"])
        {
            const auto times = ReadAccessor(file, sampler["input"]);
            ASSERT_FALSE(times.empty());
            EXPECT_GE(times.front()[0], 0.0);
            EXPECT_LE(times.back()[0], m_info["animations"][a]["time"].get<double>());
            for (size_t k = 1; k < times.size(); ++k)
                EXPECT_GT(times[k][0], times[k - 1][0]);
        }
    // The head stands above the pelvis in the source's up (the walker's game y, the scout's host
    // z): in glTF that is y.
    const std::vector<Mat4> world = WorldMatrices(file.doc);
    const Mat4 &pelvis = world[FindNode(file.doc, "pelvis")], &head = world[FindNode(file.doc, "head")];
    const double up = head[13] - pelvis[13];
    EXPECT_GT(up, std::abs(head[12] - pelvis[12]));
    EXPECT_GT(up, std::abs(head[14] - pelvis[14]));
}

// The validator's package: under <build>/gltf-validator, where scripts/test.sh installs it, or the
// folder TQ7Z_GLTF_VALIDATOR names.
TEST_P(GltfForms, PassesTheKhronosValidatorInEveryContainer)
{
    const char* folder = std::getenv("TQ7Z_GLTF_VALIDATOR");
    const fs::path modules = (folder ? fs::path(folder) : BuildFolder() / "gltf-validator") / "node_modules";
    if (std::system("command -v node >/dev/null 2>&1") != 0)
        GTEST_SKIP() << "Node.js is not installed: the glTF validator cannot run";
    if (!fs::exists(modules / "gltf-validator"))
        GTEST_SKIP() << "the npm package gltf-validator is not in " << modules
                     << " (scripts/test.sh installs it when npm is there)";
    for (const std::vector<std::string>& out :
         {std::vector<std::string>{"out.glb"}, {"beside/out.gltf"}, {"embedded.gltf", "--embed"}})
    {
        std::vector<std::string> args = {"model", "export-gltf", m_model, m_scratch / out[0]};
        args.insert(args.end(), out.begin() + 1, out.end());
        const ToolRun run = RunTool(args);
        ASSERT_EQ(run.status, 0) << run.err;
        const std::string report = m_scratch / "report";
        const int status = std::system(("NODE_PATH=" + Quote(modules) + " node " +
                                        Quote(fs::path(__FILE__).parent_path() / "validate.js") + " " +
                                        Quote(m_scratch / out[0]) + " >" + Quote(report) + " 2>&1")
                                           .c_str());
        ASSERT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) != 2) << TempFolder::Read(report);
        const Json counts = Json::parse(TempFolder::Read(report));
        EXPECT_EQ(counts["errors"], 0) << out[0] << ": " << counts["messages"].dump(1);
    }
    // The .gltf's buffer is the .bin beside it, or inside it.
    EXPECT_TRUE(fs::exists(m_scratch / "beside/out.bin"));
    EXPECT_FALSE(fs::exists(m_scratch / "embedded.bin"));
}

INSTANTIATE_TEST_SUITE_P(, GltfForms, ::testing::ValuesIn(s_forms),
                         [](const ::testing::TestParamInfo<FormCase>& info) { return info.param.name; });

struct BadCase
{
    const char* name;
    std::function<std::string(const TempFolder&)> input;
    const char* output;
    int status;
    const char* message;
    bool namesOutput; // the file at fault that the message names: the output, or else the input
};

void PrintTo(const BadCase& c, std::ostream* os)
{
    *os << c.name;
}

const BadCase s_bad[] = {
    {"NoSuchModel", [](const TempFolder& s) { return s / "missing.sgm"; }, "out.glb", 1, "no such file",
     false},
    {"NotAChunkFile", [](const TempFolder& s) { return s.Write("text.sgm", "solid cube\nendsolid\n"); },
     "out.glb", 1, "", false},
    {"CutShortModel",
     [](const TempFolder& s) { return s.Write("cut.sgm", TempFolder::Read(s_walker).substr(0, 60)); },
     "out.glb", 1, "", false},
    {"NeitherGlbNorGltf", [](const TempFolder&) { return s_walker; }, "out.obj", 2,
     "writes .glb or .gltf, not '.obj'", true},
    {"EmbedIntoGlb", [](const TempFolder&) { return s_walker; }, "out.glb --embed", 2,
     "--embed is for a .gltf", true},
    {"UnderAFile", [](const TempFolder&) { return s_walker; }, "file.txt/out.glb", 1, "cannot be written",
     true},
};

class GltfBadInput : public ::testing::TestWithParam<BadCase>
{
};

TEST_P(GltfBadInput, FailsWithAMessageAndWritesNothing)
{
    if (!fs::exists(TQ7Z_BINARY))
        GTEST_SKIP() << "the tq7z program is not built at " << TQ7Z_BINARY;
    TempFolder scratch;
    scratch.Write("file.txt", "a file where a folder would be");
    const std::string input = GetParam().input(scratch);
    const std::vector<std::string> out = Words(scratch / GetParam().output);
    std::vector<std::string> args = {"model", "export-gltf", input};
    args.insert(args.end(), out.begin(), out.end());
    const ToolRun run = RunTool(args);
    EXPECT_EQ(run.status, GetParam().status) << run.err;
    EXPECT_NE(run.err.find(GetParam().message), std::string::npos) << run.err;
    EXPECT_NE(run.err.find(GetParam().namesOutput ? out[0] : input), std::string::npos) << run.err;
    EXPECT_EQ(run.out, "");
    for (const auto& entry : fs::recursive_directory_iterator(scratch.Path()))
        EXPECT_TRUE(entry.path().extension() == ".txt" || entry.path().extension() == ".sgm") << entry.path();
}

INSTANTIATE_TEST_SUITE_P(, GltfBadInput, ::testing::ValuesIn(s_bad),
                         [](const ::testing::TestParamInfo<BadCase>& info) { return info.param.name; });
} // namespace
