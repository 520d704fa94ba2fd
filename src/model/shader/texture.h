// Texture: the named, inventory-held resource that wraps one render texture with its mip chain.
// Shaders reach textures by name through the inventory, never by path.
#pragma once

#include "inventory/inventory.h"
#include "render/texture.h"

class Texture : public Inv::NamedResource
{
public:
    // A texture whose name ends so is a chunk file holding one "TXTR" folder; any other name is an
    // image file.
    static constexpr const char* FileExtension = ".txr";

    // The inventory type of textures.
    static Inv::ResourceTypeInfo* GetTypeInfo();

    Texture() = default;
    explicit Texture(const char* name) : Inv::NamedResource(name) {}
    Texture(const char* name, fr::ObjectPtr<fr::Texture> pTexture)
        : Inv::NamedResource(name), m_pTexture(std::move(pTexture))
    {
    }

    // The render texture; null for a texture that has none.
    fr::Texture* GetTexture() const { return m_pTexture.get(); }
    void SetTexture(fr::ObjectPtr<fr::Texture> pTexture) { m_pTexture = std::move(pTexture); }

private:
    fr::ObjectPtr<fr::Texture> m_pTexture;
};
