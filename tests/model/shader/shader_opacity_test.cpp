#include "model/shader/shaderimp.h"

#include "model/shader/shader_test_env.h"

#include <gtest/gtest.h>

using model_test::Env;
using model_test::RenderTree;

namespace
{
void SetAlphaBlend(Shader& shader)
{
    shader.SetBlend(Shader::Blend_SrcAlpha, Shader::Blend_InvSrcAlpha);
}

std::pair<int32, int32> Blend(const Shader& shader)
{
    std::pair<int32, int32> b;
    shader.GetBlend(b.first, b.second);
    return b;
}
const std::pair<int32, int32> Opaque{Shader::Blend_One, Shader::Blend_Zero};
const std::pair<int32, int32> Alpha{Shader::Blend_SrcAlpha, Shader::Blend_InvSrcAlpha};
} // namespace

TEST(ShaderOpacity, DiffuseAlphaAndTextureFormatsDecide)
{
    Env env;
    {
        ShaderImp shader("seethrough");
        SetAlphaBlend(shader);
        EXPECT_TRUE(shader.IsOpaque()) << "white opaque defaults";
        shader.SetColour(Shader::CN_Diffuse, 0xFE000000);
        EXPECT_FALSE(shader.IsOpaque());
        shader.SetMethod(Shader::CN_Diffuse, Shader::Method_Texture);
        EXPECT_TRUE(shader.IsOpaque()) << "a texture method does not read the colour's alpha";
        shader.SetMethod(Shader::CN_Diffuse, Shader::Method_Blend);
        EXPECT_FALSE(shader.IsOpaque());
    }
    // The formats with alpha make a shader see-through, on the diffuse or on the opacity channel.
    const bool formatHasAlpha[fr::PF_Count] = {false, true, true, false, false, true, true, true};
    for (uint32 f = 0; f < fr::PF_Count; ++f)
    {
        char name[32];
        std::snprintf(name, sizeof(name), "format%u.tga", f);
        auto texture = model_test::AddTexture(name, fr::PixelFormat(f));
        for (uint32 channel : {uint32(Shader::CN_Diffuse), uint32(Shader::CN_Opacity)})
        {
            ShaderImp shader("formats");
            SetAlphaBlend(shader);
            shader.SetMethod(Shader::CN_Diffuse, Shader::Method_Texture);
            shader.SetTexture(channel, texture);
            EXPECT_EQ(shader.IsOpaque(), !formatHasAlpha[f]) << "format " << f << " on channel " << channel;
        }
    }
}

TEST(ShaderOpacity, HiddenWhenAlphaBlendedDiffuseColourHasNoAlpha)
{
    const std::pair<int32, int32> add{Shader::Blend_One, Shader::Blend_One};
    const struct
    {
        std::pair<int32, int32> blend;
        int32 method;
        uint32 colour;
        bool hidden;
    } cases[] = {
        {Alpha, Shader::Method_Colour, 0xFFFFFFFF, false},
        {Alpha, Shader::Method_Colour, 0x00FFFFFF, true},
        {Alpha, Shader::Method_Blend, 0x00FFFFFF, true},
        {Alpha, Shader::Method_Modulate, 0x00FFFFFF, false},
        {Alpha, Shader::Method_Texture, 0x00FFFFFF, false},
        {Alpha, Shader::Method_Colour, 0x01FFFFFF, false},
        {add, Shader::Method_Colour, 0x00FFFFFF, false},
    };
    for (const auto& c : cases)
    {
        ShaderImp shader("ghost");
        shader.SetBlend(c.blend.first, c.blend.second);
        shader.SetMethod(Shader::CN_Diffuse, c.method);
        shader.SetColour(Shader::CN_Diffuse, c.colour);
        EXPECT_EQ(shader.IsHidden(), c.hidden) << c.method << " " << std::hex << c.colour;
    }
}

TEST(ShaderAlphaTest, OutcomesByMethodAndFormat)
{
    Env env;
    auto dxt1 = model_test::AddTexture("cutout.dds", fr::PF_DXT1);
    auto dxt5 = model_test::AddTexture("smooth.dds", fr::PF_DXT5);
    auto rgb = model_test::AddTexture("opaque.tga", fr::PF_R8G8B8);
    auto a1 = model_test::AddTexture("mask.tga", fr::PF_A1R5G5B5);

    struct Case
    {
        const char* what;
        int32 method;
        uint32 colour;
        Inv::Reference<Texture> diffuseTexture;
        Inv::Reference<Texture> opacityTexture;
        std::pair<int32, int32> blend;
        uint8 ref;
        fr::OpKind opacityOp;
    };
    const Case cases[] = {
        {"opaque colour", Shader::Method_Colour, 0xFFFFFFFF, {}, {}, Opaque, 0, fr::OP_SelectArg0},
        {"see-through colour", Shader::Method_Colour, 0x80FFFFFF, {}, {}, Alpha, 1, fr::OP_SelectArg0},
        {"one-bit texture", Shader::Method_Texture, 0xFFFFFFFF, dxt1, {}, Opaque, 128, fr::OP_SelectArg0},
        {"smooth texture", Shader::Method_Texture, 0xFFFFFFFF, dxt5, {}, Alpha, 1, fr::OP_SelectArg0},
        {"opaque texture", Shader::Method_Texture, 0x00FFFFFF, rgb, {}, Opaque, 0, fr::OP_SelectArg0},
        {"colour or texture", Shader::Method_Modulate, 0xFFFFFFFF, dxt5, {}, Opaque, 0, fr::OP_SelectArg0},
        {"colour and texture", Shader::Method_Blend, 0xFFFFFFFF, dxt1, {}, Alpha, 1, fr::OP_SelectArg0},
        // clang-format off
        {"one-bit opacity texture", Shader::Method_Colour, 0xFFFFFFFF, {}, a1, Opaque, 128, fr::OP_AlphaFromArg1},
        // clang-format on
    };
    for (const Case& c : cases)
    {
        ShaderImp shader("alphatest");
        SetAlphaBlend(shader);
        shader.SetMethod(Shader::CN_Diffuse, c.method);
        shader.SetColour(Shader::CN_Diffuse, c.colour);
        shader.SetTexture(Shader::CN_Diffuse, c.diffuseTexture);
        if (c.opacityTexture.IsValid())
        {
            shader.SetMethod(Shader::CN_Opacity, Shader::Method_Texture);
            shader.SetTexture(Shader::CN_Opacity, c.opacityTexture);
        }
        ASSERT_TRUE(shader.Update()) << c.what;
        EXPECT_EQ(Blend(shader), c.blend) << c.what;
        EXPECT_EQ(shader.GetAlphaRef(), c.ref) << c.what;
        const fr::NullShader& rs = RenderTree(shader);
        EXPECT_EQ(rs.GetOperator(shader.GetOpNode(4)), c.opacityOp) << c.what;
        EXPECT_EQ(rs.GetBlendSource(), c.blend.first) << c.what;
        EXPECT_EQ(rs.GetBlendDestination(), c.blend.second) << c.what;
        EXPECT_EQ(rs.GetAlphaRef(), c.ref) << c.what;
    }
}

TEST(ShaderAlphaTest, SeeThroughOpacityColourTakesTheAlphaOperator)
{
    Env env;
    ShaderImp shader("fade");
    SetAlphaBlend(shader);
    shader.SetColour(Shader::CN_Diffuse, 0x80FFFFFF);
    shader.SetColour(Shader::CN_Opacity, 0x80FFFFFF);
    ASSERT_TRUE(shader.Update());
    EXPECT_EQ(Blend(shader), Alpha);
    EXPECT_EQ(RenderTree(shader).GetOperator(shader.GetOpNode(4)), fr::OP_AlphaFromArg1);

    // Once opaque, the shader stays blended (1, 0) and the operator goes back.
    shader.SetColour(Shader::CN_Diffuse, 0xFFFFFFFF);
    shader.SetColour(Shader::CN_Opacity, 0xFFFFFFFF);
    ASSERT_TRUE(shader.Update());
    EXPECT_EQ(Blend(shader), Opaque);
    EXPECT_EQ(RenderTree(shader).GetOperator(shader.GetOpNode(4)), fr::OP_SelectArg0);
}
