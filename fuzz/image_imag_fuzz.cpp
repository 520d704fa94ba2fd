// Feeds arbitrary bytes to the chunk form of images: every "IMAG" folder and "IPAL" chunk at the
// top of the file is loaded (with a skip of 0 to 3 levels, from the length), and every byte of
// what comes back is read.
#include "fuzzsupport.h"
#include "image/imageload.h"
#include "storage/chunky.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const bool s_quiet = fuzz::Quiet();
    (void)s_quiet;
    if (size == 0 || size > 0x7FFFFFFF)
        return 0;
    RamStream stream;
    fuzz::LendReadOnly(stream, data, size);
    ByteStreamAdapter adapter(stream);
    try
    {
        Chunky chunky(adapter);
        ChunkInfo info;
        while (chunky.NextChunk(info))
        {
            if (info.kind == Chunky::CT_Folder && info.id == ImageLoad::ID_IMAG)
                fuzz::TouchImage(ImageLoad::Load(chunky, adapter, int(size % 4)).get());
            else if (info.kind == Chunky::CT_Data && info.id == ImageLoad::ID_IPAL)
                fuzz::TouchImage(ImageLoad::LoadImagePalette(chunky, adapter).get());
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
