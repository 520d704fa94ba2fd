// Feeds arbitrary bytes to the chunk form of images: every "IMAG" folder and "IPAL" chunk at the
// top of the file is loaded (with a skip of 0 to 3 levels, from the length), and every byte of
// what comes back is read.
#include "foundation/output.h"
#include "foundation/runoptions.h"
#include "image/imageload.h"
#include "storage/bytestreamadapter.h"
#include "storage/chunky.h"
#include "storage/ramstream.h"

#include <cstddef>
#include <cstdint>

namespace
{
// Assertions report and take their safe return; the reports are dropped, and no stack is taken.
bool Quiet()
{
    static dbg::DebugSpewDispatcher s_quiet;
    dbg::SetDispatcher(&s_quiet);
    RunOptions::SetFileText("notrace");
    return true;
}

void Touch(const Image* pImage)
{
    if (pImage == nullptr)
        return;
    uint32 sum = 0;
    for (uint32 level = 0; level < pImage->GetMipCount(); ++level)
    {
        const uint8* p = pImage->GetData(level);
        for (uint32 i = 0; i < pImage->GetDataSize(level); ++i)
            sum += p[i];
    }
    volatile uint32 keep = sum;
    (void)keep;
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const bool s_quiet = Quiet();
    (void)s_quiet;
    if (size == 0 || size > 0x7FFFFFFF)
        return 0;
    RamStream stream;
    // The reader never writes: the block is only lent as a read stream.
    stream.Attach(const_cast<uint8_t*>(data), uint32(size), false, ByteStream::Mode_Read);
    ByteStreamAdapter adapter(stream);
    try
    {
        Chunky chunky(adapter);
        ChunkInfo info;
        while (chunky.NextChunk(info))
        {
            if (info.kind == Chunky::CT_Folder && info.id == ImageLoad::ID_IMAG)
                Touch(ImageLoad::Load(chunky, adapter, int(size % 4)).get());
            else if (info.kind == Chunky::CT_Data && info.id == ImageLoad::ID_IPAL)
                Touch(ImageLoad::LoadImagePalette(chunky, adapter).get());
        }
    }
    catch (const Chunky::Exception&)
    {
    }
    catch (const ByteStream::Exception&)
    {
    }
    return 0;
}
