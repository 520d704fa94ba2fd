#include "model/file/motionpayloadreader.h"

#include "foundation/output.h"
#include "storage/bytestreamadapter.h"
#include "storage/filepath.h"
#include "storage/filesave.h"

#include <exception>

namespace ra
{
namespace
{
constexpr uint32 EXC_PastEnd = 6;
const char* const s_textPastEnd = "Read past the Chunk end!";
} // namespace

MotionPayloadReader::MotionPayloadReader(ByteStreamAdapter& adapter, const ChunkInfo& info)
    : m_adapter(adapter), m_end(adapter.GetPos() + info.size)
{
    // The container has checked the size against the stream, so the end cannot wrap.
    if (m_end < adapter.GetPos())
        m_end = adapter.GetPos();
}

uint32 MotionPayloadReader::GetRemaining() const
{
    const uint32 pos = m_adapter.GetPos();
    return pos < m_end ? m_end - pos : 0;
}

void MotionPayloadReader::Need(uint32 bytes) const
{
    if (GetRemaining() < bytes)
        throw Chunky::Exception(EXC_PastEnd, s_textPastEnd, m_adapter.GetPos());
}

int32 MotionPayloadReader::ReadInt32()
{
    Need(4);
    int32 value = 0;
    if (!m_adapter.ReadValue(value))
        throw Chunky::Exception(EXC_PastEnd, s_textPastEnd, m_adapter.GetPos());
    return value;
}

uint32 MotionPayloadReader::ReadUInt32()
{
    Need(4);
    uint32 value = 0;
    if (!m_adapter.ReadValue(value))
        throw Chunky::Exception(EXC_PastEnd, s_textPastEnd, m_adapter.GetPos());
    return value;
}

float MotionPayloadReader::ReadFloat()
{
    Need(4);
    float value = 0;
    if (!m_adapter.ReadValue(value))
        throw Chunky::Exception(EXC_PastEnd, s_textPastEnd, m_adapter.GetPos());
    return value;
}

uint8 MotionPayloadReader::ReadUInt8()
{
    Need(1);
    uint8 value = 0;
    if (!m_adapter.ReadValue(value))
        throw Chunky::Exception(EXC_PastEnd, s_textPastEnd, m_adapter.GetPos());
    return value;
}

void MotionPayloadReader::ReadString(char (&buf)[MaxString + 1])
{
    buf[0] = '\0';
    Need(4);
    // The adapter throws the overrun before it reads the text; the text itself is checked after,
    // into a buffer that cannot overflow.
    const uint32 start = m_adapter.GetPos();
    const bool ok = m_adapter.ReadString(buf, MaxString);
    if (!ok || m_adapter.GetPos() > m_end || m_adapter.GetPos() < start)
        throw Chunky::Exception(EXC_PastEnd, s_textPastEnd, start);
}

std::string MotionPayloadReader::ReadString()
{
    char buf[MaxString + 1];
    ReadString(buf);
    return buf;
}

ra::Name MotionPayloadReader::ReadName()
{
    char buf[MaxString + 1];
    ReadString(buf);
    return NameOf(buf);
}

uint32 MotionPayloadReader::ReadCount(uint32 minItemBytes)
{
    const uint32 pos = m_adapter.GetPos();
    const int32 count = ReadInt32();
    if (count < 0)
        throw Chunky::Exception(EXC_PastEnd, s_textPastEnd, pos);
    if (minItemBytes != 0 && uint32(count) > GetRemaining() / minItemBytes)
        throw Chunky::Exception(EXC_PastEnd, s_textPastEnd, pos);
    return uint32(count);
}

bool WithChunkFile(const char* filename, int mode,
                   const std::function<void(Chunky&, ByteStreamAdapter&)>& body)
{
    try
    {
        if (mode == ByteStream::Mode_Write)
        {
            // Built in memory and put on disk whole, so a failed or interrupted save leaves the
            // old file as it was.
            FileSave file(filename);
            ByteStreamAdapter adapter(file);
            Chunky chunky(adapter);
            body(chunky, adapter);
            return file.Commit();
        }
        std::shared_ptr<ByteStream> pStream = FilePath::Open(filename, mode);
        if (!pStream)
        {
            dbWarningf("'%s': Unable to open file!", filename);
            return false;
        }
        ByteStreamAdapter adapter(*pStream);
        Chunky chunky(adapter);
        body(chunky, adapter);
        return true;
    }
    catch (const std::exception& e)
    {
        dbWarningf("'%s': %s", filename, e.what());
        return false;
    }
}

bool WriteName(ByteStreamAdapter& adapter, const ra::Name& name)
{
    return adapter.WriteString(NameText(name));
}

const char* NameText(const ra::Name& name)
{
    const char* text = ra::GetNameText(name);
    return text ? text : "";
}

ra::Name NameOf(const char* text)
{
    if (text == nullptr || *text == '\0')
        return ra::Name::INVALID;
    return ra::MakeName(text);
}
} // namespace ra
