#include "luaconfig/luabinding.h"

#include "foundation/debug.h"
#include "foundation/output.h"
#include "luaconfig/luaconfig.h"

#include <lua.hpp>

#include <cmath>
#include <cstdio>
#include <new>

struct LuaBinding::Shared
{
    Callback m_callback;
    std::string m_funcname;
    std::vector<ArgType> m_args;
    // Calls in progress: a binding is not destroyed from inside its own call.
    int m_count = 0;
};

namespace
{
const char* const s_holderMeta = "LuaBinding.Shared";

// The closure's upvalue: a full userdata holding a counted reference to the binding's state, so
// that Lua keeps it alive for as long as it holds the function.
struct Holder
{
    std::shared_ptr<LuaBinding::Shared> pShared;
};

int CollectHolder(lua_State* L)
{
    auto* holder = static_cast<Holder*>(luaL_testudata(L, 1, s_holderMeta));
    if (holder != nullptr)
        holder->~Holder();
    return 0;
}

bool TypeMatches(lua_State* L, int index, LuaBinding::ArgType type)
{
    switch (type)
    {
    case LuaBinding::Arg_Number:
        return lua_type(L, index) == LUA_TNUMBER;
    case LuaBinding::Arg_Integer:
    {
        if (lua_type(L, index) != LUA_TNUMBER)
            return false;
        const double value = double(lua_tonumber(L, index));
        return lua_isinteger(L, index) || std::floor(value) == value;
    }
    case LuaBinding::Arg_Bool:
        return lua_type(L, index) == LUA_TBOOLEAN;
    case LuaBinding::Arg_String:
        return lua_type(L, index) == LUA_TSTRING;
    case LuaBinding::Arg_Table:
        return lua_type(L, index) == LUA_TTABLE;
    case LuaBinding::Arg_Function:
        return lua_type(L, index) == LUA_TFUNCTION;
    case LuaBinding::Arg_Any:
        return true;
    }
    return false;
}
} // namespace

const char* LuaBinding::TypeName(ArgType type)
{
    switch (type)
    {
    case Arg_Number:
        return "number";
    case Arg_Integer:
        return "integer";
    case Arg_Bool:
        return "boolean";
    case Arg_String:
        return "string";
    case Arg_Table:
        return "table";
    case Arg_Function:
        return "function";
    case Arg_Any:
        return "any";
    }
    return "unknown";
}

double LuaBinding::Call::GetNumber(int arg) const
{
    return double(lua_tonumber(m_L, m_base + arg));
}

long long LuaBinding::Call::GetInteger(int arg) const
{
    lua_Integer value = 0;
    if (lua_isinteger(m_L, m_base + arg))
        return lua_tointeger(m_L, m_base + arg);
    lua_numbertointeger(lua_tonumber(m_L, m_base + arg), &value);
    return value;
}

bool LuaBinding::Call::GetBool(int arg) const
{
    return lua_toboolean(m_L, m_base + arg) != 0;
}

const char* LuaBinding::Call::GetString(int arg) const
{
    // Only a string argument is read: converting a number in place would change the argument.
    return lua_type(m_L, m_base + arg) == LUA_TSTRING ? lua_tostring(m_L, m_base + arg) : "";
}

void LuaBinding::Call::PushNumber(double value)
{
    lua_pushnumber(m_L, value);
    ++m_count;
}

void LuaBinding::Call::PushInteger(long long value)
{
    lua_pushinteger(m_L, lua_Integer(value));
    ++m_count;
}

void LuaBinding::Call::PushBool(bool value)
{
    lua_pushboolean(m_L, value ? 1 : 0);
    ++m_count;
}

void LuaBinding::Call::PushString(const char* value)
{
    lua_pushstring(m_L, value ? value : "");
    ++m_count;
}

void LuaBinding::Call::PushNil()
{
    lua_pushnil(m_L);
    ++m_count;
}

LuaBinding::LuaBinding(LuaConfig& lc, const char* funcname, std::vector<ArgType> args, Callback callback)
    : m_sharedCb(std::make_shared<Shared>()), m_lc(&lc), m_funcname(funcname ? funcname : "")
{
    m_sharedCb->m_callback = std::move(callback);
    m_sharedCb->m_funcname = m_funcname;
    m_sharedCb->m_args = std::move(args);
    if (!dbAssert(m_sharedCb->m_callback != nullptr))
        return;
    if (!dbAssert(!m_funcname.empty()))
        return;
    const LuaConfig::Kind kind = lc.GetType(funcname);
    if (!dbAssert(kind != LuaConfig::Kind_Function && kind != LuaConfig::Kind_NativeFunction))
        return;
    if (kind != LuaConfig::Kind_Nil)
        lc.ClearVariable(funcname);

    lua_State* L = lc.GetState();
    void* block = lua_newuserdatauv(L, sizeof(Holder), 0);
    new (block) Holder{m_sharedCb};
    if (luaL_newmetatable(L, s_holderMeta))
    {
        lua_pushcfunction(L, CollectHolder);
        lua_setfield(L, -2, "__gc");
    }
    lua_setmetatable(L, -2);
    lua_pushcclosure(L, Trampoline, 1);
    m_bound = lc.SetField(funcname);
}

LuaBinding::~LuaBinding()
{
    dbAssert(m_sharedCb->m_count == 0);
    if (!m_bound || !dbAssert(m_lc != 0))
        return;
    // Only our own function is taken out: the script may have put something else there since.
    lua_State* L = m_lc->GetState();
    const int top = lua_gettop(L);
    m_lc->PushField(m_funcname.c_str());
    bool ours = false;
    if (lua_tocfunction(L, -1) == Trampoline && lua_getupvalue(L, -1, 1) != nullptr)
    {
        auto* holder = static_cast<Holder*>(luaL_testudata(L, -1, s_holderMeta));
        ours = holder != nullptr && holder->pShared == m_sharedCb;
    }
    lua_settop(L, top);
    if (ours)
    {
        lua_pushnil(L);
        m_lc->SetField(m_funcname.c_str());
    }
}

int LuaBinding::Trampoline(lua_State* L)
{
    // Lua unwinds by longjmp: the error is raised after every C++ object of the call is gone.
    char error[0x400];
    error[0] = '\0';
    int results = 0;
    auto* holder = static_cast<Holder*>(luaL_testudata(L, lua_upvalueindex(1), s_holderMeta));
    if (holder == nullptr || !holder->pShared)
        std::snprintf(error, sizeof(error), "LUA -- Invalid LuaBinding stack");
    else
        results = Invoke(L, *holder->pShared, error, sizeof(error));
    if (error[0] != '\0')
        return luaL_error(L, "%s", error);
    return results;
}

int LuaBinding::Invoke(lua_State* L, Shared& shared, char* error, size_t errorSize)
{
    const int top = lua_gettop(L);
    const int expected = int(shared.m_args.size());
    if (top != expected)
    {
        std::snprintf(error, errorSize, "invalid number of arguments");
        return 0;
    }
    for (int i = 0; i < expected; ++i)
    {
        if (!TypeMatches(L, i + 1, shared.m_args[size_t(i)]))
        {
            std::snprintf(error, errorSize, "Invalid parameter %d (type=%s) in function %s", i + 1,
                          luaL_typename(L, i + 1), shared.m_funcname.c_str());
            return 0;
        }
    }
    Call call(L, 0, expected);
    ++shared.m_count;
    try
    {
        shared.m_callback(call);
    }
    catch (const std::exception& e)
    {
        std::snprintf(error, errorSize, "%s: %s", shared.m_funcname.c_str(), e.what());
    }
    --shared.m_count;
    if (error[0] != '\0')
        return 0;
    const int after = lua_gettop(L);
    if (after != top + call.GetReturnCount())
    {
        std::snprintf(error, errorSize,
                      "Invalid stack after function call (stack index before %d, return count %d, stack "
                      "index after %d)",
                      top, call.GetReturnCount(), after);
        return 0;
    }
    return call.GetReturnCount();
}
