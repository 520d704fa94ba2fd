#include "names/crc.h"
#include "names/faststring.h"

#include "foundation/debug.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

// Reference values of lookup2 (seed 0 unless given), worked out by a separate implementation
// written from the published description of the algorithm.
struct Lookup2Case
{
    std::string text;
    uint32 seed;
    uint32 hash;
};

TEST(FastStringHash, Lookup2MatchesReferenceValues)
{
    const std::vector<Lookup2Case> cases = {
        {"", 0, 0xBD49D10D},
        {"a", 0, 0x29EEC818},
        {"bone_01", 0, 0x535FB789},
        {"hello world", 0, 0x1AA919E6},                    // 11 bytes: the whole tail
        {"abcdefghijkl", 0, 0x0B1B3EA5},                   // one whole block, empty tail
        {"the quick brown fox jumps over", 0, 0xD54E2A65}, // two blocks and a tail
        {"art/models/foo", 0, 0x11B9DE09},
        {"bone_01", 0x12345678, 0x41414294},
        {"\xff\x80\x01", 0, 0x9158459B}, // bytes above 0x7F count as unsigned
    };
    for (const Lookup2Case& c : cases)
    {
        EXPECT_EQ(FastString::HashBuffer(c.text.data(), uint32(c.text.size()), c.seed), c.hash) << c.text;
        if (c.seed == 0)
        {
            EXPECT_EQ(FastString::HashString(c.text.c_str()), c.hash) << c.text;
        }
    }
}

TEST(FastStringHash, LowerCasedHashIgnoresCaseAndCutsLongNames)
{
    EXPECT_EQ(FastString::HashStringLower("Bone_01"), 0x535FB789u);
    EXPECT_EQ(FastString::HashStringLower("ART/Models/FOO"), FastString::HashString("art/models/foo"));

    // Only the first 0x7FF characters count.
    std::string longName(0x7FF, 'x');
    const uint32 cut = FastString::HashString(longName.c_str());
    EXPECT_EQ(FastString::HashStringLower((longName + "TAIL").c_str()), cut);
    EXPECT_NE(FastString::HashString((longName + "tail").c_str()), cut);
}

TEST(FastStringHash, MultiplicativeHashUsesSignedCharacters)
{
    EXPECT_EQ(FastString::HashMultiplicative(""), 0u);
    EXPECT_EQ(FastString::HashMultiplicative("ab"), uint32('a' * 31 + 'b'));
    EXPECT_EQ(FastString::HashMultiplicative("b", 'a'), uint32('a' * 31 + 'b'));
    // 0xFF is -1 as a signed char: 1 * 31 - 1.
    EXPECT_EQ(FastString::HashMultiplicative("\x01\xff"), 30u);
    // Starting from a string's hash continues it.
    EXPECT_EQ(FastString::HashMultiplicative("def", FastString::HashMultiplicative("abc")),
              FastString::HashMultiplicative("abcdef"));
}

TEST(FastStringCompare, OnlyAsciiLettersFoldAndACountBoundsTheCompare)
{
    struct Case
    {
        const char* a;
        const char* b;
        int count; // -1: the whole texts
        bool equal;
    };
    // clang-format off
    const Case cases[] = {
        {"", "", -1, true}, {"Bone_01", "bONE_01", -1, true}, {"@", "`", -1, false}, {"", "a", -1, false},
        {"a[", "A{", -1, false},     // '[' and '{' differ only in bit 5
        {"\xC4", "\xE4", -1, false}, // Latin-1 letters do not fold
        {"bone", "bone_01", -1, false}, {"bone_01", "bone", -1, false}, {"ArtFoo", "artBAR", 3, true},
        {"ArtFoo", "artBAR", 4, false}, {"abc", "x", 0, true}, {"ab", "abc", 5, false}, {"ABC", "abc", 10, true},
    };
    // clang-format on
    for (const Case& c : cases)
    {
        const bool equal =
            c.count < 0 ? FastString::EqualNoCase(c.a, c.b) : FastString::EqualNoCase(c.a, c.b, c.count);
        EXPECT_EQ(c.equal, equal) << c.a << " " << c.b << " " << c.count;
    }
}

TEST(FastStringCompare, NullIsAnAssertion)
{
    {
        dbg::ScopedThrowOnAssert throwing;
        EXPECT_THROW(FastString::EqualNoCase(nullptr, "a"), std::runtime_error);
        EXPECT_THROW(FastString::EqualNoCase("a", nullptr, 1), std::runtime_error);
    }
    dbg::ScopedThrowOnAssert passed(false);
    EXPECT_FALSE(FastString::EqualNoCase(nullptr, nullptr));
    EXPECT_FALSE(FastString::EqualNoCase(nullptr, "a", 1));
}

TEST(CRC, KnownValueAndRunningUpdate)
{
    const char* check = "123456789";
    CRC whole;
    whole.Update(check, 9);
    EXPECT_EQ(whole.GetValue(), 0xCBF43926u);
    EXPECT_EQ(whole.GetLength(), 9u);

    CRC pieces;
    pieces.Update(check, 4);
    pieces.Update(check + 4, 1);
    pieces.Update(check + 5, 4);
    EXPECT_EQ(pieces.GetValue(), whole.GetValue());
    EXPECT_EQ(pieces.GetLength(), 9u);

    EXPECT_EQ(CRC::Compute(0, nullptr, 10), 0u);
    EXPECT_EQ(CRC::Compute(0, check, 9), 0xCBF43926u);

    dbg::ScopedThrowOnAssert passed(false);
    pieces.Update(nullptr, 4);
    pieces.Update(check, 0);
    EXPECT_EQ(pieces.GetValue(), 0xCBF43926u);
    EXPECT_EQ(pieces.GetLength(), 9u);
}

TEST(CRC, FileIsReadFromItsStartInBlocks)
{
    // More than two 0x1000 blocks, so the feeding crosses block ends.
    std::vector<unsigned char> data(0x2345);
    for (size_t i = 0; i < data.size(); ++i)
        data[i] = static_cast<unsigned char>(i * 7 + 3);
    CRC expected;
    expected.Update(data.data(), uint32(data.size()));

    FILE* pFile = std::tmpfile();
    ASSERT_NE(pFile, nullptr);
    ASSERT_EQ(std::fwrite(data.data(), 1, data.size(), pFile), data.size());
    // The file position is at its end; the checksum still covers everything.
    CRC fromFile;
    fromFile.UpdateFromFile(pFile);
    std::fclose(pFile);
    EXPECT_EQ(fromFile.GetValue(), expected.GetValue());
    EXPECT_EQ(fromFile.GetLength(), uint32(data.size()));

    dbg::ScopedThrowOnAssert throwing;
    EXPECT_THROW(fromFile.UpdateFromFile(nullptr), std::runtime_error);
}
