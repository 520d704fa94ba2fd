#include "luaconfig/lualibman.h"

#include "foundation/debug.h"
#include "foundation/output.h"
#include "luaconfig/luaconfig.h"
#include "names/memorypool.h"

#include <lua.hpp>

#include <cstring>
#include <limits>
#include <new>

namespace
{
const char* const s_defaultLibraries[] = {LUA_GNAME, LUA_TABLIBNAME, LUA_STRLIBNAME, LUA_MATHLIBNAME,
                                          LUA_DBLIBNAME};
} // namespace

LuaLibrary::LuaLibrary(const char* name) : m_name(name ? name : "") {}
LuaLibrary::~LuaLibrary() = default;
void LuaLibrary::Close(LuaConfig&) {}

LuaDefaultLib::LuaDefaultLib(const char* name, lua_CFunction openFunction)
    : LuaLibrary(name), m_openFunction(openFunction)
{
}

bool LuaDefaultLib::Open(LuaConfig& lc)
{
    lua_State* L = lc.GetState();
    if (!dbAssert(L != nullptr && m_openFunction != nullptr))
        return false;
    // Sets the library's global as well as its entry in the loaded table.
    luaL_requiref(L, GetName(), m_openFunction, 1);
    lua_pop(L, 1);
    return true;
}

LuaLibMan::LuaLibMan()
{
    Register(std::make_unique<LuaDefaultLib>(LUA_GNAME, luaopen_base));
    Register(std::make_unique<LuaDefaultLib>(LUA_TABLIBNAME, luaopen_table));
    Register(std::make_unique<LuaDefaultLib>(LUA_STRLIBNAME, luaopen_string));
    Register(std::make_unique<LuaDefaultLib>(LUA_MATHLIBNAME, luaopen_math));
    Register(std::make_unique<LuaDefaultLib>(LUA_DBLIBNAME, luaopen_debug));
}

LuaLibMan::~LuaLibMan()
{
    dbAssert(m_lcBindList.empty());
}

LuaLibMan& LuaLibMan::Instance()
{
    static LuaLibMan s_instance;
    return s_instance;
}

const char* const* LuaLibMan::DefaultLibraries(uint32& count)
{
    count = uint32(sizeof(s_defaultLibraries) / sizeof(s_defaultLibraries[0]));
    return s_defaultLibraries;
}

bool LuaLibMan::Register(std::unique_ptr<LuaLibrary> lib)
{
    if (!dbAssert(lib != nullptr))
        return false;
    if (Find(lib->GetName()) != nullptr)
        return false;
    m_libraries.push_back(std::move(lib));
    return true;
}

LuaLibrary* LuaLibMan::Find(const char* libname) const
{
    if (!dbAssert(libname != NULL))
        return nullptr;
    for (const auto& lib : m_libraries)
        if (std::strcmp(lib->GetName(), libname) == 0)
            return lib.get();
    return nullptr;
}

bool LuaLibMan::Bind(LuaConfig& lc, const char* libname)
{
    LuaLibrary* lib = Find(libname);
    if (lib == nullptr)
        return false;
    if (IsBound(lc, libname))
        return true;
    if (!lib->Open(lc))
        return false;
    m_lcBindList.push_back({&lc, lib});
    return true;
}

bool LuaLibMan::Unbind(LuaConfig& lc, const char* libname)
{
    LuaLibrary* lib = Find(libname);
    if (lib == nullptr)
        return false;
    for (auto found = m_lcBindList.begin(); found != m_lcBindList.end(); ++found)
    {
        if (found->lc != &lc || std::strcmp(found->lib->GetName(), libname) != 0)
            continue;
        if (!dbAssert(found->lib == lib))
            return false;
        m_lcBindList.erase(found);
        lib->Close(lc);
        return true;
    }
    return false;
}

bool LuaLibMan::IsBound(const LuaConfig& lc, const char* libname) const
{
    if (!dbAssert(libname != NULL))
        return false;
    for (const Binding& b : m_lcBindList)
        if (b.lc == &lc && std::strcmp(b.lib->GetName(), libname) == 0)
            return true;
    return false;
}

void LuaLibMan::UnbindAll(LuaConfig& lc)
{
    for (size_t i = m_lcBindList.size(); i-- > 0;)
    {
        if (m_lcBindList[i].lc != &lc)
            continue;
        LuaLibrary* lib = m_lcBindList[i].lib;
        m_lcBindList.erase(m_lcBindList.begin() + std::ptrdiff_t(i));
        lib->Close(lc);
    }
}

void* LuaLibMan::PoolAlloc(void* ud, void* ptr, size_t osize, size_t nsize)
{
    MemoryPool& pool = *static_cast<MemoryPool*>(ud);
    if (nsize == 0)
    {
        pool.Free(ptr);
        return nullptr;
    }
    // Lua raises its memory error on null and keeps the old block, so nothing may throw here.
    if (nsize > (std::numeric_limits<size_t>::max() >> 2))
        return nullptr;
    void* p = nullptr;
    try
    {
        p = pool.Alloc(nsize);
    }
    catch (const std::bad_alloc&)
    {
        return nullptr;
    }
    if (ptr != nullptr)
    {
        // With a block, osize is the size in use; without, it tells the kind of object being made.
        std::memcpy(p, ptr, osize < nsize ? osize : nsize);
        pool.Free(ptr);
    }
    return p;
}

int LuaLibMan::Panic(lua_State* L)
{
    // An error outside every protected call: the state can't go on.
    const char* text = lua_type(L, -1) == LUA_TSTRING ? lua_tostring(L, -1) : "";
    const int code = std::strcmp(text, "not enough memory") == 0 ? LuaConfig::Err_Mem : LuaConfig::Err_Run;
    if (*text)
        dbErrorf("LUA -- %s", text);
    dbFatal("LUA -- Fatal error (%d)", code);
    return 0;
}
