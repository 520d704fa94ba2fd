#include "storage/bytestream.h"
#include "storage/bytestreamadapter.h"
#include "storage/ramstream.h"

#include "foundation/debug.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <tuple>

namespace
{
std::string Contents(const RamStream& stream)
{
    return std::string(reinterpret_cast<const char*>(stream.GetBuffer()), stream.GetLength());
}
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

TEST(ByteStreamStrings, LengthThenCharactersAndTheBufferLimit)
{
    WriteStream stream;
    ASSERT_TRUE(WriteString(stream, "walker") && WriteString(stream, "") && WriteWString(stream, u"h\u00e9"));
    EXPECT_EQ(Contents(stream), std::string("\x06\0\0\0walker\0\0\0\0\x02\0\0\0h\0\xe9\0", 22));
    char block[6];
    RamStream full;
    full.Attach(block, sizeof(block), false, ByteStream::Mode_Write);
    dbg::ScopedThrowOnAssert silent(false);
    EXPECT_TRUE(WriteString(full, "ab"));
    EXPECT_FALSE(WriteString(full, "cd")) << "no room for the length";
    // Exactly the buffer size fits; one more is skipped whole and what follows reads correctly.
    // A length that points past the stream leaves it at its end, not beyond.
    ReadStream in(LengthPrefixed("abcdefgh") + LengthPrefixed("abcdefghi") + LengthPrefixed("next") +
                  "\xff\xff\xff\x7f" + "abc");
    std::string got;
    char buf[9];
    for (int i = 0; i < 4; ++i)
    {
        const bool ok = ReadString(in, buf, 8);
        got += (ok ? "+" : "-") + std::string(buf) + " ";
    }
    EXPECT_EQ(got, "+abcdefgh - +next - ");
    EXPECT_EQ(in.GetPos(), in.GetLength());
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
        EXPECT_STREQ(e.what(), "String buffer overrun!");
    }
    dbg::ScopedThrowOnAssert throws;
    ReadStream tooLong(LengthPrefixed("abcdefghi"));
    EXPECT_THROW(ReadString(tooLong, buf, 8), std::runtime_error) << "an assertion first";
}

TEST(ByteStreamText, EveryLineEndBecomesCarriageReturnLineFeed)
{
    // LF CR is two breaks; the newline flag adds one.
    const std::tuple<const char*, bool, const char*> cases[] = {
        {"a\nb\r\nc\rd", false, "a\r\nb\r\nc\r\nd"}, {"x\n\ry\n\n", true, "x\r\n\r\ny\r\n\r\n\r\n"}};
    for (const auto& [text, newline, expected] : cases)
    {
        WriteStream stream;
        ASSERT_TRUE(WriteText(stream, text, newline));
        EXPECT_EQ(Contents(stream), expected);
    }
    WriteStream stream;
    ASSERT_TRUE(Printf(stream, "%s = %d\n", "count", 42));
    EXPECT_EQ(Contents(stream), "count = 42\r\n");
}

TEST(ByteStreamAdapterNative, TypedArraysAreTheirBytes)
{
    WriteStream stream;
    ByteStreamAdapter out(stream);
    const uint32 words[2] = {0x04030201, 0x08070605};
    const int16 halves[1] = {-2};
    const bool flags[2] = {true, false};
    EXPECT_TRUE(out.WriteArray(words, 2) == 8u && out.WriteArray(halves, 1) == 2u &&
                out.WriteArray(flags, 2) == 2u);
    EXPECT_TRUE(out.WriteValue(1.0f) && out.WriteString(std::string("abc")) && out.WriteWString(u"xy"));
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
    EXPECT_TRUE(adapter.ReadValue(word) && word == 0x04030201u);
    EXPECT_FALSE(adapter.ReadValue(word)) << "nothing left";
    std::string limit(ByteStreamAdapter::MaxStringRead, 'q');
    ReadStream strings(LengthPrefixed(limit) + LengthPrefixed(limit + "q"));
    ByteStreamAdapter reader(strings);
    std::string text;
    ASSERT_TRUE(reader.ReadString(text));
    EXPECT_EQ(text, limit);
    EXPECT_THROW(reader.ReadString(text), ByteStream::Exception);
}

} // namespace
