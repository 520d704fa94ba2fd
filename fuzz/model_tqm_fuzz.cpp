// Feeds arbitrary bytes to the final model file readers, chosen by the root chunk: an "RSGM" tree
// read as a ".tqm" into a new model, an "REBP" tree read as a ".tqe" into an empty one, and a
// "SHRF" tree read as a shared shader file (".vds") from a file on the memory-backed disk, as the
// game opens one by name. Texture detail cycles with the input's length, so that every detail
// level's skipping of images is reached. What a load puts into the inventory is let go after each
// input.
#include "fuzzsupport.h"
#include "inventory/warehouse.h"
#include "model/file/final/rendermodelloadfinal.h"
#include "model/file/final/shaderloadfinal.h"
#include "model/file/final/textureloadfinal.h"
#include "model/rendermodel.h"
#include "model/shader/shader.h"
#include "render/device.h"
#include "storage/chunky.h"
#include "storage/filepath.h"
#include "storage/filepath_hd.h"
#include "storage/ramstream.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <unistd.h>

namespace
{
constexpr uint32 ID_RSGM = FourCC("RSGM");
constexpr uint32 ID_REBP = FourCC("REBP");
constexpr uint32 ID_SHRF = FourCC("SHRF");

// Where a shared shader file input is put to be opened by name.
const std::string& SharedShaderPath()
{
    static const std::string s_path = "/dev/shm/tq7z_fuzz_" + std::to_string(::getpid()) + ".vds";
    return s_path;
}

bool Setup()
{
    fuzz::Quiet();
    fr::Interface::CreateDevice({});
    Inv::Warehouse::Create();
    FilePath::AddAlias("TOOL", "HD", 99, std::make_shared<FilePathHDRaw>());
    RenderModelLoadFinal::Register();
    return true;
}

void ReadSharedShader(const uint8_t* data, size_t size)
{
    std::FILE* pFile = std::fopen(SharedShaderPath().c_str(), "wb");
    if (pFile == nullptr)
        return;
    const bool written = std::fwrite(data, 1, size, pFile) == size;
    if (std::fclose(pFile) != 0 || !written)
        return;
    std::unique_ptr<Shader> pShader = ShaderLoadFinal::LoadSharedFile(("TOOL:" + SharedShaderPath()).c_str());
    // libFuzzer leaves without running exit handlers: nothing may stay behind.
    std::remove(SharedShaderPath().c_str());
}

void Read(ByteStreamAdapter& adapter, const uint8_t* data, size_t size)
{
    Chunky chunky(adapter);
    ChunkInfo info;
    if (!chunky.NextChunk(info) || info.kind != Chunky::CT_Folder)
        return;
    if (info.id == ID_REBP)
    {
        RenderModel model("fuzz");
        RenderModelLoadFinal::LoadEntity(chunky, adapter, model);
    }
    else if (info.id == ID_SHRF)
        ReadSharedShader(data, size);
    else if (info.id == ID_RSGM)
        std::unique_ptr<RenderModel> pModel = RenderModelLoadFinal::Load(chunky, adapter);
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const bool s_setup = Setup();
    (void)s_setup;
    if (size > 0x7FFFFFFF)
        return 0;
    TextureLoadFinal::SetDetail(int(size % 4));
    RamStream stream;
    fuzz::LendReadOnly(stream, data, size);
    ByteStreamAdapter adapter(stream);
    Inv::Warehouse* pWarehouse = Inv::Warehouse::Get();
    pWarehouse->PushFrame("fuzz");
    try
    {
        Read(adapter, data, size);
    }
    catch (const Chunky::Exception&)
    {
    }
    catch (const ByteStream::Exception&)
    {
    }
    pWarehouse->PopFrame();
    pWarehouse->FlushUnreferenced();
    return 0;
}
