// The glTF writer on models built in code: the walker of the generic tests (skinned and rigid meshes,
// markers, a camera, two animations) and small models of one shader each. What is written is read
// back and set against the model: the game's axes mirrored into glTF's, the winding turned, the
// skin's slots named by bone, the texture's rows as a PNG, the shader's blend as the alpha mode.
#include "model/file/generic/generic_model_fixture.h"
#include "model/file/gltf/gltf_reading.h"
#include "model/file/gltf/gltfwriter.h"
#include "image/imagetypes.h"
#include "model/mesh/vertexweight.h"
#include "model/shader/textureimages.h"

#include <gtest/gtest.h>
#include <png.h>

#include <set>

using namespace generic_test;
using namespace gltf_test;

namespace
{
// Game axes to glTF axes, as a viewer must see them: x mirrored, y up.
std::array<double, 3> Mirrored(const ra::Vec3& v)
{
    return {-double(v.x), double(v.y), double(v.z)};
}

void ExpectNear(const std::array<double, 3>& a, const std::array<double, 3>& b, double tolerance, const std::string& what)
{
    for (size_t i = 0; i < 3; ++i)
        EXPECT_NEAR(a[i], b[i], tolerance) << what << " [" << i << "]";
}

GltfFile WriteGlb(const RenderModel& model, std::vector<std::string>* pWarnings = nullptr)
{
    gltf::Document document;
    std::string error;
    EXPECT_TRUE(gltf::Write(model, gltf::WriteOptions(), document, error)) << error;
    if (pWarnings)
        *pWarnings = document.cWarning;
    return ParseGlb(std::string(document.file.begin(), document.file.end()));
}

std::vector<float> Stream(const ra::Mesh& mesh, uint32 component)
{
    std::vector<uint32> cWord;
    EXPECT_TRUE(ra::ReadStreamWords(*mesh.GetVertexSet(ra::Mesh::Poly_High), component, cWord));
    std::vector<float> cFloat(cWord.size());
    std::memcpy(cFloat.data(), cWord.data(), cWord.size() * 4);
    return cFloat;
}

const Json& MeshNamed(const GltfFile& file, const char* name)
{
    for (const Json& mesh : file.doc["meshes"])
        if (mesh["name"] == name)
            return mesh;
    ADD_FAILURE() << "no mesh " << name;
    static const Json s_none = Json::object();
    return s_none;
}

class GltfWalker : public ::testing::Test
{
protected:
    model_test::Env m_env;
    std::unique_ptr<RenderModel> m_pWalker = BuildWalker();
    GltfFile m_file = WriteGlb(*m_pWalker);
};
} // namespace

TEST_F(GltfWalker, BoneNodesStandInTheReferencePoseAndTheirInverseBindsUndoIt)
{
    const Skeleton& skeleton = *m_pWalker->GetSkeleton();
    const std::vector<Mat4> world = WorldMatrices(m_file.doc);
    const auto inverse = ReadAccessor(m_file, m_file.doc["skins"][0]["inverseBindMatrices"]);
    ASSERT_EQ(inverse.size(), size_t(skeleton.GetBoneCount()));
    for (int32 b = 0; b < skeleton.GetBoneCount(); ++b)
    {
        const std::string name = ra::GetNameText(skeleton.GetBone(b)->GetName());
        const int node = FindNode(m_file.doc, name);
        ASSERT_GE(node, 0);
        EXPECT_EQ(m_file.doc["skins"][0]["joints"][size_t(b)], node) << name;
        ExpectNear(Origin(world[size_t(node)]), Mirrored(skeleton.GetBone(b)->GetWorldMatrix().Translation()), 1e-5,
                   name);
        Mat4 ibm;
        std::copy(inverse[size_t(b)].begin(), inverse[size_t(b)].end(), ibm.begin());
        const Mat4 product = Mul(ibm, world[size_t(node)]);
        for (size_t i = 0; i < 16; ++i)
            EXPECT_NEAR(product[i], Identity4()[i], 1e-5) << name << " element " << i;
    }
    // The walker's left arm is on the game's -x; facing glTF's +z, the left is +x.
    EXPECT_GT(Origin(world[size_t(FindNode(m_file.doc, "arm_l"))])[0], 0.0);
}

TEST_F(GltfWalker, VertexStreamsAreTheModelsInGltfAxes)
{
    struct Case
    {
        const char* semantic;
        uint32 component;
        size_t width;
        std::function<std::vector<double>(const float*)> expected;
    };
    const Case cases[] = {
        {"POSITION", fr::VC_Position, 3, [](const float* p) { return std::vector<double>{-p[0], p[1], p[2]}; }},
        {"NORMAL", fr::VC_Normal, 3,
         [](const float* n)
         {
             const double length = std::sqrt(double(n[0]) * n[0] + double(n[1]) * n[1] + double(n[2]) * n[2]);
             return std::vector<double>{-n[0] / length, n[1] / length, n[2] / length};
         }},
        {"TEXCOORD_0", fr::VC_TexCoord0, 2, [](const float* t) { return std::vector<double>{t[0], 1.0 - t[1]}; }},
    };
    for (const char* meshName : {"body", "gun"})
    {
        const ra::Mesh& mesh = *m_pWalker->GetMeshGroup()->GetMesh(m_pWalker->GetMeshGroup()->FindMesh(ra::MakeName(meshName)));
        const Json& attributes = MeshNamed(m_file, meshName)["primitives"][0]["attributes"];
        for (const Case& c : cases)
        {
            const std::vector<float> model = Stream(mesh, c.component);
            const auto written = ReadAccessor(m_file, attributes[c.semantic]);
            ASSERT_EQ(written.size() * c.width, model.size()) << meshName << " " << c.semantic;
            for (size_t v = 0; v < written.size(); ++v)
            {
                const std::vector<double> expected = c.expected(&model[v * c.width]);
                for (size_t k = 0; k < c.width; ++k)
                    EXPECT_NEAR(written[v][k], expected[k], 1e-6) << meshName << " " << c.semantic << " vertex " << v;
            }
        }
    }
}

TEST_F(GltfWalker, TrianglesAreWoundTheOtherWayPerShader)
{
    const ra::Mesh& body = *m_pWalker->GetMeshGroup()->GetMesh(0);
    const Json& primitives = MeshNamed(m_file, "body")["primitives"];
    ASSERT_EQ(primitives.size(), size_t(body.GetPrimSetCount()));
    for (int32 p = 0; p < body.GetPrimSetCount(); ++p)
    {
        const fr::PrimSet& set = *body.GetPrimSet(p, ra::Mesh::Poly_High);
        std::vector<uint16> model(set.GetIndexCount());
        ASSERT_TRUE(set.ReadIndices(0, uint32(model.size()), model));
        const auto written = ReadAccessor(m_file, primitives[size_t(p)]["indices"]);
        ASSERT_EQ(written.size(), model.size());
        for (size_t i = 0; i < model.size(); i += 3)
        {
            EXPECT_EQ(written[i][0], model[i]);
            EXPECT_EQ(written[i + 1][0], model[i + 2]);
            EXPECT_EQ(written[i + 2][0], model[i + 1]);
        }
        const std::string shader = ra::GetNameText(body.GetPrimSetShader(p)->GetName());
        EXPECT_EQ(m_file.doc["materials"][primitives[size_t(p)]["material"].get<size_t>()]["name"], shader);
    }
}

TEST_F(GltfWalker, SkinWeightsGoToTheBonesTheirSlotsName)
{
    const ra::Mesh& body = *m_pWalker->GetMeshGroup()->GetMesh(0);
    const Json& attributes = MeshNamed(m_file, "body")["primitives"][0]["attributes"];
    const auto joints = ReadAccessor(m_file, attributes["JOINTS_0"]);
    const auto weights = ReadAccessor(m_file, attributes["WEIGHTS_0"]);
    const std::vector<float> packed = Stream(body, fr::VC_Weights);
    ASSERT_EQ(joints.size() * 4, packed.size());
    for (size_t v = 0; v < joints.size(); ++v)
    {
        uint8 slot[4];
        std::memcpy(slot, &packed[v * 4 + 3], 4);
        // The slots that hold a bone keep their weights, scaled to sum to 1.
        float kept = 0;
        for (size_t k = 0; k < 3; ++k)
            kept += slot[k] == VertexWeight::NoBone ? 0.0f : packed[v * 4 + k];
        std::map<std::string, double> expected, written;
        for (size_t k = 0; k < 3; ++k)
            if (slot[k] != VertexWeight::NoBone && packed[v * 4 + k] > 0)
                expected[ra::GetNameText(body.GetSkinnedTransformName(slot[k]))] += packed[v * 4 + k] / kept;
        for (size_t k = 0; k < 4; ++k)
            if (weights[v][k] > 0)
                written[m_file.doc["nodes"][size_t(joints[v][k])]["name"]] += weights[v][k];
        ASSERT_EQ(written.size(), expected.size()) << "vertex " << v;
        for (const auto& [bone, weight] : expected)
            EXPECT_NEAR(written[bone], weight, 1e-6) << "vertex " << v << " bone " << bone;
    }
}

TEST_F(GltfWalker, RigidMeshesMarkersAndCamerasStandWhereTheModelPutsThem)
{
    const std::vector<Mat4> world = WorldMatrices(m_file.doc);
    // The gun's vertices are stored where the reference pose puts them: under its bone, the node
    // comes out at the origin.
    const Mat4& gun = world[size_t(FindNode(m_file.doc, "gun"))];
    for (size_t i = 0; i < 16; ++i)
        EXPECT_NEAR(gun[i], Identity4()[i], 1e-5) << "gun element " << i;
    for (int32 m = 0; m < m_pWalker->GetCMarkerCount(); ++m)
    {
        ra::Matrix34 marker;
        ASSERT_TRUE(m_pWalker->GetMarkerWorldTransform(m, marker));
        const std::string name = ra::GetNameText(m_pWalker->GetCMarker(m).name);
        ExpectNear(Origin(world[size_t(FindNode(m_file.doc, name))]), Mirrored(marker.Translation()), 1e-5, name);
    }
    const RenderModelCamera& camera = m_pWalker->GetCCamera(0);
    const Json& node = m_file.doc["nodes"][size_t(FindNode(m_file.doc, "portrait"))];
    const Json& lens = m_file.doc["cameras"][node["camera"].get<size_t>()]["perspective"];
    EXPECT_FLOAT_EQ(lens["yfov"].get<float>(), camera.fov);
    EXPECT_FLOAT_EQ(lens["znear"].get<float>(), camera.nearClip);
    EXPECT_FLOAT_EQ(lens["zfar"].get<float>(), camera.farClip);
    // A glTF camera looks along its -z: from its position to its target.
    const Mat4& view = world[size_t(FindNode(m_file.doc, "portrait"))];
    const auto from = Mirrored(camera.position), to = Mirrored(camera.target);
    ExpectNear(Origin(view), from, 1e-5, "camera position");
    const double distance = std::sqrt(std::pow(to[0] - from[0], 2) + std::pow(to[1] - from[1], 2) + std::pow(to[2] - from[2], 2));
    ExpectNear({-view[8], -view[9], -view[10]},
               {(to[0] - from[0]) / distance, (to[1] - from[1]) / distance, (to[2] - from[2]) / distance}, 1e-5,
               "camera direction");
    EXPECT_GT(view[5], 0.0) << "the camera's up is up";
}

// What a viewer draws a skinned vertex with: a joint's posed world matrix after its inverse bind
// matrix. At every key of every animation that is the game's skin matrix (the bone's inverse
// reference matrix, then its posed matrix), mirrored into glTF's axes.
TEST_F(GltfWalker, PosedSkinMatricesAreTheGamesAtEveryKey)
{
    const AnimList& list = *m_pWalker->GetAnimList();
    const Skeleton& skeleton = *m_pWalker->GetSkeleton();
    const auto inverse = ReadAccessor(m_file, m_file.doc["skins"][0]["inverseBindMatrices"]);
    ASSERT_EQ(m_file.doc["animations"].size(), size_t(list.GetAnimCount()));
    for (int a = 0; a < list.GetAnimCount(); ++a)
    {
        const Anim& anim = *list.GetAnim(a);
        const Json& animation = m_file.doc["animations"][size_t(a)];
        EXPECT_EQ(animation["name"], ra::GetNameText(anim.GetName()));
        std::set<double> times;
        for (const Json& sampler : animation["samplers"])
            for (const auto& t : ReadAccessor(m_file, sampler["input"]))
                times.insert(t[0]);
        ASSERT_GE(times.size(), 2u);
        EXPECT_NEAR(*times.rbegin(), anim.GetTime() * (anim.GetFrameCount() - 1) / anim.GetFrameCount(), 1e-6);
        for (double time : times)
        {
            SCOPED_TRACE(std::string(ra::GetNameText(anim.GetName())) + " at " + std::to_string(time));
            // The glTF pose: each channel's key at this time on its node.
            Json posed = m_file.doc;
            for (const Json& channel : animation["channels"])
            {
                const Json& sampler = animation["samplers"][channel["sampler"].get<size_t>()];
                const auto keys = ReadAccessor(m_file, sampler["input"]);
                const auto values = ReadAccessor(m_file, sampler["output"]);
                for (size_t k = 0; k < keys.size(); ++k)
                    if (std::abs(keys[k][0] - time) < 1e-6)
                        posed["nodes"][channel["target"]["node"].get<size_t>()][channel["target"]["path"].get<std::string>()] =
                            values[k];
            }
            const std::vector<Mat4> world = WorldMatrices(posed);
            // The game's pose at the same time, parents first.
            std::vector<ra::Matrix34> game(size_t(skeleton.GetBoneCount()));
            for (int32 b = 0; b < skeleton.GetBoneCount(); ++b)
            {
                const Bone& bone = *skeleton.GetBone(b);
                ra::Vec3 position = bone.GetPosition();
                ra::Quat rotation = bone.GetRotation();
                AnimHints hints;
                const int stream = anim.FindBone(bone.GetName());
                // glTF's time runs to the last frame; the game's length holds that frame's own too.
                const float gameTime = float(time) * float(anim.GetFrameCount()) / float(anim.GetFrameCount() - 1);
                if (stream >= 0)
                    anim.EvaluateBone(stream, gameTime, false, position, rotation, hints);
                game[size_t(b)] = ra::MatrixFromQuatPos(rotation, position);
                if (bone.GetParentIndex() >= 0)
                    game[size_t(b)] = game[size_t(b)] * game[size_t(bone.GetParentIndex())];
                const ra::Matrix34 skin = bone.GetInvWorldMatrix() * game[size_t(b)];
                Mat4 ibm;
                std::copy(inverse[size_t(b)].begin(), inverse[size_t(b)].end(), ibm.begin());
                const Mat4 written = Mul(world[size_t(b)], ibm);
                const double sign[3] = {-1, 1, 1};
                for (size_t r = 0; r < 4; ++r)
                    for (size_t c = 0; c < 3; ++c)
                        EXPECT_NEAR(written[r * 4 + c], (r < 3 ? sign[r] : 1.0) * sign[c] * (&skin.r[r].x)[c], 1e-5)
                            << ra::GetNameText(bone.GetName()) << " row " << r << " column " << c;
            }
        }
    }
}

TEST_F(GltfWalker, TexturesArePngsOfTheirTopLevelWithTheRowsReversed)
{
    const Json& images = m_file.doc["images"];
    ASSERT_EQ(images.size(), 2u);
    for (const Json& image : images)
    {
        const std::string name = image["name"];
        EXPECT_EQ(image["mimeType"], "image/png");
        const Json& view = m_file.doc["bufferViews"][image["bufferView"].get<size_t>()];
        png_image png{};
        png.version = PNG_IMAGE_VERSION;
        ASSERT_TRUE(png_image_begin_read_from_memory(&png, m_file.bin.data() + view["byteOffset"].get<size_t>(),
                                                     view["byteLength"].get<size_t>()))
            << name;
        png.format = PNG_FORMAT_RGBA;
        std::vector<uint8> pixels(PNG_IMAGE_SIZE(png));
        ASSERT_TRUE(png_image_finish_read(&png, nullptr, pixels.data(), 0, nullptr)) << name;

        const Texture* pTexture = nullptr;
        const ra::MeshGroup& group = *m_pWalker->GetMeshGroup();
        for (int32 s = 0; s < group.GetShaderCount(); ++s)
            if (const Texture* pDiffuse = group.GetShader(s)->GetTexture(Shader::CN_Diffuse).Get())
                if (name == pDiffuse->GetName())
                    pTexture = pDiffuse;
        ASSERT_NE(pTexture, nullptr) << name;
        const auto levels = TextureImages::ConvertToImages(*pTexture->GetTexture(), name.c_str());
        ASSERT_FALSE(levels.empty());
        const auto& top = static_cast<const Image_RGBA32&>(*levels[0]);
        ASSERT_EQ(png.width, top.GetWidth());
        ASSERT_EQ(png.height, top.GetHeight());
        for (uint32 y = 0; y < png.height; ++y)
            for (uint32 x = 0; x < png.width; ++x)
            {
                const Colour& c = top.GetPixels()[(png.height - 1 - y) * png.width + x];
                const uint8* p = &pixels[(size_t(y) * png.width + x) * 4];
                ASSERT_EQ((std::array<uint8, 4>{p[0], p[1], p[2], p[3]}), (std::array<uint8, 4>{c.r, c.g, c.b, c.a}))
                    << name << " pixel " << x << ", " << y;
            }
    }
}

namespace
{
// A model of one triangle drawn with `shader`.
std::unique_ptr<RenderModel> OneTriangle(Inv::Reference<Shader> shader, const std::vector<uint16>& cIndex = {0, 1, 2},
                                         uint32 skinSlots = 0)
{
    auto pModel = std::make_unique<RenderModel>("triangle");
    pModel->SetSkeleton(model_test::MakeSkeleton({{"root", -1, {0, 0, 0}, ra::Quat()}}));
    Inv::Reference<ra::Mesh> mesh = BuildMesh("tri", 3, skinSlots > 0, {{shader, cIndex}}, BoxAt(0, 0, 0, 1));
    mesh.Get()->SetSkinnedTransformCount(int32(skinSlots));
    for (uint32 i = 0; i < skinSlots; ++i)
    {
        mesh.Get()->SetSkinnedTransformName(int32(i), ra::MakeName("root"));
        mesh.Get()->SetSkinnedTransformIndex(int32(i), int32(i));
    }
    auto pGroup = std::make_unique<ra::MeshGroup>();
    pGroup->SetSkeleton(pModel->GetSkeleton());
    pGroup->SetMeshCount(1);
    pGroup->SetMesh(0, ra::MeshRef{mesh, ra::MakeName("tri"), ra::Name::INVALID, -1, {}});
    pGroup->ResolveSkinnedTransforms();
    pModel->SetMeshGroup(std::move(pGroup));
    return pModel;
}
} // namespace

TEST(GltfMaterial, ShaderColourTextureAndBlendBecomeTheMaterial)
{
    struct Case
    {
        const char* name;
        std::function<void(ShaderImp&)> setUp;
        std::array<double, 4> baseColour;
        bool texture;
        const char* alphaMode; // "" for none given (opaque)
        double alphaCutoff;
    };
    const double g = 0x33 / 255.0, b = 0x66 / 255.0, r = 0x99 / 255.0;
    const Case cases[] = {
        {"ColourIsRedGreenBlueFromTheLowByte", [](ShaderImp& s) { s.SetColour(Shader::CN_Diffuse, 0xFF663399); },
         {r, g, b, 1}, false, "", 0},
        {"BlendedAlphaIsBlend",
         [](ShaderImp& s)
         {
             s.SetBlend(Shader::Blend_SrcAlpha, Shader::Blend_InvSrcAlpha);
             s.SetColour(Shader::CN_Diffuse, 0x80FFFFFF);
         },
         {1, 1, 1, 0x80 / 255.0}, false, "BLEND", 0},
        {"OpacityScalesAlpha", [](ShaderImp& s) { s.SetColour(Shader::CN_Opacity, 0x40FFFFFF); },
         {1, 1, 1, 0x40 / 255.0}, false, "", 0},
        {"AlphaTestIsMask", [](ShaderImp& s) { s.SetAlphaRef(128); }, {1, 1, 1, 1}, false, "MASK", 128 / 255.0},
        {"TextureMethodIsWhiteTimesTheTexture",
         [](ShaderImp& s)
         {
             s.SetMethod(Shader::CN_Diffuse, Shader::Method_Texture);
             s.SetColour(Shader::CN_Diffuse, 0xFF000000);
             s.SetTexture(Shader::CN_Diffuse, AddPatternedTexture("art/skin", 4));
         },
         {1, 1, 1, 1}, true, "", 0},
        {"ModulateKeepsTheColour",
         [](ShaderImp& s)
         {
             s.SetMethod(Shader::CN_Diffuse, Shader::Method_Modulate);
             s.SetColour(Shader::CN_Diffuse, 0xFF663399);
             s.SetTexture(Shader::CN_Diffuse, AddPatternedTexture("art/skin", 4));
         },
         {r, g, b, 1}, true, "", 0},
        {"ColourMethodLeavesTheTextureOut",
         [](ShaderImp& s) { s.SetTexture(Shader::CN_Diffuse, AddPatternedTexture("art/skin", 4)); }, {1, 1, 1, 1},
         false, "", 0},
    };
    for (const Case& c : cases)
    {
        SCOPED_TRACE(c.name);
        model_test::Env env;
        auto pShader = std::make_unique<ShaderImp>("paint");
        c.setUp(*pShader);
        const GltfFile file = WriteGlb(*OneTriangle(AddShaderImp(std::move(pShader))));
        ASSERT_EQ(file.doc["materials"].size(), 1u);
        const Json& material = file.doc["materials"][0];
        EXPECT_EQ(material["name"], "paint");
        const Json& pbr = material["pbrMetallicRoughness"];
        for (size_t i = 0; i < 4; ++i)
            EXPECT_NEAR(pbr["baseColorFactor"][i].get<double>(), c.baseColour[i], 1e-6) << i;
        EXPECT_EQ(pbr.contains("baseColorTexture"), c.texture);
        EXPECT_EQ(file.doc.contains("images"), c.texture);
        EXPECT_EQ(material.value("alphaMode", ""), c.alphaMode);
        EXPECT_NEAR(material.value("alphaCutoff", 0.0), c.alphaCutoff, 1e-6);
    }
}

TEST(GltfRefusal, WhatNoViewerCouldReadIsRefusedAndWhatIsLeftOutIsWarned)
{
    struct Case
    {
        const char* name;
        std::vector<uint16> cIndex;
        uint32 skinSlots;
        bool textureWithoutPixels;
        const char* error;   // empty: written
        const char* warning; // empty: none
    };
    const Case cases[] = {
        {"IndexPastTheVertices", {0, 1, 3}, 0, false, "mesh 'tri': index 3 out of range (the mesh has 3 vertices)", ""},
        // The fixture's weights use slots 0 to 2; one slot names a bone, the others nothing.
        {"SlotWithoutABone", {0, 1, 2}, 1, false, "mesh 'tri': vertex 0 is weighted to skin slot 1", ""},
        {"AllSlotsNamed", {0, 1, 2}, 3, false, "", ""},
        {"TextureWithoutPixels", {0, 1, 2}, 0, true, "", "texture 'art/empty' left out: it has no render texture"},
        {"DegenerateTrianglesOnly", {0, 0, 1}, 0, false, "", "mesh 'tri' left out: it has no triangles"},
    };
    for (const Case& c : cases)
    {
        SCOPED_TRACE(c.name);
        model_test::Env env;
        auto pShader = std::make_unique<ShaderImp>("paint");
        if (c.textureWithoutPixels)
        {
            pShader->SetMethod(Shader::CN_Diffuse, Shader::Method_Texture);
            pShader->SetTexture(Shader::CN_Diffuse, Inv::Warehouse::Get()->Add(new Texture("art/empty")));
        }
        const std::unique_ptr<RenderModel> pModel = OneTriangle(AddShaderImp(std::move(pShader)), c.cIndex, c.skinSlots);
        gltf::Document document;
        std::string error;
        const bool written = gltf::Write(*pModel, gltf::WriteOptions(), document, error);
        EXPECT_EQ(written, *c.error == '\0');
        EXPECT_NE(error.find(c.error), std::string::npos) << error;
        const std::string warnings = document.cWarning.empty() ? "" : document.cWarning[0];
        EXPECT_EQ(warnings, c.warning);
    }
}

TEST(GltfBase64, EncodesAsDataUrisTakeIt)
{
    using namespace std::string_literals;
    const std::pair<std::string, std::string> cases[] = {
        {"", ""},         {"f", "Zg=="},        {"fo", "Zm8="},         {"foo", "Zm9v"},
        {"foob", "Zm9vYg=="}, {"foobar", "Zm9vYmFy"}, {"\xff\xfe\x00"s, "//4A"}, {"\xfb\xff"s, "+/8="},
    };
    for (const auto& [plain, encoded] : cases)
        EXPECT_EQ(gltf::Base64(reinterpret_cast<const uint8*>(plain.data()), plain.size()), encoded) << plain;
}
