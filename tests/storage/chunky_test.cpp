#include "storage/chunky.h"
#include "storage/ramstream.h"

#include "foundation/debug.h"

#include "support/chunkmemory.h"

#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <string>

namespace
{
// Files built by hand, byte by byte; a header's size may lie, to make malformed files.
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
    const size_t length = name != nullptr && name[0] != '\0' ? std::strlen(name) + 1 : 0;
    return std::string(type, 4) + std::string(id, 4) + U32(version) + U32(size) + U32(uint32(length)) +
           std::string(name != nullptr ? name : "", length);
}

// RSGM "walker" { INFO v2: 42; MESH "A" { VERT v3: "xyz" }; TAIL: empty }; EMPT ""; ONEC "A".
std::string WalkerFile()
{
    return FileHeader() + Header("FOLD", "RSGM", 1, 89, "walker") + Header("DATA", "INFO", 2, 4) + U32(42) +
           Header("FOLD", "MESH", 1, 23, "A") + Header("DATA", "VERT", 3, 3) + "xyz" +
           Header("DATA", "TAIL", 1, 0) + Header("FOLD", "EMPT", 1, 0) + Header("DATA", "ONEC", 1, 0, "A");
}

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

TEST(ChunkyFormat, TheWriterMakesExactlyTheHandBuiltBytes)
{
    ChunkWriter out;
    Chunky& chunky = *out.m_pChunky;
    chunky.OpenFolderChunk(FourCC("RSGM"), 1, "walker");
    chunky.OpenDataChunk(FourCC("INFO"), 2, nullptr);
    out.m_adapter.WriteValue(uint32(42));
    chunky.CloseChunk();
    chunky.OpenFolderChunk(FourCC("MESH"), 1, "A");
    chunky.OpenDataChunk(FourCC("VERT"), 3, "");
    out.m_adapter.Write("xyz", 3);
    chunky.CloseChunk();
    chunky.CloseChunk();
    chunky.OpenDataChunk(FourCC("TAIL"), 1, nullptr);
    chunky.CloseChunk();
    chunky.CloseChunk();
    // An empty name is none; a name stores its terminator ("A" has length 2).
    chunky.OpenFolderChunk(FourCC("EMPT"), 1, "");
    chunky.CloseChunk();
    chunky.OpenDataChunk(FourCC("ONEC"), 1, "A");
    chunky.CloseChunk();
    EXPECT_EQ(out.Bytes(), WalkerFile());
}

// The tree from the reader's position to the end of its parent: "ID vVERSION 'name'" and then a
// folder's children in braces or a data chunk's payload after '='.
std::string Walk(Chunky& chunky, ByteStreamAdapter& adapter)
{
    std::string out;
    ChunkInfo info;
    while (chunky.NextChunk(info))
    {
        const uint32 id = __builtin_bswap32(info.id);
        out += std::string(reinterpret_cast<const char*>(&id), 4) + " v" + std::to_string(info.version) +
               " '" + info.name.c_str() + "'";
        const uint32 depth = chunky.GetDepth();
        if (info.kind == Chunky::CT_Folder)
        {
            EXPECT_EQ(chunky.ReadFolderChunk(info.id, info.version).size, info.size);
            out += " {" + Walk(chunky, adapter) + "} ";
        }
        else
        {
            EXPECT_EQ(chunky.ReadDataChunk(info.id, info.version).size, info.size);
            std::string payload(info.size, '\0');
            EXPECT_EQ(adapter.Read(payload.data(), info.size), info.size);
            out += "=" + payload + " ";
        }
        EXPECT_EQ(chunky.GetDepth(), depth + 1) << "a peeked chunk is not entered, a read one is";
        chunky.CloseChunk();
    }
    return out;
}

TEST(ChunkyFormat, TheReaderWalksTheHandBuiltTree)
{
    ChunkReader in(WalkerFile());
    EXPECT_EQ(Walk(*in.m_pChunky, in.m_adapter), "RSGM v1 'walker' {INFO v2 ''=" + U32(42) +
                                                     " MESH v1 'A' {VERT v3 ''=xyz } TAIL v1 ''= } " +
                                                     "EMPT v1 '' {} ONEC v1 'A'= ");
    // A chunk passed over unread: the end of its folder comes next.
    ChunkReader skip(WalkerFile());
    Chunky& chunky = *skip.m_pChunky;
    chunky.ReadFolderChunk(FourCC("RSGM"), 1);
    ChunkInfo info;
    for (uint32 id : {FourCC("INFO"), FourCC("MESH"), FourCC("TAIL")})
        EXPECT_TRUE(chunky.NextChunk(info) && info.id == id);
    EXPECT_FALSE(chunky.NextChunk(info));
    chunky.CloseChunk();
    EXPECT_TRUE(chunky.NextChunk(info) && info.id == FourCC("EMPT"));
}

TEST(ChunkyFormat, FileHeaderVersionsAndMagic)
{
    ChunkInfo info;
    EXPECT_TRUE(ChunkReader(FileHeader(0) + Header("DATA", "ABCD", 1, 0)).m_pChunky->NextChunk(info))
        << "version 0 reads as 1 does";
    EXPECT_EQ(ChunkReader(FileHeader(1, 77)).m_pChunky->GetPlatform(), 77u) << "taken, not tested";
    const std::string wrongLast = FileHeader().substr(0, 15) + "x" + FileHeader().substr(16);
    EXPECT_EQ(ExpectChunkyError([] { ChunkReader in(FileHeader(2)); }, 1, "Unsupported file version!"), 16u);
    ExpectChunkyError([] { ChunkReader in(""); }, 1, "Not a valid chunky file!");
    ExpectChunkyError([&] { ChunkReader in(wrongLast); }, 1, "Not a valid chunky file!");
    ByteStreamAdapter none;
    ExpectChunkyError([&] { Chunky chunky(none); }, 0, "Unable to open file!");
}

TEST(ChunkyReading, MalformedHeadersAreRefusedWhereTheyStand)
{
    const char* const header = "Not a valid chunk header!";
    const char* const pastEnd = "Read past the Chunk end!";
    // The bytes, the folders entered and the NextChunk calls then, the error and its offset (-1: any).
    const struct
    {
        const char* what;
        std::string bytes;
        int folders, nexts;
        uint32 code;
        const char* text;
        int64 at;
    } cases[] = {
        // clang-format off
        {"an unknown chunk type", FileHeader() + Header("BLOB", "ABCD", 1, 0), 0, 1, 2, header, 24},
        {"a header cut short", FileHeader() + Header("DATA", "ABCD", 1, 0).substr(0, 12), 0, 1, 2, header, 24},
        {"a payload past the file's end", FileHeader() + Header("DATA", "ABCD", 1, 100) + "short", 0, 1, 6, pastEnd, 24},
        {"a child header past its folder", FileHeader() + Header("FOLD", "OUTR", 1, 10) + Header("DATA", "ABCD", 1, 0), 1, 1, 6, pastEnd, -1},
        {"a name longer than its folder", FileHeader() + Header("FOLD", "OUTR", 1, 30) + Header("DATA", "ABCD", 1, 0, "a name of twenty chars") + std::string(40, ' '), 1, 1, 6, pastEnd, 44},
        {"a child claiming more than its folder", FileHeader() + Header("FOLD", "OUTR", 1, 20) + Header("DATA", "ABCD", 1, 4) + "more", 1, 2, 6, pastEnd, -1},
        // 1024 with its terminator is the longest name taken (see below); one more is refused as such.
        {"a name over the limit", FileHeader() + "DATAABCD" + U32(1) + U32(0) + U32(1025) + std::string(1100, 'n'), 0, 1, 2, header, 24},
        // clang-format on
    };
    dbg::ScopedThrowOnAssert silent(false);
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.what);
        const uint32 at = ExpectChunkyError(
            [&]
            {
                ChunkReader in(c.bytes);
                for (int i = 0; i < c.folders; ++i)
                    in.m_pChunky->ReadFolderChunk(FourCC("OUTR"), 1);
                ChunkInfo info;
                for (int i = 0; i < c.nexts; ++i)
                    in.m_pChunky->NextChunk(info);
            },
            c.code, c.text);
        EXPECT_TRUE(c.at < 0 || at == uint32(c.at)) << at;
    }
    ChunkReader longest(FileHeader() + Header("DATA", "ABCD", 1, 0, std::string(1023, 'n').c_str()));
    ChunkInfo info;
    ASSERT_TRUE(longest.m_pChunky->NextChunk(info));
    EXPECT_EQ(info.name.length(), 1023u);
}

// A stream whose seeks report success and go nowhere.
struct StuckSeekStream : RamStream
{
    explicit StuckSeekStream(const std::string& bytes) : m_bytes(bytes)
    {
        Attach(m_bytes.data(), uint32(m_bytes.size()), false, Mode_Read);
    }
    bool Seek(uint32) override { return true; }
    std::string m_bytes;
};

TEST(ChunkyReading, PayloadReadersMayStopShortButNotRunOverAndVersionsAreCapped)
{
    const std::string file =
        FileHeader() + Header("DATA", "TWLV", 3, 12) + "abcdefghijkl" + Header("DATA", "NEXT", 1, 0);
    char buf[16];
    ChunkReader shortRead(file);
    EXPECT_EQ(shortRead.m_pChunky->ReadDataChunk(FourCC("TWLV"), 3).version, 3u) << "the maximum itself";
    shortRead.m_adapter.Read(buf, 8);
    shortRead.m_pChunky->CloseChunk();
    EXPECT_EQ(shortRead.m_adapter.GetPos(), 24u + 20 + 12);
    EXPECT_EQ(shortRead.m_pChunky->ReadDataChunk(FourCC("NEXT"), 1).id, FourCC("NEXT"));
    ChunkReader overRead(file);
    overRead.m_pChunky->ReadDataChunk(FourCC("TWLV"), 3);
    overRead.m_adapter.Read(buf, 16);
    EXPECT_EQ(ExpectChunkyError([&] { overRead.m_pChunky->CloseChunk(); }, 6, "Read past the Chunk end!"),
              24u + 20 + 16);
    ChunkReader newer(file);
    EXPECT_EQ(ExpectChunkyError([&] { newer.m_pChunky->ReadDataChunk(FourCC("TWLV"), 2); }, 5,
                                "Unsupported (newer) Chunk Version!"),
              24u);
    StuckSeekStream stream(FileHeader() + Header("DATA", "ABCD", 1, 8) + "12345678");
    ByteStreamAdapter adapter(stream);
    Chunky stuck(adapter);
    stuck.ReadDataChunk(FourCC("ABCD"), 1);
    EXPECT_EQ(ExpectChunkyError([&] { stuck.CloseChunk(); }, 10, "Failed to seek to end of chunk"), 44u);
}

TEST(ChunkyReading, ReadingSkipsForwardToTheWantedChunkOnly)
{
    const std::string file = FileHeader() + Header("FOLD", "LIST", 1, 60) + Header("DATA", "AAAA", 1, 0) +
                             Header("DATA", "BBBB", 1, 0) + Header("DATA", "CCCC", 1, 0);
    const char* const missing = "Missing Chunk Type!";
    ChunkReader in(file);
    Chunky& chunky = *in.m_pChunky;
    chunky.ReadFolderChunk(FourCC("LIST"), 1);
    EXPECT_EQ(chunky.ReadDataChunk(FourCC("BBBB"), 1).id, FourCC("BBBB")) << "AAAA is passed over";
    chunky.CloseChunk();
    ExpectChunkyError([&] { chunky.ReadDataChunk(FourCC("AAAA"), 1); }, 4, missing);
    ChunkReader find(file);
    find.m_pChunky->ReadFolderChunk(FourCC("LIST"), 1);
    EXPECT_TRUE(find.m_pChunky->FindChunk(Chunky::CT_Data, FourCC("BBBB")) &&
                find.m_pChunky->GetDepth() == 1u);
    EXPECT_EQ(find.m_pChunky->ReadDataChunk(FourCC("BBBB"), 1).id, FourCC("BBBB")) << "left peeked";
    find.m_pChunky->CloseChunk();
    EXPECT_FALSE(find.m_pChunky->FindChunk(Chunky::CT_Data, FourCC("AAAA"))) << "forward only";
    // Asking for the wrong kind of the right id passes it over.
    ChunkReader kind(file);
    kind.m_pChunky->ReadFolderChunk(FourCC("LIST"), 1);
    EXPECT_FALSE(kind.m_pChunky->FindChunk(Chunky::CT_Folder, FourCC("BBBB")));
    ChunkReader type(file);
    ExpectChunkyError([&] { type.m_pChunky->ReadDataChunk(FourCC("LIST"), 1); }, 4, missing);
}

TEST(ChunkyWriting, MisuseIsAnAssertionThenAnError)
{
    const char* const underData = "Invalid file format, only Folder Chunks may have sub-chunks!";
    const char* const rawData = "A folder chunk had data written directly in it!";
    {
        ChunkWriter out;
        out.m_pChunky->OpenDataChunk(FourCC("DATA"), 1, nullptr);
        dbg::ScopedThrowOnAssert silent(false);
        ExpectChunkyError([&] { out.m_pChunky->OpenFolderChunk(FourCC("UNDR"), 1, nullptr); }, 3, underData);
    }
    dbg::ScopedThrowOnAssert silent(false);
    {
        ChunkWriter out;
        out.m_pChunky->OpenFolderChunk(FourCC("ROOT"), 1, nullptr);
        out.m_pChunky->OpenDataChunk(FourCC("KID1"), 1, nullptr);
        out.m_pChunky->CloseChunk();
        out.m_adapter.Write("loose", 5);
        ExpectChunkyError([&] { out.m_pChunky->CloseChunk(); }, 9, rawData);
    }
    ChunkWriter out;
    out.m_pChunky->OpenDataChunk(FourCC("DATA"), 1, "name");
    out.m_adapter.Seek(30);
    ExpectChunkyError([&] { out.m_pChunky->CloseChunk(); }, 2,
                      "Invalid Chunk Size, chunks must not be over-written!");
}

} // namespace
