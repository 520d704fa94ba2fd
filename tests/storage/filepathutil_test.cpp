#include "storage/filepathutil.h"

#include "foundation/debug.h"

#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <string>

namespace
{
using namespace FilePathUtil;

struct PathBuf
{
    explicit PathBuf(const std::string& text = "") { std::strcpy(m_text, text.c_str()); }
    char m_text[MAXPATH];
    operator char*() { return m_text; }
    std::string str() const { return m_text; }
};

const std::string s_a255(255, 'a');
const std::string s_f249x = std::string(249, 'f') + "\\x";
const std::string s_a250x = std::string(250, 'a') + "\\x.tga";

// An edit of a path buffer in place: what it starts as, the call, its result and what it becomes.
struct EditCase
{
    std::string before;
    std::function<bool(char*)> edit;
    bool ok;
    std::string after;
};

TEST(FilePathUtilEdits, EditsInPlace)
{
#define E(...) [](char* p) { return __VA_ARGS__; }
    // clang-format off
    const EditCase cases[] = {
        {"a.b", E(SetExtension(p, ".tga")), true, "a.tga"},
        {"dir.v1\\model", E(SetExtension(p, "sgm")), true, "dir.v1\\model.sgm"},
        {"x\\model.sgm", E(SetExtension(p, nullptr)), true, "x\\model"},
        // 255 + '.' + "tga" = 259 characters: the longest that fits; a longer one is refused whole.
        {s_a255, E(SetExtension(p, "tga")), true, s_a255 + ".tga"},
        {s_a255 + "a", E(SetExtension(p, "tga")), false, s_a255 + "a"},
        {s_a255 + ".t", E(SetExtension(p, "tgax")), false, s_a255 + ".t"},
        {s_a255 + ".t", E(SetExtension(p, "tga")), true, s_a255 + ".tga"},
        {"DATA:art/units\\tank.tga", E(SetFilename(p, "hull.tga")), true, "DATA:art/units\\hull.tga"},
        {"DATA:tank.tga", E(SetFilename(p, "sub/hull.tga")), false, "DATA:tank.tga"},
        // A folder of 250 and a name of 10 reach 260: refused; 9 fits.
        {s_f249x, E(SetFilename(p, "0123456789")), false, s_f249x},
        {s_f249x, E(SetFilename(p, "012345678")), true, std::string(249, 'f') + "\\012345678"},
        {"art//x.tga", E(SetAlias(p, "DATA")), true, "DATA:art\\x.tga"},
        {"DATA:art\\x.tga", E(SetAlias(p, "GENERIC:")), true, "GENERIC:art\\x.tga"},
        {"DATA:x", E(SetAlias(p, "")), false, "DATA:x"},
        {"DATA:x", E(SetAlias(p, "A:B")), false, "DATA:x"},
        {"DATA:x", E(SetAlias(p, "AB::")), false, "DATA:x"},
        {"DATA:art\\x.tga", E(AddPathPrefix(p, "low")), true, "DATA:art\\low\\x.tga"},
        {"DATA:x.tga", E(AddPathPrefix(p, "low\\")), true, "DATA:low\\x.tga"},
        // Replace searches without regard to case and keeps the case of the rest.
        {"Art\\Foo.tga", E(Replace(p, "art\\", "Data\\")), true, "Data\\Foo.tga"},
        {"DATA:Art/Units/Tank.TGA", E(Replace(p, "UNITS", "vehicles")), true, "DATA:Art\\vehicles\\Tank.TGA"},
        {"DATA:Art\\Tank.TGA", E(Replace(p, "missing", "x")), false, "DATA:Art\\Tank.TGA"},
        {s_a250x, E(Replace(p, "x.tga", "01234.tga")), false, s_a250x}, // 260: no room for the end
        {s_a250x, E(Replace(p, "x.tga", "0123.tga")), true, std::string(250, 'a') + "\\0123.tga"},
        // Normalize keeps a network prefix and a leading root.
        {"\\\\server\\\\share/x", E(Normalize(p), true), true, "\\\\server\\share\\x"},
        {"/home//artist/x", E(Normalize(p), true), true, "\\home\\artist\\x"},
        {"DATA:\\\\art\\x", E(Normalize(p), true), true, "DATA:\\art\\x"},
        {"data:Art\\x", E(ToUpper(p), true), true, "DATA:ART\\X"},
        {"DATA:Art\\X", E(ToLower(p), true), true, "data:art\\x"},
        // Join leaves the name as given; Append normalises it as well.
        {"", E(Join(p, "DATA:art//units", "tank.tga")), true, "DATA:art\\units\\tank.tga"},
        {"", E(Join(p, "DATA:", "tank.tga")), true, "DATA:tank.tga"},
        {"", E(Join(p, "", "tank.tga")), true, "tank.tga"},
        {"", E(Append(p, "art", "a//b.tga")), true, "art\\a\\b.tga"},
        {"art", E(Join(p, p, "x")), true, "art\\x"},
        {"kept", E(Join(p, std::string(250, 'f').c_str(), "012345678")), false, "kept"},
        {"", E(MakePath(p, "DATA", "art\\units", "tank", "tga")), true, "DATA:art\\units\\tank.tga"},
        {"", E(MakePath(p, "", nullptr, "tank", nullptr)), true, "tank"},
        {"kept", E(MakePath(p, "DATA", std::string(250, 'f').c_str(), "tank", ".tga")), false, "kept"},
        {"kept", E(MakePath(p, "DATA", std::string(300, 'f').c_str(), "n", "e")), false, "kept"},
        {"kept", E(Copy(p, std::string(300, 'a').c_str())), false, "kept"},
        {"kept", E(MakePath(p, nullptr, "f", "n", "e")), false, "kept"}, // no alias given
    };
    // clang-format on
#undef E
    dbg::ScopedThrowOnAssert silent(false);
    for (const EditCase& c : cases)
    {
        PathBuf path(c.before);
        EXPECT_EQ(c.edit(path), c.ok) << c.before << " -> " << c.after;
        EXPECT_EQ(path.str(), c.after) << c.before;
    }
}

TEST(FilePathUtilNames, PiecesOfAName)
{
    const char* name = "DATA:Art\\Units.v2\\Tank.Hull.TGA";
    const char* bare = "art\\units.v2\\tank";
    EXPECT_STREQ(GetFilenamePtr(name), "Tank.Hull.TGA");
    EXPECT_STREQ(GetExtensionPtr(name), "TGA");
    // No extension: the pointer form hands back the name itself, the copy form gives "".
    EXPECT_EQ(GetExtensionPtr(bare), bare);
    using Get = bool (*)(const char*, char*);
    // clang-format off
    const std::tuple<Get, const char*, const char*> cases[] = {
        {GetExtension, bare, ""}, {GetExtension, name, "TGA"}, {GetBaseName, name, "Tank.Hull"}, {GetBaseName, bare, "tank"},
        {GetAlias, name, "DATA"}, {GetAlias, bare, ""}, {GetFolder, "DATA:art//units/tank.tga", "art\\units"}, {GetFolder, "tank.tga", ""}};
    for (const auto& [get, from, expected] : cases)
    {
        PathBuf out("junk");
        EXPECT_TRUE(get(from, out) && out.str() == expected) << from << " " << out.str();
    }
    // An alias needs two letters before the colon; a drive is none.
    for (const auto& [text, has] : {std::pair{"C:\\x", false}, {"DATA:x", true}, {"AB:x", true}, {"art\\x.tga", false}, {":x", false}})
        EXPECT_EQ(HasAlias(text), has) << text;
    // Case and a leading dot don't count; a dot in a folder is no extension.
    for (const auto& [text, ext, has] : {std::tuple{"x\\a.TGA", "tga", true}, {"x\\a.tga", ".TGA", true}, {"x\\a.tga", "tg", false},
                                         {"x\\a.tgax", "tga", false}, {"x.tga\\a", "tga", false}, {"x.tga\\a", "", true}})
        EXPECT_EQ(HasExtension(text, ext), has) << text << " " << ext;
    // clang-format on
}

TEST(FilePathUtilSplit, SplitPathGivesEachPiece)
{
    const std::tuple<const char*, const char*, const char*, const char*, const char*> cases[] = {
        {"DATA:art/units//tank.hull.tga", "DATA", "art\\units\\", "tank.hull", ".tga"},
        {"/home/artist/model", "", "\\home\\artist\\", "model", ""},
        {"C:\\dir.v1\\x", "C", "\\dir.v1\\", "x", ""}, // a drive comes out where an alias would
    };
    for (const auto& [path, alias, folder, name, ext] : cases)
    {
        PathBuf a, f, n, e;
        EXPECT_TRUE(SplitPath(path, a, f, n, e)) << path;
        EXPECT_EQ(a.str() + "|" + f.str() + "|" + n.str() + "|" + e.str(),
                  std::string(alias) + "|" + folder + "|" + name + "|" + ext);
    }
    PathBuf out("kept");
    EXPECT_FALSE(GetFolder(std::string(300, 'a').c_str(), out));
    // A name of 260 characters is accepted, but its file part alone does not fit a path buffer.
    EXPECT_FALSE(SplitPath(std::string(260, 'b').c_str(), nullptr, nullptr, out, nullptr));
    PathBuf folder;
    EXPECT_TRUE(SplitPath((std::string(200, 'f') + "\\" + std::string(59, 'n')).c_str(), nullptr, folder, out,
                          nullptr));
    EXPECT_EQ(out.str(), std::string(59, 'n'));
}

TEST(FilePathUtilCompare, CaseAndSeparatorBlind)
{
    EXPECT_TRUE(Equal("DATA:Art\\X.tga", "data:art/x.TGA"));
    EXPECT_FALSE(Equal("DATA:art\\x.tga", "DATA:art\\x.tg"));
    EXPECT_TRUE(Compare("a", "B") < 0 && Compare("b", "A") > 0 && Compare("ab", "abc") < 0);
    EXPECT_TRUE(HasPrefix("\\HOME\\Artist\\x", "/home/artist/"));
    EXPECT_FALSE(HasPrefix("\\home", "\\home\\"));
    const char* text = "data:art\\units\\tank.tga";
    EXPECT_TRUE(FindNoCase(text, "UNITS") == text + 9 && !FindNoCase(text, "tanks") &&
                FindNoCase(text, "") == text);
    // clang-format off
    const std::tuple<const char*, const char*, bool> wildcards[] = {
        {"*.*", "noext", true}, {"*.tga", "Tank.TGA", true}, {"*.tga", "tank.tgax", false}, {"t?nk*", "tank_hull.sgm", true},
        {"t?nk", "tnk", false}, {"*a*b*c", "xxaxxbxxbc", true}, {"*a*b*c", "xxaxxbxxb", false}, {"*", "", true}, {"", "x", false}};
    // clang-format on
    for (const auto& [wildcard, name, match] : wildcards)
        EXPECT_EQ(MatchSpec(wildcard, name), match) << wildcard << " " << name;
}
} // namespace
