// ConfigLoad: reading and writing the ".burn" files of a project's generic tree. A file has the
// configuration "<name>.burn" beside it, a folder "<folder>\\_default.burn". The "_default.burn" at
// the top of the tree (the base) names every target group and target with parameter defaults;
// every lower "_default.burn" and per-file ".burn" holds only the parameters that differ from the
// level above. Loading merges the chain from the base down; saving writes the minimal file.
//
// Names are full paths of the system's form; the pipeline must be initialised. Messages of a load
// go to the results list as warnings of the module "ConfigIO"; the save and the validation, which
// have no list, log on the channel "BURN". The files are Lua scripts, run with limits on time and
// memory, so a broken or hostile file fails its load with a message.
#pragma once

#include "burnconfig/burnerconfig.h"
#include "burnconfig/burnerresults.h"

#include <cstddef>
#include <string>
#include <vector>

class ByteStream;
class LuaConfig;
class RevControlAPI;

namespace ConfigLoad
{
constexpr const char* k_DefaultBurnFilename = "_default.burn";
constexpr const char* k_Module = "ConfigIO";
// The log channel of the messages that have no results list: "BURN".
constexpr uint32 k_Channel = 0x4255524e;

// The configuration's name of a file or folder; false when there is no such path or the name
// does not fit `outLength`.
bool GetBurnFilename(const char* file, char* out, size_t outLength);

// The merged configuration of a file or folder. `pChain`, when given, receives the files used,
// base first. A failure leaves `config` partly filled.
bool LoadConfig(const char* file, BurnerConfig& config, BurnerResults& results,
                std::vector<std::string>* pChain = nullptr);

// The configuration of the level above `file`: the nearest "_default.burn" above it, loaded with
// its chain into `parent`. `hasParent` is false, and the call true, for the top of the tree.
bool LoadParentConfig(const char* file, BurnerConfig& parent, bool& hasParent);

// Sets each parameter's default flag by comparing its value, without regard to case, with the
// level above. False when the parent cannot be loaded or lacks one of the parameters.
bool ValidateAgainstParent(const char* file, BurnerConfig& config);

// Writes the minimal ".burn" of `file` through revision control in `changelist`, or, when nothing
// differs from the level above, reverts or deletes it. Not for the base, which holds the targets.
bool SaveConfig(RevControlAPI& revControl, int changelist, const char* file, BurnerConfig& config);

// The base and override loads of one file. A file that cannot be opened fails with no message.
bool LoadBaseConfig(const char* burnFile, BurnerConfig& config, BurnerResults& results);
bool LoadOverrideConfig(const char* burnFile, BurnerConfig& config, BurnerResults& results);
// Runs the Lua text of `stream` in `lc` under the limits, with the load's message on failure.
bool RunScript(LuaConfig& lc, ByteStream& stream, const char* name, BurnerResults& results);
// The tables of a script that has run, read as a base or as an override; `name` is for messages.
bool ReadBaseTables(LuaConfig& lc, const char* name, BurnerConfig& config, BurnerResults& results);
bool ReadOverrideTables(LuaConfig& lc, const char* name, BurnerConfig& config, BurnerResults& results);

// The minimal file's text: the table "burn_params" of the parameters whose default flag is clear,
// as LuaConfig writes it.
bool MakeOverrideText(const BurnerConfig& config, std::string& out);

// Forgets the cached bases. They are otherwise kept for the life of the process, so a changed
// base needs a new process.
void ClearBaseCache();
} // namespace ConfigLoad
