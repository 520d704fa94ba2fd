// tq7z_pipeline_sourceto...: where the data of a kind goes for a source file: the project's folder
// of that kind, then the source path behind its DataSource folder. Undefined when the file lies in
// no project's DataSource folder.
#include "pipeline/pipeline.h"
#include "scripts/primitive.h"
#include "storage/filepath.h"

namespace Script
{
namespace
{
// `countName` and `typeText` name the primitive in its errors.
Value MapSource(const char* countName, const char* typeText, PipelineData kind, const Value* argList,
                int count)
{
    if (count != 1)
        throw ArgCountError(countName, 1, count);
    if (!argList[0].IsString())
        throw TypeError(typeText, argList[0], "String");
    char out[FilePath::MAXPATH];
    if (!Pipeline::MapSourceName(FullName(argList[0]).c_str(), kind, out, sizeof(out)))
        return Value::Undefined();
    return Value::String(out);
}

Value SourceToIntermediate(const Value* argList, int count)
{
    return MapSource("tq7z_pipeline_sourcetointermediate",
                     "tq7z_pipeline_sourcetointermediate source_filename", DataIntermediate, argList, count);
}

Value SourceToGeneric(const Value* argList, int count)
{
    return MapSource("tq7z_pipeline_sourcetogeneric", "tq7z_pipeline_sourcetogeneric source_filename",
                     DataGeneric, argList, count);
}

// Its count error names "tq7z_pipeline_sourcetodestination", which no primitive is: scripts that
// match on the text know it so.
Value SourceToFinal(const Value* argList, int count)
{
    return MapSource("tq7z_pipeline_sourcetodestination", "tq7z_pipeline_sourcetofinal source_filename",
                     DataFinal, argList, count);
}

const Primitive s_sourceToIntermediate("tq7z_pipeline_sourcetointermediate", &SourceToIntermediate, 0);
const Primitive s_sourceToGeneric("tq7z_pipeline_sourcetogeneric", &SourceToGeneric, 0);
const Primitive s_sourceToFinal("tq7z_pipeline_sourcetofinal", &SourceToFinal, 0);
} // namespace
} // namespace Script
