#include "pipeline/pipelinedata.h"

#include "storage/filepathutil.h"

namespace
{
struct KindInfo
{
    const char* name;
    const char* alias;
    bool folder;
    // Short forms a user may type for the kind.
    const char* shortForms[3];
};

const KindInfo s_kinds[PipelineDataCount] = {
    {"DataSource", "DATASRC", true, {"source", "src", "datasrc"}},
    {"DataSourceShared", "DATASRCSHARED", true, {"sourceshared", "shared", "datasrcshared"}},
    {"DataBurn", "", true, {"burn", nullptr, nullptr}},
    {"DataIntermediate", "INTERM", true, {"intermediate", "interm", nullptr}},
    {"DataGeneric", "GENERIC", true, {"generic", nullptr, nullptr}},
    {"DataFinal", "DATA", true, {"final", "data", nullptr}},
    {"LocaleFolder", "LOCALE", true, {"locale", nullptr, nullptr}},
    {"DataPreview", "PREVIEW", true, {"preview", nullptr, nullptr}},
    {"AttrLoc", "AttrLoc", false, {"attrloc", nullptr, nullptr}},
};

bool InRange(int kind)
{
    return kind >= 0 && kind < PipelineDataCount;
}
} // namespace

const char* PipelineDataName(int kind)
{
    return InRange(kind) ? s_kinds[kind].name : nullptr;
}

const char* PipelineDataAlias(int kind)
{
    return InRange(kind) ? s_kinds[kind].alias : nullptr;
}

bool PipelineDataIsFolder(int kind)
{
    return InRange(kind) && s_kinds[kind].folder;
}

bool PipelineDataFromName(const char* text, PipelineData& kind)
{
    if (text == nullptr)
        return false;
    for (int i = 0; i < PipelineDataCount; ++i)
    {
        bool match = FilePathUtil::Equal(text, s_kinds[i].name);
        for (const char* shortForm : s_kinds[i].shortForms)
            match = match || (shortForm != nullptr && FilePathUtil::Equal(text, shortForm));
        if (match)
        {
            kind = PipelineData(i);
            return true;
        }
    }
    return false;
}
