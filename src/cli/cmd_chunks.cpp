// tq7z chunks FILE [--data]: prints the chunk tree of a chunk file, one line per chunk.
#include "cli/command.h"

#include "storage/chunky.h"
#include "storage/diskfilestream.h"
#include "storage/osfile.h"

#include <cstdio>
#include <filesystem>
#include <string>

namespace
{
// A chunk id as its four characters, first character in the top byte; bytes outside printable
// ASCII are shown as '?'.
std::string IdText(uint32 id)
{
    std::string text(4, '?');
    for (int i = 0; i < 4; ++i)
    {
        const unsigned char c = (id >> (24 - 8 * i)) & 0xFF;
        if (c >= 0x20 && c < 0x7F)
            text[i] = char(c);
    }
    return text;
}

// Control characters of a name are shown as '?', so that one chunk stays one line.
std::string NameText(const RefCountString& name)
{
    std::string text(name.view());
    for (char& c : text)
    {
        if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F)
            c = '?';
    }
    return text;
}

void PrintChunk(const ChunkInfo& info, uint32 depth)
{
    std::printf("%*s%s %s v%u size=%u", int(depth * 2), "", info.kind == Chunky::CT_Folder ? "FOLD" : "DATA",
                IdText(info.id).c_str(), info.version, info.size);
    if (!info.name.empty())
        std::printf(" name=\"%s\"", NameText(info.name).c_str());
    std::printf("\n");
}

// 16 bytes a line: offset in the payload, the bytes in hex, the printable ones as text.
void DumpPayload(ByteStreamAdapter& adapter, uint32 size, uint32 depth)
{
    uint8 block[4096];
    uint32 offset = 0;
    while (offset < size)
    {
        const uint32 want = size - offset < sizeof(block) ? size - offset : uint32(sizeof(block));
        const uint32 got = adapter.Read(block, want);
        for (uint32 line = 0; line < got; line += 16)
        {
            char hex[16 * 3 + 1] = {};
            char ascii[17] = {};
            for (uint32 i = 0; i < 16; ++i)
            {
                if (line + i < got)
                {
                    const uint8 c = block[line + i];
                    std::snprintf(hex + i * 3, 4, "%02x ", c);
                    ascii[i] = c >= 0x20 && c < 0x7F ? char(c) : '.';
                }
                else
                {
                    std::snprintf(hex + i * 3, 4, "   ");
                }
            }
            std::printf("%*s%08x  %s |%s|\n", int(depth * 2), "", offset + line, hex, ascii);
        }
        if (got != want)
            break;
        offset += got;
    }
}

// Walks the whole tree without recursion, so that a deep file can't exhaust the stack.
void Walk(Chunky& chunky, ByteStreamAdapter& adapter, bool dumpData)
{
    const uint32 anyVersion = 0xFFFFFFFFu;
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
        PrintChunk(info, depth);
        if (info.kind == Chunky::CT_Folder)
        {
            chunky.ReadFolderChunk(info.id, anyVersion);
            ++depth;
        }
        else if (dumpData)
        {
            chunky.ReadDataChunk(info.id, anyVersion);
            DumpPayload(adapter, info.size, depth + 1);
            chunky.CloseChunk();
        }
    }
}

int RunChunks(const std::string& file, bool dumpData)
{
    const std::string absolute = std::filesystem::absolute(file).lexically_normal().string();
    const uint32 attr = OSFile::FileAttr(absolute.c_str());
    if (attr == 0)
    {
        std::fprintf(stderr, "tq7z chunks: %s: no such file\n", file.c_str());
        return 1;
    }
    if ((attr & OSFile::F_ATTRIBUTE_FOLDER) != 0)
    {
        std::fprintf(stderr, "tq7z chunks: %s: is a folder, not a chunk file\n", file.c_str());
        return 1;
    }
    DiskFileStream stream;
    if (!stream.Open(absolute.c_str(), ByteStream::Mode_Read, true))
    {
        std::fprintf(stderr, "tq7z chunks: %s: cannot be opened for reading\n", file.c_str());
        return 1;
    }
    ByteStreamAdapter adapter(stream);
    try
    {
        Chunky chunky(adapter);
        Walk(chunky, adapter, dumpData);
    }
    catch (const Chunky::Exception& e)
    {
        std::fflush(stdout);
        std::fprintf(stderr, "tq7z chunks: %s: %s at byte offset %u\n", file.c_str(), e.what(),
                     e.GetPosition());
        return 1;
    }
    catch (const ByteStream::Exception& e)
    {
        std::fflush(stdout);
        std::fprintf(stderr, "tq7z chunks: %s: %s at byte offset %u\n", file.c_str(), e.what(),
                     stream.GetPos());
        return 1;
    }
    return 0;
}

cli::CommandRegistrar s_chunks(
    [](CLI::App& app, int& exitCode)
    {
        CLI::App* sub = app.add_subcommand("chunks", "Print the chunk tree of a chunk file");
        sub->footer("Each chunk is one line, indented two spaces per depth:\n"
                    "  KIND ID vVERSION size=PAYLOAD_BYTES name=\"NAME\"\n"
                    "KIND is FOLD or DATA; ID shows bytes outside printable ASCII as '?'; the name is left\n"
                    "out when the chunk has none. --data dumps each data payload below its line: 16 bytes a\n"
                    "line, offset, hex and text. A malformed file prints what is wrong and the byte offset\n"
                    "where reading failed, and exits 1.\n");
        static std::string s_file;
        static bool s_data = false;
        sub->add_option("FILE", s_file, "The chunk file")->required();
        sub->add_flag("--data", s_data, "Dump the payload of each data chunk in hex");
        sub->callback([&exitCode] { exitCode = RunChunks(s_file, s_data); });
    });
} // namespace
