// The in-memory picture: a type, a chain of mip levels and, for the paletted type, a palette.
// Image files load into it (imageload.h); conversion, rescaling, mip making and palettizing work on it.
#pragma once

#include "foundation/types.h"
#include "image/colour.h"
#include "inventory/namedresource.h"

#include <memory>
#include <vector>

// Image types. The values are stored in files; 3 and 9 are no types.
enum ImageType : int
{
    IMAGETYPE_RGBA32 = 0,    // Colour: blue, green, red, alpha
    IMAGETYPE_LUMINANCE = 1, // one byte of grey
    IMAGETYPE_PALETTE = 2,   // one byte of index into 256 palette entries
    IMAGETYPE_RGB565 = 4,
    IMAGETYPE_RGBA5551 = 5,
    IMAGETYPE_RGBA4444 = 6,
    IMAGETYPE_RGB888 = 7,  // blue, green, red
    IMAGETYPE_DXT1 = 8,    // blocks of 4 by 4 pixels, 8 bytes each
    IMAGETYPE_DXT3 = 10,   // blocks of 16 bytes
    IMAGETYPE_DXT5 = 11,   // blocks of 16 bytes
    IMAGETYPE_ASFILE = 12, // as a wanted type: keep the type of the file
};

// What a loaded file held, returned beside every load.
enum SourceFormat : int
{
    SOURCEFORMAT_OPAQUE = 0,    // 24-bit, paletted, or JPEG
    SOURCEFORMAT_ALPHA = 1,     // 32-bit with alpha
    SOURCEFORMAT_LUMINANCE = 3, // .bw
    SOURCEFORMAT_DXT1 = 5,
    SOURCEFORMAT_DXT3 = 6,
    SOURCEFORMAT_DXT5 = 7,
    SOURCEFORMAT_OTHER = 8, // not loaded, or converted on loading
};

// An image is a named resource: the inventory can hold it, and it carries the name it was loaded by.
class Image : public Inv::NamedResource
{
public:
    // The largest side Allocate takes.
    static constexpr uint32 MaxSide = 4096;

    // A new empty image of a type; a value that is no type is the fatal "Invalid image type specified".
    static std::unique_ptr<Image> Create(int type);
    static bool IsValidType(int type);
    static bool IsCompressedType(int type)
    {
        return type == IMAGETYPE_DXT1 || type == IMAGETYPE_DXT3 || type == IMAGETYPE_DXT5;
    }

    ~Image() override;

    // Sizes the level tables; an allocated image gets (or loses) the store of the levels past the first.
    virtual void SetMipCount(uint32 count);
    virtual uint32 GetMipCount() const { return uint32(m_cLevelSize.size()); }
    // Sizes level 0 (and the further levels of the mip count) for w by h pixels. The block is
    // kept when the pixel count is the same, or smaller with `reallocSmaller` false.
    virtual bool Allocate(uint32 w, uint32 h, bool reallocSmaller = true) = 0;
    // Copies a rectangle of level 0 from an image of the same type, row by row. A zero width or
    // height means all of the source; a rectangle outside either image returns false.
    virtual bool Blt(const Image& src, uint32 sx, uint32 sy, uint32 dx, uint32 dy, uint32 w, uint32 h);

    // The name for messages: "" when the image has none.
    const char* GetNameText() const { return GetName() != nullptr ? GetName() : ""; }
    int GetImageType() const { return m_imageType; }
    bool IsCompressed() const { return IsCompressedType(m_imageType); }
    uint32 GetWidth() const { return m_width; }
    uint32 GetHeight() const { return m_height; }
    // Sides of a mip level: halved per level, never below 1.
    uint32 GetWidth(uint32 level) const { return LevelSide(m_width, level); }
    uint32 GetHeight(uint32 level) const { return LevelSide(m_height, level); }
    // Bytes of a level, and its store (null while not allocated).
    uint32 GetDataSize(uint32 level = 0) const
    {
        return level < m_cLevelSize.size() ? m_cLevelSize[level] : 0;
    }
    uint8* GetData(uint32 level = 0) { return level < m_cLevel.size() ? m_cLevel[level] : nullptr; }
    const uint8* GetData(uint32 level = 0) const
    {
        return level < m_cLevel.size() ? m_cLevel[level] : nullptr;
    }

    // Bytes of one element (a pixel, or a block of a compressed type) and its size in pixels.
    uint32 GetElementSize() const { return ElementSize(m_imageType); }
    static uint32 ElementSize(int type);
    static uint32 ElementSide(int type) { return IsCompressedType(type) ? 4 : 1; }
    // Bytes of a level of w by h pixels of a type: blocks round up, and a level holds at least one.
    static uint32 LevelBytes(int type, uint32 w, uint32 h);
    // Number of levels from w by h down to 1 by 1.
    static uint32 FullMipCount(uint32 w, uint32 h);
    static uint32 LevelSide(uint32 side, uint32 level)
    {
        return level >= 32 || (side >> level) == 0 ? 1 : side >> level;
    }

    // A new image of `targetType` made from `src`: see imageconvert.cpp for the pairs handled.
    // A pair outside them is the fatal "Conversion not handled"; ask CanConvert first when the
    // types come from outside.
    static std::unique_ptr<Image> Convert(int targetType, const Image& src);
    static bool CanConvert(int targetType, int sourceType);
    // Resamples level 0 of `src` into level 0 of `dst` (both IMAGETYPE_RGBA32, `dst` allocated to
    // the wanted size) with a separable quadratic filter.
    static bool Rescale(Image& dst, const Image& src);

    Image(const Image&) = delete;
    Image& operator=(const Image&) = delete;

protected:
    explicit Image(int type) : m_imageType(type) {}

    // Called when the mip count changes on an allocated image: makes the stores of the levels
    // and sets their pointers and sizes.
    virtual void SizeLevels() = 0;

    int m_imageType;
    uint32 m_width = 0;
    uint32 m_height = 0;
    std::vector<uint32> m_cLevelSize = std::vector<uint32>(1, 0);
    std::vector<uint8*> m_cLevel = std::vector<uint8*>(1, nullptr);
};

// The next smaller level of `src` (2 by 2 pixels into one) as a new image. Width and height must be
// even. Handles IMAGETYPE_RGBA32 and IMAGETYPE_PALETTE (the result shares the palette); other
// types log and give null.
std::unique_ptr<Image> CreateMipMap(const Image& src);
// Builds the whole mip chain of an IMAGETYPE_RGBA32 image in place, down to 1 by 1.
bool CreateMipMapChain(Image& image);
