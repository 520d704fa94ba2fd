// Where a tree's data lives: the pipeline.ini found at or above the file being worked on, read
// once into a process-wide instance of projects (nine data folders each, a parent, extra final
// folders) and plain sections of tool settings. Tools Initialize at the start of a command and
// Shutdown at its end.
#pragma once

#include "pipeline/mapper.h"
#include "pipeline/pipelinedata.h"

#include "foundation/types.h"

#include <cstddef>
#include <string>

class Pipeline
{
public:
    // Results of Initialize.
    enum InitResult
    {
        InitOk = 0,
        InitNotFound = 1,   // no pipeline.ini on the way up
        InitUnreadable = 2, // could not be read, or holds no section
        InitBadProject = 3, // a project lacks a required key, or there is no project
    };

    // Searches upward from the folder of `module` (a full path; null for the running program).
    static int Initialize(const char* module);
    static void Shutdown();
    static bool IsInitialized();

    // The full name of the pipeline.ini in use.
    static const char* FileName();

    // "GENERIC:" and so on; ":" alone for DataBurn. `outLength` must be at least 10.
    static bool GetAlias(PipelineData kind, char* out, size_t outLength);

    // The sections that are not projects, in lower-case order, and their keys in file order of
    // the sorted reader.
    static uint32 SectionCount();
    static const char* SectionName(uint32 index);
    static uint32 SectionKeyCount(uint32 index);
    static const char* SectionKeyName(uint32 index, uint32 keyIndex);
    static const char* SectionKeyValue(uint32 index, uint32 keyIndex);

    // Values of a plain section; section and key without regard to case. Each is false when the
    // section or key is missing or the value does not fit or parse.
    static bool GetString(const char* section, const char* key, char* out, size_t outLength);
    static bool GetString(const char* section, const char* key, std::string& out);
    static bool GetInt(const char* section, const char* key, int& out);
    static bool GetFloat(const char* section, const char* key, float& out);
    // "true", "yes", "1" and "false", "no", "0", any case; anything else is false with `out` false.
    static bool GetBool(const char* section, const char* key, bool& out);
    // As GetString, and a value without a drive is put behind the folder of pipeline.ini. The
    // result is cut to `outLength`.
    static bool GetPath(const char* section, const char* key, char* out, size_t outLength);
    static bool GetVersionPath(std::string& out);
    static bool GetVersionUsers(std::string& out);
    // The "ExePath" of "bugreport" as a path, for the assertion reporter; empty when not given.
    static const char* BugReportPath();

    static bool HasProject(const char* name);
    static uint32 ProjectCount();
    static const char* ProjectName(uint32 index);
    // An unknown project name asserts and gives null.
    static const char* ProjectDescription(const char* name);
    static const char* ProjectParent(const char* name);
    static const char* ProjectFolder(const char* name, PipelineData kind);
    static uint32 ProjectExtraCount(const char* name);
    static const char* ProjectExtra(const char* name, uint32 index);

    // The project whose folder of `kind` holds `fullpath`; null when none does. In project order
    // the first match wins, not the longest folder.
    static const char* ProjectFromPath(const char* fullpath, PipelineData kind);

    // A mount of a project (and, unless `noParents`, its ancestors) under the alias of `kind`.
    static Mapper CreateMapper(const char* projectName, PipelineData kind, bool noParents);

    // Maps a full source path to the folder of `kind` in its project: the `kind` folder, then the
    // source path behind the project's DataSource folder. Runs Initialize and Shutdown itself.
    static bool MapSourceName(const char* source, PipelineData kind, char* out, size_t outLength);
    // The same with "DATA:" in place of the DataFinal folder: the alias name of the final file.
    static bool MapSourceNameToAlias(const char* source, char* out, size_t outLength);
};
