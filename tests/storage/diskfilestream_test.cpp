#include "storage/diskfilestream.h"

#include "foundation/debug.h"

#include <gtest/gtest.h>

#include "support/tempfolder.h"

#include <string>
#include <vector>

namespace
{
constexpr uint32 Cap = DiskFileStream::BufferCapacity;

uint8 PatternAt(uint32 offset)
{
    return uint8((offset * 7u + offset / 251u) & 0xFF);
}

class DiskFileStreamTest : public ::testing::Test
{
protected:
    std::string MakePatternFile(const std::string& name, uint32 size) const
    {
        std::string bytes(size, '\0');
        for (uint32 i = 0; i < size; ++i)
            bytes[i] = char(PatternAt(i));
        return m_folder.Write(name, bytes);
    }
    // Changes a byte of the file behind the stream's back, to see whether the stream reads the disk.
    static void Poke(const std::string& path, uint32 offset, uint8 value)
    {
        OSFile::Handle h = OSFile::Open(path.c_str(), OSFile::OM_ReadWrite, true);
        ASSERT_NE(h, 0u);
        ASSERT_TRUE(OSFile::Seek(h, offset));
        ASSERT_EQ(OSFile::Write(h, &value, 1), 1u);
        OSFile::Close(h);
    }
    TempFolder m_folder;
    const std::string m_root = m_folder.Path();
};

TEST_F(DiskFileStreamTest, ReadsThatStraddleTheBufferDeliverTheFileInOrder)
{
    const uint32 size = 2 * Cap + 100;
    const std::string path = MakePatternFile("big.bin", size);
    DiskFileStream stream;
    ASSERT_TRUE(stream.Open(path.c_str(), ByteStream::Mode_Read, true));
    EXPECT_EQ(stream.GetLength(), size);
    EXPECT_STREQ(stream.GetName(), path.c_str());
    std::vector<uint8> out(Cap + 64);
    ASSERT_EQ(stream.Read(out.data(), Cap - 16), Cap - 16);
    // 16 bytes from this buffer, 16 from the next.
    ASSERT_EQ(stream.Read(out.data(), 32), 32u);
    for (uint32 i = 0; i < 32; ++i)
        ASSERT_EQ(out[i], PatternAt(Cap - 16 + i)) << i;
    EXPECT_EQ(stream.GetPos(), Cap + 16);
    // One read longer than the whole buffer.
    ASSERT_EQ(stream.Read(out.data(), Cap + 64), Cap + 64);
    for (uint32 i = 0; i < Cap + 64; ++i)
        ASSERT_EQ(out[i], PatternAt(Cap + 16 + i)) << i;
    EXPECT_EQ(stream.GetPos(), 2 * Cap + 80);
    // The tail of the file: a short count.
    EXPECT_EQ(stream.Read(out.data(), 100), 20u);
    EXPECT_EQ(stream.GetPos(), size);
    EXPECT_EQ(stream.Read(out.data(), 1), 0u);
}

TEST_F(DiskFileStreamTest, SeekInsideTheBufferDoesNotRereadAndJustPastItDoes)
{
    const std::string path = MakePatternFile("seek.bin", Cap + 10);
    DiskFileStream stream;
    ASSERT_TRUE(stream.Open(path.c_str(), ByteStream::Mode_Read, true));
    // The stream holds [0, Cap) now. Change the disk at the last byte of the buffer and just past it.
    Poke(path, Cap - 1, 0xEE);
    Poke(path, Cap, 0xDD);
    Poke(path, 0, 0xCC);
    uint8 byte = 0;
    ASSERT_TRUE(stream.Seek(Cap - 1));
    ASSERT_EQ(stream.Read(&byte, 1), 1u);
    EXPECT_EQ(byte, PatternAt(Cap - 1)) << "the last byte of the buffer comes from the buffer";
    ASSERT_TRUE(stream.Seek(Cap));
    ASSERT_EQ(stream.Read(&byte, 1), 1u);
    EXPECT_EQ(byte, 0xDD) << "just past the buffer refills from the file";
    EXPECT_EQ(stream.GetPos(), Cap + 1);
    // Back before the buffer [Cap, Cap + 10): a refill from the start sees the new first byte.
    ASSERT_TRUE(stream.Seek(0));
    ASSERT_EQ(stream.Read(&byte, 1), 1u);
    EXPECT_EQ(byte, 0xCC);
    ASSERT_TRUE(stream.Seek(Cap + 10)) << "the end is a valid target";
    EXPECT_EQ(stream.Read(&byte, 1), 0u);
    dbg::ScopedThrowOnAssert silent(false);
    EXPECT_FALSE(stream.Seek(Cap + 11));
}

TEST_F(DiskFileStreamTest, ALongReadAcrossTheLastShortBufferCountsTheWholeStep)
{
    // The count is measured against the buffer's capacity, not what it holds: a read of more than a
    // buffer from a 100-byte file reports a full buffer, of which only 100 bytes are the file's.
    const std::string path = MakePatternFile("small.bin", 100);
    DiskFileStream stream;
    ASSERT_TRUE(stream.Open(path.c_str(), ByteStream::Mode_Read, true));
    std::vector<uint8> out(Cap + 10);
    EXPECT_EQ(stream.Read(out.data(), Cap + 10), Cap);
    for (uint32 i = 0; i < 100; ++i)
        ASSERT_EQ(out[i], PatternAt(i));
    EXPECT_EQ(stream.GetPos(), 100u);
    // A read within the capacity is clamped to what the file has.
    ASSERT_TRUE(stream.Seek(90));
    EXPECT_EQ(stream.Read(out.data(), 20), 10u);
}

TEST_F(DiskFileStreamTest, WritesGoStraightToTheFileAndSeekBackPatches)
{
    const std::string path = m_root + "/out.bin";
    {
        DiskFileStream stream;
        ASSERT_TRUE(stream.Open(path.c_str(), ByteStream::Mode_Write, false));
        EXPECT_EQ(stream.Write("0000abcd", 8), 8u);
        EXPECT_EQ(stream.GetPos(), 8u);
        EXPECT_EQ(stream.GetLength(), 8u) << "the file's current length in a write mode";
        EXPECT_EQ(TempFolder::Read(path), "0000abcd") << "nothing is held back in a buffer";
        ASSERT_TRUE(stream.Seek(8)) << "the current position";
        ASSERT_TRUE(stream.Seek(0));
        EXPECT_EQ(stream.Write("1234", 4), 4u);
        ASSERT_TRUE(stream.Seek(8));
        EXPECT_EQ(stream.Write("!", 1), 1u);
        EXPECT_EQ(stream.Write("x", 0), 0u);
        dbg::ScopedThrowOnAssert silent(false);
        char c;
        EXPECT_EQ(stream.Read(&c, 1), 0u) << "no reads in write mode";
    }
    EXPECT_EQ(TempFolder::Read(path), "1234abcd!");
    // Mode_Write truncates an existing file.
    DiskFileStream again;
    ASSERT_TRUE(again.Open(path.c_str(), ByteStream::Mode_Write, false));
    EXPECT_EQ(again.GetLength(), 0u);
}

TEST_F(DiskFileStreamTest, BothModeStandsAtTheEnd)
{
    const std::string path = MakePatternFile("both.bin", 50);
    DiskFileStream stream;
    ASSERT_TRUE(stream.Open(path.c_str(), ByteStream::Mode_Both, false));
    EXPECT_EQ(stream.GetPos(), 50u);
    EXPECT_EQ(stream.GetLength(), 50u);
    EXPECT_EQ(stream.Write("tail", 4), 4u);
    stream.Close();
    const std::string bytes = TempFolder::Read(path);
    ASSERT_EQ(bytes.size(), 54u);
    EXPECT_EQ(bytes.substr(50), "tail");
    EXPECT_EQ(uint8(bytes[49]), PatternAt(49));
}

TEST_F(DiskFileStreamTest, OpenAndCloseStates)
{
    DiskFileStream stream;
    EXPECT_FALSE(stream.Open((m_root + "/none.bin").c_str(), ByteStream::Mode_Read, true));
    EXPECT_FALSE(stream.IsOpen());
    EXPECT_EQ(stream.GetStreamMode(), ByteStream::Mode_None);
    EXPECT_EQ(DiskFileStream::New((m_root + "/none.bin").c_str(), ByteStream::Mode_Read, true), nullptr);
    const std::string path = MakePatternFile("a.bin", 10);
    std::unique_ptr<ByteStream> pStream = DiskFileStream::New(path.c_str(), ByteStream::Mode_Read, true);
    ASSERT_NE(pStream, nullptr);
    EXPECT_EQ(pStream->GetStreamMode(), ByteStream::Mode_Read);
    ASSERT_TRUE(stream.Open(path.c_str(), ByteStream::Mode_Read, true));
    // Reopening closes the first file and starts the buffer afresh.
    const std::string other = MakePatternFile("b.bin", 3);
    ASSERT_TRUE(stream.Open(other.c_str(), ByteStream::Mode_Read, true));
    EXPECT_EQ(stream.GetLength(), 3u);
    EXPECT_EQ(stream.GetPos(), 0u);
    stream.Close();
    EXPECT_EQ(stream.GetStreamMode(), ByteStream::Mode_None);
    EXPECT_STREQ(stream.GetName(), "");
    dbg::ScopedThrowOnAssert throws;
    EXPECT_THROW(stream.Open(path.c_str(), ByteStream::Mode_None, true), std::runtime_error);
    EXPECT_THROW(stream.Open("", ByteStream::Mode_Read, true), std::runtime_error);
    uint8 byte;
    EXPECT_THROW(stream.Read(&byte, 1), std::runtime_error) << "a closed stream";
}
} // namespace
