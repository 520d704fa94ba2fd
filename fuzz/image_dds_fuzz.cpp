// Feeds arbitrary bytes to the DDS reader with a skip of 0 to 3 levels (from the length, so that
// the file's own bytes stay as given), then reads every byte of every level it made.
#include "fuzzsupport.h"
#include "image/imageload.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    return fuzz::FuzzImageFile(
        data, size,
        [](ByteStreamAdapter& adapter, size_t length) {
            int sourceFormat = 0;
            return ImageLoad::LoadDDS(adapter, "fuzz.dds", &sourceFormat, int(length % 4));
        },
        false);
}
