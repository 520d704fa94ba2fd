#include "scripts/scripthost.h"

#include "scripts/primitive.h"

#include <lua.hpp>

#include <exception>

namespace Script
{
namespace
{
Value ToValue(lua_State* L, int index)
{
    switch (lua_type(L, index))
    {
    case LUA_TNIL:
    case LUA_TNONE:
        return Value::Undefined();
    case LUA_TBOOLEAN:
        return Value::Boolean(lua_toboolean(L, index) != 0);
    case LUA_TNUMBER:
    {
        const double number = lua_tonumber(L, index);
        std::string text = luaL_tolstring(L, index, nullptr);
        lua_pop(L, 1);
        return Value::Number(number, std::move(text));
    }
    case LUA_TSTRING:
    {
        size_t length = 0;
        const char* text = lua_tolstring(L, index, &length);
        return Value::String(std::string(text, length));
    }
    case LUA_TTABLE:
    {
        // A sequence is an Array: its elements 1 to #t.
        index = lua_absindex(L, index);
        std::vector<Value> cElement;
        const lua_Integer count = luaL_len(L, index);
        for (lua_Integer i = 1; i <= count; ++i)
        {
            lua_geti(L, index, i);
            cElement.push_back(ToValue(L, -1));
            lua_pop(L, 1);
        }
        return Value::Array(std::move(cElement));
    }
    default:
    {
        std::string text = luaL_tolstring(L, index, nullptr);
        lua_pop(L, 1);
        return Value::Other(std::move(text));
    }
    }
}

void Push(lua_State* L, const Value& value)
{
    switch (value.GetKind())
    {
    case Value::Kind::Boolean:
        lua_pushboolean(L, value.IsTrue() ? 1 : 0);
        break;
    case Value::Kind::Number:
        lua_pushnumber(L, value.GetNumber());
        break;
    case Value::Kind::String:
        lua_pushlstring(L, value.to_string().data(), value.to_string().size());
        break;
    case Value::Kind::Array:
    {
        lua_createtable(L, int(value.Elements().size()), 0);
        lua_Integer i = 0;
        for (const Value& element : value.Elements())
        {
            Push(L, element);
            lua_seti(L, -2, ++i);
        }
        break;
    }
    default:
        lua_pushnil(L);
        break;
    }
}

// Calls the primitive with the Lua arguments and pushes its result; false with the error message
// pushed instead. Every C++ object lives in here, so that the caller may raise the Lua error (a
// jump past this frame) with nothing left to destroy.
bool Invoke(lua_State* L, const Primitive& primitive)
{
    try
    {
        std::vector<Value> cArg;
        const int count = lua_gettop(L);
        for (int i = 1; i <= count; ++i)
            cArg.push_back(ToValue(L, i));
        const Value result = primitive.Call(cArg.data(), count);
        Push(L, result);
        return true;
    }
    catch (const ScriptError& error)
    {
        luaL_where(L, 1);
        lua_pushstring(L, error.GetText().c_str());
    }
    // The bare text that a failed burn step throws, and anything the handlers let pass.
    catch (const std::string& text)
    {
        luaL_where(L, 1);
        lua_pushstring(L, text.c_str());
    }
    catch (const std::exception& e)
    {
        luaL_where(L, 1);
        lua_pushstring(L, e.what());
    }
    lua_concat(L, 2);
    return false;
}

int CallPrimitive(lua_State* L)
{
    const auto* pPrimitive = static_cast<const Primitive*>(lua_touserdata(L, lua_upvalueindex(1)));
    if (!Invoke(L, *pPrimitive))
        return lua_error(L);
    return 1;
}
} // namespace

ScriptHost::ScriptHost() : m_pState(luaL_newstate())
{
    if (m_pState == nullptr)
        return;
    luaL_openlibs(m_pState);
    for (const Primitive* pPrimitive : Primitive::All())
    {
        lua_pushlightuserdata(m_pState, const_cast<Primitive*>(pPrimitive));
        lua_pushcclosure(m_pState, &CallPrimitive, 1);
        lua_setglobal(m_pState, pPrimitive->GetName());
    }
}

ScriptHost::~ScriptHost()
{
    if (m_pState != nullptr)
        lua_close(m_pState);
}

bool ScriptHost::RunFile(const std::string& path, const std::vector<std::string>& args)
{
    if (m_pState == nullptr)
    {
        m_lastError = "no Lua state could be made";
        return false;
    }
    lua_createtable(m_pState, int(args.size()), 1);
    lua_pushstring(m_pState, path.c_str());
    lua_seti(m_pState, -2, 0);
    lua_Integer i = 0;
    for (const std::string& arg : args)
    {
        lua_pushstring(m_pState, arg.c_str());
        lua_seti(m_pState, -2, ++i);
    }
    lua_setglobal(m_pState, "arg");
    return Run(luaL_loadfilex(m_pState, path.c_str(), "t"));
}

bool ScriptHost::RunString(const std::string& code, const std::string& chunkName)
{
    if (m_pState == nullptr)
    {
        m_lastError = "no Lua state could be made";
        return false;
    }
    return Run(luaL_loadbufferx(m_pState, code.data(), code.size(), ("@" + chunkName).c_str(), "t"));
}

bool ScriptHost::Run(int loadStatus)
{
    if (loadStatus == LUA_OK && lua_pcall(m_pState, 0, 0, 0) == LUA_OK)
    {
        m_lastError.clear();
        return true;
    }
    const char* text = lua_tostring(m_pState, -1);
    m_lastError = text != nullptr ? text : "(an error without a message)";
    lua_pop(m_pState, 1);
    return false;
}
} // namespace Script
