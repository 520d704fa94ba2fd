// The inventory's description of render models ("Render Model"). A model loads inside a frame
// named after it, so that what it pulls in (meshes, shaders, textures) is scoped to it.
//
// The model file readers live apart from this library's core and register themselves here:
// a tool sets the reader of generic files (.sgm with its .ebp) and, for the game's form, the
// reader of final files (.tqm), and picks one of the two paths. Until a reader is registered a
// load finds nothing.
#pragma once

#include "inventory/resourcetypeinfo.h"

#include <memory>

class RenderModel;

class RenderModelTypeInfo final : public Inv::ResourceTypeInfo
{
public:
    // What a model that cannot be had is replaced by, and what "nomodels" loads instead.
    static constexpr const char* MissingModelName = "art/ebps/missingmodel";

    enum LoadPath
    {
        Path_Generic = 0,
        Path_Final = 1
    };
    // Readers return the model or null, and may throw the stream and chunk exceptions, which a
    // load catches and logs. The generic reader is asked for the .ebp file as well.
    using GenericLoader = std::unique_ptr<RenderModel> (*)(const char* filename, bool loadEbp);
    using FinalLoader = std::unique_ptr<RenderModel> (*)(const char* filename);
    static void SetGenericLoader(GenericLoader loader);
    static void SetFinalLoader(FinalLoader loader);
    // The global switch between the two paths; generic by default, as tools read .sgm files.
    static void SetLoadPath(LoadPath path);
    static LoadPath GetLoadPath();

    // With the run option "nomodels", the substitute model in place of the requested one; the
    // requested one when the option is absent or the substitute gave nothing. Null when the
    // reader gives nothing or throws.
    static std::unique_ptr<RenderModel> LoadOrSubstitute(const char* name);

    const char* GetTypeName() override { return "Render Model"; }
    bool CanReload() override { return true; }
    Inv::NamedResource* CreateDefault(const char*) override { return nullptr; }
    void Destroy(Inv::NamedResource* data) override;
    // Translates the name, loads inside the frame of that name, and leaves the frame.
    Inv::NamedResource* Load(const char* name) override;
};
