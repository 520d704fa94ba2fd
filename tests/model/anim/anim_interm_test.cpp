// AnimInterm conversion: local streams from sampled model-space matrices on a two-bone chain
// worked out by hand, the hemisphere pass, and the fix-ups of control streams against a model's
// shaders and meshes.
#include "model/anim/animinterm.h"

#include "model/anim/anim_test_util.h"
#include "model/mesh/mesh_test_util.h"
#include "model/mesh/meshgroup.h"
#include "model/rendermodel.h"
#include "model/shader/shader_test_env.h"
#include "model/shader/shaderimp.h"
#include "model/skeleton/skeleton.h"
#include "support/logcapture.h"

#include <gtest/gtest.h>

#include <memory>
#include <vector>

using anim_test::Control;
using anim_test::ExpectQuat;
using anim_test::ExpectVec;
using anim_test::Keys;
using model_test::Rows;

namespace
{
std::unique_ptr<BoneMatrixStream> Matrices(const std::vector<ra::Matrix34>& cMatrix)
{
    auto pStream = std::make_unique<BoneMatrixStream>(uint32(cMatrix.size()));
    for (uint32 i = 0; i < cMatrix.size(); ++i)
    {
        pStream->SetTime(i, cMatrix.size() > 1 ? float(i) / float(cMatrix.size() - 1) : 0.0f);
        pStream->SetValue(i, cMatrix[i]);
    }
    return pStream;
}

// "root", and "arm" under it.
std::unique_ptr<Skeleton> Chain(const ra::Quat& rootRotation = ra::Quat())
{
    auto pSkeleton = std::make_unique<Skeleton>(2);
    pSkeleton->GetBone(0)->SetName(ra::MakeName("root"));
    pSkeleton->GetBone(0)->SetRotation(rootRotation);
    pSkeleton->GetBone(1)->SetName(ra::MakeName("arm"));
    pSkeleton->GetBone(1)->SetPosition({0, 5, 0});
    pSkeleton->SetBoneParent(1, 0);
    return pSkeleton;
}

const float kHalfRoot2 = 0.70710677f;
const float kHalfRoot3 = 0.86602540f;

} // namespace

TEST(AnimIntermBones, LocalStreamsComeFromTheParentsSampleAtTheSameKey)
{
    const std::unique_ptr<Skeleton> pSkeleton = Chain();
    AnimInterm anim("Wave");
    anim.SetBoneCount(2);
    anim.SetBoneName(0, ra::MakeName("root"));
    anim.SetBoneName(1, ra::MakeName("arm"));
    anim.SetBoneAnimated(0, true);
    anim.SetBoneAnimated(1, true);
    // Key 0: root at rest; the arm turned 90 degrees about x, 5 up. Key 1: root turned 90
    // degrees about z and moved to (1, 2, 3); the arm straight, 5 up its parent's y, which is now
    // the model's -x.
    anim.SetBoneMatrixStream(
        0, Matrices({ra::Matrix34::Identity(), Rows({0, 1, 0}, {-1, 0, 0}, {0, 0, 1}, {1, 2, 3})}));
    anim.SetBoneMatrixStream(1, Matrices({Rows({1, 0, 0}, {0, 0, 1}, {0, -1, 0}, {0, 5, 0}),
                                          Rows({0, 1, 0}, {-1, 0, 0}, {0, 0, 1}, {-4, 2, 3})}));

    anim.ConvertBoneStreams(*pSkeleton);

    // (stream, key, position or rotation) as worked out by hand.
    ExpectVec({1, 2, 3}, anim.GetPositionStream(0)->GetKeyValue(1));
    ExpectQuat({0, 0, 0, 1}, anim.GetRotationStream(0)->GetKeyValue(0));
    ExpectQuat({0, 0, kHalfRoot2, kHalfRoot2}, anim.GetRotationStream(0)->GetKeyValue(1));
    ExpectVec({0, 5, 0}, anim.GetPositionStream(1)->GetKeyValue(0));
    ExpectVec({0, 5, 0}, anim.GetPositionStream(1)->GetKeyValue(1));
    ExpectQuat({kHalfRoot2, 0, 0, kHalfRoot2}, anim.GetRotationStream(1)->GetKeyValue(0));
    ExpectQuat({0, 0, 0, 1}, anim.GetRotationStream(1)->GetKeyValue(1));
    EXPECT_FLOAT_EQ(1.0f, anim.GetRotationStream(1)->GetKeyTime(1));
    // The samples stay for the intermediate writer.
    EXPECT_NE(nullptr, anim.GetBoneMatrixStream(1));
}

TEST(AnimIntermBones, RotationKeysFollowTheHemisphereOfTheKeyBefore)
{
    // The reference rotation is the identity stored with a negative w: the first key follows it.
    const std::unique_ptr<Skeleton> pSkeleton = Chain(ra::Quat(0, 0, 0, -1));
    AnimInterm anim("Spin");
    anim.SetBoneCount(1);
    anim.SetBoneName(0, ra::MakeName("root"));
    anim.SetBoneAnimated(0, true);
    const ra::Vec3 z(0, 0, 1);
    anim.SetBoneMatrixStream(0, Matrices({ra::Matrix34::Identity(),
                                          ra::MatrixFromQuatPos(ra::QuatFromAxisAngle(z, 2.0943951f), {}),
                                          ra::MatrixFromQuatPos(ra::QuatFromAxisAngle(z, 4.1887902f), {})}));

    anim.ConvertBoneStreams(*pSkeleton);

    const BoneRotationStream* pRotations = anim.GetRotationStream(0);
    ASSERT_NE(nullptr, pRotations);
    ASSERT_EQ(3u, pRotations->GetKeyCount());
    // 0, 120 and 240 degrees about z, each on the side of the one before.
    ExpectQuat({0, 0, 0, -1}, pRotations->GetKeyValue(0));
    ExpectQuat({0, 0, -kHalfRoot3, -0.5f}, pRotations->GetKeyValue(1));
    ExpectQuat({0, 0, -kHalfRoot3, 0.5f}, pRotations->GetKeyValue(2));
}

class AnimIntermControls : public ::testing::Test
{
protected:
    AnimIntermControls()
    {
        auto* pShader = new ShaderImp("skin");
        pShader->SetBaseColour(Shader::CN_Diffuse, 0x11223344);
        pShader->SetBaseColour(Shader::CN_Opacity, 0x66000000);
        fr::Matrix44 base = fr::Matrix44::Identity();
        base.m[3][0] = 0.25f;
        base.m[3][1] = 0.5f;
        pShader->SetBaseTransform(Shader::CN_Specular, base);
        fr::Matrix44 second = fr::Matrix44::Identity();
        second.m[0][0] = 2.0f;
        second.m[1][1] = 2.0f;
        second.m[3][0] = 0.1f;
        second.m[3][1] = 0.2f;
        pShader->SetTransform2(Shader::CN_Specular, second);
        m_pSkin = pShader;
        m_group.AddShader(Inv::Warehouse::Get()->Add(static_cast<Shader*>(pShader)), true);
        m_group.SetMeshCount(2);
        m_group.SetMeshName(0, ra::MakeName("body"));
        m_group.SetMeshName(1, ra::MakeName("head"));
    }

    // A model "hero": the chain skeleton and a group of one mesh, "body", with the skin shader.
    void MakeHero(RenderModel& model) const
    {
        auto pGroup = std::make_unique<ra::MeshGroup>();
        pGroup->AddShader(m_group.GetShader(0), true);
        pGroup->SetMeshCount(1);
        pGroup->SetMeshName(0, ra::MakeName("body"));
        model.SetSkeleton(Chain());
        model.SetMeshGroup(std::move(pGroup));
    }

    model_test::Env m_env;
    ra::MeshGroup m_group;
    ShaderImp* m_pSkin = nullptr;
};

TEST_F(AnimIntermControls, BaseValuesComeOffAndStreamsThatDoNothingGo)
{
    AnimInterm anim("Glow");
    const ra::Name skin = ra::MakeName("skin");
    // Diffuse by its second byte 0x33: base 0.2. Opacity by its alpha 0x66: base 0.4.
    anim.AddControlStream(skin, Control(ControlInfo::Target_Shader, 0, 0), Keys(0.7f, 0.2f));
    anim.AddControlStream(skin, Control(ControlInfo::Target_Shader, 4, 0), Keys(0.9f, 0.4f));
    // Offsets: base transform (0.25, 0.5) after the inverse of scale 2 and move (0.1, 0.2) is
    // (0.075, 0.15).
    anim.AddControlStream(skin, Control(ControlInfo::Target_Shader, 1, 1), Keys(0.075f, 0.575f));
    anim.AddControlStream(skin, Control(ControlInfo::Target_Shader, 1, 2), Keys(0.15f, 0.153f));
    // Scales have no base.
    anim.AddControlStream(skin, Control(ControlInfo::Target_Shader, 2, 3), Keys(0.004f, -0.004f));
    anim.AddControlStream(skin, Control(ControlInfo::Target_Shader, 2, 4), Keys(0.0f, 0.5f));
    // Visibility stays whatever its values.
    anim.AddControlStream(ra::MakeName("head"), Control(ControlInfo::Target_Mesh, 0, 0), Keys(0.0f, 0.0f));
    // A shader the group lacks keeps its values and no index.
    anim.AddControlStream(ra::MakeName("ghost"), Control(ControlInfo::Target_Shader, 0, 0), Keys(0.0f, 1.0f));
    // Exactly the base throughout: nothing to do.
    anim.AddControlStream(skin, Control(ControlInfo::Target_Shader, 0, 0), Keys(0.2f, 0.2f));

    anim.FixControlStreams(m_group);

    ASSERT_EQ(6, anim.GetControlStreamCount());
    const struct
    {
        int32 channel, parameter, index;
        float v0, v1;
    } cExpected[] = {{0, 0, 0, 0.5f, 0.0f}, {4, 0, 0, 0.5f, 0.0f}, {1, 1, 0, 0.0f, 0.5f},
                     {2, 4, 0, 0.0f, 0.5f}, {0, 0, 1, 0.0f, 0.0f}, {0, 0, -1, 0.0f, 1.0f}};
    for (int i = 0; i < 6; ++i)
    {
        SCOPED_TRACE(i);
        EXPECT_EQ(cExpected[i].channel, anim.GetControlInfo(i).channel);
        EXPECT_EQ(cExpected[i].parameter, anim.GetControlInfo(i).parameter);
        EXPECT_EQ(cExpected[i].index, anim.GetControlInfo(i).m_index);
        EXPECT_NEAR(cExpected[i].v0, anim.GetControlStream(i)->GetKeyValue(0), 1e-6f);
        EXPECT_NEAR(cExpected[i].v1, anim.GetControlStream(i)->GetKeyValue(1), 1e-6f);
    }
    EXPECT_TRUE(anim.GetControlInfo(4).IsMeshVisibility());
}

TEST_F(AnimIntermControls, TheKeptSourceHoldsUntilTheAnimationOrTheModelChanges)
{
    RenderModel model("hero");
    MakeHero(model);

    AnimInterm source("Jump");
    source.SetFrameCount(2);
    source.SetTime(0.5f);
    source.SetBoneCount(2);
    source.SetBoneName(0, ra::MakeName("root"));
    source.SetBoneName(1, ra::MakeName("arm"));
    source.SetBoneAnimated(0, true);
    source.SetBoneAnimated(1, true);
    source.SetBoneMatrixStream(
        0, Matrices({ra::Matrix34::Identity(), Rows({0, 1, 0}, {-1, 0, 0}, {0, 0, 1}, {1, 2, 3})}));
    source.SetBoneMatrixStream(1, Matrices({Rows({1, 0, 0}, {0, 0, 1}, {0, -1, 0}, {0, 5, 0}),
                                            Rows({0, 1, 0}, {-1, 0, 0}, {0, 0, 1}, {-4, 2, 3})}));
    source.AddControlStream(ra::MakeName("skin"), Control(ControlInfo::Target_Shader, 0, 0),
                            Keys(0.7f, 0.2f));
    auto pTurn = std::make_unique<CameraRotationStream>(1);
    pTurn->SetValue(0, {0, 0, 0, -1});
    source.AddCamera(ra::MakeName("cam"), nullptr, std::move(pTurn));

    // The copy is deep: converting it leaves the source as it was.
    std::unique_ptr<AnimInterm> pConverted = source.Clone();
    pConverted->Convert(model);
    EXPECT_EQ(source.GetPositionStream(1), nullptr);
    EXPECT_EQ(source.GetControlStreamCount(), 1);
    EXPECT_EQ(source.GetControlStream(0)->GetKeyValue(0), 0.7f);
    EXPECT_EQ(source.GetCameraRotationStream(0)->GetKeyValue(0).w, -1.0f);
    ASSERT_NE(pConverted->GetPositionStream(1), nullptr);
    ASSERT_EQ(pConverted->GetControlStreamCount(), 2);
    ASSERT_NE(pConverted->GetBoneMatrixStream(1), source.GetBoneMatrixStream(1));

    AnimFromInterm read(*pConverted, source.Clone());
    EXPECT_EQ(read.GetName(), ra::MakeName("jump"));
    EXPECT_EQ(read.GetFrameCount(), 2);
    EXPECT_EQ(read.GetTime(), 0.5f);
    ExpectVec({0, 5, 0}, read.GetPositionStream(1)->GetKeyValue(1));
    EXPECT_NEAR(read.GetControlStream(0)->GetKeyValue(0), 0.5f, 1e-6f);
    EXPECT_TRUE(read.GetControlInfo(1).IsMeshVisibility());
    EXPECT_TRUE(read.SourceHolds(model));

    // A key changed since the read makes the source stale, until it is put back bit for bit.
    const ra::Vec3 at = read.GetPositionStream(1)->GetKeyValue(0);
    read.GetPositionStream(1)->SetValue(0, at + ra::Vec3(0, 1e-6f, 0));
    EXPECT_FALSE(read.SourceHolds(model));
    read.GetPositionStream(1)->SetValue(0, at);
    EXPECT_TRUE(read.SourceHolds(model));
    read.SetBoneAnimated(0, false);
    EXPECT_FALSE(read.SourceHolds(model));
    read.SetBoneAnimated(0, true);

    // So does a shader whose base moved: the kept values would come back other than these.
    m_pSkin->SetBaseColour(Shader::CN_Diffuse, 0x11224444);
    EXPECT_FALSE(read.SourceHolds(model));

    // Nothing kept, nothing holds.
    EXPECT_FALSE(AnimFromInterm(*pConverted, nullptr).SourceHolds(model));
}
