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

TEST(ImagePalettize, ThreeColoursGiveThreeEntriesInSplitOrderAndTheRestStayUnset)
{
    // Blue 10, 20 and 30: the first split (blue at 20, which stays below) puts 30 in box 1, the
    // second (blue at 15) puts 20 in box 2.
    const Colour a(0, 0, 10, 255), b(0, 0, 20, 255), c(0, 0, 30, 255);
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
