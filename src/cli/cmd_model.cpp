// tq7z model info FILE [--json] and tq7z model convert IN OUT [--interm]: what a generic model file
// (.sgm with its .ebp) holds, and writing it again in the generic or the intermediate form.
#include "cli/command.h"

#include "inventory/warehouse.h"
#include "model/anim/animlist.h"
#include "model/file/generic/rendermodelloadgeneric.h"
#include "model/rendermodel.h"
#include "model/shader/shader.h"
#include "playback/animbvbuilder.h"
#include "render/device.h"
#include "storage/bytestream.h"
#include "storage/chunky.h"
#include "storage/filepath.h"
#include "storage/filepath_hd.h"

#include <nlohmann/json.hpp>

#include <cstdio>
#include <exception>
#include <filesystem>
#include <memory>
#include <set>
#include <string>

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

// The textures as the file holds them: those of the model's own unshared shaders, each once.
Json Textures(const ra::MeshGroup& group)
{
    Json textures = Json::array();
    std::set<const Texture*> cSeen;
    for (int32 i = 0; i < group.GetShaderCount(); ++i)
    {
        const Shader* pShader = group.GetShader(i).Get();
        if (pShader == nullptr || !group.IsShaderLocal(i) || pShader->IsShared())
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

Json ModelJson(const RenderModel& model)
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
    return {{"name", name ? name : ""},  {"textures", Textures(group)},
            {"shaders", Shaders(group)}, {"bones", Bones(model.GetSkeleton())},
            {"meshes", Meshes(group)},   {"markers", markers},
            {"cameras", cameras},        {"animations", Animations(model.GetAnimList())}};
}

// The same as lines of text: a heading per part, one line per item.
void PrintText(const RenderModel& model, const Json& info)
{
    std::printf("model: %s\n", info["name"].get<std::string>().c_str());
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

// What one model command runs in: the null render device, the inventory, the loaders and the
// builder of animation boxes, the plain disk under "TOOL" and, when given, a folder under
// "GENERIC" for cross-references and shared shaders. Taken down in reverse order.
class ModelSession
{
public:
    explicit ModelSession(const std::string& genericFolder)
    {
        m_tool = FilePath::AddAlias("TOOL", "HD", 99, std::make_shared<FilePathHDRaw>());
        if (!genericFolder.empty())
        {
            const std::string root = std::filesystem::absolute(genericFolder).lexically_normal().string();
            std::shared_ptr<FilePathHD> pSource =
                FilePathHD::Create(root.c_str(), ByteStream::Mode_Read, false, false);
            m_generic = pSource && FilePath::AddAlias("GENERIC", "Command Line", 100, pSource);
        }
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
        if (m_tool)
            FilePath::RemoveAlias("TOOL", "HD");
    }
    ModelSession(const ModelSession&) = delete;
    ModelSession& operator=(const ModelSession&) = delete;

    bool IsReady() const { return m_tool && m_device && m_inventory; }

    // A command-line file as a name of the path table.
    static std::string Name(const std::string& file)
    {
        return "TOOL:" + std::filesystem::absolute(file).lexically_normal().string();
    }

private:
    bool m_tool = false;
    bool m_generic = false;
    bool m_device = false;
    bool m_inventory = false;
};

std::unique_ptr<RenderModel> LoadModel(const std::string& command, const std::string& file)
{
    if (!std::filesystem::is_regular_file(file))
    {
        std::fprintf(stderr, "tq7z model %s: %s: no such file\n", command.c_str(), file.c_str());
        return nullptr;
    }
    try
    {
        std::unique_ptr<RenderModel> pModel =
            RenderModelLoadGeneric::Load(ModelSession::Name(file).c_str(), true);
        if (!pModel)
            std::fprintf(stderr, "tq7z model %s: %s: does not load as a model (see the messages above)\n",
                         command.c_str(), file.c_str());
        return pModel;
    }
    catch (const Chunky::Exception& e)
    {
        std::fprintf(stderr, "tq7z model %s: %s: %s (code %u, at byte offset %u)\n", command.c_str(),
                     file.c_str(), e.what(), e.GetCode(), e.GetPosition());
    }
    catch (const std::exception& e)
    {
        std::fprintf(stderr, "tq7z model %s: %s: %s\n", command.c_str(), file.c_str(), e.what());
    }
    return nullptr;
}

int RunInfo(const std::string& file, bool json, const std::string& genericFolder)
{
    ModelSession session(genericFolder);
    if (!session.IsReady())
    {
        std::fprintf(stderr, "tq7z model info: the null render device or the inventory could not be made\n");
        return 1;
    }
    std::unique_ptr<RenderModel> pModel = LoadModel("info", file);
    if (!pModel)
        return 1;
    const Json info = ModelJson(*pModel);
    if (json)
        std::printf("%s\n", info.dump(2).c_str());
    else
        PrintText(*pModel, info);
    return 0;
}

int RunConvert(const std::string& in, const std::string& out, bool interm, const std::string& genericFolder)
{
    ModelSession session(genericFolder);
    if (!session.IsReady())
    {
        std::fprintf(stderr,
                     "tq7z model convert: the null render device or the inventory could not be made\n");
        return 1;
    }
    std::unique_ptr<RenderModel> pModel = LoadModel("convert", in);
    if (!pModel)
        return 1;
    const std::string name = ModelSession::Name(out);
    const bool saved = interm ? RenderModelLoadGeneric::SaveInterm(name.c_str(), *pModel, true, true, true)
                              : RenderModelLoadGeneric::Save(name.c_str(), *pModel);
    if (!saved)
    {
        std::fprintf(stderr, "tq7z model convert: %s: could not be written (see the messages above)\n",
                     out.c_str());
        return 1;
    }
    return 0;
}

cli::CommandRegistrar s_model(
    [](CLI::App& app, int& exitCode)
    {
        CLI::App* model =
            cli::GetOrAddSubcommand(app, "model", "Inspect, convert and pose model files (.sgm, .ebp)");

        CLI::App* info = model->add_subcommand("info", "Print what a model file holds");
        info->footer(
            "FILE is a .sgm file of the generic or the intermediate form; the .ebp beside it is read\n"
            "too. --json prints one object with the keys name, textures, shaders, bones, meshes,\n"
            "markers, cameras and animations. A file that does not load exits 1.\n");
        static std::string s_infoFile;
        static bool s_json = false;
        static std::string s_infoGeneric;
        info->add_option("FILE", s_infoFile, "The model file")->required();
        info->add_flag("--json", s_json, "Print one JSON object");
        info->add_option(
            "--generic", s_infoGeneric,
            "Folder mounted as GENERIC, where cross-referenced models and shared shaders are found");
        info->callback([&exitCode] { exitCode = RunInfo(s_infoFile, s_json, s_infoGeneric); });

        CLI::App* convert = model->add_subcommand("convert", "Read a model file and write it again");
        convert->footer(
            "IN is read as `model info` reads it. OUT is written in the generic form with the .ebp\n"
            "beside it, or with --interm in the intermediate form (sampled bone matrices, no .ebp).\n"
            "A file this command wrote comes out of it again byte for byte the same.\n");
        static std::string s_in;
        static std::string s_out;
        static bool s_interm = false;
        static std::string s_convertGeneric;
        convert->add_option("IN", s_in, "The model file to read")->required();
        convert->add_option("OUT", s_out, "The model file to write")->required();
        convert->add_flag("--interm", s_interm, "Write the intermediate form");
        convert->add_option(
            "--generic", s_convertGeneric,
            "Folder mounted as GENERIC, where cross-referenced models and shared shaders are found");
        convert->callback([&exitCode] { exitCode = RunConvert(s_in, s_out, s_interm, s_convertGeneric); });
    });
} // namespace
