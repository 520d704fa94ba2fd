#include "model/file/generic/shaderloadgeneric.h"
#include "model/shader/shaderimp.h"
#include "model/shader/shadertypeinfo.h"

#include "foundation/debug.h"
#include "model/file/generic/generic_test_util.h"
#include "model/shader/shader_test_env.h"
#include "storage/filepath.h"
#include "storage/filepath_hd.h"
#include "support/logcapture.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>

using model_test::Env;

TEST(ShaderMissingTexture, FoundTextureIsSetAndTheDiffuseChannelIsNotReported)
{
    Env env;
    auto bricks = model_test::AddTexture("Bricks.tga", fr::PF_R8G8B8);
    ShaderImp shader("wall");
    shader.SetMethod(Shader::CN_Diffuse, Shader::Method_Texture);
    LogCapture log;
    EXPECT_TRUE(SetChannelTextureByName(shader, Shader::CN_Diffuse, "DATA:BRICKS.tga", "walker", true));
    EXPECT_EQ(log.Size(), 0u);
    EXPECT_TRUE(shader.GetTexture(Shader::CN_Diffuse) == bricks);
    EXPECT_EQ(shader.GetMethod(Shader::CN_Diffuse), Shader::Method_Texture) << "method as in the file";

    // The final form's reader warns about no channel; the texture is kept either way.
    EXPECT_TRUE(SetChannelTextureByName(shader, Shader::CN_Opacity, "bricks", "walker", false));
    EXPECT_EQ(log.Size(), 0u);
    EXPECT_TRUE(SetChannelTextureByName(shader, Shader::CN_Opacity, "bricks", "walker", true));
    EXPECT_EQ(log.Count("detected texture on 'Opacity' channel!"), 1);
    EXPECT_TRUE(shader.GetTexture(Shader::CN_Opacity) == bricks);
}

TEST(ShaderInventory, UnknownShaderGetsABlankStandIn)
{
    Env env;
    LogCapture log;
    Inv::Reference<Shader> shader = Inv::Load<Shader>("nowhere");
    ASSERT_TRUE(shader.IsValid());
    EXPECT_TRUE(shader->GetName() == ra::MakeName("nowhere"));
    EXPECT_TRUE(log.Has("Unable to load 'Shader' resource 'nowhere', using default!"));
    EXPECT_EQ(shader->GetMethod(Shader::CN_Diffuse), Shader::Method_Colour);
    EXPECT_FALSE(shader->IsShared());
}

// The shared file's contents read back are the generic shader tests' and the walker's round trip;
// here the inventory's part: without a reader the blank stands in, with one the file is read.
TEST(ShaderInventory, SharedShaderFileIsReadOnlyThroughARegisteredReader)
{
    Env env;
    generic_test::MountedFolder generic("GENERIC");
    struct NoReaderAfter
    {
        ~NoReaderAfter() { ShaderTypeInfo::SetShaderReader(nullptr); }
    } noReaderAfter;
    ShaderImp mossy("mossy");
    mossy.SetColour(Shader::CN_Diffuse, 0xFF00AA00);
    ASSERT_TRUE(ShaderLoadGeneric::SaveSharedFile("GENERIC:mossy.vds", mossy));
    {
        LogCapture log;
        Inv::Reference<Shader> blank = Inv::Load<Shader>("mossy");
        EXPECT_TRUE(log.Has("no reader of shader files is registered"));
        EXPECT_FALSE(blank->IsShared());
        blank = nullptr;
        Inv::Warehouse::Get()->FlushUnreferenced();
    }
    ShaderLoadGeneric::Register();
    Inv::Reference<Shader> shader = Inv::Load<Shader>("mossy");
    ASSERT_TRUE(shader.IsValid());
    EXPECT_TRUE(shader->IsShared());
    EXPECT_EQ(shader->GetColour(Shader::CN_Diffuse), 0xFF00AA00u);
}
