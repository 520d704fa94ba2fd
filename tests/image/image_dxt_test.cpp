// DXT1, DXT3 and DXT5 coding through Image::Convert and ImageDXT: blocks built by hand decode to the
// pixels they hold, encoding gives libsquish's own blocks and decodes within libsquish's own error.
#include "image/imagedxt.h"
#include "image_test_util.h"

#include <gtest/gtest.h>
#include <squish.h>

namespace
{
using imagetest::Bytes;
using imagetest::Level;

// A level as libsquish takes it: red, green, blue, alpha, by the names of the channels.
std::vector<uint8> SquishRGBA(const Image& image, uint32 level)
{
    const Colour* p = reinterpret_cast<const Colour*>(image.GetData(level));
    std::vector<uint8> rgba;
    for (uint32 i = 0; i < image.GetWidth(level) * image.GetHeight(level); ++i)
        rgba.insert(rgba.end(), {p[i].r, p[i].g, p[i].b, p[i].a});
    return rgba;
}

// A picture with smooth runs, hard edges, noise and an alpha ramp, different on every level.
std::unique_ptr<Image_RGBA32> Picture(uint32 w, uint32 h, uint32 mips)
{
    auto p = std::make_unique<Image_RGBA32>();
    p->SetMipCount(mips);
    p->Allocate(w, h);
    uint32 seed = 12345;
    for (uint32 level = 0; level < mips; ++level)
    {
        Colour* pPixel = p->GetPixels(level);
        const uint32 lw = p->GetWidth(level), lh = p->GetHeight(level);
        for (uint32 y = 0; y < lh; ++y)
            for (uint32 x = 0; x < lw; ++x)
            {
                seed = seed * 1103515245u + 12345u;
                const uint8 noise = uint8(seed >> 28);
                *pPixel++ = Colour(uint8(x * 200 / lw + level * 10), uint8(y * 200 / lh + noise),
                                   ((x / 5 + y / 3) % 2) ? 200 : 30, uint8(255 - x * 200 / lw - noise));
            }
    }
    return p;
}

std::unique_ptr<Image> Compressed(int type, uint32 w, uint32 h, const std::vector<uint8>& blocks)
{
    std::unique_ptr<Image> p = Image::Create(type);
    p->Allocate(w, h);
    EXPECT_EQ(p->GetDataSize(0), blocks.size());
    std::memcpy(p->GetData(0), blocks.data(), std::min<size_t>(blocks.size(), p->GetDataSize(0)));
    return p;
}

// The colour half of a block: two 565 end points (little-endian) and the rows of 2-bit indices.
Bytes& ColourBlock(Bytes& b, uint32 colour0, uint32 colour1, std::initializer_list<uint32> rows)
{
    b.u16(colour0).u16(colour1);
    for (uint32 row : rows)
        b.u8(row);
    return b;
}

constexpr Colour Red(255, 0, 0, 255);
constexpr Colour Blue(0, 0, 255, 255);
} // namespace

TEST(ImageDXT, BlocksBuiltByHandDecodeToTheirPixels)
{
    // Red and blue end points; row 0 holds the indices 0, 1, 2, 3 from the lowest bits up, the
    // other rows one index each.
    Bytes colour;
    ColourBlock(colour, 0xF800, 0x001F, {0xE4, 0x00, 0x55, 0xFF});
    const Colour twoThirdsRed(170, 0, 85, 255), oneThirdRed(85, 0, 170, 255);
    auto pDxt1 = Image::Convert(IMAGETYPE_RGBA32, *Compressed(IMAGETYPE_DXT1, 4, 4, colour.v));
    ASSERT_NE(pDxt1, nullptr);
    const auto& dxt1 = static_cast<const Image_RGBA32&>(*pDxt1);
    const Colour row0[4] = {Red, Blue, twoThirdsRed, oneThirdRed};
    for (uint32 x = 0; x < 4; ++x)
    {
        EXPECT_EQ(dxt1[x], row0[x]) << x;
        EXPECT_EQ(dxt1[4 + x], Red);
        EXPECT_EQ(dxt1[8 + x], Blue);
        EXPECT_EQ(dxt1[12 + x], oneThirdRed);
    }
    // Alpha in front of the same colours, pixel 0 clear and the others full. DXT3: 4 bits a pixel,
    // lowest bits first. DXT5: end points 255 and 0, then 3-bit indices, pixel 0 taking index 1.
    const std::pair<int, Bytes> alphas[] = {{IMAGETYPE_DXT3, Bytes().u8(0xF0).fill(7, 0xFF)},
                                            {IMAGETYPE_DXT5, Bytes().u8(255).u8(0).u8(0x01).fill(5, 0)}};
    for (auto [type, block] : alphas)
    {
        ColourBlock(block, 0xF800, 0x001F, {0xE4, 0x00, 0x55, 0xFF});
        auto pBack = Image::Convert(IMAGETYPE_RGBA32, *Compressed(type, 4, 4, block.v));
        const auto& back = static_cast<const Image_RGBA32&>(*pBack);
        EXPECT_EQ(back[0], Colour(255, 0, 0, 0)) << type;
        EXPECT_EQ(back[1], Blue) << type;
        for (uint32 i = 1; i < 16; ++i)
            EXPECT_EQ(back[i].a, 255) << type << " pixel " << i;
    }
}

struct CodingCase
{
    int type;
    uint32 w, h, mips;
};

class ImageDXTCoding : public ::testing::TestWithParam<CodingCase>
{
};

TEST_P(ImageDXTCoding, EncodesAsLibsquishAndDecodesWithinItsError)
{
    const CodingCase c = GetParam();
    auto pSrc = Picture(c.w, c.h, c.mips);
    pSrc->SetName("walker_diffuse");
    auto pDxt = Image::Convert(c.type, *pSrc);
    ASSERT_NE(pDxt, nullptr);
    EXPECT_EQ(pDxt->GetImageType(), c.type);
    EXPECT_STREQ(pDxt->GetName(), "walker_diffuse");
    ASSERT_EQ(pDxt->GetMipCount(), c.mips);
    auto pBack = Image::Convert(IMAGETYPE_RGBA32, *pDxt);
    ASSERT_NE(pBack, nullptr);
    ASSERT_EQ(pBack->GetMipCount(), c.mips);
    EXPECT_EQ(pBack->GetWidth(), c.w);
    const int flags = ImageDXT::SquishFlags(c.type);
    for (uint32 level = 0; level < c.mips; ++level)
    {
        SCOPED_TRACE(level);
        const int w = int(pSrc->GetWidth(level)), h = int(pSrc->GetHeight(level));
        const std::vector<uint8> rgba = SquishRGBA(*pSrc, level);
        std::vector<uint8> direct(size_t(squish::GetStorageRequirements(w, h, flags)));
        squish::CompressImage(rgba.data(), w, h, direct.data(), flags);
        // A level of 2 by 2 or 1 by 1 still takes a whole block.
        EXPECT_EQ(pDxt->GetDataSize(level), std::max<size_t>(direct.size(), Image::ElementSize(c.type)));
        EXPECT_EQ(Level(*pDxt, level), direct);
        // Decoded, the very pixels of libsquish's own decoding: the error is libsquish's, no more.
        std::vector<uint8> directBack(rgba.size());
        squish::DecompressImage(directBack.data(), w, h, direct.data(), flags);
        EXPECT_EQ(SquishRGBA(*pBack, level), directBack);
    }
}

INSTANTIATE_TEST_SUITE_P(Sizes, ImageDXTCoding,
                         ::testing::Values(CodingCase{IMAGETYPE_DXT1, 64, 64, 7},
                                           CodingCase{IMAGETYPE_DXT3, 20, 12, 3},
                                           CodingCase{IMAGETYPE_DXT5, 13, 7, 4},
                                           CodingCase{IMAGETYPE_DXT5, 2, 2, 2},
                                           CodingCase{IMAGETYPE_DXT1, 1, 1, 1}));
