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

TEST(ConfigFileRead, SectionsAndKeysIgnoreCaseAndBlanks)
{
    ConfigFile config;
    ASSERT_TRUE(LoadText(config, "; tools settings\r\n"
                                 "\r\n"
                                 "  [ Burner ]  \r\n"
                                 "BurnerPath =  C:\\tools\\BurnerImp.exe \r\n"
                                 "Flags=a;b ; c\r\n"
                                 "  ;commented=1\r\n"
                                 "[p4]\r\n"
                                 "RevControlPort=\r\n"
                                 "Url=http://host/a=b\r\n"));
    EXPECT_TRUE(config.IsLoaded());
    EXPECT_EQ("C:\\tools\\BurnerImp.exe", Value(config, "BURNER", "burnerpath"));
    // A ';' behind a value is part of it; only a line that starts with ';' is a comment.
    EXPECT_EQ("a;b ; c", Value(config, "burner", "FLAGS"));
    EXPECT_FALSE(Has(config, "burner", ";commented"));
    EXPECT_EQ("", Value(config, "P4", "RevControlPort"));
    // The first '=' splits.
    EXPECT_EQ("http://host/a=b", Value(config, "p4", "url"));
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

    config.SelectSection("ZETA");
    ASSERT_EQ(2u, config.KeyCount());
    EXPECT_STREQ("a", config.KeyName(0));
    EXPECT_STREQ("b", config.KeyName(1));

    dbg::ScopedThrowOnAssert quiet(false);
    EXPECT_STREQ("", config.SectionName(3));
    EXPECT_STREQ("", config.KeyName(2));
}

TEST(ConfigFileRead, DuplicateSectionsMergeAndTheFirstValueStays)
{
    LogCapture log;
    ConfigFile config;
    ASSERT_TRUE(LoadText(config, "[Project:Tank]\r\n"
                                 "DataFinal=final\r\n"
                                 "[other]\r\n"
                                 "k=v\r\n"
                                 "[project:TANK]\r\n"
                                 "DataFinal=second\r\n"
                                 "DataGeneric=generic\r\n"));
    ASSERT_EQ(2u, config.SectionCount());
    EXPECT_EQ("final", Value(config, "project:tank", "DataFinal"));
    EXPECT_EQ("generic", Value(config, "project:tank", "DataGeneric"));
    // Lines count from 0: the repeated header is the fifth line.
    EXPECT_EQ(1u, log.With("Duplicate section at line 4 from test.ini").size());
}

TEST(ConfigFileRead, BrokenLinesAreReportedAndSkipped)
{
    LogCapture log;
    ConfigFile config;
    ASSERT_TRUE(LoadText(config, "orphan=1\r\n"
                                 "[good]\r\n"
                                 "no equals sign\r\n"
                                 "=value without key\r\n"
                                 "[unclosed\r\n"
                                 "after=2\r\n"));
    EXPECT_EQ(1u, log.With("Key outside section at line 0 from test.ini").size());
    EXPECT_EQ(1u, log.With("Failed to read line 2 from test.ini").size());
    EXPECT_EQ(1u, log.With("Failed to read line 3 from test.ini").size());
    EXPECT_EQ(1u, log.With("Failed to read line 4 from test.ini").size());
    // The warnings are no failure: reading goes on into the open section.
    EXPECT_TRUE(config.IsLoaded());
    ASSERT_EQ(1u, config.SectionCount());
    EXPECT_EQ("2", Value(config, "good", "after"));
    EXPECT_FALSE(Has(config, "good", "orphan"));
}

TEST(ConfigFileRead, OnlyCrLfEndsALine)
{
    LogCapture log;
    ConfigFile config;
    // Bare "\n" line ends: the whole text is one line, which is no section header.
    ASSERT_TRUE(LoadText(config, "[a]\nk=v\n"));
    EXPECT_EQ(0u, config.SectionCount());
    EXPECT_EQ(1u, log.With("Failed to read line 0").size());

    // The same header alone on a line with "\n" is still read: trimming takes the "\n" off.
    ASSERT_TRUE(LoadText(config, "[a]\n"));
    EXPECT_EQ(1u, config.SectionCount());
}

TEST(ConfigFileRead, OverlongLineIsCutAndItsRestReadAsTheNextLine)
{
    LogCapture log;
    ConfigFile config;
    const std::string value(1500, 'v');
    ASSERT_TRUE(LoadText(config, "[s]\r\nkey=" + value + "\r\nnext=1\r\n"));
    // The first 1023 bytes hold "key=" and 1019 characters of the value.
    EXPECT_EQ(std::string(1019, 'v'), Value(config, "s", "key"));
    EXPECT_EQ(1u, log.With("Failed to read line 2").size());
    EXPECT_EQ("1", Value(config, "s", "next"));
}

TEST(ConfigFileRead, NulByteEndsTheLine)
{
    ConfigFile config;
    const std::string text("[s]\r\nk=ab\0cd\r\nz=1\r\n", 19);
    ASSERT_TRUE(LoadText(config, text));
    // The NUL hides the "\r\n" behind it: the block read is one line, cut at the NUL.
    EXPECT_EQ("ab", Value(config, "s", "k"));
    EXPECT_FALSE(Has(config, "s", "z"));
}

TEST(ConfigFileRead, EmptyAndMissingFiles)
{
    ConfigFile config;
    ASSERT_TRUE(LoadText(config, ""));
    EXPECT_EQ(0u, config.SectionCount());
    EXPECT_STREQ("", config.CurrentSection());

    TempFolder folder;
    EXPECT_FALSE(config.Load((folder / "missing.ini").c_str()));
    EXPECT_FALSE(config.IsLoaded());
    EXPECT_EQ(0u, config.SectionCount());
}

TEST(ConfigFileGet, StringFitsOnlyBelowTheBufferLength)
{
    ConfigFile config;
    ASSERT_TRUE(LoadText(config, "[s]\r\nfive=12345\r\nlong=" + std::string(2048, 'x') + "\r\n"));
    config.SelectSection("s");
    char buffer[8] = "garbage";
    EXPECT_TRUE(config.GetString("five", buffer, 6));
    EXPECT_STREQ("12345", buffer);
    std::strcpy(buffer, "garbage");
    EXPECT_FALSE(config.GetString("five", buffer, 5));
    EXPECT_STREQ("", buffer);
    EXPECT_FALSE(config.GetString("absent", buffer, sizeof(buffer)));

    // The text form reads through 2048 characters; this value is cut by the line reader to
    // 1018 characters, so it fits.
    std::string text;
    EXPECT_TRUE(config.GetString("long", text));
    EXPECT_EQ(1018u, text.size());

    config.SelectSection("nowhere");
    EXPECT_FALSE(config.GetString("five", text));
    EXPECT_EQ("", text);
}

TEST(ConfigFileGet, IntegersMustBeWholeNumbers)
{
    ConfigFile config;
    ASSERT_TRUE(LoadText(
        config, "[n]\r\na=42\r\nb=-7\r\nc=4x\r\nd=99999999999\r\ne=\r\nf=" + std::string(40, '1') + "\r\n"));
    config.SelectSection("n");
    int value = 5;
    EXPECT_TRUE(config.GetInt("a", value));
    EXPECT_EQ(42, value);
    EXPECT_TRUE(config.GetInt("b", value));
    EXPECT_EQ(-7, value);
    for (const char* bad : {"c", "d", "f", "absent"})
    {
        value = 5;
        EXPECT_FALSE(config.GetInt(bad, value)) << bad;
        EXPECT_EQ(0, value) << bad;
    }
}

TEST(ConfigFileGet, WideStringsFromUtf8)
{
    ConfigFile config;
    ASSERT_TRUE(LoadText(config, "[w]\r\nname=T\xC3\xA4nk \xE2\x82\xAC\r\n"));
    config.SelectSection("w");
    wchar16 wide[16];
    ASSERT_TRUE(config.GetWideString("name", wide, 16));
    EXPECT_EQ(std::u16string(u"T\u00e4nk \u20ac"), std::u16string(wide));
    // Six characters and the terminator do not fit in six.
    EXPECT_FALSE(config.GetWideString("name", wide, 6));
}

TEST(ConfigFileGet, SelectSectionHandsBackThePreviousName)
{
    ConfigFile config;
    ASSERT_TRUE(LoadText(config, "[first]\r\n[second]\r\n"));
    char previous[4];
    EXPECT_TRUE(config.SelectSection("Second", previous, sizeof(previous)));
    EXPECT_STREQ("fir", previous); // cut to the buffer
    EXPECT_STREQ("second", config.CurrentSection());

    dbg::ScopedThrowOnAssert quiet(false);
    EXPECT_FALSE(config.SelectSection(std::string(256, 's').c_str()));
    EXPECT_FALSE(config.SelectSection(nullptr));
    EXPECT_STREQ("second", config.CurrentSection());
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
    TempFolder folder;
    const std::string name = folder / "settings.ini";
    {
        ConfigFile config;
        config.SelectSection("Zeta");
        config.SetString("b", "2");
        config.SetString("A", "1");
        config.SelectSection("alpha");
        config.SetString("path", "C:\\data\\final");
        ASSERT_TRUE(config.Save(name.c_str()));
    }
    EXPECT_EQ("[alpha]\r\npath=C:\\data\\final\r\n[zeta]\r\na=1\r\nb=2\r\n\r\n", TempFolder::Read(name));

    ConfigFile read;
    ASSERT_TRUE(read.Load(name.c_str()));
    EXPECT_EQ("C:\\data\\final", Value(read, "alpha", "path"));
    EXPECT_EQ("1", Value(read, "zeta", "a"));

    // Saving with no name goes back to the file it came from.
    read.SetString("c", "3");
    ASSERT_TRUE(read.Save());
    ConfigFile again;
    ASSERT_TRUE(again.Load(name.c_str()));
    EXPECT_EQ("3", Value(again, "zeta", "c"));
}

TEST(ConfigFileSave, AReadOnlyTargetIsMadeWritableAndWritten)
{
    TempFolder folder;
    const std::string name = folder.Write("locked.ini", "[old]\r\nk=v\r\n\r\n", std::filesystem::perms::owner_read);
    ConfigFile config;
    config.SelectSection("new");
    config.SetString("k", "w");
    ASSERT_TRUE(config.Save(name.c_str()));
    EXPECT_EQ("[new]\r\nk=w\r\n\r\n", TempFolder::Read(name));
}

TEST(ConfigFileSave, UnwritableTargetFailsWithAMessage)
{
    LogCapture log;
    TempFolder folder;
    // A folder stands where the file would go.
    std::filesystem::create_directories(folder / "taken.ini");
    ConfigFile config;
    config.SelectSection("s");
    config.SetString("k", "v");
    EXPECT_FALSE(config.Save((folder / "taken.ini").c_str()));
    EXPECT_EQ(1u, log.With("Couldn't open config file").size());
}
