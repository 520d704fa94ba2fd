// The text that a save writes, compared character by character.
#include "foundation/debug.h"
#include "luaconfig/luaconfig.h"
#include "luaconfig/luaconfigsave.h"
#include "storage/ramstream.h"
#include "support/logcapture.h"

#include <gtest/gtest.h>
#include <lua.hpp>

namespace
{
// Runs `script` in a fresh state and returns the text of its globals.
std::string SaveOf(const char* script, bool pretty = true, bool sorted = true)
{
    LuaConfig lc("text");
    EXPECT_TRUE(lc.RunString(script)) << lc.GetLastError();
    std::string out;
    EXPECT_TRUE(LuaConfigSave::SaveToText(lc, out, pretty, sorted));
    return out;
}
} // namespace

TEST(LuaConfigText, EachValueHasItsForm)
{
    struct Case
    {
        const char* script;
        std::string text;
        bool pretty = true;
        bool readsBack = true; // to the same text
    };
    // clang-format off
    const Case cases[] = {
        {"a = 3", "a = 3\n"}, {"a = 3.0", "a = 3\n"}, {"a = 3.25", "a = 3.25000\n"}, {"a = -2.5", "a = -2.50000\n"},
        {"a = 0.000001", "a = 0.00000\n", true, false}, {"a = 1/3", "a = 0.33333\n"},
        {"a = 1e20", "a = 100000000000000000000\n"},
        {"a = 9007199254740993", "a = 9007199254740993\n"}, 
        {"a = math.huge b = -math.huge", "a = 1/0\nb = -1/0\n"}, {"a = 0/0", "a = 0/0\n"},
        {"a = true b = false c = 'plain text'", "a = true\nb = false\nc = \"plain text\"\n"}, 
        // Quotes, backslashes and newlines make a text long; a newline becomes backslash n first.
        {R"(a = 'say "hi"')", "a = [[say \"hi\"]]\n"}, {R"(a = 'C:\\art\\x.tga')", "a = [[C:\\art\\x.tga]]\n"},
        {R"(a = 'one\ntwo')", "a = [[one\\ntwo]]\n"}, {R"(a = "it's")", "a = \"it's\"\n"},
        // Arrays have no keys; maps with gaps write bracketed integer keys in order.
        {"t = {1, 2, 3}", "t =  \n{\n\t1,\n\t2,\n\t3,\n}\n"},
        {"t = {[2] = 'b', [1] = 'a'}", "t =  \n{\n\t\"a\",\n\t\"b\",\n}\n"}, 
        {"t = {[1] = 1, [3] = 3}", "t =  \n{\n\t[1] =1,\n\t[3] =3,\n}\n"},
        {"t = {[10] = 'x', [2] = 'y', [-1] = 'z'}", "t =  \n{\n\t[-1] =\"z\",\n\t[2] =\"y\",\n\t[10] =\"x\",\n}\n"},
        {"t = {[0] = 0, 1}", "t =  \n{\n\t[0] =0,\n\t[1] =1,\n}\n"},
        // A value that can't be written leaves its key out, so the rest stays an array only if whole.
        {"t = {1, print, 3}", "t =  \n{\n\t[1] =1,\n\t[3] =3,\n}\n"},
        // The array part comes first in traversal, so the integers decide; the names follow them.
        {"t = { 10, 20, x = 1, y = 2 }", "t =  \n{\n\t[1] =10,\n\t[2] =20,\n\tx = 1,\n\ty = 2,\n}\n"},
        {"t = { inner = { deep = { 1 } }, name = 'n' }",
         "t =  \n{\n\tinner =  \n\t{\n\t\tdeep =  \n\t\t{\n\t\t\t1,\n\t\t},\n\t},\n\tname = \"n\",\n}\n"},
        {"t = { inner = { deep = { 1 } }, name = 'n' }", "t =  \n{\ninner =  \n{\ndeep =  \n{\n1,\n},\n},\nname = \"n\",\n}\n", false},
        {"m = { zeta = 1, alpha = 2, Beta = 3, mid = 4, a10 = 5, a9 = 6 }",
         "m =  \n{\nBeta = 3,\na10 = 5,\na9 = 6,\nalpha = 2,\nmid = 4,\nzeta = 1,\n}\n", false},
        // Keys that are not names go in brackets; a string of digits as the integer it reads as.
        {"t = { ['two words'] = 1 }", "t =  \n{\n\t[\"two words\"] = 1,\n}\n"}, {"t = { ['end'] = 1 }", "t =  \n{\n\t[\"end\"] = 1,\n}\n"},
        {"t = { ['q\"\\\\'] = 1 }", "t =  \n{\n\t[\"q\\\"\\\\\"] = 1,\n}\n"},
        {"t = { [1.5] = 'x' }", "t =  \n{\n\t[1.5] =\"x\",\n}\n"}, {"t = { ['7'] = 'x' }", "t =  \n{\n\t[7] =\"x\",\n}\n"},
        {"t = { ['1000000000000000000'] = 'x' }", "t =  \n{\n\t[\"1000000000000000000\"] = \"x\",\n}\n"}, // 19 digits: a name
        // Lua's own globals and functions are left out, a user's value under such a name is not; a table
        // holding itself is cut where it repeats.
        {"", ""}, {"function f() end", ""}, {"string = 5", "string = 5\n"}, {"t = { a = 1 } t.self = t", "t =  \n{\n\ta = 1,\n}\n"},
    };
    // clang-format on
    for (const Case& c : cases)
    {
        const std::string text = SaveOf(c.script, c.pretty);
        EXPECT_EQ(c.text, text) << c.script;
        // What is written reads back to the same text; a NaN to a NaN.
        LuaConfig back("back");
        ASSERT_TRUE(back.RunString(text.c_str())) << text;
        std::string again;
        ASSERT_TRUE(LuaConfigSave::SaveToText(back, again, c.pretty, true));
        EXPECT_EQ(c.readsBack, text == again) << c.script;
    }
}

TEST(LuaConfigText, BracketsInsideALongTextAreAssertedAndStillReadBack)
{
    dbg::ScopedThrowOnAssert passing(false);
    for (const char* script : {"a = 'x\"]]y'", "a = 'ends in \"]'", "a = '\"]=]]'", "a = 'x\"[[y'"})
    {
        LuaConfig lc("brackets");
        ASSERT_TRUE(lc.RunString(script));
        std::string out;
        ASSERT_TRUE(LuaConfigSave::SaveToText(lc, out, true, true));
        std::string original, reread;
        LuaConfig back("back");
        EXPECT_TRUE(back.RunString(out.c_str()) && lc.GetString("a", original) &&
                    back.GetString("a", reread) && reread == original)
            << out;
    }
}

TEST(LuaConfigText, LongStringsAreCutAtTheTextBuffer)
{
    dbg::ScopedThrowOnAssert passing(false);
    LogCapture log;
    EXPECT_EQ(SaveOf("a = string.rep('x', 2000)"), "a = \"" + std::string(1023, 'x') + "\"\n");
    EXPECT_TRUE(log.Has("cut to 1023 characters"));
    // A newline near the end is never split from its backslash.
    EXPECT_EQ(SaveOf("a = string.rep('x', 1022) .. '\\n'"), "a = \"" + std::string(1022, 'x') + "\"\n");
}

TEST(LuaConfigText, SaveTableWritesOneNamedEntry)
{
    LuaConfig lc("table");
    ASSERT_TRUE(lc.RunString("burn_params = { { name = 'g', targets = {} } } other = 1 num = 3"));
    std::string out;
    ASSERT_TRUE(LuaConfigSave::SaveTableToText(lc, "burn_params", out, true, true));
    EXPECT_EQ(out,
              "burn_params =  \n{\n\t \n\t{\n\t\tname = \"g\",\n\t\ttargets =  \n\t\t{\n\t\t},\n\t},\n}\n");
    LogCapture log;
    EXPECT_FALSE(LuaConfigSave::SaveTableToText(lc, "num", out, true, true));
    EXPECT_TRUE(log.Has("Failed to write lua table.  num is not a table."));
    // Streams get carriage return line ends.
    RamStream ram;
    ASSERT_TRUE(ram.Create(16, ByteStream::Mode_Write));
    EXPECT_FALSE(LuaConfigSave::SaveTable(lc, "missing", ram, true, true));
    EXPECT_EQ(ram.GetLength(), 0u);
    ASSERT_TRUE(LuaConfigSave::SaveTable(lc, "burn_params", ram, false, true));
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(ram.GetBuffer()), ram.GetLength()),
              "burn_params =  \r\n{\r\n \r\n{\r\nname = \"g\",\r\ntargets =  \r\n{\r\n},\r\n},\r\n}\r\n");
}
