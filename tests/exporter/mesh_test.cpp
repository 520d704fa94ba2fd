// Mesh construction from small scenes: corner order, welding, smoothing-group normals, texture
// coordinates, shader tables and primitive sets, read back from the finished ra::Mesh.
#include "exporter/mesh_test_util.h"

#include "inventory/warehouse.h"
#include "model/shader.h"
#include "model/shaderimp.h"

#include "support/tempfolder.h"

#include <cmath>
#include <string>
#include <vector>

namespace
{
using mesh_test::MeshFixture;
using mesh_test::OneMeshScene;
using mesh_test::SameBits;
using mesh_test::VertexSetData;

const char* const s_triangle = R"({"vertices": [[0,0,0],[1,0,0],[0,1,0]], "faces": [[0,1,2]]})";
const char* const s_standard = R"([{"name": "Mat", "class": "standard"}])";

void ExpectNear(const ra::Vec3& actual, const ra::Vec3& expected)
{
    EXPECT_NEAR(actual.x, expected.x, 1e-6f);
    EXPECT_NEAR(actual.y, expected.y, 1e-6f);
    EXPECT_NEAR(actual.z, expected.z, 1e-6f);
}

// The normals of the final vertices at a position (compared by value).
std::vector<ra::Vec3> NormalsAt(const VertexSetData& data, const ra::Vec3& position)
{
    std::vector<ra::Vec3> out;
    for (const mesh_test::Vertex& v : data.cVertex)
        if (v.position == position)
            out.push_back(v.normal);
    return out;
}

// Each expected normal is among the found ones, and there are as many.
void ExpectNormals(const std::vector<ra::Vec3>& found, std::vector<ra::Vec3> expected)
{
    ASSERT_EQ(found.size(), expected.size());
    for (const ra::Vec3& n : found)
    {
        auto it = std::find_if(expected.begin(), expected.end(),
                               [&](const ra::Vec3& e) { return (n - e).LengthSquared() < 1e-10f; });
        ASSERT_NE(it, expected.end()) << "unexpected normal " << n.x << " " << n.y << " " << n.z;
        expected.erase(it);
    }
}

// The name of the mesh's shader s, as the inventory keeps it: in lower case.
std::string ShaderName(const ra::Mesh& mesh, int32 s)
{
    const Shader* pShader = mesh.GetPrimSetShader(s).Get();
    const Inv::NamedResource* pData = pShader;
    return pData && pData->GetName() ? pData->GetName() : "";
}

// ---- Corner order and axes ----

TEST_F(MeshFixture, PlainNodeReversesCornersIntoGameAxes)
{
    ASSERT_TRUE(Build(OneMeshScene(s_triangle, R"(, "material": "Mat")", s_standard)));
    ra::Mesh* pMesh = Mesh();
    ASSERT_NE(pMesh, nullptr);
    EXPECT_EQ(pMesh->GetPolyCount(ra::Mesh::Poly_High), 1);
    ASSERT_EQ(pMesh->GetPrimSetCount(), 1);

    // Host (x, y, z) is (-x, z, -y); corners 2, 1, 0.
    const std::vector<ra::Vec3> corners = Corners(0);
    ASSERT_EQ(corners.size(), 3u);
    EXPECT_TRUE(SameBits(corners[0], ra::Vec3(-0.0f, 0.0f, -1.0f)));
    EXPECT_TRUE(SameBits(corners[1], ra::Vec3(-1.0f, 0.0f, -0.0f)));
    EXPECT_TRUE(SameBits(corners[2], ra::Vec3(-0.0f, 0.0f, -0.0f)));

    // Final vertices are numbered in byte order of the welded positions: (-0,0,-0), (-0,0,-1),
    // (-1,0,-0).
    EXPECT_EQ(Indices(0), (std::vector<uint16>{1, 2, 0}));
    uint32 start = 0, count = 0;
    pMesh->GetPrimSet(0, ra::Mesh::Poly_High)->GetRange(start, count);
    EXPECT_EQ(start, 0u);
    EXPECT_EQ(count, 3u);

    const VertexSetData data = Vertices();
    EXPECT_FALSE(data.hasWeights);
    EXPECT_TRUE(data.hasNormals);
    EXPECT_TRUE(data.hasUV);
    ASSERT_EQ(data.cVertex.size(), 3u);
    for (const mesh_test::Vertex& v : data.cVertex)
        ExpectNear(v.normal, {0, 1, 0});
    EXPECT_EQ(ShaderName(*pMesh, 0), "mat");
}

TEST_F(MeshFixture, MirroredNodeKeepsCornerOrderAndStillFacesUp)
{
    ASSERT_TRUE(Build(OneMeshScene(s_triangle, R"(, "transform": [[-1,0,0],[0,1,0],[0,0,1],[0,0,0]])")));
    const std::vector<ra::Vec3> corners = Corners(0);
    ASSERT_EQ(corners.size(), 3u);
    EXPECT_EQ(corners[0], ra::Vec3(0, 0, 0));
    EXPECT_EQ(corners[1], ra::Vec3(1, 0, 0));
    EXPECT_EQ(corners[2], ra::Vec3(0, 0, -1));
    for (const mesh_test::Vertex& v : Vertices().cVertex)
        ExpectNear(v.normal, {0, 1, 0});
}

TEST_F(MeshFixture, MeshIsNamedAfterNodeAndCarriesNodeSettings)
{
    ASSERT_TRUE(Build(
        OneMeshScene(s_triangle, R"(, "userProperties": "MeshMinDetail = medium\nNo_Child_Selection")")));
    ra::Mesh* pMesh = Mesh();
    ASSERT_NE(pMesh, nullptr);
    EXPECT_EQ(pMesh->GetMinDetail(), 1);
    EXPECT_EQ(pMesh->GetChildSelection(), 0);

    Inv::Resource* pResource = nullptr;
    ASSERT_TRUE(Inv::Warehouse::Get()->Find(&pResource, "M", ra::Mesh::GetTypeInfo()));
    EXPECT_EQ(pResource, Record().meshRef.GetResource());
}

TEST_F(MeshFixture, NodeSettingsDefaultToAllDetailsAndSelectable)
{
    ASSERT_TRUE(Build(OneMeshScene(s_triangle, R"(, "userProperties": "MeshMinDetail = Low")")));
    EXPECT_EQ(Mesh()->GetMinDetail(), 0);
    EXPECT_EQ(Mesh()->GetChildSelection(), 1);
}

// ---- Welding ----

TEST_F(MeshFixture, CornersWithEqualBytesShareAFinalVertex)
{
    // A quad from two triangles with their own copies of the shared corners.
    ASSERT_TRUE(Build(OneMeshScene(
        R"({"vertices": [[0,0,0],[1,0,0],[1,1,0],[0,0,0],[1,1,0],[0,1,0]], "faces": [[0,1,2],[3,4,5]]})")));
    EXPECT_EQ(Record().cVertex.size(), 4u);
    EXPECT_EQ(Vertices().cVertex.size(), 4u);
    EXPECT_EQ(Indices(0).size(), 6u);
}

TEST_F(MeshFixture, LastBitDifferenceStaysTwoPositions)
{
    // Vertex 4 is vertex 2 a last bit apart, vertex 5 an exact copy of vertex 1 that no face uses.
    ASSERT_TRUE(
        Build(OneMeshScene(R"({"vertices": [[0,0,0],[1,0,0],[1,1,0],[0,1,0],[1.0000001192092896,1,0],[1,0,0]],
                                       "faces": [[0,1,2],[0,4,3]]})")));
    EXPECT_EQ(Record().cVertex.size(), 5u);
    EXPECT_EQ(Vertices().cVertex.size(), 5u);
}

TEST_F(MeshFixture, FlatFacesWhoseNormalsDifferInTheSignOfZeroShareNoVertex)
{
    // Without smoothing the quad's two face normals come out as (0, 1, 0) and (0, 1, -0): the
    // diagonal's corners are two vertices each. Summed within a group, the sign goes.
    const std::string quad = R"({"vertices": [[0,0,0],[1,0,0],[1,1,0],[0,1,0]], "faces": [
        {"v": [0,1,2], "smoothing": GROUP}, {"v": [0,2,3], "smoothing": GROUP}]})";
    std::string flat = quad, smooth = quad;
    for (std::string* p : {&flat, &smooth})
        for (size_t at; (at = p->find("GROUP")) != std::string::npos;)
            p->replace(at, 5, p == &flat ? "0" : "1");

    ASSERT_TRUE(Build(OneMeshScene(flat)));
    VertexSetData data = Vertices();
    EXPECT_EQ(data.cVertex.size(), 6u);
    const std::vector<ra::Vec3> normals = NormalsAt(data, ra::Vec3(0, 0, 0));
    ASSERT_EQ(normals.size(), 2u);
    EXPECT_EQ(normals[0], ra::Vec3(0, 1, 0));
    EXPECT_EQ(normals[1], ra::Vec3(0, 1, 0));
    EXPECT_NE(std::signbit(normals[0].z), std::signbit(normals[1].z));

    TearDown();
    SetUp();
    ASSERT_TRUE(Build(OneMeshScene(smooth)));
    EXPECT_EQ(Vertices().cVertex.size(), 4u);
}

// ---- Normals from smoothing groups ----

// Three faces of a box corner at the origin, facing -z, -x and -y in host axes.
std::string CornerScene(int g0, int g1, int g2)
{
    return OneMeshScene(R"({"vertices": [[0,0,0],[1,0,0],[0,1,0],[0,0,1]], "faces": [
        {"v": [0,2,1], "smoothing": )" +
                        std::to_string(g0) + R"(}, {"v": [0,3,2], "smoothing": )" + std::to_string(g1) +
                        R"(}, {"v": [0,1,3], "smoothing": )" + std::to_string(g2) + "}]}");
}

// Game positions of the corner's vertices, and its three face normals in game axes.
const ra::Vec3 s_O(0, 0, 0), s_X(-1, 0, 0), s_Y(0, 0, -1), s_Z(0, 1, 0);
const ra::Vec3 s_n0(0, -1, 0), s_n1(1, 0, 0), s_n2(0, 0, 1);
const float s_r2 = 1.0f / std::sqrt(2.0f), s_r3 = 1.0f / std::sqrt(3.0f);

TEST_F(MeshFixture, OneGroupSharesEveryCornerNormal)
{
    ASSERT_TRUE(Build(CornerScene(1, 1, 1)));
    const VertexSetData data = Vertices();
    EXPECT_EQ(data.cVertex.size(), 4u);
    ExpectNormals(NormalsAt(data, s_O), {{s_r3, -s_r3, s_r3}});
    ExpectNormals(NormalsAt(data, s_X), {{0, -s_r2, s_r2}});
    ExpectNormals(NormalsAt(data, s_Y), {{s_r2, -s_r2, 0}});
    ExpectNormals(NormalsAt(data, s_Z), {{s_r2, 0, s_r2}});
}

TEST_F(MeshFixture, DifferentGroupsSplitCorners)
{
    ASSERT_TRUE(Build(CornerScene(1, 1, 2)));
    const VertexSetData data = Vertices();
    EXPECT_EQ(data.cVertex.size(), 7u);
    ExpectNormals(NormalsAt(data, s_O), {{s_r2, -s_r2, 0}, s_n2});
    ExpectNormals(NormalsAt(data, s_X), {s_n0, s_n2});
    ExpectNormals(NormalsAt(data, s_Y), {{s_r2, -s_r2, 0}});
    ExpectNormals(NormalsAt(data, s_Z), {s_n1, s_n2});
}

TEST_F(MeshFixture, GroupBitsOverlapAndZeroIsFlat)
{
    // Groups 3 and 1 share bit 1; group 0 shares with nothing.
    ASSERT_TRUE(Build(CornerScene(3, 1, 0)));
    const VertexSetData data = Vertices();
    ExpectNormals(NormalsAt(data, s_O), {{s_r2, -s_r2, 0}, s_n2});
    ExpectNormals(NormalsAt(data, s_Z), {s_n1, s_n2});
    EXPECT_EQ(Record().cNormal.size(), 3u + 1u);
}

TEST_F(MeshFixture, OppositeFacesInOneGroupFailTheMesh)
{
    const std::string mesh = R"({"vertices": [[0,0,0],[1,0,0],[0,1,0]], "faces": [
        {"v": [0,1,2], "smoothing": 1}, {"v": [0,2,1], "smoothing": GROUP}]})";
    std::string same = mesh;
    same.replace(same.find("GROUP"), 5, "1");
    EXPECT_FALSE(Build(OneMeshScene(same)));
    EXPECT_TRUE(m_log.Has("Face 0 does not have the smoothing property set!"));
    EXPECT_TRUE(HasMessage("'M': Unable to build mesh!"));
    EXPECT_EQ(ErrorCount(), 1);
}

TEST_F(MeshFixture, OppositeFacesInTwoGroupsBuild)
{
    const std::string mesh = R"({"vertices": [[0,0,0],[1,0,0],[0,1,0]], "faces": [
        {"v": [0,1,2], "smoothing": 1}, {"v": [0,2,1], "smoothing": 2}]})";
    ASSERT_TRUE(Build(OneMeshScene(mesh)));
    EXPECT_EQ(Vertices().cVertex.size(), 6u);
    EXPECT_FALSE(m_log.Has("smoothing property"));
}

// ---- Texture coordinates ----

TEST_F(MeshFixture, WithoutTextureVerticesOneZeroUVIsDeclared)
{
    ASSERT_TRUE(Build(OneMeshScene(s_triangle)));
    EXPECT_EQ(Record().cUV.size(), 1u);
    const VertexSetData data = Vertices();
    ASSERT_TRUE(data.hasUV);
    for (const mesh_test::Vertex& v : data.cVertex)
    {
        EXPECT_EQ(v.uv.u, 0.0f);
        EXPECT_EQ(v.uv.v, 0.0f);
    }
}

TEST_F(MeshFixture, MaterialMatrixIsBakedIntoUVsWithoutFlippingV)
{
    // Tiling 2 by 3 about the map's centre: u' = 2u - 0.5, v' = 3v - 1.
    const std::string textures =
        R"([{"name": "Tex", "class": "bitmap", "file": "/nonexistent/tex.tga", "uvGen": {"uTiling": 2, "vTiling": 3}}])";
    const std::string materials =
        R"([{"name": "Mat", "class": "standard", "maps": {"diffuse": {"texmap": "Tex"}}}])";
    const std::string mesh = R"({"vertices": [[0,0,0],[1,0,0],[0,1,0]], "faces": [[0,1,2]],
                                 "tverts": [[0,0],[1,0],[0,1]], "tvFaces": [[0,1,2]]})";
    ASSERT_TRUE(Build(OneMeshScene(mesh, R"(, "material": "Mat")", materials, textures)));
    const VertexSetData data = Vertices();
    ASSERT_EQ(data.cVertex.size(), 3u);
    for (const mesh_test::Vertex& v : data.cVertex)
    {
        const TexCoord expected = v.position == ra::Vec3(0, 0, 0)    ? TexCoord{-0.5f, -1.0f}
                                  : v.position == ra::Vec3(-1, 0, 0) ? TexCoord{1.5f, -1.0f}
                                                                     : TexCoord{-0.5f, 2.0f};
        EXPECT_FLOAT_EQ(v.uv.u, expected.u);
        EXPECT_FLOAT_EQ(v.uv.v, expected.v);
    }
}

struct FaceMapCase
{
    const char* face;
    TexCoord uv[3]; // at host vertices 0, 1 and 2
};

TEST_F(MeshFixture, FaceMappedUVsFollowTheHiddenEdge)
{
    const FaceMapCase cases[] = {
        // Edge c hidden, v[1] < v[2]: first table from its start.
        {R"({"v": [0,1,2], "edges": [true, true, false]})", {{0, 0}, {1, 0}, {1, 1}}},
        // Nothing hidden counts as edge c.
        {R"({"v": [0,1,2], "edges": [true, true, true]})", {{0, 0}, {1, 0}, {1, 1}}},
        // Edge a hidden, v[2] > v[0]: second table from its third entry.
        {R"({"v": [0,1,2], "edges": [false, true, true]})", {{0, 0}, {1, 1}, {0, 1}}},
        // Edge b hidden, v[0] < v[1]: first table from its second entry.
        {R"({"v": [0,1,2], "edges": [true, false, true]})", {{1, 0}, {1, 1}, {0, 0}}},
        // Edge c hidden, v[1] > v[2]: second table.
        {R"({"v": [2,1,0], "edges": [true, true, false]})", {{0, 0}, {0, 1}, {1, 1}}},
    };
    const ra::Vec3 positions[3] = {{0, 0, 0}, {-1, 0, 0}, {0, 0, -1}};
    for (const FaceMapCase& c : cases)
    {
        SCOPED_TRACE(c.face);
        const std::string mesh = std::string(R"({"vertices": [[0,0,0],[1,0,0],[0,1,0]], "faces": [)") +
                                 c.face + R"(], "tverts": [[0.3,0.3]], "tvFaces": [[0,0,0]]})";
        TearDown();
        SetUp();
        ASSERT_TRUE(Build(OneMeshScene(mesh, R"(, "material": "Mapped")",
                                       R"([{"name": "Mapped", "class": "standard", "faceMap": true}])")));
        const VertexSetData data = Vertices();
        ASSERT_EQ(data.cVertex.size(), 3u);
        for (int k = 0; k < 3; ++k)
        {
            const auto it =
                std::find_if(data.cVertex.begin(), data.cVertex.end(),
                             [&](const mesh_test::Vertex& v) { return v.position == positions[k]; });
            ASSERT_NE(it, data.cVertex.end());
            EXPECT_EQ(it->uv.u, c.uv[k].u) << "vertex " << k;
            EXPECT_EQ(it->uv.v, c.uv[k].v) << "vertex " << k;
        }
    }
}

TEST_F(MeshFixture, FaceMappedQuadWeldsToFourCorners)
{
    const std::string mesh = R"({"vertices": [[0,0,0],[1,0,0],[1,1,0],[0,1,0]],
        "faces": [{"v": [0,1,2], "edges": [true, true, false]}, {"v": [2,3,0], "edges": [true, true, false]}],
        "tverts": [[0,0]], "tvFaces": [[0,0,0],[0,0,0]]})";
    ASSERT_TRUE(Build(OneMeshScene(mesh, R"(, "material": "Mapped")",
                                   R"([{"name": "Mapped", "class": "standard", "faceMap": true}])")));
    EXPECT_EQ(Vertices().cVertex.size(), 4u);
    EXPECT_EQ(Record().cUV.size(), 4u);
}

// ---- Material ids, shader tables and primitive sets ----

const char* const s_threeSubs =
    R"([{"name": "Multi", "class": "multi", "subMaterials": ["Red", "Green", "Blue"]},
    {"name": "Red", "class": "standard"}, {"name": "Green", "class": "standard"}, {"name": "Blue", "class": "standard"}])";

TEST_F(MeshFixture, MaterialIdsClampToLastSubMaterialAndUnusedOnesGetNoEntry)
{
    const std::string mesh = R"({"vertices": [[0,0,0],[1,0,0],[0,1,0],[5,0,0],[6,0,0],[5,1,0]],
        "faces": [{"v": [3,4,5], "materialId": 7}, {"v": [0,1,2], "materialId": 0}]})";
    ASSERT_TRUE(Build(OneMeshScene(mesh, R"(, "material": "Multi")", s_threeSubs)));
    ra::Mesh* pMesh = Mesh();
    ASSERT_EQ(pMesh->GetPrimSetCount(), 2);
    EXPECT_EQ(ShaderName(*pMesh, 0), "red");
    EXPECT_EQ(ShaderName(*pMesh, 1), "blue");
    // No shader was made for the sub-material that no face uses.
    ASSERT_EQ(m_pExport->GetShaderList().size(), 2u);
    for (const auto& pEntry : m_pExport->GetShaderList())
    {
        const Inv::NamedResource* pData = pEntry->pShader;
        EXPECT_STRNE(pData->GetName(), "green");
    }

    const std::vector<ra::Vec3> red = Corners(0), blue = Corners(1);
    ASSERT_EQ(red.size(), 3u);
    ASSERT_EQ(blue.size(), 3u);
    EXPECT_EQ(red[0], ra::Vec3(0, 0, -1));
    EXPECT_EQ(blue[0], ra::Vec3(-5, 0, -1));
    EXPECT_EQ(blue[1], ra::Vec3(-6, 0, 0));
}

TEST_F(MeshFixture, TransparentShadersSortBehindOpaqueOnes)
{
    // A one-pixel 32-bit targa with alpha makes "Glass" transparent. Textures load from a project.
    TempFolder folder;
    folder.Write("pipeline.ini",
                 "[project:Art]\r\nDataSource=art/source\r\nDataSourceShared=art/shared\r\n"
                 "DataBurn=art/burn\r\nDataIntermediate=art/intermediate\r\nDataGeneric=art/generic\r\n"
                 "DataFinal=art/final\r\nDataPreview=art/preview\r\nLocaleFolder=art/locale\r\n"
                 "AttrLoc=attrib\r\nParent=\r\n");
    std::string tga(18, '\0');
    tga[2] = 2;
    tga[12] = 1;
    tga[14] = 1;
    tga[16] = 32;
    tga[17] = 0x28;
    tga += std::string("\x10\x20\x30\x80", 4);
    const std::string file = folder.Write("art/source/units/test/textures/glass.tga", tga);

    const std::string textures = R"([{"name": "GlassTex", "class": "bitmap", "file": ")" + file + R"("}])";
    const std::string materials = R"([{"name": "Multi", "class": "multi", "subMaterials": ["Glass", "Stone"]},
        {"name": "Glass", "class": "standard", "maps": {"diffuse": {"texmap": "GlassTex"}}},
        {"name": "Stone", "class": "standard"}])";
    const std::string mesh = R"({"vertices": [[0,0,0],[1,0,0],[0,1,0],[5,0,0],[6,0,0],[5,1,0]],
        "faces": [{"v": [0,1,2], "materialId": 0}, {"v": [3,4,5], "materialId": 1}]})";
    ASSERT_TRUE(Build(OneMeshScene(mesh, R"(, "material": "Multi")", materials, textures)));
    ra::Mesh* pMesh = Mesh();
    ASSERT_EQ(pMesh->GetPrimSetCount(), 2);
    EXPECT_EQ(ShaderName(*pMesh, 0), "stone");
    EXPECT_EQ(ShaderName(*pMesh, 1), "glass");
    ASSERT_EQ(Corners(0).size(), 3u);
    EXPECT_EQ(Corners(0)[0], ra::Vec3(-5, 0, -1));
    EXPECT_EQ(Corners(1)[0], ra::Vec3(0, 0, -1));
}

TEST_F(MeshFixture, OneMaterialInTwoSlotsLeavesTheSecondShaderWithoutTriangles)
{
    const std::string materials = R"([{"name": "Multi", "class": "multi", "subMaterials": ["Red", "Red"]},
        {"name": "Red", "class": "standard"}])";
    const std::string mesh = R"({"vertices": [[0,0,0],[1,0,0],[0,1,0],[5,0,0],[6,0,0],[5,1,0]],
        "faces": [{"v": [0,1,2], "materialId": 0}, {"v": [3,4,5], "materialId": 1}]})";
    ASSERT_TRUE(Build(OneMeshScene(mesh, R"(, "material": "Multi")", materials)));
    ra::Mesh* pMesh = Mesh();
    ASSERT_EQ(pMesh->GetPrimSetCount(), 2);
    EXPECT_EQ(Indices(0).size(), 6u);
    EXPECT_EQ(pMesh->GetPrimSet(1, ra::Mesh::Poly_High), nullptr);
}

TEST_F(MeshFixture, RangeMarksAreEitherOr)
{
    // Welded positions in byte order: 0.5, 2.0, 1.0 along x, so the corners 2, 1, 0 come out as
    // the final vertices 2, 1, 0. Each lowers the low mark, and the high mark stays 0.
    ASSERT_TRUE(Build(OneMeshScene(R"({"vertices": [[-0.5,0,0],[-2,0,0],[-1,1,0]], "faces": [[0,1,2]]})")));
    ASSERT_EQ(Record().cVertex.size(), 3u);
    EXPECT_EQ(Record().cVertex[0].x, 0.5f);
    EXPECT_EQ(Record().cVertex[1].x, 2.0f);
    EXPECT_EQ(Record().cVertex[2].x, 1.0f);
    EXPECT_EQ(Indices(0), (std::vector<uint16>{2, 1, 0}));
    uint32 start = 0, count = 0;
    Mesh()->GetPrimSet(0, ra::Mesh::Poly_High)->GetRange(start, count);
    EXPECT_EQ(start, 0u);
    EXPECT_EQ(count, 1u);
}

TEST_F(MeshFixture, BoundVolumeCoversEveryPositionAndDegenerateFacesGo)
{
    // Face 1 repeats a vertex, face 2 is a line; vertex 3 is used by face 2 alone.
    const std::string mesh = R"({"vertices": [[0,0,0],[1,0,0],[0,1,0],[2,0,0]],
                                 "faces": [[0,1,2],[0,0,1],[0,1,3]]})";
    ASSERT_TRUE(Build(OneMeshScene(mesh)));
    EXPECT_TRUE(m_log.Has("Removing invalid face 1"));
    EXPECT_TRUE(m_log.Has("Removing invalid face 2"));
    EXPECT_FALSE(m_log.Has("Removing invalid face 0"));
    ra::Mesh* pMesh = Mesh();
    EXPECT_EQ(pMesh->GetPolyCount(ra::Mesh::Poly_High), 3);
    EXPECT_EQ(Record().cFace.size(), 1u);
    EXPECT_EQ(Indices(0).size(), 3u);
    EXPECT_EQ(Vertices().cVertex.size(), 3u);

    ASSERT_TRUE(pMesh->HasBV());
    ra::Vec3 minimum, maximum;
    pMesh->GetBV().GetMinMax(minimum, maximum);
    EXPECT_EQ(minimum, ra::Vec3(-2, 0, -1));
    EXPECT_EQ(maximum, ra::Vec3(0, 0, 0));
}
} // namespace
