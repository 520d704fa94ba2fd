// The inventory's description of shaders. Shader names are material names, so they are kept
// whole, only lower-cased. A name is loaded from its shared shader file ("GENERIC:<name>.vds",
// a "SHRF" folder of "TXTR" folders and one "SHDR"); the "SHDR" body is read by the reader the
// model file library registers. A shader that cannot be loaded stands in as a blank one.
#pragma once

#include "inventory/resourcetypeinfo.h"

#include <memory>

class ByteStreamAdapter;
class Chunky;
class Shader;

class ShaderTypeInfo final : public Inv::ResourceTypeInfo
{
public:
    static constexpr uint32 ID_SHRF = 0x53485246; // "SHRF"
    static constexpr uint32 SHRFVersion = 1;
    static constexpr uint32 ID_SHDR = 0x53484452; // "SHDR"
    static constexpr const char* FileExtension = ".vds";

    // Reads one "SHDR" folder at the position of the chunk file; throws what the container throws.
    using ShaderReader = std::unique_ptr<Shader> (*)(Chunky& chunky, ByteStreamAdapter& adapter);
    static void SetShaderReader(ShaderReader reader);
    static ShaderReader GetShaderReader();

    const char* GetTypeName() override { return "Shader"; }
    void TranslateName(char* outName, const char* name) override;
    bool CanReload() override { return true; }
    Inv::NamedResource* CreateDefault(const char* name) override;
    void Destroy(Inv::NamedResource* data) override;
    Inv::NamedResource* Load(const char* name) override;
};
