// tq7z scene check FILE: reads a scene file, refuses it with the place of its first fault, and
// otherwise prints a short summary of its nodes by class.
#include "cli/command.h"

#include "host/scene.h"

#include <cstdio>
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
    });
} // namespace
