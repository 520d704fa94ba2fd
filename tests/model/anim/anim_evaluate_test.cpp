// Anim: evaluation in seconds through the bone, camera and control families, the entries' index
// checks, and animations held anonymously by the inventory.
#include "model/anim/anim.h"

#include "inventory/inventory.h"
#include "model/anim/anim_test_util.h"
#include "support/logcapture.h"

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
        // Nor reloads one: it comes again only with its model.
        LogCapture log;
        Inv::Warehouse::Get()->ReloadAll(Anim::GetTypeInfo());
        EXPECT_TRUE(log.Has("Resource group Animation does not support reloads!"));
    }
    Inv::Warehouse::Get()->FlushUnreferenced();
    EXPECT_EQ(0u, Inv::Warehouse::Get()->GetCount(Anim::GetTypeInfo()));
    Inv::Warehouse::Destroy();
}
