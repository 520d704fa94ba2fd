// ra::Mesh: vertex layout through the vertex set, primitive sets by shader and level, skinned
// transforms, bound volume, and what Display draws.
#include "model/mesh/mesh.h"

#include "foundation/debug.h"
#include "model/mesh/mesh_test_util.h"
#include "model/mesh/vertexweight.h"

#include <gtest/gtest.h>

#include <cstring>

using model_test::AddShader;
using model_test::MakeMesh;

namespace
{
struct MeshTest : ::testing::Test
{
    model_test::Env env;
};

std::vector<uint32> Words(std::initializer_list<float> values)
{
    std::vector<uint32> cWord;
    for (float f : values)
    {
        uint32 w;
        std::memcpy(&w, &f, 4);
        cWord.push_back(w);
    }
    return cWord;
}

std::vector<uint32> PackedWords(const VertexWeight& w)
{
    uint8 bytes[VertexWeight::PackedSize];
    w.Pack(bytes);
    std::vector<uint32> cWord(4);
    std::memcpy(cWord.data(), bytes, sizeof(bytes));
    return cWord;
}

// Scene brackets around draws, as the game's frame has them.
struct Scene
{
    Scene() { fr::Interface::GetDevice()->BeginScene(); }
    ~Scene() { fr::Interface::GetDevice()->EndScene(); }
};
} // namespace

TEST_F(MeshTest, StreamsInterleaveWithTheWeightWordBehindThePosition)
{
    fr::VertexType type;
    type.set(fr::VC_Position).set(fr::VC_Weights).set(fr::VC_Normal).set(fr::VC_TexCoord0);
    std::unique_ptr<fr::VertexSet> pSet = ra::CreateVertexSet(type, 2);
    ASSERT_TRUE(pSet);

    VertexWeight w0, w1;
    w0.AddWeight(2, 1.0f);
    w1.AddWeight(0, 0.5f);
    w1.AddWeight(1, 0.5f);
    std::vector<uint32> cWeights = PackedWords(w0);
    const std::vector<uint32> cSecond = PackedWords(w1);
    cWeights.insert(cWeights.end(), cSecond.begin(), cSecond.end());

    const std::vector<uint32> cPosition = Words({1, 2, 3, 4, 5, 6});
    const std::vector<uint32> cNormal = Words({0, 0, 1, 0, 1, 0});
    const std::vector<uint32> cUV = Words({0.5f, 0.25f, 1, 0});
    ASSERT_TRUE(ra::WriteStreamWords(*pSet, fr::VC_Position, cPosition));
    ASSERT_TRUE(ra::WriteStreamWords(*pSet, fr::VC_Weights, cWeights));
    ASSERT_TRUE(ra::WriteStreamWords(*pSet, fr::VC_Normal, cNormal));
    ASSERT_TRUE(ra::WriteStreamWords(*pSet, fr::VC_TexCoord0, cUV));

    // 12 + 4 (the extra word) + 16 + 12 + 8 bytes a vertex.
    uint32 stride = 0;
    const auto* pBase = static_cast<const uint8*>(pSet->LockArray(fr::VC_Position, stride));
    ASSERT_NE(pBase, nullptr);
    ASSERT_EQ(stride, 52u);
    for (uint32 v = 0; v < 2; ++v)
    {
        const uint8* pVertex = pBase + v * stride;
        EXPECT_EQ(std::memcmp(pVertex + 0, &cPosition[v * 3], 12), 0) << v;
        EXPECT_EQ(std::memcmp(pVertex + 16, &cWeights[v * 4], 16), 0) << v;
        EXPECT_EQ(std::memcmp(pVertex + 32, &cNormal[v * 3], 12), 0) << v;
        EXPECT_EQ(std::memcmp(pVertex + 44, &cUV[v * 2], 8), 0) << v;
    }
    pSet->UnlockArray(fr::VC_Position);

    std::vector<uint32> cRead;
    ASSERT_TRUE(ra::ReadStreamWords(*pSet, fr::VC_Weights, cRead));
    EXPECT_EQ(cRead, cWeights);
    ASSERT_TRUE(ra::ReadStreamWords(*pSet, fr::VC_TexCoord0, cRead));
    EXPECT_EQ(cRead, cUV);
    // The bone slots of the second vertex are bytes 12 to 15 of its packed weights.
    EXPECT_EQ(cWeights[7], 0xFFFF0100u);
}

TEST_F(MeshTest, StreamCopiesRefuseMissingComponentsAndWrongSizes)
{
    fr::VertexType type;
    type.set(fr::VC_Position);
    std::unique_ptr<fr::VertexSet> pSet = ra::CreateVertexSet(type, 2);
    ASSERT_TRUE(pSet);
    EXPECT_FALSE(ra::WriteStreamWords(*pSet, fr::VC_Normal, Words({0, 0, 1, 0, 0, 1})));
    EXPECT_FALSE(ra::WriteStreamWords(*pSet, fr::VC_Position, Words({1, 2, 3})));
    std::vector<uint32> cRead;
    EXPECT_FALSE(ra::ReadStreamWords(*pSet, fr::VC_TexCoord0, cRead));
    EXPECT_EQ(ra::GetStreamWordCount(fr::VC_Position), 3u);
    EXPECT_EQ(ra::GetStreamWordCount(fr::VC_Weights), 4u);
    EXPECT_EQ(ra::GetStreamWordCount(fr::VC_TexCoord0), 2u);
    EXPECT_EQ(ra::CreateVertexSet(type, 0x10000), nullptr);
}

TEST_F(MeshTest, DisplayDrawsTheLevelAskedForWhenItHasVerticesAndPolyHighElse)
{
    auto pMesh = MakeMesh("Body", {AddShader("metal"), AddShader("glass")});
    {
        Scene scene;
        dbg::ScopedThrowOnAssert throwing;
        EXPECT_EQ(pMesh->Display(ra::Mesh::Poly_Low), 2u);
    }
    fr::VertexType type;
    type.set(fr::VC_Position);
    pMesh->SetVertexSet(ra::Mesh::Poly_Low, ra::CreateVertexSet(type, 3));
    std::unique_ptr<fr::PrimSet> pLow = fr::Interface::GetDevice()->CreatePrimSet();
    pLow->Initialise(nullptr, nullptr, 0);
    pLow->SetIndexCount(3);
    pMesh->SetPrimSet(1, ra::Mesh::Poly_Low, std::move(pLow));
    EXPECT_EQ(pMesh->GetPrimSet(1, ra::Mesh::Poly_Low)->GetVertexSet(),
              pMesh->GetVertexSet(ra::Mesh::Poly_Low));

    Scene scene;
    EXPECT_EQ(pMesh->Display(ra::Mesh::Poly_Low), 1u);
    EXPECT_EQ(pMesh->Display(ra::Mesh::Poly_High), 2u);
}
