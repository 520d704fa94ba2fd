#include "storage/chunky.h"

#include "foundation/debug.h"

#include <cstring>
#include <vector>

const char Chunky::s_Magic[16] = {'V', 'a', 'r', 'd', 'o',  ' ',  'C',    'h',
                                  'u', 'n', 'k', 'y', '\r', '\n', '\x1a', '\0'};

namespace
{
// The five header words as they stand in memory; type and id are byte-swapped on disk so that a
// dump reads "FOLD" and the id as text.
struct ChunkHeader
{
    uint32 type;
    uint32 id;
    uint32 version;
    uint32 size;
    uint32 nameLength;
};
static_assert(sizeof(ChunkHeader) == Chunky::ChunkHeaderSize);

struct StackNode
{
    ChunkHeader chunkHeader;
    RefCountString name;
    uint32 headerPos;
    uint32 dataPos;
};

const char* const s_textOpen = "Unable to open file!";
const char* const s_textMagic = "Not a valid chunky file!";
const char* const s_textVersion = "Unsupported file version!";
const char* const s_textHeader = "Not a valid chunk header!";
const char* const s_textOverwritten = "Invalid Chunk Size, chunks must not be over-written!";
const char* const s_textUnderData = "Invalid file format, only Folder Chunks may have sub-chunks!";
const char* const s_textMissing = "Missing Chunk Type!";
const char* const s_textNewer = "Unsupported (newer) Chunk Version!";
const char* const s_textPastEnd = "Read past the Chunk end!";
const char* const s_textRawData = "A folder chunk had data written directly in it!";
const char* const s_textSeek = "Failed to seek to end of chunk";

uint32 Swap(uint32 v)
{
    return __builtin_bswap32(v);
}

ChunkInfo MakeInfo(const StackNode& node)
{
    ChunkInfo info;
    info.kind = node.chunkHeader.type == Chunky::s_FolderChunkType ? Chunky::CT_Folder : Chunky::CT_Data;
    info.id = node.chunkHeader.id;
    info.version = node.chunkHeader.version;
    info.size = node.chunkHeader.size;
    info.name = node.name;
    return info;
}
} // namespace

struct Chunky::Impl
{
    int m_Mode = ByteStream::Mode_None;
    std::vector<StackNode> m_Chunks;
    // The top of m_Chunks was read by NextChunk and not entered yet.
    bool m_Peek = false;
    // Write mode: the position after the last header written or the last chunk closed.
    uint32 m_LastBoundary = 0;
    uint32 m_Platform = 0;

    // The end of the bytes a chunk may claim. A stream of unknown length (an unbounded memory
    // image) says 0, and then only the folders bound the chunks.
    static uint32 StreamEnd(const ByteStreamAdapter& adapter)
    {
        const uint32 length = adapter.GetLength();
        return length == 0 ? 0xFFFFFFFFu : length;
    }

    uint32 TopEnd() const { return m_Chunks.back().dataPos + m_Chunks.back().chunkHeader.size; }

    // Reads the header that the stream stands at and pushes it. Nothing the header says is
    // trusted until it is checked against the parent's end and the stream's.
    void ReadHeader(ByteStreamAdapter& adapter)
    {
        StackNode node;
        node.headerPos = adapter.GetPos();
        uint32 words[5] = {};
        if (adapter.ReadArray(words, 5) != sizeof(words))
            throw Exception(2, s_textHeader, node.headerPos);
        node.chunkHeader = {Swap(words[0]), Swap(words[1]), words[2], words[3], words[4]};
        const ChunkHeader& header = node.chunkHeader;
        if (header.type != s_FolderChunkType && header.type != s_DataChunkType)
            throw Exception(2, s_textHeader, node.headerPos);

        // A name may not be longer than the limit, nor reach past the parent or the stream.
        if (!dbAssert(header.nameLength <= MaxNameLength))
            throw Exception(2, s_textHeader, node.headerPos);
        const uint32 afterHeader = adapter.GetPos();
        const uint32 limit = m_Chunks.empty() ? StreamEnd(adapter) : TopEnd();
        if (afterHeader > limit || header.nameLength > limit - afterHeader)
            throw Exception(6, s_textPastEnd, node.headerPos);
        if (header.nameLength != 0)
        {
            // Names are short: read on the stack, so that only the shared string allocates.
            char name[MaxNameLength];
            if (adapter.Read(name, header.nameLength) != header.nameLength)
                throw Exception(2, s_textHeader, node.headerPos);
            node.name = RefCountString(name, uint32(strnlen(name, header.nameLength)));
        }

        node.dataPos = adapter.GetPos();
        const uint32 streamEnd = StreamEnd(adapter);
        if (node.dataPos > streamEnd || header.size > streamEnd - node.dataPos)
            throw Exception(6, s_textPastEnd, node.headerPos);
        if (!m_Chunks.empty())
        {
            const StackNode& parent = m_Chunks.back();
            const uint64 chunkStart = uint64(parent.dataPos) + ChunkHeaderSize + header.nameLength;
            const uint64 chunkEnd = uint64(parent.dataPos) + parent.chunkHeader.size;
            dbAssert(node.dataPos >= chunkStart);
            dbAssert(node.dataPos <= chunkEnd);
            if (header.type == s_DataChunkType)
                dbAssert(m_Chunks.back().chunkHeader.type == s_FolderChunkType);
        }
        m_Chunks.push_back(std::move(node));
    }

    // Takes the peeked chunk, or reads the next header.
    void EnterHeader(ByteStreamAdapter& adapter)
    {
        if (m_Peek)
        {
            m_Peek = false;
            return;
        }
        ReadHeader(adapter);
    }

    void WriteHeader(ByteStreamAdapter& adapter, const StackNode& node)
    {
        const ChunkHeader& header = node.chunkHeader;
        const uint32 words[5] = {Swap(header.type), Swap(header.id), header.version, header.size,
                                 header.nameLength};
        adapter.WriteArray(words, 5);
        // The name's terminator is written too: the name length counts it.
        if (header.nameLength != 0)
            adapter.Write(node.name.c_str(), header.nameLength);
    }
};

Chunky::Chunky(ByteStreamAdapter& adapter) : m_adapter(adapter), m_pImpl(std::make_unique<Impl>())
{
    if (adapter.GetStream() == nullptr && adapter.GetConverter() == nullptr)
        throw Exception(0, s_textOpen);
    const int mode = adapter.GetStreamMode();
    if (mode == ByteStream::Mode_Read)
    {
        m_pImpl->m_Mode = mode;
        char magic[sizeof(s_Magic)] = {};
        uint32 words[2] = {};
        const uint32 start = adapter.GetPos();
        adapter.Read(magic, sizeof(magic));
        adapter.ReadArray(words, 2);
        if (std::memcmp(magic, s_Magic, sizeof(s_Magic)) != 0)
            throw Exception(1, s_textMagic, start);
        if (words[0] > FileVersion)
            throw Exception(1, s_textVersion, start + 16);
        m_pImpl->m_Platform = words[1];
    }
    else if (mode == ByteStream::Mode_Write)
    {
        m_pImpl->m_Mode = mode;
        const uint32 words[2] = {FileVersion, adapter.GetPlatform()};
        adapter.Write(s_Magic, sizeof(s_Magic));
        adapter.WriteArray(words, 2);
        m_pImpl->m_Platform = words[1];
        m_pImpl->m_LastBoundary = adapter.GetPos();
    }
    else
    {
        dbAssert(mode == ByteStream::Mode_Read || mode == ByteStream::Mode_Write);
    }
}

Chunky::~Chunky() = default;

uint32 Chunky::GetPlatform() const
{
    return m_pImpl->m_Platform;
}

uint32 Chunky::GetDepth() const
{
    const uint32 size = uint32(m_pImpl->m_Chunks.size());
    return m_pImpl->m_Peek && size > 0 ? size - 1 : size;
}

void Chunky::OpenFolderChunk(uint32 id, uint32 version, const char* name)
{
    OpenChunk(s_FolderChunkType, id, version, name);
}

void Chunky::OpenDataChunk(uint32 id, uint32 version, const char* name)
{
    OpenChunk(s_DataChunkType, id, version, name);
}

void Chunky::OpenChunk(uint32 type, uint32 id, uint32 version, const char* name)
{
    Impl& impl = *m_pImpl;
    if (!dbAssert(impl.m_Mode == ByteStream::Mode_Write))
        return;
    const uint32 pos = m_adapter.GetPos();
    if (!impl.m_Chunks.empty() && !dbAssert(impl.m_Chunks.back().chunkHeader.type == s_FolderChunkType))
        throw Exception(3, s_textUnderData, pos);
    if (!dbAssert(pos == impl.m_LastBoundary))
        throw Exception(9, s_textRawData, pos);

    StackNode node;
    const size_t nameChars = name != nullptr ? std::strlen(name) : 0;
    // A longer name would make a file that no reader takes.
    if (!dbAssert(nameChars < MaxNameLength))
        throw Exception(2, s_textHeader, pos);
    node.chunkHeader = {type, id, version, 0, nameChars == 0 ? 0 : uint32(nameChars + 1)};
    if (nameChars != 0)
        node.name = RefCountString(name, uint32(nameChars));
    node.headerPos = pos;
    impl.WriteHeader(m_adapter, node);
    node.dataPos = m_adapter.GetPos();
    impl.m_LastBoundary = node.dataPos;
    impl.m_Chunks.push_back(std::move(node));
}

ChunkInfo Chunky::ReadFolderChunk(uint32 id, uint32 maxVersion)
{
    return ReadChunk(s_FolderChunkType, id, maxVersion);
}

ChunkInfo Chunky::ReadDataChunk(uint32 id, uint32 maxVersion)
{
    return ReadChunk(s_DataChunkType, id, maxVersion);
}

ChunkInfo Chunky::ReadChunk(uint32 type, uint32 id, uint32 maxVersion)
{
    Impl& impl = *m_pImpl;
    if (!dbAssert(impl.m_Mode == ByteStream::Mode_Read))
        return ChunkInfo();
    impl.EnterHeader(m_adapter);
    const ChunkHeader* pHeader = &impl.m_Chunks.back().chunkHeader;
    if (pHeader->type != type || pHeader->id != id)
    {
        // Pass over this one and every sibling up to the one wanted: forward only.
        CloseChunk();
        ChunkInfo info;
        for (;;)
        {
            if (!NextChunk(info))
                throw Exception(4, s_textMissing, m_adapter.GetPos());
            pHeader = &impl.m_Chunks.back().chunkHeader;
            if (pHeader->type == type && pHeader->id == id)
                break;
        }
        impl.EnterHeader(m_adapter);
    }
    const StackNode& node = impl.m_Chunks.back();
    if (node.chunkHeader.version > maxVersion)
        throw Exception(5, s_textNewer, node.headerPos);
    return MakeInfo(node);
}

bool Chunky::NextChunk(ChunkInfo& info)
{
    Impl& impl = *m_pImpl;
    if (!dbAssert(impl.m_Mode == ByteStream::Mode_Read))
        return false;
    if (impl.m_Peek)
    {
        // The peeked chunk was not entered: pass over it. The flag stays set for now.
        if (!dbAssert(!impl.m_Chunks.empty()))
            return false;
        const uint32 end = impl.TopEnd();
        if (!m_adapter.Seek(end) || m_adapter.GetPos() != end)
            throw Exception(10, s_textSeek, m_adapter.GetPos());
        impl.m_Chunks.pop_back();
    }
    const uint32 pos = m_adapter.GetPos();
    if (impl.m_Chunks.empty())
    {
        if (pos == m_adapter.GetLength())
            return false;
    }
    else
    {
        const StackNode& top = impl.m_Chunks.back();
        if (!dbAssert(top.chunkHeader.type == s_FolderChunkType))
            return false;
        if (pos < top.dataPos || pos - top.dataPos > top.chunkHeader.size)
            throw Exception(6, s_textPastEnd, pos);
        if (pos - top.dataPos == top.chunkHeader.size)
            return false;
    }
    impl.m_Peek = false;
    impl.ReadHeader(m_adapter);
    impl.m_Peek = true;
    info = MakeInfo(impl.m_Chunks.back());
    return true;
}

bool Chunky::FindChunk(int kind, uint32 id)
{
    ChunkInfo info;
    while (NextChunk(info))
    {
        if (info.kind == kind && info.id == id)
            return true;
    }
    return false;
}

void Chunky::CloseChunk()
{
    Impl& impl = *m_pImpl;
    if (!dbAssert(!impl.m_Chunks.empty()))
        return;
    const uint32 pos = m_adapter.GetPos();
    StackNode& node = impl.m_Chunks.back();
    if (impl.m_Mode == ByteStream::Mode_Read)
    {
        dbAssert(pos >= node.dataPos);
        // A payload reader that ran past its chunk fails here.
        if (pos < node.dataPos || pos - node.dataPos > node.chunkHeader.size)
            throw Exception(6, s_textPastEnd, pos);
        // Payload left unread is passed over: that is how newer fields are skipped.
        const uint32 end = node.dataPos + node.chunkHeader.size;
        if (!m_adapter.Seek(end) || m_adapter.GetPos() != end)
            throw Exception(10, s_textSeek, m_adapter.GetPos());
        impl.m_Peek = false;
        impl.m_Chunks.pop_back();
        return;
    }
    if (!dbAssert(impl.m_Mode == ByteStream::Mode_Write))
        return;
    if (!dbAssert(pos >= node.dataPos))
        throw Exception(2, s_textOverwritten, pos);
    if (node.chunkHeader.type == s_FolderChunkType && !dbAssert(pos == impl.m_LastBoundary))
        throw Exception(9, s_textRawData, pos);
    // Each chunk is written twice: with size 0 when opened, and here with its real size.
    node.chunkHeader.size = pos - node.dataPos;
    m_adapter.Seek(node.headerPos);
    impl.WriteHeader(m_adapter, node);
    m_adapter.Seek(pos);
    impl.m_LastBoundary = pos;
    impl.m_Chunks.pop_back();
}

uint32 ChunkyReservedTypeId(int type)
{
    switch (type)
    {
    case CRT_BurnDialog:
        return 0x42444C47;
    case CRT_Comment:
        return 0x434D4E54;
    case CRT_FileDepend:
        return 0x46444550;
    case CRT_BurnInfo:
        return 0x46424946;
    default:
        dbAssert(type >= CRT_BurnDialog && type <= CRT_BurnInfo);
        return 0x30303030;
    }
}

bool IsChunkyReservedType(uint32 id)
{
    for (int type = CRT_BurnDialog; type <= CRT_BurnInfo; ++type)
    {
        if (ChunkyReservedTypeId(type) == id)
            return true;
    }
    return false;
}
