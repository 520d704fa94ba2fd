#include "inventory/resourcetypeinfo.h"

#include "foundation/debug.h"

#include <gtest/gtest.h>

#include <string>

namespace
{
std::string Translate(const char* name, bool stripAlias = true, bool stripExtension = true)
{
    char out[Inv::MaxResourceName];
    InvTypeNameTranslate(out, name, stripAlias, stripExtension);
    return out;
}
} // namespace

TEST(InvTypeNameTranslate, AliasSeparatorsExtensionAndCase)
{
    EXPECT_EQ(Translate("DATA:Art\\Models\\Foo.sgm"), "art/models/foo");
    EXPECT_EQ(Translate("DATA:Art\\Models\\Foo.sgm", false, true), "data:art/models/foo");
    EXPECT_EQ(Translate("DATA:Art\\Models\\Foo.sgm", true, false), "art/models/foo.sgm");
    // The last ':' and the last '.' count, wherever they are.
    EXPECT_EQ(Translate("TOOL:C:\\Work\\a.b\\Walker"), "/work/a");
    EXPECT_EQ(Translate("art/a.tar.gz"), "art/a.tar");
    EXPECT_EQ(Translate(""), "");
}

TEST(InvTypeNameTranslate, LongNamesAreCutAndNullIsAnAssertion)
{
    const std::string longName(400, 'A');
    EXPECT_EQ(Translate(longName.c_str()), std::string(Inv::MaxResourceName - 1, 'a'));

    char out[Inv::MaxResourceName] = "old";
    {
        dbg::ScopedThrowOnAssert throwing;
        EXPECT_THROW(InvTypeNameTranslate(out, nullptr, true, true), std::runtime_error);
        EXPECT_THROW(InvTypeNameTranslate(nullptr, "a", true, true), std::runtime_error);
    }
    dbg::ScopedThrowOnAssert passed(false);
    InvTypeNameTranslate(out, nullptr, true, true);
    EXPECT_STREQ(out, "");
}
