// DiskFileStream: a ByteStream on a disk file through OSFile. Reads go through one 256 KB buffer,
// so many small typed reads cost a memory copy each; writes are not buffered, so the chunk writer
// can seek back and patch sizes with nothing to flush first.
#pragma once

#include "storage/bytestream.h"
#include "storage/osfile.h"

#include <memory>

class DiskFileStream : public ByteStream
{
public:
    static constexpr uint32 BufferCapacity = 0x40000;

    DiskFileStream();
    ~DiskFileStream() override;

    // Makes a stream on the heap and opens it; null when the open fails.
    static std::unique_ptr<DiskFileStream> New(const char* fname, int mode, bool shareable);

    // Closes any open file, then opens `fname`: Mode_Read reads an existing file, Mode_Write creates
    // or truncates, Mode_Both opens or creates and stands at the end. A read mode fills the buffer.
    bool Open(const char* fname, int mode, bool shareable);
    void Close();
    bool IsOpen() const { return m_file != 0; }

    uint32 Read(void* dst, uint32 count) override;
    uint32 Write(const void* src, uint32 count) override;
    // Only checks that a file is open: the system's flush is OSFile::Flush, not called from here.
    void Flush() override;
    bool Seek(uint32 absolutePosition) override;
    uint32 GetPos() const override;
    // In a read mode, the length taken at the open; otherwise the file's current length.
    uint32 GetLength() const override;

private:
    void Refill();

    OSFile::Handle m_file = 0;
    // Offset of the file pointer: just past the bytes now in the buffer.
    uint32 m_filePosition = 0;
    // Taken at the open, not updated by writes.
    uint32 m_fileSize = 0;
    std::unique_ptr<uint8[]> m_pBuffer;
    uint32 m_bufferSize = 0;
    uint32 m_currentBufferPosition = 0;
};
