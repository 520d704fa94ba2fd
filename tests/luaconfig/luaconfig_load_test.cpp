// Loading Lua text from streams, files and the "LCFG" chunk, `import`, and save/load round trips.
#include "foundation/debug.h"
#include "luaconfig/luaconfig.h"
#include "luaconfig/luaconfigsave.h"
#include "storage/bytestreamadapter.h"
#include "storage/chunky.h"
#include "storage/filepath.h"
#include "storage/filepath_hd.h"
#include "storage/ramstream.h"
#include "support/logcapture.h"
#include "support/tempfolder.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>

namespace
{
class LuaLoadTest : public ::testing::Test
{
protected:
    std::string Write(const std::string& name, const std::string& text) { return m_folder.Write(name, text); }
    static std::string Text(LuaConfig& lc)
    {
        std::string out;
        EXPECT_TRUE(LuaConfigSave::SaveToText(lc, out, true, true));
        return out;
    }

    TempFolder m_folder;
    const std::string m_dir = m_folder.Path();
};

// A read stream over a copy of `text`.
std::unique_ptr<RamStream> StreamOf(const std::string& text, const char* name)
{
    auto ram = std::make_unique<RamStream>();
    std::unique_ptr<uint8[]> block(new uint8[text.size() + 1]);
    std::memcpy(block.get(), text.data(), text.size());
    ram->Attach(block.release(), uint32(text.size()), true, ByteStream::Mode_Read);
    ram->SetName(name);
    return ram;
}

// A chunk file with one data chunk, built byte by byte.
std::string ChunkFile(const char* id, uint32 version, const char* name, const std::string& payload)
{
    auto u32 = [](uint32 v) { return std::string{char(v), char(v >> 8), char(v >> 16), char(v >> 24)}; };
    std::string file("Vardo Chunky\r\n\x1a\0", 16);
    file += u32(1) + u32(1);
    file += "DATA";
    file += std::string(id, 4);
    file += u32(version) + u32(uint32(payload.size())) + u32(uint32(std::strlen(name) + 1));
    file += std::string(name, std::strlen(name) + 1);
    return file + payload;
}
} // namespace

TEST_F(LuaLoadTest, SavedFileLoadsBackToTheSameText)
{
    LuaConfig lc("");
    ASSERT_TRUE(lc.RunString("version = 3 scale = 0.25 name = 'unit' flags = { true, false }"
                             " sizes = { [2] = 20, [4] = 40 } nested = { deeper = { path = [[C:\\art\\x]] } }"
                             " quoted = 'say \"hi\"'"));
    const std::string path = m_dir + "/saved.lua";
    ASSERT_TRUE(LuaConfigSave::SaveFile(lc, path.c_str(), true, true));

    LuaConfig back("");
    ASSERT_TRUE(LuaConfigSave::LoadFile(back, path.c_str())) << back.GetLastError();
    EXPECT_EQ(Text(back), Text(lc));
    // The state takes the file's name when it has none of its own.
    EXPECT_NE(std::string(back.GetName()).find("saved.lua"), std::string::npos);

    std::ifstream file(path, std::ios::binary);
    const std::string bytes((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    EXPECT_EQ(bytes.substr(0, 18), "flags =  \r\n{\r\n\ttru");
}

TEST_F(LuaLoadTest, UnsortedCompactTextLoadsBackToo)
{
    LuaConfig lc("compact");
    ASSERT_TRUE(lc.RunString("a = { b = { c = { 1, 2, { d = 'e' } } }, f = -1.5 } g = 'h'"));
    std::string text;
    ASSERT_TRUE(LuaConfigSave::SaveToText(lc, text, false, false));
    LuaConfig back("back");
    ASSERT_TRUE(back.RunString(text.c_str())) << text;
    EXPECT_EQ(Text(back), Text(lc));
}

TEST_F(LuaLoadTest, SyntaxErrorNamesTheFileAndLine)
{
    const std::string path = Write("broken.lua", "a = 1\nb = = 2\n");
    LuaConfig lc("");
    LogCapture log;
    EXPECT_FALSE(LuaConfigSave::LoadFile(lc, path.c_str()));
    EXPECT_NE(lc.GetLastError().find("broken.lua:2:"), std::string::npos) << lc.GetLastError();
    EXPECT_TRUE(log.Has("LUA_ERRSYNTAX"));
    EXPECT_EQ(lc.GetType("a"), LuaConfig::Kind_Nil) << "nothing of a file that doesn't compile runs";

    const std::string runtime = Write("runtime.lua", "a = 1\nerror('stop here')\nb = 2\n");
    LuaConfig lc2("");
    EXPECT_FALSE(LuaConfigSave::LoadFile(lc2, runtime.c_str()));
    EXPECT_NE(lc2.GetLastError().find("runtime.lua:2: stop here"), std::string::npos) << lc2.GetLastError();
    EXPECT_TRUE(log.Has("LUA_ERRRUN"));
}

TEST_F(LuaLoadTest, MissingFileIsReported)
{
    LuaConfig lc("missing");
    LogCapture log;
    const std::string path = m_dir + "/nothing.lua";
    EXPECT_FALSE(LuaConfigSave::LoadFile(lc, path.c_str()));
    EXPECT_TRUE(log.Has("Failed to load lua file '" + path + "'"));
    // A folder that is a file can't take a new file.
    const std::string blocked = Write("plain.txt", "x") + "/saved.lua";
    EXPECT_FALSE(LuaConfigSave::SaveFile(lc, blocked.c_str(), true, true));
    EXPECT_TRUE(log.Has("Failed to write lua file '" + blocked + "'"));
}

TEST_F(LuaLoadTest, StreamLoadFeedsTextInBlocksAndRefusesBinaryChunks)
{
    // Longer than one block of the reader, with a statement across the border.
    std::string text;
    for (int i = 0; i < 400; ++i)
        text += "v" + std::to_string(i) + " = " + std::to_string(i) + "\n";
    auto ram = StreamOf(text, "blocks");
    LuaConfig lc("");
    ASSERT_TRUE(LuaConfigSave::Load(lc, *ram));
    EXPECT_STREQ(lc.GetName(), "blocks");
    double v = 0;
    ASSERT_TRUE(lc.GetNumber("v399", v));
    EXPECT_EQ(v, 399.0);

    std::string binary;
    ASSERT_TRUE(lc.RunString("return string.dump(function() x = 1 end)", true, &binary));
    auto dumped = StreamOf(binary, "binary");
    LuaConfig lc2("binary");
    EXPECT_FALSE(LuaConfigSave::Load(lc2, *dumped));
    EXPECT_NE(lc2.GetLastError().find("binary"), std::string::npos);
}

TEST_F(LuaLoadTest, ImportPullsInFilesBesideTheImporter)
{
    Write("sub/common.lua", "shared = 'from common' import('deeper.lua')()");
    Write("sub/deeper.lua", "deep = 42");
    const std::string main = Write("sub/main.lua", "import('common.lua')() own = shared .. '!'");
    LuaConfig lc("");
    ASSERT_TRUE(LuaConfigSave::LoadFile(lc, main.c_str())) << lc.GetLastError();
    std::string own;
    ASSERT_TRUE(lc.GetString("own", own));
    EXPECT_EQ(own, "from common!");
    double deep = 0;
    EXPECT_TRUE(lc.GetNumber("deep", deep));
    ASSERT_EQ(lc.GetImportedFiles().size(), 2u);
    EXPECT_NE(lc.GetImportedFiles()[1].find("sub/deeper.lua"), std::string::npos);
    // import gives the compiled chunk; nothing runs until it is called.
    ASSERT_TRUE(
        LuaConfigSave::LoadFile(lc, Write("sub/lazy.lua", "f = import('deeper.lua') deep = nil").c_str()));
    EXPECT_EQ(lc.GetType("f"), LuaConfig::Kind_Function);
    EXPECT_EQ(lc.GetType("deep"), LuaConfig::Kind_Nil);
}

TEST_F(LuaLoadTest, FailedImportsRaiseErrorsInLua)
{
    Write("bad.lua", "x = = 1");
    const std::string main = Write("main.lua", "ok1, err1 = pcall(import, 'absent.lua')\n"
                                               "ok2, err2 = pcall(import, 'bad.lua')\n"
                                               "ok3, err3 = pcall(import, 5)\n"
                                               "after = true\n");
    LuaConfig lc("");
    LogCapture log;
    ASSERT_TRUE(LuaConfigSave::LoadFile(lc, main.c_str())) << lc.GetLastError();
    bool after = false;
    EXPECT_TRUE(lc.GetBool("after", after)) << "a failed import doesn't end the script";
    std::string err1, err2, err3;
    ASSERT_TRUE(lc.GetString("err1", err1));
    ASSERT_TRUE(lc.GetString("err2", err2));
    ASSERT_TRUE(lc.GetString("err3", err3));
    EXPECT_NE(err1.find("failed to import 'absent.lua', file failed to open"), std::string::npos) << err1;
    EXPECT_TRUE(log.Has("Failed to import lua file '"));
    EXPECT_NE(err2.find("bad.lua:1:"), std::string::npos) << err2;
    EXPECT_NE(err3.find("import called without valid parameters"), std::string::npos) << err3;

    // Outside a file load no one has told the state how to open files.
    EXPECT_FALSE(lc.RunString("import('x.lua')"));
    EXPECT_NE(lc.GetLastError().find("import not set for this state"), std::string::npos);
}

TEST_F(LuaLoadTest, ImportCallbackOfTheCallerIsUsed)
{
    LuaConfig lc("callback");
    std::vector<std::string> asked;
    lc.SetImportCallback(
        [&](const char* name, const char* from) -> std::shared_ptr<ByteStream>
        {
            asked.push_back(std::string(name) + "<" + from);
            return std::shared_ptr<ByteStream>(StreamOf("given = '" + std::string(name) + "'", "given.lua"));
        });
    auto ram = StreamOf("import('anything')()", "top.lua");
    ASSERT_TRUE(LuaConfigSave::Load(lc, *ram)) << lc.GetLastError();
    std::string given;
    ASSERT_TRUE(lc.GetString("given", given));
    EXPECT_EQ(given, "anything");
    EXPECT_EQ(asked, std::vector<std::string>{"anything<callback"});
}

TEST_F(LuaLoadTest, AliasedNamesLoadAndImportThroughTheirSource)
{
    Write("data/config/base.lua", "base = 1");
    Write("data/config/top.lua", "import('base.lua')() top = base + 1");
    auto source = FilePathHD::Create((m_dir + "/data").c_str(), ByteStream::Mode_Read, false, false);
    ASSERT_TRUE(source);
    ASSERT_TRUE(FilePath::AddAlias("LUATEST", "test", 10, source));
    LuaConfig lc("");
    const bool loaded = LuaConfigSave::LoadFile(lc, "LuaTest:config/top.lua");
    FilePath::RemoveAlias("LUATEST", "test");
    ASSERT_TRUE(loaded) << lc.GetLastError();
    double top = 0;
    EXPECT_TRUE(lc.GetNumber("top", top));
    EXPECT_EQ(top, 2.0);
    EXPECT_EQ(LuaConfigSave::ResolveImport("DATA:config\\top.lua", "base.lua"), "DATA:config\\base.lua");
    EXPECT_EQ(LuaConfigSave::ResolveImport("DATA:top.lua", "OTHER:x.lua"), "OTHER:x.lua");
    EXPECT_EQ(LuaConfigSave::ResolveImport("/a/b.lua", "/c/d.lua"), "/c/d.lua");
}

TEST_F(LuaLoadTest, ChunkRoundTripAndItsBytes)
{
    LuaConfig lc("chunk");
    ASSERT_TRUE(lc.RunString("lod = { 10, 20 } name = 'tank'"));
    RamStream out;
    ASSERT_TRUE(out.Create(64, ByteStream::Mode_Write));
    {
        ByteStreamAdapter adapter(out);
        Chunky chunky(adapter);
        ASSERT_TRUE(LuaConfigSave::SaveChunky(lc, chunky, adapter));
    }
    const std::string bytes(reinterpret_cast<const char*>(out.GetBuffer()), out.GetLength());
    const std::string payload = "lod =  \r\n{\r\n10,\r\n20,\r\n}\r\nname = \"tank\"\r\n";
    EXPECT_EQ(bytes, ChunkFile("LCFG", 1, "LuaConfig Chunky", payload));

    auto in = StreamOf(bytes, "chunk file");
    ByteStreamAdapter adapter(*in);
    Chunky chunky(adapter);
    LuaConfig back("");
    ASSERT_TRUE(LuaConfigSave::LoadChunky(back, chunky, adapter)) << back.GetLastError();
    EXPECT_EQ(Text(back), Text(lc));
}

namespace
{
// Loads the "LCFG" chunk of a chunk file given as bytes.
bool LoadChunkBytes(LuaConfig& lc, const std::string& file)
{
    auto in = StreamOf(file, lc.GetName());
    ByteStreamAdapter adapter(*in);
    Chunky chunky(adapter);
    return LuaConfigSave::LoadChunky(lc, chunky, adapter);
}
} // namespace

TEST_F(LuaLoadTest, ChunksBuiltByHand)
{
    // A size that runs past the end of the file.
    std::string tooLong = ChunkFile("LCFG", 1, "", "a = 1");
    tooLong[24 + 12] = char(0xFF);
    struct Case
    {
        std::string file;
        bool loads;
        const char* message;
    };
    const Case cases[] = {
        {ChunkFile("LCFG", 1, "", "a = 7"), true, nullptr},
        {ChunkFile("LCFG", 2, "", "a = 1"), false, "Unsupported (newer) Chunk Version!"},
        {ChunkFile("XXXX", 1, "", "a = 1"), false, nullptr},
        {tooLong, false, nullptr},
        {ChunkFile("LCFG", 1, "", "a = = 1"), false, "LUA_ERRSYNTAX"},
    };
    for (const Case& c : cases)
    {
        LogCapture log;
        LuaConfig lc("hand");
        EXPECT_EQ(c.loads, LoadChunkBytes(lc, c.file)) << c.file.substr(32);
        EXPECT_EQ(c.loads ? LuaConfig::Kind_Number : LuaConfig::Kind_Nil, lc.GetType("a"));
        EXPECT_TRUE(c.message == nullptr || log.Has(c.message)) << c.message;
    }
}
