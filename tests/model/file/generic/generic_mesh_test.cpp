#include "model/file/generic/meshloadgeneric.h"

#include "model/file/generic/generic_test_util.h"
#include "model/mesh/mesh_test_util.h"

#include <gtest/gtest.h>

using namespace generic_test;
using model_test::Env;

namespace
{
std::unique_ptr<ra::MeshGroup> LoadGroup(const std::string& chunks)
{
    return ReadChunks(chunks, [](Chunky& c, ByteStreamAdapter& a)
                      { return MeshLoadGeneric::Load(c, a, nullptr, "model"); });
}

std::unique_ptr<ra::MeshGroup> LoadLegacy(const std::string& chunks)
{
    return ReadChunks(chunks, [](Chunky& c, ByteStreamAdapter& a)
                      { return MeshLoadGeneric::LoadLegacy(c, a, nullptr, "model", "GENERIC:art\\"); });
}

std::string Indices(std::initializer_list<uint16> c)
{
    Bytes b;
    for (uint16 i : c)
        b.U16(i);
    return b;
}

// An MSLC data payload of three positions and one shader, of the given version.
Bytes MeshData(uint32 version, const std::string& shader, const std::string& indices, int32 indexCount)
{
    Bytes b;
    b.U32(3);
    if (version >= 2)
        b.U8(1);
    b.I32(1).I32(0).I32(0).I32(3).U32(1u << fr::VC_Position);
    for (int i = 0; i < 9; ++i)
        b.F32(float(i));
    b.I32(1).Str(shader).I32(indexCount).Add(indices);
    if (indexCount > 0)
        b.U16(0).U16(3);
    return b;
}

std::string GroupData(const char* name, const char* xref = "", int32 bone = -1)
{
    return Data("DATA", 1, Bytes().I32(1).Str(name).Str(xref).U32(uint32(bone)));
}
} // namespace

TEST(GenericMesh, HandBuiltMeshOfVersionOneAndOldVolumesRead)
{
    Env env;
    Inv::Reference<Shader> shader = model_test::AddShader("stone");
    ra::OBB box;
    box.centre = {1, 2, 3};
    box.scale = {4, 5, 6};
    // Version 1 has no render flag; the old volume carries a sphere (dropped) and a box.
    const std::string oldVolume =
        Data("BVOL", 1, Bytes().U8(1).U8(1).Vec3(9, 9, 9).F32(2).Raw(&box, sizeof(box)));
    const std::string chunks = Folder(
        "MSGR", 1,
        Folder("MSLC", 1, Data("DATA", 1, MeshData(1, "stone", Indices({0, 1, 2}), 3)) + oldVolume, "rock") +
            GroupData("rock") + Data("BVOL", 1, Bytes().U8(1).U8(0).Vec3(0, 0, 0).F32(1)));
    std::unique_ptr<ra::MeshGroup> p = LoadGroup(chunks);
    ASSERT_EQ(p->GetMeshCount(), 1);
    const ra::Mesh* pMesh = p->GetMesh(0);
    EXPECT_EQ(pMesh->GetMeshType(), 3);
    EXPECT_TRUE(pMesh->GetRenderFlag());
    EXPECT_EQ(pMesh->GetBV().GetOBB(), box);
    EXPECT_FALSE(p->GetBV().IsValid());
    EXPECT_EQ(IndicesOf(*pMesh, 0), (std::vector<uint16>{0, 1, 2}));
    std::vector<uint32> cWord;
    ASSERT_TRUE(ra::ReadStreamWords(*pMesh->GetVertexSet(ra::Mesh::Poly_High), fr::VC_Position, cWord));
    EXPECT_EQ(reinterpret_cast<const float&>(cWord[8]), 8.0f);
    // A volume of valid 0 leaves the mesh without one.
    std::unique_ptr<ra::MeshGroup> pNoVolume = LoadGroup(Folder(
        "MSGR", 1,
        Folder("MSLC", 1,
               Data("DATA", 2, MeshData(2, "stone", Indices({0, 1, 2}), 3)) + Data("BVOL", 2, Bytes().U8(0)),
               "rock") +
            GroupData("rock")));
    EXPECT_FALSE(pNoVolume->GetMesh(0)->HasBV());
}

TEST(GenericMesh, MissingShadersAndMeshesAreLoggedAndStoodIn)
{
    Env env;
    LogCapture log;
    std::unique_ptr<ra::MeshGroup> p = LoadGroup(Folder(
        "MSGR", 1,
        Folder("MSLC", 1, Data("DATA", 2, MeshData(2, "Lost_Shader", Indices({0, 1, 2}), 3)), "rock") +
            Data("DATA", 1,
                 Bytes().I32(2).Str("rock").Str("").U32(uint32(-1)).Str("ghost").Str("").U32(uint32(-1)))));
    EXPECT_TRUE(
        log.Has("Mesh 'rock': Unable to load shader 'Lost_Shader' (Make sure the MAX Ref does not have "
                "IgnoreShaders on!"));
    // The stand-in is an empty shader of that name, in the inventory.
    Inv::Resource* pFound = nullptr;
    ASSERT_TRUE(Inv::Warehouse::Get()->Find(&pFound, "lost_shader", Shader::GetTypeInfo()));
    EXPECT_EQ(p->GetMesh(0)->GetPrimSetShader(0).GetResource(), pFound);
    // A mesh that is neither in the file nor in the stand-in model is left out, with a line.
    EXPECT_EQ(p->GetMeshCount(), 1);
    EXPECT_TRUE(log.Has("'ghost'"));
}

TEST(GenericMesh, DamagedMeshesThrowToTheCaller)
{
    Env env;
    model_test::AddShader("stone");
    auto group = [](const std::string& data)
    { return Folder("MSGR", 1, Folder("MSLC", 1, Data("DATA", 2, data), "rock") + GroupData("rock")); };
    const std::string whole = MeshData(2, "stone", Indices({0, 1, 2}), 3);
    // clang-format off
    const struct
    {
        const char* what;
        std::string chunks;
        int code;
    } cases[] = {
        {"index past the vertices", group(MeshData(2, "stone", Indices({0, 1, 3}), 3)), 12},
        {"negative index count", group(MeshData(2, "stone", "", -3)), 12},
        {"vertex type past the components", group(Bytes().U32(0).U8(1).I32(0).I32(0).I32(0).I32(0).U32(1u << 9).I32(0)), 12},
        {"too many vertices for a set", group(Bytes().U32(0).U8(1).I32(0).I32(0).I32(0).I32(0x10000).U32(0).I32(0)), 12},
        {"cut stream", group(whole.substr(0, 40)), 6},
        {"entry without a name", Folder("MSGR", 1, GroupData("")), 12},
        {"mesh without a name", Folder("MSGR", 1, Folder("MSLC", 1, "")), 12},
        {"skin count the payload cannot hold", group(Bytes().U32(0).U8(1).I32(0).I32(0).I32(0x7FFFFFFF)), 6},
    };
    // clang-format on
    for (const auto& c : cases)
        EXPECT_EQ(ChunkyCode([&] { LoadGroup(c.chunks); }), c.code) << c.what;
}

TEST(GenericMesh, LegacyTreeReadsNodesGeometryAndCrossReferences)
{
    Env env;
    model_test::AddShader("stone");
    auto geometry = [](uint32 version, bool oldWeight)
    {
        Bytes b;
        if (version >= 4)
            b.I32(11);
        uint32 type = 1u << fr::VC_Position;
        if (oldWeight)
            type |= 1u << 3;
        b.U32(3).U32(type);
        for (int i = 0; i < 9; ++i)
            b.F32(float(i));
        if (oldWeight)
            b.U32(1).U32(2).U32(3);
        if (version >= 3)
            b.U8(1);
        b.I32(1).Str("stone").U32(3).Add(Indices({2, 1, 0}));
        // Two extras: the second marks a bone that skins the mesh.
        const ra::Matrix34 identity;
        b.U32(2).Str("tip").Raw(identity.Data(), 48);
        if (version >= 2)
            b.U8(0);
        b.Str("hand").Raw(identity.Data(), 48);
        if (version >= 2)
            b.U8(1);
        return Data("DATA", version, b);
    };
    ra::OBB box;
    box.scale = {1, 1, 1};
    const std::string volume = Data("BVOL", 2, Bytes().U8(1).Raw(&box, sizeof(box)));
    auto node = [&](const std::string& content, int32 bone)
    {
        const ra::Matrix34 identity;
        return Folder("NODE", 1, Data("INFO", 2, Bytes().Raw(identity.Data(), 48).I32(bone)) + content);
    };
    for (uint32 version : {2u, 3u, 4u, 5u})
    {
        SCOPED_TRACE(version);
        LogCapture log;
        const std::string mesh = Folder(
            "MESH", 2, Folder("GEOM", 2, geometry(version, version < 5) + volume + volume + volume), "Rock");
        const std::string chunks =
            Folder("MESH", 2,
                   Folder("GGRP", 1,
                          Data("INFO", 1, Bytes().U8(1)) + volume + node(mesh, 4) +
                              node(Data("XREF", 6, Bytes().Str("art/missing").Str("blade")), -1)));
        std::unique_ptr<ra::MeshGroup> p = LoadLegacy(chunks);
        ASSERT_GE(p->GetMeshCount(), 1);
        EXPECT_EQ(Text(p->GetMeshName(0)), "rock");
        EXPECT_EQ(p->GetMeshBone(0), 4);
        EXPECT_TRUE(p->GetBV().IsValid());
        const ra::Mesh* pMesh = p->GetMesh(0);
        EXPECT_EQ(pMesh->GetMeshType(), version >= 4 ? 11 : 0);
        EXPECT_EQ(pMesh->GetPolyCount(ra::Mesh::Poly_High), 1);
        EXPECT_EQ(IndicesOf(*pMesh, 0), (std::vector<uint16>{2, 1, 0}));
        // The old weight word neither stays in the type nor shifts the streams after it.
        EXPECT_EQ(pMesh->GetVertexSet(ra::Mesh::Poly_High)->GetType().to_ulong(), 1u << fr::VC_Position);
        ASSERT_EQ(pMesh->GetSkinnedTransformCount(), version >= 2 ? 1 : 0);
        EXPECT_EQ(Text(pMesh->GetSkinnedTransformName(0)), "hand");
        EXPECT_EQ(pMesh->GetSkinnedTransformIndex(0), 1);
        EXPECT_TRUE(pMesh->HasBV());
        // The cross-referenced mesh's model is not there: logged, and no stand-in either.
        EXPECT_TRUE(log.Has("MODELS -- Unable to load XREF Mesh 'blade' from 'art/missing'!"));
    }
    // A cross-reference below version 3 names its model relative to the file's folder; below
    // version 4 it may carry two more strings.
    LogCapture log;
    LoadLegacy(Folder(
        "MESH", 2,
        Folder("GGRP", 1,
               node(Data("XREF", 2, Bytes().Str("old\\donor").Str("axe").U8(1).Str("x").Str("y")), 1))));
    EXPECT_TRUE(log.Has("MODELS -- Unable to load XREF Mesh 'axe' from 'GENERIC:art\\old\\donor'!"));
}
