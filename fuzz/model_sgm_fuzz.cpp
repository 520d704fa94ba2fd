// Feeds arbitrary bytes to the generic model file reader: an "RSGM" tree (either form) read into a
// new model, or an "REBP" entity tree read into an empty one, with the null render device and the
// inventory that a tool loads models into. What a load puts into the inventory is let go after
// each input.
#include "fuzzsupport.h"
#include "inventory/warehouse.h"
#include "model/anim/animlist.h"
#include "model/file/generic/rendermodelloadgeneric.h"
#include "model/rendermodel.h"
#include "render/device.h"
#include "storage/chunky.h"
#include "storage/ramstream.h"

#include <cstddef>
#include <cstdint>
#include <memory>

namespace
{
constexpr uint32 ID_REBP = FourCC("REBP");

bool Setup()
{
    fuzz::Quiet();
    fr::Interface::CreateDevice({});
    Inv::Warehouse::Create();
    RenderModelLoadGeneric::Register();
    return true;
}

void Read(ByteStreamAdapter& adapter)
{
    Chunky chunky(adapter);
    ChunkInfo info;
    if (!chunky.NextChunk(info))
        return;
    if (info.kind == Chunky::CT_Folder && info.id == ID_REBP)
    {
        RenderModel model("fuzz");
        model.SetAnimList(std::make_unique<AnimListGeneric>(model));
        RenderModelLoadGeneric::LoadEbp(chunky, adapter, model, nullptr);
        return;
    }
    std::unique_ptr<RenderModel> pModel = RenderModelLoadGeneric::Load(chunky, adapter, nullptr);
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const bool s_setup = Setup();
    (void)s_setup;
    if (size > 0x7FFFFFFF)
        return 0;
    RamStream stream;
    fuzz::LendReadOnly(stream, data, size);
    ByteStreamAdapter adapter(stream);
    Inv::Warehouse* pWarehouse = Inv::Warehouse::Get();
    pWarehouse->PushFrame("fuzz");
    try
    {
        Read(adapter);
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
