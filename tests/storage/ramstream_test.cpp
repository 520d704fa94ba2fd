#include "storage/ramstream.h"

#include "foundation/debug.h"

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

namespace
{
std::vector<uint8> Bytes(uint32 count)
{
    std::vector<uint8> bytes(count);
    for (uint32 i = 0; i < count; ++i)
        bytes[i] = uint8(i);
    return bytes;
}

TEST(RamStreamGrowth, DoublesFromSixteenUntilStrictlyGreater)
{
    const std::pair<uint32, uint32> cases[] = {
        {0, 16}, {15, 16}, {16, 32}, {17, 32}, {1000, 1024}, {1024, 2048}, {(1u << 24) - 1, 1u << 24}};
    for (const auto& [size, grown] : cases)
        EXPECT_EQ(RamStream::GrowSize(size), grown) << size;
    dbg::ScopedThrowOnAssert silent(false);
    EXPECT_EQ(RamStream::GrowSize(1u << 24), 0u);
}

TEST(RamStreamGrowth, WritingSixteenBytesIntoOneGrowsToThirtyTwoAndKeepsTheBytes)
{
    RamStream stream;
    ASSERT_TRUE(stream.Create(1, ByteStream::Mode_Write));
    EXPECT_EQ(stream.GetLength(), 0u) << "a write stream starts empty";
    const std::vector<uint8> bytes = Bytes(16);
    EXPECT_EQ(stream.Write(bytes.data(), 1), 1u);
    EXPECT_EQ(stream.GetCapacity(), 1u);
    EXPECT_EQ(stream.Write(bytes.data() + 1, 15), 15u);
    EXPECT_EQ(stream.GetCapacity(), 32u);
    EXPECT_EQ(stream.GetLength(), 16u);
    EXPECT_EQ(std::memcmp(stream.GetBuffer(), bytes.data(), 16), 0);
    // Overwriting inside the block neither grows it nor lengthens the stream.
    ASSERT_TRUE(stream.Seek(4));
    EXPECT_EQ(stream.Write("ab", 2), 2u);
    EXPECT_EQ(stream.GetLength(), 16u);
    EXPECT_EQ(stream.GetPos(), 6u);
    EXPECT_EQ(stream.GetBuffer()[4], 'a');
}

TEST(RamStreamGrowth, AGrowableStreamStaysBelowSixteenMegabytes)
{
    RamStream stream;
    ASSERT_TRUE(stream.Create(16, ByteStream::Mode_Write));
    std::vector<uint8> big((1u << 24) - 1);
    EXPECT_EQ(stream.Write(big.data(), uint32(big.size())), big.size());
    EXPECT_EQ(stream.GetCapacity(), 1u << 24);
    EXPECT_EQ(stream.Write("x", 1), 1u) << "the last byte of the block needs no growth";
    {
        dbg::ScopedThrowOnAssert throws;
        EXPECT_THROW(stream.Write("y", 1), std::runtime_error);
    }
    dbg::ScopedThrowOnAssert silent(false);
    EXPECT_EQ(stream.Write("yz", 2), 0u);
    EXPECT_EQ(stream.GetLength(), 1u << 24);
}

TEST(RamStreamCreate, ReadModeHoldsTheWholeBlockAndASecondCreateFails)
{
    RamStream stream;
    ASSERT_TRUE(stream.Create(8, ByteStream::Mode_Read));
    EXPECT_EQ(stream.GetLength(), 8u);
    uint8 out[10];
    EXPECT_EQ(stream.Read(out, 10), 8u);
    dbg::ScopedThrowOnAssert silent(false);
    EXPECT_FALSE(stream.Create(8, ByteStream::Mode_Read));
    EXPECT_FALSE(stream.Attach(out, 10, false, ByteStream::Mode_Read));
    RamStream other;
    EXPECT_FALSE(other.Create(0, ByteStream::Mode_Write));
}

TEST(RamStreamAttach, ReadsAreClampedAndWritesBounded)
{
    std::vector<uint8> block = Bytes(100);
    RamStream stream;
    ASSERT_TRUE(stream.Attach(block.data(), 100, false, ByteStream::Mode_Read));
    ASSERT_TRUE(stream.Seek(90));
    uint8 out[20] = {};
    EXPECT_EQ(stream.Read(out, 20), 10u);
    EXPECT_EQ(out[0], 90);
    EXPECT_EQ(out[9], 99);
    EXPECT_EQ(stream.Read(out, 20), 0u);
    EXPECT_EQ(stream.GetPos(), 100u);
    EXPECT_TRUE(stream.Seek(100)) << "the end itself is a valid position";
    dbg::ScopedThrowOnAssert silent(false);
    EXPECT_FALSE(stream.Seek(101));
    EXPECT_EQ(stream.GetPos(), 100u);
    EXPECT_EQ(stream.Write("x", 1), 0u) << "a read stream takes no writes";
    // An attached write block does not grow.
    uint8 small[8] = {};
    RamStream writer;
    ASSERT_TRUE(writer.Attach(small, 8, false, ByteStream::Mode_Write));
    EXPECT_EQ(writer.Write("abcdef", 6), 6u);
    EXPECT_EQ(writer.Write("ghi", 3), 0u);
    EXPECT_EQ(writer.Write("gh", 2), 2u);
    EXPECT_EQ(std::memcmp(small, "abcdefgh", 8), 0);
    // Unbounded reads are not checked.
    RamStream unbounded;
    ASSERT_TRUE(unbounded.AttachUnbounded(block.data(), false));
    EXPECT_EQ(unbounded.GetLength(), 0u);
    ASSERT_TRUE(unbounded.Seek(40));
    EXPECT_EQ(unbounded.Read(out, 8), 8u);
    EXPECT_EQ(out[0], 40);
    EXPECT_EQ(unbounded.GetPos(), 48u);
}

TEST(RamStreamDetach, HandsOutAnOwnedBlockAndRefusesABorrowedOne)
{
    RamStream stream;
    ASSERT_TRUE(stream.Create(4, ByteStream::Mode_Write));
    stream.Write("abcdefgh", 8);
    std::unique_ptr<uint8[]> pBlock = stream.Detach();
    ASSERT_NE(pBlock, nullptr);
    EXPECT_EQ(std::memcmp(pBlock.get(), "abcdefgh", 8), 0);
    EXPECT_EQ(stream.GetStreamMode(), ByteStream::Mode_None);
    EXPECT_EQ(stream.GetCapacity(), 0u);
    EXPECT_TRUE(stream.Create(4, ByteStream::Mode_Write)) << "an emptied stream takes a new block";
    uint8 block[4] = {1, 2, 3, 4};
    RamStream borrowed;
    ASSERT_TRUE(borrowed.Attach(block, 4, false, ByteStream::Mode_Read));
    {
        dbg::ScopedThrowOnAssert silent(false);
        EXPECT_EQ(borrowed.Detach(), nullptr);
    }
    EXPECT_EQ(borrowed.GetBuffer(), block) << "a refused detach keeps the block";
    EXPECT_EQ(borrowed.GetLength(), 4u);
    // An attached owned block is freed by the stream (checked by the leak sanitizer builds).
    RamStream owner;
    ASSERT_TRUE(owner.Attach(new uint8[16](), 16, true, ByteStream::Mode_Read));
}

TEST(RamStreamMisuse, OperationsOnAnEmptyStreamOrBadModesAssert)
{
    RamStream stream;
    dbg::ScopedThrowOnAssert throws;
    uint8 out[4];
    EXPECT_THROW(stream.Read(out, 4), std::runtime_error);
    EXPECT_THROW(stream.Seek(0), std::runtime_error);
    EXPECT_THROW(stream.GetBuffer(), std::runtime_error);
    EXPECT_THROW(stream.Attach(out, 4, false, ByteStream::Mode_Both), std::runtime_error);
    EXPECT_THROW(stream.Attach(out, 4, false, ByteStream::Mode_None), std::runtime_error);
}
} // namespace
