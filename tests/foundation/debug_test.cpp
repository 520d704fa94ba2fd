#include "foundation/debug.h"

#include <gtest/gtest.h>

namespace
{
int SafeDivide(int a, int b)
{
    if (!dbAssert(b != 0))
        return 0;
    return a / b;
}
} // namespace

TEST(Assertions, PassedAssertionTakesTheSafeReturn)
{
    dbg::ScopedThrowOnAssert noThrow(false);
    EXPECT_EQ(SafeDivide(6, 0), 0);
    EXPECT_EQ(SafeDivide(6, 3), 2);
}

TEST(Assertions, ThrowSwitchMakesAFailedAssertionThrowWithItsText)
{
    dbg::ScopedThrowOnAssert throwing;
    try
    {
        SafeDivide(1, 0);
        FAIL() << "no exception";
    }
    catch (const std::runtime_error& e)
    {
        EXPECT_NE(std::string(e.what()).find("Assertion of (b != 0) failed."), std::string::npos);
    }
}
