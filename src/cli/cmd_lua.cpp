// tq7z lua dump FILE [--sorted] [--pretty]: loads a Lua configuration file (or the "LCFG" chunk of a
// chunk file) and writes its globals as the configuration text to standard output.
#include "cli/command.h"

#include "foundation/output.h"
#include "luaconfig/luaconfig.h"
#include "luaconfig/luaconfigsave.h"
#include "storage/bytestreamadapter.h"
#include "storage/chunky.h"

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

namespace
{
// Log lines of the load are held back: on failure the Lua message alone says what went wrong.
std::vector<std::string> s_heldLines;

void HoldLines(const char* const* lines, uint32 count, uint32)
{
    for (uint32 i = 0; i < count; ++i)
        s_heldLines.emplace_back(lines[i]);
}

void ForwardLines(const char* const* lines, uint32 count, uint32)
{
    for (uint32 i = 0; i < count; ++i)
        std::fprintf(stderr, "%s\n", lines[i]);
}

bool IsChunkFile(const std::string& path)
{
    char magic[sizeof(Chunky::s_Magic)] = {};
    std::shared_ptr<ByteStream> stream = LuaConfigSave::OpenFile(path.c_str(), ByteStream::Mode_Read);
    return stream && stream->Read(magic, sizeof(magic)) == sizeof(magic) &&
           std::memcmp(magic, Chunky::s_Magic, sizeof(magic)) == 0;
}

bool LoadInto(LuaConfig& lc, const std::string& path)
{
    if (!IsChunkFile(path))
        return LuaConfigSave::LoadFile(lc, path.c_str());
    std::shared_ptr<ByteStream> stream = LuaConfigSave::OpenFile(path.c_str(), ByteStream::Mode_Read);
    if (!stream)
        return false;
    try
    {
        ByteStreamAdapter adapter(*stream);
        Chunky chunky(adapter);
        // The configuration chunk may stand anywhere at the top level of the file.
        if (!chunky.FindChunk(Chunky::CT_Data, LuaConfigSave::ChunkId))
        {
            lc.SetLastError((path + ": no LCFG chunk at the top level of the chunk file").c_str());
            return false;
        }
        if (!LuaConfigSave::LoadChunky(lc, chunky, adapter))
        {
            if (lc.GetLastError().empty())
                lc.SetLastError((path + ": the LCFG chunk could not be read").c_str());
            return false;
        }
        return true;
    }
    catch (const std::exception& e)
    {
        lc.SetLastError((path + ": " + e.what()).c_str());
        return false;
    }
}

int RunDump(const std::string& file, bool sorted, bool pretty)
{
    const std::string path = std::filesystem::absolute(file).lexically_normal().string();
    LuaConfig lc("");
    lc.SetPrintHook([](const char* text) { std::fprintf(stderr, "%s\n", text); });

    s_heldLines.clear();
    dbg::AddListener(HoldLines);
    const bool loaded = LoadInto(lc, path);
    dbg::RemoveListener(HoldLines);
    if (!loaded)
    {
        const std::string& error = lc.GetLastError();
        std::fprintf(stderr, "tq7z lua dump: %s\n",
                     error.empty() ? ("cannot load " + path).c_str() : error.c_str());
        return 1;
    }
    for (const std::string& line : s_heldLines)
        std::fprintf(stderr, "%s\n", line.c_str());

    dbg::AddListener(ForwardLines);
    std::string text;
    const bool saved = LuaConfigSave::SaveToText(lc, text, pretty, sorted);
    dbg::RemoveListener(ForwardLines);
    if (!saved)
    {
        std::fprintf(stderr, "tq7z lua dump: %s: the globals could not be written\n", path.c_str());
        return 1;
    }
    std::fwrite(text.data(), 1, text.size(), stdout);
    return std::fflush(stdout) == 0 ? 0 : 1;
}

cli::CommandRegistrar s_lua(
    [](CLI::App& app, int& exitCode)
    {
        CLI::App* lua = app.add_subcommand("lua", "Lua configuration files");
        lua->require_subcommand(1);

        struct DumpOptions
        {
            std::string file;
            bool sorted = false;
            bool pretty = false;
        };
        auto options = std::make_shared<DumpOptions>();
        CLI::App* dump = lua->add_subcommand(
            "dump", "Load a Lua file and write its globals as configuration text to standard output.\n"
                    "Booleans, numbers, strings and tables are written; functions and Lua's own globals\n"
                    "are left out. Lines end in LF here; files the system writes use CR LF.\n"
                    "A chunk file is read through its LCFG chunk. What the script prints goes to\n"
                    "standard error. A load error prints Lua's message with file and line, exit 1.");
        dump->add_option("FILE", options->file, "The .lua file (or a chunk file holding an LCFG chunk)")
            ->required();
        dump->add_flag(
            "--sorted", options->sorted,
            "Order named keys by their text (default: the order of the Lua table, which may change "
            "between runs); integer keys are always in ascending order");
        dump->add_flag("--pretty", options->pretty,
                       "Indent nested tables with one tab per level (default: compact, no indent)");
        dump->callback([options, &exitCode]
                       { exitCode = RunDump(options->file, options->sorted, options->pretty); });
    });
} // namespace
