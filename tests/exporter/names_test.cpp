// The exporter's name rules: model names from paths, the reference file, normalised paths.
#include "exporter/sgmfilename.h"

#include <gtest/gtest.h>

#include <string>

namespace
{
std::string ModelName(const char* path)
{
    std::string name = "unset";
    GetModelName(name, path);
    return name;
}
} // namespace

TEST(ModelName, ReferenceFileIsNamedAfterTheModelFolder)
{
    EXPECT_EQ(ModelName("TOOL:c:\\art\\Walker\\REFERENCE\\REF.SGM"), "Walker");
    EXPECT_EQ(ModelName("TOOL:/home/artist/units/Walker/reference/ref.sgm"), "Walker");
    EXPECT_EQ(ModelName("\\units\\Scout\\Reference\\Ref.sgm"), "Scout");
}

TEST(ModelName, OtherFilesAreNamedAfterThemselves)
{
    EXPECT_EQ(ModelName("TOOL:c:\\art\\Walker\\run.sgm"), "run");
    // REF outside a REFERENCE folder stays REF, in the path's case.
    EXPECT_EQ(ModelName("TOOL:c:\\art\\Walker\\REF.SGM"), "REF");
    EXPECT_EQ(ModelName("TOOL:c:\\art\\Walker\\Ref.sgm"), "Ref");
    EXPECT_EQ(ModelName("ref.sgm"), "ref");
    // A dot in a folder is no extension.
    EXPECT_EQ(ModelName("/data.v2/units/Idle.sgm"), "Idle");
}

TEST(ReferenceFile, TailComparedWithoutCaseButWithBackslashes)
{
    EXPECT_TRUE(IsReferenceFile("TOOL:c:\\art\\Walker\\REFERENCE\\REF.SGM"));
    EXPECT_TRUE(IsReferenceFile("c:\\art\\walker\\reference\\ref.sgm"));
    EXPECT_TRUE(IsReferenceFile("REFERENCE\\REF.SGM"));
    EXPECT_FALSE(IsReferenceFile("c:/art/walker/reference/ref.sgm"));
    EXPECT_FALSE(IsReferenceFile("c:\\art\\walker\\reference\\ref.sgm.bak"));
    EXPECT_FALSE(IsReferenceFile("c:\\art\\walker\\myreference\\ref.sgx"));
    EXPECT_FALSE(IsReferenceFile("EFERENCE\\REF.SGM"));
    EXPECT_FALSE(IsReferenceFile(nullptr));
}

TEST(NormalisedPath, ForwardSlashesAndLowerCase)
{
    std::string out;
    NormalisePath(out, "DATA:\\Units\\Scout\\REF");
    EXPECT_EQ(out, "data:/units/scout/ref");
    NormalisePath(out, "");
    EXPECT_EQ(out, "");
}
