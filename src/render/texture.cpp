#include "render/texture.h"

#include "foundation/debug.h"

#include <algorithm>
#include <cstring>

namespace fr
{
namespace
{
uint32 BlockBytes(PixelFormat format)
{
    return format == PF_DXT1 ? 8 : 16;
}

// Channels of a 16-bit pixel: (shift, bits) for each, and the count.
struct Layout16
{
    uint32 count;
    uint32 shift[4];
    uint32 bits[4];
};
constexpr Layout16 s_layout565 = {3, {11, 5, 0, 0}, {5, 6, 5, 0}};
constexpr Layout16 s_layout1555 = {4, {15, 10, 5, 0}, {1, 5, 5, 5}};

uint16 Average16(const uint16 (&p)[4], const Layout16& layout)
{
    uint32 out = 0;
    for (uint32 c = 0; c < layout.count; ++c)
    {
        const uint32 mask = (1u << layout.bits[c]) - 1;
        uint32 sum = 0;
        for (uint16 v : p)
            sum += (v >> layout.shift[c]) & mask;
        out |= (sum / 4) << layout.shift[c];
    }
    return uint16(out);
}
} // namespace

bool IsCompressed(PixelFormat format)
{
    return format == PF_DXT1 || format == PF_DXT3 || format == PF_DXT5;
}

uint32 GetBitsPerPixel(PixelFormat format)
{
    switch (format)
    {
    case PF_R8G8B8:
        return 24;
    case PF_A8R8G8B8:
        return 32;
    case PF_A1R5G5B5:
    case PF_R5G6B5:
        return 16;
    case PF_L8:
        return 8;
    case PF_DXT1:
        return 4;
    case PF_DXT3:
    case PF_DXT5:
        return 8;
    default:
        return 0;
    }
}

uint32 GetFullMipCount(uint32 width, uint32 height)
{
    uint32 count = 1;
    for (uint32 side = std::max(width, height); side > 1; side >>= 1)
        ++count;
    return count;
}

Texture::Texture(uint32 width, uint32 height, uint32 mipCount, PixelFormat format, bool autoMip)
    : m_Width(width), m_Height(height), m_nMipLevel(mipCount > 0 ? mipCount - 1 : 0), m_Format(format),
      m_autoMip(autoMip)
{
}

uint32 Texture::GetLevelWidth(uint32 mipLevel) const
{
    return mipLevel < 32 ? uint32(std::max(1ul, m_Width >> mipLevel)) : 1;
}

uint32 Texture::GetLevelHeight(uint32 mipLevel) const
{
    return mipLevel < 32 ? uint32(std::max(1ul, m_Height >> mipLevel)) : 1;
}

uint32 Texture::GetLevelPitch(uint32 mipLevel) const
{
    const uint32 w = GetLevelWidth(mipLevel);
    if (IsCompressed(m_Format))
        return ((w + 3) / 4) * BlockBytes(m_Format);
    return w * (GetBitsPerPixel(m_Format) / 8);
}

uint32 Texture::GetLevelRows(uint32 mipLevel) const
{
    const uint32 h = GetLevelHeight(mipLevel);
    return IsCompressed(m_Format) ? (h + 3) / 4 : h;
}

NullTexture::NullTexture(uint32 width, uint32 height, uint32 mipCount, PixelFormat format, bool autoMip)
    : Texture(width, height, mipCount, format, autoMip)
{
    m_cLevel.resize(GetMipCount());
    for (uint32 i = 0; i < GetMipCount(); ++i)
        m_cLevel[i].assign(std::size_t(GetLevelPitch(i)) * GetLevelRows(i), 0);
}

std::span<const uint8> NullTexture::GetLevel(uint32 mipLevel) const
{
    if (!dbAssert(mipLevel <= m_nMipLevel))
        return {};
    return m_cLevel[mipLevel];
}

bool NullTexture::CheckRect(uint32 mipLevel, uint32 xOffset, uint32 yOffset, uint32 width, uint32 height,
                            uint32& rowBytes, uint32& rows, std::size_t& firstByte) const
{
    const unsigned long mip_level = mipLevel, x_offset = xOffset, y_offset = yOffset;
    if (!dbAssert(mip_level <= m_nMipLevel) ||
        !dbAssert((x_offset + width) <= std::max(1ul, m_Width >> mip_level)) ||
        !dbAssert((y_offset + height) <= std::max(1ul, m_Height >> mip_level)))
        return false;
    const uint32 pitch = GetLevelPitch(mipLevel);
    if (IsCompressed(m_Format))
    {
        // Compressed levels are written in whole 4 by 4 blocks.
        if (!dbAssert((x_offset % 4) == 0 && (y_offset % 4) == 0))
            return false;
        rowBytes = ((width + 3) / 4) * BlockBytes(m_Format);
        rows = (height + 3) / 4;
        firstByte = std::size_t(y_offset / 4) * pitch + (x_offset / 4) * BlockBytes(m_Format);
    }
    else
    {
        const uint32 bytes = GetBitsPerPixel(m_Format) / 8;
        rowBytes = width * bytes;
        rows = height;
        firstByte = std::size_t(y_offset) * pitch + x_offset * bytes;
    }
    return true;
}

bool NullTexture::Write(uint32 mipLevel, uint32 x_offset, uint32 y_offset, uint32 width, uint32 height,
                        std::span<const uint8> data, uint32 pitch)
{
    uint32 rowBytes = 0, rows = 0;
    std::size_t first = 0;
    if (!CheckRect(mipLevel, x_offset, y_offset, width, height, rowBytes, rows, first))
        return false;
    if (rows == 0 || rowBytes == 0)
        return true;
    if (!dbAssert(pitch >= rowBytes && data.size() >= std::size_t(rows - 1) * pitch + rowBytes))
        return false;
    std::vector<uint8>& level = m_cLevel[mipLevel];
    const uint32 levelPitch = GetLevelPitch(mipLevel);
    for (uint32 r = 0; r < rows; ++r)
        std::memcpy(level.data() + first + std::size_t(r) * levelPitch, data.data() + std::size_t(r) * pitch,
                    rowBytes);
    if (mipLevel == 0 && m_autoMip)
        BuildMips();
    return true;
}

bool NullTexture::Read(uint32 mipLevel, uint32 x_offset, uint32 y_offset, uint32 width, uint32 height,
                       std::span<uint8> out, uint32 pitch) const
{
    uint32 rowBytes = 0, rows = 0;
    std::size_t first = 0;
    if (!CheckRect(mipLevel, x_offset, y_offset, width, height, rowBytes, rows, first))
        return false;
    if (rows == 0 || rowBytes == 0)
        return true;
    if (!dbAssert(pitch >= rowBytes && out.size() >= std::size_t(rows - 1) * pitch + rowBytes))
        return false;
    const std::vector<uint8>& level = m_cLevel[mipLevel];
    const uint32 levelPitch = GetLevelPitch(mipLevel);
    for (uint32 r = 0; r < rows; ++r)
        std::memcpy(out.data() + std::size_t(r) * pitch, level.data() + first + std::size_t(r) * levelPitch,
                    rowBytes);
    return true;
}

// Each level is the truncated mean of 2 by 2 pixels of the one above; a side of 1 repeats its
// pixel. Compressed textures carry their own levels and are left as they are.
void NullTexture::BuildMips()
{
    if (IsCompressed(m_Format))
        return;
    const uint32 bytes = GetBitsPerPixel(m_Format) / 8;
    for (uint32 level = 1; level < GetMipCount(); ++level)
    {
        const std::vector<uint8>& src = m_cLevel[level - 1];
        std::vector<uint8>& dst = m_cLevel[level];
        const uint32 sw = GetLevelWidth(level - 1), sh = GetLevelHeight(level - 1);
        const uint32 dw = GetLevelWidth(level), dh = GetLevelHeight(level);
        for (uint32 y = 0; y < dh; ++y)
        {
            const uint32 y0 = std::min(2 * y, sh - 1), y1 = std::min(2 * y + 1, sh - 1);
            for (uint32 x = 0; x < dw; ++x)
            {
                const uint32 x0 = std::min(2 * x, sw - 1), x1 = std::min(2 * x + 1, sw - 1);
                const std::size_t at[4] = {
                    (std::size_t(y0) * sw + x0) * bytes, (std::size_t(y0) * sw + x1) * bytes,
                    (std::size_t(y1) * sw + x0) * bytes, (std::size_t(y1) * sw + x1) * bytes};
                uint8* pOut = dst.data() + (std::size_t(y) * dw + x) * bytes;
                if (bytes == 2)
                {
                    uint16 p[4];
                    for (int i = 0; i < 4; ++i)
                        std::memcpy(&p[i], src.data() + at[i], 2);
                    const uint16 v = Average16(p, m_Format == PF_R5G6B5 ? s_layout565 : s_layout1555);
                    std::memcpy(pOut, &v, 2);
                    continue;
                }
                for (uint32 b = 0; b < bytes; ++b)
                    pOut[b] = uint8((src[at[0] + b] + src[at[1] + b] + src[at[2] + b] + src[at[3] + b]) / 4);
            }
        }
    }
}
} // namespace fr
