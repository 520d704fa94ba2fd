// Materials into shaders, from small scenes whose bitmaps are tiny TGA files in a project of their
// own (so textures get their names below the data root).
#include "exporter_fixture.h"
#include "model/shader/shaderimp.h"
#include "model/shader/texture.h"

namespace
{
using exporter_test::Messages;

std::string TinyTGA()
{
    std::string data(18, '\0');
    data[2] = 2; // uncompressed true colour, 2 by 2, 24 bits
    data[12] = data[14] = 2;
    data[16] = 24;
    return data + std::string(2 * 2 * 3, '\x40');
}

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
    }

    // A scene of these textures, materials and nodes; "$T/" stands for the project's texture folder.
    void Read(const std::string& textures, const std::string& materials, const std::string& nodes)
    {
        std::string json = "{\"animationRange\": [0, 1], \"textures\": [" + textures + "], \"materials\": [" +
                           materials + "], \"nodes\": [" + nodes + "]}";
        for (size_t at = json.find("$T/"); at != std::string::npos; at = json.find("$T/"))
            json.replace(at, 2, m_textures);
        m_pScene = exporter_test::ReadScene(json);
        m_pExport = std::make_unique<SGMExport>();
    }

    std::vector<ShaderListEntry*> Collect(const char* nodeName, std::vector<bool> used = {true})
    {
        std::vector<ShaderListEntry*> list;
        m_pExport->CollectShaders(Node(nodeName), list, m_options, &used);
        return list;
    }
    // The shader of the node's one material, or of its wire colour.
    ShaderImp* ShaderOf(const char* nodeName)
    {
        std::vector<ShaderListEntry*> list = Collect(nodeName);
        static ShaderImp s_blank("blank");
        if (list.size() == 1 && list[0]->pShader != nullptr)
            return list[0]->pShader;
        ADD_FAILURE() << "no shader for " << nodeName;
        return &s_blank;
    }

    TempFolder m_temp;
    std::string m_textures;
};

TEST_F(ShaderTest, EachMaterialBecomesOneShaderForAllItsMeshesAndMissingOnesTakeTheWireColour)
{
    Read("",
         R"({"name": "Multi", "class": "multi", "subMaterials": ["Red", "Green", "Blue"]},
            {"name": "Red", "class": "standard", "diffuse": [1, 0, 0]}, {"name": "Green", "class": "standard"},
            {"name": "Blue", "class": "standard", "diffuse": [0, 0, 1]},
            {"name": "Holes", "class": "multi", "subMaterials": [null, "Red", null]})",
         R"({"name": "A", "material": "Blue"}, {"name": "B", "material": "Multi"},
            {"name": "Box", "wireColor": [200, 30, 30]}, {"name": "H", "material": "Holes", "wireColor": [1, 2, 3]})");
    std::vector<ShaderListEntry*> a = Collect("A");
    std::vector<ShaderListEntry*> b = Collect("B", {true, false, true});
    ASSERT_EQ(b.size(), 2u);
    EXPECT_EQ(b[0]->pShader->GetColour(0), 0xFF0000FFu);
    EXPECT_EQ(b[1], a[0]);
    // Green is used by no face, so no shader was made of it.
    ASSERT_EQ(m_pExport->GetShaderList().size(), 2u);
    EXPECT_EQ(m_pExport->FindShaderEntry(Node("B")->GetMtl()->GetSubMtl(1)), -1);
    EXPECT_TRUE(Messages().empty());

    std::vector<ShaderListEntry*> box = Collect("Box");
    ASSERT_EQ(box.size(), 1u);
    EXPECT_EQ(box[0]->pMtl, nullptr);
    EXPECT_EQ(box[0]->pShader->GetColour(0), 0xFF1E1EC8u);
    EXPECT_STREQ(static_cast<Inv::NamedResource*>(box[0]->pShader)->GetName(), "box");
    EXPECT_EQ(Messages(), std::vector<std::string>{"Warning : Object [Box] has no material assigned to it."});
    // Empty slots of a Multi/Sub-Object share one wire colour shader; no warning without meshes.
    m_options.exportMeshes = false;
    std::vector<ShaderListEntry*> holes = Collect("H", {true, true, true});
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
    EXPECT_EQ(Messages(),
              (std::vector<std::string>{
                  "Error   : Nested multi-sub objects not supported.  \"Multi/Sub-Object\" is nested.",
                  "Error   : Unsupported material type \"Raytrace\" [Glass] : Class_ID(1234,5678)",
                  "Error   : Unsupported texture type:[Checker] name:[Check]"}));
    ASSERT_EQ(m_pExport->GetShaderList().size(), 3u);
    EXPECT_EQ(m_pExport->GetShaderList()[2]->pShader->GetMethod(0), Shader::Method_Colour);
}

TEST_F(ShaderTest, ColoursBecomeBytesAtTheExportTimeAndSpecularLevelAboveOneTwentiethWarns)
{
    Read("",
         R"({"name": "Mat", "class": "standard", "twoSided": true, "shading": 0,
             "diffuse": {"frames": [[0, 0, 0], [0.5, 0.25, 1]]}, "specular": [1, 0, 0.999],
             "glossiness": 0.3, "selfIllum": 0.5, "opacity": 0.5, "specularLevel": 0.05},
            {"name": "Glow", "class": "standard", "selfIllum": 1, "selfIllumColorOn": true,
             "selfIllumColor": [0, 1, 0.5], "specularLevel": 0.051},
            {"name": "Full", "class": "standard", "specularLevel": 1.5})",
         R"({"name": "A", "material": 0}, {"name": "B", "material": 1}, {"name": "C", "material": 2})");
    m_options.time = 160; // frame 1
    ShaderImp* pShader = ShaderOf("A");
    EXPECT_EQ((std::vector<uint32>{pShader->GetColour(0), pShader->GetColour(1), pShader->GetColour(3),
                                   pShader->GetColour(4), pShader->GetColour(5)}),
              (std::vector<uint32>{0xFFFF3F7F, 0xFFFE00FF, 0xFF7F7F7F, 0x7FFFFFFF, 0xFF000000}));
    EXPECT_EQ(std::tuple(pShader->GetByte(), pShader->GetInt(), pShader->GetFloat()), std::tuple(1, 0, 0.3f));
    EXPECT_TRUE(Messages().empty());
    ShaderImp* pGlow = ShaderOf("B");
    EXPECT_EQ(pGlow->GetColour(Shader::CN_SelfIllumination), 0xFF7FFF00u);
    EXPECT_EQ(pGlow->GetColour(Shader::CN_Fifth), 0xFF0D0D0Du); // 0.051 * 255.99 is 13.06
    EXPECT_EQ(Messages(),
              std::vector<std::string>{"Warning : Shader [Glow] has a specular level that is not 0.  "
                                       "This may not render properly."});
    EXPECT_EQ(ShaderOf("C")->GetColour(Shader::CN_Fifth), 0xFFFFFFFFu);
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
    EXPECT_EQ(std::tuple(pShader->GetAddressMode(0), pShader->GetFilterMode(0), pShader->GetCoordMode(0)),
              std::tuple(1, 5, 1));
    EXPECT_EQ(pShader->GetTexture(Shader::CN_Opacity), pShader->GetTexture(0)); // one file, one texture
    EXPECT_EQ(pShader->GetAddressMode(Shader::CN_Opacity) + pShader->GetFilterMode(Shader::CN_Opacity), 0);
    EXPECT_EQ(pShader->GetFilterMode(Shader::CN_Fifth), 4);
    // Enabled but empty, or disabled: colour, and not a word about it.
    EXPECT_EQ(pShader->GetMethod(Shader::CN_Specular), Shader::Method_Colour);
    EXPECT_EQ(pShader->GetMethod(Shader::CN_Reflection), Shader::Method_Colour);
    EXPECT_EQ(Messages(),
              std::vector<std::string>{"Warning : Shader [Mat] has a specular level map specified.  "
                                       "This may not render properly."});
    // A shared texture on the diffuse channel names the shader.
    EXPECT_STREQ(static_cast<Inv::NamedResource*>(ShaderOf("B"))->GetName(), "texture_share_metal");
    EXPECT_STREQ(static_cast<Inv::NamedResource*>(ShaderOf("C"))->GetName(), "rivet");
}

} // namespace
