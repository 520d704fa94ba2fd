#include "burnerimp/burnengine.h"

#include "burnconfig/burnerconfig.h"
#include "burnconfig/configload.h"
#include "burnerimp/burncache.h"
#include "burnerimp/burnplugins.h"
#include "inventory/warehouse.h"
#include "model/file/generic/rendermodelloadgeneric.h"
#include "pipeline/fullpath.h"
#include "pipeline/mapper.h"
#include "pipeline/pipeline.h"
#include "playback/animbvbuilder.h"
#include "render/device.h"
#include "revcontrol/revcontrolapi.h"
#include "storage/filepath.h"
#include "storage/filepath_hd.h"
#include "storage/osfile.h"

#include <strings.h>

#include <algorithm>
#include <atomic>
#include <cctype>
#include <filesystem>
#include <map>
#include <mutex>
#include <regex>
#include <thread>

namespace fs = std::filesystem;

namespace
{
constexpr const char* s_cacheFolder = ".burncache";

// The system's form of a name: full, '\\' between components.
std::string SystemName(const std::string& name)
{
    return FullPath::Expand(name.c_str());
}

std::string NativeName(const std::string& name)
{
    return OSFile::NativeName(name.c_str());
}

bool IsBurnFile(const fs::path& path)
{
    return strcasecmp(path.extension().string().c_str(), ".burn") == 0;
}

// A hidden folder (".burncache", ".git") holds nothing to burn.
bool IsHidden(const fs::path& path)
{
    const std::string name = path.filename().string();
    return !name.empty() && name[0] == '.';
}

std::string Join(const std::vector<std::string>& cText)
{
    std::string text;
    for (const std::string& part : cText)
        text += (text.empty() ? "" : ", ") + part;
    return text;
}
} // namespace

struct BurnEngine::FileWork
{
    struct TargetWork
    {
        std::string group;
        BurnerConfig::Target target;
        std::string destinationKind;   // the pipeline.ini key, "DataFinal"
        std::string destinationFolder; // native; empty when the project has none of the kind
    };
    enum State
    {
        ToCheck,  // the records are to be looked at
        ToLoad,   // its configuration is to be read
        ToBurn,   // its targets are to be burned
        UpToDate, // every target's outputs are there, from the same inputs
        NoTarget, // no group takes it: not part of the burn
        Failed,
    };

    std::string native;
    std::string relative; // to the generic folder, '/' between components
    // The ".burn" files it depends on: each one's name relative to the generic folder and the
    // xxHash64 of its bytes (0 when it cannot be read).
    std::vector<std::pair<std::string, uint64>> cChain;
    uint64 inputKey = 0;
    bool readable = true;
    State state = ToCheck;
    std::vector<TargetWork> cTarget;
    BurnerResults records;
    std::string progressName;
};

struct BurnEngine::Plan
{
    std::string project;
    std::string genericFolder;                  // native
    std::string cDataFolder[PipelineDataCount]; // native; empty for a kind the project lacks
    std::unique_ptr<BurnCache> pCache;
    Mapper generic;
    int32 changelist = 0;
    bool force = false;
    std::vector<FileWork> cFile;
};

namespace
{
// The ".burn" files of each folder by their lower-case names, each folder listed once: what the
// configuration loader would find there, in any case.
class BurnFiles
{
public:
    // The file of `name` (any case) in `folder`; empty when there is none.
    const std::string& Find(const std::string& folder, const std::string& name)
    {
        auto listed = m_cFolder.find(folder);
        if (listed == m_cFolder.end())
        {
            listed = m_cFolder.emplace(folder, std::map<std::string, std::string>()).first;
            std::error_code ec;
            for (const fs::directory_entry& entry : fs::directory_iterator(folder, ec))
                if (IsBurnFile(entry.path()) && entry.is_regular_file(ec))
                    listed->second.emplace(Lower(entry.path().filename().string()), entry.path().string());
        }
        const auto found = listed->second.find(Lower(name));
        return found != listed->second.end() ? found->second : m_none;
    }

    // The chain of `native`: its own "<name>.burn", then "_default.burn" of its folder and of each
    // one above it up to the generic folder.
    std::vector<std::string> Chain(const std::string& native, const std::string& generic)
    {
        std::vector<std::string> cChain;
        fs::path folder = fs::path(native).parent_path();
        if (const std::string& own = Find(folder.string(), fs::path(native).filename().string() + ".burn");
            !own.empty())
            cChain.push_back(own);
        const size_t top = fs::path(generic).lexically_normal().string().size();
        while (true)
        {
            if (const std::string& found = Find(folder.string(), ConfigLoad::k_DefaultBurnFilename);
                !found.empty())
                cChain.push_back(found);
            if (folder.string().size() <= top || !folder.has_parent_path() || folder.parent_path() == folder)
                break;
            folder = folder.parent_path();
        }
        return cChain;
    }

private:
    static std::string Lower(std::string text)
    {
        std::transform(text.begin(), text.end(), text.begin(),
                       [](unsigned char c) { return char(std::tolower(c)); });
        return text;
    }

    std::map<std::string, std::map<std::string, std::string>> m_cFolder;
    const std::string m_none;
};
} // namespace

BurnEngine::BurnEngine(uint32 threads)
    : m_threads(threads != 0 ? threads : std::max(1u, std::thread::hardware_concurrency()))
{
}

BurnEngine::~BurnEngine()
{
    Teardown();
}

bool BurnEngine::Setup(const char* pipelineIni, BurnerResults& results)
{
    Teardown();
    const std::string ini = SystemName(pipelineIni != nullptr ? pipelineIni : "");
    if (ini.empty() || Pipeline::Initialize(ini.c_str()) != Pipeline::InitOk)
    {
        results.Add(BurnerResults::LevelError, k_Module, "Unable to read the pipeline configuration '%s'",
                    pipelineIni != nullptr ? pipelineIni : "");
        return false;
    }
    m_pipeline = true;
    m_tool = FilePath::AddAlias("TOOL", "HD", 99, std::make_shared<FilePathHDRaw>());
    if (!m_tool)
    {
        results.Add(BurnerResults::LevelError, k_Module, "Unable to add Tool alias");
        Teardown();
        return false;
    }
    // No [p4] port at all burns in local mode too.
    std::string port;
    Pipeline::GetString("p4", "RevControlPort", port);
    m_pRevControl = RevControlAPI::Create(port.c_str(), RevisionControlP4OrLocal);
    if (!m_pRevControl)
    {
        results.Add(BurnerResults::LevelError, k_Module, "Unable to reach revision control at '%s'",
                    port.c_str());
        Teardown();
        return false;
    }
    m_device = fr::Interface::CreateDevice({}) != nullptr;
    m_inventory = m_device && Inv::Warehouse::Create();
    if (!m_inventory)
    {
        results.Add(BurnerResults::LevelError, k_Module,
                    "Unable to make the render device and the inventory");
        Teardown();
        return false;
    }
    RenderModelLoadGeneric::Register();
    AnimBVBuilder::Register();
    m_ready = true;
    return true;
}

void BurnEngine::Teardown()
{
    m_ready = false;
    if (m_inventory)
        Inv::Warehouse::Destroy();
    if (m_device)
        fr::Interface::DestroyDevice();
    m_pRevControl.reset();
    if (m_tool)
        FilePath::RemoveAlias("TOOL", "HD");
    if (m_pipeline)
        Pipeline::Shutdown();
    // A changed base ".burn" is read again by the next engine.
    ConfigLoad::ClearBaseCache();
    m_inventory = m_device = m_tool = m_pipeline = false;
}

bool BurnEngine::MakePlan(const BurnRequest& request, Plan& plan, BurnerResults& results)
{
    plan.changelist = request.changelist;
    plan.force = request.force;

    // The files, by their names on disk, sorted so that the records come back in one order.
    std::vector<std::string> cNative;
    if (request.cFiles.empty())
    {
        const std::string folder = NativeName(request.folder);
        std::error_code ec;
        if (folder.empty() || !fs::is_directory(folder, ec))
        {
            results.Add(BurnerResults::LevelError, k_Module, "No folder '%s' to burn",
                        request.folder.c_str());
            return false;
        }
        std::regex pattern;
        try
        {
            pattern = std::regex(request.pattern, std::regex::ECMAScript | std::regex::icase);
        }
        catch (const std::regex_error& e)
        {
            results.Add(BurnerResults::LevelError, k_Module, "The pattern '%s' is no regular expression: %s",
                        request.pattern.c_str(), e.what());
            return false;
        }
        auto take = [&](const fs::path& path)
        {
            if (!IsBurnFile(path) && std::regex_match(path.filename().string(), pattern))
                cNative.push_back(path.string());
        };
        if (request.recurse)
        {
            for (auto it = fs::recursive_directory_iterator(folder, ec);
                 !ec && it != fs::recursive_directory_iterator(); it.increment(ec))
            {
                if (it->is_directory() && IsHidden(it->path()))
                    it.disable_recursion_pending();
                else if (it->is_regular_file())
                    take(it->path());
            }
        }
        else
            for (const fs::directory_entry& entry : fs::directory_iterator(folder, ec))
                if (entry.is_regular_file())
                    take(entry.path());
        if (ec)
        {
            results.Add(BurnerResults::LevelError, k_Module, "The folder '%s' cannot be read: %s",
                        request.folder.c_str(), ec.message().c_str());
            return false;
        }
        const char* project = Pipeline::ProjectFromPath(SystemName(folder).c_str(), DataGeneric);
        plan.project = project != nullptr ? project : "";
        if (plan.project.empty())
        {
            results.Add(BurnerResults::LevelError, k_Module,
                        "'%s' is in no project's generic data (DataGeneric of %s)", request.folder.c_str(),
                        Pipeline::FileName());
            return false;
        }
    }
    else
    {
        for (const std::string& file : request.cFiles)
        {
            const std::string native = NativeName(file);
            const char* project = Pipeline::ProjectFromPath(SystemName(native).c_str(), DataGeneric);
            std::error_code ec;
            if (project == nullptr || !fs::is_regular_file(native, ec))
            {
                results.Add(BurnerResults::LevelError, k_Module,
                            project == nullptr ? "%s: in no project's generic data" : "%s: no such file",
                            file.c_str());
                continue;
            }
            if (plan.project.empty())
                plan.project = project;
            if (strcasecmp(plan.project.c_str(), project) != 0)
            {
                results.Add(BurnerResults::LevelError, k_Module,
                            "%s: in project '%s', not '%s' as the first file of the list", file.c_str(),
                            project, plan.project.c_str());
                continue;
            }
            cNative.push_back(native);
        }
        if (plan.project.empty())
            return false;
    }
    std::sort(cNative.begin(), cNative.end());
    cNative.erase(std::unique(cNative.begin(), cNative.end()), cNative.end());

    plan.genericFolder = NativeName(Pipeline::ProjectFolder(plan.project.c_str(), DataGeneric));
    for (int kind = 0; kind < PipelineDataCount; ++kind)
    {
        const char* folder = Pipeline::ProjectFolder(plan.project.c_str(), PipelineData(kind));
        if (folder != nullptr && *folder != '\0')
            plan.cDataFolder[kind] = NativeName(folder);
    }
    // Cross-references and shared shaders of the models are found under "GENERIC".
    plan.generic = Pipeline::CreateMapper(plan.project.c_str(), DataGeneric, false);
    plan.generic.Map(true);
    const std::string& burnFolder = plan.cDataFolder[DataBurn];
    plan.pCache = std::make_unique<BurnCache>((burnFolder.empty() ? plan.genericFolder : burnFolder) + "/" +
                                              s_cacheFolder);

    // Each ".burn" file is hashed once, whatever number of files it configures.
    BurnFiles burnFiles;
    std::map<std::string, uint64> cBurnHash;
    for (const std::string& native : cNative)
    {
        FileWork work;
        work.native = native;
        work.relative = fs::path(native).lexically_relative(plan.genericFolder).generic_string();
        work.progressName = work.relative;
        for (const std::string& burn : burnFiles.Chain(native, plan.genericFolder))
        {
            auto hashed = cBurnHash.find(burn);
            if (hashed == cBurnHash.end())
            {
                BurnHasher hasher;
                hashed = cBurnHash.emplace(burn, hasher.AddFile(burn) ? hasher.Digest() : 0).first;
            }
            work.cChain.emplace_back(fs::path(burn).lexically_relative(plan.genericFolder).generic_string(),
                                     hashed->second);
        }
        plan.cFile.push_back(std::move(work));
    }
    return true;
}

void BurnEngine::CheckRecord(const Plan& plan, FileWork& work)
{
    // Everything the outputs are made from; the targets come from the chain.
    BurnHasher inputs;
    inputs.AddText(k_Version);
    inputs.AddText(work.relative);
    work.readable = inputs.AddFile(work.native);
    work.readable = inputs.AddFile(fs::path(work.native).replace_extension(".ebp").string()) && work.readable;
    for (const auto& [burn, hash] : work.cChain)
    {
        inputs.AddText(burn);
        inputs.AddText(std::to_string(hash));
        work.readable = hash != 0 && work.readable;
    }
    work.inputKey = inputs.Digest();
    work.state = FileWork::ToLoad;

    BurnCache::Record record;
    if (plan.force || !work.readable || !plan.pCache->Find(work.inputKey, record) ||
        record.source != work.relative)
        return;
    for (const BurnCache::Target& target : record.cTargets)
        for (const BurnCache::Output& output : target.cOutputs)
        {
            PipelineData kind;
            if (!PipelineDataFromName(output.kind.c_str(), kind) || plan.cDataFolder[kind].empty())
                return;
            std::error_code ec;
            if (fs::file_size(plan.cDataFolder[kind] + "/" + output.relative, ec) != output.size || ec)
                return;
        }
    if (record.cTargets.empty())
    {
        work.state = FileWork::NoTarget;
        return;
    }
    for (const BurnCache::Target& target : record.cTargets)
    {
        const size_t space = target.name.find(' ');
        work.records.Add(BurnerResults::LevelInfo, k_Module, "%s: up to date (%s/%s)", work.relative.c_str(),
                         target.name.substr(0, space).c_str(),
                         space == std::string::npos ? "" : target.name.substr(space + 1).c_str());
    }
    work.progressName = record.cTargets.front().cOutputs.front().relative;
    work.state = FileWork::UpToDate;
}

void BurnEngine::LoadTargets(const Plan& plan, FileWork& work)
{
    BurnerConfig config;
    if (!ConfigLoad::LoadConfig(SystemName(work.native).c_str(), config, work.records))
    {
        work.records.Add(BurnerResults::LevelError, k_Module, "%s: its burn configuration cannot be loaded",
                         work.relative.c_str());
        work.state = FileWork::Failed;
        return;
    }
    const std::string name = fs::path(work.native).filename().string();
    for (uint32 g = 0; g < config.TargetGroupCount(); ++g)
    {
        const BurnerConfig::TargetGroup& group = config.GetTargetGroup(g);
        bool matches = false;
        try
        {
            matches = !group.wildcard.empty() &&
                      std::regex_match(
                          name, std::regex(group.wildcard, std::regex::ECMAScript | std::regex::icase));
        }
        catch (const std::regex_error& e)
        {
            work.records.Add(BurnerResults::LevelError, k_Module,
                             "%s: the wildcard '%s' of group '%s' is no regular expression: %s",
                             work.relative.c_str(), group.wildcard.c_str(), group.name.c_str(), e.what());
            work.state = FileWork::Failed;
        }
        if (!matches)
            continue;
        for (const BurnerConfig::Target& target : group.cTargets)
        {
            FileWork::TargetWork targetWork{group.name, target, target.destination, ""};
            PipelineData kind;
            if (PipelineDataFromName(target.destination.c_str(), kind))
            {
                targetWork.destinationKind = PipelineDataName(kind);
                targetWork.destinationFolder = plan.cDataFolder[kind];
            }
            work.cTarget.push_back(std::move(targetWork));
        }
    }
    if (work.state == FileWork::Failed)
        return;
    if (!work.cTarget.empty())
    {
        work.state = FileWork::ToBurn;
        return;
    }
    // Remembered, so that the next burn passes over it without reading the configuration.
    work.state = FileWork::NoTarget;
    if (work.readable)
        plan.pCache->Store(work.inputKey, BurnCache::Record{work.relative, {}});
}

bool BurnEngine::WriteOutput(const Plan& plan, const std::string& path, const std::vector<uint8>& data,
                             bool readOnly, std::string& error)
{
    std::error_code ec;
    fs::create_directories(fs::path(path).parent_path(), ec);
    const std::string system = SystemName(path);
    bool existed = false;
    auto open = [&]() -> bool
    {
        const int result = m_pRevControl->OpenOrAdd(system.c_str(), plan.changelist);
        if (result == OpenResultFailed)
        {
            error = path + ": cannot be opened in revision control: " + m_pRevControl->GetLastError();
            return false;
        }
        return true;
    };
    {
        // Revision control and its log are the library's: one thread at a time.
        std::lock_guard<std::mutex> lock(ModelLibraryLock());
        const uint32 attr = OSFile::FileAttr(path.c_str());
        existed = attr != 0;
        // A copy this burner made read-only is ours to write again.
        if (existed && readOnly && (attr & OSFile::F_ATTRIBUTE_WRITE) == 0)
            OSFile::SetWritable(path.c_str(), true);
        if (existed && !open())
            return false;
    }
    if (OSFile::WriteWhole(path.c_str(), data.data(), data.size()) != OSFile::R_Success)
    {
        error = path + ": cannot be written";
        return false;
    }
    if (!existed)
    {
        std::lock_guard<std::mutex> lock(ModelLibraryLock());
        if (!open())
            return false;
    }
    if (readOnly)
        OSFile::SetWritable(path.c_str(), false);
    return true;
}

void BurnEngine::BurnFile(const Plan& plan, FileWork& work)
{
    const char* relative = work.relative.c_str();
    if (!work.readable)
    {
        work.records.Add(BurnerResults::LevelError, k_Module, "%s: cannot be read", relative);
        work.state = FileWork::Failed;
        return;
    }
    BurnCache::Record record{work.relative, {}};
    bool failed = false;
    for (const FileWork::TargetWork& target : work.cTarget)
    {
        const char* group = target.group.c_str();
        const char* name = target.target.name.c_str();
        const BurnPlugin plugin = FindBurnPlugin(target.target.plugin);
        if (plugin == nullptr)
        {
            work.records.Add(BurnerResults::LevelError, k_Module,
                             "%s: unknown plugin '%s' (group '%s', target '%s')", relative,
                             target.target.plugin.c_str(), group, name);
            failed = true;
            continue;
        }
        if (target.destinationFolder.empty())
        {
            work.records.Add(BurnerResults::LevelError, k_Module,
                             "%s: project '%s' has no data folder '%s' (group '%s', target '%s')", relative,
                             plan.project.c_str(), target.target.destination.c_str(), group, name);
            failed = true;
            continue;
        }
        BurnJob job{work.native, work.relative, &target.target};
        std::vector<BurnOutput> cOutput;
        std::string error;
        if (!plugin(job, cOutput, error) || cOutput.empty())
        {
            work.records.Add(BurnerResults::LevelError, k_Module, "%s: %s (group '%s', target '%s')",
                             relative, error.empty() ? "made nothing" : error.c_str(), group, name);
            failed = true;
            continue;
        }
        const bool readOnly = strcasecmp(BurnParam(target.target, "read_only", "no").c_str(), "yes") == 0;
        BurnCache::Target made{target.group + " " + target.target.name, {}};
        std::vector<std::string> cWritten;
        for (const BurnOutput& output : cOutput)
        {
            if (!WriteOutput(plan, target.destinationFolder + "/" + output.relative, output.data, readOnly,
                             error))
            {
                work.records.Add(BurnerResults::LevelError, k_Module, "%s: %s (group '%s', target '%s')",
                                 relative, error.c_str(), group, name);
                failed = true;
                break;
            }
            made.cOutputs.push_back({target.destinationKind, output.relative, output.data.size()});
            cWritten.push_back(output.relative);
        }
        if (cWritten.size() != cOutput.size())
            continue;
        work.records.Add(BurnerResults::LevelInfo, k_Module, "%s: burned to %s (%s/%s)", relative,
                         Join(cWritten).c_str(), group, name);
        if (work.progressName == work.relative)
            work.progressName = cWritten.front();
        record.cTargets.push_back(std::move(made));
    }
    // Only a file whose every target went well is remembered; the others burn again next time.
    if (failed)
    {
        work.state = FileWork::Failed;
        plan.pCache->Forget(work.inputKey);
        return;
    }
    if (!plan.pCache->Store(work.inputKey, record))
        work.records.Add(BurnerResults::LevelWarning, k_Module, "%s: the burn record '%s' cannot be written",
                         relative, plan.pCache->RecordPath(work.inputKey).c_str());
}

template <class Wanted, class Fn> void BurnEngine::ForEachFile(Plan& plan, const Wanted& wanted, const Fn& fn)
{
    std::vector<FileWork*> cWork;
    for (FileWork& work : plan.cFile)
        if (wanted(work))
            cWork.push_back(&work);
    std::atomic<size_t> next{0};
    auto worker = [&]()
    {
        for (size_t i = next++; i < cWork.size(); i = next++)
        {
            try
            {
                fn(*cWork[i]);
            }
            catch (const std::exception& e)
            {
                cWork[i]->records.Add(BurnerResults::LevelError, k_Module, "%s: %s",
                                      cWork[i]->relative.c_str(), e.what());
                cWork[i]->state = FileWork::Failed;
            }
        }
    };
    const size_t threads = std::min<size_t>(m_threads, std::max<size_t>(cWork.size(), 1));
    std::vector<std::thread> cThread;
    for (size_t t = 1; t < threads; ++t)
        cThread.emplace_back(worker);
    worker();
    for (std::thread& thread : cThread)
        thread.join();
}

BurnSummary BurnEngine::Burn(const BurnRequest& request, BurnerResults& results, const Progress& progress)
{
    BurnSummary summary;
    if (!m_ready)
    {
        results.Add(BurnerResults::LevelError, k_Module, "The burner is not set up");
        return summary;
    }
    // A base ".burn" changed since the last request is read again.
    ConfigLoad::ClearBaseCache();
    Plan plan;
    if (!MakePlan(request, plan, results))
        return summary;

    // The records first, on every thread; then the configurations of the files they do not cover,
    // on this one (the loader keeps a cache); then the burn, on every thread.
    ForEachFile(
        plan, [](const FileWork&) { return true; }, [&](FileWork& work) { CheckRecord(plan, work); });
    for (FileWork& work : plan.cFile)
        if (work.state == FileWork::ToLoad)
            LoadTargets(plan, work);

    uint32 total = 0;
    for (const FileWork& work : plan.cFile)
        total += work.state != FileWork::NoTarget ? 1 : 0;
    std::mutex progressLock;
    uint32 done = 0;
    auto report = [&](const FileWork& work)
    {
        std::lock_guard<std::mutex> lock(progressLock);
        ++done;
        if (progress)
        {
            BurnerResults update;
            update.AddText(
                BurnerResults::LevelInfo,
                (std::to_string(done) + "/" + std::to_string(total) + " " + work.progressName).c_str());
            progress(update);
        }
    };
    for (const FileWork& work : plan.cFile)
        if (work.state == FileWork::UpToDate || work.state == FileWork::Failed)
            report(work);
    ForEachFile(
        plan, [](const FileWork& work) { return work.state == FileWork::ToBurn; },
        [&](FileWork& work)
        {
            try
            {
                BurnFile(plan, work);
            }
            catch (const std::exception& e)
            {
                work.records.Add(BurnerResults::LevelError, k_Module, "%s: %s", work.relative.c_str(),
                                 e.what());
                work.state = FileWork::Failed;
            }
            report(work);
        });

    for (const FileWork& work : plan.cFile)
    {
        if (work.state == FileWork::NoTarget)
            continue;
        results.Append(work.records);
        ++summary.filesMatched;
        if (work.state == FileWork::Failed)
            ++summary.filesFailed;
        else
        {
            ++summary.filesBurned;
            summary.filesSkipped += work.state == FileWork::UpToDate ? 1 : 0;
        }
    }
    return summary;
}
