// What the playback tests share: the null device and the inventory, a small model (a two-bone arm
// with a box mesh on the forearm, one shader) with its reference pose, animations built
// key by key, motions on them, and near comparisons.
#pragma once

#include "foundation/debug.h"
#include "inventory/inventory.h"
#include "math/matrix.h"
#include "model/anim/animlist.h"
#include "model/mesh/mesh.h"
#include "model/motiontree/motion.h"
#include "model/rendermodel.h"
#include "model/shader/shaderimp.h"
#include "model/skeleton/skeleton.h"
#include "render/device.h"

#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <vector>

namespace playback_test
{
inline ra::Name N(const char* text)
{
    return ra::MakeName(text);
}

inline void ExpectVec(const ra::Vec3& expected, const ra::Vec3& actual, float tolerance = 1e-4f)
{
    EXPECT_NEAR(expected.x, actual.x, tolerance);
    EXPECT_NEAR(expected.y, actual.y, tolerance);
    EXPECT_NEAR(expected.z, actual.z, tolerance);
}

// Same rotation: q and -q are one.
inline void ExpectRotation(const ra::Quat& expected, const ra::Quat& actual, float tolerance = 1e-4f)
{
    EXPECT_NEAR(1.0f, std::fabs(ra::Dot(expected, actual)), tolerance)
        << "expected (" << expected.x << ", " << expected.y << ", " << expected.z << ", " << expected.w
        << ") got (" << actual.x << ", " << actual.y << ", " << actual.z << ", " << actual.w << ")";
}

inline ::testing::AssertionResult MatrixNear(const ra::Matrix34& actual, const ra::Matrix34& expected,
                                             float tolerance = 1e-4f)
{
    for (int i = 0; i < 12; ++i)
        if (std::fabs(actual.Data()[i] - expected.Data()[i]) > tolerance)
            return ::testing::AssertionFailure() << "element " << i << " (row " << i / 3 << ") is "
                                                 << actual.Data()[i] << ", expected " << expected.Data()[i];
    return ::testing::AssertionSuccess();
}

inline ra::Quat TurnZ(float radians)
{
    return ra::QuatFromAxisAngle({0, 0, 1}, radians);
}

// The message of the assertion that `f` trips; empty when none fires.
template <class F> std::string AssertionText(F f)
{
    dbg::ScopedThrowOnAssert throwOnAssert;
    try
    {
        f();
    }
    catch (const std::runtime_error& e)
    {
        return e.what();
    }
    return "";
}

// Device first and inventory second; taken down in reverse order.
struct Env
{
    Env()
    {
        fr::Interface::CreateDevice({});
        Inv::Warehouse::Create();
    }
    ~Env()
    {
        RenderModel::SetRandomSource(nullptr);
        Inv::Warehouse::Destroy();
        fr::Interface::DestroyDevice();
    }
    Env(const Env&) = delete;
    Env& operator=(const Env&) = delete;
};

// Bone "shoulder" at the origin, "forearm" its child one unit along x; a mesh "box" following the
// forearm with a box of half size 0.5 about (2, 0, 0); a second mesh "flag" on no bone; a shader
// "skin".
class ArmModel
{
public:
    ArmModel() : m_model("arm")
    {
        auto pSkeleton = std::make_unique<Skeleton>(2);
        pSkeleton->GetBone(0)->SetName(N("shoulder"));
        pSkeleton->GetBone(1)->SetName(N("forearm"));
        pSkeleton->GetBone(1)->SetPosition({1, 0, 0});
        pSkeleton->SetBoneParent(0, Bone::InvalidIndex);
        pSkeleton->SetBoneParent(1, 0);
        pSkeleton->BuildRefPose();
        m_model.SetSkeleton(std::move(pSkeleton));
        auto pGroup = std::make_unique<ra::MeshGroup>();
        pGroup->SetSkeleton(m_model.GetSkeleton());
        pGroup->AddShader(Inv::Warehouse::Get()->Add(static_cast<Shader*>(new ShaderImp("skin"))), true);
        pGroup->SetMeshCount(2);
        pGroup->SetMesh(0, MeshRef("box", {2, 0, 0}, 1));
        pGroup->SetMesh(1, MeshRef("flag", {0, 3, 0}, -1));
        ra::BoundVolume groupBox;
        groupBox.SetOBB(ra::OBB::FromMinMax({-1, -1, -1}, {3, 4, 1}));
        pGroup->SetBV(groupBox);
        m_model.SetMeshGroup(std::move(pGroup));
        m_model.SetAnimList(std::make_unique<AnimListGeneric>(m_model));
        m_model.BuildRefPose();
    }
    ~ArmModel() { m_model.GetAnimList()->Clear(); }
    // An animation of `seconds` and `frames` frames with a stream entry per bone, none animated.
    static std::unique_ptr<Anim> MakeAnim(const char* name, float seconds, int32 frames = 10)
    {
        auto pAnim = std::make_unique<Anim>(name);
        pAnim->SetTime(seconds);
        pAnim->SetFrameCount(frames);
        pAnim->SetBoneCount(2);
        pAnim->SetBoneName(0, N("shoulder"));
        pAnim->SetBoneName(1, N("forearm"));
        return pAnim;
    }
    // Rotation or position keys at normalised times for a bone; the bone becomes animated.
    template <class Stream, class Value>
    static void Keys(Anim& anim, int bone, const std::vector<std::pair<float, Value>>& cKey)
    {
        auto pStream = std::make_unique<Stream>(uint32(cKey.size()));
        for (uint32 i = 0; i < cKey.size(); ++i)
        {
            pStream->SetTime(i, cKey[i].first);
            pStream->SetValue(i, cKey[i].second);
        }
        if constexpr (std::is_same_v<Stream, BoneRotationStream>)
            anim.SetRotationStream(bone, std::move(pStream));
        else
            anim.SetPositionStream(bone, std::move(pStream));
        anim.SetBoneAnimated(bone, true);
    }
    static void Rotations(Anim& anim, int bone, const std::vector<std::pair<float, ra::Quat>>& cKey)
    {
        Keys<BoneRotationStream>(anim, bone, cKey);
    }
    static void Positions(Anim& anim, int bone, const std::vector<std::pair<float, ra::Vec3>>& cKey)
    {
        Keys<BonePositionStream>(anim, bone, cKey);
    }
    // Adds the animation to the model's list (mappings built, no box asked for).
    AnimListNode* Add(std::unique_ptr<Anim> pAnim, bool buildBV = false)
    {
        const int controlCount = pAnim->GetControlStreamCount();
        auto pNode = std::make_unique<AnimListNode>(2, m_model.GetCameraCount(), controlCount);
        pNode->SetAnim(Anim::AddToInventory(std::move(pAnim)));
        const int index = m_model.GetAnimList()->AddAnim(std::move(pNode), buildBV);
        return m_model.GetAnimList()->GetAnimNode(index);
    }
    // A motion of the model playing the nodes.
    Motion* MakeMotion(const char* name, std::initializer_list<AnimListNode*> cNode,
                       int32 type = Motion::TYPE_NON_LOOPING)
    {
        Motion* pMotion = m_model.GetMotionList().AddMotion(N(name));
        for (AnimListNode* pNode : cNode)
            pMotion->AddAnimNode(pNode);
        pMotion->SetType(type);
        return pMotion;
    }
    // A motion of one new animation of `seconds`, with nothing animated.
    Motion* PlainMotion(const char* name, float seconds, int32 type = Motion::TYPE_NON_LOOPING)
    {
        return MakeMotion(name, {Add(MakeAnim(name, seconds))}, type);
    }
    RenderModel& Model() { return m_model; }

private:
    static ra::MeshRef MeshRef(const char* name, const ra::Vec3& centre, int32 bone)
    {
        auto* pMesh = new ra::Mesh(name);
        ra::BoundVolume bv;
        bv.SetOBB(
            ra::OBB::FromMinMax(centre - ra::Vec3(0.5f, 0.5f, 0.5f), centre + ra::Vec3(0.5f, 0.5f, 0.5f)));
        pMesh->SetBV(bv);
        ra::MeshRef ref;
        ref.mesh = Inv::Warehouse::Get()->Add(pMesh);
        ref.name = N(name);
        ref.boneIndex = bone;
        return ref;
    }
    RenderModel m_model;
};
} // namespace playback_test
