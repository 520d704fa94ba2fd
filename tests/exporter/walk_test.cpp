// Scene gathering: how the walk sorts nodes into bones, meshes, markers, cameras and lights, and
// how bones are named and parented.
#include "exporter/sgmutil.h"
#include "exporter_fixture.h"

#include <string>

using exporter_test::ExporterFixture;

namespace
{
class SceneWalk : public ExporterFixture
{
};

std::vector<std::string> BoneNames(const SGMExport& exporter)
{
    std::vector<std::string> names;
    for (const BoneNode& bone : exporter.GetBoneNodes())
        names.push_back(bone.name);
    return names;
}
} // namespace

TEST_F(SceneWalk, DuplicateBoneNamesAreNumberedWithoutRegardToCase)
{
    SGMExport& exporter = Walk(R"J({"nodes": [
        {"name": "a", "bone": true},
        {"name": "A", "bone": true},
        {"name": "a", "bone": true},
        {"name": "A(2)", "bone": true}]})J");
    // The fourth clashes with the second's new name and restarts: A(2) -> A(2)(2).
    EXPECT_EQ(BoneNames(exporter), (std::vector<std::string>{"a", "A(2)", "a(3)", "A(2)(2)"}));
}

TEST_F(SceneWalk, ParentSearchStepsOverRemovedBonesAndOtherNodes)
{
    SGMExport& exporter = Walk(R"J({"nodes": [
        {"name": "Hip", "bone": true},
        {"name": "Gone", "bone": true, "parent": "Hip", "userProperties": "Remove"},
        {"name": "Knee", "bone": true, "parent": "Gone"},
        {"name": "Helper", "object": {"class": "dummy"}, "parent": "Knee"},
        {"name": "Foot", "bone": true, "parent": "Helper"},
        {"name": "Loose", "bone": true, "userProperties": "Stale"}]})J");
    const auto& bones = exporter.GetBoneNodes();
    ASSERT_EQ(BoneNames(exporter), (std::vector<std::string>{"Hip", "Knee", "Foot", "Loose"}));
    EXPECT_EQ(bones[0].parent, -1);
    EXPECT_EQ(bones[1].parent, 0);
    EXPECT_EQ(bones[2].parent, 1);
    EXPECT_EQ(bones[3].parent, -1);
    EXPECT_TRUE(bones[0].active);
    EXPECT_FALSE(bones[3].active);
    EXPECT_EQ(exporter.FindBoneIndex(Node("Gone")), -1);
    EXPECT_EQ(exporter.FindParentBone(Node("Helper")), 1);
}
