// Image::Convert over every pair of its table, against bytes worked out by hand.
#include "foundation/debug.h"
#include "image/imagetypes.h"
#include "image_test_util.h"

#include <gtest/gtest.h>

#include <cstring>

namespace
{
template <class Map>
std::unique_ptr<Map> MakeMap(uint32 w, uint32 h, const std::vector<typename Map::Pixel>& px)
{
    auto p = std::make_unique<Map>();
    p->Allocate(w, h);
    for (uint32 i = 0; i < px.size(); ++i)
        (*p)[i] = px[i];
    return p;
}

template <int R, int G, int B, int A> Colour_RGBA16<R, G, B, A> Packed(uint16 v)
{
    Colour_RGBA16<R, G, B, A> p;
    p.value = v;
    return p;
}

const Colour* Pixels32(const Image& image, uint32 level = 0)
{
    return reinterpret_cast<const Colour*>(image.GetData(level));
}
} // namespace

TEST(ImageConvertTo32, SixteenBitLayoutsWidenEachFieldToTheNearestByte)
{
    // 565: red in the top 5 bits, green 6, blue the low 5; no alpha, so 0xFF.
    // 0x8401: red 16 -> 16*255/31 = 131.6 -> 132; green 32 -> 32*255/63 = 129.5.. -> 130; blue 1 -> 8.2 -> 8.
    auto p565 = MakeMap<Image_RGB565>(4, 1,
                                      {Packed<5, 6, 5, 0>(0xF800), Packed<5, 6, 5, 0>(0x07E0),
                                       Packed<5, 6, 5, 0>(0x001F), Packed<5, 6, 5, 0>(0x8401)});
    auto p = Image::Convert(IMAGETYPE_RGBA32, *p565);
    ASSERT_NE(p, nullptr);
    ASSERT_EQ(p->GetImageType(), IMAGETYPE_RGBA32);
    EXPECT_EQ(Pixels32(*p)[0], Colour(255, 0, 0, 255));
    EXPECT_EQ(Pixels32(*p)[1], Colour(0, 255, 0, 255));
    EXPECT_EQ(Pixels32(*p)[2], Colour(0, 0, 255, 255));
    EXPECT_EQ(Pixels32(*p)[3], Colour(132, 130, 8, 255));

    // 1555: alpha the top bit, then 5 bits each of red, green, blue.
    auto p1555 = MakeMap<Image_RGBA5551>(
        3, 1, {Packed<5, 5, 5, 1>(0x8000), Packed<5, 5, 5, 1>(0x7C00), Packed<5, 5, 5, 1>(0x0421)});
    p = Image::Convert(IMAGETYPE_RGBA32, *p1555);
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(Pixels32(*p)[0], Colour(0, 0, 0, 255));
    EXPECT_EQ(Pixels32(*p)[1], Colour(255, 0, 0, 0));
    EXPECT_EQ(Pixels32(*p)[2], Colour(8, 8, 8, 0));

    // 4444: alpha, red, green, blue nibbles; a nibble n widens to n * 17.
    auto p4444 = MakeMap<Image_RGBA4444>(2, 1, {Packed<4, 4, 4, 4>(0x1234), Packed<4, 4, 4, 4>(0xF0F0)});
    p = Image::Convert(IMAGETYPE_RGBA32, *p4444);
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(Pixels32(*p)[0], Colour(34, 51, 68, 17));
    EXPECT_EQ(Pixels32(*p)[1], Colour(0, 255, 0, 255));
}

TEST(ImageConvertTo32, LuminancePaletteAnd24BitSources)
{
    auto pLum = MakeMap<Image_Luminance>(2, 1, {0x40, 0xFE});
    auto p = Image::Convert(IMAGETYPE_RGBA32, *pLum);
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(Pixels32(*p)[0], Colour(0x40, 0x40, 0x40, 0xFF));
    EXPECT_EQ(Pixels32(*p)[1], Colour(0xFE, 0xFE, 0xFE, 0xFF));

    auto pPal = MakeMap<Image_Palette>(3, 1, {2, 0, 2});
    pPal->PaletteEntry(0) = Colour(1, 2, 3, 4);
    pPal->PaletteEntry(2) = Colour(9, 8, 7, 6);
    p = Image::Convert(IMAGETYPE_RGBA32, *pPal);
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(Pixels32(*p)[0], Colour(9, 8, 7, 6));
    EXPECT_EQ(Pixels32(*p)[1], Colour(1, 2, 3, 4));

    // 888 is blue, green, red in memory; alpha becomes 0xFF.
    Image_RGB888 rgb;
    rgb.Allocate(1, 1);
    const uint8 bytes[3] = {1, 2, 3};
    std::memcpy(rgb.GetData(0), bytes, 3);
    p = Image::Convert(IMAGETYPE_RGBA32, rgb);
    ASSERT_NE(p, nullptr);
    const uint8 expect[4] = {1, 2, 3, 0xFF};
    EXPECT_EQ(std::memcmp(p->GetData(0), expect, 4), 0);
}

TEST(ImageConvertFrom32, To4444And888)
{
    // 128 -> (128*15+127)/255 = 8; 8 -> 0; 9 -> 1; alpha 255 -> 15.
    auto pSrc = imagetest::MakeRGBA32(2, 1, {Colour(34, 51, 68, 17), Colour(128, 8, 9, 255)});
    auto p = Image::Convert(IMAGETYPE_RGBA4444, *pSrc);
    ASSERT_NE(p, nullptr);
    ASSERT_EQ(p->GetImageType(), IMAGETYPE_RGBA4444);
    const uint8 expect4444[4] = {0x34, 0x12, 0x01, 0xF8};
    EXPECT_EQ(std::memcmp(p->GetData(0), expect4444, 4), 0);

    p = Image::Convert(IMAGETYPE_RGB888, *pSrc);
    ASSERT_NE(p, nullptr);
    const uint8 expect888[6] = {68, 51, 34, 9, 8, 128};
    EXPECT_EQ(std::memcmp(p->GetData(0), expect888, 6), 0);
}

TEST(ImageConvertFrom32, EveryNarrowValueComesBackAfterWideningAndNarrowing)
{
    // The scaling is exact in the sense that matters: 4444 -> 32 -> 4444 is the identity.
    Image_RGBA4444 all;
    all.Allocate(256, 256);
    for (uint32 i = 0; i < 65536; ++i)
        all[i].value = uint16(i);
    auto pWide = Image::Convert(IMAGETYPE_RGBA32, all);
    ASSERT_NE(pWide, nullptr);
    auto pBack = Image::Convert(IMAGETYPE_RGBA4444, *pWide);
    ASSERT_NE(pBack, nullptr);
    EXPECT_EQ(std::memcmp(pBack->GetData(0), all.GetData(0), all.GetDataSize(0)), 0);
}

TEST(ImageConvertPalette, IndexBytesCopyToLuminanceAndPaletteCopiesWithItsPalette)
{
    auto pPal = MakeMap<Image_Palette>(2, 2, {0, 7, 255, 3});
    pPal->PaletteEntry(7) = Colour(70, 71, 72, 73);
    auto pLum = Image::Convert(IMAGETYPE_LUMINANCE, *pPal);
    ASSERT_NE(pLum, nullptr);
    EXPECT_EQ(pLum->GetImageType(), IMAGETYPE_LUMINANCE);
    const uint8 expect[4] = {0, 7, 255, 3};
    EXPECT_EQ(std::memcmp(pLum->GetData(0), expect, 4), 0);

    auto pCopy = Image::Convert(IMAGETYPE_PALETTE, *pPal);
    ASSERT_NE(pCopy, nullptr);
    EXPECT_EQ(std::memcmp(pCopy->GetData(0), expect, 4), 0);
    EXPECT_EQ(static_cast<Image_Palette&>(*pCopy).PaletteEntry(7), Colour(70, 71, 72, 73));
}

TEST(ImageConvertPalette, FromRGB888QuantisesLikeFrom32)
{
    Image_RGB888 rgb;
    rgb.Allocate(2, 1);
    const uint8 bytes[6] = {10, 0, 0, 200, 0, 0}; // blue 10 and blue 200
    std::memcpy(rgb.GetData(0), bytes, 6);
    auto p = Image::Convert(IMAGETYPE_PALETTE, rgb);
    ASSERT_NE(p, nullptr);
    auto& pal = static_cast<Image_Palette&>(*p);
    EXPECT_EQ(pal.PaletteEntry(pal[0]), Colour(0, 0, 10, 255));
    EXPECT_EQ(pal.PaletteEntry(pal[1]), Colour(0, 0, 200, 255));
    EXPECT_NE(pal[0], pal[1]);
}

TEST(ImageConvert, SameTypeCopiesEveryLevelAndTheName)
{
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
    {
        ASSERT_EQ(p->GetDataSize(level), src.GetDataSize(level));
        EXPECT_EQ(std::memcmp(p->GetData(level), src.GetData(level), src.GetDataSize(level)), 0);
    }
}

TEST(ImageConvert, PairsOutsideTheTableAreFatal)
{
    // The table as CanConvert tells it: every valid pair it allows converts (tested above), and
    // the rest are refused.
    int allowed = 0;
    for (int target = 0; target < 12; ++target)
        for (int source = 0; source < 12; ++source)
            allowed += Image::CanConvert(target, source) ? 1 : 0;
    // 10 same-type copies, 9 to RGBA32, 9 to each compressed type, then 1, 2, 1, 1 more.
    EXPECT_EQ(allowed, 10 + 9 + 3 * 9 + 1 + 2 + 1 + 1);
    EXPECT_FALSE(Image::CanConvert(IMAGETYPE_RGB565, IMAGETYPE_RGBA32));
    EXPECT_FALSE(Image::CanConvert(IMAGETYPE_RGB888, IMAGETYPE_DXT1));
    EXPECT_TRUE(Image::CanConvert(IMAGETYPE_PALETTE, IMAGETYPE_RGB888));

    dbg::ScopedThrowOnAssert throwing;
    auto p32 = imagetest::MakeGradient(4, 4);
    Image_DXT1 dxt;
    dxt.Allocate(4, 4);
    Image_Luminance lum;
    lum.Allocate(4, 4);
    const std::pair<int, const Image*> bad[] = {
        {IMAGETYPE_RGB565, p32.get()},  {IMAGETYPE_LUMINANCE, p32.get()}, {IMAGETYPE_RGB888, &dxt},
        {IMAGETYPE_PALETTE, &dxt},      {IMAGETYPE_RGB888, &lum},         {IMAGETYPE_PALETTE, &lum},
        {IMAGETYPE_RGBA5551, p32.get()}};
    for (const auto& [target, pSrc] : bad)
    {
        try
        {
            Image::Convert(target, *pSrc);
            FAIL() << target << " from " << pSrc->GetImageType();
        }
        catch (const std::runtime_error& e)
        {
            EXPECT_STREQ(e.what(), "Conversion not handled");
        }
    }
}
