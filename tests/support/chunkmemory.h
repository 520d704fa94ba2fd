// Chunk files in memory for tests: a writer whose bytes can be taken, and a reader over given bytes.
#pragma once

#include "storage/bytestreamadapter.h"
#include "storage/chunky.h"
#include "storage/ramstream.h"

#include <memory>
#include <string>

// A chunk file written into memory.
struct ChunkWriter
{
    ChunkWriter()
    {
        m_stream.Create(64, ByteStream::Mode_Write);
        m_pChunky = std::make_unique<Chunky>(m_adapter);
    }
    std::string Bytes() const
    {
        return std::string(reinterpret_cast<const char*>(m_stream.GetBuffer()), m_stream.GetLength());
    }
    RamStream m_stream;
    ByteStreamAdapter m_adapter{m_stream};
    std::unique_ptr<Chunky> m_pChunky;
};

// A chunk file read from memory.
struct ChunkReader
{
    explicit ChunkReader(const std::string& bytes) : m_bytes(bytes)
    {
        m_stream.Attach(m_bytes.data(), uint32(m_bytes.size()), false, ByteStream::Mode_Read);
        m_pChunky = std::make_unique<Chunky>(m_adapter);
    }
    std::string m_bytes;
    RamStream m_stream;
    ByteStreamAdapter m_adapter{m_stream};
    std::unique_ptr<Chunky> m_pChunky;
};
