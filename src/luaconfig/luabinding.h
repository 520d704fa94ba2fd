// LuaBinding: a native function callable from Lua under a name, with a typed argument list that is
// checked before the call. Results are pushed through the call object, which counts them.
#pragma once

#include "foundation/types.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

class LuaConfig;
struct lua_State;

class LuaBinding
{
public:
    enum ArgType
    {
        Arg_Number,
        Arg_Integer, // a number without a fraction
        Arg_Bool,
        Arg_String, // a string; a number is not taken for one
        Arg_Table,
        Arg_Function,
        Arg_Any, // any value, nil included
    };

    // One call from Lua: the checked arguments (1-based) and the results.
    class Call
    {
    public:
        int GetArgCount() const { return m_args; }
        double GetNumber(int arg) const;
        long long GetInteger(int arg) const;
        bool GetBool(int arg) const;
        const char* GetString(int arg) const;
        // For table and function arguments: the state, and the stack index of an argument.
        lua_State* GetState() const { return m_L; }
        int GetIndex(int arg) const { return m_base + arg; }

        void PushNumber(double value);
        void PushInteger(long long value);
        void PushBool(bool value);
        void PushString(const char* value);
        void PushNil();
        int GetReturnCount() const { return m_count; }

    private:
        friend class LuaBinding;
        Call(lua_State* L, int base, int args) : m_L(L), m_base(base), m_args(args) {}
        lua_State* m_L;
        int m_base;
        int m_args;
        int m_count = 0;
    };

    // The callback may throw: the text of a standard exception becomes a Lua error.
    using Callback = std::function<void(Call& call)>;

    // Installs `funcname` in the current table of `lc`. The function stays callable as long as Lua
    // holds it; the binding takes it out of the table when destroyed, which must happen before
    // `lc` is destroyed.
    LuaBinding(LuaConfig& lc, const char* funcname, std::vector<ArgType> args, Callback callback);
    ~LuaBinding();
    LuaBinding(const LuaBinding&) = delete;
    LuaBinding& operator=(const LuaBinding&) = delete;

    bool IsBound() const { return m_bound; }
    static const char* TypeName(ArgType type);

    struct Shared;

private:
    static int Trampoline(lua_State* L);
    static int Invoke(lua_State* L, Shared& shared, char* error, size_t errorSize);

    std::shared_ptr<Shared> m_sharedCb;
    LuaConfig* m_lc;
    std::string m_funcname;
    bool m_bound = false;
};
