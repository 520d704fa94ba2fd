#include "model/file/generic/rendermodelloadgeneric.h"

#include "model/anim/animinterm.h"
#include "model/file/generic/generic_model_fixture.h"
#include "model/file/generic/skeletonloadinterm.h"
#include "model/file/generic/textureloadgeneric.h"
#include "model/rendermodeltypeinfo.h"
#include "storage/bytestream.h"

#include <gtest/gtest.h>

#include <map>

using namespace generic_test;
using model_test::Env;

namespace
{
// The device, the inventory, the loaders and a disk folder under "GENERIC".
struct ModelEnv
{
    RegisteredLoaders loaders;
    Env env;
    MountedFolder generic{"GENERIC"};
};

// The donor model, written as "GENERIC:art/donor.sgm" from a frame that is let go again.
void WriteDonor()
{
    Inv::Warehouse::Get()->PushFrame("donor source");
    {
        std::unique_ptr<RenderModel> pDonor = BuildDonor();
        ASSERT_TRUE(RenderModelLoadGeneric::Save("GENERIC:art/donor.sgm", *pDonor));
    }
    Inv::Warehouse::Get()->PopFrame();
}

std::unique_ptr<RenderModel> LoadModel(const std::string& chunks)
{
    return ReadChunks(chunks, [](Chunky& c, ByteStreamAdapter& a)
                      { return RenderModelLoadGeneric::Load(c, a, "GENERIC:art\\"); });
}

const std::string s_identityBone = Bytes().I32(-1).Vec3(0, 0, 0).Floats({0, 0, 0, 1});

// A model of two bones ("a", "b"), a mesh "m" drawn with shader "s", and a camera "cam".
std::string SmallModelParts()
{
    Bytes mesh;
    mesh.U32(0).U8(1).I32(1).I32(0).I32(0).I32(3).U32(1u << fr::VC_Position);
    for (int i = 0; i < 9; ++i)
        mesh.F32(float(i));
    mesh.I32(1).Str("s").I32(3).U16(0).U16(1).U16(2).U16(0).U16(3);
    ra::OBB box;
    return Folder("SHDR", 1, Data("INFO", 1, Bytes().I32(1).I32(0).F32(0).I32(0).U8(0)), "s") +
           Folder("SKEL", 3,
                  Data("INFO", 1, Bytes().I32(2)) + Data("BONE", 5, s_identityBone, "a") +
                      Data("BONE", 5, Bytes().I32(0).Vec3(0, 1, 0).Floats({0, 0, 0, 1}), "b")) +
           Folder("MSGR", 1,
                  Folder("MSLC", 1,
                         Data("DATA", 2, mesh) + Data("BVOL", 2, Bytes().U8(1).Raw(&box, sizeof(box))), "m") +
                      Data("DATA", 1, Bytes().I32(1).Str("m").Str("").U32(uint32(-1))) +
                      Data("BVOL", 2, Bytes().U8(0))) +
           Data("CMRA", 2, Bytes().Vec3(1, 2, 3).Floats({0, 0, 0, 1}).F32(1).F32(0.1f).F32(100).Vec3(4, 5, 6),
                "cam");
}
} // namespace

TEST(GenericModel, EveryKindOfChunkRoundTripsEqualAndRewritesTheSameBytes)
{
    ModelEnv e;
    WriteDonor();
    WalkerOptions options;
    options.xrefMesh = options.xrefAnim = options.sharedShader = true;

    Inv::Warehouse::Get()->PushFrame("built");
    std::unique_ptr<RenderModel> pBuilt = BuildWalker(options);
    ASSERT_TRUE(RenderModelLoadGeneric::Save("GENERIC:art/walker.sgm", *pBuilt));
    Inv::Warehouse::Get()->PopFrame();
    const std::string sgm = e.generic.Read("art/walker.sgm");
    const std::string ebp = e.generic.Read("art/walker.ebp");
    EXPECT_EQ(TopChunks(sgm), std::vector<std::string>{"RSGM:walker"});
    EXPECT_EQ(TopChunks(ebp), std::vector<std::string>{"REBP:"});

    // Read in a frame of its own, which doesn't see the shaders and textures of the built one.
    Inv::Warehouse::Get()->PushFrame("read");
    std::unique_ptr<RenderModel> pRead = RenderModelLoadGeneric::Load("GENERIC:art/walker", true);
    ASSERT_TRUE(pRead);
    EXPECT_TRUE(SameModel(*pBuilt, *pRead));
    // The cross-references came from the donor's file.
    EXPECT_EQ(Text(pRead->GetMeshGroup()->GetMeshXRefName(2)), "art/donor");
    EXPECT_EQ(Text(pRead->GetAnimList()->GetAnimNode(2)->GetXRefName()), "art/donor");
    EXPECT_FALSE(
        pRead->GetMeshGroup()->IsShaderLocal(pRead->GetMeshGroup()->FindShader(ra::MakeName("donor_metal"))));
    EXPECT_TRUE(pRead->GetAnimList()->IsShaderAnimated(
        pRead->GetMeshGroup()->FindShader(ra::MakeName("walker_glow"))));

    ASSERT_TRUE(RenderModelLoadGeneric::Save("GENERIC:art/again.sgm", *pRead));
    Inv::Warehouse::Get()->PopFrame();
    // The name in the root is the model's, so only the files differ in their names.
    EXPECT_EQ(e.generic.Read("art/again.sgm"), sgm);
    EXPECT_EQ(e.generic.Read("art/again.ebp"), ebp);
}

TEST(GenericModel, WriterPutsChildrenInItsOrderAndGatesThemByTheFlags)
{
    ModelEnv e;
    std::unique_ptr<RenderModel> pModel = BuildWalker();
    const std::string all =
        WriteChunks([&](Chunky& c, ByteStreamAdapter& a) { RenderModelLoadGeneric::Save(c, a, *pModel); });
    EXPECT_EQ(RootChildren(all), (std::vector<std::string>{
                                     "TXTR:art/textures/walker_skin", "TXTR:art/textures/walker_glow",
                                     "SHDR:walker_skin", "SHDR:walker_glow", "SKEL:", "MSGR:", "MARK:muzzle",
                                     "MARK:smoke", "CMRA:portrait", "ANIM:walk", "ANIM:idle"}));
    ModelSaveFlags animationOnly;
    animationOnly.meshes = false;
    EXPECT_EQ(RootChildren(WriteChunks([&](Chunky& c, ByteStreamAdapter& a)
                                       { RenderModelLoadGeneric::Save(c, a, *pModel, animationOnly); })),
              (std::vector<std::string>{"ANIM:walk", "ANIM:idle"}));
    ModelSaveFlags noShaders;
    noShaders.shaders = false;
    noShaders.animation = false;
    EXPECT_EQ(RootChildren(WriteChunks([&](Chunky& c, ByteStreamAdapter& a)
                                       { RenderModelLoadGeneric::Save(c, a, *pModel, noShaders); })),
              (std::vector<std::string>{"SKEL:", "MSGR:", "MARK:muzzle", "MARK:smoke", "CMRA:portrait"}));
}

TEST(GenericModel, HandBuiltOlderAnimationChunksReadWithTheDocumentedResults)
{
    ModelEnv e;
    // INFO of versions 1 to 4 give the frame count from start and end, the time from the rate.
    auto oldInfo = [](uint32 version)
    {
        Bytes b;
        if (version == 1)
            b.I32(99);
        b.I32(10).I32(29).F32(40.0f);
        if (version < 4)
            b.Vec3(1, 1, 1).Vec3(2, 2, 2);
        if (version < 3)
            b.I32(5);
        if (version < 4)
            b.Vec3(3, 3, 3).Vec3(4, 4, 4);
        return Data("INFO", version, b);
    };
    for (uint32 version = 1; version <= 5; ++version)
    {
        SCOPED_TRACE(version);
        const std::string info = version == 5 ? Data("INFO", 5, Bytes().I32(20).F32(0.5f)) : oldInfo(version);
        // A bone chunk of version 1 says animated with an i32 above 0; a control of version 1 with
        // parameter 0 reads one higher; a model camera of version 1 has no target.
        const std::string anim =
            Folder("ANIM", 2,
                   Folder("DATA", 3,
                          info + Data("BANM", 1, Bytes().I32(1).F32(0).Vec3(1, 2, 3).I32(0).I32(2), "b") +
                              Data("CANM", 1,
                                   Bytes().I32(2).I32(0).I32(0).I32(2).F32(0).F32(0).F32(1).F32(-1), "m") +
                              Data("CANM", 1, Bytes().I32(0).I32(1).I32(3).I32(1).F32(0).F32(0.5f), "s") +
                              Data("CANM", 2, Bytes().I32(2).I32(0).I32(0).I32(1).F32(0).F32(0.5f), "m") +
                              Data("CMRA", 1, Bytes().I32(1).F32(0).Vec3(7, 8, 9).I32(0), "cam")) +
                       Data("ANBV", 1, Bytes().Vec3(-1, -2, -3).Vec3(1, 2, 3), "run"),
                   "run");
        const std::string oldCamera =
            Data("CMRA", 1, Bytes().Vec3(1, 2, 3).Floats({0, 0, 0, 1}).F32(1).F32(0.1f).F32(100), "old");
        std::unique_ptr<RenderModel> p =
            LoadModel(Folder("RSGM", 1, SmallModelParts() + oldCamera + anim, "small"));
        ASSERT_EQ(p->GetAnimList()->GetAnimCount(), 1);
        const Anim& a = *p->GetAnimList()->GetAnim(0);
        EXPECT_EQ(a.GetFrameCount(), 20);
        EXPECT_FLOAT_EQ(a.GetTime(), 0.5f);
        // Bone streams stand in skeleton order, whatever the file's.
        ASSERT_EQ(a.GetBoneCount(), 2);
        EXPECT_EQ(a.GetPositionStream(0), nullptr);
        ASSERT_TRUE(a.GetPositionStream(1));
        EXPECT_EQ(a.GetPositionStream(1)->GetKeyValue(0), ra::Vec3(1, 2, 3));
        EXPECT_EQ(a.GetRotationStream(1), nullptr);
        EXPECT_TRUE(a.IsBoneAnimated(1));
        ASSERT_EQ(a.GetControlStreamCount(), 3);
        EXPECT_EQ(a.GetControlStream(0)->GetKeyValue(0), 1.0f);
        EXPECT_EQ(a.GetControlStream(0)->GetKeyValue(1), 0.0f);
        EXPECT_EQ(a.GetControlInfo(0).m_index, 0);
        // Only parameter 0 is raised, and only in version 1.
        EXPECT_EQ(a.GetControlStream(1)->GetKeyValue(0), 0.5f);
        EXPECT_EQ(a.GetControlStream(2)->GetKeyValue(0), 0.5f);
        ASSERT_EQ(a.GetCameraCount(), 1);
        EXPECT_EQ(a.GetCameraRotationStream(0), nullptr);
        ra::Vec3 minimum, maximum;
        ASSERT_TRUE(p->GetAnimList()->GetAnimNode(0)->GetBV(minimum, maximum));
        EXPECT_EQ(maximum, ra::Vec3(1, 2, 3));
        ASSERT_EQ(p->GetCCameraCount(), 2);
        EXPECT_EQ(p->GetCCamera(0).target, ra::Vec3(4, 5, 6));
        EXPECT_EQ(p->GetCCamera(1).target, ra::Vec3(0, 0, 0));
        EXPECT_EQ(p->GetCCamera(1).farClip, 100.0f);
    }
}

TEST(GenericModel, EntityFileOfAnOlderSelectionAndARelativeCrossReferenceReads)
{
    ModelEnv e;
    WriteDonor();
    std::unique_ptr<RenderModel> p = LoadModel(Folder("RSGM", 1, SmallModelParts(), "small"));
    // Version 1 of XREF names the model relative to the folder of the file being read.
    const std::string ebp =
        Folder("REBP", 4,
               Folder("ANIM", 2, Data("XREF", 1, Bytes().Str("donor").Str("wave")), "wave") +
                   Data("SEUI", 2, Bytes().I32(5).F32(1).F32(2).F32(3).F32(4)));
    ReadChunks(ebp,
               [&](Chunky& c, ByteStreamAdapter& a)
               {
                   RenderModelLoadGeneric::LoadEbp(c, a, *p, "GENERIC:art\\");
                   return 0;
               });
    ASSERT_EQ(p->GetAnimList()->GetAnimCount(), 1);
    const AnimListNode& node = *p->GetAnimList()->GetAnimNode(0);
    EXPECT_EQ(Text(node.GetXRefName()), "generic:art\\donor");
    EXPECT_EQ(node.GetAnim()->GetFrameCount(), 5);
    EXPECT_EQ(p->GetSelectionType(), 5);
    float extents[2], centre[2];
    p->GetSelectionBox(extents, centre);
    EXPECT_EQ(extents[1], 2.0f);
    EXPECT_EQ(centre[0], 3.0f);
}

TEST(GenericModel, BrokenLinksAreLoggedAndStoodInOrDropped)
{
    ModelEnv e;
    WriteDonor();
    // The stand-in model, whose first mesh replaces meshes that cannot be had.
    {
        Inv::Warehouse::Get()->PushFrame("stand-in source");
        std::unique_ptr<RenderModel> pMissing = BuildDonor();
        ASSERT_TRUE(RenderModelLoadGeneric::Save("GENERIC:art/ebps/missingmodel.sgm", *pMissing));
        Inv::Warehouse::Get()->PopFrame();
    }
    LogCapture log;
    dbg::ScopedThrowOnAssert quiet(false);
    const std::string anim =
        Folder("ANIM", 2,
               Folder("DATA", 3,
                      Data("INFO", 5, Bytes().I32(2).F32(1)) +
                          Data("BANM", 2, Bytes().I32(0).I32(0).U8(1), "nobody") +
                          Data("CANM", 2, Bytes().I32(0).I32(0).I32(0).I32(0), "no_shader") +
                          Data("CANM", 2, Bytes().I32(2).I32(0).I32(0).I32(0), "no_mesh") +
                          Data("CMRA", 1, Bytes().I32(0).I32(0), "no_camera")),
               "run");
    const std::string xrefs =
        Folder("ANIM", 2, Data("XREF", 3, Bytes().Str("art/donor").Str("run")), "run") +
        Folder("ANIM", 2, Data("XREF", 3, Bytes().Str("art/donor").Str("jump")), "jump");
    const std::string meshes =
        Folder("MSGR", 1, Data("DATA", 1, Bytes().I32(1).Str("sword").Str("art/donor").U32(0)));
    const std::string shared = Data("SSHR", 1, Bytes().Str("no_such_shader"));
    std::unique_ptr<RenderModel> p =
        LoadModel(Folder("RSGM", 1, SmallModelParts() + anim + xrefs + shared, "small"));
    EXPECT_TRUE(log.Has("Unable to find bone nobody in skeleton, ignoring it!"));
    EXPECT_TRUE(log.Has("Could not find shader 'no_shader' in model 'small' for animation 'run'"));
    EXPECT_TRUE(log.Has("Could not find mesh 'no_mesh' in model 'small' for animation 'run'"));
    EXPECT_TRUE(log.Has("Could not find camera 'no_camera' in model 'small' for animation 'run'"));
    EXPECT_TRUE(log.Has("'small': XRef'ed Anim 'run' is already present locally, resave the motion tree"));
    EXPECT_TRUE(log.Has("'small': XRef'ed Anim 'jump' in model 'art/donor' is missing!"));
    ASSERT_EQ(p->GetAnimList()->GetAnimCount(), 2);
    const Anim& run = *p->GetAnimList()->GetAnim(0);
    EXPECT_EQ(run.GetControlStreamCount(), 0);
    EXPECT_EQ(run.GetCameraCount(), 0);
    // The missing animation stands in empty, under its name, with the model's bones.
    const AnimListNode& jump = *p->GetAnimList()->GetAnimNode(1);
    EXPECT_EQ(Text(jump.GetAnim()->GetName()), "jump");
    EXPECT_EQ(Text(jump.GetXRefName()), "art/donor");
    EXPECT_EQ(jump.GetAnim()->GetBoneCount(), 2);
    // A shared shader whose file is missing stands in blank, still shared.
    Inv::Resource* pShader = nullptr;
    ASSERT_TRUE(Inv::Warehouse::Get()->Find(&pShader, "no_such_shader", Shader::GetTypeInfo()));
    EXPECT_TRUE(static_cast<Shader*>(pShader->GetData())->IsShared());

    // A mesh missing from the model it is taken from is the stand-in model's first mesh.
    log.Clear();
    std::unique_ptr<RenderModel> pMeshes = LoadModel(Folder("RSGM", 1, meshes, "small"));
    EXPECT_TRUE(log.Has("MODELS -- Unable to load XREF Mesh 'sword' from 'art/donor'!"));
    ASSERT_EQ(pMeshes->GetMeshGroup()->GetMeshCount(), 1);
    EXPECT_EQ(Text(pMeshes->GetMeshGroup()->GetMesh(0)->GetName()), "blade");
    EXPECT_EQ(Text(pMeshes->GetMeshGroup()->GetMeshName(0)), "sword");

    // Animations of a model without a skeleton are said to be so, and still read.
    log.Clear();
    std::unique_ptr<RenderModel> pBare = LoadModel(Folder("RSGM", 1, anim, "bare"));
    EXPECT_TRUE(log.Has("bare: Animation 'run' - in a model without a valid skeleton!"));
    EXPECT_EQ(pBare->GetAnimList()->GetAnimCount(), 1);
    EXPECT_EQ(Text(pBare->GetAnimList()->GetAnim(0)->GetBoneName(0)), "nobody");
}

TEST(GenericModel, SkeletonAfterTheMeshesStillResolvesTheirSkin)
{
    ModelEnv e;
    std::unique_ptr<RenderModel> pModel = BuildWalker();
    const std::string file =
        WriteChunks([&](Chunky& c, ByteStreamAdapter& a) { RenderModelLoadGeneric::Save(c, a, *pModel); });
    // Move SKEL behind MSGR by rebuilding the root from its children.
    std::string skel, rest;
    for (const auto& [name, bytes] : RootChunks(file))
        (name == "SKEL:" ? skel : rest) += bytes;
    ASSERT_FALSE(skel.empty());
    Inv::Warehouse::Get()->PushFrame("read");
    std::unique_ptr<RenderModel> pRead = LoadModel(Folder("RSGM", 1, rest + skel, "walker"));
    const ra::MeshGroup& group = *pRead->GetMeshGroup();
    EXPECT_EQ(group.GetMeshRef(0).skinnedTransforms,
              (std::vector<std::pair<int32, int32>>{{0, 1}, {1, 2}, {2, 3}}));
    EXPECT_EQ(group.GetSkeleton(), pRead->GetSkeleton());
    pRead.reset();
    Inv::Warehouse::Get()->PopFrame();
}

TEST(GenericModel, TruncatedFilesThrowToTheCaller)
{
    ModelEnv e;
    std::unique_ptr<RenderModel> pModel = BuildWalker();
    const std::string file =
        WriteChunks([&](Chunky& c, ByteStreamAdapter& a) { RenderModelLoadGeneric::Save(c, a, *pModel); });
    // Cut at every 7th byte and at each of the last 64: each cut is refused, never half read.
    dbg::ScopedThrowOnAssert quiet(false);
    for (size_t cut = 0; cut < file.size(); cut += (cut + 64 < file.size() ? 7 : 1))
    {
        Inv::Warehouse::Get()->PushFrame("cut");
        bool threw = false;
        try
        {
            model_test::Reader r(file.substr(0, cut));
            RenderModelLoadGeneric::Load(*r.m_pChunky, r.m_adapter, nullptr);
        }
        catch (const Chunky::Exception&)
        {
            threw = true;
        }
        catch (const ByteStream::Exception&)
        {
            threw = true;
        }
        Inv::Warehouse::Get()->PopFrame();
        EXPECT_TRUE(threw) << "cut at " << cut << " of " << file.size();
    }
}

TEST(GenericModel, DamagedTreesThrowToTheCaller)
{
    ModelEnv e;
    const std::string noFrames = Data("INFO", 5, Bytes().I32(0).F32(1));
    const struct
    {
        const char* what;
        std::string root;
        int code;
    } cases[] = {
        {"texture folder ending before its image (not a valid chunk header)",
         Folder("RSGM", 1, Folder("TXTR", 1, Data("INFO", 3, Bytes().I32(1)), "t"), "x"), 2},
        {"animation without frames",
         Folder("RSGM", 1, Folder("ANIM", 2, Folder("DATA", 3, noFrames), "a"), "x"), 12},
        {"animation with neither data nor reference", Folder("RSGM", 1, Folder("ANIM", 2, "", "a"), "x"), 12},
        {"intermediate animation without frames",
         Folder("RSGM", 1, Folder("ANIM", 1, Folder("DATA", 1, Data("INFO", 1, Bytes().I32(0).F32(1))), "a"),
                "x"),
         12},
        {"intermediate animation of an unknown chunk only",
         Folder("RSGM", 1, Folder("ANIM", 1, Folder("DATA", 1, Data("XTRA", 1, Bytes().I32(3))), "a"), "x"),
         12},
        {"newer root", Folder("RSGM", 2, "", "x"), 5},
        {"root of another kind", Folder("MESH", 1, "", "x"), 4},
    };
    for (const auto& c : cases)
        EXPECT_EQ(ChunkyCode([&] { LoadModel(c.root); }), c.code) << c.what;
    EXPECT_THROW(LoadModel(Folder("RSGM", 1, Data("MARK", 1, Bytes().Str(std::string(300, 'p')), "m"), "x")),
                 ByteStream::Exception);
}

// The intermediate form written, read and written again: a file of this writer comes back byte
// for byte, whether its animations were sampled from ordinary streams or are the exporter's raw
// matrices, and a model changed after the read writes its new data instead of what it read.
namespace
{
std::string WriteInterm(const RenderModel& model)
{
    return WriteChunks([&](Chunky& c, ByteStreamAdapter& a)
                       { RenderModelLoadGeneric::SaveInterm(c, a, model, true, true, true); });
}

std::unique_ptr<RenderModel> ReadModel(const std::string& file)
{
    model_test::Reader r(file);
    return RenderModelLoadGeneric::Load(*r.m_pChunky, r.m_adapter, nullptr);
}

std::map<std::string, std::string> RootChunkBytes(const std::string& file)
{
    const auto c = RootChunks(file);
    return std::map<std::string, std::string>(c.begin(), c.end());
}

template <class T> std::string BytesOf(const T& value)
{
    return std::string(reinterpret_cast<const char*>(&value), sizeof(T));
}

const char* const s_parentMessage = "The bone pelvis's parent bone does not have animation keys";

// The exporter's raw sampling of "sway" on the walker: model-space matrices of every bone but the
// root (which stays unkeyed, so that its child keeps model space and logs), a colour of the glow
// with its base on, an offset that only wobbles about its base, the gun's visibility (the body has
// none), and camera rotations on the far hemisphere.
void AddSway(RenderModel& model)
{
    const Skeleton& skeleton = *model.GetSkeleton();
    const uint32 keyCount = 4;
    auto pSway = std::make_unique<AnimInterm>("sway");
    pSway->SetFrameCount(int32(keyCount));
    pSway->SetTime(0.4f);
    pSway->SetBoneCount(skeleton.GetBoneCount());
    std::vector<ra::Matrix34> cWorld(size_t(skeleton.GetBoneCount()));
    for (int32 b = 0; b < skeleton.GetBoneCount(); ++b)
    {
        pSway->SetBoneName(b, skeleton.GetBone(b)->GetName());
        if (b == 0)
            continue;
        pSway->SetBoneAnimated(b, true);
        pSway->SetBoneMatrixStream(b, std::make_unique<BoneMatrixStream>(keyCount));
    }
    for (uint32 k = 0; k < keyCount; ++k)
        for (int32 b = 1; b < skeleton.GetBoneCount(); ++b)
        {
            const Bone* pBone = skeleton.GetBone(b);
            const float angle = 0.37f * float(k + 1) + 0.11f * float(b);
            ra::Matrix34 world = ra::MatrixFromQuatPos(
                ra::QuatFromAxisAngle(ra::Normalize(ra::Vec3(0.3f, 1, 0.2f * float(b))), angle),
                pBone->GetPosition() + ra::Vec3(0.01f * float(k), 0, 0));
            if (b > 1)
                world = world * cWorld[size_t(pBone->GetParentIndex())];
            cWorld[size_t(b)] = world;
            BoneMatrixStream* pStream = pSway->GetBoneMatrixStream(b);
            pStream->SetTime(k, float(k) / float(keyCount - 1));
            pStream->SetValue(k, world);
        }

    const ra::MeshGroup& group = *model.GetMeshGroup();
    const Shader& glow = *group.GetShader(group.FindShader(ra::MakeName("walker_glow"))).Get();
    const ControlInfo colour = anim_test::Control(ControlInfo::Target_Shader, Shader::CN_Diffuse);
    const ControlInfo offset =
        anim_test::Control(ControlInfo::Target_Shader, Shader::CN_Diffuse, ControlInfo::Parameter_OffsetU);
    const float colourBase = AnimInterm::ShaderBaseValue(glow, colour);
    const float offsetBase = AnimInterm::ShaderBaseValue(glow, offset);
    pSway->AddControlStream(ra::MakeName("walker_glow"), colour,
                            Keys<ControlStream>({{0.0f, colourBase + 0.1f}, {1.0f, colourBase - 0.3f}}));
    pSway->AddControlStream(ra::MakeName("walker_glow"), offset,
                            Keys<ControlStream>({{0.0f, offsetBase + 0.001f}, {1.0f, offsetBase - 0.002f}}));
    pSway->AddControlStream(ra::MakeName("gun"), anim_test::Control(ControlInfo::Target_Mesh),
                            Keys<ControlStream>({{0.0f, 0.0f}, {0.5f, 1.0f}}));
    pSway->AddCamera(ra::MakeName("portrait"), Keys<CameraPositionStream>({{0.0f, {0, 1, 3}}}),
                     Keys<CameraRotationStream>({{0.0f, {0, 0, 0, -1}}, {1.0f, {0, 0.1f, 0, -0.995f}}}));
    model.GetAnimList()->AddAnim(NodeFor(model, AddAnim(std::move(pSway))), false);
}

// The walker with its ordinary animations and the raw "sway", written in the intermediate form.
std::string WriteWalkerInterm()
{
    Inv::Warehouse::Get()->PushFrame("built");
    std::string file;
    {
        std::unique_ptr<RenderModel> pBuilt = BuildWalker();
        AddSway(*pBuilt);
        file = WriteInterm(*pBuilt);
    }
    Inv::Warehouse::Get()->PopFrame();
    return file;
}
} // namespace

TEST(GenericInterm, AFileOfTheWriterReadsAndWritesAgainByteForByte)
{
    ModelEnv e;
    const std::string file = WriteWalkerInterm();
    ASSERT_EQ(RootChunkBytes(file).count("ANIM:sway"), 1u);

    Inv::Warehouse::Get()->PushFrame("read");
    LogCapture log;
    std::unique_ptr<RenderModel> pRead = ReadModel(file);
    ASSERT_TRUE(pRead);
    EXPECT_EQ(log.Count(s_parentMessage), 1);

    // What the model holds cannot give the file back by itself: the reference pose is built again
    // from local values, the flat offset is gone, the body got a visibility stream, the camera's
    // first key turned to the near hemisphere.
    const Skeleton& skeleton = *pRead->GetSkeleton();
    ASSERT_EQ(skeleton.GetIntermWorldMatrices().size(), size_t(skeleton.GetBoneCount()));
    int rebuiltPoses = 0;
    for (int32 b = 0; b < skeleton.GetBoneCount(); ++b)
        rebuiltPoses += BytesOf(skeleton.GetBone(b)->GetWorldMatrix()) !=
                                BytesOf(skeleton.GetIntermWorldMatrices()[size_t(b)])
                            ? 1
                            : 0;
    EXPECT_GT(rebuiltPoses, 0);
    const AnimList& list = *pRead->GetAnimList();
    const Anim& sway = *list.GetAnim(list.FindAnim(ra::MakeName("sway")));
    EXPECT_EQ(sway.GetControlInfo(0).parameter, ControlInfo::Parameter_Colour);
    EXPECT_EQ(sway.GetControlName(1), ra::MakeName("gun"));
    EXPECT_NE(sway.FindControlStream(ra::MakeName("body")), Anim::InvalidIndex);
    EXPECT_EQ(sway.GetCameraRotationStream(0)->GetKeyValue(0).w, 1.0f);
    // The rest of the library sees an ordinary animation, not the exporter's working form.
    EXPECT_EQ(dynamic_cast<const AnimInterm*>(&sway), nullptr);

    log.Clear();
    const std::string again = WriteInterm(*pRead);
    // Checking that the kept animation still holds converts it once more, without a word.
    EXPECT_EQ(log.Count(s_parentMessage), 0);
    EXPECT_EQ(again.size(), file.size());
    EXPECT_TRUE(again == file);
    pRead.reset();
    Inv::Warehouse::Get()->PopFrame();
}

TEST(GenericInterm, AModelChangedAfterTheReadWritesItsNewData)
{
    ModelEnv e;
    const std::string file = WriteWalkerInterm();
    const std::map<std::string, std::string> cBefore = RootChunkBytes(file);

    Inv::Warehouse::Get()->PushFrame("read");
    std::unique_ptr<RenderModel> pRead = ReadModel(file);
    ASSERT_TRUE(pRead);
    Skeleton& skeleton = *pRead->GetSkeleton();
    EXPECT_TRUE(SkeletonLoadInterm::IntermWorldMatricesHold(skeleton));
    // The spine moves up; the idle turns its pelvis further at the end; the rest stays as read.
    const int32 spine = skeleton.FindBone(ra::MakeName("spine"));
    const ra::Vec3 spineAt = skeleton.GetBone(spine)->GetPosition() + ra::Vec3(0, 0.25f, 0);
    skeleton.GetBone(spine)->SetPosition(spineAt);
    skeleton.BuildRefPose();
    EXPECT_FALSE(SkeletonLoadInterm::IntermWorldMatricesHold(skeleton));
    AnimList& list = *pRead->GetAnimList();
    Anim& idle = *list.GetAnim(list.FindAnim(ra::MakeName("idle")));
    const int32 pelvis = idle.FindBone(ra::MakeName("pelvis"));
    BoneRotationStream* pTurn = idle.GetRotationStream(pelvis);
    ASSERT_NE(pTurn, nullptr);
    const uint32 lastKey = pTurn->GetKeyCount() - 1;
    const ra::Quat turned = ra::QuatFromAxisAngle({0, 0, 1}, 0.6f);
    pTurn->SetValue(lastKey, turned);
    const ra::Vec3 pelvisAt = idle.GetPositionStream(pelvis)->GetKeyValue(lastKey);
    const std::string changed = WriteInterm(*pRead);
    pRead.reset();
    Inv::Warehouse::Get()->PopFrame();

    const std::map<std::string, std::string> cAfter = RootChunkBytes(changed);
    ASSERT_EQ(cAfter.size(), cBefore.size());
    EXPECT_TRUE(cAfter.at("SKEL:") != cBefore.at("SKEL:"));
    EXPECT_TRUE(cAfter.at("ANIM:idle") != cBefore.at("ANIM:idle"));
    // Animations left alone still write what was read: their conversion doesn't depend on where
    // the spine sits.
    EXPECT_TRUE(cAfter.at("ANIM:walk") == cBefore.at("ANIM:walk"));
    EXPECT_TRUE(cAfter.at("ANIM:sway") == cBefore.at("ANIM:sway"));

    Inv::Warehouse::Get()->PushFrame("read changed");
    std::unique_ptr<RenderModel> pChanged = ReadModel(changed);
    ASSERT_TRUE(pChanged);
    EXPECT_TRUE(model_test::MatrixNear(
        pChanged->GetSkeleton()->GetBone(spine)->GetLocalMatrix(),
        ra::MatrixFromQuatPos(pChanged->GetSkeleton()->GetBone(spine)->GetRotation(), spineAt)));
    EXPECT_NEAR(pChanged->GetSkeleton()->GetBone(spine)->GetPosition().y, spineAt.y, 1e-5f);
    const AnimList& changedList = *pChanged->GetAnimList();
    const Anim& changedIdle = *changedList.GetAnim(changedList.FindAnim(ra::MakeName("idle")));
    EXPECT_TRUE(model_test::MatrixNear(
        ra::MatrixFromQuatPos(changedIdle.GetRotationStream(pelvis)->GetKeyValue(lastKey), pelvisAt),
        ra::MatrixFromQuatPos(turned, pelvisAt)));
    pChanged.reset();
    Inv::Warehouse::Get()->PopFrame();
}

TEST(GenericModel, IntermediateShaderControlsGoOutWithTheShadersBaseAndComeBackRelative)
{
    ModelEnv e;
    Inv::Warehouse::Get()->PushFrame("built");
    std::unique_ptr<RenderModel> pBuilt = BuildWalker();
    ASSERT_TRUE(RenderModelLoadGeneric::SaveInterm("GENERIC:interm.sgm", *pBuilt, true, true, true));
    Inv::Warehouse::Get()->PopFrame();
    Inv::Warehouse::Get()->PushFrame("read");
    std::unique_ptr<RenderModel> pRead = RenderModelLoadGeneric::Load("GENERIC:interm", false);
    ASSERT_TRUE(pRead);
    const Anim& built = *pBuilt->GetAnimList()->GetAnim(0);
    const Anim& read = *pRead->GetAnimList()->GetAnim(0);
    const int colour = read.FindControlStream(ra::MakeName("walker_glow"));
    ASSERT_NE(colour, Anim::InvalidIndex);
    for (uint32 k = 0; k < 3; ++k)
        EXPECT_NEAR(read.GetControlStream(colour)->GetKeyValue(k), built.GetControlStream(0)->GetKeyValue(k),
                    1e-6f);
    pRead.reset();
    Inv::Warehouse::Get()->PopFrame();
}
