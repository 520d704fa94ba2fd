// Image::Convert over every pair of its table against bytes worked out by hand.
#include "image/imagetypes.h"
#include "image_test_util.h"

#include <gtest/gtest.h>

using namespace imagetest;

namespace
{
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
