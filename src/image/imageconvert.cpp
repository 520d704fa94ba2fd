// Image::Convert: a new image of a wanted type from an image of another.
//
// Pairs handled (target <- sources):
//   RGBA32    <- RGBA32, LUMINANCE, PALETTE, RGB565, RGBA5551, RGBA4444, RGB888, DXT1, DXT3, DXT5
//   DXT1, DXT3, DXT5 <- every type: through RGBA32 when the source isn't
//   LUMINANCE <- PALETTE (the index bytes are copied as they are)
//   PALETTE   <- RGBA32 (quantised to 256 colours), PALETTE (copied with its palette), RGB888
//   RGBA4444  <- RGBA32
//   RGB888    <- RGBA32
// Any type converts to itself by a copy. Every other pair is the fatal "Conversion not handled".
// Pixel conversions and block coding (imagedxt.h) run over every level; quantising works on level 0
// and gives one level.
#include "foundation/debug.h"
#include "foundation/output.h"
#include "image/image.h"
#include "image/imagedxt.h"
#include "image/imagepalettize.h"
#include "image/imagetypes.h"

#include <cstring>

namespace
{
// Same type, same levels, the bytes copied.
std::unique_ptr<Image> CopyImage(const Image& src)
{
    std::unique_ptr<Image> pDst = Image::Create(src.GetImageType());
    pDst->SetMipCount(src.GetMipCount());
    if (!pDst->Allocate(src.GetWidth(), src.GetHeight()))
        return nullptr;
    for (uint32 level = 0; level < src.GetMipCount(); ++level)
    {
        if (!dbAssert(pDst->GetDataSize(level) == src.GetDataSize(level)))
            return nullptr;
        std::memcpy(pDst->GetData(level), src.GetData(level), src.GetDataSize(level));
    }
    if (src.GetImageType() == IMAGETYPE_PALETTE)
    {
        std::memcpy(static_cast<Image_Palette&>(*pDst).GetPalette(),
                    static_cast<const Image_Palette&>(src).GetPalette(),
                    sizeof(Colour) * Image_Palette::PaletteSize);
    }
    return pDst;
}

// Every level of `src` (pixels of SrcT) into a new image of DstMap, pixel by pixel through `fn`.
template <class DstMap, class SrcT, class Fn> std::unique_ptr<Image> MapPixels(const Image& src, Fn fn)
{
    auto pDst = std::make_unique<DstMap>();
    pDst->SetMipCount(src.GetMipCount());
    if (!pDst->Allocate(src.GetWidth(), src.GetHeight()))
        return nullptr;
    for (uint32 level = 0; level < src.GetMipCount(); ++level)
    {
        const uint32 count = src.GetWidth(level) * src.GetHeight(level);
        const SrcT* pIn = reinterpret_cast<const SrcT*>(src.GetData(level));
        typename DstMap::Pixel* pOut = pDst->GetPixels(level);
        if (!dbAssert(src.GetDataSize(level) >= count * sizeof(SrcT)))
            return nullptr;
        for (uint32 i = 0; i < count; ++i)
            pOut[i] = fn(pIn[i]);
    }
    return pDst;
}

template <class Packed> std::unique_ptr<Image> WidenToRGBA32(const Image& src)
{
    return MapPixels<Image_RGBA32, Packed>(src, [](const Packed& p) { return p.ToColour(); });
}

std::unique_ptr<Image> ToRGBA32(const Image& src)
{
    switch (src.GetImageType())
    {
    case IMAGETYPE_LUMINANCE:
        return MapPixels<Image_RGBA32, uint8>(src, [](uint8 l) { return Colour(l, l, l, 0xFF); });
    case IMAGETYPE_PALETTE:
    {
        const Colour* pPalette = static_cast<const Image_Palette&>(src).GetPalette();
        return MapPixels<Image_RGBA32, uint8>(src, [pPalette](uint8 i) { return pPalette[i]; });
    }
    case IMAGETYPE_RGB565:
        return WidenToRGBA32<Image_RGB565::Pixel>(src);
    case IMAGETYPE_RGBA5551:
        return WidenToRGBA32<Image_RGBA5551::Pixel>(src);
    case IMAGETYPE_RGBA4444:
        return WidenToRGBA32<Image_RGBA4444::Pixel>(src);
    case IMAGETYPE_RGB888:
        return WidenToRGBA32<Image_RGB888::Pixel>(src);
    case IMAGETYPE_DXT1:
    case IMAGETYPE_DXT3:
    case IMAGETYPE_DXT5:
        return ImageDXT::Decode(src);
    default:
        dbFatal("Conversion not handled");
    }
}

std::unique_ptr<Image> ToCompressed(int targetType, const Image& src)
{
    if (src.GetImageType() == IMAGETYPE_RGBA32)
        return ImageDXT::Encode(targetType, src);
    std::unique_ptr<Image> pWide = ToRGBA32(src);
    return pWide ? ImageDXT::Encode(targetType, *pWide) : nullptr;
}

// Level 0 alone, as the palette is made from it.
std::unique_ptr<Image> Level0AsRGBA32(const Image& src)
{
    auto pTop = std::make_unique<Image_RGB888>();
    if (!pTop->Allocate(src.GetWidth(), src.GetHeight()))
        return nullptr;
    std::memcpy(pTop->GetData(0), src.GetData(0), pTop->GetDataSize(0));
    return ToRGBA32(*pTop);
}
} // namespace

bool Image::CanConvert(int targetType, int sourceType)
{
    if (!IsValidType(targetType) || !IsValidType(sourceType))
        return false;
    if (targetType == sourceType)
        return true;
    switch (targetType)
    {
    case IMAGETYPE_RGBA32:
    case IMAGETYPE_DXT1:
    case IMAGETYPE_DXT3:
    case IMAGETYPE_DXT5:
        return true;
    case IMAGETYPE_LUMINANCE:
        return sourceType == IMAGETYPE_PALETTE;
    case IMAGETYPE_PALETTE:
        return sourceType == IMAGETYPE_RGBA32 || sourceType == IMAGETYPE_RGB888;
    case IMAGETYPE_RGBA4444:
    case IMAGETYPE_RGB888:
        return sourceType == IMAGETYPE_RGBA32;
    default:
        return false;
    }
}

std::unique_ptr<Image> Image::Convert(int targetType, const Image& src)
{
    if (src.GetData(0) == nullptr)
    {
        dbWarningf("Image '%s' has no pixels to convert", src.GetNameText());
        return nullptr;
    }

    std::unique_ptr<Image> pDst;
    if (targetType == src.GetImageType())
    {
        pDst = CopyImage(src);
    }
    else
    {
        switch (targetType)
        {
        case IMAGETYPE_RGBA32:
            pDst = ToRGBA32(src);
            break;
        case IMAGETYPE_LUMINANCE:
            if (src.GetImageType() != IMAGETYPE_PALETTE)
                dbFatal("Conversion not handled");
            pDst = MapPixels<Image_Luminance, uint8>(src, [](uint8 i) { return i; });
            break;
        case IMAGETYPE_PALETTE:
            if (src.GetImageType() == IMAGETYPE_RGBA32)
                pDst = Palettize(src);
            else if (src.GetImageType() == IMAGETYPE_RGB888)
            {
                std::unique_ptr<Image> pWide = Level0AsRGBA32(src);
                if (pWide)
                    pDst = Palettize(*pWide);
            }
            else
                dbFatal("Conversion not handled");
            break;
        case IMAGETYPE_RGBA4444:
            if (src.GetImageType() != IMAGETYPE_RGBA32)
                dbFatal("Conversion not handled");
            pDst = MapPixels<Image_RGBA4444, Colour>(src, [](const Colour& c)
                                                     { return Image_RGBA4444::Pixel::FromColour(c); });
            break;
        case IMAGETYPE_RGB888:
            if (src.GetImageType() != IMAGETYPE_RGBA32)
                dbFatal("Conversion not handled");
            pDst = MapPixels<Image_RGB888, Colour>(src, [](const Colour& c)
                                                   { return Image_RGB888::Pixel::FromColour(c); });
            break;
        case IMAGETYPE_DXT1:
        case IMAGETYPE_DXT3:
        case IMAGETYPE_DXT5:
            pDst = ToCompressed(targetType, src);
            break;
        default:
            dbFatal("Conversion not handled");
        }
    }
    if (pDst)
        pDst->SetName(src.GetName());
    return pDst;
}
