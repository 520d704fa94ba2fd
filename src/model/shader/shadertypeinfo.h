// The inventory's description of shaders. Shader names are material names, so they are kept
// whole, only lower-cased. A name is loaded from its shared shader file ("<alias>:<name>.vds",
// "GENERIC" for the generic form, "DATA" for the game's), which the reader that the model file
// library registers reads whole, textures and all. A shader
// that cannot be loaded stands in as a blank one.
#pragma once

#include "inventory/resourcetypeinfo.h"

#include <memory>

class Shader;

class ShaderTypeInfo final : public Inv::ResourceTypeInfo
{
public:
    static constexpr const char* FileExtension = ".vds";

    // Reads the shared shader file at `path` and adds its textures to the inventory; null, logged
    // by the reader, when it cannot. Never throws.
    using ShaderReader = std::unique_ptr<Shader> (*)(const char* path);
    // `alias` is where the form keeps its shared shader files.
    static void SetShaderReader(ShaderReader reader, const char* alias = "GENERIC");
    static ShaderReader GetShaderReader();

    const char* GetTypeName() override { return "Shader"; }
    void TranslateName(char* outName, const char* name) override;
    bool CanReload() override { return true; }
    Inv::NamedResource* CreateDefault(const char* name) override;
    void Destroy(Inv::NamedResource* data) override;
    Inv::NamedResource* Load(const char* name) override;
};
