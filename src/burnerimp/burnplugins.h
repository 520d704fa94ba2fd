// The burner's plug-ins: what a ".burn" target's "plugin" names is made here, in memory. Each
// takes one source file of the generic data and the target's parameters, and gives the bytes of
// its outputs with their names relative to the target's data folder; the engine puts them on
// disk and in revision control.
//
//   "model"    .sgm (with the .ebp beside it) -> .tqm, and .tqe when the model has an entity part;
//              parameters dxtc (0, 1, 3, 5), mips_to_skip (0 or more), write_all_mips (yes/no)
//   "shader"   .vds shared shader, generic -> final form; dxtc, mips_to_skip
//   "pattern"  .tqp team pattern, copied as it is once it reads as a pattern
//   "copy"     any file, copied as it is
//
// The model library (inventory, path table, log, texture writer settings) is single-threaded:
// "model" and "shader" hold ModelLibraryLock() for their whole run, "pattern" for its check of the
// file; "copy" touches only the disk and runs on any thread without it.
#pragma once

#include "burnconfig/burnerconfig.h"
#include "foundation/types.h"

#include <mutex>
#include <string>
#include <vector>

struct BurnOutput
{
    std::string relative; // to the target's data folder, '/' between components
    std::vector<uint8> data;
};

struct BurnJob
{
    std::string nativeSource; // the file to burn, as the disk names it
    std::string relative;     // the same relative to the generic folder, '/' between components
    const BurnerConfig::Target* pTarget = nullptr;
};

// Fills `cOutput` and gives true, or gives false with `error` saying what went wrong.
using BurnPlugin = bool (*)(const BurnJob& job, std::vector<BurnOutput>& cOutput, std::string& error);

// The plug-in of a name (any case); null for a name no plug-in has.
BurnPlugin FindBurnPlugin(const std::string& name);

// Held by whoever uses the model library while a burn runs on several threads.
std::mutex& ModelLibraryLock();

// A target's parameter as text: `fallback` when the target does not have it.
std::string BurnParam(const BurnerConfig::Target& target, const char* name, const char* fallback);
