// The image type family in memory: the factory, Allocate, mip levels, Blt.
#include "foundation/debug.h"
#include "image/imagetypes.h"
#include "image_test_util.h"

#include <gtest/gtest.h>

#include <cstring>


TEST(ImageFactory, EachTypeValueMakesAnImageOfThatTypeAndElementSize)
{
    struct Expect
    {
        int type;
        uint32 bytesFor8x8;
    };
    // 8 by 8 pixels: 64 pixels of the pixel types, 4 blocks of the compressed ones.
    const Expect cases[] = {{0, 256}, {1, 64},  {2, 64}, {4, 128}, {5, 128},
                            {6, 128}, {7, 192}, {8, 32}, {10, 64}, {11, 64}};
    for (const Expect& c : cases)
    {
        std::unique_ptr<Image> p = Image::Create(c.type);
        ASSERT_NE(p, nullptr) << c.type;
        EXPECT_EQ(p->GetImageType(), c.type);
        EXPECT_EQ(p->GetMipCount(), 1u);
        EXPECT_EQ(p->GetData(0), nullptr);
        ASSERT_TRUE(p->Allocate(8, 8));
        EXPECT_EQ(p->GetDataSize(0), c.bytesFor8x8) << c.type;
        EXPECT_NE(p->GetData(0), nullptr);
    }
}

TEST(ImageFactory, ValuesThatAreNoTypeAreFatal)
{
    dbg::ScopedThrowOnAssert throwing;
    for (int bad : {3, 9, 12, -1, 200})
    {
        try
        {
            Image::Create(bad);
            FAIL() << bad;
        }
        catch (const std::runtime_error& e)
        {
            EXPECT_STREQ(e.what(), "Invalid image type specified");
        }
    }
}

TEST(ImageAllocate, SidesAbove4096AreRefused)
{
    dbg::ScopedThrowOnAssert quiet(false);
    Image_RGBA32 image;
    EXPECT_FALSE(image.Allocate(4097, 4));
    EXPECT_FALSE(image.Allocate(4, 4097));
    EXPECT_EQ(image.GetData(0), nullptr);
    EXPECT_TRUE(image.Allocate(4096, 1));
    EXPECT_EQ(image.GetDataSize(0), 4096u * 4);
}

TEST(ImageAllocate, BlockIsKeptForSameCountAndForSmallerWhenAskedNotToReallocate)
{
    Image_RGBA32 image;
    ASSERT_TRUE(image.Allocate(8, 8));
    const uint8* pFirst = image.GetData(0);
    ASSERT_TRUE(image.Allocate(16, 4)); // same pixel count
    EXPECT_EQ(image.GetData(0), pFirst);
    EXPECT_EQ(image.GetWidth(), 16u);
    EXPECT_EQ(image.GetDataSize(0), 16u * 4 * 4);
    ASSERT_TRUE(image.Allocate(4, 4, false)); // smaller, kept
    EXPECT_EQ(image.GetData(0), pFirst);
    EXPECT_EQ(image.GetDataSize(0), 4u * 4 * 4);
    EXPECT_EQ(image.GetPixelCount(), 64u);
    ASSERT_TRUE(image.Allocate(2, 2, true)); // smaller, reallocated
    EXPECT_NE(image.GetData(0), pFirst);
    EXPECT_EQ(image.GetPixelCount(), 4u);
    ASSERT_TRUE(image.Allocate(4, 4, false)); // larger always reallocates
    EXPECT_EQ(image.GetPixelCount(), 16u);
}

TEST(ImageAllocate, ElementAccessPastThePixelCountAsserts)
{
    Image_Luminance image;
    image.Allocate(2, 2);
    image[3] = 7;
    EXPECT_EQ(image.GetData(0)[3], 7);
    dbg::ScopedThrowOnAssert throwing;
    EXPECT_THROW(image[4], std::runtime_error);
}

TEST(ImageMips, LevelsHalveWithAFloorOfOneAndCompressedLevelsHoldAtLeastOneBlock)
{
    Image_RGBA32 pixels;
    pixels.SetMipCount(4);
    ASSERT_TRUE(pixels.Allocate(8, 2));
    const uint32 expectPixels[] = {8 * 2 * 4, 4 * 1 * 4, 2 * 1 * 4, 1 * 1 * 4};
    for (uint32 i = 0; i < 4; ++i)
    {
        EXPECT_EQ(pixels.GetDataSize(i), expectPixels[i]) << i;
        EXPECT_NE(pixels.GetData(i), nullptr);
    }

    Image_DXT1 dxt1;
    dxt1.SetMipCount(4);
    ASSERT_TRUE(dxt1.Allocate(16, 8));
    EXPECT_EQ(dxt1.GetBlocksWide(), 4u);
    EXPECT_EQ(dxt1.GetBlocksHigh(), 2u);
    const uint32 expectBlocks[] = {8 * 8, 2 * 8, 1 * 8, 1 * 8}; // 16x8, 8x4, 4x2, 2x1
    for (uint32 i = 0; i < 4; ++i)
        EXPECT_EQ(dxt1.GetDataSize(i), expectBlocks[i]) << i;

    // Mip count set after allocation makes the further levels at once.
    Image_DXT5 dxt5;
    ASSERT_TRUE(dxt5.Allocate(8, 8));
    dxt5.SetMipCount(3);
    EXPECT_EQ(dxt5.GetDataSize(0), 64u);
    EXPECT_EQ(dxt5.GetDataSize(1), 16u);
    EXPECT_EQ(dxt5.GetDataSize(2), 16u); // 2x2 still one block
    EXPECT_EQ(Image::FullMipCount(256, 64), 9u);
    EXPECT_EQ(Image::FullMipCount(1, 1), 1u);
}

TEST(ImageBlt, CopiesARectangleRowByRow)
{
    auto pSrc = imagetest::MakeGradient(6, 5);
    Image_RGBA32 dst;
    dst.Allocate(4, 4);
    ASSERT_TRUE(dst.Blt(*pSrc, 2, 1, 1, 2, 3, 2));
    for (uint32 y = 0; y < 4; ++y)
    {
        for (uint32 x = 0; x < 4; ++x)
        {
            const bool inside = x >= 1 && x < 4 && y >= 2 && y < 4;
            const Colour expect = inside ? (*pSrc)[(y - 2 + 1) * 6 + (x - 1 + 2)] : Colour();
            EXPECT_EQ(dst[y * 4 + x], expect) << x << "," << y;
        }
    }
}

TEST(ImageBlt, ZeroSizeMeansAllOfTheSourceAndOutsideRectanglesFail)
{
    auto pSrc = imagetest::MakeGradient(3, 2);
    Image_RGBA32 dst;
    dst.Allocate(4, 4);
    ASSERT_TRUE(dst.Blt(*pSrc, 0, 0, 1, 2, 0, 0));
    EXPECT_EQ(dst[2 * 4 + 1], (*pSrc)[0]);
    EXPECT_EQ(dst[3 * 4 + 3], (*pSrc)[5]);

    EXPECT_FALSE(dst.Blt(*pSrc, 0, 0, 2, 2, 0, 0));          // 3 wide at x 2 passes the target
    EXPECT_FALSE(dst.Blt(*pSrc, 1, 0, 0, 0, 3, 1));          // passes the source
    EXPECT_FALSE(dst.Blt(*pSrc, 0xFFFFFFFF, 0, 0, 0, 2, 1)); // offsets that would wrap
    EXPECT_FALSE(dst.Blt(*pSrc, 0, 0, 0, 0xFFFFFFFE, 1, 2));
}

TEST(ImageBlt, DifferentTypesLogAndAssert)
{
    Image_RGBA32 dst;
    dst.Allocate(2, 2);
    Image_Luminance src;
    src.Allocate(2, 2);
    {
        LogCapture log;
        dbg::ScopedThrowOnAssert quiet(false);
        EXPECT_FALSE(dst.Blt(src, 0, 0, 0, 0, 0, 0));
        EXPECT_TRUE(log.Has("Can only Blt images of same type"));
    }
    dbg::ScopedThrowOnAssert throwing;
    EXPECT_THROW(dst.Blt(src, 0, 0, 0, 0, 0, 0), std::runtime_error);
}

TEST(ImageBlt, CompressedImagesMoveWholeBlocks)
{
    Image_DXT1 src;
    src.Allocate(8, 8);
    for (uint32 i = 0; i < src.GetDataSize(0); ++i)
        src.GetData(0)[i] = uint8(i);
    Image_DXT1 dst;
    dst.Allocate(8, 4);
    ASSERT_TRUE(dst.Blt(src, 4, 4, 0, 0, 4, 4)); // the bottom right block to the top left
    EXPECT_EQ(std::memcmp(dst.GetData(0), src.GetData(0) + 3 * 8, 8), 0);
    EXPECT_FALSE(dst.Blt(src, 2, 0, 0, 0, 4, 4)); // off the block grid
}
