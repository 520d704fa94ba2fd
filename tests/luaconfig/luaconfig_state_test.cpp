// The Lua state layer: typed reads and writes, tables, native functions, print, the library manager.
#include "foundation/debug.h"
#include "luaconfig/luaconfig.h"
#include "luaconfig/luaconfigsave.h"
#include "luaconfig/lualibman.h"
#include "names/memorypool.h"
#include "support/logcapture.h"

#include <gtest/gtest.h>
#include <lua.hpp>

#include <map>

namespace
{
// What `script` returns as text, or "error: " and the error.
std::string Eval(LuaConfig& lc, const char* script)
{
    std::string result;
    return lc.RunString(script, true, &result) ? result : "error: " + lc.GetLastError();
}
} // namespace

TEST(LuaConfigState, TypedReadsTakeTheirOwnKindOnly)
{
    LuaConfig lc("reads");
    ASSERT_TRUE(lc.RunString("n = 3 f = 2.5 s = 'text' b = true t = {} top = 2147483647 over = 2147483648"
                             " bottom = -2147483648 under = -2147483649"));
    // Each read as text: "-" when it fails.
    int i = 0;
    std::string s;
    auto asInt = [&](const char* name) { return lc.GetNumber(name, i) ? std::to_string(i) : "-"; };
    auto asText = [&](const char* name) { return lc.GetString(name, s) ? s : "-"; };
    EXPECT_EQ(asInt("n") + asInt("top") + asInt("bottom") + asInt("over") + asInt("under") + asInt("s"),
              "32147483647-2147483648---");
    EXPECT_EQ(asText("s") + asText("f") + asText("t") + asText("missing"), "text2.5--")
        << "a number reads as text";
    double d = 0;
    float f = 0;
    bool b = false;
    EXPECT_TRUE(lc.GetNumber("f", f) && f == 2.5f && lc.GetBool("b", b) && b);
    EXPECT_FALSE(lc.GetNumber("s", d) || lc.GetBool("n", b) || lc.GetNumber("missing", d));
    EXPECT_EQ(lua_gettop(lc.GetState()), 0);
    char buffer[5];
    EXPECT_TRUE(lc.GetString("s", buffer, sizeof(buffer)) && std::string(buffer) == "text");
    dbg::ScopedThrowOnAssert passing(false);
    buffer[0] = 'x';
    EXPECT_FALSE(lc.GetString("s", buffer, 4)) << "the terminator must fit";
    EXPECT_EQ(buffer[0], 'x');
}

TEST(LuaConfigState, WholeNumbersAreStoredAsIntegersBelowNineE15)
{
    LuaConfig lc("set");
    for (auto [value, stored] : {std::pair{3.0, "integer 3"},
                                 {2.5, "float 2.5"},
                                 {-4.0, "integer -4"},
                                 {8999999999999999.0, "integer 8999999999999999"},
                                 {9.0e15, "float 9e+15"}})
    {
        ASSERT_TRUE(lc.SetNumber("x", value));
        EXPECT_EQ(Eval(lc, "return math.type(x) .. ' ' .. x"), stored) << value;
    }
}

namespace
{
int ReturnOne(lua_State* L)
{
    lua_pushinteger(L, 1);
    return 1;
}
} // namespace

TEST(LuaConfigState, GetTypeGivesTheKindOfEachValue)
{
    LuaConfig lc("kinds");
    ASSERT_TRUE(lc.RunString("b = false n = 1 s = '' t = {} function f() end ro = { inner = {} }"));
    lua_newuserdatauv(lc.GetState(), 8, 0);
    ASSERT_TRUE(lc.SetField("ud"));
    ASSERT_TRUE(lc.SetFunction("native", ReturnOne));
    ASSERT_TRUE(lc.MakeReadOnly("ro"));
    std::vector<LuaConfig::Kind> kinds;
    for (const char* name : {"missing", "b", "n", "s", "t", "f", "native", "ud", "ro"})
        kinds.push_back(lc.GetType(name));
    EXPECT_EQ(kinds,
              (std::vector{LuaConfig::Kind_Nil, LuaConfig::Kind_Boolean, LuaConfig::Kind_Number,
                           LuaConfig::Kind_String, LuaConfig::Kind_Table, LuaConfig::Kind_Function,
                           LuaConfig::Kind_NativeFunction, LuaConfig::Kind_Other, LuaConfig::Kind_Table}));
    ASSERT_TRUE(lc.Enter("ro"));
    // Inside the guard the tables are found through its index.
    EXPECT_EQ(lc.GetType("inner"), LuaConfig::Kind_InheritedTable);
}

TEST(LuaConfigState, EnterMakesTablesAndLeaveComesBack)
{
    LuaConfig lc("enter");
    ASSERT_TRUE(lc.RunString("old = 5"));
    ASSERT_TRUE(lc.Enter("settings") && lc.GetDepth() == 1u && lc.SetNumber("width", 640));
    ASSERT_TRUE(lc.Enter("colour") && lc.SetString("name", "red") && lc.SetBool("on", true));
    EXPECT_EQ(lc.GetDepth(), 2u);
    ASSERT_TRUE(lc.Leave());
    double width = 0;
    EXPECT_TRUE(lc.GetNumber("width", width) && width == 640.0);
    ASSERT_TRUE(lc.Leave());
    EXPECT_EQ(lc.GetDepth(), 0u);
    EXPECT_EQ(Eval(lc, "return settings.colour.name .. tostring(settings.colour.on)"), "redtrue");
    // A value that isn't a table is replaced by one.
    ASSERT_TRUE(lc.Enter("old"));
    lc.SetGlobalsCurrent();
    EXPECT_EQ(lc.GetType("old"), LuaConfig::Kind_Table);
    EXPECT_EQ(lc.GetDepth(), 0u);
    dbg::ScopedThrowOnAssert passing(false);
    EXPECT_FALSE(lc.Leave());
    EXPECT_EQ(lua_gettop(lc.GetState()), 0);
}

TEST(LuaConfigState, DigitNamesReachArrayEntries)
{
    LuaConfig lc("digits");
    // Up to 18 digits make an integer key; a leading zero or a 19th digit make a name.
    ASSERT_TRUE(lc.RunString("list = { { 'name', 'value' }, ['007'] = 'bond', [100000000000000000] = 'int',"
                             " ['1000000000000000000'] = 'text' }"));
    ASSERT_TRUE(lc.Enter("list"));
    EXPECT_EQ(lc.GetType("1"), LuaConfig::Kind_Table);
    std::string bond, whole, named;
    EXPECT_TRUE(lc.GetString("007", bond) && lc.GetString("100000000000000000", whole) &&
                lc.GetString("1000000000000000000", named));
    EXPECT_EQ(bond + whole + named, "bondinttext");
    ASSERT_TRUE(lc.Enter("1"));
    std::string first, second;
    EXPECT_TRUE(lc.GetString("1", first) && lc.GetString("2", second) &&
                first + "=" + second == "name=value");
    ASSERT_TRUE(lc.SetString("3", "third"));
    lc.SetGlobalsCurrent();
    EXPECT_EQ(Eval(lc, "return list[1][3]"), "third");
}

TEST(LuaConfigState, FieldsIterateOverTheCurrentTable)
{
    LuaConfig lc("fields");
    ASSERT_TRUE(lc.RunString("t = { a = 1, b = 'x', c = {}, 'first', [true] = 1 }"));
    ASSERT_TRUE(lc.Enter("t"));
    std::map<std::string, LuaConfig::Kind> seen;
    LuaConfig::Field field;
    for (bool more = lc.FirstField(field); more; more = lc.NextField(field))
        seen[field.key] = field.kind;
    // The boolean key has no name and is passed over.
    EXPECT_EQ(seen, (std::map<std::string, LuaConfig::Kind>{{"1", LuaConfig::Kind_String},
                                                            {"a", LuaConfig::Kind_Number},
                                                            {"b", LuaConfig::Kind_String},
                                                            {"c", LuaConfig::Kind_Table}}));
    EXPECT_FALSE(lc.NextField(field)) << "the iteration stays ended";
    ASSERT_TRUE(lc.Enter("c"));
    EXPECT_FALSE(lc.FirstField(field));
    EXPECT_EQ(lua_gettop(lc.GetState()), 0);
}

namespace
{
// Adds the first upvalue (a pointer to an int) to the argument.
int AddUpvalue(lua_State* L)
{
    const int* pBase = static_cast<const int*>(lua_touserdata(L, lua_upvalueindex(1)));
    lua_pushinteger(L, *pBase + luaL_checkinteger(L, 1));
    return 1;
}
} // namespace

TEST(LuaConfigState, SetFunctionInstallsNativeFunctionsWithUpvalues)
{
    LuaConfig lc("functions");
    std::vector<std::string> functionChanges;
    lc.SetFunctionHook([&](const char* name) { functionChanges.emplace_back(name); });
    int base = 40;
    void* values[] = {&base};
    ASSERT_TRUE(lc.RunString("add = 'a string first'"));
    ASSERT_TRUE(lc.SetFunction("add", AddUpvalue, 1, values));
    EXPECT_EQ(Eval(lc, "return add(2)"), "42");
    {
        dbg::ScopedThrowOnAssert passing(false);
        EXPECT_FALSE(lc.SetFunction("add", ReturnOne));
    }
    EXPECT_EQ(Eval(lc, "return add(0)"), "40") << "the first function stays";
    EXPECT_TRUE(lc.ClearFunction("add"));
    EXPECT_EQ(lc.GetType("add"), LuaConfig::Kind_Nil);
    EXPECT_EQ(functionChanges, (std::vector<std::string>{"add", "add"}));
}

TEST(LuaConfigState, ClearingLogsWhatIsNotThere)
{
    LuaConfig lc("clear");
    ASSERT_TRUE(lc.RunString("v = 1 function f() end"));
    std::vector<std::string> variableChanges;
    lc.SetVariableHook([&](const char* name) { variableChanges.emplace_back(name); });
    LogCapture log;
    for (auto [cleared, message] :
         {std::pair{lc.ClearFunction("nothing"), "[clear] ClearFunction called on NIL function 'nothing'."},
          {lc.ClearFunction("v"), "[clear] ClearFunction called on non-function 'v'."},
          {lc.ClearVariable("nothing"), "[clear] ClearVariable called on NIL variable 'nothing'."}})
        EXPECT_TRUE(!cleared && log.Has(message)) << message;
    EXPECT_EQ(lc.GetType("v"), LuaConfig::Kind_Number);
    EXPECT_TRUE(lc.ClearVariable("v"));
    EXPECT_EQ(lc.GetType("v"), LuaConfig::Kind_Nil);
    EXPECT_TRUE(lc.ClearFunction("f"));
    EXPECT_EQ(variableChanges, std::vector<std::string>{"v"});
}

TEST(LuaConfigState, RunStringReportsErrorsAndCallsNamedFunctions)
{
    LuaConfig lc("run");
    LogCapture log;
    EXPECT_FALSE(lc.RunString("x = = 1"));
    EXPECT_TRUE(log.Has("[run] error running command (x = = 1): "));
    EXPECT_NE(lc.GetLastError().find("unexpected symbol"), std::string::npos);
    EXPECT_FALSE(lc.RunString("error('raised')"));
    EXPECT_NE(lc.GetLastError().find("raised"), std::string::npos);
    ASSERT_TRUE(lc.RunString("calls = 0 function tick() calls = calls + 1 return 'ticked' end"));
    EXPECT_EQ(Eval(lc, "tick"), "ticked");
    // Without returnValue the name alone is not a call, and is no statement either.
    EXPECT_FALSE(lc.RunString("tick"));
    double calls = 0;
    EXPECT_TRUE(lc.GetNumber("calls", calls) && calls == 1.0);
    EXPECT_EQ(Eval(lc, "y = 3"), "");
    // Floating point exceptions are masked.
    EXPECT_EQ(Eval(lc, "return 1/0 > 0 and 0/0 ~= 0/0"), "true");
    EXPECT_EQ(lua_gettop(lc.GetState()), 0);
}

TEST(LuaConfigState, PrintGoesToTheHookOrTheLog)
{
    LuaConfig lc("print");
    LogCapture log;
    ASSERT_TRUE(lc.RunString("print('to the log', 2)"));
    EXPECT_TRUE(log.Has("to the log\t2"));
    std::vector<std::string> printed;
    lc.SetPrintHook([&](const char* text) { printed.emplace_back(text); });
    log.Clear();
    ASSERT_TRUE(lc.RunString("print('hooked', nil, true) _PRINT('again')"));
    EXPECT_EQ(printed, (std::vector<std::string>{"hooked\tnil\ttrue", "again"}));
    EXPECT_FALSE(log.Has("hooked"));
    EXPECT_FALSE(lc.RunString("print()"));
    EXPECT_NE(lc.GetLastError().find("Print called without valid parameters"), std::string::npos);
    ASSERT_TRUE(lc.RunString("_ALERT('something went wrong')"));
    EXPECT_TRUE(log.Has("LUA -- something went wrong"));
}

TEST(LuaConfigState, ReadOnlyTablesRefuseWrites)
{
    LuaConfig lc("ro");
    ASSERT_TRUE(lc.RunString("cfg = { size = 3, inner = { name = 'x' }, list = { 1, 2 } }"));
    ASSERT_TRUE(lc.MakeReadOnly("cfg"));
    for (auto [script, error] :
         {std::pair{"cfg.size = 4", "attempt to write to `cfg' (a read-only value)"},
          {"cfg.inner.name = 'y'", "attempt to write to `cfg.inner' (a read-only value)"},
          {"setmetatable(cfg, nil)", ""}})
        EXPECT_TRUE(!lc.RunString(script) && lc.GetLastError().find(error) != std::string::npos) << script;
    EXPECT_EQ(Eval(lc, "local n = 0 for k, v in pairs(cfg) do n = n + 1 end return cfg.size .. "
                       "cfg.inner.name .. n .. #cfg.list"),
              "3x32");
    // Native writes are refused as well; reads go through.
    ASSERT_TRUE(lc.Enter("cfg"));
    LogCapture log;
    EXPECT_FALSE(lc.SetNumber("size", 5));
    EXPECT_TRUE(log.Has("attempt to write to `size' (a read-only value)"));
    EXPECT_FALSE(lc.Enter("fresh"));
    std::string name;
    EXPECT_TRUE(lc.Enter("inner") && lc.GetString("name", name) && name == "x");
    lc.SetGlobalsCurrent();
    EXPECT_FALSE(lc.MakeReadOnly("missing"));
}

namespace
{
struct CountingLibrary : LuaLibrary
{
    explicit CountingLibrary(const char* name) : LuaLibrary(name) {}
    bool Open(LuaConfig& lc) override { return ++opened, lc.RunString("counting_loaded = true"); }
    void Close(LuaConfig&) override { ++closed; }
    int opened = 0, closed = 0;
};
} // namespace

TEST(LuaConfigState, LibraryManagerBindsLibrariesPerState)
{
    LuaLibMan& man = LuaLibMan::Instance();
    auto owned = std::make_unique<CountingLibrary>("counting_test");
    CountingLibrary* lib = owned.get();
    ASSERT_TRUE(man.Register(std::move(owned)));
    EXPECT_FALSE(man.Register(std::make_unique<CountingLibrary>("counting_test"))) << "names are unique";
    {
        LuaConfig lc("libs");
        EXPECT_TRUE(man.IsBound(lc, "string") && man.IsBound(lc, "debug"));
        EXPECT_EQ(Eval(lc, "return type(table.concat) .. type(string.format) .. type(math.floor) .. "
                           "type(debug.traceback) .. tostring(io)"),
                  "functionfunctionfunctionfunctionnil");
        EXPECT_FALSE(man.Bind(lc, "no_such_library"));
        EXPECT_TRUE(man.Bind(lc, "counting_test") && man.Bind(lc, "counting_test"));
        bool loaded = false;
        EXPECT_TRUE(lib->opened == 1 && lc.GetBool("counting_loaded", loaded) && loaded);
        LuaConfig other("other");
        EXPECT_FALSE(man.IsBound(other, "counting_test"));
        EXPECT_TRUE(man.Unbind(lc, "counting_test") && lib->closed == 1);
        EXPECT_FALSE(man.Unbind(lc, "counting_test"));
        ASSERT_TRUE(man.Bind(lc, "counting_test"));
    }
    EXPECT_EQ(lib->closed, 2) << "the destructor closes what is still bound";
}

TEST(LuaConfigState, StatesAllocateFromTheLuaPoolAndKnowTheirConfig)
{
    MemoryPool& pool = MemoryPool::Get(LuaLibMan::PoolName);
    const uint64 before = pool.GetBytesInUse();
    {
        LuaConfig lc("pool");
        ASSERT_TRUE(lc.RunString("t = {} for i = 1, 1000 do t[i] = tostring(i) end"));
        EXPECT_GT(pool.GetBytesInUse(), before + 1000);
        EXPECT_EQ(LuaConfig::FromState(lc.GetState()), &lc);
    }
    EXPECT_EQ(pool.GetBytesInUse(), before);
    lua_State* foreign = luaL_newstate();
    EXPECT_EQ(LuaConfig::FromState(foreign), nullptr);
    lua_close(foreign);
}
