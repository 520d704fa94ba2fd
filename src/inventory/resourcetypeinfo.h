// The description of one resource type (model, mesh, texture...): how to load, default, reload
// and destroy its data. One static instance per type; the warehouse knows types only by these.
#pragma once

#include "inventory/namedresource.h"

#include "foundation/types.h"

namespace Inv
{
// Room of a translated name, terminator included; longer names are cut.
constexpr uint32 MaxResourceName = 260;

class ResourceTypeInfo
{
public:
    virtual ~ResourceTypeInfo() = default;

    // "Render Model", "Texture"...
    virtual const char* GetTypeName() = 0;
    // The inventory's name of a file name; `outName` holds MaxResourceName characters. By default
    // the alias and the extension go.
    virtual void TranslateName(char* outName, const char* name);
    virtual bool CanReload() = 0;
    // A stand-in for data that failed to load, or null when the type has none.
    virtual NamedResource* CreateDefault(const char* name) = 0;
    virtual void Destroy(NamedResource* data) = 0;
    // The data of a name, or null when it cannot be loaded. Must not throw.
    virtual NamedResource* Load(const char* name) = 0;
    // A hook that the types here leave empty.
    virtual void Refresh() {}
};
} // namespace Inv

// Makes the inventory name of a file name: the text behind the last ':' (with stripAlias), '\\'
// turned into '/', cut at the last '.' (with stripExtension), lower case. So
// "DATA:Art\\Models\\Foo.sgm" is "art/models/foo". `outName` holds Inv::MaxResourceName characters.
void InvTypeNameTranslate(char* outName, const char* filename, bool stripAlias, bool stripExtension);
