// tq7z model pose FILE ANIM SECONDS [--json] [--loop]: plays one animation of a generic model file
// from its start, advances it to the given time, poses the model, and prints each bone's
// model-space matrix, each shader's values and each mesh's visibility.
#include "cli/command.h"
#include "cli/toolalias.h"

#include "inventory/warehouse.h"
#include "model/anim/animlist.h"
#include "model/anim/animpose.h"
#include "model/file/generic/rendermodelloadgeneric.h"
#include "model/motiontree/motion.h"
#include "model/rendermodel.h"
#include "playback/animbvbuilder.h"
#include "playback/playblender.h"
#include "playback/playlist.h"
#include "render/device.h"
#include "storage/bytestream.h"
#include "storage/chunky.h"
#include "storage/filepath.h"
#include "storage/filepath_hd.h"
#include "storage/userpath.h"

#include <nlohmann/json.hpp>

#include <cstdio>
#include <exception>
#include <filesystem>
#include <memory>
#include <string>

namespace
{
using Json = nlohmann::ordered_json;

const char* Text(ra::Name name)
{
    const char* text = ra::GetNameText(name);
    return text ? text : "";
}

// The plain disk under "TOOL", the null device, the inventory, the loaders and the animation box
// builder; taken down in reverse order.
class PoseSession
{
public:
    PoseSession()
    {
        m_device = fr::Interface::CreateDevice({}) != nullptr;
        m_inventory = Inv::Warehouse::Create();
        RenderModelLoadGeneric::Register();
        AnimBVBuilder::Register();
    }
    ~PoseSession()
    {
        if (m_inventory)
            Inv::Warehouse::Destroy();
        if (m_device)
            fr::Interface::DestroyDevice();
    }
    PoseSession(const PoseSession&) = delete;
    PoseSession& operator=(const PoseSession&) = delete;

    bool IsReady() const { return m_tool.IsAdded() && m_device && m_inventory; }

private:
    // First, so that it goes last.
    cli::ToolAlias m_tool;
    bool m_device = false;
    bool m_inventory = false;
};

std::unique_ptr<RenderModel> LoadModel(const std::string& file)
{
    if (!std::filesystem::is_regular_file(file))
    {
        std::fprintf(stderr, "tq7z model pose: %s: no such file\n", file.c_str());
        return nullptr;
    }
    const std::string name = cli::ToolAlias::Name(file);
    try
    {
        std::unique_ptr<RenderModel> pModel = RenderModelLoadGeneric::Load(name.c_str(), true);
        if (!pModel)
            std::fprintf(stderr, "tq7z model pose: %s: does not load as a model (see the messages above)\n",
                         file.c_str());
        return pModel;
    }
    catch (const Chunky::Exception& e)
    {
        std::fprintf(stderr, "tq7z model pose: %s: %s (code %u, at byte offset %u)\n", file.c_str(), e.what(),
                     e.GetCode(), e.GetPosition());
    }
    catch (const std::exception& e)
    {
        std::fprintf(stderr, "tq7z model pose: %s: %s\n", file.c_str(), UserPath::InText(e.what()).c_str());
    }
    return nullptr;
}

Json PoseJson(const RenderModel& model, const Anim& anim, float seconds, float position, const AnimPose& pose)
{
    Json bones = Json::array();
    for (int32 i = 0; i < pose.GetBoneCount(); ++i)
    {
        const float* pData = pose.GetBoneMatrix(i).Data();
        bones.push_back({{"name", Text(model.GetSkeleton()->GetBone(i)->GetName())},
                         {"matrix", Json(std::vector<float>(pData, pData + 12))}});
    }
    Json shaders = Json::array();
    const ra::MeshGroup* pGroup = model.GetMeshGroup();
    for (int32 i = 0; i < pose.GetShaderCount(); ++i)
    {
        const Shader* pShader = pGroup ? pGroup->GetShader(i).Get() : nullptr;
        const AnimPose::ShaderValues& values = pose.GetShaderValues(i);
        shaders.push_back({{"name", pShader ? Text(pShader->GetName()) : ""},
                           {"values", Json(std::vector<float>(values.begin(), values.end()))}});
    }
    Json meshes = Json::array();
    for (int32 i = 0; i < pose.GetMeshCount(); ++i)
        meshes.push_back({{"name", pGroup ? Text(pGroup->GetMeshName(i)) : ""},
                          {"visibility", pose.GetMeshVisibility(i)},
                          {"visible", pose.IsMeshVisible(i)}});
    const char* name = model.Inv::NamedResource::GetName();
    return {{"model", name ? name : ""},
            {"animation", Text(anim.GetName())},
            {"seconds", seconds},
            {"position", position},
            {"bones", bones},
            {"shaders", shaders},
            {"meshes", meshes}};
}

void PrintText(const Json& info)
{
    std::printf("model: %s\nanimation: %s at %g s (position %g s)\n",
                info["model"].get<std::string>().c_str(), info["animation"].get<std::string>().c_str(),
                info["seconds"].get<double>(), info["position"].get<double>());
    std::printf("bones: %zu\n", info["bones"].size());
    for (const Json& bone : info["bones"])
    {
        const Json& m = bone["matrix"];
        std::printf("  %s:", bone["name"].get<std::string>().c_str());
        for (int row = 0; row < 4; ++row)
            std::printf(" [%.6g %.6g %.6g]", m[row * 3].get<double>(), m[row * 3 + 1].get<double>(),
                        m[row * 3 + 2].get<double>());
        std::printf("\n");
    }
    std::printf("shaders: %zu\n", info["shaders"].size());
    for (const Json& shader : info["shaders"])
    {
        std::printf("  %s:", shader["name"].get<std::string>().c_str());
        const Json& values = shader["values"];
        for (size_t i = 0; i < values.size(); ++i)
            std::printf("%s%.6g", i % AnimPose::ValuesPerChannel == 0 ? " |" : " ", values[i].get<double>());
        std::printf("\n");
    }
    std::printf("meshes: %zu\n", info["meshes"].size());
    for (const Json& mesh : info["meshes"])
        std::printf("  %s: %.6g%s\n", mesh["name"].get<std::string>().c_str(),
                    mesh["visibility"].get<double>(), mesh["visible"].get<bool>() ? "" : " (hidden)");
}

int RunPose(const std::string& file, const std::string& animName, float seconds, bool json, bool loop)
{
    if (!(seconds >= 0.0f))
    {
        std::fprintf(stderr, "tq7z model pose: SECONDS must be 0 or more, not %g\n", seconds);
        return 1;
    }
    PoseSession session;
    if (!session.IsReady())
    {
        std::fprintf(stderr, "tq7z model pose: the null render device or the inventory could not be made\n");
        return 1;
    }
    std::unique_ptr<RenderModel> pModel = LoadModel(file);
    if (!pModel)
        return 1;
    AnimList* pList = pModel->GetAnimList();
    const int index = pList ? pList->FindAnim(ra::MakeName(animName.c_str())) : AnimList::InvalidIndex;
    if (index == AnimList::InvalidIndex)
    {
        std::string names;
        for (int i = 0; pList && i < pList->GetAnimCount(); ++i)
            names += std::string(names.empty() ? "" : ", ") + Text(pList->GetAnim(i)->GetName());
        std::fprintf(stderr, "tq7z model pose: %s: no animation '%s' (the model has: %s)\n", file.c_str(),
                     animName.c_str(), names.empty() ? "none" : names.c_str());
        return 1;
    }
    if (pModel->GetRefPose() == nullptr)
    {
        std::fprintf(stderr, "tq7z model pose: %s: the model has no mesh group to pose\n", file.c_str());
        return 1;
    }

    // Played once, a motion holds its last frame past its end rather than vanishing.
    Motion motion(pList->GetAnim(index)->GetName());
    motion.AddAnimNode(pList->GetAnimNode(index));
    motion.SetType(loop ? Motion::TYPE_LOOPING : Motion::TYPE_HOLD_END);
    PlayList playList;
    const int stateIndex = playList.AddMotion(&motion, 0);
    if (stateIndex == PlayList::InvalidIndex)
    {
        std::fprintf(stderr, "tq7z model pose: %s: animation '%s' cannot be played\n", file.c_str(),
                     animName.c_str());
        return 1;
    }
    PlayState& state = *playList.GetState(stateIndex);
    state.SetStartAtZero(true);
    state.Reset();
    playList.Update(seconds, 0);

    AnimPose pose(*pModel);
    PlayBlender blender(*pModel, &playList);
    blender.BuildPose(pose);

    const Json info = PoseJson(*pModel, *pList->GetAnim(index), seconds, state.GetPosition(), pose);
    if (json)
        std::printf("%s\n", info.dump(2).c_str());
    else
        PrintText(info);
    return 0;
}

cli::CommandRegistrar s_pose(
    [](CLI::App& app, int& exitCode)
    {
        CLI::App* model =
            cli::GetOrAddSubcommand(app, "model", "Inspect, convert and pose model files (.sgm, .ebp)");
        CLI::App* pose = model->add_subcommand("pose", "Pose a model at a time of one of its animations");
        pose->footer(
            "FILE is a generic model file (.sgm, with its .ebp). ANIM is played alone from its start\n"
            "and advanced by SECONDS; played once it holds its last frame, with --loop it wraps.\n"
            "Prints each bone's model-space matrix (four rows: three axes and the translation),\n"
            "each shader's thirty values (six channels of colour, U and V offset, U and V scale)\n"
            "and each mesh's visibility; --json prints one object with the keys model, animation,\n"
            "seconds, position, bones, shaders and meshes.\n");
        static std::string s_file;
        static std::string s_anim;
        static float s_seconds = 0.0f;
        static bool s_json = false;
        static bool s_loop = false;
        pose->add_option("FILE", s_file, "The model file")->required();
        pose->add_option("ANIM", s_anim, "The animation's name")->required();
        pose->add_option("SECONDS", s_seconds, "Time from the animation's start")->required();
        pose->add_flag("--json", s_json, "Print one JSON object");
        pose->add_flag("--loop", s_loop, "Play the animation as a looping motion");
        pose->callback([&exitCode] { exitCode = RunPose(s_file, s_anim, s_seconds, s_json, s_loop); });
    });
} // namespace
