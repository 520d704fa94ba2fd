#include "model/file/modelchunk.h"

#include "storage/bytestreamadapter.h"

#include <cstdarg>
#include <cstdio>

namespace ModelChunk
{
namespace
{
constexpr uint32 EXC_PastEnd = 6;
const char* const s_textPastEnd = "Read past the Chunk end!";
} // namespace

void ThrowBadContent(const ByteStreamAdapter& adapter, const char* format, ...)
{
    char text[512];
    va_list args;
    va_start(args, format);
    std::vsnprintf(text, sizeof(text), format, args);
    va_end(args);
    throw Chunky::Exception(EXC_BadContent, text, adapter.GetPos());
}

void Payload::Need(uint32 count, uint32 itemBytes) const
{
    if (itemBytes != 0 && count > GetRemaining() / itemBytes)
        throw Chunky::Exception(EXC_PastEnd, s_textPastEnd, m_adapter.GetPos());
}

void Payload::ReadBytes(void* dst, uint32 bytes)
{
    Need(bytes, 1);
    if (bytes != 0 && m_adapter.Read(dst, bytes) != bytes)
        throw Chunky::Exception(EXC_PastEnd, s_textPastEnd, m_adapter.GetPos());
}

void Payload::Skip(uint32 bytes)
{
    Need(bytes, 1);
    if (!m_adapter.Seek(m_adapter.GetPos() + bytes))
        throw Chunky::Exception(EXC_PastEnd, s_textPastEnd, m_adapter.GetPos());
}

ra::Vec3 Payload::ReadVec3()
{
    ra::Vec3 v;
    ReadBytes(&v, sizeof(v));
    return v;
}

ra::Quat Payload::ReadQuat()
{
    ra::Quat q;
    ReadBytes(&q, sizeof(q));
    return q;
}

ra::Matrix34 Payload::ReadMatrix34()
{
    ra::Matrix34 m;
    ReadBytes(m.Data(), sizeof(m));
    return m;
}

ra::OBB Payload::ReadOBB()
{
    ra::OBB box;
    ReadBytes(&box, sizeof(box));
    return box;
}

fr::Matrix44 Payload::ReadMatrix44()
{
    fr::Matrix44 m;
    ReadBytes(&m.m[0][0], sizeof(m.m));
    return m;
}

void WriteVec3(ByteStreamAdapter& adapter, const ra::Vec3& v)
{
    adapter.WriteArray(&v.x, 3);
}

void WriteQuat(ByteStreamAdapter& adapter, const ra::Quat& q)
{
    adapter.WriteArray(&q.x, 4);
}

void WriteMatrix34(ByteStreamAdapter& adapter, const ra::Matrix34& m)
{
    adapter.WriteArray(m.Data(), 12);
}

void WriteOBB(ByteStreamAdapter& adapter, const ra::OBB& box)
{
    WriteVec3(adapter, box.centre);
    WriteVec3(adapter, box.scale);
    for (const ra::Vec3& row : box.rotation)
        WriteVec3(adapter, row);
}

void WriteMatrix44(ByteStreamAdapter& adapter, const fr::Matrix44& m)
{
    adapter.WriteArray(&m.m[0][0], 16);
}

void WriteInt32(ByteStreamAdapter& adapter, int32 value)
{
    adapter.WriteValue(value);
}

void WriteUInt32(ByteStreamAdapter& adapter, uint32 value)
{
    adapter.WriteValue(value);
}

void WriteFloat(ByteStreamAdapter& adapter, float value)
{
    adapter.WriteValue(value);
}

void WriteUInt8(ByteStreamAdapter& adapter, uint8 value)
{
    adapter.WriteValue(value);
}
} // namespace ModelChunk
