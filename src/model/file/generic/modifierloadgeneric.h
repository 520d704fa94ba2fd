// The generic files read and write these chunks as every other form does (model/file/modifierload.h).
#pragma once

#include "model/file/modifierload.h"

using ModifierLoadGeneric = ModifierLoad;
