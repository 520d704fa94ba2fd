// The chunk forms "IMAG" and "IPAL" through the chunk container: round trips, skips, versions,
// damaged chunks and the "noimages" stand-in.
#include "foundation/debug.h"
#include "foundation/runoptions.h"
#include "image/imageload.h"
#include "image_test_util.h"
#include "storage/chunky.h"

#include "support/chunkmemory.h"

#include <gtest/gtest.h>

using namespace imagetest;

namespace
{
constexpr uint32 ID_NEXT = 0x4E455854; // "NEXT": a chunk behind the image, to see where reading stops

// A chunk file of what `write` writes followed by a "NEXT" data chunk.
std::string ChunkFile(const std::function<void(Chunky&, ByteStreamAdapter&)>& write)
{
    ChunkWriter out;
    write(*out.m_pChunky, out.m_adapter);
    out.m_pChunky->OpenDataChunk(ID_NEXT, 1, nullptr);
    out.m_adapter.WriteValue(uint32(0xC0FFEE));
    out.m_pChunky->CloseChunk();
    return out.Bytes();
}
std::string SavedImage(const Image& image)
{
    return ChunkFile([&](Chunky& c, ByteStreamAdapter& a) { ImageLoad::Save(c, a, image); });
}
// An "IMAG" folder of attributes (version `attrVersion`, these words) and `dataBytes` bytes of 7.
std::string ImageFolder(uint32 attrVersion, std::vector<uint32> attributes, int dataBytes)
{
    return ChunkFile(
        [&](Chunky& c, ByteStreamAdapter& a)
        {
            c.OpenFolderChunk(ImageLoad::ID_IMAG, 1, "hand");
            c.OpenDataChunk(ImageLoad::ID_ATTR, attrVersion, nullptr);
            a.WriteArray(attributes.data(), uint32(attributes.size()));
            c.CloseChunk();
            if (dataBytes >= 0)
            {
                c.OpenDataChunk(ImageLoad::ID_DATA, 2, nullptr);
                const std::vector<uint8> data(dataBytes, 7);
                a.WriteArray(data.data(), uint32(dataBytes));
                c.CloseChunk();
            }
            c.CloseChunk();
        });
}

// Loads the image and checks that the reader then stands before "NEXT".
std::unique_ptr<Image> LoadImage(const std::string& file, int skip = 0)
{
    ChunkReader in(file);
    std::unique_ptr<Image> pImage = ImageLoad::Load(*in.m_pChunky, in.m_adapter, skip);
    in.m_pChunky->ReadDataChunk(ID_NEXT, 1);
    uint32 marker = 0;
    in.m_adapter.ReadValue(marker);
    EXPECT_EQ(marker, 0xC0FFEEu);
    return pImage;
}

void ExpectSameImage(const Image* pGot, const Image& want)
{
    ASSERT_NE(pGot, nullptr);
    EXPECT_EQ(pGot->GetImageType(), want.GetImageType());
    EXPECT_EQ(pGot->GetWidth(), want.GetWidth());
    EXPECT_EQ(pGot->GetHeight(), want.GetHeight());
    ASSERT_EQ(pGot->GetMipCount(), want.GetMipCount());
    EXPECT_STREQ(pGot->GetName(), want.GetName());
    for (uint32 level = 0; level < want.GetMipCount(); ++level)
        EXPECT_EQ(Level(*pGot, level), Level(want, level)) << level;
}

// An image whose every level is filled with its level number plus one.
std::unique_ptr<Image> Chain(int type, uint32 w, uint32 h, uint32 mips)
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
    auto p32 = MakeGradient(8, 4);
    p32->SetName("walker_diffuse");
    ASSERT_TRUE(CreateMipMapChain(*p32));
    ExpectSameImage(LoadImage(SavedImage(*p32)).get(), *p32);
    for (int type : {IMAGETYPE_DXT1, IMAGETYPE_DXT3, IMAGETYPE_DXT5})
    {
        auto pDxt = Chain(type, 16, 8, 5);
        ExpectSameImage(LoadImage(SavedImage(*pDxt)).get(), *pDxt);
    }
    auto pRGB = Image::Convert(IMAGETYPE_RGB888, *MakeGradient(3, 3));
    pRGB->SetName("rgb");
    ExpectSameImage(LoadImage(SavedImage(*pRGB)).get(), *pRGB);
}

TEST(ImageChunk, LayoutOfTheChunksByteByByte)
{
    Image_Luminance image;
    image.Allocate(2, 1);
    image[0] = 0xAB;
    image[1] = 0xCD;
    image.SetName("g");
    ChunkWriter out;
    ImageLoad::Save(*out.m_pChunky, out.m_adapter, image);
    Bytes expect;
    expect.text("Vardo Chunky\r\n\x1a").u8(0).u32(1).u32(1);
    expect.text("FOLDIMAG").u32(1).u32(20 + 16 + 20 + 2).u32(2).text("g").u8(0);
    expect.text("DATAATTR").u32(2).u32(16).u32(0).u32(1).u32(2).u32(1).u32(1);
    expect.text("DATADATA").u32(2).u32(2).u32(0).u8(0xAB).u8(0xCD);
    EXPECT_EQ(out.Bytes(), std::string(expect.v.begin(), expect.v.end()));
}

TEST(ImageChunk, SkipDropsTopLevelsAndKeepsCompressedSidesAtFour)
{
    const std::string dxt = SavedImage(*Chain(IMAGETYPE_DXT1, 16, 16, 5));
    auto p32 = Chain(IMAGETYPE_RGBA32, 8, 8, 4);
    const std::string rgba = SavedImage(*p32);
    // File, skip; then width, levels and the file level of the first.
    const std::tuple<const std::string*, int, uint32, uint32, uint32> cases[] = {
        {&dxt, 2, 4, 3, 2},
        {&dxt, 4, 4, 3, 2},  // 1 by 1 is held at 4 by 4
        {&dxt, 5, 16, 5, 0}, // not below the mip count: no skip at all
        {&rgba, 3, 1, 1, 3}, // pixel maps have no floor but 1
    };
    for (const auto& [pFile, skip, w, mips, first] : cases)
    {
        auto p = LoadImage(*pFile, skip);
        ASSERT_NE(p, nullptr) << skip;
        EXPECT_EQ(p->GetWidth(), w) << skip;
        ASSERT_EQ(p->GetMipCount(), mips) << skip;
        for (uint32 level = 0; level < mips; ++level)
            EXPECT_EQ(p->GetData(level)[0], first + level + 1) << skip << " " << level;
    }
}

TEST(ImageChunk, OldAttributesPalettesAndTheNoImagesStandIn)
{
    // Attributes of version 1 have no mip count.
    auto p = LoadImage(ImageFolder(1, {IMAGETYPE_LUMINANCE, 2, 2}, 4));
    ASSERT_NE(p, nullptr);
    EXPECT_STREQ(p->GetName(), "hand");
    EXPECT_EQ(p->GetMipCount(), 1u);
    EXPECT_EQ(Level(*p), std::vector<uint8>(4, 7));
    // A paletted image takes only the first palette entry.
    Image_Palette pal;
    pal.Allocate(2, 2);
    pal.SetName("pal");
    for (uint32 i = 0; i < 4; ++i)
        pal[i] = uint8(i * 3);
    pal.PaletteEntry(0) = Colour(1, 2, 3, 4);
    pal.PaletteEntry(1) = Colour(5, 6, 7, 8);
    p = LoadImage(SavedImage(pal));
    ASSERT_NE(p, nullptr);
    ASSERT_EQ(p->GetImageType(), IMAGETYPE_PALETTE);
    EXPECT_EQ(Level(*p), Level(pal));
    EXPECT_EQ(static_cast<const Image_Palette&>(*p).PaletteEntry(0), Colour(1, 2, 3, 4));
    EXPECT_EQ(static_cast<const Image_Palette&>(*p).PaletteEntry(1), Colour(0, 0, 0, 0));
    // "noimages" passes over the folder and gives one grey pixel of the image's name.
    auto p32 = MakeGradient(4, 4);
    p32->SetName("walker");
    RunOptions::SetFileText("noimages");
    p = LoadImage(SavedImage(*p32));
    RunOptions::Clear();
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(p->GetImageType(), IMAGETYPE_RGBA32);
    EXPECT_EQ(p->GetWidth() * p->GetHeight(), 1u);
    EXPECT_STREQ(p->GetName(), "walker");
    EXPECT_EQ(reinterpret_cast<const Colour*>(p->GetData(0))->Word(), 0xFF9F9F9Fu);
}

TEST(ImageChunk, DamagedChunksGiveNullAndLeaveTheReaderBehindTheFolder)
{
    // Type, width, height, mips; the data bytes (-1: no data chunk); the message.
    const std::tuple<std::vector<uint32>, int, const char*> cases[] = {
        {{IMAGETYPE_RGBA32, 2, 2, 2}, 19, "Image data is cut short: 19 bytes, 20 needed."},
        {{3, 2, 2, 1}, 16, "which is no image type"},
        {{IMAGETYPE_RGBA32, 5000, 2, 1}, 16, ""},
        {{IMAGETYPE_RGBA32, 0, 2, 1}, 16, ""},
        {{IMAGETYPE_RGBA32, 2, 2, 3}, 64, ""}, // 2x2 has 2 levels at most
        {{IMAGETYPE_RGBA32, 2, 2, 0}, 64, ""},
        // Compressed images smaller than a block, and 16-bit types, are assertions with a null result.
        {{IMAGETYPE_DXT1, 2, 2, 1}, 8, ""},
        {{IMAGETYPE_RGB565, 2, 2, 1}, 8, ""},
        {{0, 2}, -1, "Image attributes are cut short"},
    };
    EXPECT_NE(LoadImage(ImageFolder(2, {IMAGETYPE_RGBA32, 2, 2, 2}, 20)), nullptr) << "16 + 4 bytes: right";
    dbg::ScopedThrowOnAssert quiet(false);
    for (const auto& [attributes, dataBytes, message] : cases)
    {
        LogCapture log;
        EXPECT_EQ(LoadImage(ImageFolder(2, attributes, dataBytes)), nullptr) << message;
        EXPECT_TRUE(Logged(log, message)) << message;
    }
    // A newer attribute version is the container's refusal.
    EXPECT_THROW(LoadImage(ImageFolder(3, {0, 1, 1, 1}, -1)), Chunky::Exception);
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
    ChunkWriter out;
    ImageLoad::SaveImagePalette(*out.m_pChunky, out.m_adapter, image);
    ASSERT_EQ(out.Bytes().size(), 24u + 20 + 5 + 8 + 6 + 0x400);
    ChunkReader in(out.Bytes());
    auto p = ImageLoad::LoadImagePalette(*in.m_pChunky, in.m_adapter);
    ASSERT_NE(p, nullptr);
    EXPECT_STREQ(p->GetName(), "team");
    EXPECT_EQ(p->GetWidth(), 3u);
    EXPECT_EQ(Level(*p), Level(image));
    EXPECT_EQ(std::memcmp(p->GetPalette(), image.GetPalette(), 0x400), 0);
    // 4096 a side is the most taken.
    Image_Palette wide;
    wide.Allocate(4096, 1);
    ChunkWriter most;
    ImageLoad::SaveImagePalette(*most.m_pChunky, most.m_adapter, wide);
    ChunkReader mostBack(most.Bytes());
    p = ImageLoad::LoadImagePalette(*mostBack.m_pChunky, mostBack.m_adapter);
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(p->GetWidth(), 4096u);
    // Sizes, the bytes behind them, the complaint: more index bytes than the chunk holds, a side of 0.
    const std::tuple<uint32, uint32, uint32, const char*> bad[] = {
        {64, 64, 100, "Paletted image 'bad' is cut short"},
        {0, 64, 0x400, "Paletted image 'bad' size 0x64 is not 1 to 4096 a side."},
        {64, 0, 0x400, "Paletted image 'bad' size 64x0 is not 1 to 4096 a side."},
    };
    for (const auto& [w, h, bytes, message] : bad)
    {
        LogCapture log;
        ChunkWriter lying;
        lying.m_pChunky->OpenDataChunk(ImageLoad::ID_IPAL, 1, "bad");
        lying.m_adapter.WriteValue(w);
        lying.m_adapter.WriteValue(h);
        lying.m_adapter.Write(std::string(bytes, '\1').data(), bytes);
        lying.m_pChunky->CloseChunk();
        ChunkReader back(lying.Bytes());
        EXPECT_EQ(ImageLoad::LoadImagePalette(*back.m_pChunky, back.m_adapter), nullptr) << message;
        EXPECT_TRUE(log.Has(message)) << message;
    }
}
