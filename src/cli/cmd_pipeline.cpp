// tq7z pipeline info|project|source-to: what the pipeline.ini above a path says, which project owns
// a path, and where a source file's data of another kind goes.
#include "cli/command.h"

#include "pipeline/fullpath.h"
#include "pipeline/pipeline.h"
#include "storage/filepathutil.h"
#include "storage/osfile.h"

#include <cstdio>
#include <memory>
#include <string>

namespace
{
// Paths inside the system use '\\'; on the command line they are shown the way this system writes them.
std::string Native(std::string path)
{
    for (char& c : path)
    {
        if (c == '\\')
            c = '/';
    }
    return path;
}

// A command-line path as the system takes it: full, and for a folder with a trailing separator,
// so that the upward search starts in the folder itself.
std::string FullName(const std::string& path)
{
    std::string full = FullPath::Expand(path.empty() ? "." : path.c_str());
    if (!full.empty() && full.back() != '\\' &&
        (OSFile::FileAttr(full.c_str()) & OSFile::F_ATTRIBUTE_FOLDER) != 0)
        full += '\\';
    return full;
}

bool ReadKind(const char* command, const std::string& text, PipelineData& kind)
{
    if (PipelineDataFromName(text.c_str(), kind))
        return true;
    std::fprintf(
        stderr,
        "tq7z pipeline %s: unknown data kind '%s' (one of DataSource, DataSourceShared, DataBurn, "
        "DataIntermediate, DataGeneric, DataFinal, LocaleFolder, DataPreview, AttrLoc, or source, shared, "
        "burn, intermediate, generic, final, locale, preview, attrloc)\n",
        command, text.c_str());
    return false;
}

// Initialises from `full`; on failure says why and returns false.
bool Open(const char* command, const std::string& full)
{
    switch (Pipeline::Initialize(full.c_str()))
    {
    case Pipeline::InitOk:
        return true;
    case Pipeline::InitNotFound:
        std::fprintf(stderr, "tq7z pipeline %s: no pipeline.ini in %s or any folder above it\n", command,
                     Native(full).c_str());
        break;
    case Pipeline::InitUnreadable:
        std::fprintf(stderr,
                     "tq7z pipeline %s: the pipeline.ini above %s cannot be read or holds no section\n",
                     command, Native(full).c_str());
        break;
    default:
        std::fprintf(
            stderr,
            "tq7z pipeline %s: the pipeline.ini above %s has no complete [project:NAME] section (see the "
            "warning above)\n",
            command, Native(full).c_str());
        break;
    }
    return false;
}

int RunInfo(const std::string& path)
{
    const std::string full = FullName(path);
    if (!Open("info", full))
        return 1;
    std::printf("pipeline.ini: %s\n", Native(Pipeline::FileName()).c_str());
    for (uint32 i = 0; i < Pipeline::ProjectCount(); ++i)
    {
        const char* name = Pipeline::ProjectName(i);
        const char* parent = Pipeline::ProjectParent(name);
        std::printf("project %s\n", name);
        std::printf("  Description: %s\n", Pipeline::ProjectDescription(name));
        std::printf("  Parent: %s\n", *parent != '\0' ? parent : "(none)");
        for (int kind = 0; kind < PipelineDataCount; ++kind)
        {
            const char* folder = Pipeline::ProjectFolder(name, PipelineData(kind));
            // AttrLoc is no folder of this machine: it is shown as written.
            std::printf("  %s: %s\n", PipelineDataName(kind),
                        PipelineDataIsFolder(kind) ? Native(folder).c_str() : folder);
        }
        for (uint32 e = 0; e < Pipeline::ProjectExtraCount(name); ++e)
            std::printf("  DataExtra: %s\n", Native(Pipeline::ProjectExtra(name, e)).c_str());
    }
    for (uint32 s = 0; s < Pipeline::SectionCount(); ++s)
    {
        std::printf("section %s\n", Pipeline::SectionName(s));
        for (uint32 k = 0; k < Pipeline::SectionKeyCount(s); ++k)
            std::printf("  %s=%s\n", Pipeline::SectionKeyName(s, k), Pipeline::SectionKeyValue(s, k));
    }
    Pipeline::Shutdown();
    return std::fflush(stdout) == 0 ? 0 : 1;
}

int RunProject(const std::string& path, const std::string& kindText)
{
    PipelineData kind = DataSource;
    if (!ReadKind("project", kindText, kind))
        return 1;
    const std::string full = FullName(path);
    if (!Open("project", full))
        return 1;
    const char* project = Pipeline::ProjectFromPath(full.c_str(), kind);
    int result = 0;
    if (project != nullptr)
        std::printf("%s\n", project);
    else
    {
        std::fprintf(stderr, "tq7z pipeline project: %s lies in no project's %s folder (%s)\n",
                     Native(full).c_str(), PipelineDataName(kind), Native(Pipeline::FileName()).c_str());
        result = 1;
    }
    Pipeline::Shutdown();
    return result;
}

int RunSourceTo(const std::string& kindText, const std::string& source, bool alias)
{
    PipelineData kind = DataSource;
    if (!ReadKind("source-to", kindText, kind))
        return 1;
    if (alias && kind != DataFinal)
    {
        std::fprintf(stderr,
                     "tq7z pipeline source-to: --alias names the final file, so KIND must be DataFinal\n");
        return 1;
    }
    const std::string full = FullPath::Expand(source.c_str());
    char out[FilePathUtil::MAXPATH];
    const bool mapped = alias ? Pipeline::MapSourceNameToAlias(full.c_str(), out, sizeof(out))
                              : Pipeline::MapSourceName(full.c_str(), kind, out, sizeof(out));
    if (!mapped)
    {
        std::fprintf(
            stderr,
            "tq7z pipeline source-to: cannot map %s to %s: no usable pipeline.ini above it, it lies in no "
            "project's DataSource folder, or the result is %zu characters or more\n",
            Native(full).c_str(), PipelineDataName(kind), sizeof(out));
        return 1;
    }
    std::printf("%s\n", alias ? out : Native(out).c_str());
    return 0;
}

const char* const s_kindHelp =
    "Data kind: DataSource, DataSourceShared, DataBurn, DataIntermediate, DataGeneric, "
    "DataFinal, LocaleFolder, DataPreview, AttrLoc, or a short form (source, shared, "
    "burn, intermediate, generic, final, locale, preview, attrloc), in any case";

cli::CommandRegistrar s_pipeline(
    [](CLI::App& app, int& exitCode)
    {
        CLI::App* pipeline = app.add_subcommand("pipeline", "Projects and folders of pipeline.ini");
        pipeline->require_subcommand(1);

        auto infoPath = std::make_shared<std::string>();
        CLI::App* info = pipeline->add_subcommand(
            "info",
            "Show the pipeline.ini found at or above PATH: its projects with their folders and parents,\n"
            "and its other sections. Folders are shown as the system holds them, made absolute.");
        info->add_option("PATH", *infoPath, "A file or folder of the tree (default: the working folder)");
        info->callback([infoPath, &exitCode] { exitCode = RunInfo(*infoPath); });

        struct ProjectOptions
        {
            std::string path;
            std::string kind = "DataSource";
        };
        auto projectOptions = std::make_shared<ProjectOptions>();
        CLI::App* project = pipeline->add_subcommand(
            "project",
            "Print the name of the project whose folder of KIND holds PATH; exit 1 when none does.\n"
            "With nested folders the first project by name wins, not the deepest folder.");
        project->add_option("PATH", projectOptions->path, "A file or folder (either separator)")->required();
        project->add_option("--kind", projectOptions->kind, s_kindHelp)->capture_default_str();
        project->callback([projectOptions, &exitCode]
                          { exitCode = RunProject(projectOptions->path, projectOptions->kind); });

        struct SourceToOptions
        {
            std::string kind;
            std::string source;
            bool alias = false;
        };
        auto sourceOptions = std::make_shared<SourceToOptions>();
        CLI::App* sourceTo = pipeline->add_subcommand(
            "source-to",
            "Print where the data of KIND for the source file SOURCE goes: the project's KIND folder\n"
            "followed by the source path behind its DataSource folder. Exit 1 when SOURCE lies in\n"
            "no project's DataSource folder.");
        sourceTo->add_option("KIND", sourceOptions->kind, s_kindHelp)->required();
        sourceTo->add_option("SOURCE", sourceOptions->source, "The source file (either separator)")
            ->required();
        sourceTo->add_flag("--alias", sourceOptions->alias,
                           "With KIND final: print the alias name \"DATA:...\" instead of the folder");
        sourceTo->callback(
            [sourceOptions, &exitCode]
            { exitCode = RunSourceTo(sourceOptions->kind, sourceOptions->source, sourceOptions->alias); });
    });
} // namespace
