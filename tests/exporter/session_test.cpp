// The export session, from log to tear-down, with a stand-in for the host's dialogs and listener.
#include "exporter/exportui.h"
#include "exporter_fixture.h"
#include "logging/processlog.h"
#include "storage/filepathutil.h"

#include <filesystem>
#include <stdexcept>

namespace
{
class RecordingUI : public ExportUI
{
public:
    int OptionsDialog(SGMExportOptions&) override { return ++dialogs, answer; }
    void ShowMessages(const std::vector<std::string>& cMessage) override
    {
        ++shown;
        messages = cMessage;
        if (!throwText.empty())
            throw std::runtime_error(throwText);
    }
    void ListenerPrint(const char* text) override { listener += text; }

    int answer = 1, dialogs = 0, shown = 0;
    std::string throwText; // thrown from the errors dialog when set
    std::vector<std::string> messages;
    std::string listener;
};

const char* const CleanScene = R"J({"materials": [{"name": "Hull", "class": "standard"}], "nodes": [
    {"name": "Body", "bone": true, "object": {"class": "box"}},
    {"name": "Hull", "parent": "Body", "material": "Hull",
     "object": {"class": "editableMesh", "mesh": {"vertices": [[0,0,0],[1,0,0],[0,1,0]], "faces": [[0,1,2]]}}}]})J";
const char* const ErrorScene = R"J({"nodes": [{"name": "Hull", "object": {"class": "editableMesh"}}]})J";
const char* const NoMaterialScene = R"J({"nodes": [{"name": "Hull", "object": {"class": "editableMesh",
    "mesh": {"vertices": [[0,0,0],[1,0,0],[0,1,0]], "faces": [[0,1,2]]}}}]})J";

// The internal form of a full path, as the host hands names over.
std::string Internal(const std::string& path)
{
    char name[FilePathUtil::MAXPATH];
    EXPECT_TRUE(FilePathUtil::Copy(name, path.c_str()));
    FilePathUtil::Normalize(name);
    return name;
}

// No collector, device, alias or inventory (a new inventory can only be made when none is there).
bool NothingIsUp()
{
    if (SGMErrors::Exists() || fr::Interface::GetDevice() != nullptr || FilePath::IsAliased("TOOL:x") ||
        !Inv::Warehouse::Create())
        return false;
    Inv::Warehouse::Destroy();
    return true;
}

class Session : public ::testing::Test
{
protected:
    int Export(const std::string& json, const std::string& file, int suppressPrompts = 0)
    {
        m_pScene = exporter_test::ReadScene(json);
        m_exporter.SetUI(&m_ui);
        return m_pScene
                   ? m_exporter.DoExport(Internal(file).c_str(), nullptr, m_pScene.get(), suppressPrompts)
                   : -1;
    }

    TempFolder m_folder;
    RecordingUI m_ui;
    SGMExport m_exporter;
    std::unique_ptr<scene::Scene> m_pScene;
};
} // namespace

TEST_F(Session, RunsFromLogToTearDown)
{
    struct Case
    {
        const char *what, *scene, *file;
        int answer;            // of the options dialog
        const char* throwText; // from the errors dialog
        bool deviceUp;         // a device already up makes the exporter's own fail
        int result;
        bool written;
        std::vector<std::string> messages;
        const char *listener, *log, *logText; // the log file and a text in it, or null
    };
    const std::vector<std::string> error = {"Error   : 'Hull': Unable to node to a mesh!",
                                            "Error   : 'Hull': Unable to build mesh!"};
    const std::string noMaterial = "Warning : Object [Hull] has no material assigned to it.";
    // clang-format off
    const Case cases[] = {
        {"clean, missing folders made", CleanScene, "units/Scout/reference/ref.sgm", 1, "", false, 1, true, {}, "", nullptr, nullptr},
        {"log named from the first dot", CleanScene, "data.v2/model.sgm", 1, "", false, 1, true, {}, "", "data.log", "closed without errors"},
        {"cancel leaves nothing but the running log", CleanScene, "walk.sgm", 0, "", false, 1, false, {}, "", nullptr, nullptr},
        {"device failure", CleanScene, "walk.sgm", 1, "", true, 0, false, {}, "Unable to initialize the render device!\n", "walk.log", "closed with error code -1"},
        {"a mesh error fails the export", ErrorScene, "walk.sgm", 1, "", false, 0, false, error, "", "walk.log", "Exporting File"},
        {"warnings alone do not fail", NoMaterialScene, "walk.sgm", 1, "", false, 1, true, {noMaterial}, "", "walk.log", "closed without errors"},
        {"no model writes no file", R"J({"nodes": [{"name": "Lonely", "bone": true}]})J", "walk.sgm", 1, "", false, 0, false, {"Error   : No meshes to export!"}, "", nullptr, nullptr},
        {"an exception is printed and ends the export", NoMaterialScene, "hull.sgm", 1, "dialog went away", false, 0, true, {noMaterial}, "dialog went away\n", "hull.log", "closed with error code -1"},
    };
    // clang-format on
    for (const Case& c : cases)
    {
        SCOPED_TRACE(c.what);
        TempFolder folder;
        m_ui = RecordingUI();
        m_ui.answer = c.answer;
        m_ui.throwText = c.throwText;
        ASSERT_TRUE(!c.deviceUp || fr::Interface::CreateDevice(fr::DeviceDesc{}) != nullptr);
        // The cancelling row passes 2 as the prompt flag: only 1 suppresses the dialog.
        EXPECT_EQ(Export(c.scene, folder / c.file, c.answer == 0 ? 2 : 0), c.result);
        EXPECT_EQ(m_ui.dialogs, 1);
        EXPECT_EQ(std::filesystem::is_regular_file(folder / c.file), c.written);
        EXPECT_EQ(m_ui.messages, c.messages);
        EXPECT_EQ(m_ui.shown, c.messages.empty() ? 0 : 1);
        EXPECT_EQ(m_ui.listener, c.listener);
        EXPECT_TRUE(NothingIsUp());
        EXPECT_TRUE(!c.log || TempFolder::Read(folder / c.log).find(c.logText) != std::string::npos) << c.log;
        EXPECT_EQ(ProcessLog::IsStarted(), c.answer == 0); // a cancelled export leaves its log running
        if (ProcessLog::IsStarted())
            ProcessLog::Stop(0);
        EXPECT_TRUE(m_exporter.GetMeshNodes().empty() && m_exporter.GetBoneNodes().empty());
    }
}

TEST_F(Session, InitFollowsTheReferenceFileRuleAndTheIgnoreShadersProperty)
{
    m_exporter.SetUI(&m_ui);
    // file, file properties, meshes exported, shaders exported, model name, listener
    const std::tuple<const char*, const char*, bool, bool, const char*, const char*> cases[] = {
        {"Walker/Reference/Ref.sgm", "[]", true, true, "Walker", ""},
        {"Walker/walk.sgm",
         R"J([{"id": 4, "value": "numbered"}, {"name": "ignoreSHADERS", "value": false}])J", false, false,
         "walk", "Exporter: IgnoreShaders property has turned off shaders!\n"},
        {"Walker/walk.sgm", R"J([{"name": "IgnoreShadersNot", "value": 3}])J", false, true, "walk", ""}};
    for (const auto& [file, properties, meshes, shaders, modelName, listener] : cases)
    {
        SCOPED_TRACE(properties);
        auto pScene =
            exporter_test::ReadScene(R"J({"nodes": [], "fileProperties": )J" + std::string(properties) + "}");
        m_ui = RecordingUI();
        SGMExportOptions options;
        options.xrefLocal = true;
        const std::string name = Internal(m_folder / file);
        ASSERT_TRUE(m_exporter.InitExport(options, name.c_str(), pScene.get(), true));
        EXPECT_EQ(std::tuple(options.exportMeshes, options.exportAnimation, options.exportShaders,
                             options.xrefLocal),
                  std::tuple(meshes, !meshes, shaders, false));
        EXPECT_EQ(options.modelName, modelName);
        EXPECT_EQ(options.filename, "TOOL:" + name);
        EXPECT_EQ(m_ui.listener, listener);
        EXPECT_TRUE(SGMErrors::Exists() && fr::Interface::GetDevice() != nullptr &&
                    FilePath::IsAliased("TOOL:x"));
        m_exporter.ShutdownExport();
        EXPECT_TRUE(NothingIsUp());
    }
    dbg::ScopedThrowOnAssert throwOnAssert; // a name without a dot
    EXPECT_THROW(m_exporter.DoExport("/tmp/nodot/model", nullptr, nullptr, 1), std::runtime_error);
    EXPECT_FALSE(ProcessLog::IsStarted());
}
