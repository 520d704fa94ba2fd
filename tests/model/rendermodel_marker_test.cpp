// RenderModel markers: records and bones as one index space, "root" and "random", parent bones
// resolved by name, and the transforms they give.
#include "model/rendermodel.h"

#include "foundation/debug.h"
#include "model/mesh/mesh_test_util.h"

#include <gtest/gtest.h>

using model_test::MakeSkeleton;
using model_test::MatrixNear;
using model_test::QuarterTurn;
using model_test::Rows;
using model_test::Translation;

namespace
{
Marker MakeMarker(const char* name, const char* parent = nullptr, const ra::Matrix34& transform = {})
{
    Marker marker;
    marker.name = ra::MakeName(name);
    marker.parentName = parent ? ra::MakeName(parent) : ra::Name::INVALID;
    marker.transform = transform;
    return marker;
}

std::unique_ptr<Skeleton> FiveBones()
{
    return MakeSkeleton({{"b0", -1, {0, 0, 0}, {}},
                         {"b1", 0, {0, 1, 0}, {}},
                         {"b2", 1, {0, 1, 0}, QuarterTurn({0, 1, 0})},
                         {"b3", 2, {2, 0, 0}, {}},
                         {"b4", 0, {0, 0, 1}, {}}});
}

void AddMarkers(RenderModel& model, std::initializer_list<Marker> cMarker)
{
    model.SetCMarkerCount(int32(cMarker.size()));
    int32 i = 0;
    for (const Marker& marker : cMarker)
        model.SetCMarker(i++, marker);
}

// The shared random source, replaced for a test: it answers a fixed choice and records the count
// it was asked for.
struct FixedRandom : ::testing::Test
{
    static inline uint32 s_answer = 0;
    static inline uint32 s_lastCount = 0;
    static uint32 Answer(uint32 count)
    {
        s_lastCount = count;
        return s_answer < count ? s_answer : count - 1;
    }
    FixedRandom() { RenderModel::SetRandomSource(Answer); }
    ~FixedRandom() override { RenderModel::SetRandomSource(nullptr); }
};

using RenderModelMarkers = FixedRandom;
} // namespace

TEST_F(RenderModelMarkers, WithoutSkeletonRootIsTheFirstMarker)
{
    RenderModel model("m");
    AddMarkers(model, {MakeMarker("muzzle"), MakeMarker("exhaust")});
    EXPECT_EQ(model.GetMarkerCount(), 2);
    EXPECT_EQ(model.FindMarker(ra::MakeName("root")), 0);
    EXPECT_EQ(model.FindMarker(ra::MakeName("exhaust")), 1);

    s_answer = 1;
    EXPECT_EQ(model.FindMarker(ra::MakeName("random")), 1);
    EXPECT_EQ(s_lastCount, 2u);
}

TEST_F(RenderModelMarkers, BonesFollowTheMarkerRecords)
{
    RenderModel model("m");
    model.SetSkeleton(FiveBones());
    EXPECT_EQ(model.GetMarkerCount(), 5);
    EXPECT_EQ(model.FindMarker(ra::MakeName("root")), 0);

    AddMarkers(model, {MakeMarker("muzzle"), MakeMarker("exhaust")});
    EXPECT_EQ(model.GetMarkerCount(), 7);
    EXPECT_EQ(model.FindMarker(ra::MakeName("root")), 2);
    EXPECT_EQ(model.FindMarker(ra::MakeName("B3")), 5);
    EXPECT_EQ(model.GetMarkerName(5), ra::MakeName("b3"));
    EXPECT_EQ(model.GetMarkerName(1), ra::MakeName("exhaust"));
    EXPECT_EQ(model.FindMarker(ra::MakeName("nowhere")), RenderModel::InvalidIndex);

    // "random" may choose a bone.
    s_answer = 6;
    EXPECT_EQ(model.FindMarker(ra::MakeName("random")), 6);
    EXPECT_EQ(s_lastCount, 7u);
}

TEST_F(RenderModelMarkers, TheLiteralsWinOverMarkersOfTheirName)
{
    RenderModel model("m");
    AddMarkers(model, {MakeMarker("muzzle"), MakeMarker("root"), MakeMarker("random")});
    EXPECT_EQ(model.FindMarker(ra::MakeName("root")), 0);
    s_answer = 0;
    EXPECT_EQ(model.FindMarker(ra::MakeName("random")), 0);

    model.SetSkeleton(FiveBones());
    EXPECT_EQ(model.FindMarker(ra::MakeName("root")), 3);
}

TEST_F(RenderModelMarkers, NothingToFindWithoutMarkersAndBones)
{
    RenderModel model("m");
    EXPECT_EQ(model.GetMarkerCount(), 0);
    for (const char* name : {"root", "random", "muzzle"})
        EXPECT_EQ(model.FindMarker(ra::MakeName(name)), RenderModel::InvalidIndex) << name;
    s_lastCount = 0;
    model.FindMarker(ra::MakeName("random"));
    EXPECT_EQ(s_lastCount, 0u);

    std::vector<std::string> cName;
    model.GetMarkerNames(cName);
    EXPECT_EQ(cName, (std::vector<std::string>{"root", "random"}));
}

TEST(RenderModelMarkerNames, ListsTheLiteralsThenMarkersButNoBones)
{
    RenderModel model("m");
    model.SetSkeleton(FiveBones());
    AddMarkers(model, {MakeMarker("Muzzle"), MakeMarker("exhaust")});
    std::vector<std::string> cName{"earlier"};
    model.GetMarkerNames(cName);
    EXPECT_EQ(cName, (std::vector<std::string>{"earlier", "root", "random", "muzzle", "exhaust"}));
}

TEST(RenderModelRandom, DefaultSourceStaysBelowTheCountAndVaries)
{
    RenderModel model("m");
    AddMarkers(model, {MakeMarker("a"), MakeMarker("b"), MakeMarker("c")});
    bool seen[3] = {false, false, false};
    for (int i = 0; i < 200; ++i)
    {
        const int32 index = model.FindMarker(ra::MakeName("random"));
        ASSERT_GE(index, 0);
        ASSERT_LT(index, 3);
        seen[index] = true;
    }
    EXPECT_TRUE(seen[0] && seen[1] && seen[2]);
    EXPECT_EQ(RenderModel::Random(0), 0u);
}

TEST(RenderModelMarkerParents, SkeletonResolvesParentsByName)
{
    RenderModel model("m");
    AddMarkers(model, {MakeMarker("free"), MakeMarker("onb2", "B2"), MakeMarker("lost", "removed_bone")});
    EXPECT_EQ(model.GetCMarker(1).parentIndex, -1);

    model.SetSkeleton(FiveBones());
    EXPECT_EQ(model.GetCMarker(0).parentIndex, -1);
    EXPECT_EQ(model.GetCMarker(1).parentIndex, 2);
    EXPECT_EQ(model.GetCMarker(2).parentIndex, -1);

    // A marker stored once the skeleton is there is resolved as it comes in.
    model.SetCMarkerCount(4);
    model.SetCMarker(3, MakeMarker("late", "b4"));
    EXPECT_EQ(model.GetCMarker(3).parentIndex, 4);

    // Taking the skeleton away leaves the indices as they were.
    model.SetSkeleton(nullptr);
    EXPECT_EQ(model.GetCMarker(1).parentIndex, 2);
}

TEST(RenderModelMarkerTransforms, WorldAndLocalOfMarkersAndBones)
{
    RenderModel model("m");
    const ra::Matrix34 offset = Translation(0, 0, 1);
    const ra::Matrix34 absolute = Rows({0, 0, 1}, {0, 1, 0}, {-1, 0, 0}, {7, 8, 9});
    AddMarkers(model, {MakeMarker("onb2", "b2", offset), MakeMarker("lost", "nobone", absolute)});
    model.SetSkeleton(FiveBones());

    // b2 lies at (0, 2, 0), turned a quarter about y: its z axis is model x.
    ra::Matrix34 out;
    ASSERT_TRUE(model.GetMarkerWorldTransform(0, out));
    EXPECT_TRUE(MatrixNear(out, Rows({0, 0, -1}, {0, 1, 0}, {1, 0, 0}, {1, 2, 0})));
    ASSERT_TRUE(model.GetMarkerLocalTransform(0, out));
    EXPECT_TRUE(MatrixNear(out, offset));

    // A parent that is not in the skeleton leaves the marker at its own transform.
    ASSERT_TRUE(model.GetMarkerWorldTransform(1, out));
    EXPECT_EQ(out, absolute);

    // Bone b3 (marker 2 + 3): (2, 0, 0) in b2's space.
    ASSERT_TRUE(model.GetMarkerWorldTransform(5, out));
    EXPECT_TRUE(MatrixNear(out, Rows({0, 0, -1}, {0, 1, 0}, {1, 0, 0}, {0, 2, -2})));
    ASSERT_TRUE(model.GetMarkerLocalTransform(5, out));
    EXPECT_EQ(out, ra::Matrix34::Identity());
}

TEST(RenderModelMarkerTransforms, BadIndicesAreAssertionsThatLeaveTheOutputAlone)
{
    RenderModel model("m");
    AddMarkers(model, {MakeMarker("a")});
    ra::Matrix34 out = Translation(1, 2, 3);
    {
        dbg::ScopedThrowOnAssert throwing;
        EXPECT_THROW(model.GetMarkerWorldTransform(1, out), std::runtime_error);
    }
    dbg::ScopedThrowOnAssert quiet(false);
    EXPECT_FALSE(model.GetMarkerLocalTransform(RenderModel::InvalidIndex, out));
    EXPECT_EQ(out, Translation(1, 2, 3));
}
