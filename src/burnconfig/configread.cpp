// The base and override loads: a ".burn" script is run, and its global tables are read into the
// configuration. Every fault reports its message and ends the load with false, but for a broken
// name/value pair, which is reported and passed over.
#include "burnconfig/configload.h"

#include "foundation/debug.h"
#include "luaconfig/luaconfig.h"
#include "luaconfig/luaconfigsave.h"
#include "names/faststring.h"
#include "storage/bytestream.h"

#include <lua.hpp>

#include <cstdarg>
#include <cstdio>
#include <memory>

namespace ConfigLoad
{
namespace
{
using TargetID = BurnerConfig::TargetID;

// A ".burn" file is a table of settings: its script gets a bounded run and a bounded heap, so that
// a loop or a runaway string fails the load instead of the tool.
class ScriptLimits
{
public:
    static constexpr int64 MaxBytes = 64 << 20;
    static constexpr int HookStep = 1000;
    static constexpr uint32 MaxSteps = 20000; // of HookStep instructions each

    explicit ScriptLimits(LuaConfig& lc) : m_L(lc.GetState())
    {
        m_oldAlloc = lua_getallocf(m_L, &m_oldUd);
        lua_setallocf(m_L, &Alloc, this);
        lua_sethook(m_L, &Hook, LUA_MASKCOUNT, HookStep);
    }
    ~ScriptLimits()
    {
        lua_sethook(m_L, nullptr, 0, 0);
        lua_setallocf(m_L, m_oldAlloc, m_oldUd);
    }
    ScriptLimits(const ScriptLimits&) = delete;
    ScriptLimits& operator=(const ScriptLimits&) = delete;

private:
    static void* Alloc(void* ud, void* ptr, size_t osize, size_t nsize)
    {
        ScriptLimits& self = *static_cast<ScriptLimits*>(ud);
        // Without a block, osize tells the kind of object, not a size.
        const int64 held = ptr != nullptr ? int64(osize) : 0;
        if (nsize > size_t(MaxBytes) || self.m_used - held + int64(nsize) > MaxBytes)
            return nullptr; // Lua raises its memory error and keeps the old block
        void* p = self.m_oldAlloc(self.m_oldUd, ptr, osize, nsize);
        if (p != nullptr || nsize == 0)
            self.m_used += int64(nsize) - held;
        return p;
    }

    static void Hook(lua_State* L, lua_Debug*)
    {
        void* ud = nullptr;
        lua_getallocf(L, &ud);
        ScriptLimits& self = *static_cast<ScriptLimits*>(ud);
        if (++self.m_steps > MaxSteps)
            luaL_error(L, "the script runs too long for a burn configuration");
    }

    lua_State* m_L;
    lua_Alloc m_oldAlloc = nullptr;
    void* m_oldUd = nullptr;
    int64 m_used = 0;
    uint32 m_steps = 0;
};

// Makes a table of the current table current for the life of the scope. Reading checks that the
// entry is a table first: Enter would make one.
class Scope
{
public:
    Scope(LuaConfig& lc, const char* key) : m_lc(lc), m_entered(lc.Enter(key)) {}
    ~Scope()
    {
        if (m_entered)
            m_lc.Leave();
    }
    Scope(const Scope&) = delete;
    Scope& operator=(const Scope&) = delete;

private:
    LuaConfig& m_lc;
    bool m_entered;
};

bool IsTable(const LuaConfig& lc, const char* key)
{
    const LuaConfig::Kind kind = lc.GetType(key);
    return kind == LuaConfig::Kind_Table || kind == LuaConfig::Kind_InheritedTable;
}

// The keys of the current table in table order, taken before any entry is entered.
std::vector<std::string> Keys(LuaConfig& lc)
{
    std::vector<std::string> cKeys;
    LuaConfig::Field field;
    for (bool more = lc.FirstField(field); more; more = lc.NextField(field))
        cKeys.push_back(field.key);
    return cKeys;
}

class Reader
{
public:
    Reader(LuaConfig& lc, const char* name, BurnerConfig& config, BurnerResults& results)
        : m_lc(lc), m_name(name), m_config(config), m_results(results)
    {
    }

    bool ReadBase()
    {
        m_lc.SetGlobalsCurrent();
        double version = 0;
        if (!m_lc.GetNumber("burn_version", version))
            return Fail("Unable to find 'burn_version' in '%s'", m_name);
        m_config.SetVersion(version);
        // The wording says "burn_data", as the tools always have.
        if (!IsTable(m_lc, "burn_targets"))
            return Fail("Unable to find 'burn_data' in '%s'", m_name);
        {
            Scope groups(m_lc, "burn_targets");
            const bool read = EachTable(
                [&](const char* key)
                { return Fail("Invalid target group table '%s' in configuration '%s'.", key, m_name); },
                [&](const char*)
                { return ReadTargetGroup() || Fail("Invalid target group in configuration '%s'.", m_name); });
            if (!read)
                return false;
        }
        // The base's own parameters are optional.
        if (m_lc.GetType("burn_params") == LuaConfig::Kind_Nil)
            return true;
        return ReadParamGroups();
    }

    bool ReadParamGroups()
    {
        m_lc.SetGlobalsCurrent();
        if (!IsTable(m_lc, "burn_params"))
            return Fail("Unable to find 'burn_data' in '%s'", m_name);
        Scope groups(m_lc, "burn_params");
        return EachTable(
            [&](const char* key)
            { return Fail("Invalid target param table '%s' in configuration '%s'.", key, m_name); },
            [&](const char*)
            {
                std::string group;
                if (!m_lc.GetString("name", group))
                    Warn("Could not read name for target group.");
                else if (ReadParamTargets(group))
                    return true;
                return Fail("Invalid target group parameter in configuration '%s'.", m_name);
            });
    }

private:
    void WarnV(const char* format, va_list args)
    {
        char text[1024];
        std::vsnprintf(text, sizeof(text), format, args);
        m_results.Warning(k_Module, "%s", text);
    }
    void Warn(const char* format, ...) __attribute__((format(printf, 2, 3)))
    {
        va_list args;
        va_start(args, format);
        WarnV(format, args);
        va_end(args);
    }
    // Warns, and gives the false that ends the load.
    bool Fail(const char* format, ...) __attribute__((format(printf, 2, 3)))
    {
        va_list args;
        va_start(args, format);
        WarnV(format, args);
        va_end(args);
        return false;
    }

    // Makes each entry of the current table current in turn, in table order, and reads it with
    // read(key). An entry that is no table ends the walk with notTable(key), a failed read with false.
    template <class NotTable, class Read> bool EachTable(NotTable notTable, Read read)
    {
        for (const std::string& key : Keys(m_lc))
        {
            if (!IsTable(m_lc, key.c_str()))
                return notTable(key.c_str());
            Scope entry(m_lc, key.c_str());
            if (!read(key.c_str()))
                return false;
        }
        return true;
    }

    bool ReadTargetGroup()
    {
        std::string name;
        if (!m_lc.GetString("name", name))
            return Fail("Could not read name for target group.");
        std::string wildcard;
        if (!m_lc.GetString("wildcard", wildcard))
            wildcard = ".*";
        if (!m_config.AddTargetGroup(name.c_str(), wildcard.c_str()))
            return Fail("Could not add new target group.");
        if (!IsTable(m_lc, "targets"))
            return Fail("Invalid 'targets' table in target group '%s'.", name.c_str());
        Scope targets(m_lc, "targets");
        return EachTable([&](const char* key)
                         { return Fail("Invalid table '%s' in target group '%s'.", key, name.c_str()); },
                         [&](const char*) {
                             return ReadTarget(name) ||
                                    Fail("Invalid target in target group '%s'.", name.c_str());
                         });
    }

    bool ReadTarget(const std::string& group)
    {
        std::string name, destination, plugin;
        if (!m_lc.GetString("target", name))
            return Fail("Could not read name for target.");
        if (!m_lc.GetString("destination", destination))
            return Fail("Could not read destination for target '%s'.", name.c_str());
        if (!m_lc.GetString("plugin", plugin))
            return Fail("Could not read pluginName for target '%s'.", name.c_str());
        if (!m_config.AddTarget(group.c_str(), name.c_str(), destination.c_str(), plugin.c_str()))
            return Fail("Could not add new target.");
        return true;
    }

    bool ReadParamTargets(const std::string& group)
    {
        if (!IsTable(m_lc, "targets"))
            return Fail("Invalid 'targets' table in target group '%s'.", group.c_str());
        Scope targets(m_lc, "targets");
        return EachTable([&](const char* key)
                         { return Fail("Invalid table '%s' in target group '%s'.", key, group.c_str()); },
                         [&](const char*) {
                             return ReadParamTarget(group) ||
                                    Fail("Invalid target in target group '%s'.", group.c_str());
                         });
    }

    bool ReadParamTarget(const std::string& group)
    {
        std::string name;
        if (!m_lc.GetString("target", name))
            return Fail("Could not read name for target.");
        const TargetID id = m_config.FindTarget(group.c_str(), name.c_str());
        if (id == TargetID::InvalidID)
            dbFatal("'%s': Burn Params '%s' does not have matching target '%s' in base burn_targets!", m_name,
                    group.c_str(), name.c_str());
        if (!IsTable(m_lc, "params"))
            return true;
        Scope params(m_lc, "params");
        return EachTable([&](const char* key) { return Fail("Invalid table '%s'.", key); },
                         [&](const char* key) { return ReadParam(id, name, key); }) ||
               Fail("Invalid Parameter in target '%s'.", name.c_str());
    }

    // A broken pair is reported and passed over.
    bool ReadParam(TargetID id, const std::string& target, const char* key)
    {
        BurnerConfig::Param param;
        if (!m_lc.GetString("1", param.name) || !m_lc.GetString("2", param.value))
        {
            Warn("Invalid name/value pair in target '%s' table is '%s'.", target.c_str(), key);
            return true;
        }
        // A value the target has already, in any case, is the default; it keeps its text.
        if (const BurnerConfig::Param* pOld = m_config.FindParam(id, param.name.c_str()))
        {
            const bool same = FastString::EqualNoCase(pOld->value.c_str(), param.value.c_str());
            param.name = pOld->name;
            param.isDefault = same;
            if (same)
                param.value = pOld->value;
        }
        return m_config.SetParam(id, param);
    }

    LuaConfig& m_lc;
    const char* m_name;
    BurnerConfig& m_config;
    BurnerResults& m_results;
};

using ReadFn = bool (*)(LuaConfig&, const char*, BurnerConfig&, BurnerResults&);

bool LoadFile(const char* burnFile, BurnerConfig& config, BurnerResults& results, ReadFn read)
{
    if (!dbAssert(burnFile != nullptr))
        return false;
    std::shared_ptr<ByteStream> pStream = LuaConfigSave::OpenFile(burnFile, ByteStream::Mode_Read);
    if (!pStream)
        return false;
    LuaConfig lc(burnFile);
    if (!RunScript(lc, *pStream, burnFile, results))
        return false;
    return read(lc, burnFile, config, results);
}
} // namespace

bool RunScript(LuaConfig& lc, ByteStream& stream, const char* name, BurnerResults& results)
{
    // The debug library could lift the limits; a table of settings has no use for it.
    lc.SetGlobalsCurrent();
    if (lc.GetType("debug") != LuaConfig::Kind_Nil)
        lc.ClearVariable("debug");
    ScriptLimits limits(lc);
    if (!LuaConfigSave::Load(lc, stream))
    {
        results.Warning(k_Module, "Burner configuration '%s' not parsed.  Syntax Error?.", name);
        return false;
    }
    return true;
}

bool ReadBaseTables(LuaConfig& lc, const char* name, BurnerConfig& config, BurnerResults& results)
{
    return Reader(lc, name, config, results).ReadBase();
}

bool ReadOverrideTables(LuaConfig& lc, const char* name, BurnerConfig& config, BurnerResults& results)
{
    return Reader(lc, name, config, results).ReadParamGroups();
}

bool LoadBaseConfig(const char* burnFile, BurnerConfig& config, BurnerResults& results)
{
    return LoadFile(burnFile, config, results, &ReadBaseTables);
}

bool LoadOverrideConfig(const char* burnFile, BurnerConfig& config, BurnerResults& results)
{
    return LoadFile(burnFile, config, results, &ReadOverrideTables);
}
} // namespace ConfigLoad
