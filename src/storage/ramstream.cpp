#include "storage/ramstream.h"

#include "foundation/debug.h"

#include <cstring>

RamStream::~RamStream()
{
    Free();
}

void RamStream::Free()
{
    if (m_owns)
        delete[] m_buffer;
    m_buffer = nullptr;
    m_capacity = 0;
    m_streamsize = 0;
    m_owns = false;
    m_canGrow = false;
    m_bufUnboundedRead = false;
    m_position = 0;
}

uint32 RamStream::GrowSize(uint32 desiredSize)
{
    if (!dbAssert(desiredSize < (1 << 24)))
        return 0;
    uint32 size = 16;
    while (!(size > desiredSize))
        size *= 2;
    return size;
}

bool RamStream::Create(uint32 bufsize, int mode)
{
    if (!dbAssert(m_buffer == nullptr))
        return false;
    if (!dbAssert(bufsize > 0))
        return false;
    m_buffer = new uint8[bufsize]();
    m_capacity = bufsize;
    m_streamsize = mode == Mode_Read ? bufsize : 0;
    m_owns = true;
    m_canGrow = true;
    m_bufUnboundedRead = false;
    m_position = 0;
    SetStreamMode(mode);
    return true;
}

bool RamStream::Attach(void* block, uint32 size, bool owns, int mode)
{
    if (!dbAssert(m_buffer == nullptr))
        return false;
    if (!dbAssert(mode == Mode_Read || mode == Mode_Write))
        return false;
    if (!dbAssert(block != nullptr))
        return false;
    m_buffer = static_cast<uint8*>(block);
    m_capacity = size;
    m_streamsize = size;
    m_owns = owns;
    m_canGrow = false;
    m_bufUnboundedRead = false;
    m_position = 0;
    SetStreamMode(mode);
    return true;
}

bool RamStream::AttachUnbounded(void* block, bool owns)
{
    if (!Attach(block, 0, owns, Mode_Read))
        return false;
    m_bufUnboundedRead = true;
    return true;
}

std::unique_ptr<uint8[]> RamStream::Detach()
{
    if (!dbAssert(m_buffer) || !dbAssert(m_owns))
        return nullptr;
    std::unique_ptr<uint8[]> pBlock(m_buffer);
    m_owns = false;
    Free();
    SetStreamMode(Mode_None);
    return pBlock;
}

uint8* RamStream::GetBuffer()
{
    dbAssert(m_buffer);
    return m_buffer;
}

const uint8* RamStream::GetBuffer() const
{
    dbAssert(m_buffer);
    return m_buffer;
}

uint32 RamStream::Read(void* dst, uint32 count)
{
    if (!dbAssert(m_buffer) || !dbAssert((GetStreamMode() & BS_ReadBit) != 0) || !dbAssert(dst != nullptr))
        return 0;
    if (!m_bufUnboundedRead)
    {
        if (!dbAssert(m_bufUnboundedRead || GetPos() <= m_streamsize))
            return 0;
        if (uint64(m_position) + count >= m_streamsize)
            count = m_streamsize - m_position;
    }
    std::memcpy(dst, m_buffer + m_position, count);
    m_position += count;
    return count;
}

uint32 RamStream::Write(const void* src, uint32 count)
{
    if (!dbAssert(m_buffer) || !dbAssert((GetStreamMode() & BS_WriteBit) != 0))
        return 0;
    if (count == 0)
        return 0;
    if (!dbAssert(src != nullptr))
        return 0;
    const uint64 end = uint64(m_position) + count;
    if (end > m_capacity)
    {
        if (!dbAssert(m_canGrow))
            return 0;
        const uint32 capacity = end < MaxGrowSize ? GrowSize(uint32(end)) : GrowSize(MaxGrowSize);
        if (capacity == 0)
            return 0;
        uint8* pBlock = new uint8[capacity]();
        std::memcpy(pBlock, m_buffer, m_streamsize);
        delete[] m_buffer;
        m_buffer = pBlock;
        m_capacity = capacity;
    }
    if (m_streamsize < end)
        m_streamsize = uint32(end);
    std::memcpy(m_buffer + m_position, src, count);
    m_position += count;
    return count;
}

bool RamStream::Seek(uint32 absolutePosition)
{
    if (!dbAssert(m_buffer))
        return false;
    if (!m_bufUnboundedRead && !dbAssert(absolutePosition <= m_streamsize))
        return false;
    m_position = absolutePosition;
    return true;
}

uint32 RamStream::GetPos() const
{
    dbAssert(m_buffer);
    return m_position;
}

uint32 RamStream::GetLength() const
{
    dbAssert(m_buffer);
    return m_streamsize;
}
