// The Lua state layer: typed reads and writes, the current table, native functions, RunString,
// print and alert routing, read-only tables and the library manager.
#include "foundation/debug.h"
#include "luaconfig/luaconfig.h"
#include "luaconfig/luaconfigsave.h"
#include "luaconfig/lualibman.h"
#include "names/memorypool.h"
#include "support/logcapture.h"

#include <gtest/gtest.h>
#include <lua.hpp>

#include <map>

TEST(LuaConfigState, TypedReadsTakeTheirOwnKindOnly)
{
    LuaConfig lc("reads");
    ASSERT_TRUE(lc.RunString("n = 3 f = 2.5 s = 'text' b = true t = {} big = 3e9"));
    double d = 0;
    float f = 0;
    int i = 0;
    bool b = false;
    std::string s;
    EXPECT_TRUE(lc.GetNumber("n", d));
    EXPECT_EQ(d, 3.0);
    EXPECT_TRUE(lc.GetNumber("f", f));
    EXPECT_EQ(f, 2.5f);
    EXPECT_TRUE(lc.GetNumber("n", i));
    EXPECT_EQ(i, 3);
    EXPECT_FALSE(lc.GetNumber("big", i)) << "out of the range of an int";
    EXPECT_TRUE(lc.GetBool("b", b));
    EXPECT_TRUE(b);
    EXPECT_TRUE(lc.GetString("s", s));
    EXPECT_EQ(s, "text");
    // A number reads as text, as Lua converts it.
    EXPECT_TRUE(lc.GetString("f", s));
    EXPECT_EQ(s, "2.5");

    EXPECT_FALSE(lc.GetNumber("s", d));
    EXPECT_FALSE(lc.GetBool("n", b));
    EXPECT_FALSE(lc.GetString("t", s));
    EXPECT_FALSE(lc.GetString("missing", s));
    EXPECT_FALSE(lc.GetNumber("missing", d));
    EXPECT_EQ(lua_gettop(lc.GetState()), 0);
}

TEST(LuaConfigState, GetStringIntoABufferMustFit)
{
    LuaConfig lc("buffer");
    ASSERT_TRUE(lc.RunString("s = 'four'"));
    char buffer[5];
    EXPECT_TRUE(lc.GetString("s", buffer, sizeof(buffer)));
    EXPECT_STREQ(buffer, "four");
    {
        dbg::ScopedThrowOnAssert throwing;
        EXPECT_THROW(lc.GetString("s", buffer, 4), std::runtime_error);
    }
    dbg::ScopedThrowOnAssert passing(false);
    buffer[0] = 'x';
    EXPECT_FALSE(lc.GetString("s", buffer, 4));
    EXPECT_EQ(buffer[0], 'x');
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
    EXPECT_EQ(lc.GetType("missing"), LuaConfig::Kind_Nil);
    EXPECT_EQ(lc.GetType("b"), LuaConfig::Kind_Boolean);
    EXPECT_EQ(lc.GetType("n"), LuaConfig::Kind_Number);
    EXPECT_EQ(lc.GetType("s"), LuaConfig::Kind_String);
    EXPECT_EQ(lc.GetType("t"), LuaConfig::Kind_Table);
    EXPECT_EQ(lc.GetType("f"), LuaConfig::Kind_Function);
    EXPECT_EQ(lc.GetType("native"), LuaConfig::Kind_NativeFunction);
    EXPECT_EQ(lc.GetType("ud"), LuaConfig::Kind_Other);
    EXPECT_EQ(lc.GetType("ro"), LuaConfig::Kind_Table);
    ASSERT_TRUE(lc.Enter("ro"));
    // Inside the guard the tables are found through its index.
    EXPECT_EQ(lc.GetType("inner"), LuaConfig::Kind_InheritedTable);
}

TEST(LuaConfigState, EnterMakesTablesAndLeaveComesBack)
{
    LuaConfig lc("enter");
    ASSERT_TRUE(lc.RunString("old = 5"));
    ASSERT_TRUE(lc.Enter("settings"));
    EXPECT_EQ(lc.GetDepth(), 1u);
    ASSERT_TRUE(lc.SetNumber("width", 640));
    ASSERT_TRUE(lc.Enter("colour"));
    ASSERT_TRUE(lc.SetString("name", "red"));
    ASSERT_TRUE(lc.SetBool("on", true));
    EXPECT_EQ(lc.GetDepth(), 2u);
    ASSERT_TRUE(lc.Leave());
    double width = 0;
    EXPECT_TRUE(lc.GetNumber("width", width));
    EXPECT_EQ(width, 640.0);
    ASSERT_TRUE(lc.Leave());
    EXPECT_EQ(lc.GetDepth(), 0u);

    std::string result;
    ASSERT_TRUE(lc.RunString("return settings.colour.name .. tostring(settings.colour.on)", true, &result));
    EXPECT_EQ(result, "redtrue");

    // A value that isn't a table is replaced by one.
    ASSERT_TRUE(lc.Enter("old"));
    lc.SetGlobalsCurrent();
    EXPECT_EQ(lc.GetType("old"), LuaConfig::Kind_Table);
    EXPECT_EQ(lc.GetDepth(), 0u);

    dbg::ScopedThrowOnAssert throwing;
    EXPECT_THROW(lc.Leave(), std::runtime_error);
    EXPECT_EQ(lua_gettop(lc.GetState()), 0);
}

TEST(LuaConfigState, DigitNamesReachArrayEntries)
{
    LuaConfig lc("digits");
    ASSERT_TRUE(lc.RunString("list = { { 'name', 'value' }, ['007'] = 'bond' }"));
    ASSERT_TRUE(lc.Enter("list"));
    EXPECT_EQ(lc.GetType("1"), LuaConfig::Kind_Table);
    std::string bond;
    EXPECT_TRUE(lc.GetString("007", bond));
    EXPECT_EQ(bond, "bond");
    ASSERT_TRUE(lc.Enter("1"));
    std::string first, second;
    EXPECT_TRUE(lc.GetString("1", first));
    EXPECT_TRUE(lc.GetString("2", second));
    EXPECT_EQ(first + "=" + second, "name=value");
    ASSERT_TRUE(lc.SetString("3", "third"));
    lc.SetGlobalsCurrent();
    std::string third;
    ASSERT_TRUE(lc.RunString("return list[1][3]", true, &third));
    EXPECT_EQ(third, "third");
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
    const std::map<std::string, LuaConfig::Kind> expected = {{"1", LuaConfig::Kind_String},
                                                             {"a", LuaConfig::Kind_Number},
                                                             {"b", LuaConfig::Kind_String},
                                                             {"c", LuaConfig::Kind_Table}};
    EXPECT_EQ(seen, expected);
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
    std::string result;
    ASSERT_TRUE(lc.RunString("return add(2)", true, &result));
    EXPECT_EQ(result, "42");

    {
        dbg::ScopedThrowOnAssert throwing;
        EXPECT_THROW(lc.SetFunction("add", ReturnOne), std::runtime_error);
    }
    {
        dbg::ScopedThrowOnAssert passing(false);
        EXPECT_FALSE(lc.SetFunction("add", ReturnOne));
    }
    ASSERT_TRUE(lc.RunString("return add(0)", true, &result));
    EXPECT_EQ(result, "40") << "the first function stays";

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
    EXPECT_FALSE(lc.ClearFunction("nothing"));
    EXPECT_TRUE(log.Has("[clear] ClearFunction called on NIL function 'nothing'."));
    EXPECT_FALSE(lc.ClearFunction("v"));
    EXPECT_TRUE(log.Has("[clear] ClearFunction called on non-function 'v'."));
    EXPECT_EQ(lc.GetType("v"), LuaConfig::Kind_Number);
    EXPECT_FALSE(lc.ClearVariable("nothing"));
    EXPECT_TRUE(log.Has("[clear] ClearVariable called on NIL variable 'nothing'."));
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
    std::string result;
    ASSERT_TRUE(lc.RunString("tick", true, &result));
    EXPECT_EQ(result, "ticked");
    // Without returnValue the name alone is not a call, and is no statement either.
    EXPECT_FALSE(lc.RunString("tick"));
    double calls = 0;
    ASSERT_TRUE(lc.GetNumber("calls", calls));
    EXPECT_EQ(calls, 1.0);
    ASSERT_TRUE(lc.RunString("return 1 + 1", true, &result));
    EXPECT_EQ(result, "2");
    ASSERT_TRUE(lc.RunString("y = 3", true, &result));
    EXPECT_EQ(result, "");
    // Floating point exceptions are masked.
    ASSERT_TRUE(lc.RunString("return 1/0 > 0 and 0/0 ~= 0/0", true, &result));
    EXPECT_EQ(result, "true");
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

TEST(LuaConfigState, PrintAndImportNeedTheirSelf)
{
    // A foreign state holding our functions has no self in its registry.
    lua_State* L = luaL_newstate();
    LuaConfig lc("self");
    lc.PushField("print");
    lua_State* ours = lc.GetState();
    lua_CFunction print = lua_tocfunction(ours, -1);
    lua_pop(ours, 1);
    lc.PushField("import");
    lua_CFunction import = lua_tocfunction(ours, -1);
    lua_pop(ours, 1);
    lua_pushcfunction(L, print);
    lua_pushstring(L, "x");
    EXPECT_NE(lua_pcall(L, 1, 0, 0), LUA_OK);
    EXPECT_STREQ(lua_tostring(L, -1), "Print called without valid self");
    lua_pop(L, 1);
    lua_pushcfunction(L, import);
    lua_pushstring(L, "x.lua");
    EXPECT_NE(lua_pcall(L, 1, 0, 0), LUA_OK);
    EXPECT_STREQ(lua_tostring(L, -1), "import called without valid self");
    lua_close(L);
}

TEST(LuaConfigState, ReadOnlyTablesRefuseWrites)
{
    LuaConfig lc("ro");
    ASSERT_TRUE(lc.RunString("cfg = { size = 3, inner = { name = 'x' }, list = { 1, 2 } }"));
    ASSERT_TRUE(lc.MakeReadOnly("cfg"));

    EXPECT_FALSE(lc.RunString("cfg.size = 4"));
    EXPECT_NE(lc.GetLastError().find("attempt to write to `cfg' (a read-only value)"), std::string::npos);
    EXPECT_FALSE(lc.RunString("cfg.inner.name = 'y'"));
    EXPECT_NE(lc.GetLastError().find("attempt to write to `cfg.inner' (a read-only value)"),
              std::string::npos);
    EXPECT_FALSE(lc.RunString("setmetatable(cfg, nil)"));

    std::string result;
    ASSERT_TRUE(lc.RunString("local n = 0 for k, v in pairs(cfg) do n = n + 1 end"
                             " return cfg.size .. cfg.inner.name .. n .. #cfg.list",
                             true, &result));
    EXPECT_EQ(result, "3x32");

    // Native writes are refused as well; reads go through.
    ASSERT_TRUE(lc.Enter("cfg"));
    LogCapture log;
    EXPECT_FALSE(lc.SetNumber("size", 5));
    EXPECT_TRUE(log.Has("attempt to write to `size' (a read-only value)"));
    EXPECT_FALSE(lc.Enter("fresh"));
    double size = 0;
    EXPECT_TRUE(lc.GetNumber("size", size));
    EXPECT_EQ(size, 3.0);
    ASSERT_TRUE(lc.Enter("inner"));
    std::string name;
    EXPECT_TRUE(lc.GetString("name", name));
    EXPECT_EQ(name, "x");
    lc.SetGlobalsCurrent();

    // The save shows the contents.
    std::string text;
    ASSERT_TRUE(LuaConfigSave::SaveToText(lc, text, false, true));
    EXPECT_EQ(text, "cfg =  \n{\ninner =  \n{\nname = \"x\",\n},\nlist =  \n{\n1,\n2,\n},\nsize = 3,\n}\n");
    EXPECT_FALSE(lc.MakeReadOnly("missing"));
}

namespace
{
struct CountingLibrary : LuaLibrary
{
    explicit CountingLibrary(const char* name) : LuaLibrary(name) {}
    bool Open(LuaConfig& lc) override
    {
        ++opened;
        return lc.RunString("counting_loaded = true");
    }
    void Close(LuaConfig&) override { ++closed; }
    int opened = 0;
    int closed = 0;
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
        uint32 count = 0;
        const char* const* names = LuaLibMan::DefaultLibraries(count);
        ASSERT_EQ(count, 5u);
        for (uint32 i = 0; i < count; ++i)
            EXPECT_TRUE(man.IsBound(lc, names[i])) << names[i];
        std::string result;
        ASSERT_TRUE(lc.RunString("return type(table.concat) .. type(string.format) .. type(math.floor) .. "
                                 "type(debug.traceback) .. tostring(io)",
                                 true, &result));
        EXPECT_EQ(result, "functionfunctionfunctionfunctionnil");

        EXPECT_FALSE(man.Bind(lc, "no_such_library"));
        ASSERT_TRUE(man.Bind(lc, "counting_test"));
        ASSERT_TRUE(man.Bind(lc, "counting_test"));
        EXPECT_EQ(lib->opened, 1);
        bool loaded = false;
        EXPECT_TRUE(lc.GetBool("counting_loaded", loaded));
        LuaConfig other("other");
        EXPECT_FALSE(man.IsBound(other, "counting_test"));
        EXPECT_TRUE(man.Unbind(lc, "counting_test"));
        EXPECT_EQ(lib->closed, 1);
        EXPECT_FALSE(man.Unbind(lc, "counting_test"));
        ASSERT_TRUE(man.Bind(lc, "counting_test"));
    }
    EXPECT_EQ(lib->closed, 2) << "the destructor closes what is still bound";
}

TEST(LuaConfigState, StatesAllocateFromTheLuaPool)
{
    MemoryPool& pool = MemoryPool::Get(LuaLibMan::PoolName);
    const uint64 before = pool.GetBytesInUse();
    {
        LuaConfig lc("pool");
        ASSERT_TRUE(lc.RunString("t = {} for i = 1, 1000 do t[i] = tostring(i) end"));
        EXPECT_GT(pool.GetBytesInUse(), before + 1000);
    }
    EXPECT_EQ(pool.GetBytesInUse(), before);
}

TEST(LuaConfigState, ErrorNamesAndSelf)
{
    const char* names[] = {"LUA_ERRRUN", "LUA_ERRFILE", "LUA_ERRSYNTAX", "LUA_ERRMEM", "LUA_ERRERR"};
    for (int code = 1; code <= 5; ++code)
        EXPECT_STREQ(names[code - 1], LuaConfig::ErrorName(code));
    LuaConfig lc("me");
    EXPECT_EQ(LuaConfig::FromState(lc.GetState()), &lc);
    lua_State* foreign = luaL_newstate();
    EXPECT_EQ(LuaConfig::FromState(foreign), nullptr);
    lua_close(foreign);
    lc.SetName("renamed");
    EXPECT_STREQ(lc.GetName(), "renamed");
}
