#include "render/vertexset.h"

#include "foundation/debug.h"
#include "names/memorypool.h"
#include "support/logcapture.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <stdexcept>

namespace
{
fr::VertexType Type(std::initializer_list<uint32> components)
{
    fr::VertexType t;
    for (uint32 c : components)
        t.set(c);
    return t;
}

// Byte distance of a component from the start of the block, as LockArray hands it out.
std::ptrdiff_t OffsetOf(fr::MemoryVertexSet& set, uint32 component)
{
    uint32 stride = 0;
    auto* pBase = static_cast<uint8*>(set.LockArray(fr::VC_Position, stride));
    set.UnlockArray(fr::VC_Position);
    auto* p = static_cast<uint8*>(set.LockArray(component, stride));
    set.UnlockArray(component);
    return p - pBase;
}
} // namespace

TEST(VertexSetLayout, WeightedVertexHasTheExtraWordBehindThePosition)
{
    const auto type = Type({fr::VC_Position, fr::VC_Weights, fr::VC_Normal, fr::VC_TexCoord0});
    EXPECT_EQ(fr::GetVertexStride(type), 52u);
    EXPECT_EQ(fr::GetComponentOffset(type, fr::VC_Position), 0u);
    EXPECT_EQ(fr::GetComponentOffset(type, fr::VC_Weights), 16u);
    EXPECT_EQ(fr::GetComponentOffset(type, fr::VC_Normal), 32u);
    EXPECT_EQ(fr::GetComponentOffset(type, fr::VC_TexCoord0), 44u);

    fr::MemoryVertexSet set;
    ASSERT_TRUE(set.Create(type, 3, 0));
    EXPECT_EQ(set.GetBlockSize(), 3u * 52u);
    EXPECT_EQ(OffsetOf(set, fr::VC_Weights), 16);
    EXPECT_EQ(OffsetOf(set, fr::VC_Normal), 32);
    EXPECT_EQ(OffsetOf(set, fr::VC_TexCoord0), 44);
}

TEST(VertexSetLayout, WithoutWeightsComponentsArePackedInRisingOrder)
{
    const auto type =
        Type({fr::VC_Position, fr::VC_Normal, fr::VC_Colour0, fr::VC_Colour1, fr::VC_TexCoord1});
    EXPECT_EQ(fr::GetVertexStride(type), 12u + 12u + 4u + 4u + 8u);
    fr::MemoryVertexSet set;
    ASSERT_TRUE(set.Create(type, 2, 0));
    EXPECT_EQ(OffsetOf(set, fr::VC_Normal), 12);
    EXPECT_EQ(OffsetOf(set, fr::VC_Colour0), 24);
    EXPECT_EQ(OffsetOf(set, fr::VC_Colour1), 28);
    EXPECT_EQ(OffsetOf(set, fr::VC_TexCoord1), 32);
}

TEST(VertexSetCreate, SizeLimitIs65535Vertices)
{
    const auto type = Type({fr::VC_Position});
    fr::MemoryVertexSet set;
    ASSERT_TRUE(set.Create(type, 65535, 7));
    EXPECT_EQ(set.GetSize(), 65535u);
    EXPECT_EQ(set.GetUsage(), 7u);
    EXPECT_EQ(set.GetBlockSize(), 65535u * 12u);
    uint32 start = 1, count = 1;
    set.GetRange(0, start, count);
    EXPECT_EQ(start, 0u);
    EXPECT_EQ(count, 65535u);

    MemoryPool& pool = MemoryPool::Get("fr::MemoryVertexSet");
    const uint64 liveBefore = pool.GetLiveCount();
    fr::MemoryVertexSet big;
    LogCapture log;
    EXPECT_FALSE(big.Create(type, 65536, 0));
    EXPECT_EQ(pool.GetLiveCount(), liveBefore);
    EXPECT_EQ(log.Count("Size too large for VertexSet::Create()"), 1);
    EXPECT_EQ(big.GetBlockSize(), 0u);
    EXPECT_EQ(big.GetSize(), 0u);
}

TEST(VertexSetLock, RefusesAbsentComponentsBadRangesAndZeroCounts)
{
    fr::MemoryVertexSet set;
    ASSERT_TRUE(set.Create(Type({fr::VC_Position}), 8, 0));
    LogCapture log;
    uint32 stride = 99;
    EXPECT_EQ(set.LockArray(fr::VC_Normal, stride), nullptr);
    EXPECT_EQ(stride, 0u);
    EXPECT_EQ(log.Size(), 0u) << "an absent component is not worth a message";

    EXPECT_EQ(set.LockArray(fr::VC_Position, stride, 5, 4), nullptr);
    EXPECT_EQ(log.Count("LockArray range exceeds size of VertexSet"), 1);
    EXPECT_EQ(set.LockArray(fr::VC_Position, stride, 0xFFFFFFF0u, 0x20), nullptr);
    EXPECT_EQ(log.Count("LockArray range exceeds size of VertexSet"), 2);
    EXPECT_FALSE(set.IsLocked(fr::VC_Position));
    EXPECT_NE(set.LockArray(fr::VC_Position, stride, 4, 4), nullptr);
    set.UnlockArray(fr::VC_Position);

    {
        dbg::ScopedThrowOnAssert throwing;
        EXPECT_THROW(set.LockArray(fr::VC_Position, stride, 2, 0), std::runtime_error);
    }
    {
        dbg::ScopedThrowOnAssert quiet(false);
        EXPECT_EQ(set.LockArray(fr::VC_Position, stride, 2, 0), nullptr);
    }
    EXPECT_THROW(set.LockArray(9, stride), std::out_of_range);
}

TEST(VertexSetWriteArray, CopiesElementsAtTheStride)
{
    fr::MemoryVertexSet set;
    ASSERT_TRUE(set.Create(Type({fr::VC_Position, fr::VC_Weights, fr::VC_TexCoord0}), 4, 0));
    struct UV
    {
        float u, v;
    };
    const std::array<UV, 4> uv = {{{0.f, 1.f}, {2.f, 3.f}, {4.f, 5.f}, {6.f, 7.f}}};
    ASSERT_TRUE(set.WriteArray<UV>(fr::VC_TexCoord0, fr::VertexSet::Unset, fr::VertexSet::Unset, uv));
    const std::array<UV, 2> two = {{{10.f, 11.f}, {12.f, 13.f}}};
    ASSERT_TRUE(set.WriteArray<UV>(fr::VC_TexCoord0, 1, 2, two));

    uint32 stride = 0;
    auto* p = static_cast<const uint8*>(set.LockArray(fr::VC_TexCoord0, stride));
    const float expected[4][2] = {{0, 1}, {10, 11}, {12, 13}, {6, 7}};
    for (int i = 0; i < 4; ++i)
    {
        UV got;
        std::memcpy(&got, p + i * stride, sizeof(got));
        EXPECT_EQ(got.u, expected[i][0]) << i;
        EXPECT_EQ(got.v, expected[i][1]) << i;
    }
    set.UnlockArray(fr::VC_TexCoord0);
    EXPECT_FALSE(set.IsLocked(fr::VC_TexCoord0));

    // The bytes of the neighbouring components stay zero.
    auto* pw = static_cast<const uint8*>(set.LockArray(fr::VC_Weights, stride));
    for (uint32 i = 0; i < 16; ++i)
        EXPECT_EQ(pw[i], 0) << i;
    set.UnlockArray(fr::VC_Weights);
}

TEST(VertexSetWriteArray, RefusesWrongComponentSizeAndHalfGivenRange)
{
    fr::MemoryVertexSet set;
    ASSERT_TRUE(set.Create(Type({fr::VC_Position}), 4, 0));
    const std::array<uint32, 4> words{};
    LogCapture log;
    EXPECT_FALSE(set.WriteArray<uint32>(fr::VC_Normal, 0, 4, words));
    EXPECT_EQ(log.Count("VertexSet does not have the requested vertex component."), 1);
    EXPECT_FALSE(set.WriteArray<uint32>(fr::VC_Position, 0, 4, words));
    EXPECT_EQ(log.Count("Unsupported size for vertex set component."), 1);
    struct P
    {
        float x, y, z;
    };
    const std::array<P, 4> pos{};
    EXPECT_FALSE(set.WriteArray<P>(fr::VC_Position, 1, fr::VertexSet::Unset, pos));
    EXPECT_EQ(log.Count("Must set both 'start' and 'range' parameters for WriteArray()."), 1);
    EXPECT_FALSE(set.WriteArray<P>(fr::VC_Position, 2, 3, pos));
    EXPECT_EQ(log.Count("LockArray range exceeds size of VertexSet"), 1);
    {
        dbg::ScopedThrowOnAssert quiet(false);
        EXPECT_FALSE(set.WriteArray<P>(fr::VC_Position, 0, 4, std::span<const P>(pos.data(), 3)))
            << "fewer values than the range";
    }
}

TEST(VertexSetRanges, AddSetGetAndRemove)
{
    fr::MemoryVertexSet set;
    ASSERT_TRUE(set.Create(Type({fr::VC_Position}), 100, 0));
    const uint32 id = set.AddRange(10, 20);
    EXPECT_EQ(id, 1u);
    uint32 start = 0, count = 0;
    set.GetRange(id, start, count);
    EXPECT_EQ(start, 10u);
    EXPECT_EQ(count, 20u);
    set.SetRange(id, 50, 50);
    set.GetRange(id, start, count);
    EXPECT_EQ(start, 50u);
    EXPECT_EQ(count, 50u);
    set.RemoveRange(id);
    set.GetRange(id, start, count);
    EXPECT_EQ(start, 0u);
    EXPECT_EQ(count, 0u);
    EXPECT_EQ(set.AddRange(0, 100), 2u);
}
