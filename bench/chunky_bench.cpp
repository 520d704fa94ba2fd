// Writing and reading chunk files through DiskFileStream and RamStream, each beside a plain copy of
// the same bytes (fwrite/fread of the file, memcpy of the block) in the same run.
#include "storage/chunky.h"
#include "storage/diskfilestream.h"
#include "storage/ramstream.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <unistd.h>
#include <vector>

namespace
{
constexpr uint32 SmallChunks = 100000;
constexpr uint32 SmallPayload = 16;
constexpr uint32 LargePayload = 64u << 20;

std::string TempFolder()
{
    static const std::string s_folder = []
    {
        char pattern[] = "/tmp/tq7z_bench_XXXXXX";
        if (::mkdtemp(pattern) == nullptr)
            std::abort();
        return std::string(pattern);
    }();
    return s_folder;
}

const std::vector<uint8>& LargeBytes()
{
    static const std::vector<uint8> s_bytes = []
    {
        std::vector<uint8> bytes(LargePayload);
        for (size_t i = 0; i < bytes.size(); ++i)
            bytes[i] = uint8(i * 31 + (i >> 12));
        return bytes;
    }();
    return s_bytes;
}

// The two shapes of file: many small data chunks in one folder, or one large data chunk.
void WriteSmall(Chunky& chunky, ByteStreamAdapter& adapter)
{
    const uint8 payload[SmallPayload] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16};
    chunky.OpenFolderChunk(FourCC("LIST"), 1, "small chunks");
    for (uint32 i = 0; i < SmallChunks; ++i)
    {
        chunky.OpenDataChunk(FourCC("ITEM"), 1, nullptr);
        adapter.Write(payload, SmallPayload);
        chunky.CloseChunk();
    }
    chunky.CloseChunk();
}

void WriteLarge(Chunky& chunky, ByteStreamAdapter& adapter)
{
    chunky.OpenDataChunk(FourCC("BLOB"), 1, "large");
    adapter.Write(LargeBytes().data(), LargePayload);
    chunky.CloseChunk();
}

uint64 ReadSmall(Chunky& chunky, ByteStreamAdapter& adapter)
{
    uint64 sum = 0;
    uint8 payload[SmallPayload];
    chunky.ReadFolderChunk(FourCC("LIST"), 1);
    ChunkInfo info;
    while (chunky.NextChunk(info))
    {
        chunky.ReadDataChunk(FourCC("ITEM"), 1);
        adapter.Read(payload, SmallPayload);
        sum += payload[15];
        chunky.CloseChunk();
    }
    chunky.CloseChunk();
    return sum;
}

uint64 ReadLarge(Chunky& chunky, ByteStreamAdapter& adapter, std::vector<uint8>& out)
{
    const ChunkInfo info = chunky.ReadDataChunk(FourCC("BLOB"), 1);
    const uint32 got = adapter.Read(out.data(), info.size);
    chunky.CloseChunk();
    return got;
}

std::string SmallFile()
{
    return TempFolder() + "/small.chunky";
}
std::string LargeFile()
{
    return TempFolder() + "/large.chunky";
}

// Writes a file once, so that the read benchmarks find it whatever order they run in.
const std::string& EnsureFile(bool large)
{
    static const std::string s_small = []
    {
        DiskFileStream stream;
        stream.Open(SmallFile().c_str(), ByteStream::Mode_Write, false);
        ByteStreamAdapter adapter(stream);
        Chunky chunky(adapter);
        WriteSmall(chunky, adapter);
        return SmallFile();
    }();
    static const std::string s_large = []
    {
        DiskFileStream stream;
        stream.Open(LargeFile().c_str(), ByteStream::Mode_Write, false);
        ByteStreamAdapter adapter(stream);
        Chunky chunky(adapter);
        WriteLarge(chunky, adapter);
        return LargeFile();
    }();
    return large ? s_large : s_small;
}

std::vector<uint8> FileBytes(const std::string& path)
{
    std::vector<uint8> bytes(std::filesystem::file_size(path));
    FILE* pFile = std::fopen(path.c_str(), "rb");
    if (pFile == nullptr || std::fread(bytes.data(), 1, bytes.size(), pFile) != bytes.size())
        std::abort();
    std::fclose(pFile);
    return bytes;
}

// Disk: the chunk writer and reader against fwrite and fread of the same file bytes.
void BM_DiskWrite(benchmark::State& state)
{
    const bool large = state.range(0) != 0;
    const std::string path = TempFolder() + (large ? "/w_large.chunky" : "/w_small.chunky");
    for (auto _ : state)
    {
        DiskFileStream stream;
        stream.Open(path.c_str(), ByteStream::Mode_Write, false);
        ByteStreamAdapter adapter(stream);
        Chunky chunky(adapter);
        large ? WriteLarge(chunky, adapter) : WriteSmall(chunky, adapter);
    }
    state.SetBytesProcessed(int64(state.iterations()) * int64(std::filesystem::file_size(path)));
}

void BM_DiskWritePlain(benchmark::State& state)
{
    const bool large = state.range(0) != 0;
    const std::vector<uint8> bytes = FileBytes(EnsureFile(large));
    const std::string path = TempFolder() + "/w_plain.bin";
    for (auto _ : state)
    {
        FILE* pFile = std::fopen(path.c_str(), "wb");
        std::fwrite(bytes.data(), 1, bytes.size(), pFile);
        std::fclose(pFile);
    }
    state.SetBytesProcessed(int64(state.iterations()) * int64(bytes.size()));
}

void BM_DiskRead(benchmark::State& state)
{
    const bool large = state.range(0) != 0;
    const std::string& path = EnsureFile(large);
    std::vector<uint8> out(large ? LargePayload : 0);
    for (auto _ : state)
    {
        DiskFileStream stream;
        stream.Open(path.c_str(), ByteStream::Mode_Read, true);
        ByteStreamAdapter adapter(stream);
        Chunky chunky(adapter);
        benchmark::DoNotOptimize(large ? ReadLarge(chunky, adapter, out) : ReadSmall(chunky, adapter));
    }
    state.SetBytesProcessed(int64(state.iterations()) * int64(std::filesystem::file_size(path)));
}

void BM_DiskReadPlain(benchmark::State& state)
{
    const bool large = state.range(0) != 0;
    const std::string& path = EnsureFile(large);
    std::vector<uint8> out(std::filesystem::file_size(path));
    for (auto _ : state)
    {
        FILE* pFile = std::fopen(path.c_str(), "rb");
        benchmark::DoNotOptimize(std::fread(out.data(), 1, out.size(), pFile));
        std::fclose(pFile);
    }
    state.SetBytesProcessed(int64(state.iterations()) * int64(out.size()));
}

// Memory: the chunk writer and reader on a RamStream against memcpy of the same bytes.
void BM_RamWrite(benchmark::State& state)
{
    const bool large = state.range(0) != 0;
    const size_t size = FileBytes(EnsureFile(large)).size();
    std::vector<uint8> block(size);
    for (auto _ : state)
    {
        RamStream stream;
        stream.Attach(block.data(), uint32(block.size()), false, ByteStream::Mode_Write);
        ByteStreamAdapter adapter(stream);
        Chunky chunky(adapter);
        large ? WriteLarge(chunky, adapter) : WriteSmall(chunky, adapter);
        benchmark::DoNotOptimize(block.data());
    }
    state.SetBytesProcessed(int64(state.iterations()) * int64(size));
}

void BM_RamRead(benchmark::State& state)
{
    const bool large = state.range(0) != 0;
    std::vector<uint8> bytes = FileBytes(EnsureFile(large));
    std::vector<uint8> out(large ? LargePayload : 0);
    for (auto _ : state)
    {
        RamStream stream;
        stream.Attach(bytes.data(), uint32(bytes.size()), false, ByteStream::Mode_Read);
        ByteStreamAdapter adapter(stream);
        Chunky chunky(adapter);
        benchmark::DoNotOptimize(large ? ReadLarge(chunky, adapter, out) : ReadSmall(chunky, adapter));
    }
    state.SetBytesProcessed(int64(state.iterations()) * int64(bytes.size()));
}

void BM_RamCopyPlain(benchmark::State& state)
{
    const bool large = state.range(0) != 0;
    const std::vector<uint8> bytes = FileBytes(EnsureFile(large));
    std::vector<uint8> out(bytes.size());
    for (auto _ : state)
    {
        std::memcpy(out.data(), bytes.data(), bytes.size());
        benchmark::DoNotOptimize(out.data());
    }
    state.SetBytesProcessed(int64(state.iterations()) * int64(bytes.size()));
}

// Argument 0: 100,000 small data chunks; 1: one 64 MB data chunk. Rates are of wall time: the
// disk benchmarks wait on the system, which CPU time would leave out.
BENCHMARK(BM_DiskWrite)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_DiskWritePlain)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_DiskRead)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_DiskReadPlain)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_RamWrite)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_RamRead)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_RamCopyPlain)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond)->UseRealTime();

// Removes the temporary files when the run ends.
struct Cleanup
{
    ~Cleanup() { std::filesystem::remove_all(TempFolder()); }
} s_cleanup;
} // namespace

BENCHMARK_MAIN();
