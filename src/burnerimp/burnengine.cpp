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
#include <filesystem>
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

    std::string native;
    std::string relative; // to the generic folder, '/' between components
    std::vector<std::string> cChain;
    std::vector<TargetWork> cTarget;
    BurnerResults records;
    bool failed = false;
    bool upToDate = true;
    std::string progressName;
};

struct BurnEngine::Plan
{
    std::string project;
    std::string genericFolder; // native
    std::unique_ptr<BurnCache> pCache;
    Mapper generic;
    int32 changelist = 0;
    bool force = false;
    std::vector<FileWork> cFile;
};

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
        results.Add(BurnerResults::LevelError, k_Module, "Unable to reach revision control at '%s'", port.c_str());
        Teardown();
        return false;
    }
    m_device = fr::Interface::CreateDevice({}) != nullptr;
    m_inventory = m_device && Inv::Warehouse::Create();
    if (!m_inventory)
    {
        results.Add(BurnerResults::LevelError, k_Module, "Unable to make the render device and the inventory");
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
            results.Add(BurnerResults::LevelError, k_Module, "No folder '%s' to burn", request.folder.c_str());
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
            for (auto it = fs::recursive_directory_iterator(folder, ec); !ec && it != fs::recursive_directory_iterator();
                 it.increment(ec))
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
        plan.project = Pipeline::ProjectFromPath(SystemName(folder).c_str(), DataGeneric)
                           ? Pipeline::ProjectFromPath(SystemName(folder).c_str(), DataGeneric)
                           : "";
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
                            "%s: in project '%s', not '%s' as the first file of the list", file.c_str(), project,
                            plan.project.c_str());
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
    // Cross-references and shared shaders of the models are found under "GENERIC".
    plan.generic = Pipeline::CreateMapper(plan.project.c_str(), DataGeneric, false);
    plan.generic.Map(true);
    const std::string burnFolder = Pipeline::ProjectFolder(plan.project.c_str(), DataBurn);
    plan.pCache = std::make_unique<BurnCache>(
        (burnFolder.empty() ? plan.genericFolder : NativeName(burnFolder)) + "/" + s_cacheFolder);

    for (const std::string& native : cNative)
    {
        FileWork work;
        work.native = native;
        work.relative = fs::path(native).lexically_relative(plan.genericFolder).generic_string();
        work.progressName = work.relative;
        BurnerConfig config;
        std::vector<std::string> cChain;
        if (!ConfigLoad::LoadConfig(SystemName(native).c_str(), config, work.records, &cChain))
        {
            work.records.Add(BurnerResults::LevelError, k_Module, "%s: its burn configuration cannot be loaded",
                             work.relative.c_str());
            work.failed = true;
            plan.cFile.push_back(std::move(work));
            continue;
        }
        for (const std::string& burn : cChain)
            work.cChain.push_back(NativeName(burn));
        const std::string name = fs::path(native).filename().string();
        for (uint32 g = 0; g < config.TargetGroupCount(); ++g)
        {
            const BurnerConfig::TargetGroup& group = config.GetTargetGroup(g);
            bool matches = false;
            try
            {
                matches = !group.wildcard.empty() &&
                          std::regex_match(name, std::regex(group.wildcard, std::regex::ECMAScript | std::regex::icase));
            }
            catch (const std::regex_error& e)
            {
                work.records.Add(BurnerResults::LevelError, k_Module,
                                 "%s: the wildcard '%s' of group '%s' is no regular expression: %s",
                                 work.relative.c_str(), group.wildcard.c_str(), group.name.c_str(), e.what());
                work.failed = true;
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
                    const char* folder = Pipeline::ProjectFolder(plan.project.c_str(), kind);
                    if (folder != nullptr && *folder != '\0')
                        targetWork.destinationFolder = NativeName(folder);
                }
                work.cTarget.push_back(std::move(targetWork));
            }
        }
        // A file that no group takes is not part of the burn.
        if (!work.cTarget.empty() || work.failed)
            plan.cFile.push_back(std::move(work));
    }
    return true;
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
    if (work.failed)
        return;
    // Everything the outputs are made from, but the target's own name and plug-in.
    BurnHasher inputs;
    inputs.AddText(k_Version);
    inputs.AddText(work.relative);
    bool readable = inputs.AddFile(work.native);
    readable = inputs.AddFile(fs::path(work.native).replace_extension(".ebp").string()) && readable;
    for (const std::string& burn : work.cChain)
        readable = inputs.AddFile(burn) && readable;
    const uint64 inputKey = inputs.Digest();
    const char* relative = work.relative.c_str();

    for (const FileWork::TargetWork& target : work.cTarget)
    {
        const char* group = target.group.c_str();
        const char* name = target.target.name.c_str();
        const BurnPlugin plugin = FindBurnPlugin(target.target.plugin);
        if (plugin == nullptr)
        {
            work.records.Add(BurnerResults::LevelError, k_Module, "%s: unknown plugin '%s' (group '%s', target '%s')",
                             relative, target.target.plugin.c_str(), group, name);
            work.failed = true;
            continue;
        }
        if (target.destinationFolder.empty())
        {
            work.records.Add(BurnerResults::LevelError, k_Module,
                             "%s: project '%s' has no data folder '%s' (group '%s', target '%s')", relative,
                             plan.project.c_str(), target.target.destination.c_str(), group, name);
            work.failed = true;
            continue;
        }
        if (!readable)
        {
            work.records.Add(BurnerResults::LevelError, k_Module, "%s: cannot be read", relative);
            work.failed = true;
            continue;
        }
        BurnHasher keyHash;
        keyHash.AddText(std::to_string(inputKey));
        keyHash.AddText(target.group);
        keyHash.AddText(target.target.name);
        keyHash.AddText(target.target.plugin);
        keyHash.AddText(target.destinationKind);
        const uint64 key = keyHash.Digest();

        BurnCache::Record record;
        if (!plan.force && plan.pCache->Find(key, record))
        {
            bool present = true;
            for (const BurnCache::Output& output : record.cOutputs)
            {
                std::error_code ec;
                const std::string path = target.destinationFolder + "/" + output.relative;
                present = present && output.kind == target.destinationKind && fs::file_size(path, ec) == output.size && !ec;
            }
            if (present)
            {
                work.records.Add(BurnerResults::LevelInfo, k_Module, "%s: up to date (%s/%s)", relative, group, name);
                work.progressName = record.cOutputs.front().relative;
                continue;
            }
        }
        work.upToDate = false;

        BurnJob job{work.native, work.relative, &target.target};
        std::vector<BurnOutput> cOutput;
        std::string error;
        if (!plugin(job, cOutput, error))
        {
            work.records.Add(BurnerResults::LevelError, k_Module, "%s: %s (group '%s', target '%s')", relative,
                             error.c_str(), group, name);
            work.failed = true;
            continue;
        }
        const bool readOnly = strcasecmp(BurnParam(target.target, "read_only", "no").c_str(), "yes") == 0;
        record = BurnCache::Record{work.relative, target.group + " " + target.target.name, {}};
        std::vector<std::string> cWritten;
        bool written = true;
        for (const BurnOutput& output : cOutput)
        {
            if (!WriteOutput(plan, target.destinationFolder + "/" + output.relative, output.data, readOnly, error))
            {
                work.records.Add(BurnerResults::LevelError, k_Module, "%s: %s (group '%s', target '%s')", relative,
                                 error.c_str(), group, name);
                written = false;
                break;
            }
            record.cOutputs.push_back({target.destinationKind, output.relative, output.data.size()});
            cWritten.push_back(output.relative);
        }
        if (!written || cOutput.empty())
        {
            plan.pCache->Forget(key);
            work.failed = true;
            continue;
        }
        if (!plan.pCache->Store(key, record))
            work.records.Add(BurnerResults::LevelWarning, k_Module, "%s: the burn record '%s' cannot be written",
                             relative, plan.pCache->RecordPath(key).c_str());
        work.records.Add(BurnerResults::LevelInfo, k_Module, "%s: burned to %s (%s/%s)", relative,
                         Join(cWritten).c_str(), group, name);
        work.progressName = cWritten.front();
    }
}

BurnSummary BurnEngine::Burn(const BurnRequest& request, BurnerResults& results, const Progress& progress)
{
    BurnSummary summary;
    if (!m_ready)
    {
        results.Add(BurnerResults::LevelError, k_Module, "The burner is not set up");
        return summary;
    }
    Plan plan;
    if (!MakePlan(request, plan, results))
        return summary;

    const uint32 total = uint32(plan.cFile.size());
    std::atomic<uint32> next{0};
    std::mutex progressLock;
    uint32 done = 0;
    auto worker = [&]()
    {
        for (uint32 i = next++; i < total; i = next++)
        {
            FileWork& work = plan.cFile[i];
            try
            {
                BurnFile(plan, work);
            }
            catch (const std::exception& e)
            {
                work.records.Add(BurnerResults::LevelError, k_Module, "%s: %s", work.relative.c_str(), e.what());
                work.failed = true;
            }
            std::lock_guard<std::mutex> lock(progressLock);
            ++done;
            if (progress)
            {
                BurnerResults update;
                update.AddText(BurnerResults::LevelInfo,
                               (std::to_string(done) + "/" + std::to_string(total) + " " + work.progressName).c_str());
                progress(update);
            }
        }
    };
    const uint32 threads = std::min(m_threads, std::max(total, 1u));
    std::vector<std::thread> cThread;
    for (uint32 t = 1; t < threads; ++t)
        cThread.emplace_back(worker);
    worker();
    for (std::thread& thread : cThread)
        thread.join();

    for (const FileWork& work : plan.cFile)
    {
        results.Append(work.records);
        ++summary.filesMatched;
        if (work.failed)
            ++summary.filesFailed;
        else
        {
            ++summary.filesBurned;
            summary.filesSkipped += work.upToDate ? 1 : 0;
        }
    }
    return summary;
}
