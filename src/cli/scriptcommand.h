// A script command (tq7z_...) run from the command line, for the subcommands that offer one.
#pragma once

#include "scripts/primitive.h"
#include "storage/userpath.h"

#include <cstdio>
#include <string>
#include <vector>

namespace cli
{
// Runs the script command `name` on `cArg`: exit 0 when it gives true, 1 when false, 2 on a
// script error (its text on standard error).
inline int CallPrimitive(const char* name, const std::vector<Script::Value>& cArg)
{
    const Script::Primitive* pPrimitive = Script::Primitive::Find(name);
    if (pPrimitive == nullptr)
    {
        std::fprintf(stderr, "tq7z: no script command %s\n", name);
        return 2;
    }
    try
    {
        const Script::Value result = pPrimitive->Call(cArg.data(), int(cArg.size()));
        std::fflush(stdout);
        return result.IsTrue() ? 0 : 1;
    }
    // The texts name files in the system's form; the user reads them as typed.
    catch (const Script::ScriptError& error)
    {
        std::fprintf(stderr, "%s\n", UserPath::InText(error.GetText().c_str()).c_str());
    }
    catch (const std::string& text)
    {
        std::fprintf(stderr, "%s", UserPath::InText(text.c_str()).c_str());
    }
    return 2;
}
} // namespace cli
