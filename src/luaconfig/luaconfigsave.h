// LuaConfigSave: loads a LuaConfig from Lua text (a stream, a file or the "LCFG" chunk of a chunk
// file) and writes its globals, or one table, back as readable Lua text.
//
// The text: one entry per line, "key = value" at the top level and "key = value," inside tables.
// Whole numbers without a fraction, others with five decimals; strings in double quotes, or in
// [[...]] when they hold a backslash or a quote (a newline is written as "\n", and so goes long);
// a table opens on the next line. Arrays 1..n are written without keys, other integer keys as
// "[n] =". Lua's own globals and values that are not booleans, numbers, strings or tables are left
// out. Loading reads text only: a precompiled chunk is refused.
#pragma once

#include "foundation/types.h"

#include <memory>
#include <string>

class ByteStream;
class ByteStreamAdapter;
class Chunky;
class LuaConfig;

class LuaConfigSave
{
public:
    static constexpr uint32 ChunkId = 0x4C434647; // "LCFG"
    static constexpr uint32 ChunkVersion = 1;
    static constexpr const char* ChunkName = "LuaConfig Chunky";

    // Runs the text of a stream. Without an import callback on `lc`, `import` opens names relative
    // to the stream's own name for the time of the load.
    static bool Load(LuaConfig& lc, ByteStream& stream);
    // `filename` is an aliased name ("DATA:config\\x.lua") or a path on disk, absolute or relative
    // to the working folder.
    static bool LoadFile(LuaConfig& lc, const char* filename);
    // Enters the data chunk "LCFG" of version 1 and runs its text.
    static bool LoadChunky(LuaConfig& lc, Chunky& chunky, ByteStreamAdapter& adapter);

    // The globals as text: `pretty` indents with tabs, `sorted` orders named keys.
    static bool Save(LuaConfig& lc, ByteStream& stream, bool pretty, bool sorted);
    static bool SaveFile(LuaConfig& lc, const char* filename, bool pretty, bool sorted);
    // One table of the current table, as the entry "name = { ... }".
    static bool SaveTable(LuaConfig& lc, const char* name, ByteStream& stream, bool pretty, bool sorted);
    // The text as the data chunk "LCFG", version 1, named "LuaConfig Chunky".
    static bool SaveChunky(LuaConfig& lc, Chunky& chunky, ByteStreamAdapter& adapter, bool pretty = false,
                           bool sorted = true);

    // The same texts as strings, with '\n' line ends (streams get CR LF).
    static bool SaveToText(LuaConfig& lc, std::string& out, bool pretty, bool sorted);
    static bool SaveTableToText(LuaConfig& lc, const char* name, std::string& out, bool pretty, bool sorted);

    // Opens a file for reading or writing as LoadFile and SaveFile name it; null when it can't.
    static std::shared_ptr<ByteStream> OpenFile(const char* filename, int mode);
    // The name an `import` of `name` opens from a file named `from`: aliased and absolute names
    // as they stand, others in the folder of `from`.
    static std::string ResolveImport(const char* from, const char* name);

    // The metatable field whose native function writes a table in a form of its own: it is called
    // with the table and the entry's name and must return one value; a string is written as is.
    static constexpr const char* WriterField = "__luawrite";
};
