// `tq7z model export-gltf` on models of every form: the project's sample walker as it stands
// (generic), converted to the intermediate and final forms, and the scout exported from its sample
// scene (a z-up host scene) and burnt to a compressed final file. What a viewer relies on is read
// back from the .glb; the Khronos validator, when Node.js and its npm package are there, checks the
// rest. Bad input fails with a message naming the file and writes nothing.
#include "model/file/gltf/gltf_reading.h"

#include <gtest/gtest.h>

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
    if (n <= 0)
        return {};
    self[n] = '\0';
    return fs::path(self).parent_path().parent_path().parent_path();
}

std::string ProgramPath()
{
    return (BuildFolder() / "bin" / "tq7z").string();
}
} // namespace

#define TQ7Z_BINARY ProgramPath()
#include "support/runtool.h"

using namespace gltf_test;

namespace
{
// A model file made in `scratch`, its path returned (empty, with a failure, when it cannot be made).
using MakeModel = std::function<std::string(const TempFolder& scratch)>;

std::string Convert(const TempFolder& scratch, const std::string& in, const std::string& out,
                    const std::vector<std::string>& options)
{
    std::vector<std::string> args = {"model", "convert", in, scratch / out};
    args.insert(args.end(), options.begin(), options.end());
    const ToolRun run = RunTool(args);
    EXPECT_EQ(run.status, 0) << run.err;
    return scratch / out;
}

std::string Walker(const TempFolder&)
{
    return (s_source / "samples/models/walker.sgm").string();
}

// The scout's walk scene exported whole: meshes, skin and animation from a host scene with z up.
std::string Scout(const TempFolder& scratch)
{
    const std::string scene = (s_source / "samples/project/art/source/units/scout/walk.json").string();
    const ToolRun run = RunTool({"export", scene, scratch / "scout/walk.sgm"});
    EXPECT_EQ(run.status, 0) << run.err;
    return scratch / "scout/walk.sgm";
}

struct FormCase
{
    const char* name;
    const char* format; // as `model info` names it
    MakeModel make;
    // Two bones of the skeleton, the second straight above the first in the source's up axis.
    const char* lowerBone;
    const char* upperBone;
    // Whether the normals are a real surface's (the walker's are numbers that count up).
    bool surfaceNormals;
};

void PrintTo(const FormCase& c, std::ostream* os)
{
    *os << c.name;
}

const FormCase s_forms[] = {
    {"WalkerGeneric", "generic", Walker, "pelvis", "head", false},
    {"WalkerIntermediate", "intermediate",
     [](const TempFolder& s) { return Convert(s, Walker(s), "walker_i.sgm", {"--interm"}); }, "pelvis", "head",
     false},
    {"WalkerFinal", "final", [](const TempFolder& s) { return Convert(s, Walker(s), "walker.tqm", {}); },
     "pelvis", "head", false},
    // The exporter writes the intermediate form; a convert makes the generic one of it.
    {"ScoutIntermediate", "intermediate", Scout, "pelvis", "head", true},
    {"ScoutGeneric", "generic", [](const TempFolder& s) { return Convert(s, Scout(s), "scout.sgm", {}); }, "pelvis",
     "head", true},
    {"ScoutFinalDxt1", "final", [](const TempFolder& s) { return Convert(s, Scout(s), "scout.tqm", {"--dxt", "1"}); },
     "pelvis", "head", true},
};

class GltfForms : public ::testing::TestWithParam<FormCase>
{
protected:
    void SetUp() override
    {
        if (!fs::exists(ProgramPath()))
            GTEST_SKIP() << "the tq7z program is not built at " << ProgramPath();
        m_model = GetParam().make(m_scratch);
        ASSERT_TRUE(fs::exists(m_model));
        const ToolRun info = RunTool({"model", "info", "--json", m_model});
        ASSERT_EQ(info.status, 0) << info.err;
        m_info = Json::parse(info.out);
        ASSERT_EQ(m_info["format"], std::string(GetParam().format));
    }

    // The model written as .glb, read back.
    GltfFile Export()
    {
        const ToolRun run = RunTool({"model", "export-gltf", m_model, m_scratch / "out.glb"});
        EXPECT_EQ(run.status, 0) << run.err;
        EXPECT_NE(run.out.find("out.glb"), std::string::npos) << run.out;
        return ParseGlb(TempFolder::Read(m_scratch / "out.glb"));
    }

    TempFolder m_scratch;
    std::string m_model;
    Json m_info;
};

TEST_P(GltfForms, AccessorsHoldWhatTheirMeshesAndBoundsSay)
{
    const GltfFile file = Export();
    ASSERT_EQ(file.doc["meshes"].size(), m_info["meshes"].size());
    for (const Json& mesh : file.doc["meshes"])
        for (const Json& primitive : mesh["primitives"])
        {
            SCOPED_TRACE(mesh["name"].get<std::string>());
            const Json& attributes = primitive["attributes"];
            const auto positions = ReadAccessor(file, attributes["POSITION"]);
            ASSERT_FALSE(positions.empty());
            // The bounds that viewers frame the model by are the data's own, exactly.
            const Json& accessor = file.doc["accessors"][attributes["POSITION"].get<size_t>()];
            for (size_t c = 0; c < 3; ++c)
            {
                double lo = positions[0][c], hi = positions[0][c];
                for (const auto& p : positions)
                    lo = std::min(lo, p[c]), hi = std::max(hi, p[c]);
                EXPECT_EQ(accessor["min"][c].get<double>(), lo);
                EXPECT_EQ(accessor["max"][c].get<double>(), hi);
            }
            for (const auto& [semantic, index] : attributes.items())
                EXPECT_EQ(file.doc["accessors"][index.get<size_t>()]["count"], positions.size()) << semantic;
            ASSERT_TRUE(attributes.contains("NORMAL"));
            for (const auto& n : ReadAccessor(file, attributes["NORMAL"]))
                EXPECT_NEAR(std::sqrt(n[0] * n[0] + n[1] * n[1] + n[2] * n[2]), 1.0, 1e-5);
            const auto indices = ReadAccessor(file, primitive["indices"]);
            EXPECT_EQ(indices.size() % 3, 0u);
            for (const auto& i : indices)
                EXPECT_LT(i[0], double(positions.size()));
            if (!GetParam().surfaceNormals)
                continue;
            // Front faces wind counter-clockwise: a triangle's normal by its winding goes the way of
            // its corners' normals.
            const auto normals = ReadAccessor(file, attributes["NORMAL"]);
            for (size_t t = 0; t + 2 < indices.size(); t += 3)
            {
                const auto& a = positions[size_t(indices[t][0])];
                const auto& b = positions[size_t(indices[t + 1][0])];
                const auto& c = positions[size_t(indices[t + 2][0])];
                const double e[2][3] = {{b[0] - a[0], b[1] - a[1], b[2] - a[2]}, {c[0] - a[0], c[1] - a[1], c[2] - a[2]}};
                const double face[3] = {e[0][1] * e[1][2] - e[0][2] * e[1][1], e[0][2] * e[1][0] - e[0][0] * e[1][2],
                                        e[0][0] * e[1][1] - e[0][1] * e[1][0]};
                double dot = 0;
                for (size_t k = 0; k < 3; ++k)
                    for (size_t corner = 0; corner < 3; ++corner)
                        dot += face[k] * normals[size_t(indices[t + corner][0])][k];
                EXPECT_GT(dot, 0.0) << "triangle " << t / 3;
            }
        }
}

TEST_P(GltfForms, JointsLieInTheSkinAndWeightsSumToOne)
{
    const GltfFile file = Export();
    ASSERT_EQ(file.doc["skins"].size(), 1u);
    const Json& skin = file.doc["skins"][0];
    EXPECT_EQ(skin["joints"].size(), m_info["bones"].size());
    EXPECT_EQ(ReadAccessor(file, skin["inverseBindMatrices"]).size(), skin["joints"].size());
    size_t skinned = 0;
    for (const Json& node : file.doc["nodes"])
    {
        if (!node.contains("skin"))
            continue;
        ++skinned;
        for (const Json& primitive : file.doc["meshes"][node["mesh"].get<size_t>()]["primitives"])
        {
            ASSERT_TRUE(primitive["attributes"].contains("JOINTS_0"));
            ASSERT_TRUE(primitive["attributes"].contains("WEIGHTS_0"));
            const auto joints = ReadAccessor(file, primitive["attributes"]["JOINTS_0"]);
            const auto weights = ReadAccessor(file, primitive["attributes"]["WEIGHTS_0"]);
            ASSERT_EQ(joints.size(), weights.size());
            ASSERT_FALSE(joints.empty());
            for (size_t v = 0; v < joints.size(); ++v)
            {
                double sum = 0;
                for (size_t k = 0; k < 4; ++k)
                {
                    EXPECT_LT(joints[v][k], double(skin["joints"].size()));
                    EXPECT_GE(weights[v][k], 0.0);
                    sum += weights[v][k];
                }
                EXPECT_NEAR(sum, 1.0, 1e-5) << "vertex " << v;
            }
        }
    }
    size_t modelSkinned = 0;
    for (const Json& mesh : m_info["meshes"])
        modelSkinned += mesh["skin"].empty() ? 0 : 1;
    EXPECT_EQ(skinned, modelSkinned);
}

TEST_P(GltfForms, AnimationKeysLieWithinTheirAnimationsLength)
{
    const GltfFile file = Export();
    ASSERT_EQ(file.doc["animations"].size(), m_info["animations"].size());
    for (size_t a = 0; a < m_info["animations"].size(); ++a)
    {
        const Json& animation = file.doc["animations"][a];
        EXPECT_EQ(animation["name"], m_info["animations"][a]["name"]);
        const double length = m_info["animations"][a]["time"];
        ASSERT_FALSE(animation["channels"].empty());
        for (const Json& sampler : animation["samplers"])
        {
            const auto times = ReadAccessor(file, sampler["input"]);
            ASSERT_FALSE(times.empty());
            const Json& input = file.doc["accessors"][sampler["input"].get<size_t>()];
            EXPECT_EQ(input["min"][0].get<double>(), times.front()[0]);
            EXPECT_EQ(input["max"][0].get<double>(), times.back()[0]);
            EXPECT_GE(times.front()[0], 0.0);
            EXPECT_LE(times.back()[0], length * (1 + 1e-6));
            for (size_t k = 1; k < times.size(); ++k)
                EXPECT_GT(times[k][0], times[k - 1][0]);
            EXPECT_EQ(ReadAccessor(file, sampler["output"]).size(), times.size());
        }
    }
}

TEST_P(GltfForms, TheSourcesUpIsYUp)
{
    const GltfFile file = Export();
    const std::vector<Mat4> world = WorldMatrices(file.doc);
    const int lower = FindNode(file.doc, GetParam().lowerBone);
    const int upper = FindNode(file.doc, GetParam().upperBone);
    ASSERT_GE(lower, 0);
    ASSERT_GE(upper, 0);
    const auto a = Origin(world[size_t(lower)]);
    const auto b = Origin(world[size_t(upper)]);
    EXPECT_GT(b[1] - a[1], 0.0);
    EXPECT_GT(b[1] - a[1], std::abs(b[0] - a[0]));
    EXPECT_GT(b[1] - a[1], std::abs(b[2] - a[2]));
}

// The validator's npm package: under <build>/gltf-validator (where scripts/test.sh installs it) or
// the folder named by TQ7Z_GLTF_VALIDATOR.
std::string ValidatorModules()
{
    if (const char* folder = std::getenv("TQ7Z_GLTF_VALIDATOR"))
        return (fs::path(folder) / "node_modules").string();
    return (BuildFolder() / "gltf-validator" / "node_modules").string();
}

TEST_P(GltfForms, PassesTheKhronosValidator)
{
    if (std::system("command -v node >/dev/null 2>&1") != 0)
        GTEST_SKIP() << "Node.js is not installed: the glTF validator cannot run";
    if (!fs::exists(fs::path(ValidatorModules()) / "gltf-validator"))
        GTEST_SKIP() << "the npm package gltf-validator is not installed in " << ValidatorModules()
                     << " (scripts/test.sh installs it when npm is there)";
    for (const char* out : {"out.glb", "out.gltf"})
    {
        const ToolRun run = RunTool({"model", "export-gltf", m_model, m_scratch / out});
        ASSERT_EQ(run.status, 0) << run.err;
        TempFolder logs;
        const std::string command = "NODE_PATH=" + Quote(ValidatorModules()) + " node " +
                                    Quote((fs::path(__FILE__).parent_path() / "validate.js").string()) + " " +
                                    Quote(m_scratch / out) + " >" + Quote(logs / "report") + " 2>&1";
        const int status = std::system(command.c_str());
        const std::string report = TempFolder::Read(logs / "report");
        ASSERT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) != 2) << report;
        const Json counts = Json::parse(report);
        EXPECT_EQ(counts["errors"], 0) << out << ": " << counts["messages"].dump(1);
    }
}

INSTANTIATE_TEST_SUITE_P(, GltfForms, ::testing::ValuesIn(s_forms),
                         [](const ::testing::TestParamInfo<FormCase>& info) { return info.param.name; });

// The .gltf text form: its buffer beside it under the same name, or inside it as a data URI; either
// holds the bytes of the .glb's buffer.
TEST(GltfCommand, TextFormsHoldTheBinaryFormsBuffer)
{
    if (!fs::exists(ProgramPath()))
        GTEST_SKIP() << "the tq7z program is not built at " << ProgramPath();
    TempFolder scratch;
    const std::string walker = Walker(scratch);
    ASSERT_EQ(RunTool({"model", "export-gltf", walker, scratch / "w.glb"}).status, 0);
    ASSERT_EQ(RunTool({"model", "export-gltf", walker, scratch / "beside/w.gltf"}).status, 0);
    ASSERT_EQ(RunTool({"model", "export-gltf", walker, scratch / "w_embedded.gltf", "--embed"}).status, 0);
    const GltfFile glb = ParseGlb(TempFolder::Read(scratch / "w.glb"));
    ASSERT_FALSE(glb.bin.empty());
    const std::string bin(glb.bin.begin(), glb.bin.end());

    const Json beside = Json::parse(TempFolder::Read(scratch / "beside/w.gltf"));
    EXPECT_EQ(beside["buffers"][0]["uri"], "w.bin");
    EXPECT_EQ(TempFolder::Read(scratch / "beside/w.bin"), bin);
    EXPECT_EQ(beside["meshes"], glb.doc["meshes"]);

    const Json embedded = Json::parse(TempFolder::Read(scratch / "w_embedded.gltf"));
    const std::string uri = embedded["buffers"][0]["uri"];
    const std::string prefix = "data:application/octet-stream;base64,";
    ASSERT_EQ(uri.substr(0, prefix.size()), prefix);
    EXPECT_EQ(uri.size() - prefix.size(), (bin.size() + 2) / 3 * 4);
    EXPECT_FALSE(fs::exists(scratch / "w_embedded.bin"));
    EXPECT_EQ(embedded["buffers"][0]["byteLength"], bin.size());
}

struct BadCase
{
    const char* name;
    // Makes the input in `scratch` (its path) and names the output.
    std::function<std::string(const TempFolder&)> input;
    std::string output;
    std::vector<std::string> options;
    int status;
    // What stderr says, beside the name of the file at fault.
    const char* message;
    bool namesInput;
};

const BadCase s_bad[] = {
    {"NoSuchModel", [](const TempFolder& s) { return s / "missing.sgm"; }, "out.glb", {}, 1, "no such file", true},
    {"NotAChunkFile", [](const TempFolder& s) { return s.Write("text.sgm", "solid cube\nendsolid\n"); }, "out.glb",
     {}, 1, "", true},
    {"CutShortModel",
     [](const TempFolder& s)
     { return s.Write("cut.sgm", TempFolder::Read(Walker(s)).substr(0, 60)); },
     "out.glb", {}, 1, "", true},
    {"OutputNeitherGlbNorGltf", Walker, "out.obj", {}, 2, "writes .glb or .gltf, not '.obj'", false},
    {"EmbedIntoGlb", Walker, "out.glb", {"--embed"}, 2, "--embed is for a .gltf file", false},
    {"OutputUnderAFile", Walker, "file.txt/out.glb", {}, 1, "cannot be written", false},
};

void PrintTo(const BadCase& c, std::ostream* os)
{
    *os << c.name;
}

class GltfBadInput : public ::testing::TestWithParam<BadCase>
{
};

TEST_P(GltfBadInput, FailsWithAMessageAndWritesNothing)
{
    if (!fs::exists(ProgramPath()))
        GTEST_SKIP() << "the tq7z program is not built at " << ProgramPath();
    const BadCase& c = GetParam();
    TempFolder scratch;
    scratch.Write("file.txt", "a file where a folder would be");
    const std::string input = c.input(scratch);
    std::vector<std::string> args = {"model", "export-gltf", input, scratch / c.output};
    args.insert(args.end(), c.options.begin(), c.options.end());
    const ToolRun run = RunTool(args);
    EXPECT_EQ(run.status, c.status) << run.err;
    EXPECT_NE(run.err.find(c.message), std::string::npos) << run.err;
    EXPECT_NE(run.err.find(c.namesInput ? input : scratch / c.output), std::string::npos) << run.err;
    EXPECT_TRUE(run.out.empty()) << run.out;
    for (const auto& entry : fs::recursive_directory_iterator(scratch.Path()))
        EXPECT_TRUE(entry.path().extension() != ".glb" && entry.path().extension() != ".gltf" &&
                    entry.path().extension() != ".bin")
            << entry.path() << " was written";
}

INSTANTIATE_TEST_SUITE_P(, GltfBadInput, ::testing::ValuesIn(s_bad),
                         [](const ::testing::TestParamInfo<BadCase>& info) { return info.param.name; });
} // namespace
