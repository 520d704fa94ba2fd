#include "luaconfig/luaconfigsave.h"

#include "foundation/debug.h"
#include "foundation/output.h"
#include "luaconfig/luaconfig.h"
#include "luaconfig/luaconfig_internal.h"
#include "storage/bytestream.h"
#include "storage/bytestreamadapter.h"
#include "storage/chunky.h"
#include "storage/filepath.h"
#include "storage/filepath_hd.h"
#include "storage/filepathutil.h"
#include "storage/ramstream.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <unistd.h>
#include <unordered_set>
#include <vector>

using namespace luacfg;

namespace
{
constexpr size_t TextBufferSize = 0x400;
constexpr int MaxIndent = 255;
// Deeper tables can only come from code, not from text; they are left out.
constexpr int MaxWriteDepth = 1000;
constexpr uint32 SaveRamSize = 0x1000;

// Lua's own globals, which a save leaves out when they have their own kind.
bool IsLuaOwnGlobal(const char* key, int type)
{
    if (type == LUA_TSTRING)
        return std::strcmp(key, "_VERSION") == 0;
    if (type != LUA_TTABLE)
        return false;
    static const char* const s_tables[] = {"_LOADED", "_G", "coroutine", "table",   "string", "math",
                                           "debug",   "io", "os",        "package", "utf8"};
    for (const char* name : s_tables)
        if (std::strcmp(key, name) == 0)
            return true;
    return false;
}

bool IsIdentifier(const char* text)
{
    static const char* const s_reserved[] = {
        "and", "break", "do",  "else", "elseif", "end",    "false",  "for",  "function", "goto",  "if",
        "in",  "local", "nil", "not",  "or",     "repeat", "return", "then", "true",     "until", "while"};
    if (!(std::isalpha(uint8(text[0])) || text[0] == '_'))
        return false;
    for (const char* p = text; *p; ++p)
        if (!(std::isalnum(uint8(*p)) || *p == '_'))
            return false;
    for (const char* word : s_reserved)
        if (std::strcmp(text, word) == 0)
            return false;
    return true;
}

// A key of a table being written. The original key stays in the table; `index` finds it again.
struct Entry
{
    std::string text;
    bool isNumber = false;  // a number key, or a string of an integer's digits
    bool isInteger = false; // reads as the integer `integer`
    lua_Integer integer = 0;
    int keyRef = LUA_NOREF;
};

class TextWriter
{
public:
    TextWriter(lua_State* L, bool pretty, bool sorted, std::string& out)
        : m_L(L), m_pretty(pretty), m_sorted(sorted), m_out(out)
    {
    }

    // The children of the table at the stack top, at depth 0, without braces.
    void WriteRoot(bool globals)
    {
        m_globals = globals;
        m_path.insert(lua_topointer(m_L, -1));
        WriteChildren(0);
        m_path.erase(lua_topointer(m_L, -1));
    }

    // One entry "name = value" at depth 0 for the value on the stack top.
    void WriteNamed(const char* name)
    {
        Entry entry;
        entry.text = name;
        lua_Integer integer;
        entry.isNumber = entry.isInteger = IsIntegerText(name, integer);
        entry.integer = integer;
        WriteEntry(entry, false, 0);
    }

private:
    static bool IsWritable(int type)
    {
        return type == LUA_TBOOLEAN || type == LUA_TNUMBER || type == LUA_TSTRING || type == LUA_TTABLE;
    }

    std::string Indent(int depth) const
    {
        return m_pretty ? std::string(size_t(std::min(depth, MaxIndent)), '\t') : std::string();
    }

    // The entries of the table at the stack top whose values can be written, in traversal order.
    // Each holds a registry reference to its key; the caller frees them.
    std::vector<Entry> Collect()
    {
        std::vector<Entry> cEntry;
        PushContents(m_L, -1);
        const int t = lua_gettop(m_L);
        lua_pushnil(m_L);
        while (lua_next(m_L, t) != 0)
        {
            const int keyType = lua_type(m_L, -2);
            if (IsWritable(lua_type(m_L, -1)) && (keyType == LUA_TSTRING || keyType == LUA_TNUMBER))
            {
                Entry entry;
                if (keyType == LUA_TNUMBER)
                {
                    entry.isNumber = true;
                    char text[64];
                    if (lua_isinteger(m_L, -2))
                    {
                        entry.isInteger = true;
                        entry.integer = lua_tointeger(m_L, -2);
                        std::snprintf(text, sizeof(text), "%lld", static_cast<long long>(entry.integer));
                    }
                    else
                        std::snprintf(text, sizeof(text), "%.14g", double(lua_tonumber(m_L, -2)));
                    entry.text = text;
                }
                else
                {
                    entry.text = lua_tostring(m_L, -2); // up to an embedded NUL, as a C string
                    entry.isNumber = entry.isInteger = IsIntegerText(entry.text.c_str(), entry.integer);
                }
                lua_pushvalue(m_L, -2);
                entry.keyRef = luaL_ref(m_L, LUA_REGISTRYINDEX);
                cEntry.push_back(std::move(entry));
            }
            lua_pop(m_L, 1);
        }
        lua_pop(m_L, 1);
        return cEntry;
    }

    // The first key decides the order: a key that begins with a digit puts the integers first,
    // ascending, and makes 1..n an array; otherwise the table's order, or the key texts sorted.
    void WriteChildren(int depth)
    {
        std::vector<Entry> cEntry = Collect();
        bool positional = false;
        if (!cEntry.empty() && (cEntry.front().isNumber || std::isdigit(uint8(cEntry.front().text[0]))))
        {
            std::stable_partition(cEntry.begin(), cEntry.end(), [](const Entry& e) { return e.isInteger; });
            const auto firstOther =
                std::find_if(cEntry.begin(), cEntry.end(), [](const Entry& e) { return !e.isInteger; });
            std::stable_sort(cEntry.begin(), firstOther,
                             [](const Entry& a, const Entry& b) { return a.integer < b.integer; });
            if (m_sorted)
                std::stable_sort(firstOther, cEntry.end(),
                                 [](const Entry& a, const Entry& b) { return a.text < b.text; });
            positional = firstOther == cEntry.end();
            for (size_t i = 0; positional && i < cEntry.size(); ++i)
                positional = cEntry[i].integer == lua_Integer(i + 1);
        }
        else if (m_sorted)
            std::stable_sort(cEntry.begin(), cEntry.end(),
                             [](const Entry& a, const Entry& b) { return a.text < b.text; });

        PushContents(m_L, -1);
        for (Entry& entry : cEntry)
        {
            lua_rawgeti(m_L, LUA_REGISTRYINDEX, entry.keyRef);
            lua_rawget(m_L, -2);
            WriteEntry(entry, positional, depth);
            lua_pop(m_L, 1);
            luaL_unref(m_L, LUA_REGISTRYINDEX, entry.keyRef);
        }
        lua_pop(m_L, 1);
    }

    // The value on the stack top under `entry`'s key at `depth`.
    void WriteEntry(const Entry& entry, bool positional, int depth)
    {
        const int type = lua_type(m_L, -1);
        if (!IsWritable(type))
            return;
        if (depth == 0 && m_globals && IsLuaOwnGlobal(entry.text.c_str(), type))
            return;

        std::string custom;
        bool hasCustom = false;
        if (type == LUA_TTABLE)
        {
            const void* table = lua_topointer(m_L, -1);
            if (m_path.count(table) != 0)
            {
                dbWarningf("LUA -- table '%s' holds itself and is left out", entry.text.c_str());
                return;
            }
            if (depth >= MaxWriteDepth || !lua_checkstack(m_L, 8))
            {
                dbWarningf("LUA -- table '%s' is nested too deep and is left out", entry.text.c_str());
                return;
            }
            hasCustom = CustomText(entry.text.c_str(), custom);
        }

        const std::string indent = Indent(depth);
        if (positional)
            m_out += indent;
        else if (entry.isNumber)
            m_out += indent + "[" + entry.text + "] =";
        else if (IsIdentifier(entry.text.c_str()))
            m_out += indent + entry.text + " = ";
        else
            m_out += indent + "[" + QuotedKey(entry.text) + "] = ";

        switch (type)
        {
        case LUA_TNUMBER:
            WriteNumber();
            break;
        case LUA_TBOOLEAN:
            m_out += lua_toboolean(m_L, -1) ? "true" : "false";
            break;
        case LUA_TSTRING:
            WriteString(lua_tostring(m_L, -1), entry.text.c_str());
            break;
        default:
            if (hasCustom)
                m_out += custom;
            else
            {
                const void* table = lua_topointer(m_L, -1);
                m_path.insert(table);
                m_out += " \n" + indent + "{\n";
                WriteChildren(depth + 1);
                m_out += indent + "}";
                m_path.erase(table);
            }
            break;
        }
        m_out += depth != 0 ? ",\n" : "\n";
    }

    // A table whose metatable has a native writer gives its own text.
    bool CustomText(const char* name, std::string& out)
    {
        if (!lua_getmetatable(m_L, -1))
            return false;
        lua_getfield(m_L, -1, LuaConfigSave::WriterField);
        lua_remove(m_L, -2);
        if (!lua_iscfunction(m_L, -1))
        {
            lua_pop(m_L, 1);
            return false;
        }
        const int top = lua_gettop(m_L) - 1;
        lua_pushvalue(m_L, -2);
        lua_pushstring(m_L, name);
        if (ProtectedCall(m_L, 2, LUA_MULTRET) != LUA_OK)
        {
            dbWarningf("LUA -- writer of table '%s' failed: %s", name,
                       ErrorText(m_L, -1, "unknown error").c_str());
            lua_settop(m_L, top);
            return false;
        }
        const int r = lua_gettop(m_L) - top;
        bool ok = false;
        if (dbAssert(r == 1) && lua_type(m_L, -1) == LUA_TSTRING)
        {
            out = lua_tostring(m_L, -1);
            ok = true;
        }
        lua_settop(m_L, top);
        return ok;
    }

    void WriteNumber()
    {
        char text[400];
        if (lua_isinteger(m_L, -1))
            std::snprintf(text, sizeof(text), "%lld", static_cast<long long>(lua_tointeger(m_L, -1)));
        else
        {
            const double value = double(lua_tonumber(m_L, -1));
            // Infinities and NaN as expressions that read back as themselves.
            if (std::isnan(value))
                std::snprintf(text, sizeof(text), "0/0");
            else if (std::isinf(value))
                std::snprintf(text, sizeof(text), value > 0 ? "1/0" : "-1/0");
            else if (std::floor(value) == value)
                std::snprintf(text, sizeof(text), "%0.0f", value);
            else
                std::snprintf(text, sizeof(text), "%0.5f", value);
        }
        m_out += text;
    }

    // The text goes through a buffer of 0x400 bytes, a newline as the two characters '\' 'n'.
    void WriteString(const char* value, const char* name)
    {
        char textbuffer[TextBufferSize];
        size_t used = 0;
        const char* p = value;
        for (; *p; ++p)
        {
            const size_t need = *p == '\n' ? 2 : 1;
            if (TextBufferSize - 1 - used < need)
                break;
            if (*p == '\n')
            {
                textbuffer[used++] = '\\';
                textbuffer[used++] = 'n';
            }
            else
                textbuffer[used++] = *p;
        }
        textbuffer[used] = '\0';
        if (*p)
            dbWarningf("LUA -- text of '%s' is cut to %u characters", name, unsigned(used));

        // A carriage return can't stand in quotes either: it takes the long form with the others.
        if (!std::strpbrk(textbuffer, "\\\"\r"))
        {
            m_out += "\"";
            m_out += textbuffer;
            m_out += "\"";
            return;
        }
        dbAssert(strstr(textbuffer, "[[") == NULL);
        dbAssert(strstr(textbuffer, "]]") == NULL);
        // When the text would end the brackets early, a level of '=' keeps it whole.
        std::string close = "]]";
        for (int level = 1; std::string(textbuffer).append(close).find(close) != used; ++level)
            close = "]" + std::string(size_t(level), '=') + "]";
        m_out += "[" + close.substr(1, close.size() - 2) + "[";
        m_out += textbuffer;
        m_out += close;
    }

    static std::string QuotedKey(const std::string& text)
    {
        std::string quoted = "\"";
        for (char c : text)
        {
            if (c == '"' || c == '\\')
                quoted += '\\', quoted += c;
            else if (uint8(c) < 0x20 || c == 0x7F)
            {
                char esc[8];
                std::snprintf(esc, sizeof(esc), "\\%03u", unsigned(uint8(c)));
                quoted += esc;
            }
            else
                quoted += c;
        }
        return quoted + "\"";
    }

    lua_State* m_L;
    bool m_pretty;
    bool m_sorted;
    bool m_globals = false;
    std::string& m_out;
    // Tables open on the way down, so that a table holding itself ends.
    std::unordered_set<const void*> m_path;
};

bool WriteAll(ByteStream& stream, const std::string& text)
{
    return WriteText(stream, text.c_str(), false);
}

// The name as the disk sees it: an unaliased relative name is taken from the working folder.
bool AbsoluteName(const char* name, std::string& out)
{
    if (FilePathUtil::IsSeparator(name[0]))
    {
        out = name;
        return true;
    }
    char cwd[FilePath::MAXPATH];
    if (::getcwd(cwd, sizeof(cwd)) == nullptr)
        return false;
    out = std::string(cwd) + "/" + name;
    return true;
}

// The `import` of a load without a callback of its own: names relative to the loaded file.
struct FileImporter
{
    std::string m_file;

    std::shared_ptr<ByteStream> Open(const char* name, const char* from) const
    {
        if (!dbAssert(!m_file.empty()))
            return nullptr;
        const std::string resolved = LuaConfigSave::ResolveImport(*from ? from : m_file.c_str(), name);
        std::shared_ptr<ByteStream> stream = LuaConfigSave::OpenFile(resolved.c_str(), ByteStream::Mode_Read);
        if (!stream)
            dbWarningf("Failed to import lua file '%s'", resolved.c_str());
        return stream;
    }
};
} // namespace

std::shared_ptr<ByteStream> LuaConfigSave::OpenFile(const char* filename, int mode)
{
    if (!dbAssert(filename != nullptr) || *filename == '\0')
        return nullptr;
    if (FilePathUtil::HasAlias(filename))
        return FilePath::Open(filename, mode);
    std::string full;
    if (!AbsoluteName(filename, full) || full.size() >= size_t(FilePath::MAXPATH))
        return nullptr;
    FilePathHDRaw raw;
    return std::shared_ptr<ByteStream>(raw.Open(full.c_str(), mode));
}

std::string LuaConfigSave::ResolveImport(const char* from, const char* name)
{
    if (name == nullptr || FilePathUtil::HasAlias(name) || FilePathUtil::IsSeparator(name[0]) ||
        from == nullptr)
        return name ? name : "";
    const char* filePart = FilePathUtil::GetFilenamePtr(from);
    return std::string(from, size_t(filePart - from)) + name;
}

bool LuaConfigSave::Load(LuaConfig& lc, ByteStream& stream)
{
    if (lc.HasImportCallback())
        return lc.LoadStream(stream);
    auto importer = std::make_shared<FileImporter>();
    importer->m_file = *lc.GetName() ? lc.GetName() : stream.GetName();
    if (importer->m_file.empty())
        importer->m_file = stream.GetName();
    lc.SetImportCallback([importer](const char* name, const char* from)
                         { return importer->Open(name, from); });
    const bool ok = lc.LoadStream(stream);
    lc.SetImportCallback(nullptr);
    return ok;
}

bool LuaConfigSave::LoadFile(LuaConfig& lc, const char* filename)
{
    if (!dbAssert(filename != nullptr))
        return false;
    std::shared_ptr<ByteStream> stream = OpenFile(filename, ByteStream::Mode_Read);
    if (!stream)
    {
        dbWarningf("Failed to load lua file '%s'", filename);
        lc.SetLastError((std::string("cannot open ") + filename).c_str());
        return false;
    }
    return Load(lc, *stream);
}

bool LuaConfigSave::LoadChunky(LuaConfig& lc, Chunky& chunky, ByteStreamAdapter& adapter)
{
    try
    {
        const ChunkInfo info = chunky.ReadDataChunk(ChunkId, ChunkVersion);
        // The text has no length of its own: the chunk's size gives it.
        const uint32 length = adapter.GetLength();
        const uint32 pos = adapter.GetPos();
        if (pos > length || info.size > length - pos)
        {
            dbWarningf("LUA -- chunk LCFG of %u bytes runs past the end of '%s'", info.size,
                       adapter.GetStream() ? adapter.GetStream()->GetName() : "");
            return false;
        }
        std::unique_ptr<uint8[]> block(new uint8[info.size ? info.size : 1]);
        if (adapter.Read(block.get(), info.size) != info.size)
        {
            dbWarningf("LUA -- chunk LCFG could not be read");
            return false;
        }
        chunky.CloseChunk();
        RamStream ram;
        ram.Attach(block.release(), info.size, true, ByteStream::Mode_Read);
        ram.SetName(ChunkName);
        return Load(lc, ram);
    }
    catch (const std::exception& e)
    {
        dbWarningf("LUA -- chunk LCFG could not be read: %s", e.what());
        return false;
    }
}

bool LuaConfigSave::SaveToText(LuaConfig& lc, std::string& out, bool pretty, bool sorted)
{
    lua_State* L = lc.GetState();
    const int top = lua_gettop(L);
    out.clear();
    lua_pushglobaltable(L);
    TextWriter writer(L, pretty, sorted, out);
    writer.WriteRoot(true);
    const int newtop = lua_gettop(L);
    dbAssert(top + 1 == newtop);
    lua_settop(L, top);
    return true;
}

bool LuaConfigSave::SaveTableToText(LuaConfig& lc, const char* name, std::string& out, bool pretty,
                                    bool sorted)
{
    if (!dbAssert(name != nullptr && *name != '\0'))
        return false;
    out.clear();
    lua_State* L = lc.GetState();
    const int top = lua_gettop(L);
    lc.PushField(name);
    if (lua_type(L, -1) != LUA_TTABLE)
    {
        lua_settop(L, top);
        dbWarningf("Failed to write lua table.  %s is not a table.", name);
        return false;
    }
    TextWriter writer(L, pretty, sorted, out);
    writer.WriteNamed(name);
    const int newtop = lua_gettop(L);
    dbAssert(top + 1 == newtop);
    lua_settop(L, top);
    return true;
}

bool LuaConfigSave::Save(LuaConfig& lc, ByteStream& stream, bool pretty, bool sorted)
{
    std::string text;
    if (!SaveToText(lc, text, pretty, sorted))
        return false;
    if (!WriteAll(stream, text))
    {
        dbWarningf("Failed to write lua file '%s'", stream.GetName());
        return false;
    }
    return true;
}

bool LuaConfigSave::SaveFile(LuaConfig& lc, const char* filename, bool pretty, bool sorted)
{
    if (!dbAssert(filename != nullptr))
        return false;
    std::shared_ptr<ByteStream> stream = OpenFile(filename, ByteStream::Mode_Write);
    if (!stream)
    {
        dbWarningf("Failed to write lua file '%s'", filename);
        return false;
    }
    return Save(lc, *stream, pretty, sorted);
}

bool LuaConfigSave::SaveTable(LuaConfig& lc, const char* name, ByteStream& stream, bool pretty, bool sorted)
{
    std::string text;
    if (!SaveTableToText(lc, name, text, pretty, sorted))
        return false;
    // Through memory first, so that a failed table leaves the stream untouched.
    RamStream ram;
    if (!ram.Create(SaveRamSize, ByteStream::Mode_Write) || !WriteAll(ram, text))
    {
        dbWarningf("Failed to write lua table to ram stream");
        return false;
    }
    if (stream.Write(ram.GetBuffer(), ram.GetLength()) != ram.GetLength())
    {
        dbWarningf("Failed to write lua table to '%s'", stream.GetName());
        return false;
    }
    return true;
}

bool LuaConfigSave::SaveChunky(LuaConfig& lc, Chunky& chunky, ByteStreamAdapter& adapter, bool pretty,
                               bool sorted)
{
    RamStream ram;
    if (!ram.Create(SaveRamSize, ByteStream::Mode_Write) || !Save(lc, ram, pretty, sorted))
    {
        dbWarningf("Failed to save lua file to chunky");
        return false;
    }
    try
    {
        chunky.OpenDataChunk(ChunkId, ChunkVersion, ChunkName);
        const bool written = adapter.Write(ram.GetBuffer(), ram.GetLength()) == ram.GetLength();
        chunky.CloseChunk();
        if (!written)
        {
            dbWarningf("Failed to save lua file to chunky");
            return false;
        }
    }
    catch (const std::exception& e)
    {
        dbWarningf("Failed to save lua file to chunky");
        dbWarningf("LUA -- %s", e.what());
        return false;
    }
    return true;
}
