// The generic files read and write these chunks as every other form does (model/file/eventload.h).
#pragma once

#include "model/file/eventload.h"

using EventLoadGeneric = EventLoad;
