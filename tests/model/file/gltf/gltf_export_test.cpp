// glTF read back as a viewer reads it and set against the model; `tq7z model export-gltf` end to end.
#include "image/imagetypes.h"
#include "model/file/generic/generic_model_fixture.h"
#include "model/file/generic/generic_test_util.h"
#include "model/file/generic/rendermodelloadgeneric.h"
#include "model/file/gltf/gltfwriter.h"
#include "model/shader/textureimages.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <png.h>

#include <bit>
#include <cmath>
#include <filesystem>
#include <map>
#include <numeric>
#include <set>

// <build>/tests/model/model_tests beside <build>/bin/tq7z.
static const auto s_build = std::filesystem::read_symlink("/proc/self/exe").parent_path() / "../..";
#define TQ7Z_BINARY (s_build / "bin/tq7z").string()
#include "support/runtool.h"

using namespace generic_test;
using Json = nlohmann::json;

namespace
{
namespace fs = std::filesystem;

const fs::path s_here = fs::path(__FILE__).parent_path();
const std::string s_walker = (s_here / "../../../../samples/models/walker.sgm").string();
const std::string s_scout =
    (s_here / "../../../../samples/project/art/source/units/scout/walk.json").string();

struct GltfFile
{
    Json doc;
    std::vector<uint8_t> bin;
};

GltfFile ParseGlb(const std::string& bytes)
{
    uint32_t word[4] = {}; // "glTF", version, length, the JSON chunk's length
    std::memcpy(word, bytes.data(), std::min<size_t>(bytes.size(), 16));
    if (word[0] != 0x46546C67u || word[2] != bytes.size() || bytes.size() < 28 + word[3])
        return ADD_FAILURE() << "not a .glb whose chunks fill it", GltfFile();
    return {Json::parse(bytes.substr(20, word[3])), {bytes.begin() + 28 + word[3], bytes.end()}};
}

// An accessor's elements, each as its components (floats, or unsigned bytes and shorts).
std::vector<std::vector<double>> ReadAccessor(const GltfFile& file, size_t index)
{
    const Json& accessor = file.doc["accessors"].at(index);
    const Json& view = file.doc["bufferViews"].at(accessor["bufferView"].get<size_t>());
    const std::string type = accessor["type"];
    const size_t components = type == "SCALAR" ? 1 : type == "MAT4" ? 16 : size_t(type.back() - '0');
    const int kind = accessor["componentType"];
    const size_t size = kind == 5126 ? 4 : kind == 5123 ? 2 : 1, count = accessor["count"];
    const size_t start = view.value("byteOffset", size_t(0)), length = view["byteLength"];
    std::vector<std::vector<double>> out(count, std::vector<double>(components));
    if (count * components * size > length || start + length > file.bin.size())
        return ADD_FAILURE() << "accessor " << index << " overruns its view or the buffer", decltype(out)();
    for (size_t i = 0; i < count * components; ++i)
    {
        uint32_t raw = 0;
        std::memcpy(&raw, file.bin.data() + start + i * size, size);
        out[i / components][i % components] = kind == 5126 ? double(std::bit_cast<float>(raw)) : raw;
    }
    return out;
}

// Column-vector 4x4 matrices, column-major as glTF stores them.
using Mat4 = std::array<double, 16>;
constexpr Mat4 Identity4 = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};

template <class MatrixT> Mat4 Mul(const Mat4& a, const MatrixT& b) // b: any 16 numbers
{
    Mat4 m{};
    for (size_t i = 0; i < 64; ++i) // column i / 16, row i / 4 % 4, term i % 4
        m[i / 16 * 4 + i / 4 % 4] += a[i % 4 * 4 + i / 4 % 4] * b[i / 16 * 4 + i % 4];
    return m;
}

// Every node's world matrix (T * R: the writer scales no node), walking down from the scene's roots.
std::vector<Mat4> WorldMatrices(const Json& doc)
{
    std::vector<Mat4> world(doc["nodes"].size(), Identity4);
    std::vector<std::pair<size_t, Mat4>> stack;
    for (size_t root : doc["scenes"][0]["nodes"])
        stack.push_back({root, Identity4});
    for (size_t reached = 0; !stack.empty() && reached <= world.size(); ++reached)
    {
        const auto [n, parent] = stack.back();
        stack.pop_back();
        const Json& node = doc["nodes"].at(n);
        const auto t = node.value("translation", std::vector<double>{0, 0, 0});
        const auto q = node.value("rotation", std::vector<double>{0, 0, 0, 1});
        const double x = q[0], y = q[1], z = q[2], w = q[3];
        // clang-format off
        world[n] = Mul(parent, Mat4{1 - 2 * (y * y + z * z), 2 * (x * y + z * w), 2 * (x * z - y * w), 0,
                                    2 * (x * y - z * w), 1 - 2 * (x * x + z * z), 2 * (y * z + x * w), 0,
                                    2 * (x * z + y * w), 2 * (y * z - x * w), 1 - 2 * (x * x + y * y), 0,
                                    t[0], t[1], t[2], 1});
        // clang-format on
        for (size_t child : node.value("children", std::vector<size_t>{}))
            stack.push_back({child, world[n]});
    }
    EXPECT_TRUE(stack.empty()) << "a node is reached twice";
    return world;
}

// A row-vector matrix of the game as glTF's column-major one, mirrored into glTF's axes (x turned).
Mat4 Mirrored(const ra::Matrix34& m)
{
    Mat4 out = Identity4;
    for (size_t i = 0; i < 12; ++i) // the game's row i / 3 is glTF's column i / 3
        out[i / 3 * 4 + i % 3] = (i / 3 == 0 ? -1 : 1) * (i % 3 == 0 ? -1 : 1) * (&m.r[i / 3].x)[i % 3];
    return out;
}

class GltfWalker : public ::testing::Test
{
protected:
    void SetUp() override
    {
        gltf::Document document;
        std::string error;
        ASSERT_TRUE(gltf::Write(*m_pWalker, gltf::WriteOptions(), document, error)) << error;
        m_file = ParseGlb(std::string(document.file.begin(), document.file.end()));
    }

    model_test::Env m_env;
    std::unique_ptr<RenderModel> m_pWalker = BuildWalker();
    GltfFile m_file;
};

// At every key, each joint's world matrix after its inverse bind matrix is the game's skin matrix, mirrored.
TEST_F(GltfWalker, PosedSkinMatricesAreTheGamesAtEveryKey)
{
    const AnimList& list = *m_pWalker->GetAnimList();
    const Skeleton& skeleton = *m_pWalker->GetSkeleton();
    const auto inverse = ReadAccessor(m_file, m_file.doc["skins"][0]["inverseBindMatrices"]);
    const Json& joints = m_file.doc["skins"][0]["joints"];
    ASSERT_EQ(joints.size(), size_t(skeleton.GetBoneCount()));
    ASSERT_EQ(m_file.doc["animations"].size(), size_t(list.GetAnimCount()));
    for (int a = 0; a < list.GetAnimCount(); ++a)
    {
        const Anim& anim = *list.GetAnim(a);
        const Json& animation = m_file.doc["animations"][size_t(a)];
        std::set<double> times;
        for (const Json& sampler : animation["samplers"])
            for (const auto& t : ReadAccessor(m_file, sampler["input"]))
                times.insert(t[0]);
        // glTF's time runs to the last frame; the game's length holds that frame's own too.
        const double scale = double(anim.GetFrameCount()) / (anim.GetFrameCount() - 1);
        ASSERT_NEAR(*times.rbegin() * scale, anim.GetTime(), 1e-6);
        for (double time : times)
        {
            Json posed = m_file.doc;
            for (const Json& channel : animation["channels"])
            {
                const Json& sampler = animation["samplers"][channel["sampler"].get<size_t>()];
                const auto keys = ReadAccessor(m_file, sampler["input"]);
                for (size_t k = 0; k < keys.size(); ++k)
                    if (std::abs(keys[k][0] - time) < 1e-6)
                        posed["nodes"][channel["target"]["node"].get<size_t>()]
                             [channel["target"]["path"].get<std::string>()] =
                                 ReadAccessor(m_file, sampler["output"])[k];
            }
            const std::vector<Mat4> world = WorldMatrices(posed);
            std::vector<ra::Matrix34> game(size_t(skeleton.GetBoneCount()));
            for (size_t b = 0; b < game.size(); ++b)
            {
                const Bone& bone = *skeleton.GetBone(int32(b));
                const std::string name = ra::GetNameText(bone.GetName());
                ASSERT_EQ(m_file.doc["nodes"][joints[b].get<size_t>()]["name"], name);
                ra::Vec3 position = bone.GetPosition();
                ra::Quat rotation = bone.GetRotation();
                AnimHints hints;
                if (anim.FindBone(bone.GetName()) >= 0)
                    anim.EvaluateBone(anim.FindBone(bone.GetName()), float(time * scale), false, position,
                                      rotation, hints);
                game[b] = ra::MatrixFromQuatPos(rotation, position);
                if (bone.GetParentIndex() >= 0)
                    game[b] = game[b] * game[size_t(bone.GetParentIndex())];
                const Mat4 viewer = Mul(world[joints[b].get<size_t>()], inverse[b]),
                           expected = Mirrored(bone.GetInvWorldMatrix() * game[b]);
                for (size_t i = 0; i < 16; ++i)
                    EXPECT_NEAR(viewer[i], expected[i], 1e-5) << name << " at " << time;
            }
        }
    }
}

// The PNG's texel at each vertex's coordinate is the game's there (rows top first, v turned over).
TEST_F(GltfWalker, TexelsUnderEveryVertexAreTheGames)
{
    const ra::Mesh& body = *m_pWalker->GetMeshGroup()->GetMesh(0);
    const Json &doc = m_file.doc, &primitive = doc["meshes"][0]["primitives"][0];
    const Json& material = doc["materials"][primitive["material"].get<size_t>()]["pbrMetallicRoughness"];
    const Json& texture = doc["textures"][material["baseColorTexture"]["index"].get<size_t>()];
    const Json& view =
        doc["bufferViews"][doc["images"][texture["source"].get<size_t>()]["bufferView"].get<size_t>()];
    png_image png{};
    png.version = PNG_IMAGE_VERSION;
    ASSERT_TRUE(png_image_begin_read_from_memory(&png, m_file.bin.data() + view["byteOffset"].get<size_t>(),
                                                 view["byteLength"].get<size_t>()));
    png.format = PNG_FORMAT_RGBA;
    std::vector<uint8> pixels(PNG_IMAGE_SIZE(png));
    ASSERT_TRUE(png_image_finish_read(&png, nullptr, pixels.data(), 0, nullptr));
    const auto levels = TextureImages::ConvertToImages(
        *body.GetPrimSetShader(0)->GetTexture(Shader::CN_Diffuse).Get()->GetTexture(), "skin");
    const auto& top = static_cast<const Image_RGBA32&>(*levels.at(0));
    ASSERT_EQ(std::make_pair(png.width, png.height), std::make_pair(top.GetWidth(), top.GetHeight()));
    std::vector<uint32> cWord;
    ASSERT_TRUE(ra::ReadStreamWords(*body.GetVertexSet(ra::Mesh::Poly_High), fr::VC_TexCoord0, cWord));
    const auto written = ReadAccessor(m_file, primitive["attributes"]["TEXCOORD_0"]);
    ASSERT_EQ(written.size() * 2, cWord.size());
    // The texel a quarter texel inside (the viewer's v down, the game's up), so that none is on an edge.
    const auto texel = [&png](double u, double v, double quarter)
    { return size_t(std::floor(v * png.height + quarter)) * png.width + size_t(u * png.width + 0.25); };
    for (size_t v = 0; v < written.size(); ++v)
    {
        float uv[2];
        std::memcpy(uv, &cWord[v * 2], 8);
        const Colour& game = top[uint32(texel(uv[0], uv[1], 0.25))];
        const uint8* p = &pixels[texel(written[v][0], written[v][1], -0.25) * 4];
        EXPECT_EQ((std::array<uint8, 4>{p[0], p[1], p[2], p[3]}),
                  (std::array<uint8, 4>{game.r, game.g, game.b, game.a}))
            << "vertex " << v;
    }
}

// Runs tq7z, which must succeed, and gives its last argument: the file it made.
std::string Made(const std::vector<std::string>& args)
{
    const ToolRun run = RunTool(args);
    EXPECT_EQ(run.status, 0) << args[0] << " " << args[1] << ": " << run.err;
    return args.back();
}

using GltfForms = ::testing::TestWithParam<const char*>;

// What a viewer relies on; the Khronos validator over each container (embedded: a Base64 data URI) when
// there are Node.js and the npm package, in <build>/gltf-validator (scripts/test.sh) or TQ7Z_GLTF_VALIDATOR.
TEST_P(GltfForms, HoldsWhatAViewerReliesOnAndPassesTheValidator)
{
    TempFolder scratch;
    const std::string form = GetParam();
    std::string model = form == "WalkerGeneric" ? s_walker : Made({"export", s_scout, scratch / "s.sgm"});
    if (form == "ScoutFinalDxt1")
        model = Made({"model", "convert", "--dxt", "1", model, scratch / "s.tqm"});
    const char* folder = std::getenv("TQ7Z_GLTF_VALIDATOR");
    const fs::path modules = (folder ? fs::path(folder) : s_build / "gltf-validator") / "node_modules";
    const bool validator =
        std::system("command -v node >/dev/null 2>&1") == 0 && fs::exists(modules / "gltf-validator");
    for (const std::string out : {"out.glb", "beside/out.gltf", "embedded.gltf --embed"})
    {
        std::vector<std::string> args = Words(scratch / out);
        args.insert(args.begin(), {"model", "export-gltf", model});
        Made(args);
        const std::string validate = "NODE_PATH=" + Quote(modules) + " node " +
                                     Quote(s_here / "validate.js") + " " + Quote(args[3]) + " >" +
                                     Quote(scratch / "report") + " 2>&1";
        EXPECT_TRUE(!validator || std::system(validate.c_str()) == 0) // the report: error counts, messages
            << out << ": " << TempFolder::Read(scratch / "report");
    }
    const GltfFile file = ParseGlb(TempFolder::Read(scratch / "out.glb"));
    for (const Json& mesh : file.doc["meshes"])
        for (const Json& primitive : mesh["primitives"])
        {
            const Json& attributes = primitive["attributes"];
            const auto positions = ReadAccessor(file, attributes["POSITION"]);
            const auto normals = ReadAccessor(file, attributes.at("NORMAL"));
            const auto indices = ReadAccessor(file, primitive["indices"]);
            // Front faces wind counter-clockwise, as the normals say (the walker's are counting numbers).
            for (size_t t = 0; t + 2 < indices.size() && form != "WalkerGeneric"; t += 3)
            {
                const auto corner = [&](size_t k) { return positions.at(size_t(indices[t + k][0])); };
                const auto a = corner(0), b = corner(1), c = corner(2);
                double dot = 0;
                for (size_t k = 0; k < 9; ++k)
                {
                    const size_t i = k % 3, j = (k + 1) % 3, l = (k + 2) % 3;
                    dot += ((b[j] - a[j]) * (c[l] - a[l]) - (b[l] - a[l]) * (c[j] - a[j])) *
                           normals[size_t(indices[t + k / 3][0])][i];
                }
                EXPECT_GT(dot, 0.0) << mesh["name"] << " triangle " << t / 3;
            }
            if (!attributes.contains("JOINTS_0"))
                continue;
            const auto slots = ReadAccessor(file, attributes["JOINTS_0"]);
            const size_t joints = file.doc["skins"][0]["joints"].size();
            const auto weights = ReadAccessor(file, attributes.at("WEIGHTS_0"));
            for (size_t v = 0; v < slots.size(); ++v)
                EXPECT_TRUE(*std::max_element(slots[v].begin(), slots[v].end()) < joints &&
                            *std::min_element(weights[v].begin(), weights[v].end()) >= 0 &&
                            std::abs(std::accumulate(weights[v].begin(), weights[v].end(), -1.0)) < 1e-5)
                    << "vertex " << v;
        }

    if (!validator)
        GTEST_SKIP()
            << "the glTF validator was not run: it needs Node.js, and the npm package gltf-validator in "
            << modules << " (scripts/test.sh installs the package when npm is there)";
}

INSTANTIATE_TEST_SUITE_P(, GltfForms,
                         ::testing::Values("WalkerGeneric", "ScoutIntermediate", "ScoutFinalDxt1"),
                         [](const auto& info) { return std::string(info.param); });

TEST(GltfBadInput, FailsWithAMessageAndWritesNothing)
{
    // The input ("" for the walker, and then the output is at fault and named), output, status, message.
    const std::tuple<const char*, const char*, int, const char*> cases[] = {
        {"missing.sgm", "out.glb", 1, "no such file"},
        {"cut.sgm", "out.glb", 1, "Read past the Chunk end"},
        {"", "out.obj", 2, "writes .glb or .gltf, not '.obj'"},
        {"", "out.glb --embed", 2, "--embed is for a .gltf"},
        {"", "file.txt/out.glb", 1, "cannot be written"},
    };
    for (const auto& [input, output, status, message] : cases)
    {
        TempFolder scratch;
        scratch.Write("file.txt", "a file where a folder would be");
        scratch.Write("cut.sgm", TempFolder::Read(s_walker).substr(0, 60));
        std::vector<std::string> args = Words(scratch / output);
        args.insert(args.begin(), {"model", "export-gltf", *input ? scratch / input : s_walker});
        const ToolRun run = RunTool(args);
        EXPECT_EQ(run.status, status) << run.err;
        EXPECT_NE(run.err.find(message), std::string::npos) << run.err;
        EXPECT_NE(run.err.find(args[*input ? 2 : 3]), std::string::npos) << run.err;
        EXPECT_EQ(run.out, "");
        for (const auto& entry : fs::recursive_directory_iterator(scratch.Path()))
            EXPECT_TRUE(entry.path().extension() == ".txt" || entry.path().extension() == ".sgm")
                << entry.path();
    }
}

// A model's bones, skin weights by bone name and animation keys as named numbers, in any order.
std::map<std::string, float> Numbers(const RenderModel& model)
{
    std::map<std::string, float> out;
    const auto add = [&out](const std::string& what, const float* p, size_t n)
    {
        for (size_t i = 0; i < n; ++i)
            out[what + " " + std::to_string(i)] += p[i];
    };
    // A key is its time and its value, floats one after the other.
    const auto keys = [&add](const std::string& what, const auto* p)
    {
        add(what, p ? reinterpret_cast<const float*>(p->GetKeyData()) : nullptr,
            p ? p->GetKeyDataSize() / 4 : 0);
    };
    const Skeleton& skeleton = *model.GetSkeleton();
    for (int32 b = 0; b < skeleton.GetBoneCount(); ++b)
    {
        const Bone& bone = *skeleton.GetBone(b);
        const std::string name = ra::GetNameText(bone.GetName());
        out[name + " parent"] = float(bone.GetParentIndex());
        add(name + " position", &bone.GetPosition().x, 3);
        add(name + " rotation", &bone.GetRotation().x, 4);
    }
    for (int32 m = 0; m < model.GetMeshGroup()->GetMeshCount(); ++m)
    {
        const ra::Mesh& mesh = *model.GetMeshGroup()->GetMesh(m);
        const std::string name =
            "weight " + std::string(ra::GetNameText(model.GetMeshGroup()->GetMeshName(m))) + " ";
        std::vector<uint32> cWord;
        ra::ReadStreamWords(*mesh.GetVertexSet(ra::Mesh::Poly_High), fr::VC_Weights, cWord);
        for (size_t v = 0; v + 3 < cWord.size(); v += 4)
        {
            float weight[4];
            std::memcpy(weight, &cWord[v], 12);
            weight[3] = 1.0f - weight[0] - weight[1] - weight[2];
            const uint8* slot = reinterpret_cast<const uint8*>(&cWord[v + 3]);
            for (size_t k = 0; k < 4; ++k)
                for (int32 s = 0; s < mesh.GetSkinnedTransformCount() && weight[k] > 1e-4f; ++s)
                    if (mesh.GetSkinnedTransformIndex(s) == slot[k]) // no bone, 0xFF, is none of them
                        out[name + std::to_string(v / 4) + " " +
                            ra::GetNameText(mesh.GetSkinnedTransformName(s))] += weight[k];
        }
    }
    const AnimList& list = *model.GetAnimList();
    for (int a = 0; a < list.GetAnimCount(); ++a)
    {
        const Anim& anim = *list.GetAnim(a);
        const float length[2] = {float(anim.GetFrameCount()), anim.GetTime()};
        add("animation " + std::to_string(a), length, 2); // named after its file: by place
        for (int b = 0; b < anim.GetBoneCount(); ++b)
        {
            const std::string bone = std::to_string(a) + " " + ra::GetNameText(anim.GetBoneName(b));
            keys(bone + " moves", anim.GetPositionStream(b));
            keys(bone + " turns", anim.GetRotationStream(b));
        }
    }
    return out;
}

// Scene -> model -> glTF -> model through the import host keeps bones, skin weights and keys.
TEST(GltfRoundTrip, SceneModelGltfModelKeepsBonesWeightsAndKeys)
{
    RegisteredLoaders loaders;
    model_test::Env env;
    MountedFolder folder("ROUNDTRIP");
    const std::string first = Made({"export", s_scout, folder.Path() + "/first.sgm"});
    Made({"export", Made({"model", "export-gltf", first, first + ".glb"}), folder.Path() + "/second.sgm"});
    const std::unique_ptr<RenderModel> pA = RenderModelLoadGeneric::Load("ROUNDTRIP:first.sgm", true),
                                       pB = RenderModelLoadGeneric::Load("ROUNDTRIP:second.sgm", true);
    ASSERT_TRUE(pA && pB);
    const std::map<std::string, float> a = Numbers(*pA), b = Numbers(*pB);
    EXPECT_EQ(a.size(), b.size());
    for (const auto& [what, value] : a)
        EXPECT_NEAR(b.count(what) ? b.at(what) : NAN, value, 1e-4f) << what;
    EXPECT_TRUE(a.lower_bound("weight ") != a.end() && a.lower_bound("weight ")->first.starts_with("weight "))
        << "the scene has a skin";
}
} // namespace
