// DiffModels on two walkers built alike: each single change is found once, under its path, with
// both values; an identical copy gives nothing; the tolerance, the texture switch and the cap hold.
#include "model/file/generic/generic_model_fixture.h"
#include "model/modeldiff.h"

#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <string>
#include <vector>

using namespace generic_test;

namespace
{
// Two walkers in sibling frames of the inventory, so that neither finds the other's shaders and
// textures by name: each has its own.
class ModelDiffTest : public ::testing::Test
{
protected:
    std::unique_ptr<RenderModel> Build(const char* frame)
    {
        Inv::Warehouse::Get()->PushFrame(frame);
        std::unique_ptr<RenderModel> pModel = BuildWalker();
        Inv::Warehouse::Get()->PopFrame();
        return pModel;
    }

    model_test::Env m_env;
};

ra::Mesh& MeshOf(RenderModel& model, int32 index)
{
    return *model.GetMeshGroup()->GetMesh(index);
}

void SetVertexFloat(RenderModel& model, int32 mesh, uint32 component, uint32 word, float value)
{
    fr::VertexSet& set = *MeshOf(model, mesh).GetVertexSet(ra::Mesh::Poly_High);
    std::vector<uint32> cWord;
    ASSERT_TRUE(ra::ReadStreamWords(set, component, cWord));
    std::memcpy(&cWord[word], &value, 4);
    ASSERT_TRUE(ra::WriteStreamWords(set, component, cWord));
}

float VertexFloat(RenderModel& model, int32 mesh, uint32 component, uint32 word)
{
    std::vector<uint32> cWord;
    ra::ReadStreamWords(*MeshOf(model, mesh).GetVertexSet(ra::Mesh::Poly_High), component, cWord);
    float value;
    std::memcpy(&value, &cWord[word], 4);
    return value;
}

Shader& ShaderOf(RenderModel& model, int32 index)
{
    return *model.GetMeshGroup()->GetShader(index).Get();
}

std::string Joined(const std::vector<ra::ModelDifference>& cDifference)
{
    std::string text;
    for (const ra::ModelDifference& difference : cDifference)
        text += ra::FormatDifference(difference) + "\n";
    return text;
}
} // namespace

TEST_F(ModelDiffTest, EachSingleChangeIsFoundOnceUnderItsPath)
{
    struct Case
    {
        const char* path;
        std::function<void(RenderModel&)> change;
        // The two values as printed; null where the test does not pin them.
        const char* a = nullptr;
        const char* b = nullptr;
    };
    // clang-format off
    const Case cases[] = {
        {"skeleton/bones/head/position", [](RenderModel& m) { m.GetSkeleton()->GetBone(3)->SetPosition({0, 0.75f, 0.5f}); }, "(0, 0.75, 0.1)", "(0, 0.75, 0.5)"},
        {"skeleton/bones/arm_l/parent", [](RenderModel& m) { m.GetSkeleton()->SetBoneParent(4, 1); }, "2", "1"},
        {"meshes/body/vertices[2]/position", [](RenderModel& m) { SetVertexFloat(m, 0, fr::VC_Position, 2 * 3 + 2, 3.5f); }},
        {"meshes/gun/vertices[3]/uv0", [](RenderModel& m) { SetVertexFloat(m, 1, fr::VC_TexCoord0, 3 * 2, 9.0f); }},
        {"meshes/body/primsets/walker_skin/indices[4]", [](RenderModel& m) { const uint16 index = 5; MeshOf(m, 0).GetPrimSet(0, ra::Mesh::Poly_High)->WriteIndices(4, 1, std::span(&index, 1)); }, "1", "5"},
        {"meshes/body/skin[1]/bone", [](RenderModel& m) { MeshOf(m, 0).SetSkinnedTransformName(1, ra::MakeName("head")); }, "'spine'", "'head'"},
        {"meshes/gun/type", [](RenderModel& m) { MeshOf(m, 1).SetMeshType(0); }, "2", "0"},
        {"meshes/gun/bounds/centre", [](RenderModel& m) { MeshOf(m, 1).SetBV(BoxAt(0.5f, 1.5f, 1, 0.2f)); }},
        {"group/bounds/scale", [](RenderModel& m) { m.GetMeshGroup()->SetBV(BoxAt(0, 1, 0, 2)); }},
        {"shaders/walker_glow/channels[3]/colour", [](RenderModel& m) { ShaderOf(m, 1).SetColour(Shader::CN_SelfIllumination, 0xFF202021); }, "0xFF202020", "0xFF202021"},
        {"shaders/walker_glow/blend", [](RenderModel& m) { ShaderOf(m, 1).SetBlend(Shader::Blend_One, Shader::Blend_Zero); }, "6 7", "1 0"},
        {"textures/art/textures/walker_skin/levels[0]/pixel(3, 2)", [](RenderModel& m) { const uint8 pixel[4] = {1, 2, 3, 4}; ShaderOf(m, 0).GetTexture(Shader::CN_Diffuse)->GetTexture()->Write(0, 3, 2, 1, 1, pixel, 4); }},
        {"markers/muzzle/parent", [](RenderModel& m) { m.SetCMarker(0, Marker{ra::MakeName("muzzle"), model_test::Translation(0.5f, 0, 0.25f), ra::MakeName("arm_l"), -1}); }, "'arm_r'", "'arm_l'"},
        {"cameras/portrait/fov", [](RenderModel& m) { RenderModelCamera camera = m.GetCCamera(0); camera.fov = 0.9f; m.SetCCamera(0, camera); }, "0.8", "0.9"},
        {"animations/walk/time", [](RenderModel& m) { m.GetAnimList()->GetAnim(0)->SetTime(2.0f); }, "1", "2"},
        {"animations/walk/bones/pelvis/position_keys[1]", [](RenderModel& m) { m.GetAnimList()->GetAnim(0)->GetPositionStream(1)->SetValue(1, {0.1f, 1, 0.5f}); }, "(0.5, 0.1, 1, 0)", "(0.5, 0.1, 1, 0.5)"},
        {"animations/walk/controls/walker_glow/keys", [](RenderModel& m) { m.GetAnimList()->GetAnim(0)->GetControlStream(0)->Remove(2); }, "3", "2"},
        {"animations/walk/cameras/portrait/rotation_keys[0]", [](RenderModel& m) { m.GetAnimList()->GetAnim(0)->GetCameraRotationStream(0)->SetTime(0, 0.25f); }},
        {"animations/idle/bounds/max", [](RenderModel& m) { m.GetAnimList()->GetAnimNode(1)->SetBV({-0.5f, 0, -0.5f}, {0.5f, 3, 0.5f}); }},
        {"motions/walk_m/transition_out", [](RenderModel& m) { m.GetMotionList().GetMotion(0)->SetTransitionOutTime(0.4f); }, "0.3", "0.4"},
        {"motions/any_m/random[1]/weight", [](RenderModel& m) { m.GetMotionList().GetMotion(2)->SetRandMotionWeight(1, 3.0f); }},
        {"actions/move/sub_actions", [](RenderModel& m) { m.GetActionTree().GetAction(0)->RemoveSubAction(0); }, "1", "0"},
        {"clauses/is_fast/value", [](RenderModel& m) { m.GetClauseList().GetClause(0)->SetValue(2.5f); }, "2", "2.5"},
        {"conditions/fast/clauses", [](RenderModel& m) { m.GetConditionList().GetCondition(0)->AddClause(m.GetClauseList().GetClause(1), false); }, "1", "2"},
        {"modifiers/speed_mod/clamp", [](RenderModel& m) { m.GetModifierList().GetModifier(0)->SetClampValue(5.0f); }},
        {"events/art/events/step/params[1]", [](RenderModel& m) { ra::EventData& step = *m.GetEventList().GetEvent(0).Get(); step.ClearParams(); step.AddParam("fx", "art/fx/dust"); step.AddParam("marker", "smoke"); }, "'marker = muzzle'", "'marker = smoke'"},
        {"selection/type", [](RenderModel& m) { m.SetSelectionType(1); }, "2", "1"},
    };
    // clang-format on
    std::unique_ptr<RenderModel> pA = Build("a");
    int frame = 0;
    for (const Case& c : cases)
    {
        SCOPED_TRACE(c.path);
        std::unique_ptr<RenderModel> pB = Build(("b" + std::to_string(frame++)).c_str());
        ASSERT_TRUE(ra::DiffModels(*pA, *pB).empty()) << Joined(ra::DiffModels(*pA, *pB));
        c.change(*pB);
        const std::vector<ra::ModelDifference> cDifference = ra::DiffModels(*pA, *pB);
        ASSERT_EQ(cDifference.size(), 1u) << Joined(cDifference);
        EXPECT_EQ(cDifference[0].path, c.path);
        if (c.a != nullptr)
        {
            EXPECT_EQ(cDifference[0].a, c.a);
            EXPECT_EQ(cDifference[0].b, c.b);
        }
        // The other way round, the same place with the values swapped.
        const std::vector<ra::ModelDifference> cBack = ra::DiffModels(*pB, *pA);
        ASSERT_EQ(cBack.size(), 1u) << Joined(cBack);
        EXPECT_EQ(cBack[0].path, c.path);
        EXPECT_EQ(cBack[0].a, cDifference[0].b);
    }
}

TEST_F(ModelDiffTest, ToleranceTexturesAndTheCap)
{
    std::unique_ptr<RenderModel> pA = Build("a");
    std::unique_ptr<RenderModel> pB = Build("b");
    EXPECT_TRUE(ra::DiffModels(*pA, *pA).empty());

    // A vertex moved by 1e-4 and a marker by 2e-4.
    SetVertexFloat(*pB, 0, fr::VC_Normal, 4, VertexFloat(*pB, 0, fr::VC_Normal, 4) + 1e-4f);
    Marker smoke = pB->GetCMarker(1);
    smoke.transform.r[3].y += 2e-4f;
    pB->SetCMarker(1, smoke);
    ra::ModelDiffOptions options;
    EXPECT_EQ(ra::DiffModels(*pA, *pB, options).size(), 2u);
    options.tolerance = 1.5e-4f;
    const std::vector<ra::ModelDifference> cWithin = ra::DiffModels(*pA, *pB, options);
    ASSERT_EQ(cWithin.size(), 1u) << Joined(cWithin);
    EXPECT_EQ(cWithin[0].path, "markers/smoke/transform");
    options.tolerance = 1e-3f;
    EXPECT_TRUE(ra::DiffModels(*pA, *pB, options).empty()) << Joined(ra::DiffModels(*pA, *pB, options));

    // A pixel: found, unless the textures are left out.
    fr::Texture& glow = *ShaderOf(*pB, 1).GetTexture(Shader::CN_Diffuse)->GetTexture();
    const uint8 pixel[4] = {9, 9, 9, 9};
    glow.Write(0, 0, 0, 1, 1, pixel, 4);
    ASSERT_EQ(ra::DiffModels(*pA, *pB, options).size(), 1u);
    EXPECT_EQ(ra::DiffModels(*pA, *pB, options)[0].path,
              "textures/art/textures/walker_glow/levels[0]/pixel(0, 0)");
    options.ignoreTextures = true;
    EXPECT_TRUE(ra::DiffModels(*pA, *pB, options).empty());

    // Every vertex of the body moved: the cap stops the walk, 0 finds them all.
    for (uint32 v = 0; v < 6; ++v)
        SetVertexFloat(*pB, 0, fr::VC_Position, v * 3, 100.0f + float(v));
    options.maxDifferences = 4;
    const std::vector<ra::ModelDifference> cCapped = ra::DiffModels(*pA, *pB, options);
    ASSERT_EQ(cCapped.size(), 4u);
    EXPECT_EQ(cCapped[3].path, "meshes/body/vertices[3]/position");
    options.maxDifferences = 0;
    EXPECT_EQ(ra::DiffModels(*pA, *pB, options).size(), 6u);
}

TEST_F(ModelDiffTest, DifferentCountsAndMissingPartsAreNamed)
{
    std::unique_ptr<RenderModel> pA = Build("a");
    RenderModel empty("walker");
    const std::vector<ra::ModelDifference> cDifference = ra::DiffModels(*pA, empty, {0.0f, false, 0});
    std::vector<std::string> cPath;
    for (const ra::ModelDifference& difference : cDifference)
        cPath.push_back(difference.path);
    const std::vector<std::string> expected = {"skeleton",
                                               "meshes",
                                               "group/bounds",
                                               "shaders",
                                               "textures",
                                               "markers",
                                               "cameras",
                                               "animations",
                                               "motions",
                                               "actions",
                                               "clauses",
                                               "conditions",
                                               "modifiers",
                                               "events",
                                               "selection/type",
                                               "selection/box",
                                               "selection/volume/centre",
                                               "selection/volume/scale"};
    EXPECT_EQ(cPath, expected) << Joined(cDifference);
    EXPECT_EQ(ra::FormatDifference(cDifference[1]), "meshes: 2 vs 0");
    EXPECT_EQ(ra::FormatDifference(cDifference[0]), "skeleton: present vs none");
}
