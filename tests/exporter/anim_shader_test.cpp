// Control streams of shaders: self illumination, opacity and diffuse amounts, and the UV offsets
// and scales of bitmap slots, sampled over three frames; and the whole path through assembly.
#include "anim_fixture.h"

#include "model/shader/shaderimp.h"

#include <algorithm>

namespace
{
using anim_test::AnimFixture;

const char* const s_Mesh =
    R"("object": {"class": "editableMesh", "mesh": {"vertices": [[0,0,0],[1,0,0],[0,1,0]], "faces": [[0,1,2]]}})";

// One bone, and one mesh per material, in the order given.
std::string MaterialScene(const std::string& textures, const std::vector<std::string>& materials)
{
    std::string json =
        R"({"frameRate": 30, "animationRange": [0, 2], "textures": [)" + textures + R"(], "materials": [)";
    for (size_t i = 0; i < materials.size(); ++i)
        json += (i ? ", " : "") + materials[i];
    json += R"(], "nodes": [{"name": "Root", "bone": true, "object": {"class": "box"}})";
    for (size_t i = 0; i < materials.size(); ++i)
        json += R"(, {"name": "Mesh)" + std::to_string(i) + R"(", "material": )" + std::to_string(i) + ", " +
                s_Mesh + "}";
    return json + "]}";
}

class AnimShaders : public AnimFixture
{
protected:
    // Starts the export and makes the shaders of every mesh, as the mesh stage does.
    void StartShaders(const std::string& json)
    {
        Start(json);
        const std::vector<bool> used{true};
        for (const MeshNode& mesh : m_pExport->GetMeshNodes())
        {
            std::vector<ShaderListEntry*> shaderList;
            m_pExport->CollectShaders(mesh.pNode, shaderList, m_options, &used);
        }
        // Only the sampling's own messages count below.
        SGMErrors::Get()->Clear();
    }

    ShaderImp& ShaderOf(size_t index) const { return *m_pExport->GetShaderList()[index]->pShader; }
};

const char* const s_OpacityWarning =
    "Warning : Material [Fade]: Material opacity not set to zero when animating "
    "texture opacity - exported file may not look the same.";
const char* const s_DiffuseWarning =
    "Warning : Material [Tint]: Material diffuse not set to black when "
    "animating texture diffuse amount - exported file may not look the same.";

TEST_F(AnimShaders, ScalarValuesAreClampedAndOnlyChangesMakeStreams)
{
    // Self illumination runs 1.5, 0.5, -0.2: clamped it is a straight line from 1 to 0. The
    // opacity stays at 0.7: no stream, and the channel's method is left as the shader had it.
    StartShaders(MaterialScene(
        "",
        {R"({"name": "Glow", "class": "standard", "selfIllum": {"frames": [1.5, 0.5, -0.2]}, "opacity": 0.7})"}));
    const int32 opacityMethod = ShaderOf(0).GetMethod(4);
    Anim* pAnim = Sample();
    ASSERT_NE(nullptr, pAnim);

    // The self illumination, then the mesh's visibility.
    ASSERT_EQ(2, pAnim->GetControlStreamCount());
    EXPECT_EQ((ControlInfo{ControlInfo::Target_Shader, 0, 3, 0}), pAnim->GetControlInfo(0));
    EXPECT_EQ((Keys{{0.0f, 1.0f}, {1.0f, 0.0f}}), KeysOf(pAnim->GetControlStream(0)));
    EXPECT_EQ(ControlInfo::Target_Mesh, pAnim->GetControlInfo(1).targetType);
    EXPECT_EQ(opacityMethod, ShaderOf(0).GetMethod(4));
    EXPECT_TRUE(Messages().empty());
}

TEST_F(AnimShaders, AnimatedMapAmountsSwitchTheChannelAndWarnWhenTheColourDiffers)
{
    struct Case
    {
        const char* what;
        std::string material;
        bool meshes;
        int32 channel;
        Keys keys;
        bool switched; // the channel's method becomes 3
        std::vector<std::string> messages;
    };
    const std::string fade =
        R"("maps": {"opacity": {"texmap": "Map", "amount": {"frames": [1, 0.5, 0.25]}}})";
    const std::string tint = R"("maps": {"diffuse": {"texmap": "Map", "amount": {"frames": [0, 0, 1]}}})";
    const Keys fading{{0, 1}, {0.5f, 0.5f}, {1, 0.25f}};
    // clang-format off
    const Case cases[] = {
        {"opacity not 0", R"({"name": "Fade", "class": "standard", "opacity": 1, )" + fade + "}", true, 4, fading, true, {s_OpacityWarning}},
        {"diffuse not black", R"({"name": "Tint", "class": "standard", "diffuse": [0.5, 0.5, 0.5], )" + tint + "}", true, 0, {{0, 0}, {0.5f, 0}, {1, 1}}, true, {s_DiffuseWarning}},
        {"opacity 0", R"({"name": "Fade", "class": "standard", "opacity": 0, )" + fade + "}", true, 4, fading, true, {}},
        {"black diffuse", R"({"name": "Tint", "class": "standard", "diffuse": [0, 0, 0], )" + tint + "}", true, 0, {{0, 0}, {0.5f, 0}, {1, 1}}, true, {}},
        {"animation only", R"({"name": "Fade", "class": "standard", "opacity": 1, )" + fade + "}", false, 4, fading, true, {}},
        // The map's amount does not move, so the material's own opacity is tried, and it moves.
        {"constant amount falls back to the opacity", R"({"name": "Fade", "class": "standard", "opacity": {"frames": [1, 0, 1]}, "maps": {"opacity": {"texmap": "Map", "amount": 0.5}}})", true, 4, {{0, 1}, {0.5f, 0}, {1, 1}}, false, {}},
    };
    // clang-format on
    for (const Case& c : cases)
    {
        SCOPED_TRACE(c.what);
        StartShaders(MaterialScene(R"({"name": "Map", "class": "bitmap", "file": "map.tga", "uvGen": null})",
                                   {c.material}));
        m_options.exportMeshes = c.meshes;
        const int32 method = ShaderOf(0).GetMethod(c.channel);
        Anim* pAnim = Sample();
        ASSERT_NE(nullptr, pAnim);
        const int stream = FindControl(*pAnim, ControlInfo::Target_Shader, 0, c.channel, 0);
        ASSERT_NE(-1, stream);
        EXPECT_EQ(c.keys, KeysOf(pAnim->GetControlStream(stream)));
        EXPECT_EQ(c.switched ? 3 : method, ShaderOf(0).GetMethod(c.channel));
        EXPECT_EQ(c.messages, Messages());
    }
}

TEST_F(AnimShaders, BitmapSlotsGiveOffsetAndScaleStreamsInChannelOrder)
{
    // Offsets change sign; scales are relative to the scale at time 0, less one. The map in the
    // self-illumination slot (channel 3) scrolls in U and stretches in V; the diffuse one (channel
    // 0) scrolls in V. A disabled slot gives nothing.
    StartShaders(MaterialScene(
        R"({"name": "Scroll", "class": "bitmap", "file": "scroll.tga",
            "uvGen": {"uOffset": {"frames": [0, 0.1, 0.2]}, "vTiling": {"frames": [2, 4, 8]}}},
           {"name": "Drift", "class": "bitmap", "file": "drift.tga",
            "uvGen": {"vOffset": {"frames": [0.5, 0, 0.5]}}},
           {"name": "Off", "class": "bitmap", "file": "off.tga",
            "uvGen": {"uOffset": {"frames": [0, 1, 2]}}})",
        {R"({"name": "Panel", "class": "standard",
             "maps": {"selfIllumination": {"texmap": "Scroll"}, "diffuse": {"texmap": "Drift"},
                      "specular": {"texmap": "Off", "enabled": false}}})"}));
    Anim* pAnim = Sample();
    ASSERT_NE(nullptr, pAnim);

    // Diffuse V offset, self-illumination U offset and V scale, then the mesh's visibility.
    ASSERT_EQ(4, pAnim->GetControlStreamCount());
    EXPECT_EQ((ControlInfo{ControlInfo::Target_Shader, 0, 0, ControlInfo::Parameter_OffsetV}),
              pAnim->GetControlInfo(0));
    EXPECT_EQ((Keys{{0.0f, -0.5f}, {0.5f, 0.0f}, {1.0f, -0.5f}}), KeysOf(pAnim->GetControlStream(0)));
    EXPECT_EQ((ControlInfo{ControlInfo::Target_Shader, 0, 3, ControlInfo::Parameter_OffsetU}),
              pAnim->GetControlInfo(1));
    const Keys scroll = KeysOf(pAnim->GetControlStream(1));
    ASSERT_EQ(2u, scroll.size());
    EXPECT_EQ(0.0f, scroll[0].second);
    EXPECT_FLOAT_EQ(-0.2f, scroll[1].second);
    // 2, 4, 8 over 2 is 1, 2, 4, less one: 0, 1, 3, a bend that stays.
    EXPECT_EQ((ControlInfo{ControlInfo::Target_Shader, 0, 3, ControlInfo::Parameter_ScaleV}),
              pAnim->GetControlInfo(2));
    EXPECT_EQ((Keys{{0.0f, 0.0f}, {0.5f, 1.0f}, {1.0f, 3.0f}}), KeysOf(pAnim->GetControlStream(2)));
    EXPECT_EQ(ControlInfo::Target_Mesh, pAnim->GetControlInfo(3).targetType);
}

TEST_F(AnimShaders, AssemblyNamesTheStreamsAfterShaderAndMesh)
{
    // The mesh stage makes the shaders; sampling and the final pass follow.
    Start(MaterialScene("", {R"({"name": "Glow", "class": "standard", "selfIllum": {"frames": [0, 0.5, 1]}})",
                             R"({"name": "Dull", "class": "standard"})"}));
    RenderModel* pModel = Build();
    ASSERT_NE(nullptr, pModel);
    ASSERT_EQ(1, pModel->GetAnimList()->GetAnimCount());
    const Anim* pAnim = pModel->GetAnimList()->GetAnim(0);
    ASSERT_EQ(3, pAnim->GetControlStreamCount());
    EXPECT_EQ(ra::MakeName("Glow"), pAnim->GetControlName(0));
    EXPECT_EQ(ra::MakeName("Mesh0"), pAnim->GetControlName(1));
    EXPECT_EQ(ra::MakeName("Mesh1"), pAnim->GetControlName(2));
    EXPECT_EQ((Keys{{0.0f, 0.0f}, {1.0f, 1.0f}}), KeysOf(pAnim->GetControlStream(0)));
}

TEST_F(AnimShaders, SceneWithoutBonesExportsNoAnimation)
{
    Start(R"({"frameRate": 30, "animationRange": [0, 2],
              "nodes": [{"name": "Mesh0", "visibility": {"frames": [1, 0, 1]}, )" +
          std::string(s_Mesh) + R"(}]})");
    ASSERT_TRUE(m_options.exportAnimation);
    RenderModel* pModel = Build();
    ASSERT_NE(nullptr, pModel);
    EXPECT_EQ(nullptr, pModel->GetSkeleton());
    EXPECT_EQ(0, pModel->GetAnimList()->GetAnimCount());
}
} // namespace
