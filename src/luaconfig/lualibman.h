// Lua libraries and their manager: which library is bound to which LuaConfig. The first use sets
// up the Lua memory pool, the fatal error handler and the five standard libraries every state gets.
#pragma once

#include "foundation/types.h"

#include <memory>
#include <string>
#include <vector>

class LuaConfig;
struct lua_State;
typedef int (*lua_CFunction)(lua_State* L);

// An optional Lua library that can be bound to a state.
class LuaLibrary
{
public:
    explicit LuaLibrary(const char* name);
    virtual ~LuaLibrary();
    const char* GetName() const { return m_name.c_str(); }

    virtual bool Open(LuaConfig& lc) = 0;
    // Called when the state closes or the library is unbound; most libraries have nothing to do.
    virtual void Close(LuaConfig& lc);

private:
    std::string m_name;
};

// One open-function of the Lua standard set under its library name.
class LuaDefaultLib final : public LuaLibrary
{
public:
    LuaDefaultLib(const char* name, lua_CFunction openFunction);
    bool Open(LuaConfig& lc) override;

private:
    lua_CFunction m_openFunction;
};

class LuaLibMan
{
public:
    static LuaLibMan& Instance();
    ~LuaLibMan();

    // Adds a library that states can bind by name; a name already known is refused.
    bool Register(std::unique_ptr<LuaLibrary> lib);
    LuaLibrary* Find(const char* libname) const;

    // Opens the library on the state and records the binding; binding twice is a no-op.
    bool Bind(LuaConfig& lc, const char* libname);
    bool Unbind(LuaConfig& lc, const char* libname);
    bool IsBound(const LuaConfig& lc, const char* libname) const;
    // Closes every library bound to `lc`, last bound first.
    void UnbindAll(LuaConfig& lc);
    // Names of the five libraries that every LuaConfig binds at construction.
    static const char* const* DefaultLibraries(uint32& count);

    // The allocation function of every state, on the memory pool "Lua", and the fatal handler.
    static constexpr const char* PoolName = "Lua";
    static void* PoolAlloc(void* ud, void* ptr, size_t osize, size_t nsize);
    static int Panic(lua_State* L);

private:
    LuaLibMan();

    struct Binding
    {
        LuaConfig* lc;
        LuaLibrary* lib;
    };
    std::vector<std::unique_ptr<LuaLibrary>> m_libraries;
    std::vector<Binding> m_lcBindList;
};
