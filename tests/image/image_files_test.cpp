// The TGA, BMP, .bw and JPEG readers and writers, on files built by hand and on round trips.
#include "foundation/debug.h"
#include "image/imageload.h"
#include "image_test_util.h"

#include <gtest/gtest.h>

using imagetest::Bytes;

namespace
{
using Loader = std::unique_ptr<Image> (*)(ByteStreamAdapter&, const char*, int*);

struct Loaded
{
    std::unique_ptr<Image> pImage;
    int sourceFormat = -1;
};

Loaded LoadWith(Loader loader, const std::vector<uint8>& bytes)
{
    Loaded out;
    out.pImage = imagetest::ReadFrom<std::unique_ptr<Image>>(
        bytes, [&](ByteStreamAdapter& adapter) { return loader(adapter, "test.file", &out.sourceFormat); });
    return out;
}

const Colour& Pixel32(const Image& image, uint32 i)
{
    return reinterpret_cast<const Colour*>(image.GetData(0))[i];
}

Bytes TGAHeader(uint32 w, uint32 h, uint32 depth, uint32 idLength = 0)
{
    Bytes b;
    b.u8(idLength).u8(0).u8(2).fill(5, 0).fill(4, 0).u16(w).u16(h).u8(depth).u8(0x20);
    return b;
}

// The 54-byte header of a BMP of w by h pixels; the data offset is not read.
Bytes BMPHeader(int32 w, int32 h, uint32 depth, uint32 usedColours, uint32 compression = 0)
{
    Bytes b;
    b.text("BM").u32(0).u32(0).u32(54).u32(40).u32(uint32(w)).u32(uint32(h)).u16(1).u16(depth).u32(
        compression);
    b.u32(0).u32(2835).u32(2835).u32(usedColours).u32(0);
    return b;
}

// Every shorter prefix of a good file must load as null without touching memory outside it.
void ExpectEveryPrefixRejected(Loader loader, const std::vector<uint8>& good)
{
    dbg::ScopedThrowOnAssert quiet(false);
    for (size_t n = 0; n < good.size(); ++n)
    {
        std::vector<uint8> cut(good.begin(), good.begin() + long(n));
        Loaded l = LoadWith(loader, cut);
        ASSERT_EQ(l.pImage, nullptr) << "prefix of " << n << " bytes";
        ASSERT_EQ(l.sourceFormat, SOURCEFORMAT_OTHER);
    }
}
} // namespace

TEST(ImageTGA, TwentyFourBitGetsOpaqueAlphaAndKeepsFileRowOrder)
{
    Bytes file = TGAHeader(2, 2, 24, 3);
    file.text("abc"); // identification field, dropped
    file.u8(1).u8(2).u8(3).u8(4).u8(5).u8(6).u8(7).u8(8).u8(9).u8(10).u8(11).u8(12);
    Loaded l = LoadWith(&ImageLoad::LoadTGA, file.v);
    ASSERT_NE(l.pImage, nullptr);
    EXPECT_EQ(l.sourceFormat, SOURCEFORMAT_OPAQUE);
    EXPECT_EQ(l.pImage->GetImageType(), IMAGETYPE_RGBA32);
    ASSERT_EQ(l.pImage->GetWidth(), 2u);
    const uint8 expect[16] = {1, 2, 3, 255, 4, 5, 6, 255, 7, 8, 9, 255, 10, 11, 12, 255};
    EXPECT_EQ(std::memcmp(l.pImage->GetData(0), expect, 16), 0);
}

TEST(ImageTGA, ThirtyTwoBitKeepsAlphaAndSaysSo)
{
    Bytes file = TGAHeader(1, 2, 32);
    file.u8(1).u8(2).u8(3).u8(4).u8(5).u8(6).u8(7).u8(0);
    Loaded l = LoadWith(&ImageLoad::LoadTGA, file.v);
    ASSERT_NE(l.pImage, nullptr);
    EXPECT_EQ(l.sourceFormat, SOURCEFORMAT_ALPHA);
    EXPECT_EQ(Pixel32(*l.pImage, 0), Colour(3, 2, 1, 4));
    EXPECT_EQ(Pixel32(*l.pImage, 1), Colour(7, 6, 5, 0));
}

TEST(ImageTGA, OtherKindsOfTGAAreRefused)
{
    LogCapture log;
    Bytes sixteen = TGAHeader(2, 2, 16);
    sixteen.fill(8, 0);
    EXPECT_EQ(LoadWith(&ImageLoad::LoadTGA, sixteen.v).pImage, nullptr);

    Bytes rle = TGAHeader(2, 2, 24);
    rle.v[2] = 10; // run-length coded
    rle.fill(12, 0);
    EXPECT_EQ(LoadWith(&ImageLoad::LoadTGA, rle.v).pImage, nullptr);

    Bytes colourMap = TGAHeader(2, 2, 24);
    colourMap.v[1] = 1;
    colourMap.fill(12, 0);
    EXPECT_EQ(LoadWith(&ImageLoad::LoadTGA, colourMap.v).pImage, nullptr);

    Bytes origin = TGAHeader(2, 2, 24);
    origin.v[8] = 1;
    origin.fill(12, 0);
    EXPECT_EQ(LoadWith(&ImageLoad::LoadTGA, origin.v).pImage, nullptr);

    Bytes empty = TGAHeader(0, 2, 24);
    EXPECT_EQ(LoadWith(&ImageLoad::LoadTGA, empty.v).pImage, nullptr);

    Bytes huge = TGAHeader(5000, 5000, 32);
    EXPECT_EQ(LoadWith(&ImageLoad::LoadTGA, huge.v).pImage, nullptr);
    EXPECT_TRUE(log.Has("TGA is too big (5000x5000)"));
}

TEST(ImageTGA, TruncatedFilesAreRefusedAtEveryLength)
{
    Bytes file = TGAHeader(3, 2, 24, 2);
    file.text("id").fill(18, 7);
    ExpectEveryPrefixRejected(&ImageLoad::LoadTGA, file.v);
    EXPECT_NE(LoadWith(&ImageLoad::LoadTGA, file.v).pImage, nullptr);
}

TEST(ImageTGA, WrittenAndReadBackIsTheSameImage)
{
    auto pImage = imagetest::MakeGradient(7, 5);
    std::vector<uint8> file = imagetest::WriteTo([&](ByteStreamAdapter& a)
                                                 { ASSERT_TRUE(ImageLoad::SaveTGA(a, "out.tga", *pImage)); });
    ASSERT_EQ(file.size(), 18u + 7 * 5 * 4);
    const uint8 header[18] = {0, 0, 2, 0, 0, 0, 0, 0, 0, 0, 0, 0, 7, 0, 5, 0, 32, 0};
    EXPECT_EQ(std::memcmp(file.data(), header, 18), 0);
    Loaded l = LoadWith(&ImageLoad::LoadTGA, file);
    ASSERT_NE(l.pImage, nullptr);
    EXPECT_EQ(l.pImage->GetImageType(), IMAGETYPE_RGBA32);
    EXPECT_EQ(l.pImage->GetWidth(), 7u);
    EXPECT_EQ(l.pImage->GetHeight(), 5u);
    EXPECT_EQ(std::memcmp(l.pImage->GetData(0), pImage->GetData(0), 7 * 5 * 4), 0);

    // 24 bits: written as depth 24, read back with alpha 0xFF.
    auto pRGB = Image::Convert(IMAGETYPE_RGB888, *pImage);
    file = imagetest::WriteTo([&](ByteStreamAdapter& a)
                              { ASSERT_TRUE(ImageLoad::SaveTGA(a, "out.tga", *pRGB)); });
    ASSERT_EQ(file.size(), 18u + 7 * 5 * 3);
    EXPECT_EQ(file[16], 24);
    l = LoadWith(&ImageLoad::LoadTGA, file);
    ASSERT_NE(l.pImage, nullptr);
    for (uint32 i = 0; i < 35; ++i)
    {
        Colour c = Pixel32(*pImage, i);
        c.a = 0xFF;
        ASSERT_EQ(Pixel32(*l.pImage, i), c) << i;
    }
}

TEST(ImageTGA, WriterTakesOnlyTrueColourTypes)
{
    LogCapture log;
    Image_Luminance lum;
    lum.Allocate(2, 2);
    std::vector<uint8> file = imagetest::WriteTo([&](ByteStreamAdapter& a)
                                                 { EXPECT_FALSE(ImageLoad::SaveTGA(a, "grey.tga", lum)); });
    EXPECT_TRUE(file.empty());
    EXPECT_TRUE(log.Has("TEXTURES -- 'grey.tga': Unrecognized image type!"));
}

TEST(ImageBMP, FourBitPaletteCountsThreeBytesAnEntryHighNibbleFirst)
{
    // 3 by 2 pixels, 2 bytes a row padded to 4; 16 colours of 3 bytes when the used count is 0.
    Bytes file = BMPHeader(3, 2, 4, 0);
    for (uint32 i = 0; i < 16; ++i)
        file.u8(i).u8(i * 2).u8(i * 3); // blue, green, red
    file.u8(0x1F).u8(0x20).u8(0xEE).u8(0xEE);
    file.u8(0x34).u8(0x50).u8(0xEE).u8(0xEE);
    Loaded l = LoadWith(&ImageLoad::LoadBMP, file.v);
    ASSERT_NE(l.pImage, nullptr);
    EXPECT_EQ(l.sourceFormat, SOURCEFORMAT_OPAQUE);
    ASSERT_EQ(l.pImage->GetImageType(), IMAGETYPE_PALETTE);
    const uint8 expect[6] = {1, 15, 2, 3, 4, 5};
    EXPECT_EQ(std::memcmp(l.pImage->GetData(0), expect, 6), 0);
    const auto& pal = static_cast<const Image_Palette&>(*l.pImage);
    EXPECT_EQ(pal.PaletteEntry(15), Colour(45, 30, 15, 255));

    // A used count of 2 reads 6 bytes of palette, then the rows.
    Bytes two = BMPHeader(2, 1, 4, 2);
    two.u8(1).u8(2).u8(3).u8(4).u8(5).u8(6);
    two.u8(0x10).fill(3, 0);
    l = LoadWith(&ImageLoad::LoadBMP, two.v);
    ASSERT_NE(l.pImage, nullptr);
    const auto& pal2 = static_cast<const Image_Palette&>(*l.pImage);
    EXPECT_EQ(pal2.PaletteEntry(1), Colour(6, 5, 4, 255));
    EXPECT_EQ(l.pImage->GetData(0)[0], 1);
    EXPECT_EQ(l.pImage->GetData(0)[1], 0);
}

TEST(ImageBMP, EightBitPaletteCountsFourBytesAnEntry)
{
    Bytes file = BMPHeader(2, 2, 8, 0);
    for (uint32 i = 0; i < 256; ++i)
        file.u8(i).u8(255 - i).u8(7).u8(0); // the fourth byte is dropped: alpha 0xFF
    file.u8(0).u8(200).fill(2, 0xEE);
    file.u8(255).u8(1).fill(2, 0xEE);
    Loaded l = LoadWith(&ImageLoad::LoadBMP, file.v);
    ASSERT_NE(l.pImage, nullptr);
    ASSERT_EQ(l.pImage->GetImageType(), IMAGETYPE_PALETTE);
    const uint8 expect[4] = {0, 200, 255, 1};
    EXPECT_EQ(std::memcmp(l.pImage->GetData(0), expect, 4), 0);
    EXPECT_EQ(static_cast<const Image_Palette&>(*l.pImage).PaletteEntry(200), Colour(7, 55, 200, 255));
}

TEST(ImageBMP, TwentyFourAndThirtyTwoBitRows)
{
    Bytes rgb = BMPHeader(2, 2, 24, 0);
    rgb.u8(1).u8(2).u8(3).u8(4).u8(5).u8(6).fill(2, 0xEE);
    rgb.u8(7).u8(8).u8(9).u8(10).u8(11).u8(12).fill(2, 0xEE);
    Loaded l = LoadWith(&ImageLoad::LoadBMP, rgb.v);
    ASSERT_NE(l.pImage, nullptr);
    EXPECT_EQ(l.sourceFormat, SOURCEFORMAT_OPAQUE);
    ASSERT_EQ(l.pImage->GetImageType(), IMAGETYPE_RGBA32);
    const uint8 expect24[16] = {1, 2, 3, 255, 4, 5, 6, 255, 7, 8, 9, 255, 10, 11, 12, 255};
    EXPECT_EQ(std::memcmp(l.pImage->GetData(0), expect24, 16), 0);

    Bytes rgba = BMPHeader(2, 2, 32, 0);
    for (uint32 i = 0; i < 16; ++i)
        rgba.u8(i);
    l = LoadWith(&ImageLoad::LoadBMP, rgba.v);
    ASSERT_NE(l.pImage, nullptr);
    EXPECT_EQ(l.sourceFormat, SOURCEFORMAT_ALPHA);
    EXPECT_EQ(Pixel32(*l.pImage, 3), Colour(14, 13, 12, 15));
}

TEST(ImageBMP, EachRefusalHasItsMessage)
{
    LogCapture log;
    Bytes notBmp = BMPHeader(2, 2, 24, 0);
    notBmp.v[0] = 'X';
    EXPECT_EQ(LoadWith(&ImageLoad::LoadBMP, notBmp.v).pImage, nullptr);
    EXPECT_TRUE(log.Has("Not a BMP that I know how to read. [test.file]"));

    EXPECT_EQ(LoadWith(&ImageLoad::LoadBMP, BMPHeader(2, 2, 8, 0, 1).v).pImage, nullptr);
    EXPECT_TRUE(log.Has("Don't know how to handle compressed BMPs. [test.file]"));

    EXPECT_EQ(LoadWith(&ImageLoad::LoadBMP, BMPHeader(2, 2, 16, 0).v).pImage, nullptr);
    EXPECT_TRUE(log.Has("Unsupported BMP format. [test.file]"));

    Bytes shortPalette = BMPHeader(2, 2, 8, 4);
    shortPalette.fill(15, 0);
    EXPECT_EQ(LoadWith(&ImageLoad::LoadBMP, shortPalette.v).pImage, nullptr);
    EXPECT_TRUE(log.Has("Not enough file for the palette."));

    Bytes shortRows = BMPHeader(2, 2, 24, 0);
    shortRows.fill(15, 0);
    EXPECT_EQ(LoadWith(&ImageLoad::LoadBMP, shortRows.v).pImage, nullptr);
    EXPECT_TRUE(log.Has("Not enough file for the bitmap."));

    // Top-down (negative height) and oversized files are refused before anything is allocated.
    EXPECT_EQ(LoadWith(&ImageLoad::LoadBMP, BMPHeader(2, -2, 24, 0).v).pImage, nullptr);
    EXPECT_EQ(LoadWith(&ImageLoad::LoadBMP, BMPHeader(100000, 100000, 24, 0).v).pImage, nullptr);
    EXPECT_EQ(LoadWith(&ImageLoad::LoadBMP, BMPHeader(2, 2, 8, 100000).v).pImage, nullptr);
}

TEST(ImageBMP, TruncatedFilesAreRefusedAtEveryLength)
{
    Bytes file = BMPHeader(3, 3, 4, 3);
    file.fill(9, 1).fill(12, 0x12);
    ExpectEveryPrefixRejected(&ImageLoad::LoadBMP, file.v);
    EXPECT_NE(LoadWith(&ImageLoad::LoadBMP, file.v).pImage, nullptr);
}

TEST(ImageBW, BigEndianHeaderAndPlainLuminanceBytes)
{
    Bytes file;
    file.be16(0x01DA).u8(0).u8(1).be16(2).be16(3).be16(2).be16(1).be32(0).be32(255);
    file.fill(512 - file.size(), 0);
    for (uint32 i = 0; i < 6; ++i)
        file.u8(i * 40);
    Loaded l = LoadWith(&ImageLoad::LoadBW, file.v);
    ASSERT_NE(l.pImage, nullptr);
    EXPECT_EQ(l.sourceFormat, SOURCEFORMAT_LUMINANCE);
    EXPECT_EQ(l.pImage->GetImageType(), IMAGETYPE_LUMINANCE);
    EXPECT_EQ(l.pImage->GetWidth(), 3u);
    EXPECT_EQ(l.pImage->GetHeight(), 2u);
    const uint8 expect[6] = {0, 40, 80, 120, 160, 200};
    EXPECT_EQ(std::memcmp(l.pImage->GetData(0), expect, 6), 0);
}

TEST(ImageBW, SmallMangledAndShortFilesAreRefusedWithTheirMessages)
{
    LogCapture log;
    Bytes small;
    small.be16(0x01DA).fill(100, 0);
    EXPECT_EQ(LoadWith(&ImageLoad::LoadBW, small.v).pImage, nullptr);
    EXPECT_TRUE(log.Has("BW is too small. [test.file]"));

    Bytes mangled;
    mangled.be16(0xDA01).fill(510, 0);
    EXPECT_EQ(LoadWith(&ImageLoad::LoadBW, mangled.v).pImage, nullptr);
    EXPECT_TRUE(log.Has("BW file header is mangled. [test.file]"));

    Bytes shortPixels;
    shortPixels.be16(0x01DA).u16(0).be16(2).be16(4).be16(4).be16(1).fill(500, 0).fill(15, 9);
    EXPECT_EQ(LoadWith(&ImageLoad::LoadBW, shortPixels.v).pImage, nullptr);
    EXPECT_TRUE(log.Has("BW file doesn't have enough pixels. [test.file]"));
}

TEST(ImageJPEG, WrittenAndReadBackKeepsTheColoursOfFlatAreas)
{
    // Four flat quarters of 8 by 8 pixels: at quality 100 each comes back within a step or two.
    const Colour quarter[4] = {Colour(200, 30, 40, 9), Colour(20, 180, 60, 9), Colour(10, 20, 230, 9),
                               Colour(128, 128, 128, 9)};
    Image_RGBA32 image;
    image.Allocate(16, 16);
    for (uint32 y = 0; y < 16; ++y)
        for (uint32 x = 0; x < 16; ++x)
            image[y * 16 + x] = quarter[(y / 8) * 2 + x / 8];
    std::vector<uint8> file = imagetest::WriteTo([&](ByteStreamAdapter& a)
                                                 { ASSERT_TRUE(ImageLoad::SaveJPEG(a, "out.jpg", image)); });
    ASSERT_GT(file.size(), 100u);
    EXPECT_EQ(file[0], 0xFF);
    EXPECT_EQ(file[1], 0xD8);

    Loaded l = LoadWith(&ImageLoad::LoadJPEG, file);
    ASSERT_NE(l.pImage, nullptr);
    EXPECT_EQ(l.sourceFormat, SOURCEFORMAT_OPAQUE);
    ASSERT_EQ(l.pImage->GetWidth(), 16u);
    for (uint32 q = 0; q < 4; ++q)
    {
        const uint32 i = (q / 2) * 8 * 16 + (q % 2) * 8 + 3 * 16 + 3; // well inside the quarter
        const Colour& got = Pixel32(*l.pImage, i);
        EXPECT_NEAR(got.r, quarter[q].r, 2) << q;
        EXPECT_NEAR(got.g, quarter[q].g, 2) << q;
        EXPECT_NEAR(got.b, quarter[q].b, 2) << q;
        EXPECT_EQ(got.a, 0xFF);
    }
}

TEST(ImageJPEG, DamagedStreamsAndStreamsCutInTheirHeaderGiveNull)
{
    LogCapture log;
    Bytes garbage;
    garbage.u8(0xFF).u8(0xD8).fill(64, 0x55);
    EXPECT_EQ(LoadWith(&ImageLoad::LoadJPEG, garbage.v).pImage, nullptr);
    EXPECT_TRUE(log.Has("JPEG file can't be decoded"));

    Image_RGBA32 image;
    image.Allocate(32, 32);
    std::vector<uint8> file = imagetest::WriteTo([&](ByteStreamAdapter& a)
                                                 { ASSERT_TRUE(ImageLoad::SaveJPEG(a, "x.jpg", image)); });
    for (size_t n : {size_t(0), size_t(2), size_t(20), size_t(100)})
    {
        std::vector<uint8> cut(file.begin(), file.begin() + long(n));
        Loaded l = LoadWith(&ImageLoad::LoadJPEG, cut);
        EXPECT_EQ(l.pImage, nullptr) << n;
        EXPECT_EQ(l.sourceFormat, SOURCEFORMAT_OTHER);
    }
}
