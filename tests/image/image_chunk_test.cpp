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
