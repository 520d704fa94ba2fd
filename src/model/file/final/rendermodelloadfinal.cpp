#include "model/file/final/rendermodelloadfinal.h"

#include "foundation/debug.h"
#include "foundation/output.h"
#include "inventory/warehouse.h"
#include "model/anim/animlist.h"
#include "model/file/entitychunks.h"
#include "model/file/final/actionloadfinal.h"
#include "model/file/final/animloadfinal.h"
#include "model/file/final/finalchunk.h"
#include "model/file/final/meshloadfinal.h"
#include "model/file/final/shaderloadfinal.h"
#include "model/file/final/skeletonloadfinal.h"
#include "model/file/final/textureloadfinal.h"
#include "model/file/modelparts.h"
#include "model/file/motionload.h"
#include "model/file/motionpayloadreader.h"
#include "model/rendermodel.h"
#include "model/rendermodeltypeinfo.h"
#include "model/shader/shaderimp.h"
#include "model/shader/shadertypeinfo.h"
#include "model/skeleton/skeleton.h"
#include "storage/bytestream.h"
#include "storage/bytestreamadapter.h"
#include "storage/chunky.h"
#include "storage/filepath.h"
#include "storage/filepathutil.h"

#include <cstdio>
#include <exception>
#include <set>
#include <stdexcept>
#include <string>

using namespace FinalChunk;
using namespace ModelChunk;

namespace
{

// `filename` with `extension` in place of a final file's extension, or added when it has none.
bool WithExtension(char (&out)[FilePath::MAXPATH], const char* filename, const char* extension)
{
    if (!FilePathUtil::Copy(out, filename))
        return false;
    if (FilePathUtil::HasExtension(out, RenderModelLoadFinal::FileExtension) ||
        FilePathUtil::HasExtension(out, RenderModelLoadFinal::EntityExtension))
        return FilePathUtil::SetExtension(out, extension);
    const int n = std::snprintf(out, sizeof(out), "%s%s", filename, extension);
    return n > 0 && n < int(sizeof(out));
}

void ReadMarkers(Chunky& chunky, ByteStreamAdapter& adapter, RenderModel& model)
{
    Payload payload(adapter, chunky.ReadDataChunk(ID_MARK, MARKVersion));
    // A marker takes at least its two strings' lengths and its matrix.
    const uint32 count = payload.ReadCount(4 + 4 + 48);
    const int32 first = model.GetCMarkerCount();
    model.SetCMarkerCount(first + int32(count));
    for (uint32 i = 0; i < count; ++i)
    {
        Marker marker;
        marker.name = payload.ReadName();
        marker.parentName = payload.ReadName();
        marker.transform = payload.ReadMatrix34();
        model.SetCMarker(first + int32(i), marker);
    }
    chunky.CloseChunk();
}

void WriteMarkers(Chunky& chunky, ByteStreamAdapter& adapter, const RenderModel& model)
{
    if (model.GetCMarkerCount() == 0)
        return;
    chunky.OpenDataChunk(ID_MARK, MARKVersion, nullptr);
    WriteInt32(adapter, model.GetCMarkerCount());
    for (int32 i = 0; i < model.GetCMarkerCount(); ++i)
    {
        const Marker& marker = model.GetCMarker(i);
        adapter.WriteString(ra::NameText(marker.name));
        adapter.WriteString(ra::NameText(marker.parentName));
        WriteMatrix34(adapter, marker.transform);
    }
    chunky.CloseChunk();
}

void ReadCameras(Chunky& chunky, ByteStreamAdapter& adapter, RenderModel& model)
{
    Payload payload(adapter, chunky.ReadDataChunk(ID_CAMS, CAMSVersion));
    // A camera takes its name's length and 52 bytes of fields.
    const uint32 count = payload.ReadCount(4 + 52);
    const int32 first = model.GetCCameraCount();
    model.SetCCameraCount(first + int32(count));
    for (uint32 i = 0; i < count; ++i)
    {
        RenderModelCamera camera;
        camera.name = payload.ReadName();
        camera.position = payload.ReadVec3();
        camera.orientation = payload.ReadQuat();
        camera.fov = payload.ReadFloat();
        camera.nearClip = payload.ReadFloat();
        camera.farClip = payload.ReadFloat();
        camera.target = payload.ReadVec3();
        model.SetCCamera(first + int32(i), camera);
    }
    chunky.CloseChunk();
}

void WriteCameras(Chunky& chunky, ByteStreamAdapter& adapter, const RenderModel& model)
{
    if (model.GetCCameraCount() == 0)
        return;
    chunky.OpenDataChunk(ID_CAMS, CAMSVersion, nullptr);
    WriteInt32(adapter, model.GetCCameraCount());
    for (int32 i = 0; i < model.GetCCameraCount(); ++i)
    {
        const RenderModelCamera& camera = model.GetCCamera(i);
        adapter.WriteString(ra::NameText(camera.name));
        WriteVec3(adapter, camera.position);
        WriteQuat(adapter, camera.orientation);
        WriteFloat(adapter, camera.fov);
        WriteFloat(adapter, camera.nearClip);
        WriteFloat(adapter, camera.farClip);
        WriteVec3(adapter, camera.target);
    }
    chunky.CloseChunk();
}

// The skin bones of every mesh looked up in the skeleton; a missing one is logged with the model's
// name and takes bone 0.
void ResolveSkin(ra::MeshGroup& group, const Skeleton* pSkeleton, const char* modelName)
{
    for (int32 m = 0; m < group.GetMeshCount(); ++m)
    {
        const ra::Mesh* pMesh = group.GetMesh(m);
        const int32 count = pMesh ? pMesh->GetSkinnedTransformCount() : 0;
        group.SetSkinnedTransformCount(m, count);
        for (int32 i = 0; i < count; ++i)
        {
            const ra::Name boneName = pMesh->GetSkinnedTransformName(i);
            int32 boneIndex = pSkeleton ? pSkeleton->FindBone(boneName) : Bone::InvalidIndex;
            if (boneIndex == Bone::InvalidIndex)
            {
                dbWarningf("'%s': Mesh '%s' requires bone '%s' for skinning, but it is missing!", modelName,
                           ra::NameText(group.GetMeshName(m)), ra::NameText(boneName));
                boneIndex = 0;
            }
            group.SetSkinnedTransform(m, i, pMesh->GetSkinnedTransformIndex(i), boneIndex);
        }
    }
}

// Textures of the model's own, unshared shaders, each once at its first use; then those shaders.
bool WriteShaders(Chunky& chunky, ByteStreamAdapter& adapter, const ra::MeshGroup& group)
{
    std::set<const Texture*> cWritten;
    return ModelParts::WriteShaders(
        group,
        [&](const Shader& shader)
        { return ShaderLoadFinal::SaveTextures(chunky, adapter, shader, cWritten); },
        [&](const Shader& shader) { ShaderLoadFinal::Save(chunky, adapter, shader); });
}

std::unique_ptr<RenderModel> LoadFinalModel(const char* filename)
{
    return RenderModelLoadFinal::Load(filename);
}
} // namespace

void RenderModelLoadFinal::Register()
{
    ShaderTypeInfo::SetShaderReader(&ShaderLoadFinal::LoadSharedFile, "DATA");
    RenderModelTypeInfo::SetFinalLoader(&LoadFinalModel);
}

std::unique_ptr<RenderModel> RenderModelLoadFinal::Load(Chunky& chunky, ByteStreamAdapter& adapter)
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
        bool loaded = true;
        switch (info.id)
        {
        case ID_TXTR:
            if (folderChunk)
                loaded = ModelParts::AddTexture(TextureLoadFinal::Load(chunky, adapter));
            break;
        case ID_SHDR:
            if (folderChunk)
                loaded = ModelParts::AddShader(ShaderLoadFinal::Load(chunky, adapter, modelName));
            break;
        case ID_SSHR:
            if (!folderChunk)
                loaded = ShaderLoadFinal::LoadShared(chunky, adapter).IsValid();
            break;
        case ID_SKEL:
            if (!folderChunk)
                pModel->SetSkeleton(SkeletonLoadFinal::Load(chunky, adapter));
            break;
        case ID_MSGR:
            if (folderChunk)
                pModel->SetMeshGroup(MeshLoadFinal::Load(chunky, adapter, pModel->GetSkeleton(), modelName));
            break;
        case ID_MARK:
            if (!folderChunk)
                ReadMarkers(chunky, adapter, *pModel);
            break;
        case ID_CAMS:
            if (!folderChunk)
                ReadCameras(chunky, adapter, *pModel);
            break;
        case ID_ANIM:
            if (!folderChunk)
                break;
            if (pModel->GetMeshGroup() != nullptr)
                pModel->BuildRefPose();
            AnimLoadFinal::Load(chunky, adapter, animList);
            break;
        default:
            break;
        }
        if (!loaded)
        {
            dbWarningf("MODELS -- '%s': unable to load %s '%s'!", modelName,
                       info.id == ID_TXTR ? "texture" : "shader", info.name.c_str());
            return nullptr;
        }
    }
    chunky.CloseChunk();

    if (ra::MeshGroup* pGroup = pModel->GetMeshGroup())
    {
        pGroup->SetSkeleton(pModel->GetSkeleton());
        ResolveSkin(*pGroup, pModel->GetSkeleton(), modelName);
        pModel->BuildRefPose();
    }
    return pModel;
}

bool RenderModelLoadFinal::LoadEntity(Chunky& chunky, ByteStreamAdapter& adapter, RenderModel& model)
{
    chunky.ReadFolderChunk(ID_REBP, REBPVersion);
    if (model.GetAnimList() == nullptr)
        model.SetAnimList(std::make_unique<AnimListGeneric>(model));
    AnimList& animList = *model.GetAnimList();
    ChunkInfo info;
    while (chunky.NextChunk(info))
    {
        if (EntityChunks::Read(chunky, adapter, info, model, animList))
            continue;
        if (info.kind == Chunky::CT_Folder && info.id == ID_ANIM)
            AnimLoadFinal::Load(chunky, adapter, animList);
        else if (info.kind == Chunky::CT_Data && info.id == ID_ACTS &&
                 !ActionLoadFinal::Load(chunky, adapter, model.GetActionTree(), model.GetMotionList(),
                                        model.GetConditionList(), ModelParts::ModelName(model)))
            return false;
    }
    chunky.CloseChunk();
    return true;
}

std::unique_ptr<RenderModel> RenderModelLoadFinal::Load(const char* name)
{
    if (!dbAssert(name))
        return nullptr;
    dbTagf(FourCC("RMUS"), "RENDER MODEL USAGE -- Loading model '%s'...", name);
    char file[FilePath::MAXPATH];
    std::string path = FilePathUtil::HasAlias(name) ? name : std::string("DATA:") + name;
    if (!WithExtension(file, path.c_str(), FileExtension))
    {
        dbWarningf("MODELS -- '%s': name too long for a model file!", name);
        return nullptr;
    }
    std::unique_ptr<RenderModel> pModel;
    if (!ra::WithChunkFile(file, ByteStream::Mode_Read,
                           [&](Chunky& chunky, ByteStreamAdapter& adapter)
                           { pModel = Load(chunky, adapter); }) ||
        !pModel)
    {
        dbWarningf("MODELS -- '%s': Unable to load model!", file);
        return nullptr;
    }

    char entity[FilePath::MAXPATH];
    if (WithExtension(entity, file, EntityExtension) && FilePath::FileType(entity) == 1)
    {
        bool loaded = false;
        if (!ra::WithChunkFile(entity, ByteStream::Mode_Read,
                               [&](Chunky& chunky, ByteStreamAdapter& adapter)
                               { loaded = LoadEntity(chunky, adapter, *pModel); }) ||
            !loaded)
        {
            dbWarningf("MODELS -- '%s': Unable to load the entity file!", entity);
            return nullptr;
        }
    }
    pModel->GetAnimList()->BuildShaderAnimated();
    return pModel;
}

bool RenderModelLoadFinal::Save(Chunky& chunky, ByteStreamAdapter& adapter, const RenderModel& model)
{
    chunky.OpenFolderChunk(ID_RSGM, RSGMVersion, ModelParts::ModelName(model));
    const ra::MeshGroup* pGroup = model.GetMeshGroup();
    if (pGroup != nullptr && !WriteShaders(chunky, adapter, *pGroup))
        return false;
    if (const Skeleton* pSkeleton = model.GetSkeleton())
        SkeletonLoadFinal::Save(chunky, adapter, *pSkeleton);
    if (pGroup != nullptr)
        MeshLoadFinal::Save(chunky, adapter, *pGroup);
    WriteMarkers(chunky, adapter, model);
    WriteCameras(chunky, adapter, model);
    if (const AnimList* pList = model.GetAnimList())
        for (int i = 0; i < pList->GetAnimCount(); ++i)
            if (!pList->GetAnimNode(i)->HasXRefName())
                AnimLoadFinal::Save(chunky, adapter, *pList->GetAnimNode(i));
    chunky.CloseChunk();
    return true;
}

void RenderModelLoadFinal::SaveEntity(Chunky& chunky, ByteStreamAdapter& adapter, const RenderModel& model)
{
    chunky.OpenFolderChunk(ID_REBP, REBPVersion, nullptr);
    if (const AnimList* pList = model.GetAnimList())
        for (int i = 0; i < pList->GetAnimCount(); ++i)
            if (pList->GetAnimNode(i)->HasXRefName())
                AnimLoadFinal::Save(chunky, adapter, *pList->GetAnimNode(i));
    MotionLoad::WarnValidity(model.GetMotionList(), ModelParts::ModelName(model));
    EntityChunks::WriteMotionTree(chunky, adapter, model);
    ActionLoadFinal::Save(chunky, adapter, model.GetActionTree());
    EntityChunks::WriteSelection(chunky, adapter, model);
    chunky.CloseChunk();
}

bool RenderModelLoadFinal::HasEntity(const RenderModel& model)
{
    if (const AnimList* pList = model.GetAnimList())
        for (int i = 0; i < pList->GetAnimCount(); ++i)
            if (pList->GetAnimNode(i)->HasXRefName())
                return true;
    return model.GetMotionList().GetMotionCount() > 0 || model.GetActionTree().GetActionCount() > 0 ||
           model.GetEventList().GetEventCount() > 0 || model.GetClauseList().GetClauseCount() > 0 ||
           model.GetConditionList().GetConditionCount() > 0 || model.GetModifierList().GetModifierCount() > 0;
}

bool RenderModelLoadFinal::Save(const char* filename, const RenderModel& model)
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
                           {
                               if (!Save(chunky, adapter, model))
                                   throw std::runtime_error("a texture of the model cannot be written");
                           }))
        return false;
    if (!HasEntity(model))
        return true;
    char entity[FilePath::MAXPATH];
    if (!WithExtension(entity, path, EntityExtension))
        return false;
    return ra::WithChunkFile(entity, ByteStream::Mode_Write,
                             [&](Chunky& chunky, ByteStreamAdapter& adapter)
                             { SaveEntity(chunky, adapter, model); });
}
