// tq7z scene check FILE: reads a scene file, refuses it with the place of its first fault, and
// otherwise prints a short summary of its nodes by class. tq7z scene convert IN OUT.json: the scene
// description that the import host makes of a modelling package's file.
#include "cli/command.h"
#include "cli/outputfile.h"

#include "host/scene.h"
#include "importhost/importhost.h"
#include "storage/osfile.h"

#include <cstdio>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace
{
// The class a node shows: that of the object its pipeline gives, or none.
std::string NodeClass(host::INode* pNode)
{
    host::Object* pObject = pNode->EvalWorldState(0).obj;
    if (pObject == nullptr)
        return "(no object)";
    host::CStr name;
    pObject->GetClassName(name);
    return name.str();
}

// How a node is skinned, or empty: a Skin modifier anywhere in its pipeline.
bool HasSkin(host::INode* pNode)
{
    host::Object* pObject = pNode->GetObjectRef();
    while (pObject != nullptr && pObject->SuperClassID() == host::GEN_DERIVOB_CLASS_ID)
    {
        auto* pDerived = static_cast<host::IDerivedObject*>(pObject);
        for (int i = 0; i < pDerived->NumModifiers(); ++i)
            if (pDerived->GetModifier(i)->ClassID() == host::SKIN_CLASSID)
                return true;
        pObject = pDerived->GetObjRef();
    }
    return false;
}

int Check(const std::string& fileName)
{
    std::unique_ptr<scene::Scene> pScene;
    try
    {
        pScene = scene::ReadScene(fileName);
    }
    catch (const scene::SceneError& e)
    {
        std::fprintf(stderr, "%s\n", e.what());
        return 1;
    }
    const std::vector<host::INode*> cNode = pScene->GetNodes();
    std::printf("%s: %zu nodes, frames %d to %d at %d frames a second, %d materials, %d textures, %d file "
                "properties\n",
                fileName.c_str(), cNode.size(), pScene->GetFirstFrame(), pScene->GetLastFrame(),
                pScene->GetFrameRate(), pScene->GetMaterialCount(), pScene->GetTextureCount(),
                pScene->GetNumProperties(host::PROPSET_USERDEFINED));

    std::map<std::string, std::vector<std::string>> cByClass;
    for (host::INode* pNode : cNode)
    {
        std::string name = pNode->GetName();
        if (pNode->GetBoneNodeOnOff())
            name += " [bone]";
        if (HasSkin(pNode))
            name += " [skin]";
        if (pNode->GetObjectRef() != nullptr && pNode->GetObjectRef()->ClassID() == host::XREFOBJ_CLASS_ID)
            name += " [xref]";
        cByClass[NodeClass(pNode)].push_back(name);
    }
    for (const auto& [className, cName] : cByClass)
    {
        std::string list;
        for (const std::string& name : cName)
            list += (list.empty() ? "" : ", ") + name;
        std::printf("  %-20s %3zu  %s\n", className.c_str(), cName.size(), list.c_str());
    }
    return 0;
}

struct ConvertArgs
{
    std::string in;
    std::string out;
    importhost::ImportOptions options;
};

int Convert(const ConvertArgs& args)
{
    if (!cli::CheckOutputExtension("scene convert", args.out, {".json"}))
        return 2;
    if (!cli::CheckOutputFolder("scene convert", args.out))
        return 1;
    const std::filesystem::path out = std::filesystem::absolute(args.out).lexically_normal();
    importhost::ImportOptions options = args.options;
    // Bitmap names relative to where the scene file goes, as the scene reader takes them.
    options.documentFolder = out.parent_path().string();
    importhost::ImportResult result;
    try
    {
        result = importhost::ImportDocument(args.in, options);
    }
    catch (const scene::SceneError& e)
    {
        std::fprintf(stderr, "%s\n", e.what());
        return 1;
    }
    for (const std::string& warning : result.cWarning)
        std::fprintf(stderr, "warning: %s\n", warning.c_str());
    const std::string text = importhost::SceneText(result.document);
    std::error_code ec;
    std::filesystem::create_directories(out.parent_path(), ec);
    if (OSFile::WriteWhole(out.c_str(), text.data(), text.size()) != OSFile::R_Success)
    {
        std::fprintf(stderr, "tq7z scene convert: %s: could not be written\n", args.out.c_str());
        return 1;
    }
    std::printf("%s: %zu nodes, %zu materials, %zu textures, frames 0 to %d at %d frames a second\n",
                args.out.c_str(), result.document["nodes"].size(),
                result.document.contains("materials") ? result.document["materials"].size() : size_t(0),
                result.document.contains("textures") ? result.document["textures"].size() : size_t(0),
                result.document["animationRange"][1].get<int>(), options.frameRate);
    return 0;
}

cli::CommandRegistrar s_scene(
    [](CLI::App& app, int& exitCode)
    {
        CLI::App* group =
            cli::GetOrAddSubcommand(app, "scene", "Scene files: the JSON description of a host scene");
        CLI::App* check =
            group->add_subcommand("check", "Check a scene file and summarise its nodes by class");
        auto pFile = std::make_shared<std::string>();
        check->add_option("FILE", *pFile, "The scene file (.json)")->required();
        check->callback([pFile, &exitCode] { exitCode = Check(*pFile); });

        CLI::App* convert = group->add_subcommand(
            "convert",
            "Write the scene file that the import host makes of an FBX, glTF, COLLADA or OBJ file");
        convert->footer(
            "The scene as `tq7z export` sees it when given IN: nodes with their transforms per frame,\n"
            "meshes with smoothing groups found from the file's normals, materials, skins, cameras,\n"
            "turned to Z up (docs/import.md). Bitmap names are written relative to OUT's folder.\n"
            "What the import left out is printed to standard error as warnings.\n"
            "\n"
            "Exit status: 0 when OUT was written, 1 when IN could not be imported or OUT written,\n"
            "2 when OUT does not end in .json.");
        auto pConvert = std::make_shared<ConvertArgs>();
        convert->add_option("IN", pConvert->in, "The file to import (.fbx, .gltf, .glb, .dae, .obj)")
            ->required();
        convert->add_option("OUT", pConvert->out, "The scene file to write (.json)")->required();
        convert
            ->add_option("--frame-rate", pConvert->options.frameRate,
                         "Frames a second at which the animation is sampled (30)")
            ->check(CLI::Range(1, 4800));
        convert
            ->add_option("--animation", pConvert->options.animation,
                         "Which of the file's animations is the scene's, from 0 (0)")
            ->check(CLI::NonNegativeNumber);
        convert->callback([pConvert, &exitCode] { exitCode = Convert(*pConvert); });
    });
} // namespace
