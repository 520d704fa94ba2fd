// Skin weights: reading them from the Skin modifier (stack search, merging and scaling of a vertex's
// influences, the messages of bad vertices) and what reaches the built mesh (the table of skinned
// bones in order of first use, "ForceSkinning", a failing mesh alone).
#include "exporter_fixture.h"

#include <array>

namespace
{
using exporter_test::Errors;
using exporter_test::Messages;
constexpr uint8 None = 0xFF;

// Bones B0..B4 and mesh "M" with `count` vertices on a parabola (every face [i, i+1, i+2] a proper
// triangle), these modifiers, more keys of the mesh node and more nodes.
std::string SkinScene(int count, const std::string& modifiers, const std::string& nodeExtra = "",
                      const std::string& moreNodes = "")
{
    std::string vertices, faces, nodes;
    for (int i = 0; i < count; ++i)
    {
        vertices += (i ? ",[" : "[") + std::to_string(i) + "," + std::to_string(i * i) + ",0]";
        if (i + 2 < count)
            faces += (i ? ",[" : "[") + std::to_string(i) + "," + std::to_string(i + 1) + "," +
                     std::to_string(i + 2) + "]";
    }
    for (int b = 0; b < 5; ++b)
        nodes += R"({"name": "B)" + std::to_string(b) + R"(", "bone": true},)";
    nodes += R"({"name": "M", "object": {"class": "editableMesh", "mesh": {"vertices": [)" + vertices +
             R"(], "faces": [)" + faces + "]}}" + (modifiers.empty() ? "" : R"(, "modifiers": )" + modifiers);
    return R"({"nodes": [)" + nodes + nodeExtra + "}" + moreNodes + "]}";
}
std::string Skin(const std::string& points)
{
    return R"([{"class": "skin", "bones": ["B0", "B1", "B2", "B3", "B4"], "points": )" + points + "}]";
}
std::string SkinOn(const char* bone) // three vertices, each fully on this bone
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
    EXPECT_EQ((std::array<uint8, 4>{r.boneIndex[0], r.boneIndex[1], r.boneIndex[2], r.boneIndex[3]}),
              expected.bone);
}

const std::string s_tooMany = "is weighted by too many bones!  A maximum of 4 bones is supported!";
const std::string s_invalidWeight = "has an invalid weight!  Make sure it is normalized / weighted!";
const std::string s_unweighted = "is not weighted to any bones!";
const std::string s_removedBone = "is weighted by an invalid bone! (Removed from Skeleton?)";
std::string AtVertex(int i, const std::string& text)
{
    return "Error   : Mesh 'M', vertex " + std::to_string(i) + " " + text;
}

using SkinWeights = exporter_test::ExporterFixture;

TEST_F(SkinWeights, ReadFromTheSkinWithEveryBadVertexReported)
{
    const std::string bend = R"({"class": [1, 2], "className": "Bend"})";
    const std::string gone =
        R"(,{"name": "Gone", "bone": true, "userProperties": "Remove", "object": {"class": "bone"}})";
    const Influences empty{{0, 0, 0}, {None, None, None, None}};
    // what, modifiers, more nodes, result, messages, weight records stored, the first of them
    using Case = std::tuple<const char*, std::string, std::string, int, std::vector<std::string>, size_t,
                            std::vector<Influences>>;
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
        // Still added, on bone 0.
        {"bone left out of the skeleton", R"([{"class": "skin", "bones": ["B3", "Gone"], "points": [[[1, 0.25], [0, 0.5]], [[0, 1]], [[1, 0.25], [0, 0.25], [0, 0.25], [0, 0.25], [0, 0.25]]]}])",
         gone, 0, {AtVertex(0, s_removedBone), AtVertex(2, s_removedBone), AtVertex(2, s_tooMany)}, 3, {{{0.5f / 0.75f, 0.25f / 0.75f, 0}, {3, 0, None, None}}, {{1, 0, 0}, {3, None, None, None}}}},
        {"no modifiers", "", "", 1, {}, 0, {}},
        {"a Skin without weights for this node", R"([{"class": "skin", "bones": ["B0"]}])", "", 1, {}, 0, {}},
        {"a Skin without its interface", R"([{"class": "skin", "installed": false, "bones": ["B0"], "points": [[[0, 1]], [[0, 1]], [[0, 1]]]}])",
         "", 0, {"Error   : ISkin modifier not installed. Cannot export weighted mesh!"}, 0, {}},
        // One derived object: the first Skin from the top, other modifiers stepped over.
        {"first Skin of a level", "[" + bend + "," + SkinOn("B1") + "," + SkinOn("B2") + "]", "", 2, {}, 3, {{{1, 0, 0}, {1, None, None, None}}}},
        // A chain of derived objects: the Skin further down replaces the one above it.
        {"deepest level wins", "[[" + SkinOn("B1") + "], [" + bend + "," + SkinOn("B3") + "], [" + bend + "]]", "", 2, {}, 3, {{{1, 0, 0}, {3, None, None, None}}}},
    };
    // clang-format on
    for (const auto& [what, stack, moreNodes, result, messages, count, records] : cases)
    {
        SCOPED_TRACE(what);
        SGMErrors::Get()->Clear();
        SGMExport& exporter = Walk(SkinScene(int(std::max<size_t>(3, count)), stack, "", moreNodes));
        EXPECT_EQ(exporter.ReadSkinWeights(0), result);
        EXPECT_EQ(Messages(), messages);
        const std::vector<WeightRecord>& cWeight = exporter.GetMeshNodes().at(0).cWeight;
        ASSERT_EQ(cWeight.size(), count);
        for (size_t i = 0; i < records.size(); ++i)
            ExpectRecord(cWeight[i], records[i]);
    }
}

TEST_F(SkinWeights, ForceSkinningWinsOverSkinAndBadWeightsFailTheirMeshAfterEveryVertexWasReported)
{
    // The skinned table of mesh i as "name:index" words, and whether its vertices carry weights.
    auto table = [&](size_t i)
    {
        std::string out;
        fr::VertexType type;
        Vertices(i, &type);
        for (int32 k = 0; Mesh(i) && k < Mesh(i)->GetSkinnedTransformCount(); ++k)
            out += std::string(ra::GetNameText(Mesh(i)->GetSkinnedTransformName(k))) + ":" +
                   std::to_string(Mesh(i)->GetSkinnedTransformIndex(k)) + " ";
        return out + (type.test(fr::VC_Weights) ? "weighted" : "unweighted");
    };
    // The Skin would fail the mesh if it were read. One record for all vertices once welded.
    const std::string stack = R"([{"class": "skin", "installed": false, "bones": ["B0"],
                                   "points": [[[0, 1]], [[0, 1]], [[0, 1]], [[0, 1]]]}])";
    ASSERT_TRUE(Build(SkinScene(4, stack, R"(, "parent": "B3", "userProperties": "ForceSkinning")")));
    EXPECT_TRUE(Errors().empty());
    ASSERT_EQ(Record().cWeight.size(), 1u);
    ExpectRecord(Record().cWeight[0], {{1, 0, 0}, {3, None, None, None}});
    EXPECT_EQ(table(0), "b3:3 weighted");
    // Without a bone: reported, and the mesh goes on unweighted.
    Rebuild();
    EXPECT_TRUE(Build(R"({"nodes": [{"name": "D", "object": {"class": "dummy"}}, {"name": "M", "parent": "D",
        "userProperties": "ForceSkinning", )" +
                      exporter_test::s_MeshObject + "}]}"));
    EXPECT_EQ(Errors(), (std::vector<std::string>{"Error   : Force Skinned Mesh 'M' is not a bone!"}));
    EXPECT_TRUE(Record().cWeight.empty());
    EXPECT_EQ(Vertices().size(), 3u);
    EXPECT_EQ(table(0), "unweighted");
    // Bad weights fail the mesh, which has no skinned table then; the next mesh is still built.
    Rebuild();
    EXPECT_FALSE(
        Build(SkinScene(3, Skin("[[[0, 0.2], [1, 0.2], [2, 0.2], [3, 0.2], [4, 0.2]], [[0, 1]], [[1, 0]]]"),
                        "", R"(, {"name": "N", )" + exporter_test::s_MeshObject + "}")));
    EXPECT_EQ(Errors(), (std::vector<std::string>{AtVertex(0, s_tooMany), AtVertex(2, s_unweighted),
                                                  "Error   : 'M': Unable to build mesh!"}));
    EXPECT_EQ(table(0), "unweighted");
    EXPECT_EQ(Vertices(1).size(), 3u);
}
} // namespace
