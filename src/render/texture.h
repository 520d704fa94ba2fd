// Render textures: a picture with its mip levels as the device holds it. The null device's
// texture keeps every level in plain memory, so that tools can fill it and read it back.
#pragma once

#include "render/core.h"

#include <span>
#include <vector>

namespace fr
{
// Pixel formats of the render layer. Those with alpha are 1, 2, 5, 6 and 7; of them 2 and 5
// carry one bit of it, which an alpha test can stand for.
enum PixelFormat : uint32
{
    PF_R8G8B8 = 0,   // bytes blue, green, red
    PF_A8R8G8B8 = 1, // bytes blue, green, red, alpha
    PF_A1R5G5B5 = 2,
    PF_R5G6B5 = 3,
    PF_L8 = 4,
    PF_DXT1 = 5,
    PF_DXT3 = 6,
    PF_DXT5 = 7,
    PF_Count
};

bool IsCompressed(PixelFormat format);
// Bits of one pixel; 4 for DXT1, 8 for DXT3 and DXT5.
uint32 GetBitsPerPixel(PixelFormat format);
// Number of levels of a full chain down to 1 by 1.
uint32 GetFullMipCount(uint32 width, uint32 height);

class Texture : public Object
{
public:
    uint32 GetWidth() const { return uint32(m_Width); }
    uint32 GetHeight() const { return uint32(m_Height); }
    uint32 GetMipCount() const { return uint32(m_nMipLevel) + 1; }
    PixelFormat GetFormat() const { return m_Format; }
    // Sides of a level, never below 1.
    uint32 GetLevelWidth(uint32 mipLevel) const;
    uint32 GetLevelHeight(uint32 mipLevel) const;
    // Bytes of one row of a level: of pixels, or of 4 by 4 blocks for the compressed formats.
    uint32 GetLevelPitch(uint32 mipLevel) const;
    // Rows of a level: of pixels, or of blocks.
    uint32 GetLevelRows(uint32 mipLevel) const;

    // Copies a rectangle of pixels into a level. `data` holds the rectangle's rows `pitch` bytes
    // apart. For the compressed formats the rectangle is in pixels and is written in whole blocks.
    virtual bool Write(uint32 mipLevel, uint32 x_offset, uint32 y_offset, uint32 width, uint32 height,
                       std::span<const uint8> data, uint32 pitch) = 0;
    // The reverse of Write.
    virtual bool Read(uint32 mipLevel, uint32 x_offset, uint32 y_offset, uint32 width, uint32 height,
                      std::span<uint8> out, uint32 pitch) const = 0;
    // A texture made with automatic mips rebuilds the levels below the top when the top is
    // written.
    bool IsAutoMip() const { return m_autoMip; }

protected:
    Texture(uint32 width, uint32 height, uint32 mipCount, PixelFormat format, bool autoMip);

    unsigned long m_Width;
    unsigned long m_Height;
    // Index of the smallest level: the count of levels less one.
    unsigned long m_nMipLevel;
    PixelFormat m_Format;
    bool m_autoMip;
};

class NullTexture final : public Texture
{
public:
    NullTexture(uint32 width, uint32 height, uint32 mipCount, PixelFormat format, bool autoMip);

    bool Write(uint32 mipLevel, uint32 x_offset, uint32 y_offset, uint32 width, uint32 height,
               std::span<const uint8> data, uint32 pitch) override;
    bool Read(uint32 mipLevel, uint32 x_offset, uint32 y_offset, uint32 width, uint32 height,
              std::span<uint8> out, uint32 pitch) const override;
    // The bytes of a level, rows GetLevelPitch apart.
    std::span<const uint8> GetLevel(uint32 mipLevel) const;

private:
    // Checks the rectangle against the level; gives its place in rows and bytes.
    bool CheckRect(uint32 mipLevel, uint32 x_offset, uint32 y_offset, uint32 width, uint32 height,
                   uint32& rowBytes, uint32& rows, std::size_t& firstByte) const;
    void BuildMips();

    std::vector<std::vector<uint8>> m_cLevel;
};
} // namespace fr
