#include "model/shader/shaderimp.h"

#include "foundation/debug.h"
#include "model/shader/shader_test_env.h"
#include "support/logcapture.h"

#include <gtest/gtest.h>

#include <stdexcept>

using model_test::Env;
using model_test::RenderTree;
using Node = fr::Shader::NodeId;

namespace
{
constexpr Node None = fr::Shader::InvalidNode;
} // namespace

TEST(ShaderTree, MethodDecidesTheChannelNodes)
{
    Env env;
    auto texture = model_test::AddTexture("bricks.tga", fr::PF_R8G8B8);
    ShaderImp shader("methods");
    shader.SetTexture(Shader::CN_Diffuse, texture);
    fr::Matrix44 m = fr::Matrix44::Identity();
    m.m[3][0] = 0.5f;
    shader.SetTransform(Shader::CN_Diffuse, m);
    shader.SetAddressMode(Shader::CN_Diffuse, 1);
    shader.SetFilterMode(Shader::CN_Diffuse, 4);
    shader.SetCoordMode(Shader::CN_Diffuse, 2);
    shader.SetColour(Shader::CN_Diffuse, 0xFF336699);
    ASSERT_TRUE(shader.Update());
    const fr::NullShader& rs = RenderTree(shader);
    const Node n4 = shader.GetOpNode(4);
    const ShaderImp::ChannelOp& op = shader.GetChannelOp(Shader::CN_Diffuse);

    // 0: colour only.
    EXPECT_EQ(op.texture, None);
    EXPECT_EQ(op.combine, None);
    EXPECT_EQ(rs.GetInput(n4, 0), op.colour);
    EXPECT_EQ(rs.GetColour(op.colour), 0xFF336699u);
    const uint32 nodesWithColourOnly = rs.GetNodeCount();

    // 1: texture only, with modes and transform.
    shader.SetMethod(Shader::CN_Diffuse, Shader::Method_Texture);
    ASSERT_TRUE(shader.Update());
    EXPECT_EQ(op.colour, None);
    EXPECT_EQ(op.combine, None);
    ASSERT_NE(op.texture, None);
    EXPECT_EQ(rs.GetInput(n4, 0), op.texture);
    const fr::TextureStage* pStage = rs.GetTexture(op.texture);
    ASSERT_NE(pStage, nullptr);
    EXPECT_EQ(pStage->texture.get(), texture->GetTexture());
    EXPECT_EQ(pStage->mode[0], 1);
    EXPECT_EQ(pStage->mode[1], 4);
    EXPECT_EQ(pStage->mode[2], 2);
    EXPECT_EQ(pStage->transform.m[3][0], 0.5f);
    EXPECT_EQ(rs.GetNodeCount(), nodesWithColourOnly);

    // 2 and 3: a combine node over texture (input 0) and colour (input 1).
    const fr::OpKind expectedKind[] = {fr::OP_Modulate, fr::OP_Blend};
    for (int32 method : {Shader::Method_Modulate, Shader::Method_Blend})
    {
        shader.SetMethod(Shader::CN_Diffuse, method);
        ASSERT_TRUE(shader.Update());
        ASSERT_NE(op.combine, None) << method;
        EXPECT_EQ(rs.GetInput(n4, 0), op.combine);
        EXPECT_EQ(rs.GetInput(op.combine, 0), op.texture);
        EXPECT_EQ(rs.GetInput(op.combine, 1), op.colour);
        EXPECT_EQ(rs.GetOperator(op.combine), expectedKind[method - 2]);
        EXPECT_EQ(rs.GetNodeCount(), nodesWithColourOnly + 2);
    }

    // Back to 0: the texture and combine nodes go again.
    shader.SetMethod(Shader::CN_Diffuse, Shader::Method_Colour);
    ASSERT_TRUE(shader.Update());
    EXPECT_EQ(op.texture, None);
    EXPECT_EQ(op.combine, None);
    EXPECT_EQ(rs.GetNodeCount(), nodesWithColourOnly);
    EXPECT_EQ(rs.GetInput(n4, 0), op.colour);
}

TEST(ShaderTree, OpacityTakesTheDiffuseColourAndTheFifthInputIsBlack)
{
    Env env;
    ShaderImp shader("colours");
    shader.SetColour(Shader::CN_Diffuse, 0x80112233);
    shader.SetColour(Shader::CN_Opacity, 0xFFFFFFFF);
    shader.SetColour(Shader::CN_Fifth, 0x12345678);
    ASSERT_TRUE(shader.Update());
    const fr::NullShader& rs = RenderTree(shader);
    EXPECT_EQ(rs.GetColour(shader.GetChannelOp(Shader::CN_Opacity).colour), 0x80112233u);
    EXPECT_EQ(rs.GetColour(shader.GetChannelOp(Shader::CN_Fifth).colour), 0xFF000000u);
    EXPECT_EQ(shader.GetColour(Shader::CN_Fifth), 0x12345678u) << "the channel keeps its own colour";

    // A later diffuse colour reaches the opacity node too.
    shader.SetColour(Shader::CN_Diffuse, 0x40445566);
    ASSERT_TRUE(shader.Update());
    EXPECT_EQ(rs.GetColour(shader.GetChannelOp(Shader::CN_Opacity).colour), 0x40445566u);
}

TEST(ShaderTree, OnlyChangedChannelsAreRebuilt)
{
    Env env;
    ShaderImp shader("partial");
    ASSERT_TRUE(shader.Update());
    auto& rs = static_cast<fr::NullShader&>(*shader.GetRenderShader());
    const Node specular = shader.GetChannelOp(Shader::CN_Specular).colour;
    rs.SetColour(specular, 0xDEADBEEF);
    shader.SetColour(Shader::CN_SelfIllumination, 0xFF404040);
    ASSERT_TRUE(shader.Update());
    EXPECT_EQ(rs.GetColour(specular), 0xDEADBEEFu) << "an unchanged channel is left alone";
    EXPECT_EQ(rs.GetColour(shader.GetChannelOp(Shader::CN_SelfIllumination).colour), 0xFF404040u);
    EXPECT_EQ(rs.GetCompileCount(), 2u);
}

TEST(ShaderTeams, ActiveTeamSwapsTheTeamChannelTexture)
{
    Env env;
    auto own = model_test::AddTexture("own.tga", fr::PF_R8G8B8);
    auto red = model_test::AddTexture("red.tga", fr::PF_R8G8B8);
    ShaderImp shader("team");
    shader.SetMethod(Shader::CN_Diffuse, Shader::Method_Texture);
    shader.SetTexture(Shader::CN_Diffuse, own);
    shader.SetTeamChannel(Shader::CN_Diffuse);
    shader.SetTeamTextureCount(2);
    shader.SetTeamTexture(1, red);
    EXPECT_EQ(shader.GetTeamTextureCount(), 2u);

    auto shown = [&]
    {
        EXPECT_TRUE(shader.Update());
        return RenderTree(shader).GetTexture(shader.GetChannelOp(Shader::CN_Diffuse).texture)->texture.get();
    };
    EXPECT_EQ(shown(), own->GetTexture()) << "no active team";
    ShaderImp::SetActiveTeam(1);
    EXPECT_EQ(shown(), red->GetTexture());
    ShaderImp::SetActiveTeam(0);
    EXPECT_EQ(shown(), own->GetTexture()) << "the team's slot is empty";
    ShaderImp::ClearActiveTeam();
    EXPECT_EQ(ShaderImp::GetActiveTeam(), -1);
    EXPECT_EQ(shown(), own->GetTexture());

    ShaderImp::SetActiveTeam(5);
    EXPECT_NE(model_test::AssertionText([&] { shader.Update(); }).find("m_activeTeam"), std::string::npos);
    ShaderImp::ClearActiveTeam();
    dbg::ScopedThrowOnAssert throwing;
    EXPECT_THROW(shader.SetTeamTexture(2, red), std::runtime_error);
}
