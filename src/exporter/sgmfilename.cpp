#include "exporter/sgmfilename.h"

#include "exporter/sgmutil.h"
#include "foundation/debug.h"
#include "pipeline/pipeline.h"
#include "storage/filepathutil.h"

#include <cctype>
#include <cstring>
#include <strings.h>

namespace
{
constexpr size_t MaxPath = FilePathUtil::MAXPATH;
constexpr const char* ReferenceTail = "REFERENCE\\REF.SGM";

struct SplitName
{
    char drive[MaxPath] = "";
    char folder[MaxPath] = "";
    char file[MaxPath] = "";
    char ext[MaxPath] = "";

    explicit SplitName(const char* path) { FilePathUtil::SplitPath(path, drive, folder, file, ext); }
};

// Drive (with its ':'), then the rest as given: the pieces glued without separators added.
std::string Glue(const char* drive, const char* folder, const char* ext = "")
{
    std::string path;
    if (drive[0] != '\0')
        path = std::string(drive) + ":";
    return path + folder + ext;
}

void CutLast(char* text)
{
    const size_t length = std::strlen(text);
    if (length > 0)
        text[length - 1] = '\0';
}

// Root `root` of the project that owns `sourceFilename`, with the part of the name behind root 0.
bool MapToRoot(std::string& outFilename, const char* sourceFilename, int root, const char* front)
{
    if (Pipeline::Initialize(sourceFilename) != Pipeline::InitOk)
        return false;
    bool mapped = false;
    if (const char* project = Pipeline::ProjectFromPath(sourceFilename, DataSource))
    {
        const char* source = Pipeline::ProjectFolder(project, DataSource);
        const char* target = Pipeline::ProjectFolder(project, PipelineData(root));
        if (source != nullptr && *source != '\0' && target != nullptr && *target != '\0')
        {
            const size_t cut = std::strlen(source);
            if (cut <= std::strlen(sourceFilename))
            {
                outFilename = std::string(front != nullptr ? front : target) + (sourceFilename + cut);
                mapped = true;
            }
        }
    }
    Pipeline::Shutdown();
    return mapped;
}
} // namespace

void GetModelName(std::string& outName, const char* filepath)
{
    if (!dbAssert(filepath != nullptr))
        return;
    SplitName first(filepath);
    outName = first.file;
    if (strcasecmp(first.file, "REF") != 0)
        return;

    // ".../Walker/REFERENCE/REF.SGM": the model is named after the folder above REFERENCE.
    CutLast(first.folder);
    SplitName second(Glue(first.drive, first.folder, first.ext).c_str());
    if (strcasecmp(second.file, "REFERENCE") != 0)
        return;
    CutLast(second.folder);
    SplitName third(Glue(second.drive, second.folder, first.ext).c_str());
    outName = third.file;
}

bool IsReferenceFile(const char* filename)
{
    if (filename == nullptr)
        return false;
    const size_t length = std::strlen(filename);
    const size_t tail = std::strlen(ReferenceTail);
    // Letters without regard to case, but a '/' is no '\\' here.
    return length >= tail && strcasecmp(filename + length - tail, ReferenceTail) == 0;
}

bool SourceToRoot(std::string& outFilename, const char* sourceFilename, int root)
{
    if (!dbAssert(sourceFilename != nullptr) || !dbAssert(root >= 0 && root < PipelineDataCount))
        return false;
    return MapToRoot(outFilename, sourceFilename, root, nullptr);
}

bool SourceToData(std::string& outFilename, const char* sourceFilename)
{
    if (!dbAssert(sourceFilename != nullptr))
        return false;
    return MapToRoot(outFilename, sourceFilename, DataFinal, "DATA:");
}

bool GetTextureName(std::string& outName, const char* inName)
{
    outName.clear();
    if (!dbAssert(inName != nullptr))
        return true;
    std::string dataName;
    if (!SourceToData(dataName, inName))
        return true;
    SplitName split(dataName.c_str());
    outName = std::string(split.file) + split.ext;
    return true;
}

void NormalisePath(std::string& newPath, const char* oldPath)
{
    if (!dbAssert(oldPath != nullptr))
        return;
    newPath = oldPath;
    for (char& c : newPath)
        c = c == '\\' ? '/' : char(std::tolower(static_cast<unsigned char>(c)));
}

bool GetXRefName(host::INode* pNode, std::string& outName)
{
    outName.clear();
    if (!dbAssert(pNode != nullptr) || !IsXRef(pNode))
        return false;
    auto* pObject = dynamic_cast<host::IXRefObject*>(pNode->GetObjectRef());
    if (!dbAssert(pObject))
        return false;

    const host::CStr fileName = pObject->GetFileName();
    std::string dataName;
    SourceToData(dataName, fileName);

    SplitName first(dataName.c_str());
    std::string answer;
    if (strcasecmp(first.file, "REF") == 0)
    {
        // An XRef of ".../scout/reference/ref" names the model folder "scout".
        char folder[MaxPath];
        std::strcpy(folder, first.folder);
        CutLast(folder);
        SplitName second(Glue(first.drive, folder).c_str());
        if (strcasecmp(second.file, "REFERENCE") == 0)
        {
            CutLast(second.folder);
            answer = second.folder;
        }
    }
    if (answer.empty())
        answer = std::string(first.folder) + first.file;
    NormalisePath(outName, answer.c_str());
    return true;
}
