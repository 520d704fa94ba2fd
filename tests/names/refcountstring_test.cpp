#include "names/refcountstring.h"

#include "foundation/debug.h"

#include <gtest/gtest.h>

#include <utility>

TEST(RefCountString, CopiesShareOneBlockUntilTheLastGoesAndSourcesMayBeBounded)
{
    RefCountString a("FOLDDATA");
    {
        RefCountString b = a, c;
        c = b;
        c = static_cast<RefCountString&>(c); // self-assignment keeps the block alive
        EXPECT_TRUE(a.c_str() == b.c_str() && a.c_str() == c.c_str());
        EXPECT_EQ(a.GetRefCount(), 3u);
    }
    EXPECT_EQ(a.GetRefCount(), 1u);
    RefCountString moved = std::move(a);
    EXPECT_TRUE(moved.GetRefCount() == 1u && a.empty() && moved.length() == 8u);
    EXPECT_STREQ(moved.c_str(), "FOLDDATA");
    // Empty, null and bounded sources, and comparison.
    RefCountString empty("");
    EXPECT_TRUE(empty.empty() && empty.GetRefCount() == 0u && empty.length() == 0u);
    EXPECT_STREQ(empty.c_str(), "");
    {
        dbg::ScopedThrowOnAssert passed(false);
        EXPECT_EQ(RefCountString(static_cast<const char*>(nullptr)), empty);
    }
    const char id[4] = {'D', 'A', 'T', 'A'}; // no terminator
    RefCountString s(id, 4);
    EXPECT_STREQ(s.c_str(), "DATA");
    EXPECT_TRUE(s == "DATA" && s == RefCountString("DATA") && !(s == "DATAX"));
    EXPECT_LT(RefCountString("ABC"), s);
    EXPECT_GT(s.compare("ABC"), 0);
    EXPECT_EQ(RefCountString("ab\0cd", 5).length(), 2u);
}
