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

    static bool HasMessage(const std::string& text)
    {
        const std::vector<std::string>& messages = Messages();
        return std::any_of(messages.begin(), messages.end(),
                           [&](const std::string& m) { return m.find(text) != std::string::npos; });
    }
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

TEST_F(AnimShaders, AnimatedMapAmountsSwitchTheChannelAndWarn)
{
    StartShaders(MaterialScene(
        R"({"name": "FadeMap", "class": "bitmap", "file": "fade.tga", "uvGen": null},
           {"name": "TintMap", "class": "bitmap", "file": "tint.tga", "uvGen": null})",
        {R"({"name": "Fade", "class": "standard", "opacity": 1,
             "maps": {"opacity": {"texmap": "FadeMap", "amount": {"frames": [1, 0.5, 0.25]}}}})",
         R"({"name": "Tint", "class": "standard", "diffuse": [0.5, 0.5, 0.5],
             "maps": {"diffuse": {"texmap": "TintMap", "amount": {"frames": [0, 0, 1]}}}})"}));
    Anim* pAnim = Sample();
    ASSERT_NE(nullptr, pAnim);

    const int fade = FindControl(*pAnim, ControlInfo::Target_Shader, 0, 4, 0);
    ASSERT_NE(-1, fade);
    EXPECT_EQ((Keys{{0.0f, 1.0f}, {0.5f, 0.5f}, {1.0f, 0.25f}}), KeysOf(pAnim->GetControlStream(fade)));
    EXPECT_EQ(3, ShaderOf(0).GetMethod(4));

    const int tint = FindControl(*pAnim, ControlInfo::Target_Shader, 1, 0, 0);
    ASSERT_NE(-1, tint);
    EXPECT_EQ((Keys{{0.0f, 0.0f}, {0.5f, 0.0f}, {1.0f, 1.0f}}), KeysOf(pAnim->GetControlStream(tint)));
    EXPECT_EQ(3, ShaderOf(1).GetMethod(0));

    EXPECT_TRUE(HasMessage(s_OpacityWarning));
    EXPECT_TRUE(HasMessage(s_DiffuseWarning));
    EXPECT_EQ(2, SGMErrors::Get()->GetWarningCount());
}

TEST_F(AnimShaders, MaterialWarningsNeedMeshesAndAColourThatDiffers)
{
    // Opacity 0 and a black diffuse are what animated amounts expect: no warning, methods switch.
    StartShaders(MaterialScene(R"({"name": "Map", "class": "bitmap", "file": "map.tga", "uvGen": null})",
                               {R"({"name": "Fade", "class": "standard", "opacity": 0, "diffuse": [0, 0, 0],
             "maps": {"opacity": {"texmap": "Map", "amount": {"frames": [1, 0.5, 0.25]}},
                      "diffuse": {"texmap": "Map", "amount": {"frames": [1, 0.5, 0.25]}}}})"}));
    ASSERT_NE(nullptr, Sample());
    EXPECT_EQ(3, ShaderOf(0).GetMethod(4));
    EXPECT_EQ(3, ShaderOf(0).GetMethod(0));
    EXPECT_TRUE(Messages().empty());
}

TEST_F(AnimShaders, NoWarningsInAnAnimationOnlyExport)
{
    StartShaders(MaterialScene(R"({"name": "FadeMap", "class": "bitmap", "file": "fade.tga", "uvGen": null})",
                               {R"({"name": "Fade", "class": "standard", "opacity": 1,
             "maps": {"opacity": {"texmap": "FadeMap", "amount": {"frames": [1, 0.5, 0.25]}}}})"}));
    m_options.exportMeshes = false;
    ASSERT_NE(nullptr, Sample());
    EXPECT_EQ(3, ShaderOf(0).GetMethod(4));
    EXPECT_TRUE(Messages().empty());
}

TEST_F(AnimShaders, ConstantMapAmountFallsBackToTheOpacity)
{
    // The map's amount does not move, so the material's own opacity is tried, and it moves.
    StartShaders(MaterialScene(R"({"name": "FadeMap", "class": "bitmap", "file": "fade.tga", "uvGen": null})",
                               {R"({"name": "Fade", "class": "standard", "opacity": {"frames": [1, 0, 1]},
             "maps": {"opacity": {"texmap": "FadeMap", "amount": 0.5}}})"}));
    const int32 method = ShaderOf(0).GetMethod(4);
    Anim* pAnim = Sample();
    ASSERT_NE(nullptr, pAnim);
    const int fade = FindControl(*pAnim, ControlInfo::Target_Shader, 0, 4, 0);
    ASSERT_NE(-1, fade);
    EXPECT_EQ((Keys{{0.0f, 1.0f}, {0.5f, 0.0f}, {1.0f, 1.0f}}), KeysOf(pAnim->GetControlStream(fade)));
    EXPECT_EQ(method, ShaderOf(0).GetMethod(4));
    EXPECT_TRUE(Messages().empty());
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
    std::unique_ptr<RenderModel> pModel = m_pExport->BuildRenderModel(m_options);
    ASSERT_NE(nullptr, pModel);
    ASSERT_EQ(1, pModel->GetAnimList()->GetAnimCount());
    const Anim* pAnim = pModel->GetAnimList()->GetAnim(0);
    ASSERT_EQ(3, pAnim->GetControlStreamCount());
    EXPECT_EQ(ra::MakeName("Glow"), pAnim->GetControlName(0));
    EXPECT_EQ(ra::MakeName("Mesh0"), pAnim->GetControlName(1));
    EXPECT_EQ(ra::MakeName("Mesh1"), pAnim->GetControlName(2));
    EXPECT_EQ((Keys{{0.0f, 0.0f}, {1.0f, 1.0f}}), KeysOf(pAnim->GetControlStream(0)));
    pModel.reset();
}

TEST_F(AnimShaders, SceneWithoutBonesExportsNoAnimation)
{
    Start(R"({"frameRate": 30, "animationRange": [0, 2],
              "nodes": [{"name": "Mesh0", "visibility": {"frames": [1, 0, 1]}, )" +
          std::string(s_Mesh) + R"(}]})");
    ASSERT_TRUE(m_options.exportAnimation);
    std::unique_ptr<RenderModel> pModel = m_pExport->BuildRenderModel(m_options);
    ASSERT_NE(nullptr, pModel);
    EXPECT_EQ(nullptr, pModel->GetSkeleton());
    EXPECT_EQ(0, pModel->GetAnimList()->GetAnimCount());
    pModel.reset();
}
} // namespace
