// BurnEngine: the burner's work without its pipe. Set up from a pipeline.ini, it burns the files of
// a request: every file of a folder (and its subfolders) whose name matches a regular expression,
// or a list of files. For each target group of a file's ".burn" configuration whose wildcard
// matches the file's name, each target's plug-in makes its outputs, which go to the target's data
// folder of the file's project (the same place relative to the project's generic folder), opened
// in revision control in the request's changelist.
//
// Files burn on several threads; the outputs do not depend on the thread count, and the records
// come back in the order of the files' names (see docs/platform.md for what runs in parallel). A
// target whose inputs have not changed since the last burn and whose outputs are still there is
// skipped with an info record, unless the request forces a full burn (BurnCache).
//
// One engine at a time: the pipeline, the path aliases, the render device and the inventory are
// the process's own.
#pragma once

#include "burnconfig/burnerresults.h"
#include "foundation/types.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

class RevControlAPI;

struct BurnRequest
{
    int32 changelist = 0;
    // A folder burn: the folder (any separator) and the regular expression that a file's name,
    // without its folder, must match whole, without regard to case.
    std::string folder;
    std::string pattern;
    // A list burn, when not empty: these files (full names) instead.
    std::vector<std::string> cFiles;
    // Burn every target, whatever the records say (the request's first flag byte).
    bool force = false;
    // Take the files of the subfolders too (the request's third flag byte; the tool sends 1).
    bool recurse = true;
};

struct BurnSummary
{
    uint32 filesMatched = 0; // files with at least one target
    uint32 filesBurned = 0;  // of those, the ones burned or up to date without an error
    uint32 filesSkipped = 0; // of those, the ones whose every target was up to date
    uint32 filesFailed = 0;
};

class BurnEngine
{
public:
    static constexpr const char* k_Module = "BurnerImp";
    // Part of every record key: a burner that makes other bytes must change it.
    static constexpr const char* k_Version = "BurnerImp 1.0 (protocol 8)";

    // `threads` 0 takes every core.
    explicit BurnEngine(uint32 threads = 0);
    ~BurnEngine();
    BurnEngine(const BurnEngine&) = delete;
    BurnEngine& operator=(const BurnEngine&) = delete;

    // Reads `pipelineIni` and makes what a burn needs: the "TOOL" alias, revision control from
    // [p4] RevControlPort (local mode when empty), the null render device and the inventory.
    // False, with error records, when any of it fails; the engine is then torn down again.
    bool Setup(const char* pipelineIni, BurnerResults& results);
    bool IsReady() const { return m_ready; }

    // Called once for each file done, with its progress record ("3/120 units/scout/scout.tqm"),
    // on the thread that finished it, never on two threads at once.
    using Progress = std::function<void(const BurnerResults& update)>;

    // Burns the request; its records are added to `results` in the order of the files' names.
    BurnSummary Burn(const BurnRequest& request, BurnerResults& results, const Progress& progress = {});

    uint32 ThreadCount() const { return m_threads; }

private:
    struct Plan;
    struct FileWork;

    void Teardown();
    bool MakePlan(const BurnRequest& request, Plan& plan, BurnerResults& results);
    // Runs `fn(work)` for every file of the plan that `wanted` takes, on the engine's threads.
    template <class Wanted, class Fn> void ForEachFile(Plan& plan, const Wanted& wanted, const Fn& fn);
    void CheckRecord(const Plan& plan, FileWork& work);
    void LoadTargets(const Plan& plan, FileWork& work);
    void BurnFile(const Plan& plan, FileWork& work);
    bool WriteOutput(const Plan& plan, const std::string& path, const std::vector<uint8>& data, bool readOnly,
                     std::string& error);

    uint32 m_threads;
    bool m_ready = false;
    bool m_pipeline = false;
    bool m_tool = false;
    bool m_device = false;
    bool m_inventory = false;
    std::unique_ptr<RevControlAPI> m_pRevControl;
};
