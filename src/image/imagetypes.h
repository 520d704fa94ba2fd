// The concrete image classes, one per image type: pixel maps of a pixel layout, the paletted map,
// and chunk maps of S3TC blocks. Image::Create makes them by type value.
#pragma once

#include "foundation/debug.h"
#include "image/image.h"

#include <array>
#include <memory>
#include <vector>

// A map of pixels of layout T. Level 0 lives in the block; further levels have stores of their own.
template <class T, int TYPE> class Image_Pixelmap : public Image
{
public:
    using Pixel = T;
    static constexpr int Type = TYPE;

    Image_Pixelmap() : Image(TYPE) {}

    bool Allocate(uint32 w, uint32 h, bool reallocSmaller = true) override
    {
        if (!dbAssert(w <= 4096) || !dbAssert(h <= 4096) || !dbAssert(w > 0 && h > 0))
            return false;
        const uint32 count = w * h;
        const bool keep = m_pBlock && (count == m_pixelCount || (count < m_pixelCount && !reallocSmaller));
        if (!keep)
        {
            m_pBlock.reset(new T[count]());
            m_pixelCount = count;
        }
        m_width = w;
        m_height = h;
        SizeLevels();
        return true;
    }

    // Pixels of level 0, row after row.
    T& operator[](uint32 n)
    {
        dbAssert(n < m_pixelCount);
        return m_pBlock[n < m_pixelCount ? n : 0];
    }
    const T& operator[](uint32 n) const
    {
        dbAssert(n < m_pixelCount);
        return m_pBlock[n < m_pixelCount ? n : 0];
    }
    T* GetPixels(uint32 level = 0) { return reinterpret_cast<T*>(GetData(level)); }
    const T* GetPixels(uint32 level = 0) const { return reinterpret_cast<const T*>(GetData(level)); }
    uint32 GetPixelCount() const { return m_pixelCount; }

protected:
    void SizeLevels() override
    {
        if (!m_pBlock)
            return;
        const uint32 mips = GetMipCount();
        m_cMipBlock.resize(mips - 1);
        m_cLevel[0] = reinterpret_cast<uint8*>(m_pBlock.get());
        m_cLevelSize[0] = m_width * m_height * uint32(sizeof(T));
        for (uint32 i = 1; i < mips; ++i)
        {
            const uint32 count = GetWidth(i) * GetHeight(i);
            std::unique_ptr<T[]>& store = m_cMipBlock[i - 1];
            if (!store || m_cLevelSize[i] != count * sizeof(T))
                store.reset(new T[count]());
            m_cLevel[i] = reinterpret_cast<uint8*>(store.get());
            m_cLevelSize[i] = count * uint32(sizeof(T));
        }
    }

private:
    std::unique_ptr<T[]> m_pBlock;
    uint32 m_pixelCount = 0;
    std::vector<std::unique_ptr<T[]>> m_cMipBlock;
};

using Image_RGBA32 = Image_Pixelmap<Colour, IMAGETYPE_RGBA32>;
using Image_Luminance = Image_Pixelmap<unsigned char, IMAGETYPE_LUMINANCE>;
using Image_RGB565 = Image_Pixelmap<Colour_RGBA16<5, 6, 5, 0>, IMAGETYPE_RGB565>;
using Image_RGBA5551 = Image_Pixelmap<Colour_RGBA16<5, 5, 5, 1>, IMAGETYPE_RGBA5551>;
using Image_RGBA4444 = Image_Pixelmap<Colour_RGBA16<4, 4, 4, 4>, IMAGETYPE_RGBA4444>;
using Image_RGB888 = Image_Pixelmap<Colour_RGB888, IMAGETYPE_RGB888>;

// Index bytes into a palette of 256 colours. Entries that nothing set stay zero.
class Image_Palette : public Image_Pixelmap<unsigned char, IMAGETYPE_PALETTE>
{
public:
    static constexpr uint32 PaletteSize = 256;

    Colour* GetPalette() { return m_palette.data(); }
    const Colour* GetPalette() const { return m_palette.data(); }
    Colour& PaletteEntry(uint32 i)
    {
        dbAssert(i < PaletteSize);
        return m_palette[i < PaletteSize ? i : 0];
    }
    const Colour& PaletteEntry(uint32 i) const
    {
        dbAssert(i < PaletteSize);
        return m_palette[i < PaletteSize ? i : 0];
    }

private:
    std::array<Colour, PaletteSize> m_palette{};
};

// A map of blocks of BW by BH pixels, each level a vector of blocks of its own.
template <class CHUNK, int TYPE, int BW, int BH> class Image_Chunkmap : public Image
{
public:
    using Chunk = CHUNK;
    static constexpr int Type = TYPE;

    Image_Chunkmap() : Image(TYPE) {}

    bool Allocate(uint32 w, uint32 h, bool reallocSmaller = true) override
    {
        if (!dbAssert(w <= 4096) || !dbAssert(h <= 4096) || !dbAssert(w > 0 && h > 0))
            return false;
        m_width = w;
        m_height = h;
        m_blocksWide = BlocksFor(w, BW);
        m_blocksHigh = BlocksFor(h, BH);
        m_allocated = true;
        SizeLevels();
        return true;
    }

    // Top level's size in blocks.
    uint32 GetBlocksWide() const { return m_blocksWide; }
    uint32 GetBlocksHigh() const { return m_blocksHigh; }
    // A side of `side` pixels takes this many blocks: rounded up, at least one.
    static uint32 BlocksFor(uint32 side, uint32 blockSide)
    {
        return side < blockSide ? 1 : (side + blockSide - 1) / blockSide;
    }

protected:
    void SizeLevels() override
    {
        if (!m_allocated)
            return;
        const uint32 mips = GetMipCount();
        m_cLevelBlocks.resize(mips);
        for (uint32 i = 0; i < mips; ++i)
        {
            const uint32 count = BlocksFor(GetWidth(i), BW) * BlocksFor(GetHeight(i), BH);
            m_cLevelBlocks[i].resize(count);
            m_cLevel[i] = reinterpret_cast<uint8*>(m_cLevelBlocks[i].data());
            m_cLevelSize[i] = count * uint32(sizeof(CHUNK));
        }
    }

private:
    std::vector<std::vector<CHUNK>> m_cLevelBlocks;
    uint32 m_blocksWide = 0;
    uint32 m_blocksHigh = 0;
    bool m_allocated = false;
};

using Image_DXT1 = Image_Chunkmap<Chunk_S3TC_64, IMAGETYPE_DXT1, 4, 4>;
using Image_DXT3 = Image_Chunkmap<Chunk_S3TC_128, IMAGETYPE_DXT3, 4, 4>;
using Image_DXT5 = Image_Chunkmap<Chunk_S3TC_128, IMAGETYPE_DXT5, 4, 4>;
