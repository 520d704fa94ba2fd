// Rescale, mip making and palettizing on small images against values worked out by hand.
#include "foundation/debug.h"
#include "image/imagepalettize.h"
#include "image/imagetypes.h"
#include "image_test_util.h"

#include <gtest/gtest.h>

#include <algorithm>

using imagetest::MakeRGBA32;

namespace
{
// A row of grey values as a one-pixel-high image (alpha 255).
std::unique_ptr<Image_RGBA32> GreyRow(const std::vector<uint8>& values)
{
    std::vector<Colour> px;
    for (uint8 v : values)
        px.push_back(Colour(v, v, v, 255));
    return MakeRGBA32(uint32(values.size()), 1, px);
}

std::vector<uint8> RescaledRow(const std::vector<uint8>& values, uint32 newWidth)
{
    auto pSrc = GreyRow(values);
    Image_RGBA32 dst;
    dst.Allocate(newWidth, 1);
    EXPECT_TRUE(Image::Rescale(dst, *pSrc));
    std::vector<uint8> out;
    for (uint32 i = 0; i < newWidth; ++i)
        out.push_back(dst[i].r);
    return out;
}
} // namespace

TEST(ImageRescale, RowsAgainstTheFilterWeights)
{
    const std::tuple<std::vector<uint8>, uint32, std::vector<uint8>> cases[] = {
        // At the same size each output takes 0.125, 0.75, 0.125 of its neighbours.
        {{0, 0, 255, 0, 0}, 5, {0, 32, 191, 32, 0}},
        // Edges: on the left index -1 reads index 1; on the right index n reads n - 1.
        {{0, 255, 0, 0}, 4, {64, 191, 32, 0}},
        {{0, 0, 255, 0}, 4, {0, 32, 191, 32}},
        // Half size: weights 0.375 at the centre, 0.25 at +-1, 0.0625 at +-2.
        {{255, 0, 0, 0}, 2, {96, 16}},
        {{0, 0, 80, 0}, 2, {10, 30}},
        // Double size: outputs sit at 0, 0.5, 1, 1.5 of the source.
        {{0, 200}, 4, {50, 100, 175, 200}},
    };
    for (const auto& [row, width, expected] : cases)
        EXPECT_EQ(RescaledRow(row, width), expected) << width;
}

TEST(ImageRescale, BothPassesRunAndAFlatImageStaysFlatWhenGrowing)
{
    auto pSrc = MakeRGBA32(5, 7, std::vector<Colour>(35, Colour(10, 200, 77, 128)));
    // Growing, the weights at any position sum to one (shrinking by an uneven ratio need not).
    Image_RGBA32 dst;
    dst.Allocate(13, 16);
    ASSERT_TRUE(Image::Rescale(dst, *pSrc));
    for (uint32 i = 0; i < 13 * 16; ++i)
        ASSERT_EQ(dst[i], Colour(10, 200, 77, 128)) << i;
    // A column: the vertical pass applies the same weights as the horizontal one.
    std::vector<Colour> column(5, Colour(0, 0, 0, 255));
    column[2] = Colour(255, 255, 255, 255);
    auto pCol = MakeRGBA32(1, 5, column);
    Image_RGBA32 same;
    same.Allocate(1, 5);
    ASSERT_TRUE(Image::Rescale(same, *pCol));
    EXPECT_EQ(same[1].g, 32);
    EXPECT_EQ(same[2].g, 191);
    // Only 32-bit images.
    LogCapture log;
    Image_Luminance lum;
    lum.Allocate(2, 2);
    dst.Allocate(1, 1);
    EXPECT_FALSE(Image::Rescale(dst, lum));
    EXPECT_TRUE(log.Has("Rescale not handled"));
}

TEST(ImageMipMap, ThirtyTwoBitMeanOfEachTwoByTwoTruncated)
{
    auto pSrc =
        MakeRGBA32(4, 2,
                   {Colour(1, 0, 255, 0), Colour(2, 0, 255, 1), Colour(9, 9, 9, 9), Colour(9, 9, 9, 9),
                    Colour(3, 0, 254, 1), Colour(3, 3, 255, 1), Colour(1, 1, 1, 1), Colour(0, 0, 0, 0)});
    auto p = CreateMipMap(*pSrc);
    ASSERT_NE(p, nullptr);
    ASSERT_EQ(p->GetWidth(), 2u);
    ASSERT_EQ(p->GetHeight(), 1u);
    const auto& mip = static_cast<const Image_RGBA32&>(*p);
    EXPECT_EQ(mip[0], Colour(2, 0, 254, 0)); // 9/4, 3/4, 1019/4, 3/4
    EXPECT_EQ(mip[1], Colour(4, 4, 4, 4));   // 19/4
}

TEST(ImageMipMap, PalettedSharesThePaletteAndPicksTheNearestEntryFirstOnATie)
{
    auto pSrc = std::make_unique<Image_Palette>();
    pSrc->Allocate(4, 2);
    pSrc->PaletteEntry(0) = Colour(0, 0, 0, 255);
    pSrc->PaletteEntry(1) = Colour(100, 100, 100, 255);
    pSrc->PaletteEntry(2) = Colour(50, 50, 50, 255);
    pSrc->PaletteEntry(3) = Colour(50, 50, 50, 255); // same as 2: 2 wins
    const uint8 idx[8] = {0, 1, 0, 0, 1, 0, 0, 0};
    for (uint32 i = 0; i < 8; ++i)
        (*pSrc)[i] = idx[i];
    auto p = CreateMipMap(*pSrc);
    ASSERT_NE(p, nullptr);
    ASSERT_EQ(p->GetImageType(), IMAGETYPE_PALETTE);
    const auto& mip = static_cast<const Image_Palette&>(*p);
    EXPECT_EQ(mip[0], 2); // mean 50
    EXPECT_EQ(mip[1], 0); // mean 0
    EXPECT_EQ(mip.PaletteEntry(1), Colour(100, 100, 100, 255));
    // Entries past the used ones (zero, alpha 0) are candidates too: 0 is nearer to them than 255 alpha.
    EXPECT_EQ(mip.PaletteEntry(200), Colour(0, 0, 0, 0));
}

TEST(ImageMipMap, ChainFillsEveryLevelDownToOnePixel)
{
    auto p = MakeRGBA32(4, 2,
                        {Colour(0, 0, 0, 0), Colour(4, 4, 4, 4), Colour(8, 8, 8, 8), Colour(12, 12, 12, 12),
                         Colour(0, 0, 0, 0), Colour(4, 4, 4, 4), Colour(8, 8, 8, 8), Colour(12, 12, 12, 12)});
    ASSERT_TRUE(CreateMipMapChain(*p));
    ASSERT_EQ(p->GetMipCount(), 3u);
    const Colour* pLevel1 = reinterpret_cast<const Colour*>(p->GetData(1));
    const Colour* pLevel2 = reinterpret_cast<const Colour*>(p->GetData(2));
    EXPECT_EQ(p->GetWidth(1), 2u);
    EXPECT_EQ(p->GetHeight(1), 1u);
    EXPECT_EQ(pLevel1[0], Colour(2, 2, 2, 2));
    EXPECT_EQ(pLevel1[1], Colour(10, 10, 10, 10));
    EXPECT_EQ(pLevel2[0], Colour(6, 6, 6, 6));
    // Odd sizes are fatal; other types give null.
    {
        dbg::ScopedThrowOnAssert throwing;
        try
        {
            CreateMipMap(*imagetest::MakeGradient(3, 2));
            ADD_FAILURE();
        }
        catch (const std::runtime_error& e)
        {
            EXPECT_STREQ(e.what(), "CreateMipMap only handles images with even width & height");
        }
    }
    LogCapture log;
    Image_RGB565 other;
    other.Allocate(2, 2);
    EXPECT_EQ(CreateMipMap(other), nullptr);
    EXPECT_TRUE(log.Has("CreateMipMap: Unsupported image type (only supports 32bit or paletted textures)"));
    Image_Luminance lum;
    lum.Allocate(2, 2);
    EXPECT_FALSE(CreateMipMapChain(lum));
    EXPECT_TRUE(log.Has("CreateMipMap only handles IMAGETYPE_RGBA32"));
}

TEST(ImagePalettize, ThreeColoursGiveThreeEntriesInSplitOrderAndTheRestStayUnset)
{
    // Blue 10, 20 and 200: the first split (blue at 105) puts 200 in box 1, the second (blue at 15)
    // puts 20 in box 2.
    const Colour a(0, 0, 10, 255), b(0, 0, 20, 255), c(0, 0, 200, 255);
    auto pSrc = MakeRGBA32(3, 2, {c, a, b, b, a, c});
    auto p = Palettize(*pSrc);
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(p->PaletteEntry(0), a);
    EXPECT_EQ(p->PaletteEntry(1), c);
    EXPECT_EQ(p->PaletteEntry(2), b);
    for (uint32 i = 3; i < 256; ++i)
        ASSERT_EQ(p->PaletteEntry(i), Colour(0, 0, 0, 0)) << i;
    const uint8 expect[6] = {1, 0, 2, 2, 0, 1};
    for (uint32 i = 0; i < 6; ++i)
        EXPECT_EQ((*p)[i], expect[i]) << i;
}

TEST(ImagePalettize, EntryIsTheMeanOfTheBoxCornersAndTiesSplitTheLaterChannel)
{
    const Colour a(0, 0, 10, 255), b(0, 0, 20, 255), c(0, 0, 200, 255);
    auto p = Palettize(*MakeRGBA32(3, 1, {a, b, c}), 2);
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(p->PaletteEntry(0), Colour(0, 0, 15, 255));
    EXPECT_EQ(p->PaletteEntry(1), c);
    EXPECT_EQ((*p)[0], 0);
    EXPECT_EQ((*p)[1], 0);
    EXPECT_EQ((*p)[2], 1);
    // Blue and green both span 100: green, the later channel, is split, so x and y share a box.
    const Colour x(0, 0, 0, 255), y(0, 0, 100, 255), z(0, 100, 0, 255);
    p = Palettize(*MakeRGBA32(3, 1, {x, y, z}), 2);
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(p->PaletteEntry(0), Colour(0, 0, 50, 255));
    EXPECT_EQ(p->PaletteEntry(1), z);
}

TEST(ImagePalettize, TwoHundredFiftySixDistinctColoursEachGetAnEntryOfTheirOwn)
{
    // Every box with more than one colour has a range to split, so 256 colours end in 256 boxes of
    // one colour each, and the image comes back exactly.
    std::vector<Colour> px;
    for (uint32 i = 0; i < 256; ++i)
        px.push_back(Colour(uint8(i * 37), uint8(i * 11 + 3), uint8(i ^ 0x5A), uint8(255 - (i & 0xF0))));
    auto pSrc = MakeRGBA32(16, 16, px);
    auto p = Palettize(*pSrc);
    ASSERT_NE(p, nullptr);
    for (uint32 i = 0; i < 256; ++i)
        ASSERT_EQ(p->PaletteEntry((*p)[i]), px[i]) << i;
    // More colours than entries: all 256 entries are used.
    auto pMany = Palettize(*imagetest::MakeGradient(64, 64));
    ASSERT_NE(pMany, nullptr);
    std::vector<bool> used(256, false);
    for (uint32 i = 0; i < 64 * 64; ++i)
        used[(*pMany)[i]] = true;
    EXPECT_EQ(std::count(used.begin(), used.end(), true), 256);
}
