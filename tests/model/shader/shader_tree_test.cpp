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

// The node the channel hands to its parent.
Node Top(const ShaderImp& shader, uint32 n)
{
    const ShaderImp::ChannelOp& op = shader.GetChannelOp(n);
    return op.combine != None ? op.combine : op.colour != None ? op.colour : op.texture;
}
} // namespace

TEST(ShaderTree, FirstUpdateBuildsTheFixedTree)
{
    Env env;
    ShaderImp shader("tree");
    EXPECT_EQ(shader.GetRenderShader(), nullptr);
    ASSERT_TRUE(shader.Update());
    const fr::NullShader& rs = RenderTree(shader);
    Node n[ShaderImp::OpNodeCount];
    for (uint32 i = 0; i < ShaderImp::OpNodeCount; ++i)
    {
        n[i] = shader.GetOpNode(i);
        ASSERT_TRUE(rs.IsNode(n[i])) << i;
        EXPECT_EQ(rs.GetNodeType(n[i]), fr::NT_Op) << i;
    }
    EXPECT_EQ(rs.GetRoot(), n[0]);
    EXPECT_EQ(rs.GetInput(n[0], 0), n[1]);
    EXPECT_EQ(rs.GetInput(n[0], 1), n[5]);
    EXPECT_EQ(rs.GetInput(n[1], 0), n[2]);
    EXPECT_EQ(rs.GetInput(n[1], 1), n[4]);
    EXPECT_EQ(rs.GetInput(n[2], 0), n[3]);
    EXPECT_EQ(rs.GetInput(n[3], 0), shader.GetMaterialNode());

    const fr::Material* pMaterial = rs.GetMaterial(shader.GetMaterialNode());
    ASSERT_NE(pMaterial, nullptr);
    const float expected[17] = {1, 1, 1, 1, 1, 1, 1, 1, 0, 0, 0, 1, 0, 0, 0, 1, 0};
    const float* pValues = reinterpret_cast<const float*>(pMaterial);
    for (int i = 0; i < 17; ++i)
        EXPECT_EQ(pValues[i], expected[i]) << i;

    // Each channel's top node sits where the fixed table puts it.
    EXPECT_EQ(rs.GetInput(n[2], 1), Top(shader, Shader::CN_SelfIllumination));
    EXPECT_EQ(rs.GetInput(n[3], 1), Top(shader, Shader::CN_Lighting));
    EXPECT_EQ(rs.GetInput(n[4], 0), Top(shader, Shader::CN_Diffuse));
    EXPECT_EQ(rs.GetInput(n[4], 1), Top(shader, Shader::CN_Opacity));
    EXPECT_EQ(rs.GetInput(n[5], 0), Top(shader, Shader::CN_Reflection));
    EXPECT_EQ(rs.GetInput(n[5], 1), Top(shader, Shader::CN_Specular));
    for (uint32 c : {0u, 1u, 2u, 3u, 4u, 6u})
        EXPECT_NE(Top(shader, c), None) << c;
    EXPECT_EQ(shader.GetChannelOp(Shader::CN_Fifth).parent, None) << "the fifth input hangs nowhere";
    EXPECT_TRUE(shader.GetChangedChannels().none());
    EXPECT_EQ(rs.GetColour(Top(shader, Shader::CN_Diffuse)), 0xFFFFFFFFu);
    EXPECT_EQ(rs.GetColour(Top(shader, Shader::CN_Reflection)), 0xFF000000u);
}

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

TEST(ShaderTree, UpdateWithoutADeviceFails)
{
    ShaderImp shader("nodevice");
    dbg::ScopedThrowOnAssert quiet(false);
    EXPECT_FALSE(shader.Update());
    EXPECT_EQ(shader.GetRenderShader(), nullptr);
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

TEST(ShaderTeams, ShadersWithoutATeamChannelIgnoreTheActiveTeam)
{
    Env env;
    auto own = model_test::AddTexture("plain.tga", fr::PF_R8G8B8);
    ShaderImp shader("noteam");
    shader.SetMethod(Shader::CN_Diffuse, Shader::Method_Texture);
    shader.SetTexture(Shader::CN_Diffuse, own);
    ASSERT_TRUE(shader.Update());
    ShaderImp::SetActiveTeam(3);
    ASSERT_TRUE(shader.Update());
    EXPECT_TRUE(shader.GetChangedChannels().none());
    EXPECT_EQ(RenderTree(shader).GetTexture(shader.GetChannelOp(0).texture)->texture.get(),
              own->GetTexture());
}

TEST(ShaderOverrides, OverrideBitTakesTheGlobalChannel)
{
    Env env;
    auto glow = model_test::AddTexture("glow.tga", fr::PF_R8G8B8);
    ShaderImp painted("painted");
    ShaderImp plain("plain");
    painted.SetColour(Shader::CN_Diffuse, 0xFF101010);
    plain.SetColour(Shader::CN_Diffuse, 0xFF101010);
    ShaderImp::SetOverrideMethod(Shader::CN_Diffuse, Shader::Method_Colour);
    ShaderImp::SetOverrideColour(Shader::CN_Diffuse, 0xFF00FF00);
    painted.SetOverride(Shader::CN_Diffuse, true);
    EXPECT_TRUE(painted.GetOverride(Shader::CN_Diffuse));
    ASSERT_TRUE(painted.Update());
    ASSERT_TRUE(plain.Update());
    EXPECT_EQ(RenderTree(painted).GetColour(painted.GetChannelOp(0).colour), 0xFF00FF00u);
    EXPECT_EQ(RenderTree(plain).GetColour(plain.GetChannelOp(0).colour), 0xFF101010u);

    // A change of the global table is noticed at the next Update.
    ShaderImp::SetOverrideMethod(Shader::CN_Diffuse, Shader::Method_Texture);
    ShaderImp::SetOverrideTexture(Shader::CN_Diffuse, glow);
    ASSERT_TRUE(painted.Update());
    const ShaderImp::ChannelOp& op = painted.GetChannelOp(0);
    ASSERT_NE(op.texture, None);
    EXPECT_EQ(op.colour, None);
    EXPECT_EQ(RenderTree(painted).GetTexture(op.texture)->texture.get(), glow->GetTexture());

    painted.SetOverride(Shader::CN_Diffuse, false);
    ASSERT_TRUE(painted.Update());
    EXPECT_EQ(op.texture, None);
    EXPECT_EQ(RenderTree(painted).GetColour(op.colour), 0xFF101010u);
    ShaderImp::ClearOverrides();
}
