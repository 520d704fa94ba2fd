// ConfigFile: the reading rules of ini text, the typed reads, and the writer read back.
#include "support/logcapture.h"
#include "support/tempfolder.h"
#include "foundation/debug.h"
#include "pipeline/configfile.h"
#include "storage/ramstream.h"
#include <gtest/gtest.h>

namespace
{
void LoadText(ConfigFile& config, const std::string& text)
{
    RamStream stream;
    ASSERT_TRUE(stream.Attach(const_cast<char*>(text.data()), uint32(text.size()), false, ByteStream::Mode_Read) &&
                config.Load(stream, "test.ini"));
}

// "section/key=value", or "section/key" for a key that must not be there.
void ExpectValue(ConfigFile& config, const std::string& value)
{
    const size_t slash = value.find('/'), equals = value.find('=', slash);
    config.SelectSection(value.substr(0, slash).c_str());
    std::string read = "x";
    EXPECT_EQ(equals != std::string::npos, config.GetString(value.substr(slash + 1, equals - slash - 1).c_str(), read));
    EXPECT_EQ(equals != std::string::npos ? value.substr(equals + 1) : "", read) << value;
}
} // namespace

TEST(ConfigFileRead, LinesOfIniText)
{
    const std::tuple<std::string, std::vector<std::string>, std::vector<std::string>, uint32> cases[] = {
        // Names ignore case and blanks; a ';' behind a value is part of it; the first '=' splits.
        {"; tools\r\n\r\n  [ Burner ]  \r\nBurnerPath =  C:\\t.exe \r\nFlags=a;b ; c\r\n  ;commented=1\r\n[p4]\r\nUrl=h/a=b\r\n",
         {"BURNER/burnerpath=C:\\t.exe", "burner/FLAGS=a;b ; c", "burner/;commented", "p4/url=h/a=b"}, {}, 2},
        // Repeated sections merge and the first value stays; lines count from 0.
        {"[Project:Tank]\r\nDataFinal=final\r\n[other]\r\n[project:TANK]\r\nDataFinal=second\r\nDataGeneric=g\r\n",
         {"project:tank/DataFinal=final", "project:tank/DataGeneric=g"}, {"Duplicate section at line 3 from test.ini"}, 2},
        // Broken lines are reported and skipped; reading goes on into the open section.
        {"orphan=1\r\n[good]\r\nno equals sign\r\n=value without key\r\n[unclosed\r\n[\r\nafter=2\r\n", {"good/after=2", "good/orphan"},
         {"Key outside section at line 0 from test.ini", "Failed to read line 2 from", "Failed to read line 3 from",
          "Failed to read line 4 from", "Failed to read line 5 from"}, 1},
        // Only "\r\n" ends a line: this is one line, and no header; alone, trimming takes the "\n".
        {"[a]\nk=v\n", {"a/k"}, {"Failed to read line 0"}, 0}, {"[a]\n", {}, {}, 1},
        // 1023 bytes a line: "key=" and 1019 characters; the rest is read as the next line.
        {"[s]\r\nkey=" + std::string(1500, 'v') + "\r\nnext=1\r\n", {"s/key=" + std::string(1019, 'v'), "s/next=1"},
         {"Failed to read line 2"}, 1},
        // A NUL hides the "\r\n" behind it: the block read is one line, cut at the NUL.
        {std::string("[s]\r\nk=ab\0cd\r\nz=1\r\n", 19), {"s/k=ab", "s/z"}, {}, 1},
        {"", {}, {}, 0},
    };
    for (const auto& [text, values, messages, sections] : cases)
    {
        SCOPED_TRACE(text.substr(0, 40));
        LogCapture log;
        ConfigFile config;
        LoadText(config, text);
        for (const std::string& value : values)
            ExpectValue(config, value);
        for (const std::string& message : messages)
            EXPECT_EQ(1u, log.With(message).size()) << message;
        EXPECT_EQ(sections, config.SectionCount());
    }
}

TEST(ConfigFileRead, SectionsKeysAndTypedReads)
{
    ConfigFile config;
    LoadText(config, "[Zeta]\r\nb=1\r\nA=2\r\n[alpha]\r\nx=3\r\n[s]\r\nfive=12345\r\nlong=" + std::string(2048, 'x') +
                         "\r\na=42\r\nb=-7\r\nc=4x\r\nd=99999999999\r\ne=\r\nname=T\xC3\xA4nk \xE2\x82\xAC\r\n");
    EXPECT_EQ("alpha zeta", std::string(config.SectionName(0)) + " " + config.SectionName(2));
    // After reading, the first section in that order is current; the one left is handed back,
    // cut to the room given; no room, or no buffer, is no copy.
    char previous[4] = "x";
    EXPECT_TRUE(config.SelectSection("ZETA", previous, sizeof(previous)));
    config.SelectSection("s", previous, 0);
    config.SelectSection("Zeta", nullptr, sizeof(previous));
    EXPECT_STREQ("alp", previous);
    EXPECT_EQ("2 b", std::to_string(config.KeyCount()) + " " + config.KeyName(1));
    config.SelectSection("s");
    // A text fits only below the buffer length; `out` is cleared first.
    char buffer[8] = "garbage";
    EXPECT_TRUE(config.GetString("five", buffer, 6) && std::string(buffer) == "12345");
    EXPECT_FALSE(config.GetString("five", buffer, 5) || buffer[0] != '\0');
    std::string text;
    EXPECT_TRUE(config.GetString("long", text) && text.size() == 1018u);
    EXPECT_FALSE(config.GetString("absent", text) || !text.empty());
    // The empty value is consumed whole: 0. A failure leaves 0.
    std::string got;
    int value = 5;
    for (const char* key : {"a", "c", "b", "d", "e", "long"})
        got += config.GetInt(key, value) ? "1" + std::to_string(value) + " " : "0" + std::to_string(value) + " ";
    EXPECT_EQ("142 00 1-7 00 10 00 ", got);
    // Six characters and the terminator fit in seven, not in six.
    wchar16 wide[16];
    EXPECT_TRUE(config.GetWideString("name", wide, 7) && std::u16string(wide) == u"T\u00e4nk \u20ac" &&
                !config.GetWideString("name", wide, 6));
    dbg::ScopedThrowOnAssert quiet(false);
    EXPECT_FALSE(config.SelectSection(std::string(256, 'z').c_str()));
    EXPECT_STREQ("s", config.CurrentSection());
    EXPECT_TRUE(config.SelectSection(std::string(255, 'z').c_str()));
}

TEST(ConfigFileSave, SetRemoveRefuseAndReadBack)
{
    LogCapture log;
    TempFolder folder;
    const std::string name = folder.Write("settings.ini", "[old]\r\nk=v\r\n", std::filesystem::perms::owner_read);
    ConfigFile config;
    config.SelectSection("Zeta");
    EXPECT_TRUE(config.SetString("b", "2") && config.SetString("gone", "2") && config.SetInt("A", -12));
    EXPECT_TRUE(config.RemoveKey("GONE") && !config.RemoveKey("gone"));
    dbg::ScopedThrowOnAssert quiet(false);
    for (const auto& [key, value] : {std::pair{"a=b", "v"}, {"a", "v;w"}, {"", "v"}, {"a", nullptr}, {"a", "x\r"}, {"a\n", "v"}})
        EXPECT_FALSE(config.SetString(key, value)) << key;
    config.SelectSection("alpha");
    config.SetString("path", "C:\\data\\final");
    config.SelectSection("none");
    EXPECT_FALSE(config.RemoveKey("path"));
    ASSERT_TRUE(config.Save(name.c_str()));
    std::filesystem::create_directories(folder / "taken.ini");
    EXPECT_FALSE(config.Save((folder / "taken.ini").c_str()));
    EXPECT_EQ(1u, log.With("Couldn't open config file").size());
    EXPECT_EQ("[alpha]\r\npath=C:\\data\\final\r\n[zeta]\r\na=-12\r\nb=2\r\n\r\n", TempFolder::Read(name));
    // Saving with no name goes back to the file it came from, read.
    ASSERT_TRUE(config.Load(name.c_str()) && config.SelectSection("zeta") && config.SetString("c", "3") && config.Save());
    EXPECT_EQ("[alpha]\r\npath=C:\\data\\final\r\n[zeta]\r\na=-12\r\nb=2\r\nc=3\r\n\r\n", TempFolder::Read(name));
}
