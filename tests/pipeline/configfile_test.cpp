// ConfigFile: the reading rules of ini text, the typed reads, and the writer read back.
#include "support/logcapture.h"
#include "support/tempfolder.h"

#include "foundation/debug.h"
#include "pipeline/configfile.h"
#include "storage/ramstream.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace
{
// Reads `text` as a file named "test.ini".
bool LoadText(ConfigFile& config, const std::string& text)
{
    RamStream stream;
    if (!text.empty())
    {
        EXPECT_TRUE(
            stream.Attach(const_cast<char*>(text.data()), uint32(text.size()), false, ByteStream::Mode_Read));
    }
    return config.Load(stream, "test.ini");
}

std::string Value(ConfigFile& config, const char* section, const char* key)
{
    config.SelectSection(section);
    std::string value;
    EXPECT_TRUE(config.GetString(key, value)) << section << "/" << key;
    return value;
}

bool Has(ConfigFile& config, const char* section, const char* key)
{
    config.SelectSection(section);
    char buffer[2048];
    return config.GetString(key, buffer, sizeof(buffer));
}
} // namespace

TEST(ConfigFileRead, LinesOfIniText)
{
    // `values` are "section/key=value", or "section/key" for a key that must not be there.
    struct Case
    {
        std::string text;
        std::vector<std::string> values;
        std::vector<std::string> messages = {};
        int sections = -1;
    };
    // clang-format off
    const Case cases[] = {
        // Names ignore case and blanks; a ';' behind a value is part of it; the first '=' splits.
        {"; tools settings\r\n\r\n  [ Burner ]  \r\nBurnerPath =  C:\\tools\\BurnerImp.exe \r\nFlags=a;b ; c\r\n"
         "  ;commented=1\r\n[p4]\r\nRevControlPort=\r\nUrl=http://host/a=b\r\n",
         {"BURNER/burnerpath=C:\\tools\\BurnerImp.exe", "burner/FLAGS=a;b ; c", "burner/;commented",
          "P4/RevControlPort=", "p4/url=http://host/a=b"}, {}, 2},
        // Repeated sections merge and the first value stays; lines count from 0.
        {"[Project:Tank]\r\nDataFinal=final\r\n[other]\r\nk=v\r\n[project:TANK]\r\nDataFinal=second\r\nDataGeneric=generic\r\n",
         {"project:tank/DataFinal=final", "project:tank/DataGeneric=generic"},
         {"Duplicate section at line 4 from test.ini"}, 2},
        // Broken lines are reported and skipped; reading goes on into the open section.
        {"orphan=1\r\n[good]\r\nno equals sign\r\n=value without key\r\n[unclosed\r\nafter=2\r\n",
         {"good/after=2", "good/orphan"},
         {"Key outside section at line 0 from test.ini", "Failed to read line 2 from test.ini",
          "Failed to read line 3 from test.ini", "Failed to read line 4 from test.ini"}, 1},
        // Only "\r\n" ends a line: this is one line, and no header.
        {"[a]\nk=v\n", {"a/k"}, {"Failed to read line 0"}, 0},
        // Alone on its line, trimming takes the "\n" off.
        {"[a]\n", {}, {}, 1},
        // 1023 bytes a line: "key=" and 1019 characters; the rest is read as the next line.
        {"[s]\r\nkey=" + std::string(1500, 'v') + "\r\nnext=1\r\n",
         {"s/key=" + std::string(1019, 'v'), "s/next=1"}, {"Failed to read line 2"}},
        // A NUL hides the "\r\n" behind it: the block read is one line, cut at the NUL.
        {std::string("[s]\r\nk=ab\0cd\r\nz=1\r\n", 19), {"s/k=ab", "s/z"}},
        {"", {}, {}, 0},
    };
    // clang-format on
    for (const Case& c : cases)
    {
        SCOPED_TRACE(c.text.substr(0, 40));
        LogCapture log;
        ConfigFile config;
        ASSERT_TRUE(LoadText(config, c.text));
        EXPECT_TRUE(config.IsLoaded());
        for (const std::string& value : c.values)
        {
            const size_t slash = value.find('/');
            const size_t equals = value.find('=', slash);
            const std::string key = value.substr(slash + 1, equals - slash - 1);
            config.SelectSection(value.substr(0, slash).c_str());
            std::string read;
            EXPECT_EQ(equals != std::string::npos, config.GetString(key.c_str(), read)) << value;
            EXPECT_EQ(equals != std::string::npos ? value.substr(equals + 1) : "", read);
        }
        for (const std::string& message : c.messages)
            EXPECT_EQ(1u, log.With(message).size()) << message;
        EXPECT_EQ(c.sections >= 0 ? uint32(c.sections) : config.SectionCount(), config.SectionCount());
    }
}

TEST(ConfigFileRead, SectionsAndKeysComeInLowerCaseOrder)
{
    ConfigFile config;
    ASSERT_TRUE(LoadText(config, "[Zeta]\r\nb=1\r\nA=2\r\n[alpha]\r\nx=3\r\n[Mid]\r\n"));
    ASSERT_EQ(3u, config.SectionCount());
    EXPECT_STREQ("alpha", config.SectionName(0));
    EXPECT_STREQ("mid", config.SectionName(1));
    EXPECT_STREQ("zeta", config.SectionName(2));
    // After reading, the first section in that order is current.
    EXPECT_STREQ("alpha", config.CurrentSection());
    EXPECT_EQ(1u, config.KeyCount());
    // The section left is handed back, cut to the room given; no room, or no buffer, is no copy.
    char previous[4] = "x";
    config.SelectSection("mid", previous, sizeof(previous));
    EXPECT_STREQ("alp", previous);
    config.SelectSection("ZETA", previous, 0);
    EXPECT_STREQ("alp", previous);
    config.SelectSection("mid", nullptr, sizeof(previous));
    config.SelectSection("ZETA");
    ASSERT_EQ(2u, config.KeyCount());
    EXPECT_STREQ("a", config.KeyName(0));
    EXPECT_STREQ("b", config.KeyName(1));
    dbg::ScopedThrowOnAssert quiet(false);
    EXPECT_STREQ("", config.SectionName(3));
    EXPECT_STREQ("", config.KeyName(2));

    TempFolder folder;
    EXPECT_FALSE(config.Load((folder / "missing.ini").c_str()));
    EXPECT_FALSE(config.IsLoaded());
    EXPECT_EQ(0u, config.SectionCount());
}

TEST(ConfigFileGet, TypedReadsAndTheirLimits)
{
    ConfigFile config;
    ASSERT_TRUE(LoadText(config, "[s]\r\nfive=12345\r\nlong=" + std::string(2048, 'x') +
                                     "\r\na=42\r\nb=-7\r\nc=4x\r\n"
                                     "d=99999999999\r\ne=\r\nf=" +
                                     std::string(40, '1') + "\r\nname=T\xC3\xA4nk \xE2\x82\xAC\r\n[t]\r\n"));
    config.SelectSection("s");
    // A text fits only below the buffer length; `out` is cleared first.
    char buffer[8] = "garbage";
    EXPECT_TRUE(config.GetString("five", buffer, 6));
    EXPECT_STREQ("12345", buffer);
    EXPECT_FALSE(config.GetString("five", buffer, 5));
    EXPECT_STREQ("", buffer);
    EXPECT_FALSE(config.GetString("absent", buffer, sizeof(buffer)));
    // The line reader cut this one to 1018 characters, which the 2048 of the text form hold.
    std::string text;
    EXPECT_TRUE(config.GetString("long", text));
    EXPECT_EQ(1018u, text.size());

    int value = 5;
    EXPECT_TRUE(config.GetInt("a", value));
    EXPECT_EQ(42, value);
    EXPECT_TRUE(config.GetInt("b", value));
    EXPECT_EQ(-7, value);
    // The empty value is consumed whole: 0.
    EXPECT_TRUE(config.GetInt("e", value));
    EXPECT_EQ(0, value);
    for (const char* bad : {"c", "d", "f", "absent"})
    {
        value = 5;
        EXPECT_FALSE(config.GetInt(bad, value)) << bad;
        EXPECT_EQ(0, value) << bad;
    }

    wchar16 wide[16];
    ASSERT_TRUE(config.GetWideString("name", wide, 16));
    EXPECT_EQ(std::u16string(u"T\u00e4nk \u20ac"), std::u16string(wide));
    // Six characters and the terminator do not fit in six.
    EXPECT_FALSE(config.GetWideString("name", wide, 6));

    // The previous section's name is handed back, cut to the buffer.
    char previous[4];
    EXPECT_TRUE(config.SelectSection("T", previous, sizeof(previous)));
    EXPECT_STREQ("s", previous);
    EXPECT_TRUE(config.SelectSection("nowhere", previous, sizeof(previous)));
    EXPECT_STREQ("t", previous);
    EXPECT_FALSE(config.GetString("five", text));
    EXPECT_EQ("", text);
    EXPECT_TRUE(config.SelectSection("s", previous, sizeof(previous)));
    EXPECT_STREQ("now", previous);
    dbg::ScopedThrowOnAssert quiet(false);
    EXPECT_FALSE(config.SelectSection(std::string(256, 's').c_str()));
    EXPECT_FALSE(config.SelectSection(nullptr));
    EXPECT_STREQ("s", config.CurrentSection());
    EXPECT_TRUE(config.SelectSection(std::string(255, 's').c_str()));
}

TEST(ConfigFileSet, SetRemoveAndTheCharactersThatAreRefused)
{
    ConfigFile config;
    ASSERT_TRUE(LoadText(config, "[s]\r\nkept=1\r\n"));
    config.SelectSection("s");
    EXPECT_TRUE(config.SetString("Name", "tank"));
    EXPECT_TRUE(config.SetInt("count", -12));
    EXPECT_TRUE(config.SetString("kept", "2"));
    EXPECT_EQ("tank", Value(config, "s", "name"));
    EXPECT_EQ("-12", Value(config, "s", "COUNT"));
    EXPECT_EQ("2", Value(config, "s", "kept"));

    EXPECT_TRUE(config.RemoveKey("NAME"));
    EXPECT_FALSE(config.RemoveKey("name"));

    dbg::ScopedThrowOnAssert quiet(false);
    EXPECT_FALSE(config.SetString("a=b", "v"));
    EXPECT_FALSE(config.SetString("a", "v;w"));
    EXPECT_FALSE(config.SetString("", "v"));
    EXPECT_FALSE(config.SetString("a", nullptr));
    EXPECT_FALSE(config.SetString("a", "two\r\nlines"));
    EXPECT_FALSE(Has(config, "s", "a"));

    dbg::ScopedThrowOnAssert loud;
    EXPECT_THROW(config.SetString("a=b", "v"), std::runtime_error);
}

TEST(ConfigFileSave, WritesSortedSectionsAndReadsBack)
{
    LogCapture log;
    TempFolder folder;
    // A read-only target is made writable and written.
    const std::string name =
        folder.Write("settings.ini", "[old]\r\nk=v\r\n\r\n", std::filesystem::perms::owner_read);
    {
        ConfigFile config;
        config.SelectSection("Zeta");
        config.SetString("b", "2");
        config.SetString("A", "1");
        config.SelectSection("alpha");
        config.SetString("path", "C:\\data\\final");
        ASSERT_TRUE(config.Save(name.c_str()));
        // A folder where the file would go: a failure with a message.
        std::filesystem::create_directories(folder / "taken.ini");
        EXPECT_FALSE(config.Save((folder / "taken.ini").c_str()));
        EXPECT_EQ(1u, log.With("Couldn't open config file").size());
    }
    EXPECT_EQ("[alpha]\r\npath=C:\\data\\final\r\n[zeta]\r\na=1\r\nb=2\r\n\r\n", TempFolder::Read(name));

    ConfigFile read;
    ASSERT_TRUE(read.Load(name.c_str()));
    EXPECT_EQ("C:\\data\\final", Value(read, "alpha", "path"));
    // Saving with no name goes back to the file it came from.
    read.SelectSection("zeta");
    read.SetString("c", "3");
    ASSERT_TRUE(read.Save());
    ConfigFile again;
    ASSERT_TRUE(again.Load(name.c_str()));
    EXPECT_EQ("1", Value(again, "zeta", "a"));
    EXPECT_EQ("3", Value(again, "zeta", "c"));
}
