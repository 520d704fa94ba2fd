// Materials into shaders, from small scenes whose bitmaps are tiny TGA files in a project of their
// own (a pipeline.ini beside them, so textures get their names below the data root).
#include "exporter/sgmuv.h"
#include "exporter_fixture.h"
#include "model/shader/shaderimp.h"
#include "model/shader/texture.h"
#include "support/tempfolder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace
{
std::string TinyTGA()
{
    std::string data(18, '\0');
    data[2] = 2;  // uncompressed true colour
    data[12] = 2; // 2 by 2
    data[14] = 2;
    data[16] = 24; // bits per pixel
    return data + std::string(2 * 2 * 3, '\x40');
}

// Rows of a matrix over the identity.
fr::Matrix44 Rows(std::initializer_list<std::initializer_list<float>> rows)
{
    fr::Matrix44 m = fr::Matrix44::Identity();
    int r = 0;
    for (const auto& row : rows)
    {
        int c = 0;
        for (float v : row)
            m.m[r][c++] = v;
        ++r;
    }
    return m;
}

#define EXPECT_MATRIX(expected, actual)                                                                      \
    for (int r = 0; r < 4; ++r)                                                                              \
        for (int c = 0; c < 4; ++c)                                                                          \
            EXPECT_NEAR((expected).m[r][c], (actual).m[r][c], 1e-6f) << "row " << r << ", column " << c;

class ShaderTest : public exporter_test::ExporterFixture
{
protected:
    void SetUp() override
    {
        ExporterFixture::SetUp();
        exporter_test::WriteProject(m_temp);
        m_textures = m_temp / "art/source/units/test/textures";
        for (const char* name : {"wood.tga", "glass.tga", "texture_share_metal.tga"})
            m_temp.Write(std::string("art/source/units/test/textures/") + name, TinyTGA());
        m_temp.Write("elsewhere/stray.tga", TinyTGA());
    }

    // A scene of two frames with these textures, materials and nodes (bodies of JSON arrays);
    // "$T/" stands for the project's texture folder, "$E/" for a folder outside the project.
    void Read(const std::string& textures, const std::string& materials, const std::string& nodes)
    {
        std::string json = "{\"animationRange\": [0, 1], \"textures\": [" + textures + "], \"materials\": [" +
                           materials + "], \"nodes\": [" + nodes + "]}";
        for (size_t at = json.find("$T/"); at != std::string::npos; at = json.find("$T/"))
            json.replace(at, 2, m_textures);
        for (size_t at = json.find("$E/"); at != std::string::npos; at = json.find("$E/"))
            json.replace(at, 2, m_temp / "elsewhere");
        m_pScene = exporter_test::ReadScene(json);
        m_pExport = std::make_unique<SGMExport>();
        ASSERT_NE(m_pScene, nullptr);
    }

    std::vector<ShaderListEntry*> Collect(const char* nodeName, std::vector<bool> used = {true})
    {
        std::vector<ShaderListEntry*> list;
        if (host::INode* pNode = Node(nodeName))
            m_pExport->CollectShaders(pNode, list, m_options, &used);
        else
            ADD_FAILURE() << "no node " << nodeName;
        return list;
    }

    // The shader of the node's one material, or of its wire colour.
    ShaderImp* ShaderOf(const char* nodeName)
    {
        std::vector<ShaderListEntry*> list = Collect(nodeName);
        if (list.size() != 1 || list[0]->pShader == nullptr)
        {
            ADD_FAILURE() << "no shader for " << nodeName;
            static ShaderImp s_blank("blank");
            return &s_blank;
        }
        return list[0]->pShader;
    }

    static int Count(const std::string& message)
    {
        return int(std::count(Messages().begin(), Messages().end(), message));
    }
    static const char* InventoryName(Inv::NamedResource* pResource) { return pResource->GetName(); }

    TempFolder m_temp;
    std::string m_textures;
};

TEST_F(ShaderTest, EachMaterialBecomesOneShaderForAllItsMeshes)
{
    Read(
        "",
        R"({"name": "Multi", "class": "multi", "subMaterials": ["Red", "Green", "Blue"]},
            {"name": "Red", "class": "standard", "diffuse": [1, 0, 0]},
            {"name": "Green", "class": "standard", "diffuse": [0, 1, 0]},
            {"name": "Blue", "class": "standard", "diffuse": [0, 0, 1]})",
        R"({"name": "A", "material": "Blue"}, {"name": "B", "material": "Multi"}, {"name": "C", "material": "Blue"})");
    std::vector<ShaderListEntry*> a = Collect("A");
    std::vector<ShaderListEntry*> b = Collect("B", {true, false, true});
    std::vector<ShaderListEntry*> c = Collect("C");
    ASSERT_EQ(b.size(), 2u);
    EXPECT_EQ(b[0]->pShader->GetColour(0), 0xFF0000FFu);
    EXPECT_EQ(b[1], a[0]);
    EXPECT_EQ(c[0], a[0]);
    // Green is used by no face, so no shader was made of it.
    ASSERT_EQ(m_pExport->GetShaderList().size(), 2u);
    EXPECT_EQ(m_pExport->FindShaderEntry(Node("B")->GetMtl()->GetSubMtl(0)), 1);
    EXPECT_EQ(m_pExport->FindShaderEntry(Node("B")->GetMtl()->GetSubMtl(1)), -1);
    EXPECT_TRUE(Collect("A", {false}).empty());

    Inv::Resource* pFound = nullptr;
    ASSERT_TRUE(Inv::Warehouse::Get()->Find(&pFound, "Blue", Shader::GetTypeInfo()));
    EXPECT_EQ(pFound->GetData(), static_cast<Inv::NamedResource*>(a[0]->pShader));
    EXPECT_TRUE(Messages().empty());
}

TEST_F(ShaderTest, MissingMaterialTakesTheWireColour)
{
    Read(
        "",
        R"({"name": "Multi", "class": "multi", "subMaterials": [null, "Mat", null]}, {"name": "Mat", "class": "standard"})",
        R"({"name": "Box", "wireColor": [200, 30, 30]}, {"name": "Holes", "material": 0, "wireColor": [1, 2, 3]})");
    std::vector<ShaderListEntry*> box = Collect("Box");
    ASSERT_EQ(box.size(), 1u);
    EXPECT_EQ(box[0]->pMtl, nullptr);
    EXPECT_EQ(box[0]->pShader->GetColour(0), 0xFF1E1EC8u);
    EXPECT_STREQ(InventoryName(box[0]->pShader), "box");
    EXPECT_EQ(Count("Warning : Object [Box] has no material assigned to it."), 1);

    // Empty slots of a Multi/Sub-Object share one wire colour shader; no warning without meshes.
    m_options.exportMeshes = false;
    std::vector<ShaderListEntry*> holes = Collect("Holes", {true, true, true});
    ASSERT_EQ(holes.size(), 3u);
    EXPECT_EQ(holes[0], holes[2]);
    EXPECT_EQ(holes[0]->pShader->GetColour(0), 0xFF030201u);
    EXPECT_EQ(Messages().size(), 1u);
}

TEST_F(ShaderTest, UnsupportedClassesAreErrorsAndLeaveBlankShaders)
{
    Read(R"({"name": "Check", "class": [4369, 0], "className": "Checker"})",
         R"({"name": "Outer", "class": "multi", "subMaterials": ["Inner"]},
            {"name": "Inner", "class": "multi", "subMaterials": []},
            {"name": "Glass", "class": [4660, 22136], "className": "Raytrace", "superClass": 3072},
            {"name": "Mat", "class": "standard", "maps": {"diffuse": {"texmap": "Check"}}})",
         R"({"name": "A", "material": "Outer"}, {"name": "B", "material": "Outer"},
            {"name": "C", "material": "Glass"}, {"name": "D", "material": "Mat"})");
    for (const char* node : {"A", "B", "C", "D"})
        EXPECT_EQ(Collect(node).size(), 1u) << node;
    // The nested one is reported by its first build only.
    EXPECT_EQ(Count("Error   : Nested multi-sub objects not supported.  \"Multi/Sub-Object\" is nested."), 1);
    EXPECT_EQ(Count("Error   : Unsupported material type \"Raytrace\" [Glass] : Class_ID(1234,5678)"), 1);
    EXPECT_EQ(Count("Error   : Unsupported texture type:[Checker] name:[Check]"), 1);
    EXPECT_EQ(SGMErrors::Get()->GetErrorCount(), 3);
    ASSERT_EQ(m_pExport->GetShaderList().size(), 3u);
    EXPECT_EQ(m_pExport->GetShaderList()[0]->sortKey, 0);
    EXPECT_EQ(m_pExport->GetShaderList()[2]->pShader->GetMethod(0), Shader::Method_Colour);
}

TEST_F(ShaderTest, ColoursBecomeBytesAtTheExportTime)
{
    Read("",
         R"({"name": "Mat", "class": "standard", "twoSided": true, "shading": 0,
             "diffuse": {"frames": [[0, 0, 0], [0.5, 0.25, 1]]}, "specular": [1, 0, 0.999],
             "glossiness": 0.3, "selfIllum": 0.5, "opacity": 0.5},
            {"name": "Glow", "class": "standard", "selfIllum": 1, "selfIllumColorOn": true,
             "selfIllumColor": [0, 1, 0.5]})",
         R"({"name": "A", "material": 0}, {"name": "B", "material": 1})");
    m_options.time = 160; // frame 1
    ShaderImp* pShader = ShaderOf("A");
    EXPECT_EQ(pShader->GetColour(Shader::CN_Diffuse), 0xFFFF3F7Fu);
    EXPECT_EQ(pShader->GetColour(Shader::CN_Specular), 0xFFFE00FFu);
    EXPECT_EQ(pShader->GetColour(Shader::CN_SelfIllumination), 0xFF7F7F7Fu);
    EXPECT_EQ(pShader->GetColour(Shader::CN_Opacity), 0x7FFFFFFFu);
    EXPECT_EQ(pShader->GetByte(), 1);
    EXPECT_EQ(pShader->GetInt(), 0);
    EXPECT_FLOAT_EQ(pShader->GetFloat(), 0.3f);
    EXPECT_EQ(ShaderOf("B")->GetColour(Shader::CN_SelfIllumination), 0xFF7FFF00u);
}

TEST_F(ShaderTest, SpecularLevelAboveOneTwentiethWarns)
{
    Read("",
         R"({"name": "Faint", "class": "standard", "specularLevel": 0.05},
            {"name": "Shiny", "class": "standard", "specularLevel": 0.051},
            {"name": "Full", "class": "standard", "specularLevel": 1.5})",
         R"({"name": "A", "material": 0}, {"name": "B", "material": 1}, {"name": "C", "material": 2})");
    EXPECT_EQ(ShaderOf("A")->GetColour(Shader::CN_Fifth), 0xFF000000u);
    EXPECT_TRUE(Messages().empty());
    // 0.051 * 255.99 is 13.06.
    EXPECT_EQ(ShaderOf("B")->GetColour(Shader::CN_Fifth), 0xFF0D0D0Du);
    EXPECT_EQ(
        Count("Warning : Shader [Shiny] has a specular level that is not 0.  This may not render properly."),
        1);
    EXPECT_EQ(ShaderOf("C")->GetColour(Shader::CN_Fifth), 0xFFFFFFFFu);
}

TEST_F(ShaderTest, TransparencyTypeSetsBlendAndSortKey)
{
    Read(R"({"name": "Glass", "class": "bitmap", "file": "$T/glass.tga"})",
         R"({"name": "Sub", "class": "standard", "transparencyType": "subtractive",
             "maps": {"diffuse": {"texmap": "Glass"}}},
            {"name": "Add", "class": "standard", "transparencyType": "additive"},
            {"name": "Plain", "class": "standard", "opacity": 0.5},
            {"name": "Filter", "class": "standard", "maps": {"diffuse": {"texmap": "Glass"}}})",
         R"({"name": "A", "material": 0}, {"name": "B", "material": 1},
            {"name": "C", "material": 2}, {"name": "D", "material": 3})");
    // Images load with an alpha channel, so a bitmap under alpha blending is transparent; without
    // one the diffuse alpha decides, and it is always 0xFF.
    const struct
    {
        const char* node;
        int32 source, destination, sortKey;
    } cExpect[] = {{"A", 1, 0, 0}, {"B", 1, 1, 0}, {"C", 6, 7, 0}, {"D", 6, 7, 1}};
    for (const auto& expect : cExpect)
    {
        std::vector<ShaderListEntry*> list = Collect(expect.node);
        ASSERT_EQ(list.size(), 1u);
        int32 source = -1, destination = -1;
        list[0]->pShader->GetBlend(source, destination);
        EXPECT_EQ(source, expect.source) << expect.node;
        EXPECT_EQ(destination, expect.destination) << expect.node;
        EXPECT_EQ(list[0]->sortKey, expect.sortKey) << expect.node;
    }
}

TEST_F(ShaderTest, BitmapSlotsLoadTexturesAndSetModes)
{
    Read(R"({"name": "Wood", "class": "bitmap", "file": "$T/wood.tga", "filter": "summedArea",
             "uvGen": {"mapChannel": 2}},
            {"name": "Clamp", "class": "bitmap", "file": "$T/wood.tga", "filter": "none", "uvGen": {"tiling": 0}},
            {"name": "Pyramid", "class": "bitmap", "file": "$T/glass.tga", "filter": "pyramidal"},
            {"name": "Metal", "class": "bitmap", "file": "$T/texture_share_metal.tga"})",
         R"({"name": "Mat", "class": "standard",
             "maps": {"diffuse": {"texmap": "Wood"}, "opacity": {"texmap": "Clamp"},
                      "specular": {"texmap": null}, "reflection": {"enabled": false, "texmap": "Pyramid"},
                      "specularLevel": {"texmap": "Pyramid"}}},
            {"name": "Plate", "class": "standard", "maps": {"diffuse": {"texmap": "Metal"}}},
            {"name": "Rivet", "class": "standard", "maps": {"opacity": {"texmap": "Metal"}}})",
         R"({"name": "A", "material": 0}, {"name": "B", "material": 1}, {"name": "C", "material": 2})");
    ShaderImp* pShader = ShaderOf("A");
    EXPECT_EQ(pShader->GetMethod(0), Shader::Method_Texture);
    ASSERT_TRUE(pShader->GetTexture(0).IsValid());
    EXPECT_STREQ(pShader->GetTexture(0).Get()->GetName(), "wood");
    EXPECT_EQ(pShader->GetAddressMode(0), 1);
    EXPECT_EQ(pShader->GetFilterMode(0), 5);
    EXPECT_EQ(pShader->GetCoordMode(0), 1);
    // One file is one texture.
    EXPECT_EQ(pShader->GetTexture(Shader::CN_Opacity), pShader->GetTexture(0));
    EXPECT_EQ(pShader->GetAddressMode(Shader::CN_Opacity), 0);
    EXPECT_EQ(pShader->GetFilterMode(Shader::CN_Opacity), 0);
    EXPECT_EQ(pShader->GetFilterMode(Shader::CN_Fifth), 4);
    // Enabled but empty, or disabled: colour, and not a word about it.
    EXPECT_EQ(pShader->GetMethod(Shader::CN_Specular), Shader::Method_Colour);
    EXPECT_EQ(pShader->GetMethod(Shader::CN_Reflection), Shader::Method_Colour);
    EXPECT_EQ(
        Messages(),
        std::vector<std::string>{
            "Warning : Shader [Mat] has a specular level map specified.  This may not render properly."});

    // A shared texture on the diffuse channel names the shader.
    EXPECT_STREQ(InventoryName(ShaderOf("B")), "texture_share_metal");
    EXPECT_STREQ(InventoryName(ShaderOf("C")), "rivet");
}

TEST_F(ShaderTest, TileModesMustAgree)
{
    const std::string textures = R"({"name": "Mixed", "class": "bitmap", "file": "$T/wood.tga",
                                     "uvGen": {"uMode": "wrap", "vMode": "mirror"}},
                                    {"name": "Mirror", "class": "bitmap", "file": "$T/wood.tga",
                                     "uvGen": {"uMode": "mirror", "vMode": "mirror"}})";
    const std::string materials =
        R"({"name": "M1", "class": "standard", "maps": {"diffuse": {"texmap": "Mixed"}}},
                                     {"name": "M2", "class": "standard", "maps": {"diffuse": {"texmap": "Mirror"}}})";
    const std::string nodes = R"({"name": "A", "material": 0}, {"name": "B", "material": 1})";
    Read(textures, materials, nodes);
    EXPECT_EQ(ShaderOf("A")->GetAddressMode(0), 1);
    EXPECT_EQ(
        Count("Warning : Texture [Mixed] must have both U and V tile modes as the same.  Assuming tiling."),
        1);
    ShaderImp* pMirrored = ShaderOf("B");
    EXPECT_EQ(pMirrored->GetAddressMode(0), 2);
    EXPECT_EQ(Count("Error   : Mirroring is not properly supported in shader [M2]."), 1);
    // The one slot shares its matrix with itself: the channel's second transform.
    EXPECT_MATRIX(Rows({{2, 0, 0}, {0, 2, 0}}), pMirrored->GetTransform2(0));

    SGMErrors::Get()->Clear();
    m_options.exportMeshes = false;
    Read(textures, materials, nodes);
    EXPECT_EQ(ShaderOf("B")->GetAddressMode(0), 2);
    EXPECT_EQ(SGMErrors::Get()->GetErrorCount(), 0);
}

TEST_F(ShaderTest, TexturesThatDoNotLoadWarnOnlyWhenMeshesAreExported)
{
    const std::string textures = R"({"name": "Gone", "class": "bitmap", "file": "$T/missing.tga"},
                                    {"name": "Stray", "class": "bitmap", "file": "$E/stray.tga"})";
    const std::string materials =
        R"({"name": "Mat", "class": "standard", "maps": {"diffuse": {"texmap": "Gone"},
                                                              "opacity": {"texmap": "Stray"}}})";
    Read(textures, materials, R"({"name": "A", "material": 0})");
    ShaderImp* pShader = ShaderOf("A");
    EXPECT_EQ(pShader->GetMethod(0), Shader::Method_Colour);
    EXPECT_EQ(pShader->GetMethod(Shader::CN_Opacity), Shader::Method_Colour);
    EXPECT_EQ(Messages(), (std::vector<std::string>{
                              "Warning : Unable to load texture '" + m_textures + "/missing.tga'!",
                              "Warning : Unable to load texture '" + (m_temp / "elsewhere/stray.tga") +
                                  "' - please ensure it is in the model 'Textures' folder!"}));

    SGMErrors::Get()->Clear();
    m_options.exportMeshes = false;
    Read(textures, materials, R"({"name": "A", "material": 0})");
    EXPECT_EQ(ShaderOf("A")->GetMethod(0), Shader::Method_Colour);
    EXPECT_TRUE(Messages().empty());
}

TEST_F(ShaderTest, GeneratorDecidesTheCoordinateSource)
{
    Read(
        R"({"name": "None", "class": "bitmap", "file": "$T/wood.tga", "uvGen": null},
            {"name": "Sphere", "class": "bitmap", "file": "$T/wood.tga",
             "uvGen": {"mapping": "sphericalEnvironment", "uTiling": 3}},
            {"name": "Screen", "class": "bitmap", "file": "$T/wood.tga", "uvGen": {"mapping": "screen", "uTiling": 3}})",
        R"({"name": "Mat", "class": "standard", "maps": {"diffuse": {"texmap": "None"}, "reflection": {"texmap": "Sphere"},
                                     "selfIllumination": {"texmap": "Screen"}}})",
        R"({"name": "A", "material": 0})");
    ShaderImp* pShader = ShaderOf("A");
    EXPECT_EQ(Count("Warning : Texture [None] does not have a UVGen."), 1);
    EXPECT_EQ(pShader->GetMethod(0), Shader::Method_Texture);
    EXPECT_EQ(pShader->GetFilterMode(0), 0);

    EXPECT_EQ(pShader->GetCoordMode(Shader::CN_Reflection), 6);
    const fr::Matrix44 half = Rows({{0.5f, 0, 0}, {0, 0.5f, 0}, {0, 0, 1}, {0.5f, 0.5f, 0}});
    EXPECT_MATRIX(half, pShader->GetTransform(Shader::CN_Reflection));
    EXPECT_MATRIX(half, pShader->GetBaseTransform(Shader::CN_Reflection));
    // Other view-dependent mappings keep the identity and the default source.
    EXPECT_EQ(pShader->GetCoordMode(Shader::CN_SelfIllumination), 0);
    EXPECT_MATRIX(fr::Matrix44::Identity(), pShader->GetTransform(Shader::CN_SelfIllumination));
}

TEST_F(ShaderTest, TextureUVMatrixTurnsAboutTheMapCentre)
{
    Read(
        R"({"name": "Wood", "class": "bitmap", "file": "$T/wood.tga",
             "uvGen": {"uTiling": 2, "vTiling": 3, "uOffset": 0.25}},
            {"name": "Mirror", "class": "bitmap", "file": "$T/wood.tga",
             "uvGen": {"uTiling": 2, "vTiling": 3, "tiling": 12}},
            {"name": "Check", "class": [4369, 0], "className": "Checker"})",
        R"({"name": "M0", "class": "standard", "maps": {"diffuse": {"texmap": 0}}}, {"name": "M1", "class": "standard", "maps": {"diffuse": {"texmap": 1}}},
            {"name": "M2", "class": "standard", "maps": {"diffuse": {"texmap": 2}}}, {"name": "Multi", "class": "multi", "subMaterials": []})",
        R"({"name": "A", "material": 0}, {"name": "B", "material": 1}, {"name": "C", "material": 2},
            {"name": "D", "material": 3})");
    auto texmap = [&](const char* node) { return Node(node)->GetMtl()->GetSubTexmap(host::ID_DI); };

    // Translation: -0.5 * 2 + 0.5 - 0.25 = -0.75 and -0.5 * 3 + 0.5 = -1.
    fr::Matrix44 m;
    ASSERT_TRUE(GetTextureUVMatrix(texmap("A"), m));
    EXPECT_MATRIX(Rows({{2, 0, 0}, {0, 3, 0}, {0, 0, 1}, {-0.75f, -1, 0}}), m);
    const host::Point3 uv = TransformUV(m, {1, 1, 0});
    EXPECT_FLOAT_EQ(uv.x, 1.25f);
    EXPECT_FLOAT_EQ(uv.y, 2.0f);
    ASSERT_TRUE(GetTextureUVMatrix(texmap("B"), m));
    EXPECT_MATRIX(Rows({{4, 0, 0}, {0, 6, 0}, {0, 0, 1}, {-1, -2, 0}}), m);
    EXPECT_FALSE(GetTextureUVMatrix(texmap("C"), m));
    EXPECT_FALSE(GetTextureUVMatrix(nullptr, m));

    // Materials without bitmap slots bake the identity.
    for (host::Mtl* pMtl : {Node("C")->GetMtl(), Node("D")->GetMtl(), static_cast<host::Mtl*>(nullptr)})
    {
        m = Rows({{9, 9, 9, 9}});
        GetMaterialUVMatrix(m, pMtl);
        EXPECT_MATRIX(fr::Matrix44::Identity(), m);
        EXPECT_TRUE(HasSharedUVMatrix(pMtl));
    }
}

TEST_F(ShaderTest, SlotsBakeTheirMatrixOnlyWhenTheyShareIt)
{
    Read(
        R"({"name": "Wide", "class": "bitmap", "file": "$T/wood.tga", "uvGen": {"uTiling": 2}},
            {"name": "Shifted", "class": "bitmap", "file": "$T/glass.tga", "uvGen": {"vOffset": 0.5}},
            {"name": "Tall", "class": "bitmap", "file": "$T/wood.tga", "uvGen": {"vTiling": 5}})",
        R"({"name": "Apart", "class": "standard", "maps": {"diffuse": {"texmap": "Wide"}, "opacity": {"texmap": "Shifted"}}},
            {"name": "Together", "class": "standard", "maps": {"diffuse": {"texmap": "Wide"}, "specular": {"texmap": "Wide"},
                                          "reflection": {"texmap": "Tall"},
                                          "opacity": {"enabled": false, "texmap": "Tall"}}})",
        R"({"name": "A", "material": 0}, {"name": "B", "material": 1})");
    const fr::Matrix44 wide = Rows({{2, 0, 0}, {0, 1, 0}, {0, 0, 1}, {-0.5f, 0, 0}});
    fr::Matrix44 baked;

    // Different matrices: nothing baked, each channel transforms by its own.
    EXPECT_FALSE(HasSharedUVMatrix(Node("A")->GetMtl()));
    GetMaterialUVMatrix(baked, Node("A")->GetMtl());
    EXPECT_MATRIX(fr::Matrix44::Identity(), baked);
    ShaderImp* pApart = ShaderOf("A");
    EXPECT_MATRIX(wide, pApart->GetTransform(0));
    EXPECT_MATRIX(wide, pApart->GetBaseTransform(0));
    EXPECT_MATRIX(Rows({{1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {0, -0.5f, 0}}),
                  pApart->GetTransform(Shader::CN_Opacity));
    EXPECT_MATRIX(fr::Matrix44::Identity(), pApart->GetTransform2(0));

    // The same matrix (the reflection slot is an environment slot and the opacity slot is off):
    // baked, the identity as transform and the matrix as the second one.
    EXPECT_TRUE(HasSharedUVMatrix(Node("B")->GetMtl()));
    GetMaterialUVMatrix(baked, Node("B")->GetMtl());
    EXPECT_MATRIX(wide, baked);
    ShaderImp* pTogether = ShaderOf("B");
    for (uint32 n : {uint32(Shader::CN_Diffuse), uint32(Shader::CN_Specular)})
    {
        EXPECT_MATRIX(fr::Matrix44::Identity(), pTogether->GetTransform(n));
        EXPECT_MATRIX(wide, pTogether->GetTransform2(n));
    }
}
} // namespace
