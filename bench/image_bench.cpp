// Image loading, rescaling, mip making and DXT encoding on 2048 by 2048 pictures. The loads run
// beside a plain read of the same file (fread) in the same run, so that the reader's cost shows
// against the disk's; DXT encoding runs beside libsquish's CompressImage on the same picture.
#include "image/imagedxt.h"
#include "image/imageload.h"
#include "image/imagetypes.h"
#include "storage/bytestreamadapter.h"
#include "storage/diskfilestream.h"

#include <benchmark/benchmark.h>
#include <omp.h>
#include <squish.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <unistd.h>
#include <vector>

namespace
{
constexpr uint32 Side = 2048;

// A scratch folder, removed at exit. Its name lives in a plain array, which outlasts the exit
// handlers.
char s_tempFolder[64] = "";

std::string TempFolder()
{
    if (s_tempFolder[0] == '\0')
    {
        std::snprintf(s_tempFolder, sizeof(s_tempFolder), "/tmp/tq7z_imagebench_XXXXXX");
        if (::mkdtemp(s_tempFolder) == nullptr)
            std::abort();
        std::atexit(
            []
            {
                std::error_code ec;
                std::filesystem::remove_all(s_tempFolder, ec);
            });
    }
    return s_tempFolder;
}

std::unique_ptr<Image_RGBA32> Picture(uint32 side)
{
    auto p = std::make_unique<Image_RGBA32>();
    p->Allocate(side, side);
    for (uint32 y = 0; y < side; ++y)
        for (uint32 x = 0; x < side; ++x)
            (*p)[y * side + x] = Colour(uint8(x * 3 + y), uint8(y * 5), uint8(x ^ y), uint8(255 - (x & 63)));
    return p;
}

bool WriteWith(const std::string& path, bool (*pWriter)(ByteStreamAdapter&, const char*, const Image&),
               const Image& image)
{
    DiskFileStream stream;
    if (!stream.Open(path.c_str(), ByteStream::Mode_Write, false))
        return false;
    ByteStreamAdapter adapter(stream);
    return pWriter(adapter, path.c_str(), image);
}

const std::string& TGAFile()
{
    static const std::string s_path = []
    {
        const std::string path = TempFolder() + "/big.tga";
        if (!WriteWith(path, &ImageLoad::SaveTGA, *Picture(Side)))
            std::abort();
        return path;
    }();
    return s_path;
}

// DXT5 with the whole chain, 12 levels: the block bytes are arbitrary, the reader moves them as is.
const std::string& DDSFile()
{
    static const std::string s_path = []
    {
        Image_DXT5 image;
        image.SetMipCount(Image::FullMipCount(Side, Side));
        image.Allocate(Side, Side);
        for (uint32 level = 0; level < image.GetMipCount(); ++level)
            for (uint32 i = 0; i < image.GetDataSize(level); ++i)
                image.GetData(level)[i] = uint8(i * 7 + level);
        const std::string path = TempFolder() + "/big.dds";
        if (!WriteWith(path, &ImageLoad::SaveDDS, image))
            std::abort();
        return path;
    }();
    return s_path;
}

uint64 FileSize(const std::string& path)
{
    return uint64(std::filesystem::file_size(path));
}

void PlainRead(benchmark::State& state, const std::string& path)
{
    std::vector<uint8> buffer(FileSize(path));
    for (auto _ : state)
    {
        FILE* f = std::fopen(path.c_str(), "rb");
        const size_t got = std::fread(buffer.data(), 1, buffer.size(), f);
        std::fclose(f);
        benchmark::DoNotOptimize(got);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(buffer.size()));
}

template <class Load> void LoadFile(benchmark::State& state, const std::string& path, Load load)
{
    for (auto _ : state)
    {
        DiskFileStream stream;
        stream.Open(path.c_str(), ByteStream::Mode_Read, true);
        ByteStreamAdapter adapter(stream);
        int sourceFormat = 0;
        std::unique_ptr<Image> pImage = load(adapter, path.c_str(), &sourceFormat);
        if (!pImage)
            state.SkipWithError("load failed");
        benchmark::DoNotOptimize(pImage.get());
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(FileSize(path)));
}

void BM_TGA_PlainRead(benchmark::State& state)
{
    PlainRead(state, TGAFile());
}
void BM_TGA_Load(benchmark::State& state)
{
    LoadFile(state, TGAFile(), &ImageLoad::LoadTGA);
}
void BM_DDS_PlainRead(benchmark::State& state)
{
    PlainRead(state, DDSFile());
}
void BM_DDS_Load(benchmark::State& state)
{
    LoadFile(state, DDSFile(),
             [](ByteStreamAdapter& a, const char* name, int* pSourceFormat)
             { return ImageLoad::LoadDDS(a, name, pSourceFormat, 0); });
}

// Megapixels per second are reported as items: one item is one source pixel.
void BM_Rescale_Halve(benchmark::State& state)
{
    auto pSrc = Picture(Side);
    Image_RGBA32 dst;
    dst.Allocate(Side / 2, Side / 2);
    for (auto _ : state)
    {
        Image::Rescale(dst, *pSrc);
        benchmark::DoNotOptimize(dst.GetData(0));
    }
    state.SetItemsProcessed(int64_t(state.iterations()) * Side * Side);
}

void BM_Rescale_Grow(benchmark::State& state)
{
    auto pSrc = Picture(Side);
    Image_RGBA32 dst;
    dst.Allocate(Side * 3 / 2, Side * 3 / 2);
    for (auto _ : state)
    {
        Image::Rescale(dst, *pSrc);
        benchmark::DoNotOptimize(dst.GetData(0));
    }
    state.SetItemsProcessed(int64_t(state.iterations()) * Side * Side);
}

void BM_CreateMipMap(benchmark::State& state)
{
    auto pSrc = Picture(Side);
    for (auto _ : state)
    {
        std::unique_ptr<Image> pMip = CreateMipMap(*pSrc);
        benchmark::DoNotOptimize(pMip.get());
    }
    state.SetItemsProcessed(int64_t(state.iterations()) * Side * Side);
}

void BM_CreateMipMapChain(benchmark::State& state)
{
    auto pSrc = Picture(Side);
    for (auto _ : state)
    {
        pSrc->SetMipCount(1);
        CreateMipMapChain(*pSrc);
        benchmark::DoNotOptimize(pSrc->GetData(1));
    }
    state.SetItemsProcessed(int64_t(state.iterations()) * Side * Side);
}

// DXT encoding of the 2048 by 2048 picture, in megapixels a second (items are pixels). libsquish's
// CompressImage splits its rows over OpenMP threads: run on one thread, it is the single-threaded
// yardstick for ImageDXT on one thread; on every core, for ImageDXT on every core.
void SquishCompressImage(benchmark::State& state, int type, int threads)
{
    auto pSrc = Picture(Side);
    std::vector<uint8> rgba;
    rgba.reserve(size_t(Side) * Side * 4);
    for (uint32 i = 0; i < Side * Side; ++i)
        rgba.insert(rgba.end(), {(*pSrc)[i].r, (*pSrc)[i].g, (*pSrc)[i].b, (*pSrc)[i].a});
    std::vector<uint8> blocks(Image::LevelBytes(type, Side, Side));
    const int before = omp_get_max_threads();
    omp_set_num_threads(threads);
    for (auto _ : state)
    {
        squish::CompressImage(rgba.data(), int(Side), int(Side), blocks.data(), ImageDXT::SquishFlags(type));
        benchmark::DoNotOptimize(blocks.data());
    }
    omp_set_num_threads(before);
    state.SetItemsProcessed(int64_t(state.iterations()) * Side * Side);
}

void DXTEncode(benchmark::State& state, int type, uint32 threads)
{
    auto pSrc = Picture(Side);
    std::vector<uint8> blocks(Image::LevelBytes(type, Side, Side));
    for (auto _ : state)
    {
        ImageDXT::EncodeLevel(type, pSrc->GetPixels(), Side, Side, blocks.data(), threads);
        benchmark::DoNotOptimize(blocks.data());
    }
    state.SetItemsProcessed(int64_t(state.iterations()) * Side * Side);
}
} // namespace

BENCHMARK_CAPTURE(SquishCompressImage, DXT1_OneThread, IMAGETYPE_DXT1, 1)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK_CAPTURE(DXTEncode, DXT1_OneThread, IMAGETYPE_DXT1, 1)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_CAPTURE(SquishCompressImage, DXT1_AllCores, IMAGETYPE_DXT1, omp_get_num_procs())
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK_CAPTURE(DXTEncode, DXT1_AllCores, IMAGETYPE_DXT1, ImageDXT::AutoThreads)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK_CAPTURE(SquishCompressImage, DXT5_OneThread, IMAGETYPE_DXT5, 1)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK_CAPTURE(DXTEncode, DXT5_OneThread, IMAGETYPE_DXT5, 1)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_CAPTURE(SquishCompressImage, DXT5_AllCores, IMAGETYPE_DXT5, omp_get_num_procs())
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK_CAPTURE(DXTEncode, DXT5_AllCores, IMAGETYPE_DXT5, ImageDXT::AutoThreads)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

BENCHMARK(BM_TGA_PlainRead)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_TGA_Load)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_DDS_PlainRead)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_DDS_Load)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Rescale_Halve)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Rescale_Grow)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_CreateMipMap)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_CreateMipMapChain)->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
