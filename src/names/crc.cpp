#include "names/crc.h"

#include "foundation/debug.h"

#include <zlib.h>

uint32 CRC::Compute(uint32 crc, const void* data, uint32 size)
{
    if (data == nullptr)
        return 0;
    return uint32(crc32(crc, static_cast<const Bytef*>(data), size));
}

void CRC::Update(const void* data, uint32 size)
{
    if (!dbAssert(data))
        return;
    if (!dbAssert(size > 0))
        return;
    m_value = Compute(m_value, data, size);
    m_length += size;
}

void CRC::UpdateFromFile(FILE* pFile)
{
    if (!dbAssert(pFile))
        return;
    std::rewind(pFile);
    unsigned char block[0x1000];
    for (;;)
    {
        const size_t n = std::fread(block, 1, sizeof(block), pFile);
        if (n == 0)
            break;
        Update(block, uint32(n));
    }
}
