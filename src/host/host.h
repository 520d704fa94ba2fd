// Everything the exporter sees of its host: nodes, objects, meshes, materials and the interface,
// with the host SDK's names in namespace host (the model library has a Modifier of its own).
#pragma once

#include "host/interface.h"
#include "host/material.h"
