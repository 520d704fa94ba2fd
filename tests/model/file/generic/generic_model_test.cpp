#include "model/file/generic/rendermodelloadgeneric.h"

#include "model/anim/animinterm.h"
#include "model/file/generic/generic_model_fixture.h"
#include "model/file/generic/skeletonloadinterm.h"
#include "storage/bytestream.h"

#include <gtest/gtest.h>


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

// A built model saved as `name` from a frame that is let go again.
void SaveFromFrame(const char* name, const std::function<std::unique_ptr<RenderModel>()>& build)
{
    Inv::Warehouse::Get()->PushFrame(name);
    {
        std::unique_ptr<RenderModel> pModel = build();
        ASSERT_TRUE(RenderModelLoadGeneric::Save(name, *pModel));
    }
    Inv::Warehouse::Get()->PopFrame();
}

std::unique_ptr<RenderModel> LoadModel(const std::string& chunks)
{
    return ReadChunks(chunks, [](Chunky& c, ByteStreamAdapter& a)
                      { return RenderModelLoadGeneric::Load(c, a, "GENERIC:art\\"); });
}

std::string WriteModel(const RenderModel& model)
{
    return WriteChunks([&](Chunky& c, ByteStreamAdapter& a) { RenderModelLoadGeneric::Save(c, a, model); });
}

// A model of two bones ("a", "b"), a mesh "m" drawn with shader "s", and a camera "cam".
std::string SmallModelParts()
{
    Bytes mesh;
    mesh.U32(0).U8(1).I32(1).I32(0).I32(0).I32(3).U32(1u << fr::VC_Position);
    for (int i = 0; i < 9; ++i)
        mesh.F32(float(i));
    mesh.I32(1).Str("s").I32(3).U16(0).U16(1).U16(2).U16(0).U16(3);
    ra::OBB box;
    const std::string pose = Bytes().Floats({0, 0, 0, 1});
    return Folder("SHDR", 1, Data("INFO", 1, Bytes().I32(1).I32(0).F32(0).I32(0).U8(0)), "s") +
           Folder("SKEL", 3,
                  Data("INFO", 1, Bytes().I32(2)) + Data("BONE", 5, Bytes().I32(-1).Vec3(0, 0, 0).Add(pose), "a") +
                      Data("BONE", 5, Bytes().I32(0).Vec3(0, 1, 0).Add(pose), "b")) +
           Folder("MSGR", 1,
                  Folder("MSLC", 1, Data("DATA", 2, mesh) + Data("BVOL", 2, Bytes().U8(1).Raw(&box, sizeof(box))), "m") +
                      Data("DATA", 1, Bytes().I32(1).Str("m").Str("").U32(uint32(-1))) + Data("BVOL", 2, Bytes().U8(0))) +
           Data("CMRA", 2, Bytes().Vec3(1, 2, 3).Add(pose).F32(1).F32(0.1f).F32(100).Vec3(4, 5, 6), "cam");
}
} // namespace

TEST(GenericModel, EveryKindOfChunkRoundTripsEqualAndRewritesTheSameBytes)
{
    ModelEnv e;
    SaveFromFrame("GENERIC:art/donor.sgm", [] { return BuildDonor(); });
    WalkerOptions options;
    options.xrefMesh = options.xrefAnim = options.sharedShader = true;
    Inv::Warehouse::Get()->PushFrame("built");
    std::unique_ptr<RenderModel> pBuilt = BuildWalker(options);
    ASSERT_TRUE(RenderModelLoadGeneric::Save("GENERIC:art/walker.sgm", *pBuilt));
    Inv::Warehouse::Get()->PopFrame();
    const std::string sgm = e.generic.Read("art/walker.sgm"), ebp = e.generic.Read("art/walker.ebp");
    EXPECT_EQ(TopChunks(sgm), std::vector<std::string>{"RSGM:walker"});
    EXPECT_EQ(TopChunks(ebp), std::vector<std::string>{"REBP:"});

    // Read in a frame of its own, which doesn't see the shaders and textures of the built one.
    Inv::Warehouse::Get()->PushFrame("read");
    std::unique_ptr<RenderModel> pRead = RenderModelLoadGeneric::Load("GENERIC:art/walker", true);
    ASSERT_TRUE(pRead);
    EXPECT_TRUE(SameModel(*pBuilt, *pRead));
    EXPECT_EQ(Text(pRead->GetMeshGroup()->GetMeshXRefName(2)), "art/donor");
    EXPECT_EQ(Text(pRead->GetAnimList()->GetAnimNode(2)->GetXRefName()), "art/donor");
    const ra::MeshGroup& group = *pRead->GetMeshGroup();
    EXPECT_FALSE(group.IsShaderLocal(group.FindShader(ra::MakeName("donor_metal"))));
    EXPECT_TRUE(pRead->GetAnimList()->IsShaderAnimated(group.FindShader(ra::MakeName("walker_glow"))));
    ASSERT_TRUE(RenderModelLoadGeneric::Save("GENERIC:art/again.sgm", *pRead));
    Inv::Warehouse::Get()->PopFrame();
    EXPECT_EQ(e.generic.Read("art/again.sgm"), sgm);
    EXPECT_EQ(e.generic.Read("art/again.ebp"), ebp);
}

TEST(GenericModel, WriterPutsChildrenInItsOrderAndGatesThemByTheFlags)
{
    ModelEnv e;
    std::unique_ptr<RenderModel> pModel = BuildWalker();
    auto children = [&](bool meshes, bool shaders, bool animation)
    {
        ModelSaveFlags flags;
        flags.meshes = meshes, flags.shaders = shaders, flags.animation = animation;
        return RootChildren(WriteChunks([&](Chunky& c, ByteStreamAdapter& a)
                                        { RenderModelLoadGeneric::Save(c, a, *pModel, flags); }));
    };
    using Names = std::vector<std::string>;
    EXPECT_EQ(children(true, true, true),
              (Names{"TXTR:art/textures/walker_skin", "TXTR:art/textures/walker_glow", "SHDR:walker_skin",
                     "SHDR:walker_glow", "SKEL:", "MSGR:", "MARK:muzzle", "MARK:smoke", "CMRA:portrait", "ANIM:walk",
                     "ANIM:idle"}));
    EXPECT_EQ(children(false, true, true), (Names{"ANIM:walk", "ANIM:idle"}));
    EXPECT_EQ(children(true, false, false), (Names{"SKEL:", "MSGR:", "MARK:muzzle", "MARK:smoke", "CMRA:portrait"}));
}

TEST(GenericModel, HandBuiltOlderAnimationChunksRead)
{
    ModelEnv e;
    // INFO of versions 1 to 4 give the frame count from start and end, the time from the rate.
    auto info = [](uint32 version)
    {
        if (version == 5)
            return Data("INFO", 5, Bytes().I32(20).F32(0.5f));
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
        // A bone chunk of version 1 says animated with an i32 above 0; a control of version 1 with
        // parameter 0 reads one higher; a model camera of version 1 has no target.
        const std::string anim = Folder(
            "ANIM", 2,
            Folder("DATA", 3,
                   info(version) + Data("BANM", 1, Bytes().I32(1).F32(0).Vec3(1, 2, 3).I32(0).I32(2), "b") +
                       Data("CANM", 1, Bytes().I32(2).I32(0).I32(0).I32(2).F32(0).F32(0).F32(1).F32(-1), "m") +
                       Data("CANM", 1, Bytes().I32(0).I32(1).I32(3).I32(1).F32(0).F32(0.5f), "s") +
                       Data("CANM", 2, Bytes().I32(2).I32(0).I32(0).I32(1).F32(0).F32(0.5f), "m") +
                       Data("CMRA", 1, Bytes().I32(1).F32(0).Vec3(7, 8, 9).I32(0), "cam")) +
                Data("ANBV", 1, Bytes().Vec3(-1, -2, -3).Vec3(1, 2, 3), "run"),
            "run");
        const std::string oldCamera =
            Data("CMRA", 1, Bytes().Vec3(1, 2, 3).Floats({0, 0, 0, 1}).F32(1).F32(0.1f).F32(100), "old");
        std::unique_ptr<RenderModel> p = LoadModel(Folder("RSGM", 1, SmallModelParts() + oldCamera + anim, "small"));
        ASSERT_EQ(p->GetAnimList()->GetAnimCount(), 1);
        const Anim& a = *p->GetAnimList()->GetAnim(0);
        EXPECT_EQ(a.GetFrameCount(), 20);
        EXPECT_FLOAT_EQ(a.GetTime(), 0.5f);
        // Bone streams stand in skeleton order, whatever the file's.
        ASSERT_EQ(a.GetBoneCount(), 2);
        EXPECT_EQ(a.GetPositionStream(0), nullptr);
        ASSERT_TRUE(a.GetPositionStream(1));
        EXPECT_EQ(a.GetPositionStream(1)->GetKeyValue(0), ra::Vec3(1, 2, 3));
        EXPECT_TRUE(a.IsBoneAnimated(1));
        ASSERT_EQ(a.GetControlStreamCount(), 3);
        EXPECT_EQ(a.GetControlStream(0)->GetKeyValue(1), 0.0f);
        // Only parameter 0 is raised, and only in version 1.
        EXPECT_EQ(a.GetControlStream(1)->GetKeyValue(0), 0.5f);
        EXPECT_EQ(a.GetControlStream(2)->GetKeyValue(0), 0.5f);
        ASSERT_EQ(a.GetCameraCount(), 1);
        ra::Vec3 minimum, maximum;
        ASSERT_TRUE(p->GetAnimList()->GetAnimNode(0)->GetBV(minimum, maximum));
        EXPECT_EQ(maximum, ra::Vec3(1, 2, 3));
        ASSERT_EQ(p->GetCCameraCount(), 2);
        EXPECT_EQ(p->GetCCamera(0).target, ra::Vec3(4, 5, 6));
        EXPECT_EQ(p->GetCCamera(1).target, ra::Vec3(0, 0, 0));
        EXPECT_EQ(p->GetCCamera(1).farClip, 100.0f);
    }
}

TEST(GenericModel, BrokenLinksAreLoggedAndStoodInOrDropped)
{
    ModelEnv e;
    SaveFromFrame("GENERIC:art/donor.sgm", [] { return BuildDonor(); });
    // The stand-in model, whose first mesh replaces meshes that cannot be had.
    SaveFromFrame("GENERIC:art/ebps/missingmodel.sgm", [] { return BuildDonor(); });
    LogCapture log;
    dbg::ScopedThrowOnAssert quiet(false);
    const std::string anim = Folder("ANIM", 2,
                                    Folder("DATA", 3,
                                           Data("INFO", 5, Bytes().I32(2).F32(1)) +
                                               Data("BANM", 2, Bytes().I32(0).I32(0).U8(1), "nobody") +
                                               Data("CANM", 2, Bytes().I32(0).I32(0).I32(0).I32(0), "no_shader") +
                                               Data("CANM", 2, Bytes().I32(2).I32(0).I32(0).I32(0), "no_mesh") +
                                               Data("CMRA", 1, Bytes().I32(0).I32(0), "no_camera")),
                                    "run");
    const std::string xrefs = Folder("ANIM", 2, Data("XREF", 3, Bytes().Str("art/donor").Str("run")), "run") +
                              Folder("ANIM", 2,
                                     Data("XREF", 3, Bytes().Str("art/donor").Str("jump")) +
                                         Data("ANBV", 1, Bytes().Vec3(-1, -2, -3).Vec3(4, 5, 6)),
                                     "jump");
    const std::string shared = Data("SSHR", 1, Bytes().Str("no_such_shader"));
    std::unique_ptr<RenderModel> p = LoadModel(Folder("RSGM", 1, SmallModelParts() + anim + xrefs + shared, "small"));
    for (const char* line : {"Unable to find bone nobody in skeleton, ignoring it!",
                             "Could not find shader 'no_shader' in model 'small' for animation 'run'",
                             "Could not find mesh 'no_mesh' in model 'small' for animation 'run'",
                             "Could not find camera 'no_camera' in model 'small' for animation 'run'",
                             "'small': XRef'ed Anim 'run' is already present locally, resave the motion tree",
                             "'small': XRef'ed Anim 'jump' in model 'art/donor' is missing!"})
        EXPECT_TRUE(log.Has(line)) << line;
    ASSERT_EQ(p->GetAnimList()->GetAnimCount(), 2);
    EXPECT_EQ(p->GetAnimList()->GetAnim(0)->GetControlStreamCount(), 0);
    EXPECT_EQ(p->GetAnimList()->GetAnim(0)->GetCameraCount(), 0);
    // The missing animation stands in empty, under its name, with the model's bones.
    const AnimListNode& jump = *p->GetAnimList()->GetAnimNode(1);
    EXPECT_EQ(Text(jump.GetAnim()->GetName()), "jump");
    EXPECT_EQ(Text(jump.GetXRefName()), "art/donor");
    EXPECT_EQ(jump.GetAnim()->GetBoneCount(), 2);
    ra::Vec3 minimum, maximum; // and keeps the box its chunk gave
    EXPECT_TRUE(jump.GetBV(minimum, maximum) && maximum == ra::Vec3(4, 5, 6));
    // A shared shader whose file is missing stands in blank, still shared.
    Inv::Resource* pShader = nullptr;
    ASSERT_TRUE(Inv::Warehouse::Get()->Find(&pShader, "no_such_shader", Shader::GetTypeInfo()));
    EXPECT_TRUE(static_cast<Shader*>(pShader->GetData())->IsShared());

    // A mesh missing from the model it is taken from is the stand-in model's first mesh.
    std::unique_ptr<RenderModel> pMeshes = LoadModel(
        Folder("RSGM", 1, Folder("MSGR", 1, Data("DATA", 1, Bytes().I32(1).Str("sword").Str("art/donor").U32(0))), "small"));
    EXPECT_TRUE(log.Has("MODELS -- Unable to load XREF Mesh 'sword' from 'art/donor'!"));
    ASSERT_EQ(pMeshes->GetMeshGroup()->GetMeshCount(), 1);
    EXPECT_EQ(Text(pMeshes->GetMeshGroup()->GetMesh(0)->GetName()), "blade");
    EXPECT_EQ(Text(pMeshes->GetMeshGroup()->GetMeshName(0)), "sword");

    // Animations of a model without a skeleton are said to be so, and still read.
    std::unique_ptr<RenderModel> pBare = LoadModel(Folder("RSGM", 1, anim, "bare"));
    EXPECT_TRUE(log.Has("bare: Animation 'run' - in a model without a valid skeleton!"));
    EXPECT_EQ(Text(pBare->GetAnimList()->GetAnim(0)->GetBoneName(0)), "nobody");
}

TEST(GenericModel, TruncatedAndDamagedFilesThrowToTheCaller)
{
    ModelEnv e;
    const std::string file = WriteModel(*BuildWalker());
    dbg::ScopedThrowOnAssert quiet(false);
    for (size_t cut = 0; cut < file.size(); cut += (cut + 64 < file.size() ? 53 : 1))
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

    const std::string noFrames = Data("INFO", 5, Bytes().I32(0).F32(1));
    // clang-format off
    const struct { const char* what; std::string root; int code; } cases[] = {
        {"texture folder ending before its image", Folder("RSGM", 1, Folder("TXTR", 1, Data("INFO", 3, Bytes().I32(1)), "t"), "x"), 2},
        {"animation without frames", Folder("RSGM", 1, Folder("ANIM", 2, Folder("DATA", 3, noFrames), "a"), "x"), 12},
        {"animation with neither data nor reference", Folder("RSGM", 1, Folder("ANIM", 2, "", "a"), "x"), 12},
        {"intermediate animation without frames", Folder("RSGM", 1, Folder("ANIM", 1, Folder("DATA", 1, Data("INFO", 1, Bytes().I32(0).F32(1))), "a"), "x"), 12},
        {"newer root", Folder("RSGM", 2, "", "x"), 5},
        {"root of another kind", Folder("MESH", 1, "", "x"), 4},
    };
    // clang-format on
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
            ra::Matrix34 world =
                ra::MatrixFromQuatPos(ra::QuatFromAxisAngle(ra::Normalize(ra::Vec3(0.3f, 1, 0.2f * float(b))), angle),
                                      pBone->GetPosition() + ra::Vec3(0.01f * float(k), 0, 0));
            if (b > 1)
                world = world * cWorld[size_t(pBone->GetParentIndex())];
            cWorld[size_t(b)] = world;
            pSway->GetBoneMatrixStream(b)->SetTime(k, float(k) / float(keyCount - 1));
            pSway->GetBoneMatrixStream(b)->SetValue(k, world);
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
    Inv::Warehouse::Get()->PushFrame("read");
    LogCapture log;
    std::unique_ptr<RenderModel> pRead = ReadModel(file);
    ASSERT_TRUE(pRead);
    EXPECT_EQ(log.Count(s_parentMessage), 1);
    // What the model holds cannot give the file back by itself: the flat offset is gone, the body
    // got a visibility stream, the camera's first key turned to the near hemisphere.
    const AnimList& list = *pRead->GetAnimList();
    const Anim& sway = *list.GetAnim(list.FindAnim(ra::MakeName("sway")));
    EXPECT_EQ(sway.GetControlName(1), ra::MakeName("gun"));
    EXPECT_NE(sway.FindControlStream(ra::MakeName("body")), Anim::InvalidIndex);
    EXPECT_EQ(sway.GetCameraRotationStream(0)->GetKeyValue(0).w, 1.0f);
    // The rest of the library sees an ordinary animation, not the exporter's working form.
    EXPECT_EQ(dynamic_cast<const AnimInterm*>(&sway), nullptr);

    log.Clear();
    const std::string again = WriteInterm(*pRead);
    EXPECT_EQ(log.Count(s_parentMessage), 0);
    EXPECT_TRUE(again == file);
    pRead.reset();
    Inv::Warehouse::Get()->PopFrame();
}

TEST(GenericInterm, ShaderControlsGoOutWithTheShadersBaseAndComeBackRelative)
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
        EXPECT_NEAR(read.GetControlStream(colour)->GetKeyValue(k), built.GetControlStream(0)->GetKeyValue(k), 1e-6f);
    pRead.reset();
    Inv::Warehouse::Get()->PopFrame();
}
