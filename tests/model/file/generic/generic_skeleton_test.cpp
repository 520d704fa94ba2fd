#include "model/file/generic/skeletonloadgeneric.h"
#include "model/file/generic/skeletonloadinterm.h"

#include "model/file/generic/generic_test_util.h"
#include "model/mesh/mesh_test_util.h"

#include <gtest/gtest.h>

using namespace generic_test;
using model_test::MatrixNear;

namespace
{
std::unique_ptr<Skeleton> ThreeBones()
{
    return model_test::MakeSkeleton({
        {"Root", -1, {0, 1, 0}, ra::QuatFromAxisAngle({0, 1, 0}, 0.5f)},
        {"Spine", 0, {0, 2, 0.5f}, ra::QuatFromAxisAngle({1, 0, 0}, -0.25f)},
        {"Head", 1, {0.25f, 1, 0}, ra::Quat()},
    });
}

std::unique_ptr<Skeleton> LoadGeneric(const std::string& chunks)
{
    return ReadChunks(chunks,
                      [](Chunky& c, ByteStreamAdapter& a) { return SkeletonLoadGeneric::Load(c, a); });
}

// A rotation about z by a quarter turn, moved to (1, 2, 3), as a mat34.
const ra::Matrix34 s_boneMatrix = model_test::Rows({0, 1, 0}, {-1, 0, 0}, {0, 0, 1}, {1, 2, 3});

// The parts that older BONE versions add around the matrix.
Bytes OldBone(uint32 version, int32 parent)
{
    Bytes b;
    b.I32(parent).U32(0xDEADBEEF);
    if (version == 1)
        b.I32(7).I32(8).I32(9);
    b.Raw(s_boneMatrix.Data(), 48);
    if (version < 4)
        b.Vec3(1, 1, 1).Vec3(2, 2, 2);
    if (version < 3)
        b.U32(0xFEEDFACE);
    return b;
}
} // namespace

TEST(GenericSkeleton, CurrentBoneChunkIsParentPositionAndRotation)
{
    const std::string chunks =
        Folder("SKEL", 3,
               Data("INFO", 1, Bytes().I32(2)) +
                   Data("BONE", 5, Bytes().I32(-1).Vec3(1, 2, 3).Floats({0, 0, 0, 1}), "a") +
                   Data("BONE", 5, Bytes().I32(0).Vec3(0, 0, 5).Floats({0, 0, 0, 1}), "b"));
    std::unique_ptr<Skeleton> p = LoadGeneric(chunks);
    ASSERT_EQ(p->GetBoneCount(), 2);
    EXPECT_EQ(p->GetBone(1)->GetParentIndex(), 0);
    EXPECT_TRUE(MatrixNear(p->GetBone(1)->GetWorldMatrix(), model_test::Translation(1, 2, 8)));
}

TEST(GenericSkeleton, OlderBoneVersionsTakeTheMatrixAndSkipWhatTheyAdd)
{
    for (uint32 version = 1; version <= 4; ++version)
    {
        SCOPED_TRACE(version);
        const std::string chunks =
            Folder("SKEL", 3,
                   Data("INFO", 1, Bytes().I32(2)) + Data("BONE", version, OldBone(version, -1), "root") +
                       Data("BONE", version, OldBone(version, 0), "child"));
        std::unique_ptr<Skeleton> p = LoadGeneric(chunks);
        ASSERT_EQ(p->GetBoneCount(), 2);
        const Bone* pChild = p->GetBone(1);
        EXPECT_EQ(Text(pChild->GetName()), "child");
        EXPECT_EQ(pChild->GetParentIndex(), 0);
        EXPECT_EQ(pChild->GetPosition(), ra::Vec3(1, 2, 3));
        EXPECT_TRUE(MatrixNear(pChild->GetLocalMatrix(), s_boneMatrix));
    }
}

TEST(GenericSkeleton, BadSkeletonsThrowToTheCaller)
{
    const std::string pose = Bytes().Vec3(0, 0, 0).Floats({0, 0, 0, 1});
    const std::string one = Data("INFO", 1, Bytes().I32(1));
    const std::string bone = Data("BONE", 5, Bytes().I32(-1).Add(pose), "a");
    const struct
    {
        const char* what;
        std::string skel;
        int code;
    } cases[] = {
        {"more bones than the count", Folder("SKEL", 3, Data("INFO", 1, Bytes().I32(2)) + bone), 12},
        {"parent outside", Folder("SKEL", 3, one + Data("BONE", 5, Bytes().I32(1).Add(pose), "a")), 12},
        {"bone without a name", Folder("SKEL", 3, one + Data("BONE", 5, Bytes().I32(-1).Add(pose))), 12},
        {"no count", Folder("SKEL", 3, bone), 12},
        {"cut payload", Folder("SKEL", 3, one + Data("BONE", 5, Bytes().I32(-1).Vec3(0, 0, 0), "a")), 6},
        {"newer bone", Folder("SKEL", 3, one + Data("BONE", 6, "", "a")), 5},
        {"newer skeleton", Folder("SKEL", 4, ""), 5},
    };
    for (const auto& c : cases)
        EXPECT_EQ(ChunkyCode([&] { LoadGeneric(c.skel); }), c.code) << c.what;
    // A count of none with no bones is an empty skeleton.
    EXPECT_EQ(LoadGeneric(Folder("SKEL", 3, Data("INFO", 1, Bytes().I32(0))))->GetBoneCount(), 0);
}

TEST(GenericSkeleton, IntermediateFormGivesBackTheFileMatricesWhileTheyHold)
{
    // Matrices as a sampler gives them, a little off orthonormal: the reference pose built again
    // from local values is not what the file says.
    const ra::Matrix34 root = model_test::Rows({0.6f, 0, -0.8f}, {0, 1.0001f, 0}, {0.8f, 0, 0.6f}, {0, 1, 0});
    const auto chunkOf = [](const ra::Matrix34& rootWorld, const ra::Matrix34& armWorld)
    {
        Bytes b;
        b.I32(2).Str("root").I32(-1).Raw(rootWorld.Data(), 48).Str("arm").I32(0).Raw(armWorld.Data(), 48);
        return Data("SKEL", 2, b);
    };
    const auto read = [](const std::string& chunk) {
        return ReadChunks(chunk,
                          [](Chunky& c, ByteStreamAdapter& a) { return SkeletonLoadInterm::Load(c, a); });
    };
    const auto write = [](const Skeleton& skeleton)
    {
        return WriteChunks([&](Chunky& c, ByteStreamAdapter& a) { SkeletonLoadInterm::Save(c, a, skeleton); })
            .substr(24);
    };
    const std::string file = chunkOf(root, s_boneMatrix);

    std::unique_ptr<Skeleton> pRead = read(file);
    EXPECT_FALSE(pRead->GetBone(0)->GetWorldMatrix() == root);
    EXPECT_TRUE(SkeletonLoadInterm::IntermWorldMatricesHold(*pRead));
    EXPECT_EQ(write(*pRead), file);

    // A world matrix set on a bone is newer than the file's.
    const ra::Matrix34 moved = model_test::Rows({1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {4, 5, 6});
    pRead->GetBone(1)->SetWorldMatrix(moved);
    EXPECT_FALSE(SkeletonLoadInterm::IntermWorldMatricesHold(*pRead));
    EXPECT_EQ(write(*pRead), chunkOf(pRead->GetBone(0)->GetWorldMatrix(), moved));

    // So is a bone moved and its pose built again; the child follows its parent.
    pRead = read(file);
    pRead->GetBone(0)->SetPosition({0, 2, 0});
    pRead->BuildRefPose();
    EXPECT_FALSE(SkeletonLoadInterm::IntermWorldMatricesHold(*pRead));
    EXPECT_EQ(write(*pRead),
              chunkOf(pRead->GetBone(0)->GetWorldMatrix(), pRead->GetBone(1)->GetWorldMatrix()));
    EXPECT_TRUE(
        MatrixNear(read(write(*pRead))->GetBone(1)->GetLocalMatrix(), pRead->GetBone(1)->GetLocalMatrix()));

    // A skeleton made in code has nothing kept and writes its pose.
    std::unique_ptr<Skeleton> pBuilt = ThreeBones();
    EXPECT_TRUE(pBuilt->GetIntermWorldMatrices().empty());
    EXPECT_FALSE(SkeletonLoadInterm::IntermWorldMatricesHold(*pBuilt));
}
