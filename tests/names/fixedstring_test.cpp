#include "names/fixedstring.h"

#include "support/logcapture.h"

#include <gtest/gtest.h>

TEST(FixedString, HoldsTextUpToItsCapacityAndRefusesMore)
{
    FixedString<4> s("abcd");
    EXPECT_STREQ(s.c_str(), "abcd");
    EXPECT_EQ(s.length(), 4u);
    s = "ab";
    LogCapture log;
    dbg::ScopedThrowOnAssert passed(false);
    EXPECT_FALSE(s.Assign("abcde"));
    EXPECT_EQ(log.Count("Assertion of (T::length( rhs ) <= LEN) failed."), 1);
    EXPECT_FALSE(s.Assign(nullptr));
    EXPECT_STREQ(s.c_str(), "ab");
}
