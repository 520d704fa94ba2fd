// The glTF writer on models built in code: the walker of the generic tests (skinned and rigid meshes,
// markers, a camera, two animations) read back and set against the model as a viewer would draw it,
// and one-triangle models for the materials and the refusals.
#include "image/imagetypes.h"
#include "model/file/generic/generic_model_fixture.h"
#include "model/file/gltf/gltf_reading.h"
#include "model/file/gltf/gltfwriter.h"
#include "model/shader/textureimages.h"

#include <gtest/gtest.h>
#include <png.h>

#include <cmath>
#include <set>

using namespace generic_test;
using namespace gltf_test;

namespace
{
GltfFile WriteGlb(const RenderModel& model)
{
    gltf::Document document;
    std::string error;
    EXPECT_TRUE(gltf::Write(model, gltf::WriteOptions(), document, error)) << error;
    return ParseGlb(std::string(document.file.begin(), document.file.end()));
}

// A row-vector matrix of the game as glTF's column-major one, mirrored into glTF's axes (x turned).
Mat4 Mirrored(const ra::Matrix34& m)
{
    const double sign[3] = {-1, 1, 1};
    Mat4 out = Identity4;
    for (size_t r = 0; r < 4; ++r)
        for (size_t c = 0; c < 3; ++c)
            out[r * 4 + c] = (r < 3 ? sign[r] : 1.0) * sign[c] * (&m.r[r].x)[c];
    return out;
}

void ExpectNear(const Mat4& a, const Mat4& b, const std::string& what)
{
    for (size_t i = 0; i < 16; ++i)
        EXPECT_NEAR(a[i], b[i], 1e-5) << what << " element " << i;
}

class GltfWalker : public ::testing::Test
{
protected:
    model_test::Env m_env;
    std::unique_ptr<RenderModel> m_pWalker = BuildWalker();
    GltfFile m_file = WriteGlb(*m_pWalker);
};
} // namespace

// What a viewer skins a vertex with, a joint's posed world matrix after its inverse bind matrix, is
// at every key of every animation the game's (inverse reference matrix, then posed matrix) mirrored.
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
            for (int32 b = 0; b < skeleton.GetBoneCount(); ++b)
            {
                const Bone& bone = *skeleton.GetBone(b);
                ra::Vec3 position = bone.GetPosition();
                ra::Quat rotation = bone.GetRotation();
                AnimHints hints;
                if (anim.FindBone(bone.GetName()) >= 0)
                    anim.EvaluateBone(anim.FindBone(bone.GetName()), float(time * scale), false, position,
                                      rotation, hints);
                game[size_t(b)] = ra::MatrixFromQuatPos(rotation, position);
                if (bone.GetParentIndex() >= 0)
                    game[size_t(b)] = game[size_t(b)] * game[size_t(bone.GetParentIndex())];
                Mat4 ibm;
                std::copy(inverse[size_t(b)].begin(), inverse[size_t(b)].end(), ibm.begin());
                ExpectNear(Mul(world[FindNode(m_file.doc, ra::GetNameText(bone.GetName()))], ibm),
                           Mirrored(bone.GetInvWorldMatrix() * game[size_t(b)]),
                           std::string(ra::GetNameText(anim.GetName())) + " at " + std::to_string(time) +
                               " " + ra::GetNameText(bone.GetName()));
            }
        }
    }
}

TEST_F(GltfWalker, RigidMeshesMarkersAndCamerasStandWhereTheModelPutsThem)
{
    const std::vector<Mat4> world = WorldMatrices(m_file.doc);
    // The gun's vertices are stored in the reference pose: under its bone, its node is at the origin.
    ExpectNear(world[FindNode(m_file.doc, "gun")], Identity4, "gun");
    for (int32 m = 0; m < m_pWalker->GetCMarkerCount(); ++m)
    {
        ra::Matrix34 marker;
        ASSERT_TRUE(m_pWalker->GetMarkerWorldTransform(m, marker));
        const Mat4& written = world[FindNode(m_file.doc, ra::GetNameText(m_pWalker->GetCMarker(m).name))];
        for (size_t c = 0; c < 3; ++c)
            EXPECT_NEAR(written[12 + c], Mirrored(marker)[12 + c], 1e-5) << "marker " << m;
    }
    const RenderModelCamera& camera = m_pWalker->GetCCamera(0);
    const Json& lens = m_file.doc["cameras"][0]["perspective"];
    EXPECT_EQ(std::vector<float>(
                  {lens["yfov"].get<float>(), lens["znear"].get<float>(), lens["zfar"].get<float>()}),
              std::vector<float>({camera.fov, camera.nearClip, camera.farClip}));
    // A glTF camera looks along its -z, y up: from the position to the target.
    const Mat4& view = world[FindNode(m_file.doc, "portrait")];
    const Mat4 from = Mirrored(ra::MatrixFromQuatPos({}, camera.position));
    const Mat4 to = Mirrored(ra::MatrixFromQuatPos({}, camera.target));
    const double distance = std::hypot(to[12] - from[12], to[13] - from[13], to[14] - from[14]);
    for (size_t c = 0; c < 3; ++c)
    {
        EXPECT_NEAR(view[12 + c], from[12 + c], 1e-5);
        EXPECT_NEAR(-view[8 + c], (to[12 + c] - from[12 + c]) / distance, 1e-5);
    }
    EXPECT_GT(view[5], 0.0);
}

// The texture is a PNG, and the texel a viewer samples at a vertex's texture coordinate is the one
// the game samples there (rows top first in the PNG, v turned over to match).
TEST_F(GltfWalker, TexelsUnderEveryVertexAreTheGames)
{
    const ra::Mesh& body = *m_pWalker->GetMeshGroup()->GetMesh(0);
    const Texture& texture = *body.GetPrimSetShader(0)->GetTexture(Shader::CN_Diffuse).Get();
    const Json& primitive = m_file.doc["meshes"][0]["primitives"][0];
    const Json& material = m_file.doc["materials"][primitive["material"].get<size_t>()];
    const size_t source =
        m_file.doc["textures"][material["pbrMetallicRoughness"]["baseColorTexture"]["index"].get<size_t>()]
                  ["source"];
    const Json& image = m_file.doc["images"][source];
    ASSERT_EQ(image["mimeType"], "image/png");
    const Json& view = m_file.doc["bufferViews"][image["bufferView"].get<size_t>()];
    png_image png{};
    png.version = PNG_IMAGE_VERSION;
    ASSERT_TRUE(png_image_begin_read_from_memory(&png, m_file.bin.data() + view["byteOffset"].get<size_t>(),
                                                 view["byteLength"].get<size_t>()));
    png.format = PNG_FORMAT_RGBA;
    std::vector<uint8> pixels(PNG_IMAGE_SIZE(png));
    ASSERT_TRUE(png_image_finish_read(&png, nullptr, pixels.data(), 0, nullptr));
    const auto levels = TextureImages::ConvertToImages(*texture.GetTexture(), "skin");
    const auto& top = static_cast<const Image_RGBA32&>(*levels.at(0));
    ASSERT_EQ(std::make_pair(png.width, png.height), std::make_pair(top.GetWidth(), top.GetHeight()));

    std::vector<uint32> cWord;
    ASSERT_TRUE(ra::ReadStreamWords(*body.GetVertexSet(ra::Mesh::Poly_High), fr::VC_TexCoord0, cWord));
    const auto written = ReadAccessor(m_file, primitive["attributes"]["TEXCOORD_0"]);
    ASSERT_EQ(written.size() * 2, cWord.size());
    const double w = png.width, h = png.height, quarter = 0.25;
    for (size_t v = 0; v < written.size(); ++v)
    {
        float uv[2];
        std::memcpy(uv, &cWord[v * 2], 8);
        // A point a quarter texel inside, so that no sample falls on a texel's edge.
        const Colour& game = top[uint32(std::floor(uv[1] * h + quarter)) * png.width +
                                 uint32(std::floor(uv[0] * w + quarter))];
        const uint8* p = &pixels[(size_t(std::floor(written[v][1] * h - quarter)) * png.width +
                                  size_t(std::floor(written[v][0] * w + quarter))) *
                                 4];
        EXPECT_EQ((std::array<uint8, 4>{p[0], p[1], p[2], p[3]}),
                  (std::array<uint8, 4>{game.r, game.g, game.b, game.a}))
            << "vertex " << v;
    }
}

namespace
{
// A model of one triangle drawn with `shader`, its mesh skinned over `skinSlots` slots of one bone.
std::unique_ptr<RenderModel> OneTriangle(Inv::Reference<Shader> shader,
                                         const std::vector<uint16>& cIndex = {0, 1, 2}, uint32 skinSlots = 0)
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
        const char* alphaMode; // "" for none (opaque)
        double alphaCutoff;
    };
    const double r = 0x99 / 255.0, g = 0x33 / 255.0, b = 0x66 / 255.0;
    const auto texture = [](ShaderImp& s, int32 method)
    {
        s.SetMethod(Shader::CN_Diffuse, method);
        s.SetTexture(Shader::CN_Diffuse, AddPatternedTexture("art/skin", 4));
    };
    const Case cases[] = {
        {"RedIsTheLowByte",
         [](ShaderImp& s) { s.SetColour(Shader::CN_Diffuse, 0xFF663399); },
         {r, g, b, 1},
         false,
         "",
         0},
        {"BlendedIsBlend",
         [](ShaderImp& s)
         {
             s.SetBlend(Shader::Blend_SrcAlpha, Shader::Blend_InvSrcAlpha);
             s.SetColour(Shader::CN_Diffuse, 0x80FFFFFF);
         },
         {1, 1, 1, 0x80 / 255.0},
         false,
         "BLEND",
         0},
        {"OpacityScalesAlpha",
         [](ShaderImp& s) { s.SetColour(Shader::CN_Opacity, 0x40FFFFFF); },
         {1, 1, 1, 0x40 / 255.0},
         false,
         "",
         0},
        {"AlphaTestIsMask",
         [](ShaderImp& s) { s.SetAlphaRef(128); },
         {1, 1, 1, 1},
         false,
         "MASK",
         128 / 255.0},
        {"TextureIsWhiteTimesTheTexture",
         [&](ShaderImp& s)
         {
             texture(s, Shader::Method_Texture);
             s.SetColour(Shader::CN_Diffuse, 0xFF000000);
         },
         {1, 1, 1, 1},
         true,
         "",
         0},
        {"ModulateKeepsTheColour",
         [&](ShaderImp& s)
         {
             texture(s, Shader::Method_Modulate);
             s.SetColour(Shader::CN_Diffuse, 0xFF663399);
         },
         {r, g, b, 1},
         true,
         "",
         0},
        {"ColourMethodLeavesTheTextureOut",
         [&](ShaderImp& s) { texture(s, Shader::Method_Colour); },
         {1, 1, 1, 1},
         false,
         "",
         0},
    };
    for (const Case& c : cases)
    {
        SCOPED_TRACE(c.name);
        model_test::Env env;
        auto pShader = std::make_unique<ShaderImp>("paint");
        c.setUp(*pShader);
        const GltfFile file = WriteGlb(*OneTriangle(AddShaderImp(std::move(pShader))));
        const Json& material = file.doc["materials"].at(0);
        for (size_t i = 0; i < 4; ++i)
            EXPECT_NEAR(material["pbrMetallicRoughness"]["baseColorFactor"][i].get<double>(), c.baseColour[i],
                        1e-6);
        EXPECT_EQ(material["pbrMetallicRoughness"].contains("baseColorTexture"), c.texture);
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
        uint32 skinSlots; // the fixture's weights use slots 0 to 2
        bool emptyTexture;
        const char* error;   // "" when written
        const char* warning; // "" for none
    };
    const Case cases[] = {
        {"IndexPastTheVertices",
         {0, 1, 3},
         0,
         false,
         "mesh 'tri': index 3 out of range (the mesh has 3 vertices)",
         ""},
        {"SlotWithoutABone", {0, 1, 2}, 1, false, "mesh 'tri': vertex 0 is weighted to skin slot 1", ""},
        {"EverySlotABone", {0, 1, 2}, 3, false, "", ""},
        {"TextureWithoutPixels",
         {0, 1, 2},
         0,
         true,
         "",
         "texture 'art/empty' left out: it has no render texture"},
        {"OnlyDegenerateTriangles", {0, 0, 1}, 0, false, "", "mesh 'tri' left out: it has no triangles"},
    };
    for (const Case& c : cases)
    {
        SCOPED_TRACE(c.name);
        model_test::Env env;
        auto pShader = std::make_unique<ShaderImp>("paint");
        if (c.emptyTexture)
        {
            pShader->SetMethod(Shader::CN_Diffuse, Shader::Method_Texture);
            pShader->SetTexture(Shader::CN_Diffuse, Inv::Warehouse::Get()->Add(new Texture("art/empty")));
        }
        gltf::Document document;
        std::string error;
        EXPECT_EQ(gltf::Write(*OneTriangle(AddShaderImp(std::move(pShader)), c.cIndex, c.skinSlots),
                              gltf::WriteOptions(), document, error),
                  *c.error == '\0');
        EXPECT_NE(error.find(c.error), std::string::npos) << error;
        EXPECT_EQ(document.cWarning.empty() ? "" : document.cWarning[0], c.warning);
    }
}

TEST(GltfBase64, EncodesAsDataUrisTakeIt)
{
    using namespace std::string_literals;
    const std::pair<std::string, std::string> cases[] = {
        {"", ""},
        {"f", "Zg=="},
        {"fo", "Zm8="},
        {"foo", "Zm9v"},
        {"foob", "Zm9vYg=="},
        {"foobar", "Zm9vYmFy"},
        {"\xff\xfe\x00"s, "//4A"},
        {"\xfb\xff"s, "+/8="},
    };
    for (const auto& [plain, encoded] : cases)
        EXPECT_EQ(gltf::Base64(reinterpret_cast<const uint8*>(plain.data()), plain.size()), encoded) << plain;
}
