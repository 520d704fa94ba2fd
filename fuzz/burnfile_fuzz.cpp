// Feeds arbitrary Lua text to the ".burn" loader: the script runs under the loader's limits, and
// what it leaves is read as a base and as an override onto a fixed base; the override is written
// back as the minimal file's text. Params that name a target the base lacks are a fatal exit of
// the loader by design: here the fatal exit throws and ends the input.
#include "burnconfig/configload.h"
#include "foundation/debug.h"
#include "fuzzsupport.h"
#include "luaconfig/luaconfig.h"
#include "storage/ramstream.h"

#include <cstring>
#include <stdexcept>
#include <string>

namespace
{
const char* const s_base = R"(burn_version = 1
burn_targets = {
    { name = "models", wildcard = ".*\\.sgm$", targets = { { target = "final", destination = "DataFinal", plugin = "model" } } },
    { name = "copy", targets = { { target = "copy", destination = "DataFinal", plugin = "copy" } } },
}
burn_params = {
    { name = "models", targets = { { target = "final", params = { { "dxtc", "5" }, { "mips_to_skip", "0" } } } } },
    { name = "copy", targets = { { target = "copy", params = { { "read_only", "yes" } } } } },
})";

// Runs the text in a new state; file access is not what is fuzzed, so the functions that open
// files are taken away.
bool Run(LuaConfig& lc, const uint8_t* data, size_t size)
{
    for (const char* name : {"import", "dofile", "loadfile"})
        lc.ClearFunction(name);
    RamStream stream;
    if (size > 0)
        fuzz::LendReadOnly(stream, data, size);
    BurnerResults results;
    return ConfigLoad::RunScript(lc, stream, "fuzz.burn", results);
}

const BurnerConfig& Base()
{
    static const BurnerConfig s_config = []
    {
        BurnerConfig config;
        LuaConfig lc("fuzz.burn");
        BurnerResults results;
        if (!Run(lc, reinterpret_cast<const uint8_t*>(s_base), std::strlen(s_base)) ||
            !ConfigLoad::ReadBaseTables(lc, "base.burn", config, results))
            __builtin_trap();
        return config;
    }();
    return s_config;
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const bool s_quiet = fuzz::Quiet();
    (void)s_quiet;
    if (size > (1u << 16))
        return 0;
    const BurnerConfig& base = Base();

    LuaConfig lc("fuzz.burn");
    if (!Run(lc, data, size))
        return 0;
    dbg::ScopedThrowOnAssert fatalThrows;
    BurnerResults results;
    try
    {
        BurnerConfig asBase;
        ConfigLoad::ReadBaseTables(lc, "fuzz.burn", asBase, results);
    }
    catch (const std::runtime_error&)
    {
    }
    try
    {
        BurnerConfig overridden = base;
        if (ConfigLoad::ReadOverrideTables(lc, "fuzz.burn", overridden, results))
        {
            std::string text;
            ConfigLoad::MakeOverrideText(overridden, text);
        }
    }
    catch (const std::runtime_error&)
    {
    }
    return 0;
}
