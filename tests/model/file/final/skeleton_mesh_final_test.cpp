// The final skeleton chunk and the final mesh writer, built by hand and checked at their edges.
#include "model/file/final/meshloadfinal.h"
#include "model/file/final/skeletonloadfinal.h"

#include "model/file/final/final_test_util.h"
#include "support/logcapture.h"

#include <gtest/gtest.h>

using namespace final_test;
using model_test::FileHeader;

namespace
{
std::string BoneBytes(const char* name, int32 parent, float y)
{
    return Bytes().Str(name).I32(parent).Vec3(0, y, 0).Floats({0, 0, 0, 1});
}

// A rigid mesh of one triangle skinned by `bone`, with its entry and volume.
std::string SkinnedMeshGroup(const char* bone)
{
    ra::OBB box;
    Bytes data;
    data.U32(0).U8(1).I32(1).I32(0).I32(1).Str(bone).U32(0).I32(3).U32(1u << fr::VC_Position);
    data.Floats({0, 0, 0, 1, 0, 0, 0, 1, 0}).I32(0).I32(0).I32(0).I32(0).I32(0);
    return Folder("MSGR", 1,
                  Folder("MSLC", 1,
                         Data("DATA", 2, data) + Data("BVOL", 2, Bytes().U8(1).Raw(&box, sizeof(box))),
                         "skin") +
                      Data("DATA", 1, Bytes().I32(1).Str("skin").Str("").U32(uint32(-1))) +
                      Data("BVOL", 2, Bytes().U8(0)));
}
} // namespace

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
        {"parent outside", Bytes().I32(2).Add(BoneBytes("root", -1, 0)).Add(BoneBytes("spine", 2, 1)), false},
        {"bone without a name", Bytes().I32(1).Add(BoneBytes("", -1, 0)), false},
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
        e.data.Write("skin.tqm", FileHeader() + Folder("RSGM", 3, skel + SkinnedMeshGroup(bone), "skin"));
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
        dbg::ScopedThrowOnAssert throwing;
        std::string what;
        try
        {
            WriteChunks([&](Chunky& ch, ByteStreamAdapter& a) { MeshLoadFinal::SaveMesh(ch, a, mesh, "m"); });
        }
        catch (const std::runtime_error& error)
        {
            what = error.what();
        }
        if (c.assertion == nullptr)
            EXPECT_EQ(what, "");
        else
            EXPECT_NE(what.find(c.assertion), std::string::npos) << what;
    }
}
