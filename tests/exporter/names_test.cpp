// The exporter's name rules: model names from paths, the reference file, normalised paths, and the
// data names of sources, textures and XRefs inside a project.
#include "exporter/sgmfilename.h"
#include "exporter_fixture.h"
#include "pipeline/pipeline.h"
#include "storage/filepathutil.h"
#include "support/tempfolder.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <utility>

TEST(ModelName, ReferenceFileIsNamedAfterTheModelFolderOtherFilesAfterThemselves)
{
    // clang-format off
    const std::pair<const char*, const char*> cases[] = {
        {"TOOL:c:\\art\\Walker\\REFERENCE\\REF.SGM", "Walker"},
        {"TOOL:/home/artist/units/Walker/reference/ref.sgm", "Walker"},
        {"\\units\\Scout\\Reference\\Ref.sgm", "Scout"},
        {"TOOL:c:\\art\\Walker\\run.sgm", "run"},
        {"TOOL:c:\\art\\Walker\\REF.SGM", "REF"}, // REF outside a REFERENCE folder, in the path's case
        {"TOOL:c:\\art\\Walker\\Ref.sgm", "Ref"},
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
// A project "Art" (source under art/source, data under art/final) with a file in its source tree.
struct ProjectTree
{
    ProjectTree()
    {
        exporter_test::WriteProject(folder);
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
    auto xref = [&](const char* name, const std::string& file, const char* more = "")
    {
        return R"({"name": ")" + std::string(name) + R"(", )" + more + R"("xref": {"file": ")" + file +
               R"("}, "object": {"class": "triObject"}},)";
    };
    auto pScene = exporter_test::ReadScene(
        R"({"nodes": [)" + xref("Walls", tree.Source("units/Walls/Reference/REF.max")) +
        xref("Crate", tree.Source("props/Crate.max")) + xref("Loose", tree.Source("props/ref.max")) +
        xref("Forced", tree.Source("props/Crate.max"), R"("userProperties": "ForceLocal", )") +
        xref("Stray", "/nowhere/stray.max") + R"({"name": "Plain", "object": {"class": "editableMesh"}}]})");
    ASSERT_NE(pScene, nullptr);
    // "ref" outside a "reference" folder names itself; outside every project there is no data name.
    // clang-format off
    const std::tuple<const char*, bool, const char*> cases[] = {
        {"Walls", true, "/units/walls"},
        {"Crate", true, "/props/crate"},
        {"Loose", true, "/props/ref"},
        {"Forced", false, ""},
        {"Stray", true, ""},
        {"Plain", false, ""},
    };
    // clang-format on
    for (const auto& [node, found, expected] : cases)
    {
        std::string name = "old";
        EXPECT_EQ(GetXRefName(pScene->FindNode(node), name), found) << node;
        EXPECT_EQ(name, expected) << node;
    }
}
