#include "burner/burnermessages.h"

#include "burner/namedpipe.h"
#include "storage/bytestreamadapter.h"
#include "storage/ramstream.h"

#include <cstring>

namespace
{
// Messages are built in a memory stream of this size, which grows as they are written.
constexpr uint32 InitialStreamSize = 4096;

// Reads a payload front to back; every read checks the bytes left first.
class PayloadReader
{
public:
    PayloadReader(const uint8* payload, uint32 size) : m_p(payload), m_left(payload != nullptr ? size : 0) {}

    bool Bytes(void* dst, uint32 count)
    {
        if (m_left < count)
            return false;
        std::memcpy(dst, m_p, count);
        m_p += count;
        m_left -= count;
        return true;
    }
    bool U32(uint32& value)
    {
        uint8 b[4];
        if (!Bytes(b, 4))
            return false;
        value = uint32(b[0]) | (uint32(b[1]) << 8) | (uint32(b[2]) << 16) | (uint32(b[3]) << 24);
        return true;
    }
    bool U8(uint8& value) { return Bytes(&value, 1); }
    bool String(std::string& out)
    {
        uint32 length = 0;
        if (!U32(length) || m_left < length)
            return false;
        out.assign(reinterpret_cast<const char*>(m_p), length);
        m_p += length;
        m_left -= length;
        return true;
    }
    bool Strings(std::vector<std::string>& out)
    {
        uint32 count = 0;
        // Each string takes at least its 4-byte length.
        if (!U32(count) || count > m_left / 4)
            return false;
        std::vector<std::string> read(count);
        for (std::string& s : read)
            if (!String(s))
                return false;
        out = std::move(read);
        return true;
    }
    bool Results(BurnerResults& out)
    {
        uint32 count = 0;
        // Each record takes at least its level and its string's length.
        if (!U32(count) || count > m_left / 8)
            return false;
        BurnerResults read;
        for (uint32 i = 0; i < count; ++i)
        {
            uint32 level = 0;
            std::string text;
            if (!U32(level) || level > BurnerResults::LevelError || !String(text))
                return false;
            read.AddText(level, text.c_str());
        }
        out = std::move(read);
        return true;
    }
    // A text field of `size` bytes that must hold its terminator.
    bool Text(char* field, uint32 size)
    {
        return Bytes(field, size) && std::memchr(field, 0, size) != nullptr;
    }
    bool AtEnd() const { return m_left == 0; }

private:
    const uint8* m_p;
    uint32 m_left;
};

bool WriteResults(ByteStreamAdapter& out, const BurnerResults& results)
{
    if (!out.WriteValue(uint32(results.Count())))
        return false;
    for (const BurnerResults::Record& record : results)
        if (!out.WriteValue(record.level) || !out.WriteString(record.text))
            return false;
    return true;
}

bool WriteStrings(ByteStreamAdapter& out, const std::vector<std::string>& strings)
{
    if (!out.WriteValue(uint32(strings.size())))
        return false;
    for (const std::string& s : strings)
        if (!out.WriteString(s))
            return false;
    return true;
}

// Copies `text` into a terminated field, or empties the field when it does not fit.
bool SetText(char (&field)[BurnerProtocol::MaxPath], const std::string& text)
{
    std::memset(field, 0, sizeof(field));
    if (text.size() >= sizeof(field) || text.find('\0') != std::string::npos)
        return false;
    std::memcpy(field, text.data(), text.size());
    return true;
}
} // namespace

namespace BurnerProtocol
{
bool WriteResultsPayload(ByteStreamAdapter& out, const BurnerResults& results)
{
    return WriteResults(out, results);
}

bool ReadResultsPayload(const uint8* payload, uint32 size, BurnerResults& results)
{
    PayloadReader in(payload, size);
    return in.Results(results) && in.AtEnd();
}

bool WriteFileListPayload(ByteStreamAdapter& out, uint32 changelist, const std::vector<std::string>& cFiles)
{
    return out.WriteValue(changelist) && WriteStrings(out, cFiles);
}

bool ReadFileListPayload(const uint8* payload, uint32 size, uint32& changelist,
                         std::vector<std::string>& cFiles)
{
    PayloadReader in(payload, size);
    return in.U32(changelist) && in.Strings(cFiles) && in.AtEnd();
}
} // namespace BurnerProtocol

bool BurnerSetupMsg::SetConfigPath(const std::string& path)
{
    return SetText(configPath, path);
}

bool BurnerSetupMsg::WritePayload(ByteStreamAdapter& out) const
{
    return out.Write(configPath, sizeof(configPath)) == sizeof(configPath) && out.WriteValue(protocolVersion);
}

bool BurnerSetupMsg::ReadPayload(const uint8* payload, uint32 size)
{
    PayloadReader in(payload, size);
    BurnerSetupMsg read;
    if (size != sizeof(BurnerSetupMsg) || !in.Text(read.configPath, sizeof(read.configPath)) ||
        !in.U32(read.protocolVersion))
        return false;
    *this = read;
    return true;
}

bool BurnerReadyMsg::WritePayload(ByteStreamAdapter& out) const
{
    return out.WriteValue(reserved);
}

bool BurnerReadyMsg::ReadPayload(const uint8* payload, uint32 size)
{
    if (!dbAssert(sizeof(BurnerReadyMsg) == size))
        return false;
    PayloadReader in(payload, size);
    return in.U32(reserved);
}

bool BurnRequestMsg::SetFolder(const std::string& text)
{
    return SetText(folder, text);
}

bool BurnRequestMsg::SetPattern(const std::string& text)
{
    return SetText(pattern, text);
}

bool BurnRequestMsg::WritePayload(ByteStreamAdapter& out) const
{
    const uint8 flags[4] = {flagA, flagB, flagC, pad};
    return out.WriteValue(changelist) && out.Write(folder, sizeof(folder)) == sizeof(folder) &&
           out.Write(pattern, sizeof(pattern)) == sizeof(pattern) && out.Write(flags, 4) == 4;
}

bool BurnRequestMsg::ReadPayload(const uint8* payload, uint32 size)
{
    PayloadReader in(payload, size);
    BurnRequestMsg read;
    if (size != sizeof(BurnRequestMsg) || !in.U32(read.changelist) ||
        !in.Text(read.folder, sizeof(read.folder)) || !in.Text(read.pattern, sizeof(read.pattern)) ||
        !in.U8(read.flagA) || !in.U8(read.flagB) || !in.U8(read.flagC) || !in.U8(read.pad))
        return false;
    *this = read;
    return true;
}

bool BurnerResultMsg::WritePayload(ByteStreamAdapter& out) const
{
    return out.WriteValue(filesBurned) && out.WriteValue(flag) && WriteResults(out, results);
}

bool BurnerResultMsg::ReadPayload(const uint8* payload, uint32 size)
{
    PayloadReader in(payload, size);
    return in.U32(filesBurned) && in.U8(flag) && in.Results(results) && in.AtEnd();
}

bool BurnerMessage::Assign(const uint8* data, size_t size)
{
    m_cBytes.clear();
    if (data == nullptr || size < TypeSize || size > UINT32_MAX)
        return false;
    m_cBytes.assign(data, data + size);
    return true;
}

uint32 BurnerMessage::GetType() const
{
    uint32 type = 0;
    PayloadReader(m_cBytes.data(), uint32(m_cBytes.size())).U32(type);
    return type;
}

uint32 BurnerMessage::GetMessageSize() const
{
    return m_cBytes.size() < TypeSize ? 0 : uint32(m_cBytes.size() - TypeSize);
}

const uint8* BurnerMessage::GetPayload() const
{
    return m_cBytes.size() < TypeSize ? nullptr : m_cBytes.data() + TypeSize;
}

bool BurnerMessage::SetPayload(uint32 type, const void* pMsg, bool (*write)(const void*, ByteStreamAdapter&))
{
    m_cBytes.clear();
    RamStream stream;
    if (!stream.Create(InitialStreamSize, ByteStream::Mode_Write))
        return false;
    ByteStreamAdapter out(stream);
    if (!out.WriteValue(type) || !write(pMsg, out))
        return false;
    const uint8* bytes = stream.GetBuffer();
    m_cBytes.assign(bytes, bytes + stream.GetLength());
    return true;
}

bool ReadMessage(NamedPipe& pipe, BurnerMessage& msg)
{
    uint8 head[BurnerMessage::TypeSize];
    uint32 read = 0;
    bool more = false;
    if (!pipe.Read(head, sizeof(head), read, more))
        return false;
    std::vector<uint8> bytes(head, head + read);
    while (more)
    {
        uint8 block[NamedPipe::BufferSize];
        if (!pipe.Read(block, sizeof(block), read, more))
            return false;
        bytes.insert(bytes.end(), block, block + read);
    }
    return msg.Assign(bytes.data(), bytes.size());
}

bool WriteMessage(NamedPipe& pipe, const BurnerMessage& msg)
{
    if (msg.IsEmpty())
        return false;
    return pipe.Write(msg.GetBytes().data(), uint32(msg.GetBytes().size()));
}
