// The nine kinds of data folder a project of pipeline.ini has, with the key that names each folder
// in the file and the alias under which a Mapper mounts it.
#pragma once

#include <cstddef>

enum PipelineData
{
    DataSource = 0,
    DataSourceShared = 1,
    DataBurn = 2,
    DataIntermediate = 3,
    DataGeneric = 4,
    DataFinal = 5,
    LocaleFolder = 6,
    DataPreview = 7,
    AttrLoc = 8,
};

constexpr int PipelineDataCount = 9;

// The enumerator's name, which is also the key in pipeline.ini ("DataGeneric"); null out of range.
const char* PipelineDataName(int kind);
// The alias without its colon ("GENERIC"); "" for DataBurn, which has none; null out of range.
const char* PipelineDataAlias(int kind);
// Whether a project's folder of this kind is put behind the folder of pipeline.ini when relative.
bool PipelineDataIsFolder(int kind);
// Reads a kind from its name or a short form ("generic", "final", "source", "interm", ...),
// without regard to case. False for anything else.
bool PipelineDataFromName(const char* text, PipelineData& kind);
