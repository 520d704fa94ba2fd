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

// The shared random source, replaced: it answers a fixed choice and records the count asked for.
uint32 s_answer = 0;
uint32 s_lastCount = 0;
uint32 FixedAnswer(uint32 count)
{
    s_lastCount = count;
    return s_answer < count ? s_answer : count - 1;
}
} // namespace

// Markers and bones are one index space, the records first; "root" is the first bone (or the
// first marker without a skeleton) and "random" any of them, both over markers of their name.
TEST(RenderModelMarkers, LookupByNameRootAndRandom)
{
    const int32 none = RenderModel::InvalidIndex;
    struct Case
    {
        std::vector<const char*> markers;
        bool bones;
        const char* name;
        uint32 answer;
        int32 index;
        uint32 asked; // the count the random source was asked for; 0 when it was not asked
    };
    // clang-format off
    const Case cases[] = {
        {{"muzzle", "exhaust"}, false, "root", 0, 0, 0},
        {{"muzzle", "exhaust"}, false, "exhaust", 0, 1, 0},
        {{"muzzle", "exhaust"}, false, "random", 1, 1, 2},
        {{}, true, "root", 0, 0, 0},
        {{"muzzle", "exhaust"}, true, "root", 0, 2, 0},
        {{"muzzle", "exhaust"}, true, "B3", 0, 5, 0},
        {{"muzzle", "exhaust"}, true, "nowhere", 0, none, 0},
        {{"muzzle", "exhaust"}, true, "random", 6, 6, 7},
        {{"muzzle", "root", "random"}, false, "root", 0, 0, 0},
        {{"muzzle", "root", "random"}, false, "random", 0, 0, 3},
        {{"muzzle", "root", "random"}, true, "root", 0, 3, 0},
        {{}, false, "root", 0, none, 0},
        {{}, false, "random", 0, none, 0},
        {{}, false, "muzzle", 0, none, 0},
    };
    // clang-format on
    RenderModel::SetRandomSource(FixedAnswer);
    for (const Case& c : cases)
    {
        SCOPED_TRACE(std::string(c.name) + (c.bones ? " with bones" : "") + " among " +
                     std::to_string(c.markers.size()));
        RenderModel model("m");
        model.SetCMarkerCount(int32(c.markers.size()));
        for (size_t i = 0; i < c.markers.size(); ++i)
            model.SetCMarker(int32(i), MakeMarker(c.markers[i]));
        if (c.bones)
            model.SetSkeleton(FiveBones());
        EXPECT_EQ(model.GetMarkerCount(), int32(c.markers.size()) + (c.bones ? 5 : 0));
        s_answer = c.answer;
        s_lastCount = 0;
        EXPECT_EQ(model.FindMarker(ra::MakeName(c.name)), c.index);
        EXPECT_EQ(s_lastCount, c.asked);
    }
    RenderModel::SetRandomSource(nullptr);
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
    // Without a skeleton a marker with a parent stands at its own transform.
    ra::Matrix34 out;
    ASSERT_TRUE(model.GetMarkerWorldTransform(1, out));
    EXPECT_EQ(out, model.GetCMarker(1).transform);
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
