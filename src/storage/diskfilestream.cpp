#include "storage/diskfilestream.h"

#include "foundation/debug.h"

#include <algorithm>
#include <cstring>

DiskFileStream::DiskFileStream() : m_pBuffer(new uint8[BufferCapacity]()) {}

DiskFileStream::~DiskFileStream()
{
    Close();
}

std::unique_ptr<DiskFileStream> DiskFileStream::New(const char* fname, int mode, bool shareable)
{
    auto pStream = std::make_unique<DiskFileStream>();
    if (!pStream->Open(fname, mode, shareable))
        return nullptr;
    return pStream;
}

bool DiskFileStream::Open(const char* fname, int mode, bool shareable)
{
    Close();
    if (!dbAssert(fname != nullptr && fname[0] != '\0'))
        return false;
    int fileMode = 0;
    switch (mode)
    {
    case Mode_Read:
        fileMode = OSFile::OM_Read;
        break;
    case Mode_Write:
        fileMode = OSFile::OM_Write;
        break;
    case Mode_Both:
        fileMode = OSFile::OM_ReadWrite;
        break;
    default:
        dbAssert(mode == Mode_Read || mode == Mode_Write || mode == Mode_Both);
        return false;
    }
    m_file = OSFile::Open(fname, fileMode, shareable);
    if (m_file == 0)
        return false;
    SetName(fname);
    SetStreamMode(mode);
    m_filePosition = OSFile::Tell(m_file);
    m_fileSize = OSFile::Length(m_file);
    m_bufferSize = 0;
    m_currentBufferPosition = 0;
    if ((mode & BS_ReadBit) != 0)
        Refill();
    return true;
}

void DiskFileStream::Close()
{
    if (m_file != 0)
        OSFile::Close(m_file);
    SetStreamMode(Mode_None);
    SetName("");
    m_file = 0;
    m_filePosition = 0;
    m_fileSize = 0;
    m_bufferSize = 0;
    m_currentBufferPosition = 0;
}

void DiskFileStream::Refill()
{
    if (!dbAssert((GetStreamMode() & BS_ReadBit) != 0))
        return;
    const uint32 left = m_filePosition < m_fileSize ? m_fileSize - m_filePosition : 0;
    const uint32 amount = std::min(BufferCapacity, left);
    if (amount == 0)
    {
        m_bufferSize = 0;
        m_currentBufferPosition = 0;
        return;
    }
    m_bufferSize = OSFile::Read(m_file, m_pBuffer.get(), amount);
    m_filePosition += m_bufferSize;
    m_currentBufferPosition = 0;
}

uint32 DiskFileStream::Read(void* dst, uint32 count)
{
    if (!dbAssert(dst != nullptr) || !dbAssert(m_file != 0) || !dbAssert((GetStreamMode() & BS_ReadBit) != 0))
        return 0;
    if (count == 0)
        return 0;
    uint8* pOut = static_cast<uint8*>(dst);
    uint32 result = 0;
    // Measured against the buffer's capacity, not what it holds: a long read across the last, short
    // buffer of a file counts the whole step as delivered. Callers stop on their formats' sizes.
    while (m_currentBufferPosition + uint64(count) > BufferCapacity)
    {
        const uint32 step = BufferCapacity - m_currentBufferPosition;
        std::memcpy(pOut, m_pBuffer.get() + m_currentBufferPosition, step);
        pOut += step;
        count -= step;
        result += step;
        Refill();
    }
    if (count > 0)
    {
        count = std::min(count, m_bufferSize - m_currentBufferPosition);
        std::memcpy(pOut, m_pBuffer.get() + m_currentBufferPosition, count);
        m_currentBufferPosition += count;
        result += count;
    }
    return result;
}

uint32 DiskFileStream::Write(const void* src, uint32 count)
{
    if (!dbAssert(m_file != 0) || !dbAssert((GetStreamMode() & BS_WriteBit) != 0))
        return 0;
    if (count == 0)
        return 0;
    if (!dbAssert(src != nullptr))
        return 0;
    const uint32 written = OSFile::Write(m_file, src, count);
    m_filePosition += written;
    return written;
}

void DiskFileStream::Flush()
{
    dbAssert(m_file != 0);
}

bool DiskFileStream::Seek(uint32 absolutePosition)
{
    if (!dbAssert(m_file != 0))
        return false;
    if ((GetStreamMode() & BS_ReadBit) == 0)
    {
        if (absolutePosition == m_filePosition)
            return true;
        if (!OSFile::Seek(m_file, absolutePosition))
            return false;
        m_filePosition = absolutePosition;
        return true;
    }
    if (!dbAssert(absolutePosition <= m_fileSize))
        return false;
    const uint32 bufferStart = m_filePosition - m_bufferSize;
    if (absolutePosition >= bufferStart && absolutePosition < m_filePosition)
    {
        // Inside the buffer: no call to the file at all.
        m_currentBufferPosition = m_bufferSize - (m_filePosition - absolutePosition);
        return dbAssert(m_currentBufferPosition <= m_bufferSize);
    }
    if (!OSFile::Seek(m_file, absolutePosition))
        return false;
    m_filePosition = absolutePosition;
    Refill();
    return true;
}

uint32 DiskFileStream::GetPos() const
{
    return m_filePosition - m_bufferSize + m_currentBufferPosition;
}

uint32 DiskFileStream::GetLength() const
{
    if (!dbAssert(m_file != 0))
        return 0;
    if ((GetStreamMode() & BS_ReadBit) != 0)
        return m_fileSize;
    return OSFile::Length(m_file);
}
