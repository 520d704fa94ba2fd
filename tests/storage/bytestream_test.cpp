#include "storage/bytestream.h"
#include "storage/bytestreamadapter.h"
#include "storage/chunky.h"
#include "storage/ramstream.h"

#include "foundation/debug.h"

#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <string>

namespace
{
std::string Contents(const RamStream& stream)
{
    return std::string(reinterpret_cast<const char*>(stream.GetBuffer()), stream.GetLength());
}

// A stream of `bytes`, ready to read.
struct ReadStream
{
    explicit ReadStream(const std::string& bytes) : m_bytes(bytes)
    {
        m_stream.Attach(m_bytes.data(), uint32(m_bytes.size()), false, ByteStream::Mode_Read);
    }
    std::string m_bytes;
    RamStream m_stream;
};

std::string LengthPrefixed(const std::string& text)
{
    const uint32 length = uint32(text.size());
    return std::string(reinterpret_cast<const char*>(&length), 4) + text;
}

TEST(ByteStreamStrings, WrittenAsLengthAndCharactersWithoutTerminator)
{
    RamStream stream;
    stream.Create(4, ByteStream::Mode_Write);
    ASSERT_TRUE(WriteString(stream, "walker"));
    ASSERT_TRUE(WriteString(stream, ""));
    const wchar16 wide[] = u"h\u00e9";
    ASSERT_TRUE(WriteWString(stream, wide));
    EXPECT_EQ(Contents(stream), std::string("\x06\0\0\0walker\0\0\0\0\x02\0\0\0h\0\xe9\0", 22));
}

TEST(ByteStreamStrings, AStringOfExactlyTheBufferSizeIsReadAndTerminated)
{
    ReadStream in(LengthPrefixed("abcdefgh") + LengthPrefixed(""));
    char buf[9];
    std::memset(buf, 'x', sizeof(buf));
    ASSERT_TRUE(ReadString(in.m_stream, buf, 8));
    EXPECT_STREQ(buf, "abcdefgh");
    ASSERT_TRUE(ReadString(in.m_stream, buf, 8));
    EXPECT_STREQ(buf, "");
    EXPECT_FALSE(ReadString(in.m_stream, buf, 8)) << "no length left to read";
    EXPECT_STREQ(buf, "");
}

TEST(ByteStreamStrings, ATooLongStringIsSkippedInEightBitsButThrowsInWide)
{
    {
        ReadStream in(LengthPrefixed("abcdefghi") + LengthPrefixed("next"));
        char buf[9];
        dbg::ScopedThrowOnAssert throws;
        EXPECT_THROW(ReadString(in.m_stream, buf, 8), std::runtime_error) << "an assertion";
    }
    {
        // With the assertion passed, the string is skipped and what follows reads correctly.
        ReadStream in(LengthPrefixed("abcdefghi") + LengthPrefixed("next"));
        char buf[9];
        dbg::ScopedThrowOnAssert silent(false);
        EXPECT_FALSE(ReadString(in.m_stream, buf, 8));
        EXPECT_STREQ(buf, "");
        ASSERT_TRUE(ReadString(in.m_stream, buf, 8));
        EXPECT_STREQ(buf, "next");
    }
    {
        // A length that points past the stream leaves it at its end, not beyond.
        ReadStream in(std::string("\xff\xff\xff\x7f", 4) + "abc");
        char buf[9];
        dbg::ScopedThrowOnAssert silent(false);
        EXPECT_FALSE(ReadString(in.m_stream, buf, 8));
        EXPECT_EQ(in.m_stream.GetPos(), 7u);
    }
    {
        ReadStream in(std::string("\x03\0\0\0a\0b\0c\0", 10));
        wchar16 buf[3];
        try
        {
            ReadWString(in.m_stream, buf, 2);
            ADD_FAILURE() << "no exception";
        }
        catch (const ByteStream::Exception& e)
        {
            EXPECT_EQ(e.GetCode(), 0u);
            EXPECT_STREQ(e.what(), "String buffer overrun!");
        }
    }
    {
        ReadStream in(std::string("\x02\0\0\0a\0b\0", 8));
        wchar16 buf[3];
        ASSERT_TRUE(ReadWString(in.m_stream, buf, 2));
        EXPECT_EQ(std::u16string(buf), u"ab");
    }
}

TEST(ByteStreamStrings, WritersFailWhenTheStreamIsFull)
{
    char block[6];
    RamStream stream;
    stream.Attach(block, sizeof(block), false, ByteStream::Mode_Write);
    dbg::ScopedThrowOnAssert silent(false);
    EXPECT_TRUE(WriteString(stream, "ab"));
    EXPECT_FALSE(WriteString(stream, "cd")) << "no room for the length";
}

TEST(ByteStreamText, EveryLineEndBecomesCarriageReturnLineFeed)
{
    RamStream stream;
    stream.Create(16, ByteStream::Mode_Write);
    ASSERT_TRUE(WriteText(stream, "a\nb\r\nc\rd", false));
    EXPECT_EQ(Contents(stream), "a\r\nb\r\nc\r\nd");

    RamStream pairs;
    pairs.Create(16, ByteStream::Mode_Write);
    ASSERT_TRUE(WriteText(pairs, "x\n\ry\n\n", true));
    EXPECT_EQ(Contents(pairs), "x\r\n\r\ny\r\n\r\n\r\n") << "LF CR is two breaks; newline adds one";

    RamStream empty;
    empty.Create(16, ByteStream::Mode_Write);
    ASSERT_TRUE(WriteText(empty, "", true));
    EXPECT_EQ(Contents(empty), "\r\n");
}

TEST(ByteStreamText, PrintfFormatsThenNormalises)
{
    RamStream stream;
    stream.Create(16, ByteStream::Mode_Write);
    ASSERT_TRUE(Printf(stream, "%s = %d\n", "count", 42));
    EXPECT_EQ(Contents(stream), "count = 42\r\n");

    char block[4];
    RamStream small;
    small.Attach(block, sizeof(block), false, ByteStream::Mode_Write);
    dbg::ScopedThrowOnAssert silent(false);
    EXPECT_FALSE(Printf(small, "%s", "too long")) << "a short write fails the call";

    dbg::ScopedThrowOnAssert throws;
    EXPECT_THROW(Printf(stream, nullptr), std::runtime_error);
}

TEST(ByteStreamAdapterNative, TypedArraysAreTheirBytes)
{
    RamStream stream;
    stream.Create(16, ByteStream::Mode_Write);
    ByteStreamAdapter out(stream);
    const uint32 words[2] = {0x04030201, 0x08070605};
    const int16 halves[1] = {-2};
    const bool flags[2] = {true, false};
    const float value = 1.0f;
    EXPECT_EQ(out.WriteArray(words, 2), 8u);
    EXPECT_EQ(out.WriteArray(halves, 1), 2u);
    EXPECT_EQ(out.WriteArray(flags, 2), 2u);
    EXPECT_TRUE(out.WriteValue(value));
    EXPECT_EQ(out.GetPlatform(), 1u);
    EXPECT_EQ(Contents(stream),
              std::string("\x01\x02\x03\x04\x05\x06\x07\x08\xfe\xff\x01\x00\x00\x00\x80\x3f", 16));

    // Any non-zero byte reads as a proper true.
    ReadStream in(std::string("\x00\x07\x01", 3) + std::string("\x01\x02\x03\x04", 4));
    ByteStreamAdapter adapter(in.m_stream);
    bool read[3];
    EXPECT_EQ(adapter.ReadArray(read, 3), 3u);
    EXPECT_FALSE(read[0]);
    EXPECT_TRUE(read[1]);
    EXPECT_TRUE(read[2]);
    uint32 word = 0;
    EXPECT_TRUE(adapter.ReadValue(word));
    EXPECT_EQ(word, 0x04030201u);
    EXPECT_FALSE(adapter.ReadValue(word)) << "nothing left";
}

TEST(ByteStreamAdapterNative, StringReadsThrowWhenTooLong)
{
    std::string limit(ByteStreamAdapter::MaxStringRead, 'q');
    ReadStream in(LengthPrefixed(limit) + LengthPrefixed(limit + "q"));
    ByteStreamAdapter adapter(in.m_stream);
    std::string out;
    ASSERT_TRUE(adapter.ReadString(out));
    EXPECT_EQ(out, limit);
    EXPECT_THROW(adapter.ReadString(out), ByteStream::Exception);

    RamStream stream;
    stream.Create(16, ByteStream::Mode_Write);
    ByteStreamAdapter writer(stream);
    ASSERT_TRUE(writer.WriteString(std::string("abc")));
    ASSERT_TRUE(writer.WriteWString(u"xy"));
    EXPECT_EQ(Contents(stream), std::string("\x03\0\0\0abc\x02\0\0\0x\0y\0", 15));
}

// Forwards every operation to the stream and counts the calls by name.
class CountingConverter : public ByteStreamConverter
{
public:
    explicit CountingConverter(ByteStream* pStream) : ByteStreamConverter(pStream) {}
    std::map<std::string, int> m_calls;

#define TQ7Z_FORWARD(Name, Type)                                                                             \
    uint32 Read##Name(Type* values, uint32 count) override                                                   \
    {                                                                                                        \
        ++m_calls["Read" #Name];                                                                             \
        return m_pStream->Read(values, count * uint32(sizeof(Type)));                                        \
    }                                                                                                        \
    uint32 Write##Name(const Type* values, uint32 count) override                                            \
    {                                                                                                        \
        ++m_calls["Write" #Name];                                                                            \
        return m_pStream->Write(values, count * uint32(sizeof(Type)));                                       \
    }
    TQ7Z_FORWARD(Int32, int32)
    TQ7Z_FORWARD(Int64, int64)
    TQ7Z_FORWARD(UInt32, uint32)
    TQ7Z_FORWARD(Float, float)
    TQ7Z_FORWARD(UInt16, uint16)
    TQ7Z_FORWARD(UInt8, uint8)
    TQ7Z_FORWARD(Double, double)
    TQ7Z_FORWARD(FourCC, uint32)
    TQ7Z_FORWARD(Colour, uint32)
    TQ7Z_FORWARD(UInt64, uint64)
    TQ7Z_FORWARD(Int8, int8)
    TQ7Z_FORWARD(Bool, bool)
    TQ7Z_FORWARD(Block, uint8)
#undef TQ7Z_FORWARD

    uint32 ReadRaw(void* dst, uint32 bytes) override
    {
        ++m_calls["ReadRaw"];
        return m_pStream->Read(dst, bytes);
    }
    uint32 WriteRaw(const void* src, uint32 bytes) override
    {
        ++m_calls["WriteRaw"];
        return m_pStream->Write(src, bytes);
    }
    bool ReadWString(wchar16* buf, uint32 bufsize) override
    {
        ++m_calls["ReadWString"];
        return ::ReadWString(*m_pStream, buf, bufsize);
    }
    bool ReadString(char* buf, uint32 bufsize) override
    {
        ++m_calls["ReadString"];
        return ::ReadString(*m_pStream, buf, bufsize);
    }
    bool ReadString(std::string& out) override
    {
        ++m_calls["ReadStdString"];
        char buf[64];
        const bool ok = ::ReadString(*m_pStream, buf, 63);
        out = buf;
        return ok;
    }
    bool WriteWString(const wchar16* s) override
    {
        ++m_calls["WriteWString"];
        return ::WriteWString(*m_pStream, s);
    }
    bool WriteString(const char* s) override
    {
        ++m_calls["WriteString"];
        return ::WriteString(*m_pStream, s);
    }
    bool WriteString(const std::string& s) override
    {
        ++m_calls["WriteStdString"];
        return ::WriteString(*m_pStream, s.c_str());
    }
    void Flush() override
    {
        ++m_calls["Flush"];
    }
    uint32 GetPlatform() const override
    {
        return 7;
    }
};

TEST(ByteStreamAdapterConverter, EveryOperationGoesThroughTheConverter)
{
    RamStream stream;
    stream.Create(16, ByteStream::Mode_Both);
    CountingConverter converter(&stream);
    ByteStreamAdapter adapter(stream);
    adapter.SetConverter(&converter);
    EXPECT_EQ(adapter.GetConverter(), &converter);

    const int32 i32 = -5;
    const uint32 u32 = 5;
    const float f = 2.5f;
    const int16 i16 = -3;
    const uint16 u16 = 3;
    const int8 i8 = -1;
    const uint8 u8 = 1;
    const bool b = true;
    EXPECT_TRUE(adapter.WriteValue(i32));
    EXPECT_TRUE(adapter.WriteValue(u32));
    EXPECT_TRUE(adapter.WriteValue(f));
    EXPECT_TRUE(adapter.WriteValue(i16));
    EXPECT_TRUE(adapter.WriteValue(u16));
    EXPECT_TRUE(adapter.WriteValue(i8));
    EXPECT_TRUE(adapter.WriteValue(u8));
    EXPECT_TRUE(adapter.WriteValue(b));
    EXPECT_EQ(adapter.Write("raw", 3), 3u);
    EXPECT_TRUE(adapter.WriteString("s"));
    EXPECT_TRUE(adapter.WriteWString(u"w"));
    adapter.Flush();
    EXPECT_EQ(adapter.GetPlatform(), 7u);
    EXPECT_EQ(adapter.GetPos(), stream.GetPos());
    EXPECT_EQ(adapter.GetLength(), stream.GetLength());
    EXPECT_EQ(adapter.GetStreamMode(), ByteStream::Mode_Both);

    ASSERT_TRUE(adapter.Seek(0));
    int32 ri32;
    uint32 ru32;
    float rf;
    int16 ri16;
    uint16 ru16;
    int8 ri8;
    uint8 ru8;
    bool rb;
    char raw[3];
    char s[4];
    wchar16 w[4];
    EXPECT_TRUE(adapter.ReadValue(ri32));
    EXPECT_TRUE(adapter.ReadValue(ru32));
    EXPECT_TRUE(adapter.ReadValue(rf));
    EXPECT_TRUE(adapter.ReadValue(ri16));
    EXPECT_TRUE(adapter.ReadValue(ru16));
    EXPECT_TRUE(adapter.ReadValue(ri8));
    EXPECT_TRUE(adapter.ReadValue(ru8));
    EXPECT_TRUE(adapter.ReadValue(rb));
    EXPECT_EQ(adapter.Read(raw, 3), 3u);
    EXPECT_TRUE(adapter.ReadString(s, 3));
    EXPECT_TRUE(adapter.ReadWString(w, 3));
    EXPECT_EQ(ri32, -5);
    EXPECT_EQ(ru32, 5u);
    EXPECT_EQ(rf, 2.5f);
    EXPECT_EQ(ri16, -3);
    EXPECT_EQ(ru16, 3);
    EXPECT_EQ(ri8, -1);
    EXPECT_EQ(ru8, 1);
    EXPECT_TRUE(rb);
    EXPECT_STREQ(s, "s");

    const std::map<std::string, int> expected = {
        {"WriteInt32", 1}, {"WriteUInt32", 1}, {"WriteFloat", 1}, {"WriteUInt16", 2}, {"WriteInt8", 1},
        {"WriteUInt8", 1}, {"WriteBool", 1},   {"WriteRaw", 1},   {"WriteString", 1}, {"WriteWString", 1},
        {"Flush", 1},      {"ReadInt32", 1},   {"ReadUInt32", 1}, {"ReadFloat", 1},   {"ReadUInt16", 2},
        {"ReadInt8", 1},   {"ReadUInt8", 1},   {"ReadBool", 1},   {"ReadRaw", 1},     {"ReadString", 1},
        {"ReadWString", 1}};
    EXPECT_EQ(converter.m_calls, expected);
}

TEST(ByteStreamAdapterConverter, ChunkFilesAreWrittenThroughTheConverterWithItsPlatform)
{
    RamStream stream;
    stream.Create(16, ByteStream::Mode_Write);
    CountingConverter converter(&stream);
    ByteStreamAdapter adapter(stream);
    adapter.SetConverter(&converter);
    {
        Chunky chunky(adapter);
        chunky.OpenDataChunk(FourCC("ABCD"), 1, "n");
        chunky.CloseChunk();
    }
    EXPECT_EQ(Contents(stream), std::string("Vardo Chunky\r\n\x1a\0\x01\0\0\0\x07\0\0\0"
                                            "DATAABCD\x01\0\0\0\0\0\0\0\x02\0\0\0n\0",
                                            46));
    EXPECT_EQ(converter.m_calls["WriteRaw"], 3) << "the magic and the name, twice";
    EXPECT_EQ(converter.m_calls["WriteUInt32"], 3) << "the file header and the chunk header, twice";
}
} // namespace
