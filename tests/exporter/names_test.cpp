// The exporter's name rules: model names from paths, the reference file, normalised paths.
#include "exporter/sgmfilename.h"
#include "exporter_fixture.h"
#include "pipeline/pipeline.h"
#include "storage/filepathutil.h"
#include "support/tempfolder.h"

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

namespace
{
// A project tree "Art" with its pipeline.ini: source under art/source, data under art/final.
struct ProjectTree
{
    ProjectTree()
    {
        folder.Write("pipeline.ini", "[Global]\r\n"
                                     "ToolsData=tools\r\n"
                                     "[project:Art]\r\n"
                                     "Description=Art\r\n"
                                     "DataSource=art/source\r\n"
                                     "DataSourceShared=art/shared\r\n"
                                     "DataBurn=art/burn\r\n"
                                     "DataIntermediate=art/intermediate\r\n"
                                     "DataGeneric=art/generic\r\n"
                                     "DataFinal=art/final\r\n"
                                     "DataPreview=art/preview\r\n"
                                     "LocaleFolder=art/locale\r\n"
                                     "AttrLoc=attrib\r\n"
                                     "Parent=\r\n");
        folder.Write("art/source/units/scout/reference/ref.max", "");
    }
    std::string Source(const std::string& tail) const { return folder / ("art/source/" + tail); }
    TempFolder folder;
};
} // namespace

TEST(SourcePaths, MapBehindTheSourceRoot)
{
    ProjectTree tree;
    std::string out = "untouched";
    ASSERT_TRUE(SourceToData(out, tree.Source("units/scout/walk.max").c_str()));
    EXPECT_EQ(out, "DATA:/units/scout/walk.max");

    ASSERT_TRUE(SourceToRoot(out, tree.Source("units/scout/walk.max").c_str(), DataGeneric));
    // The root as the pipeline holds it, then the source name's tail as written.
    EXPECT_TRUE(out.ends_with("/units/scout/walk.max")) << out;
    EXPECT_TRUE(FilePathUtil::Equal(out.c_str(), (tree.folder / "art/generic/units/scout/walk.max").c_str()))
        << out;
    EXPECT_FALSE(Pipeline::IsInitialized());
}

TEST(SourcePaths, OutsideAnyProjectLeavesTheNameUntouched)
{
    ProjectTree tree;
    std::string out = "untouched";
    // A folder that only begins like the source root is not inside it.
    EXPECT_FALSE(SourceToData(out, (tree.folder / "art/sourcery/x.max").c_str()));
    EXPECT_FALSE(SourceToRoot(out, (tree.folder / "elsewhere/x.max").c_str(), DataGeneric));
    EXPECT_EQ(out, "untouched");
    EXPECT_FALSE(Pipeline::IsInitialized());

    TempFolder bare; // no pipeline.ini anywhere above /tmp
    EXPECT_FALSE(SourceToData(out, (bare / "x.max").c_str()));
    EXPECT_EQ(out, "untouched");
}

TEST(SourcePaths, TextureNameIsFileAndExtensionOfTheDataName)
{
    ProjectTree tree;
    std::string name = "old";
    EXPECT_TRUE(GetTextureName(name, tree.Source("units/scout/textures/Scout_Body.tga").c_str()));
    EXPECT_EQ(name, "Scout_Body.tga");
    EXPECT_TRUE(GetTextureName(name, (tree.folder / "outside/skin.tga").c_str()));
    EXPECT_EQ(name, "");
}

TEST(XRefNames, NameTheModelFolderBelowTheDataRoot)
{
    ProjectTree tree;
    const std::string json = R"J({"nodes": [
        {"name": "Walls", "xref": {"file": ")J" +
                             tree.Source("units/Walls/Reference/REF.max") + R"J("},
         "object": {"class": "triObject"}},
        {"name": "Crate", "xref": {"file": ")J" +
                             tree.Source("props/Crate.max") + R"J("},
         "object": {"class": "triObject"}},
        {"name": "Loose", "xref": {"file": ")J" +
                             tree.Source("props/ref.max") + R"J("},
         "object": {"class": "triObject"}},
        {"name": "Forced", "userProperties": "ForceLocal",
         "xref": {"file": ")J" +
                             tree.Source("props/Crate.max") + R"J("}, "object": {"class": "triObject"}},
        {"name": "Plain", "object": {"class": "editableMesh"}}]})J";
    auto pScene = exporter_test::ReadScene(json);
    ASSERT_NE(pScene, nullptr);
    std::string name = "old";
    EXPECT_TRUE(GetXRefName(pScene->FindNode("Walls"), name));
    EXPECT_EQ(name, "/units/walls");
    EXPECT_TRUE(GetXRefName(pScene->FindNode("Crate"), name));
    EXPECT_EQ(name, "/props/crate");
    // "ref" outside a "reference" folder names itself.
    EXPECT_TRUE(GetXRefName(pScene->FindNode("Loose"), name));
    EXPECT_EQ(name, "/props/ref");
    EXPECT_FALSE(GetXRefName(pScene->FindNode("Forced"), name));
    EXPECT_EQ(name, "");
    EXPECT_FALSE(GetXRefName(pScene->FindNode("Plain"), name));
}
