#include "model/shader/shader.h"

#include "foundation/debug.h"
#include "foundation/output.h"
#include "model/shader/shaderimp.h"
#include "model/shader/shadertypeinfo.h"

namespace
{
ShaderTypeInfo s_shaderTypeInfo;

} // namespace

const char* Shader::GetChannelWord(uint32 n)
{
    static const char* const s_words[CN_Count] = {nullptr,   "Specular", "Reflection", "Self Illumination",
                                                  "Opacity", "Specular", nullptr};
    return n < CN_Count ? s_words[n] : nullptr;
}

Inv::ResourceTypeInfo* Shader::GetTypeInfo()
{
    return &s_shaderTypeInfo;
}

bool SetChannelTextureByName(Shader& shader, uint32 n, const char* textureName, const char* modelName,
                             bool warnChannel)
{
    if (!dbAssert(n < Shader::CN_Count) || !dbAssert(textureName))
        return false;
    const char* shaderName = ra::GetNameText(shader.GetName());
    if (!shaderName)
        shaderName = "";
    if (!modelName)
        modelName = "";
    if (warnChannel && n != Shader::CN_Diffuse)
    {
        const char* word = Shader::GetChannelWord(n);
        dbWarningf("SHADER -- '%s', shader '%s': detected texture on '%s' channel!", modelName, shaderName,
                   word ? word : "");
    }
    Inv::Resource* pResource = nullptr;
    Inv::Warehouse* pWarehouse = Inv::Warehouse::Get();
    if (pWarehouse && pWarehouse->Find(&pResource, textureName, Texture::GetTypeInfo()))
    {
        shader.SetTexture(n, Inv::Reference<Texture>(pResource));
        return true;
    }
    dbWarningf("TEXTURES -- '%s': shader '%s' is unable to find texture '%s'. Using pink!\n", modelName,
               shaderName, textureName);
    shader.SetMethod(n, Shader::Method_Colour);
    shader.SetColour(n, Shader::MissingTextureColour);
    return false;
}
