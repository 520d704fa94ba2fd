// Helpers of the LuaConfig library shared by the state, the text writer and the loaders; they work
// on the raw Lua stack and call no metamethod.
#pragma once

#include "luaconfig/luaconfig.h"

#include <lua.hpp>

#include <string>

namespace luacfg
{
// True for a name of decimal digits without a leading zero that fits an integer: such a name
// reads the integer key first.
bool IsIntegerText(const char* name, lua_Integer& out);
// Pushes the raw value `name` of the table at `tableIndex` and returns its Lua type.
int RawField(lua_State* L, int tableIndex, const char* name);
// As RawField, then up the chain of metatable index tables; `inherited` tells where it was found.
int LookupField(lua_State* L, int tableIndex, const char* name, bool& inherited);
// Whether the table is a read-only guard, and the table whose contents it shows (itself otherwise).
bool IsReadOnly(lua_State* L, int tableIndex);
void PushContents(lua_State* L, int tableIndex);
LuaConfig::Kind KindOf(lua_State* L, int index);
// The system's error code for a Lua status.
int ToSystemCode(int status);
// Compiles the text of a stream, fed in blocks of at most 0x800 bytes; the function or the error
// message is left on the stack.
int LoadChunk(lua_State* L, ByteStream& stream, const char* chunkName);
// lua_pcall with floating point exceptions masked.
int ProtectedCall(lua_State* L, int nargs, int nresults);
std::string ErrorText(lua_State* L, int index, const char* fallback);
} // namespace luacfg
