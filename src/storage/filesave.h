// FileSave: a file written whole. The bytes collect in memory (seeks back, as the chunk writer
// makes to patch its sizes, cost nothing there), and Commit puts them on disk with one write to a
// temporary name beside the file and a rename over it: a reader, or a process killed half way,
// sees the old file or the new one, never part of one.
#pragma once

#include "storage/bytestream.h"

#include <string>
#include <vector>

class FileSave final : public ByteStream
{
public:
    // `name` is a path-table name ("DATA:art\\x.tqm", "TOOL:/tmp/x.sgm"), resolved at Commit.
    explicit FileSave(const char* name);

    uint32 Read(void* dst, uint32 count) override { return 0; }
    uint32 Write(const void* src, uint32 count) override;
    void Flush() override {}
    bool Seek(uint32 absolutePosition) override;
    uint32 GetPos() const override { return m_position; }
    uint32 GetLength() const override { return uint32(m_data.size()); }

    // Writes the bytes to the file. False, logged, when the name resolves nowhere or the disk
    // refuses; the old file, if any, is then left as it was.
    bool Commit();

    const std::vector<uint8>& GetData() const { return m_data; }

private:
    std::string m_target;
    std::vector<uint8> m_data;
    uint32 m_position = 0;
};
