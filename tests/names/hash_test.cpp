#include "names/crc.h"
#include "names/faststring.h"

#include "foundation/debug.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <vector>

TEST(FastStringHash, Lookup2MatchesReferenceValuesAndTheLowerCasedOneCutsLongNames)
{
    // Worked out by a separate implementation written from the published description of lookup2.
    // clang-format off
    const std::tuple<std::string, uint32, uint32> cases[] = {
        {"", 0, 0xBD49D10D}, {"a", 0, 0x29EEC818}, {"bone_01", 0, 0x535FB789},
        {"hello world", 0, 0x1AA919E6},                    // 11 bytes: the whole tail
        {"abcdefghijkl", 0, 0x0B1B3EA5},                   // one whole block, empty tail
        {"the quick brown fox jumps over", 0, 0xD54E2A65}, // two blocks and a tail
        {"bone_01", 0x12345678, 0x41414294}, {"\xff\x80\x01", 0, 0x9158459B}, // bytes above 0x7F are unsigned
    };
    // clang-format on
    for (const auto& [text, seed, hash] : cases)
    {
        EXPECT_EQ(FastString::HashBuffer(text.data(), uint32(text.size()), seed), hash) << text;
        EXPECT_TRUE(seed != 0 || FastString::HashString(text.c_str()) == hash) << text;
    }
    EXPECT_EQ(FastString::HashStringLower("ART/Models/FOO"), FastString::HashString("art/models/foo"));
    // Only the first 0x7FF characters count.
    const std::string longName(0x7FF, 'x');
    const uint32 cut = FastString::HashString(longName.c_str());
    EXPECT_EQ(FastString::HashStringLower((longName + "TAIL").c_str()), cut);
    EXPECT_NE(FastString::HashString((longName + "tail").c_str()), cut);
    // The multiplicative hash takes signed characters: 0xFF is -1, so "\x01\xff" is 1 * 31 - 1.
    EXPECT_EQ(FastString::HashMultiplicative("b", 'a'), uint32('a' * 31 + 'b'));
    EXPECT_EQ(FastString::HashMultiplicative("\x01\xff"), 30u);
    EXPECT_EQ(FastString::HashMultiplicative("def", FastString::HashMultiplicative("abc")),
              FastString::HashMultiplicative("abcdef"));
}

TEST(FastStringCompare, OnlyAsciiLettersFoldAndACountBoundsTheCompare)
{
    // The texts, the count (-1: the whole texts) and whether they are equal.
    // clang-format off
    const std::tuple<const char*, const char*, int, bool> cases[] = {
        {"", "", -1, true}, {"Bone_01", "bONE_01", -1, true}, {"@", "`", -1, false}, {"", "a", -1, false},
        {"a[", "A{", -1, false},     // '[' and '{' differ only in bit 5
        {"\xC4", "\xE4", -1, false}, // Latin-1 letters do not fold
        {"bone", "bone_01", -1, false}, {"bone_01", "bone", -1, false}, {"ArtFoo", "artBAR", 3, true},
        {"ArtFoo", "artBAR", 4, false}, {"abc", "x", 0, true}, {"ab", "abc", 5, false}, {"ABC", "abc", 10, true},
        {nullptr, nullptr, -1, false}, {nullptr, "a", 1, false},
    };
    // clang-format on
    dbg::ScopedThrowOnAssert passed(false);
    for (const auto& [a, b, count, equal] : cases)
        EXPECT_EQ(count < 0 ? FastString::EqualNoCase(a, b) : FastString::EqualNoCase(a, b, count), equal)
            << (a ? a : "null") << " " << (b ? b : "null") << " " << count;
}

TEST(CRC, KnownValueRunningUpdateAndFilesReadFromTheirStart)
{
    const char* check = "123456789";
    CRC whole, pieces;
    whole.Update(check, 9);
    for (auto [from, length] : {std::pair{0, 4}, {4, 1}, {5, 4}})
        pieces.Update(check + from, length);
    dbg::ScopedThrowOnAssert passed(false);
    pieces.Update(nullptr, 4);
    pieces.Update(check, 0);
    for (const CRC& crc : {whole, pieces})
        EXPECT_TRUE(crc.GetValue() == 0xCBF43926u && crc.GetLength() == 9u);
    EXPECT_TRUE(CRC::Compute(0, nullptr, 10) == 0u && CRC::Compute(0, check, 9) == 0xCBF43926u);
    // More than two 0x1000 blocks, so the feeding crosses block ends.
    std::vector<unsigned char> data(0x2345);
    for (size_t i = 0; i < data.size(); ++i)
        data[i] = static_cast<unsigned char>(i * 7 + 3);
    CRC expected, fromFile;
    expected.Update(data.data(), uint32(data.size()));
    FILE* pFile = std::tmpfile();
    ASSERT_EQ(std::fwrite(data.data(), 1, data.size(), pFile), data.size());
    fromFile.UpdateFromFile(pFile); // the position is at the end; the checksum covers everything
    std::fclose(pFile);
    EXPECT_TRUE(fromFile.GetValue() == expected.GetValue() && fromFile.GetLength() == uint32(data.size()));
}
