#include "storage/filepathutil.h"

#include "foundation/debug.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace
{
using namespace FilePathUtil;

// A path buffer filled with `text`.
struct PathBuf
{
    explicit PathBuf(const char* text = "") { std::strcpy(m_text, text); }
    char m_text[MAXPATH];
    operator char*() { return m_text; }
    std::string str() const { return m_text; }
};

TEST(FilePathUtilNames, AliasNeedsTwoLettersBeforeTheColon)
{
    EXPECT_FALSE(HasAlias("C:\\x"));
    EXPECT_TRUE(HasAlias("DATA:x"));
    EXPECT_TRUE(HasAlias("AB:x"));
    EXPECT_FALSE(HasAlias("art\\x.tga"));
    EXPECT_FALSE(HasAlias(":x"));
}

TEST(FilePathUtilNames, PiecesOfAName)
{
    const char* name = "DATA:Art\\Units.v2\\Tank.Hull.TGA";
    EXPECT_STREQ(GetFilenamePtr(name), "Tank.Hull.TGA");
    EXPECT_STREQ(GetExtensionPtr(name), "TGA");
    EXPECT_STREQ(GetFilenamePtr("DATA:x.tga"), "x.tga");
    EXPECT_STREQ(GetFilenamePtr("a/b/c"), "c");

    // No extension: the pointer form hands back the name itself, the copy form gives "".
    const char* bare = "art\\units.v2\\tank";
    EXPECT_EQ(GetExtensionPtr(bare), bare);
    PathBuf out;
    EXPECT_TRUE(GetExtension(bare, out));
    EXPECT_EQ(out.str(), "");

    EXPECT_TRUE(GetExtension(name, out));
    EXPECT_EQ(out.str(), "TGA");
    EXPECT_TRUE(GetBaseName(name, out));
    EXPECT_EQ(out.str(), "Tank.Hull");
    EXPECT_TRUE(GetBaseName(bare, out));
    EXPECT_EQ(out.str(), "tank");
    EXPECT_TRUE(GetAlias(name, out));
    EXPECT_EQ(out.str(), "DATA");
    EXPECT_TRUE(GetAlias(bare, out));
    EXPECT_EQ(out.str(), "");
    EXPECT_TRUE(GetFolder("DATA:art//units/tank.tga", out));
    EXPECT_EQ(out.str(), "art\\units");
    EXPECT_TRUE(GetFolder("tank.tga", out));
    EXPECT_EQ(out.str(), "");
}

TEST(FilePathUtilNames, HasExtensionIgnoresCaseAndLeadingDot)
{
    EXPECT_TRUE(HasExtension("x\\a.TGA", "tga"));
    EXPECT_TRUE(HasExtension("x\\a.tga", ".TGA"));
    EXPECT_FALSE(HasExtension("x\\a.tga", "tg"));
    EXPECT_FALSE(HasExtension("x\\a.tgax", "tga"));
    // A dot in a folder is no extension.
    EXPECT_FALSE(HasExtension("x.tga\\a", "tga"));
    EXPECT_TRUE(HasExtension("x.tga\\a", ""));
}

TEST(FilePathUtilEdits, SetExtensionReplacesAppendsAndRemoves)
{
    PathBuf a("a.b");
    EXPECT_TRUE(SetExtension(a, ".tga"));
    EXPECT_EQ(a.str(), "a.tga");

    PathBuf b("a");
    EXPECT_TRUE(SetExtension(b, "tga"));
    EXPECT_EQ(b.str(), "a.tga");

    PathBuf c("dir.v1\\model");
    EXPECT_TRUE(SetExtension(c, "sgm"));
    EXPECT_EQ(c.str(), "dir.v1\\model.sgm");

    PathBuf d("x\\model.sgm");
    EXPECT_TRUE(SetExtension(d, nullptr));
    EXPECT_EQ(d.str(), "x\\model");
    EXPECT_TRUE(SetExtension(d, ""));
    EXPECT_EQ(d.str(), "x\\model");
}

TEST(FilePathUtilEdits, SetExtensionRefusesWhatWouldNotFit)
{
    // 255 + '.' + "tga" = 259 characters: the longest that fits.
    PathBuf fits(std::string(255, 'a').c_str());
    EXPECT_TRUE(SetExtension(fits, "tga"));
    EXPECT_EQ(fits.str().size(), 259u);

    PathBuf tooLong(std::string(256, 'a').c_str());
    EXPECT_FALSE(SetExtension(tooLong, "tga"));
    EXPECT_EQ(tooLong.str(), std::string(256, 'a'));

    // Replacing an extension with a longer one is bounded as well.
    std::string name = std::string(255, 'a') + ".t";
    PathBuf replace(name.c_str());
    EXPECT_FALSE(SetExtension(replace, "tgax"));
    EXPECT_EQ(replace.str(), name);
    EXPECT_TRUE(SetExtension(replace, "tga"));
    EXPECT_EQ(replace.str().size(), 259u);
}

TEST(FilePathUtilEdits, SetFilenameKeepsTheFolder)
{
    PathBuf p("DATA:art/units\\tank.tga");
    EXPECT_TRUE(SetFilename(p, "hull.tga"));
    EXPECT_EQ(p.str(), "DATA:art/units\\hull.tga");

    PathBuf q("DATA:tank.tga");
    EXPECT_TRUE(SetFilename(q, "hull.sgm"));
    EXPECT_EQ(q.str(), "DATA:hull.sgm");

    {
        dbg::ScopedThrowOnAssert throwing;
        EXPECT_THROW(SetFilename(p, "sub\\hull.tga"), std::runtime_error);
    }
    dbg::ScopedThrowOnAssert silent(false);
    EXPECT_FALSE(SetFilename(p, "sub/hull.tga"));
    EXPECT_EQ(p.str(), "DATA:art/units\\hull.tga");

    // Folder of 250 + a name of 10 reaches 260: refused; 9 fits.
    PathBuf longer((std::string(249, 'f') + "\\x").c_str());
    EXPECT_FALSE(SetFilename(longer, "0123456789"));
    EXPECT_TRUE(SetFilename(longer, "012345678"));
    EXPECT_EQ(longer.str().size(), 259u);
}

TEST(FilePathUtilEdits, SetAliasInsertsOrReplaces)
{
    PathBuf p("art//x.tga");
    EXPECT_TRUE(SetAlias(p, "DATA"));
    EXPECT_EQ(p.str(), "DATA:art\\x.tga");
    EXPECT_TRUE(SetAlias(p, "GENERIC:"));
    EXPECT_EQ(p.str(), "GENERIC:art\\x.tga");

    dbg::ScopedThrowOnAssert silent(false);
    EXPECT_FALSE(SetAlias(p, ""));
    EXPECT_FALSE(SetAlias(p, "A:B"));
    EXPECT_FALSE(SetAlias(p, "AB::"));
    EXPECT_FALSE(SetAlias(p, ":"));
    EXPECT_EQ(p.str(), "GENERIC:art\\x.tga");
}

TEST(FilePathUtilEdits, AddPathPrefixGoesBeforeTheFilePart)
{
    PathBuf p("DATA:art\\x.tga");
    EXPECT_TRUE(AddPathPrefix(p, "low"));
    EXPECT_EQ(p.str(), "DATA:art\\low\\x.tga");
    PathBuf q("DATA:x.tga");
    EXPECT_TRUE(AddPathPrefix(q, "low\\"));
    EXPECT_EQ(q.str(), "DATA:low\\x.tga");
}

TEST(FilePathUtilEdits, JoinAndAppend)
{
    PathBuf out;
    EXPECT_TRUE(Join(out, "DATA:art//units", "tank.tga"));
    EXPECT_EQ(out.str(), "DATA:art\\units\\tank.tga");
    EXPECT_TRUE(Join(out, "art\\", "tank.tga"));
    EXPECT_EQ(out.str(), "art\\tank.tga");
    EXPECT_TRUE(Join(out, "DATA:", "tank.tga"));
    EXPECT_EQ(out.str(), "DATA:tank.tga");
    EXPECT_TRUE(Join(out, "", "tank.tga"));
    EXPECT_EQ(out.str(), "tank.tga");
    // Join leaves the name as given; Append normalises it as well.
    EXPECT_TRUE(Join(out, "art", "a/b.tga"));
    EXPECT_EQ(out.str(), "art\\a/b.tga");
    EXPECT_TRUE(Append(out, "art", "a//b.tga"));
    EXPECT_EQ(out.str(), "art\\a\\b.tga");
    // In place.
    PathBuf folder("art");
    EXPECT_TRUE(Join(folder, folder, "x"));
    EXPECT_EQ(folder.str(), "art\\x");
    // Too long.
    PathBuf keep("unchanged");
    EXPECT_FALSE(Join(keep, std::string(250, 'f').c_str(), "012345678"));
    EXPECT_EQ(keep.str(), "unchanged");
}

TEST(FilePathUtilEdits, ReplaceSearchesCaseBlindAndKeepsCase)
{
    PathBuf p("Art\\Foo.tga");
    EXPECT_TRUE(Replace(p, "art\\", "Data\\"));
    EXPECT_EQ(p.str(), "Data\\Foo.tga");

    PathBuf q("DATA:Art/Units/Tank.TGA");
    EXPECT_TRUE(Replace(q, "UNITS", "vehicles"));
    EXPECT_EQ(q.str(), "DATA:Art\\vehicles\\Tank.TGA");

    PathBuf r("DATA:Art\\Tank.TGA");
    EXPECT_FALSE(Replace(r, "missing", "x"));
    EXPECT_EQ(r.str(), "DATA:Art\\Tank.TGA");

    // A result that would reach 260 characters is refused.
    std::string longName = std::string(250, 'a') + "\\x.tga";
    PathBuf s(longName.c_str());
    EXPECT_FALSE(Replace(s, "x.tga", "0123456789.tga"));
    EXPECT_EQ(s.str(), longName);
    EXPECT_TRUE(Replace(s, "x.tga", "0123.tga"));
    EXPECT_EQ(s.str().size(), 259u);
}

TEST(FilePathUtilEdits, NormalizeKeepsNetworkPrefixAndLeadingRoot)
{
    PathBuf a("a//b///c/d");
    Normalize(a);
    EXPECT_EQ(a.str(), "a\\b\\c\\d");

    PathBuf b("\\\\server\\\\share/x");
    Normalize(b);
    EXPECT_EQ(b.str(), "\\\\server\\share\\x");

    PathBuf c("/home//artist/x");
    Normalize(c);
    EXPECT_EQ(c.str(), "\\home\\artist\\x");

    PathBuf d("DATA:\\\\art\\x");
    Normalize(d);
    EXPECT_EQ(d.str(), "DATA:\\art\\x");
}

TEST(FilePathUtilSplit, SplitPathGivesEachPiece)
{
    PathBuf alias, folder, name, ext;
    EXPECT_TRUE(SplitPath("DATA:art/units//tank.hull.tga", alias, folder, name, ext));
    EXPECT_EQ(alias.str(), "DATA");
    EXPECT_EQ(folder.str(), "art\\units\\");
    EXPECT_EQ(name.str(), "tank.hull");
    EXPECT_EQ(ext.str(), ".tga");

    EXPECT_TRUE(SplitPath("/home/artist/model", alias, folder, name, ext));
    EXPECT_EQ(alias.str(), "");
    EXPECT_EQ(folder.str(), "\\home\\artist\\");
    EXPECT_EQ(name.str(), "model");
    EXPECT_EQ(ext.str(), "");

    // A drive comes out where an alias would.
    EXPECT_TRUE(SplitPath("C:\\dir.v1\\x", alias, folder, name, nullptr));
    EXPECT_EQ(alias.str(), "C");
    EXPECT_EQ(folder.str(), "\\dir.v1\\");
    EXPECT_EQ(name.str(), "x");

    // Every output is optional.
    EXPECT_TRUE(SplitPath("DATA:x.tga", nullptr, nullptr, nullptr, ext));
    EXPECT_EQ(ext.str(), ".tga");
}

TEST(FilePathUtilSplit, SplitThenMakeGivesTheNormalisedName)
{
    const char* names[] = {"DATA:art\\units\\tank.tga",
                           "data:art/x.tga",
                           "\\home\\artist\\scene.max",
                           "\\\\server\\share\\file.sgm",
                           "TOOL:\\tmp\\x\\file",
                           "file.tar.gz",
                           "noext",
                           "GENERIC:.hidden"};
    for (const char* n : names)
    {
        PathBuf alias, folder, name, ext, out;
        ASSERT_TRUE(SplitPath(n, alias, folder, name, ext)) << n;
        ASSERT_TRUE(MakePath(out, alias, folder, name, ext)) << n;
        PathBuf expected(n);
        // Only the part after the alias is normalised.
        char* rest = std::strchr(expected.m_text, ':');
        Normalize(rest ? rest + 1 : expected.m_text);
        EXPECT_EQ(out.str(), expected.str()) << n;
    }
}

TEST(FilePathUtilSplit, MakePathAddsMissingSeparatorAndDot)
{
    PathBuf out;
    EXPECT_TRUE(MakePath(out, "DATA", "art\\units", "tank", "tga"));
    EXPECT_EQ(out.str(), "DATA:art\\units\\tank.tga");
    EXPECT_TRUE(MakePath(out, "", nullptr, "tank", nullptr));
    EXPECT_EQ(out.str(), "tank");
    EXPECT_FALSE(MakePath(out, "DATA", std::string(250, 'f').c_str(), "tank", ".tga"));
    EXPECT_EQ(out.str(), "tank");
}

TEST(FilePathUtilSplit, OverlongInputsFailCleanly)
{
    std::string tooLong(300, 'a');
    PathBuf out("kept");
    EXPECT_FALSE(SplitPath(tooLong.c_str(), out, nullptr, nullptr, nullptr));
    EXPECT_FALSE(GetFolder(tooLong.c_str(), out));
    EXPECT_FALSE(Copy(out, tooLong.c_str()));
    // A name of 260 characters is accepted, but its file part alone does not fit a path buffer.
    std::string wide(260, 'b');
    EXPECT_FALSE(SplitPath(wide.c_str(), nullptr, nullptr, out, nullptr));
}

TEST(FilePathUtilCompare, CaseAndSeparatorBlind)
{
    EXPECT_TRUE(Equal("DATA:Art\\X.tga", "data:art/x.TGA"));
    EXPECT_FALSE(Equal("DATA:art\\x.tga", "DATA:art\\x.tg"));
    EXPECT_LT(Compare("a", "B"), 0);
    EXPECT_GT(Compare("b", "A"), 0);
    EXPECT_LT(Compare("ab", "abc"), 0);
    EXPECT_TRUE(HasPrefix("\\HOME\\Artist\\x", "/home/artist/"));
    EXPECT_FALSE(HasPrefix("\\home", "\\home\\"));
    const char* text = "data:art\\units\\tank.tga";
    EXPECT_EQ(FindNoCase(text, "UNITS"), text + 9);
    EXPECT_EQ(FindNoCase(text, "tanks"), nullptr);
    EXPECT_EQ(FindNoCase(text, ""), text);

    PathBuf up("data:Art\\x");
    ToUpper(up);
    EXPECT_EQ(up.str(), "DATA:ART\\X");
    ToLower(up);
    EXPECT_EQ(up.str(), "data:art\\x");
}

TEST(FilePathUtilCompare, WildcardSpecs)
{
    EXPECT_TRUE(MatchSpec("*.*", "noext"));
    EXPECT_TRUE(MatchSpec("*.tga", "Tank.TGA"));
    EXPECT_FALSE(MatchSpec("*.tga", "tank.tgax"));
    EXPECT_TRUE(MatchSpec("t?nk*", "tank_hull.sgm"));
    EXPECT_FALSE(MatchSpec("t?nk", "tnk"));
    EXPECT_TRUE(MatchSpec("*a*b*c", "xxaxxbxxbc"));
    EXPECT_FALSE(MatchSpec("*a*b*c", "xxaxxbxxb"));
    EXPECT_TRUE(MatchSpec("*", ""));
    EXPECT_FALSE(MatchSpec("", "x"));
    EXPECT_TRUE(MatchSpec("TANK.SGM", "tank.sgm"));
}
} // namespace
