// Small helpers the image file readers and writers share: bounded reads off a stream and
// little- and big-endian fields of a header block.
#pragma once

#include "foundation/types.h"
#include "storage/bytestreamadapter.h"

namespace ImageIO
{
// Bytes left between the position and the end of the stream (0 when the position is past it).
inline uint32 Remaining(const ByteStreamAdapter& adapter)
{
    const uint32 length = adapter.GetLength();
    const uint32 pos = adapter.GetPos();
    return pos < length ? length - pos : 0;
}

// Reads exactly `count` bytes, after checking that the stream still holds them: a disk stream
// may report a long read across its last buffer as complete, so the count alone is no proof.
inline bool ReadExact(ByteStreamAdapter& adapter, void* dst, uint32 count)
{
    if (count == 0)
        return true;
    if (Remaining(adapter) < count)
        return false;
    return adapter.Read(dst, count) == count;
}

// Moves forward over `count` bytes that are there.
inline bool Skip(ByteStreamAdapter& adapter, uint32 count)
{
    if (Remaining(adapter) < count)
        return false;
    return adapter.Seek(adapter.GetPos() + count);
}

inline bool WriteExact(ByteStreamAdapter& adapter, const void* src, uint32 count)
{
    return count == 0 || adapter.Write(src, count) == count;
}

inline uint16 Get16LE(const uint8* p)
{
    return uint16(p[0] | (p[1] << 8));
}
inline uint32 Get32LE(const uint8* p)
{
    return uint32(p[0]) | (uint32(p[1]) << 8) | (uint32(p[2]) << 16) | (uint32(p[3]) << 24);
}
inline uint16 Get16BE(const uint8* p)
{
    return uint16((p[0] << 8) | p[1]);
}
inline uint32 Get32BE(const uint8* p)
{
    return (uint32(p[0]) << 24) | (uint32(p[1]) << 16) | (uint32(p[2]) << 8) | uint32(p[3]);
}
inline void Put16LE(uint8* p, uint32 v)
{
    p[0] = uint8(v);
    p[1] = uint8(v >> 8);
}
inline void Put32LE(uint8* p, uint32 v)
{
    p[0] = uint8(v);
    p[1] = uint8(v >> 8);
    p[2] = uint8(v >> 16);
    p[3] = uint8(v >> 24);
}
} // namespace ImageIO
