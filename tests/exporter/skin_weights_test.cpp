// Reading skin weights from the Skin modifier: the stack search, merging and scaling of a vertex's
// influences, and the messages of bad vertices, each of which is reported.
#include "exporter/exporter_fixture.h"
#include "exporter/skin_test_util.h"

#include <string>
#include <vector>

namespace
{
using skin_test::ExpectRecord;
using skin_test::Skin;
using skin_test::SkinScene;

constexpr uint8 None = 0xFF;

class SkinWeights : public exporter_test::ExporterFixture
{
protected:
    // Walks the scene and reads the weights of mesh node 0.
    int Read(const std::string& json)
    {
        SGMExport& exporter = Walk(json);
        if (m_pScene == nullptr || exporter.GetMeshNodes().empty())
        {
            ADD_FAILURE() << "no mesh node";
            return -1;
        }
        return exporter.ReadSkinWeights(0);
    }
    const std::vector<WeightRecord>& Weights() const { return m_pExport->GetMeshNodes().at(0).cWeight; }
};

TEST_F(SkinWeights, InfluencesMergeScaleAndNameBonesOfTheSkeleton)
{
    // The skin lists its bones in an order of its own; stored numbers index the skeleton's list.
    const std::string stack = R"([{"class": "skin", "bones": ["B2", "B0", "B4"], "points": [
        [[0, 0.25], [1, 0.25]],
        [[0, 0.25], [2, 0.375], [0, 0.25]],
        [[2, 1]],
        [[0, 0.25], [1, 0.25], [2, 0.25], [0, 0.25]]]}])";
    ASSERT_EQ(Read(SkinScene(4, stack)), 2);
    EXPECT_TRUE(Messages().empty());
    ASSERT_EQ(Weights().size(), 4u);

    // 0.25 and 0.25 are scaled up to a sum of 1.
    ExpectRecord(Weights()[0], {0.5f, 0.5f, 0.0f}, {2, 0, None, None});
    // B2 merges in its own place, behind B4 though now the heavier.
    ExpectRecord(Weights()[1], {0.375f / 0.875f, 0.5f / 0.875f, 0.0f}, {4, 2, None, None});
    ExpectRecord(Weights()[2], {1.0f, 0.0f, 0.0f}, {4, None, None, None});
    // Four entries of three bones are four influences, within the limit.
    ExpectRecord(Weights()[3], {0.5f, 0.25f, 0.25f}, {2, 0, 4, None});
}

TEST_F(SkinWeights, ZeroWeightsAndNegativeBonesAreSkippedSilently)
{
    ASSERT_EQ(Read(SkinScene(3, Skin(R"([
        [[0, 0.25], [1, 0.25], [2, 0.25], [3, 0.25], [4, 0]],
        [[-1, 0.5], [3, 1]],
        [[-7, 0.5], [2, 0], [1, 0.5]]])"))),
              2);
    EXPECT_TRUE(Messages().empty());
    ExpectRecord(Weights()[0], {0.25f, 0.25f, 0.25f}, {0, 1, 2, 3});
    ExpectRecord(Weights()[1], {1.0f, 0.0f, 0.0f}, {3, None, None, None});
    ExpectRecord(Weights()[2], {1.0f, 0.0f, 0.0f}, {1, None, None, None});
}

TEST_F(SkinWeights, FiveInfluencesAreTooManyEvenWhenTwoAreOneBone)
{
    ASSERT_EQ(Read(SkinScene(3, Skin(R"([
        [[0, 0.2], [1, 0.2], [2, 0.2], [3, 0.2], [4, 0.2]],
        [[0, 1]],
        [[0, 0.1], [1, 0.2], [2, 0.3], [0, 0.1], [3, 0.3]]])"))),
              0);
    EXPECT_EQ(
        Messages(),
        (std::vector<std::string>{
            "Error   : Mesh 'M', vertex 0 is weighted by too many bones!  A maximum of 4 bones is supported!",
            "Error   : Mesh 'M', vertex 2 is weighted by too many bones!  A maximum of 4 bones is "
            "supported!"}));
    // Bad vertices keep the record they were sized with; good ones between them are stored.
    ExpectRecord(Weights()[0], {0, 0, 0}, {None, None, None, None});
    ExpectRecord(Weights()[1], {1, 0, 0}, {0, None, None, None});
    ExpectRecord(Weights()[2], {0, 0, 0}, {None, None, None, None});
}

TEST_F(SkinWeights, SumAboveOneHasNoMargin)
{
    // As floats 0.5 + 0.50000012 is the float just above 1.
    const float high = 0.50000012f;
    ASSERT_GT(high + 0.5f, 1.0f);
    ASSERT_EQ(Read(SkinScene(
                  3, Skin(R"([[[0, 0.5], [1, 0.50000012]], [[0, 0.5], [1, 0.5]], [[2, 0.75], [3, 0.25]]])"))),
              0);
    EXPECT_EQ(Messages(),
              (std::vector<std::string>{"Error   : Mesh 'M', vertex 0 has an invalid bone weight!  Make "
                                        "sure it is normalized!"}));
    ExpectRecord(Weights()[0], {0, 0, 0}, {None, None, None, None});
    ExpectRecord(Weights()[1], {0.5f, 0.5f, 0}, {0, 1, None, None});
    ExpectRecord(Weights()[2], {0.75f, 0.25f, 0}, {2, 3, None, None});
}

TEST_F(SkinWeights, WeightOutsideZeroToOneIsReportedAndLeftOut)
{
    ASSERT_EQ(Read(SkinScene(3, Skin(R"([[[0, -0.5], [1, 1]], [[2, 1.5]], [[3, 0.5]]])"))), 0);
    EXPECT_EQ(
        Messages(),
        (std::vector<std::string>{
            "Error   : Mesh 'M', vertex 0 has an invalid weight!  Make sure it is normalized / weighted!",
            "Error   : Mesh 'M', vertex 1 has an invalid weight!  Make sure it is normalized / weighted!",
            "Error   : Mesh 'M', vertex 1 is not weighted to any bones!"}));
    // The weight left out, what remains is still stored.
    ExpectRecord(Weights()[0], {1, 0, 0}, {1, None, None, None});
    ExpectRecord(Weights()[1], {0, 0, 0}, {None, None, None, None});
    // Under 1 is scaled up, not reported.
    ExpectRecord(Weights()[2], {1, 0, 0}, {3, None, None, None});
}

TEST_F(SkinWeights, UnweightedVertexIsReportedOnce)
{
    ASSERT_EQ(Read(SkinScene(3, Skin(R"([[], [[0, 1]], [[1, 0], [-1, 1]]])"))), 0);
    EXPECT_EQ(Messages(),
              (std::vector<std::string>{"Error   : Mesh 'M', vertex 0 is not weighted to any bones!",
                                        "Error   : Mesh 'M', vertex 2 is not weighted to any bones!"}));
}

TEST_F(SkinWeights, BoneLeftOutOfTheSkeletonCountsAsBoneZero)
{
    const std::string removed = R"(,{"name": "Gone", "bone": true, "userProperties": "Remove",
                                     "object": {"class": "bone"}})";
    const std::string stack = R"([{"class": "skin", "bones": ["B3", "Gone"], "points": [
        [[1, 0.25], [0, 0.5]], [[0, 1]], [[1, 0.25], [0, 0.25], [0, 0.25], [0, 0.25], [0, 0.25]]]}])";
    ASSERT_EQ(Read(SkinScene(3, stack, "", removed)), 0);
    ASSERT_EQ(m_pExport->GetBoneNodes().size(), 5u);
    EXPECT_EQ(Messages(),
              (std::vector<std::string>{
                  "Error   : Mesh 'M', vertex 0 is weighted by an invalid bone! (Removed from Skeleton?)",
                  "Error   : Mesh 'M', vertex 2 is weighted by an invalid bone! (Removed from Skeleton?)",
                  "Error   : Mesh 'M', vertex 2 is weighted by too many bones!  A maximum of 4 bones is "
                  "supported!"}));
    // Still added, on bone 0.
    ExpectRecord(Weights()[0], {0.5f / 0.75f, 0.25f / 0.75f, 0}, {3, 0, None, None});
    ExpectRecord(Weights()[1], {1, 0, 0}, {3, None, None, None});
}

TEST_F(SkinWeights, WithoutSkinOrContextTheMeshIsRigid)
{
    EXPECT_EQ(Read(SkinScene(3, "")), 1);
    EXPECT_TRUE(Weights().empty());

    EXPECT_EQ(Read(SkinScene(3, R"([{"class": [1, 2], "className": "Bend"}])")), 1);
    EXPECT_TRUE(Weights().empty());

    // A Skin without weights for this node.
    EXPECT_EQ(Read(SkinScene(3, R"([{"class": "skin", "bones": ["B0"]}])")), 1);
    EXPECT_TRUE(Weights().empty());
    EXPECT_TRUE(Messages().empty());
}

TEST_F(SkinWeights, SkinWithoutItsInterfaceFailsTheMesh)
{
    EXPECT_EQ(Read(SkinScene(3, R"([{"class": "skin", "installed": false, "bones": ["B0"],
                                      "points": [[[0, 1]], [[0, 1]], [[0, 1]]]}])")),
              0);
    EXPECT_EQ(Messages(), (std::vector<std::string>{
                              "Error   : ISkin modifier not installed. Cannot export weighted mesh!"}));
    EXPECT_TRUE(Weights().empty());
}

TEST_F(SkinWeights, StackSearchTakesTheFirstSkinOfEachLevelAndTheDeepestLevelWins)
{
    auto skinOn = [](const char* bone)
    {
        return R"({"class": "skin", "bones": [")" + std::string(bone) +
               R"("], "points": [[[0, 1]], [[0, 1]], [[0, 1]]]})";
    };
    const std::string bend = R"({"class": [1, 2], "className": "Bend"})";

    // One derived object: the first Skin from the top, other modifiers stepped over.
    ASSERT_EQ(Read(SkinScene(3, "[" + bend + "," + skinOn("B1") + "," + skinOn("B2") + "]")), 2);
    ExpectRecord(Weights()[0], {1, 0, 0}, {1, None, None, None});

    // A chain of derived objects: the Skin further down replaces the one above it.
    ASSERT_EQ(
        Read(SkinScene(3, "[[" + skinOn("B1") + "], [" + bend + "," + skinOn("B3") + "], [" + bend + "]]")),
        2);
    ExpectRecord(Weights()[0], {1, 0, 0}, {3, None, None, None});
    EXPECT_TRUE(Messages().empty());
}

} // namespace
