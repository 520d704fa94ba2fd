// Feeds arbitrary bytes to the BMP reader, reads every byte of what it made and converts it.
#include "fuzzsupport.h"
#include "image/imageload.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    return fuzz::FuzzImageFile(
        data, size,
        [](ByteStreamAdapter& adapter, size_t) {
            int sourceFormat = 0;
            return ImageLoad::LoadBMP(adapter, "fuzz.bmp", &sourceFormat);
        },
        true);
}
