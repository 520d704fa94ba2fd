// The final model files: written and read whole, and each chunk built by hand and checked at its edges.
#include "model/file/final/rendermodelloadfinal.h"
#include "model/file/final/skeletonloadfinal.h"

#include "model/file/final/final_test_util.h"
#include "support/logcapture.h"

#include <gtest/gtest.h>

using namespace final_test;
using model_test::FileHeader;

namespace
{
// What the generic form does not carry: a low level of detail and the shadow arrays.
void AddLowLevelAndShadows(ra::Mesh& mesh)
{
    fr::VertexType type;
    type.set(fr::VC_Position);
    type.set(fr::VC_Normal);
    std::unique_ptr<fr::VertexSet> pLow = ra::CreateVertexSet(type, 3);
    ra::WriteStreamWords(*pLow, fr::VC_Position, FloatWords(3, 3, 0.5f, -1.0f));
    ra::WriteStreamWords(*pLow, fr::VC_Normal, FloatWords(3, 3, 0.25f, 2.0f));
    mesh.SetVertexSet(ra::Mesh::Poly_Low, std::move(pLow));
    mesh.SetPrimSet(0, ra::Mesh::Poly_Low, TriangleList({2, 1, 0}));
    mesh.SetPolyCount(ra::Mesh::Poly_Low, 1);
    mesh.SetShadowVertices({{1, 2, 3}, {4, 5, 6}});
    ra::ShadowEdge edge;
    for (size_t i = 0; i < sizeof(edge.data); ++i)
        edge.data[i] = uint8(i * 7);
    mesh.SetShadowEdges({edge});
    ra::ShadowFace face;
    for (size_t i = 0; i < sizeof(face.data); ++i)
        face.data[i] = uint8(200 - i);
    mesh.SetShadowFaces({face, face});
}

// The payload of a final mesh "DATA": rigid, positions only, no skin.
struct MeshData
{
    std::vector<float> cHigh; // 3 floats a vertex
    std::vector<float> cLow;
    std::vector<uint16> cHighIndex;
    std::vector<uint16> cLowIndex;
    uint32 shadowVertices = 0;
    uint32 shadowEdges = 0;
    uint32 shadowFaces = 0;
};

std::string IndexList(const std::vector<uint16>& c)
{
    Bytes b;
    b.I32(int32(c.size()));
    if (c.empty())
        return b;
    for (uint16 i : c)
        b.U16(i);
    return b.U16(*std::min_element(c.begin(), c.end())).U16(0);
}

std::string MeshPayload(const MeshData& m)
{
    Bytes b;
    b.U32(0).U8(1).I32(1).I32(0).I32(0);
    b.I32(int32(m.cHigh.size() / 3)).U32(1u << fr::VC_Position);
    for (float f : m.cHigh)
        b.F32(f);
    b.I32(int32(m.cLow.size() / 3));
    if (!m.cLow.empty())
    {
        b.U32(1u << fr::VC_Position);
        for (float f : m.cLow)
            b.F32(f);
    }
    b.I32(1).Str("plain").Add(IndexList(m.cHighIndex)).Add(IndexList(m.cLowIndex));
    b.I32(int32(m.shadowVertices));
    for (uint32 i = 0; i < m.shadowVertices; ++i)
        b.Vec3(float(i), 0, 0);
    b.I32(int32(m.shadowEdges)).Add(std::string(m.shadowEdges * 24, 'e'));
    b.I32(int32(m.shadowFaces)).Add(std::string(m.shadowFaces * 40, 'f'));
    return b;
}

std::string ObbBytes()
{
    ra::OBB box;
    box.scale = {1, 1, 1};
    return Bytes().U8(1).Raw(&box, sizeof(box));
}

// A group of one local mesh, whose "DATA" is `meshData` as given.
std::string MeshGroupChunk(const char* meshName, const std::string& meshData)
{
    return Folder("MSGR", 1,
                  Folder("MSLC", 1, Data("DATA", 2, meshData) + Data("BVOL", 2, ObbBytes()), meshName) +
                      Data("DATA", 1, Bytes().I32(1).Str(meshName).Str("").U32(uint32(-1))) +
                      Data("BVOL", 2, Bytes().U8(0)));
}

std::string AnimChunk(const char* name, const std::string& data)
{
    return Folder("ANIM", 3, Data("DATA", 2, data, name), name);
}

// An animation of no bones: 5 frames in a quarter second.
std::string EmptyAnimData()
{
    return Bytes().I32(5).F32(0.25f).I32(0).I32(0).I32(0);
}

std::string ModelFile(const char* name, const std::string& children)
{
    return FileHeader() + Folder("RSGM", 3, children, name);
}

// A motion of no animations, as "MTON" holds it.
std::string MotionPayload()
{
    // No animations, no random motions, no events, transition 0.2, no flags.
    Bytes b;
    b.I32(0).I32(0).U8(0).I32(0).I32(0).Floats({0, 0, 0, 0}).F32(0.2f);
    return b.Floats({0, 0, 0, 0}).Add(std::string(3, '\0'));
}
std::string BoneBytes(const char* name, int32 parent, float y)
{
    return Bytes().Str(name).I32(parent).Vec3(0, y, 0).Floats({0, 0, 0, 1});
}

// The "DATA" of a rigid mesh of one triangle skinned by `bone`.
std::string SkinnedMeshData(const char* bone)
{
    Bytes data;
    data.U32(0).U8(1).I32(1).I32(0).I32(1).Str(bone).U32(0).I32(3).U32(1u << fr::VC_Position);
    return data.Floats({0, 0, 0, 1, 0, 0, 0, 1, 0}).I32(0).I32(0).I32(0).I32(0).I32(0);
}
} // namespace

TEST(FinalModel, ModelWrittenAndReadBackHasTheSameContentAndRewritesTheSameBytes)
{
    FinalEnv e;
    ScopedShadowManager shadows;
    // A donor whose mesh and animation the walker takes by reference.
    Inv::Warehouse::Get()->PushFrame("donor");
    ASSERT_TRUE(RenderModelLoadFinal::Save("DATA:art/donor", *BuildDonor()));
    Inv::Warehouse::Get()->PopFrame();
    WalkerOptions options;
    options.xrefMesh = options.xrefAnim = true;
    Inv::Warehouse::Get()->PushFrame("built");
    std::unique_ptr<RenderModel> pBuilt = BuildFinalWalker(options);
    AddLowLevelAndShadows(*pBuilt->GetMeshGroup()->GetMesh(0));
    ASSERT_TRUE(RenderModelLoadFinal::Save("DATA:art/walker", *pBuilt));
    Inv::Warehouse::Get()->PopFrame();
    const std::string tqm = e.data.Read("art/walker.tqm");
    const std::string tqe = e.data.Read("art/walker.tqe");
    EXPECT_EQ(RootChildren(tqm),
              (std::vector<std::string>{"TXTR:art/textures/walker_skin", "TXTR:art/textures/walker_glow",
                                        "SHDR:walker_skin", "SHDR:walker_glow",
                                        "SKEL:", "MSGR:", "MARK:", "CAMS:", "ANIM:walk", "ANIM:idle"}));
    EXPECT_EQ(RootChildren(tqe), (std::vector<std::string>{"ANIM:wave", "EVCT:", "CLST:", "CONL:", "MODL:",
                                                           "MTRE:", "ACTS:", "SEUI:"}));

    // Read in a frame of its own, which doesn't see the shaders and textures of the built one.
    Inv::Warehouse::Get()->PushFrame("read");
    std::unique_ptr<RenderModel> pRead;
    {
        LogCapture log;
        pRead = RenderModelLoadFinal::Load("art/walker");
        EXPECT_TRUE(log.Has("RENDER MODEL USAGE -- Loading model 'art/walker'..."));
    }
    ASSERT_TRUE(pRead);
    EXPECT_TRUE(SameBytes(GenericBytes(*pRead), GenericBytes(*pBuilt)));
    EXPECT_TRUE(SameModel(*pBuilt, *pRead)); // with the low level and shadow arrays
    // The donor's parts came from its file.
    EXPECT_EQ(Text(pRead->GetMeshGroup()->GetMeshXRefName(2)), "art/donor");
    EXPECT_EQ(Text(pRead->GetAnimList()->GetAnimNode(2)->GetXRefName()), "art/donor");
    EXPECT_EQ(pRead->GetMeshGroup()->GetPolyCount(ra::Mesh::Poly_Low), 1);
    ASSERT_TRUE(RenderModelLoadFinal::Save("DATA:art/again.tqm", *pRead));
    Inv::Warehouse::Get()->PopFrame();
    EXPECT_TRUE(SameBytes(e.data.Read("art/again.tqm"), tqm));
    EXPECT_TRUE(SameBytes(e.data.Read("art/again.tqe"), tqe));
}

TEST(FinalModel, MarkersAndCamerasAreOneChunkEachAndOnlyWhenThereAreAny)
{
    FinalEnv e;
    struct Case
    {
        int32 markers;
        int32 cameras;
        std::vector<std::string> children;
    } const cases[] = {
        {0, 0, {}},
        {2, 0, {"MARK:"}},
        {0, 1, {"CAMS:"}},
        {1, 3, {"MARK:", "CAMS:"}},
    };
    for (const Case& c : cases)
    {
        SCOPED_TRACE(c.markers * 10 + c.cameras);
        RenderModel model("plain");
        model.SetCMarkerCount(c.markers);
        model.SetCCameraCount(c.cameras);
        const std::string file =
            WriteChunks([&](Chunky& ch, ByteStreamAdapter& a) { RenderModelLoadFinal::Save(ch, a, model); });
        EXPECT_EQ(RootChildren(file), c.children);
        EXPECT_FALSE(RenderModelLoadFinal::HasEntity(model));
    }

    // The chunks as the game reads them, built by hand.
    Bytes mark, cams;
    mark.I32(2).Str("muzzle").Str("arm").Floats({1, 0, 0, 0, 1, 0, 0, 0, 1, 4, 5, 6});
    mark.Str("smoke").Str("").Floats({0, 0, 1, 0, 1, 0, 1, 0, 0, 0, 2, 0});
    cams.I32(1).Str("portrait").Vec3(1, 2, 3).Floats({0, 0.6f, 0, 0.8f}).F32(0.5f).F32(0.25f).F32(90);
    cams.Vec3(7, 8, 9);
    e.data.Write("hand.tqm", ModelFile("hand", Data("MARK", 1, mark) + Data("CAMS", 1, cams)));
    std::unique_ptr<RenderModel> pModel = RenderModelLoadFinal::Load("hand");
    ASSERT_TRUE(pModel);
    ASSERT_EQ(pModel->GetCMarkerCount(), 2);
    EXPECT_EQ(Text(pModel->GetCMarker(0).name), "muzzle");
    EXPECT_EQ(Text(pModel->GetCMarker(0).parentName), "arm");
    EXPECT_EQ(pModel->GetCMarker(0).transform.Translation().y, 5.0f);
    EXPECT_EQ(pModel->GetCMarker(1).parentName, ra::Name::INVALID);
    ASSERT_EQ(pModel->GetCCameraCount(), 1);
    const RenderModelCamera& camera = pModel->GetCCamera(0);
    EXPECT_EQ(Text(camera.name), "portrait");
    EXPECT_EQ(camera.position.z, 3.0f);
    EXPECT_EQ(camera.orientation.w, 0.8f);
    EXPECT_EQ(camera.fov, 0.5f);
    EXPECT_EQ(camera.nearClip, 0.25f);
    EXPECT_EQ(camera.farClip, 90.0f);
    EXPECT_EQ(camera.target.x, 7.0f);
}

TEST(FinalModel, SecondModelReusesTheMeshAndAnimationOfTheSameNameWithoutReadingThem)
{
    FinalEnv e;
    MeshData hull;
    hull.cHigh = {0, 0, 0, 1, 0, 0, 0, 1, 0};
    // The second file's chunks of the same names are not even valid: they are never read.
    const std::string garbage = "\xff\xff\xff\xff";
    e.data.Write("first.tqm", ModelFile("first", MeshGroupChunk("hull", MeshPayload(hull)) +
                                                     AnimChunk("wave", EmptyAnimData())));
    e.data.Write("second.tqm",
                 ModelFile("second", MeshGroupChunk("hull", garbage) + AnimChunk("wave", garbage)));

    Inv::Warehouse::Get()->PushFrame("alone");
    EXPECT_FALSE(RenderModelLoadFinal::Load("second"));
    Inv::Warehouse::Get()->PopFrame();

    std::unique_ptr<RenderModel> pFirst = RenderModelLoadFinal::Load("first");
    ASSERT_TRUE(pFirst);
    std::unique_ptr<RenderModel> pSecond = RenderModelLoadFinal::Load("second");
    ASSERT_TRUE(pSecond);
    EXPECT_EQ(pSecond->GetMeshGroup()->GetMesh(0), pFirst->GetMeshGroup()->GetMesh(0));
    EXPECT_EQ(pSecond->GetMeshGroup()->GetMesh(0)->GetVertexSet(ra::Mesh::Poly_High)->GetSize(), 3u);
    ASSERT_EQ(pSecond->GetAnimList()->GetAnimCount(), 1);
    EXPECT_EQ(pSecond->GetAnimList()->GetAnimNode(0)->GetAnim().Get(),
              pFirst->GetAnimList()->GetAnimNode(0)->GetAnim().Get());
}

TEST(FinalModel, MeshDataReadsBothLevelsAndTheShadowArraysOnlyForAShadowManager)
{
    FinalEnv e;
    MeshData m;
    m.cHigh = {0, 0, 0, 1, 0, 0, 0, 1, 0, 1, 1, 0};
    m.cHighIndex = {0, 1, 2, 2, 1, 3};
    m.cLow = {0, 0, 0, 1, 1, 0, 5, 5, 5};
    m.cLowIndex = {0, 1, 2};
    m.shadowVertices = 2;
    m.shadowEdges = 1;
    m.shadowFaces = 3;
    e.data.Write("m.tqm", ModelFile("m", MeshGroupChunk("hull", MeshPayload(m))));
    for (const bool manager : {false, true})
    {
        SCOPED_TRACE(manager);
        std::unique_ptr<ScopedShadowManager> pShadows;
        if (manager)
            pShadows = std::make_unique<ScopedShadowManager>();
        Inv::Warehouse::Get()->PushFrame(manager ? "with" : "without");
        std::unique_ptr<RenderModel> pModel = RenderModelLoadFinal::Load("m");
        ASSERT_TRUE(pModel);
        const ra::Mesh& mesh = *pModel->GetMeshGroup()->GetMesh(0);
        EXPECT_EQ(IndicesOf(mesh, 0), m.cHighIndex);
        EXPECT_EQ(IndicesOf(mesh, 0, ra::Mesh::Poly_Low), m.cLowIndex);
        ASSERT_TRUE(mesh.GetVertexSet(ra::Mesh::Poly_Low));
        EXPECT_EQ(mesh.GetVertexSet(ra::Mesh::Poly_Low)->GetSize(), 3u);
        EXPECT_EQ(mesh.GetShadowVertices().size(), manager ? 2u : 0u);
        EXPECT_EQ(mesh.GetShadowEdges().size(), manager ? 1u : 0u);
        EXPECT_EQ(mesh.GetShadowFaces().size(), manager ? 3u : 0u);
        if (manager)
        {
            EXPECT_EQ(mesh.GetShadowFaces()[2].data[39], 'f');
        }
        Inv::Warehouse::Get()->PopFrame();
    }

    // An index past the low level's vertices, or shadow arrays longer than the chunk, fail the load.
    MeshData pastLow = m;
    pastLow.cLowIndex = {0, 1, 3};
    MeshData shortShadows = m;
    const std::string cut = MeshPayload(shortShadows).substr(0, MeshPayload(shortShadows).size() - 40);
    ScopedShadowManager shadows;
    for (const std::string& payload : {MeshPayload(pastLow), cut})
    {
        e.data.Write("bad.tqm", ModelFile("bad", MeshGroupChunk("broken", payload)));
        Inv::Warehouse::Get()->PushFrame("bad");
        EXPECT_FALSE(RenderModelLoadFinal::Load("bad"));
        Inv::Warehouse::Get()->PopFrame();
    }
}

TEST(FinalModel, ActionNamingAMissingMotionFailsTheLoad)
{
    FinalEnv e;
    e.data.Write("unit.tqm", ModelFile("unit", ""));
    struct Case
    {
        const char* motion;
        bool loads;
    } const cases[] = {{"run", true}, {"walk", false}};
    for (const Case& c : cases)
    {
        SCOPED_TRACE(c.motion);
        const std::string acts =
            Bytes().I32(1).Str("attack").I32(1).Str(c.motion).I32(ra::Condition::CONDITIONTYPE_ALWAYS).I32(0);
        e.data.Write("unit.tqe",
                     FileHeader() + Folder("REBP", 4,
                                           Folder("MTRE", 3, Data("MTON", 4, MotionPayload(), "run")) +
                                               Data("ACTS", 1, acts)));
        LogCapture log;
        Inv::Warehouse::Get()->PushFrame(c.motion);
        std::unique_ptr<RenderModel> pModel = RenderModelLoadFinal::Load("unit");
        Inv::Warehouse::Get()->PopFrame();
        EXPECT_EQ(bool(pModel), c.loads);
        EXPECT_EQ(log.Has("'unit': Motion 'walk' referenced in action 'attack' is missing!"), !c.loads);
        if (!pModel)
            continue;
        ASSERT_EQ(pModel->GetActionTree().GetActionCount(), 1);
        EXPECT_EQ(pModel->GetActionTree().GetAction(0)->GetMotion(0).pMotion,
                  pModel->GetMotionList().GetMotion(0));
    }
}

TEST(FinalModel, CrossReferencedAnimationsComeFromTheirModelOrAddNothing)
{
    FinalEnv e;
    e.data.Write("art/source.tqm", ModelFile("source", AnimChunk("wave", EmptyAnimData())));
    e.data.Write("unit.tqm", ModelFile("unit", ""));
    struct Case
    {
        const char* source;
        const char* anim;
        bool added;
    } const cases[] = {
        {"art/source", "wave", true},
        {"art/source", "jump", false},
        {"art/nothere", "wave", false},
    };
    for (const Case& c : cases)
    {
        SCOPED_TRACE(std::string(c.source) + " " + c.anim);
        e.data.Write(
            "unit.tqe",
            FileHeader() +
                Folder("REBP", 4,
                       Folder("ANIM", 3, Data("XREF", 1, Bytes().Str(c.source).Str(c.anim)), c.anim)));
        LogCapture log;
        Inv::Warehouse::Get()->PushFrame("unit");
        std::unique_ptr<RenderModel> pModel = RenderModelLoadFinal::Load("unit");
        ASSERT_TRUE(pModel);
        EXPECT_EQ(pModel->GetAnimList()->GetAnimCount(), c.added ? 1 : 0);
        EXPECT_EQ(log.Has("'unit': XRef'ed Anim '" + std::string(c.anim) + "' in model '" + c.source +
                          "' is missing!"),
                  !c.added);
        if (c.added)
        {
            EXPECT_EQ(Text(pModel->GetAnimList()->GetAnimNode(0)->GetXRefName()), c.source);
        }
        pModel.reset();
        Inv::Warehouse::Get()->PopFrame();
    }
}

TEST(FinalModel, TruncatedFilesGiveNullAndNoCrash)
{
    FinalEnv e;
    {
        std::unique_ptr<RenderModel> pBuilt = BuildWalker();
        ASSERT_TRUE(RenderModelLoadFinal::Save("DATA:walker", *pBuilt));
    }
    const std::string tqm = e.data.Read("walker.tqm");
    const std::string tqe = e.data.Read("walker.tqe");
    // Each file cut short in turn, the other whole.
    for (const bool cutModel : {true, false})
    {
        const std::string& whole = cutModel ? tqm : tqe;
        for (size_t length = 0; length < whole.size(); length += 37)
        {
            SCOPED_TRACE(std::to_string(length) + (cutModel ? " of the .tqm" : " of the .tqe"));
            e.data.Write("cut.tqm", cutModel ? tqm.substr(0, length) : tqm);
            e.data.Write("cut.tqe", cutModel ? tqe : tqe.substr(0, length));
            Inv::Warehouse::Get()->PushFrame("cut");
            EXPECT_FALSE(RenderModelLoadFinal::Load("cut"));
            Inv::Warehouse::Get()->PopFrame();
        }
    }
}

TEST(FinalModel, WritingTheMotionsWarnsOfMotionsTheGameMayPlayBadly)
{
    const std::string manyLine = "'walker': Motion 'walk_m' has more than one animation:";
    const std::string skipLine =
        "'walker': WARNING -- Motion 'walk_m' has an absolute modifier, has events, and "
        "does not ignore transitions -- it may skip events";
    struct Case
    {
        const char* what;
        bool secondAnim;
        bool absolute;
        float transition; // walk lasts 1 second; its event is at 0.5
        bool ignoreTransitions;
        bool warnsMany;
        bool warnsSkip;
    } const cases[] = {
        {"as built", false, false, 0.6f, false, false, false},
        {"two animations", true, false, 0.0f, false, true, false},
        {"event in the fade-out", false, true, 0.6f, false, false, true},
        {"transitions ignored", false, true, 0.6f, true, false, false},
        {"event before the fade-out", false, true, 0.2f, false, false, false},
    };
    for (const Case& c : cases)
    {
        SCOPED_TRACE(c.what);
        FinalEnv e;
        std::unique_ptr<RenderModel> pModel = BuildWalker();
        Motion* pWalk =
            pModel->GetMotionList().GetMotion(pModel->GetMotionList().FindMotion(ra::MakeName("walk_m")));
        if (c.secondAnim)
            pWalk->AddAnimNode(pModel->GetAnimList()->GetAnimNode(1));
        if (c.absolute)
            pModel->GetModifierList().GetModifier(0)->SetType(Modifier::TYPE_ABSOLUTE);
        pWalk->SetTransitionOutTime(c.transition);
        pWalk->SetIgnoreTransitions(c.ignoreTransitions);
        LogCapture log;
        WriteChunks([&](Chunky& ch, ByteStreamAdapter& a)
                    { RenderModelLoadFinal::SaveEntity(ch, a, *pModel); });
        const LogCapture::Line* pMany = log.FindLine(manyLine);
        EXPECT_EQ(pMany != nullptr, c.warnsMany);
        if (pMany != nullptr)
        {
            EXPECT_EQ(pMany->channel, FourCC("MTAN"));
            EXPECT_TRUE(log.Has("'walker': Animation: walk"));
            EXPECT_TRUE(log.Has("'walker': Animation: idle"));
        }
        EXPECT_EQ(log.Has(skipLine), c.warnsSkip);
    }
}

TEST(FinalSkeleton, HandBuiltSkeletonReadsAndBrokenOnesFailTheModel)
{
    FinalEnv e;
    struct Case
    {
        const char* what;
        std::string payload;
        bool loads;
    } const cases[] = {
        {"two bones", Bytes().I32(2).Add(BoneBytes("root", -1, 0)).Add(BoneBytes("spine", 0, 1.5f)), true},
        {"no bones", Bytes().I32(0), true},
        {"more bones than bytes", Bytes().I32(3).Add(BoneBytes("root", -1, 0)), false},
        {"negative count", Bytes().I32(-1), false},
    };
    for (const Case& c : cases)
    {
        SCOPED_TRACE(c.what);
        e.data.Write("skel.tqm", FileHeader() + Folder("RSGM", 3, Data("SKEL", 5, c.payload), "skel"));
        std::unique_ptr<RenderModel> pModel = RenderModelLoadFinal::Load("skel");
        ASSERT_EQ(bool(pModel), c.loads);
        if (!pModel || c.payload.size() == 4)
            continue;
        const Skeleton& skeleton = *pModel->GetSkeleton();
        ASSERT_EQ(skeleton.GetBoneCount(), 2);
        EXPECT_EQ(Text(skeleton.GetBone(1)->GetName()), "spine");
        EXPECT_EQ(skeleton.GetBone(1)->GetParentIndex(), 0);
        EXPECT_EQ(skeleton.GetBone(1)->GetPosition().y, 1.5f);
    }

    // What the writer writes reads back as the same skeleton, bone by bone.
    std::unique_ptr<Skeleton> pSkeleton = model_test::MakeSkeleton(
        {{"root", -1, {0, 0, 0}, ra::Quat()}, {"arm", 0, {1, 2, 3}, ra::QuatFromAxisAngle({0, 1, 0}, 0.5f)}});
    const std::string file =
        WriteChunks([&](Chunky& c, ByteStreamAdapter& a) { SkeletonLoadFinal::Save(c, a, *pSkeleton); });
    Bytes want;
    want.I32(2).Add(BoneBytes("root", -1, 0)).Str("arm").I32(0).Vec3(1, 2, 3);
    want.Raw(&pSkeleton->GetBone(1)->GetRotation(), 16);
    EXPECT_EQ(file.substr(FileHeader().size()), Data("SKEL", 5, want));
}

TEST(FinalSkeleton, SkinBoneMissingIsLoggedWithTheModelAndTakesBoneZero)
{
    FinalEnv e;
    const std::string skel =
        Data("SKEL", 5, Bytes().I32(2).Add(BoneBytes("root", -1, 0)).Add(BoneBytes("spine", 0, 1)));
    for (const char* bone : {"spine", "tail"})
    {
        SCOPED_TRACE(bone);
        e.data.Write("skin.tqm",
                     FileHeader() +
                         Folder("RSGM", 3, skel + MeshGroupChunk("skin", SkinnedMeshData(bone)), "skin"));
        LogCapture log;
        Inv::Warehouse::Get()->PushFrame(bone);
        std::unique_ptr<RenderModel> pModel = RenderModelLoadFinal::Load("skin");
        Inv::Warehouse::Get()->PopFrame();
        ASSERT_TRUE(pModel);
        int32 slot = -1, boneIndex = -1;
        ASSERT_TRUE(pModel->GetMeshGroup()->GetSkinnedTransform(0, 0, slot, boneIndex));
        const bool missing = std::string(bone) == "tail";
        EXPECT_EQ(boneIndex, missing ? 0 : 1);
        EXPECT_EQ(log.Has("'skin': Mesh 'skin' requires bone 'tail' for skinning, but it is missing!"),
                  missing);
    }
}

TEST(FinalMesh, WriterAssertsAMeshHasHighVertices)
{
    FinalEnv e;
    struct Case
    {
        uint32 vertices; // 0: no vertex set at all
        const char* assertion;
    } const cases[] = {
        {0, "mesh.GetVertexSet( ra::Mesh::Poly_High )"},
        {3, nullptr},
    };
    for (const Case& c : cases)
    {
        SCOPED_TRACE(c.vertices);
        ra::Mesh mesh("m");
        if (c.vertices != 0)
        {
            fr::VertexType type;
            type.set(fr::VC_Position);
            mesh.SetVertexSet(ra::Mesh::Poly_High, ra::CreateVertexSet(type, c.vertices));
        }
        mesh.SetBV(BoxAt(0, 0, 0, 1));
        const std::string what = model_test::AssertionText(
            [&] {
                WriteChunks([&](Chunky& ch, ByteStreamAdapter& a)
                            { MeshLoadFinal::SaveMesh(ch, a, mesh, "m"); });
            });
        if (c.assertion == nullptr)
            EXPECT_EQ(what, "");
        else
            EXPECT_NE(what.find(c.assertion), std::string::npos) << what;
    }
}
