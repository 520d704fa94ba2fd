// The script host: a Lua state in which each registered tq7z_ primitive is a global function of its
// name, for the artists' scripts that drive merge, burn and revision control. Lua's nil is
// undefined, a sequence is an Array; the primitives' script errors are Lua errors with their text
// and the calling line.
#pragma once

#include <memory>
#include <string>
#include <vector>

struct lua_State;

namespace Script
{
class ScriptHost
{
public:
    // A state with Lua's standard libraries and the primitives.
    ScriptHost();
    ~ScriptHost();
    ScriptHost(const ScriptHost&) = delete;
    ScriptHost& operator=(const ScriptHost&) = delete;

    // Runs a script file with the global table `arg`: the script's name at 0, `args` from 1. False
    // on a Lua error, whose message ("file:line: text") GetLastError then holds.
    bool RunFile(const std::string& path, const std::vector<std::string>& args);
    // Runs Lua text under `chunkName`, as RunFile does.
    bool RunString(const std::string& code, const std::string& chunkName);

    const std::string& GetLastError() const { return m_lastError; }
    lua_State* GetState() const { return m_pState; }

private:
    bool Run(int loadStatus);

    lua_State* m_pState = nullptr;
    std::string m_lastError;
};
} // namespace Script
