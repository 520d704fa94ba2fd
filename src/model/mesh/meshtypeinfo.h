// The inventory's description of meshes. Meshes are never loaded by name: they come with the
// model file that holds them and are added to the inventory by its loader, so Load and the
// default give nothing. A mesh name is kept whole, only lower-cased.
#pragma once

#include "inventory/resourcetypeinfo.h"

class MeshTypeInfo final : public Inv::ResourceTypeInfo
{
public:
    const char* GetTypeName() override { return "Mesh"; }
    void TranslateName(char* outName, const char* name) override;
    bool CanReload() override { return false; }
    Inv::NamedResource* CreateDefault(const char*) override { return nullptr; }
    void Destroy(Inv::NamedResource* data) override;
    Inv::NamedResource* Load(const char*) override { return nullptr; }
};
