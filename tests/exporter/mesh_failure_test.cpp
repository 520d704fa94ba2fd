// How the mesh stage fails: nodes that change after the walk, meshes without faces or with only
// degenerate ones, lists past 16 bits, and the render mesh that the host asks the exporter to free.
// Also skin weights in the vertex key.
#include "exporter/mesh_test_util.h"

#include <string>

namespace
{
using mesh_test::MeshFixture;
using mesh_test::OneMeshScene;

const char* const s_triangle = R"({"vertices": [[0,0,0],[1,0,0],[0,1,0]], "faces": [[0,1,2]]})";

// A node that answers as another does, except that what it evaluates to can be swapped after the
// walk, and that it always counts as renderable.
class StandInNode final : public host::INode
{
public:
    explicit StandInNode(host::INode* pNode) : m_pNode(pNode) {}

    void Evaluate(host::Object* pObject)
    {
        m_pObject = pObject;
        m_override = true;
    }

    const char* GetName() override { return m_pNode->GetName(); }
    host::INode* GetParentNode() override { return m_pNode->GetParentNode(); }
    int NumberOfChildren() override { return 0; }
    host::INode* GetChildNode(int) override { return nullptr; }
    int IsRootNode() override { return 0; }
    int Renderable() override { return 1; }
    int GetBoneNodeOnOff() override { return m_pNode->GetBoneNodeOnOff(); }
    host::ObjectState EvalWorldState(host::TimeValue time, int evalHidden) override
    {
        if (!m_override)
            return m_pNode->EvalWorldState(time, evalHidden);
        host::ObjectState os;
        os.obj = m_pObject;
        return os;
    }
    host::Object* GetObjectRef() override { return m_pNode->GetObjectRef(); }
    host::Control* GetTMController() override { return m_pNode->GetTMController(); }
    host::Matrix3 GetNodeTM(host::TimeValue t, host::Interval* valid) override
    {
        return m_pNode->GetNodeTM(t, valid);
    }
    host::Matrix3 GetObjectTM(host::TimeValue t, host::Interval* valid) override
    {
        return m_pNode->GetObjectTM(t, valid);
    }
    host::Matrix3 GetObjTMAfterWSM(host::TimeValue t, host::Interval* valid) override
    {
        return m_pNode->GetObjTMAfterWSM(t, valid);
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
    float GetVisibility(host::TimeValue t, host::Interval* valid) override
    {
        return m_pNode->GetVisibility(t, valid);
    }

private:
    host::INode* m_pNode;
    host::Object* m_pObject = nullptr;
    bool m_override = false;
};

// A mesh the host hands out for the caller to free; counts how often it is freed.
class HandedOutMesh final : public host::Mesh
{
public:
    HandedOutMesh(const host::Mesh& mesh, int& deleted) : host::Mesh(mesh), m_deleted(deleted) {}
    void DeleteThis() override
    {
        ++m_deleted;
        delete this;
    }

private:
    int& m_deleted;
};

// An editable mesh whose render mesh is a fresh copy with needDelete set.
class CopyingMeshObject final : public host::GeomObject
{
public:
    explicit CopyingMeshObject(const host::Mesh& mesh) : m_mesh(mesh) {}
    host::Class_ID ClassID() override { return host::EDITTRIOBJ_CLASS_ID; }
    host::SClass_ID SuperClassID() override { return host::GEOMOBJECT_CLASS_ID; }
    void GetClassName(host::CStr& s) override { s = "Editable Mesh"; }
    host::Mesh* GetRenderMesh(host::TimeValue, host::INode*, host::View& view, int& needDelete) override
    {
        m_screenW = view.screenW;
        m_screenH = view.screenH;
        needDelete = 1;
        return new HandedOutMesh(m_mesh, deleted);
    }

    int deleted = 0;
    float m_screenW = 0, m_screenH = 0;

private:
    host::Mesh m_mesh;
};

// A scene whose only node is not renderable, so that the walk leaves it to a stand-in.
std::string HiddenMeshScene(const std::string& mesh)
{
    return R"({"nodes": [{"name": "M", "renderable": false, "object": {"class": "editableMesh", "mesh": )" +
           mesh + "}}]}";
}

host::Mesh* SceneMesh(host::INode* pNode)
{
    int needDelete = 0;
    auto* pGeom = dynamic_cast<host::GeomObject*>(pNode->EvalWorldState(0).obj);
    struct : host::View
    {
        host::Point2 ViewToScreen(host::Point3) override { return {}; }
    } view;
    return pGeom ? pGeom->GetRenderMesh(0, pNode, view, needDelete) : nullptr;
}

class MeshFailureTest : public MeshFixture
{
protected:
    bool BuildStandIn(StandInNode& node)
    {
        m_pExport->AddMeshNode(&node, 0);
        RenderModel model;
        return m_pExport->BuildMeshes(model, m_options);
    }
};

TEST_F(MeshFailureTest, NodeThatEvaluatesToNothingIsSkippedAndErased)
{
    Walk(HiddenMeshScene(s_triangle));
    StandInNode node(Node("M"));
    m_pExport->AddMeshNode(&node, 0);
    ASSERT_EQ(m_pExport->GetMeshNodes().size(), 1u);
    node.Evaluate(nullptr);
    RenderModel model;
    EXPECT_TRUE(m_pExport->BuildMeshes(model, m_options));
    EXPECT_TRUE(m_pExport->GetMeshNodes().empty());
    EXPECT_TRUE(HasMessage("Warning : Skipping node [M]."));
    EXPECT_EQ(ErrorCount(), 0);
}

TEST_F(MeshFailureTest, NodeThatIsNoLongerAMeshFails)
{
    const std::string json =
        R"({"nodes": [{"name": "M", "renderable": false, "object": {"class": "editableMesh", "mesh": )" +
        std::string(s_triangle) + R"(}}, {"name": "P", "object": {"class": "point"}}]})";
    Walk(json);
    StandInNode node(Node("M"));
    m_pExport->AddMeshNode(&node, 0);
    node.Evaluate(Node("P")->EvalWorldState(0).obj);
    RenderModel model;
    EXPECT_FALSE(m_pExport->BuildMeshes(model, m_options));
    EXPECT_TRUE(HasMessage("Error   : 'M': Node is not a mesh!"));
    EXPECT_TRUE(HasMessage("Error   : 'M': Unable to build mesh!"));
    EXPECT_EQ(m_pExport->GetMeshNodes().size(), 1u);
}

TEST_F(MeshFailureTest, MeshObjectWithoutRenderMeshFails)
{
    EXPECT_FALSE(Build(R"({"nodes": [{"name": "M", "object": {"class": "editableMesh"}}]})"));
    EXPECT_TRUE(HasMessage("Error   : 'M': Unable to node to a mesh!"));
    EXPECT_TRUE(HasMessage("Error   : 'M': Unable to build mesh!"));
    EXPECT_EQ(ErrorCount(), 2);
}

TEST_F(MeshFailureTest, MeshWithoutFacesWarnsAndFails)
{
    EXPECT_FALSE(Build(OneMeshScene(R"({"vertices": [[0,0,0]], "faces": []})")));
    EXPECT_TRUE(HasMessage("Warning : 'M': has no faces!"));
    EXPECT_TRUE(HasMessage("Error   : 'M': Unable to build mesh!"));
    EXPECT_EQ(ErrorCount(), 1);
    EXPECT_EQ(m_pExport->GetMeshNodes().size(), 1u);
}

TEST_F(MeshFailureTest, OnlyDegenerateFacesFailInTheVertexStageWithoutAMessageOfTheirOwn)
{
    EXPECT_FALSE(
        Build(OneMeshScene(R"({"vertices": [[0,0,0],[1,0,0],[2,0,0]], "faces": [[0,0,1],[0,1,2]]})")));
    EXPECT_TRUE(m_log.Has("Removing invalid face 0"));
    EXPECT_TRUE(m_log.Has("Removing invalid face 1"));
    EXPECT_EQ(Errors(), (std::vector<std::string>{"Error   : 'M': Unable to build mesh!"}));
    ASSERT_NE(Mesh(), nullptr);
    EXPECT_EQ(Mesh()->GetVertexSet(ra::Mesh::Poly_High), nullptr);
}

TEST_F(MeshFailureTest, FailedMeshDoesNotStopTheNext)
{
    const std::string json = R"({"nodes": [
        {"name": "Bad", "object": {"class": "editableMesh", "mesh": {"vertices": [[0,0,0],[1,0,0]], "faces": [[0,0,1]]}}},
        {"name": "Good", "object": {"class": "editableMesh", "mesh": )" +
                             std::string(s_triangle) + "}}]}";
    EXPECT_FALSE(Build(json));
    ASSERT_EQ(m_pExport->GetMeshNodes().size(), 2u);
    EXPECT_TRUE(HasMessage("'Bad': Unable to build mesh!"));
    EXPECT_FALSE(HasMessage("'Good'"));
    ASSERT_NE(Mesh(1), nullptr);
    EXPECT_EQ(Vertices(1).cVertex.size(), 3u);
}

TEST_F(MeshFailureTest, HandedOutRenderMeshIsFreedOnceWhetherTheMeshBuildsOrNot)
{
    Walk(HiddenMeshScene(s_triangle));
    StandInNode node(Node("M"));
    CopyingMeshObject object(*SceneMesh(Node("M")));
    node.Evaluate(&object);
    EXPECT_TRUE(BuildStandIn(node));
    EXPECT_EQ(object.deleted, 1);
    EXPECT_EQ(object.m_screenW, 640.0f);
    EXPECT_EQ(object.m_screenH, 480.0f);

    // The same object once the mesh has lost its faces: the stage stops before the faces.
    host::Mesh empty;
    empty.setNumVerts(3);
    CopyingMeshObject emptyObject(empty);
    Walk(HiddenMeshScene(s_triangle));
    StandInNode emptyNode(Node("M"));
    emptyNode.Evaluate(&emptyObject);
    EXPECT_FALSE(BuildStandIn(emptyNode));
    EXPECT_EQ(emptyObject.deleted, 1);
}

// ---- Sizes past 16 bits ----

// A triangle and `count` - 3 further distinct positions that no face uses.
std::string ManyVerticesMesh(int count)
{
    std::string vertices = "[0,0,0],[1,0,0],[0,1,0]";
    for (int i = 3; i < count; ++i)
        vertices += ",[" + std::to_string(i) + ",5,0]";
    return R"({"vertices": [)" + vertices + R"(], "faces": [[0,1,2]]})";
}

TEST_F(MeshFailureTest, SixtyFiveThousandFiveHundredThirtySixPositionsPass)
{
    ASSERT_TRUE(Build(OneMeshScene(ManyVerticesMesh(65536))));
    EXPECT_EQ(Record().cVertex.size(), 65536u);
    EXPECT_EQ(Vertices().cVertex.size(), 3u);
    EXPECT_EQ(ErrorCount(), 0);
}

TEST_F(MeshFailureTest, OneMorePositionIsTooMany)
{
    EXPECT_FALSE(Build(OneMeshScene(ManyVerticesMesh(65537))));
    EXPECT_EQ(Errors(), (std::vector<std::string>{"Error   : 'M': Too many vertices!",
                                                  "Error   : 'M': Unable to build mesh!"}));
}

// ---- Skin weights in the vertex key ----

TEST_F(MeshFailureTest, EqualPositionsWithDifferentWeightsStayTwoVertices)
{
    // Vertices 0 and 4 lie on each other; one follows bone A, the other bone B.
    const std::string json = R"({"nodes": [
        {"name": "A", "bone": true, "object": {"class": "box"}},
        {"name": "B", "bone": true, "object": {"class": "box"}},
        {"name": "M", "object": {"class": "editableMesh", "mesh": {
            "vertices": [[0,0,0],[1,0,0],[1,1,0],[0,1,0],[0,0,0]], "faces": [[0,1,2],[4,2,3]]}},
         "modifiers": [{"class": "skin", "bones": ["A", "B"],
                        "points": [[[0, 1]], [[0, 1]], [[0, 1]], [[0, 1]], [[1, 1]]]}]}]})";
    ASSERT_TRUE(Build(json));
    EXPECT_EQ(Record().cVertex.size(), 4u);
    EXPECT_EQ(Record().cWeight.size(), 2u);
    const mesh_test::VertexSetData data = Vertices();
    ASSERT_TRUE(data.hasWeights);
    ASSERT_EQ(data.cVertex.size(), 5u);
    int onA = 0, onB = 0;
    for (const mesh_test::Vertex& v : data.cVertex)
    {
        EXPECT_EQ(v.weight.weight[0], 1.0f);
        EXPECT_EQ(v.weight.boneIndex[1], 0xFF);
        if (v.position == ra::Vec3(0, 0, 0))
            (v.weight.boneIndex[0] == 0 ? onA : onB)++;
        else
            EXPECT_EQ(v.weight.boneIndex[0], 0);
    }
    EXPECT_EQ(onA, 1);
    EXPECT_EQ(onB, 1);
}
} // namespace
