// The generic files read and write these chunks as every other form does (model/file/motionload.h).
#pragma once

#include "model/file/motionload.h"

using MotionLoadGeneric = MotionLoad;
