// Native functions bound with a typed argument list: checks before the call, results after it.
#include "foundation/debug.h"
#include "luaconfig/luabinding.h"
#include "luaconfig/luaconfig.h"

#include <gtest/gtest.h>
#include <lua.hpp>

#include <stdexcept>

namespace
{
// What `script` returns as text, or "error: " and the error.
std::string Eval(LuaConfig& lc, const char* script)
{
    std::string result;
    return lc.RunString(script, true, &result) ? result : "error: " + lc.GetLastError();
}

// Runs `script` and returns the error text, or "" when it ran.
std::string ErrorOf(LuaConfig& lc, const char* script)
{
    return lc.RunString(script) ? std::string() : lc.GetLastError();
}
} // namespace

TEST(LuaBinding, TypedArgumentsReachTheCallbackAndResultsComeBack)
{
    LuaConfig lc("binding");
    LuaBinding scale(
        lc, "scale",
        {LuaBinding::Arg_String, LuaBinding::Arg_Number, LuaBinding::Arg_Integer, LuaBinding::Arg_Bool},
        [](LuaBinding::Call& call)
        {
            const std::string name = call.GetString(1);
            const double factor = call.GetNumber(2) * double(call.GetInteger(3));
            call.PushString((name + (call.GetBool(4) ? "+" : "-")).c_str());
            call.PushNumber(factor);
        });
    ASSERT_TRUE(scale.IsBound());
    EXPECT_EQ(Eval(lc, "local s, f = scale('unit', 1.5, 4, true) return s .. f"), "unit+6.0");
    EXPECT_EQ(Eval(lc, "return scale('x', 1, 2.0, false)"), "x-") << "2.0 is a whole number";
    EXPECT_EQ(lua_gettop(lc.GetState()), 0);
}

TEST(LuaBinding, WrongArgumentsAreLuaErrors)
{
    LuaConfig lc("checks");
    int calls = 0;
    LuaBinding twice(lc, "twice", {LuaBinding::Arg_Number, LuaBinding::Arg_Table},
                     [&](LuaBinding::Call& call) { ++calls; });
    LuaBinding whole(lc, "whole", {LuaBinding::Arg_Integer}, [](LuaBinding::Call&) {});
    LuaBinding any(lc, "any", {LuaBinding::Arg_Any, LuaBinding::Arg_Function}, [](LuaBinding::Call&) {});
    // clang-format off
    for (auto [script, error] : {std::pair{"twice(1)", "invalid number of arguments"}, {"twice(1, {}, 3)", "invalid number of arguments"},
                                 {"twice('1', {})", "Invalid parameter 1 (type=string) in function twice"},
                                 {"twice(1, 'x')", "Invalid parameter 2 (type=string) in function twice"},
                                 {"whole(1.5)", "Invalid parameter 1 (type=number) in function whole"}})
        EXPECT_NE(ErrorOf(lc, script).find(error), std::string::npos) << script;
    // clang-format on
    EXPECT_EQ(calls, 0);
    EXPECT_EQ(ErrorOf(lc, "twice(1, {})") + ErrorOf(lc, "any(nil, print)"), "");
    EXPECT_EQ(calls, 1);
}

TEST(LuaBinding, ExceptionsAndUncountedResultsBecomeErrors)
{
    LuaConfig lc("faults");
    LuaBinding thrower(lc, "thrower", {},
                       [](LuaBinding::Call&) { throw std::runtime_error("no units left"); });
    EXPECT_NE(ErrorOf(lc, "thrower()").find("thrower: no units left"), std::string::npos);
    LuaBinding sneaky(lc, "sneaky", {},
                      [](LuaBinding::Call& call)
                      {
                          call.PushInteger(1);
                          lua_pushinteger(call.GetState(), 2); // not counted by the call
                      });
    EXPECT_NE(ErrorOf(lc, "sneaky()")
                  .find("Invalid stack after function call (stack index before 0, return "
                        "count 1, stack index after 2)"),
              std::string::npos);
    EXPECT_EQ(lua_gettop(lc.GetState()), 0);
}

TEST(LuaBinding, DestructionTakesOnlyItsOwnFunctionOut)
{
    LuaConfig lc("lifetime");
    int calls = 0;
    {
        LuaBinding ping(lc, "ping", {}, [&](LuaBinding::Call&) { ++calls; });
        ASSERT_TRUE(lc.RunString("kept = ping ping()"));
    }
    EXPECT_EQ(lc.GetType("ping"), LuaConfig::Kind_Nil);
    // A copy that Lua holds still works: the callback is shared with it.
    ASSERT_TRUE(lc.RunString("kept()"));
    EXPECT_EQ(calls, 2);
    {
        LuaBinding pong(lc, "pong", {}, [](LuaBinding::Call&) {});
        ASSERT_TRUE(lc.RunString("pong = 'replaced by the script'"));
    }
    EXPECT_EQ(lc.GetType("pong"), LuaConfig::Kind_String);
    // An existing function is not replaced.
    ASSERT_TRUE(lc.RunString("function taken() return 'lua' end"));
    dbg::ScopedThrowOnAssert passing(false);
    LuaBinding refused(lc, "taken", {}, [](LuaBinding::Call&) {});
    EXPECT_FALSE(refused.IsBound());
    EXPECT_EQ(Eval(lc, "return taken()"), "lua");
}
