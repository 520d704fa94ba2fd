#include "luaconfig/luaconfig.h"

#include "foundation/debug.h"
#include "foundation/output.h"
#include "luaconfig/luaconfig_internal.h"
#include "luaconfig/lualibman.h"
#include "names/memorypool.h"
#include "storage/bytestream.h"

#include <lua.hpp>

#include <cfenv>
#include <cinttypes>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <unordered_set>

struct LuaConfig::Pimpl
{
    lua_State* m_state = nullptr;
    std::string m_name;
    // Registry references of the entered tables, innermost last; empty when the globals are current.
    std::vector<int> m_current;
    PrintHook m_printHook;
    ChangeHook m_functionHook;
    ChangeHook m_variableHook;
    ImportCallback m_import;
    std::vector<std::string> m_imported;
    std::string m_lastError;
    std::string m_warning;
    int m_iterKeyRef = LUA_NOREF;
};

namespace
{
// Registry keys: the addresses are unique to this library.
const char s_keyMarker = 0;
const char s_keySelf = 0;
const char s_keyName = 0;

constexpr size_t ReaderBlock = 0x800;
constexpr size_t ReturnCallLimit = 0x7FD;
constexpr int MaxReadOnlyDepth = 200;

struct StreamReader
{
    ByteStream* pStream;
    char block[ReaderBlock];
};

const char* ReadStreamBlock(lua_State*, void* ud, size_t* size)
{
    auto* reader = static_cast<StreamReader*>(ud);
    const uint32 length = reader->pStream->GetLength();
    const uint32 pos = reader->pStream->GetPos();
    const uint32 remaining = length > pos ? length - pos : 0;
    const uint32 want = remaining < ReaderBlock ? remaining : uint32(ReaderBlock);
    *size = want ? reader->pStream->Read(reader->block, want) : 0;
    return *size ? reader->block : nullptr;
}

int ReadOnlyGuard(lua_State* L)
{
    return luaL_error(L, "attempt to write to `%s' (a read-only value)",
                      lua_tostring(L, lua_upvalueindex(1)));
}

// `next` over the guarded table, so that pairs() on a read-only table sees its contents.
int ReadOnlyNext(lua_State* L)
{
    luaL_checktype(L, 1, LUA_TTABLE);
    lua_settop(L, 2);
    return lua_next(L, 1) ? 2 : (lua_pushnil(L), 1);
}

int ReadOnlyPairs(lua_State* L)
{
    lua_pushcfunction(L, ReadOnlyNext);
    if (!lua_getmetatable(L, 1))
        return luaL_error(L, "read-only table without its guard");
    lua_getfield(L, -1, "__index");
    lua_remove(L, -2);
    lua_pushnil(L);
    return 3;
}

int ReadOnlyLen(lua_State* L)
{
    if (!lua_getmetatable(L, 1))
        return 0;
    lua_getfield(L, -1, "__index");
    lua_pushinteger(L, lua_Integer(lua_rawlen(L, -1)));
    return 1;
}

std::string FormatKey(lua_State* L, int index)
{
    char text[64];
    if (lua_isinteger(L, index))
        std::snprintf(text, sizeof(text), "%lld", static_cast<long long>(lua_tointeger(L, index)));
    else
        std::snprintf(text, sizeof(text), "%.14g", double(lua_tonumber(L, index)));
    return text;
}
} // namespace

// Internal helpers shared with the text writer and the loaders.
namespace luacfg
{
bool IsIntegerText(const char* name, lua_Integer& out)
{
    if (name == nullptr || *name < '0' || *name > '9')
        return false;
    // A leading zero makes a name, not a number: "007" stays a string key.
    if (name[0] == '0' && name[1] != '\0')
        return false;
    lua_Integer value = 0;
    int digits = 0;
    for (const char* p = name; *p; ++p, ++digits)
    {
        if (*p < '0' || *p > '9' || digits >= 18)
            return false;
        value = value * 10 + (*p - '0');
    }
    out = value;
    return true;
}

int RawField(lua_State* L, int tableIndex, const char* name)
{
    tableIndex = lua_absindex(L, tableIndex);
    lua_Integer key;
    if (IsIntegerText(name, key))
    {
        if (lua_rawgeti(L, tableIndex, key) != LUA_TNIL)
            return lua_type(L, -1);
        lua_pop(L, 1);
    }
    lua_pushstring(L, name);
    return lua_rawget(L, tableIndex);
}

bool IsReadOnly(lua_State* L, int tableIndex)
{
    if (!lua_getmetatable(L, tableIndex))
        return false;
    lua_getfield(L, -1, "__newindex");
    const bool guarded = lua_tocfunction(L, -1) == ReadOnlyGuard;
    lua_pop(L, 2);
    return guarded;
}

void PushContents(lua_State* L, int tableIndex)
{
    tableIndex = lua_absindex(L, tableIndex);
    if (IsReadOnly(L, tableIndex))
    {
        lua_getmetatable(L, tableIndex);
        lua_getfield(L, -1, "__index");
        lua_remove(L, -2);
        if (lua_type(L, -1) == LUA_TTABLE)
            return;
        lua_pop(L, 1);
    }
    lua_pushvalue(L, tableIndex);
}

int LookupField(lua_State* L, int tableIndex, const char* name, bool& inherited)
{
    inherited = false;
    tableIndex = lua_absindex(L, tableIndex);
    int type = RawField(L, tableIndex, name);
    if (type != LUA_TNIL)
        return type;
    lua_pop(L, 1);
    // Up the chain of index tables, without calling any metamethod.
    lua_pushvalue(L, tableIndex);
    for (int depth = 0; depth < 16; ++depth)
    {
        if (!lua_getmetatable(L, -1))
            break;
        lua_getfield(L, -1, "__index");
        lua_remove(L, -2);
        lua_remove(L, -2);
        if (lua_type(L, -1) != LUA_TTABLE)
            break;
        type = RawField(L, -1, name);
        if (type != LUA_TNIL)
        {
            lua_remove(L, -2);
            inherited = true;
            return type;
        }
        lua_pop(L, 1);
    }
    lua_pop(L, 1);
    lua_pushnil(L);
    return LUA_TNIL;
}

LuaConfig::Kind KindOf(lua_State* L, int index)
{
    switch (lua_type(L, index))
    {
    case LUA_TNIL:
        return LuaConfig::Kind_Nil;
    case LUA_TBOOLEAN:
        return LuaConfig::Kind_Boolean;
    case LUA_TNUMBER:
        return LuaConfig::Kind_Number;
    case LUA_TSTRING:
        return LuaConfig::Kind_String;
    case LUA_TTABLE:
        return LuaConfig::Kind_Table;
    case LUA_TFUNCTION:
        return lua_iscfunction(L, index) ? LuaConfig::Kind_NativeFunction : LuaConfig::Kind_Function;
    default:
        return LuaConfig::Kind_Other;
    }
}

int ToSystemCode(int status)
{
    switch (status)
    {
    case LUA_OK:
        return LuaConfig::Err_None;
    case LUA_ERRSYNTAX:
        return LuaConfig::Err_Syntax;
    case LUA_ERRMEM:
        return LuaConfig::Err_Mem;
    case LUA_ERRERR:
        return LuaConfig::Err_Err;
    case LUA_ERRFILE:
        return LuaConfig::Err_File;
    default:
        return LuaConfig::Err_Run;
    }
}

int LoadChunk(lua_State* L, ByteStream& stream, const char* chunkName)
{
    // The reader's block is large; it lives on the heap, not on a stack Lua may longjmp over.
    auto reader = std::make_unique<StreamReader>();
    reader->pStream = &stream;
    // Text only: a precompiled chunk is not checked by Lua and could do anything.
    return lua_load(L, ReadStreamBlock, reader.get(), chunkName, "t");
}

int ProtectedCall(lua_State* L, int nargs, int nresults)
{
    // Floating point exceptions are masked while Lua runs; the caller's setting comes back after.
    std::fenv_t env;
    std::feholdexcept(&env);
    const int status = lua_pcall(L, nargs, nresults, 0);
    std::fesetenv(&env);
    return status;
}

std::string ErrorText(lua_State* L, int index, const char* fallback)
{
    return lua_type(L, index) == LUA_TSTRING ? lua_tostring(L, index) : fallback;
}
} // namespace luacfg

using namespace luacfg;

// The native functions that Lua calls reach the object through this friend.
struct LuaConfigAccess
{
    static LuaConfig::Pimpl& Impl(LuaConfig& lc) { return *lc.m_pimpl; }

    // Errors are raised only after every C++ object of the call is gone: Lua unwinds by longjmp.
    static int Import(lua_State* L)
    {
        char error[0x400];
        error[0] = '\0';
        const int r = DoImport(L, error, sizeof(error));
        if (error[0] != '\0')
            return luaL_error(L, "%s", error);
        if (r < 0)
            return lua_error(L);
        return r;
    }

    static int DoImport(lua_State* L, char* error, size_t errorSize)
    {
        if (lua_type(L, 1) != LUA_TSTRING)
        {
            std::snprintf(error, errorSize, "import called without valid parameters");
            return 0;
        }
        LuaConfig* self = LuaConfig::FromState(L);
        if (self == nullptr)
        {
            std::snprintf(error, errorSize, "import called without valid self");
            return 0;
        }
        LuaConfig::Pimpl& impl = Impl(*self);
        if (!impl.m_import)
        {
            std::snprintf(error, errorSize, "import not set for this state");
            return 0;
        }
        const std::string filename = lua_tostring(L, 1);
        std::string from;
        lua_Debug ar;
        if (lua_getstack(L, 1, &ar) && lua_getinfo(L, "S", &ar) && ar.source && ar.source[0] == '@')
            from = ar.source + 1;
        std::shared_ptr<ByteStream> stream;
        try
        {
            stream = impl.m_import(filename.c_str(), from.c_str());
        }
        catch (const std::exception& e)
        {
            std::snprintf(error, errorSize, "failed to import '%s', %s", filename.c_str(), e.what());
            return 0;
        }
        if (!stream)
        {
            std::snprintf(error, errorSize, "failed to import '%s', file failed to open", filename.c_str());
            return 0;
        }
        // Under the name the file was opened by, so that its own imports resolve from there.
        const std::string chunkName =
            "@" + std::string(*stream->GetName() ? stream->GetName() : filename.c_str());
        if (LoadChunk(L, *stream, chunkName.c_str()) != LUA_OK)
            return -1; // the loader's message is on the stack
        dbAssert(lua_type(L, -1) == LUA_TFUNCTION);
        impl.m_imported.push_back(chunkName.substr(1));
        return 1;
    }

    static int Print(lua_State* L)
    {
        const int n = lua_gettop(L);
        if (n == 0)
            return luaL_error(L, "Print called without valid parameters");
        LuaConfig* self = LuaConfig::FromState(L);
        if (self == nullptr)
            return luaL_error(L, "Print called without valid self");
        luaL_Buffer b;
        luaL_buffinit(L, &b);
        for (int i = 1; i <= n; ++i)
        {
            if (i > 1)
                luaL_addchar(&b, '\t');
            luaL_tolstring(L, i, nullptr);
            luaL_addvalue(&b);
        }
        luaL_pushresult(&b);
        self->Print(lua_tostring(L, -1));
        return 0;
    }

    static int Alert(lua_State* L)
    {
        const int n = lua_gettop(L);
        luaL_Buffer b;
        luaL_buffinit(L, &b);
        for (int i = 1; i <= n; ++i)
        {
            luaL_tolstring(L, i, nullptr);
            luaL_addvalue(&b);
        }
        luaL_pushresult(&b);
        dbErrorf("LUA -- %s", lua_tostring(L, -1));
        return 0;
    }

    // Lua's own warnings come in pieces; a whole one goes to the log like an alert.
    static void Warn(void* ud, const char* msg, int tocont)
    {
        LuaConfig::Pimpl& impl = *static_cast<LuaConfig::Pimpl*>(ud);
        if (impl.m_warning.empty() && !tocont && msg[0] == '@')
            return; // a control message such as "@on"
        impl.m_warning += msg;
        if (tocont)
            return;
        dbErrorf("LUA -- %s", impl.m_warning.c_str());
        impl.m_warning.clear();
    }
};

LuaConfig::LuaConfig(const char* stateName) : m_pimpl(std::make_unique<Pimpl>())
{
    m_pimpl->m_name = stateName ? stateName : "";
    lua_State* L = lua_newstate(LuaLibMan::PoolAlloc, &MemoryPool::Get(LuaLibMan::PoolName));
    if (L == nullptr)
        dbFatal("LUA -- Fatal error (%d)", int(Err_Mem));
    m_pimpl->m_state = L;
    lua_atpanic(L, LuaLibMan::Panic);
    lua_setwarnf(L, LuaConfigAccess::Warn, m_pimpl.get());

    lua_pushboolean(L, 1);
    lua_rawsetp(L, LUA_REGISTRYINDEX, &s_keyMarker);
    lua_pushlightuserdata(L, this);
    lua_rawsetp(L, LUA_REGISTRYINDEX, &s_keySelf);
    lua_pushstring(L, m_pimpl->m_name.c_str());
    lua_rawsetp(L, LUA_REGISTRYINDEX, &s_keyName);

    uint32 count = 0;
    const char* const* libs = LuaLibMan::DefaultLibraries(count);
    for (uint32 i = 0; i < count; ++i)
        LuaLibMan::Instance().Bind(*this, libs[i]);

    // After the base library, whose print these replace.
    lua_pushcfunction(L, LuaConfigAccess::Alert);
    lua_setglobal(L, "_ALERT");
    lua_pushcfunction(L, LuaConfigAccess::Print);
    lua_setglobal(L, "_PRINT");
    lua_pushcfunction(L, LuaConfigAccess::Print);
    lua_setglobal(L, "print");
    lua_pushcfunction(L, LuaConfigAccess::Import);
    lua_setglobal(L, "import");
}

LuaConfig::~LuaConfig()
{
    LuaLibMan::Instance().UnbindAll(*this);
    SetGlobalsCurrent();
    lua_State* L = m_pimpl->m_state;
    luaL_unref(L, LUA_REGISTRYINDEX, m_pimpl->m_iterKeyRef);
    lua_settop(L, 0);
    lua_close(L);
}

lua_State* LuaConfig::GetState() const
{
    return m_pimpl->m_state;
}
const char* LuaConfig::GetName() const
{
    return m_pimpl->m_name.c_str();
}

void LuaConfig::SetName(const char* name)
{
    m_pimpl->m_name = name ? name : "";
    lua_pushstring(m_pimpl->m_state, m_pimpl->m_name.c_str());
    lua_rawsetp(m_pimpl->m_state, LUA_REGISTRYINDEX, &s_keyName);
}

LuaConfig* LuaConfig::FromState(lua_State* L)
{
    if (L == nullptr)
        return nullptr;
    const int top = lua_gettop(L);
    LuaConfig* self = nullptr;
    if (lua_rawgetp(L, LUA_REGISTRYINDEX, &s_keyMarker) == LUA_TBOOLEAN &&
        lua_rawgetp(L, LUA_REGISTRYINDEX, &s_keySelf) == LUA_TLIGHTUSERDATA)
        self = static_cast<LuaConfig*>(lua_touserdata(L, -1));
    lua_settop(L, top);
    return self;
}

const char* LuaConfig::ErrorName(int code)
{
    switch (code)
    {
    case Err_None:
        return "LUA_OK";
    case Err_Run:
        return "LUA_ERRRUN";
    case Err_File:
        return "LUA_ERRFILE";
    case Err_Syntax:
        return "LUA_ERRSYNTAX";
    case Err_Mem:
        return "LUA_ERRMEM";
    case Err_Err:
        return "LUA_ERRERR";
    default:
        return "LUA_ERRUNKNOWN";
    }
}

void LuaConfig::PushCurrent() const
{
    lua_State* L = m_pimpl->m_state;
    if (m_pimpl->m_current.empty())
        lua_pushglobaltable(L);
    else
        lua_rawgeti(L, LUA_REGISTRYINDEX, m_pimpl->m_current.back());
    if (lua_type(L, -1) != LUA_TTABLE)
    {
        if (m_pimpl->m_name.empty())
            dbFatal("LUA -- luaconfig");
        dbFatal("LUA -- luaconfig '%s'", m_pimpl->m_name.c_str());
    }
}

bool LuaConfig::SetCurrentField(const char* name)
{
    // The value is on the stack top, the current table under it; both are popped.
    lua_State* L = m_pimpl->m_state;
    if (IsReadOnly(L, -2))
    {
        dbWarningf("attempt to write to `%s' (a read-only value)", name);
        lua_pop(L, 2);
        return false;
    }
    lua_Integer key;
    bool useInteger = IsIntegerText(name, key);
    if (useInteger)
    {
        // A string key of the same text that is already there keeps its place.
        lua_pushstring(L, name);
        const bool stringThere = lua_rawget(L, -3) != LUA_TNIL;
        lua_pop(L, 1);
        const bool integerThere = lua_rawgeti(L, -2, key) != LUA_TNIL;
        lua_pop(L, 1);
        useInteger = integerThere || !stringThere;
    }
    if (useInteger)
        lua_rawseti(L, -2, key);
    else
    {
        lua_pushstring(L, name);
        lua_insert(L, -2);
        lua_rawset(L, -3);
    }
    lua_pop(L, 1);
    return true;
}

void LuaConfig::SetGlobalsCurrent()
{
    for (int ref : m_pimpl->m_current)
        luaL_unref(m_pimpl->m_state, LUA_REGISTRYINDEX, ref);
    m_pimpl->m_current.clear();
}

bool LuaConfig::Enter(const char* name)
{
    if (!dbAssert(name != nullptr && *name != '\0'))
        return false;
    lua_State* L = m_pimpl->m_state;
    const int top = lua_gettop(L);
    PushCurrent();
    bool inherited = false;
    int type = LookupField(L, -1, name, inherited);
    if (type != LUA_TTABLE)
    {
        lua_pop(L, 1);
        if (IsReadOnly(L, -1))
        {
            dbWarningf("attempt to write to `%s' (a read-only value)", name);
            lua_settop(L, top);
            return false;
        }
        if (type != LUA_TNIL)
            ClearVariable(name);
        lua_newtable(L);
        lua_pushvalue(L, -1);
        lua_insert(L, -3); // new table, current, new table
        SetCurrentField(name);
        if (m_pimpl->m_variableHook)
            m_pimpl->m_variableHook(name);
    }
    else
        lua_remove(L, -2);
    m_pimpl->m_current.push_back(luaL_ref(L, LUA_REGISTRYINDEX));
    const int newtop = lua_gettop(L);
    dbAssert(newtop == top);
    return true;
}

bool LuaConfig::Leave()
{
    if (!dbAssert(!m_pimpl->m_current.empty()))
        return false;
    luaL_unref(m_pimpl->m_state, LUA_REGISTRYINDEX, m_pimpl->m_current.back());
    m_pimpl->m_current.pop_back();
    return true;
}

uint32 LuaConfig::GetDepth() const
{
    return uint32(m_pimpl->m_current.size());
}

LuaConfig::Kind LuaConfig::GetType(const char* name) const
{
    if (!dbAssert(name != nullptr))
        return Kind_Nil;
    lua_State* L = m_pimpl->m_state;
    const int top = lua_gettop(L);
    PushCurrent();
    bool inherited = false;
    const int type = LookupField(L, -1, name, inherited);
    const Kind kind = (inherited && type == LUA_TTABLE) ? Kind_InheritedTable : KindOf(L, -1);
    lua_settop(L, top);
    return kind;
}

bool LuaConfig::PushField(const char* name) const
{
    if (!dbAssert(name != nullptr))
        return false;
    lua_State* L = m_pimpl->m_state;
    PushCurrent();
    bool inherited = false;
    LookupField(L, -1, name, inherited);
    lua_remove(L, -2);
    return true;
}

bool LuaConfig::SetField(const char* name)
{
    lua_State* L = m_pimpl->m_state;
    if (!dbAssert(name != nullptr && *name != '\0' && lua_gettop(L) > 0))
    {
        if (lua_gettop(L) > 0)
            lua_pop(L, 1);
        return false;
    }
    PushCurrent();
    lua_insert(L, -2);
    if (!SetCurrentField(name))
        return false;
    if (m_pimpl->m_variableHook)
        m_pimpl->m_variableHook(name);
    return true;
}

bool LuaConfig::GetString(const char* name, char* out, uint32 size) const
{
    if (!dbAssert(out != nullptr && size > 0))
        return false;
    std::string text;
    if (!GetString(name, text))
        return false;
    if (!dbAssert(text.size() < size))
        return false;
    std::memcpy(out, text.c_str(), text.size() + 1);
    return true;
}

namespace
{
// Pushes the field, hands it to `read` when its Lua type is `type` (or `alsoType`), and leaves
// the stack as it was.
template <class Read> bool ReadField(const LuaConfig& lc, const char* name, int type, int alsoType, Read read)
{
    lua_State* L = lc.GetState();
    const int top = lua_gettop(L);
    if (!lc.PushField(name))
        return false;
    const int found = lua_type(L, -1);
    const bool ok = found == type || found == alsoType;
    if (ok)
        read(L);
    lua_settop(L, top);
    return ok;
}
} // namespace

bool LuaConfig::GetString(const char* name, std::string& out) const
{
    // A number reads as its text, as Lua converts it.
    return ReadField(*this, name, LUA_TSTRING, LUA_TNUMBER,
                     [&out](lua_State* L)
                     {
                         size_t len = 0;
                         const char* text = lua_tolstring(L, -1, &len);
                         out.assign(text, len);
                     });
}

bool LuaConfig::GetBool(const char* name, bool& out) const
{
    return ReadField(*this, name, LUA_TBOOLEAN, LUA_TBOOLEAN,
                     [&out](lua_State* L) { out = lua_toboolean(L, -1) != 0; });
}

bool LuaConfig::GetNumber(const char* name, double& out) const
{
    return ReadField(*this, name, LUA_TNUMBER, LUA_TNUMBER,
                     [&out](lua_State* L) { out = double(lua_tonumber(L, -1)); });
}

bool LuaConfig::GetNumber(const char* name, float& out) const
{
    double value;
    if (!GetNumber(name, value))
        return false;
    out = float(value);
    return true;
}

bool LuaConfig::GetNumber(const char* name, int& out) const
{
    double value;
    if (!GetNumber(name, value))
        return false;
    if (!(value >= -2147483648.0 && value <= 2147483647.0))
        return false;
    out = int(value);
    return true;
}

bool LuaConfig::SetString(const char* name, const char* value)
{
    if (!dbAssert(value != nullptr))
        return false;
    lua_pushstring(m_pimpl->m_state, value);
    return SetField(name);
}

bool LuaConfig::SetNumber(const char* name, double value)
{
    // A whole value is stored as an integer, as Lua itself would read it from text.
    if (std::floor(value) == value && std::fabs(value) < 9.0e15)
        lua_pushinteger(m_pimpl->m_state, lua_Integer(value));
    else
        lua_pushnumber(m_pimpl->m_state, value);
    return SetField(name);
}

bool LuaConfig::SetBool(const char* name, bool value)
{
    lua_pushboolean(m_pimpl->m_state, value ? 1 : 0);
    return SetField(name);
}

bool LuaConfig::FirstField(Field& out)
{
    luaL_unref(m_pimpl->m_state, LUA_REGISTRYINDEX, m_pimpl->m_iterKeyRef);
    m_pimpl->m_iterKeyRef = LUA_REFNIL;
    return NextField(out);
}

bool LuaConfig::NextField(Field& out)
{
    lua_State* L = m_pimpl->m_state;
    if (m_pimpl->m_iterKeyRef == LUA_NOREF)
        return false; // the iteration has ended or never began
    const int top = lua_gettop(L);
    PushCurrent();
    PushContents(L, -1);
    lua_rawgeti(L, LUA_REGISTRYINDEX, m_pimpl->m_iterKeyRef); // nil for LUA_REFNIL
    luaL_unref(L, LUA_REGISTRYINDEX, m_pimpl->m_iterKeyRef);
    m_pimpl->m_iterKeyRef = LUA_NOREF;
    bool found = false;
    while (lua_next(L, -2) != 0)
    {
        const int keyType = lua_type(L, -2);
        if (keyType == LUA_TSTRING || keyType == LUA_TNUMBER)
        {
            out.key = keyType == LUA_TSTRING ? std::string(lua_tostring(L, -2)) : FormatKey(L, -2);
            out.kind = KindOf(L, -1);
            lua_pop(L, 1);
            m_pimpl->m_iterKeyRef = luaL_ref(L, LUA_REGISTRYINDEX);
            found = true;
            break;
        }
        lua_pop(L, 1);
    }
    lua_settop(L, top);
    return found;
}

bool LuaConfig::SetFunction(const char* funcname, lua_CFunction function, int upvalueCount,
                            void* const* values)
{
    if (!dbAssert(funcname != nullptr && *funcname != '\0' && function != nullptr))
        return false;
    if (!dbAssert(upvalueCount >= 0 && upvalueCount <= 255 && (upvalueCount == 0 || values != nullptr)))
        return false;
    const Kind kind = GetType(funcname);
    if (!dbAssert(kind != Kind_Function && kind != Kind_NativeFunction))
        return false;
    if (kind != Kind_Nil)
        ClearVariable(funcname);
    lua_State* L = m_pimpl->m_state;
    if (!lua_checkstack(L, upvalueCount + 2))
        return false;
    PushCurrent();
    for (int i = 0; i < upvalueCount; ++i)
        lua_pushlightuserdata(L, values[i]);
    lua_pushcclosure(L, function, upvalueCount);
    if (!SetCurrentField(funcname))
        return false;
    if (m_pimpl->m_functionHook)
        m_pimpl->m_functionHook(funcname);
    return true;
}

bool LuaConfig::ClearFunction(const char* name)
{
    if (!dbAssert(name != nullptr))
        return false;
    const Kind kind = GetType(name);
    if (kind == Kind_Nil)
    {
        dbWarningf("[%s] ClearFunction called on NIL function '%s'.", GetName(), name);
        return false;
    }
    if (kind != Kind_Function && kind != Kind_NativeFunction)
    {
        dbWarningf("[%s] ClearFunction called on non-function '%s'.", GetName(), name);
        return false;
    }
    PushCurrent();
    lua_pushnil(m_pimpl->m_state);
    if (!SetCurrentField(name))
        return false;
    if (m_pimpl->m_functionHook)
        m_pimpl->m_functionHook(name);
    return true;
}

bool LuaConfig::ClearVariable(const char* name)
{
    if (!dbAssert(name != nullptr))
        return false;
    lua_State* L = m_pimpl->m_state;
    PushCurrent();
    const bool isNil = RawField(L, -1, name) == LUA_TNIL;
    lua_pop(L, 1);
    if (isNil)
    {
        lua_pop(L, 1);
        dbWarningf("[%s] ClearVariable called on NIL variable '%s'.", GetName(), name);
        return false;
    }
    lua_pushnil(L);
    if (!SetCurrentField(name))
        return false;
    if (m_pimpl->m_variableHook)
        m_pimpl->m_variableHook(name);
    return true;
}

bool LuaConfig::RunString(const char* command, bool returnValue, std::string* pResult)
{
    if (!dbAssert(command != nullptr))
        return false;
    lua_State* L = m_pimpl->m_state;
    const int top = lua_gettop(L);
    std::string text = command;
    if (returnValue && text.size() < ReturnCallLimit)
    {
        lua_pushglobaltable(L);
        bool inherited = false;
        const int type = LookupField(L, -1, command, inherited);
        lua_settop(L, top);
        if (type == LUA_TFUNCTION)
            text += "()";
    }
    int status = LUA_ERRSYNTAX;
    if (returnValue)
    {
        // As an expression first, so that its value comes back; as a statement otherwise.
        const std::string asReturn = "return " + text;
        status = luaL_loadbuffer(L, asReturn.c_str(), asReturn.size(), command);
        if (status != LUA_OK)
            lua_pop(L, 1);
    }
    if (status != LUA_OK)
        status = luaL_loadbuffer(L, text.c_str(), text.size(), command);
    if (status == LUA_OK)
        status = ProtectedCall(L, 0, returnValue ? 1 : 0);
    bool ok = status == LUA_OK;
    if (!ok)
    {
        m_pimpl->m_lastError = ErrorText(L, -1, "unknown error");
        dbWarningf("[%s] error running command (%s): %s", GetName(), command, m_pimpl->m_lastError.c_str());
    }
    else if (returnValue && pResult != nullptr)
    {
        switch (lua_type(L, -1))
        {
        case LUA_TSTRING:
        case LUA_TNUMBER:
            *pResult = lua_tostring(L, -1);
            break;
        case LUA_TBOOLEAN:
            *pResult = lua_toboolean(L, -1) ? "true" : "false";
            break;
        case LUA_TNIL:
            pResult->clear();
            break;
        default:
            *pResult = luaL_typename(L, -1);
            break;
        }
    }
    lua_settop(L, top);
    lua_gc(L, LUA_GCSTEP, 0);
    return ok;
}

bool LuaConfig::LoadStream(ByteStream& stream)
{
    lua_State* L = m_pimpl->m_state;
    const int top = lua_gettop(L);
    if (m_pimpl->m_name.empty())
        SetName(stream.GetName());
    const std::string chunkName = "@" + m_pimpl->m_name;
    int status = LoadChunk(L, stream, chunkName.c_str());
    if (status == LUA_OK)
        status = ProtectedCall(L, 0, 0);
    const bool ok = status == LUA_OK;
    if (!ok)
    {
        m_pimpl->m_lastError = ErrorText(L, -1, "unknown load error");
        dbWarningf("LUA -- [%s] %s: %s", GetName(), ErrorName(ToSystemCode(status)),
                   m_pimpl->m_lastError.c_str());
    }
    lua_settop(L, top);
    lua_gc(L, LUA_GCSTEP, 0);
    return ok;
}

namespace
{
// Wraps the table at the stack top, and every table inside it, in a read-only guard; the guard
// replaces the table on the stack.
void WrapReadOnly(lua_State* L, const std::string& label, std::unordered_set<const void*>& visited, int depth)
{
    const int t = lua_gettop(L);
    if (depth < MaxReadOnlyDepth && lua_checkstack(L, 8) && visited.insert(lua_topointer(L, t)).second)
    {
        // Replacing the value of an existing field is allowed while traversing.
        lua_pushnil(L);
        while (lua_next(L, t) != 0)
        {
            if (lua_type(L, -1) == LUA_TTABLE && !IsReadOnly(L, -1) &&
                (lua_type(L, -2) == LUA_TSTRING || lua_type(L, -2) == LUA_TNUMBER))
            {
                const std::string key =
                    lua_type(L, -2) == LUA_TSTRING ? std::string(lua_tostring(L, -2)) : FormatKey(L, -2);
                WrapReadOnly(L, label + "." + key, visited, depth + 1);
                lua_pushvalue(L, -2);
                lua_insert(L, -2);
                lua_rawset(L, t);
            }
            else
                lua_pop(L, 1);
        }
    }
    lua_newtable(L); // the guard
    lua_createtable(L, 0, 5);
    lua_pushvalue(L, t);
    lua_setfield(L, -2, "__index");
    lua_pushstring(L, label.c_str());
    lua_pushcclosure(L, ReadOnlyGuard, 1);
    lua_setfield(L, -2, "__newindex");
    lua_pushcfunction(L, ReadOnlyPairs);
    lua_setfield(L, -2, "__pairs");
    lua_pushcfunction(L, ReadOnlyLen);
    lua_setfield(L, -2, "__len");
    // Scripts can't take the guard off through getmetatable or setmetatable.
    lua_pushboolean(L, 0);
    lua_setfield(L, -2, "__metatable");
    lua_setmetatable(L, -2);
    lua_replace(L, t);
}
} // namespace

bool LuaConfig::MakeReadOnly(const char* name)
{
    if (!dbAssert(name != nullptr && *name != '\0'))
        return false;
    lua_State* L = m_pimpl->m_state;
    const int top = lua_gettop(L);
    PushCurrent();
    if (RawField(L, -1, name) != LUA_TTABLE)
    {
        lua_settop(L, top);
        dbWarningf("LUA -- [%s] '%s' is not a table and can't be made read-only", GetName(), name);
        return false;
    }
    if (!IsReadOnly(L, -1))
    {
        std::unordered_set<const void*> visited;
        WrapReadOnly(L, name, visited, 0);
        SetCurrentField(name);
    }
    lua_settop(L, top);
    return true;
}

void LuaConfig::Print(const char* text)
{
    if (m_pimpl->m_printHook)
    {
        try
        {
            m_pimpl->m_printHook(text);
        }
        catch (const std::exception& e)
        {
            dbWarningf("LUA -- [%s] print hook failed: %s", GetName(), e.what());
        }
        return;
    }
    dbWarningf("%s", text);
}

void LuaConfig::SetPrintHook(PrintHook hook)
{
    m_pimpl->m_printHook = std::move(hook);
}
void LuaConfig::SetFunctionHook(ChangeHook hook)
{
    m_pimpl->m_functionHook = std::move(hook);
}
void LuaConfig::SetVariableHook(ChangeHook hook)
{
    m_pimpl->m_variableHook = std::move(hook);
}
void LuaConfig::SetImportCallback(ImportCallback callback)
{
    m_pimpl->m_import = std::move(callback);
}
bool LuaConfig::HasImportCallback() const
{
    return bool(m_pimpl->m_import);
}
const std::vector<std::string>& LuaConfig::GetImportedFiles() const
{
    return m_pimpl->m_imported;
}
const std::string& LuaConfig::GetLastError() const
{
    return m_pimpl->m_lastError;
}
void LuaConfig::SetLastError(const char* text)
{
    m_pimpl->m_lastError = text ? text : "";
}
