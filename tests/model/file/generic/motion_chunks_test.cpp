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

namespace
{
ra::Name N(const char* text)
{
    return ra::MakeName(text);
}

// A model with the animations "walk", "run" and "idle" and the event "art/events/step", into which
// motion trees are read; it needs an inventory (model_test::Env) made before it.
struct Model
{
    Model() : model("units/marine")
    {
        model.SetAnimList(std::make_unique<AnimListGeneric>(model));
        for (const char* name : {"walk", "run", "idle"})
            model.GetAnimList()->AddAnim(N(name), ra::Name::INVALID);
        // One event for every model of the test: the inventory holds a name once.
        Inv::Resource* pFound = nullptr;
        if (Inv::Warehouse::Get()->Find(&pFound, "art/events/step", ra::EventData::GetTypeInfo()))
            model.GetEventList().AddEvent(Inv::Reference<ra::EventData>(pFound));
        else
        {
            auto* pStep = new ra::EventData("art/events/step");
            pStep->AddParam("sound", "art/sound/step");
            model.GetEventList().AddEvent(Inv::Warehouse::Get()->Add(pStep));
        }
    }
    ~Model() { model.GetEventList().Clear(); }
    AnimListNode* Node(const char* name) const
    {
        return model.GetAnimList()->GetAnimNode(model.GetAnimList()->FindAnim(N(name)));
    }
    mutable RenderModel model;
};

// Every kind of entry of the tree, each field away from its default.
void BuildTree(Model& m)
{
    RenderModel& model = m.model;
    using generic_test::MakeClause;
    ra::ClauseList& clauses = model.GetClauseList();
    clauses.AddClause(MakeClause("fast", "speed", ra::Clause::COMPARE_GREATER_EQUAL, 2.5f, -1.0f));
    clauses.AddClause(MakeClause("moving", "is_moving", ra::Clause::COMPARE_NOT_EQUAL, false, true));
    clauses.AddClause(MakeClause("crouched", "stance", ra::Clause::COMPARE_EQUAL, N("crouch"), N("stand")));
    ra::Condition* pRunning = model.GetConditionList().CreateCondition(N("running"));
    pRunning->AddClause(clauses.GetClause(0), false);
    pRunning->AddClause(clauses.GetClause(1), false);
    ra::Condition* pLow = model.GetConditionList().CreateCondition(N("low"));
    pLow->AddClause(clauses.GetClause(2), false);
    model.GetConditionList().CreateCondition(N("empty"));
    Modifier* pSpeed = generic_test::AddModifier(model, "speedmod", "speed", Modifier::TYPE_SCALED, 3.0f, 2.0f);
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

TEST(MotionChunks, WholeTreeRoundTripsLinkedAndSecondWriteIsTheSame)
{
    model_test::Env env;
    Model source, copy;
    BuildTree(source);
    const std::string first = WriteTree(source.model);
    LogCapture log;
    ReadTree(first, copy.model);
    EXPECT_EQ(log.Count("missing"), 0);
    EXPECT_TRUE(generic_test::SameModel(source.model, copy.model));
    // The links are pointers into the model's own lists.
    const RenderModel& m = copy.model;
    const Motion* pRun = m.GetMotionList().GetMotion(0);
    EXPECT_EQ(m.GetConditionList().GetCondition(0)->GetClause(1), m.GetClauseList().GetClause(1));
    EXPECT_EQ(pRun->GetAnimNode(1), copy.Node("walk"));
    EXPECT_EQ(pRun->GetTimingModifier(), m.GetModifierList().GetModifier(0));
    EXPECT_EQ(m.GetMotionList().GetMotion(1)->GetRandMotion(0).pMotion, pRun);
    const Action* pRoot = m.GetActionTree().GetAction(0);
    EXPECT_EQ(pRoot->GetMotion(0).pCondition, m.GetConditionList().GetCondition(0));
    EXPECT_EQ(pRoot->GetSubAction(0).pAction, m.GetActionTree().GetAction(1));
    EXPECT_EQ(pRoot->GetSubAction(1).pAction, pRoot);
    EXPECT_EQ(WriteTree(copy.model), first);
}

TEST(MotionChunks, BrokenLinksAreLoggedAndSubstituted)
{
    model_test::Env env;
    Model m;
    m.model.GetModifierList().CreateModifier(N("speedmod"));
    Bytes payload;
    payload.I32(2).Str("walk").Str("swim");
    payload.I32(2).Str("walk_fast").F32(0.0f).Str("idle").F32(2.0f).U8(0);
    payload.I32(2).Str("c:\\Art\\Events\\Step.events").F32(0.1f).Str("jump").F32(0.2f).I32(0);
    for (int i = 0; i < 9; ++i)
        payload.F32(0.0f);
    payload.U8(0).U8(0).U8(1).Str("turnmod");
    LogCapture log;
    ReadTree(MotionFile(4, "Swimmer", payload), m.model);
    const Motion* pMotion = m.model.GetMotionList().GetMotion(0);
    for (const char* line : {"'units/marine': Animation 'swim' referenced in motion 'swimmer' is missing!",
                             "Random motion 'walk_fast' in motion 'swimmer' has weight 0",
                             "EVENTS -- 'units/marine': Event 'jump' referenced in motion 'swimmer' is missing!",
                             "'units/marine': Modifier 'turnmod' referenced in motion 'swimmer' is missing!"})
        EXPECT_TRUE(log.Has(line)) << line;
    ASSERT_EQ(pMotion->GetAnimNodeCount(), 2);
    const int standIn = m.model.GetAnimList()->FindAnim(N("MOTION_ERROR - swimmer"));
    ASSERT_NE(standIn, AnimList::InvalidIndex);
    EXPECT_EQ(pMotion->GetAnimNode(1), m.model.GetAnimList()->GetAnimNode(standIn));
    EXPECT_EQ(pMotion->GetRandMotionCount(), 1);
    EXPECT_EQ(pMotion->GetEventCount(), 1) << "an event name as a path is found under its normalised name";
    EXPECT_EQ(pMotion->GetTimingModifier(), nullptr);
    // A second motion with a missing animation of the same motion name reuses the stand-in.
    const int animCount = m.model.GetAnimList()->GetAnimCount();
    ReadTree(MotionFile(4, "swimmer", PlainMotion({"dive"})), m.model);
    EXPECT_EQ(m.model.GetAnimList()->GetAnimCount(), animCount);
}

TEST(MotionChunks, ObsoleteMotionFoldersReadEachVersion)
{
    model_test::Env env;
    Model m;
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
    Bytes v1 = tail(Bytes().I32(2).Str("walk").F32(1.0f).Str("gone").F32(1.0f).U8(1).I32(1).Str("art/events/step").F32(0.5f), 1);
    v1.I32(1).Str("speed").I32(1).F32(4.0f);
    Bytes v2 = tail(Bytes().I32(1).Str("run").I32(1).Str("walker").F32(2.0f).U8(0).I32(0), 2);
    v2.I32(0);
    Bytes v4 = tail(Bytes().I32(1).Str("idle").I32(0).U8(0).I32(0), 4);
    v4.U8(0);
    Bytes v5 = tail(Bytes().I32(0).I32(0).U8(0).I32(0), 5);
    v5.U8(1).Str("walker");
    Bytes v3 = tail(Bytes().I32(0).I32(0).U8(0).I32(0), 3);
    v3.U8(1).Str("walker");
    HandFile hand;
    hand.Folder("MTRE", 2).Folder("MOTN", 1, "walker").Data("MDAT", 1, nullptr, v1).End();
    hand.Folder("MOTN", 2, "runner").Data("MDAT", 2, nullptr, v2).End();
    hand.Folder("MOTN", 2, nullptr).Data("MDAT", 4, "idler", v4).End();
    hand.Folder("MOTN", 2, "late").Data("MDAT", 5, nullptr, v5).End();
    hand.Folder("MOTN", 2, "middle").Data("MDAT", 3, nullptr, v3).End();
    LogCapture log;
    ReadTree(hand.End().Contents(), m.model);
    EXPECT_EQ(log.Count("Obsolete motion tree detected, please resave the motion tree!"), 1);
    EXPECT_TRUE(log.Has("Animation 'gone' referenced in motion 'walker' is missing!"));
    EXPECT_EQ(m.model.GetAnimList()->FindAnim(N("MOTION_ERROR - walker")), AnimList::InvalidIndex);

    const ra::MotionList& motions = m.model.GetMotionList();
    ASSERT_EQ(motions.GetMotionCount(), 5);
    const Motion* pWalker = motions.GetMotion(0);
    EXPECT_EQ(pWalker->GetAnimNodeCount(), 1);
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
    EXPECT_EQ(motions.GetMotion(2)->GetName(), N("idler")) << "the data chunk's name when the folder has none";
    EXPECT_TRUE(motions.GetMotion(2)->GetIgnoreTransitions());
    EXPECT_EQ(motions.GetMotion(3)->GetTimingModifier(), pWalker->GetTimingModifier());
    EXPECT_EQ(motions.GetMotion(4)->GetTimingModifier(), pWalker->GetTimingModifier()) << "version 3 names it";
}

TEST(MotionChunks, OlderClausesAndModifiersAndBadEntries)
{
    model_test::Env env;
    Model m;
    HandFile hand;
    hand.Folder("CLST", 1).Data("CLAS", 1, "near", Bytes().I32(0).Str("distance").I32(2).F32(10.0f));
    hand.Data("CLAS", 2, "odd", Bytes().I32(5).Str("x").I32(0).F32(1.0f));
    hand.Data("CLAS", 2, "weird", Bytes().I32(1).Str("x").I32(9).U8(1).U8(0));
    hand.Data("CLAS", 2, "armed", Bytes().I32(1).Str("has_gun").I32(0).U8(1).U8(0)).End();
    hand.Folder("CONL", 1).Data("COND", 1, "ready", Bytes().I32(3).Str("near").Str("odd").Str("armed")).End();
    hand.Folder("MODL", 1).Data("MODF", 1, "old", Bytes().Str("speed").I32(1).F32(2.0f)).End();
    LogCapture log;
    ReadTree(hand.Contents(), m.model);
    const RenderModel& model = m.model;
    ASSERT_EQ(model.GetClauseList().GetClauseCount(), 2);
    EXPECT_EQ(model.GetClauseList().GetClause(0)->GetDescription(), "near [ distance  < 10.00 ]");
    float fallback = 5.0f;
    model.GetClauseList().GetClause(0)->GetDefault(fallback);
    EXPECT_EQ(fallback, 0.0f) << "version 1 has no default";
    for (const char* line : {"Clause 'odd' has unknown variable type 5, ignoring it!",
                             "Clause 'weird' has unknown comparison 9, ignoring it!",
                             "'units/marine': Clause 'odd' in condition 'ready' is missing, ignoring it!"})
        EXPECT_TRUE(log.Has(line)) << line;
    EXPECT_EQ(model.GetConditionList().GetCondition(0)->GetClauseCount(), 2);
    const Modifier* pOld = model.GetModifierList().GetModifier(0);
    EXPECT_EQ(pOld->GetRefValue(), 2.0f);
    EXPECT_EQ(pOld->GetClampValue(), Modifier(N("x")).GetClampValue()) << "version 1 keeps the default clamp";
}

TEST(MotionChunks, ActionLinksThatBreakAreLoggedAndMended)
{
    model_test::Env env;
    Model m;
    Motion* pWalk = m.model.GetMotionList().AddMotion(N("walk"));
    m.model.GetConditionList().CreateCondition(N("moving"));
    Bytes root;
    root.I32(4).Str("walk").I32(0).Str("moving").Str("fly").I32(3).Str("walk").I32(1).Str("airborne").Str("walk").I32(8);
    root.I32(2).Str("nowhere").I32(2).Str("root").I32(0).Str("airborne");
    LogCapture log;
    ReadTree(HandFile().Folder("ACTR", 1).Data("ACTN", 1, "root", root).End().Contents(), m.model);
    const Action* pRoot = m.model.GetActionTree().GetAction(0);
    ASSERT_EQ(pRoot->GetMotionCount(), 3);
    for (const char* line : {"'units/marine': Motion 'fly' referenced in action 'root' is missing!",
                             "'units/marine': Condition 'airborne' referenced in action 'root' is missing!",
                             "Unknown condition type 8 for 'walk' in action 'root'"})
        EXPECT_TRUE(log.Has(line)) << line;
    EXPECT_EQ(pRoot->GetMotion(0).pMotion, pWalk);
    EXPECT_NE(pRoot->GetMotion(0).pCondition, nullptr);
    EXPECT_EQ(pRoot->GetMotion(1).conditionType, ra::Condition::CONDITIONTYPE_ALWAYS);
    EXPECT_EQ(pRoot->GetMotion(1).pCondition, nullptr);
    EXPECT_EQ(pRoot->GetMotion(2).conditionType, ra::Condition::CONDITIONTYPE_ALWAYS);
    ASSERT_EQ(pRoot->GetSubActionCount(), 1);
    EXPECT_EQ(pRoot->GetSubAction(0).pAction, pRoot);
    EXPECT_EQ(pRoot->GetSubAction(0).conditionType, ra::Condition::CONDITIONTYPE_ALWAYS);
}

TEST(MotionChunks, DamagedAndNewerChunksThrow)
{
    model_test::Env env;
    auto load = [](const std::string& bytes)
    {
        Model m;
        ReadTree(bytes, m.model);
    };
    Bytes cut = PlainMotion();
    cut.m_data.pop_back();
    // clang-format off
    const struct { const char* what; std::string file; } cases[] = {
        {"count beyond the chunk", MotionFile(4, "m", Bytes().I32(100000).Str("walk"))},
        {"count below zero", MotionFile(4, "m", Bytes().I32(-3))},
        {"payload cut before its last field", MotionFile(4, "m", cut)},
        {"newer clause", HandFile().Folder("CLST", 1).Data("CLAS", 3, "c", Bytes()).End().Contents()},
        {"condition cut", HandFile().Folder("CONL", 1).Data("COND", 1, "c", Bytes().I32(2).Str("a")).End().Contents()},
        {"action cut", HandFile().Folder("ACTR", 1).Data("ACTN", 1, "a", Bytes().I32(1).Str("m")).End().Contents()},
    };
    // clang-format on
    for (const auto& c : cases)
        EXPECT_THROW(load(c.file), Chunky::Exception) << c.what;
    EXPECT_THROW(load(MotionFile(4, "m", Bytes().I32(1).Str(std::string(261, 'a')))), ByteStream::Exception);
    EXPECT_NO_THROW(load(MotionFile(4, "m", PlainMotion())));
    EXPECT_EQ(ChunkyCode([&] { load(MotionFile(5, "m", PlainMotion())); }), 5);
}
