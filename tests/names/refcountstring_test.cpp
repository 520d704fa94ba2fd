#include "names/refcountstring.h"

#include "foundation/debug.h"

#include <gtest/gtest.h>

#include <utility>

TEST(RefCountString, CopiesShareOneBlockUntilTheLastGoes)
{
    RefCountString a("FOLDDATA");
    EXPECT_EQ(a.GetRefCount(), 1u);
    {
        RefCountString b = a;
        RefCountString c;
        c = b;
        EXPECT_EQ(a.c_str(), b.c_str());
        EXPECT_EQ(a.c_str(), c.c_str());
        EXPECT_EQ(a.GetRefCount(), 3u);
        RefCountString& same = c;
        c = same; // self-assignment keeps the block alive
        EXPECT_EQ(a.GetRefCount(), 3u);
        EXPECT_STREQ(c.c_str(), "FOLDDATA");
    }
    EXPECT_EQ(a.GetRefCount(), 1u);
    RefCountString moved = std::move(a);
    EXPECT_EQ(moved.GetRefCount(), 1u);
    EXPECT_TRUE(a.empty());
    EXPECT_STREQ(moved.c_str(), "FOLDDATA");
    EXPECT_EQ(moved.length(), 8u);
}

TEST(RefCountString, EmptyAndNullSourcesHoldNothing)
{
    RefCountString empty("");
    EXPECT_TRUE(empty.empty());
    EXPECT_EQ(empty.GetRefCount(), 0u);
    EXPECT_STREQ(empty.c_str(), "");
    EXPECT_EQ(empty.length(), 0u);
    {
        dbg::ScopedThrowOnAssert throwing;
        EXPECT_THROW(RefCountString(static_cast<const char*>(nullptr)), std::runtime_error);
    }
    dbg::ScopedThrowOnAssert passed(false);
    RefCountString null(static_cast<const char*>(nullptr));
    EXPECT_TRUE(null.empty());
    EXPECT_EQ(null, empty);
}

TEST(RefCountString, BoundedSourceAndComparison)
{
    const char id[4] = {'D', 'A', 'T', 'A'}; // no terminator
    RefCountString s(id, 4);
    EXPECT_STREQ(s.c_str(), "DATA");
    EXPECT_EQ(s, "DATA");
    EXPECT_EQ(s, RefCountString("DATA"));
    EXPECT_FALSE(s == "DATAX");
    EXPECT_LT(RefCountString("ABC"), s);
    EXPECT_GT(s.compare("ABC"), 0);
    EXPECT_EQ(RefCountString("ab\0cd", 5).length(), 2u);
}
