#include "merge/animerge.h"

#include "foundation/debug.h"
#include "foundation/output.h"
#include "inventory/resourcetypeinfo.h"
#include "inventory/warehouse.h"
#include "logging/processlog.h"
#include "model/anim/animlist.h"
#include "model/file/generic/animloadgeneric.h"
#include "model/file/generic/animloadinterm.h"
#include "model/file/generic/genericchunk.h"
#include "model/file/generic/rendermodelloadgeneric.h"
#include "model/file/motionpayloadreader.h"
#include "model/rendermodel.h"
#include "model/rendermodeltypeinfo.h"
#include "pipeline/pipeline.h"
#include "render/device.h"
#include "storage/bytestream.h"
#include "storage/filepath.h"
#include "storage/filepath_hd.h"
#include "storage/filepathutil.h"
#include "teamcolour/exporttext.h"
#include "teamcolour/sharedtexture.h"

#include <exception>
#include <memory>

namespace AniMerge
{
const char* const UsageText = "Ani-merge : usage 'Ani-merge <merge file> <model file> <anim file(s)>* '\n";
const char* const LoadFailedText = "Merge: Unable to load file '%s'!\n";
const char* const BuildFailedText = "Merge: Unable to build the intermediate model (Data Intermediate)!\n";
// The line break stands before the point, as the artists have always read it.
const char* const SaveFailedText =
    "Merge: Unable to save the model '%s'\n.  Please make sure no one else has "
    "it checked-out in P4 (Data Generic / Data Final)!\n";

namespace
{
const char* const ToolAlias = "TOOL";
const char* const ToolSource = "HD";
const char* const DataAlias = "DATA";
const char* const DataSource = "Tools Data";

std::string Tool(const std::string& file)
{
    return "TOOL:" + file;
}

// The log beside the model file, named from the first point on: a point in a folder name cuts the
// name there.
bool StartLog(const std::string& modelFile)
{
    std::string logName = modelFile;
    const size_t pExt = logName.find('.');
    if (!dbAssert(pExt != std::string::npos))
        return false;
    logName.replace(pExt, std::string::npos, ".log");
    ProcessLog::Start(logName.c_str(), true);
    return true;
}

bool SetUp(const std::string& modelFile)
{
    if (!StartLog(modelFile))
        return false;
    if (!FilePath::AddAlias(ToolAlias, ToolSource, 99, std::make_shared<FilePathHDRaw>()))
        return false;
    // The result is not tested: without a pipeline there is no tools data folder.
    Pipeline::Initialize(modelFile.c_str());
    char toolsData[FilePath::MAXPATH];
    if (!Pipeline::IsInitialized() || !Pipeline::GetPath("Global", "ToolsData", toolsData, sizeof(toolsData)))
        return false;
    std::shared_ptr<FilePathHD> pToolsData =
        FilePathHD::Create(toolsData, ByteStream::Mode_Read, false, false);
    if (!pToolsData || !FilePath::AddAlias(DataAlias, DataSource, 400, pToolsData))
        return false;
    // The model file must lie in a project's intermediate folder.
    const char* projectName = Pipeline::ProjectFromPath(modelFile.c_str(), DataIntermediate);
    if (projectName == nullptr)
        return false;
    // "GENERIC" is there while the device and the inventory come up, and gone before the merge.
    Mapper generic = Pipeline::CreateMapper(projectName, DataGeneric, false);
    generic.Map();
    fr::DeviceDesc desc;
    desc.driverName = "Null";
    fr::Interface::CreateDevice(desc);
    Inv::Warehouse::Create();
    return true;
}

void TearDown(int status)
{
    Inv::Warehouse::Destroy();
    fr::Interface::DestroyDevice();
    FilePath::RemoveAlias(ToolAlias, ToolSource);
    FilePath::RemoveAlias(DataAlias, DataSource);
    if (Pipeline::IsInitialized())
        Pipeline::Shutdown();
    ProcessLog::Stop(status);
}

// The folder part of a name, alias kept: where the oldest cross-references of a file are relative to.
std::string FolderOf(const std::string& name)
{
    char alias[FilePath::MAXPATH], folder[FilePath::MAXPATH], path[FilePath::MAXPATH];
    if (!FilePathUtil::SplitPath(name.c_str(), alias, folder, nullptr, nullptr) ||
        !FilePathUtil::MakePath(path, alias, folder, "", ""))
        return "";
    return path;
}

// Adds the first animation of the file to the model. Later animations of the same file are not
// read; a file with none adds nothing and still succeeds.
bool MergeAnimFile(const std::string& name, RenderModel& model)
{
    using namespace GenericChunk;
    if (model.GetAnimList() == nullptr)
        model.SetAnimList(std::make_unique<AnimListGeneric>(model));
    AnimList& list = *model.GetAnimList();
    const std::string folder = FolderOf(name);
    return ra::WithChunkFile(name.c_str(), ByteStream::Mode_Read,
                             [&](Chunky& chunky, ByteStreamAdapter& adapter)
                             {
                                 chunky.ReadFolderChunk(ID_RSGM, RSGMVersion);
                                 ChunkInfo info;
                                 while (chunky.NextChunk(info))
                                 {
                                     if (info.kind != Chunky::CT_Folder || info.id != ID_ANIM)
                                         continue;
                                     if (info.version == ANIMIntermVersion)
                                         AnimLoadInterm::Load(chunky, adapter, list);
                                     else
                                         AnimLoadGeneric::Load(chunky, adapter, list, folder.c_str());
                                     return;
                                 }
                             });
}

// The merge itself; the model lives for this stage only, and goes before the inventory does.
bool Merge(const Arguments& arguments, const Flags& flags, const Listener& listener)
{
    if (arguments.count < 3)
    {
        listener(UsageText);
        return false;
    }
    const std::string modelName = Tool(arguments.modelFile);
    // The tools' reading: generic files, with what they were read from kept beside the model.
    RenderModelLoadGeneric::Register();
    RenderModelTypeInfo::SetLoadPath(RenderModelTypeInfo::Path_Generic);

    char frameName[Inv::MaxResourceName];
    InvTypeNameTranslate(frameName, modelName.c_str(), true, true);
    Inv::Warehouse::Get()->PushFrame(frameName);
    std::unique_ptr<RenderModel> pModel;
    try
    {
        pModel = RenderModelLoadGeneric::Load(modelName.c_str(), true);
    }
    catch (...)
    {
        Inv::Warehouse::Get()->PopFrame();
        throw;
    }
    Inv::Warehouse::Get()->PopFrame();
    if (pModel == nullptr)
    {
        listener(TeamColour::Format(LoadFailedText, arguments.modelFile.c_str()));
        return false;
    }
    TeamColour::MarkSharedTextures(*pModel);

    if (flags.exportModel)
    {
        for (const std::string& anim : arguments.cAnimFile)
        {
            if (!MergeAnimFile(Tool(anim), *pModel))
            {
                listener(BuildFailedText);
                return false;
            }
        }
        pModel->GetAnimList()->BuildShaderAnimated();
    }

    const std::string mergeName = Tool(arguments.mergeFile);
    FilePathHDRaw::MakeFolders(arguments.mergeFile.c_str());
    char base[FilePath::MAXPATH];
    if (FilePathUtil::SplitPath(mergeName.c_str(), nullptr, nullptr, base, nullptr))
        pModel->SetName(base);

    if (flags.exportModel && !RenderModelLoadGeneric::Save(mergeName.c_str(), *pModel))
    {
        listener(TeamColour::Format(SaveFailedText, pModel->GetName()));
        return false;
    }
    // A failure here has been told by what it threw.
    if (flags.exportTextures && !TeamColour::ExportSharedShaders(mergeName.c_str(), *pModel))
        return false;
    return true;
}
} // namespace

bool Run(const Arguments& arguments, const Flags& flags, const Listener& listener)
{
    try
    {
        if (!SetUp(arguments.modelFile))
            return false;
        if (!Merge(arguments, flags, listener))
            return false;
    }
    catch (const std::exception& e)
    {
        listener(e.what());
        TearDown(-1);
        return false;
    }
    TearDown(0);
    return true;
}
} // namespace AniMerge
