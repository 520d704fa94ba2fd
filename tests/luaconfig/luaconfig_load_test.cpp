// Loading Lua text from streams, files and the "LCFG" chunk, `import`, and save/load round trips.
#include "foundation/debug.h"
#include "luaconfig/luaconfig.h"
#include "luaconfig/luaconfigsave.h"
#include "storage/filepath.h"
#include "storage/filepath_hd.h"
#include "storage/ramstream.h"
#include "support/chunkbytes.h"
#include "support/chunkmemory.h"
#include "support/logcapture.h"
#include "support/tempfolder.h"

#include <gtest/gtest.h>

#include <cstring>

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
    uint8* pBlock = new uint8[text.size() + 1];
    ram->Attach(static_cast<uint8*>(std::memcpy(pBlock, text.data(), text.size())), uint32(text.size()), true,
                ByteStream::Mode_Read);
    ram->SetName(name);
    return ram;
}

// A chunk file with one data chunk, built byte by byte.
std::string ChunkFile(const char* id, uint32 version, const char* name, const std::string& payload)
{
    return ChunkFileHeader() + ChunkBytes("DATA", id, version, payload, name);
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
    EXPECT_EQ(TempFolder::Read(path).substr(0, 18), "flags =  \r\n{\r\n\ttru");
    // Unsorted compact text loads back too.
    std::string text;
    LuaConfig compact("compact");
    ASSERT_TRUE(LuaConfigSave::SaveToText(lc, text, false, false) && compact.RunString(text.c_str())) << text;
    EXPECT_EQ(Text(compact), Text(lc));
}

TEST_F(LuaLoadTest, SyntaxErrorsAndMissingFilesAreReported)
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
    const std::string missing = m_dir + "/nothing.lua";
    EXPECT_FALSE(LuaConfigSave::LoadFile(lc, missing.c_str()));
    EXPECT_TRUE(log.Has("Failed to load lua file '" + missing + "'"));
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
    EXPECT_TRUE(lc.GetNumber("v399", v) && v == 399.0);
    std::string binary;
    ASSERT_TRUE(lc.RunString("return string.dump(function() x = 1 end)", true, &binary));
    EXPECT_FALSE(LuaConfigSave::Load(lc, *StreamOf(binary, "binary")));
    EXPECT_NE(lc.GetLastError().find("binary"), std::string::npos);
}

TEST_F(LuaLoadTest, ImportPullsInFilesBesideTheImporter)
{
    Write("sub/common.lua", "shared = 'from common' import('deeper.lua')()");
    Write("sub/deeper.lua", "deep = 42");
    const std::string main = Write("sub/main.lua", "import('common.lua')() own = shared .. '!'");
    LuaConfig lc("");
    ASSERT_TRUE(LuaConfigSave::LoadFile(lc, main.c_str())) << lc.GetLastError();
    std::string own;
    double deep = 0;
    EXPECT_TRUE(lc.GetString("own", own) && own == "from common!" && lc.GetNumber("deep", deep));
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
    for (auto [name, error] : {std::pair{"err1", "failed to import 'absent.lua', file failed to open"},
                               {"err2", "bad.lua:1:"},
                               {"err3", "import called without valid parameters"}})
    {
        std::string text;
        EXPECT_TRUE(lc.GetString(name, text) && text.find(error) != std::string::npos) << text;
    }
    EXPECT_TRUE(log.Has("Failed to import lua file '"));
    // Outside a file load no one has told the state how to open files.
    EXPECT_FALSE(lc.RunString("import('x.lua')"));
    EXPECT_NE(lc.GetLastError().find("import not set for this state"), std::string::npos);
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
    EXPECT_TRUE(lc.GetNumber("top", top) && top == 2.0);
    EXPECT_EQ(LuaConfigSave::ResolveImport("DATA:config\\top.lua", "base.lua") +
                  LuaConfigSave::ResolveImport("DATA:top.lua", "OTHER:x.lua") +
                  LuaConfigSave::ResolveImport("/a/b.lua", "/c/d.lua"),
              "DATA:config\\base.luaOTHER:x.lua/c/d.lua");
}

// Loads the "LCFG" chunk of a chunk file given as bytes.
bool LoadChunkBytes(LuaConfig& lc, const std::string& file)
{
    ChunkReader in(file);
    return LuaConfigSave::LoadChunky(lc, *in.m_pChunky, in.m_adapter);
}

TEST_F(LuaLoadTest, ChunkRoundTripAndItsBytes)
{
    LuaConfig lc("chunk");
    ASSERT_TRUE(lc.RunString("lod = { 10, 20 } name = 'tank'"));
    ChunkWriter out;
    ASSERT_TRUE(LuaConfigSave::SaveChunky(lc, *out.m_pChunky, out.m_adapter));
    EXPECT_EQ(out.Bytes(), ChunkFile("LCFG", 1, "LuaConfig Chunky",
                                     "lod =  \r\n{\r\n10,\r\n20,\r\n}\r\nname = \"tank\"\r\n"));
    LuaConfig back("");
    ASSERT_TRUE(LoadChunkBytes(back, out.Bytes())) << back.GetLastError();
    EXPECT_EQ(Text(back), Text(lc));
}

TEST_F(LuaLoadTest, ChunksBuiltByHand)
{
    // A size that runs past the end of the file.
    std::string tooLong = ChunkFile("LCFG", 1, "", "a = 1");
    tooLong[24 + 12] = char(0xFF);
    const struct
    {
        std::string file;
        bool loads;
        const char* message;
    } cases[] = {
        {ChunkFile("LCFG", 1, "", "a = 7"), true, nullptr},
        {ChunkFile("LCFG", 2, "", "a = 1"), false, "Unsupported (newer) Chunk Version!"},
        {ChunkFile("XXXX", 1, "", "a = 1"), false, nullptr},
        {tooLong, false, nullptr},
        {ChunkFile("LCFG", 1, "", "a = = 1"), false, "LUA_ERRSYNTAX"},
    };
    for (const auto& c : cases)
    {
        LogCapture log;
        LuaConfig lc("hand");
        EXPECT_EQ(c.loads, LoadChunkBytes(lc, c.file)) << c.file.substr(32);
        EXPECT_EQ(c.loads ? LuaConfig::Kind_Number : LuaConfig::Kind_Nil, lc.GetType("a"));
        EXPECT_TRUE(c.message == nullptr || log.Has(c.message)) << c.message;
    }
}