#include "model/file/generic/actionloadgeneric.h"
#include "model/file/generic/clauseloadgeneric.h"
#include "model/file/generic/conditionloadgeneric.h"
#include "model/file/generic/modifierloadgeneric.h"
#include "model/file/generic/motionloadgeneric.h"

#include "inventory/inventory.h"
#include "model/anim/animlist.h"
#include "model/file/generic/generic_model_fixture.h"
#include "model/motiontree/motion_test_util.h"
#include "model/rendermodel.h"
#include "support/logcapture.h"

#include <gtest/gtest.h>

using motion_test::Bytes;
using motion_test::ChunkReader;
using motion_test::ChunkWriter;
using motion_test::HandFile;
using motion_test::Text;

namespace
{
ra::Name N(const char* text)
{
    return ra::MakeName(text);
}

// The inventory (and the device beside it), for the events.
using Inventory = model_test::Env;

// A model with the animations "walk", "run" and "idle" and the event "art/events/step", into which
// motion trees are read. Declared after the inventory, so it goes first.
struct Model
{
    explicit Model(const Inv::Reference<ra::EventData>& step) : model("units/marine")
    {
        model.SetAnimList(std::make_unique<AnimListGeneric>(model));
        for (const char* name : {"walk", "run", "idle"})
            model.GetAnimList()->AddAnim(N(name), ra::Name::INVALID);
        model.GetEventList().AddEvent(step);
    }
    ~Model() { model.GetEventList().Clear(); }
    AnimListNode* Node(const char* name) const
    {
        AnimList& list = *model.GetAnimList();
        return list.GetAnimNode(list.FindAnim(N(name)));
    }
    mutable RenderModel model;
};

Inv::Reference<ra::EventData> StepEvent()
{
    auto* pStep = new ra::EventData("art/events/step");
    pStep->AddParam("sound", "art/sound/step");
    return Inv::Warehouse::Get()->Add(pStep);
}

// Every kind of entry of the tree, each field away from its default.
void BuildTree(Model& m)
{
    RenderModel& model = m.model;
    using generic_test::MakeClause;
    model.GetClauseList().AddClause(
        MakeClause("fast", "speed", ra::Clause::COMPARE_GREATER_EQUAL, 2.5f, -1.0f));
    model.GetClauseList().AddClause(
        MakeClause("moving", "is_moving", ra::Clause::COMPARE_NOT_EQUAL, false, true));
    model.GetClauseList().AddClause(
        MakeClause("crouched", "stance", ra::Clause::COMPARE_EQUAL, N("crouch"), N("stand")));

    ra::Condition* pRunning = model.GetConditionList().CreateCondition(N("running"));
    pRunning->AddClause(model.GetClauseList().GetClause(0), false);
    pRunning->AddClause(model.GetClauseList().GetClause(1), false);
    ra::Condition* pLow = model.GetConditionList().CreateCondition(N("low"));
    pLow->AddClause(model.GetClauseList().GetClause(2), false);
    model.GetConditionList().CreateCondition(N("empty"));

    Modifier* pSpeed =
        generic_test::AddModifier(model, "speedmod", "speed", Modifier::TYPE_SCALED, 3.0f, 2.0f);
    Modifier* pAim = generic_test::AddModifier(model, "aim", "pitch", Modifier::TYPE_ABSOLUTE, 0.5f, 0.25f);

    ra::MotionList& motions = model.GetMotionList();
    Motion* pRun = motions.AddMotion(N("run"));
    pRun->SetType(Motion::TYPE_LOOPING);
    pRun->AddAnimNode(m.Node("run"));
    pRun->AddAnimNode(m.Node("walk"));
    pRun->SetStartDelay(0.1f, 0.2f);
    pRun->SetLoopDelay(0.3f, 0.4f);
    pRun->SetStartPosition(0.5f, 0.6f);
    pRun->SetExitDelay(0.7f, 0.8f);
    pRun->SetTransitionOutTime(0.9f);
    pRun->SetIgnoreDelays(true);
    pRun->SetIgnoreTransitions(true);
    pRun->AddEvent(model.GetEventList().GetEvent(0), 0.25f);
    pRun->SetTimingModifier(pSpeed);
    Motion* pIdle = motions.AddMotion(N("idle"));
    pIdle->SetType(Motion::TYPE_HOLD_END);
    pIdle->AddRandMotion(N("run"), 1.5f);
    pIdle->AddRandMotion(N("idle_b"), 0.5f);
    pIdle->SetRandomRepeat(true);
    Motion* pIdleB = motions.AddMotion(N("idle_b"));
    pIdleB->AddAnimNode(m.Node("idle"));
    pIdleB->SetTimingModifier(pAim);
    motions.ResolveMotions();

    ra::ActionTree& tree = model.GetActionTree();
    Action* pRoot = tree.AddAction();
    pRoot->SetName(N("root"));
    pRoot->AddMotion(pRun, ra::Condition::CONDITIONTYPE_IF, pRunning);
    pRoot->AddMotion(pIdleB, ra::Condition::CONDITIONTYPE_ELSEIF, pLow);
    pRoot->AddMotion(pIdle, ra::Condition::CONDITIONTYPE_ELSE, nullptr);
    pRoot->AddSubAction(N("upper"), ra::Condition::CONDITIONTYPE_ALWAYS, nullptr);
    pRoot->AddSubAction(N("root"), ra::Condition::CONDITIONTYPE_IF, pLow);
    Action* pUpper = tree.AddAction();
    pUpper->SetName(N("upper"));
    pUpper->AddMotion(pIdle, ra::Condition::CONDITIONTYPE_ALWAYS, nullptr);
    tree.ResolveSubActions();
}

// The tree's chunks at the root of a file, in the order of the entity file.
std::string WriteTree(const RenderModel& model)
{
    ChunkWriter w;
    ClauseLoadGeneric::Save(*w.m_pChunky, w.m_adapter, model.GetClauseList());
    ConditionLoadGeneric::Save(*w.m_pChunky, w.m_adapter, model.GetConditionList());
    ModifierLoadGeneric::Save(*w.m_pChunky, w.m_adapter, model.GetModifierList());
    MotionLoadGeneric::Save(*w.m_pChunky, w.m_adapter, model.GetMotionList());
    ActionLoadGeneric::Save(*w.m_pChunky, w.m_adapter, model.GetActionTree());
    return w.Bytes();
}

void ReadTree(const std::string& bytes, RenderModel& model)
{
    ChunkReader r(bytes);
    Chunky& chunky = *r.m_pChunky;
    ChunkInfo info;
    while (chunky.NextChunk(info))
    {
        if (info.id == ClauseLoadGeneric::ID_CLST)
            ClauseLoadGeneric::Load(chunky, r.m_adapter, model.GetClauseList(), model.GetName());
        else if (info.id == ConditionLoadGeneric::ID_CONL)
            ConditionLoadGeneric::Load(chunky, r.m_adapter, model.GetConditionList(), model.GetClauseList(),
                                       model.GetName());
        else if (info.id == ModifierLoadGeneric::ID_MODL)
            ModifierLoadGeneric::Load(chunky, r.m_adapter, model.GetModifierList());
        else if (info.id == MotionLoadGeneric::ID_MTRE)
            MotionLoadGeneric::Load(chunky, r.m_adapter, model.GetMotionList(), model.GetModifierList(),
                                    model.GetEventList(), *model.GetAnimList());
        else if (info.id == ActionLoadGeneric::ID_ACTR)
            ActionLoadGeneric::Load(chunky, r.m_adapter, model.GetActionTree(), model.GetMotionList(),
                                    model.GetConditionList(), model.GetName());
    }
}

// An MTON payload of version 4 with the animations given and no random motions or events.
Bytes PlainMotion(std::initializer_list<const char*> anims = {})
{
    Bytes b;
    b.I32(int32(anims.size()));
    for (const char* anim : anims)
        b.Str(anim);
    b.I32(0).U8(0).I32(0).I32(0);
    for (int i = 0; i < 9; ++i)
        b.F32(0.0f);
    return b.U8(0).U8(0).U8(0);
}

std::string MotionFile(uint32 version, const char* name, const Bytes& payload)
{
    return HandFile().Folder("MTRE", 3).Data("MTON", version, name, payload).End().Contents();
}
} // namespace

TEST(MotionChunks, WholeTreeRoundTripsAndSecondWriteIsTheSame)
{
    Inventory inventory;
    const Inv::Reference<ra::EventData> step = StepEvent();
    Model source(step);
    BuildTree(source);
    const std::string first = WriteTree(source.model);

    Model copy(step);
    LogCapture log;
    ReadTree(first, copy.model);
    EXPECT_EQ(log.Count("missing"), 0);
    // Every field of every entry, compared by the library's diff.
    EXPECT_TRUE(generic_test::SameModel(source.model, copy.model));
    // The links are pointers into the model's own lists.
    const RenderModel& m = copy.model;
    EXPECT_EQ(m.GetConditionList().GetCondition(0)->GetClause(1), m.GetClauseList().GetClause(1));
    const Motion* pRun = m.GetMotionList().GetMotion(0);
    EXPECT_EQ(pRun->GetAnimNode(1), copy.Node("walk"));
    EXPECT_EQ(pRun->GetEvent(0).eventRef, step);
    EXPECT_EQ(pRun->GetTimingModifier(), m.GetModifierList().GetModifier(0));
    EXPECT_EQ(m.GetMotionList().GetMotion(1)->GetRandMotion(0).pMotion, pRun);
    const Action* pRoot = m.GetActionTree().GetAction(0);
    EXPECT_EQ(pRoot->GetMotion(0).pMotion, pRun);
    EXPECT_EQ(pRoot->GetMotion(0).pCondition, m.GetConditionList().GetCondition(0));
    EXPECT_EQ(pRoot->GetSubAction(0).pAction, m.GetActionTree().GetAction(1));
    EXPECT_EQ(pRoot->GetSubAction(1).pAction, pRoot);

    EXPECT_EQ(WriteTree(copy.model), first);
}

TEST(MotionChunks, StandAloneRootsReplaceTheirListsAndRelinkActions)
{
    Inventory inventory;
    const Inv::Reference<ra::EventData> step = StepEvent();
    Model source(step);
    BuildTree(source);
    ChunkWriter actions, motions;
    const RenderModel& s = source.model;
    ActionLoadGeneric::SaveTree(*actions.m_pChunky, actions.m_adapter, s.GetActionTree(),
                                s.GetConditionList(), s.GetClauseList());
    MotionLoadGeneric::SaveMotions(*motions.m_pChunky, motions.m_adapter, s.GetMotionList(),
                                   s.GetModifierList());

    // A target holding stale entries of its own, which the roots clear.
    Model target(step);
    RenderModel& t = target.model;
    t.GetClauseList().AddClause(ra::Clause::Create(ra::Clause::VARIABLE_BOOL));
    t.GetConditionList().CreateCondition(N("stale"));
    t.GetModifierList().CreateModifier(N("stale"));
    t.GetMotionList().AddMotion(N("stale"));
    {
        ChunkReader r(motions.Bytes());
        MotionLoadGeneric::LoadMotions(*r.m_pChunky, r.m_adapter, t.GetMotionList(), t.GetModifierList(),
                                       t.GetEventList(), *t.GetAnimList(), &t.GetActionTree());
    }
    EXPECT_EQ(t.GetMotionList().GetMotionCount(), 3);
    EXPECT_EQ(t.GetModifierList().GetModifierCount(), 2);
    {
        ChunkReader r(actions.Bytes());
        ActionLoadGeneric::LoadTree(*r.m_pChunky, r.m_adapter, t.GetActionTree(), t.GetConditionList(),
                                    t.GetClauseList(), t.GetMotionList(), t.GetName());
    }
    EXPECT_EQ(t.GetClauseList().GetClauseCount(), 3);
    EXPECT_EQ(t.GetConditionList().GetConditionCount(), 3);
    ASSERT_EQ(t.GetActionTree().GetActionCount(), 2);
    EXPECT_EQ(t.GetActionTree().GetAction(0)->GetMotion(0).pMotion, t.GetMotionList().GetMotion(0));
    EXPECT_EQ(WriteTree(t), WriteTree(s));

    // Reloading motions without "idle_b" moves the actions onto the new motions and drops the
    // entry of the one that is gone.
    ra::MotionList fewerMotions;
    fewerMotions.AddMotion(N("run"));
    fewerMotions.AddMotion(N("idle"));
    ChunkWriter fewer;
    MotionLoadGeneric::SaveMotions(*fewer.m_pChunky, fewer.m_adapter, fewerMotions, ra::ModifierList());
    LogCapture log;
    {
        ChunkReader r(fewer.Bytes());
        MotionLoadGeneric::LoadMotions(*r.m_pChunky, r.m_adapter, t.GetMotionList(), t.GetModifierList(),
                                       t.GetEventList(), *t.GetAnimList(), &t.GetActionTree());
    }
    const Action* pRoot = t.GetActionTree().GetAction(0);
    ASSERT_EQ(pRoot->GetMotionCount(), 2);
    EXPECT_EQ(pRoot->GetMotion(0).pMotion, t.GetMotionList().GetMotion(0));
    EXPECT_EQ(pRoot->GetMotion(1).pMotion, t.GetMotionList().GetMotion(1));
    EXPECT_EQ(pRoot->GetMotion(1).conditionType, ra::Condition::CONDITIONTYPE_ELSE);
    EXPECT_TRUE(log.Has("'units/marine': Motion 'idle_b' referenced in action 'root' is missing!"));
    EXPECT_EQ(t.GetModifierList().GetModifierCount(), 0);
}

TEST(MotionChunks, OlderMotionVersionsReadTheirFields)
{
    Inventory inventory;
    Model m(StepEvent());
    auto read = [&](uint32 version, const Bytes& payload)
    {
        ReadTree(MotionFile(version, "m", payload), m.model);
        return m.model.GetMotionList().GetMotion(m.model.GetMotionList().GetMotionCount() - 1);
    };
    auto head = []()
    {
        Bytes b;
        // One animation, no random motions, repeat flag, no events, looping.
        return b.I32(1).Str("walk").I32(0).U8(1).I32(0).I32(1).F32(0.2f).F32(0.1f).F32(0.3f).F32(0.4f);
    };
    // Version 1: a reserved float, the transition, nothing more but the modifier flag.
    const Motion* pV1 = read(1, head().F32(99.0f).F32(0.5f).U8(0));
    EXPECT_EQ(pV1->GetStartDelayMin(), 0.1f) << "stored in order";
    EXPECT_EQ(pV1->GetStartDelayMax(), 0.2f);
    EXPECT_EQ(pV1->GetTransitionOutTime(), 0.5f);
    EXPECT_EQ(pV1->GetStartPositionMax(), 0.0f);
    EXPECT_TRUE(pV1->GetRandomRepeat());
    EXPECT_EQ(pV1->GetAnimNode(0), m.Node("walk"));
    // Version 2: start position and exit delay.
    const Motion* pV2 = read(2, head().F32(99.0f).F32(0.5f).F32(0.6f).F32(0.7f).F32(0.9f).F32(0.8f).U8(0));
    EXPECT_EQ(pV2->GetStartPositionMax(), 0.7f);
    EXPECT_EQ(pV2->GetExitDelayMin(), 0.8f);
    EXPECT_FALSE(pV2->GetIgnoreDelays());
    // Version 3: the ignore delays flag.
    const Motion* pV3 = read(3, head().F32(99.0f).F32(0.5f).F32(0).F32(0).F32(0).F32(0).U8(1).U8(0));
    EXPECT_TRUE(pV3->GetIgnoreDelays());
    EXPECT_FALSE(pV3->GetIgnoreTransitions());
    // Version 4: no reserved float, the ignore transitions flag.
    const Motion* pV4 = read(4, head().F32(0.5f).F32(0).F32(0).F32(0).F32(0).U8(0).U8(1).U8(0));
    EXPECT_EQ(pV4->GetTransitionOutTime(), 0.5f);
    EXPECT_TRUE(pV4->GetIgnoreTransitions());
}

TEST(MotionChunks, BrokenLinksAreLoggedAndSubstituted)
{
    Inventory inventory;
    Model m(StepEvent());
    m.model.GetModifierList().CreateModifier(N("speedmod"));
    Bytes payload;
    payload.I32(2).Str("walk").Str("swim");
    payload.I32(2).Str("walk_fast").F32(0.0f).Str("idle").F32(2.0f).U8(0);
    payload.I32(2).Str("c:\\Art\\Events\\Step.events").F32(0.1f).Str("jump").F32(0.2f);
    payload.I32(0);
    for (int i = 0; i < 9; ++i)
        payload.F32(0.0f);
    payload.U8(0).U8(0).U8(1).Str("turnmod");

    LogCapture log;
    ReadTree(MotionFile(4, "Swimmer", payload), m.model);
    const Motion* pMotion = m.model.GetMotionList().GetMotion(0);
    EXPECT_TRUE(log.Has("'units/marine': Animation 'swim' referenced in motion 'swimmer' is missing!"));
    ASSERT_EQ(pMotion->GetAnimNodeCount(), 2);
    const int standIn = m.model.GetAnimList()->FindAnim(N("MOTION_ERROR - swimmer"));
    ASSERT_NE(standIn, AnimList::InvalidIndex);
    EXPECT_EQ(pMotion->GetAnimNode(1), m.model.GetAnimList()->GetAnimNode(standIn));

    EXPECT_TRUE(log.Has("Random motion 'walk_fast' in motion 'swimmer' has weight 0"));
    ASSERT_EQ(pMotion->GetRandMotionCount(), 1);

    ASSERT_EQ(pMotion->GetEventCount(), 1) << "an event name as a path is found under its normalised name";
    EXPECT_TRUE(log.Has("EVENTS -- 'units/marine': Event 'jump' referenced in motion 'swimmer' is missing!"));
    EXPECT_TRUE(log.Has("'units/marine': Modifier 'turnmod' referenced in motion 'swimmer' is missing!"));
    EXPECT_EQ(pMotion->GetTimingModifier(), nullptr);

    // A second motion with a missing animation of the same motion name reuses the stand-in.
    const int animCount = m.model.GetAnimList()->GetAnimCount();
    ReadTree(MotionFile(4, "swimmer", PlainMotion({"dive"})), m.model);
    EXPECT_EQ(m.model.GetAnimList()->GetAnimCount(), animCount);
}

TEST(MotionChunks, ObsoleteMotionFoldersReadEachVersion)
{
    Inventory inventory;
    Model m(StepEvent());
    auto tail = [](Bytes b, uint32 version)
    {
        // type, start delay, loop delay, reserved below version 4, transition
        b.I32(2).F32(0.1f).F32(0.2f).F32(0.3f).F32(0.4f);
        if (version < 4)
            b.F32(99.0f);
        b.F32(0.5f);
        if (version >= 2)
            b.F32(0.6f).F32(0.7f).F32(0.8f).F32(0.9f);
        if (version >= 3)
            b.U8(1);
        if (version >= 4)
            b.U8(1);
        if (version == 4)
            b.U8(7);
        return b;
    };
    // Version 1: an f32 after each animation name, no random motions; a missing animation is only
    // logged; an old modifier list.
    Bytes v1;
    v1.I32(2).Str("walk").F32(1.0f).Str("gone").F32(1.0f).U8(1).I32(1).Str("art/events/step").F32(0.5f);
    v1 = tail(v1, 1);
    v1.I32(1).Str("speed").I32(1).F32(4.0f);
    Bytes v2;
    v2.I32(1).Str("run").I32(1).Str("walker").F32(2.0f).U8(0).I32(0);
    v2 = tail(v2, 2);
    v2.I32(0);
    Bytes v4;
    v4.I32(1).Str("idle").I32(0).U8(0).I32(0);
    v4 = tail(v4, 4);
    v4.U8(0);
    Bytes v5;
    v5.I32(0).I32(0).U8(0).I32(0);
    v5 = tail(v5, 5);
    v5.U8(1).Str("walker");
    HandFile hand;
    hand.Folder("MTRE", 2).Folder("MOTN", 1, "walker").Data("MDAT", 1, nullptr, v1).End();
    hand.Folder("MOTN", 2, "runner").Data("MDAT", 2, nullptr, v2).End();
    hand.Folder("MOTN", 2, nullptr).Data("MDAT", 4, "idler", v4).End();
    hand.Folder("MOTN", 2, "late").Data("MDAT", 5, nullptr, v5).End();
    const std::string file = hand.End().Contents();
    LogCapture log;
    ReadTree(file, m.model);
    EXPECT_EQ(log.Count("Obsolete motion tree detected, please resave the motion tree!"), 1);
    EXPECT_TRUE(log.Has("Animation 'gone' referenced in motion 'walker' is missing!"));
    EXPECT_EQ(m.model.GetAnimList()->FindAnim(N("MOTION_ERROR - walker")), AnimList::InvalidIndex);

    const ra::MotionList& motions = m.model.GetMotionList();
    ASSERT_EQ(motions.GetMotionCount(), 4);
    const Motion* pWalker = motions.GetMotion(0);
    EXPECT_EQ(pWalker->GetAnimNodeCount(), 1);
    EXPECT_EQ(pWalker->GetRandMotionCount(), 0);
    EXPECT_TRUE(pWalker->GetRandomRepeat());
    EXPECT_EQ(pWalker->GetEventCount(), 1);
    EXPECT_EQ(pWalker->GetType(), Motion::TYPE_HOLD_END);
    EXPECT_EQ(pWalker->GetTransitionOutTime(), 0.5f);
    ASSERT_NE(pWalker->GetTimingModifier(), nullptr);
    EXPECT_EQ(pWalker->GetTimingModifier()->GetName(), N("walker")) << "named after the motion";
    EXPECT_EQ(pWalker->GetTimingModifier()->GetRefValue(), 4.0f);

    const Motion* pRunner = motions.GetMotion(1);
    ASSERT_EQ(pRunner->GetRandMotionCount(), 1);
    EXPECT_EQ(pRunner->GetRandMotion(0).pMotion, pWalker);
    EXPECT_EQ(pRunner->GetExitDelayMax(), 0.9f);
    EXPECT_EQ(pRunner->GetTimingModifier(), nullptr);

    const Motion* pIdler = motions.GetMotion(2);
    EXPECT_EQ(pIdler->GetName(), N("idler")) << "the data chunk's name when the folder has none";
    EXPECT_TRUE(pIdler->GetIgnoreDelays());
    EXPECT_TRUE(pIdler->GetIgnoreTransitions());

    const Motion* pLate = motions.GetMotion(3);
    EXPECT_TRUE(pLate->GetIgnoreTransitions());
    EXPECT_EQ(pLate->GetTimingModifier(), pWalker->GetTimingModifier());
}

TEST(MotionChunks, OlderClausesAndModifiersAndBadEntries)
{
    Inventory inventory;
    Model m(StepEvent());
    HandFile hand;
    hand.Folder("CLST", 1).Data("CLAS", 1, "near", Bytes().I32(0).Str("distance").I32(2).F32(10.0f));
    hand.Data("CLAS", 2, "odd", Bytes().I32(5).Str("x").I32(0).F32(1.0f));
    hand.Data("CLAS", 2, "weird", Bytes().I32(1).Str("x").I32(9).U8(1).U8(0));
    hand.Data("CLAS", 2, "armed", Bytes().I32(1).Str("has_gun").I32(0).U8(1).U8(0)).End();
    hand.Folder("CONL", 1).Data("COND", 1, "ready", Bytes().I32(3).Str("near").Str("odd").Str("armed")).End();
    hand.Folder("MODL", 1).Data("MODF", 1, "old", Bytes().Str("speed").I32(1).F32(2.0f)).End();
    const std::string file = hand.Contents();
    LogCapture log;
    ReadTree(file, m.model);
    const RenderModel& model = m.model;
    ASSERT_EQ(model.GetClauseList().GetClauseCount(), 2);
    EXPECT_EQ(model.GetClauseList().GetClause(0)->GetDescription(), "near [ distance  < 10.00 ]");
    float fallback = 5.0f;
    model.GetClauseList().GetClause(0)->GetDefault(fallback);
    EXPECT_EQ(fallback, 0.0f) << "version 1 has no default";
    EXPECT_TRUE(log.Has("Clause 'odd' has unknown variable type 5, ignoring it!"));
    EXPECT_TRUE(log.Has("Clause 'weird' has unknown comparison 9, ignoring it!"));
    EXPECT_TRUE(log.Has("'units/marine': Clause 'odd' in condition 'ready' is missing, ignoring it!"));
    EXPECT_EQ(model.GetConditionList().GetCondition(0)->GetClauseCount(), 2);
    const Modifier* pOld = model.GetModifierList().GetModifier(0);
    EXPECT_EQ(pOld->GetRefValue(), 2.0f);
    EXPECT_EQ(pOld->GetClampValue(), Modifier(N("x")).GetClampValue()) << "version 1 keeps the default clamp";
}

TEST(MotionChunks, ActionLinksThatBreakAreLoggedAndMended)
{
    Inventory inventory;
    Model m(StepEvent());
    Motion* pWalk = m.model.GetMotionList().AddMotion(N("walk"));
    m.model.GetConditionList().CreateCondition(N("moving"));
    Bytes root;
    root.I32(4);
    root.Str("walk").I32(0).Str("moving");
    root.Str("fly").I32(3);
    root.Str("walk").I32(1).Str("airborne");
    root.Str("walk").I32(8);
    root.I32(2).Str("nowhere").I32(2).Str("root").I32(0).Str("airborne");
    const std::string file = HandFile().Folder("ACTR", 1).Data("ACTN", 1, "root", root).End().Contents();
    LogCapture log;
    ReadTree(file, m.model);
    const Action* pRoot = m.model.GetActionTree().GetAction(0);
    ASSERT_EQ(pRoot->GetMotionCount(), 3);
    EXPECT_TRUE(log.Has("'units/marine': Motion 'fly' referenced in action 'root' is missing!"));
    EXPECT_EQ(pRoot->GetMotion(0).pMotion, pWalk);
    EXPECT_NE(pRoot->GetMotion(0).pCondition, nullptr);
    EXPECT_TRUE(log.Has("'units/marine': Condition 'airborne' referenced in action 'root' is missing!"));
    EXPECT_EQ(pRoot->GetMotion(1).conditionType, ra::Condition::CONDITIONTYPE_ALWAYS);
    EXPECT_EQ(pRoot->GetMotion(1).pCondition, nullptr);
    EXPECT_TRUE(log.Has("Unknown condition type 8 for 'walk' in action 'root'"));
    EXPECT_EQ(pRoot->GetMotion(2).conditionType, ra::Condition::CONDITIONTYPE_ALWAYS);
    ASSERT_EQ(pRoot->GetSubActionCount(), 1);
    EXPECT_EQ(pRoot->GetSubAction(0).pAction, pRoot);
    EXPECT_EQ(pRoot->GetSubAction(0).conditionType, ra::Condition::CONDITIONTYPE_ALWAYS);
}

TEST(MotionChunks, DamagedAndNewerChunksThrow)
{
    Inventory inventory;
    auto load = [](const std::string& bytes)
    {
        Model m(StepEvent());
        ReadTree(bytes, m.model);
    };
    Bytes cut = PlainMotion();
    cut.m_data.pop_back();
    const struct
    {
        const char* what;
        std::string file;
    } cases[] = {
        {"count beyond the chunk", MotionFile(4, "m", Bytes().I32(100000).Str("walk"))},
        {"count below zero", MotionFile(4, "m", Bytes().I32(-3))},
        {"string past the chunk end", MotionFile(4, "m", Bytes().I32(1).U32(40).Raw("walk", 4))},
        {"payload cut before its last field", MotionFile(4, "m", cut)},
        {"newer clause", HandFile().Folder("CLST", 1).Data("CLAS", 3, "c", Bytes()).End().Contents()},
        {"condition cut",
         HandFile().Folder("CONL", 1).Data("COND", 1, "c", Bytes().I32(2).Str("a")).End().Contents()},
        {"action cut",
         HandFile().Folder("ACTR", 1).Data("ACTN", 1, "a", Bytes().I32(1).Str("m")).End().Contents()},
    };
    for (const auto& c : cases)
        EXPECT_THROW(load(c.file), Chunky::Exception) << c.what;
    EXPECT_THROW(load(MotionFile(4, "m", Bytes().I32(1).Str(std::string(261, 'a')))), ByteStream::Exception);
    EXPECT_NO_THROW(load(MotionFile(4, "m", PlainMotion())));
    try
    {
        load(MotionFile(5, "m", PlainMotion()));
        ADD_FAILURE() << "a newer motion was read";
    }
    catch (const Chunky::Exception& e)
    {
        EXPECT_STREQ(e.what(), "Unsupported (newer) Chunk Version!");
    }
}

TEST(MotionFiles, ActionAndMotionFilesRoundTripByName)
{
    Inventory inventory;
    generic_test::MountedFolder data("DATA");
    const Inv::Reference<ra::EventData> step = StepEvent();
    Model source(step);
    BuildTree(source);
    ASSERT_TRUE(MotionLoadGeneric::SaveFile("DATA:units\\marine.motions", source.model));
    ASSERT_TRUE(ActionLoadGeneric::SaveFile("DATA:units\\marine.actions", source.model));

    Model target(step);
    EXPECT_TRUE(MotionLoadGeneric::LoadFile("DATA:units\\marine.motions", target.model));
    EXPECT_TRUE(ActionLoadGeneric::LoadFile("DATA:units\\marine.actions", target.model));
    EXPECT_EQ(WriteTree(target.model), WriteTree(source.model));

    LogCapture log;
    EXPECT_FALSE(MotionLoadGeneric::LoadFile("DATA:units\\none.motions", target.model));
    EXPECT_TRUE(log.Has("'DATA:units\\none.motions': Unable to open file!"));
    // An action file where a motion file is expected: the root is missing.
    EXPECT_FALSE(MotionLoadGeneric::LoadFile("DATA:units\\marine.actions", target.model));
    EXPECT_TRUE(log.Has("Missing Chunk Type!"));
    data.Write("units/cut.actions", ChunkWriter().Bytes() + std::string("\x44\x4c\x4f\x46", 4));
    EXPECT_FALSE(ActionLoadGeneric::LoadFile("DATA:units\\cut.actions", target.model));
    EXPECT_TRUE(log.Has("Not a valid chunk header!"));
}
