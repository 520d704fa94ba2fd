// RamStream: a ByteStream on a block of memory, owned or borrowed. A growable stream doubles its
// block as it is written and stays below 16 MB; an unbounded one reads a memory image whose size
// the reader doesn't know.
#pragma once

#include "storage/bytestream.h"

#include <memory>

class RamStream : public ByteStream
{
public:
    // The largest block a growable stream may ask for, exclusive.
    static constexpr uint32 MaxGrowSize = 1u << 24;

    RamStream() = default;
    ~RamStream() override;

    // Allocates an owned, growable block of `bufsize` bytes. In Mode_Read the stream holds those
    // bytes; otherwise it starts empty. Fails when the stream already has a block.
    bool Create(uint32 bufsize, int mode);
    // Works on `block` of `size` bytes, which the stream neither grows nor, unless `owns`, frees.
    // An owned block must come from new uint8[]. Mode_Read or Mode_Write only.
    bool Attach(void* block, uint32 size, bool owns, int mode);
    // Reads from `block` with no end: reads and seeks are not checked, the length is 0.
    bool AttachUnbounded(void* block, bool owns);
    // Hands an owned block to the caller and empties the stream; null for a block not owned.
    std::unique_ptr<uint8[]> Detach();

    uint8* GetBuffer();
    const uint8* GetBuffer() const;
    uint32 GetCapacity() const { return m_capacity; }

    uint32 Read(void* dst, uint32 count) override;
    uint32 Write(const void* src, uint32 count) override;
    void Flush() override {}
    bool Seek(uint32 absolutePosition) override;
    uint32 GetPos() const override;
    uint32 GetLength() const override;

    // The capacity a growable stream takes for `desiredSize` bytes: 16 doubled until strictly
    // greater. 0 when the size is not below MaxGrowSize.
    static uint32 GrowSize(uint32 desiredSize);

private:
    void Free();

    uint8* m_buffer = nullptr;
    uint32 m_capacity = 0;
    uint32 m_streamsize = 0;
    bool m_owns = false;
    bool m_canGrow = false;
    bool m_bufUnboundedRead = false;
    uint32 m_position = 0;
};
