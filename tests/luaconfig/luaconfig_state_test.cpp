#include "luaconfig/luaconfig.h"

#include <gtest/gtest.h>

TEST(LuaConfigState, RunStringSetsGlobalsThatTypedReadsSee)
{
    LuaConfig lc("state");
    ASSERT_TRUE(lc.RunString("a = 3 b = 'text' c = true d = 2.5"));
    double a = 0;
    EXPECT_TRUE(lc.GetNumber("a", a));
    EXPECT_EQ(a, 3.0);
}
