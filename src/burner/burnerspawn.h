// A burn in the burner process: connect (make the pipe, start the burner, set it up), send the
// request, then poll for its messages until the result. One burn per tool process at a time: the
// process-wide pipe and process are both set while a burn runs, both null otherwise.
//
// Every failure is a record of level 2 ("Error: Burner -- ...") in `results` and a false result;
// nothing throws. After a failure, or after the result, nothing of the burn is left: no process,
// no socket, no local copy.
#pragma once

#include "burnconfig/burnerresults.h"
#include "foundation/types.h"

#include <string>
#include <vector>

class BurnerProcess;
class NamedPipe;

namespace BurnerSpawn
{
// The module name of this side's records.
constexpr const char* Module = "Burner";
// How long PollBurn sleeps when nothing waits.
constexpr int PollSleepMs = 50;

// Connects and sends a request to burn the files of `folder` whose names match the regular
// expression `pattern`; the burn then runs until PollBurn sees its end.
bool StartBurn(const std::string& burnerPath, uint32 changelist, const std::string& folder,
               const std::string& pattern, bool flagA, bool flagB, bool flagC, BurnerResults& results);

// One step of waiting: reads one message when one waits, or sleeps PollSleepMs. `done` and
// `filesBurned` are cleared first; at the result `done` is set and `filesBurned` given.
bool PollBurn(bool& done, uint32& filesBurned, BurnerResults& results);

// StartBurn, then PollBurn until done; false as soon as a step is.
bool RunBurn(const std::string& burnerPath, uint32 changelist, const std::string& folder,
             const std::string& pattern, bool flagA, bool flagB, bool flagC, uint32& filesBurned,
             BurnerResults& results);

// Connect, send the list as BurnFileListMsg or BurnUpdateFileListMsg, poll until done.
bool RunFileList(const std::string& burnerPath, uint32 changelist, const std::vector<std::string>& files,
                 uint32& filesBurned, BurnerResults& results);
bool RunUpdateFileList(const std::string& burnerPath, uint32 changelist,
                       const std::vector<std::string>& files, uint32& filesBurned, BurnerResults& results);

// True while a burn runs.
bool IsBurnInProgress();
// The running burn's process, for callers that show or watch it; null when none runs.
BurnerProcess* RunningProcess();
} // namespace BurnerSpawn
