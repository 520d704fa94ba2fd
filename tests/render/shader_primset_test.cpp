#include "render/nulldevice.h"

#include "foundation/debug.h"
#include "support/logcapture.h"

#include <gtest/gtest.h>

#include <array>
#include <stdexcept>

TEST(NullShaderTree, NodesConnectAndReportTheirContent)
{
    fr::NullShader shader;
    const auto op = shader.CreateNode(fr::NT_Op);
    const auto colour = shader.CreateNode(fr::NT_Colour);
    const auto tex = shader.CreateNode(fr::NT_Texture);
    const auto light = shader.CreateNode(fr::NT_Light);
    EXPECT_EQ(shader.GetNodeCount(), 4u);
    shader.SetOperator(op, fr::OP_Modulate);
    shader.SetInput(op, 0, tex);
    shader.SetInput(op, 1, colour);
    shader.SetColour(colour, 0xFF102030u);
    fr::TextureStage stage;
    stage.mode[1] = 4;
    shader.SetTexture(tex, stage);
    fr::Material m{{1, 1, 1, 1}, {1, 1, 1, 1}, {0, 0, 0, 1}, {0, 0, 0, 1}, 0};
    shader.SetMaterial(light, m);
    shader.SetRoot(op);

    EXPECT_EQ(shader.GetRoot(), op);
    EXPECT_EQ(shader.GetOperator(op), fr::OP_Modulate);
    EXPECT_EQ(shader.GetInput(op, 0), tex);
    EXPECT_EQ(shader.GetInput(op, 1), colour);
    EXPECT_EQ(shader.GetColour(colour), 0xFF102030u);
    EXPECT_EQ(shader.GetTexture(tex)->mode[1], 4);
    EXPECT_EQ(shader.GetMaterial(light)->specular[3], 1.f);

    // Releasing a node cuts the links to it, and its slot serves the next node.
    shader.ReleaseNode(tex);
    EXPECT_EQ(shader.GetInput(op, 0), fr::Shader::InvalidNode);
    EXPECT_FALSE(shader.IsNode(tex));
    EXPECT_EQ(shader.CreateNode(fr::NT_Colour), tex);
}

TEST(NullPrimSet, IndexCountSetsTheRangeAndWritesStayInBounds)
{
    NullDevice device;
    auto pSet = device.CreatePrimSet();
    auto pShader = device.CreateShader();
    auto pVertices = device.CreateVertexSet();
    ASSERT_TRUE(pSet->Initialise(pVertices.get(), pShader.get(), 2));
    EXPECT_EQ(pShader->GetRefCount(), 2u);
    EXPECT_EQ(pSet->GetUsage(), 2u);
    EXPECT_EQ(pSet->GetVertexSet(), pVertices.get());
    pSet->SetKind(fr::PK_TriangleList);

    pSet->SetIndexCount(6);
    uint32 start = 9, count = 9;
    pSet->GetRange(start, count);
    EXPECT_EQ(start, 0u);
    EXPECT_EQ(count, 6u);

    const std::array<uint16, 6> idx = {0, 1, 2, 2, 1, 3};
    ASSERT_TRUE(pSet->WriteIndices(0, 6, idx));
    const std::array<uint16, 2> tail = {7, 8};
    ASSERT_TRUE(pSet->WriteIndices(4, 2, tail));
    std::array<uint16, 6> back{};
    ASSERT_TRUE(pSet->ReadIndices(0, 6, back));
    EXPECT_EQ(back, (std::array<uint16, 6>{0, 1, 2, 2, 7, 8}));

    {
        dbg::ScopedThrowOnAssert throwing;
        EXPECT_THROW(pSet->WriteIndices(5, 2, tail), std::runtime_error);
        EXPECT_THROW(pSet->WriteIndices(0xFFFFFFFFu, 2, tail), std::runtime_error);
        EXPECT_THROW(pSet->ReadIndices(0, 7, back), std::runtime_error);
        EXPECT_THROW(pSet->WriteIndices(0, 3, tail), std::runtime_error) << "fewer values than the count";
    }

    auto pCopy = device.CreatePrimSet();
    ASSERT_TRUE(pCopy->CopyFrom(*pSet));
    EXPECT_EQ(pCopy->GetIndexCount(), 6u);
    EXPECT_EQ(pCopy->GetKind(), fr::PK_TriangleList);
    EXPECT_EQ(pShader->GetRefCount(), 3u);
    pSet->Release();
    EXPECT_EQ(pSet->GetIndexCount(), 0u);
    EXPECT_EQ(pShader->GetRefCount(), 2u);
}
