#include "model/file/generic/shaderloadgeneric.h"

#include "model/file/generic/generic_test_util.h"
#include "model/shader/shadertypeinfo.h"
#include "storage/bytestream.h"

#include <gtest/gtest.h>

using namespace generic_test;
using model_test::Env;

namespace
{
// A CHAN payload of the current version.
Bytes Channel(int32 n, int32 method, uint32 colour, const std::string& texture, const fr::Matrix44& transform,
              const fr::Matrix44& transform2, uint32 version = 3)
{
    Bytes b;
    b.I32(n).I32(method).U32(colour).Str(texture);
    if (version == 2)
        b.U8(0x5A);
    b.I32(n + 1).I32(n + 2).I32(n + 3);
    b.Raw(&transform, sizeof(transform)).Raw(&transform2, sizeof(transform2));
    return b;
}

std::string ShaderFolder(const std::string& channels, const char* name = "rock")
{
    const std::string info = Bytes().I32(6).I32(7).F32(0.25f).I32(-3).U8(9);
    return Folder("SHDR", 1, Data("INFO", 1, info) + channels, name);
}

std::unique_ptr<ShaderImp> LoadShader(const std::string& chunks)
{
    return ReadChunks(chunks,
                      [](Chunky& c, ByteStreamAdapter& a) { return ShaderLoadGeneric::Load(c, a, "model"); });
}

} // namespace

TEST(GenericShader, HandBuiltChannelsOfVersionsTwoAndThreeReadAlike)
{
    Env env;
    const fr::Matrix44 t = Counting(1.0f), t2 = Counting(50.0f);
    std::unique_ptr<ShaderImp> pV3 =
        LoadShader(ShaderFolder(Data("CHAN", 3, Channel(3, 2, 0xAABBCCDD, "", t, t2))));
    std::unique_ptr<ShaderImp> pV2 =
        LoadShader(ShaderFolder(Data("CHAN", 2, Channel(3, 2, 0xAABBCCDD, "", t, t2, 2))));
    for (ShaderImp* p : {pV3.get(), pV2.get()})
    {
        ASSERT_TRUE(p);
        EXPECT_EQ(Text(p->GetName()), "rock");
        int32 source, destination;
        p->GetBlend(source, destination);
        EXPECT_EQ(source, 6);
        EXPECT_EQ(destination, 7);
        EXPECT_EQ(p->GetFloat(), 0.25f);
        EXPECT_EQ(p->GetInt(), -3);
        EXPECT_EQ(p->GetByte(), 9);
        EXPECT_EQ(p->GetMethod(3), 2);
        EXPECT_EQ(p->GetColour(3), 0xAABBCCDDu);
        EXPECT_EQ(p->GetAddressMode(3), 4);
        EXPECT_EQ(p->GetFilterMode(3), 5);
        EXPECT_EQ(p->GetCoordMode(3), 6);
        EXPECT_TRUE(SameMatrix(p->GetTransform(3), t));
        EXPECT_TRUE(SameMatrix(p->GetBaseTransform(3), t));
        EXPECT_TRUE(SameMatrix(p->GetTransform2(3), t2));
        // Channels the file leaves out keep the defaults.
        EXPECT_EQ(p->GetMethod(0), Shader::Method_Colour);
        EXPECT_FALSE(p->HasChannelData(0));
    }
}

TEST(GenericShader, TexturesAreFoundByNameOrTurnTheChannelPink)
{
    Env env;
    Inv::Reference<Texture> texture = AddPatternedTexture("art/textures/stone");
    const fr::Matrix44 t = fr::Matrix44::Identity();
    LogCapture log;
    std::unique_ptr<ShaderImp> p =
        LoadShader(ShaderFolder(Data("CHAN", 3, Channel(0, 1, 0x11223344, "ART/Textures/Stone.tga", t, t)) +
                                Data("CHAN", 3, Channel(2, 1, 0x55667788, "art/textures/gone", t, t)) +
                                Data("CHAN", 3, Channel(4, 3, 0x99AABBCC, "", t, t))));
    ASSERT_TRUE(p);
    // The diffuse texture is found however its name is written.
    EXPECT_EQ(p->GetTexture(0).GetResource(), texture.GetResource());
    EXPECT_EQ(p->GetMethod(0), 1);
    EXPECT_EQ(p->GetColour(0), 0x11223344u);
    // A texture on another channel is reported, and a missing one turns pink.
    EXPECT_TRUE(log.Has("SHADER -- 'model', shader 'rock': detected texture on 'Reflection' channel!"));
    EXPECT_TRUE(log.Has(
        "TEXTURES -- 'model': shader 'rock' is unable to find texture 'art/textures/gone'. Using pink!"));
    EXPECT_FALSE(p->GetTexture(2).IsValid());
    EXPECT_EQ(p->GetMethod(2), Shader::Method_Colour);
    EXPECT_EQ(p->GetColour(2), 0xFFFF00FFu);
    // An empty name leaves method and colour as the file has them.
    EXPECT_EQ(p->GetMethod(4), 3);
    EXPECT_EQ(p->GetColour(4), 0x99AABBCCu);
    EXPECT_EQ(log.Count("detected texture"), 1);
}

TEST(GenericShader, DamagedChunksThrowToTheCaller)
{
    Env env;
    const fr::Matrix44 t = fr::Matrix44::Identity();
    const std::string good = Channel(1, 0, 0, "", t, t);

    auto codeOf = [](const std::string& chunks) { return ChunkyCode([&] { LoadShader(chunks); }); };
    // A payload cut short, a channel or method out of range, a newer chunk, no name.
    EXPECT_EQ(codeOf(ShaderFolder(Data("CHAN", 3, good.substr(0, good.size() - 5)))), 6);
    EXPECT_EQ(codeOf(ShaderFolder(Data("CHAN", 3, Channel(6, 0, 0, "", t, t)))), 12);
    EXPECT_EQ(codeOf(ShaderFolder(Data("CHAN", 3, Channel(-1, 0, 0, "", t, t)))), 12);
    EXPECT_EQ(codeOf(ShaderFolder(Data("CHAN", 3, Channel(1, 4, 0, "", t, t)))), 12);
    EXPECT_EQ(codeOf(ShaderFolder(Data("CHAN", 4, good))), 5);
    EXPECT_EQ(codeOf(Folder("SHDR", 2, "", "rock")), 5);
    EXPECT_EQ(codeOf(Folder("SHDR", 1, "")), 12);
    // A texture name past the 260 characters of the buffer is the stream's overrun.
    EXPECT_THROW(LoadShader(ShaderFolder(Data("CHAN", 3, Channel(0, 1, 0, std::string(261, 'x'), t, t)))),
                 ByteStream::Exception);
}
