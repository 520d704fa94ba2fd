#include "storage/ramstream.h"

#include "foundation/debug.h"

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

namespace
{
TEST(RamStreamGrowth, DoublesFromSixteenUntilStrictlyGreaterBelowSixteenMegabytes)
{
    const std::pair<uint32, uint32> cases[] = {{0, 16}, {15, 16}, {16, 32}, {(1u << 24) - 1, 1u << 24}};
    for (const auto& [size, grown] : cases)
        EXPECT_EQ(RamStream::GrowSize(size), grown) << size;
    dbg::ScopedThrowOnAssert silent(false);
    EXPECT_EQ(RamStream::GrowSize(1u << 24), 0u);
    RamStream stream;
    ASSERT_TRUE(stream.Create(1, ByteStream::Mode_Write));
    EXPECT_EQ(stream.Write("a", 1), 1u);
    EXPECT_EQ(stream.GetCapacity(), 1u);
    EXPECT_EQ(stream.Write("bcdefghijklmnop", 15), 15u);
    EXPECT_EQ(stream.GetCapacity(), 32u);
    EXPECT_EQ(std::memcmp(stream.GetBuffer(), "abcdefghijklmnop", 16), 0);
    // Overwriting inside the block neither grows it nor lengthens the stream.
    ASSERT_TRUE(stream.Seek(4));
    EXPECT_EQ(stream.Write("XY", 2), 2u);
    EXPECT_TRUE(stream.GetLength() == 16u && stream.GetPos() == 6u && stream.GetBuffer()[4] == 'X');
    RamStream big;
    ASSERT_TRUE(big.Create(16, ByteStream::Mode_Write));
    std::vector<uint8> bytes((1u << 24) - 1);
    EXPECT_EQ(big.Write(bytes.data(), uint32(bytes.size())), bytes.size());
    EXPECT_EQ(big.Write("x", 1), 1u) << "the last byte of the block needs no growth";
    EXPECT_EQ(big.Write("yz", 2), 0u);
    EXPECT_EQ(big.GetLength(), 1u << 24);
}

TEST(RamStreamBlocks, ReadsAreClampedAndAttachedBlocksBounded)
{
    RamStream stream;
    ASSERT_TRUE(stream.Create(8, ByteStream::Mode_Read));
    EXPECT_EQ(stream.GetLength(), 8u) << "a read stream holds the whole block";
    uint8 out[20] = {};
    dbg::ScopedThrowOnAssert silent(false);
    EXPECT_FALSE(stream.Create(8, ByteStream::Mode_Read)) << "a second block";
    EXPECT_FALSE(RamStream().Create(0, ByteStream::Mode_Write));
    std::vector<uint8> block(100);
    for (uint32 i = 0; i < 100; ++i)
        block[i] = uint8(i);
    RamStream reader;
    ASSERT_TRUE(reader.Attach(block.data(), 100, false, ByteStream::Mode_Read));
    ASSERT_TRUE(reader.Seek(90));
    EXPECT_EQ(reader.Read(out, 20), 10u);
    EXPECT_EQ(out[9], 99);
    EXPECT_EQ(reader.Read(out, 20), 0u);
    EXPECT_TRUE(reader.Seek(100)) << "the end itself is a valid position";
    EXPECT_FALSE(reader.Seek(101));
    EXPECT_EQ(reader.GetPos(), 100u);
    EXPECT_EQ(reader.Write("x", 1), 0u) << "a read stream takes no writes";
    uint8 small[8] = {};
    RamStream writer;
    ASSERT_TRUE(writer.Attach(small, 8, false, ByteStream::Mode_Write));
    EXPECT_EQ(writer.Write("abcdef", 6), 6u);
    EXPECT_EQ(writer.Write("ghi", 3), 0u) << "an attached block does not grow";
    EXPECT_EQ(writer.Write("gh", 2), 2u);
    EXPECT_EQ(std::memcmp(small, "abcdefgh", 8), 0);
    RamStream unbounded;
    ASSERT_TRUE(unbounded.AttachUnbounded(block.data(), false));
    ASSERT_TRUE(unbounded.Seek(40));
    EXPECT_EQ(unbounded.Read(out, 8), 8u);
    EXPECT_EQ(out[0], 40);
}

TEST(RamStreamDetach, HandsOutAnOwnedBlockAndRefusesABorrowedOne)
{
    RamStream stream;
    ASSERT_TRUE(stream.Create(4, ByteStream::Mode_Write));
    stream.Write("abcdefgh", 8);
    std::unique_ptr<uint8[]> pBlock = stream.Detach();
    ASSERT_NE(pBlock, nullptr);
    EXPECT_EQ(std::memcmp(pBlock.get(), "abcdefgh", 8), 0);
    uint8 block[4] = {1, 2, 3, 4};
    RamStream borrowed;
    ASSERT_TRUE(borrowed.Attach(block, 4, false, ByteStream::Mode_Read));
    dbg::ScopedThrowOnAssert silent(false);
    EXPECT_EQ(borrowed.Detach(), nullptr);
    EXPECT_TRUE(borrowed.GetBuffer() == block && borrowed.GetLength() == 4u) << "a refused detach keeps it";
}
} // namespace
