// The generic files read and write these chunks as every other form does (model/file/conditionload.h).
#pragma once

#include "model/file/conditionload.h"

using ConditionLoadGeneric = ConditionLoad;
