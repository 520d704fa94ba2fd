// SGMExportOptions: what one export was asked to do, filled by InitExport and handed to every step.
#pragma once

#include "foundation/types.h"
#include "host/maxtypes.h"

#include <string>

struct SGMExportOptions
{
    // "TOOL:" and the name the host passed, so every file operation goes through the alias.
    std::string filename;
    // "Export Meshes": the save's meshes flag; also whether an empty scene is an error and whether
    // material and texture warnings are shown.
    bool exportMeshes = true;
    // "Export Animation Keys": animation is sampled only when set.
    bool exportAnimation = true;
    // "Treat XRef'ed meshes as local".
    bool xrefLocal = false;
    // Cleared only by the file property IgnoreShaders.
    bool exportShaders = true;
    // Derived from filename by GetModelName.
    std::string modelName;
    // The one time at which all static data is evaluated.
    host::TimeValue time = 0;
    // XRef mesh nodes found by the walk; counted, never read.
    uint32 xrefCount = 0;
};
