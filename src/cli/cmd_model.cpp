// tq7z model info FILE [--json], tq7z model convert IN OUT, tq7z model diff A B and tq7z model
// export-gltf MODEL OUT: what a model file of any form holds (.sgm with its .ebp in the generic or the
// intermediate form, .tqm with its .tqe, a shared shader file .vds), writing a model again in the
// generic, intermediate or final form, comparing two models by content, and writing a model as glTF
// 2.0 for viewers.
#include "cli/command.h"
#include "cli/outputfile.h"
#include "cli/toolalias.h"

#include "inventory/warehouse.h"
#include "model/anim/animlist.h"
#include "model/file/final/finalchunk.h"
#include "model/file/final/rendermodelloadfinal.h"
#include "model/file/final/textureloadfinal.h"
#include "model/file/generic/genericchunk.h"
#include "model/file/generic/rendermodelloadgeneric.h"
#include "model/file/gltf/gltfwriter.h"
#include "model/modeldiff.h"
#include "model/rendermodel.h"
#include "model/shader/shader.h"
#include "model/shader/shadertypeinfo.h"
#include "pipeline/fullpath.h"
#include "pipeline/mapper.h"
#include "pipeline/pipeline.h"
#include "playback/animbvbuilder.h"
#include "render/device.h"
#include "storage/bytestream.h"
#include "storage/chunky.h"
#include "storage/filepath.h"
#include "storage/filepath_hd.h"
#include "storage/osfile.h"
#include "storage/userpath.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace
{
using Json = nlohmann::ordered_json;

const char* Text(ra::Name name)
{
    const char* text = ra::GetNameText(name);
    return text ? text : "";
}

Json Floats(const float* values, size_t count)
{
    Json array = Json::array();
    for (size_t i = 0; i < count; ++i)
        array.push_back(values[i]);
    return array;
}

Json Vec3(const ra::Vec3& v)
{
    return Json::array({v.x, v.y, v.z});
}

Json Quat(const ra::Quat& q)
{
    return Json::array({q.x, q.y, q.z, q.w});
}

template <class StreamT> uint32 KeyCount(const StreamT* pStream)
{
    return pStream ? pStream->GetKeyCount() : 0;
}

// The textures as the file holds them: those of the model's own unshared shaders, each once (and
// those of the shared shader that a shared shader file holds).
Json Textures(const ra::MeshGroup& group, bool sharedToo)
{
    Json textures = Json::array();
    std::set<const Texture*> cSeen;
    for (int32 i = 0; i < group.GetShaderCount(); ++i)
    {
        const Shader* pShader = group.GetShader(i).Get();
        if (pShader == nullptr || !group.IsShaderLocal(i) || (pShader->IsShared() && !sharedToo))
            continue;
        for (uint32 n = 0; n < Shader::CN_Count; ++n)
        {
            const Texture* pTexture = pShader->GetTexture(n).Get();
            if (pTexture == nullptr || !cSeen.insert(pTexture).second)
                continue;
            const fr::Texture* pRender = pTexture->GetTexture();
            textures.push_back({{"name", pTexture->GetName() ? pTexture->GetName() : ""},
                                {"width", pRender ? pRender->GetWidth() : 0},
                                {"height", pRender ? pRender->GetHeight() : 0},
                                {"mips", pRender ? pRender->GetMipCount() : 0}});
        }
    }
    return textures;
}

// The model's own shaders, in the group's order.
Json Shaders(const ra::MeshGroup& group)
{
    Json shaders = Json::array();
    for (int32 i = 0; i < group.GetShaderCount(); ++i)
    {
        const Shader* pShader = group.GetShader(i).Get();
        if (pShader == nullptr || !group.IsShaderLocal(i))
            continue;
        int32 source = 0, destination = 0;
        pShader->GetBlend(source, destination);
        Json channels = Json::array();
        for (uint32 n = 0; n < Shader::FileChannelCount; ++n)
        {
            const Texture* pTexture = pShader->GetTexture(n).Get();
            channels.push_back({{"method", pShader->GetMethod(n)},
                                {"colour", pShader->GetColour(n)},
                                {"texture", pTexture && pTexture->GetName() ? pTexture->GetName() : ""}});
        }
        shaders.push_back({{"name", Text(pShader->GetName())},
                           {"shared", pShader->IsShared()},
                           {"blend", Json::array({source, destination})},
                           {"channels", channels}});
    }
    return shaders;
}

Json Bones(const Skeleton* pSkeleton)
{
    Json bones = Json::array();
    for (int32 i = 0; pSkeleton && i < pSkeleton->GetBoneCount(); ++i)
    {
        const Bone* pBone = pSkeleton->GetBone(i);
        bones.push_back({{"name", Text(pBone->GetName())},
                         {"parent", pBone->GetParentIndex()},
                         {"position", Vec3(pBone->GetPosition())},
                         {"rotation", Quat(pBone->GetRotation())}});
    }
    return bones;
}

Json Meshes(const ra::MeshGroup& group)
{
    Json meshes = Json::array();
    for (int32 i = 0; i < group.GetMeshCount(); ++i)
    {
        const ra::MeshRef& ref = group.GetMeshRef(i);
        const ra::Mesh* pMesh = ref.mesh.Get();
        const fr::VertexSet* pSet = pMesh ? pMesh->GetVertexSet(ra::Mesh::Poly_High) : nullptr;
        Json primsets = Json::array();
        Json skin = Json::array();
        if (pMesh != nullptr)
        {
            for (int32 p = 0; p < pMesh->GetPrimSetCount(); ++p)
            {
                const Shader* pShader = pMesh->GetPrimSetShader(p).Get();
                const fr::PrimSet* pPrimSet = pMesh->GetPrimSet(p, ra::Mesh::Poly_High);
                primsets.push_back({{"shader", pShader ? Text(pShader->GetName()) : ""},
                                    {"indices", pPrimSet ? pPrimSet->GetIndexCount() : 0}});
            }
            for (int32 s = 0; s < pMesh->GetSkinnedTransformCount(); ++s)
                skin.push_back(Text(pMesh->GetSkinnedTransformName(s)));
        }
        meshes.push_back({{"name", Text(ref.name)},
                          {"xref", Text(ref.xrefName)},
                          {"bone", ref.boneIndex},
                          {"vertices", pSet ? pSet->GetSize() : 0},
                          {"vertex_type", pSet ? uint32(pSet->GetType().to_ulong()) : 0},
                          {"primsets", primsets},
                          {"skin", skin}});
    }
    return meshes;
}

Json Animations(const AnimList* pList)
{
    Json animations = Json::array();
    for (int i = 0; pList && i < pList->GetAnimCount(); ++i)
    {
        const AnimListNode* pNode = pList->GetAnimNode(i);
        const Anim* pAnim = pNode->GetAnim().Get();
        if (pAnim == nullptr)
            continue;
        Json bones = Json::array(), controls = Json::array(), cameras = Json::array();
        for (int b = 0; b < pAnim->GetBoneCount(); ++b)
            bones.push_back({{"name", Text(pAnim->GetBoneName(b))},
                             {"position_keys", KeyCount(pAnim->GetPositionStream(b))},
                             {"rotation_keys", KeyCount(pAnim->GetRotationStream(b))},
                             {"animated", pAnim->IsBoneAnimated(b)}});
        for (int c = 0; c < pAnim->GetControlStreamCount(); ++c)
        {
            const ControlInfo& info = pAnim->GetControlInfo(c);
            controls.push_back({{"name", Text(pAnim->GetControlName(c))},
                                {"target_type", info.targetType},
                                {"channel", info.channel},
                                {"parameter", info.parameter},
                                {"keys", KeyCount(pAnim->GetControlStream(c))}});
        }
        for (int c = 0; c < pAnim->GetCameraCount(); ++c)
            cameras.push_back({{"name", Text(pAnim->GetCameraName(c))},
                               {"position_keys", KeyCount(pAnim->GetCameraPositionStream(c))},
                               {"rotation_keys", KeyCount(pAnim->GetCameraRotationStream(c))}});
        animations.push_back({{"name", Text(pAnim->GetName())},
                              {"xref", Text(pNode->GetXRefName())},
                              {"frames", pAnim->GetFrameCount()},
                              {"time", pAnim->GetTime()},
                              {"bones", bones},
                              {"controls", controls},
                              {"cameras", cameras}});
    }
    return animations;
}

Json ModelJson(const RenderModel& model, const char* format, bool sharedShader)
{
    const ra::MeshGroup emptyGroup;
    const ra::MeshGroup& group = model.GetMeshGroup() ? *model.GetMeshGroup() : emptyGroup;
    Json markers = Json::array();
    for (int32 i = 0; i < model.GetCMarkerCount(); ++i)
    {
        const Marker& marker = model.GetCMarker(i);
        markers.push_back({{"name", Text(marker.name)},
                           {"parent", Text(marker.parentName)},
                           {"transform", Floats(marker.transform.Data(), 12)}});
    }
    Json cameras = Json::array();
    for (int32 i = 0; i < model.GetCCameraCount(); ++i)
    {
        const RenderModelCamera& camera = model.GetCCamera(i);
        cameras.push_back({{"name", Text(camera.name)},
                           {"position", Vec3(camera.position)},
                           {"target", Vec3(camera.target)},
                           {"orientation", Quat(camera.orientation)},
                           {"fov", camera.fov},
                           {"near", camera.nearClip},
                           {"far", camera.farClip}});
    }
    const char* name = model.Inv::NamedResource::GetName();
    return {{"name", name ? name : ""},
            {"format", format},
            {"textures", Textures(group, sharedShader)},
            {"shaders", Shaders(group)},
            {"bones", Bones(model.GetSkeleton())},
            {"meshes", Meshes(group)},
            {"markers", markers},
            {"cameras", cameras},
            {"animations", Animations(model.GetAnimList())}};
}

// The same as lines of text: a heading per part, one line per item.
void PrintText(const RenderModel& model, const Json& info)
{
    std::printf("model: %s\n", info["name"].get<std::string>().c_str());
    std::printf("format: %s\n", info["format"].get<std::string>().c_str());
    std::printf("textures: %zu\n", info["textures"].size());
    for (const Json& t : info["textures"])
        std::printf("  %s %dx%d, %d mips\n", t["name"].get<std::string>().c_str(), t["width"].get<int>(),
                    t["height"].get<int>(), t["mips"].get<int>());
    std::printf("shaders: %zu\n", info["shaders"].size());
    for (const Json& s : info["shaders"])
        std::printf("  %s%s blend %d %d\n", s["name"].get<std::string>().c_str(),
                    s["shared"].get<bool>() ? " (shared)" : "", s["blend"][0].get<int>(),
                    s["blend"][1].get<int>());
    std::printf("bones: %zu\n", info["bones"].size());
    for (const Json& b : info["bones"])
        std::printf("  %s parent %d\n", b["name"].get<std::string>().c_str(), b["parent"].get<int>());
    std::printf("meshes: %zu\n", info["meshes"].size());
    for (const Json& m : info["meshes"])
    {
        const std::string xref = m["xref"].get<std::string>();
        std::printf("  %s%s%s: %d vertices, %zu primitive sets, bone %d, %zu skin bones\n",
                    m["name"].get<std::string>().c_str(), xref.empty() ? "" : " from ", xref.c_str(),
                    m["vertices"].get<int>(), m["primsets"].size(), m["bone"].get<int>(), m["skin"].size());
    }
    std::printf("markers: %zu\n", info["markers"].size());
    for (const Json& m : info["markers"])
        std::printf("  %s%s%s\n", m["name"].get<std::string>().c_str(),
                    m["parent"].get<std::string>().empty() ? "" : " on ",
                    m["parent"].get<std::string>().c_str());
    std::printf("cameras: %zu\n", info["cameras"].size());
    for (const Json& c : info["cameras"])
        std::printf("  %s\n", c["name"].get<std::string>().c_str());
    std::printf("animations: %zu\n", info["animations"].size());
    for (const Json& a : info["animations"])
    {
        const std::string xref = a["xref"].get<std::string>();
        std::printf("  %s%s%s: %d frames, %g s, %zu bones, %zu controls, %zu cameras\n",
                    a["name"].get<std::string>().c_str(), xref.empty() ? "" : " from ", xref.c_str(),
                    a["frames"].get<int>(), a["time"].get<double>(), a["bones"].size(), a["controls"].size(),
                    a["cameras"].size());
    }
    std::printf("motions: %d, actions: %d, events: %d, clauses: %d, conditions: %d, modifiers: %d\n",
                model.GetMotionList().GetMotionCount(), model.GetActionTree().GetActionCount(),
                model.GetEventList().GetEventCount(), model.GetClauseList().GetClauseCount(),
                model.GetConditionList().GetConditionCount(), model.GetModifierList().GetModifierCount());
}

// What one model command runs in: the null render device, the inventory, the builder of animation
// boxes, the plain disk under "TOOL" and, when given, a folder under "GENERIC" for cross-references
// and shared shaders. Without one, a file inside a project of a pipeline.ini finds them in that
// project, as the burner does: under "GENERIC" its generic tree, under "DATA" (where the final form
// looks) its final one. Taken down in reverse order. The readers are registered per file, as its
// form needs them (see LoadModel).
class ModelSession
{
public:
    explicit ModelSession(const std::string& genericFolder, const std::string& file = std::string())
    {
        if (!genericFolder.empty())
        {
            const std::string root = std::filesystem::absolute(genericFolder).lexically_normal().string();
            std::shared_ptr<FilePathHD> pSource =
                FilePathHD::Create(root.c_str(), ByteStream::Mode_Read, false, false);
            m_generic = pSource && FilePath::AddAlias("GENERIC", "Command Line", 100, pSource);
        }
        else if (!file.empty())
            MountProject(FullPath::Expand(file.c_str()));
        m_device = fr::Interface::CreateDevice({}) != nullptr;
        m_inventory = Inv::Warehouse::Create();
        RenderModelLoadGeneric::Register();
        AnimBVBuilder::Register();
    }
    ~ModelSession()
    {
        if (m_inventory)
            Inv::Warehouse::Destroy();
        if (m_device)
            fr::Interface::DestroyDevice();
        if (m_generic)
            FilePath::RemoveAlias("GENERIC", "Command Line");
        if (m_finalTree.IsMapped())
            m_finalTree.Unmap();
        if (m_genericTree.IsMapped())
            m_genericTree.Unmap();
        if (m_pipeline)
            Pipeline::Shutdown();
    }
    ModelSession(const ModelSession&) = delete;
    ModelSession& operator=(const ModelSession&) = delete;

    bool IsReady() const { return m_tool.IsAdded() && m_device && m_inventory; }

    static std::string Name(const std::string& file) { return cli::ToolAlias::Name(file); }

private:
    void MountProject(const std::string& full)
    {
        m_pipeline = Pipeline::Initialize(full.c_str()) == Pipeline::InitOk;
        if (!m_pipeline)
            return;
        const char* project = Pipeline::ProjectFromPath(full.c_str(), DataGeneric);
        if (project == nullptr)
            project = Pipeline::ProjectFromPath(full.c_str(), DataFinal);
        if (project == nullptr)
            return;
        m_genericTree = Pipeline::CreateMapper(project, DataGeneric, false);
        if (!m_genericTree.Mappings().empty())
            m_genericTree.Map(true);
        m_finalTree = Pipeline::CreateMapper(project, DataFinal, false);
        if (!m_finalTree.Mappings().empty())
            m_finalTree.Map(true, "DATA");
    }

    // First, so that it goes last.
    cli::ToolAlias m_tool;
    bool m_pipeline = false;
    Mapper m_genericTree;
    Mapper m_finalTree;
    bool m_generic = false;
    bool m_device = false;
    bool m_inventory = false;
};

// The forms a model command reads. The generic and the intermediate form share their root; the
// intermediate one is told by its skeleton (a data chunk of world matrices) or its animations
// (folders of version 1). A generic file with neither reads the same either way.
enum class FileForm
{
    Generic,
    Intermediate,
    Final,
    SharedShader,
};

const char* FormName(FileForm form)
{
    switch (form)
    {
    case FileForm::Generic:
        return "generic";
    case FileForm::Intermediate:
        return "intermediate";
    case FileForm::Final:
        return "final";
    case FileForm::SharedShader:
        return "shared-shader";
    }
    return "";
}

struct FileKind
{
    FileForm form = FileForm::Generic;
    // For a shared shader file: whether its textures are in the final form (or it has none).
    bool finalTextures = true;
};

std::string IdText(uint32 id)
{
    std::string text;
    for (int shift = 24; shift >= 0; shift -= 8)
    {
        const char c = char((id >> shift) & 0xFF);
        text += std::isprint(static_cast<unsigned char>(c)) ? c : '?';
    }
    return text;
}

// Looks at the root chunk, and for the model root and the shared shader file at the chunks under
// it. Throws Chunky::Exception for a container that cannot be read; a root of another kind is a
// message and nothing.
std::optional<FileKind> FindForm(const std::string& command, const std::string& file)
{
    std::shared_ptr<ByteStream> pStream =
        FilePath::Open(ModelSession::Name(file).c_str(), ByteStream::Mode_Read);
    if (!pStream)
    {
        std::fprintf(stderr, "tq7z model %s: %s: cannot be opened\n", command.c_str(), file.c_str());
        return std::nullopt;
    }
    ByteStreamAdapter adapter(*pStream);
    Chunky chunky(adapter);
    ChunkInfo root;
    if (!chunky.NextChunk(root))
    {
        std::fprintf(stderr, "tq7z model %s: %s: the chunk file is empty\n", command.c_str(), file.c_str());
        return std::nullopt;
    }
    FileKind kind;
    if (root.kind == Chunky::CT_Folder && root.id == GenericChunk::ID_RSGM)
    {
        if (root.version >= FinalChunk::RSGMVersion)
        {
            kind.form = FileForm::Final;
            return kind;
        }
        chunky.ReadFolderChunk(GenericChunk::ID_RSGM, root.version);
        ChunkInfo info;
        while (chunky.NextChunk(info))
        {
            const bool intermSkeleton = info.id == GenericChunk::ID_SKEL && info.kind == Chunky::CT_Data;
            const bool intermAnim = info.id == GenericChunk::ID_ANIM && info.kind == Chunky::CT_Folder &&
                                    info.version == GenericChunk::ANIMIntermVersion;
            if (intermSkeleton || intermAnim)
            {
                kind.form = FileForm::Intermediate;
                break;
            }
        }
        return kind;
    }
    if (root.kind == Chunky::CT_Folder && root.id == GenericChunk::ID_SHRF)
    {
        // The textures tell the two forms of the file apart: the final one heads each with "HEAD".
        kind.form = FileForm::SharedShader;
        chunky.ReadFolderChunk(GenericChunk::ID_SHRF, root.version);
        if (chunky.FindChunk(Chunky::CT_Folder, GenericChunk::ID_TXTR))
        {
            chunky.ReadFolderChunk(GenericChunk::ID_TXTR, 0xFFFFFFFF);
            kind.finalTextures = chunky.FindChunk(Chunky::CT_Data, TextureLoadFinal::ID_HEAD);
        }
        return kind;
    }
    std::fprintf(
        stderr,
        "tq7z model %s: %s: not a model file (its root chunk is %s '%s'; a model file starts with the "
        "folder 'RSGM', a shared shader file with 'SHRF')\n",
        command.c_str(), file.c_str(), root.kind == Chunky::CT_Folder ? "the folder" : "the data chunk",
        IdText(root.id).c_str());
    return std::nullopt;
}

// A shared shader as a model of that name whose group holds the one shader, so that it is shown
// and compared as a model's shaders are.
std::unique_ptr<RenderModel> ShaderModel(std::unique_ptr<Shader> pShader)
{
    auto pModel = std::make_unique<RenderModel>(Text(pShader->GetName()));
    Inv::Reference<Shader> shader = Inv::Warehouse::Get()->Add<Shader>(pShader.get());
    if (!shader.IsValid())
        return nullptr;
    pShader.release();
    auto pGroup = std::make_unique<ra::MeshGroup>();
    pGroup->AddShader(shader, true);
    pModel->SetMeshGroup(std::move(pGroup));
    return pModel;
}

struct LoadedModel
{
    std::unique_ptr<RenderModel> pModel;
    FileForm form = FileForm::Generic;
};

// Reads a file of any form inside an inventory frame of its own (`frame`), so that two files read
// by one command never share a mesh, shader or texture by name. Null, with the reason on stderr.
LoadedModel LoadModel(const std::string& command, const std::string& file, const char* frame = "model")
{
    LoadedModel loaded;
    if (!std::filesystem::is_regular_file(file))
    {
        std::fprintf(stderr, "tq7z model %s: %s: no such file\n", command.c_str(), file.c_str());
        return loaded;
    }
    Inv::Warehouse::Get()->PushFrame(frame);
    try
    {
        const std::optional<FileKind> kind = FindForm(command, file);
        if (kind)
        {
            loaded.form = kind->form;
            // The readers of the file's form: the generic ones always (events, the textures of a
            // generic shared shader file), the final ones over them for a final file.
            RenderModelLoadGeneric::Register();
            const bool finalForm = kind->form == FileForm::Final ||
                                   (kind->form == FileForm::SharedShader && kind->finalTextures);
            if (finalForm)
                RenderModelLoadFinal::Register();
            const std::string name = ModelSession::Name(file);
            if (kind->form == FileForm::SharedShader)
            {
                ShaderTypeInfo::ShaderReader reader = ShaderTypeInfo::GetShaderReader();
                std::unique_ptr<Shader> pShader = reader ? reader(name.c_str()) : nullptr;
                if (pShader)
                    loaded.pModel = ShaderModel(std::move(pShader));
            }
            else if (finalForm)
                loaded.pModel = RenderModelLoadFinal::Load(name.c_str());
            else
                loaded.pModel = RenderModelLoadGeneric::Load(name.c_str(), true);
            if (!loaded.pModel)
                std::fprintf(stderr, "tq7z model %s: %s: does not load as a %s (see the messages above)\n",
                             command.c_str(), file.c_str(),
                             kind->form == FileForm::SharedShader ? "shared shader" : "model");
        }
    }
    catch (const Chunky::Exception& e)
    {
        loaded.pModel.reset();
        std::fprintf(stderr, "tq7z model %s: %s: %s (code %u, at byte offset %u)\n", command.c_str(),
                     file.c_str(), e.what(), e.GetCode(), e.GetPosition());
    }
    catch (const std::exception& e)
    {
        loaded.pModel.reset();
        std::fprintf(stderr, "tq7z model %s: %s: %s\n", command.c_str(), file.c_str(),
                     UserPath::InText(e.what()).c_str());
    }
    Inv::Warehouse::Get()->PopFrame();
    return loaded;
}

// Sets the reading quality of final textures; -1 leaves it.
void SetDetail(int detail)
{
    if (detail >= 0)
        TextureLoadFinal::SetDetail(detail);
}

int RunInfo(const std::string& file, bool json, const std::string& genericFolder, int detail)
{
    ModelSession session(genericFolder, file);
    if (!session.IsReady())
    {
        std::fprintf(stderr, "tq7z model info: the null render device or the inventory could not be made\n");
        return 1;
    }
    SetDetail(detail);
    const LoadedModel loaded = LoadModel("info", file);
    if (!loaded.pModel)
        return 1;
    const Json info = ModelJson(*loaded.pModel, FormName(loaded.form), loaded.form == FileForm::SharedShader);
    if (json)
        std::printf("%s\n", info.dump(2).c_str());
    else
        PrintText(*loaded.pModel, info);
    return 0;
}

std::string Lower(std::string text)
{
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return char(std::tolower(c)); });
    return text;
}

struct ConvertOptions
{
    bool interm = false;
    std::string genericFolder;
    int detail = -1;
    int dxt = -1;
    int skipMips = -1;
    bool allMips = false;
};

int RunConvert(const std::string& in, const std::string& out, const ConvertOptions& options)
{
    // The form to write comes from OUT's extension; one that no form has is refused before
    // anything is read or written.
    const std::string extension = Lower(std::filesystem::path(out).extension().string());
    const bool finalOut = extension == RenderModelLoadFinal::FileExtension;
    if (!finalOut && extension != RenderModelLoadGeneric::FileExtension)
    {
        std::fprintf(
            stderr,
            "tq7z model convert: %s: no model form is written as '%s'; the forms written are .sgm "
            "(generic, or intermediate with --interm, with its .ebp) and .tqm (final, with its .tqe)\n",
            out.c_str(), extension.c_str());
        return 2;
    }
    if (finalOut && options.interm)
    {
        std::fprintf(stderr, "tq7z model convert: --interm writes a .sgm file, not %s\n", out.c_str());
        return 2;
    }
    if (!finalOut && (options.dxt >= 0 || options.skipMips >= 0 || options.allMips))
    {
        std::fprintf(stderr,
                     "tq7z model convert: --dxt, --skip-mips and --all-mips are for a .tqm file, not %s\n",
                     out.c_str());
        return 2;
    }
    if (!cli::CheckOutputFolder("model convert", out))
        return 1;
    ModelSession session(options.genericFolder, in);
    if (!session.IsReady())
    {
        std::fprintf(stderr,
                     "tq7z model convert: the null render device or the inventory could not be made\n");
        return 1;
    }
    SetDetail(options.detail);
    const LoadedModel loaded = LoadModel("convert", in);
    if (!loaded.pModel)
        return 1;
    if (loaded.form == FileForm::SharedShader)
    {
        std::fprintf(stderr, "tq7z model convert: %s: a shared shader file holds no model to convert\n",
                     in.c_str());
        return 1;
    }
    const std::string name = ModelSession::Name(out);
    bool saved = false;
    if (finalOut)
    {
        TextureLoadFinal::SetUseDXTC(std::max(options.dxt, 0));
        TextureLoadFinal::SetMipsToSkip(std::max(options.skipMips, 0));
        TextureLoadFinal::SetWriteAllMips(options.allMips);
        saved = RenderModelLoadFinal::Save(name.c_str(), *loaded.pModel);
    }
    else if (options.interm)
        saved = RenderModelLoadGeneric::SaveInterm(name.c_str(), *loaded.pModel, true, true, true);
    else
        saved = RenderModelLoadGeneric::Save(name.c_str(), *loaded.pModel);
    if (!saved)
    {
        std::fprintf(stderr, "tq7z model convert: %s: could not be written (see the messages above)\n",
                     out.c_str());
        return 1;
    }
    return 0;
}

struct DiffOptions
{
    bool json = false;
    float tolerance = 0.0f;
    bool ignoreTextures = false;
    int detail = -1;
    size_t max = 20;
    std::string genericFolder;
};

int RunDiff(const std::string& fileA, const std::string& fileB, const DiffOptions& options)
{
    ModelSession session(options.genericFolder, fileA);
    if (!session.IsReady())
    {
        std::fprintf(stderr, "tq7z model diff: the null render device or the inventory could not be made\n");
        return 1;
    }
    SetDetail(options.detail);
    const LoadedModel a = LoadModel("diff", fileA, "diff a");
    if (!a.pModel)
        return 1;
    const LoadedModel b = LoadModel("diff", fileB, "diff b");
    if (!b.pModel)
        return 1;
    ra::ModelDiffOptions diffOptions;
    diffOptions.tolerance = options.tolerance;
    diffOptions.ignoreTextures = options.ignoreTextures;
    // One more than is shown tells whether there are more.
    diffOptions.maxDifferences = options.max == 0 ? 0 : options.max + 1;
    std::vector<ra::ModelDifference> cDifference = ra::DiffModels(*a.pModel, *b.pModel, diffOptions);
    const bool more = options.max != 0 && cDifference.size() > options.max;
    if (more)
        cDifference.resize(options.max);
    if (options.json)
    {
        Json differences = Json::array();
        for (const ra::ModelDifference& difference : cDifference)
            differences.push_back({{"path", difference.path}, {"a", difference.a}, {"b", difference.b}});
        const Json result = {{"a", fileA},
                             {"b", fileB},
                             {"equal", cDifference.empty()},
                             {"differences", differences},
                             {"more", more}};
        std::printf("%s\n", result.dump(2).c_str());
    }
    else if (cDifference.empty())
        std::printf("%s and %s hold the same model\n", fileA.c_str(), fileB.c_str());
    else
    {
        for (const ra::ModelDifference& difference : cDifference)
            std::printf("%s\n", ra::FormatDifference(difference).c_str());
        std::printf(more ? "the first %zu differences are shown\n" : "%zu differences\n", cDifference.size());
    }
    return cDifference.empty() ? 0 : 1;
}

struct GltfOptions
{
    bool embed = false;
    bool json = false;
    std::string genericFolder;
    int detail = -1;
};

// Writes `bytes` whole to `file` (a temporary name beside it, then a rename); false with the
// reason on stderr.
bool WriteWholeFile(const std::string& file, const std::vector<uint8>& bytes)
{
    std::error_code ec;
    const std::filesystem::path full = std::filesystem::absolute(file, ec).lexically_normal();
    std::filesystem::create_directories(full.parent_path(), ec);
    const OSFile::Result result = OSFile::WriteWhole(full.c_str(), bytes.data(), bytes.size());
    if (result == OSFile::R_Success)
        return true;
    std::fprintf(stderr, "tq7z model export-gltf: %s: could not be written (%s)\n", file.c_str(),
                 result == OSFile::R_AccessDenied ? "access denied" : "the disk refused it");
    return false;
}

int RunExportGltf(const std::string& in, const std::string& out, const GltfOptions& options)
{
    if (!cli::CheckOutputExtension("model export-gltf", out, {".glb", ".gltf"}))
        return 2;
    const bool binary = Lower(std::filesystem::path(out).extension().string()) == ".glb";
    if (binary && options.embed)
    {
        std::fprintf(stderr, "tq7z model export-gltf: --embed is for a .gltf file, not %s\n", out.c_str());
        return 2;
    }
    // The buffer of a .gltf goes beside it under the same name, unless it is embedded.
    const std::string bufferFile = binary || options.embed
                                       ? std::string()
                                       : std::filesystem::path(out).replace_extension(".bin").string();
    if (!cli::CheckOutputFolder("model export-gltf", out) ||
        (!bufferFile.empty() && !cli::CheckOutputFolder("model export-gltf", bufferFile)))
        return 1;
    ModelSession session(options.genericFolder, in);
    if (!session.IsReady())
    {
        std::fprintf(stderr,
                     "tq7z model export-gltf: the null render device or the inventory could not be made\n");
        return 1;
    }
    SetDetail(options.detail);
    const LoadedModel loaded = LoadModel("export-gltf", in);
    if (!loaded.pModel)
        return 1;
    if (loaded.form == FileForm::SharedShader)
    {
        std::fprintf(stderr, "tq7z model export-gltf: %s: a shared shader file holds no model to export\n",
                     in.c_str());
        return 1;
    }
    gltf::WriteOptions writeOptions;
    writeOptions.binary = binary;
    if (!bufferFile.empty())
        writeOptions.bufferUri = std::filesystem::path(bufferFile).filename().string();
    gltf::Document document;
    std::string error;
    if (!gltf::Write(*loaded.pModel, writeOptions, document, error))
    {
        std::fprintf(stderr, "tq7z model export-gltf: %s: %s\n", in.c_str(), error.c_str());
        return 1;
    }
    for (const std::string& warning : document.cWarning)
        std::fprintf(stderr, "tq7z model export-gltf: %s: warning: %s\n", in.c_str(), warning.c_str());
    // The buffer first, so that a .gltf on disk never names a buffer that is not there.
    if (!bufferFile.empty() && !WriteWholeFile(bufferFile, document.buffer))
        return 1;
    if (!WriteWholeFile(out, document.file))
        return 1;
    const Json info = ModelJson(*loaded.pModel, FormName(loaded.form), false);
    const size_t bytes = document.file.size() + document.buffer.size();
    if (options.json)
    {
        const Json result = {{"model", in},
                             {"format", FormName(loaded.form)},
                             {"out", out},
                             {"buffer", bufferFile},
                             {"bytes", bytes},
                             {"bones", info["bones"].size()},
                             {"meshes", info["meshes"].size()},
                             {"markers", info["markers"].size()},
                             {"cameras", info["cameras"].size()},
                             {"animations", info["animations"].size()},
                             {"warnings", document.cWarning}};
        std::printf("%s\n", result.dump(2).c_str());
    }
    else
        std::printf("%s: %zu bytes%s%s; %zu bones, %zu meshes, %zu markers, %zu cameras, %zu animations\n",
                    out.c_str(), bytes, bufferFile.empty() ? "" : " with ", bufferFile.c_str(),
                    info["bones"].size(), info["meshes"].size(), info["markers"].size(),
                    info["cameras"].size(), info["animations"].size());
    return 0;
}

const char* const s_genericHelp =
    "Folder mounted as GENERIC, where cross-referenced models and shared shaders are found (by default "
    "the generic tree of the project that holds the file, with its final tree as DATA)";
const char* const s_detailHelp = "Reading quality of final textures: 0 flat grey, 1 and 2 leave out the top "
                                 "two or one levels, 3 all levels";

cli::CommandRegistrar s_model(
    [](CLI::App& app, int& exitCode)
    {
        CLI::App* model =
            cli::GetOrAddSubcommand(app, "model",
                                    "Inspect, convert, compare, pose and export model files (.sgm, "
                                    ".ebp, .tqm, .tqe, .vds)");

        CLI::App* info = model->add_subcommand("info", "Print what a model file holds");
        info->footer(
            "FILE is a .sgm file of the generic or the intermediate form (the .ebp beside it is read too),\n"
            "a .tqm file of the final form (with the .tqe beside it) or a shared shader file (.vds).\n"
            "--json prints one object with the keys name, format (\"generic\", \"intermediate\", \"final\"\n"
            "or \"shared-shader\"), textures, shaders, bones, meshes, markers, cameras and animations.\n"
            "A file that does not load exits 1.\n");
        static std::string s_infoFile;
        static bool s_json = false;
        static std::string s_infoGeneric;
        static int s_infoDetail = -1;
        info->add_option("FILE", s_infoFile, "The model file")->required();
        info->add_flag("--json", s_json, "Print one JSON object");
        info->add_option("--generic", s_infoGeneric, s_genericHelp);
        info->add_option("--detail", s_infoDetail, s_detailHelp)->check(CLI::Range(0, 3));
        info->callback([&exitCode] { exitCode = RunInfo(s_infoFile, s_json, s_infoGeneric, s_infoDetail); });

        CLI::App* convert = model->add_subcommand("convert", "Read a model file and write it again");
        convert->footer(
            "IN is read as `model info` reads it. OUT's extension chooses the form written:\n"
            "  .sgm  the generic form with the .ebp beside it, or with --interm the intermediate form\n"
            "        (sampled bone matrices, no .ebp);\n"
            "  .tqm  the final form, with the .tqe beside it when the model has a motion tree;\n"
            "        --dxt compresses the textures, --skip-mips leaves out their top levels, --all-mips\n"
            "        writes every level of an uncompressed texture.\n"
            "Another extension is refused (exit 2) and nothing is written. A file this command wrote\n"
            "comes out of it again byte for byte the same.\n");
        static std::string s_in;
        static std::string s_out;
        static ConvertOptions s_convert;
        convert->add_option("IN", s_in, "The model file to read")->required();
        convert->add_option("OUT", s_out, "The model file to write (.sgm or .tqm)")->required();
        convert->add_flag("--interm", s_convert.interm, "Write the intermediate form");
        convert->add_option("--generic", s_convert.genericFolder, s_genericHelp);
        convert->add_option("--detail", s_convert.detail, s_detailHelp)->check(CLI::Range(0, 3));
        convert
            ->add_option("--dxt", s_convert.dxt,
                         "S3TC compression of the textures of a .tqm: 0 none, 1, 3, 5")
            ->check(CLI::IsMember({0, 1, 3, 5}));
        convert->add_option("--skip-mips", s_convert.skipMips, "Top texture levels left out of a .tqm")
            ->check(CLI::NonNegativeNumber);
        convert->add_flag("--all-mips", s_convert.allMips,
                          "Write every level of an uncompressed texture to a .tqm");
        convert->callback([&exitCode] { exitCode = RunConvert(s_in, s_out, s_convert); });

        CLI::App* diff = model->add_subcommand("diff", "Compare two model files by content");
        diff->footer(
            "A and B are read as `model info` reads them, in any form, and compared part by part:\n"
            "name, skeleton, meshes (vertices, primitive sets, skin bones, bounds), shaders, textures,\n"
            "markers, cameras, animations and their keys, the motion tree, events and selection.\n"
            "Each difference prints as its path in the model and the two values:\n"
            "  meshes/body/vertices[12]/position: (1, 2, 3) vs (1, 2, 3.5)\n"
            "Floats compare exactly unless --tolerance is given. Exits 0 when the models are the same,\n"
            "1 when they differ or a file does not load, 2 on a usage error.\n");
        static std::string s_a;
        static std::string s_b;
        static DiffOptions s_diff;
        diff->add_option("A", s_a, "The first model file")->required();
        diff->add_option("B", s_b, "The second model file")->required();
        diff->add_flag("--json", s_diff.json, "Print one JSON object: a, b, equal, differences, more");
        diff->add_option("--tolerance", s_diff.tolerance, "Floats at most this far apart are the same")
            ->check(CLI::NonNegativeNumber);
        diff->add_flag("--ignore-textures", s_diff.ignoreTextures,
                       "Leave the textures' sizes and pixels out (their names still count)");
        diff->add_option("--max", s_diff.max, "Differences shown, 20 by default; 0 shows all");
        diff->add_option("--detail", s_diff.detail, s_detailHelp)->check(CLI::Range(0, 3));
        diff->add_option("--generic", s_diff.genericFolder, s_genericHelp);
        diff->callback([&exitCode] { exitCode = RunDiff(s_a, s_b, s_diff); });

        CLI::App* gltfCommand = model->add_subcommand("export-gltf", "Write a model as glTF 2.0 for viewers");
        gltfCommand->footer(
            "MODEL is read as `model info` reads it, in any form. OUT's extension chooses the container:\n"
            "  .glb   binary glTF: the JSON and one buffer in one file;\n"
            "  .gltf  JSON text, its buffer in a .bin file of the same name beside it, or with --embed\n"
            "         inside the JSON as a base64 data URI.\n"
            "Meshes with normals, texture coordinates and skin weights, the skeleton as nodes with one\n"
            "skin, shaders as materials with their diffuse textures as PNG, every animation's bone keys,\n"
            "markers and cameras as nodes; y up. Shader and visibility animation, camera animation and the\n"
            "motion tree have no place in glTF and are left out. What else is left out is warned about.\n"
            "Another extension is refused (exit 2); a model that does not load exits 1 and writes "
            "nothing.\n");
        static std::string s_gltfIn;
        static std::string s_gltfOut;
        static GltfOptions s_gltf;
        gltfCommand->add_option("MODEL", s_gltfIn, "The model file to read")->required();
        gltfCommand->add_option("OUT", s_gltfOut, "The glTF file to write (.glb or .gltf)")->required();
        gltfCommand->add_flag("--embed", s_gltf.embed, "Put the buffer of a .gltf into its JSON");
        gltfCommand->add_flag("--json", s_gltf.json,
                              "Print one JSON object: model, format, out, buffer, bytes, counts, warnings");
        gltfCommand->add_option("--generic", s_gltf.genericFolder, s_genericHelp);
        gltfCommand->add_option("--detail", s_gltf.detail, s_detailHelp)->check(CLI::Range(0, 3));
        gltfCommand->callback([&exitCode] { exitCode = RunExportGltf(s_gltfIn, s_gltfOut, s_gltf); });
    });
} // namespace
