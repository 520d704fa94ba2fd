// A running CRC-32 (the zlib polynomial) with the count of bytes fed, for checksums of files and
// blocks that arrive in pieces.
#pragma once

#include "foundation/types.h"

#include <cstdio>

class CRC
{
public:
    // Feeds a block; the value so far carries over, so pieces give the same value as the whole.
    void Update(const void* data, uint32 size);
    // Rewinds the file and feeds all of it. A null file is an assertion failure.
    void UpdateFromFile(FILE* pFile);

    uint32 GetValue() const { return m_value; }
    uint32 GetLength() const { return m_length; }

    // The checksum of a block continued from `crc`; a null block gives 0.
    static uint32 Compute(uint32 crc, const void* data, uint32 size);

private:
    uint32 m_value = 0;
    uint32 m_length = 0;
};
