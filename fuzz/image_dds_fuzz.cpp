// Feeds arbitrary bytes to the DDS reader with a skip of 0 to 3 levels (from the length, so that
// the file's own bytes stay as given), then reads every byte of every level it made.
#include "foundation/output.h"
#include "foundation/runoptions.h"
#include "image/imageload.h"
#include "storage/bytestreamadapter.h"
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
    int sourceFormat = 0;
    std::unique_ptr<Image> pImage = ImageLoad::LoadDDS(adapter, "fuzz.dds", &sourceFormat, int(size % 4));
    if (pImage)
    {
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
    return 0;
}
