#include "model/motiontree/action.h"
#include "model/motiontree/condition.h"
#include "model/motiontree/modifier.h"
#include "model/motiontree/motion.h"

#include "foundation/debug.h"
#include "model/anim/animlist.h"
#include "model/motiontree/motion_test_util.h"
#include "model/rendermodel.h"
#include "model/shader/shader_test_env.h"
#include "support/logcapture.h"

#include <gtest/gtest.h>

#include <random>
#include <stdexcept>

namespace
{
ra::Name N(const char* text)
{
    return ra::MakeName(text);
}

// A motion list where each motion named in `withAnims` has one animation.
struct Motions
{
    Motion* Add(const char* name, bool withAnim)
    {
        Motion* pMotion = list.AddMotion(N(name));
        if (withAnim)
            pMotion->AddAnimNode(&node);
        return pMotion;
    }
    ra::MotionList list;
    AnimListNode node;
};
} // namespace

TEST(MotionSettings, RangeSettersStoreTheSmallerValueFirst)
{
    Motion motion(N("walk"));
    motion.SetStartDelay(2.0f, 0.5f);
    motion.SetLoopDelay(1.0f, 3.0f);
    motion.SetStartPosition(0.75f, 0.25f);
    motion.SetExitDelay(4.0f, 4.0f);
    using Range = std::pair<float, float>;
    EXPECT_EQ(Range(motion.GetStartDelayMin(), motion.GetStartDelayMax()), Range(0.5f, 2.0f));
    EXPECT_EQ(Range(motion.GetLoopDelayMin(), motion.GetLoopDelayMax()), Range(1.0f, 3.0f));
    EXPECT_EQ(Range(motion.GetStartPositionMin(), motion.GetStartPositionMax()), Range(0.25f, 0.75f));
    EXPECT_EQ(Range(motion.GetExitDelayMin(), motion.GetExitDelayMax()), Range(4.0f, 4.0f));
}

TEST(MotionSettings, RandomWeightsAreCheckedAsymmetrically)
{
    Motion motion(N("idle"));
    dbg::ScopedThrowOnAssert throwing;
    // Adding needs more than 0.001; setting accepts 0.001 itself.
    EXPECT_THROW(motion.AddRandMotion(N("a"), 0.001f), std::runtime_error);
    EXPECT_EQ(motion.GetRandMotionCount(), 0);
    ASSERT_EQ(motion.AddRandMotion(N("a"), 0.002f), 0);
    motion.SetRandMotionWeight(0, 0.001f);
    EXPECT_EQ(motion.GetRandMotion(0).weight, 0.001f);
    EXPECT_THROW(motion.SetRandMotionWeight(0, 0.0009f), std::runtime_error);
    EXPECT_EQ(motion.GetRandMotion(0).weight, 0.001f);
}

TEST(MotionRandom, PicksByRunningSumAndSkipsMotionsWithoutAnimations)
{
    Motions motions;
    Motion* pRoot = motions.Add("root", false);
    Motion* pA = motions.Add("a", true);
    motions.Add("empty", false);
    Motion* pB = motions.Add("b", true);
    pRoot->AddRandMotion(N("a"), 1.0f);
    pRoot->AddRandMotion(N("empty"), 1.0f);
    pRoot->AddRandMotion(N("b"), 2.0f);
    motions.list.ResolveMotions();

    // Sum of all weights 4; running sums of candidates: a 1, b 3.
    EXPECT_EQ(SelectRandomMotion(pRoot, 0.0f), pA);
    EXPECT_EQ(SelectRandomMotion(pRoot, 0.25f), pA) << "r equal to the running sum chooses that motion";
    EXPECT_EQ(SelectRandomMotion(pRoot, 0.26f), pB);
    EXPECT_EQ(SelectRandomMotion(pRoot, 0.75f), pB);

    // Past 3 the skipped weight leaves r beyond every candidate: the assertion fires.
    dbg::ScopedThrowOnAssert throwing;
    EXPECT_THROW(SelectRandomMotion(pRoot, 0.8f), std::runtime_error);
    dbg::ScopedThrowOnAssert quiet(false);
    EXPECT_EQ(SelectRandomMotion(pRoot, 0.8f), pB) << "the safe return is the last candidate";
}

TEST(MotionAction, EntriesCheckTheirConditions)
{
    Motion motion(N("walk"));
    ra::Condition condition(N("moving"));
    Action action(N("move"));
    EXPECT_EQ(action.AddMotion(&motion, ra::Condition::CONDITIONTYPE_IF, &condition), 0);
    EXPECT_EQ(action.AddMotion(&motion, ra::Condition::CONDITIONTYPE_ALWAYS, nullptr), 1);
    EXPECT_EQ(action.AddSubAction(N("sub"), ra::Condition::CONDITIONTYPE_ELSE, nullptr), 0);

    dbg::ScopedThrowOnAssert throwing;
    EXPECT_THROW(action.AddMotion(&motion, ra::Condition::CONDITIONTYPE_ELSEIF, nullptr), std::runtime_error);
    EXPECT_THROW(action.AddMotion(&motion, ra::Condition::CONDITIONTYPE_ELSE, &condition),
                 std::runtime_error);
    EXPECT_THROW(action.AddMotion(nullptr, ra::Condition::CONDITIONTYPE_ALWAYS, nullptr), std::runtime_error);
    EXPECT_THROW(action.AddSubAction(N("x"), 9, nullptr), std::runtime_error);
    EXPECT_THROW(action.GetMotion(2), std::runtime_error);
    EXPECT_THROW(action.GetSubAction(1), std::runtime_error);
    EXPECT_EQ(action.GetMotionCount(), 2);
    EXPECT_EQ(action.GetSubActionCount(), 1);
    // Past the assertion an unknown type adds nothing.
    dbg::ScopedThrowOnAssert quiet(false);
    EXPECT_EQ(action.AddSubAction(N("x"), ra::Condition::CONDITIONTYPE_COUNT, nullptr), InvalidIndex);
    EXPECT_EQ(action.GetSubActionCount(), 1);
}

TEST(MotionActionTree, ResolveLinksByNameAndDropsMissingWithoutSkipping)
{
    ra::ActionTree tree;
    Action* pRoot = tree.AddAction();
    pRoot->SetName(N("root"));
    Action* pWalk = tree.AddAction();
    pWalk->SetName(N("walk"));
    // Two missing names in a row: the second moves into the first's place and must be seen.
    pRoot->AddSubAction(N("gone1"), 3, nullptr);
    pRoot->AddSubAction(N("gone2"), 3, nullptr);
    pRoot->AddSubAction(N("Walk"), 2, nullptr);
    pRoot->AddSubAction(N("gone3"), 3, nullptr);

    LogCapture log;
    tree.ResolveSubActions();
    ASSERT_EQ(pRoot->GetSubActionCount(), 1);
    EXPECT_EQ(pRoot->GetSubAction(0).pAction, pWalk);
    EXPECT_EQ(pRoot->GetSubAction(0).conditionType, 2);
    EXPECT_EQ(log.Count("is missing"), 3);
    EXPECT_TRUE(log.Has("'gone2'"));
}

TEST(MotionActionTree, CyclesResolveToPointersAndDeletingUnlinks)
{
    ra::ActionTree tree;
    tree.SetActionCount(2);
    Action* pA = tree.GetAction(0);
    Action* pB = tree.GetAction(1);
    pA->SetName(N("a"));
    pB->SetName(N("b"));
    pA->AddSubAction(N("b"), 3, nullptr);
    pB->AddSubAction(N("a"), 3, nullptr);
    pB->AddSubAction(N("b"), 3, nullptr);
    tree.ResolveSubActions();
    EXPECT_EQ(pA->GetSubAction(0).pAction, pB);
    EXPECT_EQ(pB->GetSubAction(0).pAction, pA);
    EXPECT_EQ(pB->GetSubAction(1).pAction, pB);
    EXPECT_EQ(tree.FindAction(N("B")), 1);

    tree.DeleteAction(1);
    EXPECT_EQ(tree.GetActionCount(), 1);
    EXPECT_EQ(pA->GetSubActionCount(), 0) << "no entry may point at a deleted action";

    dbg::ScopedThrowOnAssert throwing;
    EXPECT_THROW(tree.SetActionCount(3), std::runtime_error);
    EXPECT_THROW(tree.DeleteAction(InvalidIndex), std::runtime_error);
    EXPECT_THROW(tree.DeleteAction(1), std::runtime_error);
    EXPECT_THROW(tree.GetAction(1), std::runtime_error);
}
