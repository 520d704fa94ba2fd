#include "names/stlexstring.h"
#include "names/utf8.h"

#include "foundation/debug.h"

#include <gtest/gtest.h>

#include <string>

TEST(StlExString, PrintfReplacesAndAppendPrintfAppendsPastAnySmallBuffer)
{
    std::string s = "old text";
    EXPECT_EQ(StlExString::Printf(s, "%s_%02d", "bone", 7), 7);
    EXPECT_EQ(StlExString::AppendPrintf(s, " [%u]", 42u), 5);
    EXPECT_EQ(s, "bone_07 [42]");
    const std::string big(5000, 'q');
    EXPECT_EQ(StlExString::AppendPrintf(s, "<%s>", big.c_str()), 5002);
    EXPECT_EQ(s, "bone_07 [42]<" + big + ">");
    std::wstring w = L"old";
    const std::wstring wideBig(3000, L'z');
    EXPECT_EQ(StlExString::Printf(w, L"%ls %d %ls", L"frame", 12, wideBig.c_str()), 3009);
    EXPECT_EQ(w, L"frame 12 " + wideBig);
}

TEST(Utf8, RoundTripAndTheTerminatorInTheTargetSize)
{
    // "Grüße", a Greek letter, a CJK character and a character outside the basic plane.
    const char* text = "Gr\xC3\xBC\xC3\x9F"
                       "e \xCE\xA9 \xE6\xBC\xA2 \xF0\x9F\x98\x80";
    wchar16 wide[32];
    char back[64];
    ASSERT_TRUE(AnsiToWide(text, wide, 32) && WideToAnsi(wide, back, 64));
    EXPECT_EQ(std::u16string(wide), u"Gr\u00FC\u00DFe \u03A9 \u6F22 \U0001F600"); // ends in a surrogate pair
    EXPECT_STREQ(back, text);
    // The target size counts the terminator; a surrogate pair does not fit in the last unit.
    EXPECT_TRUE(AnsiToWide("abc", wide, 4) && !AnsiToWide("abcd", wide, 4) && wide[0] == 0);
    EXPECT_TRUE(!AnsiToWide("ab\xF0\x9F\x98\x80", wide, 4) && AnsiToWide("ab\xF0\x9F\x98\x80", wide, 5));
    EXPECT_TRUE(WideToAnsi(u"\u00FC", back, 3) && !WideToAnsi(u"\u00FC", back, 2) && back[0] == 0);
    dbg::ScopedThrowOnAssert passed(false);
    EXPECT_TRUE(WideToAnsi(nullptr, back, 4) && AnsiToWide(nullptr, wide, 4) && back[0] == 0 && wide[0] == 0);
    EXPECT_FALSE(AnsiToWide("a", nullptr, 4) || WideToAnsi(u"a", back, 0));
}

TEST(Utf8, MalformedSequencesBecomeReplacementCharacters)
{
    wchar16 wide[16];
    // A lone continuation byte, a lead byte cut by the end, an over-long '/', an encoded surrogate.
    ASSERT_TRUE(AnsiToWide("a\x80\x62\xC3", wide, 16)); // \x62 is 'b'
    EXPECT_EQ(std::u16string(wide), u"a\uFFFDb\uFFFD");
    ASSERT_TRUE(AnsiToWide("\xC0\xAF|\xED\xA0\x80", wide, 16));
    EXPECT_EQ(std::u16string(wide), u"\uFFFD|\uFFFD");
    // An unpaired high surrogate before an ordinary letter keeps the letter.
    const char16_t lone[] = {0xD800, u'x', 0xDC00, 0};
    char ansi[16];
    ASSERT_TRUE(WideToAnsi(lone, ansi, 16));
    EXPECT_STREQ(ansi, "\xEF\xBF\xBDx\xEF\xBF\xBD");
}
