// Chunky: the container of every binary data file of the system. A 24-byte file header, then a
// tree of chunks: folders, whose payload is nothing but further chunks, and data chunks, whose
// payload belongs to the format. A reader passes over any chunk it doesn't know, so formats grow.
//
// The reader is safe for untrusted input: every header is checked against its parent and the end
// of the stream before anything is read behind it, names are bounded, and each step moves forward.
#pragma once

#include "foundation/types.h"
#include "names/refcountstring.h"
#include "storage/bytestreamadapter.h"

#include <memory>
#include <stdexcept>

// The public description of a chunk, from the open and peek operations.
struct ChunkInfo
{
    int kind = 0; // Chunky::CT_Folder or Chunky::CT_Data
    uint32 id = 0;
    uint32 version = 0;
    uint32 size = 20;    // the payload's bytes; a folder's counts its children with their headers
    RefCountString name; // empty when the chunk has none
};

class Chunky
{
public:
    enum ChunkKind
    {
        CT_Folder = 0,
        CT_Data = 1,
    };

    static constexpr uint32 s_FolderChunkType = 0x464F4C44; // "FOLD"
    static constexpr uint32 s_DataChunkType = 0x44415441;   // "DATA"
    static constexpr uint32 FileHeaderSize = 24;
    static constexpr uint32 ChunkHeaderSize = 20;
    static constexpr uint32 FileVersion = 1;
    // The longest name a chunk may carry, with its terminator.
    static constexpr uint32 MaxNameLength = 1024;
    // "Vardo Chunky\r\n\x1a" and a NUL: all 16 bytes are compared.
    static const char s_Magic[16];

    // Every format error of the container. Besides its code, it keeps the stream position the
    // failure concerns: the header that was refused, or where the stream stood.
    class Exception : public std::runtime_error
    {
    public:
        Exception(uint32 code, const char* text, uint32 position = 0)
            : std::runtime_error(text), m_code(code), m_position(position)
        {
        }
        uint32 GetCode() const { return m_code; }
        uint32 GetPosition() const { return m_position; }

    private:
        uint32 m_code;
        uint32 m_position;
    };

    // In read mode reads and checks the file header; in write mode writes it. A stream in any other
    // mode is an assertion failure. A null stream throws code 0.
    explicit Chunky(ByteStreamAdapter& adapter);
    ~Chunky();
    Chunky(const Chunky&) = delete;
    Chunky& operator=(const Chunky&) = delete;

    // Write mode: start a chunk. A null or empty name is stored as none.
    void OpenFolderChunk(uint32 id, uint32 version, const char* name);
    void OpenDataChunk(uint32 id, uint32 version, const char* name);

    // Read mode: enter the next chunk of this type and id, passing over the ones before it in the
    // parent. Throws code 4 when the parent has no such chunk, code 5 when it is newer than
    // maxVersion. The stream then stands at the payload.
    ChunkInfo ReadFolderChunk(uint32 id, uint32 maxVersion);
    ChunkInfo ReadDataChunk(uint32 id, uint32 maxVersion);

    // Read mode: moves to the next sibling and describes it without entering it (the chunk is
    // peeked: a Read...Chunk of it enters it). False at the end of the parent; the caller then
    // closes the parent and makes no further NextChunk in it.
    bool NextChunk(ChunkInfo& info);
    // NextChunk until a chunk of this kind and id is peeked; false at the end of the parent.
    bool FindChunk(int kind, uint32 id);

    // Ends the chunk on top: in write mode patches its size, in read mode moves to its end.
    void CloseChunk();

    // Chunks entered: peeked ones don't count.
    uint32 GetDepth() const;

    // The platform code of the file header, as read or written.
    uint32 GetPlatform() const;

private:
    struct Impl;
    ChunkInfo ReadChunk(uint32 type, uint32 id, uint32 maxVersion);
    void OpenChunk(uint32 type, uint32 id, uint32 version, const char* name);

    ByteStreamAdapter& m_adapter;
    std::unique_ptr<Impl> m_pImpl;
};

// Chunk ids that no format may give its own chunks.
enum ChunkyReservedTypes
{
    CRT_BurnDialog = 0, // "BDLG"
    CRT_Comment = 1,    // "CMNT"
    CRT_FileDepend = 2, // "FDEP"
    CRT_BurnInfo = 3,   // "FBIF"
};
// The id of a reserved type; any other value is an assertion failure and gives "0000".
uint32 ChunkyReservedTypeId(int type);
bool IsChunkyReservedType(uint32 id);
