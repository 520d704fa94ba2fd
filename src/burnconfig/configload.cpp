#include "burnconfig/configload.h"

#include "burnconfig/configload_internal.h"
#include "foundation/debug.h"
#include "foundation/output.h"
#include "names/faststring.h"
#include "pipeline/pipeline.h"
#include "storage/filepathutil.h"
#include "storage/osfile.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <map>

namespace ConfigLoad
{
namespace
{
// A name in the system's form, without the separators that may end a folder's name.
std::string Clean(const char* name)
{
    std::string clean(name);
    FilePathUtil::Normalize(clean.data());
    clean.resize(std::strlen(clean.c_str()));
    while (clean.size() > 1 && clean.back() == '\\')
        clean.pop_back();
    return clean;
}

bool IsFile(const std::string& name)
{
    return (OSFile::FileAttr(name.c_str()) & OSFile::F_ATTRIBUTE_FILE) != 0;
}

std::string FolderOf(const std::string& name)
{
    const size_t cut = name.rfind('\\');
    return cut == std::string::npos ? std::string() : name.substr(0, cut);
}

// Whether `path` is the folder `top` or lies in it; a folder "Data" does not hold "Data2".
bool IsWithin(const std::string& path, const std::string& top)
{
    if (!FilePathUtil::HasPrefix(path.c_str(), top.c_str()))
        return false;
    const char next = path[top.size()];
    return next == '\0' || next == '\\';
}

// The generic folder of the project that owns `name`; false, with the message, when there is none.
template <class Report> bool GenericFolder(const std::string& name, std::string& generic, Report report)
{
    const char* project = Pipeline::ProjectFromPath(name.c_str(), DataGeneric);
    if (project == nullptr)
    {
        report("File [%s] does not belong to a pipeline project.", name.c_str());
        return false;
    }
    const char* folder = Pipeline::ProjectFolder(project, DataGeneric);
    if (folder == nullptr || *folder == '\0')
    {
        report("Project [%s] does not have a generic path.", project);
        return false;
    }
    generic = Clean(folder);
    return true;
}

// The "_default.burn" files from `folder` up to the generic folder, nearest first; `self` is left
// out, as a folder's own "_default.burn" heads its chain already.
std::vector<std::string> GatherDefaults(std::string folder, const std::string& generic,
                                        const std::string& self)
{
    std::vector<std::string> cFound;
    while (IsWithin(folder, generic))
    {
        const std::string candidate = folder + "\\" + k_DefaultBurnFilename;
        if (IsFile(candidate) && !FilePathUtil::Equal(candidate.c_str(), self.c_str()))
            cFound.push_back(candidate);
        const size_t cut = folder.rfind('\\');
        if (folder.size() == generic.size() || cut == std::string::npos)
            break;
        folder.resize(cut);
    }
    return cFound;
}

// Bases by the lower-cased generic folder of their project.
std::map<std::string, BurnerConfig>& BaseCache()
{
    static std::map<std::string, BurnerConfig> s_cache;
    return s_cache;
}
} // namespace

void Log(const char* format, ...)
{
    char text[1024];
    va_list args;
    va_start(args, format);
    std::vsnprintf(text, sizeof(text), format, args);
    va_end(args);
    dbTagf(k_Channel, "%s", text);
}

bool GetBurnFilename(const char* file, char* out, size_t outLength)
{
    if (!dbAssert(file != nullptr && out != nullptr && outLength > 0))
        return false;
    out[0] = '\0';
    if (!dbAssert(outLength > strlen(file) + strlen(k_DefaultBurnFilename)))
        return false;
    const std::string name = Clean(file);
    const uint32 attr = name.empty() ? 0 : OSFile::FileAttr(name.c_str());
    if (attr == 0)
        return false;
    // ".burn" goes behind the whole name: "x.sgm" has "x.sgm.burn".
    const std::string burn =
        (attr & OSFile::F_ATTRIBUTE_FOLDER) != 0 ? name + "\\" + k_DefaultBurnFilename : name + ".burn";
    if (burn.size() >= outLength)
        return false;
    std::memcpy(out, burn.c_str(), burn.size() + 1);
    return true;
}

bool LoadConfig(const char* file, BurnerConfig& config, BurnerResults& results,
                std::vector<std::string>* pChain)
{
    if (!dbAssert(file != nullptr))
        return false;
    auto warn = [&results](const char* format, const char* arg) { results.Warning(k_Module, format, arg); };
    char burnName[FilePathUtil::MAXPATH];
    if (!GetBurnFilename(file, burnName, sizeof(burnName)))
    {
        warn("Unable to get burn filename for %s", file);
        return false;
    }
    std::string generic;
    if (!GenericFolder(burnName, generic, warn))
        return false;

    // Nearest first: the file's own, then the "_default.burn" files up to the top.
    std::vector<std::string> cChain;
    const bool selfExists = IsFile(burnName);
    if (selfExists)
        cChain.push_back(burnName);
    for (std::string& found : GatherDefaults(FolderOf(burnName), generic, burnName))
        cChain.push_back(std::move(found));
    if (cChain.empty())
    {
        warn("Filename [%s] does not have a burn configuration script.", file);
        return false;
    }

    // The cache holds the base of each project for the life of the process.
    std::string key = generic;
    FilePathUtil::ToLower(key.data());
    auto cached = BaseCache().find(key);
    if (cached == BaseCache().end())
    {
        BurnerConfig base;
        if (!LoadBaseConfig(cChain.back().c_str(), base, results))
        {
            warn("Unable to load default configuration %s.", cChain.back().c_str());
            return false;
        }
        cached = BaseCache().emplace(key, std::move(base)).first;
    }
    config = cached->second;

    for (size_t i = cChain.size() - 1; i-- > 0;)
    {
        // For the file's own level, everything above it is the default.
        if (i == 0 && selfExists)
            config.SetAllDefault();
        if (!LoadOverrideConfig(cChain[i].c_str(), config, results))
        {
            warn("Unable to load configuration %s.", cChain[i].c_str());
            return false;
        }
    }
    // With no file of its own, every value is the one of the level above.
    if (!selfExists)
        config.SetAllDefault();

    if (pChain != nullptr)
        pChain->assign(cChain.rbegin(), cChain.rend());
    return true;
}

bool LoadParentConfig(const char* file, BurnerConfig& parent, bool& hasParent)
{
    hasParent = false;
    if (!dbAssert(file != nullptr))
        return false;
    const std::string name = Clean(file);
    std::string generic;
    if (!GenericFolder(name, generic, [](const char* format, const char* arg) { Log(format, arg); }))
        return false;
    const std::vector<std::string> cAbove = GatherDefaults(FolderOf(name), generic, std::string());
    if (cAbove.empty())
        return true;
    hasParent = true;
    BurnerResults results;
    if (!LoadConfig(FolderOf(cAbove.front()).c_str(), parent, results))
    {
        for (const BurnerResults::Record& record : results)
            Log("%s", record.text.c_str());
        Log("Unable to load parent config %s for validation", cAbove.front().c_str());
        return false;
    }
    return true;
}

bool Validate(const char* file, BurnerConfig& config, bool& hasParent)
{
    BurnerConfig parent;
    if (!LoadParentConfig(file, parent, hasParent))
        return false;
    if (!hasParent)
        return true;
    for (uint32 g = 0; g < config.TargetGroupCount(); ++g)
    {
        const BurnerConfig::TargetGroup& group = config.GetTargetGroup(g);
        for (uint32 t = 0; t < config.TargetCount(g); ++t)
        {
            const BurnerConfig::TargetID id = config.GetTarget(g, t);
            const BurnerConfig::TargetID parentId =
                parent.FindTarget(group.name.c_str(), group.cTargets[t].name.c_str());
            // A copy: storing a parameter may move the list.
            const BurnerConfig::ParamList cParams = *config.GetParams(id);
            for (BurnerConfig::Param param : cParams)
            {
                const BurnerConfig::Param* pAbove = parent.FindParam(parentId, param.name.c_str());
                if (pAbove == nullptr)
                {
                    Log("Unable to load the parameter %s from input config file.", param.name.c_str());
                    return false;
                }
                param.isDefault = FastString::EqualNoCase(param.value.c_str(), pAbove->value.c_str());
                if (!config.SetParam(id, param))
                {
                    Log("Unable to save corrected parameter %s to input config file.", param.name.c_str());
                    return false;
                }
            }
        }
    }
    return true;
}

bool ValidateAgainstParent(const char* file, BurnerConfig& config)
{
    bool hasParent = false;
    return Validate(file, config, hasParent);
}

void ClearBaseCache()
{
    BaseCache().clear();
}
} // namespace ConfigLoad
