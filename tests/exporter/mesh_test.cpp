// Mesh construction from small scenes, read back from the finished ra::Mesh: corner order, welding,
// smoothing-group normals, texture coordinates, shader tables; and how the mesh stage fails.
#include "exporter_fixture.h"
#include "host/scene_objects.h"
#include "model/shader/shaderimp.h"

#include <cstdio>

namespace
{
using exporter_test::Errors;
using exporter_test::Messages;
using exporter_test::s_Triangle;
using exporter_test::Vertex;

// One editable mesh node "M" with this mesh and these extra node keys, materials and textures.
std::string OneMeshScene(const std::string& mesh, const std::string& nodeExtra = "",
                         const std::string& materials = "[]", const std::string& textures = "[]")
{
    return R"({"textures": )" + textures + R"(, "materials": )" + materials +
           R"(, "nodes": [{"name": "M", "object": {"class": "editableMesh", "mesh": )" + mesh + "}" +
           nodeExtra + "}]}";
}
// The text with every "$" replaced.
std::string Fill(std::string text, const std::string& value)
{
    for (size_t at; (at = text.find('$')) != std::string::npos;)
        text.replace(at, 1, value);
    return text;
}

class MeshTest : public exporter_test::ExporterFixture
{
protected:
    // The normals of the final vertices at a position, rounded, in sorted order.
    std::string NormalsAt(const ra::Vec3& position) const
    {
        std::vector<std::string> cNormal;
        char text[64];
        for (const Vertex& v : Vertices())
            if (v.position == position &&
                std::snprintf(text, sizeof(text), "%.3f %.3f %.3f;", v.normal.x + 0.0f, v.normal.y + 0.0f,
                              v.normal.z + 0.0f))
                cNormal.push_back(text);
        std::sort(cNormal.begin(), cNormal.end());
        std::string out;
        for (const std::string& normal : cNormal)
            out += normal;
        return out;
    }
    std::string ShaderName(int32 s) const
    {
        return static_cast<const Inv::NamedResource*>(Mesh()->GetPrimSetShader(s).Get())->GetName();
    }
};

TEST_F(MeshTest, CornersReverseUnlessTheNodeIsMirrored)
{
    ASSERT_TRUE(Build(OneMeshScene(s_Triangle, R"(, "material": "Mat",
        "userProperties": "MeshMinDetail = medium\nNo_Child_Selection")",
                                   R"([{"name": "Mat", "class": "standard"}])")));
    ra::Mesh* pMesh = Mesh();
    EXPECT_EQ(pMesh->GetMinDetail(), 1);
    EXPECT_EQ(pMesh->GetChildSelection(), 0);
    EXPECT_EQ(ShaderName(0), "mat");
    // Host (x, y, z) is (-x, z, -y), corners 2, 1, 0. Final vertices go by the byte order of their
    // positions: (-0,0,-0), (-0,0,-1), (-1,0,-0).
    const std::vector<ra::Vec3> corners = Corners(0);
    const ra::Vec3 expected[3] = {{-0.0f, 0, -1}, {-1, 0, -0.0f}, {-0.0f, 0, -0.0f}};
    ASSERT_EQ(corners.size(), 3u);
    EXPECT_EQ(std::memcmp(corners.data(), expected, sizeof(expected)), 0);
    EXPECT_EQ(NormalsAt({-1, 0, -0.0f}), "0.000 1.000 0.000;");

    Rebuild();
    ASSERT_TRUE(Build(OneMeshScene(s_Triangle, R"(, "transform": [[-1,0,0],[0,1,0],[0,0,1],[0,0,0]])")));
    EXPECT_EQ(Corners(0), (std::vector<ra::Vec3>{{0, 0, 0}, {1, 0, 0}, {0, 0, -1}}));
    EXPECT_EQ(NormalsAt({1, 0, 0}), "0.000 1.000 0.000;");
    EXPECT_EQ(Mesh()->GetMinDetail(), 0);
    EXPECT_EQ(Mesh()->GetChildSelection(), 1);
}

TEST_F(MeshTest, NormalsAreSharedWithinSmoothingGroups)
{
    // Three faces of a box corner, facing -z, -x and -y in host axes; the third in group $.
    const std::string corner = R"({"vertices": [[0,0,0],[1,0,0],[0,1,0],[0,0,1]], "faces": [
        {"v": [0,2,1], "smoothing": 1}, {"v": [0,3,2], "smoothing": 1}, {"v": [0,1,3], "smoothing": $}]})";
    ASSERT_TRUE(Build(OneMeshScene(Fill(corner, "1"))));
    EXPECT_EQ(Vertices().size(), 4u);
    EXPECT_EQ(NormalsAt({0, 0, 0}), "0.577 -0.577 0.577;");
    EXPECT_EQ(NormalsAt({-1, 0, 0}), "0.000 -0.707 0.707;");
    Rebuild(); // in group 2 the third face keeps its own normal at every corner and splits them
    ASSERT_TRUE(Build(OneMeshScene(Fill(corner, "2"))));
    EXPECT_EQ(Vertices().size(), 7u);
    EXPECT_EQ(NormalsAt({0, 0, 0}), "0.000 0.000 1.000;0.707 -0.707 0.000;");
}

TEST_F(MeshTest, FaceMappedUVsFollowTheHiddenEdge)
{
    const std::pair<const char*, std::array<TexCoord, 3>> cases[] = {
        // Edge c hidden, v[1] < v[2]: the first table from its start.
        {R"({"v": [0,1,2], "edges": [true, true, false]})", {{{0, 0}, {1, 0}, {1, 1}}}},
        // Edge a hidden, v[2] > v[0]: the second table from its third entry.
        {R"({"v": [0,1,2], "edges": [false, true, true]})", {{{0, 0}, {1, 1}, {0, 1}}}},
        // Edge b hidden, v[0] < v[1]: the first table from its second entry.
        {R"({"v": [0,1,2], "edges": [true, false, true]})", {{{1, 0}, {1, 1}, {0, 0}}}},
        {R"({"v": [2,1,0], "edges": [true, true, false]})", {{{0, 0}, {0, 1}, {1, 1}}}}, // v[1] > v[2]
    };
    const ra::Vec3 positions[3] = {{0, 0, 0}, {-1, 0, 0}, {0, 0, -1}};
    for (const auto& [face, uv] : cases)
    {
        SCOPED_TRACE(face);
        Rebuild();
        ASSERT_TRUE(Build(OneMeshScene(
            Fill(
                R"({"vertices": [[0,0,0],[1,0,0],[0,1,0]], "faces": [$], "tverts": [[0.3,0.3]], "tvFaces": [[0,0,0]]})",
                face),
            R"(, "material": "Mapped")", R"([{"name": "Mapped", "class": "standard", "faceMap": true}])")));
        const std::vector<Vertex> cVertex = Vertices();
        ASSERT_EQ(cVertex.size(), 3u);
        for (int k = 0; k < 3; ++k)
            for (const Vertex& v : cVertex)
                EXPECT_TRUE(!(v.position == positions[k]) || (v.uv.u == uv[k].u && v.uv.v == uv[k].v)) << k;
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
        {"name": "Red", "class": "standard"}, {"name": "Green", "class": "standard"}, {"name": "Blue", "class": "standard"}])")));
    ASSERT_EQ(Mesh()->GetPrimSetCount(), 2);
    EXPECT_EQ(ShaderName(0) + " " + ShaderName(1), "green blue");
    EXPECT_EQ(m_pExport->GetShaderList().size(), 2u);
    EXPECT_EQ(Corners(0).at(0), ra::Vec3(-5, 0, -1));
    EXPECT_EQ(Corners(1).at(0), ra::Vec3(0, 0, -1));
}

// A triangle and `count` - 3 further positions that no face uses.
std::string ManyVerticesMesh(int count)
{
    std::string vertices;
    for (int i = 3; i < count; ++i)
        vertices += ",[" + std::to_string(i) + ",5,0]";
    return R"({"vertices": [[0,0,0],[1,0,0],[0,1,0])" + vertices + R"(], "faces": [[0,1,2]]})";
}

TEST_F(MeshTest, EachFailureReportsAndTheMeshStaysListed)
{
    const std::string unable = "Error   : 'M': Unable to build mesh!";
    const std::string mesh = R"({"nodes": [{"name": "M", "object": {"class": "editableMesh", "mesh": $}}]})";
    const std::tuple<std::string, std::vector<std::string>, const char*> cases[] = {
        {R"({"nodes": [{"name": "M", "object": {"class": "editableMesh"}}]})",
         {"Error   : 'M': Unable to node to a mesh!", unable},
         nullptr},
        {Fill(mesh, R"({"vertices": [[0,0,0]], "faces": []})"), {unable}, nullptr},
        // Only degenerate faces: the vertex stage fails without a message of its own.
        {Fill(mesh, R"({"vertices": [[0,0,0],[1,0,0],[2,0,0]], "faces": [[0,0,1],[0,1,2]]})"),
         {unable},
         "Removing invalid face 1"},
        // Two faces on each other with opposite windings in one group: the normals cancel.
        {Fill(mesh, R"({"vertices": [[0,0,0],[1,0,0],[0,1,0]], "faces": [[0,1,2],[0,2,1]]})"),
         {unable},
         "Face 0 does not have the smoothing property set!"},
        {OneMeshScene(ManyVerticesMesh(65537)), {"Error   : 'M': Too many vertices!", unable}, nullptr},
    };
    for (const auto& [json, errors, log] : cases)
    {
        SCOPED_TRACE(json.substr(0, 120));
        Rebuild();
        m_log.Clear();
        EXPECT_FALSE(Build(json));
        EXPECT_EQ(Errors(), errors);
        EXPECT_EQ(m_pExport->GetMeshNodes().size(), 1u);
        EXPECT_EQ(Vertices().size(), 0u);
        EXPECT_TRUE(log == nullptr || m_log.Has(log));
        EXPECT_TRUE(errors.size() != 1 || Messages().front() == "Warning : 'M': has no faces!" || log);
    }
    // 65536 positions are within the limit.
    Rebuild();
    ASSERT_TRUE(Build(OneMeshScene(ManyVerticesMesh(65536))));
    EXPECT_EQ(Record().cVertex.size(), 65536u);
    EXPECT_EQ(Vertices().size(), 3u);
}
} // namespace
