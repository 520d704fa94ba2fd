#include "storage/bytestream.h"
#include "storage/bytestreamadapter.h"
#include "storage/chunky.h"
#include "storage/ramstream.h"

#include "foundation/debug.h"

#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <string>
#include <tuple>

namespace
{
std::string Contents(const RamStream& stream)
{
    return std::string(reinterpret_cast<const char*>(stream.GetBuffer()), stream.GetLength());
}

// A stream of `bytes`, ready to read, and one to write.
struct ReadStream : RamStream
{
    explicit ReadStream(const std::string& bytes) : m_bytes(bytes)
    {
        Attach(m_bytes.data(), uint32(m_bytes.size()), false, Mode_Read);
    }
    std::string m_bytes;
};
struct WriteStream : RamStream
{
    WriteStream() { Create(4, Mode_Write); }
};

std::string LengthPrefixed(const std::string& text)
{
    const uint32 length = uint32(text.size());
    return std::string(reinterpret_cast<const char*>(&length), 4) + text;
}

TEST(ByteStreamStrings, WrittenAsLengthAndCharactersWithoutTerminator)
{
    WriteStream stream;
    ASSERT_TRUE(WriteString(stream, "walker"));
    ASSERT_TRUE(WriteString(stream, ""));
    ASSERT_TRUE(WriteWString(stream, u"h\u00e9"));
    EXPECT_EQ(Contents(stream), std::string("\x06\0\0\0walker\0\0\0\0\x02\0\0\0h\0\xe9\0", 22));
    char block[6];
    RamStream full;
    full.Attach(block, sizeof(block), false, ByteStream::Mode_Write);
    dbg::ScopedThrowOnAssert silent(false);
    EXPECT_TRUE(WriteString(full, "ab"));
    EXPECT_FALSE(WriteString(full, "cd")) << "no room for the length";
}

TEST(ByteStreamStrings, AStringOfExactlyTheBufferSizeIsReadAndTerminated)
{
    ReadStream in(LengthPrefixed("abcdefgh") + LengthPrefixed(""));
    char buf[9];
    std::memset(buf, 'x', sizeof(buf));
    ASSERT_TRUE(ReadString(in, buf, 8));
    EXPECT_STREQ(buf, "abcdefgh");
    ASSERT_TRUE(ReadString(in, buf, 8));
    EXPECT_STREQ(buf, "");
    EXPECT_FALSE(ReadString(in, buf, 8)) << "no length left to read";
    EXPECT_STREQ(buf, "");
}

TEST(ByteStreamStrings, ATooLongStringIsSkippedInEightBitsButThrowsInWide)
{
    char buf[9];
    {
        ReadStream in(LengthPrefixed("abcdefghi") + LengthPrefixed("next"));
        dbg::ScopedThrowOnAssert throws;
        EXPECT_THROW(ReadString(in, buf, 8), std::runtime_error) << "an assertion";
    }
    dbg::ScopedThrowOnAssert silent(false);
    // With the assertion passed, the string is skipped and what follows reads correctly.
    ReadStream in(LengthPrefixed("abcdefghi") + LengthPrefixed("next"));
    EXPECT_FALSE(ReadString(in, buf, 8));
    EXPECT_STREQ(buf, "");
    ASSERT_TRUE(ReadString(in, buf, 8));
    EXPECT_STREQ(buf, "next");
    // A length that points past the stream leaves it at its end, not beyond.
    ReadStream past(std::string("\xff\xff\xff\x7f", 4) + "abc");
    EXPECT_FALSE(ReadString(past, buf, 8));
    EXPECT_EQ(past.GetPos(), 7u);
    wchar16 wide[3];
    ReadStream fits(std::string("\x02\0\0\0a\0b\0", 8));
    ASSERT_TRUE(ReadWString(fits, wide, 2));
    EXPECT_EQ(std::u16string(wide), u"ab");
    ReadStream over(std::string("\x03\0\0\0a\0b\0c\0", 10));
    try
    {
        ReadWString(over, wide, 2);
        ADD_FAILURE() << "no exception";
    }
    catch (const ByteStream::Exception& e)
    {
        EXPECT_EQ(e.GetCode(), 0u);
        EXPECT_STREQ(e.what(), "String buffer overrun!");
    }
}

TEST(ByteStreamText, EveryLineEndBecomesCarriageReturnLineFeed)
{
    // LF CR is two breaks; the newline flag adds one.
    const std::tuple<const char*, bool, const char*> cases[] = {
        {"a\nb\r\nc\rd", false, "a\r\nb\r\nc\r\nd"},
        {"x\n\ry\n\n", true, "x\r\n\r\ny\r\n\r\n\r\n"},
        {"", true, "\r\n"}};
    for (const auto& [text, newline, expected] : cases)
    {
        WriteStream stream;
        ASSERT_TRUE(WriteText(stream, text, newline));
        EXPECT_EQ(Contents(stream), expected);
    }
    WriteStream stream;
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
    WriteStream stream;
    ByteStreamAdapter out(stream);
    const uint32 words[2] = {0x04030201, 0x08070605};
    const int16 halves[1] = {-2};
    const bool flags[2] = {true, false};
    EXPECT_EQ(out.WriteArray(words, 2), 8u);
    EXPECT_EQ(out.WriteArray(halves, 1), 2u);
    EXPECT_EQ(out.WriteArray(flags, 2), 2u);
    EXPECT_TRUE(out.WriteValue(1.0f));
    ASSERT_TRUE(out.WriteString(std::string("abc")));
    ASSERT_TRUE(out.WriteWString(u"xy"));
    EXPECT_EQ(out.GetPlatform(), 1u);
    EXPECT_EQ(Contents(stream), std::string("\x01\x02\x03\x04\x05\x06\x07\x08\xfe\xff\x01\x00\x00\x00\x80\x3f"
                                            "\x03\0\0\0abc\x02\0\0\0x\0y\0",
                                            31));
    // Any non-zero byte reads as a proper true.
    ReadStream in(std::string("\x00\x07\x01\x01\x02\x03\x04", 7));
    ByteStreamAdapter adapter(in);
    bool read[3];
    EXPECT_EQ(adapter.ReadArray(read, 3), 3u);
    EXPECT_EQ(std::memcmp(read, "\0\1\1", 3), 0);
    uint32 word = 0;
    EXPECT_TRUE(adapter.ReadValue(word));
    EXPECT_EQ(word, 0x04030201u);
    EXPECT_FALSE(adapter.ReadValue(word)) << "nothing left";
    std::string limit(ByteStreamAdapter::MaxStringRead, 'q');
    ReadStream strings(LengthPrefixed(limit) + LengthPrefixed(limit + "q"));
    ByteStreamAdapter reader(strings);
    std::string text;
    ASSERT_TRUE(reader.ReadString(text));
    EXPECT_EQ(text, limit);
    EXPECT_THROW(reader.ReadString(text), ByteStream::Exception);
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
        return ++m_calls["Read" #Name], m_pStream->Read(values, count * uint32(sizeof(Type)));               \
    }                                                                                                        \
    uint32 Write##Name(const Type* values, uint32 count) override                                            \
    {                                                                                                        \
        return ++m_calls["Write" #Name], m_pStream->Write(values, count * uint32(sizeof(Type)));             \
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
        return ++m_calls["ReadRaw"], m_pStream->Read(dst, bytes);
    }
    uint32 WriteRaw(const void* src, uint32 bytes) override
    {
        return ++m_calls["WriteRaw"], m_pStream->Write(src, bytes);
    }
    bool ReadWString(wchar16* buf, uint32 size) override
    {
        return ++m_calls["ReadWString"], ::ReadWString(*m_pStream, buf, size);
    }
    bool ReadString(char* buf, uint32 size) override
    {
        return ++m_calls["ReadString"], ::ReadString(*m_pStream, buf, size);
    }
    bool ReadString(std::string& out) override
    {
        char buf[64];
        ++m_calls["ReadStdString"];
        const bool ok = ::ReadString(*m_pStream, buf, 63);
        out = buf;
        return ok;
    }
    bool WriteWString(const wchar16* s) override
    {
        return ++m_calls["WriteWString"], ::WriteWString(*m_pStream, s);
    }
    bool WriteString(const char* s) override
    {
        return ++m_calls["WriteString"], ::WriteString(*m_pStream, s);
    }
    bool WriteString(const std::string& s) override
    {
        return WriteString(s.c_str());
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
    const std::tuple values{int32(-5), uint32(5), 2.5f, int16(-3), uint16(3), int8(-1), uint8(1), true};
    std::apply([&](const auto&... value) { EXPECT_TRUE((adapter.WriteValue(value) && ...)); }, values);
    EXPECT_EQ(adapter.Write("raw", 3), 3u);
    EXPECT_TRUE(adapter.WriteString("s"));
    EXPECT_TRUE(adapter.WriteWString(u"w"));
    adapter.Flush();
    EXPECT_EQ(adapter.GetPlatform(), 7u);
    EXPECT_EQ(adapter.GetPos(), stream.GetPos());
    EXPECT_EQ(adapter.GetLength(), stream.GetLength());
    EXPECT_EQ(adapter.GetStreamMode(), ByteStream::Mode_Both);
    ASSERT_TRUE(adapter.Seek(0));
    std::remove_const_t<decltype(values)> back{};
    std::apply([&](auto&... value) { EXPECT_TRUE((adapter.ReadValue(value) && ...)); }, back);
    EXPECT_EQ(back, values);
    char raw[3];
    char s[4];
    wchar16 w[4];
    EXPECT_EQ(adapter.Read(raw, 3), 3u);
    EXPECT_TRUE(adapter.ReadString(s, 3));
    EXPECT_STREQ(s, "s");
    EXPECT_TRUE(adapter.ReadWString(w, 3));
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
    WriteStream stream;
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
