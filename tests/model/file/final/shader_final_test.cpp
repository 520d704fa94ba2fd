#include "model/file/final/shaderloadfinal.h"

#include "foundation/debug.h"
#include "model/file/final/textureloadfinal.h"
#include "model/file/generic/generic_test_util.h"
#include "model/shader/shadertypeinfo.h"
#include "storage/bytestream.h"

#include <gtest/gtest.h>

using namespace generic_test;
using model_test::Env;

namespace
{
// The final shared shader reader registered for one test, as the final form registers it: its
// files lie under "DATA". The hook is put back after it.
class FinalShaderReader
{
public:
    FinalShaderReader() : m_old(ShaderTypeInfo::GetShaderReader())
    {
        ShaderTypeInfo::SetShaderReader(&ShaderLoadFinal::LoadSharedFile, "DATA");
    }
    ~FinalShaderReader() { ShaderTypeInfo::SetShaderReader(m_old); }
    FinalShaderReader(const FinalShaderReader&) = delete;
    FinalShaderReader& operator=(const FinalShaderReader&) = delete;

private:
    ShaderTypeInfo::ShaderReader m_old;
};

// A "CHAN" payload, version 3.
std::string Channel(int32 n, int32 method, uint32 colour, const std::string& texture)
{
    const fr::Matrix44 transform = Counting(float(n)), transform2 = Counting(float(n) + 50.0f);
    Bytes b;
    b.I32(n).I32(method).U32(colour).Str(texture).I32(n + 1).I32(n + 2).I32(n + 3);
    return b.Raw(&transform, sizeof(transform)).Raw(&transform2, sizeof(transform2));
}

// A "SHDR" folder whose six channels carry `textures` (empty for none), blend (6, 7) and the
// three parameters.
std::string ShaderFolder(const char* name, const std::vector<std::string>& textures)
{
    std::string chunks = Data("INFO", 1, Bytes().I32(6).I32(7).F32(0.5f).I32(-4).U8(2));
    for (int32 n = 0; n < 6; ++n)
    {
        const std::string& texture = size_t(n) < textures.size() ? textures[n] : std::string();
        chunks += Data("CHAN", 3, Channel(n, texture.empty() ? 2 : 1, 0x10203040u + uint32(n), texture));
    }
    return Folder("SHDR", 1, chunks, name);
}

// The shader that ShaderFolder describes, built in code.
void Describe(ShaderImp& shader, const std::vector<Inv::Reference<Texture>>& textures)
{
    shader.SetBlend(6, 7);
    shader.SetFloat(0.5f);
    shader.SetInt(-4);
    shader.SetByte(2);
    for (uint32 n = 0; n < 6; ++n)
    {
        const bool textured = n < textures.size() && textures[n].IsValid();
        shader.SetMethod(n, textured ? 1 : 2);
        shader.SetColour(n, 0x10203040u + n);
        shader.SetAddressMode(n, int32(n) + 1);
        shader.SetFilterMode(n, int32(n) + 2);
        shader.SetCoordMode(n, int32(n) + 3);
        shader.SetTransform(n, Counting(float(n)));
        shader.SetTransform2(n, Counting(float(n) + 50.0f));
        if (textured)
            shader.SetTexture(n, textures[n]);
    }
}

std::unique_ptr<ShaderImp> LoadShader(const std::string& chunks)
{
    return ReadChunks(chunks,
                      [](Chunky& c, ByteStreamAdapter& a) { return ShaderLoadFinal::Load(c, a, "model"); });
}

std::string SaveShader(const Shader& shader)
{
    return WriteChunks([&](Chunky& c, ByteStreamAdapter& a) { ShaderLoadFinal::Save(c, a, shader); })
        .substr(Chunky::FileHeaderSize);
}
} // namespace

// The shader folder is the generic form's to the byte: written as built by hand, and read back.
TEST(ShaderLoadFinal, ShaderFolderIsWrittenAsBuiltByHandAndReadBack)
{
    Env env;
    Inv::Reference<Texture> stone = AddPatternedTexture("art/textures/stone");
    ShaderImp shader("rock");
    Describe(shader, {stone});
    const std::string chunks = ShaderFolder("rock", {"art/textures/stone"});
    EXPECT_EQ(SaveShader(shader), chunks);

    std::unique_ptr<ShaderImp> pRead = LoadShader(chunks);
    ASSERT_NE(pRead, nullptr);
    EXPECT_EQ(SaveShader(*pRead), chunks);
    EXPECT_EQ(pRead->GetTexture(0).GetResource(), stone.GetResource());
    EXPECT_FALSE(pRead->IsShared());
}

// The shared shader file: its textures in the final form, each once, then the shader; read back
// in a frame of its own and written again, the same bytes.
TEST(ShaderLoadFinal, SharedShaderFileRoundTrip)
{
    Env env;
    MountedFolder data("DATA");
    Inv::Reference<Texture> a = AddPatternedTexture("art/textures/a", 8);
    Inv::Reference<Texture> b = AddPatternedTexture("art/textures/b", 4);
    ShaderImp shader("glass");
    Describe(shader, {a, b, Inv::Reference<Texture>(), a});
    ASSERT_TRUE(ShaderLoadFinal::SaveSharedFile("DATA:glass.vds", shader));
    const std::string file = data.Read("glass.vds");

    // SHRF { TXTR a, TXTR b, SHDR glass }: each texture once; the final reader below reads them.
    EXPECT_EQ(RootChildren(file),
              (std::vector<std::string>{"TXTR:art/textures/a", "TXTR:art/textures/b", "SHDR:glass"}));

    Inv::Warehouse::Get()->PushFrame("reader");
    {
        LogCapture log;
        std::unique_ptr<Shader> pRead = ShaderLoadFinal::LoadSharedFile("DATA:glass.vds");
        ASSERT_NE(pRead, nullptr);
        EXPECT_TRUE(log.Has("SHADER USAGE -- Loading shared shader 'DATA:glass.vds'..."));
        EXPECT_FALSE(log.Has("detected texture"));
        ASSERT_TRUE(pRead->GetTexture(3).IsValid());
        EXPECT_EQ(pRead->GetTexture(3).GetResource(), pRead->GetTexture(0).GetResource());
        EXPECT_EQ(pRead->GetTexture(0)->GetTexture()->GetWidth(), 8u);
        ASSERT_TRUE(ShaderLoadFinal::SaveSharedFile("DATA:again.vds", *pRead));
        EXPECT_EQ(data.Read("again.vds"), file);
    }
    Inv::Warehouse::Get()->PopFrame();
}

// A shared shader file cut anywhere, or whose texture yields no image, is null with a line; a
// shader whose texture cannot be written leaves the file as it was.
TEST(ShaderLoadFinal, BrokenSharedShaderFilesFail)
{
    Env env;
    MountedFolder data("DATA");
    Inv::Reference<Texture> a = AddPatternedTexture("art/textures/a", 8);
    ShaderImp shader("glass");
    Describe(shader, {a});
    ASSERT_TRUE(ShaderLoadFinal::SaveSharedFile("DATA:glass.vds", shader));
    const std::string file = data.Read("glass.vds");

    for (size_t length = 0; length < file.size(); ++length)
    {
        SCOPED_TRACE(length);
        data.Write("cut.vds", file.substr(0, length));
        Inv::Warehouse::Get()->PushFrame("cut");
        LogCapture log;
        EXPECT_EQ(ShaderLoadFinal::LoadSharedFile("DATA:cut.vds"), nullptr);
        EXPECT_TRUE(log.Has("SHADER -- 'DATA:cut.vds': "));
        Inv::Warehouse::Get()->PopFrame();
    }

    data.Write("empty.vds",
               FileHeader() + Folder("SHRF", 1,
                                     Folder("TXTR", 1, Data("HEAD", 1, Bytes().U32(1).U32(0)), "t") +
                                         ShaderFolder("glass", {"t"})));
    {
        LogCapture log;
        EXPECT_EQ(ShaderLoadFinal::LoadSharedFile("DATA:empty.vds"), nullptr);
        EXPECT_TRUE(log.Has("TEXTURES -- 't': Unable to load images!"));
        EXPECT_TRUE(log.Has("SHADER -- 'DATA:empty.vds': a texture of the file did not load!"));
    }

    Texture bare("art/textures/bare");
    Inv::Reference<Texture> pBare = Inv::Warehouse::Get()->Add(new Texture("art/textures/bare"));
    ShaderImp broken("glass");
    Describe(broken, {pBare});
    dbg::ScopedThrowOnAssert throwing;
    LogCapture log;
    EXPECT_FALSE(ShaderLoadFinal::SaveSharedFile("DATA:glass.vds", broken));
    EXPECT_EQ(data.Read("glass.vds"), file);
}
