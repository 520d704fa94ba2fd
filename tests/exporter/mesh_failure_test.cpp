// How the mesh stage fails and what it reports: nodes that change after the walk, meshes without
// faces or with only degenerate ones, normals that cancel, lists past 16 bits. Also skin weights as
// part of a vertex.
#include "exporter/mesh_test_util.h"

namespace
{
using mesh_test::OneMeshScene;

const char* const s_triangle = R"({"vertices": [[0,0,0],[1,0,0],[0,1,0]], "faces": [[0,1,2]]})";

// A node that answers as a scene node does, but evaluates to what the test says.
class StandInNode final : public host::INode
{
public:
    StandInNode(host::INode* pNode, host::Object* pObject) : m_pObject(pObject), m_pNode(pNode) {}
    host::Object* m_pObject;

    host::ObjectState EvalWorldState(host::TimeValue, int) override { return {m_pObject}; }
    int Renderable() override { return 1; }
    const char* GetName() override { return m_pNode->GetName(); }
    host::INode* GetParentNode() override { return m_pNode->GetParentNode(); }
    int NumberOfChildren() override { return 0; }
    host::INode* GetChildNode(int) override { return nullptr; }
    int IsRootNode() override { return 0; }
    int GetBoneNodeOnOff() override { return 0; }
    host::Object* GetObjectRef() override { return m_pObject; }
    host::Control* GetTMController() override { return m_pNode->GetTMController(); }
    host::Matrix3 GetNodeTM(host::TimeValue t, host::Interval* v) override
    {
        return m_pNode->GetNodeTM(t, v);
    }
    host::Matrix3 GetObjectTM(host::TimeValue t, host::Interval* v) override
    {
        return m_pNode->GetObjectTM(t, v);
    }
    host::Matrix3 GetObjTMAfterWSM(host::TimeValue t, host::Interval* v) override
    {
        return GetObjectTM(t, v);
    }
    int UserPropExists(const char* key) override { return m_pNode->UserPropExists(key); }
    int GetUserPropString(const char* key, host::CStr& value) override
    {
        return m_pNode->GetUserPropString(key, value);
    }
    host::Mtl* GetMtl() override { return m_pNode->GetMtl(); }
    uint32 GetWireColor() override { return m_pNode->GetWireColor(); }
    host::INode* GetTarget() override { return nullptr; }
    int GetTargetTM(host::TimeValue, host::Matrix3&) override { return 0; }
    float GetVisibility(host::TimeValue t, host::Interval* v) override
    {
        return m_pNode->GetVisibility(t, v);
    }

private:
    host::INode* m_pNode;
};

using MeshFailureTest = mesh_test::MeshFixture;

TEST_F(MeshFailureTest, NodeThatEvaluatesToNothingIsSkippedAndErased)
{
    // Added while it was a mesh, then evaluating to nothing.
    Walk(OneMeshScene(s_triangle));
    StandInNode node(Node("M"), Node("M")->EvalWorldState(0).obj);
    m_pExport->AddMeshNode(&node, 0);
    node.m_pObject = nullptr;
    RenderModel model;
    EXPECT_TRUE(m_pExport->BuildMeshes(model, m_options));
    EXPECT_EQ(m_pExport->GetMeshNodes().size(), 1u);
    EXPECT_EQ(Messages().back(), "Warning : Skipping node [M].");
    EXPECT_TRUE(Errors().empty());
}

TEST_F(MeshFailureTest, EachFailureReportsAndTheMeshStaysListed)
{
    struct Case
    {
        const char* json;
        std::vector<std::string> errors;
        const char* log;
    };
    const Case cases[] = {
        {R"({"nodes": [{"name": "M", "object": {"class": "editableMesh"}}]})",
         {"Error   : 'M': Unable to node to a mesh!", "Error   : 'M': Unable to build mesh!"},
         nullptr},
        {R"({"nodes": [{"name": "M", "object": {"class": "editableMesh", "mesh": {"vertices": [[0,0,0]], "faces": []}}}]})",
         {"Error   : 'M': Unable to build mesh!"},
         nullptr},
        // Only degenerate faces: the vertex stage fails without a message of its own.
        {R"({"nodes": [{"name": "M", "object": {"class": "editableMesh", "mesh":
            {"vertices": [[0,0,0],[1,0,0],[2,0,0]], "faces": [[0,0,1],[0,1,2]]}}}]})",
         {"Error   : 'M': Unable to build mesh!"},
         "Removing invalid face 1"},
        // Two faces on each other with opposite windings in one group: the normals cancel.
        {R"({"nodes": [{"name": "M", "object": {"class": "editableMesh", "mesh":
            {"vertices": [[0,0,0],[1,0,0],[0,1,0]], "faces": [[0,1,2],[0,2,1]]}}}]})",
         {"Error   : 'M': Unable to build mesh!"},
         "Face 0 does not have the smoothing property set!"},
    };
    for (const Case& c : cases)
    {
        SCOPED_TRACE(c.json);
        TearDown();
        SetUp();
        m_log.Clear();
        EXPECT_FALSE(Build(c.json));
        EXPECT_EQ(Errors(), c.errors);
        EXPECT_EQ(m_pExport->GetMeshNodes().size(), 1u);
        if (c.log)
        {
            EXPECT_TRUE(m_log.Has(c.log));
        }
    }
    EXPECT_EQ(Vertices().size(), 0u);
    // The mesh without faces also warns.
    TearDown();
    SetUp();
    Build(cases[1].json);
    EXPECT_EQ(Messages().front(), "Warning : 'M': has no faces!");
}

// A triangle and `count` - 3 further positions that no face uses.
std::string ManyVerticesMesh(int count)
{
    std::string vertices = "[0,0,0],[1,0,0],[0,1,0]";
    for (int i = 3; i < count; ++i)
        vertices += ",[" + std::to_string(i) + ",5,0]";
    return R"({"vertices": [)" + vertices + R"(], "faces": [[0,1,2]]})";
}

TEST_F(MeshFailureTest, Sixty5536PositionsPassAndOneMoreIsTooMany)
{
    ASSERT_TRUE(Build(OneMeshScene(ManyVerticesMesh(65536))));
    EXPECT_EQ(Record().cVertex.size(), 65536u);
    EXPECT_EQ(Vertices().size(), 3u);

    TearDown();
    SetUp();
    EXPECT_FALSE(Build(OneMeshScene(ManyVerticesMesh(65537))));
    EXPECT_EQ(Errors(), (std::vector<std::string>{"Error   : 'M': Too many vertices!",
                                                  "Error   : 'M': Unable to build mesh!"}));
}

TEST_F(MeshFailureTest, EqualPositionsWithDifferentWeightsStayTwoVertices)
{
    // Vertices 0 and 4 lie on each other; one follows bone A, the other bone B.
    ASSERT_TRUE(Build(R"({"nodes": [
        {"name": "A", "bone": true, "object": {"class": "box"}},
        {"name": "B", "bone": true, "object": {"class": "box"}},
        {"name": "M", "object": {"class": "editableMesh", "mesh": {
            "vertices": [[0,0,0],[1,0,0],[1,1,0],[0,1,0],[0,0,0]], "faces": [[0,1,2],[4,2,3]]}},
         "modifiers": [{"class": "skin", "bones": ["A", "B"],
                        "points": [[[0, 1]], [[0, 1]], [[0, 1]], [[0, 1]], [[1, 1]]]}]}]})"));
    EXPECT_EQ(Record().cVertex.size(), 4u);
    EXPECT_EQ(Record().cWeight.size(), 2u);
    fr::VertexType type;
    const std::vector<mesh_test::Vertex> cVertex = Vertices(0, &type);
    EXPECT_TRUE(type.test(fr::VC_Weights));
    ASSERT_EQ(cVertex.size(), 5u);
    int onB = 0;
    for (const mesh_test::Vertex& v : cVertex)
    {
        EXPECT_EQ(v.weight.weight[0], 1.0f);
        EXPECT_EQ(v.weight.boneIndex[1], 0xFF);
        if (v.weight.boneIndex[0] == 1)
        {
            ++onB;
            EXPECT_EQ(v.position, ra::Vec3(0, 0, 0));
        }
    }
    EXPECT_EQ(onB, 1);
}
} // namespace
