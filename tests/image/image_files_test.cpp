// The TGA, BMP, .bw, JPEG and DDS readers and writers, on files built by hand and on round trips.
#include "foundation/debug.h"
#include "image/imageload.h"
#include "image_test_util.h"

#include <gtest/gtest.h>

using namespace imagetest;

namespace
{
Bytes TGAHeader(uint32 w, uint32 h, uint32 depth, uint32 idLength = 0)
{
    return Bytes().u8(idLength).u8(0).u8(2).fill(9, 0).u16(w).u16(h).u8(depth).u8(0x20);
}

// The 54-byte header of a BMP of w by h pixels; the data offset is not read.
Bytes BMPHeader(int32 w, int32 h, uint32 depth, uint32 usedColours, uint32 compression = 0)
{
    return Bytes()
        .text("BM")
        .u32(0)
        .u32(0)
        .u32(54)
        .u32(40)
        .u32(uint32(w))
        .u32(uint32(h))
        .u16(1)
        .u16(depth)
        .u32(compression)
        .u32(0)
        .u32(2835)
        .u32(2835)
        .u32(usedColours)
        .u32(0);
}

Bytes BWHeader(uint32 w, uint32 h)
{
    Bytes b;
    b.be16(0x01DA).u8(0).u8(1).be16(2).be16(w).be16(h).be16(1).be32(0).be32(255);
    return b.fill(512 - b.size(), 0);
}

Bytes Count(Bytes b, uint32 from, uint32 to)
{
    for (uint32 i = from; i < to; ++i)
        b.u8(i);
    return b;
}

// A DDS header as a DDS writer lays it out, then each level filled with its level number plus one.
struct DDSLayout
{
    uint32 w = 16, h = 16;
    const char* fourCC = "DXT1";
    uint32 mips = 1;
    uint32 flags = 0x1007;
    uint32 caps = 0x1000;
    uint32 caps2 = 0;
    uint32 blockBytes = 8;
};
DDSLayout Mipped(uint32 w, uint32 h, uint32 mips)
{
    DDSLayout s;
    s.w = w;
    s.h = h;
    s.mips = mips;
    s.flags |= 0x20000;
    s.caps |= 0x400008;
    return s;
}
Bytes MakeDDS(const DDSLayout& s)
{
    Bytes b;
    b.text("DDS ").u32(124).u32(s.flags).u32(s.h).u32(s.w).u32(0).u32(0).u32(s.mips).fill(44, 0);
    b.u32(32).u32(0x4).text(s.fourCC).fill(20, 0).u32(s.caps).u32(s.caps2).fill(12, 0);
    for (uint32 i = 0; i < std::max(1u, s.mips); ++i)
    {
        const uint32 w = std::max(1u, s.w >> i), h = std::max(1u, s.h >> i);
        b.fill(((w + 3) / 4) * ((h + 3) / 4) * s.blockBytes, uint8(i + 1));
    }
    return b;
}
Loader DDSLoader(int skip)
{
    return [skip](ByteStreamAdapter& a, const char*, int* pFormat)
    { return ImageLoad::LoadDDS(a, "test.dds", pFormat, skip); };
}
const Loader TGA = &ImageLoad::LoadTGA;
const Loader BMP = &ImageLoad::LoadBMP;
const Loader BW = &ImageLoad::LoadBW;
const Loader JPEG = &ImageLoad::LoadJPEG;

// A file built by hand and the image it holds: type, source format, size, the bytes of level 0
// and, for a paletted one, a palette entry.
struct GoodCase
{
    const char* what;
    Loader loader;
    Bytes file;
    int type, sourceFormat;
    uint32 w, h;
    std::vector<uint8> pixels;
    int paletteIndex = -1;
    Colour entry = {};
};

TEST(ImageFiles, HandBuiltFilesLoadToTheirPixels)
{
    Bytes bmp4 = BMPHeader(3, 2, 4, 0);
    for (uint32 i = 0; i < 16; ++i)
        bmp4.u8(i).u8(i * 2).u8(i * 3); // blue, green, red: 16 colours of 3 bytes when the count is 0
    bmp4.u8s({0x1F, 0x20, 0xEE, 0xEE, 0x34, 0x50, 0xEE, 0xEE});
    Bytes bmp8 = BMPHeader(2, 2, 8, 0);
    for (uint32 i = 0; i < 256; ++i)
        bmp8.u8(i).u8(255 - i).u8(7).u8(0); // 4 bytes an entry, the fourth dropped: alpha 0xFF
    bmp8.u8s({0, 200, 0xEE, 0xEE, 255, 1, 0xEE, 0xEE});
    const std::vector<uint8> opaque = {1, 2, 3, 255, 4, 5, 6, 255, 7, 8, 9, 255, 10, 11, 12, 255};
    // clang-format off
    const GoodCase cases[] = {
        {"TGA 24 bits after an id field", TGA, Count(TGAHeader(2, 2, 24, 3).text("abc"), 1, 13),
         IMAGETYPE_RGBA32, SOURCEFORMAT_OPAQUE, 2, 2, opaque},
        {"TGA 32 bits", TGA, TGAHeader(1, 2, 32).u8s({1, 2, 3, 4, 5, 6, 7, 0}),
         IMAGETYPE_RGBA32, SOURCEFORMAT_ALPHA, 1, 2, {1, 2, 3, 4, 5, 6, 7, 0}},
        {"BMP 4 bits, high nibble first", BMP, bmp4,
         IMAGETYPE_PALETTE, SOURCEFORMAT_OPAQUE, 3, 2, {1, 15, 2, 3, 4, 5}, 15, Colour(45, 30, 15, 255)},
        {"BMP 4 bits, 2 colours used", BMP, BMPHeader(2, 1, 4, 2).u8s({1, 2, 3, 4, 5, 6, 0x10, 0, 0, 0}),
         IMAGETYPE_PALETTE, SOURCEFORMAT_OPAQUE, 2, 1, {1, 0}, 1, Colour(6, 5, 4, 255)},
        {"BMP 8 bits", BMP, bmp8,
         IMAGETYPE_PALETTE, SOURCEFORMAT_OPAQUE, 2, 2, {0, 200, 255, 1}, 200, Colour(7, 55, 200, 255)},
        {"BMP 24 bits, rows padded", BMP, BMPHeader(2, 2, 24, 0).u8s({1, 2, 3, 4, 5, 6, 0xEE, 0xEE,
                                                                      7, 8, 9, 10, 11, 12, 0xEE, 0xEE}),
         IMAGETYPE_RGBA32, SOURCEFORMAT_OPAQUE, 2, 2, opaque},
        {"BMP 32 bits", BMP, Count(BMPHeader(2, 2, 32, 0), 0, 16),
         IMAGETYPE_RGBA32, SOURCEFORMAT_ALPHA, 2, 2, Count(Bytes(), 0, 16).v},
        {".bw, big-endian", BW, BWHeader(3, 2).u8s({0, 40, 80, 120, 160, 200}),
         IMAGETYPE_LUMINANCE, SOURCEFORMAT_LUMINANCE, 3, 2, {0, 40, 80, 120, 160, 200}},
    };
    // clang-format on
    for (const GoodCase& c : cases)
    {
        SCOPED_TRACE(c.what);
        Loaded l = LoadWith(c.loader, c.file.v);
        ASSERT_NE(l.pImage, nullptr);
        EXPECT_EQ(l.pImage->GetImageType(), c.type);
        EXPECT_EQ(l.sourceFormat, c.sourceFormat);
        EXPECT_EQ(l.pImage->GetWidth(), c.w);
        EXPECT_EQ(l.pImage->GetHeight(), c.h);
        EXPECT_EQ(Level(*l.pImage), c.pixels);
        if (c.paletteIndex >= 0)
        {
            EXPECT_EQ(static_cast<const Image_Palette&>(*l.pImage).PaletteEntry(c.paletteIndex), c.entry);
        }
    }
}

TEST(ImageFiles, RefusedFilesGiveNullAndSayWhy)
{
    DDSLayout noWidth, huge, cube, volume = Mipped(16, 16, 1), dxt2, ati2;
    noWidth.flags = 0x1003;
    huge.w = 8192;
    cube.caps2 = 0x200 | 0xFC00;
    volume.caps2 = 0x200000;
    dxt2.fourCC = "DXT2";
    ati2.fourCC = "ATI2";
    struct RefusedCase
    {
        const char* what;
        Loader loader;
        Bytes file;
        const char* message;
        const char* absent = "\x01"; // a text that must not be logged
    };
    const RefusedCase cases[] = {
        {"TGA 16 bits", TGA, TGAHeader(2, 2, 16).fill(8, 0), ""},
        {"TGA run-length coded", TGA, TGAHeader(2, 2, 24).set(2, 10).fill(12, 0), ""},
        {"TGA huge", TGA, TGAHeader(5000, 5000, 32), "TGA is too big (5000x5000)"},
        {"BMP magic", BMP, BMPHeader(2, 2, 24, 0).set(0, 'X'),
         "Not a BMP that I know how to read. [test.file]"},
        {"BMP compressed", BMP, BMPHeader(2, 2, 8, 0, 1),
         "Don't know how to handle compressed BMPs. [test.file]"},
        {"BMP 16 bits", BMP, BMPHeader(2, 2, 16, 0), "Unsupported BMP format. [test.file]"},
        {"BMP short palette", BMP, BMPHeader(2, 2, 8, 4).fill(15, 0), "Not enough file for the palette."},
        {"BMP short rows", BMP, BMPHeader(2, 2, 24, 0).fill(15, 0), "Not enough file for the bitmap."},
        // Top-down (negative height) and oversized files are refused before anything is allocated.
        {"BMP huge", BMP, BMPHeader(100000, 100000, 24, 0), ""},
        {".bw small", BW, Bytes().be16(0x01DA).fill(100, 0), "BW is too small. [test.file]"},
        {".bw mangled", BW, Bytes().be16(0xDA01).fill(510, 0), "BW file header is mangled. [test.file]"},
        {".bw short", BW, BWHeader(4, 4).fill(15, 9), "BW file doesn't have enough pixels. [test.file]"},
        {"JPEG garbage", JPEG, Bytes().u8(0xFF).u8(0xD8).fill(64, 0x55), "JPEG file can't be decoded"},
        {"DDS magic", DDSLoader(0), MakeDDS(DDSLayout()).set(3, 'X'), "DDS is not happy. [test.dds]"},
        {"DDS without width", DDSLoader(0), MakeDDS(noWidth), "DDS is not happy. [test.dds]"},
        {"DDS huge", DDSLoader(0), MakeDDS(huge), ""},
        {"DDS 6 levels of 16x16", DDSLoader(0), MakeDDS(Mipped(16, 16, 6)), ""},
        // Without complex caps the writer of the file is blamed as well.
        {"DDS cube map", DDSLoader(0), MakeDDS(cube), "Does not support loading of cube maps [test.dds]."},
        {"DDS volume", DDSLoader(0), MakeDDS(volume),
         "Does not support loading of volume textures [test.dds].", "did not save it correctly"},
        {"DDS DXT2", DDSLoader(0), MakeDDS(dxt2), "Unsupported DXTC format! 2", "Unsupported FourCC code"},
        {"DDS ATI2", DDSLoader(0), MakeDDS(ati2), "Unsupported FourCC code in [test.dds]."},
    };
    dbg::ScopedThrowOnAssert quiet(false);
    for (const RefusedCase& c : cases)
    {
        LogCapture log;
        Loaded l = LoadWith(c.loader, c.file.v);
        EXPECT_EQ(l.pImage, nullptr) << c.what;
        EXPECT_EQ(l.sourceFormat, SOURCEFORMAT_OTHER) << c.what;
        EXPECT_TRUE(Logged(log, c.message)) << c.what << ": " << c.message;
        EXPECT_FALSE(log.Has(c.absent)) << c.what << ": " << c.absent;
    }
}

TEST(ImageFiles, TruncatedFilesAreRefusedAtEveryLength)
{
    Image_RGBA32 flat;
    flat.Allocate(32, 32);
    const std::vector<uint8> jpeg =
        WriteTo([&](ByteStreamAdapter& a) { ASSERT_TRUE(ImageLoad::SaveJPEG(a, "x.jpg", flat)); });
    const std::tuple<const char*, Loader, Bytes> files[] = {
        {"TGA", TGA, TGAHeader(3, 2, 24, 2).text("id").fill(18, 7)},
        {"BMP", BMP, BMPHeader(3, 3, 4, 3).fill(9, 1).fill(12, 0x12)},
        {"DDS", DDSLoader(0), MakeDDS(Mipped(8, 8, 3))},
        {"DDS skipping a level", DDSLoader(1), MakeDDS(Mipped(8, 8, 3))},
        {"JPEG", JPEG, Bytes{jpeg}},
    };
    LogCapture log;
    dbg::ScopedThrowOnAssert quiet(false);
    for (const auto& [what, loader, file] : files)
    {
        EXPECT_NE(LoadWith(loader, file.v).pImage, nullptr) << what;
        // Every length for the small files, a few in the header for the JPEG.
        const bool jpegHeader = std::string(what) == "JPEG";
        for (size_t n = 0; n < (jpegHeader ? 101 : file.v.size()); n += jpegHeader ? 20 : 1)
        {
            Loaded l = LoadWith(loader, std::vector<uint8>(file.v.begin(), file.v.begin() + long(n)));
            ASSERT_EQ(l.pImage, nullptr) << what << " cut to " << n;
            ASSERT_EQ(l.sourceFormat, SOURCEFORMAT_OTHER) << what << " cut to " << n;
        }
    }
    EXPECT_TRUE(log.Has("Malformed DDS file.  Not enough file for image."));
}

TEST(ImageDDS, TypesAndTheSkipRules)
{
    DDSLayout dxt3, dxt5, noMipFlag = Mipped(16, 16, 3), noComplex = Mipped(16, 16, 3);
    dxt3.fourCC = "DXT3";
    dxt5.fourCC = "DXT5";
    dxt3.blockBytes = dxt5.blockBytes = 16;
    noMipFlag.flags = 0x1007;
    noComplex.caps = 0x1000;
    // Layout, skip; then type, width, height, levels, the file level the first one comes from, and
    // whether the writer of the file is blamed.
    const struct
    {
        DDSLayout layout;
        int skip, type;
        uint32 w, h, mips, first;
        bool warns;
    } cases[] = {
        {Mipped(16, 8, 5), 0, IMAGETYPE_DXT1, 16, 8, 5, 0, false},
        {dxt5, 0, IMAGETYPE_DXT5, 16, 16, 1, 0, false},
        {Mipped(8, 8, 4), 2, IMAGETYPE_DXT1, 4, 4, 3, 1, false},    // never a side below 4
        {Mipped(32, 8, 6), 3, IMAGETYPE_DXT1, 16, 4, 5, 1, false},  // the smaller side decides
        {Mipped(16, 16, 3), 10, IMAGETYPE_DXT1, 4, 4, 1, 2, false}, // cut to the chain, held at 4
        {noMipFlag, 1, IMAGETYPE_DXT1, 16, 16, 1, 0, false},        // no mip count flag: no skip
        {noComplex, 1, IMAGETYPE_DXT1, 16, 16, 1, 0, true},
        {Mipped(16, 16, 0), 0, IMAGETYPE_DXT1, 16, 16, 1, 0, true},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(::testing::Message() << c.layout.w << "x" << c.layout.h << " " << c.layout.fourCC
                                          << " mips " << c.layout.mips << " skip " << c.skip);
        LogCapture log;
        Loaded l = LoadWith(DDSLoader(c.skip), MakeDDS(c.layout).v);
        ASSERT_NE(l.pImage, nullptr);
        EXPECT_EQ(l.pImage->GetImageType(), c.type);
        EXPECT_EQ(l.sourceFormat, c.type == IMAGETYPE_DXT1   ? SOURCEFORMAT_DXT1
                                  : c.type == IMAGETYPE_DXT3 ? SOURCEFORMAT_DXT3
                                                             : SOURCEFORMAT_DXT5);
        EXPECT_EQ(l.pImage->GetWidth(), c.w);
        EXPECT_EQ(l.pImage->GetHeight(), c.h);
        ASSERT_EQ(l.pImage->GetMipCount(), c.mips);
        for (uint32 level = 0; level < c.mips; ++level)
        {
            const uint32 w = std::max(1u, c.w >> level), h = std::max(1u, c.h >> level);
            EXPECT_EQ(Level(*l.pImage, level),
                      std::vector<uint8>(((w + 3) / 4) * ((h + 3) / 4) * c.layout.blockBytes,
                                         uint8(c.first + level + 1)))
                << level;
        }
        EXPECT_EQ(log.Has("TEXTURE FORMAT -- The tool used to create the DDS file 'test.dds' did not save it "
                          "correctly, please check for an updated version of the tool."),
                  c.warns);
    }
}

TEST(ImageFiles, WrittenAndReadBackIsTheSameImage)
{
    // TGA, 32 bits and 24 (read back with alpha 0xFF).
    auto pImage = MakeGradient(7, 5);
    auto pRGB = Image::Convert(IMAGETYPE_RGB888, *pImage);
    std::vector<uint8> file =
        WriteTo([&](ByteStreamAdapter& a) { ASSERT_TRUE(ImageLoad::SaveTGA(a, "o.tga", *pImage)); });
    ASSERT_EQ(file.size(), 18u + 7 * 5 * 4);
    EXPECT_EQ(std::vector<uint8>(file.begin(), file.begin() + 18),
              (std::vector<uint8>{0, 0, 2, 0, 0, 0, 0, 0, 0, 0, 0, 0, 7, 0, 5, 0, 32, 0}));
    Loaded l = LoadWith(TGA, file);
    ASSERT_NE(l.pImage, nullptr);
    EXPECT_EQ(l.pImage->GetWidth(), 7u);
    EXPECT_EQ(Level(*l.pImage), Level(*pImage));
    file = WriteTo([&](ByteStreamAdapter& a) { ASSERT_TRUE(ImageLoad::SaveTGA(a, "o.tga", *pRGB)); });
    ASSERT_EQ(file.size(), 18u + 7 * 5 * 3);
    EXPECT_EQ(file[16], 24);
    l = LoadWith(TGA, file);
    ASSERT_NE(l.pImage, nullptr);
    for (uint32 i = 0; i < 35; ++i)
        (*pImage)[i].a = 0xFF;
    EXPECT_EQ(Level(*l.pImage), Level(*pImage));
    // DDS with its header fields; one level has no mip flag and no complex caps.
    Image_DXT5 dxt;
    dxt.SetMipCount(4);
    dxt.Allocate(16, 8);
    for (uint32 level = 0; level < 4; ++level)
        for (uint32 i = 0; i < dxt.GetDataSize(level); ++i)
            dxt.GetData(level)[i] = uint8(level * 50 + i);
    file = WriteTo([&](ByteStreamAdapter& a) { ASSERT_TRUE(ImageLoad::SaveDDS(a, "out.dds", dxt)); });
    ASSERT_EQ(file.size(), 4u + 124 + 128 + 32 + 16 + 16);
    auto field = [&](uint32 at)
    { return uint32(file[at] | file[at + 1] << 8 | file[at + 2] << 16 | file[at + 3] << 24); };
    const std::pair<uint32, uint32> fields[] = {
        {8, 0x81007u | 0x20000u},      {12, 8},         {16, 16}, {20, 4 * 8 * 4 * 16}, {28, 4},
        {84, 0x35545844 /* "DXT5" */}, {108, 0x401008u}};
    for (const auto& [at, value] : fields)
        EXPECT_EQ(field(at), value) << at;
    l = LoadWith(DDSLoader(0), file);
    ASSERT_NE(l.pImage, nullptr);
    ASSERT_EQ(l.pImage->GetMipCount(), 4u);
    for (uint32 level = 0; level < 4; ++level)
        EXPECT_EQ(Level(*l.pImage, level), Level(dxt, level)) << level;
}

} // namespace
