#include "burner/burnercommand.h"

#include "burner/burner.h"
#include "foundation/debug.h"
#include "inventory/warehouse.h"
#include "pipeline/pipeline.h"
#include "render/device.h"
#include "revcontrol/revcontrolapi.h"
#include "storage/bytestream.h"
#include "storage/filepath.h"
#include "storage/filepath_hd.h"

#include <memory>
#include <stdexcept>

namespace BurnerCommand
{
namespace
{
std::unique_ptr<RevControlAPI> s_RevCtrl;

void Fail(const char* text)
{
    throw std::runtime_error(text);
}

// The steps after the pipeline, in order; each object's own operation reports when it is absent.
void TearDownObjects()
{
    Inv::Warehouse::Destroy();
    if (fr::Interface::GetDevice() != nullptr)
        fr::Interface::DestroyDevice();
    Burner::Shutdown();
    s_RevCtrl.reset();
    FilePath::RemoveAlias("TOOL", "HD");
    FilePath::RemoveAlias("DATA", "Tools Data");
}
} // namespace

void SetUp(const std::string& file)
{
    if (!dbAssert(s_RevCtrl == nullptr))
        s_RevCtrl.reset();
    // The result is not tested: a file outside every project fails at the next step.
    Pipeline::Initialize(file.c_str());
    if (!Pipeline::IsInitialized() || Pipeline::ProjectFromPath(file.c_str(), DataGeneric) == nullptr)
        Fail("Burner: Unable to find associated project.\n");
    if (!FilePath::AddAlias("TOOL", "HD", 99, std::make_shared<FilePathHDRaw>()))
        Fail("Burner: Unable to add Tool alias\n");
    char toolsData[FilePath::MAXPATH];
    if (!Pipeline::GetPath("Global", "ToolsData", toolsData, sizeof(toolsData)))
        Fail("Burner: 'ToolsData' not listed under [Global] in pipeline.ini\n");
    std::shared_ptr<FilePathHD> pToolsData =
        FilePathHD::Create(toolsData, ByteStream::Mode_Read, false, false);
    if (!pToolsData || !FilePath::AddAlias("DATA", "Tools Data", 400, pToolsData))
        Fail("Burner: Unable to add Tools Data alias\n");
    char burnerPath[FilePath::MAXPATH];
    if (!Pipeline::GetPath("burner", "burnerPath", burnerPath, sizeof(burnerPath)))
        Fail("Burner: 'burnerPath' not listed under [burner] in pipeline.ini\n");
    char port[256];
    if (!Pipeline::GetString("p4", "RevControlPort", port, sizeof(port)))
        Fail("Burner: 'RevControlPort' not listed under [p4] in pipeline.ini\n");
    s_RevCtrl = RevControlAPI::Create(port, RevisionControlP4OrLocal);
    if (!Burner::Initialize(burnerPath))
        Fail("Burner: Unable to set up the burner.\n");
    fr::DeviceDesc desc;
    desc.driverName = "Null";
    fr::Interface::CreateDevice(desc);
    Inv::Warehouse::Create();
}

RevControlAPI* GetRevCtrl()
{
    return s_RevCtrl.get();
}

void TearDown()
{
    TearDownObjects();
    if (Pipeline::IsInitialized())
        Pipeline::Shutdown();
}

void Reset()
{
    TearDownObjects();
    Pipeline::Shutdown();
}
} // namespace BurnerCommand
