// The image type family in memory: the factory, Allocate, mip levels, Blt, and Image::Convert over
// every pair of its table against bytes worked out by hand.
#include "foundation/debug.h"
#include "image/imagetypes.h"
#include "image_test_util.h"

#include <gtest/gtest.h>

using namespace imagetest;

namespace
{
// Expects `f` to stop on a fatal error with this text.
template <class F> void ExpectFatal(F f, const char* text)
{
    dbg::ScopedThrowOnAssert throwing;
    try
    {
        f();
        ADD_FAILURE() << "expected \"" << text << "\"";
    }
    catch (const std::runtime_error& e)
    {
        EXPECT_STREQ(e.what(), text);
    }
}

// An image of this type whose level 0 holds these bytes.
std::unique_ptr<Image> WithBytes(int type, uint32 w, uint32 h, const std::vector<uint8>& bytes)
{
    std::unique_ptr<Image> p = Image::Create(type);
    p->Allocate(w, h);
    EXPECT_EQ(p->GetDataSize(0), bytes.size());
    std::memcpy(p->GetData(0), bytes.data(), std::min<size_t>(bytes.size(), p->GetDataSize(0)));
    return p;
}
} // namespace

TEST(ImageFactory, EachTypeValueMakesAnImageOfThatTypeAndElementSize)
{
    // 8 by 8 pixels: 64 pixels of the pixel types, 4 blocks of the compressed ones.
    const std::pair<int, uint32> cases[] = {{0, 256}, {1, 64},  {2, 64}, {4, 128}, {5, 128},
                                            {6, 128}, {7, 192}, {8, 32}, {10, 64}, {11, 64}};
    for (const auto& [type, bytes] : cases)
    {
        std::unique_ptr<Image> p = Image::Create(type);
        ASSERT_NE(p, nullptr) << type;
        EXPECT_EQ(p->GetImageType(), type);
        EXPECT_EQ(p->GetMipCount(), 1u);
        EXPECT_EQ(p->GetData(0), nullptr);
        ASSERT_TRUE(p->Allocate(8, 8));
        EXPECT_EQ(p->GetDataSize(0), bytes) << type;
    }
    for (int bad : {3, 9, 12, -1, 200})
        ExpectFatal([&] { Image::Create(bad); }, "Invalid image type specified");
}

TEST(ImageAllocate, SidesBlocksAndElementAccess)
{
    Image_RGBA32 image;
    {
        dbg::ScopedThrowOnAssert quiet(false);
        EXPECT_FALSE(image.Allocate(4097, 4));
        EXPECT_FALSE(image.Allocate(4, 4097));
        EXPECT_EQ(image.GetData(0), nullptr);
    }
    EXPECT_TRUE(image.Allocate(4096, 1));
    EXPECT_EQ(image.GetDataSize(0), 4096u * 4);
    // The block is kept for the same count, and for a smaller one when asked not to reallocate.
    ASSERT_TRUE(image.Allocate(8, 8));
    const uint8* pFirst = image.GetData(0);
    ASSERT_TRUE(image.Allocate(16, 4));
    EXPECT_EQ(image.GetData(0), pFirst);
    EXPECT_EQ(image.GetWidth(), 16u);
    EXPECT_EQ(image.GetDataSize(0), 16u * 4 * 4);
    ASSERT_TRUE(image.Allocate(4, 4, false));
    EXPECT_EQ(image.GetData(0), pFirst);
    EXPECT_EQ(image.GetDataSize(0), 4u * 4 * 4);
    EXPECT_EQ(image.GetPixelCount(), 64u);
    ASSERT_TRUE(image.Allocate(2, 2, true));
    EXPECT_NE(image.GetData(0), pFirst);
    EXPECT_EQ(image.GetPixelCount(), 4u);
    ASSERT_TRUE(image.Allocate(4, 4, false)); // larger always reallocates
    EXPECT_EQ(image.GetPixelCount(), 16u);
    Image_Luminance lum;
    lum.Allocate(2, 2);
    lum[3] = 7;
    EXPECT_EQ(lum.GetData(0)[3], 7);
    dbg::ScopedThrowOnAssert throwing;
    EXPECT_THROW(lum[4], std::runtime_error);
}

TEST(ImageMips, LevelsHalveWithAFloorOfOneAndCompressedLevelsHoldAtLeastOneBlock)
{
    Image_RGBA32 pixels;
    pixels.SetMipCount(4);
    ASSERT_TRUE(pixels.Allocate(8, 2));
    Image_DXT1 dxt1;
    dxt1.SetMipCount(4);
    ASSERT_TRUE(dxt1.Allocate(16, 8));
    EXPECT_EQ(dxt1.GetBlocksWide(), 4u);
    EXPECT_EQ(dxt1.GetBlocksHigh(), 2u);
    // Mip count set after allocation makes the further levels at once.
    Image_DXT5 dxt5;
    ASSERT_TRUE(dxt5.Allocate(8, 8));
    dxt5.SetMipCount(3);
    const std::tuple<const Image*, std::vector<uint32>> cases[] = {
        {&pixels, {8 * 2 * 4, 4 * 1 * 4, 2 * 1 * 4, 1 * 1 * 4}},
        {&dxt1, {8 * 8, 2 * 8, 1 * 8, 1 * 8}}, // 16x8, 8x4, 4x2, 2x1
        {&dxt5, {64, 16, 16}},                 // 2x2 still one block
    };
    for (const auto& [pImage, sizes] : cases)
        for (uint32 i = 0; i < sizes.size(); ++i)
            EXPECT_EQ(pImage->GetDataSize(i), sizes[i]) << pImage->GetImageType() << " level " << i;
    EXPECT_EQ(Image::FullMipCount(256, 64), 9u);
    EXPECT_EQ(Image::FullMipCount(1, 1), 1u);
}

TEST(ImageBlt, CopiesRectanglesAndRefusesWhatDoesNotFit)
{
    auto pSrc = MakeGradient(6, 5);
    Image_RGBA32 dst;
    dst.Allocate(4, 4);
    ASSERT_TRUE(dst.Blt(*pSrc, 2, 1, 1, 2, 3, 2));
    for (uint32 y = 0; y < 4; ++y)
        for (uint32 x = 0; x < 4; ++x)
        {
            const bool inside = x >= 1 && y >= 2;
            EXPECT_EQ(dst[y * 4 + x], inside ? (*pSrc)[(y - 1) * 6 + x + 1] : Colour()) << x << "," << y;
        }
    // Zero size means all of the source.
    auto pSmall = MakeGradient(3, 2);
    ASSERT_TRUE(dst.Blt(*pSmall, 0, 0, 1, 2, 0, 0));
    EXPECT_EQ(dst[2 * 4 + 1], (*pSmall)[0]);
    EXPECT_EQ(dst[3 * 4 + 3], (*pSmall)[5]);
    EXPECT_FALSE(dst.Blt(*pSmall, 0, 0, 2, 2, 0, 0));          // 3 wide at x 2 passes the target
    EXPECT_FALSE(dst.Blt(*pSmall, 1, 0, 0, 0, 3, 1));          // passes the source
    EXPECT_FALSE(dst.Blt(*pSmall, 0xFFFFFFFF, 0, 0, 0, 2, 1)); // offsets that would wrap
    EXPECT_FALSE(dst.Blt(*pSmall, 0, 0, 0, 0xFFFFFFFE, 1, 2));
    // Compressed images move whole blocks.
    Image_DXT1 src;
    src.Allocate(8, 8);
    for (uint32 i = 0; i < src.GetDataSize(0); ++i)
        src.GetData(0)[i] = uint8(i);
    Image_DXT1 blocks;
    blocks.Allocate(8, 4);
    ASSERT_TRUE(blocks.Blt(src, 4, 4, 0, 0, 4, 4)); // the bottom right block to the top left
    EXPECT_EQ(std::memcmp(blocks.GetData(0), src.GetData(0) + 3 * 8, 8), 0);
    EXPECT_FALSE(blocks.Blt(src, 2, 0, 0, 0, 4, 4)); // off the block grid
    // Different types log and assert.
    Image_Luminance lum;
    lum.Allocate(2, 2);
    {
        LogCapture log;
        dbg::ScopedThrowOnAssert quiet(false);
        EXPECT_FALSE(dst.Blt(lum, 0, 0, 0, 0, 0, 0));
        EXPECT_TRUE(log.Has("Can only Blt images of same type"));
    }
    dbg::ScopedThrowOnAssert throwing;
    EXPECT_THROW(dst.Blt(lum, 0, 0, 0, 0, 0, 0), std::runtime_error);
}

TEST(ImageConvert, PixelsOfEachPairWorkedOutByHand)
{
    // Source type, width, its bytes; target type, the bytes expected. Colours are blue, green,
    // red, alpha in memory; 16-bit values little-endian.
    const int RGBA32 = IMAGETYPE_RGBA32;
    // clang-format off
    const std::tuple<int, uint32, std::vector<uint8>, int, std::vector<uint8>> cases[] = {
        // 565 widens each field to the nearest byte; no alpha, so 0xFF. 0x8401: red 16 -> 131.6 ->
        // 132; green 32 -> 129.5.. -> 130; blue 1 -> 8.2 -> 8.
        {IMAGETYPE_RGB565, 4, {0x00, 0xF8, 0xE0, 0x07, 0x1F, 0x00, 0x01, 0x84}, RGBA32,
         {0, 0, 255, 255, 0, 255, 0, 255, 255, 0, 0, 255, 8, 130, 132, 255}},
        // 1555: alpha the top bit, then 5 bits each of red, green, blue.
        {IMAGETYPE_RGBA5551, 3, {0x00, 0x80, 0x00, 0x7C, 0x21, 0x04}, RGBA32, {0, 0, 0, 255, 0, 0, 255, 0, 8, 8, 8, 0}},
        // 4444: alpha, red, green, blue nibbles; a nibble n widens to n * 17.
        {IMAGETYPE_RGBA4444, 2, {0x34, 0x12, 0xF0, 0xF0}, RGBA32, {68, 51, 34, 17, 0, 255, 0, 255}},
        {IMAGETYPE_LUMINANCE, 2, {0x40, 0xFE}, RGBA32, {0x40, 0x40, 0x40, 0xFF, 0xFE, 0xFE, 0xFE, 0xFF}},
        {IMAGETYPE_RGB888, 1, {1, 2, 3}, RGBA32, {1, 2, 3, 0xFF}},
        // 128 -> (128*15+127)/255 = 8; 8 -> 0; 9 -> 1; alpha 255 -> 15.
        {RGBA32, 2, {68, 51, 34, 17, 9, 8, 128, 255}, IMAGETYPE_RGBA4444, {0x34, 0x12, 0x01, 0xF8}},
        {RGBA32, 2, {68, 51, 34, 17, 9, 8, 128, 255}, IMAGETYPE_RGB888, {68, 51, 34, 9, 8, 128}},
        // Index bytes copy to luminance.
        {IMAGETYPE_PALETTE, 4, {0, 7, 255, 3}, IMAGETYPE_LUMINANCE, {0, 7, 255, 3}},
    };
    // clang-format on
    for (const auto& [from, w, bytes, to, expected] : cases)
    {
        auto p = Image::Convert(to, *WithBytes(from, w, 1, bytes));
        ASSERT_NE(p, nullptr) << from << " to " << to;
        EXPECT_EQ(p->GetImageType(), to);
        EXPECT_EQ(Level(*p), expected) << from << " to " << to;
    }
}

TEST(ImageConvert, PalettesGoWithTheirImages)
{
    Image_Palette pal;
    pal.Allocate(3, 1);
    pal[0] = 2;
    pal[1] = 0;
    pal[2] = 7;
    pal.PaletteEntry(0) = Colour(1, 2, 3, 4);
    pal.PaletteEntry(2) = Colour(9, 8, 7, 6);
    pal.PaletteEntry(7) = Colour(70, 71, 72, 73);
    auto p = Image::Convert(IMAGETYPE_RGBA32, pal);
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(Level(*p), (std::vector<uint8>{7, 8, 9, 6, 3, 2, 1, 4, 72, 71, 70, 73}));
    p = Image::Convert(IMAGETYPE_PALETTE, pal);
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(Level(*p), Level(pal));
    EXPECT_EQ(static_cast<Image_Palette&>(*p).PaletteEntry(7), Colour(70, 71, 72, 73));
    // From 888 the colours are quantised as from 32 bits: blue 10 and blue 200.
    p = Image::Convert(IMAGETYPE_PALETTE, *WithBytes(IMAGETYPE_RGB888, 2, 1, {10, 0, 0, 200, 0, 0}));
    ASSERT_NE(p, nullptr);
    auto& back = static_cast<Image_Palette&>(*p);
    EXPECT_EQ(back.PaletteEntry(back[0]), Colour(0, 0, 10, 255));
    EXPECT_EQ(back.PaletteEntry(back[1]), Colour(0, 0, 200, 255));
}

TEST(ImageConvert, EveryNarrowValueComesBackAfterWideningAndNarrowing)
{
    Image_RGBA4444 all;
    all.Allocate(256, 256);
    for (uint32 i = 0; i < 65536; ++i)
        all[i].value = uint16(i);
    auto pWide = Image::Convert(IMAGETYPE_RGBA32, all);
    ASSERT_NE(pWide, nullptr);
    auto pBack = Image::Convert(IMAGETYPE_RGBA4444, *pWide);
    ASSERT_NE(pBack, nullptr);
    EXPECT_EQ(Level(*pBack), Level(all));
    // The same type copies every level and the name.
    Image_DXT3 src;
    src.SetMipCount(3);
    src.Allocate(8, 8);
    src.SetName("walker_diffuse");
    for (uint32 level = 0; level < 3; ++level)
        std::memset(src.GetData(level), int(level + 1), src.GetDataSize(level));
    auto p = Image::Convert(IMAGETYPE_DXT3, src);
    ASSERT_NE(p, nullptr);
    EXPECT_STREQ(p->GetName(), "walker_diffuse");
    ASSERT_EQ(p->GetMipCount(), 3u);
    for (uint32 level = 0; level < 3; ++level)
        EXPECT_EQ(Level(*p, level), Level(src, level));
}

TEST(ImageConvert, PairsOutsideTheTableAreFatal)
{
    int allowed = 0;
    for (int target = 0; target < 12; ++target)
        for (int source = 0; source < 12; ++source)
            allowed += Image::CanConvert(target, source) ? 1 : 0;
    // 10 same-type copies, 9 to RGBA32, 9 to each compressed type, then 1, 2, 1, 1 more.
    EXPECT_EQ(allowed, 10 + 9 + 3 * 9 + 1 + 2 + 1 + 1);
    EXPECT_FALSE(Image::CanConvert(IMAGETYPE_RGB565, IMAGETYPE_RGBA32));
    EXPECT_FALSE(Image::CanConvert(IMAGETYPE_RGB888, IMAGETYPE_DXT1));
    EXPECT_TRUE(Image::CanConvert(IMAGETYPE_PALETTE, IMAGETYPE_RGB888));
    auto p32 = MakeGradient(4, 4);
    Image_DXT1 dxt;
    dxt.Allocate(4, 4);
    Image_Luminance lum;
    lum.Allocate(4, 4);
    const std::pair<int, const Image*> bad[] = {
        {IMAGETYPE_RGB565, p32.get()},  {IMAGETYPE_LUMINANCE, p32.get()}, {IMAGETYPE_RGB888, &dxt},
        {IMAGETYPE_PALETTE, &dxt},      {IMAGETYPE_RGB888, &lum},         {IMAGETYPE_PALETTE, &lum},
        {IMAGETYPE_RGBA5551, p32.get()}};
    for (const auto& [target, pSrc] : bad)
        ExpectFatal([&] { Image::Convert(target, *pSrc); }, "Conversion not handled");
}
