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
#include <tuple>
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

// The mesh's parent bone is removed from the skeleton: an error.
const char* const ErrorScene = R"J({
  "materials": [{"name": "Hull", "class": "standard"}],
  "nodes": [
    {"name": "Body", "bone": true},
    {"name": "Gone", "parent": "Body", "bone": true, "userProperties": "Remove"},
    {"name": "Hull", "parent": "Gone", "material": "Hull",
     "object": {"class": "editableMesh", "mesh": {"vertices": [[0,0,0],[1,0,0],[0,1,0]], "faces": [[0,1,2]]}}}]})J";

// A mesh without a material: a warning, no error.
const char* const NoMaterialScene = R"J({"nodes": [{"name": "Hull", "object": {"class": "editableMesh",
    "mesh": {"vertices": [[0,0,0],[1,0,0],[0,1,0]], "faces": [[0,1,2]]}}}]})J";

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

    std::unique_ptr<SGMExport> pExport(static_cast<SGMExport*>(pDesc->Create(1)));
    ASSERT_NE(pExport, nullptr);
    EXPECT_EQ(pExport->ExtCount(), 1);
    EXPECT_STREQ(pExport->Ext(0), "SGM");
    EXPECT_STREQ(pExport->Ext(1), "");
    EXPECT_STREQ(pExport->LongDesc(), "Halvane Exporter");
    EXPECT_STREQ(pExport->ShortDesc(), "Halvane Exporter");
    EXPECT_EQ(pExport->Version(), 2u);
    EXPECT_EQ(pExport->SupportsOptions(0, 0), 0);
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

TEST_F(Session, RunsFromLogToTearDown)
{
    struct Case
    {
        const char* what;
        const char* scene;
        const char* file;
        int answer;            // of the options dialog
        const char* throwText; // from the errors dialog
        bool deviceUp;         // a device already up makes the exporter's own fail
        int result;
        bool written;
        std::vector<std::string> messages;
        const char* listener;
        const char* log; // the log file and a text in it, or null
        const char* logText;
    };
    const std::string error = "Error   : Mesh 'Hull' assigned to invalid bone! (Removed from Skeleton?)";
    // clang-format off
    const Case cases[] = {
        {"clean", CleanScene, "walk.sgm", 1, "", false, 1, true, {}, "", "walk.log", "closed without errors"},
        {"missing folders of the output are made", CleanScene, "units/Scout/reference/ref.sgm", 1, "", false, 1, true, {}, "", nullptr, nullptr},
        {"log named from the first dot", CleanScene, "data.v2/model.sgm", 1, "", false, 1, true, {}, "", "data.log", "closed without errors"},
        {"cancel leaves nothing but the running log", CleanScene, "walk.sgm", 0, "", false, 1, false, {}, "", nullptr, nullptr},
        {"device failure", CleanScene, "walk.sgm", 1, "", true, 0, false, {}, "Unable to initialize the render device!\n", "walk.log", "closed with error code -1"},
        {"an error fails though the file is written", ErrorScene, "walk.sgm", 1, "", false, 0, true, {error}, "", "walk.log", "Exporting File"},
        {"warnings alone do not fail", NoMaterialScene, "walk.sgm", 1, "", false, 1, true, {"Warning : Object [Hull] has no material assigned to it."}, "", "walk.log", "closed without errors"},
        {"no model writes no file", R"J({"nodes": [{"name": "Lonely", "bone": true}]})J", "walk.sgm", 1, "", false, 0, false, {"Error   : No meshes to export!"}, "", "walk.log", "Exporting File"},
        {"an exception is printed and ends the export", NoMaterialScene, "hull.sgm", 1, "dialog went away", false, 0, true, {"Warning : Object [Hull] has no material assigned to it."}, "dialog went away\n", "hull.log", "closed with error code -1"},
    };
    // clang-format on
    for (const Case& c : cases)
    {
        SCOPED_TRACE(c.what);
        TempFolder folder;
        m_ui = RecordingUI();
        m_ui.answer = c.answer;
        m_ui.throwText = c.throwText;
        if (c.deviceUp)
        {
            ASSERT_NE(fr::Interface::CreateDevice(fr::DeviceDesc{}), nullptr);
        }
        EXPECT_EQ(Export(c.scene, folder / c.file), c.result);
        EXPECT_EQ(m_ui.dialogs, 1);
        EXPECT_EQ(std::filesystem::is_regular_file(folder / c.file), c.written);
        EXPECT_EQ(m_ui.messages, c.messages);
        EXPECT_EQ(m_ui.shown, c.messages.empty() ? 0 : 1);
        EXPECT_EQ(m_ui.listener, c.listener);
        EXPECT_TRUE(NothingIsUp());
        if (c.log != nullptr)
        {
            EXPECT_NE(TempFolder::Read(folder / c.log).find(c.logText), std::string::npos) << c.log;
        }
        // A cancelled export leaves its log running, as in the host.
        EXPECT_EQ(ProcessLog::IsStarted(), c.answer == 0);
        if (ProcessLog::IsStarted())
            ProcessLog::Stop(0);
        // The lists are emptied on every path.
        EXPECT_TRUE(m_exporter.GetMeshNodes().empty());
        EXPECT_TRUE(m_exporter.GetBoneNodes().empty());
    }
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

TEST_F(Session, InitBringsUpAliasCollectorDeviceAndInventoryAndFollowsTheReferenceFileRule)
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
    EXPECT_EQ(options.filename, "TOOL:" + name);
    EXPECT_TRUE(SGMErrors::Exists());
    EXPECT_NE(fr::Interface::GetDevice(), nullptr);
    EXPECT_TRUE(FilePath::IsAliased("TOOL:x"));
    m_exporter.ShutdownExport();
    EXPECT_TRUE(NothingIsUp());

    // With prompts suppressed a reference file exports meshes, any other animation (the names' own
    // rule is tested with IsReferenceFile).
    for (const auto& [file, meshes] :
         {std::pair{name, true}, std::pair{Internal(m_folder / "Walker/walk.sgm"), false}})
    {
        options = SGMExportOptions();
        options.xrefLocal = true;
        ASSERT_TRUE(m_exporter.InitExport(options, file.c_str(), pScene.get(), true)) << file;
        EXPECT_EQ(options.exportMeshes, meshes) << file;
        EXPECT_EQ(options.exportAnimation, !meshes) << file;
        EXPECT_FALSE(options.xrefLocal);
        EXPECT_TRUE(options.exportShaders);
        EXPECT_EQ(options.time, 0);
        m_exporter.ShutdownExport();
    }
    EXPECT_EQ(m_ui.dialogs, 1);
}

TEST_F(Session, IgnoreShadersIsFoundByNameInAnyCase)
{
    // Other names, and dates and numbers as values, leave shaders on.
    const std::tuple<const char*, bool, const char*> cases[] = {
        {R"J([{"id": 4, "value": "numbered"}, {"name": "ignoreSHADERS", "value": false}])J", false,
         "Exporter: IgnoreShaders property has turned off shaders!\n"},
        {R"J([{"name": "IgnoreShadersNot", "value": 3}, {"name": "Made", "type": "date", "value": "2004-02-29"}])J",
         true, ""},
    };
    m_exporter.SetUI(&m_ui);
    for (const auto& [properties, shaders, listener] : cases)
    {
        auto pScene =
            exporter_test::ReadScene(R"J({"nodes": [], "fileProperties": )J" + std::string(properties) + "}");
        ASSERT_NE(pScene, nullptr);
        m_ui.listener.clear();
        SGMExportOptions options;
        ASSERT_TRUE(m_exporter.InitExport(options, Internal(m_folder / "a.sgm").c_str(), pScene.get(), true));
        EXPECT_EQ(options.exportShaders, shaders) << properties;
        EXPECT_EQ(m_ui.listener, listener);
        m_exporter.ShutdownExport();
    }
}

TEST_F(Session, NameWithoutDotIsAnAssertion)
{
    dbg::ScopedThrowOnAssert throwOnAssert;
    m_exporter.SetUI(&m_ui);
    EXPECT_THROW(m_exporter.DoExport("/tmp/nodot/model", nullptr, nullptr, 1), std::runtime_error);
    EXPECT_FALSE(ProcessLog::IsStarted());
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
}
