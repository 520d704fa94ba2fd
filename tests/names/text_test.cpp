#include "names/stlexstring.h"
#include "names/utf8.h"

#include "foundation/debug.h"

#include <gtest/gtest.h>

#include <string>

TEST(StlExString, PrintfReplacesAndAppendPrintfAppends)
{
    std::string s = "old text";
    EXPECT_EQ(StlExString::Printf(s, "%s_%02d", "bone", 7), 7);
    EXPECT_EQ(s, "bone_07");
    EXPECT_EQ(StlExString::AppendPrintf(s, " [%u]", 42u), 5);
    EXPECT_EQ(s, "bone_07 [42]");
    EXPECT_EQ(StlExString::Printf(s, "%s", ""), 0);
    EXPECT_EQ(s, "");

    // Longer than any small buffer a formatter might start with.
    std::string big(5000, 'q');
    EXPECT_EQ(StlExString::AppendPrintf(s, "<%s>", big.c_str()), 5002);
    EXPECT_EQ(s.size(), 5002u);
    EXPECT_EQ(s.back(), '>');
}

TEST(StlExString, WidePrintf)
{
    std::wstring w = L"old";
    EXPECT_EQ(StlExString::Printf(w, L"%ls %d", L"frame", 12), 8);
    EXPECT_EQ(w, L"frame 12");
    std::wstring big(3000, L'z');
    EXPECT_EQ(StlExString::Printf(w, L"%ls!", big.c_str()), 3001);
    EXPECT_EQ(w.size(), 3001u);
    EXPECT_EQ(w.back(), L'!');
}

TEST(Utf8, RoundTripOfNonAsciiText)
{
    // "Grüße", a Greek letter, a CJK character and a character outside the basic plane.
    const char* text = "Gr\xC3\xBC\xC3\x9F"
                       "e \xCE\xA9 \xE6\xBC\xA2 \xF0\x9F\x98\x80";
    wchar16 wide[32];
    ASSERT_TRUE(AnsiToWide(text, wide, 32));
    const std::u16string expected = u"Gr\u00FC\u00DFe \u03A9 \u6F22 \U0001F600";
    EXPECT_EQ(std::u16string(wide), expected);
    EXPECT_EQ(expected.size(), 12u); // the last one takes a surrogate pair

    char back[64];
    ASSERT_TRUE(WideToAnsi(wide, back, 64));
    EXPECT_STREQ(back, text);
}

TEST(Utf8, TargetSizeCountsTheTerminator)
{
    wchar16 wide[8];
    EXPECT_TRUE(AnsiToWide("abc", wide, 4));
    EXPECT_EQ(std::u16string(wide), u"abc");
    EXPECT_FALSE(AnsiToWide("abcd", wide, 4));
    EXPECT_EQ(wide[0], 0);
    // A surrogate pair does not fit in the last unit.
    EXPECT_FALSE(AnsiToWide("ab\xF0\x9F\x98\x80", wide, 4));
    EXPECT_TRUE(AnsiToWide("ab\xF0\x9F\x98\x80", wide, 5));

    char ansi[8];
    EXPECT_TRUE(WideToAnsi(u"\u00FC", ansi, 3));
    EXPECT_STREQ(ansi, "\xC3\xBC");
    // Two bytes of ü and no room for the terminator.
    EXPECT_FALSE(WideToAnsi(u"\u00FC", ansi, 2));
    EXPECT_STREQ(ansi, "");
    EXPECT_TRUE(WideToAnsi(u"", ansi, 1));
    EXPECT_STREQ(ansi, "");
}

TEST(Utf8, NullSourceIsAnAssertionThenEmptyAndTrue)
{
    wchar16 wide[4] = {u'x', u'y', 0, 0};
    char ansi[4] = "xy";
    {
        dbg::ScopedThrowOnAssert throwing;
        EXPECT_THROW(WideToAnsi(nullptr, ansi, 4), std::runtime_error);
        EXPECT_THROW(AnsiToWide("a", wide, 0), std::runtime_error);
    }
    dbg::ScopedThrowOnAssert passed(false);
    EXPECT_TRUE(WideToAnsi(nullptr, ansi, 4));
    EXPECT_STREQ(ansi, "");
    EXPECT_TRUE(AnsiToWide(nullptr, wide, 4));
    EXPECT_EQ(wide[0], 0);
    EXPECT_FALSE(AnsiToWide("a", nullptr, 4));
    EXPECT_FALSE(WideToAnsi(u"a", ansi, 0));
}

TEST(Utf8, MalformedSequencesBecomeReplacementCharacters)
{
    wchar16 wide[16];
    // A lone continuation byte, a lead byte cut by the end, an over-long '/', an encoded surrogate.
    ASSERT_TRUE(AnsiToWide("a\x80"
                           "b\xC3",
                           wide, 16));
    EXPECT_EQ(std::u16string(wide), u"a\uFFFDb\uFFFD");
    ASSERT_TRUE(AnsiToWide("\xC0\xAF|\xED\xA0\x80", wide, 16));
    EXPECT_EQ(std::u16string(wide), u"\uFFFD|\uFFFD");

    // An unpaired high surrogate before an ordinary letter keeps the letter.
    const char16_t lone[] = {0xD800, u'x', 0xDC00, 0};
    char ansi[16];
    ASSERT_TRUE(WideToAnsi(lone, ansi, 16));
    EXPECT_STREQ(ansi, "\xEF\xBF\xBDx\xEF\xBF\xBD");
}
