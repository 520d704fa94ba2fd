// The export session: the plug-in's entry points, the options and the run of DoExport from log to
// tear-down, with a recording stand-in for the host's dialogs and listener.
#include "exporter/consoleui.h"
#include "exporter/exportui.h"
#include "exporter/sgmerrors.h"
#include "exporter/sgmexport.h"
#include "exporter/sgmexportclassdesc.h"
#include "exporter_fixture.h"
#include "inventory/warehouse.h"
#include "logging/processlog.h"
#include "render/device.h"
#include "storage/filepath.h"
#include "storage/filepathutil.h"
#include "support/tempfolder.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

namespace
{
// The dialogs as a test sees them: the options dialog answers `answer` and may change the boxes.
class RecordingUI : public ExportUI
{
public:
    int OptionsDialog(SGMExportOptions& options) override
    {
        ++dialogs;
        if (clearMeshes)
            options.exportMeshes = false;
        return answer;
    }
    void ShowMessages(const std::vector<std::string>& cMessage) override
    {
        ++shown;
        messages = cMessage;
        if (!throwText.empty())
            throw std::runtime_error(throwText);
    }
    void ListenerPrint(const char* text) override { listener += text; }

    int answer = 1;
    bool clearMeshes = false;
    std::string throwText; // thrown from the errors dialog when set
    int dialogs = 0;
    int shown = 0;
    std::vector<std::string> messages;
    std::string listener;
};

// A bone with a rigid triangle on it and a material: exports without a message.
const char* const CleanScene = R"J({
  "materials": [{"name": "Hull", "class": "standard"}],
  "nodes": [
    {"name": "Body", "bone": true, "object": {"class": "box"}},
    {"name": "Hull", "parent": "Body", "material": "Hull",
     "object": {"class": "editableMesh", "mesh": {"vertices": [[0,0,0],[1,0,0],[0,1,0]], "faces": [[0,1,2]]}}}]})J";

// The internal form of a full path: '\\' between names, as the host hands names over.
std::string Internal(const std::string& path)
{
    char name[FilePathUtil::MAXPATH];
    EXPECT_TRUE(FilePathUtil::Copy(name, path.c_str()));
    FilePathUtil::Normalize(name);
    return name;
}

// No collector, device, alias or inventory. The inventory is asked by making one, which only
// succeeds (quietly) when none is there.
bool NothingIsUp()
{
    const bool down =
        !SGMErrors::Exists() && fr::Interface::GetDevice() == nullptr && !FilePath::IsAliased("TOOL:x");
    if (!Inv::Warehouse::Create())
        return false;
    Inv::Warehouse::Destroy();
    return down;
}

class Session : public ::testing::Test
{
protected:
    void TearDown() override
    {
        // A cancelled export leaves its log running, as in the host; no test may pass it on.
        if (ProcessLog::IsStarted())
            ProcessLog::Stop(0);
    }

    int Export(const std::string& json, const std::string& file, int suppressPrompts = 0)
    {
        m_pScene = exporter_test::ReadScene(json);
        if (m_pScene == nullptr)
            return -1;
        m_exporter.SetUI(&m_ui);
        return m_exporter.DoExport(Internal(file).c_str(), nullptr, m_pScene.get(), suppressPrompts);
    }

    TempFolder m_folder;
    RecordingUI m_ui;
    SGMExport m_exporter;
    std::unique_ptr<scene::Scene> m_pScene;
};
} // namespace

TEST(PluginEntry, LibraryExportsAndClassDescriptor)
{
    EXPECT_EQ(LibVersion(), 0x17700D00ul);
    EXPECT_EQ(LibNumberClasses(), 1);
    EXPECT_EQ(LibClassDesc(1), nullptr);
    ASSERT_NE(LibDescription(), nullptr);
    EXPECT_NE(std::string(LibDescription()).find("Halvane Exporter"), std::string::npos);

    auto* pDesc = static_cast<host::ClassDesc2*>(LibClassDesc(0));
    ASSERT_NE(pDesc, nullptr);
    EXPECT_EQ(pDesc->IsPublic(), 1);
    EXPECT_EQ(pDesc->SuperClassID(), 0xA20u);
    EXPECT_EQ(pDesc->ClassID(), host::Class_ID(0x43F317C7, 0x24937085));
    EXPECT_STREQ(pDesc->ClassName(), "Halvane Exporter");
    EXPECT_STREQ(pDesc->Category(), "Scene Exporter");
    EXPECT_STREQ(pDesc->InternalName(), "SGMExport");
    EXPECT_EQ(pDesc->BeginCreate(nullptr), 0);
    EXPECT_EQ(pDesc->EndCreate(nullptr), 0);
    EXPECT_NE(pDesc->HInstance(), nullptr);

    std::unique_ptr<SGMExport> pExport(static_cast<SGMExport*>(pDesc->Create(1)));
    ASSERT_NE(pExport, nullptr);
    EXPECT_EQ(pExport->ExtCount(), 1);
    EXPECT_STREQ(pExport->Ext(0), "SGM");
    EXPECT_STREQ(pExport->Ext(1), "");
    EXPECT_STREQ(pExport->LongDesc(), "Halvane Exporter");
    EXPECT_STREQ(pExport->ShortDesc(), "Halvane Exporter");
    EXPECT_STREQ(pExport->OtherMessage1(), "");
    EXPECT_STREQ(pExport->OtherMessage2(), "");
    EXPECT_EQ(pExport->Version(), 2u);
    EXPECT_EQ(pExport->SupportsOptions(0, 0), 0);
    EXPECT_EQ(GetString(1), nullptr);
    EXPECT_EQ(GetString(9), nullptr);
}

TEST(MessageCollector, PrefixesCountsAndOneShowing)
{
    RecordingUI ui;
    SGMErrors::Create(nullptr, nullptr, &ui);
    SGMErrors* pErrors = SGMErrors::Get();
    pErrors->Show();
    EXPECT_EQ(ui.shown, 0); // nothing to show, no dialog

    pErrors->Warning("Texture [%s] has no UVGen.", "Skin");
    pErrors->Error("Mesh '%s' assigned to invalid bone! (Removed from Skeleton?)", "Hull");
    pErrors->Warning("plain");
    EXPECT_EQ(pErrors->GetErrorCount(), 1);
    EXPECT_EQ(pErrors->GetWarningCount(), 2);
    EXPECT_EQ(
        pErrors->GetMessages(),
        (std::vector<std::string>{"Warning : Texture [Skin] has no UVGen.",
                                  "Error   : Mesh 'Hull' assigned to invalid bone! (Removed from Skeleton?)",
                                  "Warning : plain"}));
    pErrors->Show();
    EXPECT_EQ(ui.shown, 1);
    EXPECT_EQ(ui.messages, pErrors->GetMessages());

    // An overlong text is cut to the buffer, prefix included.
    pErrors->Error("%s", std::string(1000, 'x').c_str());
    EXPECT_EQ(pErrors->GetMessages().back().size(), 263u);

    pErrors->Clear();
    EXPECT_TRUE(pErrors->GetMessages().empty());
    EXPECT_EQ(pErrors->GetErrorCount(), 0);
    EXPECT_EQ(pErrors->GetWarningCount(), 0);
    SGMErrors::Destroy();
    EXPECT_FALSE(SGMErrors::Exists());

    dbg::ScopedThrowOnAssert throwOnAssert;
    EXPECT_THROW(SGMErrors::Get(), std::runtime_error);
    EXPECT_THROW(SGMErrors::Destroy(), std::runtime_error);
}

TEST_F(Session, CleanExportWritesModelAndLogAndTakesEverythingDown)
{
    std::filesystem::create_directories(m_folder / "units/scout");
    const std::string file = m_folder / "units/scout/walk.sgm";
    EXPECT_EQ(Export(CleanScene, file), 1);
    EXPECT_EQ(m_ui.dialogs, 1);
    EXPECT_EQ(m_ui.shown, 0);
    EXPECT_TRUE(std::filesystem::is_regular_file(file));
    EXPECT_TRUE(NothingIsUp());
    EXPECT_FALSE(ProcessLog::IsStarted());
    const std::string log = TempFolder::Read(m_folder / "units/scout/walk.log");
    EXPECT_NE(log.find("Exporting File"), std::string::npos);
    EXPECT_NE(log.find("======== end ============="), std::string::npos);
    EXPECT_NE(log.find("closed without errors"), std::string::npos);
    EXPECT_TRUE(m_exporter.GetMeshNodes().empty());
    EXPECT_TRUE(m_exporter.GetBoneNodes().empty());
}

TEST_F(Session, MissingFoldersOfTheOutputAreMade)
{
    const std::string file = m_folder / "units/Scout/reference/ref.sgm";
    EXPECT_EQ(Export(CleanScene, file), 1);
    EXPECT_TRUE(std::filesystem::is_regular_file(file));
}

TEST_F(Session, LogIsNamedFromTheFirstDot)
{
    std::filesystem::create_directories(m_folder / "data.v2");
    EXPECT_EQ(Export(CleanScene, m_folder / "data.v2/model.sgm"), 1);
    EXPECT_TRUE(std::filesystem::is_regular_file(m_folder / "data.v2/model.sgm"));
    EXPECT_TRUE(std::filesystem::is_regular_file(m_folder / "data.log"));
    EXPECT_FALSE(std::filesystem::exists(m_folder / "data.v2/model.log"));
}

TEST_F(Session, CancelReturnsOneAndLeavesNothingButTheLog)
{
    m_ui.answer = 0;
    const std::string file = m_folder / "walk.sgm";
    EXPECT_EQ(Export(CleanScene, file), 1);
    EXPECT_EQ(m_ui.dialogs, 1);
    EXPECT_FALSE(std::filesystem::exists(file));
    EXPECT_TRUE(NothingIsUp());
    EXPECT_TRUE(ProcessLog::IsStarted());
}

TEST_F(Session, OnlyPromptValueOneSuppressesTheDialog)
{
    m_ui.answer = 0;
    // 2 counts as false: the dialog opens (and cancels).
    EXPECT_EQ(Export(CleanScene, m_folder / "a.sgm", 2), 1);
    EXPECT_EQ(m_ui.dialogs, 1);
    EXPECT_FALSE(std::filesystem::exists(m_folder / "a.sgm"));
    ProcessLog::Stop(0);

    EXPECT_EQ(Export(CleanScene, m_folder / "b.sgm", 1), 1);
    EXPECT_EQ(m_ui.dialogs, 1);
    // Not a reference file: animation only, and the scene has no animation to speak of, yet the
    // mesh group is built and the file written.
    EXPECT_TRUE(std::filesystem::exists(m_folder / "b.sgm"));
}

TEST_F(Session, SuppressedPromptsFollowTheReferenceFileRule)
{
    auto pScene = exporter_test::ReadScene(CleanScene);
    ASSERT_NE(pScene, nullptr);
    m_exporter.SetUI(&m_ui);
    struct Case
    {
        std::string name;
        bool meshes;
    };
    const Case cases[] = {
        {Internal(m_folder / "scout/REFERENCE/REF.SGM"), true},
        {Internal(m_folder / "scout/reference/ref.sgm"), true},
        {m_folder / "scout/reference/ref.sgm", false}, // forward slashes never match
        {Internal(m_folder / "scout/walk.sgm"), false},
        {Internal(m_folder / "scout/REF.SGM"), false},
    };
    for (const Case& c : cases)
    {
        SGMExportOptions options;
        options.xrefLocal = true;
        ASSERT_TRUE(m_exporter.InitExport(options, c.name.c_str(), pScene.get(), true)) << c.name;
        EXPECT_EQ(options.exportMeshes, c.meshes) << c.name;
        EXPECT_EQ(options.exportAnimation, !c.meshes) << c.name;
        EXPECT_FALSE(options.xrefLocal);
        EXPECT_TRUE(options.exportShaders);
        EXPECT_EQ(options.filename, "TOOL:" + c.name);
        EXPECT_EQ(options.time, 0);
        m_exporter.ShutdownExport();
    }
    EXPECT_EQ(m_ui.dialogs, 0);
    EXPECT_TRUE(NothingIsUp());
}

TEST_F(Session, InitBringsUpAliasCollectorDeviceAndInventoryAndNamesTheModel)
{
    auto pScene = exporter_test::ReadScene(CleanScene);
    ASSERT_NE(pScene, nullptr);
    m_exporter.SetUI(&m_ui);
    SGMExportOptions options;
    const std::string name = Internal(m_folder / "Walker/Reference/Ref.sgm");
    ASSERT_TRUE(m_exporter.InitExport(options, name.c_str(), pScene.get(), false));
    EXPECT_EQ(m_ui.dialogs, 1);
    EXPECT_TRUE(options.exportMeshes);
    EXPECT_TRUE(options.exportAnimation);
    EXPECT_EQ(options.modelName, "Walker");
    EXPECT_TRUE(SGMErrors::Exists());
    EXPECT_NE(fr::Interface::GetDevice(), nullptr);
    EXPECT_TRUE(FilePath::IsAliased("TOOL:x"));
    m_exporter.ShutdownExport();
    EXPECT_TRUE(NothingIsUp());
}

TEST_F(Session, IgnoreShadersIsFoundByNameInAnyCase)
{
    const std::string scene = R"J({
      "fileProperties": [{"id": 4, "value": "numbered"}, {"name": "ignoreSHADERS", "value": false}],
      "nodes": []})J";
    auto pScene = exporter_test::ReadScene(scene);
    ASSERT_NE(pScene, nullptr);
    m_exporter.SetUI(&m_ui);
    SGMExportOptions options;
    ASSERT_TRUE(m_exporter.InitExport(options, Internal(m_folder / "a.sgm").c_str(), pScene.get(), true));
    EXPECT_FALSE(options.exportShaders);
    EXPECT_EQ(m_ui.listener, "Exporter: IgnoreShaders property has turned off shaders!\n");
    m_exporter.ShutdownExport();

    // Other names, and dates and numbers as values, leave shaders on.
    auto pOther = exporter_test::ReadScene(R"J({
      "fileProperties": [{"name": "IgnoreShadersNot", "value": 3},
                         {"name": "Made", "type": "date", "value": "2004-02-29"}],
      "nodes": []})J");
    ASSERT_NE(pOther, nullptr);
    m_ui.listener.clear();
    ASSERT_TRUE(m_exporter.InitExport(options, Internal(m_folder / "a.sgm").c_str(), pOther.get(), true));
    EXPECT_TRUE(options.exportShaders);
    EXPECT_EQ(m_ui.listener, "");
    m_exporter.ShutdownExport();
}

TEST_F(Session, DeviceFailureIsReportedOnTheListener)
{
    // A device already up makes the exporter's own fail.
    ASSERT_NE(fr::Interface::CreateDevice(fr::DeviceDesc{}), nullptr);
    const std::string file = m_folder / "walk.sgm";
    EXPECT_EQ(Export(CleanScene, file), 0);
    EXPECT_EQ(m_ui.listener, "Unable to initialize the render device!\n");
    EXPECT_FALSE(std::filesystem::exists(file));
    EXPECT_TRUE(NothingIsUp());
    EXPECT_FALSE(ProcessLog::IsStarted());
    EXPECT_NE(TempFolder::Read(m_folder / "walk.log").find("closed with error code -1"), std::string::npos);
}

TEST_F(Session, AnErrorFailsTheExportThoughTheFileIsWritten)
{
    // The mesh's parent bone is removed from the skeleton.
    const std::string scene = R"J({
      "materials": [{"name": "Hull", "class": "standard"}],
      "nodes": [
        {"name": "Body", "bone": true},
        {"name": "Gone", "parent": "Body", "bone": true, "userProperties": "Remove"},
        {"name": "Hull", "parent": "Gone", "material": "Hull",
         "object": {"class": "editableMesh", "mesh": {"vertices": [[0,0,0],[1,0,0],[0,1,0]], "faces": [[0,1,2]]}}}]})J";
    const std::string file = m_folder / "walk.sgm";
    EXPECT_EQ(Export(scene, file), 0);
    EXPECT_TRUE(std::filesystem::is_regular_file(file));
    EXPECT_EQ(m_ui.messages, std::vector<std::string>{
                                 "Error   : Mesh 'Hull' assigned to invalid bone! (Removed from Skeleton?)"});
    EXPECT_TRUE(NothingIsUp());
}

TEST_F(Session, WarningsAloneDoNotFail)
{
    const std::string scene = R"J({"nodes": [
        {"name": "Hull", "object": {"class": "editableMesh",
                                    "mesh": {"vertices": [[0,0,0],[1,0,0],[0,1,0]], "faces": [[0,1,2]]}}}]})J";
    const std::string file = m_folder / "walk.sgm";
    EXPECT_EQ(Export(scene, file), 1);
    EXPECT_TRUE(std::filesystem::is_regular_file(file));
    ASSERT_EQ(m_ui.shown, 1);
    ASSERT_FALSE(m_ui.messages.empty());
    for (const std::string& message : m_ui.messages)
        EXPECT_TRUE(message.starts_with("Warning : ")) << message;
}

TEST_F(Session, EmptySceneIsAnErrorOnlyWhenMeshesAreAsked)
{
    const std::string empty = R"J({"nodes": [{"name": "Lonely", "bone": true}]})J";
    EXPECT_EQ(Export(empty, m_folder / "a.sgm"), 0);
    EXPECT_EQ(m_ui.messages, std::vector<std::string>{"Error   : No meshes to export!"});
    EXPECT_FALSE(std::filesystem::exists(m_folder / "a.sgm"));

    m_ui = RecordingUI();
    m_ui.clearMeshes = true;
    EXPECT_EQ(Export(empty, m_folder / "b.sgm"), 1);
    EXPECT_EQ(m_ui.shown, 0);
    EXPECT_FALSE(std::filesystem::exists(m_folder / "b.sgm"));
}

TEST_F(Session, NameWithoutDotIsAnAssertion)
{
    dbg::ScopedThrowOnAssert throwOnAssert;
    m_exporter.SetUI(&m_ui);
    EXPECT_THROW(m_exporter.DoExport("/tmp/nodot/model", nullptr, nullptr, 1), std::runtime_error);
    EXPECT_FALSE(ProcessLog::IsStarted());
}

TEST_F(Session, ExceptionDuringTheRunIsPrintedAndEndsTheExport)
{
    // A mesh without material gives a warning, so the errors dialog opens, and throws.
    const std::string scene = R"J({"nodes": [
        {"name": "Hull", "object": {"class": "editableMesh",
                                    "mesh": {"vertices": [[0,0,0],[1,0,0],[0,1,0]], "faces": [[0,1,2]]}}}]})J";
    std::filesystem::create_directories(m_folder / "units");
    m_ui.throwText = "dialog went away";
    EXPECT_EQ(Export(scene, m_folder / "units/hull.sgm"), 0);
    EXPECT_EQ(m_ui.listener, "dialog went away\n");
    EXPECT_TRUE(NothingIsUp());
    EXPECT_FALSE(ProcessLog::IsStarted());
    EXPECT_NE(TempFolder::Read(m_folder / "units/hull.log").find("closed with error code -1"),
              std::string::npos);
    // The lists are emptied on this path too.
    EXPECT_TRUE(m_exporter.GetMeshNodes().empty());
}

TEST(ConsoleDialogs, FlagsMessagesAndListener)
{
    std::FILE* pOut = std::tmpfile();
    std::FILE* pErr = std::tmpfile();
    ASSERT_NE(pOut, nullptr);
    ASSERT_NE(pErr, nullptr);
    ConsoleUI::Flags flags;
    flags.noAnimation = true;
    flags.xrefLocal = true;
    ConsoleUI ui(flags, pOut, pErr);

    SGMExportOptions options;
    EXPECT_EQ(ui.OptionsDialog(options), 1);
    EXPECT_TRUE(options.exportMeshes);
    EXPECT_FALSE(options.exportAnimation);
    EXPECT_TRUE(options.xrefLocal);

    ui.ShowMessages({"Warning : one", "Error   : two"});
    ui.ListenerPrint("Exporter: text\n");
    auto contents = [](std::FILE* pFile)
    {
        std::string text(size_t(std::ftell(pFile)), '\0');
        std::rewind(pFile);
        EXPECT_EQ(std::fread(text.data(), 1, text.size(), pFile), text.size());
        return text;
    };
    EXPECT_EQ(contents(pErr), "Warning : one\nError   : two\n");
    EXPECT_EQ(contents(pOut), "Exporter: text\n");
    std::fclose(pOut);
    std::fclose(pErr);

    // With no flags the dialog changes nothing.
    SGMExportOptions defaults;
    EXPECT_EQ(ConsoleUI::Default().OptionsDialog(defaults), 1);
    EXPECT_TRUE(defaults.exportMeshes);
    EXPECT_TRUE(defaults.exportAnimation);
    EXPECT_FALSE(defaults.xrefLocal);
}
