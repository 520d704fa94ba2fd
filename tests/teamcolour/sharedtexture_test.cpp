// Shared textures: the name rule, the shared flags of a model's shaders, and the export of each
// shared shader once, its pattern first, with its flag as it was.
#include "teamcolour/sharedtexture.h"

#include "foundation/debug.h"
#include "model/file/generic/shaderloadgeneric.h"
#include "model/mesh/mesh_test_util.h"
#include "model/mesh/meshgroup.h"
#include "model/rendermodel.h"
#include "support/logcapture.h"
#include "teamcolour/exporttree.h"
#include "teamcolour/pattern.h"

#include <gtest/gtest.h>

using teamcolour_test::ExportTree;
using teamcolour_test::Pixel;

namespace
{
TEST(IsSharedTexture, LooksForTextureShareInAnyCase)
{
    struct Case
    {
        const char* name;
        bool shared;
    } cases[] = {
        {"art\\texture_share\\crate", true},   {"ART\\Texture_Share\\crate", true},
        {"art/TEXTURE_SHARE_old/x.tga", true}, {"mytexture_shares", true},
        {"art\\texture-share\\crate", false},  {"art\\texture_shar\\e", false},
        {"art\\texture\\share", false},        {"", false},
    };
    for (const Case& c : cases)
        EXPECT_EQ(TeamColour::IsSharedTexture(c.name), c.shared) << c.name;
    dbg::ScopedThrowOnAssert quiet(false);
    LogCapture log;
    EXPECT_FALSE(TeamColour::IsSharedTexture(nullptr));
}

class SharedShaderTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(m_tree.IsReady());
        m_crate = model_test::AddShader("texture_share\\crate", 0xFF102030);
        m_body = model_test::AddShader("units\\scout\\body");
        m_barrel = model_test::AddShader("Texture_Share\\barrel", 0xFF405060);
        // Two meshes use the crate.
        auto pGroup = std::make_unique<ra::MeshGroup>();
        pGroup->SetMeshCount(3);
        const std::vector<std::vector<Inv::Reference<Shader>>> cUse = {
            {m_crate, m_body}, {m_crate}, {m_barrel}};
        for (int32 i = 0; i < 3; ++i)
        {
            const std::string name = "mesh" + std::to_string(i);
            ra::MeshRef ref;
            ref.mesh = model_test::AddMesh(model_test::MakeMesh(name.c_str(), cUse[size_t(i)]));
            ref.name = ra::MakeName(name.c_str());
            pGroup->SetMesh(i, ref);
        }
        m_model.SetMeshGroup(std::move(pGroup));
        m_crate->SetShared(true);
        m_barrel->SetShared(true);
        m_tree.WriteImage("src/texture_share/crate.tga", 16, 16, [](uint32, uint32) { return Pixel{}; });
        m_tree.WriteMask("src/texture_share/crate_default_primary.tga", 16, 255);
    }
    bool Export() { return TeamColour::ExportSharedShaders(m_merge.c_str(), m_model); }

    model_test::Env m_env;
    ExportTree m_tree;
    RenderModel m_model{"scout"};
    Inv::Reference<Shader> m_crate, m_body, m_barrel;
    const std::string m_merge = m_tree.Tool("gen/units/scout/scout.sgm");
};

TEST_F(SharedShaderTest, MarkSharedTexturesSetsEachShaderByItsName)
{
    m_crate->SetShared(false);
    m_body->SetShared(true);
    TeamColour::MarkSharedTextures(m_model);
    EXPECT_TRUE(m_crate->IsShared());
    EXPECT_FALSE(m_body->IsShared());
    EXPECT_TRUE(m_barrel->IsShared());
}

TEST_F(SharedShaderTest, EachSharedShaderGoesOutOnceAfterItsPattern)
{
    ASSERT_TRUE(Export());
    EXPECT_EQ(m_tree.m_cCalls, (std::vector<std::string>{
                                   "open gen/texture_share/crate_default.tqp",
                                   "burn gen/texture_share/crate_default.tqp 42",
                                   "open gen/texture_share/crate.vds",
                                   "burn gen/texture_share/crate.vds 42",
                                   // No companion images: no pattern, and no revision control for one.
                                   // The inventory keeps names in lower case.
                                   "open gen/texture_share/barrel.vds",
                                   "burn gen/texture_share/barrel.vds 42",
                               }));
    EXPECT_FALSE(m_tree.Exists("gen/units/scout/body.vds"));
    EXPECT_TRUE(m_crate->IsShared()) << "the flag is set again after the save";
    EXPECT_TRUE(m_barrel->IsShared());
    EXPECT_FALSE(m_body->IsShared());

    // The file holds the shader whole, not a reference to itself.
    std::unique_ptr<Shader> pRead =
        ShaderLoadGeneric::LoadSharedFile(m_tree.Tool("gen/texture_share/crate.vds").c_str());
    ASSERT_NE(pRead, nullptr);
    EXPECT_EQ(pRead->GetColour(Shader::CN_Diffuse), 0xFF102030u);
    EXPECT_FALSE(pRead->IsShared());
}

TEST_F(SharedShaderTest, FailedPatternLeavesNoShaderFile)
{
    m_tree.WriteMask("src/texture_share/crate_default_trim.tga", 8, 255);
    EXPECT_THROW(Export(), std::runtime_error);
    EXPECT_FALSE(m_tree.Exists("gen/texture_share/crate.vds"));
    EXPECT_TRUE(m_tree.m_cCalls.empty());
}

TEST_F(SharedShaderTest, FailuresKeepTheSharedFlag)
{
    std::filesystem::remove(m_tree.Path("src/texture_share/crate_default_primary.tga"));
    const std::string target = ExportTree::Backslashed(m_tree.Path("gen/texture_share/crate.vds"));

    const auto exportCrate = [this] { TeamColour::ExportSharedShader("art", m_crate.Get()); };
    m_tree.m_openResult = false;
    EXPECT_EQ(
        teamcolour_test::ErrorOf(exportCrate),
        "Merge: Unable to open shared texture '" + target +
            "' in P4!  Please make sure no one else has it checked-out in P4 (Data Generic / Data Final)!\n");
    EXPECT_FALSE(m_tree.Exists("gen/texture_share/crate.vds"));

    m_tree.m_openResult = true;
    m_tree.m_burnResult = false;
    EXPECT_EQ(teamcolour_test::BareTextOf(exportCrate),
              "Merge: Unable to burn shared texture '" + target +
                  "' pattern in P4!  Please make sure no one else has it checked-out in P4 (Data Generic / "
                  "Data Final)!\n");
    EXPECT_TRUE(m_crate->IsShared());
    EXPECT_TRUE(m_tree.Exists("gen/texture_share/crate.vds")) << "written before the burn";
}

TEST_F(SharedShaderTest, MergeFileOutsideEveryProjectIsRefused)
{
    dbg::ScopedThrowOnAssert quiet(false);
    LogCapture log;
    EXPECT_FALSE(TeamColour::ExportSharedShaders(m_tree.Tool("elsewhere/scout.sgm").c_str(), m_model));
    EXPECT_TRUE(m_tree.m_cCalls.empty());
}
} // namespace
