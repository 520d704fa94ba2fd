#include "image/imagedxt.h"

#include "foundation/debug.h"
#include "image/imagetypes.h"

#include <squish.h>

#include <algorithm>
#include <atomic>
#include <system_error>
#include <thread>
#include <vector>

namespace
{
constexpr uint32 BlockSide = 4;
constexpr uint32 BlockPixels = BlockSide * BlockSide;
// Block rows handed to a thread at a time: small enough that the threads finish together when
// some rows (flat colour) encode much faster than others.
constexpr uint32 BandRows = 4;

uint32 ThreadsFor(uint32 blocks, uint32 threads)
{
    if (threads != ImageDXT::AutoThreads)
        return threads;
    const uint32 cores = std::max(1u, std::thread::hardware_concurrency());
    return std::clamp(blocks / ImageDXT::MinBlocksPerThread, 1u, cores);
}

// Runs fn(firstRow, endRow) over every band of `blockRows` rows of blocks, on the calling thread
// and `threads` - 1 more, each taking the next band until none is left. Bands write disjoint
// blocks, so the order in which they run doesn't show in the result.
template <class Fn> void ForEachBand(uint32 blockRows, uint32 threads, const Fn& fn)
{
    const uint32 bands = (blockRows + BandRows - 1) / BandRows;
    threads = std::min(threads, bands);
    if (threads <= 1)
    {
        fn(0u, blockRows);
        return;
    }
    std::atomic<uint32> next{0};
    auto work = [&]
    {
        for (uint32 band = next.fetch_add(1); band < bands; band = next.fetch_add(1))
            fn(band * BandRows, std::min(blockRows, (band + 1) * BandRows));
    };
    std::vector<std::thread> cThread;
    cThread.reserve(threads - 1);
    try
    {
        for (uint32 i = 1; i < threads; ++i)
            cThread.emplace_back(work);
    }
    catch (const std::system_error&)
    {
        // Fewer threads than asked for: the ones there are (and this one) take every band.
    }
    work();
    for (std::thread& thread : cThread)
        thread.join();
}

// Calls fn(bx, by, byte offset of the block) for every block of a level of w by h pixels of a
// compressed type, row of blocks after row of blocks.
template <class Fn> void ForEachBlock(int type, uint32 w, uint32 h, uint32 threads, const Fn& fn)
{
    const uint32 blocksWide = Image_DXT1::BlocksFor(w, BlockSide);
    const uint32 blocksHigh = Image_DXT1::BlocksFor(h, BlockSide);
    const size_t blockBytes = Image::ElementSize(type);
    ForEachBand(blocksHigh, ThreadsFor(blocksWide * blocksHigh, threads),
                [&](uint32 firstRow, uint32 endRow)
                {
                    for (uint32 by = firstRow; by < endRow; ++by)
                        for (uint32 bx = 0; bx < blocksWide; ++bx)
                            fn(bx, by, (size_t(by) * blocksWide + bx) * blockBytes);
                });
}

// Calls fn(place in the block, place in the level) for each pixel of block (bx, by) that lies
// inside a level of w by h pixels.
template <class Fn> void ForEachPixelOfBlock(uint32 w, uint32 h, uint32 bx, uint32 by, const Fn& fn)
{
    for (uint32 py = 0; py < BlockSide && by * BlockSide + py < h; ++py)
        for (uint32 px = 0; px < BlockSide && bx * BlockSide + px < w; ++px)
            fn(py * BlockSide + px, size_t(by * BlockSide + py) * w + bx * BlockSide + px);
}

void EncodeBlock(const Colour* pPixels, uint32 w, uint32 h, uint32 bx, uint32 by, int flags, uint8* pOut)
{
    // Pixels past the edge of the level are left out of the mask: libsquish fits the block to the
    // others alone.
    squish::u8 rgba[BlockPixels * 4] = {};
    int mask = 0;
    ForEachPixelOfBlock(w, h, bx, by,
                        [&](uint32 i, size_t n)
                        {
                            const Colour& c = pPixels[n];
                            rgba[i * 4 + 0] = c.r;
                            rgba[i * 4 + 1] = c.g;
                            rgba[i * 4 + 2] = c.b;
                            rgba[i * 4 + 3] = c.a;
                            mask |= 1 << i;
                        });
    squish::CompressMasked(rgba, mask, pOut, flags);
}

void DecodeBlock(const uint8* pBlock, uint32 w, uint32 h, uint32 bx, uint32 by, int flags, Colour* pPixels)
{
    squish::u8 rgba[BlockPixels * 4];
    squish::Decompress(rgba, pBlock, flags);
    ForEachPixelOfBlock(w, h, bx, by,
                        [&](uint32 i, size_t n) {
                            pPixels[n] =
                                Colour(rgba[i * 4 + 0], rgba[i * 4 + 1], rgba[i * 4 + 2], rgba[i * 4 + 3]);
                        });
}
} // namespace

int ImageDXT::SquishFlags(int type)
{
    switch (type)
    {
    case IMAGETYPE_DXT1:
        return squish::kDxt1;
    case IMAGETYPE_DXT3:
        return squish::kDxt3;
    case IMAGETYPE_DXT5:
        return squish::kDxt5;
    default:
        return 0;
    }
}

void ImageDXT::EncodeLevel(int type, const Colour* pPixels, uint32 w, uint32 h, uint8* pBlocks,
                           uint32 threads)
{
    const int flags = SquishFlags(type);
    if (dbAssert(flags != 0) && dbAssert(w > 0 && h > 0))
        ForEachBlock(type, w, h, threads,
                     [&](uint32 bx, uint32 by, size_t offset)
                     { EncodeBlock(pPixels, w, h, bx, by, flags, pBlocks + offset); });
}

void ImageDXT::DecodeLevel(int type, const uint8* pBlocks, uint32 w, uint32 h, Colour* pPixels,
                           uint32 threads)
{
    const int flags = SquishFlags(type);
    if (dbAssert(flags != 0) && dbAssert(w > 0 && h > 0))
        ForEachBlock(type, w, h, threads,
                     [&](uint32 bx, uint32 by, size_t offset)
                     { DecodeBlock(pBlocks + offset, w, h, bx, by, flags, pPixels); });
}

std::unique_ptr<Image> ImageDXT::Encode(int type, const Image& src, uint32 threads)
{
    if (!dbAssert(Image::IsCompressedType(type)) || !dbAssert(src.GetImageType() == IMAGETYPE_RGBA32))
        return nullptr;
    std::unique_ptr<Image> pDst = Image::Create(type);
    pDst->SetMipCount(src.GetMipCount());
    if (!pDst->Allocate(src.GetWidth(), src.GetHeight()))
        return nullptr;
    for (uint32 level = 0; level < src.GetMipCount(); ++level)
    {
        const uint32 w = src.GetWidth(level);
        const uint32 h = src.GetHeight(level);
        if (!dbAssert(src.GetDataSize(level) >= w * h * sizeof(Colour)) ||
            !dbAssert(pDst->GetDataSize(level) == Image::LevelBytes(type, w, h)))
            return nullptr;
        EncodeLevel(type, reinterpret_cast<const Colour*>(src.GetData(level)), w, h, pDst->GetData(level),
                    threads);
    }
    return pDst;
}

std::unique_ptr<Image> ImageDXT::Decode(const Image& src, uint32 threads)
{
    if (!dbAssert(src.IsCompressed()))
        return nullptr;
    auto pDst = std::make_unique<Image_RGBA32>();
    pDst->SetMipCount(src.GetMipCount());
    if (!pDst->Allocate(src.GetWidth(), src.GetHeight()))
        return nullptr;
    for (uint32 level = 0; level < src.GetMipCount(); ++level)
    {
        const uint32 w = src.GetWidth(level);
        const uint32 h = src.GetHeight(level);
        if (!dbAssert(src.GetDataSize(level) >= Image::LevelBytes(src.GetImageType(), w, h)))
            return nullptr;
        DecodeLevel(src.GetImageType(), src.GetData(level), w, h, pDst->GetPixels(level), threads);
    }
    return pDst;
}
