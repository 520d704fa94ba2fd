#include "image/image.h"

#include "foundation/debug.h"
#include "foundation/output.h"
#include "image/imagetypes.h"

#include <cstring>

Image::~Image() = default;

bool Image::IsValidType(int type)
{
    switch (type)
    {
    case IMAGETYPE_RGBA32:
    case IMAGETYPE_LUMINANCE:
    case IMAGETYPE_PALETTE:
    case IMAGETYPE_RGB565:
    case IMAGETYPE_RGBA5551:
    case IMAGETYPE_RGBA4444:
    case IMAGETYPE_RGB888:
    case IMAGETYPE_DXT1:
    case IMAGETYPE_DXT3:
    case IMAGETYPE_DXT5:
        return true;
    default:
        return false;
    }
}

std::unique_ptr<Image> Image::Create(int type)
{
    switch (type)
    {
    case IMAGETYPE_RGBA32:
        return std::make_unique<Image_RGBA32>();
    case IMAGETYPE_LUMINANCE:
        return std::make_unique<Image_Luminance>();
    case IMAGETYPE_PALETTE:
        return std::make_unique<Image_Palette>();
    case IMAGETYPE_RGB565:
        return std::make_unique<Image_RGB565>();
    case IMAGETYPE_RGBA5551:
        return std::make_unique<Image_RGBA5551>();
    case IMAGETYPE_RGBA4444:
        return std::make_unique<Image_RGBA4444>();
    case IMAGETYPE_RGB888:
        return std::make_unique<Image_RGB888>();
    case IMAGETYPE_DXT1:
        return std::make_unique<Image_DXT1>();
    case IMAGETYPE_DXT3:
        return std::make_unique<Image_DXT3>();
    case IMAGETYPE_DXT5:
        return std::make_unique<Image_DXT5>();
    default:
        dbFatal("Invalid image type specified");
    }
}

uint32 Image::ElementSize(int type)
{
    switch (type)
    {
    case IMAGETYPE_RGBA32:
        return 4;
    case IMAGETYPE_LUMINANCE:
    case IMAGETYPE_PALETTE:
        return 1;
    case IMAGETYPE_RGB565:
    case IMAGETYPE_RGBA5551:
    case IMAGETYPE_RGBA4444:
        return 2;
    case IMAGETYPE_RGB888:
        return 3;
    case IMAGETYPE_DXT1:
        return 8;
    case IMAGETYPE_DXT3:
    case IMAGETYPE_DXT5:
        return 16;
    default:
        return 0;
    }
}

uint32 Image::LevelBytes(int type, uint32 w, uint32 h)
{
    const uint32 side = ElementSide(type);
    const uint32 across = w < side ? 1 : (w + side - 1) / side;
    const uint32 down = h < side ? 1 : (h + side - 1) / side;
    return across * down * ElementSize(type);
}

uint32 Image::FullMipCount(uint32 w, uint32 h)
{
    uint32 count = 1;
    while (w > 1 || h > 1)
    {
        w = w > 1 ? w >> 1 : 1;
        h = h > 1 ? h >> 1 : 1;
        ++count;
    }
    return count;
}

void Image::SetMipCount(uint32 count)
{
    if (!dbAssert(count > 0 && count <= 32))
        return;
    m_cLevelSize.resize(count, 0);
    m_cLevel.resize(count, nullptr);
    SizeLevels();
}

bool Image::Blt(const Image& src, uint32 sx, uint32 sy, uint32 dx, uint32 dy, uint32 w, uint32 h)
{
    if (src.m_imageType != m_imageType)
    {
        dbWarningf("Can only Blt images of same type");
        dbAssert(src.m_imageType == m_imageType);
        return false;
    }
    if (w == 0 || h == 0)
    {
        w = src.m_width;
        h = src.m_height;
    }
    // Each test subtracts from a side already known to be at least the offset, so nothing wraps.
    if (sx > src.m_width || w > src.m_width - sx || sy > src.m_height || h > src.m_height - sy)
        return false;
    if (dx > m_width || w > m_width - dx || dy > m_height || h > m_height - dy)
        return false;
    const uint8* pSrc = src.GetData(0);
    uint8* pDst = GetData(0);
    if (pSrc == nullptr || pDst == nullptr)
        return false;

    // Compressed types move whole blocks: the rectangle must sit on block boundaries, except
    // that it may end at the edge of an image that is not a whole number of blocks.
    const uint32 side = ElementSide(m_imageType);
    auto onGrid =
        [side](uint32 offset, uint32 length, uint32 srcSide, uint32 dstSide, uint32 srcOff, uint32 dstOff)
    {
        if (offset % side != 0)
            return false;
        return length % side == 0 || (srcOff + length == srcSide && dstOff + length == dstSide);
    };
    if (side > 1 &&
        (!onGrid(sx, w, src.m_width, m_width, sx, dx) || !onGrid(dx, w, src.m_width, m_width, sx, dx) ||
         !onGrid(sy, h, src.m_height, m_height, sy, dy) || !onGrid(dy, h, src.m_height, m_height, sy, dy)))
        return false;

    const uint32 element = ElementSize(m_imageType);
    const uint32 srcPitch = (src.m_width < side ? 1 : (src.m_width + side - 1) / side) * element;
    const uint32 dstPitch = (m_width < side ? 1 : (m_width + side - 1) / side) * element;
    const uint32 rowBytes = (w < side ? 1 : (w + side - 1) / side) * element;
    const uint32 rows = h < side ? 1 : (h + side - 1) / side;
    for (uint32 row = 0; row < rows; ++row)
    {
        std::memmove(pDst + size_t(dy / side + row) * dstPitch + size_t(dx / side) * element,
                     pSrc + size_t(sy / side + row) * srcPitch + size_t(sx / side) * element, rowBytes);
    }
    return true;
}
