// Mesh construction from small scenes: corner order, welding, smoothing-group normals, texture
// coordinates, shader tables and primitive sets, read back from the finished ra::Mesh; and how the
// mesh stage fails: nodes that change after the walk, meshes without faces or with only degenerate
// ones, normals that cancel, lists past 16 bits.
#include "exporter/mesh_test_util.h"
#include "host/scene_objects.h"

#include "model/shader/shaderimp.h"
#include "support/tempfolder.h"

#include <algorithm>
#include <cmath>

namespace
{
using mesh_test::Fill;
using mesh_test::OneMeshScene;
using mesh_test::Vertex;

const char* const s_triangle = R"({"vertices": [[0,0,0],[1,0,0],[0,1,0]], "faces": [[0,1,2]]})";

class MeshTest : public mesh_test::MeshFixture
{
protected:
    // The normals of the final vertices at a position, compared by value.
    std::vector<ra::Vec3> NormalsAt(const ra::Vec3& position) const
    {
        std::vector<ra::Vec3> out;
        for (const Vertex& v : Vertices())
            if (v.position == position)
                out.push_back(v.normal);
        return out;
    }
    // The expected normals, in any order.
    void ExpectNormalsAt(const ra::Vec3& position, std::vector<ra::Vec3> expected) const
    {
        const std::vector<ra::Vec3> found = NormalsAt(position);
        ASSERT_EQ(found.size(), expected.size());
        for (const ra::Vec3& n : found)
        {
            auto it = std::find_if(expected.begin(), expected.end(),
                                   [&](const ra::Vec3& e) { return (n - e).LengthSquared() < 1e-10f; });
            ASSERT_NE(it, expected.end()) << n.x << " " << n.y << " " << n.z;
            expected.erase(it);
        }
    }
    // The name of shader s of the mesh, as the inventory keeps it: in lower case.
    std::string ShaderName(int32 s) const
    {
        const Inv::NamedResource* pShader = Mesh()->GetPrimSetShader(s).Get();
        return pShader && pShader->GetName() ? pShader->GetName() : "";
    }
    void Rebuild()
    {
        TearDown();
        SetUp();
    }
};

TEST_F(MeshTest, CornersReverseUnlessTheNodeIsMirroredAndFacesStayUp)
{
    ASSERT_TRUE(Build(OneMeshScene(s_triangle, R"(, "material": "Mat",
        "userProperties": "MeshMinDetail = medium\nNo_Child_Selection")",
                                   R"([{"name": "Mat", "class": "standard"}])")));
    ra::Mesh* pMesh = Mesh();
    EXPECT_EQ(pMesh->GetPolyCount(ra::Mesh::Poly_High), 1);
    EXPECT_EQ(pMesh->GetMinDetail(), 1);
    EXPECT_EQ(pMesh->GetChildSelection(), 0);
    Inv::Resource* pResource = nullptr;
    ASSERT_TRUE(Inv::Warehouse::Get()->Find(&pResource, "M", ra::Mesh::GetTypeInfo()));
    EXPECT_EQ(pResource, Record().meshRef.GetResource());
    ASSERT_EQ(pMesh->GetPrimSetCount(), 1);
    EXPECT_EQ(ShaderName(0), "mat");

    // Host (x, y, z) is (-x, z, -y), corners 2, 1, 0. Final vertices go by the byte order of their
    // positions: (-0,0,-0), (-0,0,-1), (-1,0,-0).
    const std::vector<ra::Vec3> corners = Corners(0);
    const ra::Vec3 expected[3] = {{-0.0f, 0, -1}, {-1, 0, -0.0f}, {-0.0f, 0, -0.0f}};
    ASSERT_EQ(corners.size(), 3u);
    EXPECT_EQ(std::memcmp(corners.data(), expected, sizeof(expected)), 0);
    EXPECT_EQ(Indices(0), (std::vector<uint16>{1, 2, 0}));
    uint32 start = 0, count = 0;
    pMesh->GetPrimSet(0, ra::Mesh::Poly_High)->GetRange(start, count);
    EXPECT_EQ(start, 0u);
    EXPECT_EQ(count, 3u);
    fr::VertexType type;
    for (const Vertex& v : Vertices(0, &type))
        EXPECT_EQ(v.normal, ra::Vec3(0, 1, 0));
    EXPECT_EQ(type.to_ulong(), 0x25u); // position, normal, texture coordinate

    Rebuild();
    ASSERT_TRUE(Build(OneMeshScene(s_triangle, R"(, "transform": [[-1,0,0],[0,1,0],[0,0,1],[0,0,0]])")));
    EXPECT_EQ(Corners(0), (std::vector<ra::Vec3>{{0, 0, 0}, {1, 0, 0}, {0, 0, -1}}));
    for (const Vertex& v : Vertices())
        EXPECT_EQ(v.normal, ra::Vec3(0, 1, 0));
    EXPECT_EQ(Mesh()->GetMinDetail(), 0);
    EXPECT_EQ(Mesh()->GetChildSelection(), 1);
}

TEST_F(MeshTest, NormalsAreSharedWithinSmoothingGroups)
{
    // Three faces of a box corner at the origin, facing -z, -x and -y in host axes: (0,-1,0),
    // (1,0,0) and (0,0,1) in game axes.
    const std::string corner = R"({"vertices": [[0,0,0],[1,0,0],[0,1,0],[0,0,1]], "faces": [
        {"v": [0,2,1], "smoothing": 1}, {"v": [0,3,2], "smoothing": 1}, {"v": [0,1,3], "smoothing": $}]})";
    const ra::Vec3 O(0, 0, 0), X(-1, 0, 0), Y(0, 0, -1), Z(0, 1, 0);
    const float r2 = 1.0f / std::sqrt(2.0f), r3 = 1.0f / std::sqrt(3.0f);

    ASSERT_TRUE(Build(OneMeshScene(Fill(corner, "1"))));
    EXPECT_EQ(Vertices().size(), 4u);
    ExpectNormalsAt(O, {{r3, -r3, r3}});
    ExpectNormalsAt(X, {{0, -r2, r2}});
    ExpectNormalsAt(Z, {{r2, 0, r2}});

    // The third face in group 2 keeps its own normal at every corner and splits them.
    Rebuild();
    ASSERT_TRUE(Build(OneMeshScene(Fill(corner, "2"))));
    EXPECT_EQ(Vertices().size(), 7u);
    ExpectNormalsAt(O, {{r2, -r2, 0}, {0, 0, 1}});
    ExpectNormalsAt(X, {{0, -1, 0}, {0, 0, 1}});
    ExpectNormalsAt(Y, {{r2, -r2, 0}});
    ExpectNormalsAt(Z, {{1, 0, 0}, {0, 0, 1}});
}

TEST_F(MeshTest, FlatFacesWhoseNormalsDifferInTheSignOfZeroShareNoVertex)
{
    // Without smoothing the quad's face normals come out as (0, 1, 0) and (0, 1, -0), so the
    // diagonal's corners are two vertices each. Summed within a group, the sign goes.
    const std::string quad = R"({"vertices": [[0,0,0],[1,0,0],[1,1,0],[0,1,0]], "faces": [
        {"v": [0,1,2], "smoothing": $}, {"v": [0,2,3], "smoothing": $}]})";
    ASSERT_TRUE(Build(OneMeshScene(Fill(quad, "0"))));
    EXPECT_EQ(Vertices().size(), 6u);
    const std::vector<ra::Vec3> normals = NormalsAt({0, 0, 0});
    ASSERT_EQ(normals.size(), 2u);
    EXPECT_NE(std::signbit(normals[0].z), std::signbit(normals[1].z));

    Rebuild();
    ASSERT_TRUE(Build(OneMeshScene(Fill(quad, "1"))));
    EXPECT_EQ(Vertices().size(), 4u);
}

TEST_F(MeshTest, TextureCoordinatesTakeTheMaterialMatrixWithoutFlippingV)
{
    // No texture vertices: one welded zero UV, and the component is still declared.
    ASSERT_TRUE(Build(OneMeshScene(s_triangle)));
    EXPECT_EQ(Record().cUV.size(), 1u);
    for (const Vertex& v : Vertices())
        EXPECT_TRUE(v.uv.u == 0.0f && v.uv.v == 0.0f);

    // Tiling 2 by 3 about the map's centre: u' = 2u - 0.5, v' = 3v - 1.
    Rebuild();
    ASSERT_TRUE(Build(OneMeshScene(
        R"({"vertices": [[0,0,0],[1,0,0],[0,1,0]], "faces": [[0,1,2]], "tverts": [[0,0],[1,0],[0,1]], "tvFaces": [[0,1,2]]})",
        R"(, "material": "Mat")",
        R"([{"name": "Mat", "class": "standard", "maps": {"diffuse": {"texmap": "Tex"}}}])",
        R"([{"name": "Tex", "class": "bitmap", "file": "/none/tex.tga", "uvGen": {"uTiling": 2, "vTiling": 3}}])")));
    for (const Vertex& v : Vertices())
    {
        const TexCoord expected = v.position == ra::Vec3(0, 0, 0)    ? TexCoord{-0.5f, -1}
                                  : v.position == ra::Vec3(-1, 0, 0) ? TexCoord{1.5f, -1}
                                                                     : TexCoord{-0.5f, 2};
        EXPECT_FLOAT_EQ(v.uv.u, expected.u);
        EXPECT_FLOAT_EQ(v.uv.v, expected.v);
    }
}

TEST_F(MeshTest, FaceMappedUVsFollowTheHiddenEdge)
{
    struct Case
    {
        const char* face;
        TexCoord uv[3]; // at host vertices 0, 1 and 2
    };
    const Case cases[] = {
        // Edge c hidden, v[1] < v[2]: the first table from its start. Nothing hidden counts as c.
        {R"({"v": [0,1,2], "edges": [true, true, false]})", {{0, 0}, {1, 0}, {1, 1}}},
        {R"({"v": [0,1,2], "edges": [true, true, true]})", {{0, 0}, {1, 0}, {1, 1}}},
        // Edge a hidden, v[2] > v[0]: the second table from its third entry.
        {R"({"v": [0,1,2], "edges": [false, true, true]})", {{0, 0}, {1, 1}, {0, 1}}},
        // Edge b hidden, v[0] < v[1]: the first table from its second entry.
        {R"({"v": [0,1,2], "edges": [true, false, true]})", {{1, 0}, {1, 1}, {0, 0}}},
        // Edge c hidden, v[1] > v[2]: the second table.
        {R"({"v": [2,1,0], "edges": [true, true, false]})", {{0, 0}, {0, 1}, {1, 1}}},
    };
    const ra::Vec3 positions[3] = {{0, 0, 0}, {-1, 0, 0}, {0, 0, -1}};
    for (const Case& c : cases)
    {
        SCOPED_TRACE(c.face);
        Rebuild();
        ASSERT_TRUE(Build(OneMeshScene(
            Fill(
                R"({"vertices": [[0,0,0],[1,0,0],[0,1,0]], "faces": [$], "tverts": [[0.3,0.3]], "tvFaces": [[0,0,0]]})",
                c.face),
            R"(, "material": "Mapped")", R"([{"name": "Mapped", "class": "standard", "faceMap": true}])")));
        const std::vector<Vertex> cVertex = Vertices();
        ASSERT_EQ(cVertex.size(), 3u);
        for (int k = 0; k < 3; ++k)
        {
            auto it = std::find_if(cVertex.begin(), cVertex.end(),
                                   [&](const Vertex& v) { return v.position == positions[k]; });
            ASSERT_NE(it, cVertex.end());
            EXPECT_TRUE(it->uv.u == c.uv[k].u && it->uv.v == c.uv[k].v) << "vertex " << k;
        }
    }
}

// Two triangles far apart, with the material ids given.
const char* const s_twoFaces = R"({"vertices": [[0,0,0],[1,0,0],[0,1,0],[5,0,0],[6,0,0],[5,1,0]],
    "faces": [{"v": [0,1,2], "materialId": $}, {"v": [3,4,5], "materialId": 1}]})";

TEST_F(MeshTest, MaterialIdsClampAndUnusedSubMaterialsGetNoShader)
{
    // Id 7 of three sub-materials is the third; the first is used by no face.
    ASSERT_TRUE(
        Build(OneMeshScene(Fill(s_twoFaces, "7"), R"(, "material": "Multi")",
                           R"([{"name": "Multi", "class": "multi", "subMaterials": ["Red", "Green", "Blue"]},
        {"name": "Red", "class": "standard"}, {"name": "Green", "class": "standard"},
        {"name": "Blue", "class": "standard"}])")));
    ASSERT_EQ(Mesh()->GetPrimSetCount(), 2);
    EXPECT_EQ(ShaderName(0), "green");
    EXPECT_EQ(ShaderName(1), "blue");
    EXPECT_EQ(m_pExport->GetShaderList().size(), 2u);
    EXPECT_EQ(Corners(0).at(0), ra::Vec3(-5, 0, -1));
    EXPECT_EQ(Corners(1).at(0), ra::Vec3(0, 0, -1));

    // One material in both slots: two entries, the second without triangles.
    Rebuild();
    ASSERT_TRUE(Build(OneMeshScene(Fill(s_twoFaces, "0"), R"(, "material": "Multi")",
                                   R"([{"name": "Multi", "class": "multi", "subMaterials": ["Red", "Red"]},
        {"name": "Red", "class": "standard"}])")));
    ASSERT_EQ(Mesh()->GetPrimSetCount(), 2);
    EXPECT_EQ(Indices(0).size(), 6u);
    EXPECT_EQ(Mesh()->GetPrimSet(1, ra::Mesh::Poly_High), nullptr);
}

TEST_F(MeshTest, TransparentShadersSortBehindOpaqueOnes)
{
    // A 32-bit targa with alpha makes "Glass" transparent; textures load from within a project.
    TempFolder folder;
    exporter_test::WriteProject(folder);
    std::string tga(18, '\0');
    tga[2] = 2, tga[12] = 1, tga[14] = 1, tga[16] = 32, tga[17] = 0x28;
    tga += std::string("\x10\x20\x30\x80", 4);
    const std::string file = folder.Write("art/source/units/test/textures/glass.tga", tga);

    ASSERT_TRUE(
        Build(OneMeshScene(Fill(s_twoFaces, "0"), R"(, "material": "Multi")",
                           R"([{"name": "Multi", "class": "multi", "subMaterials": ["Glass", "Stone"]},
        {"name": "Glass", "class": "standard", "maps": {"diffuse": {"texmap": "GlassTex"}}},
        {"name": "Stone", "class": "standard"}])",
                           R"([{"name": "GlassTex", "class": "bitmap", "file": ")" + file + R"("}])")));
    ASSERT_EQ(Mesh()->GetPrimSetCount(), 2);
    EXPECT_EQ(ShaderName(0), "stone");
    EXPECT_EQ(ShaderName(1), "glass");
    EXPECT_EQ(Corners(0).at(0), ra::Vec3(-5, 0, -1));
    EXPECT_EQ(Corners(1).at(0), ra::Vec3(0, 0, -1));
}

TEST_F(MeshTest, RangeMarksAreEitherOr)
{
    // Welded positions in byte order: x 0.5, 2.0, 1.0, so corners 2, 1, 0 are the final vertices
    // 2, 1, 0. Each lowers the low mark, and the high mark stays 0.
    ASSERT_TRUE(Build(OneMeshScene(R"({"vertices": [[-0.5,0,0],[-2,0,0],[-1,1,0]], "faces": [[0,1,2]]})")));
    ASSERT_EQ(Record().cVertex.size(), 3u);
    EXPECT_EQ(Record().cVertex[1].x, 2.0f);
    EXPECT_EQ(Indices(0), (std::vector<uint16>{2, 1, 0}));
    uint32 start = 0, count = 0;
    Mesh()->GetPrimSet(0, ra::Mesh::Poly_High)->GetRange(start, count);
    EXPECT_EQ(start, 0u);
    EXPECT_EQ(count, 1u);
}

TEST_F(MeshTest, DegenerateFacesGoAfterTheBoundVolumeIsTaken)
{
    // Face 1 repeats a vertex, face 2 is a line; vertex 3 belongs to face 2 alone.
    ASSERT_TRUE(Build(OneMeshScene(
        R"({"vertices": [[0,0,0],[1,0,0],[0,1,0],[2,0,0]], "faces": [[0,1,2],[0,0,1],[0,1,3]]})")));
    EXPECT_TRUE(m_log.Has("Removing invalid face 1"));
    EXPECT_TRUE(m_log.Has("Removing invalid face 2"));
    EXPECT_FALSE(m_log.Has("Removing invalid face 0"));
    EXPECT_EQ(Mesh()->GetPolyCount(ra::Mesh::Poly_High), 3);
    EXPECT_EQ(Indices(0).size(), 3u);
    EXPECT_EQ(Vertices().size(), 3u);
    ra::Vec3 minimum, maximum;
    Mesh()->GetBV().GetMinMax(minimum, maximum);
    EXPECT_EQ(minimum, ra::Vec3(-2, 0, -1));
    EXPECT_EQ(maximum, ra::Vec3(0, 0, 0));
}
TEST_F(MeshTest, NodeThatEvaluatesToNothingAfterTheWalkIsSkippedAndErased)
{
    Walk(R"({"nodes": [{"name": "M", "object": {"class": "editableMesh", "mesh": )" +
         std::string(s_triangle) + R"(}}, {"name": "N", "object": {"class": "editableMesh", "mesh": )" +
         s_triangle + "}}]}");
    static_cast<scene::SceneNode*>(Node("M"))->m_pObject = nullptr;
    RenderModel model;
    EXPECT_TRUE(m_pExport->BuildMeshes(model, m_options));
    ASSERT_EQ(m_pExport->GetMeshNodes().size(), 1u);
    EXPECT_STREQ(Record().pNode->GetName(), "N");
    EXPECT_NE(std::find(Messages().begin(), Messages().end(), "Warning : Skipping node [M]."),
              Messages().end());
    EXPECT_TRUE(Errors().empty());
}

TEST_F(MeshTest, EachFailureReportsAndTheMeshStaysListed)
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
        Rebuild();
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
    Rebuild();
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

TEST_F(MeshTest, Sixty5536PositionsPassAndOneMoreIsTooMany)
{
    ASSERT_TRUE(Build(OneMeshScene(ManyVerticesMesh(65536))));
    EXPECT_EQ(Record().cVertex.size(), 65536u);
    EXPECT_EQ(Vertices().size(), 3u);

    Rebuild();
    EXPECT_FALSE(Build(OneMeshScene(ManyVerticesMesh(65537))));
    EXPECT_EQ(Errors(), (std::vector<std::string>{"Error   : 'M': Too many vertices!",
                                                  "Error   : 'M': Unable to build mesh!"}));
}

TEST_F(MeshTest, EqualPositionsWithDifferentWeightsStayTwoVertices)
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
