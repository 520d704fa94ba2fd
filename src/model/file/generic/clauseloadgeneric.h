// The generic files read and write these chunks as every other form does (model/file/clauseload.h).
#pragma once

#include "model/file/clauseload.h"

using ClauseLoadGeneric = ClauseLoad;
