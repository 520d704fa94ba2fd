#include "names/fixedstring.h"

#include "support/logcapture.h"

#include <gtest/gtest.h>

TEST(FixedString, HoldsTextUpToItsCapacity)
{
    FixedString<4> s("abcd");
    EXPECT_STREQ(s.c_str(), "abcd");
    EXPECT_EQ(s.length(), 4u);
}

TEST(FixedString, LongerOrNullSourceIsAnAssertionAndLeavesTheOldText)
{
    FixedString<4> s("ab");
    {
        dbg::ScopedThrowOnAssert throwing;
        EXPECT_THROW(s = "abcde", std::runtime_error);
    }
    dbg::ScopedThrowOnAssert passed(false);
    EXPECT_FALSE(s.Assign("abcde"));
    EXPECT_FALSE(s.Assign(nullptr));
    EXPECT_STREQ(s.c_str(), "ab");
}

TEST(FixedString, OverlongAssertionNamesTheLengthCheck)
{
    LogCapture log;
    dbg::ScopedThrowOnAssert passed(false);
    FixedString<2> s;
    EXPECT_FALSE(s.Assign("abc"));
    EXPECT_EQ(log.Count("Assertion of (T::length( rhs ) <= LEN) failed."), 1);
    EXPECT_TRUE(s.empty());
}
