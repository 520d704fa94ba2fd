#include "model/shader/shaderimp.h"

#include "foundation/debug.h"
#include "model/shader/shader_test_env.h"
#include "names/memorypool.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace
{
MemoryPool& Pool()
{
    return MemoryPool::Get("ShaderChannelPool");
}

fr::Matrix44 Scale(float s)
{
    fr::Matrix44 m = fr::Matrix44::Identity();
    m.m[0][0] = s;
    m.m[1][1] = s;
    return m;
}
} // namespace

TEST(ShaderChannels, WritingTheStoredValueAllocatesAndMarksNothing)
{
    ShaderImp shader("same");
    const uint64 allocations = Pool().GetAllocationCount();
    shader.SetColour(Shader::CN_Diffuse, shader.GetColour(Shader::CN_Diffuse));
    shader.SetMethod(Shader::CN_Reflection, Shader::Method_Colour);
    shader.SetTransform(Shader::CN_Specular, fr::Matrix44::Identity());
    shader.SetFilterMode(Shader::CN_Specular, 0);
    shader.SetTexture(Shader::CN_Opacity, Inv::Reference<Texture>());
    shader.SetBaseColour(Shader::CN_Fifth, 0xFF000000);
    EXPECT_EQ(Pool().GetAllocationCount(), allocations);
    EXPECT_TRUE(shader.GetChangedChannels().none());
    for (uint32 n = 0; n < Shader::CN_Count; ++n)
        EXPECT_FALSE(shader.HasChannelData(n)) << n;
}

TEST(ShaderChannels, FirstChangeCopiesTheDefaultsIntoOnePoolRecord)
{
    const uint64 live = Pool().GetLiveCount();
    {
        ShaderImp shader("copy");
        shader.SetMethod(Shader::CN_Specular, Shader::Method_Texture);
        EXPECT_EQ(Pool().GetLiveCount(), live + 1);
        EXPECT_TRUE(shader.HasChannelData(Shader::CN_Specular));
        EXPECT_EQ(shader.GetColour(Shader::CN_Specular), 0xFF000000u)
            << "the rest of the record is the default";
        EXPECT_EQ(shader.GetChangedChannels().to_ulong(), 1u << Shader::CN_Specular);

        shader.SetColour(Shader::CN_Specular, 0xFF808080);
        shader.SetCoordMode(Shader::CN_Specular, 6);
        EXPECT_EQ(Pool().GetLiveCount(), live + 1) << "one record per channel";
        EXPECT_EQ(shader.GetCoordMode(Shader::CN_Specular), 6);
        EXPECT_EQ(shader.GetBaseColour(Shader::CN_Specular), 0xFF000000u) << "base colour is separate";

        shader.SetTransform2(Shader::CN_Lighting, Scale(2));
        EXPECT_EQ(Pool().GetLiveCount(), live + 2);
        EXPECT_TRUE(shader.GetTransform2(Shader::CN_Lighting) == Scale(2));
        EXPECT_FALSE(shader.GetChangedChannels().test(Shader::CN_Lighting))
            << "the second matrix feeds no node";
    }
    EXPECT_EQ(Pool().GetLiveCount(), live) << "records go back to the pool with the shader";
}
