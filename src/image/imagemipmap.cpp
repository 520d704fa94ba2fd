// Mip making: the next smaller level of an image, 2 by 2 pixels into one, and the whole chain of a
// 32-bit image.
#include "foundation/debug.h"
#include "foundation/output.h"
#include "image/image.h"
#include "image/imagetypes.h"

#include <cstring>

namespace
{
// Per-channel mean of four colours, truncated.
Colour Mean(const Colour& c0, const Colour& c1, const Colour& c2, const Colour& c3)
{
    return Colour(uint8((c0.r + c1.r + c2.r + c3.r) / 4), uint8((c0.g + c1.g + c2.g + c3.g) / 4),
                  uint8((c0.b + c1.b + c2.b + c3.b) / 4), uint8((c0.a + c1.a + c2.a + c3.a) / 4));
}

// The palette entry nearest to `c` by the sum of squared differences over all four channels; the
// first wins a tie.
uint8 Nearest(const Colour* pPalette, const Colour& c)
{
    uint32 best = 1000000;
    uint8 index = 0;
    for (uint32 i = 0; i < Image_Palette::PaletteSize; ++i)
    {
        uint32 d = 0;
        for (int ch = 0; ch < 4; ++ch)
        {
            const int diff = int(pPalette[i].Channel(ch)) - int(c.Channel(ch));
            d += uint32(diff * diff);
        }
        if (d < best)
        {
            best = d;
            index = uint8(i);
        }
    }
    return index;
}

// One level from the one above it (w by h), each side halved with a floor of 1; where a side is
// already 1 the same pixel is taken twice.
void Downsample(const Colour* pSrc, uint32 w, uint32 h, Colour* pDst)
{
    const uint32 dw = w > 1 ? w / 2 : 1;
    const uint32 dh = h > 1 ? h / 2 : 1;
    for (uint32 y = 0; y < dh; ++y)
    {
        const uint32 y0 = y * 2;
        const uint32 y1 = h > 1 ? y0 + 1 : y0;
        for (uint32 x = 0; x < dw; ++x)
        {
            const uint32 x0 = x * 2;
            const uint32 x1 = w > 1 ? x0 + 1 : x0;
            pDst[size_t(y) * dw + x] = Mean(pSrc[size_t(y0) * w + x0], pSrc[size_t(y0) * w + x1],
                                            pSrc[size_t(y1) * w + x0], pSrc[size_t(y1) * w + x1]);
        }
    }
}
} // namespace

std::unique_ptr<Image> CreateMipMap(const Image& src)
{
    const uint32 w = src.GetWidth();
    const uint32 h = src.GetHeight();
    if ((w & 1) != 0 || (h & 1) != 0 || w == 0 || h == 0)
        dbFatal("CreateMipMap only handles images with even width & height");
    if (!dbAssert(src.GetData(0) != nullptr))
        return nullptr;

    if (src.GetImageType() == IMAGETYPE_RGBA32)
    {
        auto pDst = std::make_unique<Image_RGBA32>();
        if (!pDst->Allocate(w / 2, h / 2))
            return nullptr;
        Downsample(static_cast<const Image_RGBA32&>(src).GetPixels(), w, h, pDst->GetPixels());
        pDst->SetName(src.GetName());
        return pDst;
    }
    if (src.GetImageType() == IMAGETYPE_PALETTE)
    {
        const auto& palSrc = static_cast<const Image_Palette&>(src);
        auto pDst = std::make_unique<Image_Palette>();
        if (!pDst->Allocate(w / 2, h / 2))
            return nullptr;
        std::memcpy(pDst->GetPalette(), palSrc.GetPalette(), sizeof(Colour) * Image_Palette::PaletteSize);
        const Colour* pPalette = palSrc.GetPalette();
        const uint8* pIn = palSrc.GetPixels();
        uint8* pOut = pDst->GetPixels();
        const uint32 dw = w / 2;
        for (uint32 y = 0; y < h / 2; ++y)
        {
            const uint8* pRow0 = pIn + size_t(y) * 2 * w;
            const uint8* pRow1 = pRow0 + w;
            for (uint32 x = 0; x < dw; ++x)
            {
                const Colour mean = Mean(pPalette[pRow0[2 * x]], pPalette[pRow0[2 * x + 1]],
                                         pPalette[pRow1[2 * x]], pPalette[pRow1[2 * x + 1]]);
                pOut[size_t(y) * dw + x] = Nearest(pPalette, mean);
            }
        }
        pDst->SetName(src.GetName());
        return pDst;
    }
    dbWarningf("CreateMipMap: Unsupported image type (only supports 32bit or paletted textures)");
    return nullptr;
}

bool CreateMipMapChain(Image& image)
{
    if (image.GetImageType() != IMAGETYPE_RGBA32)
    {
        dbWarningf("CreateMipMap only handles IMAGETYPE_RGBA32");
        return false;
    }
    if (!dbAssert(image.GetData(0) != nullptr))
        return false;
    image.SetMipCount(Image::FullMipCount(image.GetWidth(), image.GetHeight()));
    for (uint32 level = 1; level < image.GetMipCount(); ++level)
    {
        Downsample(reinterpret_cast<const Colour*>(image.GetData(level - 1)), image.GetWidth(level - 1),
                   image.GetHeight(level - 1), reinterpret_cast<Colour*>(image.GetData(level)));
    }
    return true;
}
