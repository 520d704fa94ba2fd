#include "storage/chunky.h"
#include "storage/diskfilestream.h"
#include "storage/ramstream.h"

#include "foundation/debug.h"

#include "support/chunkmemory.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>

namespace
{
// Files built by hand, byte by byte.
std::string U32(uint32 v)
{
    return std::string(reinterpret_cast<const char*>(&v), 4);
}
std::string FileHeader(uint32 version = 1, uint32 platform = 1)
{
    return std::string("Vardo Chunky\r\n\x1a\0", 16) + U32(version) + U32(platform);
}
std::string Header(const char* type, const char* id, uint32 version, uint32 size, const char* name = nullptr)
{
    std::string header = std::string(type, 4) + std::string(id, 4) + U32(version) + U32(size);
    const size_t length = name != nullptr && name[0] != '\0' ? std::strlen(name) + 1 : 0;
    return header + U32(uint32(length)) + std::string(name != nullptr ? name : "", length);
}

// A tree with names and data: RSGM "walker" { INFO v2: 42; MESH "A" { VERT v3: "xyz" }; TAIL: empty }.
std::string WalkerFile()
{
    return FileHeader() + Header("FOLD", "RSGM", 1, 89, "walker") + Header("DATA", "INFO", 2, 4) + U32(42) +
           Header("FOLD", "MESH", 1, 23, "A") + Header("DATA", "VERT", 3, 3) + "xyz" +
           Header("DATA", "TAIL", 1, 0);
}

using Reader = ChunkReader;
using Writer = ChunkWriter;

// Runs `f` and checks that it throws this container error; returns the error's position.
uint32 ExpectChunkyError(const std::function<void()>& f, uint32 code, const char* text)
{
    try
    {
        f();
        ADD_FAILURE() << "expected \"" << text << "\"";
    }
    catch (const Chunky::Exception& e)
    {
        EXPECT_EQ(e.GetCode(), code);
        EXPECT_STREQ(e.what(), text);
        return e.GetPosition();
    }
    return 0;
}

void WriteWalker(Chunky& chunky, ByteStreamAdapter& adapter)
{
    chunky.OpenFolderChunk(FourCC("RSGM"), 1, "walker");
    chunky.OpenDataChunk(FourCC("INFO"), 2, nullptr);
    adapter.WriteValue(uint32(42));
    chunky.CloseChunk();
    chunky.OpenFolderChunk(FourCC("MESH"), 1, "A");
    chunky.OpenDataChunk(FourCC("VERT"), 3, "");
    adapter.Write("xyz", 3);
    chunky.CloseChunk();
    chunky.CloseChunk();
    chunky.OpenDataChunk(FourCC("TAIL"), 1, nullptr);
    chunky.CloseChunk();
    chunky.CloseChunk();
}

TEST(ChunkyFormat, TheWriterMakesExactlyTheHandBuiltBytes)
{
    Writer out;
    WriteWalker(*out.m_pChunky, out.m_adapter);
    EXPECT_EQ(out.m_pChunky->GetDepth(), 0u);
    EXPECT_EQ(out.Bytes(), WalkerFile());
}

TEST(ChunkyFormat, TheReaderWalksTheHandBuiltTree)
{
    Reader in(WalkerFile());
    Chunky& chunky = *in.m_pChunky;
    EXPECT_EQ(chunky.GetPlatform(), 1u);
    ChunkInfo root = chunky.ReadFolderChunk(FourCC("RSGM"), 1);
    EXPECT_EQ(root.kind, Chunky::CT_Folder);
    EXPECT_EQ(root.size, 89u);
    EXPECT_EQ(root.name, "walker");
    EXPECT_EQ(chunky.GetDepth(), 1u);

    ChunkInfo info;
    ASSERT_TRUE(chunky.NextChunk(info));
    EXPECT_EQ(info.kind, Chunky::CT_Data);
    EXPECT_EQ(info.id, FourCC("INFO"));
    EXPECT_EQ(info.version, 2u);
    EXPECT_EQ(info.size, 4u);
    EXPECT_TRUE(info.name.empty());
    EXPECT_EQ(chunky.GetDepth(), 1u) << "a peeked chunk is not entered";
    ChunkInfo entered = chunky.ReadDataChunk(FourCC("INFO"), 2);
    EXPECT_EQ(chunky.GetDepth(), 2u);
    EXPECT_EQ(entered.size, 4u);
    uint32 value = 0;
    ASSERT_TRUE(in.m_adapter.ReadValue(value));
    EXPECT_EQ(value, 42u);
    chunky.CloseChunk();

    ASSERT_TRUE(chunky.NextChunk(info));
    EXPECT_EQ(info.id, FourCC("MESH"));
    EXPECT_EQ(info.name, "A");
    chunky.ReadFolderChunk(FourCC("MESH"), 1);
    ChunkInfo vert = chunky.ReadDataChunk(FourCC("VERT"), 3);
    EXPECT_EQ(vert.version, 3u);
    EXPECT_EQ(chunky.GetDepth(), 3u);
    char xyz[4] = {};
    ASSERT_EQ(in.m_adapter.Read(xyz, 3), 3u);
    EXPECT_STREQ(xyz, "xyz");
    chunky.CloseChunk();
    EXPECT_FALSE(chunky.NextChunk(info)) << "MESH has one child";
    chunky.CloseChunk();

    ASSERT_TRUE(chunky.NextChunk(info));
    EXPECT_EQ(info.id, FourCC("TAIL"));
    EXPECT_EQ(info.size, 0u);
    // TAIL is passed over unread; the end of RSGM comes next.
    EXPECT_FALSE(chunky.NextChunk(info));
    chunky.CloseChunk();
    EXPECT_EQ(chunky.GetDepth(), 0u);
    EXPECT_FALSE(chunky.NextChunk(info)) << "the end of the file";
}

TEST(ChunkyFormat, RoundTripThroughADiskFileWithLargePayloads)
{
    char pattern[] = "/tmp/tq7z_chunky_XXXXXX";
    ASSERT_NE(::mkdtemp(pattern), nullptr);
    const std::string path = std::string(pattern) + "/round.chunky";
    // Payloads larger than the disk stream's buffer, so that passing over them seeks past it.
    std::string big(300000, '\0');
    for (size_t i = 0; i < big.size(); ++i)
        big[i] = char(i * 13 + i / 256);
    {
        DiskFileStream stream;
        ASSERT_TRUE(stream.Open(path.c_str(), ByteStream::Mode_Write, false));
        ByteStreamAdapter adapter(stream);
        Chunky chunky(adapter);
        chunky.OpenFolderChunk(FourCC("ROOT"), 4, "root folder");
        for (int i = 0; i < 3; ++i)
        {
            chunky.OpenFolderChunk(FourCC("PART"), 1, ("part" + std::to_string(i)).c_str());
            chunky.OpenDataChunk(FourCC("BLOB"), 1, nullptr);
            adapter.Write(big.data(), uint32(big.size()));
            adapter.WriteValue(uint32(i));
            chunky.CloseChunk();
            chunky.OpenFolderChunk(FourCC("EMPT"), 1, nullptr);
            chunky.CloseChunk();
            chunky.CloseChunk();
        }
        chunky.CloseChunk();
        chunky.OpenDataChunk(FourCC("LAST"), 2, "end");
        adapter.WriteString("done");
        chunky.CloseChunk();
    }
    DiskFileStream stream;
    ASSERT_TRUE(stream.Open(path.c_str(), ByteStream::Mode_Read, true));
    ByteStreamAdapter adapter(stream);
    Chunky chunky(adapter);
    ChunkInfo root = chunky.ReadFolderChunk(FourCC("ROOT"), 4);
    EXPECT_EQ(root.name, "root folder");
    EXPECT_EQ(root.size, 3 * (20 + 6 + 20 + 300004 + 20));
    ChunkInfo info;
    for (uint32 i = 0; i < 3; ++i)
    {
        ASSERT_TRUE(chunky.NextChunk(info));
        EXPECT_EQ(info.name, ("part" + std::to_string(i)).c_str());
        chunky.ReadFolderChunk(FourCC("PART"), 1);
        if (i == 1)
        {
            // The middle blob is read in full; the others are passed over.
            ChunkInfo blob = chunky.ReadDataChunk(FourCC("BLOB"), 1);
            ASSERT_EQ(blob.size, big.size() + 4);
            std::string back(big.size(), '\0');
            ASSERT_EQ(adapter.Read(back.data(), uint32(back.size())), back.size());
            EXPECT_TRUE(back == big);
            uint32 index = 99;
            adapter.ReadValue(index);
            EXPECT_EQ(index, 1u);
            chunky.CloseChunk();
        }
        ASSERT_TRUE(chunky.FindChunk(Chunky::CT_Folder, FourCC("EMPT")));
        chunky.ReadFolderChunk(FourCC("EMPT"), 1);
        EXPECT_FALSE(chunky.NextChunk(info)) << "an empty folder";
        chunky.CloseChunk();
        EXPECT_FALSE(chunky.NextChunk(info));
        chunky.CloseChunk();
    }
    EXPECT_FALSE(chunky.NextChunk(info));
    chunky.CloseChunk();
    ChunkInfo last = chunky.ReadDataChunk(FourCC("LAST"), 2);
    EXPECT_EQ(last.name, "end");
    std::string text;
    ASSERT_TRUE(adapter.ReadString(text));
    EXPECT_EQ(text, "done");
    chunky.CloseChunk();
    EXPECT_FALSE(chunky.NextChunk(info));
    std::filesystem::remove_all(pattern);
}

TEST(ChunkyFormat, NamesStoreTheirTerminatorAndAnEmptyNameIsNone)
{
    Writer out;
    out.m_pChunky->OpenFolderChunk(FourCC("EMPT"), 1, "");
    out.m_pChunky->CloseChunk();
    out.m_pChunky->OpenDataChunk(FourCC("ONEC"), 1, "A");
    out.m_pChunky->CloseChunk();
    EXPECT_EQ(out.Bytes(), FileHeader() + Header("FOLD", "EMPT", 1, 0) + Header("DATA", "ONEC", 1, 0, "A"));
    EXPECT_EQ(out.Bytes().substr(24 + 20 + 16, 4), U32(2)) << "\"A\" has length 2";
}

TEST(ChunkyFormat, FileHeaderVersionsAndMagic)
{
    {
        Reader in(FileHeader(0) + Header("DATA", "ABCD", 1, 0));
        ChunkInfo info;
        EXPECT_TRUE(in.m_pChunky->NextChunk(info)) << "version 0 reads as 1 does";
    }
    {
        Reader in(FileHeader(1, 77));
        ChunkInfo info;
        EXPECT_EQ(in.m_pChunky->GetPlatform(), 77u) << "the platform is taken, not tested";
        EXPECT_FALSE(in.m_pChunky->NextChunk(info)) << "only the file header";
    }
    ExpectChunkyError([] { Reader in(FileHeader(2)); }, 1, "Unsupported file version!");
    ExpectChunkyError([] { Reader in(""); }, 1, "Not a valid chunky file!");
    std::string wrongLast = FileHeader();
    wrongLast[15] = 'x';
    ExpectChunkyError([&] { Reader in(wrongLast); }, 1, "Not a valid chunky file!");

    ByteStreamAdapter none;
    ExpectChunkyError([&] { Chunky chunky(none); }, 0, "Unable to open file!");
}

TEST(ChunkyReading, PayloadReadersMayStopShortButNotRunOver)
{
    const std::string file =
        FileHeader() + Header("DATA", "TWLV", 1, 12) + "abcdefghijkl" + Header("DATA", "NEXT", 1, 0);
    {
        Reader in(file);
        in.m_pChunky->ReadDataChunk(FourCC("TWLV"), 1);
        char buf[16];
        in.m_adapter.Read(buf, 8);
        in.m_pChunky->CloseChunk();
        EXPECT_EQ(in.m_adapter.GetPos(), 24u + 20 + 12);
        EXPECT_EQ(in.m_pChunky->ReadDataChunk(FourCC("NEXT"), 1).id, FourCC("NEXT"));
    }
    {
        Reader in(file);
        in.m_pChunky->ReadDataChunk(FourCC("TWLV"), 1);
        char buf[16];
        in.m_adapter.Read(buf, 16);
        const uint32 at =
            ExpectChunkyError([&] { in.m_pChunky->CloseChunk(); }, 6, "Read past the Chunk end!");
        EXPECT_EQ(at, 24u + 20 + 16);
    }
}

TEST(ChunkyReading, VersionsUpToTheMaximumAreAccepted)
{
    const std::string file = FileHeader() + Header("DATA", "VERS", 3, 0);
    Reader accepted(file);
    EXPECT_EQ(accepted.m_pChunky->ReadDataChunk(FourCC("VERS"), 3).version, 3u);
    Reader newer(file);
    const uint32 at = ExpectChunkyError([&] { newer.m_pChunky->ReadDataChunk(FourCC("VERS"), 2); }, 5,
                                        "Unsupported (newer) Chunk Version!");
    EXPECT_EQ(at, 24u) << "the header of the refused chunk";
}

TEST(ChunkyReading, ReadingSkipsForwardToTheWantedChunkOnly)
{
    const std::string file = FileHeader() + Header("FOLD", "LIST", 1, 60) + Header("DATA", "AAAA", 1, 0) +
                             Header("DATA", "BBBB", 1, 0) + Header("DATA", "CCCC", 1, 0);
    {
        Reader in(file);
        Chunky& chunky = *in.m_pChunky;
        chunky.ReadFolderChunk(FourCC("LIST"), 1);
        EXPECT_EQ(chunky.ReadDataChunk(FourCC("BBBB"), 1).id, FourCC("BBBB")) << "AAAA is passed over";
        chunky.CloseChunk();
        ExpectChunkyError([&] { chunky.ReadDataChunk(FourCC("AAAA"), 1); }, 4, "Missing Chunk Type!");
    }
    {
        Reader in(file);
        Chunky& chunky = *in.m_pChunky;
        chunky.ReadFolderChunk(FourCC("LIST"), 1);
        ASSERT_TRUE(chunky.FindChunk(Chunky::CT_Data, FourCC("BBBB")));
        EXPECT_EQ(chunky.GetDepth(), 1u);
        EXPECT_EQ(chunky.ReadDataChunk(FourCC("BBBB"), 1).id, FourCC("BBBB")) << "FindChunk leaves it peeked";
        chunky.CloseChunk();
        EXPECT_FALSE(chunky.FindChunk(Chunky::CT_Data, FourCC("AAAA"))) << "the search goes forward only";
        chunky.CloseChunk();
        EXPECT_EQ(chunky.GetDepth(), 0u);
    }
    {
        Reader in(file);
        Chunky& chunky = *in.m_pChunky;
        chunky.ReadFolderChunk(FourCC("LIST"), 1);
        EXPECT_FALSE(chunky.FindChunk(Chunky::CT_Folder, FourCC("BBBB"))) << "the kind counts too";
    }
    {
        // Asking for the wrong type of the right id passes it over.
        Reader in(file);
        ExpectChunkyError([&] { in.m_pChunky->ReadDataChunk(FourCC("LIST"), 1); }, 4, "Missing Chunk Type!");
    }
}

TEST(ChunkyReading, AFalseFromNextChunkLeavesTheParentForCloseChunk)
{
    // Every caller closes the folder after the false; that close takes the folder, not a sibling.
    Reader in(FileHeader() + Header("FOLD", "OUTR", 1, 40) + Header("FOLD", "INNR", 1, 20) +
              Header("DATA", "LEAF", 1, 0) + Header("DATA", "NEXT", 1, 0));
    Chunky& chunky = *in.m_pChunky;
    ChunkInfo info;
    chunky.ReadFolderChunk(FourCC("OUTR"), 1);
    chunky.ReadFolderChunk(FourCC("INNR"), 1);
    ASSERT_TRUE(chunky.NextChunk(info));
    EXPECT_EQ(chunky.GetDepth(), 2u);
    EXPECT_FALSE(chunky.NextChunk(info));
    EXPECT_EQ(chunky.GetDepth(), 1u) << "the flag stays set until the close";
    chunky.CloseChunk();
    EXPECT_EQ(chunky.GetDepth(), 1u);
    EXPECT_FALSE(chunky.NextChunk(info));
    chunky.CloseChunk();
    EXPECT_EQ(chunky.GetDepth(), 0u);
    ASSERT_TRUE(chunky.NextChunk(info));
    EXPECT_EQ(info.id, FourCC("NEXT"));
}

TEST(ChunkyReading, MalformedHeadersAreRefusedWhereTheyStand)
{
    EXPECT_EQ(ExpectChunkyError(
                  []
                  {
                      Reader in(FileHeader() + Header("BLOB", "ABCD", 1, 0));
                      ChunkInfo i;
                      in.m_pChunky->NextChunk(i);
                  },
                  2, "Not a valid chunk header!"),
              24u);
    // A header cut short by the end of the file.
    ExpectChunkyError(
        []
        {
            Reader in(FileHeader() + Header("DATA", "ABCD", 1, 0).substr(0, 12));
            ChunkInfo i;
            in.m_pChunky->NextChunk(i);
        },
        2, "Not a valid chunk header!");
    // A payload that would run past the end of the file.
    EXPECT_EQ(ExpectChunkyError(
                  []
                  {
                      Reader in(FileHeader() + Header("DATA", "ABCD", 1, 100) + "short");
                      ChunkInfo i;
                      in.m_pChunky->NextChunk(i);
                  },
                  6, "Read past the Chunk end!"),
              24u);
    // A child whose header runs past the end of its folder.
    ExpectChunkyError(
        []
        {
            Reader in(FileHeader() + Header("FOLD", "OUTR", 1, 10) + Header("DATA", "ABCD", 1, 0));
            in.m_pChunky->ReadFolderChunk(FourCC("OUTR"), 1);
            ChunkInfo i;
            in.m_pChunky->NextChunk(i);
        },
        6, "Read past the Chunk end!");
    // A name longer than its folder.
    ExpectChunkyError(
        []
        {
            Reader in(FileHeader() + Header("FOLD", "OUTR", 1, 30) +
                      Header("DATA", "ABCD", 1, 0, "a name of twenty chars") + std::string(40, ' '));
            in.m_pChunky->ReadFolderChunk(FourCC("OUTR"), 1);
            ChunkInfo i;
            in.m_pChunky->NextChunk(i);
        },
        6, "Read past the Chunk end!");
    // A child that claims more than its folder holds is found out at the next step.
    ExpectChunkyError(
        []
        {
            Reader in(FileHeader() + Header("FOLD", "OUTR", 1, 20) + Header("DATA", "ABCD", 1, 4) + "more");
            in.m_pChunky->ReadFolderChunk(FourCC("OUTR"), 1);
            ChunkInfo i;
            in.m_pChunky->NextChunk(i);
            in.m_pChunky->NextChunk(i);
        },
        6, "Read past the Chunk end!");
}

TEST(ChunkyReading, AnAbsurdNameLengthIsAnAssertionAndAMalformedFile)
{
    const std::string file = FileHeader() + std::string("DATAABCD", 8) + U32(1) + U32(0) + U32(0xFFFFFFF0u);
    {
        dbg::ScopedThrowOnAssert throws;
        Reader in(file);
        ChunkInfo i;
        EXPECT_THROW(in.m_pChunky->NextChunk(i), std::runtime_error);
    }
    dbg::ScopedThrowOnAssert silent(false);
    ExpectChunkyError(
        [&]
        {
            Reader in(file);
            ChunkInfo i;
            in.m_pChunky->NextChunk(i);
        },
        2, "Not a valid chunk header!");
    // 1024 with its terminator is the longest name taken.
    const std::string longest(1023, 'n');
    Reader in(FileHeader() + Header("DATA", "ABCD", 1, 0, longest.c_str()));
    ChunkInfo info;
    ASSERT_TRUE(in.m_pChunky->NextChunk(info));
    EXPECT_EQ(info.name.length(), 1023u);
}

// A stream whose seeks report success and go nowhere.
class StuckSeekStream : public ByteStream
{
public:
    explicit StuckSeekStream(const std::string& bytes) : m_bytes(bytes)
    {
        m_inner.Attach(m_bytes.data(), uint32(m_bytes.size()), false, Mode_Read);
        SetStreamMode(Mode_Read);
    }
    uint32 Read(void* dst, uint32 count) override { return m_inner.Read(dst, count); }
    uint32 Write(const void*, uint32) override { return 0; }
    void Flush() override {}
    bool Seek(uint32) override { return true; }
    uint32 GetPos() const override { return m_inner.GetPos(); }
    uint32 GetLength() const override { return m_inner.GetLength(); }

private:
    std::string m_bytes;
    RamStream m_inner;
};

TEST(ChunkyReading, ASeekThatLandsElsewhereFailsTheClose)
{
    StuckSeekStream stream(FileHeader() + Header("DATA", "ABCD", 1, 8) + "12345678");
    ByteStreamAdapter adapter(stream);
    Chunky chunky(adapter);
    chunky.ReadDataChunk(FourCC("ABCD"), 1);
    EXPECT_EQ(ExpectChunkyError([&] { chunky.CloseChunk(); }, 10, "Failed to seek to end of chunk"), 44u);
}

TEST(ChunkyWriting, MisuseIsAnAssertionThenAnError)
{
    {
        Writer out;
        out.m_pChunky->OpenDataChunk(FourCC("DATA"), 1, nullptr);
        const std::string before = out.Bytes();
        {
            dbg::ScopedThrowOnAssert throws;
            try
            {
                out.m_pChunky->OpenDataChunk(FourCC("UNDR"), 1, nullptr);
                ADD_FAILURE() << "no assertion";
            }
            catch (const Chunky::Exception&)
            {
                ADD_FAILURE() << "the assertion comes first";
            }
            catch (const std::runtime_error&)
            {
            }
        }
        dbg::ScopedThrowOnAssert silent(false);
        ExpectChunkyError([&] { out.m_pChunky->OpenDataChunk(FourCC("UNDR"), 1, nullptr); }, 3,
                          "Invalid file format, only Folder Chunks may have sub-chunks!");
        ExpectChunkyError([&] { out.m_pChunky->OpenFolderChunk(FourCC("UNDR"), 1, nullptr); }, 3,
                          "Invalid file format, only Folder Chunks may have sub-chunks!");
        EXPECT_EQ(out.Bytes(), before) << "nothing was written";
    }
    dbg::ScopedThrowOnAssert silent(false);
    {
        Writer out;
        out.m_adapter.Write("loose", 5);
        ExpectChunkyError([&] { out.m_pChunky->OpenFolderChunk(FourCC("ROOT"), 1, nullptr); }, 9,
                          "A folder chunk had data written directly in it!");
    }
    {
        Writer out;
        out.m_pChunky->OpenFolderChunk(FourCC("ROOT"), 1, nullptr);
        out.m_pChunky->OpenDataChunk(FourCC("KID1"), 1, nullptr);
        out.m_pChunky->CloseChunk();
        out.m_adapter.Write("loose", 5);
        ExpectChunkyError([&] { out.m_pChunky->CloseChunk(); }, 9,
                          "A folder chunk had data written directly in it!");
    }
    {
        Writer out;
        out.m_pChunky->OpenDataChunk(FourCC("DATA"), 1, "name");
        out.m_adapter.Seek(30);
        ExpectChunkyError([&] { out.m_pChunky->CloseChunk(); }, 2,
                          "Invalid Chunk Size, chunks must not be over-written!");
    }
    {
        dbg::ScopedThrowOnAssert throws;
        RamStream both;
        both.Create(64, ByteStream::Mode_Both);
        ByteStreamAdapter adapter(both);
        EXPECT_THROW(Chunky chunky(adapter), std::runtime_error) << "a chunk stream reads or writes";
    }
}

TEST(ChunkyReservedTypes, IdsAndTheTest)
{
    EXPECT_EQ(ChunkyReservedTypeId(CRT_BurnDialog), FourCC("BDLG"));
    EXPECT_EQ(ChunkyReservedTypeId(CRT_Comment), FourCC("CMNT"));
    EXPECT_EQ(ChunkyReservedTypeId(CRT_FileDepend), FourCC("FDEP"));
    EXPECT_EQ(ChunkyReservedTypeId(CRT_BurnInfo), FourCC("FBIF"));
    EXPECT_TRUE(IsChunkyReservedType(FourCC("FBIF")));
    EXPECT_FALSE(IsChunkyReservedType(FourCC("RSGM")));
    {
        dbg::ScopedThrowOnAssert silent(false);
        EXPECT_EQ(ChunkyReservedTypeId(4), 0x30303030u);
    }
    dbg::ScopedThrowOnAssert throws;
    EXPECT_THROW(ChunkyReservedTypeId(-1), std::runtime_error);
}
} // namespace
