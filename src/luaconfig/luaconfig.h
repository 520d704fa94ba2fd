// LuaConfig: the configuration object of the system, a Lua state used as a typed tree of settings.
// Values are read and written by name in the current table; scripts can `import` further files.
#pragma once

#include "foundation/types.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

struct lua_State;
typedef int (*lua_CFunction)(lua_State* L);
class ByteStream;

class LuaConfig
{
public:
    // Kinds of a value, as the save and read operations give them.
    enum Kind
    {
        Kind_Nil = 0,
        Kind_Boolean = 1,
        Kind_Number = 2,
        Kind_String = 3,
        Kind_Table = 4,
        Kind_Function = 5,       // a function written in Lua
        Kind_NativeFunction = 6, // a native (C) function
        Kind_InheritedTable = 7, // a table found through the metatable's index table
        Kind_Other = 8,          // userdata or a thread: neither read nor saved
    };

    // Error codes of the Lua loader and of protected calls, in the system's numbering.
    enum ErrorCode
    {
        Err_None = 0,
        Err_Run = 1,
        Err_File = 2,
        Err_Syntax = 3,
        Err_Mem = 4,
        Err_Err = 5,
    };

    // Hooks. The print hook takes the text of a Lua `print`; the change hooks take the name of a
    // function or variable that a native call installed, changed or cleared.
    using PrintHook = std::function<void(const char* text)>;
    using ChangeHook = std::function<void(const char* name)>;
    // Opens a file named by a script's `import`; null when it can't be opened. `from` names the
    // file whose code called import ("" when that isn't known), for names relative to it.
    using ImportCallback = std::function<std::shared_ptr<ByteStream>(const char* filename, const char* from)>;

    // One field of the current table, as the read-side iteration gives it.
    struct Field
    {
        std::string key;
        Kind kind = Kind_Nil;
    };

    explicit LuaConfig(const char* stateName);
    ~LuaConfig();
    LuaConfig(const LuaConfig&) = delete;
    LuaConfig& operator=(const LuaConfig&) = delete;

    lua_State* GetState() const;
    const char* GetName() const;
    void SetName(const char* name);

    // The LuaConfig that owns a state, found through the registry; null for a foreign state.
    static LuaConfig* FromState(lua_State* L);
    // "LUA_ERRRUN" and the others, for messages; "LUA_OK" for 0 and "LUA_ERRUNKNOWN" otherwise.
    static const char* ErrorName(int code);

    // Current table. The globals are current after construction.
    void SetGlobalsCurrent();
    // Makes the table `name` of the current table current; a nil name gets a new table, any other
    // value that isn't a table is cleared and replaced by one.
    bool Enter(const char* name);
    bool Leave();
    uint32 GetDepth() const;

    // Typed reads from the current table. A name made of decimal digits reads the integer key first.
    Kind GetType(const char* name) const;
    bool GetString(const char* name, char* out, uint32 size) const;
    bool GetString(const char* name, std::string& out) const;
    bool GetBool(const char* name, bool& out) const;
    bool GetNumber(const char* name, double& out) const;
    bool GetNumber(const char* name, float& out) const;
    bool GetNumber(const char* name, int& out) const;

    // Typed writes into the current table; refused in a read-only table.
    bool SetString(const char* name, const char* value);
    bool SetNumber(const char* name, double value);
    bool SetBool(const char* name, bool value);

    // Read-side iteration over the current table: keys that are strings or numbers, in the
    // table's own order. The table must not change between the calls.
    bool FirstField(Field& out);
    bool NextField(Field& out);

    // Installs a native function with `upvalueCount` light userdata upvalues taken from `values`.
    bool SetFunction(const char* funcname, lua_CFunction function, int upvalueCount = 0,
                     void* const* values = nullptr);
    bool ClearFunction(const char* name);
    bool ClearVariable(const char* name);

    // Runs a line of Lua. With `returnValue`, a text that names a function is called, and the first
    // value the line returns is given back as text in `pResult` when that isn't null.
    bool RunString(const char* command, bool returnValue = false, std::string* pResult = nullptr);

    // Compiles the stream's text under the state's name (the stream's name when the state has
    // none) and runs it. A failure leaves its text in GetLastError.
    bool LoadStream(ByteStream& stream);

    // Replaces the table `name` of the current table by a guard through which every write, at any
    // depth, raises "attempt to write to `name' (a read-only value)".
    bool MakeReadOnly(const char* name);

    void SetPrintHook(PrintHook hook);
    void SetFunctionHook(ChangeHook hook);
    void SetVariableHook(ChangeHook hook);
    void SetImportCallback(ImportCallback callback);
    bool HasImportCallback() const;
    // Files that `import` opened, in order.
    const std::vector<std::string>& GetImportedFiles() const;

    // Pushes the value `name` of the current table onto the Lua stack (nil when there is none),
    // found through index tables too. For native code that works on the stack itself.
    bool PushField(const char* name) const;
    // Stores the value on the Lua stack top under `name` in the current table, and pops it.
    bool SetField(const char* name);

    // Hands a text to the print hook, or to the log as a warning when no hook is set.
    void Print(const char* text);

    // The text of the last load or run failure.
    const std::string& GetLastError() const;
    void SetLastError(const char* text);

    struct Pimpl;

private:
    friend struct LuaConfigAccess;

    // Pushes the current table; anything else there is a fatal error.
    void PushCurrent() const;
    // Stores the stack top under `name` in the current table below it, and pops both.
    bool SetCurrentField(const char* name);

    std::unique_ptr<Pimpl> m_pimpl;
};
