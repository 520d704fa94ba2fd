// "walker": a model built in code with something of every kind that the generic model file holds
// (textures, shaders, skeleton, skinned and rigid meshes, markers, cameras, animations with bone,
// control and camera streams and bound volumes, and the entity part: events, clauses, conditions,
// modifiers, motions, actions and the selection), and the comparisons that check two models alike.
// The sample model file of the project is this model, written by the generic writer.
#pragma once

#include "model/anim/anim.h"
#include "model/anim/anim_test_util.h"
#include "model/anim/animlist.h"
#include "model/event/eventdata.h"
#include "model/file/generic/generic_test_util.h"
#include "model/file/generic/shaderloadgeneric.h"
#include "model/mesh/mesh_test_util.h"
#include "model/modeldiff.h"
#include "model/motiontree/action.h"
#include "model/motiontree/clause.h"
#include "model/motiontree/condition.h"
#include "model/motiontree/modifier.h"
#include "model/motiontree/motion.h"
#include "model/rendermodel.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

namespace generic_test
{
// Parts that need files of other models beside the walker's: a mesh and an animation taken from
// the model "art/donor", and a shared shader from "GENERIC:team_colour.vds".
struct WalkerOptions
{
    bool xrefMesh = false;
    bool xrefAnim = false;
    bool sharedShader = false;
};

// Two models that hold the same, compared by the library's own diff; a failure lists every
// difference with its path.
inline ::testing::AssertionResult SameModel(const RenderModel& a, const RenderModel& b)
{
    ra::ModelDiffOptions options;
    options.maxDifferences = 0;
    std::string text;
    for (const ra::ModelDifference& difference : ra::DiffModels(a, b, options))
        text += ra::FormatDifference(difference) + "\n";
    if (text.empty())
        return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << text;
}

inline Inv::Reference<Shader> AddShaderImp(std::unique_ptr<ShaderImp> pShader)
{
    Inv::Reference<Shader> ref = Inv::Warehouse::Get()->Add<Shader>(pShader.get());
    if (ref.IsValid())
        pShader.release();
    return ref;
}

inline Inv::Reference<ra::Mesh> AddMeshAnonymous(std::unique_ptr<ra::Mesh> pMesh)
{
    auto* pResource = new Inv::Resource(pMesh.release());
    Inv::Warehouse::Get()->AddAnonymous(pResource, ra::Mesh::GetTypeInfo());
    return Inv::Reference<ra::Mesh>(pResource);
}

// Packed weights: three weights and four bone slots per vertex.
inline std::vector<uint32> WeightWords(uint32 vertexCount)
{
    std::vector<uint32> c;
    for (uint32 v = 0; v < vertexCount; ++v)
    {
        const float w[3] = {0.5f, 0.25f + 0.05f * float(v % 3), 0.0f};
        uint32 word;
        for (float f : w)
        {
            std::memcpy(&word, &f, 4);
            c.push_back(word);
        }
        const uint8 slots[4] = {uint8(v % 3), uint8((v + 1) % 3), 0xFF, 0xFF};
        std::memcpy(&word, slots, 4);
        c.push_back(word);
    }
    return c;
}

// A mesh of `vertexCount` vertices with the given streams, one triangle list per shader.
inline Inv::Reference<ra::Mesh>
BuildMesh(const char* name, uint32 vertexCount, bool weighted,
          const std::vector<std::pair<Inv::Reference<Shader>, std::vector<uint16>>>& cPart,
          const ra::BoundVolume& bv)
{
    auto pMesh = std::make_unique<ra::Mesh>(name);
    fr::VertexType type;
    type.set(fr::VC_Position);
    type.set(fr::VC_Normal);
    type.set(fr::VC_TexCoord0);
    if (weighted)
        type.set(fr::VC_Weights);
    std::unique_ptr<fr::VertexSet> pSet = ra::CreateVertexSet(type, vertexCount);
    ra::WriteStreamWords(*pSet, fr::VC_Position, FloatWords(vertexCount, 3, 0.25f, 1.0f));
    ra::WriteStreamWords(*pSet, fr::VC_Normal, FloatWords(vertexCount, 3, -0.125f, 0.5f));
    ra::WriteStreamWords(*pSet, fr::VC_TexCoord0, FloatWords(vertexCount, 2, 0.0625f, 0.0f));
    if (weighted)
        ra::WriteStreamWords(*pSet, fr::VC_Weights, WeightWords(vertexCount));
    pMesh->SetVertexSet(ra::Mesh::Poly_High, std::move(pSet));
    pMesh->SetPrimSetCount(int32(cPart.size()));
    int32 polyCount = 0;
    for (size_t i = 0; i < cPart.size(); ++i)
    {
        pMesh->SetPrimSetShader(int32(i), cPart[i].first);
        if (!cPart[i].second.empty())
            pMesh->SetPrimSet(int32(i), ra::Mesh::Poly_High, TriangleList(cPart[i].second));
        polyCount += int32(cPart[i].second.size() / 3);
    }
    pMesh->SetPolyCount(ra::Mesh::Poly_High, polyCount);
    pMesh->SetBV(bv);
    return AddMeshAnonymous(std::move(pMesh));
}

template <class StreamT> std::unique_ptr<StreamT> Keys(std::initializer_list<typename StreamT::Key> cKey)
{
    auto pStream = std::make_unique<StreamT>(uint32(cKey.size()));
    uint32 i = 0;
    for (const auto& key : cKey)
    {
        pStream->SetTime(i, key.time);
        pStream->SetValue(i, key.value);
        ++i;
    }
    return pStream;
}

inline Inv::Reference<Anim> AddAnim(std::unique_ptr<Anim> pAnim)
{
    return Anim::AddToInventory(std::move(pAnim));
}

inline std::unique_ptr<AnimListNode> NodeFor(const RenderModel& model, const Inv::Reference<Anim>& animRef)
{
    const Skeleton* pSkeleton = model.GetSkeleton();
    auto pNode = std::make_unique<AnimListNode>(pSkeleton ? pSkeleton->GetBoneCount() : 0,
                                                model.GetCameraCount(), animRef->GetControlStreamCount());
    pNode->SetAnim(animRef);
    return pNode;
}

// A clause of the type of its value, every field given.
template <class V>
std::unique_ptr<ra::Clause> MakeClause(const char* name, const char* variable, int comparison, V value,
                                       V fallback)
{
    auto pClause = ra::Clause::Create(std::is_same_v<V, float>  ? ra::Clause::VARIABLE_FLOAT
                                      : std::is_same_v<V, bool> ? ra::Clause::VARIABLE_BOOL
                                                                : ra::Clause::VARIABLE_STRING);
    pClause->SetName(ra::MakeName(name));
    pClause->SetVariableName(ra::MakeName(variable));
    pClause->SetComparison(comparison);
    pClause->SetValue(value);
    pClause->SetDefault(fallback);
    return pClause;
}

inline Modifier* AddModifier(RenderModel& model, const char* name, const char* variable, int32 type,
                             float refValue, float clampValue)
{
    Modifier* pModifier = model.GetModifierList().CreateModifier(ra::MakeName(name));
    pModifier->SetVariableName(ra::MakeName(variable));
    pModifier->SetType(type);
    pModifier->SetRefValue(refValue);
    pModifier->SetClampValue(clampValue);
    return pModifier;
}

// The donor model: a mesh "blade" and an animation "wave" for others to take by reference.
inline std::unique_ptr<RenderModel> BuildDonor()
{
    auto pModel = std::make_unique<RenderModel>("donor");
    pModel->SetAnimList(std::make_unique<AnimListGeneric>(*pModel));
    auto pShader = std::make_unique<ShaderImp>("donor_metal");
    Inv::Reference<Shader> metal = AddShaderImp(std::move(pShader));
    pModel->SetSkeleton(model_test::MakeSkeleton({{"hand", -1, {0, 1, 0}, ra::Quat()}}));
    auto pGroup = std::make_unique<ra::MeshGroup>();
    pGroup->SetSkeleton(pModel->GetSkeleton());
    pGroup->SetMeshCount(1);
    pGroup->SetMesh(0, ra::MeshRef{BuildMesh("blade", 3, false, {{metal, {0, 1, 2}}}, BoxAt(0, 0, 1, 0.5f)),
                                   ra::MakeName("blade"),
                                   ra::Name::INVALID,
                                   0,
                                   {}});
    pGroup->SetBV(BoxAt(0, 0, 1, 1));
    pModel->SetMeshGroup(std::move(pGroup));
    auto pWave = std::make_unique<Anim>("wave");
    pWave->SetFrameCount(5);
    pWave->SetTime(0.25f);
    pWave->SetBoneCount(1);
    pWave->SetBoneName(0, ra::MakeName("hand"));
    pWave->SetBoneAnimated(0, true);
    pWave->SetRotationStream(0, Keys<BoneRotationStream>({{0.0f, {0, 0, 0, 1}}, {1.0f, {0, 0.6f, 0, 0.8f}}}));
    pModel->GetAnimList()->AddAnim(NodeFor(*pModel, AddAnim(std::move(pWave))), false);
    pModel->BuildRefPose();
    return pModel;
}

inline std::unique_ptr<RenderModel> BuildWalker(const WalkerOptions& options = WalkerOptions())
{
    auto pModel = std::make_unique<RenderModel>("walker");
    pModel->SetAnimList(std::make_unique<AnimListGeneric>(*pModel));

    // Textures and shaders.
    Inv::Reference<Texture> skinTexture = AddPatternedTexture("art/textures/walker_skin", 8);
    Inv::Reference<Texture> glowTexture = AddPatternedTexture("art/textures/walker_glow", 4);
    auto pSkin = std::make_unique<ShaderImp>("walker_skin");
    pSkin->SetMethod(Shader::CN_Diffuse, Shader::Method_Texture);
    pSkin->SetTexture(Shader::CN_Diffuse, skinTexture);
    pSkin->SetColour(Shader::CN_Opacity, 0xC0FFFFFF);
    pSkin->SetAddressMode(Shader::CN_Diffuse, 1);
    Inv::Reference<Shader> skin = AddShaderImp(std::move(pSkin));
    auto pGlow = std::make_unique<ShaderImp>("walker_glow");
    pGlow->SetBlend(Shader::Blend_SrcAlpha, Shader::Blend_InvSrcAlpha);
    pGlow->SetFloat(0.75f);
    pGlow->SetInt(3);
    pGlow->SetByte(200);
    pGlow->SetMethod(Shader::CN_Diffuse, Shader::Method_Modulate);
    pGlow->SetColour(Shader::CN_Diffuse, 0x80FF8040);
    pGlow->SetTexture(Shader::CN_Diffuse, glowTexture);
    pGlow->SetColour(Shader::CN_SelfIllumination, 0xFF202020);
    pGlow->SetTransform(Shader::CN_Diffuse, Counting(0.5f));
    pGlow->SetTransform2(Shader::CN_Diffuse, Counting(-2.0f));
    // The values as loaded, which animation works relative to, are the ones set.
    pGlow->SetBaseColour(Shader::CN_Diffuse, 0x80FF8040);
    pGlow->SetBaseTransform(Shader::CN_Diffuse, Counting(0.5f));
    Inv::Reference<Shader> glow = AddShaderImp(std::move(pGlow));
    Inv::Reference<Shader> team;
    if (options.sharedShader)
    {
        Inv::Reference<Texture> teamTexture = AddPatternedTexture("art/textures/team", 4);
        auto pTeam = std::make_unique<ShaderImp>("team_colour");
        pTeam->SetShared(true);
        pTeam->SetMethod(Shader::CN_Diffuse, Shader::Method_Texture);
        pTeam->SetTexture(Shader::CN_Diffuse, teamTexture);
        EXPECT_TRUE(ShaderLoadGeneric::SaveSharedFile("GENERIC:team_colour.vds", *pTeam));
        team = AddShaderImp(std::move(pTeam));
    }

    // Skeleton: parents before children.
    pModel->SetSkeleton(model_test::MakeSkeleton({
        {"root", -1, {0, 0, 0}, ra::Quat()},
        {"pelvis", 0, {0, 1, 0}, ra::QuatFromAxisAngle({0, 1, 0}, 0.1f)},
        {"spine", 1, {0, 0.5f, 0}, ra::Quat()},
        {"head", 2, {0, 0.75f, 0.1f}, ra::QuatFromAxisAngle({1, 0, 0}, -0.2f)},
        {"arm_l", 2, {-0.5f, 0.5f, 0}, ra::Quat()},
        {"arm_r", 2, {0.5f, 0.5f, 0}, ra::QuatFromAxisAngle({0, 0, 1}, 0.3f)},
    }));

    // Meshes: a skinned body, a rigid gun on the right arm, and when asked one taken from the donor.
    std::vector<std::pair<Inv::Reference<Shader>, std::vector<uint16>>> cBodyPart = {
        {skin, {0, 1, 2, 2, 1, 3, 3, 4, 5}}, {glow, {5, 4, 0}}};
    if (options.sharedShader)
        cBodyPart.push_back({team, {}});
    Inv::Reference<ra::Mesh> body = BuildMesh("body", 6, true, cBodyPart, BoxAt(0, 1, 0, 0.5f));
    body.Get()->SetSkinnedTransformCount(3);
    const char* skinBones[3] = {"pelvis", "spine", "head"};
    for (int32 i = 0; i < 3; ++i)
    {
        body.Get()->SetSkinnedTransformName(i, ra::MakeName(skinBones[i]));
        body.Get()->SetSkinnedTransformIndex(i, i);
    }
    Inv::Reference<ra::Mesh> gun =
        BuildMesh("gun", 4, false, {{glow, {0, 1, 2, 1, 3, 2}}}, BoxAt(0.5f, 1.5f, 0, 0.2f));
    gun.Get()->SetMeshType(2);

    auto pGroup = std::make_unique<ra::MeshGroup>();
    pGroup->SetSkeleton(pModel->GetSkeleton());
    pGroup->SetMeshCount(options.xrefMesh ? 3 : 2);
    pGroup->SetMesh(0, ra::MeshRef{body, ra::MakeName("body"), ra::Name::INVALID, -1, {}});
    pGroup->SetMesh(1, ra::MeshRef{gun, ra::MakeName("gun"), ra::Name::INVALID, 5, {}});
    if (options.xrefMesh)
    {
        Inv::Reference<RenderModel> donor = Inv::Load<RenderModel>("art/donor");
        EXPECT_TRUE(donor.IsValid());
        if (donor.IsValid())
            pGroup->SetMesh(2, ra::MeshRef{donor->GetMeshGroup()->GetMeshRef(0).mesh,
                                           ra::MakeName("blade"),
                                           ra::MakeName("art/donor"),
                                           4,
                                           {}});
    }
    pGroup->SetBV(BoxAt(0, 1, 0, 1.5f));
    pGroup->ResolveSkinnedTransforms();
    pModel->SetMeshGroup(std::move(pGroup));

    // Markers and cameras.
    pModel->SetCMarkerCount(2);
    pModel->SetCMarker(0, Marker{ra::MakeName("muzzle"), model_test::Translation(0.5f, 0, 0.25f),
                                 ra::MakeName("arm_r"), -1});
    pModel->SetCMarker(
        1, Marker{ra::MakeName("smoke"), model_test::Translation(0, 2, 0), ra::Name::INVALID, -1});
    RenderModelCamera camera;
    camera.name = ra::MakeName("portrait");
    camera.position = {0, 1.5f, 3};
    camera.target = {0, 1.5f, 0};
    camera.orientation = ra::QuatFromAxisAngle({0, 1, 0}, 3.0f);
    camera.fov = 0.8f;
    camera.nearClip = 0.5f;
    camera.farClip = 300.0f;
    pModel->SetCCameraCount(1);
    pModel->SetCCamera(0, camera);

    // Animations: "walk" moves every bone but the root, the glow's colour, the gun's visibility
    // and the camera; "idle" turns the pelvis only.
    auto pWalk = std::make_unique<Anim>("walk");
    pWalk->SetFrameCount(31);
    pWalk->SetTime(1.0f);
    pWalk->SetBoneCount(6);
    for (int32 i = 0; i < 6; ++i)
    {
        pWalk->SetBoneName(i, pModel->GetSkeleton()->GetBone(i)->GetName());
        if (i == 0)
            continue;
        const float f = float(i);
        pWalk->SetBoneAnimated(i, true);
        pWalk->SetPositionStream(
            i, Keys<BonePositionStream>({{0.0f, {0, f, 0}}, {0.5f, {0.1f * f, f, 0}}, {1.0f, {0, f, 0.2f}}}));
        pWalk->SetRotationStream(i,
                                 Keys<BoneRotationStream>({{0.0f, {0, 0, 0, 1}},
                                                           {0.5f, ra::QuatFromAxisAngle({0, 1, 0}, 0.1f * f)},
                                                           {1.0f, {0, 0, 0, 1}}}));
    }
    // The shader's and the mesh's places in the group, as the exporter sets them.
    pWalk->AddControlStream(
        ra::MakeName("walker_glow"),
        anim_test::Control(ControlInfo::Target_Shader, Shader::CN_Diffuse, ControlInfo::Parameter_Colour, 1),
        Keys<ControlStream>({{0.0f, 0.0f}, {0.5f, -0.25f}, {1.0f, 0.0f}}));
    pWalk->AddControlStream(
        ra::MakeName("gun"),
        anim_test::Control(ControlInfo::Target_Mesh, 0, ControlInfo::Parameter_Visibility, 1),
        Keys<ControlStream>({{0.0f, 1.0f}, {0.75f, 0.0f}}));
    pWalk->AddCamera(ra::MakeName("portrait"),
                     Keys<CameraPositionStream>({{0.0f, {0, 1.5f, 3}}, {1.0f, {1, 1.5f, 3}}}),
                     Keys<CameraRotationStream>({{0.0f, {0, 0, 0, 1}}, {1.0f, {0, 0.1f, 0, 0.995f}}}));
    Inv::Reference<Anim> walk = AddAnim(std::move(pWalk));
    std::unique_ptr<AnimListNode> pWalkNode = NodeFor(*pModel, walk);
    pWalkNode->SetBV({-1, 0, -1}, {1, 2.5f, 1});
    AnimListNode* pWalkNodeRaw = pWalkNode.get();
    pModel->GetAnimList()->AddAnim(std::move(pWalkNode), false);

    auto pIdle = std::make_unique<Anim>("idle");
    pIdle->SetFrameCount(11);
    pIdle->SetTime(0.5f);
    pIdle->SetBoneCount(6);
    for (int32 i = 0; i < 6; ++i)
        pIdle->SetBoneName(i, pModel->GetSkeleton()->GetBone(i)->GetName());
    pIdle->SetBoneAnimated(1, true);
    pIdle->SetRotationStream(1,
                             Keys<BoneRotationStream>({{0.0f, {0, 0, 0, 1}}, {1.0f, {0, 0, 0.1f, 0.995f}}}));
    Inv::Reference<Anim> idle = AddAnim(std::move(pIdle));
    AnimListNode* pIdleNode = nullptr;
    {
        std::unique_ptr<AnimListNode> pNode = NodeFor(*pModel, idle);
        // Boxes held by every node: a tool with the playback layer would build the missing ones on
        // reading, and the sample would not convert to itself.
        pNode->SetBV({-0.5f, 0, -0.5f}, {0.5f, 2, 0.5f});
        pIdleNode = pNode.get();
        pModel->GetAnimList()->AddAnim(std::move(pNode), false);
    }
    if (options.xrefAnim)
    {
        Inv::Reference<RenderModel> donor = Inv::Load<RenderModel>("art/donor");
        EXPECT_TRUE(donor.IsValid());
        if (donor.IsValid())
        {
            std::unique_ptr<AnimListNode> pNode =
                NodeFor(*pModel, donor->GetAnimList()->GetAnimNode(0)->GetAnim());
            pNode->SetXRefName(ra::MakeName("art/donor"));
            pModel->GetAnimList()->AddAnim(std::move(pNode), false);
        }
    }

    // The entity part: an event, clauses, a condition, a modifier, motions and actions.
    auto* pStep = new ra::EventData("art/events/step");
    pStep->AddParam("fx", "art/fx/dust");
    pStep->AddParam("marker", "muzzle");
    auto* pStepResource = new Inv::Resource(pStep);
    Inv::Warehouse::Get()->AddAnonymous(pStepResource, ra::EventData::GetTypeInfo());
    Inv::Reference<ra::EventData> step(pStepResource);
    pModel->GetEventList().AddEvent(step);

    ra::ClauseList& clauses = pModel->GetClauseList();
    clauses.AddClause(MakeClause("is_fast", "speed", ra::Clause::COMPARE_GREATER, 2.0f, 0.5f));
    clauses.AddClause(MakeClause("is_hurt", "hurt", ra::Clause::COMPARE_EQUAL, true, false));
    ra::Condition* pFastCondition = pModel->GetConditionList().CreateCondition(ra::MakeName("fast"));
    pFastCondition->AddClause(clauses.GetClause(0), false);
    Modifier* pSpeed = AddModifier(*pModel, "speed_mod", "speed", Modifier::TYPE_SCALED, 2.0f, 4.0f);

    ra::MotionList& motions = pModel->GetMotionList();
    Motion* pWalkMotion = motions.AddMotion(ra::MakeName("walk_m"));
    pWalkMotion->AddAnimNode(pWalkNodeRaw);
    pWalkMotion->SetType(1);
    pWalkMotion->SetStartDelay(0.1f, 0.2f);
    pWalkMotion->SetLoopDelay(0.0f, 0.5f);
    pWalkMotion->SetStartPosition(0.0f, 0.25f);
    pWalkMotion->SetExitDelay(0.05f, 0.1f);
    pWalkMotion->SetTransitionOutTime(0.3f);
    pWalkMotion->SetIgnoreDelays(true);
    pWalkMotion->AddEvent(step, 0.5f);
    pWalkMotion->SetTimingModifier(pSpeed);
    Motion* pIdleMotion = motions.AddMotion(ra::MakeName("idle_m"));
    pIdleMotion->AddAnimNode(pIdleNode);
    pIdleMotion->SetTransitionOutTime(0.2f);
    Motion* pAny = motions.AddMotion(ra::MakeName("any_m"));
    pAny->AddRandMotion(ra::MakeName("walk_m"), 1.0f);
    pAny->AddRandMotion(ra::MakeName("idle_m"), 2.0f);
    pAny->SetRandomRepeat(true);
    pAny->SetTransitionOutTime(0.1f);
    motions.ResolveMotions();

    ra::ActionTree& tree = pModel->GetActionTree();
    Action* pMove = tree.AddAction();
    pMove->SetName(ra::MakeName("move"));
    pMove->AddMotion(pWalkMotion, ra::Condition::CONDITIONTYPE_IF, pFastCondition);
    pMove->AddMotion(pIdleMotion, ra::Condition::CONDITIONTYPE_ELSE, nullptr);
    pMove->AddSubAction(ra::MakeName("rest"), ra::Condition::CONDITIONTYPE_ALWAYS, nullptr);
    Action* pRest = tree.AddAction();
    pRest->SetName(ra::MakeName("rest"));
    pRest->AddMotion(pAny, ra::Condition::CONDITIONTYPE_ALWAYS, nullptr);
    tree.ResolveSubActions();

    pModel->SetSelectionType(2);
    pModel->BuildRefPose();
    return pModel;
}
} // namespace generic_test
