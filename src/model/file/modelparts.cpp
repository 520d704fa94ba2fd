#include "model/file/modelparts.h"

#include "foundation/debug.h"
#include "inventory/warehouse.h"
#include "model/rendermodel.h"

namespace ModelParts
{
const char* ModelName(const RenderModel& model)
{
    const char* name = model.Inv::NamedResource::GetName();
    return name ? name : "";
}

bool AddTexture(std::unique_ptr<Texture> pTexture)
{
    Inv::Warehouse* pWarehouse = Inv::Warehouse::Get();
    if (!dbAssert(pWarehouse) || !pTexture)
        return false;
    Inv::Resource* pFound = nullptr;
    if (pWarehouse->Find(&pFound, pTexture->GetName(), Texture::GetTypeInfo()))
        return true;
    if (!pWarehouse->Add(pTexture.get()).IsValid())
        return false;
    pTexture.release();
    return true;
}

bool AddShader(std::unique_ptr<ShaderImp> pShader)
{
    Inv::Warehouse* pWarehouse = Inv::Warehouse::Get();
    if (!dbAssert(pWarehouse) || !pShader)
        return false;
    Inv::Resource* pFound = nullptr;
    if (pWarehouse->Find(&pFound, pShader->Inv::NamedResource::GetName(), Shader::GetTypeInfo()))
        return true;
    if (!pWarehouse->Add<Shader>(pShader.get()).IsValid())
        return false;
    pShader.release();
    return true;
}

bool WriteShaders(const ra::MeshGroup& group, const std::function<bool(const Shader&)>& writeTextures,
                  const std::function<void(const Shader&)>& writeShader)
{
    if (writeTextures)
        for (int32 i = 0; i < group.GetShaderCount(); ++i)
        {
            const Shader* pShader = group.GetShader(i).Get();
            if (pShader != nullptr && group.IsShaderLocal(i) && !pShader->IsShared() &&
                !writeTextures(*pShader))
                return false;
        }
    for (int32 i = 0; i < group.GetShaderCount(); ++i)
    {
        const Shader* pShader = group.GetShader(i).Get();
        if (pShader != nullptr && group.IsShaderLocal(i))
            writeShader(*pShader);
    }
    return true;
}
} // namespace ModelParts
