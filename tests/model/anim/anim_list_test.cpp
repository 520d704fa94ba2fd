// AnimList: the three mappings of a node against a model (local and cross-referenced animations),
// the shader flags, stand-ins for missing animations, and the checks on what a node brings.
#include "model/anim/animlist.h"

#include "model/anim/anim_test_util.h"
#include "model/anim/animlistnode_bv.h"
#include "model/mesh/meshgroup.h"
#include "model/rendermodel.h"
#include "model/shader/shader_test_env.h"
#include "model/shader/shaderimp.h"
#include "model/skeleton/skeleton.h"
#include "support/logcapture.h"

#include "foundation/debug.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

using anim_test::AssertionText;

namespace
{
ra::Name N(const char* text)
{
    return ra::MakeName(text);
}

std::unique_ptr<ControlStream> OneKey(float value)
{
    auto pStream = std::make_unique<ControlStream>(1);
    pStream->SetValue(0, value);
    return pStream;
}

// The mappings of a node, from a count and an entry of each family.
template <class CountT, class EntryT>
std::vector<int32> Mappings(const AnimListNode& node, CountT count, EntryT entry)
{
    std::vector<int32> cMapping;
    for (int i = 0; i < int((node.*count)()); ++i)
        cMapping.push_back((node.*entry)(i));
    return cMapping;
}

std::vector<int32> BoneMappings(const AnimListNode& node)
{
    return Mappings(node, &AnimListNode::GetBoneMappingCount, &AnimListNode::GetBoneMapping);
}
std::vector<int32> CameraMappings(const AnimListNode& node)
{
    return Mappings(node, &AnimListNode::GetCameraMappingCount, &AnimListNode::GetCameraMapping);
}
std::vector<int32> ControlMappings(const AnimListNode& node)
{
    return Mappings(node, &AnimListNode::GetNumControlMappings, &AnimListNode::GetControlMapping);
}
} // namespace

// A model "hero" with bones root, arm, hand; cameras cam1, cam2; shaders skin, metal; meshes body,
// head.
class AnimListTest : public ::testing::Test
{
protected:
    AnimListTest() : m_model("hero"), m_list(m_model)
    {
        auto pSkeleton = std::make_unique<Skeleton>(3);
        const char* cBone[] = {"root", "arm", "hand"};
        for (int i = 0; i < 3; ++i)
            pSkeleton->GetBone(i)->SetName(N(cBone[i]));
        pSkeleton->SetBoneParent(1, 0);
        pSkeleton->SetBoneParent(2, 1);
        m_model.SetSkeleton(std::move(pSkeleton));

        m_model.SetCCameraCount(2);
        RenderModelCamera camera;
        camera.name = N("cam1");
        m_model.SetCCamera(0, camera);
        camera.name = N("cam2");
        m_model.SetCCamera(1, camera);

        auto pGroup = std::make_unique<ra::MeshGroup>();
        pGroup->AddShader(Inv::Warehouse::Get()->Add(static_cast<Shader*>(new ShaderImp("skin"))), true);
        pGroup->AddShader(Inv::Warehouse::Get()->Add(static_cast<Shader*>(new ShaderImp("metal"))), true);
        pGroup->SetMeshCount(2);
        pGroup->SetMeshName(0, N("body"));
        pGroup->SetMeshName(1, N("head"));
        m_model.SetMeshGroup(std::move(pGroup));
    }

    // A node for the animation, sized for this model.
    std::unique_ptr<AnimListNode> Node(std::unique_ptr<Anim> pAnim, ra::Name xrefName = ra::Name::INVALID)
    {
        const int controlCount = pAnim->GetControlStreamCount();
        auto pNode = std::make_unique<AnimListNode>(3, 2, controlCount);
        pNode->SetAnim(Anim::AddToInventory(std::move(pAnim)));
        pNode->SetXRefName(xrefName);
        return pNode;
    }

    ~AnimListTest() override { m_list.Clear(); }

    model_test::Env m_env;
    RenderModel m_model;
    AnimList m_list;
};

TEST_F(AnimListTest, LocalAnimationMapsBonesInSkeletonOrderAndTheRestByName)
{
    auto pAnim = std::make_unique<Anim>("run");
    // Names play no part for the bones of a local animation.
    pAnim->SetBoneCount(3);
    pAnim->SetBoneName(0, N("hand"));
    pAnim->SetBoneName(1, N("arm"));
    pAnim->SetBoneName(2, N("root"));
    pAnim->AddCamera(N("cam2"), nullptr, nullptr);
    pAnim->AddControlStream(N("metal"), anim_test::Control(ControlInfo::Target_Shader), OneKey(1));
    pAnim->AddControlStream(N("head"), anim_test::Control(ControlInfo::Target_Mesh), OneKey(1));
    pAnim->AddControlStream(N("skin"), anim_test::Control(1), OneKey(1));
    pAnim->AddControlStream(N("nothing"), anim_test::Control(ControlInfo::Target_Shader), OneKey(1));
    // A shader name under the mesh target is looked up among meshes.
    pAnim->AddControlStream(N("skin"), anim_test::Control(ControlInfo::Target_Mesh), OneKey(1));

    EXPECT_EQ(0, m_list.AddAnim(Node(std::move(pAnim)), false));

    const AnimListNode& node = *m_list.GetAnimNode(0);
    EXPECT_EQ((std::vector<int32>{0, 1, 2}), BoneMappings(node));
    EXPECT_EQ((std::vector<int32>{-1, 0}), CameraMappings(node));
    EXPECT_EQ((std::vector<int32>{1, 1, -1, -1, -1}), ControlMappings(node));
    EXPECT_EQ(0, m_list.FindAnim(N("RUN")));
    EXPECT_EQ(AnimList::InvalidIndex, m_list.FindAnim(N("walk")));
    EXPECT_EQ(0, m_list.GetXRefCount());
}

TEST_F(AnimListTest, CrossReferencedAnimationMapsBonesByName)
{
    auto pAnim = std::make_unique<Anim>("wave");
    pAnim->AddBone(N("hand"));
    pAnim->AddBone(N("tail"));
    pAnim->AddBone(N("root"));
    m_list.AddAnim(Node(std::make_unique<Anim>("idle")), false);
    EXPECT_EQ(1, m_list.AddAnim(Node(std::move(pAnim), N("data:art/other.sgm")), false));

    EXPECT_EQ((std::vector<int32>{2, -1, 0}), BoneMappings(*m_list.GetAnimNode(1)));
    EXPECT_EQ(N("data:art/other.sgm"), m_list.GetAnimNode(1)->GetXRefName());
    EXPECT_EQ(1, m_list.GetXRefCount());
    EXPECT_EQ(2, m_list.GetAnimCount());
}

TEST_F(AnimListTest, BoxIsBuiltOnlyWhenAskedForAndMissing)
{
    AnimListNodeBV::SetBuilder(
        [](const RenderModel&, AnimListNode& node)
        {
            node.SetBV({0, 0, 0}, {9, 9, 9});
            return true;
        });
    // Has a box, build asked for -> the largest value of the box afterwards (0: none).
    const std::tuple<bool, bool, float> cases[] = {{true, true, 1}, {false, false, 0}, {false, true, 9}};
    for (const auto& [hasBV, build, top] : cases)
    {
        std::unique_ptr<AnimListNode> pNode = Node(std::make_unique<Anim>("run"));
        if (hasBV)
            pNode->SetBV({0, 0, 0}, {1, 1, 1});
        const int index = m_list.AddAnim(std::move(pNode), build);
        ra::Vec3 minimum, maximum;
        EXPECT_EQ(top, m_list.GetAnimNode(index)->GetBV(minimum, maximum) ? maximum.x : 0) << hasBV << build;
    }
    AnimListNodeBV::SetBuilder(nullptr);
}
