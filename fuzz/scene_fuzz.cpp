// Feeds arbitrary text to the scene file reader and exports what it accepts: the walk, meshes, skin
// weights, shaders, skeleton and animation of the exporter, and the model written into memory.
// Scenes whose animation range is longer than a few hundred frames are read but not exported, so
// that a time-out means a fault and not a long animation.
#include "exporter/sgmexport.h"
#include "fuzzsupport.h"
#include "host/scene.h"
#include "model/file/generic/rendermodelloadgeneric.h"
#include "model/rendermodel.h"
#include "storage/chunky.h"

#include <memory>
#include <string>

namespace
{
constexpr int MaxFrames = 300;

void Export(scene::Scene& scene)
{
    SGMExport exporter;
    SGMExportOptions options;
    // A batch start: no dialog. Both parts are then asked for, whatever the name says.
    if (!exporter.InitExport(options, "/nonexistent/fuzz.sgm", &scene, true))
        return;
    options.exportMeshes = true;
    options.exportAnimation = true;
    std::unique_ptr<RenderModel> pModel = exporter.BuildRenderModel(options);
    if (pModel != nullptr && pModel->GetMeshGroup() != nullptr)
    {
        RamStream stream;
        stream.Create(0, ByteStream::Mode_Write);
        ByteStreamAdapter adapter(stream);
        Chunky chunky(adapter);
        RenderModelLoadGeneric::SaveInterm(chunky, adapter, *pModel, true, true, true);
    }
    pModel.reset();
    exporter.ShutdownExport();
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const bool s_quiet = fuzz::Quiet();
    (void)s_quiet;
    if (size > (1u << 20))
        return 0;
    std::unique_ptr<scene::Scene> pScene;
    try
    {
        pScene = scene::ReadSceneText(std::string(reinterpret_cast<const char*>(data), size), "fuzz.json");
    }
    catch (const scene::SceneError&)
    {
        return 0;
    }
    if (pScene->GetLastFrame() - pScene->GetFirstFrame() > MaxFrames)
        return 0;
    Export(*pScene);
    return 0;
}
