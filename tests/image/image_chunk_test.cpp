// The chunk forms "IMAG" and "IPAL" through the chunk container: round trips, skips, versions,
// damaged chunks and the "noimages" stand-in.
#include "foundation/debug.h"
#include "foundation/runoptions.h"
#include "image/imageload.h"
#include "image_test_util.h"
#include "storage/chunky.h"

#include <gtest/gtest.h>


namespace
{
constexpr uint32 ID_NEXT = 0x4E455854; // "NEXT": a chunk behind the image, to see where reading stops

// A chunk file of one "IMAG" folder (written by `write`) followed by a "NEXT" data chunk.
std::vector<uint8> ChunkFile(const std::function<void(Chunky&, ByteStreamAdapter&)>& write)
{
    return imagetest::WriteTo(
        [&](ByteStreamAdapter& a)
        {
            Chunky chunky(a);
            write(chunky, a);
            chunky.OpenDataChunk(ID_NEXT, 1, nullptr);
            const uint32 marker = 0xC0FFEE;
            a.WriteArray(&marker, 1);
            chunky.CloseChunk();
        });
}

std::vector<uint8> SavedImage(const Image& image)
{
    return ChunkFile([&](Chunky& c, ByteStreamAdapter& a) { ImageLoad::Save(c, a, image); });
}

// Loads the image and checks that the reader then stands before "NEXT".
std::unique_ptr<Image> LoadImage(const std::vector<uint8>& file, int skip = 0)
{
    return imagetest::ReadFrom<std::unique_ptr<Image>>(file,
                                                       [&](ByteStreamAdapter& a)
                                                       {
                                                           Chunky chunky(a);
                                                           std::unique_ptr<Image> pImage =
                                                               ImageLoad::Load(chunky, a, skip);
                                                           chunky.ReadDataChunk(ID_NEXT, 1);
                                                           uint32 marker = 0;
                                                           a.ReadArray(&marker, 1);
                                                           EXPECT_EQ(marker, 0xC0FFEEu);
                                                           chunky.CloseChunk();
                                                           return pImage;
                                                       });
}

void ExpectSameImage(const Image& got, const Image& want)
{
    EXPECT_EQ(got.GetImageType(), want.GetImageType());
    EXPECT_EQ(got.GetWidth(), want.GetWidth());
    EXPECT_EQ(got.GetHeight(), want.GetHeight());
    ASSERT_EQ(got.GetMipCount(), want.GetMipCount());
    EXPECT_STREQ(got.GetName(), want.GetName());
    for (uint32 level = 0; level < want.GetMipCount(); ++level)
    {
        ASSERT_EQ(got.GetDataSize(level), want.GetDataSize(level)) << level;
        EXPECT_EQ(std::memcmp(got.GetData(level), want.GetData(level), want.GetDataSize(level)), 0) << level;
    }
}

// A compressed image whose every level is filled with its level number plus one.
std::unique_ptr<Image> CompressedChain(int type, uint32 w, uint32 h, uint32 mips)
{
    std::unique_ptr<Image> p = Image::Create(type);
    p->SetMipCount(mips);
    p->Allocate(w, h);
    p->SetName("walker_skin");
    for (uint32 level = 0; level < mips; ++level)
        std::memset(p->GetData(level), int(level + 1), p->GetDataSize(level));
    return p;
}
} // namespace

TEST(ImageChunk, WrittenAndReadBackWithTypeSizeMipsAndBytes)
{
    auto p32 = imagetest::MakeGradient(8, 4);
    p32->SetName("walker_diffuse");
    ASSERT_TRUE(CreateMipMapChain(*p32));
    auto pBack = LoadImage(SavedImage(*p32));
    ASSERT_NE(pBack, nullptr);
    ExpectSameImage(*pBack, *p32);

    for (int type : {IMAGETYPE_DXT1, IMAGETYPE_DXT3, IMAGETYPE_DXT5})
    {
        auto pDxt = CompressedChain(type, 16, 8, 5);
        pBack = LoadImage(SavedImage(*pDxt));
        ASSERT_NE(pBack, nullptr) << type;
        ExpectSameImage(*pBack, *pDxt);
    }

    auto pRGB = Image::Convert(IMAGETYPE_RGB888, *imagetest::MakeGradient(3, 3));
    pRGB->SetName("rgb");
    pBack = LoadImage(SavedImage(*pRGB));
    ASSERT_NE(pBack, nullptr);
    ExpectSameImage(*pBack, *pRGB);
}

TEST(ImageChunk, LayoutOfTheChunksByteByByte)
{
    Image_Luminance image;
    image.Allocate(2, 1);
    image[0] = 0xAB;
    image[1] = 0xCD;
    image.SetName("g");
    std::vector<uint8> file = imagetest::WriteTo(
        [&](ByteStreamAdapter& a)
        {
            Chunky chunky(a);
            ImageLoad::Save(chunky, a, image);
        });
    imagetest::Bytes expect;
    expect.text("Vardo Chunky\r\n\x1a").u8(0).u32(1).u32(1);
    expect.text("FOLDIMAG").u32(1).u32(20 + 16 + 20 + 2).u32(2).text("g").u8(0);
    expect.text("DATAATTR").u32(2).u32(16).u32(0).u32(1).u32(2).u32(1).u32(1);
    expect.text("DATADATA").u32(2).u32(2).u32(0).u8(0xAB).u8(0xCD);
    EXPECT_EQ(file, expect.v);
}

TEST(ImageChunk, SkipDropsTopLevelsAndKeepsCompressedSidesAtFour)
{
    auto pDxt = CompressedChain(IMAGETYPE_DXT1, 16, 16, 5);
    std::vector<uint8> file = SavedImage(*pDxt);

    auto p = LoadImage(file, 2);
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(p->GetWidth(), 4u);
    ASSERT_EQ(p->GetMipCount(), 3u);
    for (uint32 level = 0; level < 3; ++level)
        EXPECT_EQ(p->GetData(level)[0], level + 3) << level;

    p = LoadImage(file, 4); // would be 1 by 1: held at 4 by 4
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(p->GetWidth(), 4u);
    EXPECT_EQ(p->GetMipCount(), 3u);

    p = LoadImage(file, 5); // not below the mip count: no skip at all
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(p->GetWidth(), 16u);
    EXPECT_EQ(p->GetMipCount(), 5u);

    // Pixel maps have no floor but 1.
    auto p32 = imagetest::MakeGradient(8, 8);
    CreateMipMapChain(*p32);
    p = LoadImage(SavedImage(*p32), 3);
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(p->GetWidth(), 1u);
    EXPECT_EQ(p->GetMipCount(), 1u);
    EXPECT_EQ(std::memcmp(p->GetData(0), p32->GetData(3), 4), 0);
}

TEST(ImageChunk, AttributesOfVersionOneHaveNoMipCount)
{
    std::vector<uint8> file = ChunkFile(
        [](Chunky& c, ByteStreamAdapter& a)
        {
            c.OpenFolderChunk(ImageLoad::ID_IMAG, 1, "old");
            c.OpenDataChunk(ImageLoad::ID_ATTR, 1, nullptr);
            const uint32 fields[3] = {IMAGETYPE_LUMINANCE, 2, 2};
            a.WriteArray(fields, 3);
            c.CloseChunk();
            c.OpenDataChunk(ImageLoad::ID_DATA, 2, nullptr);
            const uint8 pixels[4] = {1, 2, 3, 4};
            a.WriteArray(pixels, 4);
            c.CloseChunk();
            c.CloseChunk();
        });
    auto p = LoadImage(file);
    ASSERT_NE(p, nullptr);
    EXPECT_STREQ(p->GetName(), "old");
    EXPECT_EQ(p->GetMipCount(), 1u);
    EXPECT_EQ(p->GetData(0)[3], 4);
}

TEST(ImageChunk, PalettedImageTakesOnlyTheFirstPaletteEntry)
{
    Image_Palette image;
    image.Allocate(2, 2);
    image.SetName("pal");
    for (uint32 i = 0; i < 4; ++i)
        image[i] = uint8(i * 3);
    image.PaletteEntry(0) = Colour(1, 2, 3, 4);
    image.PaletteEntry(1) = Colour(5, 6, 7, 8);
    auto p = LoadImage(SavedImage(image));
    ASSERT_NE(p, nullptr);
    ASSERT_EQ(p->GetImageType(), IMAGETYPE_PALETTE);
    EXPECT_EQ(std::memcmp(p->GetData(0), image.GetData(0), 4), 0);
    const auto& pal = static_cast<const Image_Palette&>(*p);
    EXPECT_EQ(pal.PaletteEntry(0), Colour(1, 2, 3, 4));
    EXPECT_EQ(pal.PaletteEntry(1), Colour(0, 0, 0, 0));
}

TEST(ImageChunk, DamagedChunksGiveNullAndLeaveTheReaderBehindTheFolder)
{
    LogCapture log;
    auto writeImage = [](uint32 type, uint32 w, uint32 h, uint32 mips, uint32 dataBytes)
    {
        return ChunkFile(
            [=](Chunky& c, ByteStreamAdapter& a)
            {
                c.OpenFolderChunk(ImageLoad::ID_IMAG, 1, "bad");
                c.OpenDataChunk(ImageLoad::ID_ATTR, 2, nullptr);
                const uint32 fields[4] = {type, w, h, mips};
                a.WriteArray(fields, 4);
                c.CloseChunk();
                c.OpenDataChunk(ImageLoad::ID_DATA, 2, nullptr);
                std::vector<uint8> data(dataBytes, 7);
                a.WriteArray(data.data(), dataBytes);
                c.CloseChunk();
                c.CloseChunk();
            });
    };
    EXPECT_NE(LoadImage(writeImage(IMAGETYPE_RGBA32, 2, 2, 2, 20)), nullptr); // 16 + 4 bytes: right
    EXPECT_EQ(LoadImage(writeImage(IMAGETYPE_RGBA32, 2, 2, 2, 19)), nullptr);
    EXPECT_TRUE(log.Has("Image data is cut short: 19 bytes, 20 needed."));
    EXPECT_EQ(LoadImage(writeImage(3, 2, 2, 1, 16)), nullptr);
    EXPECT_TRUE(log.Has("which is no image type"));
    EXPECT_EQ(LoadImage(writeImage(IMAGETYPE_RGBA32, 5000, 2, 1, 16)), nullptr);
    EXPECT_EQ(LoadImage(writeImage(IMAGETYPE_RGBA32, 0, 2, 1, 16)), nullptr);
    EXPECT_EQ(LoadImage(writeImage(IMAGETYPE_RGBA32, 2, 2, 3, 64)), nullptr); // 2x2 has 2 levels at most
    EXPECT_EQ(LoadImage(writeImage(IMAGETYPE_RGBA32, 2, 2, 0, 64)), nullptr);

    dbg::ScopedThrowOnAssert quiet(false);
    // Compressed images smaller than a block, and 16-bit types, are assertions with a null result.
    EXPECT_EQ(LoadImage(writeImage(IMAGETYPE_DXT1, 2, 2, 1, 8)), nullptr);
    EXPECT_EQ(LoadImage(writeImage(IMAGETYPE_RGB565, 2, 2, 1, 8)), nullptr);

    // An attribute chunk too short for its fields.
    std::vector<uint8> shortAttr = ChunkFile(
        [](Chunky& c, ByteStreamAdapter& a)
        {
            c.OpenFolderChunk(ImageLoad::ID_IMAG, 1, "short");
            c.OpenDataChunk(ImageLoad::ID_ATTR, 2, nullptr);
            const uint32 fields[2] = {0, 2};
            a.WriteArray(fields, 2);
            c.CloseChunk();
            c.CloseChunk();
        });
    EXPECT_EQ(LoadImage(shortAttr), nullptr);
    EXPECT_TRUE(log.Has("Image attributes are cut short"));
}

TEST(ImageChunk, NewerChunkVersionsThrowFromTheContainer)
{
    std::vector<uint8> file = ChunkFile(
        [](Chunky& c, ByteStreamAdapter& a)
        {
            c.OpenFolderChunk(ImageLoad::ID_IMAG, 1, "new");
            c.OpenDataChunk(ImageLoad::ID_ATTR, 3, nullptr);
            const uint32 fields[4] = {0, 1, 1, 1};
            a.WriteArray(fields, 4);
            c.CloseChunk();
            c.CloseChunk();
        });
    EXPECT_THROW(LoadImage(file), Chunky::Exception);
}

TEST(ImageChunk, NoImagesConsumesTheFolderAndGivesAGreyPixel)
{
    auto p32 = imagetest::MakeGradient(4, 4);
    p32->SetName("walker");
    std::vector<uint8> file = SavedImage(*p32);
    RunOptions::SetFileText("noimages");
    auto p = LoadImage(file);
    RunOptions::Clear();
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(p->GetImageType(), IMAGETYPE_RGBA32);
    EXPECT_EQ(p->GetWidth(), 1u);
    EXPECT_EQ(p->GetHeight(), 1u);
    EXPECT_STREQ(p->GetName(), "walker");
    EXPECT_EQ(reinterpret_cast<const Colour*>(p->GetData(0))->Word(), 0xFF9F9F9Fu);
}

TEST(ImageChunk, PalettedImageChunkRoundTripAndBounds)
{
    Image_Palette image;
    image.Allocate(3, 2);
    image.SetName("team");
    for (uint32 i = 0; i < 6; ++i)
        image[i] = uint8(250 + i);
    for (uint32 i = 0; i < 256; ++i)
        image.PaletteEntry(i) = Colour(uint8(i), uint8(i + 1), uint8(i + 2), uint8(i + 3));
    std::vector<uint8> file = imagetest::WriteTo(
        [&](ByteStreamAdapter& a)
        {
            Chunky chunky(a);
            ImageLoad::SaveImagePalette(chunky, a, image);
        });
    ASSERT_EQ(file.size(), 24u + 20 + 5 + 8 + 6 + 0x400);
    auto p =
        imagetest::ReadFrom<std::unique_ptr<Image_Palette>>(file,
                                                            [](ByteStreamAdapter& a)
                                                            {
                                                                Chunky chunky(a);
                                                                return ImageLoad::LoadImagePalette(chunky, a);
                                                            });
    ASSERT_NE(p, nullptr);
    EXPECT_STREQ(p->GetName(), "team");
    EXPECT_EQ(p->GetWidth(), 3u);
    EXPECT_EQ(std::memcmp(p->GetData(0), image.GetData(0), 6), 0);
    EXPECT_EQ(std::memcmp(p->GetPalette(), image.GetPalette(), 0x400), 0);

    // Claims more index bytes than the chunk holds.
    LogCapture log;
    std::vector<uint8> lying = imagetest::WriteTo(
        [&](ByteStreamAdapter& a)
        {
            Chunky chunky(a);
            chunky.OpenDataChunk(ImageLoad::ID_IPAL, 1, "lying");
            const uint32 size[2] = {64, 64};
            a.WriteArray(size, 2);
            std::vector<uint8> some(100, 1);
            a.WriteArray(some.data(), 100);
            chunky.CloseChunk();
        });
    p = imagetest::ReadFrom<std::unique_ptr<Image_Palette>>(lying,
                                                            [](ByteStreamAdapter& a)
                                                            {
                                                                Chunky chunky(a);
                                                                return ImageLoad::LoadImagePalette(chunky, a);
                                                            });
    EXPECT_EQ(p, nullptr);
    EXPECT_TRUE(log.Has("Paletted image 'lying' is cut short"));
}
