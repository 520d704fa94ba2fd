#include "model/file/generic/rendermodelloadgeneric.h"

#include "foundation/debug.h"
#include "foundation/output.h"
#include "inventory/warehouse.h"
#include "model/anim/animlist.h"
#include "model/file/entitychunks.h"
#include "model/file/eventload.h"
#include "model/file/generic/actionloadgeneric.h"
#include "model/file/generic/animloadgeneric.h"
#include "model/file/generic/animloadinterm.h"
#include "model/file/generic/genericchunk.h"
#include "model/file/generic/meshloadgeneric.h"
#include "model/file/generic/shaderloadgeneric.h"
#include "model/file/generic/skeletonloadgeneric.h"
#include "model/file/generic/skeletonloadinterm.h"
#include "model/file/generic/textureloadgeneric.h"
#include "model/file/modelparts.h"
#include "model/file/motionpayloadreader.h"
#include "model/rendermodel.h"
#include "model/rendermodeltypeinfo.h"
#include "model/shader/shaderimp.h"
#include "model/shader/texturetypeinfo.h"
#include "storage/bytestream.h"
#include "storage/bytestreamadapter.h"
#include "storage/chunky.h"
#include "storage/filepath.h"
#include "storage/filepathutil.h"

#include <cstdio>
#include <exception>
#include <set>
#include <string>
#include <vector>

using namespace GenericChunk;
using namespace ModelChunk;

namespace
{

// The files being read, innermost last: a model that reaches itself through its cross-references
// is refused instead of read again and again.
std::vector<std::string>& LoadingFiles()
{
    static std::vector<std::string> s_cFile;
    return s_cFile;
}

class LoadingGuard
{
public:
    explicit LoadingGuard(const char* path)
    {
        for (const std::string& file : LoadingFiles())
            if (FilePathUtil::Equal(file.c_str(), path))
                return;
        LoadingFiles().emplace_back(path);
        m_entered = true;
    }
    ~LoadingGuard()
    {
        if (m_entered)
            LoadingFiles().pop_back();
    }
    LoadingGuard(const LoadingGuard&) = delete;
    LoadingGuard& operator=(const LoadingGuard&) = delete;
    bool Entered() const { return m_entered; }

private:
    bool m_entered = false;
};

// `filename` with `extension` in place of its own, or added when it has none of the model file's.
bool WithExtension(char (&out)[FilePath::MAXPATH], const char* filename, const char* extension)
{
    if (!FilePathUtil::Copy(out, filename))
        return false;
    const char* own = FilePathUtil::GetExtensionPtr(out);
    const bool hasModelExtension = FilePathUtil::HasExtension(out, RenderModelLoadGeneric::FileExtension) ||
                                   FilePathUtil::HasExtension(out, RenderModelLoadGeneric::EntityExtension);
    if (own == out || !hasModelExtension)
    {
        const int n = std::snprintf(out, sizeof(out), "%s%s", filename, extension);
        return n > 0 && n < int(sizeof(out));
    }
    return FilePathUtil::SetExtension(out, extension);
}

// The folder part of a path, alias included.
std::string FolderOf(const char* path)
{
    const char* file = FilePathUtil::GetFilenamePtr(path);
    return std::string(path, size_t(file - path));
}

void ReadMarker(Chunky& chunky, ByteStreamAdapter& adapter, RenderModel& model)
{
    const ChunkInfo info = chunky.ReadDataChunk(ID_MARK, MARKVersion);
    Payload payload(adapter, info);
    Marker marker;
    marker.name = ra::NameOf(info.name.c_str());
    marker.parentName = payload.ReadName();
    marker.transform = payload.ReadMatrix34();
    chunky.CloseChunk();
    const int32 index = model.GetCMarkerCount();
    model.SetCMarkerCount(index + 1);
    model.SetCMarker(index, marker);
}

void ReadCamera(Chunky& chunky, ByteStreamAdapter& adapter, RenderModel& model)
{
    const ChunkInfo info = chunky.ReadDataChunk(ID_CMRA, CMRAModelVersion);
    Payload payload(adapter, info);
    RenderModelCamera camera;
    camera.name = ra::NameOf(info.name.c_str());
    camera.position = payload.ReadVec3();
    camera.orientation = payload.ReadQuat();
    camera.fov = payload.ReadFloat();
    camera.nearClip = payload.ReadFloat();
    camera.farClip = payload.ReadFloat();
    if (info.version >= 2)
        camera.target = payload.ReadVec3();
    chunky.CloseChunk();
    const int32 index = model.GetCCameraCount();
    model.SetCCameraCount(index + 1);
    model.SetCCamera(index, camera);
}

void WriteMarker(Chunky& chunky, ByteStreamAdapter& adapter, const Marker& marker)
{
    chunky.OpenDataChunk(ID_MARK, MARKVersion, ra::NameText(marker.name));
    adapter.WriteString(ra::NameText(marker.parentName));
    WriteMatrix34(adapter, marker.transform);
    chunky.CloseChunk();
}

void WriteCamera(Chunky& chunky, ByteStreamAdapter& adapter, const RenderModelCamera& camera)
{
    chunky.OpenDataChunk(ID_CMRA, CMRAModelVersion, ra::NameText(camera.name));
    WriteVec3(adapter, camera.position);
    WriteQuat(adapter, camera.orientation);
    WriteFloat(adapter, camera.fov);
    WriteFloat(adapter, camera.nearClip);
    WriteFloat(adapter, camera.farClip);
    WriteVec3(adapter, camera.target);
    chunky.CloseChunk();
}

// Textures of the model's own, unshared shaders, each once at its first use; then those shaders.
void WriteShaders(Chunky& chunky, ByteStreamAdapter& adapter, const ra::MeshGroup& group, bool textures)
{
    std::set<const Texture*> cWritten;
    ModelParts::WriteShaders(
        group,
        textures ? [&](const Shader& shader)
        {
            ShaderLoadGeneric::SaveTextures(chunky, adapter, shader, cWritten);
            return true;
        }
                 : std::function<bool(const Shader&)>(),
        [&](const Shader& shader) { ShaderLoadGeneric::Save(chunky, adapter, shader); });
}

void WriteMarkersAndCameras(Chunky& chunky, ByteStreamAdapter& adapter, const RenderModel& model)
{
    for (int32 i = 0; i < model.GetCMarkerCount(); ++i)
        WriteMarker(chunky, adapter, model.GetCMarker(i));
    for (int32 i = 0; i < model.GetCCameraCount(); ++i)
        WriteCamera(chunky, adapter, model.GetCCamera(i));
}

std::unique_ptr<RenderModel> LoadGenericModel(const char* filename, bool loadEbp)
{
    return RenderModelLoadGeneric::Load(filename, loadEbp);
}

std::unique_ptr<ra::EventData> LoadEventFile(const char* name, const char* caller)
{
    return EventLoad::Load(name, caller);
}
} // namespace

void RenderModelLoadGeneric::Register()
{
    ShaderLoadGeneric::Register();
    TextureTypeInfo::SetTextureReader(&TextureLoadGeneric::LoadFile);
    EventDataTypeInfo::SetEventReader(&LoadEventFile);
    RenderModelTypeInfo::SetGenericLoader(&LoadGenericModel);
}

std::unique_ptr<RenderModel> RenderModelLoadGeneric::Load(Chunky& chunky, ByteStreamAdapter& adapter,
                                                          const char* folder)
{
    const ChunkInfo root = chunky.ReadFolderChunk(ID_RSGM, RSGMVersion);
    auto pModel = std::make_unique<RenderModel>(root.name.c_str());
    pModel->SetAnimList(std::make_unique<AnimListGeneric>(*pModel));
    AnimList& animList = *pModel->GetAnimList();
    const char* modelName = ModelParts::ModelName(*pModel);

    ChunkInfo info;
    while (chunky.NextChunk(info))
    {
        const bool folderChunk = info.kind == Chunky::CT_Folder;
        switch (info.id)
        {
        case ID_TXTR:
            if (!folderChunk)
                break;
            if (std::unique_ptr<Texture> pTexture = TextureLoadGeneric::Load(chunky, adapter))
                ModelParts::AddTexture(std::move(pTexture));
            else
                ThrowBadContent(adapter, "Unable to load image(s) for texture '%s'!", info.name.c_str());
            break;
        case ID_SHDR:
            if (folderChunk)
                ModelParts::AddShader(ShaderLoadGeneric::Load(chunky, adapter, modelName));
            break;
        case ID_SSHR:
            if (!folderChunk)
                ShaderLoadGeneric::LoadShared(chunky, adapter);
            break;
        case ID_SKEL:
        {
            pModel->SetSkeleton(folderChunk ? SkeletonLoadGeneric::Load(chunky, adapter)
                                            : SkeletonLoadInterm::Load(chunky, adapter));
            if (ra::MeshGroup* pGroup = pModel->GetMeshGroup())
            {
                pGroup->SetSkeleton(pModel->GetSkeleton());
                pGroup->ResolveSkinnedTransforms();
            }
            break;
        }
        case ID_MSGR:
        case ID_MESH:
        {
            if (!folderChunk)
                break;
            std::unique_ptr<ra::MeshGroup> pGroup =
                info.id == ID_MSGR
                    ? MeshLoadGeneric::Load(chunky, adapter, pModel->GetSkeleton(), modelName)
                    : MeshLoadGeneric::LoadLegacy(chunky, adapter, pModel->GetSkeleton(), modelName, folder);
            if (pModel->GetSkeleton() != nullptr)
                pGroup->ResolveSkinnedTransforms();
            pModel->SetMeshGroup(std::move(pGroup));
            break;
        }
        case ID_MARK:
            if (!folderChunk)
                ReadMarker(chunky, adapter, *pModel);
            break;
        case ID_CMRA:
            if (!folderChunk)
                ReadCamera(chunky, adapter, *pModel);
            break;
        case ID_ANIM:
        {
            if (!folderChunk)
                break;
            if (pModel->GetSkeleton() == nullptr)
                dbWarningf("%s: Animation '%s' - in a model without a valid skeleton!", modelName,
                           info.name.c_str());
            if (pModel->GetMeshGroup() != nullptr)
                pModel->BuildRefPose();
            if (info.version == ANIMIntermVersion)
                AnimLoadInterm::Load(chunky, adapter, animList);
            else
                AnimLoadGeneric::Load(chunky, adapter, animList, folder);
            break;
        }
        default:
            break;
        }
    }
    chunky.CloseChunk();

    // Skinned meshes of a model without bones report each bone as missing.
    ra::MeshGroup* pGroup = pModel->GetMeshGroup();
    if (pGroup != nullptr && pModel->GetSkeleton() == nullptr && pGroup->HasSkinnedMeshes())
        pGroup->ResolveSkinnedTransforms();
    if (pGroup != nullptr)
        pModel->BuildRefPose();
    return pModel;
}

void RenderModelLoadGeneric::LoadEbp(Chunky& chunky, ByteStreamAdapter& adapter, RenderModel& model,
                                     const char* folder)
{
    chunky.ReadFolderChunk(ID_REBP, REBPVersion);
    if (model.GetAnimList() == nullptr)
        model.SetAnimList(std::make_unique<AnimListGeneric>(model));
    AnimList& animList = *model.GetAnimList();
    const char* modelName = ModelParts::ModelName(model);
    ChunkInfo info;
    while (chunky.NextChunk(info))
    {
        if (EntityChunks::Read(chunky, adapter, info, model, animList) || info.kind != Chunky::CT_Folder)
            continue;
        if (info.id == ID_ANIM)
            AnimLoadGeneric::Load(chunky, adapter, animList, folder);
        else if (info.id == ActionLoadGeneric::ID_ACTR)
            ActionLoadGeneric::Load(chunky, adapter, model.GetActionTree(), model.GetMotionList(),
                                    model.GetConditionList(), modelName);
    }
    chunky.CloseChunk();
}

std::unique_ptr<RenderModel> RenderModelLoadGeneric::Load(const char* filename, bool loadEbp)
{
    if (!dbAssert(filename))
        return nullptr;
    char name[FilePath::MAXPATH];
    if (!WithExtension(name, filename, FileExtension))
    {
        dbWarningf("MODELS -- '%s': name too long for a model file!", filename);
        return nullptr;
    }
    // A name without an alias is looked for in the generic data, then in the data.
    std::vector<std::string> cPath;
    if (FilePathUtil::HasAlias(name))
        cPath.emplace_back(name);
    else
    {
        cPath.push_back(std::string("GENERIC:") + name);
        cPath.push_back(std::string("DATA:") + name);
    }
    std::shared_ptr<ByteStream> pStream;
    std::string path;
    for (const std::string& candidate : cPath)
    {
        pStream = FilePath::Open(candidate.c_str(), ByteStream::Mode_Read);
        if (pStream)
        {
            path = candidate;
            break;
        }
    }
    if (!pStream)
    {
        dbWarningf("MODELS -- '%s': Unable to open model file!", name);
        return nullptr;
    }
    LoadingGuard guard(path.c_str());
    if (!guard.Entered())
    {
        dbWarningf("MODELS -- '%s': the model refers to itself, not read again!", path.c_str());
        return nullptr;
    }
    const std::string folder = FolderOf(path.c_str());

    std::unique_ptr<RenderModel> pModel;
    {
        ByteStreamAdapter adapter(*pStream);
        Chunky chunky(adapter);
        pModel = Load(chunky, adapter, folder.c_str());
    }
    pStream.reset();

    char ebpPath[FilePath::MAXPATH];
    if (loadEbp && WithExtension(ebpPath, path.c_str(), EntityExtension) && FilePath::FileType(ebpPath) == 1)
    {
        // A damaged entity file fails the whole load.
        if (!ra::WithChunkFile(ebpPath, ByteStream::Mode_Read,
                               [&](Chunky& chunky, ByteStreamAdapter& adapter)
                               { LoadEbp(chunky, adapter, *pModel, folder.c_str()); }))
            return nullptr;
    }
    pModel->GetAnimList()->BuildShaderAnimated();
    return pModel;
}

void RenderModelLoadGeneric::Save(Chunky& chunky, ByteStreamAdapter& adapter, const RenderModel& model,
                                  const SaveFlags& flags)
{
    chunky.OpenFolderChunk(ID_RSGM, RSGMVersion, ModelParts::ModelName(model));
    const ra::MeshGroup* pGroup = model.GetMeshGroup();
    if (flags.meshes)
    {
        if (pGroup != nullptr && flags.shaders)
            WriteShaders(chunky, adapter, *pGroup, true);
        if (const Skeleton* pSkeleton = model.GetSkeleton())
            SkeletonLoadGeneric::Save(chunky, adapter, *pSkeleton);
        if (pGroup != nullptr)
            MeshLoadGeneric::Save(chunky, adapter, *pGroup);
        WriteMarkersAndCameras(chunky, adapter, model);
    }
    if (flags.animation && model.GetAnimList() != nullptr)
    {
        const AnimList& list = *model.GetAnimList();
        for (int i = 0; i < list.GetAnimCount(); ++i)
            if (!list.GetAnimNode(i)->HasXRefName())
                AnimLoadGeneric::Save(chunky, adapter, *list.GetAnimNode(i));
    }
    chunky.CloseChunk();
}

void RenderModelLoadGeneric::SaveEbp(Chunky& chunky, ByteStreamAdapter& adapter, const RenderModel& model)
{
    chunky.OpenFolderChunk(ID_REBP, REBPVersion, nullptr);
    if (const AnimList* pList = model.GetAnimList())
        for (int i = 0; i < pList->GetAnimCount(); ++i)
            if (pList->GetAnimNode(i)->HasXRefName())
                AnimLoadGeneric::Save(chunky, adapter, *pList->GetAnimNode(i));
    EntityChunks::WriteMotionTree(chunky, adapter, model);
    ActionLoadGeneric::Save(chunky, adapter, model.GetActionTree());
    EntityChunks::WriteSelection(chunky, adapter, model);
    chunky.CloseChunk();
}

bool RenderModelLoadGeneric::Save(const char* filename, const RenderModel& model, const SaveFlags& flags)
{
    if (!dbAssert(filename))
        return false;
    char path[FilePath::MAXPATH];
    if (!WithExtension(path, filename, FileExtension))
    {
        dbWarningf("MODELS -- '%s': name too long for a model file!", filename);
        return false;
    }
    if (!ra::WithChunkFile(path, ByteStream::Mode_Write,
                           [&](Chunky& chunky, ByteStreamAdapter& adapter)
                           { Save(chunky, adapter, model, flags); }))
        return false;
    if (!flags.meshes)
        return true;
    char ebpPath[FilePath::MAXPATH];
    if (!WithExtension(ebpPath, path, EntityExtension))
        return false;
    return ra::WithChunkFile(ebpPath, ByteStream::Mode_Write,
                             [&](Chunky& chunky, ByteStreamAdapter& adapter)
                             { SaveEbp(chunky, adapter, model); });
}

void RenderModelLoadGeneric::SaveInterm(Chunky& chunky, ByteStreamAdapter& adapter, const RenderModel& model,
                                        bool modelPart, bool animPart, bool textures)
{
    chunky.OpenFolderChunk(ID_RSGM, RSGMVersion, ModelParts::ModelName(model));
    const ra::MeshGroup* pGroup = model.GetMeshGroup();
    if (modelPart)
    {
        if (pGroup != nullptr)
            WriteShaders(chunky, adapter, *pGroup, textures);
        if (const Skeleton* pSkeleton = model.GetSkeleton())
            SkeletonLoadInterm::Save(chunky, adapter, *pSkeleton);
        if (pGroup != nullptr)
            MeshLoadGeneric::Save(chunky, adapter, *pGroup);
        WriteMarkersAndCameras(chunky, adapter, model);
    }
    if (animPart && model.GetAnimList() != nullptr)
    {
        const AnimList& list = *model.GetAnimList();
        for (int i = 0; i < list.GetAnimCount(); ++i)
            if (!list.GetAnimNode(i)->HasXRefName())
                AnimLoadInterm::Save(chunky, adapter, *list.GetAnimNode(i), model);
    }
    chunky.CloseChunk();
}

bool RenderModelLoadGeneric::SaveInterm(const char* filename, const RenderModel& model, bool modelPart,
                                        bool animPart, bool textures)
{
    if (!dbAssert(filename))
        return false;
    char path[FilePath::MAXPATH];
    if (!WithExtension(path, filename, FileExtension))
    {
        dbWarningf("MODELS -- '%s': name too long for a model file!", filename);
        return false;
    }
    return ra::WithChunkFile(path, ByteStream::Mode_Write,
                             [&](Chunky& chunky, ByteStreamAdapter& adapter)
                             { SaveInterm(chunky, adapter, model, modelPart, animPart, textures); });
}
