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

std::string ModelFile(const char* name, const std::string& children)
{
    return FileHeader() + Folder("RSGM", 3, children, name);
}

std::string BoneBytes(const char* name, int32 parent, float y)
{
    return Bytes().Str(name).I32(parent).Vec3(0, y, 0).Floats({0, 0, 0, 1});
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
    for (const auto& [markers, cameras] : {std::pair{0, 0}, {2, 0}, {0, 1}})
    {
        RenderModel model("plain");
        model.SetCMarkerCount(markers);
        model.SetCCameraCount(cameras);
        std::vector<std::string> want;
        if (markers > 0)
            want.push_back("MARK:");
        if (cameras > 0)
            want.push_back("CAMS:");
        EXPECT_EQ(RootChildren(WriteChunks([&](Chunky& ch, ByteStreamAdapter& a) { RenderModelLoadFinal::Save(ch, a, model); })), want);
        EXPECT_FALSE(RenderModelLoadFinal::HasEntity(model));
    }
    // The chunks as the game reads them, built by hand.
    Bytes mark, cams;
    mark.I32(2).Str("muzzle").Str("arm").Floats({1, 0, 0, 0, 1, 0, 0, 0, 1, 4, 5, 6});
    mark.Str("smoke").Str("").Floats({0, 0, 1, 0, 1, 0, 1, 0, 0, 0, 2, 0});
    cams.I32(1).Str("portrait").Vec3(1, 2, 3).Floats({0, 0.6f, 0, 0.8f}).F32(0.5f).F32(0.25f).F32(90).Vec3(7, 8, 9);
    e.data.Write("hand.tqm", ModelFile("hand", Data("MARK", 1, mark) + Data("CAMS", 1, cams)));
    std::unique_ptr<RenderModel> pModel = RenderModelLoadFinal::Load("hand");
    ASSERT_TRUE(pModel);
    ASSERT_EQ(pModel->GetCMarkerCount(), 2);
    EXPECT_EQ(Text(pModel->GetCMarker(0).parentName), "arm");
    EXPECT_EQ(pModel->GetCMarker(0).transform.Translation().y, 5.0f);
    EXPECT_EQ(pModel->GetCMarker(1).parentName, ra::Name::INVALID);
    ASSERT_EQ(pModel->GetCCameraCount(), 1);
    const RenderModelCamera& c = pModel->GetCCamera(0);
    EXPECT_EQ(Text(c.name), "portrait");
    EXPECT_EQ(std::vector<float>({c.position.z, c.orientation.w, c.fov, c.nearClip, c.farClip, c.target.x}),
              std::vector<float>({3.0f, 0.8f, 0.5f, 0.25f, 90.0f, 7.0f}));
}

TEST(FinalModel, MeshDataReadsBothLevelsAndTheShadowArraysOnlyForAShadowManager)
{
    FinalEnv e;
    MeshData m;
    m.cHigh = {0, 0, 0, 1, 0, 0, 0, 1, 0, 1, 1, 0};
    m.cHighIndex = {0, 1, 2, 2, 1, 3};
    m.cLow = {0, 0, 0, 1, 1, 0, 5, 5, 5};
    m.cLowIndex = {0, 1, 2};
    m.shadowVertices = 2, m.shadowEdges = 1, m.shadowFaces = 3;
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
        EXPECT_EQ(mesh.GetVertexSet(ra::Mesh::Poly_Low)->GetSize(), 3u);
        EXPECT_EQ(mesh.GetShadowVertices().size(), manager ? 2u : 0u);
        EXPECT_EQ(mesh.GetShadowEdges().size(), manager ? 1u : 0u);
        EXPECT_EQ(mesh.GetShadowFaces().size(), manager ? 3u : 0u);
        Inv::Warehouse::Get()->PopFrame();
    }
    // An index past the low level's vertices, or shadow arrays longer than the chunk, fail the load.
    MeshData pastLow = m;
    pastLow.cLowIndex = {0, 1, 3};
    ScopedShadowManager shadows;
    for (const std::string& payload : {MeshPayload(pastLow), MeshPayload(m).substr(0, MeshPayload(m).size() - 40)})
    {
        e.data.Write("bad.tqm", ModelFile("bad", MeshGroupChunk("broken", payload)));
        Inv::Warehouse::Get()->PushFrame("bad");
        EXPECT_FALSE(RenderModelLoadFinal::Load("bad"));
        Inv::Warehouse::Get()->PopFrame();
    }
}

TEST(FinalModel, TruncatedFilesGiveNullAndNoCrash)
{
    FinalEnv e;
    ASSERT_TRUE(RenderModelLoadFinal::Save("DATA:walker", *BuildWalker()));
    const std::string tqm = e.data.Read("walker.tqm"), tqe = e.data.Read("walker.tqe");
    // Each file cut short in turn, the other whole.
    for (const bool cutModel : {true, false})
        for (size_t length = 0; length < (cutModel ? tqm : tqe).size(); length += 61)
        {
            SCOPED_TRACE(std::to_string(length) + (cutModel ? " of the .tqm" : " of the .tqe"));
            e.data.Write("cut.tqm", cutModel ? tqm.substr(0, length) : tqm);
            e.data.Write("cut.tqe", cutModel ? tqe : tqe.substr(0, length));
            Inv::Warehouse::Get()->PushFrame("cut");
            EXPECT_FALSE(RenderModelLoadFinal::Load("cut"));
            Inv::Warehouse::Get()->PopFrame();
        }
}

TEST(FinalSkeleton, HandBuiltSkeletonReadsAndBrokenOnesFailTheModel)
{
    FinalEnv e;
    // clang-format off
    const struct { const char* what; std::string payload; int32 bones; } cases[] = {
        {"two bones", Bytes().I32(2).Add(BoneBytes("root", -1, 0)).Add(BoneBytes("spine", 0, 1.5f)), 2},
        {"no bones", Bytes().I32(0), 0},
        {"more bones than bytes", Bytes().I32(3).Add(BoneBytes("root", -1, 0)), -1},
        {"negative count", Bytes().I32(-1), -1},
    };
    // clang-format on
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.what);
        e.data.Write("skel.tqm", ModelFile("skel", Data("SKEL", 5, c.payload)));
        std::unique_ptr<RenderModel> pModel = RenderModelLoadFinal::Load("skel");
        ASSERT_EQ(bool(pModel), c.bones >= 0);
        if (c.bones <= 0)
            continue;
        const Bone& spine = *pModel->GetSkeleton()->GetBone(1);
        EXPECT_EQ(Text(spine.GetName()), "spine");
        EXPECT_EQ(spine.GetParentIndex(), 0);
        EXPECT_EQ(spine.GetPosition().y, 1.5f);
    }
    // What the writer writes is that layout.
    std::unique_ptr<Skeleton> pSkeleton = model_test::MakeSkeleton(
        {{"root", -1, {0, 0, 0}, ra::Quat()}, {"arm", 0, {1, 2, 3}, ra::QuatFromAxisAngle({0, 1, 0}, 0.5f)}});
    Bytes want;
    want.I32(2).Add(BoneBytes("root", -1, 0)).Str("arm").I32(0).Vec3(1, 2, 3).Raw(&pSkeleton->GetBone(1)->GetRotation(), 16);
    EXPECT_EQ(WriteChunks([&](Chunky& c, ByteStreamAdapter& a) { SkeletonLoadFinal::Save(c, a, *pSkeleton); })
                  .substr(FileHeader().size()),
              Data("SKEL", 5, want));
}
