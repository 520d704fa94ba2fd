// Feeds arbitrary bytes to the chunk reader: a full walk of the tree with every kind of open,
// skip, payload read and close, as format code makes them.
#include "fuzzsupport.h"
#include "storage/chunky.h"
#include "storage/ramstream.h"

#include <cstddef>
#include <cstdint>
#include <string>

namespace
{
// What the walk does with a chunk, chosen from its id and version so that every path is reached.
void VisitData(Chunky& chunky, ByteStreamAdapter& adapter, const ChunkInfo& info)
{
    switch ((info.id ^ info.version) & 7)
    {
    case 0:
        return; // left peeked: the next NextChunk passes over it
    case 1:
    {
        // The type test fails: ReadFolderChunk passes over it and looks for a folder of that id.
        chunky.ReadFolderChunk(info.id, info.version);
        chunky.CloseChunk();
        return;
    }
    case 2:
        // A reader that knows only older versions.
        chunky.ReadDataChunk(info.id, info.version == 0 ? 0 : info.version - 1);
        break;
    default:
        chunky.ReadDataChunk(info.id, 0xFFFFFFFFu);
        break;
    }
    uint8 block[64];
    switch (info.version & 3)
    {
    case 0:
        break; // payload left unread
    case 1:
    {
        // Whole payload, in blocks.
        uint32 left = info.size;
        while (left > 0)
        {
            const uint32 want = left < sizeof(block) ? left : uint32(sizeof(block));
            if (adapter.Read(block, want) != want)
                break;
            left -= want;
        }
        break;
    }
    case 2:
    {
        std::string text;
        adapter.ReadString(text);
        uint32 value;
        adapter.ReadValue(value);
        break;
    }
    case 3:
        // A reader that runs past its chunk.
        adapter.Read(block, info.size + 4 < sizeof(block) ? info.size + 4 : uint32(sizeof(block)));
        break;
    }
    chunky.CloseChunk();
}

void Walk(Chunky& chunky, ByteStreamAdapter& adapter)
{
    uint32 depth = 0;
    for (;;)
    {
        ChunkInfo info;
        if (!chunky.NextChunk(info))
        {
            if (depth == 0)
                return;
            chunky.CloseChunk();
            --depth;
            continue;
        }
        if (info.kind == Chunky::CT_Folder)
        {
            if ((info.id & 0xF) == 1)
            {
                // A search inside the folder for a chunk named by the folder's own id.
                chunky.ReadFolderChunk(info.id, 0xFFFFFFFFu);
                chunky.FindChunk(Chunky::CT_Data, info.id);
                chunky.CloseChunk();
                continue;
            }
            chunky.ReadFolderChunk(info.id, 0xFFFFFFFFu);
            ++depth;
            continue;
        }
        VisitData(chunky, adapter, info);
    }
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const bool s_quiet = fuzz::Quiet();
    (void)s_quiet;
    if (size > 0x7FFFFFFF)
        return 0;
    RamStream stream;
    fuzz::LendReadOnly(stream, data, size);
    ByteStreamAdapter adapter(stream);
    try
    {
        Chunky chunky(adapter);
        Walk(chunky, adapter);
    }
    catch (const Chunky::Exception&)
    {
    }
    catch (const ByteStream::Exception&)
    {
    }
    return 0;
}
