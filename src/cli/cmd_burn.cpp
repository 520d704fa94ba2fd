// tq7z burn FILE|FOLDER: the burn of a file or folder of a generic tree by the burner program.
// tq7z burn config|set|reset: the burn configuration of a file or folder of a generic tree, merged
// from its ".burn" files, and changes of one parameter saved as the minimal ".burn" file through
// revision control.
#include "cli/command.h"
#include "cli/outputfile.h"

#include "burnconfig/configload.h"
#include "burner/burner.h"
#include "burner/burnercommand.h"
#include "foundation/debug.h"
#include "foundation/output.h"
#include "pipeline/fullpath.h"
#include "pipeline/pipeline.h"
#include "revcontrol/revcontrolapi.h"
#include "storage/bytestream.h"
#include "storage/filepath.h"
#include "storage/filepath_hd.h"
#include "storage/filepathutil.h"
#include "storage/osfile.h"
#include "storage/userpath.h"

#include <nlohmann/json.hpp>

#include <cmath>
#include <cstdio>
#include <memory>
#include <stdexcept>
#include <string>
#include <unistd.h>
#include <vector>

namespace
{
using Json = nlohmann::ordered_json;

const char* const s_changelistDescription = "SGM Export Changes";

// Paths are shown as this system's files are named.
std::string Native(const std::string& path)
{
    return OSFile::NativeName(path.c_str());
}

// A command-line path as the system takes it: full, and a folder without a separator at its end.
std::string FullName(const std::string& path)
{
    std::string full = FullPath::Expand(path.empty() ? "." : path.c_str());
    while (full.size() > 1 && full.back() == '\\')
        full.pop_back();
    return full;
}

// The pipeline of the tree for the life of a command.
class PipelineScope
{
public:
    PipelineScope(const char* command, const std::string& full)
    {
        const int result = Pipeline::Initialize(full.c_str());
        m_open = result == Pipeline::InitOk;
        if (!m_open)
            std::fprintf(stderr, "tq7z burn %s: no usable pipeline.ini above %s (%s)\n", command,
                         Native(full).c_str(),
                         result == Pipeline::InitNotFound ? "none found"
                                                          : "it cannot be read or has no complete project");
    }
    ~PipelineScope()
    {
        if (m_open)
            Pipeline::Shutdown();
    }
    PipelineScope(const PipelineScope&) = delete;
    PipelineScope& operator=(const PipelineScope&) = delete;
    bool IsOpen() const { return m_open; }

private:
    bool m_open = false;
};

// Loads the configuration of `full`; the messages of the load go to standard error.
bool Load(const char* command, const std::string& full, BurnerConfig& config,
          std::vector<std::string>* pChain = nullptr)
{
    BurnerResults results;
    const bool loaded = ConfigLoad::LoadConfig(full.c_str(), config, results, pChain);
    for (const BurnerResults::Record& record : results)
        std::fprintf(stderr, "%s\n", record.text.c_str());
    if (!loaded)
        std::fprintf(stderr, "tq7z burn %s: the burn configuration of %s could not be loaded\n", command,
                     Native(full).c_str());
    return loaded;
}

Json VersionJson(double version)
{
    if (std::floor(version) == version && std::fabs(version) < 9.0e15)
        return Json(static_cast<long long>(version));
    return Json(version);
}

void PrintJson(const BurnerConfig& config, const std::vector<std::string>& chain)
{
    Json out;
    out["chain"] = Json::array();
    for (const std::string& file : chain)
        out["chain"].push_back(Native(file));
    out["version"] = VersionJson(config.GetVersion());
    out["groups"] = Json::array();
    for (uint32 g = 0; g < config.TargetGroupCount(); ++g)
    {
        const BurnerConfig::TargetGroup& group = config.GetTargetGroup(g);
        Json targets = Json::array();
        for (const BurnerConfig::Target& target : group.cTargets)
        {
            Json params = Json::array();
            for (const BurnerConfig::Param& param : target.cParams)
                params.push_back(
                    {{"name", param.name}, {"value", param.value}, {"default", param.isDefault}});
            targets.push_back({{"name", target.name},
                               {"destination", target.destination},
                               {"plugin", target.plugin},
                               {"params", std::move(params)}});
        }
        out["groups"].push_back(
            {{"name", group.name}, {"wildcard", group.wildcard}, {"targets", std::move(targets)}});
    }
    std::printf("%s\n", out.dump(2).c_str());
}

void PrintText(const BurnerConfig& config, const std::vector<std::string>& chain)
{
    std::printf("chain (base first):\n");
    for (const std::string& file : chain)
        std::printf("  %s\n", Native(file).c_str());
    std::printf("version: %s\n", VersionJson(config.GetVersion()).dump().c_str());
    for (uint32 g = 0; g < config.TargetGroupCount(); ++g)
    {
        const BurnerConfig::TargetGroup& group = config.GetTargetGroup(g);
        std::printf("group %s (wildcard %s)\n", group.name.c_str(), group.wildcard.c_str());
        for (const BurnerConfig::Target& target : group.cTargets)
        {
            std::printf("  target %s: destination %s, plugin %s\n", target.name.c_str(),
                        target.destination.c_str(), target.plugin.c_str());
            for (const BurnerConfig::Param& param : target.cParams)
                std::printf("    %s = %s%s\n", param.name.c_str(), param.value.c_str(),
                            param.isDefault ? " (default)" : "");
        }
    }
}

int RunConfig(const std::string& path, bool json)
{
    const std::string full = FullName(path);
    PipelineScope pipeline("config", full);
    if (!pipeline.IsOpen())
        return 1;
    BurnerConfig config;
    std::vector<std::string> chain;
    if (!Load("config", full, config, &chain))
        return 1;
    if (json)
        PrintJson(config, chain);
    else
        PrintText(config, chain);
    return std::fflush(stdout) == 0 ? 0 : 1;
}

struct EditOptions
{
    std::string path;
    std::string group;
    std::string target;
    std::string param;
    std::string value;
};

// The save says why it failed on the burner's log channel, which the console does not show: the
// command collects those lines while it saves and shows them with its failure.
std::vector<std::string> s_saveLines;
void CollectSaveLines(const char* const* lines, uint32 count, uint32 channel)
{
    if (channel == ConfigLoad::k_Channel)
        for (uint32 i = 0; i < count; ++i)
            s_saveLines.push_back(UserPath::InText(lines[i] ? lines[i] : ""));
}

// Loads, hands the parameter's target to `change`, and saves through revision control in the
// changelist of the tools.
template <class Change> int RunEdit(const char* command, const EditOptions& options, Change change)
{
    const std::string full = FullName(options.path);
    PipelineScope pipeline(command, full);
    if (!pipeline.IsOpen())
        return 1;
    BurnerConfig config;
    if (!Load(command, full, config))
        return 1;
    const BurnerConfig::TargetID id = config.FindTarget(options.group.c_str(), options.target.c_str());
    if (id == BurnerConfig::TargetID::InvalidID)
    {
        std::fprintf(stderr, "tq7z burn %s: the configuration has no target '%s' in a group '%s'\n", command,
                     options.target.c_str(), options.group.c_str());
        return 1;
    }
    if (config.FindParam(id, options.param.c_str()) == nullptr)
    {
        std::fprintf(stderr,
                     "tq7z burn %s: target '%s' of group '%s' has no parameter '%s' (the parameters are "
                     "named in the base _default.burn)\n",
                     command, options.target.c_str(), options.group.c_str(), options.param.c_str());
        return 1;
    }
    if (!change(config, id, full))
        return 1;

    // An empty or missing server address is local mode.
    std::string port;
    Pipeline::GetString("p4", "RevControlPort", port);
    std::unique_ptr<RevControlAPI> pRevCtrl = RevControlAPI::Create(port.c_str(), RevisionControlP4OrLocal);
    int changelist = 0;
    if (pRevCtrl == nullptr || !pRevCtrl->FindOrCreateChangelist(s_changelistDescription, changelist))
    {
        std::fprintf(stderr, "tq7z burn %s: no pending changelist \"%s\" could be found or made\n", command,
                     s_changelistDescription);
        return 1;
    }
    char burnName[FilePathUtil::MAXPATH];
    ConfigLoad::GetBurnFilename(full.c_str(), burnName, sizeof(burnName));
    const bool existed = (OSFile::FileAttr(burnName) & OSFile::F_ATTRIBUTE_FILE) != 0;
    s_saveLines.clear();
    const bool listening = dbg::AddListener(&CollectSaveLines);
    const bool saved = ConfigLoad::SaveConfig(*pRevCtrl, changelist, full.c_str(), config);
    if (listening)
        dbg::RemoveListener(&CollectSaveLines);
    if (!saved)
    {
        for (const std::string& line : s_saveLines)
            std::fprintf(stderr, "%s\n", line.c_str());
        std::fprintf(stderr, "tq7z burn %s: the configuration of %s was not saved (see above)\n", command,
                     Native(full).c_str());
        return 1;
    }
    if ((OSFile::FileAttr(burnName) & OSFile::F_ATTRIBUTE_FILE) != 0)
        std::printf("%s: written\n", Native(burnName).c_str());
    else
        std::printf("%s: %s, as nothing differs from the level above\n", Native(burnName).c_str(),
                    existed ? "removed" : "not needed");
    return 0;
}

int RunSet(const EditOptions& options)
{
    return RunEdit("set", options,
                   [&options](BurnerConfig& config, BurnerConfig::TargetID id, const std::string&)
                   {
                       BurnerConfig::Param param = *config.FindParam(id, options.param.c_str());
                       param.value = options.value;
                       return config.SetParam(id, param);
                   });
}

int RunReset(const EditOptions& options)
{
    return RunEdit(
        "reset", options,
        [&options](BurnerConfig& config, BurnerConfig::TargetID id, const std::string& full)
        {
            BurnerConfig parent;
            bool hasParent = false;
            if (!ConfigLoad::LoadParentConfig(full.c_str(), parent, hasParent))
            {
                std::fprintf(stderr, "tq7z burn reset: the level above %s could not be loaded\n",
                             Native(full).c_str());
                return false;
            }
            if (!hasParent)
            {
                std::fprintf(stderr,
                             "tq7z burn reset: %s is the top of its generic tree; its _default.burn is "
                             "the base, edited by hand\n",
                             Native(full).c_str());
                return false;
            }
            const BurnerConfig::Target* pTarget = config.GetTargetInfo(id);
            const BurnerConfig::Param* pAbove = parent.FindParam(
                parent.FindTarget(config.GetTargetGroup(id.group).name.c_str(), pTarget->name.c_str()),
                options.param.c_str());
            // A parameter the level above lacks has no value to go back to: it goes.
            if (pAbove == nullptr)
                return config.RemoveParam(id, options.param.c_str());
            return config.SetParam(id, *pAbove);
        });
}

// What a burn command sets up (BurnerCommand), taken down when the command ends.
class BurnerCommandScope
{
public:
    BurnerCommandScope() = default;
    ~BurnerCommandScope() { TearDown(); }
    BurnerCommandScope(const BurnerCommandScope&) = delete;
    BurnerCommandScope& operator=(const BurnerCommandScope&) = delete;

    void SetUp(const std::string& file)
    {
        m_setUp = true;
        BurnerCommand::SetUp(file);
    }
    void TearDown()
    {
        if (m_setUp)
            BurnerCommand::TearDown();
        m_setUp = false;
    }

private:
    bool m_setUp = false;
};

// Progress of a burn on standard error, from the burner's "done/total name" records: a bar redrawn
// in place on a terminal, a line per file otherwise.
class BurnProgress
{
public:
    BurnProgress() : m_terminal(::isatty(STDERR_FILENO) != 0) {}
    ~BurnProgress() { End(); }
    BurnProgress(const BurnProgress&) = delete;
    BurnProgress& operator=(const BurnProgress&) = delete;

    void Show(const BurnerResults::Record& record)
    {
        unsigned done = 0, total = 0;
        int nameAt = 0;
        if (record.level != BurnerResults::LevelInfo ||
            std::sscanf(record.text.c_str(), "%u/%u %n", &done, &total, &nameAt) != 2 || nameAt == 0 ||
            total == 0 || done > total)
            return;
        const char* name = record.text.c_str() + nameAt;
        if (!m_terminal)
        {
            std::fprintf(stderr, "tq7z burn: %u/%u %s\n", done, total, name);
            return;
        }
        constexpr unsigned width = 30;
        const unsigned filled = unsigned(uint64(done) * width / total);
        std::fprintf(stderr, "\r\x1b[K[%s%s] %u/%u %.60s", std::string(filled, '#').c_str(),
                     std::string(width - filled, '.').c_str(), done, total, name);
        std::fflush(stderr);
        m_drawn = true;
    }
    void End()
    {
        if (m_drawn)
            std::fputc('\n', stderr);
        m_drawn = false;
    }

private:
    bool m_terminal;
    bool m_drawn = false;
};

// The burn itself, started and polled here so that its progress shows between the polls.
bool BurnWithProgress(uint32 changelist, const std::string& file, bool force, uint32& filesBurned,
                      BurnerResults& results)
{
    filesBurned = 0;
    Burner* pBurner = Burner::Instance();
    if (pBurner == nullptr || !pBurner->BurnAsync(changelist, file, force, false, true, results))
        return false;
    BurnProgress progress;
    size_t shown = results.Count();
    bool done = false;
    while (!done)
    {
        if (!pBurner->Poll(done, filesBurned, results))
            return false;
        for (; shown < results.Count(); ++shown)
            progress.Show(results[shown]);
    }
    return true;
}

int RunBurnCommand(const std::string& typed, bool force, bool json)
{
    const std::string file = FullName(typed);
    BurnerResults results;
    uint32 filesBurned = 0;
    std::string failure;
    BurnerCommandScope scope;
    try
    {
        scope.SetUp(file);
        // The burn writes under the project's final folder: say so before it starts when it cannot.
        const char* project = Pipeline::ProjectFromPath(file.c_str(), DataGeneric);
        const char* finalFolder = project != nullptr ? Pipeline::ProjectFolder(project, DataFinal) : nullptr;
        if (finalFolder != nullptr && *finalFolder != '\0')
        {
            const std::string shown = UserPath::FromName(finalFolder);
            if (!cli::CheckWritableFolder("burn", shown, shown))
                return 1;
        }
        int changelist = 0;
        RevControlAPI* pRevCtrl = BurnerCommand::GetRevCtrl();
        if (pRevCtrl == nullptr || !pRevCtrl->FindOrCreateChangelist(s_changelistDescription, changelist))
            throw std::runtime_error("Burner: Unable to create changelist\n");
        const bool burned = BurnWithProgress(uint32(changelist), file, force, filesBurned, results);
        // The records come first, also after a failure.
        if (!json)
            for (const BurnerResults::Record& record : results)
                std::printf("%s\n", record.text.c_str());
        if (!burned || filesBurned == 0)
            throw std::runtime_error("Burner: Burn failed, see log messages.'\n");
    }
    catch (const std::exception& e)
    {
        failure = UserPath::InText(e.what());
    }
    scope.TearDown();

    if (json)
    {
        Json out;
        out["path"] = typed;
        out["filesBurned"] = filesBurned;
        out["records"] = Json::array();
        for (const BurnerResults::Record& record : results)
            out["records"].push_back({{"level", record.level}, {"text", record.text}});
        out["error"] = failure.empty() ? Json() : Json(failure.substr(0, failure.find_last_not_of('\n') + 1));
        std::printf("%s\n", out.dump(2).c_str());
    }
    if (!failure.empty())
    {
        std::fprintf(stderr, "%s", failure.c_str());
        return 1;
    }
    if (!json)
        // The burner counts a file found up to date as done: its records above tell which.
        std::fprintf(stderr, "tq7z burn: %s: %u file%s burned or up to date\n", typed.c_str(), filesBurned,
                     filesBurned == 1 ? "" : "s");
    return std::fflush(stdout) == 0 ? 0 : 1;
}

void AddEditOptions(CLI::App* command, EditOptions& options)
{
    command->add_option("PATH", options.path, "A file or folder of a project's generic tree")->required();
    command->add_option("GROUP", options.group, "The target group (any case)")->required();
    command->add_option("TARGET", options.target, "The target of the group (any case)")->required();
    command->add_option("PARAM", options.param, "The parameter (any case)")->required();
}

cli::CommandRegistrar s_burn(
    [](CLI::App& app, int& exitCode)
    {
        CLI::App* burn =
            cli::GetOrAddSubcommand(app, "burn", "The burner and its configuration (.burn files)");

        // tq7z burn FILE|FOLDER: the command's own action when no subcommand is named.
        struct BurnOptions
        {
            std::string path;
            bool force = false;
            bool json = false;
        };
        auto burnOptions = std::make_shared<BurnOptions>();
        burn->require_subcommand(0, 1);
        burn->footer(
            "tq7z burn FILE|FOLDER: burn a file or folder of a project's generic tree into the\n"
            "project's final data. A file name may hold the wildcards * and ?; a folder burns every file\n"
            "in it. The burner program is found in \"burnerPath\" under [burner] of the pipeline.ini;\n"
            "outputs open in the pending changelist \"SGM Export Changes\". The burner's records go to\n"
            "standard output, progress to standard error. Exit 1 when the burn fails or burns nothing.\n"
            "A file named config, set or reset is given as ./config. The subcommands show and change\n"
            "the burn configuration.");
        burn->add_option("FILE|FOLDER", burnOptions->path, "A file (wildcards * and ?) or folder to burn");
        burn->add_flag("--force", burnOptions->force,
                       "Burn every file again, even when its inputs have not changed since its last burn");
        burn->add_flag("--json", burnOptions->json,
                       "One JSON object: path, filesBurned, records (level, text), error (null on success)");
        burn->callback(
            [burn, burnOptions, &exitCode]
            {
                if (!burn->get_subcommands().empty())
                    return;
                if (burnOptions->path.empty())
                {
                    std::fprintf(stderr, "tq7z burn: a FILE or FOLDER to burn, or a subcommand (config, set, "
                                         "reset), is required; see tq7z burn --help\n");
                    exitCode = 2;
                    return;
                }
                exitCode = RunBurnCommand(burnOptions->path, burnOptions->force, burnOptions->json);
            });

        struct ConfigOptions
        {
            std::string path;
            bool json = false;
        };
        auto configOptions = std::make_shared<ConfigOptions>();
        CLI::App* config = burn->add_subcommand(
            "config",
            "Show the burn configuration of a file or folder of a generic tree, merged from the\n"
            "\"_default.burn\" at the top down to the file's own .burn: the files used (base first), then\n"
            "each target group with its wildcard, each target with destination and plugin, and each\n"
            "parameter with its value, marked (default) when it equals the level above. Messages of the\n"
            "load go to standard error; exit 1 when the load fails.");
        config->add_option("PATH", configOptions->path, "A file or folder of a project's generic tree")
            ->required();
        config->add_flag("--json", configOptions->json,
                         "One JSON object: chain, version, groups (name, wildcard, targets (name, "
                         "destination, plugin, params (name, value, default)))");
        config->callback([configOptions, &exitCode]
                         { exitCode = RunConfig(configOptions->path, configOptions->json); });

        auto setOptions = std::make_shared<EditOptions>();
        CLI::App* set = burn->add_subcommand(
            "set",
            "Set a parameter of a file's or folder's configuration and save its .burn (or\n"
            "_default.burn) with only what differs from the level above, opened through revision\n"
            "control (\"RevControlPort\" under [p4] of the pipeline.ini; local mode when empty). A file\n"
            "left equal to the level above is reverted or deleted.");
        AddEditOptions(set, *setOptions);
        set->add_option("VALUE", setOptions->value, "The new value")->required();
        set->callback([setOptions, &exitCode] { exitCode = RunSet(*setOptions); });

        auto resetOptions = std::make_shared<EditOptions>();
        CLI::App* reset = burn->add_subcommand(
            "reset", "Put a parameter back to the value of the level above and save as \"set\" does.");
        AddEditOptions(reset, *resetOptions);
        reset->callback([resetOptions, &exitCode] { exitCode = RunReset(*resetOptions); });
    });
} // namespace
