// Anim: evaluation in seconds through the bone, camera and control families, the entries' index
// checks, and animations held anonymously by the inventory.
#include "model/anim/anim.h"

#include "inventory/inventory.h"
#include "model/anim/anim_test_util.h"

#include "foundation/debug.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>

using anim_test::AssertionText;

namespace
{
std::unique_ptr<BonePositionStream> Positions(float v0, float v1)
{
    auto pStream = std::make_unique<BonePositionStream>(2);
    pStream->SetTime(0, 0.0f);
    pStream->SetValue(0, {v0, 0, 0});
    pStream->SetTime(1, 1.0f);
    pStream->SetValue(1, {v1, 0, 0});
    return pStream;
}

} // namespace

TEST(AnimEvaluate, BonesEvaluateInSecondsOverTheLength)
{
    Anim anim("Walk");
    anim.SetTime(2.0f);
    anim.SetFrameCount(61);
    EXPECT_FLOAT_EQ(0.5f, anim.GetInverseTime());
    anim.SetBoneCount(2);
    anim.SetBoneName(0, ra::MakeName("hip"));
    anim.SetBoneName(1, ra::MakeName("knee"));
    anim.SetPositionStream(1, Positions(0, 10));

    ra::Vec3 position(9, 9, 9);
    ra::Quat rotation(0.5f, 0.5f, 0.5f, 0.5f);
    AnimHints hints;
    // Half a second of two is a quarter of the way; the missing rotation leaves its output alone.
    EXPECT_TRUE(anim.EvaluateBone(1, 0.5f, false, position, rotation, hints));
    EXPECT_FLOAT_EQ(2.5f, position.x);
    EXPECT_EQ(ra::Quat(0.5f, 0.5f, 0.5f, 0.5f), rotation);
    // Looping: 2.5 seconds is 0.5 into the second play.
    EXPECT_TRUE(anim.EvaluateBone(1, 2.5f, true, position, rotation, hints));
    EXPECT_FLOAT_EQ(2.5f, position.x);
    // Without loop the length holds the end.
    EXPECT_TRUE(anim.EvaluateBone(1, 3.0f, false, position, rotation, hints));
    EXPECT_FLOAT_EQ(10.0f, position.x);
    EXPECT_EQ(1, hints.position);

    // A bone without streams changes nothing and says so.
    position = {7, 7, 7};
    EXPECT_FALSE(anim.EvaluateBone(0, 0.5f, false, position, rotation, hints));
    EXPECT_EQ(ra::Vec3(7, 7, 7), position);

    EXPECT_EQ(1, anim.FindBone(ra::MakeName("KNEE")));
    EXPECT_EQ(Anim::InvalidIndex, anim.FindBone(ra::MakeName("ankle")));
    EXPECT_EQ(ra::MakeName("walk"), anim.GetName());
}

TEST(AnimEvaluate, ControlStreamsCarryTheirTargetsAndEvaluateToZeroWithoutKeys)
{
    Anim anim("Fade");
    anim.SetTime(0.5f);
    const ControlInfo opacity =
        anim_test::Control(ControlInfo::Target_Shader, 4, ControlInfo::Parameter_Colour, 3);
    EXPECT_EQ(0, anim.AddControlStream(ra::MakeName("glass"), opacity, anim_test::Keys(1.0f, 0.0f)));
    EXPECT_EQ(1, anim.AddControlStream(ra::MakeName("door"), anim_test::Control(ControlInfo::Target_Mesh),
                                       nullptr));

    EXPECT_EQ(opacity, anim.GetControlInfo(0));
    EXPECT_TRUE(anim.GetControlInfo(1).IsMeshVisibility());
    EXPECT_EQ(1, anim.FindControlStream(ra::MakeName("door")));
    int16 hint = 0;
    EXPECT_FLOAT_EQ(0.75f, anim.EvaluateControl(0, 0.125f, false, hint));
    EXPECT_FLOAT_EQ(0.0f, anim.EvaluateControl(1, 0.125f, false, hint));

    anim.SetControlStream(1, anim_test::Keys(1.0f, 1.0f));
    EXPECT_FLOAT_EQ(1.0f, anim.EvaluateControl(1, 0.3f, true, hint));
    anim.RemoveControlStream(0);
    EXPECT_EQ(1, anim.GetControlStreamCount());
    EXPECT_EQ(ra::MakeName("door"), anim.GetControlName(0));
}

TEST(AnimEvaluate, LengthAndIndicesAreCheckedByAssertions)
{
    Anim anim("Idle");
    anim.SetBoneCount(2);
    anim.SetTime(1.5f);
    const std::pair<std::function<void()>, const char*> cases[] = {
        {[&] { anim.SetTime(0.0f); }, "time > 0.0f"},
        {[&] { anim.SetFrameCount(0); }, "frameCount > 0"},
        {[&] { anim.SetBoneName(0, ra::Name::INVALID); }, "name != ra::Name::INVALID"},
        {[&] { anim.SetBoneName(-1, ra::MakeName("x")); }, "boneIndex != InvalidIndex"},
        {[&] { anim.SetBoneAnimated(2, true); }, "boneIndex < m_boneAnims.size()"},
        {[&] { anim.GetCameraName(0); }, "cameraIndex < m_cameraAnims.size()"},
        {[&] { anim.SetControlStream(0, nullptr); }, "streamIndex < m_controlAnims.size()"},
        {[&] { anim.GetControlInfo(-1); }, "controlIndex != InvalidIndex"},
    };
    for (const auto& [call, assertion] : cases)
        EXPECT_NE(AssertionText(call).find(assertion), std::string::npos) << assertion;
    EXPECT_FLOAT_EQ(1.5f, anim.GetTime());

    // Past the assertions the calls change nothing.
    dbg::ScopedThrowOnAssert passOnAssert(false);
    anim.SetBoneAnimated(5, true);
    EXPECT_FALSE(anim.IsBoneAnimated(5));
    ra::Vec3 position;
    ra::Quat rotation;
    AnimHints hints;
    EXPECT_FALSE(anim.EvaluateBone(-3, 0.0f, false, position, rotation, hints));
    EXPECT_EQ(-1, anim.GetControlInfo(4).m_index);
}

TEST(AnimInventory, AnimationsOfTheSameNameAreHeldApart)
{
    ASSERT_TRUE(Inv::Warehouse::Create());
    {
        Inv::Reference<Anim> first = Anim::AddToInventory(std::make_unique<Anim>("Run"));
        Inv::Reference<Anim> second = Anim::AddToInventory(std::make_unique<Anim>("Run"));
        ASSERT_TRUE(first.IsValid());
        ASSERT_TRUE(second.IsValid());
        EXPECT_NE(first.Get(), second.Get());
        EXPECT_EQ(first->GetName(), second->GetName());
        EXPECT_EQ(2u, Inv::Warehouse::Get()->GetCount(Anim::GetTypeInfo()));
        // Nothing loads an animation by name.
        Inv::Resource* pResource = nullptr;
        EXPECT_FALSE(Inv::Warehouse::Get()->Find(&pResource, "run", Anim::GetTypeInfo()));
    }
    Inv::Warehouse::Get()->FlushUnreferenced();
    EXPECT_EQ(0u, Inv::Warehouse::Get()->GetCount(Anim::GetTypeInfo()));
    Inv::Warehouse::Destroy();
}
