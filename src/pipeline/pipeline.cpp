#include "pipeline/pipeline.h"

#include "foundation/debug.h"
#include "foundation/output.h"
#include "pipeline/configfile.h"
#include "pipeline/fullpath.h"
#include "storage/filepathutil.h"
#include "storage/osfile.h"

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <set>
#include <unistd.h>
#include <utility>
#include <vector>

namespace
{
constexpr size_t MaxPath = FilePathUtil::MAXPATH;
// Values of plain sections are read through a buffer of this size; a longer one comes out empty.
constexpr size_t MaxSectionValue = 512;
constexpr const char s_projectPrefix[] = "project:";
constexpr size_t s_projectPrefixLength = sizeof(s_projectPrefix) - 1;

struct Project
{
    std::string name;
    std::string description;
    std::string parent;
    std::string folders[PipelineDataCount];
    std::vector<std::string> cDataExtra;
};

struct Section
{
    std::string name;
    std::vector<std::pair<std::string, std::string>> cPairs;
};

struct Shared
{
    std::string fileName;
    // Drive and folder of fileName, with the trailing separator: what relative folders go behind.
    std::string folderFull;
    std::vector<Project> cProjects;
    std::vector<Section> cSections;
    std::string bugReportPath;
};

std::unique_ptr<Shared> s_instance;

Shared* Instance()
{
    if (!dbAssert(s_instance != NULL))
        return nullptr;
    return s_instance.get();
}

std::string Lower(const char* text)
{
    std::string lower(text);
    FilePathUtil::ToLower(lower.data());
    return lower;
}

const Project* FindProject(const Shared& shared, const char* name)
{
    if (name == nullptr)
        return nullptr;
    for (const Project& project : shared.cProjects)
    {
        if (FilePathUtil::Equal(project.name.c_str(), name))
            return &project;
    }
    return nullptr;
}

const Section* FindSection(const Shared& shared, const char* name)
{
    for (const Section& section : shared.cSections)
    {
        if (FilePathUtil::Equal(section.name.c_str(), name))
            return &section;
    }
    return nullptr;
}

const std::string* FindValue(const Section& section, const char* key)
{
    const std::string lower = Lower(key);
    for (const auto& [name, value] : section.cPairs)
    {
        if (name == lower)
            return &value;
    }
    return nullptr;
}

// The drive and folder of a full name, with a trailing separator ("\\work\\tree\\").
bool DriveAndFolder(const char* fullName, std::string& out)
{
    char drive[MaxPath];
    char folder[MaxPath];
    char joined[MaxPath];
    if (!FilePathUtil::SplitPath(fullName, drive, folder, nullptr, nullptr) ||
        !FilePathUtil::MakePath(joined, drive, folder, nullptr, nullptr))
        return false;
    out = joined;
    return true;
}

// Step 1: the first pipeline.ini at or above the folder of `module`.
bool FindPipelineIni(const char* module, std::string& fileName)
{
    std::string folder;
    if (!DriveAndFolder(module, folder))
        return false;
    if (!folder.empty() && folder.back() == '\\')
        folder.pop_back();
    for (;;)
    {
        std::string candidate = folder + "\\pipeline.ini";
        if (OSFile::FileAttr(candidate.c_str()) != 0)
        {
            fileName = std::move(candidate);
            return true;
        }
        // The drive's root was tried last; the bare drive text is not.
        const size_t cut = folder.rfind('\\');
        if (cut == std::string::npos)
            return false;
        folder.resize(cut);
    }
}

// A folder value as the tools use it: one without a drive goes behind the folder of pipeline.ini,
// as written, with no folding of case or separators.
bool MakeAbsolute(const std::string& folderFull, std::string& value)
{
    if (FullPath::HasDrive(value.c_str()))
        return true;
    if (!dbAssert(folderFull.size() + value.size() < MaxPath))
        return false;
    value = folderFull + value;
    return true;
}

// Step 2: every section with its pairs.
bool ReadSections(ConfigFile& config, Shared& shared)
{
    for (uint32 i = 0; i < config.SectionCount(); ++i)
        shared.cSections.push_back(Section{config.SectionName(i), {}});
    for (Section& section : shared.cSections)
    {
        config.SelectSection(section.name.c_str());
        for (uint32 k = 0; k < config.KeyCount(); ++k)
        {
            const char* key = config.KeyName(k);
            char value[MaxSectionValue];
            config.GetString(key, value, sizeof(value));
            section.cPairs.emplace_back(key, value);
        }
    }
    return !shared.cSections.empty();
}

// Step 3: the project sections become projects, and leave the plain sections.
bool ReadProjects(Shared& shared)
{
    static const int s_readOrder[] = {DataSource,       DataSourceShared, DataBurn,
                                      DataIntermediate, DataGeneric,      DataFinal,
                                      DataPreview,      LocaleFolder,     AttrLoc};
    std::vector<Project> cProjects;
    std::vector<Section> cPlain;
    for (Section& section : shared.cSections)
    {
        if (section.name.compare(0, s_projectPrefixLength, s_projectPrefix) != 0)
        {
            cPlain.push_back(std::move(section));
            continue;
        }
        Project project;
        project.name = section.name.substr(s_projectPrefixLength);

        // Each value must be under MaxPath characters; a longer one counts as missing.
        auto read = [&](const char* key, std::string& out) -> bool
        {
            const std::string* pValue = FindValue(section, key);
            if (pValue == nullptr)
                return false;
            if (!dbAssert(pValue->size() < MaxPath))
                return false;
            out = *pValue;
            return true;
        };
        auto missing = [&](const char* key)
        {
            dbWarningf("PIPELINE -- %s: [%s] lacks the key \"%s\" (or its value is too long)",
                       shared.fileName.c_str(), section.name.c_str(), key);
            return false;
        };

        read("Description", project.description);
        for (int kind : s_readOrder)
        {
            if (!read(PipelineDataName(kind), project.folders[kind]))
                return missing(PipelineDataName(kind));
        }
        if (!read("Parent", project.parent))
            return missing("Parent");

        for (int kind = 0; kind < PipelineDataCount; ++kind)
        {
            if (PipelineDataIsFolder(kind) && !MakeAbsolute(shared.folderFull, project.folders[kind]))
                return missing(PipelineDataName(kind));
        }

        // Extra final folders: tokens between runs of ';' and ' ', so a name cannot hold a blank.
        if (const std::string* pExtra = FindValue(section, "DataExtra"))
        {
            size_t pos = 0;
            while ((pos = pExtra->find_first_not_of("; ", pos)) != std::string::npos)
            {
                size_t end = pExtra->find_first_of("; ", pos);
                std::string folder = pExtra->substr(pos, end - pos);
                if (!MakeAbsolute(shared.folderFull, folder))
                    return missing("DataExtra");
                project.cDataExtra.push_back(std::move(folder));
                pos = end;
            }
        }
        cProjects.push_back(std::move(project));
    }
    shared.cSections = std::move(cPlain);
    shared.cProjects = std::move(cProjects);
    if (shared.cProjects.empty())
    {
        dbWarningf("PIPELINE -- %s holds no [project:NAME] section", shared.fileName.c_str());
        return false;
    }
    return true;
}

std::string RunningProgram()
{
    char path[4096];
    const ssize_t n = ::readlink("/proc/self/exe", path, sizeof(path) - 1);
    if (n <= 0)
        return std::string();
    path[n] = '\0';
    return path;
}

void CopyCut(char* out, size_t outLength, const std::string& text)
{
    const size_t n = std::min(text.size(), outLength - 1);
    std::memcpy(out, text.data(), n);
    out[n] = '\0';
}
} // namespace

int Pipeline::Initialize(const char* module)
{
    if (!dbAssert(s_instance == NULL))
        return InitUnreadable;

    std::string start = module != nullptr ? std::string(module) : RunningProgram();
    auto pShared = std::make_unique<Shared>();
    if (start.empty() || !FindPipelineIni(start.c_str(), pShared->fileName))
        return InitNotFound;
    if (!DriveAndFolder(pShared->fileName.c_str(), pShared->folderFull))
        return InitNotFound;

    ConfigFile config;
    if (!config.Load(pShared->fileName.c_str()))
    {
        dbWarningf("PIPELINE -- could not read %s", pShared->fileName.c_str());
        return InitUnreadable;
    }
    if (!ReadSections(config, *pShared))
    {
        dbWarningf("PIPELINE -- %s holds no section", pShared->fileName.c_str());
        return InitUnreadable;
    }
    if (!ReadProjects(*pShared))
        return InitBadProject;

    s_instance = std::move(pShared);
    char bugReport[MaxPath];
    if (GetPath("bugreport", "ExePath", bugReport, sizeof(bugReport)))
        s_instance->bugReportPath = bugReport;
    return InitOk;
}

void Pipeline::Shutdown()
{
    if (!dbAssert(s_instance != NULL))
        return;
    s_instance.reset();
}

bool Pipeline::IsInitialized()
{
    return s_instance != nullptr;
}

const char* Pipeline::FileName()
{
    Shared* pShared = Instance();
    return pShared != nullptr ? pShared->fileName.c_str() : "";
}

bool Pipeline::GetAlias(PipelineData kind, char* out, size_t aliaslen)
{
    if (!dbAssert(out != nullptr && aliaslen >= 10))
        return false;
    const char* alias = PipelineDataAlias(kind);
    if (!dbAssert(alias != nullptr))
        return false;
    std::snprintf(out, aliaslen, "%s:", alias);
    return true;
}

uint32 Pipeline::SectionCount()
{
    Shared* pShared = Instance();
    return pShared != nullptr ? uint32(pShared->cSections.size()) : 0;
}

const char* Pipeline::SectionName(uint32 index)
{
    Shared* pShared = Instance();
    if (pShared == nullptr || !dbAssert(index < pShared->cSections.size()))
        return "";
    return pShared->cSections[index].name.c_str();
}

uint32 Pipeline::SectionKeyCount(uint32 index)
{
    Shared* pShared = Instance();
    if (pShared == nullptr || !dbAssert(index < pShared->cSections.size()))
        return 0;
    return uint32(pShared->cSections[index].cPairs.size());
}

const char* Pipeline::SectionKeyName(uint32 index, uint32 keyIndex)
{
    if (!dbAssert(keyIndex < SectionKeyCount(index)))
        return "";
    return s_instance->cSections[index].cPairs[keyIndex].first.c_str();
}

const char* Pipeline::SectionKeyValue(uint32 index, uint32 keyIndex)
{
    if (!dbAssert(keyIndex < SectionKeyCount(index)))
        return "";
    return s_instance->cSections[index].cPairs[keyIndex].second.c_str();
}

bool Pipeline::GetString(const char* section, const char* key, char* out, size_t outLength)
{
    if (!dbAssert(section != nullptr && key != nullptr && *key != '\0' && out != nullptr && outLength > 0))
        return false;
    out[0] = '\0';
    Shared* pShared = Instance();
    if (pShared == nullptr)
        return false;
    const Section* pSection = FindSection(*pShared, section);
    const std::string* pValue = pSection != nullptr ? FindValue(*pSection, key) : nullptr;
    if (pValue == nullptr || pValue->size() >= outLength)
        return false;
    std::memcpy(out, pValue->c_str(), pValue->size() + 1);
    return true;
}

bool Pipeline::GetString(const char* section, const char* key, std::string& out)
{
    out.clear();
    char buffer[2048];
    if (!GetString(section, key, buffer, sizeof(buffer)))
        return false;
    out = buffer;
    return true;
}

bool Pipeline::GetInt(const char* section, const char* key, int& out)
{
    out = 0;
    char buffer[32];
    if (!GetString(section, key, buffer, sizeof(buffer)) || buffer[0] == '\0')
        return false;
    char* end = nullptr;
    errno = 0;
    const long value = std::strtol(buffer, &end, 10);
    if (*end != '\0' || errno == ERANGE || value < INT32_MIN || value > INT32_MAX)
        return false;
    out = int(value);
    return true;
}

bool Pipeline::GetFloat(const char* section, const char* key, float& out)
{
    char buffer[256];
    if (!GetString(section, key, buffer, sizeof(buffer)) || buffer[0] == '\0')
        return false;
    char* end = nullptr;
    const float value = std::strtof(buffer, &end);
    if (*end != '\0')
        return false;
    out = value;
    return true;
}

bool Pipeline::GetBool(const char* section, const char* key, bool& out)
{
    out = false;
    char buffer[32];
    if (!GetString(section, key, buffer, sizeof(buffer)))
        return false;
    for (const char* yes : {"true", "yes", "1"})
    {
        if (FilePathUtil::Equal(buffer, yes))
        {
            out = true;
            return true;
        }
    }
    for (const char* no : {"false", "no", "0"})
    {
        if (FilePathUtil::Equal(buffer, no))
            return true;
    }
    return false;
}

bool Pipeline::GetPath(const char* section, const char* key, char* out, size_t outLength)
{
    if (!dbAssert(out != nullptr && outLength > 0))
        return false;
    out[0] = '\0';
    char value[MaxPath];
    if (!GetString(section, key, value, sizeof(value)))
        return false;
    std::string path = value;
    if (!FullPath::HasDrive(value))
        path = s_instance->folderFull + path;
    CopyCut(out, outLength, path);
    return true;
}

bool Pipeline::GetVersionPath(std::string& out)
{
    return GetString("version", "VersionPath", out);
}

bool Pipeline::GetVersionUsers(std::string& out)
{
    return GetString("version", "VersionUsers", out);
}

const char* Pipeline::BugReportPath()
{
    Shared* pShared = Instance();
    return pShared != nullptr ? pShared->bugReportPath.c_str() : "";
}

bool Pipeline::HasProject(const char* name)
{
    Shared* pShared = Instance();
    return pShared != nullptr && FindProject(*pShared, name) != nullptr;
}

uint32 Pipeline::ProjectCount()
{
    Shared* pShared = Instance();
    return pShared != nullptr ? uint32(pShared->cProjects.size()) : 0;
}

const char* Pipeline::ProjectName(uint32 index)
{
    Shared* pShared = Instance();
    if (pShared == nullptr || !dbAssert(index < pShared->cProjects.size()))
        return nullptr;
    return pShared->cProjects[index].name.c_str();
}

namespace
{
const Project* KnownProject(const char* name)
{
    Shared* pShared = Instance();
    if (pShared == nullptr)
        return nullptr;
    const Project* pProject = FindProject(*pShared, name);
    if (!dbAssert(pProject != nullptr))
        return nullptr;
    return pProject;
}
} // namespace

const char* Pipeline::ProjectDescription(const char* name)
{
    const Project* pProject = KnownProject(name);
    return pProject != nullptr ? pProject->description.c_str() : nullptr;
}

const char* Pipeline::ProjectParent(const char* name)
{
    const Project* pProject = KnownProject(name);
    return pProject != nullptr ? pProject->parent.c_str() : nullptr;
}

const char* Pipeline::ProjectFolder(const char* name, PipelineData kind)
{
    const Project* pProject = KnownProject(name);
    if (pProject == nullptr || !dbAssert(kind >= 0 && kind < PipelineDataCount))
        return nullptr;
    return pProject->folders[kind].c_str();
}

uint32 Pipeline::ProjectExtraCount(const char* name)
{
    const Project* pProject = KnownProject(name);
    return pProject != nullptr ? uint32(pProject->cDataExtra.size()) : 0;
}

const char* Pipeline::ProjectExtra(const char* name, uint32 index)
{
    const Project* pProject = KnownProject(name);
    if (pProject == nullptr || !dbAssert(index < pProject->cDataExtra.size()))
        return nullptr;
    return pProject->cDataExtra[index].c_str();
}

const char* Pipeline::ProjectFromPath(const char* fullpath, PipelineData kind)
{
    if (!dbAssert(fullpath != NULL && *fullpath != '\0'))
        return nullptr;
    Shared* pShared = Instance();
    if (pShared == nullptr || !dbAssert(kind >= 0 && kind < PipelineDataCount))
        return nullptr;
    char expanded[MaxPath];
    if (!FullPath::Expand(fullpath, expanded, sizeof(expanded)))
        return nullptr;
    for (const Project& project : pShared->cProjects)
    {
        const char* data = project.folders[kind].c_str();
        if (!dbAssert(data != NULL))
            continue;
        // The folder must be a prefix that ends where a component of the path ends: "Data" does
        // not own "Data2\\x".
        if (!FilePathUtil::HasPrefix(expanded, data))
            continue;
        const char next = expanded[std::strlen(data)];
        if (next == '\0' || next == '\\')
            return project.name.c_str();
    }
    return nullptr;
}

namespace
{
void AddMappings(std::vector<Mapper::Mapping>& cMappings, const Project& project, int kind)
{
    if (kind < 0 || kind >= PipelineDataCount)
        return;
    cMappings.push_back(Mapper::Mapping{project.name, project.folders[kind], false});
    if (kind != DataFinal)
        return;
    for (size_t i = 0; i < project.cDataExtra.size(); ++i)
    {
        char id[MaxPath];
        std::snprintf(id, sizeof(id), "%s-extra-%02d", project.name.c_str(), int(i + 1));
        cMappings.push_back(Mapper::Mapping{id, project.cDataExtra[i], true});
    }
}
} // namespace

Mapper Pipeline::CreateMapper(const char* projectName, PipelineData kind, bool noParents)
{
    if (noParents && !dbAssert(projectName != NULL))
        return Mapper();
    Shared* pShared = Instance();
    if (pShared == nullptr)
        return Mapper();

    auto pMapShared = std::make_shared<Mapper::Shared>();
    pMapShared->kind = kind;
    if (dbAssert(kind >= 0 && kind < PipelineDataCount && kind != DataBurn))
        pMapShared->alias = PipelineDataAlias(kind);

    Mapper mapper;
    mapper.m_shared = pMapShared;
    if (projectName == nullptr)
        return mapper;

    const Project* pProject = FindProject(*pShared, projectName);
    if (pProject == nullptr)
        return Mapper();
    pMapShared->project = pProject->name;
    AddMappings(pMapShared->mappings, *pProject, kind);

    if (!noParents)
    {
        // Up the parents; a name that is no project ends the walk, as does a chain that loops.
        std::set<const Project*> cSeen{pProject};
        while (!pProject->parent.empty())
        {
            const Project* pParent = FindProject(*pShared, pProject->parent.c_str());
            if (pParent == nullptr)
                break;
            if (!cSeen.insert(pParent).second)
            {
                dbWarningf("PIPELINE -- %s: the parents of project '%s' form a loop",
                           pShared->fileName.c_str(), pMapShared->project.c_str());
                break;
            }
            AddMappings(pMapShared->mappings, *pParent, kind);
            pProject = pParent;
        }
    }
    pMapShared->cMounted.assign(pMapShared->mappings.size(), false);
    return mapper;
}

namespace
{
// The source name mapping: `front` followed by the source path behind the project's DataSource
// folder, byte for byte with its extension and leading separator.
bool MapSource(const char* source, PipelineData kind, const char* front, char* out, size_t outLength)
{
    if (!dbAssert(source != nullptr && out != nullptr && outLength > 0))
        return false;
    out[0] = '\0';
    if (Pipeline::Initialize(source) != Pipeline::InitOk)
        return false;
    bool mapped = false;
    if (const char* project = Pipeline::ProjectFromPath(source, DataSource))
    {
        const char* sourceFolder = Pipeline::ProjectFolder(project, DataSource);
        const char* target = front != nullptr ? front : Pipeline::ProjectFolder(project, kind);
        const size_t cut = sourceFolder != nullptr ? std::strlen(sourceFolder) : 0;
        if (sourceFolder != nullptr && target != nullptr && cut <= std::strlen(source))
        {
            std::string result = std::string(target) + (source + cut);
            if (result.size() < outLength)
            {
                std::memcpy(out, result.c_str(), result.size() + 1);
                mapped = true;
            }
        }
    }
    Pipeline::Shutdown();
    return mapped;
}
} // namespace

bool Pipeline::MapSourceName(const char* source, PipelineData kind, char* out, size_t outLength)
{
    return MapSource(source, kind, nullptr, out, outLength);
}

bool Pipeline::MapSourceNameToAlias(const char* source, char* out, size_t outLength)
{
    return MapSource(source, DataFinal, "DATA:", out, outLength);
}
