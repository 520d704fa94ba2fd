// Skin weights: reading them from the Skin modifier (the stack search, merging and scaling of a
// vertex's influences, the messages of bad vertices), and what reaches the built mesh (the table of
// skinned bones in order of first use, the vertex weights, "ForceSkinning", a failing mesh alone).
#include "exporter/mesh_test_util.h"

#include <algorithm>
#include <array>
#include <string>
#include <vector>

namespace
{
constexpr uint8 None = 0xFF;

// Bones B0..B4 (in that order in the bone list) and mesh "M" with `vertexCount` vertices (at least
// three, on a parabola, so every face [i, i+1, i+2] is a proper triangle of one winding). `modifiers`
// is the node's "modifiers" value; `nodeExtra` adds keys to the mesh node, `moreNodes` adds nodes.
std::string SkinScene(int vertexCount, const std::string& modifiers, const std::string& nodeExtra = "",
                      const std::string& moreNodes = "")
{
    std::string vertices, faces, nodes;
    for (int i = 0; i < vertexCount; ++i)
    {
        vertices += (i ? ",[" : "[") + std::to_string(i) + "," + std::to_string(i * i) + ",0]";
        if (i + 2 < vertexCount)
            faces += (i ? ",[" : "[") + std::to_string(i) + "," + std::to_string(i + 1) + "," +
                     std::to_string(i + 2) + "]";
    }
    for (int b = 0; b < 5; ++b)
        nodes += R"({"name": "B)" + std::to_string(b) + R"(", "bone": true, "object": {"class": "bone"}},)";
    nodes += R"({"name": "M", "object": {"class": "editableMesh", "mesh": {"vertices": [)" + vertices +
             R"(], "faces": [)" + faces + "]}}";
    if (!modifiers.empty())
        nodes += R"(, "modifiers": )" + modifiers;
    return R"({"nodes": [)" + nodes + nodeExtra + "}" + moreNodes + "]}";
}

// A one-modifier stack: the Skin over bones B0..B4 with these points.
std::string Skin(const std::string& points)
{
    return R"([{"class": "skin", "bones": ["B0", "B1", "B2", "B3", "B4"], "points": )" + points + "}]";
}

// A Skin of three vertices, each fully on this bone.
std::string SkinOn(const char* bone)
{
    return R"({"class": "skin", "bones": [")" + std::string(bone) +
           R"("], "points": [[[0, 1]], [[0, 1]], [[0, 1]]]})";
}

struct Influences
{
    std::array<float, 3> weight;
    std::array<uint8, 4> bone;
};

void ExpectRecord(const WeightRecord& r, const Influences& expected)
{
    for (int i = 0; i < 3; ++i)
        EXPECT_FLOAT_EQ(r.weight[i], expected.weight[i]) << "weight " << i;
    for (int i = 0; i < 4; ++i)
        EXPECT_EQ(r.boneIndex[i], expected.bone[i]) << "bone " << i;
}

const std::string s_tooMany = "is weighted by too many bones!  A maximum of 4 bones is supported!";
const std::string s_invalidWeight = "has an invalid weight!  Make sure it is normalized / weighted!";
const std::string s_unweighted = "is not weighted to any bones!";
const std::string s_removedBone = "is weighted by an invalid bone! (Removed from Skeleton?)";
std::string AtVertex(int i, const std::string& text)
{
    return "Error   : Mesh 'M', vertex " + std::to_string(i) + " " + text;
}

using SkinWeights = mesh_test::MeshFixture;

TEST_F(SkinWeights, ReadFromTheSkinWithEveryBadVertexReported)
{
    const std::string bend = R"({"class": [1, 2], "className": "Bend"})";
    const std::string gone =
        R"(,{"name": "Gone", "bone": true, "userProperties": "Remove", "object": {"class": "bone"}})";
    const Influences empty{{0, 0, 0}, {None, None, None, None}};
    struct Case
    {
        const char* what;
        std::string stack, moreNodes;
        int result;
        std::vector<std::string> messages;
        size_t count;                    // weight records stored
        std::vector<Influences> records; // the first of them
    };
    // clang-format off
    const Case cases[] = {
        // The skin lists its bones in an order of its own; stored numbers index the skeleton's list.
        // 0.25 and 0.25 are scaled up to a sum of 1; B2 merges in its own place, behind B4 though now
        // the heavier; four entries of three bones are four influences, within the limit.
        {"merge and scale", R"([{"class": "skin", "bones": ["B2", "B0", "B4"], "points": [[[0, 0.25], [1, 0.25]], [[0, 0.25], [2, 0.375], [0, 0.25]], [[2, 1]], [[0, 0.25], [1, 0.25], [2, 0.25], [0, 0.25]]]}])",
         "", 2, {}, 4, {{{0.5f, 0.5f, 0}, {2, 0, None, None}}, {{0.375f / 0.875f, 0.5f / 0.875f, 0}, {4, 2, None, None}}, {{1, 0, 0}, {4, None, None, None}}, {{0.5f, 0.25f, 0.25f}, {2, 0, 4, None}}}},
        {"zero weights and negative bones skipped", Skin("[[[0, 0.25], [1, 0.25], [2, 0.25], [3, 0.25], [4, 0]], [[-1, 0.5], [3, 1]], [[-7, 0.5], [2, 0], [1, 0.5]]]"),
         "", 2, {}, 3, {{{0.25f, 0.25f, 0.25f}, {0, 1, 2, 3}}, {{1, 0, 0}, {3, None, None, None}}, {{1, 0, 0}, {1, None, None, None}}}},
        // Bad vertices keep the record they were sized with; good ones between them are stored.
        {"five influences, even when two are one bone", Skin("[[[0, 0.2], [1, 0.2], [2, 0.2], [3, 0.2], [4, 0.2]], [[0, 1]], [[0, 0.1], [1, 0.2], [2, 0.3], [0, 0.1], [3, 0.3]]]"),
         "", 0, {AtVertex(0, s_tooMany), AtVertex(2, s_tooMany)}, 3, {empty, {{1, 0, 0}, {0, None, None, None}}, empty}},
        // As floats 0.5 + 0.50000012 is the float just above 1: no margin.
        {"sum above one", Skin("[[[0, 0.5], [1, 0.50000012]], [[0, 0.5], [1, 0.5]], [[2, 0.75], [3, 0.25]]]"),
         "", 0, {AtVertex(0, "has an invalid bone weight!  Make sure it is normalized!")}, 3, {empty, {{0.5f, 0.5f, 0}, {0, 1, None, None}}, {{0.75f, 0.25f, 0}, {2, 3, None, None}}}},
        // The weight left out, what remains is still stored; under 1 is scaled up, not reported.
        {"weight outside 0 to 1", Skin("[[[0, -0.5], [1, 1]], [[2, 1.5]], [[3, 0.5]]]"),
         "", 0, {AtVertex(0, s_invalidWeight), AtVertex(1, s_invalidWeight), AtVertex(1, s_unweighted)}, 3, {{{1, 0, 0}, {1, None, None, None}}, empty, {{1, 0, 0}, {3, None, None, None}}}},
        {"unweighted vertices", Skin("[[], [[0, 1]], [[1, 0], [-1, 1]]]"),
         "", 0, {AtVertex(0, s_unweighted), AtVertex(2, s_unweighted)}, 3, {}},
        // Still added, on bone 0.
        {"bone left out of the skeleton", R"([{"class": "skin", "bones": ["B3", "Gone"], "points": [[[1, 0.25], [0, 0.5]], [[0, 1]], [[1, 0.25], [0, 0.25], [0, 0.25], [0, 0.25], [0, 0.25]]]}])",
         gone, 0, {AtVertex(0, s_removedBone), AtVertex(2, s_removedBone), AtVertex(2, s_tooMany)}, 3, {{{0.5f / 0.75f, 0.25f / 0.75f, 0}, {3, 0, None, None}}, {{1, 0, 0}, {3, None, None, None}}}},
        {"no modifiers", "", "", 1, {}, 0, {}},
        {"no Skin", "[" + bend + "]", "", 1, {}, 0, {}},
        {"a Skin without weights for this node", R"([{"class": "skin", "bones": ["B0"]}])", "", 1, {}, 0, {}},
        {"a Skin without its interface", R"([{"class": "skin", "installed": false, "bones": ["B0"], "points": [[[0, 1]], [[0, 1]], [[0, 1]]]}])",
         "", 0, {"Error   : ISkin modifier not installed. Cannot export weighted mesh!"}, 0, {}},
        // One derived object: the first Skin from the top, other modifiers stepped over.
        {"first Skin of a level", "[" + bend + "," + SkinOn("B1") + "," + SkinOn("B2") + "]", "", 2, {}, 3, {{{1, 0, 0}, {1, None, None, None}}}},
        // A chain of derived objects: the Skin further down replaces the one above it.
        {"deepest level wins", "[[" + SkinOn("B1") + "], [" + bend + "," + SkinOn("B3") + "], [" + bend + "]]", "", 2, {}, 3, {{{1, 0, 0}, {3, None, None, None}}}},
    };
    // clang-format on
    for (const Case& c : cases)
    {
        SCOPED_TRACE(c.what);
        SGMErrors::Get()->Clear();
        SGMExport& exporter = Walk(SkinScene(int(std::max<size_t>(3, c.count)), c.stack, "", c.moreNodes));
        ASSERT_EQ(exporter.GetMeshNodes().size(), 1u);
        EXPECT_EQ(exporter.ReadSkinWeights(0), c.result);
        EXPECT_EQ(Messages(), c.messages);
        const std::vector<WeightRecord>& cWeight = exporter.GetMeshNodes()[0].cWeight;
        ASSERT_EQ(cWeight.size(), c.count);
        for (size_t i = 0; i < c.records.size(); ++i)
            ExpectRecord(cWeight[i], c.records[i]);
    }
}

class SkinMesh : public mesh_test::MeshFixture
{
protected:
    // The skinned table of mesh i as (name, bone index) pairs.
    std::vector<std::pair<ra::Name, int32>> Table(size_t i = 0) const
    {
        std::vector<std::pair<ra::Name, int32>> out;
        if (const ra::Mesh* pMesh = Mesh(i))
            for (int32 k = 0; k < pMesh->GetSkinnedTransformCount(); ++k)
                out.emplace_back(pMesh->GetSkinnedTransformName(k), pMesh->GetSkinnedTransformIndex(k));
        return out;
    }

    // Whether the vertex set of mesh i declares the weights stream.
    bool HasWeights(size_t i = 0) const
    {
        fr::VertexType type;
        Vertices(i, &type);
        return type.test(fr::VC_Weights);
    }

    static std::pair<ra::Name, int32> Entry(const char* name, int32 index)
    {
        return {ra::MakeName(name), index};
    }
};

TEST_F(SkinMesh, SkinnedBonesAreListedInOrderOfFirstUse)
{
    ASSERT_TRUE(Build(SkinScene(4, Skin("[[[2, 1]], [[0, 0.5], [2, 0.5]], [[3, 1]], [[0, 1]]]"))));
    EXPECT_TRUE(Errors().empty());
    EXPECT_EQ(Table(),
              (std::vector<std::pair<ra::Name, int32>>{Entry("B2", 2), Entry("B0", 0), Entry("B3", 3)}));
    ASSERT_TRUE(HasWeights());
    const Influences expected[4] = {{{1, 0, 0}, {2, None, None, None}},
                                    {{0.5f, 0.5f, 0}, {0, 2, None, None}},
                                    {{1, 0, 0}, {3, None, None, None}},
                                    {{1, 0, 0}, {0, None, None, None}}};
    // Every final vertex at host vertex i = (i, i * i, 0) of the scene.
    int seen = 0;
    for (const mesh_test::Vertex& v : Vertices())
        for (int i = 0; i < 4; ++i)
            if (v.position == ra::Vec3(float(-i), 0.0f, float(-i * i)))
            {
                SCOPED_TRACE("vertex " + std::to_string(i));
                ExpectRecord(v.weight, expected[i]);
                seen |= 1 << i;
            }
    EXPECT_EQ(seen, 15);
}

TEST_F(SkinMesh, MeshWithoutSkinHasNoTableAndNoWeightStream)
{
    ASSERT_TRUE(Build(SkinScene(3, "")));
    EXPECT_TRUE(Record().cWeight.empty());
    EXPECT_TRUE(Table().empty());
    EXPECT_FALSE(HasWeights());
}

TEST_F(SkinMesh, ForceSkinningWeightsEveryVertexFullyToTheParentBoneOrItselfAndWinsOverSkin)
{
    // The Skin would fail the mesh if it were read. One record for all vertices once welded.
    const std::string stack = R"([{"class": "skin", "installed": false, "bones": ["B0"],
                                   "points": [[[0, 1]], [[0, 1]], [[0, 1]], [[0, 1]]]}])";
    ASSERT_TRUE(Build(SkinScene(4, stack, R"(, "parent": "B3", "userProperties": "ForceSkinning")")));
    EXPECT_TRUE(Errors().empty());
    ASSERT_EQ(Record().cWeight.size(), 1u);
    ExpectRecord(Record().cWeight[0], {{1, 0, 0}, {3, None, None, None}});
    EXPECT_EQ(Table(), (std::vector<std::pair<ra::Name, int32>>{Entry("B3", 3)}));
    EXPECT_TRUE(HasWeights());

    // A mesh that is a bone uses itself; the walk takes M right after its parent B1.
    TearDown();
    SetUp();
    ASSERT_TRUE(
        Build(SkinScene(3, "", R"(, "parent": "B1", "bone": true, "userProperties": "ForceSkinning")")));
    EXPECT_TRUE(Errors().empty());
    ASSERT_EQ(m_pExport->FindBoneIndex(Node("M")), 2);
    ASSERT_EQ(Record().cWeight.size(), 1u);
    ExpectRecord(Record().cWeight[0], {{1, 0, 0}, {2, None, None, None}});
    EXPECT_EQ(Table(), (std::vector<std::pair<ra::Name, int32>>{Entry("M", 2)}));
}

TEST_F(SkinMesh, ForceSkinningWithoutABoneIsReportedAndTheMeshGoesOnUnweighted)
{
    EXPECT_TRUE(Build(R"({"nodes": [{"name": "D", "object": {"class": "dummy"}},
        {"name": "M", "parent": "D", "userProperties": "ForceSkinning", "object": {"class": "editableMesh",
         "mesh": {"vertices": [[0,0,0],[1,0,0],[0,1,0]], "faces": [[0,1,2]]}}}]})"));
    EXPECT_EQ(Errors(), (std::vector<std::string>{"Error   : Force Skinned Mesh 'M' is not a bone!"}));
    EXPECT_TRUE(Record().cWeight.empty());
    EXPECT_TRUE(Table().empty());
    EXPECT_EQ(Vertices().size(), 3u);
    EXPECT_FALSE(HasWeights());
}

TEST_F(SkinMesh, BadWeightsFailTheirMeshAfterEveryVertexWasReported)
{
    const std::string rigid = R"(, {"name": "N", "object": {"class": "editableMesh",
        "mesh": {"vertices": [[0,0,0],[1,0,0],[0,1,0]], "faces": [[0,1,2]]}}})";
    EXPECT_FALSE(Build(SkinScene(
        3, Skin("[[[0, 0.2], [1, 0.2], [2, 0.2], [3, 0.2], [4, 0.2]], [[0, 1]], [[1, 0]]]"), "", rigid)));
    EXPECT_EQ(Errors(), (std::vector<std::string>{AtVertex(0, s_tooMany), AtVertex(2, s_unweighted),
                                                  "Error   : 'M': Unable to build mesh!"}));
    // The failed mesh has no skinned table; the next mesh was still built.
    EXPECT_TRUE(Table(0).empty());
    ASSERT_EQ(m_pExport->GetMeshNodes().size(), 2u);
    EXPECT_EQ(Vertices(1).size(), 3u);
}
} // namespace
