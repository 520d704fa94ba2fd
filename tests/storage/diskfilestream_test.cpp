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
        EXPECT_TRUE(h != 0 && OSFile::Seek(h, offset) && OSFile::Write(h, &value, 1) == 1u);
        OSFile::Close(h);
    }
    TempFolder m_folder;
    const std::string m_root = m_folder.Path();
};

// Reads `count` bytes and tells whether they were the file's from `from` on.
bool ReadsPattern(DiskFileStream& stream, uint32 count, uint32 got, uint32 from)
{
    std::vector<uint8> out(count);
    if (stream.Read(out.data(), count) != got)
        return false;
    for (uint32 i = 0; i < got && from + i < stream.GetLength(); ++i)
        if (out[i] != PatternAt(from + i))
            return false;
    return true;
}

TEST_F(DiskFileStreamTest, ReadsThatStraddleTheBufferDeliverTheFileInOrder)
{
    const std::string path = MakePatternFile("big.bin", 2 * Cap + 100);
    DiskFileStream stream;
    ASSERT_TRUE(stream.Open(path.c_str(), ByteStream::Mode_Read, true));
    EXPECT_EQ(stream.GetLength(), 2 * Cap + 100);
    EXPECT_TRUE(ReadsPattern(stream, Cap - 16, Cap - 16, 0));
    EXPECT_TRUE(ReadsPattern(stream, 32, 32, Cap - 16)) << "16 bytes from this buffer, 16 from the next";
    EXPECT_TRUE(ReadsPattern(stream, Cap + 64, Cap + 64, Cap + 16)) << "longer than the whole buffer";
    EXPECT_TRUE(ReadsPattern(stream, 100, 20, 2 * Cap + 80)) << "the tail: a short count";
    EXPECT_EQ(stream.GetPos(), 2 * Cap + 100);
    // The count of a read past the last short buffer is measured against the buffer's capacity,
    // not what it holds: a full buffer, of which only 100 bytes are the file's.
    const std::string small = MakePatternFile("small.bin", 100);
    ASSERT_TRUE(stream.Open(small.c_str(), ByteStream::Mode_Read, true));
    EXPECT_TRUE(ReadsPattern(stream, Cap + 10, Cap, 0));
    EXPECT_EQ(stream.GetPos(), 100u);
    ASSERT_TRUE(stream.Seek(90));
    EXPECT_TRUE(ReadsPattern(stream, 20, 10, 90)) << "within the capacity: clamped to the file";
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
    auto byteAt = [&](uint32 at)
    {
        uint8 byte = 0;
        return stream.Seek(at) && stream.Read(&byte, 1) == 1 ? int(byte) : -1;
    };
    EXPECT_EQ(byteAt(Cap - 1), PatternAt(Cap - 1)) << "the last byte of the buffer comes from the buffer";
    EXPECT_EQ(byteAt(Cap), 0xDD) << "just past the buffer refills from the file";
    EXPECT_EQ(byteAt(0), 0xCC) << "back before the buffer [Cap, Cap + 10): a refill from the start";
    ASSERT_TRUE(stream.Seek(Cap + 10)) << "the end is a valid target";
    dbg::ScopedThrowOnAssert silent(false);
    EXPECT_FALSE(stream.Seek(Cap + 11));
}

TEST_F(DiskFileStreamTest, WritesGoStraightToTheFileAndSeekBackPatches)
{
    const std::string path = m_root + "/out.bin";
    {
        DiskFileStream stream;
        ASSERT_TRUE(stream.Open(path.c_str(), ByteStream::Mode_Write, false));
        EXPECT_EQ(stream.Write("0000abcd", 8), 8u);
        EXPECT_EQ(stream.GetLength(), 8u) << "the file's current length in a write mode";
        EXPECT_EQ(TempFolder::Read(path), "0000abcd") << "nothing is held back in a buffer";
        EXPECT_TRUE(stream.Seek(0) && stream.Write("1234", 4) == 4u && stream.Seek(8) &&
                    stream.Write("!", 1) == 1u);
    }
    EXPECT_EQ(TempFolder::Read(path), "1234abcd!");
    // Both stands at the end of the file; Write truncates it.
    DiskFileStream both;
    ASSERT_TRUE(both.Open(path.c_str(), ByteStream::Mode_Both, false));
    EXPECT_TRUE(both.GetPos() == 9u && both.Write("tail", 4) == 4u);
    both.Close();
    EXPECT_EQ(TempFolder::Read(path), "1234abcd!tail");
    ASSERT_TRUE(both.Open(path.c_str(), ByteStream::Mode_Write, false));
    EXPECT_EQ(both.GetLength(), 0u);
}

} // namespace
