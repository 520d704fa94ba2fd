// The exporter's name rules: model names from paths, the reference file, and the data names of sources
// and textures inside a project.
#include "exporter/sgmfilename.h"
#include "exporter_fixture.h"
#include "pipeline/pipeline.h"
#include "storage/filepathutil.h"

TEST(ModelName, ReferenceFileIsNamedAfterTheModelFolderOtherFilesAfterThemselves)
{
    // clang-format off
    const std::pair<const char*, const char*> cases[] = {
        {"TOOL:c:\\art\\Walker\\REFERENCE\\REF.SGM", "Walker"},
        {"TOOL:/home/artist/units/Walker/reference/ref.sgm", "Walker"},
        {"\\units\\Scout\\Reference\\Ref.sgm", "Scout"},
        {"TOOL:c:\\art\\Walker\\run.sgm", "run"},
        {"TOOL:c:\\art\\Walker\\REF.SGM", "REF"}, // REF outside a REFERENCE folder, in the path's case
        {"ref.sgm", "ref"},
        {"/data.v2/units/Idle.sgm", "Idle"}, // a dot in a folder is no extension
    };
    // clang-format on
    for (const auto& [path, expected] : cases)
    {
        std::string name = "unset";
        GetModelName(name, path);
        EXPECT_EQ(name, expected) << path;
    }
}

TEST(ReferenceFile, TailComparedWithoutCaseButWithBackslashes)
{
    for (const char* yes : {"TOOL:c:\\art\\Walker\\REFERENCE\\REF.SGM", "c:\\art\\walker\\reference\\ref.sgm",
                            "REFERENCE\\REF.SGM"})
        EXPECT_TRUE(IsReferenceFile(yes)) << yes;
    for (const char* no : {"c:/art/walker/reference/ref.sgm", "c:\\art\\walker\\reference\\ref.sgm.bak",
                           "c:\\art\\walker\\myreference\\ref.sgx", "EFERENCE\\REF.SGM"})
        EXPECT_FALSE(IsReferenceFile(no)) << no;
}

TEST(SourcePaths, MapBehindTheSourceRootAndOutsideAnyProjectLeaveTheNameUntouched)
{
    TempFolder folder;
    exporter_test::WriteProject(folder);
    std::string out = "untouched";
    ASSERT_TRUE(SourceToData(out, (folder / "art/source/units/scout/walk.max").c_str()));
    EXPECT_EQ(out, "DATA:/units/scout/walk.max");
    ASSERT_TRUE(SourceToRoot(out, (folder / "art/source/units/scout/walk.max").c_str(), DataGeneric));
    EXPECT_TRUE(FilePathUtil::Equal(out.c_str(), (folder / "art/generic/units/scout/walk.max").c_str()))
        << out;
    EXPECT_FALSE(Pipeline::IsInitialized());
    out = "untouched";
    // A folder that only begins like the source root is not inside it.
    EXPECT_FALSE(SourceToData(out, (folder / "art/sourcery/x.max").c_str()));
    EXPECT_FALSE(SourceToRoot(out, (folder / "elsewhere/x.max").c_str(), DataGeneric));
    TempFolder bare; // no pipeline.ini anywhere above /tmp
    EXPECT_FALSE(SourceToData(out, (bare / "x.max").c_str()));
    EXPECT_EQ(out, "untouched");
    EXPECT_TRUE(GetTextureName(out, (folder / "art/source/units/scout/textures/Scout_Body.tga").c_str()));
    EXPECT_EQ(out, "Scout_Body.tga");
    EXPECT_TRUE(GetTextureName(out, (folder / "outside/skin.tga").c_str()));
    EXPECT_EQ(out, "");
}

// The host lists the one file type the exporter writes, and nothing past it.
TEST(ExporterFileType, OneExtensionSgm)
{
    SGMExport exporter;
    EXPECT_EQ(exporter.ExtCount(), 1);
    EXPECT_STREQ(exporter.Ext(0), "SGM");
    EXPECT_STREQ(exporter.Ext(1), "");
}
