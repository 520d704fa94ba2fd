#include "teamcolour/sharedtexture.h"

#include "foundation/debug.h"
#include "model/file/generic/shaderloadgeneric.h"
#include "model/mesh/meshgroup.h"
#include "model/rendermodel.h"
#include "model/shader/shader.h"
#include "pipeline/pipeline.h"
#include "storage/filepath.h"
#include "storage/filepath_hd.h"
#include "storage/filepathutil.h"
#include "teamcolour/burnsteps.h"
#include "teamcolour/exporttext.h"
#include "teamcolour/patternexport.h"

#include <stdexcept>
#include <string>

namespace TeamColour
{
namespace
{
// The shader's text name: its texture's path.
const char* ShaderName(const Shader& shader)
{
    const char* name = static_cast<const Inv::NamedResource&>(shader).GetName();
    return name != nullptr ? name : "";
}

// Clears a shader's shared flag for its lifetime, so that it is written whole, and sets it again
// however the write ends.
class UnsharedWhile
{
public:
    explicit UnsharedWhile(Shader& shader) : m_shader(shader), m_shared(shader.IsShared())
    {
        shader.SetShared(false);
    }
    ~UnsharedWhile() { m_shader.SetShared(m_shared); }
    UnsharedWhile(const UnsharedWhile&) = delete;
    UnsharedWhile& operator=(const UnsharedWhile&) = delete;

private:
    Shader& m_shader;
    bool m_shared;
};
} // namespace

bool IsSharedTexture(const char* filename)
{
    if (!dbAssert(filename))
        return false;
    return FilePathUtil::FindNoCase(filename, "texture_share") != nullptr;
}

void MarkSharedTextures(RenderModel& model)
{
    ra::MeshGroup* pMeshGroup = model.GetMeshGroup();
    if (pMeshGroup == nullptr)
        return;
    for (int32 i = 0; i < pMeshGroup->GetShaderCount(); ++i)
        if (Shader* pShader = pMeshGroup->GetShader(i).Get())
            pShader->SetShared(IsSharedTexture(ShaderName(*pShader)));
}

bool ExportSharedShaders(const char* mergeFile, const RenderModel& model)
{
    if (!dbAssert(mergeFile))
        return false;
    // The project is found by the path without its drive or alias.
    char folder[FilePath::MAXPATH], base[FilePath::MAXPATH], ext[FilePath::MAXPATH], path[FilePath::MAXPATH];
    if (!FilePathUtil::SplitPath(mergeFile, nullptr, folder, base, ext) ||
        !FilePathUtil::MakePath(path, "", folder, base, ext))
        return false;
    const char* projectName = Pipeline::ProjectFromPath(path, DataGeneric);
    if (!dbAssert(projectName))
        return false;

    const ra::MeshGroup* pMeshGroup = model.GetMeshGroup();
    if (pMeshGroup == nullptr)
        return true;
    // The group holds each shader once, however many meshes use it.
    for (int32 i = 0; i < pMeshGroup->GetShaderCount(); ++i)
    {
        Shader* pShader = pMeshGroup->GetShader(i).Get();
        if (pShader == nullptr || !pShader->IsShared())
            continue;
        // The pattern first: when it fails, no shader file is left behind.
        if (!ExportTeamPattern(projectName, ShaderName(*pShader)))
            return false;
        if (!ExportSharedShader(projectName, pShader))
            return false;
    }
    return true;
}

bool ExportSharedShader(const char* projectName, Shader* pShader)
{
    if (!dbAssert(projectName) || !dbAssert(pShader))
        return false;
    const char* genericPath = Pipeline::ProjectFolder(projectName, DataGeneric);
    if (!dbAssert(genericPath))
        return false;
    // Shader names come from the inventory with '/' between folders.
    const std::string target =
        NormalizedPath(std::string(genericPath) + "\\" + ShaderName(*pShader) + ".vds");

    uint32 changelist = 0;
    if (!GetBurnSteps().open(changelist, target.c_str()))
        throw std::runtime_error(
            Format("Merge: Unable to open shared texture '%s' in P4!  Please make sure no one "
                   "else has it checked-out in P4 (Data Generic / Data Final)!\n",
                   target.c_str()));
    if (!FilePathHDRaw::MakeFolders(target.c_str()))
        return false;
    bool saved = false;
    {
        UnsharedWhile unshared(*pShader);
        saved = ShaderLoadGeneric::SaveSharedFile(("TOOL:" + target).c_str(), *pShader);
    }
    if (!saved)
        return false;
    if (!GetBurnSteps().burn(target, changelist))
        throw Format(
            "Merge: Unable to burn shared texture '%s' pattern in P4!  Please make sure no one else has it "
            "checked-out in P4 (Data Generic / Data Final)!\n",
            target.c_str());
    return true;
}
} // namespace TeamColour
