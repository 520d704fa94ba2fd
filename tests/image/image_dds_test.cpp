// The DDS reader and writer: headers built by hand, mip chains, the skip rules, refusals.
#include "foundation/debug.h"
#include "image/imageload.h"
#include "image_test_util.h"

#include <gtest/gtest.h>

using imagetest::Bytes;

namespace
{
constexpr uint32 FlagsRequired = 0x1007;
constexpr uint32 FlagMipCount = 0x20000;
constexpr uint32 CapsComplex = 0x8;
constexpr uint32 CapsTexture = 0x1000;

struct DDSSpec
{
    uint32 w = 16;
    uint32 h = 16;
    const char* fourCC = "DXT1";
    uint32 mips = 1;
    uint32 flags = FlagsRequired;
    uint32 caps = CapsTexture;
    uint32 caps2 = 0;
    uint32 blockBytes = 8;
};

// Header as a DDS writer lays it out, then each level filled with its level number plus one.
Bytes MakeDDS(const DDSSpec& s)
{
    Bytes b;
    b.text("DDS ").u32(124).u32(s.flags).u32(s.h).u32(s.w).u32(0).u32(0).u32(s.mips);
    b.fill(44, 0);
    b.u32(32).u32(0x4).text(s.fourCC).fill(20, 0);
    b.u32(s.caps).u32(s.caps2).fill(12, 0);
    for (uint32 i = 0; i < std::max(1u, s.mips); ++i)
    {
        const uint32 w = std::max(1u, s.w >> i), h = std::max(1u, s.h >> i);
        b.fill(std::max(1u, (w + 3) / 4) * std::max(1u, (h + 3) / 4) * s.blockBytes, uint8(i + 1));
    }
    return b;
}

DDSSpec Mipped(uint32 w, uint32 h, uint32 mips)
{
    DDSSpec s;
    s.w = w;
    s.h = h;
    s.mips = mips;
    s.flags = FlagsRequired | FlagMipCount;
    s.caps = CapsTexture | CapsComplex | 0x400000;
    return s;
}

struct Loaded
{
    std::unique_ptr<Image> pImage;
    int sourceFormat = -1;
};

Loaded Load(const Bytes& file, int skip = 0)
{
    Loaded out;
    out.pImage = imagetest::ReadFrom<std::unique_ptr<Image>>(
        file.v,
        [&](ByteStreamAdapter& a) { return ImageLoad::LoadDDS(a, "test.dds", &out.sourceFormat, skip); });
    return out;
}

// Each level holds the bytes of file level `first + level`.
void ExpectLevelsFrom(const Image& image, uint32 first)
{
    for (uint32 level = 0; level < image.GetMipCount(); ++level)
    {
        for (uint32 i = 0; i < image.GetDataSize(level); ++i)
            ASSERT_EQ(image.GetData(level)[i], first + level + 1) << "level " << level << " byte " << i;
    }
}
} // namespace

TEST(ImageDDS, MipChainLoadsEveryLevelWithItsSize)
{
    Loaded l = Load(MakeDDS(Mipped(16, 8, 5)));
    ASSERT_NE(l.pImage, nullptr);
    EXPECT_EQ(l.sourceFormat, SOURCEFORMAT_DXT1);
    EXPECT_EQ(l.pImage->GetImageType(), IMAGETYPE_DXT1);
    ASSERT_EQ(l.pImage->GetMipCount(), 5u);
    // 16x8, 8x4, 4x2, 2x1, 1x1: the last three still take a block of 8 bytes.
    const uint32 sizes[5] = {64, 16, 8, 8, 8};
    for (uint32 i = 0; i < 5; ++i)
        EXPECT_EQ(l.pImage->GetDataSize(i), sizes[i]) << i;
    ExpectLevelsFrom(*l.pImage, 0);
}

TEST(ImageDDS, FourCCGivesTypeAndSourceFormat)
{
    DDSSpec s;
    s.blockBytes = 16;
    s.fourCC = "DXT3";
    Loaded l = Load(MakeDDS(s));
    ASSERT_NE(l.pImage, nullptr);
    EXPECT_EQ(l.pImage->GetImageType(), IMAGETYPE_DXT3);
    EXPECT_EQ(l.sourceFormat, SOURCEFORMAT_DXT3);
    EXPECT_EQ(l.pImage->GetDataSize(0), 16u * 16);
    s.fourCC = "DXT5";
    l = Load(MakeDDS(s));
    ASSERT_NE(l.pImage, nullptr);
    EXPECT_EQ(l.pImage->GetImageType(), IMAGETYPE_DXT5);
    EXPECT_EQ(l.sourceFormat, SOURCEFORMAT_DXT5);
}

TEST(ImageDDS, SkippedLevelsAreDroppedFromTheTop)
{
    Loaded l = Load(MakeDDS(Mipped(32, 32, 6)), 2);
    ASSERT_NE(l.pImage, nullptr);
    EXPECT_EQ(l.pImage->GetWidth(), 8u);
    EXPECT_EQ(l.pImage->GetHeight(), 8u);
    EXPECT_EQ(l.pImage->GetMipCount(), 4u);
    ExpectLevelsFrom(*l.pImage, 2);
}

TEST(ImageDDS, SkipNeverTakesASideBelowFour)
{
    // 8 by 8 with a skip of 2 loses one level only, to keep 4 by 4.
    Loaded l = Load(MakeDDS(Mipped(8, 8, 4)), 2);
    ASSERT_NE(l.pImage, nullptr);
    EXPECT_EQ(l.pImage->GetWidth(), 4u);
    EXPECT_EQ(l.pImage->GetMipCount(), 3u);
    ExpectLevelsFrom(*l.pImage, 1);

    // The smaller side decides: 32 by 8 with a skip of 3 stops at 16 by 4.
    l = Load(MakeDDS(Mipped(32, 8, 6)), 3);
    ASSERT_NE(l.pImage, nullptr);
    EXPECT_EQ(l.pImage->GetWidth(), 16u);
    EXPECT_EQ(l.pImage->GetHeight(), 4u);
    ExpectLevelsFrom(*l.pImage, 1);

    // A skip past the chain is cut to mip count - 1, then held at 4 pixels.
    l = Load(MakeDDS(Mipped(16, 16, 3)), 10);
    ASSERT_NE(l.pImage, nullptr);
    EXPECT_EQ(l.pImage->GetWidth(), 4u);
    EXPECT_EQ(l.pImage->GetMipCount(), 1u);
    ExpectLevelsFrom(*l.pImage, 2);
}

TEST(ImageDDS, WithoutTheMipCountFlagTheSkipIsIgnored)
{
    DDSSpec s = Mipped(16, 16, 3);
    s.flags = FlagsRequired;
    Loaded l = Load(MakeDDS(s), 1);
    ASSERT_NE(l.pImage, nullptr);
    EXPECT_EQ(l.pImage->GetWidth(), 16u);
    EXPECT_EQ(l.pImage->GetMipCount(), 1u);
    ExpectLevelsFrom(*l.pImage, 0);
}

TEST(ImageDDS, MipCountWithoutComplexCapsWarnsAndLoadsOneLevel)
{
    LogCapture log;
    DDSSpec s = Mipped(16, 16, 3);
    s.caps = CapsTexture;
    Loaded l = Load(MakeDDS(s), 1);
    ASSERT_NE(l.pImage, nullptr);
    EXPECT_EQ(l.pImage->GetMipCount(), 1u);
    EXPECT_EQ(l.pImage->GetWidth(), 16u);
    EXPECT_TRUE(
        log.Has("TEXTURE FORMAT -- The tool used to create the DDS file 'test.dds' did not save it "
                     "correctly, please check for an updated version of the tool."));

    s = Mipped(16, 16, 0); // a count of 0 is treated alike
    l = Load(MakeDDS(s));
    ASSERT_NE(l.pImage, nullptr);
    EXPECT_EQ(l.pImage->GetMipCount(), 1u);
}

TEST(ImageDDS, HeadersThatAreNotHappyAreRefused)
{
    LogCapture log;
    dbg::ScopedThrowOnAssert quiet(false);
    Bytes badMagic = MakeDDS(DDSSpec());
    badMagic.v[3] = 'X';
    EXPECT_EQ(Load(badMagic).pImage, nullptr);
    Bytes badSize = MakeDDS(DDSSpec());
    badSize.v[4] = 120;
    EXPECT_EQ(Load(badSize).pImage, nullptr);
    DDSSpec noWidth;
    noWidth.flags = 0x1003;
    EXPECT_EQ(Load(MakeDDS(noWidth)).pImage, nullptr);
    Bytes badPixelFormat = MakeDDS(DDSSpec());
    badPixelFormat.v[4 + 72] = 24;
    EXPECT_EQ(Load(badPixelFormat).pImage, nullptr);
    EXPECT_TRUE(log.Has("DDS is not happy. [test.dds]"));

    DDSSpec huge;
    huge.w = 8192;
    EXPECT_EQ(Load(MakeDDS(huge)).pImage, nullptr);
    EXPECT_EQ(Load(MakeDDS(Mipped(16, 16, 6))).pImage, nullptr); // 16x16 has 5 levels at most
}

TEST(ImageDDS, CubeMapsAndVolumesAreRefused)
{
    LogCapture log;
    DDSSpec cube;
    cube.caps2 = 0x200 | 0xFC00;
    Loaded l = Load(MakeDDS(cube));
    EXPECT_EQ(l.pImage, nullptr);
    EXPECT_TRUE(log.Has("Does not support loading of cube maps [test.dds]."));
    EXPECT_TRUE(log.Has("did not save it correctly")); // no complex caps

    LogCapture log2;
    DDSSpec volume = Mipped(16, 16, 1);
    volume.caps2 = 0x200000;
    EXPECT_EQ(Load(MakeDDS(volume)).pImage, nullptr);
    EXPECT_TRUE(log2.Has("Does not support loading of volume textures [test.dds]."));
    EXPECT_FALSE(log2.Has("did not save it correctly")); // complex caps present
}

TEST(ImageDDS, UnsupportedFourCCCodes)
{
    LogCapture log;
    DDSSpec dxt2;
    dxt2.fourCC = "DXT2";
    Loaded l = Load(MakeDDS(dxt2));
    EXPECT_EQ(l.pImage, nullptr);
    EXPECT_EQ(l.sourceFormat, SOURCEFORMAT_OTHER);
    EXPECT_TRUE(log.Has("Unsupported DXTC format! 2"));
    EXPECT_FALSE(log.Has("Unsupported FourCC code"));

    DDSSpec other;
    other.fourCC = "ATI2";
    EXPECT_EQ(Load(MakeDDS(other)).pImage, nullptr);
    EXPECT_TRUE(log.Has("Unsupported FourCC code in [test.dds]."));
}

TEST(ImageDDS, TruncatedFilesAreRefusedAtEveryLength)
{
    LogCapture log;
    dbg::ScopedThrowOnAssert quiet(false);
    Bytes file = MakeDDS(Mipped(8, 8, 3));
    for (uint32 n = 0; n < file.size(); ++n)
    {
        Bytes cut;
        cut.v.assign(file.v.begin(), file.v.begin() + n);
        Loaded l = Load(cut, n % 3);
        ASSERT_EQ(l.pImage, nullptr) << n;
        ASSERT_EQ(l.sourceFormat, SOURCEFORMAT_OTHER) << n;
    }
    EXPECT_TRUE(log.Has("Malformed DDS file.  Not enough file for image."));
}

TEST(ImageDDS, WrittenAndReadBackWithItsHeaderFields)
{
    Image_DXT5 image;
    image.SetMipCount(4);
    image.Allocate(16, 8);
    for (uint32 level = 0; level < 4; ++level)
        for (uint32 i = 0; i < image.GetDataSize(level); ++i)
            image.GetData(level)[i] = uint8(level * 50 + i);
    std::vector<uint8> file = imagetest::WriteTo([&](ByteStreamAdapter& a)
                                                 { ASSERT_TRUE(ImageLoad::SaveDDS(a, "out.dds", image)); });
    ASSERT_EQ(file.size(), 4u + 124 + 128 + 32 + 16 + 16);
    auto field = [&](uint32 offset)
    {
        return uint32(file[offset]) | (file[offset + 1] << 8) | (file[offset + 2] << 16) |
               (uint32(file[offset + 3]) << 24);
    };
    EXPECT_EQ(field(4 + 4), 0x81007u | 0x20000u);
    EXPECT_EQ(field(4 + 8), 8u);
    EXPECT_EQ(field(4 + 12), 16u);
    EXPECT_EQ(field(4 + 16), (16u / 4) * 8 * 4 * 16);
    EXPECT_EQ(field(4 + 24), 4u);
    EXPECT_EQ(std::memcmp(file.data() + 4 + 80, "DXT5", 4), 0);
    EXPECT_EQ(field(4 + 104), 0x1000u | 0x400008u);

    Loaded l = Load(Bytes{file});
    ASSERT_NE(l.pImage, nullptr);
    ASSERT_EQ(l.pImage->GetMipCount(), 4u);
    for (uint32 level = 0; level < 4; ++level)
    {
        ASSERT_EQ(l.pImage->GetDataSize(level), image.GetDataSize(level));
        EXPECT_EQ(std::memcmp(l.pImage->GetData(level), image.GetData(level), image.GetDataSize(level)), 0);
    }

    // One level: no mip flag, no complex caps.
    Image_DXT1 single;
    single.Allocate(4, 4);
    file = imagetest::WriteTo([&](ByteStreamAdapter& a)
                              { ASSERT_TRUE(ImageLoad::SaveDDS(a, "one.dds", single)); });
    EXPECT_EQ(field(4 + 4), 0x81007u);
    EXPECT_EQ(field(4 + 104), 0x1000u);
}

TEST(ImageDDS, WriterTakesOnlyCompressedImagesWithPowerOfTwoSides)
{
    LogCapture log;
    Image_DXT1 odd;
    odd.Allocate(12, 8);
    auto file = imagetest::WriteTo([&](ByteStreamAdapter& a)
                                   { EXPECT_FALSE(ImageLoad::SaveDDS(a, "odd.dds", odd)); });
    EXPECT_TRUE(file.empty());
    Image_RGBA32 plain;
    plain.Allocate(4, 4);
    file = imagetest::WriteTo([&](ByteStreamAdapter& a)
                              { EXPECT_FALSE(ImageLoad::SaveDDS(a, "plain.dds", plain)); });
    EXPECT_TRUE(file.empty());
    EXPECT_TRUE(log.Has("TEXTURES -- 'plain.dds': Unrecognized image type!"));
}
