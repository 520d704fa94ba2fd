// The inventory's description of textures: a name is loaded from a texture chunk file or from an
// image file with automatic mips, by the reader that the model file library registers. A texture
// that cannot be loaded has no stand-in here: the shader that wanted it turns pink instead.
#pragma once

#include "inventory/resourcetypeinfo.h"

#include <memory>

class Texture;

class TextureTypeInfo final : public Inv::ResourceTypeInfo
{
public:
    // Reads the texture of a resolved name; null (logged by the reader) when it cannot.
    using TextureReader = std::unique_ptr<Texture> (*)(const char* name);
    static void SetTextureReader(TextureReader reader);
    static TextureReader GetTextureReader();

    const char* GetTypeName() override { return "Texture"; }
    bool CanReload() override { return true; }
    Inv::NamedResource* CreateDefault(const char*) override { return nullptr; }
    void Destroy(Inv::NamedResource* data) override;
    Inv::NamedResource* Load(const char* name) override;
};
